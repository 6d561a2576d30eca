#include "reference/NineTaps.h"
#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

namespace {

/** Walks rows and columns of a plane's band and hands each position with its nine byte offsets to `write`. */
template <typename Write>
void WalkTaps(int width, int height, int bytesPerPixel, std::int64_t lineSize, int centerColumn, int centerRow,
              double strength, int firstRow, int rowCount, Write write) {
  const double step = strength / 100;
  double dy = static_cast<double>(std::int64_t{centerRow} - firstRow) * strength / 100;
  for (int r = 0; r < rowCount; ++r) {
    const std::int64_t y = std::int64_t{firstRow} + r;
    const Offsets rowOffsets = TapOffsets(dy, static_cast<double>(y), height, lineSize);
    double dx = strength * centerColumn / 100;
    double position = 0.0;
    for (int x = 0; x < width; ++x) {
      write(y, x, Sum(rowOffsets, TapOffsets(dx, position, width, bytesPerPixel)));
      dx -= step;
      position += 1.0;
    }
    dy -= step;
  }
}

void BlurPacked(AVFrame& dst, const AVFrame& src, const ZoomBlurParams& params, int firstRow, int rowCount,
                int bytesPerPixel) {
  WalkTaps(src.width, src.height, bytesPerPixel, src.linesize[0], Truncate(src.width * params.centerX),
           Truncate(src.height * params.centerY), params.strength, firstRow, rowCount,
           [&](std::int64_t y, int x, const Offsets& taps) { BlurPixel(dst, src, y, x, bytesPerPixel, taps); });
}

void BlurPlanar(AVFrame& dst, const AVFrame& src, const ZoomBlurParams& params, int firstRow, int rowCount) {
  WalkTaps(src.width, src.height, 1, src.linesize[0], Truncate(src.width * params.centerX),
           Truncate(src.height * params.centerY), params.strength, firstRow, rowCount,
           [&](std::int64_t y, int x, const Offsets& taps) { BlurLuma(dst, src, y, x, taps); });

  const int chromaWidth = static_cast<int>((std::int64_t{src.width} + 1) >> 1);
  const int chromaHeight = static_cast<int>((std::int64_t{src.height} + 1) >> 1);
  const int chromaRows = static_cast<int>((std::int64_t{rowCount} + 1) / 2);
  WalkTaps(chromaWidth, chromaHeight, 1, src.linesize[1], Truncate(chromaWidth * params.centerX),
           Truncate(chromaHeight * params.centerY), params.strength, firstRow >> 1, chromaRows,
           [&](std::int64_t y, int x, const Offsets& taps) { BlurChroma(dst, src, y, x, taps); });
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
