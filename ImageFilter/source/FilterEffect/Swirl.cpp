// Swirl: twists the picture about a centre, most in the middle, not at all on the rim and beyond.
//
// A pixel at distance d < radius from the centre is fetched from the same point turned by
//   theta = 8 * (angle / 360) * ((radius - d) / radius)^2        [radians]
// Distances are in shares of width and height, so the circle is an ellipse on a picture that is not square.
// Nearest sample; beyond the border the edge pixel repeats.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FilterEffect/Swirl.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cmath>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/HalfTurnSine-inl.h"
#include "FilterEffect/common/NearestWarp-inl.h"

#ifndef NORIX_SWIRL_SETUP
#define NORIX_SWIRL_SETUP
namespace norix {

/// The amount is angle / 360.
struct SwirlRule {
  static WarpedPoint Moved(const WarpCircle& circle, double dx, double dy, double d) {
    const double t = (circle.radius - d) / circle.radius;
    const double theta = t * t * circle.amount * 8.0;
    const double c = std::cos(theta);
    const double s = std::sin(theta);
    return {circle.centerX + (dx * c + dy * s), circle.centerY + (dy * c - dx * s)};
  }

  static constexpr double kHalfTurnsPerAmount = 8.0 * 0.31830988618379067154;

  /// e = 2^-24, r = radius, K = 8 * amount the largest angle, x = d / r. All terms of d are positive, so that it is off by
  /// 3 d e.
  ///   1 - d / r      off by e (5 x + (1 - x)) = e (1 + 4 x), when no product is fused
  ///   the angle      by K e (2 t (1 + 4 x) + 3 t^2) = K e t (5 + 5 x), t = 1 - x
  ///   so the point   by d times that = 5 K r e x (1 - x^2) <= 1.93 K r e
  /// Sine, cosine - 1 and their products move the point by at most 7.4 d e more, and with angles up to one radian by 4.4 K
  /// d e: the sum of their own errors, one e of cosine - 1 where 2 is subtracted, one e of each factor and one of each
  /// product. A test tries every angle.
  ///
  /// A pixel moves by 2 d sin(theta / 2), and either product of that is no larger than d theta <= 0.149 K r.
  /// The movement of a neighbour differs by |cos - 1| + |sin| + d K 2 t / r and less.
  static WarpBounds Bounds(const WarpCircle& circle) {
    const double most = circle.amount * 8.0;
    const double far = FarthestInside(circle);
    if (!(most <= 64.0)) return {most, 0, 0};
    const double movement = std::min(0.149 * most * circle.radius, 2 * far);
    return {movement, 1.93 * most * circle.radius + (most <= 1 ? 4.4 * most : 7.4) * far, 3 + 2 * most};
  }
};

}  // namespace norix
#endif

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {

class SwirlLanes {
public:
  using Rule = SwirlRule;
  static constexpr bool kTurns = true;
  static constexpr bool kExactInDouble = false;

  explicit SwirlLanes(const WarpCircle& circle)
      : lessInverseRadius_(static_cast<float>(-1.0 / circle.radius)),
        halfTurns_(static_cast<float>(circle.amount * SwirlRule::kHalfTurnsPerAmount)) {}

  /// Angles are kept in half turns: reduction to a quarter turn is exact, and the sign is the last bit of their number.
  template <class D, class V>
  HWY_INLINE void Turn(D df, V d, V& cosineLessOne, V& sine) const {
    const hn::RebindToSigned<D> di;
    const auto t = hn::MulAdd(d, hn::Set(df, lessInverseRadius_), hn::Set(df, 1.0F));
    const auto turns = hn::Mul(hn::Mul(t, t), hn::Set(df, halfTurns_));
    const auto magic = hn::Set(df, kRoundToBits);
    const auto shifted = hn::Add(turns, magic);
    const auto odd = hn::ShiftLeft<31>(hn::BitCast(di, shifted));
    HalfTurnSine(df, hn::Sub(turns, hn::Sub(shifted, magic)), sine, cosineLessOne);
    // An odd number of half turns: -sin, and -cos - 1 = -(cos - 1) - 2.
    const auto sign = hn::BitCast(df, odd);
    const auto two = hn::And(hn::BroadcastSignBit(odd), hn::BitCast(di, hn::Set(df, 2.0F)));
    sine = hn::Xor(sine, sign);
    cosineLessOne = hn::Sub(hn::Xor(cosineLessOne, sign), hn::BitCast(df, two));
  }

  /// Not the exact formula's bits: sine and cosine are another 6e-14 off, the angle below 64 by 7e-14. On a side of 32767
  /// pixels the place is within 2^-23 pixel of the exact one.
  template <class D, class V>
  static HWY_INLINE void Moved(D d, const WarpCircle& circle, V dx, V dy, V distance, V& u, V& v) {
    const auto radius = hn::Set(d, circle.radius);
    const auto t = hn::Div(hn::Sub(radius, distance), radius);
    const auto turns = hn::Mul(hn::Mul(t, t), hn::Set(d, circle.amount * SwirlRule::kHalfTurnsPerAmount));
    const auto nearest = hn::Round(turns);
    V sine;
    V cosine;
    HalfTurnSineInDouble(d, hn::Sub(turns, nearest), sine, cosine);
    cosine = hn::Add(cosine, hn::Set(d, 1.0));
    const auto half = hn::Mul(nearest, hn::Set(d, 0.5));
    const auto odd = hn::Ne(hn::Round(half), half);
    sine = hn::IfThenElse(odd, hn::Neg(sine), sine);
    cosine = hn::IfThenElse(odd, hn::Neg(cosine), cosine);
    u = hn::Add(hn::Set(d, circle.centerX), hn::Add(hn::Mul(dx, cosine), hn::Mul(dy, sine)));
    v = hn::Add(hn::Set(d, circle.centerY), hn::Sub(hn::Mul(dy, cosine), hn::Mul(dx, sine)));
  }

private:
  float lessInverseRadius_;
  float halfTurns_;
};

void SwirlBand(const WarpCircle& circle, const WarpPicture& picture) {
  WarpBand<SwirlLanes>(circle, SwirlRule::Bounds(circle), picture);
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix {
HWY_EXPORT(SwirlBand);
static void RenderSwirl(const WarpCircle& circle, const WarpPicture& picture) {
  HWY_DYNAMIC_DISPATCH(SwirlBand)(circle, picture);
}
}  // namespace norix

void Swirl(AVFrame* dst, AVFrame* src, SwirlParams* params, int firstRow, int rowCount) {
  constexpr double kNegligibleAngle = 1e-5;  // degrees
  if (!norix::HasPicture(dst, src)) return;
  if (!params || params->angle < kNegligibleAngle) return CopyFrameData(dst, src, firstRow, rowCount);
  const norix::Band rows = {firstRow, rowCount};
  const norix::WarpCircle circle = {params->centerX, params->centerY, params->radius, params->angle / 360.0, false};
  const double lastRowV = (static_cast<double>(rows.end()) + -1.0) / src->height;
  if (norix::BeginWarp(*dst, *src, rows)) norix::RenderSwirl(circle, norix::WarpPicture(*dst, *src, rows, lastRowV));
}

#endif
