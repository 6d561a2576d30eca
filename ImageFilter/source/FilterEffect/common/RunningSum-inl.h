// Running sums in vectors, to the bit.

#if defined(NORIX_RUNNING_SUM_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NORIX_RUNNING_SUM_INL_H
#undef NORIX_RUNNING_SUM_INL_H
#else
#define NORIX_RUNNING_SUM_INL_H
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// How many times `value` may grow by `rounded`, the first rounded step, before rounding changes; `most` at the most.
///
/// Between two neighbouring powers of two all numbers are multiples of one unit, so adding `step` rounds the step to whole
/// units: always alike, except that a step of a half unit more than a whole one is rounded by the parity of the sum. Then
/// two like steps in a row are steps of an even number of units and leave the parity, and with it the rounding, as it is.
inline std::size_t SteadySteps(double value, double step, double rounded, std::size_t most) {
  constexpr std::uint64_t kSignAndExponent = 0xFFF0000000000000U;
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  bits &= kSignAndExponent;
  double power;
  std::memcpy(&power, &bits, sizeof power);
  const double border = std::signbit(rounded) == std::signbit(value) ? 2 * power : power;
  // One less than fit, so that the next value is short of the border by a step.
  const double fitting = (border - value - rounded) / rounded;
  const std::size_t steps = fitting < static_cast<double>(most) ? static_cast<std::size_t>(std::max(fitting, 0.0)) : most;
  const double end = value + static_cast<double>(steps) * rounded;
  std::uint64_t endBits;
  std::memcpy(&endBits, &end, sizeof endBits);
  const double second = value + rounded;
  return (second + step) - second == rounded && (endBits & kSignAndExponent) == bits ? steps : 0;
}

/// Writes value, value + step, (value + step) + step, ... and returns what follows them. Steady steps are multiples of the
/// first one, which no rounding touches.
HWY_INLINE double FillRunningSum(double value, double step, std::size_t count, double* out) {
  std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<double> d;
  const std::size_t lanes = hn::Lanes(d);
  constexpr std::size_t kFew = 4;
  while (count - i >= 2 * lanes) {
    const double rounded = (value + step) - value;
    const std::size_t steady = SteadySteps(value, step, rounded, count - i);
    if (steady < kFew) {
      for (const std::size_t end = i + kFew; i < end; ++i, value += step) out[i] = value;
      continue;
    }
    const auto advance = hn::Set(d, static_cast<double>(2 * lanes) * rounded);
    auto low = hn::Add(hn::Set(d, value), hn::Mul(hn::Iota(d, 0.0), hn::Set(d, rounded)));
    auto high = hn::Add(low, hn::Set(d, static_cast<double>(lanes) * rounded));
    // What the last vectors write too much is overwritten.
    std::size_t j = 0;
    for (; j < steady && i + j + 2 * lanes <= count; j += 2 * lanes) {
      hn::StoreU(low, d, out + i + j);
      hn::StoreU(high, d, out + i + j + lanes);
      low = hn::Add(low, advance);
      high = hn::Add(high, advance);
    }
    const std::size_t done = std::min(j, steady);
    value += static_cast<double>(done) * rounded;
    i += done;
  }
#endif
  for (; i < count; ++i, value += step) out[i] = value;
  return value;
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
