// Sketch: pencil drawing. A sample's edge value is
//   e = bias + 6 g - (two neighbours in the row above) - (two in the row below)
// on luminance. The bias is the paper's brightness; it falls with `amount` in packed pictures and rises in planar ones.
//
// Packed pictures fade from the colour to e by `amount`, and both neighbours of a row lie on the right. Planar ones get e
// as their luma, from the diagonal neighbours, and lose their colour. The row above a band's first row is that row itself,
// also where the picture goes on there.

#include <NorixEngine/FEAgorithmset.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/Gray.h"

namespace {

std::int64_t Limited(std::int64_t value, std::int64_t lowest, std::int64_t highest) {
  return std::clamp(value, lowest, highest);
}

/// The luminance of a band, rows back to back.
class GrayBand {
public:
  GrayBand(const AVFrame& src, norix::Band rows, int bytesPerPixel, bool redFirst)
      : width_(src.width),
        rows_(rows.count),
        values_(std::make_unique<std::uint8_t[]>(static_cast<std::size_t>(width_) * static_cast<std::size_t>(rows_))) {
    const norix::ConstPlane plane = norix::PlaneOf(src, 0);
    // The conversion only reads its source.
    auto* first = const_cast<std::uint8_t*>(plane.Row(rows.first));
    RGB2Gray(values_.get(), first, src.width, static_cast<int>(rows.count),
             static_cast<int>(plane.lineSize - width_ * bytesPerPixel), bytesPerPixel, redFirst ? 1 : 0);
  }

  /// Column `width` is the first value of the next row, or the last value of all.
  int at(std::int64_t row, std::int64_t column) const {
    return values_[static_cast<std::size_t>(std::min(row * width_ + column, width_ * rows_ - 1))];
  }

private:
  std::int64_t width_;
  std::int64_t rows_;
  std::unique_ptr<std::uint8_t[]> values_;
};

void SketchPacked(AVFrame& dst, const AVFrame& src, norix::Band rows, int bytesPerPixel, bool redFirst, double amount) {
  const std::int64_t width = src.width;
  if (bytesPerPixel == 4) {
    const auto padding = [&](const auto& plane) { return static_cast<int>(plane.lineSize - width * bytesPerPixel); };
    const norix::Plane to = norix::PlaneOf(dst, 0);
    const norix::ConstPlane from = norix::PlaneOf(src, 0);
    FEAgorithmSet::CopyAlphaData(to.Row(rows.first) + 3, const_cast<std::uint8_t*>(from.Row(rows.first)) + 3, src.width,
                                 static_cast<int>(rows.count), padding(to), padding(from), bytesPerPixel);
  }
  const GrayBand gray(src, rows, bytesPerPixel, redFirst);
  const double k = 1 - amount;
  const std::int64_t bias = norix::TruncateToInt(400 * k - 200);
  for (std::int64_t i = 0; i < rows.count; ++i) {
    const std::int64_t up = i == 0 ? 0 : i - 1;
    // The picture's height, not the band's place in it, says where the last row is.
    const std::int64_t down = i == src.height - 1 || i == rows.count - 1 ? i : i + 1;
    const std::uint8_t* in = norix::PlaneOf(src, 0).Row(rows.first + i);
    std::uint8_t* out = norix::PlaneOf(dst, 0).Row(rows.first + i);
    for (std::int64_t x = 0; x < width; ++x, in += bytesPerPixel, out += bytesPerPixel) {
      const std::int64_t right = x != 0 ? x + 1 : x;
      const std::int64_t clampedRight = x != width - 1 ? x + 1 : x;
      const std::int64_t sum = bias + 6 * gray.at(i, x) - gray.at(up, right) - gray.at(up, clampedRight) -
                               gray.at(down, right) - gray.at(down, clampedRight);
      const auto edge = static_cast<int>(Limited(sum, 0, 255));
      for (int c = 0; c < 3; ++c) {
        out[c] = static_cast<std::uint8_t>(Limited(norix::TruncateToInt((in[c] - edge) * k + edge), 0, 255));
      }
    }
  }
}

void SketchPlanar(AVFrame& dst, const AVFrame& src, norix::Band rows, double amount) {
  const auto chromaBytes = static_cast<std::size_t>(norix::ChromaSize(src.width));
  const norix::Band chromaRows = {rows.first >> 1, (rows.count + 1) >> 1};
  for (const int plane : {1, 2}) {
    for (std::int64_t y = chromaRows.first; y < chromaRows.end(); ++y) {
      std::memset(norix::PlaneOf(dst, plane).Row(y), 128, chromaBytes);
    }
  }
  const std::int64_t bias = norix::TruncateToInt(amount * 400 - 200);
  const std::int64_t paired = rows.count & ~std::int64_t{1};  // a last row without partner stays as it was
  for (std::int64_t i = 0; i < paired; ++i) {
    const std::int64_t y = rows.first + i;
    const norix::ConstPlane plane = norix::PlaneOf(src, 0);
    const std::uint8_t* in = plane.Row(y);
    const std::uint8_t* up = i == 0 ? in : in - plane.lineSize;
    // Rows of the band beyond the picture's height have none below, nor has the picture's last row.
    const std::uint8_t* down = i >= src.height || y >= src.height - 1 ? in : in + plane.lineSize;
    std::uint8_t* out = norix::PlaneOf(dst, 0).Row(y);
    for (int x = 0; x < src.width; ++x) {
      const int left = x == 0 ? x : x - 1;
      const int right = x == src.width - 1 ? x : x + 1;
      const std::int64_t sum = bias + 6 * in[x] - up[left] - up[right] - down[left] - down[right];
      out[x] = static_cast<std::uint8_t>(Limited(sum, 16, 235));
    }
  }
}

}  // namespace

void Sketch(AVFrame* dst, AVFrame* src, SketchParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params) return CopyFrameData(dst, src, firstRow, rowCount);
  if (rowCount < 1) return;
  const norix::Band rows = {firstRow, rowCount};
  const double amount = params->amount;
  switch (src->format) {
    case norix::kRgb24:
      return SketchPacked(*dst, *src, rows, 3, true, amount);
    case norix::kBgr24:
      return SketchPacked(*dst, *src, rows, 3, false, amount);
    case norix::kRgba:
    case norix::kRgb0:
      return SketchPacked(*dst, *src, rows, 4, true, amount);
    case norix::kBgra:
    case norix::kBgr0:
      return SketchPacked(*dst, *src, rows, 4, false, amount);
    case norix::kYuva420p:
      norix::CopyAlphaRows(*dst, *src, rows);
      [[fallthrough]];
    case norix::kYuv420p:
      return SketchPlanar(*dst, *src, rows, amount);
    default:
      return;
  }
}
