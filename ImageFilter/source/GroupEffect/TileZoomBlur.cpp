// Tile Zoom Blur: tiles under a strong zoom blur grow until one fills the picture, then the blur comes back once and fades.
// Tile Zoom Blur 1: the picture shrinks into tiles under a growing zoom blur and springs back to full size at half time.
// The jumps between the phases are part of the movement.

#include "GroupEffect/GroupEntries.h"
#include "GroupEffect/Groups.h"

namespace {

/// Negative in the first fifth of the time: no tiles then.
double GrowingScale(int time) {
  const double t = time;
  if (time <= 6499) return (t - 5000) * 0.2 / 1500.0 + 0.4;
  if (time <= 6699) return (t - 6500) * 0.4 / 200.0 + 0.6;
  return 1.0;
}

}  // namespace

void TileZoomBlur(int time, FilterGroupParam* group) {
  if (!group) return;
  norix::PrepareEntries<2>(*group, {"Tile Scale", "Zoom Blur"});
  norix::FieldOf(group->entries[0], &TileScaleParams::scale) = GrowingScale(time);
  double& strength = norix::FieldOf(group->entries[1], &ZoomBlurParams::strength);
  const double t = time;
  if (time <= 6499) {
    strength = 4.0;
  } else if (time <= 6999) {
    strength = (t - 6500) / -500.0 + 1.0;
  } else if (time <= 8999) {
    strength = 2 * ((t - 7000) / -2000.0 + 1.0);
  }  // at the end it stays as it is
}

void TileZoomBlur1(int time, FilterGroupParam* group) {
  if (!group) return;
  norix::PrepareEntries<2>(*group, {"Tile Scale", "Zoom Blur"});
  const double t = time;
  const bool shrinking = time <= 4999;
  norix::FieldOf(group->entries[0], &TileScaleParams::scale) = shrinking ? t / -10000.0 + 1.0 : 1.0;
  // Slightly negative at the very end, which is no blur.
  norix::FieldOf(group->entries[1], &ZoomBlurParams::strength) = shrinking ? t * 3.2 / 5000.0 : (9600 - t) * 3.2 / 4600.0;
}
