// Pinch: draws the middle of the picture together and pushes the rest of a circle outward.
//
// A pixel at distance d < radius from the centre is fetched from the same ray, at d * (2 (0.5 - d) strength + 1): farther
// out for d < 0.5, nearer for d > 0.5. The 0.5 does not follow the radius, so a circle of another radius has a visible rim.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FilterEffect/Pinch.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cmath>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/NearestWarp-inl.h"

#ifndef NORIX_PINCH_SETUP
#define NORIX_PINCH_SETUP
namespace norix {

/// The amount is the strength.
struct PinchRule {
  static WarpedPoint Moved(const WarpCircle& circle, double dx, double dy, double d) {
    const double scale = 2 * (0.5 - d) * circle.amount + 1.0;
    return {circle.centerX + dx * scale, circle.centerY + dy * scale};
  }

  /// e = 2^-24, s = strength. scale - 1 = s - 2 s d: d is off by 3 d e, all its terms being positive, so this by
  /// e (10 s d + s) + e |scale - 1|; times the vector, 2 e: e d s (10 d + 1 + 3 |1 - 2 d|).
  /// Neighbours move by |scale - 1| + d * 2 s times their distance apart, at most.
  static WarpBounds Bounds(const WarpCircle& circle) {
    const double far = FarthestInside(circle);
    const double most = std::max(1.0, std::abs(1 - 2 * far));
    const double reach = far * circle.amount;
    return {reach * most, reach * (10 * far + 1 + 3 * most), circle.amount * most + 2 * reach};
  }
};

}  // namespace norix
#endif

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {

class PinchLanes {
public:
  using Rule = PinchRule;
  static constexpr bool kTurns = false;
  static constexpr bool kExactInDouble = true;

  explicit PinchLanes(const WarpCircle& circle)
      : slope_(static_cast<float>(-2 * circle.amount)), start_(static_cast<float>(circle.amount)) {}

  template <class D, class V>
  HWY_INLINE void Turn(D df, V d, V& scaleLessOne, V& /*sine*/) const {
    scaleLessOne = hn::MulAdd(d, hn::Set(df, slope_), hn::Set(df, start_));
  }

  /// The exact formula, operation by operation.
  template <class D, class V>
  static HWY_INLINE void Moved(D d, const WarpCircle& circle, V dx, V dy, V distance, V& u, V& v) {
    const auto half = hn::Mul(hn::Set(d, 2.0), hn::Sub(hn::Set(d, 0.5), distance));
    const auto scale = hn::Add(hn::Mul(half, hn::Set(d, circle.amount)), hn::Set(d, 1.0));
    u = hn::Add(hn::Set(d, circle.centerX), hn::Mul(dx, scale));
    v = hn::Add(hn::Set(d, circle.centerY), hn::Mul(dy, scale));
  }

private:
  float slope_;
  float start_;
};

void PinchBand(const WarpCircle& circle, const WarpPicture& picture) {
  WarpBand<PinchLanes>(circle, PinchRule::Bounds(circle), picture);
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix {
HWY_EXPORT(PinchBand);
static void RenderPinch(const WarpCircle& circle, const WarpPicture& picture) {
  HWY_DYNAMIC_DISPATCH(PinchBand)(circle, picture);
}
}  // namespace norix

void Pinch(AVFrame* dst, AVFrame* src, PinchParams* params, int firstRow, int rowCount) {
  constexpr double kNegligible = 1e-5;
  if (!norix::HasPicture(dst, src)) return;
  if (!params || params->radius < kNegligible || params->strength < kNegligible) {
    return CopyFrameData(dst, src, firstRow, rowCount);
  }
  const norix::Band rows = {firstRow, rowCount};
  const norix::WarpCircle circle = {params->centerX, params->centerY, params->radius, params->strength, false};
  // The last row of an odd band counts as the picture's, wherever the band ends.
  const double lastRowV = static_cast<double>(src->height - 1) / src->height;
  if (norix::BeginWarp(*dst, *src, rows)) norix::RenderPinch(circle, norix::WarpPicture(*dst, *src, rows, lastRowV));
}

#endif
