#pragma once

// What every effect and group looks like, in a few words that all users read.

#include <string_view>

namespace norix::host {

struct Summary {
  const char* name;
  const char* text;
};

/// In the engine's order.
inline constexpr Summary kEffectSummaries[] = {
    {"Ground Glass", "the picture as seen through frosted glass"},
    {"Swirl", "twists the picture about a centre"},
    {"Vignette", "darkens the picture towards its edges"},
    {"Emboss", "relief along one diagonal"},
    {"Sketch", "pencil drawing"},
    {"Comicbook", "harsh colours of a printed comic"},
    {"Pinch", "draws the middle of the picture together"},
    {"Bulge", "magnifies the middle of the picture"},
    {"Stretch", "listed by the engine, has no picture"},
    {"Zoom Blur", "smears the picture towards a centre"},
    {"Motion Blur", "smears the picture in one direction"},
    {"Ripple", "rings of waves about the middle"},
    {"Focus Color", "colour inside a circle, gray outside"},
    {"Mirror Move X", "moves the picture sideways, mirrored at its edges"},
    {"Mirror Move Y", "moves the picture up or down, mirrored at its edges"},
    {"Tile Scale", "shrinks the picture and repeats it as tiles"},
};

/// In the engine's order.
inline constexpr Summary kGroupSummaries[] = {
    {"Mirror Scale Blur", "twists, grows to twice its size and blurs outward"},
    {"Flip Roll Up", "rolls upwards over its mirror images, blurred by the speed"},
    {"Flip Roll Down", "rolls downwards over its mirror images, blurred by the speed"},
    {"Flip Roll Left", "rolls to the left over its mirror images, blurred by the speed"},
    {"Flip Roll Right", "rolls to the right over its mirror images, blurred by the speed"},
    {"Blurry Roll Down", "takes a short run-up, rolls downwards fast and settles"},
    {"Blurry Roll Left", "takes a short run-up, rolls to the left fast and settles"},
    {"Blurry Cross Right Up", "takes a short run-up, rolls to the right and up fast and settles"},
    {"Tile Zoom Blur", "breaks into tiles that grow back into the picture out of a zoom blur"},
    {"Tile Zoom Blur 1", "shrinks into tiles under a zoom blur and springs back"},
};

/// The text of that name, which must be in one of the tables.
constexpr const char* SummaryOf(std::string_view name) {
  for (const Summary& summary : kEffectSummaries) {
    if (name == summary.name) return summary.text;
  }
  for (const Summary& summary : kGroupSummaries) {
    if (name == summary.name) return summary.text;
  }
  return nullptr;
}

}  // namespace norix::host
