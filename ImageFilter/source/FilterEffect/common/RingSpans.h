#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace norix {

/// Columns begin .. end - 1.
struct Span {
  int begin;
  int end;
};

/// The spans of a row of a picture that fades out around a point. Each lies within the one before; an empty one lies where
/// the two sides of what is around it part.
struct RingSpans {
  Span visible;  ///< the ring and all within it; black beyond
  Span faint;    ///< almost unchanged
  Span unchanged;
};

/// The squares of the spans' largest distances, in falling order; negative: no distance is small enough.
struct RingLimits {
  double visible = -1;
  double faint = -1;
  double unchanged = -1;
};

/// The largest square of a distance for which `within` holds, negative if there is none. `within` holds from 0 up to
/// some square below 2^1000 and for none beyond; `guess`, not negative, is about that square.
template <class Within>
double LargestSquareWithin(double guess, const Within& within) {
  if (!within(0.0)) return -1;
  // Numbers from 0 on have the order of their bits.
  const auto holds = [&](std::uint64_t bits) {
    double square;
    std::memcpy(&square, &bits, sizeof square);
    return within(square);
  };
  std::uint64_t inside;
  std::memcpy(&inside, &guess, sizeof inside);
  std::uint64_t outside = inside;
  std::uint64_t step = 1;
  if (holds(inside)) {
    for (outside += step; holds(outside); outside += step) {
      inside = outside;
      step *= 4;
    }
  } else {
    for (inside -= std::min(inside, step); !holds(inside); inside -= std::min(inside, step)) {
      outside = inside;
      step *= 4;
    }
  }
  while (outside - inside > 1) {
    const std::uint64_t middle = inside + (outside - inside) / 2;
    (holds(middle) ? inside : outside) = middle;
  }
  double square;
  std::memcpy(&square, &inside, sizeof square);
  return square;
}

/// Columns of a row by their distances from a point, in ascending order.
struct ColumnDistances {
  const double* dx = nullptr;
  int count = 0;
  int nearest = 0;  ///< to the point
  double perUnit = 0;

  ColumnDistances() = default;
  ColumnDistances(const double* distances, int columns, double columnsPerUnit)
      : dx(distances), count(columns), perUnit(columnsPerUnit) {
    nearest = static_cast<int>(std::lower_bound(dx, dx + count, 0.0) - dx);
    if (nearest == count || (nearest > 0 && -dx[nearest - 1] < dx[nearest])) --nearest;
  }

  /// The columns whose dx^2 + dySquare is at most `square`.
  Span Within(double square, double dySquare) const {
    const auto inside = [&](int i) { return dx[i] * dx[i] + dySquare <= square; };
    if (!inside(nearest)) return {0, 0};
    Span span = {0, count};
    const bool first = inside(0);
    const bool last = inside(count - 1);
    if (first && last) return span;
    // The root says where the span ends, but for rounding.
    const double reach = std::sqrt(square - dySquare);
    if (!first) {
      span.begin = std::clamp(static_cast<int>((-reach - dx[0]) * perUnit) + 1, 0, nearest);
      while (span.begin > 0 && inside(span.begin - 1)) --span.begin;
      while (!inside(span.begin)) ++span.begin;
    }
    if (!last) {
      span.end = std::clamp(static_cast<int>((reach - dx[0]) * perUnit) + 1, nearest + 1, count);
      while (!inside(span.end - 1)) --span.end;
      while (span.end < count && inside(span.end)) ++span.end;
    }
    return span;
  }

  /// `axis` is the column where the sides part, if both are in the picture.
  RingSpans Spans(const RingLimits& limits, double dySquare, int axis) const {
    const auto within = [&](double square, Span around) {
      const Span span = Within(square, dySquare);
      if (span.begin < span.end) return span;
      const int parting = std::clamp(axis, around.begin, around.end);
      return Span{parting, parting};
    };
    const Span visible = Within(limits.visible, dySquare);
    const Span faint = within(limits.faint, visible);
    return {visible, faint, limits.faint == limits.unchanged ? faint : within(limits.unchanged, faint)};
  }
};

}  // namespace norix
