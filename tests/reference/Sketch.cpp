#include <vector>

#include "reference/Gray.h"
#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

namespace {

std::int64_t Limit(std::int64_t value, std::int64_t low, std::int64_t high) {
  if (value < low) return low;
  if (value > high) return high;
  return value;
}

void SketchPacked(AVFrame& dst, const AVFrame& src, double amount, int firstRow, int rowCount, int bytesPerPixel,
                  bool redFirst) {
  const std::int64_t width = src.width;
  std::vector<int> gray;
  for (std::int64_t i = 0; i < rowCount; ++i)
    for (std::int64_t x = 0; x < width; ++x) {
      const std::uint8_t* const pixel = RowOf(src, 0, firstRow + i) + x * bytesPerPixel;
      gray.push_back(redFirst ? GrayOf(pixel[0], pixel[1], pixel[2]) : GrayOf(pixel[2], pixel[1], pixel[0]));
    }
  // Gray rows lie back to back: the value right of a row is the next row's first.
  const auto grayAt = [&](std::int64_t row, std::int64_t column) -> std::int64_t {
    const auto position = static_cast<std::size_t>(row * width + column);
    return position < gray.size() ? gray[position] : gray.back();
  };

  const double k = 1.0 - amount;
  const std::int64_t bias = Truncate(400.0 * k - 200.0);
  for (std::int64_t i = 0; i < rowCount; ++i) {
    const std::int64_t up = i == 0 ? i : i - 1;
    const std::int64_t down = i == src.height - 1 || i == rowCount - 1 ? i : i + 1;
    for (std::int64_t x = 0; x < width; ++x) {
      const std::int64_t one = x != 0 ? x + 1 : x;
      const std::int64_t other = x != width - 1 ? x + 1 : x;
      const std::int64_t edge =
          bias + 6 * grayAt(i, x) - grayAt(up, one) - grayAt(up, other) - grayAt(down, one) - grayAt(down, other);
      const int e = static_cast<int>(Limit(edge, 0, 255));
      const std::uint8_t* const in = RowOf(src, 0, firstRow + i) + x * bytesPerPixel;
      std::uint8_t* const out = RowOf(dst, 0, firstRow + i) + x * bytesPerPixel;
      for (int c = 0; c < 3; ++c) out[c] = static_cast<std::uint8_t>(Limit(Truncate((in[c] - e) * k + e), 0, 255));
      if (bytesPerPixel == 4) out[3] = in[3];
    }
  }
}

void SketchPlanar(AVFrame& dst, const AVFrame& src, double amount, int firstRow, int rowCount) {
  const std::int64_t width = src.width;
  const std::int64_t firstChromaRow = firstRow >> 1;
  const std::int64_t chromaRows = (std::int64_t{rowCount} + 1) >> 1;
  for (int plane = 1; plane <= 2; ++plane)
    for (std::int64_t row = firstChromaRow; row < firstChromaRow + chromaRows; ++row)
      for (std::int64_t x = 0; x < (width + 1) >> 1; ++x) RowOf(dst, plane, row)[x] = 128;

  const std::int64_t bias = Truncate(amount * 400.0 - 200.0);
  for (std::int64_t i = 0; i < (rowCount & ~1); ++i) {
    const std::int64_t y = firstRow + i;
    const std::uint8_t* const row = RowOf(src, 0, y);
    const std::uint8_t* const up = RowOf(src, 0, i == 0 ? y : y - 1);
    const std::uint8_t* const down = RowOf(src, 0, i >= src.height || y >= src.height - 1 ? y : y + 1);
    for (std::int64_t x = 0; x < width; ++x) {
      const std::int64_t left = x == 0 ? x : x - 1;
      const std::int64_t right = x == width - 1 ? x : x + 1;
      const std::int64_t v = bias + 6 * row[x] - up[left] - up[right] - down[left] - down[right];
      RowOf(dst, 0, y)[x] = static_cast<std::uint8_t>(Limit(v, 16, 235));
    }
  }
}

}  // namespace

void ReferenceSketch(AVFrame& dst, const AVFrame& src, const SketchParams* params, int firstRow, int rowCount) {
  if (!HasPicture(dst, src)) return;
  const bool isBgr24 = src.format == test::kBgr24;
  if (isBgr24 && (dst.data[0] == nullptr || src.data[0] == nullptr)) return;
  if (params == nullptr) {
    ReferenceCopyBand(dst, src, firstRow, rowCount);
    return;
  }
  if (rowCount < 1) return;
  const bool redFirst = src.format == test::kRgb24 || src.format == test::kRgba || src.format == test::kRgb0;
  if (IsPacked3(src.format) || isBgr24) SketchPacked(dst, src, params->amount, firstRow, rowCount, 3, redFirst);
  if (IsPacked4(src.format)) SketchPacked(dst, src, params->amount, firstRow, rowCount, 4, redFirst);
  if (src.format == test::kYuva420p) CopyRows(dst, src, 3, firstRow, rowCount);
  if (IsPlanar(src.format)) SketchPlanar(dst, src, params->amount, firstRow, rowCount);
}

}  // namespace norix::reference
