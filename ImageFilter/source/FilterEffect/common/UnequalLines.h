#pragma once

#include <cstdint>
#include <cstdlib>

#include "FilterEffect/common/Frame.h"

namespace norix {

/// Rows of a packed destination that is stepped by the source's line size from the band's first row on, as some effects do:
/// they expect frames of equal layout. With unequal line sizes a row may so come to lie outside the destination.
class SourceSteppedRows {
public:
  SourceSteppedRows(AVFrame& dst, const AVFrame& src, std::int64_t firstRow, std::int64_t bytesPerPixel)
      : plane_(PlaneOf(dst, 0)),
        step_(src.linesize[0]),
        firstRow_(firstRow),
        rowBytes_(src.width * bytesPerPixel),
        height_(src.height) {}

  /// Null for a row that would lie outside the destination plane.
  std::uint8_t* Row(std::int64_t row) const {
    const std::int64_t start = firstRow_ * plane_.lineSize + (row - firstRow_) * step_;
    const bool equal = plane_.lineSize == step_;
    const std::int64_t lowest = plane_.lineSize < 0 ? (height_ - 1) * plane_.lineSize : 0;
    const std::int64_t end = lowest + height_ * std::abs(plane_.lineSize);
    return equal || (start >= lowest && start + rowBytes_ <= end) ? plane_.data + start : nullptr;
  }

private:
  Plane plane_;
  std::int64_t step_;
  std::int64_t firstRow_;
  std::int64_t rowBytes_;
  std::int64_t height_;
};

}  // namespace norix
