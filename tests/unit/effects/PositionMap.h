#ifndef NORIX_TESTS_UNIT_EFFECTS_POSITIONMAP_H
#define NORIX_TESTS_UNIT_EFFECTS_POSITIONMAP_H

#include <ostream>

#include "Render.h"

namespace norix::test {

struct Position {
  int column;
  int row;
  friend bool operator==(const Position&, const Position&) = default;
  friend void PrintTo(const Position& position, std::ostream* out) { *out << position.column << ',' << position.row; }
};

/** Every pixel of a packed picture says in its first three bytes where it stands, up to column 65535 and row 255. */
inline Picture PositionMap(int format, int width, int height) {
  Picture map({format, width, height, {}, {}}, 1);
  const int bytesPerPixel = FormatOf(format).bytesPerPixel;
  for (int row = 0; row < height; ++row)
    for (int column = 0; column < width; ++column) {
      map.At(0, row, bytesPerPixel * column) = static_cast<std::uint8_t>(column);
      map.At(0, row, bytesPerPixel * column + 1) = static_cast<std::uint8_t>(column >> 8);
      map.At(0, row, bytesPerPixel * column + 2) = static_cast<std::uint8_t>(row);
    }
  return map;
}

/** Where the pixel of a map comes from that now stands at this place. */
inline Position SourceOf(const Picture& picture, int column, int row) {
  const int at = FormatOf(picture.Shape().format).bytesPerPixel * column;
  return {picture.At(0, row, at) + 256 * picture.At(0, row, at + 1), picture.At(0, row, at + 2)};
}

inline Picture Moved(const char* name, Picture map, FilterParams* params) {
  Picture out(map.Shape(), 99);
  RenderAll(name, out, map, params);
  return out;
}

}  // namespace norix::test

#endif
