// Blurry Roll Down, Blurry Roll Left, Blurry Cross Right Up: after a short run-up the picture rolls fast through ten sizes
// and settles, along one axis or both, under a motion blur along the way that swells and fades.

#include "GroupEffect/GroupEntries.h"
#include "GroupEffect/Groups.h"
#include "GroupEffect/TimeCurves.h"

void BlurryRollDown(int time, FilterGroupParam* group) {
  if (!group) return;
  norix::PrepareEntries<2>(*group, {"Mirror Move Y", "Motion Blur"});
  norix::FieldOf(group->entries[0], &MirrorMoveYParams::offset) = norix::FallingRoll(time);
  FilterGroupEntry& blur = group->entries[1];
  norix::FieldOf(blur, &MotionBlurParams::strength) = norix::RollBlur(time);
  norix::FieldOf(blur, &MotionBlurParams::angle) = 90.0;
}

void BlurryRollLeft(int time, FilterGroupParam* group) {
  if (!group) return;
  norix::PrepareEntries<2>(*group, {"Mirror Move X", "Motion Blur"});
  norix::FieldOf(group->entries[0], &MirrorMoveXParams::offset) = norix::RisingRoll(time);
  norix::FieldOf(group->entries[1], &MotionBlurParams::strength) = norix::RollBlur(time);
}

void BlurryCross(int time, FilterGroupParam* group) {
  if (!group) return;
  norix::PrepareEntries<3>(*group, {"Mirror Move X", "Mirror Move Y", "Motion Blur"});
  norix::FieldOf(group->entries[0], &MirrorMoveXParams::offset) = norix::FallingRoll(time);
  norix::FieldOf(group->entries[1], &MirrorMoveYParams::offset) = norix::RisingRoll(time);
  FilterGroupEntry& blur = group->entries[2];
  norix::FieldOf(blur, &MotionBlurParams::strength) = norix::RollBlur(time);
  norix::FieldOf(blur, &MotionBlurParams::angle) = -36.0;
}
