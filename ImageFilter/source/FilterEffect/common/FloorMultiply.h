#pragma once

#include <cmath>
#include <cstdint>

namespace norix {

/// A factor, taken apart for floor(factor * D + offset) in 16-bit lanes; the lanes are in FloorMultiply-inl.h.
///
/// factor = coarse / 2^14 + fine / 2^28 + rest, with 0 <= fine < 2^14 and 0 <= rest < 2^-28.
struct FloorFactor {
  std::int16_t coarse = 0;
  std::int16_t fine = 0;
  std::int16_t offset = 0;  ///< in units of 2^-14; one more than asked for unless exact
  bool exact = false;       ///< a multiple of 2^-14: the lanes' result is exact and never in doubt

  FloorFactor() = default;
  /// For factors that fit. The offset is 0 or 1/2.
  FloorFactor(double factor, bool plusHalf) {
    const double scaled = factor * 16384;
    const double below = std::floor(scaled);
    coarse = static_cast<std::int16_t>(below);
    fine = static_cast<std::int16_t>((scaled - below) * 16384);
    exact = scaled == below;
    offset = static_cast<std::int16_t>((plusHalf ? 1 << 13 : 0) + (exact ? 0 : 1));
  }

  /// False for NaN too.
  static bool Fits(double factor) { return factor >= -2 && factor < 2; }
};

}  // namespace norix
