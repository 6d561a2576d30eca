// Sine and cosine of angles up to a quarter turn to either side, counted in half turns.

#if defined(NORIX_HALF_TURN_SINE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NORIX_HALF_TURN_SINE_INL_H
#undef NORIX_HALF_TURN_SINE_INL_H
#else
#define NORIX_HALF_TURN_SINE_INL_H
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// sin(pi f) and cos(pi f) - 1 for |f| <= 1/2 in single precision, interpolated at Chebyshev nodes: 7e-9 and 1e-9 off, and
/// with rounding at most 3.3 and 2.8 times 2^-24, fused or not. No derivation: a test tries every f.
template <class D>
HWY_INLINE void HalfTurnSine(D d, hn::Vec<D> f, hn::Vec<D>& sine, hn::Vec<D>& cosineLessOne) {
  const auto z = hn::Mul(f, f);
  auto p = hn::MulAdd(z, hn::Set(d, 0.077655912276F), hn::Set(d, -0.598290411283F));
  auto q = hn::MulAdd(z, hn::Set(d, -0.0246271115952F), hn::Set(d, 0.235074368322F));
  p = hn::MulAdd(z, p, hn::Set(d, 2.55007738653F));
  q = hn::MulAdd(z, q, hn::Set(d, -1.3352399607F));
  p = hn::MulAdd(z, p, hn::Set(d, -5.16771007667F));
  q = hn::MulAdd(z, q, hn::Set(d, 4.05871141468F));
  p = hn::MulAdd(z, p, hn::Set(d, 3.14159264008F));
  q = hn::MulAdd(z, q, hn::Set(d, -4.93480219699F));
  sine = hn::Mul(f, p);
  cosineLessOne = hn::Mul(z, q);
}

/// The same in double precision, by the Taylor series: 6e-14 and 5e-15 off.
template <class D>
HWY_INLINE void HalfTurnSineInDouble(D d, hn::Vec<D> f, hn::Vec<D>& sine, hn::Vec<D>& cosineLessOne) {
  const auto z = hn::Mul(f, f);
  auto p = hn::Set(d, 7.9520540014755127e-7);
  p = hn::MulAdd(p, z, hn::Set(d, -0.000021915353447830215827));
  p = hn::MulAdd(p, z, hn::Set(d, 0.00046630280576761256442));
  p = hn::MulAdd(p, z, hn::Set(d, -0.0073704309457143507773));
  p = hn::MulAdd(p, z, hn::Set(d, 0.082145886611128228799));
  p = hn::MulAdd(p, z, hn::Set(d, -0.59926452932079207689));
  p = hn::MulAdd(p, z, hn::Set(d, 2.5501640398773454439));
  p = hn::MulAdd(p, z, hn::Set(d, -5.1677127800499700292));
  p = hn::MulAdd(p, z, hn::Set(d, 3.1415926535897932385));
  auto q = hn::Set(d, -1.3878952462213772114e-7);
  q = hn::MulAdd(q, z, hn::Set(d, 4.3030695870329470073e-6));
  q = hn::MulAdd(q, z, hn::Set(d, -0.00010463810492484570712));
  q = hn::MulAdd(q, z, hn::Set(d, 0.0019295743094039230479));
  q = hn::MulAdd(q, z, hn::Set(d, -0.025806891390014060013));
  q = hn::MulAdd(q, z, hn::Set(d, 0.23533063035889320454));
  q = hn::MulAdd(q, z, hn::Set(d, -1.3352627688545894959));
  q = hn::MulAdd(q, z, hn::Set(d, 4.0587121264167682182));
  q = hn::MulAdd(q, z, hn::Set(d, -4.9348022005446793094));
  sine = hn::Mul(f, p);
  cosineLessOne = hn::Mul(z, q);
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
