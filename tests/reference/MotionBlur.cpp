#include <cmath>

#include "reference/NineTaps.h"
#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

namespace {

/** The way from one tap to the next, in samples of whatever plane. */
struct TapStep {
  double x;
  double y;
};

TapStep StepOf(const MotionBlurParams& params) {
  // This short pi leaves a cosine a little above 0 for a right angle, which moves taps to the column before.
  const double theta = params.angle * 3.141592653 / 180.0;
  return {std::cos(theta) * params.strength, std::sin(theta) * params.strength};
}

/** Walks rows and columns of a plane's band and hands each position with its nine byte offsets to `write`. */
template <typename Write>
void WalkTaps(int width, int height, int bytesPerPixel, std::int64_t lineSize, TapStep step, std::int64_t firstRow,
              std::int64_t rowCount, Write write) {
  for (std::int64_t y = firstRow; y < firstRow + rowCount; ++y) {
    const Offsets rowOffsets = TapOffsets(step.y, static_cast<double>(y), height, lineSize);
    for (int x = 0; x < width; ++x) write(y, x, Sum(rowOffsets, TapOffsets(step.x, x, width, bytesPerPixel)));
  }
}

void BlurPacked(AVFrame& dst, const AVFrame& src, const MotionBlurParams& params, int firstRow, int rowCount,
                int bytesPerPixel) {
  WalkTaps(src.width, src.height, bytesPerPixel, src.linesize[0], StepOf(params), firstRow, rowCount,
           [&](std::int64_t y, int x, const Offsets& taps) { BlurPixel(dst, src, y, x, bytesPerPixel, taps); });
}

void BlurPlanar(AVFrame& dst, const AVFrame& src, const MotionBlurParams& params, int firstRow, int rowCount) {
  WalkTaps(src.width, src.height, 1, src.linesize[0], StepOf(params), firstRow, rowCount,
           [&](std::int64_t y, int x, const Offsets& taps) { BlurLuma(dst, src, y, x, taps); });
  const int chromaWidth = static_cast<int>((std::int64_t{src.width} + 1) >> 1);
  const int chromaHeight = static_cast<int>((std::int64_t{src.height} + 1) >> 1);
  WalkTaps(chromaWidth, chromaHeight, 1, src.linesize[1], StepOf(params), firstRow >> 1, (std::int64_t{rowCount} + 1) / 2,
           [&](std::int64_t y, int x, const Offsets& taps) { BlurChroma(dst, src, y, x, taps); });
}

}  // namespace

void ReferenceMotionBlur(AVFrame& dst, const AVFrame& src, const MotionBlurParams* params, int firstRow, int rowCount) {
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
