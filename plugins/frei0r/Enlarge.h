#pragma once

#include <cstdint>

namespace norix::frei0r {

/// Enlarges the middle of a picture to all of it, 100 percent and more in each direction, by bilinear interpolation.
/// May let std::bad_alloc through.
void Enlarge(const std::uint8_t* from, std::uint8_t* to, int width, int height, int percentX, int percentY);

}  // namespace norix::frei0r
