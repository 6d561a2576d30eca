#include "Enlarge.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace norix::frei0r {

namespace {

/// Between which two pixels of a line a result lies, and how far beyond the first, in 1/256.
struct Place {
  int first;
  int second;
  int share;
};

/// Pixel centres keep their distances from the middle, multiplied.
std::vector<Place> PlacesOf(int size, int percent) {
  std::vector<Place> places(static_cast<std::size_t>(size));
  const double step = 100.0 / std::max(percent, 100);
  const double middle = size / 2.0;
  for (int i = 0; i < size; ++i) {
    const double at = std::clamp((i + 0.5 - middle) * step + middle - 0.5, 0.0, size - 1.0);
    const int first = static_cast<int>(at);
    places[static_cast<std::size_t>(i)] = {first, std::min(first + 1, size - 1), static_cast<int>((at - first) * 256)};
  }
  return places;
}

}  // namespace

void Enlarge(const std::uint8_t* from, std::uint8_t* to, int width, int height, int percentX, int percentY) {
  const std::vector<Place> columns = PlacesOf(width, percentX);
  const std::vector<Place> rows = PlacesOf(height, percentY);
  const std::ptrdiff_t line = std::ptrdiff_t{4} * width;
  for (const Place& row : rows) {
    const std::uint8_t* above = from + row.first * line;
    const std::uint8_t* below = from + row.second * line;
    for (const Place& column : columns) {
      const std::ptrdiff_t left = std::ptrdiff_t{4} * column.first;
      const std::ptrdiff_t right = std::ptrdiff_t{4} * column.second;
      for (int i = 0; i < 4; ++i) {
        const int upper = above[left + i] * (256 - column.share) + above[right + i] * column.share;
        const int lower = below[left + i] * (256 - column.share) + below[right + i] * column.share;
        *to++ = static_cast<std::uint8_t>((upper * (256 - row.share) + lower * row.share + (1 << 15)) >> 16);
      }
    }
  }
}

}  // namespace norix::frei0r
