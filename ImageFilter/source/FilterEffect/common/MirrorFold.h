#pragma once

#include <cstdint>

#include "FilterEffect/common/ExactInt.h"

namespace norix {

/// A move by `offset` sizes in whole samples: size * offset + 0.5, truncated toward zero (so negative moves are not rounded
/// like positive ones).
inline int ShiftOf(int size, double offset) { return TruncateToInt(size * offset + 0.5); }

/// Folds a shift into one period of the endless strip of a picture and its mirror image: -size .. size.
constexpr int FoldShift(int shift, int size) {
  const std::int64_t period = 2 * static_cast<std::int64_t>(size);
  std::int64_t folded = shift % period;
  if (folded > size) {
    folded -= period;
  } else if (folded < -size) {
    folded += period;
  }
  return static_cast<int>(folded);
}

}  // namespace norix
