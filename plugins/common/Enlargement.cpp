#include "common/Enlargement.h"

#include <algorithm>

namespace norix {

Enlargement::Enlargement(int width, int height, int percentX, int percentY)
    : columns_(PlacesOf(width, percentX)), rows_(PlacesOf(height, percentY)) {}

// Pixel centres keep their distances from the middle, multiplied.
std::vector<Enlargement::Place> Enlargement::PlacesOf(int size, int percent) {
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

void Enlargement::Render(const std::uint8_t* from, std::ptrdiff_t fromLine, std::uint8_t* to, std::ptrdiff_t toLine,
                         int bytesPerPixel, int firstRow, int rowCount) const {
  for (int y = firstRow; y < firstRow + rowCount; ++y) {
    const Place& row = rows_[static_cast<std::size_t>(y)];
    const std::uint8_t* above = from + row.first * fromLine;
    const std::uint8_t* below = from + row.second * fromLine;
    std::uint8_t* out = to + y * toLine;
    for (const Place& column : columns_) {
      const std::ptrdiff_t left = std::ptrdiff_t{bytesPerPixel} * column.first;
      const std::ptrdiff_t right = std::ptrdiff_t{bytesPerPixel} * column.second;
      for (int i = 0; i < bytesPerPixel; ++i) {
        const int upper = above[left + i] * (256 - column.share) + above[right + i] * column.share;
        const int lower = below[left + i] * (256 - column.share) + below[right + i] * column.share;
        *out++ = static_cast<std::uint8_t>((upper * (256 - row.share) + lower * row.share + (1 << 15)) >> 16);
      }
    }
  }
}

}  // namespace norix
