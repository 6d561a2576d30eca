#include <algorithm>

#include "reference/Gray.h"
#include "reference/Reference.h"
#include "reference/Rules.h"
#include "reference/SourceStride.h"

namespace norix::reference {

namespace {

/** Two steps from the longer side toward the root, in whole numbers. */
std::int64_t Distance(std::int64_t dx, std::int64_t dy) {
  const auto a = static_cast<std::uint64_t>(std::abs(dx));
  const auto b = static_cast<std::uint64_t>(std::abs(dy));
  const std::uint64_t m = std::max(a, b);
  if (m == 0) return 0;
  const std::uint64_t q = a * a + b * b;
  const std::uint64_t g = (q / m + m) >> 1;
  return static_cast<std::int64_t>((q / g + g) >> 1);
}

double HalfDiagonal(std::int64_t width, std::int64_t height) {
  const std::int64_t m = std::max(width, height);
  const std::int64_t q = width * width + height * height;
  const std::int64_t g = (q / m + m) / 2;
  return static_cast<double>((q / g + g) / 4);
}

struct Circle {
  Circle(const FocusColorParams& params, std::int64_t width, std::int64_t height)
      : centerX(Truncate(static_cast<double>(width) * params.centerX)),
        centerY(Truncate(static_cast<double>(height) * params.centerY)),
        radius(Truncate(params.radius * HalfDiagonal(width, height))),
        feather(Truncate(params.feather * HalfDiagonal(width, height))) {}

  /** A sample that keeps its own value inside and turns into `outside` across the feather. */
  std::uint8_t Fade(std::int64_t x, std::int64_t y, int inside, int outside) const {
    const std::int64_t d = Distance(x - centerX, y - centerY);
    if (d > radius + feather) return static_cast<std::uint8_t>(outside);
    if (d <= radius) return static_cast<std::uint8_t>(inside);
    const double t = static_cast<double>(d - radius) / static_cast<double>(feather);
    return static_cast<std::uint8_t>(Truncate((outside - inside) * t + inside));
  }

  std::int64_t centerX;
  std::int64_t centerY;
  std::int64_t radius;
  std::int64_t feather;
};

void FocusPacked(AVFrame& dst, const AVFrame& src, const FocusColorParams& params, int firstRow, int rowCount) {
  const Circle circle(params, src.width, src.height);
  for (std::int64_t r = 0; r < rowCount; ++r) {
    std::uint8_t* const out = SteppedRow(dst, src, firstRow, r);
    if (out == nullptr) continue;
    const std::int64_t y = firstRow + r;
    const std::uint8_t* const in = RowOf(src, 0, y);
    for (std::int64_t x = 0; x < src.width; ++x) {
      // The third byte counts as red in all formats.
      const int gray = GrayOf(in[x * 4 + 2], in[x * 4 + 1], in[x * 4]);
      for (int c = 0; c < 3; ++c) out[x * 4 + c] = circle.Fade(x, y, in[x * 4 + c], gray);
    }
  }
}

void FocusPlanar(AVFrame& dst, const AVFrame& src, const FocusColorParams& params, int firstRow, int rowCount) {
  CopyRows(dst, src, 0, firstRow, rowCount);
  const std::int64_t width = (std::int64_t{src.width} + 1) >> 1;
  const std::int64_t height = (std::int64_t{src.height} + 1) >> 1;
  const std::int64_t chromaFirstRow = (std::int64_t{firstRow} + 1) >> 1;
  const std::int64_t chromaRows = (std::int64_t{rowCount} + 1) >> 1;
  const Circle circle(params, width, height);
  for (int plane = 1; plane <= 2; ++plane)
    for (std::int64_t y = chromaFirstRow; y < chromaFirstRow + chromaRows; ++y)
      for (std::int64_t x = 0; x < width; ++x) RowOf(dst, plane, y)[x] = circle.Fade(x, y, RowOf(src, plane, y)[x], 128);
}

}  // namespace

void ReferenceFocusColor(AVFrame& dst, const AVFrame& src, FocusColorParams* params, int firstRow, int rowCount) {
  if (!HasPicture(dst, src)) return;
  if (params == nullptr) {
    ReferenceCopyBand(dst, src, firstRow, rowCount);
    return;
  }
  if (params->feather < 0) params->feather = 0.0;
  if (rowCount < 1) return;
  if (IsPacked4(src.format)) FocusPacked(dst, src, *params, firstRow, rowCount);
  if (src.format == test::kYuva420p) CopyRows(dst, src, 3, firstRow, rowCount);
  if (IsPlanar(src.format)) FocusPlanar(dst, src, *params, firstRow, rowCount);
}

}  // namespace norix::reference
