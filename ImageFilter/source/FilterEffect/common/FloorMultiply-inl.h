// floor(factor * D + offset) in 16-bit lanes, |D| <= 1020, with a doubt for lanes that sit on a border. Not for HWY_SCALAR.

#if defined(NORIX_FLOOR_MULTIPLY_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NORIX_FLOOR_MULTIPLY_INL_H
#undef NORIX_FLOOR_MULTIPLY_INL_H
#else
#define NORIX_FLOOR_MULTIPLY_INL_H
#endif

#include "FilterEffect/common/FloorMultiply.h"
#include "FilterEffect/common/VectorOps-inl.h"

#if HWY_TARGET != HWY_SCALAR

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {

/// `margin` is 0 in the lanes whose floor may be wrong, and positive in all others.
struct FloorLanes {
  WordVector floor;
  WordVector margin;
};

/// Lanes hold 4 D: then D * coarse / 2^14 = high + low u exactly, with u = 2^-14, high the upper half of 4 D * coarse and
/// low a quarter of its lower half. With
///   t = low + ((4 D * fine) >> 16) + offset + 1
/// the true value is high + (t - 1 + error) u: the shift of 4 D * fine drops less than 1 and the rest of the factor adds at
/// most 1020 / 2^14 either way, -0.07 < error < 1.07. So high + (t >> 14) is the floor of a value up to 1.07 u too high,
/// which differs from the true floor only where t is 0 or 1 modulo 2^14. In those lanes margin is 0, and in all whose true
/// value is within 2^-20 of a whole number. A factor that is a multiple of 2^-14 has fine = 0 and no rest: without the 1
/// the error is 0, the floor always right.
struct FloorMultiply {
  WordVector coarse;
  WordVector fine;
  WordVector offset;

  explicit HWY_INLINE FloorMultiply(const FloorFactor& f)
      : coarse(hn::Set(Words(), f.coarse)), fine(hn::Set(Words(), f.fine)), offset(hn::Set(Words(), f.offset)) {}

  HWY_INLINE FloorLanes operator()(WordVector fourD) const {
    const Words d;
    const auto high = hn::MulHigh(fourD, coarse);
    const auto low = hn::BitCast(d, hn::ShiftRight<2>(hn::BitCast(UnsignedWords(), hn::Mul(fourD, coarse))));
    const auto t = hn::Add(hn::Add(low, offset), hn::MulHigh(fourD, fine));
    return {hn::Add(high, hn::ShiftRight<14>(t)), hn::And(t, hn::Set(d, 16382))};
  }
};

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // not scalar
#endif  // toggle
