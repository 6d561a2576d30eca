// Flip Roll Up, Down, Left, Right: the picture rolls ten sizes far over its mirror images, at an even speed, under a motion
// blur along the way that swells to the middle of the transition and fades.

#include <cstdint>

#include "GroupEffect/GroupEntries.h"
#include "GroupEffect/Groups.h"
#include "GroupEffect/TimeCurves.h"

namespace {

constexpr double kTimePerSize = 1000.0;

void RollVertically(int time, FilterGroupParam* group, std::int64_t way) {
  if (!group) return;
  norix::PrepareEntries<2>(*group, {"Mirror Move Y", "Motion Blur"});
  norix::ParamsOf<MirrorMoveYParams>(group->entries[0]).offset = static_cast<double>(way) / kTimePerSize;
  auto& blur = norix::ParamsOf<MotionBlurParams>(group->entries[1]);
  blur.strength = norix::RollBlur(time);
  blur.angle = 90.0;
}

void RollSideways(int time, FilterGroupParam* group, std::int64_t way) {
  if (!group) return;
  norix::PrepareEntries<2>(*group, {"Mirror Move X", "Motion Blur"});
  norix::ParamsOf<MirrorMoveXParams>(group->entries[0]).offset = static_cast<double>(way) / kTimePerSize;
  norix::ParamsOf<MotionBlurParams>(group->entries[1]).strength = norix::RollBlur(time);
}

}  // namespace

void FlipRollUp(int time, FilterGroupParam* group) { RollVertically(time, group, -std::int64_t{time}); }
void FlipRollDown(int time, FilterGroupParam* group) { RollVertically(time, group, time); }
void FlipRollLeft(int time, FilterGroupParam* group) { RollSideways(time, group, -std::int64_t{time}); }
void FlipRollRight(int time, FilterGroupParam* group) { RollSideways(time, group, time); }
