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
  norix::FieldOf(group->entries[0], &MirrorMoveYParams::offset) = static_cast<double>(way) / kTimePerSize;
  FilterGroupEntry& blur = group->entries[1];
  norix::FieldOf(blur, &MotionBlurParams::strength) = norix::RollBlur(time);
  norix::FieldOf(blur, &MotionBlurParams::angle) = 90.0;
}

void RollSideways(int time, FilterGroupParam* group, std::int64_t way) {
  if (!group) return;
  norix::PrepareEntries<2>(*group, {"Mirror Move X", "Motion Blur"});
  norix::FieldOf(group->entries[0], &MirrorMoveXParams::offset) = static_cast<double>(way) / kTimePerSize;
  norix::FieldOf(group->entries[1], &MotionBlurParams::strength) = norix::RollBlur(time);
}

}  // namespace

void FlipRollUp(int time, FilterGroupParam* group) { RollVertically(time, group, -std::int64_t{time}); }
void FlipRollDown(int time, FilterGroupParam* group) { RollVertically(time, group, time); }
void FlipRollLeft(int time, FilterGroupParam* group) { RollSideways(time, group, -std::int64_t{time}); }
void FlipRollRight(int time, FilterGroupParam* group) { RollSideways(time, group, time); }
