#include "Enlarge.h"

#include <cstddef>

#include "common/Enlargement.h"

namespace norix::frei0r {

void Enlarge(const std::uint8_t* from, std::uint8_t* to, int width, int height, int percentX, int percentY) {
  const std::ptrdiff_t line = std::ptrdiff_t{4} * width;
  Enlargement(width, height, percentX, percentY).Render(from, line, to, line, 4, 0, height);
}

}  // namespace norix::frei0r
