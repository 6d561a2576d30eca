// Blurry Roll Down, Blurry Roll Left, Blurry Cross Right Up: after a short run-up the picture rolls fast through ten sizes
// and settles, along one axis or both, under a motion blur along the way that swells and fades.

#include "GroupEffect/GroupEntries.h"
#include "GroupEffect/Groups.h"
#include "GroupEffect/TimeCurves.h"

void BlurryRollDown(int time, FilterGroupParam* group) {
  if (!group) return;
  norix::PrepareEntries<2>(*group, {"Mirror Move Y", "Motion Blur"});
  norix::ParamsOf<MirrorMoveYParams>(group->entries[0]).offset = norix::FallingRoll(time);
  auto& blur = norix::ParamsOf<MotionBlurParams>(group->entries[1]);
  blur.strength = norix::RollBlur(time);
  blur.angle = 90.0;
}

void BlurryRollLeft(int time, FilterGroupParam* group) {
  if (!group) return;
  norix::PrepareEntries<2>(*group, {"Mirror Move X", "Motion Blur"});
  norix::ParamsOf<MirrorMoveXParams>(group->entries[0]).offset = norix::RisingRoll(time);
  norix::ParamsOf<MotionBlurParams>(group->entries[1]).strength = norix::RollBlur(time);
}

void BlurryCross(int time, FilterGroupParam* group) {
  if (!group) return;
  norix::PrepareEntries<3>(*group, {"Mirror Move X", "Mirror Move Y", "Motion Blur"});
  norix::ParamsOf<MirrorMoveXParams>(group->entries[0]).offset = norix::FallingRoll(time);
  norix::ParamsOf<MirrorMoveYParams>(group->entries[1]).offset = norix::RisingRoll(time);
  auto& blur = norix::ParamsOf<MotionBlurParams>(group->entries[2]);
  blur.strength = norix::RollBlur(time);
  blur.angle = -36.0;
}
