// Motion Blur: smears the picture in one direction, as if the camera moved in a straight line during the exposure.
//
// Tap k of 0..8 lies (k - 4) * strength samples from its sample, at `angle` degrees from rightwards to downwards. Chroma
// uses the same distances in its own samples and so is smeared twice as far.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FilterEffect/MotionBlur.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/LineBlur-inl.h"
#include "FilterEffect/common/LineBlur.h"

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR
/// Columns whose taps all stay within the row, each at one distance in whole columns.
struct SteadyColumns {
  int from;
  int to;
  int distance[kTapCount];
};

/// Finds the steady columns; false if there are too few.
///
/// Coarser rounding towards the right can raise a tap's whole distance from i to i + 1, and only once along a row. Equal at
/// both ends of a run of columns means equal within it.
inline bool FindSteadyColumns(const BlurJob& job, SteadyColumns& steady) {
  const int width = job.size.width;
  steady.from = 0;
  steady.to = width;
  for (int k = 0; k < kTapCount; ++k) {
    const double distance = (k - 4) * job.line.dx;
    if (!(std::fabs(distance) < width)) return false;
    const int whole = static_cast<int>(std::floor(distance + width)) - width;
    steady.distance[k] = whole;
    steady.from = std::max(steady.from, -whole);
    steady.to = std::min(steady.to, width - whole);
  }
  if (steady.to - steady.from < kVectorBytes || width < 2 * PixelsPerBlock(job.bytesPerPixel)) return false;
  for (int k = 0; k < kTapCount; ++k) {
    for (const int x : {steady.from, steady.to - 1}) {
      const double position = (k - 4) * job.line.dx + x;
      if (!(position >= 0) || TruncateToInt(position) != x + steady.distance[k]) return false;
    }
  }
  return true;
}

/// The steady columns: nine contiguous loads.
template <int kBytesPerPixel, bool kChroma>
void BlurSteadyColumns(const BlurJob& job, const SteadyColumns& steady) {
  const Bytes d;
  const std::ptrdiff_t begin = std::ptrdiff_t{steady.from} * kBytesPerPixel;
  const std::ptrdiff_t end = std::ptrdiff_t{steady.to} * kBytesPerPixel;
  const TapWeights w(kChroma ? kChromaWeights : kMainWeights);
  for (int p = 0; p < job.planes; ++p) {
    const auto plane = static_cast<std::size_t>(p);
    TapWalk walk(job, p);
    for (std::int64_t y = job.rows.first; y < job.rows.end(); ++y) {
      TapRows rows;
      walk.Next(y, rows);
      const auto moved = [&](int k) { return rows[k] + std::ptrdiff_t{steady.distance[k]} * kBytesPerPixel; };
      const std::uint8_t* r0 = moved(0);
      const std::uint8_t* r1 = moved(1);
      const std::uint8_t* r2 = moved(2);
      const std::uint8_t* r3 = moved(3);
      const std::uint8_t* r4 = moved(4);
      const std::uint8_t* r5 = moved(5);
      const std::uint8_t* r6 = moved(6);
      const std::uint8_t* r7 = moved(7);
      const std::uint8_t* r8 = moved(8);
      const std::uint8_t* own = job.src[plane].Row(y);
      std::uint8_t* out = job.dst[plane].Row(y);
      for (std::ptrdiff_t i = begin; i < end; i += kVectorBytes) {
        i = std::min(i, end - kVectorBytes);
        TapSums sums(hn::LoadU(d, r0 + i), hn::LoadU(d, r1 + i), w.w01);
        sums.Add(hn::LoadU(d, r2 + i), hn::LoadU(d, r3 + i), w.w23);
        sums.Add(hn::LoadU(d, r4 + i), hn::LoadU(d, r8 + i), w.w48);
        sums.Add(hn::LoadU(d, r5 + i), hn::LoadU(d, r6 + i), w.w56);
        sums.Add(hn::LoadU(d, r7 + i), hn::Zero(d), w.w7);
        hn::StoreU(BlurredBytes<kBytesPerPixel, kChroma>(sums, hn::LoadU(d, own + i)), d, out + i);
      }
    }
  }
}
#endif

void MotionBlurBand(const BlurJob& job) {
  const int width = job.size.width;
#if HWY_TARGET != HWY_SCALAR
  SteadyColumns steady;
  if (FindSteadyColumns(job, steady)) {
    // The borders take whole blocks, over steady columns too.
    const int pixels = PixelsPerBlock(job.bytesPerPixel);
    if (steady.from > 0) BlurColumns(job, 0, std::max(steady.from, pixels));
    if (steady.to < width) BlurColumns(job, std::min(steady.to, width - pixels), width);
    if (job.kind == BlurKind::kChroma) return BlurSteadyColumns<1, true>(job, steady);
    if (job.kind == BlurKind::kLuma) return BlurSteadyColumns<1, false>(job, steady);
    if (job.bytesPerPixel == 3) return BlurSteadyColumns<3, false>(job, steady);
    return BlurSteadyColumns<4, false>(job, steady);
  }
#endif
  BlurColumns(job, 0, width);
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix {
HWY_EXPORT(MotionBlurBand);
static void RenderBand(const BlurJob& job) { HWY_DYNAMIC_DISPATCH(MotionBlurBand)(job); }
}  // namespace norix

namespace {
constexpr double kNegligibleStrength = 1e-5;  // samples
constexpr double kPi = 3.141592653;           // the look of "straight down" rests on these digits and no more
}  // namespace

void MotionBlur(AVFrame* dst, AVFrame* src, MotionBlurParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params || params->strength < kNegligibleStrength) return CopyFrameData(dst, src, firstRow, rowCount);
  const double theta = params->angle * kPi / 180.0;
  const norix::BlurLine line = {std::cos(theta) * params->strength, std::sin(theta) * params->strength, 0.0};
  const auto lineFor = [&](norix::PlaneSize, std::int64_t) { return line; };
  norix::BlurFrame(*dst, *src, {firstRow, rowCount}, lineFor, norix::RenderBand);
}

#endif
