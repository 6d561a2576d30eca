#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace norix {

/// The middle of a plane enlarged to all of it, 100 percent and more in each direction, by bilinear interpolation.
class Enlargement {
public:
  /// May let std::bad_alloc through.
  Enlargement(int width, int height, int percentX, int percentY);

  /// Writes rows `firstRow` .. `firstRow + rowCount - 1`. Line sizes are in bytes and may be negative.
  void Render(const std::uint8_t* from, std::ptrdiff_t fromLine, std::uint8_t* to, std::ptrdiff_t toLine, int bytesPerPixel,
              int firstRow, int rowCount) const;

private:
  /// Between which two pixels of a line a result lies, and how far beyond the first, in 1/256.
  struct Place {
    int first;
    int second;
    int share;
  };

  static std::vector<Place> PlacesOf(int size, int percent);

  std::vector<Place> columns_;
  std::vector<Place> rows_;
};

}  // namespace norix
