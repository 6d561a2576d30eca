#pragma once

#include <cstdint>
#include <limits>

namespace norix {

/// Double to int, toward zero; saturates at the range of int, and NaN gives 0, so that no parameter is undefined behaviour.
inline int TruncateToInt(double value) {
  constexpr auto kMin = std::numeric_limits<std::int32_t>::min();
  constexpr auto kMax = std::numeric_limits<std::int32_t>::max();
  if (value >= static_cast<double>(kMax)) return kMax;
  if (value <= static_cast<double>(kMin)) return kMin;
  return value == value ? static_cast<int>(value) : 0;
}

/// The nearest index of 0 .. size - 1. With size below 1 the answer is 0.
template <class Int>
constexpr Int ClampIndex(Int index, Int size) {
  const Int upper = index >= size ? size - 1 : index;
  return upper < 0 ? 0 : upper;
}

/// Where a position in samples lies: truncated toward zero, moved to the nearest index of 0 .. size - 1.
inline int NearestIndex(double position, int size) { return ClampIndex(TruncateToInt(position), size); }

}  // namespace norix
