// Running sums in vectors, to the bit.

#if defined(NORIX_RUNNING_SUM_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NORIX_RUNNING_SUM_INL_H
#undef NORIX_RUNNING_SUM_INL_H
#else
#define NORIX_RUNNING_SUM_INL_H
#endif

#include <hwy/highway.h>

#include <cstddef>

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Writes value, value + step, (value + step) + step, ... and returns what follows them.
///
/// While the sum stays within a power of two, its rounded steps are all equal, so whole runs are guessed as multiples of
/// the first one. A run counts only if every guess plus `step` rounds to the next guess: then it is the running sum, by
/// induction, whatever the numbers are. Other runs are added up one by one.
HWY_INLINE double FillRunningSum(double value, double step, std::size_t count, double* out) {
  std::size_t i = 0;
#if HWY_TARGET != HWY_SCALAR
  constexpr std::size_t kRun = 32;
  const hn::ScalableTag<double> d;
  const auto steps = hn::Set(d, step);
  const auto one = hn::Set(d, 1.0);
  for (; i + kRun <= count; i += kRun) {
    const auto base = hn::Set(d, value);
    const auto rounded = hn::Set(d, (value + step) - value);
    auto right = hn::Eq(base, base);
    for (std::size_t j = 0; j < kRun; j += hn::Lanes(d)) {
      const auto index = hn::Iota(d, static_cast<double>(j));
      const auto guess = hn::Add(base, hn::Mul(index, rounded));
      const auto next = hn::Add(base, hn::Mul(hn::Add(index, one), rounded));
      right = hn::And(right, hn::Eq(hn::Add(guess, steps), next));
      hn::StoreU(guess, d, out + i + j);
    }
    if (hn::AllTrue(d, right)) {
      value = out[i + kRun - 1] + step;
      continue;
    }
    for (std::size_t j = 0; j < kRun; ++j, value += step) out[i + j] = value;
  }
#endif
  for (; i < count; ++i, value += step) out[i] = value;
  return value;
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
