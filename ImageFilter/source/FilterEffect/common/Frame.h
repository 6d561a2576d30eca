#pragma once

extern "C" {
#include <libavutil/frame.h>
}

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "FilterEffect/common/PixelFormat.h"

namespace norix {

/// One plane of a picture: where its rows lie. Row addresses are formed wide enough for planes over 2 GiB.
template <class Byte>
struct PlaneView {
  Byte* data;
  std::ptrdiff_t lineSize;

  Byte* Row(std::int64_t row) const { return data + row * lineSize; }
};

using Plane = PlaneView<std::uint8_t>;
using ConstPlane = PlaneView<const std::uint8_t>;

inline Plane PlaneOf(AVFrame& frame, int plane) { return {frame.data[plane], frame.linesize[plane]}; }
inline ConstPlane PlaneOf(const AVFrame& frame, int plane) { return {frame.data[plane], frame.linesize[plane]}; }

/// A run of rows.
struct Band {
  std::int64_t first;
  std::int64_t count;  ///< below 1: no rows

  std::int64_t end() const { return first + count; }
};

/// Samples of a chroma line that covers `luma` samples.
constexpr int ChromaSize(int luma) { return static_cast<int>((static_cast<std::int64_t>(luma) + 1) >> 1); }

/// True when there is something to do: both frames are there, the picture is not empty and no plane is missing.
bool HasPicture(const AVFrame* dst, const AVFrame* src);

/// Bytes that fit into a line of both planes. Bottom-up pictures have negative line sizes; a line is as long as its
/// absolute value.
inline std::size_t LineBytes(const Plane& a, const ConstPlane& b) {
  return static_cast<std::size_t>(std::min(std::abs(a.lineSize), std::abs(b.lineSize)));
}

/// Copies rows of one plane, each as long as the shorter of the two lines, padding included.
void CopyPlaneRows(AVFrame& dst, const AVFrame& src, int plane, Band rows);

/// Passes the band's rows of the alpha plane through, which planar effects leave alone.
void CopyAlphaRows(AVFrame& dst, const AVFrame& src, Band rows);

}  // namespace norix

/// Copies a band unchanged. Chroma starts at row (firstRow + 1) / 2 and covers half the rows, rounded up; so does the alpha
/// plane of planar pictures, although it has full height. Unknown formats are left alone.
void CopyFrameData(AVFrame* dst, AVFrame* src, int firstRow, int rowCount);
