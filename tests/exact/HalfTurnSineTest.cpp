// The sine and cosine of Swirl's estimate: the bounds that its margins are made of, at every float that can meet them.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "exact/HalfTurnSineTest.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "FilterEffect/common/HalfTurnSine-inl.h"
#include "support/Targets.h"

#ifndef NORIX_HALF_TURN_SINE_TEST
#define NORIX_HALF_TURN_SINE_TEST
namespace norix::test {

/** Largest errors, in units of 2^-24. */
struct SineErrors {
  double sine = 0;
  double cosine = 0;
  double movement = 0; /**< of a point at distance 1, angles of any number of half turns, factors and products rounded */
  double smallMovement = 0; /**< the same in shares of the angle, for angles up to one radian */
};

}  // namespace norix::test
#endif

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {

template <class D>
HWY_INLINE void GatherErrors(D d, hn::Vec<D> f, hn::Vec<D> sine, hn::Vec<D> cosineLessOne, hn::Vec<D>& worstSine,
                             hn::Vec<D>& worstCosine, hn::Vec<D>& worstSquare, hn::Vec<D>& worstSmall) {
  const auto scale = hn::Set(d, 0x1p24);
  const auto one = hn::Set(d, 1.0);
  const auto two = hn::Set(d, 2.0);
  hn::Vec<D> s;
  hn::Vec<D> c;
  HalfTurnSineInDouble(d, f, s, c);
  const auto errorS = hn::Mul(hn::Abs(hn::Sub(sine, s)), scale);
  const auto errorC = hn::Mul(hn::Abs(hn::Sub(cosineLessOne, c)), scale);
  worstSine = hn::Max(worstSine, errorS);
  worstCosine = hn::Max(worstCosine, errorC);
  // The factor and the product are each rounded once: 2 |s| and 2 |c|. After an odd number of half turns c is -2 - c, and
  // the subtraction rounds as well.
  const auto down = hn::Add(errorS, hn::Mul(two, hn::Abs(s)));
  const auto even = hn::Add(errorC, hn::Mul(two, hn::Abs(c)));
  const auto odd = hn::Add(hn::Add(errorC, one), hn::Mul(two, hn::Add(two, c)));
  const auto most = hn::Max(even, odd);
  const auto downSquare = hn::Mul(down, down);
  worstSquare = hn::Max(worstSquare, hn::Add(downSquare, hn::Mul(most, most)));
  const auto angle = hn::Mul(f, hn::Set(d, 3.14159265358979323846));
  const auto small = hn::Div(hn::MulAdd(even, even, downSquare), hn::Mul(angle, angle));
  worstSmall = hn::Max(worstSmall, hn::IfThenElseZero(hn::Le(angle, one), small));
}

/// All floats from 2^-14 up to 1/2. Below 2^-13 both polynomials are their first terms, whatever f: smaller floats have the
/// same relative errors. Negative ones only change the sign.
void MeasureHalfTurnSine(test::SineErrors& errors) {
  const hn::ScalableTag<double> d;
  const hn::Rebind<float, decltype(d)> df;
  const hn::RebindToUnsigned<decltype(df)> du;
  const std::uint32_t first = 0x38800000;
  const std::uint32_t last = 0x3F000000;
  const auto lanes = static_cast<std::uint32_t>(hn::Lanes(d));
  auto sine = hn::Zero(d);
  auto cosine = hn::Zero(d);
  auto square = hn::Zero(d);
  auto small = hn::Zero(d);
  auto bits = hn::Iota(du, first);
  const auto step = hn::Set(du, lanes);
  const auto end = hn::Set(du, last);
  for (std::uint32_t i = first; i <= last; i += lanes) {
    const auto f = hn::BitCast(df, hn::Min(bits, end));
    hn::Vec<decltype(df)> s;
    hn::Vec<decltype(df)> c;
    HalfTurnSine(df, f, s, c);
    GatherErrors(d, hn::PromoteTo(d, f), hn::PromoteTo(d, s), hn::PromoteTo(d, c), sine, cosine, square, small);
    bits = hn::Add(bits, step);
  }
  errors.sine = hn::GetLane(hn::MaxOfLanes(d, sine));
  errors.cosine = hn::GetLane(hn::MaxOfLanes(d, cosine));
  errors.movement = std::sqrt(hn::GetLane(hn::MaxOfLanes(d, square)));
  errors.smallMovement = std::sqrt(hn::GetLane(hn::MaxOfLanes(d, small)));
}

void HalfTurnSineOf(const double* f, double* sine, double* cosineLessOne) {
  const hn::CappedTag<double, 1> d;
  hn::Vec<decltype(d)> s;
  hn::Vec<decltype(d)> c;
  HalfTurnSineInDouble(d, hn::LoadU(d, f), s, c);
  hn::StoreU(s, d, sine);
  hn::StoreU(c, d, cosineLessOne);
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix {
HWY_EXPORT(MeasureHalfTurnSine);
HWY_EXPORT(HalfTurnSineOf);
}  // namespace norix

namespace norix::test {

namespace {

TEST(HalfTurnSineTest, DoublesAreCloseToTheLibrarys) {
  for (const std::int64_t target : Targets()) {
    const ForcedTarget forced(target);
    for (int i = -50000; i <= 50000; ++i) {
      const double f = i * 1e-5;
      const double half = std::sin(f * 3.14159265358979323846 / 2);
      double sine = 0;
      double cosineLessOne = 0;
      HWY_DYNAMIC_DISPATCH(HalfTurnSineOf)(&f, &sine, &cosineLessOne);
      ASSERT_NEAR(sine, std::sin(f * 3.14159265358979323846), 6e-14) << TargetName(target) << ' ' << f;
      ASSERT_NEAR(cosineLessOne, -2 * half * half, 6e-15) << TargetName(target) << ' ' << f;
    }
  }
}

// With and without fused products; all instruction sets without have the same bits.
TEST(HalfTurnSineTest, EveryFloatIsWithinTheBounds) {
  bool fusedDone = false;
  bool unfusedDone = false;
  for (const std::int64_t target : Targets()) {
    const bool fused = target <= HWY_AVX2;
    if (fused ? fusedDone : unfusedDone) continue;
    (fused ? fusedDone : unfusedDone) = true;
    const ForcedTarget forced(target);
    SineErrors errors;
    HWY_DYNAMIC_DISPATCH(MeasureHalfTurnSine)(errors);
    SCOPED_TRACE(TargetName(target));
    EXPECT_LE(errors.sine, 3.3);
    EXPECT_LE(errors.cosine, 2.8);
    EXPECT_LE(errors.movement, 7.4);
    EXPECT_LE(errors.smallMovement, 4.4);
    // The bounds are tight: half of them would not do.
    EXPECT_GE(errors.movement, 3.7);
    EXPECT_GE(errors.smallMovement, 2.2);
  }
}

}  // namespace

}  // namespace norix::test

#endif
