#pragma once

#include <string_view>

namespace norix::python {

/// What decides how an effect is cut and which pictures it is handed.
struct Traits {
  const char* name;
  bool cut;             ///< bands that begin at even rows, joined, are the whole picture
  const char* because;  ///< why that is so
};

inline constexpr const char* kOwnPlace = "every pixel follows from its own place in the picture and the source around it";
inline constexpr const char* kSumOfRows = "a row's place is a sum of steps that begins at the band's first row";

inline constexpr Traits kTraits[] = {
    {"Ground Glass", false, "the random numbers are drawn pixel by pixel, in order"},
    {"Swirl", false, kSumOfRows},
    {"Vignette", false, kSumOfRows},
    {"Emboss", true, kOwnPlace},
    {"Sketch", false, "the drawing knows nothing above its band"},
    {"Comicbook", true, kOwnPlace},
    {"Pinch", false, kSumOfRows},
    {"Bulge", false, kSumOfRows},
    {"Zoom Blur", false, kSumOfRows},
    {"Motion Blur", true, kOwnPlace},
    {"Ripple", true, kOwnPlace},
    {"Focus Color", true, kOwnPlace},
    {"Mirror Move X", true, kOwnPlace},
    {"Mirror Move Y", false, "a band within the mirrored part shows it one row lower"},
    {"Tile Scale", false, "a tile's rows are a sum of steps that begins at the band's first row"},
};

/// Null when there is none: the effect has no picture.
constexpr const Traits* TraitsOf(std::string_view name) {
  for (const Traits& traits : kTraits) {
    if (name == traits.name) return &traits;
  }
  return nullptr;
}

}  // namespace norix::python
