// Zoom Blur: smears the picture along the lines through a centre, as if the camera zoomed during the exposure.
//
// Tap k of 0..8 of a sample lies (k - 4) * strength percent of its distance from the centre further towards the centre; the
// ones before 4 lie outward, tap 4 is the sample itself. The distance is a running value that loses strength / 100 with
// every row and column.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FilterEffect/ZoomBlur.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstdint>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/LineBlur-inl.h"
#include "FilterEffect/common/LineBlur.h"

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {

void ZoomBlurBand(const BlurJob& job) { BlurColumns(job, 0, job.size.width); }

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix {
HWY_EXPORT(ZoomBlurBand);
static void RenderBand(const BlurJob& job) { HWY_DYNAMIC_DISPATCH(ZoomBlurBand)(job); }

/// The line from a sample to the centre, in percent of `strength`.
static BlurLine LineToCenter(const ZoomBlurParams& params, PlaneSize size, std::int64_t firstRow) {
  const int centerX = TruncateToInt(size.width * params.centerX);
  const int centerY = TruncateToInt(size.height * params.centerY);
  return {params.strength * centerX / 100, static_cast<double>(centerY - firstRow) * params.strength / 100,
          params.strength / 100};
}
}  // namespace norix

namespace {
constexpr double kNegligibleStrength = 1e-5;  // percent
}  // namespace

void ZoomBlur(AVFrame* dst, AVFrame* src, ZoomBlurParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params || params->strength < kNegligibleStrength) return CopyFrameData(dst, src, firstRow, rowCount);
  const auto lineFor = [&](norix::PlaneSize size, std::int64_t first) { return norix::LineToCenter(*params, size, first); };
  norix::BlurFrame(*dst, *src, {firstRow, rowCount}, lineFor, norix::RenderBand);
}

#endif
