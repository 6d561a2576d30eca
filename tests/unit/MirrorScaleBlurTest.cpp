// The group function by itself, without the entry point's care for the record.

#include "GroupEffect/Groups.h"

#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

namespace {

TEST(MirrorScaleBlur, TakesNoRecord) { MirrorScaleBlur(5000, nullptr); }

TEST(MirrorScaleBlur, LeavesTheNameToItsCaller) {
  auto* group = new FilterGroupParam{nullptr, 0, nullptr};
  MirrorScaleBlur(7500, group);
  EXPECT_EQ(group->name, nullptr);
  ASSERT_EQ(group->count, 3);
  EXPECT_EQ(dynamic_cast<SwirlParams&>(*group->entries[0].params).angle, 270.0);
  EXPECT_EQ(group->entries[1].scaleX, 175);
  EXPECT_EQ(dynamic_cast<ZoomBlurParams&>(*group->entries[2].params).strength, 3.0);
  ReleaseFilterGroupParam(group);
}

TEST(MirrorScaleBlur, RestoresTheCountOfARecordInUse) {
  auto* group = new FilterGroupParam{nullptr, 0, nullptr};
  MirrorScaleBlur(0, group);
  FilterGroupEntry* entries = group->entries;
  group->count = 0;
  MirrorScaleBlur(10000, group);
  EXPECT_EQ(group->count, 3);
  EXPECT_EQ(group->entries, entries);
  EXPECT_EQ(group->entries[1].scaleY, 200);
  ReleaseFilterGroupParam(group);
}

}  // namespace
