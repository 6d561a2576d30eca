#include <algorithm>
#include <array>

#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

namespace {

constexpr int kTaps = 9;
using Offsets = std::array<std::int64_t, kTaps>;

constexpr std::array<int, kTaps> kMainWeights = {19, 15, 11, 6, 26, 19, 15, 11, 6};
constexpr std::array<int, kTaps> kChromaWeights = {19, 30, 11, 12, 102, 38, 15, 23, 6};

/** Where the nine taps lie, along one axis. */
std::int64_t TapPosition(int tap, double displacement, double position, int size) {
  return Clamp(Truncate((tap - 4) * displacement + position), size);
}

/** Walks rows and columns of a plane's band and hands each position with its nine byte offsets to `write`. */
template <typename Write>
void WalkTaps(int width, int height, int bytesPerPixel, std::int64_t lineSize, int centerColumn, int centerRow,
              double strength, int firstRow, int rowCount, Write write) {
  const double step = strength / 100;
  double dy = static_cast<double>(std::int64_t{centerRow} - firstRow) * strength / 100;
  for (int r = 0; r < rowCount; ++r) {
    const std::int64_t y = std::int64_t{firstRow} + r;
    Offsets rowOffsets;
    for (int k = 0; k < kTaps; ++k)
      rowOffsets[static_cast<std::size_t>(k)] = (TapPosition(k, dy, static_cast<double>(y), height) - y) * lineSize;
    double dx = strength * centerColumn / 100;
    double position = 0.0;
    for (int x = 0; x < width; ++x) {
      Offsets taps;
      for (int k = 0; k < kTaps; ++k)
        taps[static_cast<std::size_t>(k)] =
            rowOffsets[static_cast<std::size_t>(k)] + (TapPosition(k, dx, position, width) - x) * bytesPerPixel;
      write(y, x, taps);
      dx -= step;
      position += 1.0;
    }
    dy -= step;
  }
}

int Weigh(const std::uint8_t* at, const Offsets& taps, const std::array<int, kTaps>& weights) {
  int sum = 0;
  for (std::size_t k = 0; k < kTaps; ++k) sum += weights[k] * at[taps[k]];
  return sum;
}

std::uint8_t LumaOf(int sum) {
  if (sum < 2048) return 16;
  if (sum > 30207) return 235;
  return static_cast<std::uint8_t>(sum >> 7);
}

std::uint8_t ChromaOf(int sum) {
  if (sum < 4096) return 16;
  if (sum > 61695) return 240;
  return static_cast<std::uint8_t>(sum >> 8);
}

void BlurPacked(AVFrame& dst, const AVFrame& src, const ZoomBlurParams& params, int firstRow, int rowCount,
                int bytesPerPixel) {
  WalkTaps(src.width, src.height, bytesPerPixel, src.linesize[0], Truncate(src.width * params.centerX),
           Truncate(src.height * params.centerY), params.strength, firstRow, rowCount,
           [&](std::int64_t y, int x, const Offsets& taps) {
             const std::uint8_t* const in = RowOf(src, 0, y) + std::int64_t{x} * bytesPerPixel;
             std::uint8_t* const out = RowOf(dst, 0, y) + std::int64_t{x} * bytesPerPixel;
             for (int i = 0; i < 3; ++i) out[i] = static_cast<std::uint8_t>(Weigh(in + i, taps, kMainWeights) >> 7);
             if (bytesPerPixel == 4) out[3] = in[3];
           });
}

void BlurPlanar(AVFrame& dst, const AVFrame& src, const ZoomBlurParams& params, int firstRow, int rowCount) {
  WalkTaps(src.width, src.height, 1, src.linesize[0], Truncate(src.width * params.centerX),
           Truncate(src.height * params.centerY), params.strength, firstRow, rowCount,
           [&](std::int64_t y, int x, const Offsets& taps) {
             RowOf(dst, 0, y)[x] = LumaOf(Weigh(RowOf(src, 0, y) + x, taps, kMainWeights));
           });

  const int chromaWidth = static_cast<int>((std::int64_t{src.width} + 1) >> 1);
  const int chromaHeight = static_cast<int>((std::int64_t{src.height} + 1) >> 1);
  const int chromaRows = static_cast<int>((std::int64_t{rowCount} + 1) / 2);
  // V takes the offsets made for U's line size. With other line sizes of its own they lead to other rows, into padding, and
  // at last out of the plane, where the outermost sample is read instead.
  const std::int64_t lastRow = std::int64_t{chromaHeight - 1} * src.linesize[2];
  const std::int64_t lowest = std::min<std::int64_t>(0, lastRow);
  const std::int64_t highest = std::max<std::int64_t>(0, lastRow) + chromaWidth - 1;
  WalkTaps(chromaWidth, chromaHeight, 1, src.linesize[1], Truncate(chromaWidth * params.centerX),
           Truncate(chromaHeight * params.centerY), params.strength, firstRow >> 1, chromaRows,
           [&](std::int64_t y, int x, const Offsets& taps) {
             RowOf(dst, 1, y)[x] = ChromaOf(Weigh(RowOf(src, 1, y) + x, taps, kChromaWeights));
             Offsets inPlane;
             for (std::size_t k = 0; k < kTaps; ++k)
               inPlane[k] = std::clamp(y * src.linesize[2] + x + taps[k], lowest, highest);
             RowOf(dst, 2, y)[x] = ChromaOf(Weigh(src.data[2], inPlane, kChromaWeights));
           });
}

}  // namespace

void ReferenceZoomBlur(AVFrame& dst, const AVFrame& src, const ZoomBlurParams* params, int firstRow, int rowCount) {
  if (!HasPicture(dst, src)) return;
  if (params == nullptr || params->strength < 1e-5) {
    ReferenceCopyBand(dst, src, firstRow, rowCount);
    return;
  }
  if (rowCount < 1) return;
  if (IsPacked3(src.format)) BlurPacked(dst, src, *params, firstRow, rowCount, 3);
  if (IsPacked4(src.format)) BlurPacked(dst, src, *params, firstRow, rowCount, 4);
  if (src.format == test::kYuva420p) CopyRows(dst, src, 3, firstRow, rowCount);
  if (IsPlanar(src.format)) BlurPlanar(dst, src, *params, firstRow, rowCount);
}

}  // namespace norix::reference
