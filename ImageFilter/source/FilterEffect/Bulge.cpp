// Bulge: magnifies the middle of a circle, most in the centre, not at all on the rim and beyond.
//
// A pixel at distance d < radius from the centre is fetched from the same ray, at d * k^2 with
//   k = 1 - strength (radius - d) / radius
// With a strength above 1 pixels next to the centre come from farther out again, since k turns negative and is squared.
//
// In RGB24 pictures the distance is taken from the column alone as long as the centre lies inside the picture: the vertical
// part enters as a whole number of picture heights. The bulge acts on a vertical strip there.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FilterEffect/Bulge.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cmath>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/NearestWarp-inl.h"

#ifndef NORIX_BULGE_SETUP
#define NORIX_BULGE_SETUP
namespace norix {

/// The amount is the strength.
struct BulgeRule {
  static WarpedPoint Moved(const WarpCircle& circle, double dx, double dy, double d) {
    const double k = 1.0 - (circle.radius - d) / circle.radius * circle.amount;
    const double scale = k * k;
    return {circle.centerX + dx * scale, circle.centerY + dy * scale};
  }

  /// e = 2^-24, s = strength. k - 1 = (s / radius) d - s is off by e s (5 + 1 + 1); scale - 1 = (k - 1)(k + 1) with
  /// |k + 1| <= q = max(2, |2 - s|) by e s (7 q + q + 7 s + q); times the vector, 2 e: e d s (11 q + 7 s).
  /// Neighbours move by |scale - 1| + d * 2 |k| s / radius times their distance apart, at most.
  static WarpBounds Bounds(const WarpCircle& circle) {
    const double far = FarthestInside(circle);
    const double s = circle.amount;
    const double q = std::max(2.0, std::abs(2 - s));
    const double most = s <= 1 ? s * (2 - s) : std::max(1.0, s * (s - 2));
    return {far * most, far * s * (11 * q + 7 * s), most + far * 2 * (1 + s) * s / circle.radius};
  }
};

}  // namespace norix
#endif

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {

class BulgeLanes {
public:
  using Rule = BulgeRule;
  static constexpr bool kTurns = false;
  static constexpr bool kExactInDouble = true;

  explicit BulgeLanes(const WarpCircle& circle)
      : slope_(static_cast<float>(circle.amount / circle.radius)), start_(static_cast<float>(-circle.amount)) {}

  template <class D, class V>
  HWY_INLINE void Turn(D df, V d, V& scaleLessOne, V& /*sine*/) const {
    const auto depth = hn::MulAdd(d, hn::Set(df, slope_), hn::Set(df, start_));
    scaleLessOne = hn::Mul(depth, hn::Add(depth, hn::Set(df, 2.0F)));
  }

  /// The exact formula, operation by operation.
  template <class D, class V>
  static HWY_INLINE void Moved(D d, const WarpCircle& circle, V dx, V dy, V distance, V& u, V& v) {
    const auto radius = hn::Set(d, circle.radius);
    const auto depth = hn::Mul(hn::Div(hn::Sub(radius, distance), radius), hn::Set(d, circle.amount));
    const auto k = hn::Sub(hn::Set(d, 1.0), depth);
    const auto scale = hn::Mul(k, k);
    u = hn::Add(hn::Set(d, circle.centerX), hn::Mul(dx, scale));
    v = hn::Add(hn::Set(d, circle.centerY), hn::Mul(dy, scale));
  }

private:
  float slope_;
  float start_;
};

void BulgeBand(const WarpCircle& circle, const WarpPicture& picture) {
  WarpBand<BulgeLanes>(circle, BulgeRule::Bounds(circle), picture);
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix {
HWY_EXPORT(BulgeBand);
static void RenderBulge(const WarpCircle& circle, const WarpPicture& picture) {
  HWY_DYNAMIC_DISPATCH(BulgeBand)(circle, picture);
}
}  // namespace norix

void Bulge(AVFrame* dst, AVFrame* src, BulgeParams* params, int firstRow, int rowCount) {
  constexpr double kNegligible = 1e-5;
  if (!norix::HasPicture(dst, src)) return;
  if (!params || params->radius < kNegligible || params->strength < kNegligible) {
    return CopyFrameData(dst, src, firstRow, rowCount);
  }
  const norix::Band rows = {firstRow, rowCount};
  const bool wholeVertical = norix::LayoutOf(src->format) == norix::Layout::kPacked3;
  const norix::WarpCircle circle = {params->centerX, params->centerY, params->radius, params->strength, wholeVertical};
  // The last row of an odd band counts as the picture's, wherever the band ends.
  const double lastRowV = static_cast<double>(src->height - 1) / src->height;
  if (norix::BeginWarp(*dst, *src, rows)) norix::RenderBulge(circle, norix::WarpPicture(*dst, *src, rows, lastRowV));
}

#endif
