// Group records: what hosts read of them, how they are reused and freed.

#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "CountedParams.h"
#include "GroupSlot.h"

namespace {

using norix::test::CountedParams;
using Slot = norix::test::GroupSlot;

constexpr const char* kMirrorScaleBlur = "Mirror Scale Blur";

char* NewName(const char* name) {
  const std::size_t bytes = std::strlen(name) + 1;
  auto* copy = new char[bytes];
  std::memcpy(copy, name, bytes);
  return copy;
}

double Angle(Slot& slot) { return slot.As<SwirlParams>(0).angle; }
double Strength(Slot& slot) { return slot.As<ZoomBlurParams>(2).strength; }

TEST(FilterGroup, NullGroupIsHarmless) {
  GetFilterGroupParam(kMirrorScaleBlur, 5000, nullptr);
  GetFilterGroupParam(nullptr, 5000, nullptr);
  GetFilterGroupParam("unknown", 5000, nullptr);
  ReleaseFilterGroupParam(nullptr);
}

TEST(FilterGroup, NullNameGivesAnEmptyRecord) {
  Slot slot;
  slot.Get(nullptr, 5000);
  ASSERT_NE(slot.group, nullptr);
  EXPECT_EQ(slot.group->name, nullptr);
  EXPECT_EQ(slot.group->count, 0);
  EXPECT_EQ(slot.group->entries, nullptr);
}

TEST(FilterGroup, NullNameReplacesARecordWithoutReleasingIt) {
  Slot old;
  old.Get(kMirrorScaleBlur, 5000);
  FilterGroupParam* group = old.group;
  GetFilterGroupParam(nullptr, 5000, &group);
  ASSERT_NE(group, old.group);
  EXPECT_EQ(group->entries, nullptr);
  EXPECT_STREQ(old.group->name, kMirrorScaleBlur);
  EXPECT_EQ(old.group->count, 3);
  EXPECT_EQ(Angle(old), 180.0);
  ReleaseFilterGroupParam(group);
}

class UnknownGroup : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Names, UnknownGroup,
                         testing::Values("No such group", "", "mirror scale blur", "Mirror Scale Blur ", "MirrorScaleBlur",
                                         "Flip Roll", "flip roll up", "Blurry Roll Up", "Blurry Cross", "Tile Zoom Blur 2",
                                         "Swirl"));

TEST_P(UnknownGroup, GivesANamedRecordWithoutEntries) {
  Slot slot;
  slot.Get(GetParam(), 5000);
  ASSERT_NE(slot.group, nullptr);
  EXPECT_STREQ(slot.group->name, GetParam());
  EXPECT_NE(slot.group->name, GetParam()) << "the record keeps a copy";
  EXPECT_EQ(slot.group->count, 0);
  EXPECT_EQ(slot.group->entries, nullptr);
}

TEST_P(UnknownGroup, IsReusedByItsName) {
  Slot slot;
  slot.Get(GetParam(), 5000);
  FilterGroupParam* first = slot.group;
  const char* name = first->name;
  slot.Get(std::string(GetParam()).c_str(), 7000);
  EXPECT_EQ(slot.group, first);
  EXPECT_EQ(slot.group->name, name);
  EXPECT_EQ(slot.group->count, 0);
}

// The deletions show that the old record was freed, not just dropped.
TEST_P(UnknownGroup, ReplacesARecordOfAnotherGroup) {
  int deletions = 0;
  Slot slot;
  slot.Get(kMirrorScaleBlur, 5000);
  slot[1].params = new CountedParams("Counted", deletions);
  slot.Get(GetParam(), 5000);
  EXPECT_EQ(deletions, 1);
  EXPECT_STREQ(slot.group->name, GetParam());
  EXPECT_EQ(slot.group->count, 0);
  EXPECT_EQ(slot.group->entries, nullptr);
}

TEST_P(UnknownGroup, LeavesTheEntriesOfANamelessRecordAsTheyAre) {
  Slot slot;
  slot.Get(kMirrorScaleBlur, 5000);
  FilterGroupParam* first = slot.group;
  FilterGroupEntry* entries = first->entries;
  delete[] first->name;
  first->name = nullptr;
  slot.Get(GetParam(), 7000);
  EXPECT_EQ(slot.group, first);
  EXPECT_STREQ(first->name, GetParam());
  EXPECT_EQ(first->count, 0);
  ASSERT_EQ(first->entries, entries);
  EXPECT_EQ(Angle(slot), 180.0);
  EXPECT_EQ(slot[1].scaleX, 150);
  first->count = 3;  // so that the release frees what the entries hold
}

TEST(MirrorScaleBlurGroup, FillsANewRecord) {
  Slot slot;
  slot.Get(kMirrorScaleBlur, 5000);
  ASSERT_NE(slot.group, nullptr);
  EXPECT_STREQ(slot.group->name, kMirrorScaleBlur);
  EXPECT_NE(slot.group->name, kMirrorScaleBlur) << "the record keeps a copy";
  ASSERT_EQ(slot.group->count, 3);
  ASSERT_NE(slot.group->entries, nullptr);

  EXPECT_STREQ(slot[0].name, "Swirl");
  EXPECT_STREQ(slot[0].params->GetFilterName(), "Swirl");
  EXPECT_NE(slot[0].name, slot[0].params->GetFilterName()) << "the entry keeps a copy";
  EXPECT_EQ(slot[0].params->refCount, 1);
  EXPECT_EQ(slot[0].size, 56);
  const auto& swirl = dynamic_cast<SwirlParams&>(*slot[0].params);
  EXPECT_EQ(swirl.centerX, 0.5);
  EXPECT_EQ(swirl.centerY, 0.5);
  EXPECT_EQ(swirl.radius, 1.0);
  EXPECT_EQ(swirl.angle, 180.0);

  EXPECT_EQ(slot[1].name, nullptr);
  EXPECT_EQ(slot[1].params, nullptr);
  EXPECT_EQ(slot[1].size, 0);
  EXPECT_EQ(slot[1].scaleX, 150);
  EXPECT_EQ(slot[1].scaleY, 150);
  EXPECT_EQ(slot[1].progress, 0.5);

  EXPECT_STREQ(slot[2].name, "Zoom Blur");
  EXPECT_STREQ(slot[2].params->GetFilterName(), "Zoom Blur");
  EXPECT_EQ(slot[2].params->refCount, 1);
  EXPECT_EQ(slot[2].size, 48);
  const auto& blur = dynamic_cast<ZoomBlurParams&>(*slot[2].params);
  EXPECT_EQ(blur.centerX, 0.5);
  EXPECT_EQ(blur.centerY, 0.5);
  EXPECT_EQ(blur.strength, 2.0);
}

TEST(MirrorScaleBlurGroup, StartsEveryEntryWithItsInitialValues) {
  Slot slot;
  slot.Get(kMirrorScaleBlur, 5000);
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(slot[k].reserved, 0) << k;
    EXPECT_EQ(slot[k].extraPercent, 100) << k;
    EXPECT_EQ(slot[k].extraFlag, 0) << k;
    EXPECT_EQ(slot[k].extraValue, 0) << k;
    EXPECT_EQ(slot[k].extraPercentX, 100) << k;
    EXPECT_EQ(slot[k].extraPercentY, 100) << k;
  }
  for (const int k : {0, 2}) {
    EXPECT_EQ(slot[k].scaleX, 100) << k;
    EXPECT_EQ(slot[k].scaleY, 100) << k;
    EXPECT_EQ(slot[k].progress, 0.0) << k;
  }
}

TEST(MirrorScaleBlurGroup, FollowsTheTimeAtEveryMoment) {
  Slot slot;
  for (int time = 0, percent = 100, inPercent = 0; time <= 10000; ++time) {
    slot.Get(kMirrorScaleBlur, time);
    ASSERT_EQ(slot[1].scaleX, percent) << "time " << time;
    ASSERT_EQ(slot[1].scaleY, percent) << "time " << time;
    ASSERT_EQ(slot[1].progress, time / 10000.0);
    ASSERT_EQ(Angle(slot), time / 10000.0 * 360);
    ASSERT_EQ(Strength(slot), time / 10000.0 * 4);
    if (++inPercent == 100) {
      ++percent;
      inPercent = 0;
    }
  }
}

TEST(MirrorScaleBlurGroup, GivesTheseNumbers) {
  struct Moment {
    int time;
    int scale;
    double progress;
    double angle;
    double strength;
  };
  for (const Moment& moment :
       {Moment{0, 100, 0.0, 0.0, 0.0}, Moment{99, 100, 0.0099, 3.564, 0.0396}, Moment{2500, 125, 0.25, 90.0, 1.0},
        Moment{9999, 199, 0.9999, 359.964, 3.9996}, Moment{10000, 200, 1.0, 360.0, 4.0},
        // Beyond the transition; the percentage is truncated toward zero there as well.
        Moment{10001, 200, 1.0001, 360.036, 4.0004}, Moment{20000, 300, 2.0, 720.0, 8.0},
        Moment{-1, 100, -0.0001, -0.036, -0.0004}, Moment{-99, 100, -0.0099, -3.564, -0.0396},
        Moment{-100, 99, -0.01, -3.6, -0.04}, Moment{-199, 99, -0.0199, -7.164, -0.0796},
        Moment{-10000, 0, -1.0, -360.0, -4.0}, Moment{INT_MAX, 21474936, 214748.3647, 77309411.292, 858993.4588},
        Moment{INT_MIN, -21474736, -214748.3648, -77309411.328, -858993.4592}}) {
    Slot slot;
    slot.Get(kMirrorScaleBlur, moment.time);
    EXPECT_EQ(slot[1].scaleX, moment.scale) << "time " << moment.time;
    EXPECT_EQ(slot[1].scaleY, moment.scale) << "time " << moment.time;
    EXPECT_DOUBLE_EQ(slot[1].progress, moment.progress) << "time " << moment.time;
    EXPECT_DOUBLE_EQ(Angle(slot), moment.angle) << "time " << moment.time;
    EXPECT_DOUBLE_EQ(Strength(slot), moment.strength) << "time " << moment.time;
  }
}

TEST(MirrorScaleBlurGroup, ReusesTheRecordItsNamesAndItsObjects) {
  Slot slot;
  slot.Get(kMirrorScaleBlur, 0);
  FilterGroupParam* group = slot.group;
  const char* groupName = group->name;
  FilterGroupEntry* entries = group->entries;
  FilterParams* swirl = ReferenceParamBuffer(slot[0].params);
  FilterParams* blur = ReferenceParamBuffer(slot[2].params);
  const char* swirlName = slot[0].name;
  const char* blurName = slot[2].name;
  slot.Get(std::string(kMirrorScaleBlur).c_str(), 10000);
  EXPECT_EQ(slot.group, group);
  EXPECT_EQ(group->name, groupName);
  EXPECT_EQ(group->entries, entries);
  EXPECT_EQ(group->count, 3);
  EXPECT_EQ(slot[0].params, swirl);
  EXPECT_EQ(slot[2].params, blur);
  EXPECT_EQ(slot[0].name, swirlName);
  EXPECT_EQ(slot[2].name, blurName);
  EXPECT_EQ(slot[1].name, nullptr);
  EXPECT_EQ(slot[1].params, nullptr);
  EXPECT_EQ(swirl->refCount, 2);
  EXPECT_EQ(blur->refCount, 2);
  EXPECT_EQ(Angle(slot), 360.0);
  EXPECT_EQ(Strength(slot), 4.0);
  EXPECT_EQ(slot[1].scaleX, 200);
  ReleaseParamBuffer(swirl);
  ReleaseParamBuffer(blur);
}

TEST(MirrorScaleBlurGroup, LeavesTheHostsFieldsAlone) {
  Slot slot;
  slot.Get(kMirrorScaleBlur, 0);
  for (int k = 0; k < 3; ++k) {
    slot[k].reserved = INT64_MIN + k;
    slot[k].scaleX = 310 + k;
    slot[k].scaleY = 320 + k;
    slot[k].extraPercent = 330 + k;
    slot[k].extraFlag = 340 + k;
    slot[k].progress = 350.5 + k;
    slot[k].extraValue = INT64_MAX - k;
    slot[k].extraPercentX = 360 + k;
    slot[k].extraPercentY = 370 + k;
  }
  slot.Get(kMirrorScaleBlur, 5000);
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(slot[k].reserved, INT64_MIN + k);
    EXPECT_EQ(slot[k].extraPercent, 330 + k);
    EXPECT_EQ(slot[k].extraFlag, 340 + k);
    EXPECT_EQ(slot[k].extraValue, INT64_MAX - k);
    EXPECT_EQ(slot[k].extraPercentX, 360 + k);
    EXPECT_EQ(slot[k].extraPercentY, 370 + k);
  }
  for (const int k : {0, 2}) {
    EXPECT_EQ(slot[k].scaleX, 310 + k);
    EXPECT_EQ(slot[k].scaleY, 320 + k);
    EXPECT_EQ(slot[k].progress, 350.5 + k);
  }
  EXPECT_EQ(slot[1].scaleX, 150);
  EXPECT_EQ(slot[1].scaleY, 150);
  EXPECT_EQ(slot[1].progress, 0.5);
}

TEST(MirrorScaleBlurGroup, KeepsWhatTheHostSetInTheObjects) {
  Slot slot;
  slot.Get(kMirrorScaleBlur, 0);
  dynamic_cast<SwirlParams&>(*slot[0].params).radius = 0.25;
  slot.Get(kMirrorScaleBlur, 5000);
  EXPECT_EQ(dynamic_cast<SwirlParams&>(*slot[0].params).radius, 0.25);
  EXPECT_EQ(Angle(slot), 180.0);
}

TEST(MirrorScaleBlurGroup, ReplacesAnObjectThatDoesNotFitTheEntry) {
  int deletions = 0;
  Slot slot;
  slot.Get(kMirrorScaleBlur, 0);
  ReleaseParamBuffer(slot[0].params);
  slot[0].params = new CountedParams("Counted", deletions);
  slot.Get(kMirrorScaleBlur, 5000);
  EXPECT_EQ(deletions, 1);
  EXPECT_EQ(Angle(slot), 180.0);
  EXPECT_EQ(slot[0].size, 56);
}

TEST(MirrorScaleBlurGroup, TakesANamelessRecord) {
  Slot slot;
  slot.Get(nullptr, 0);
  FilterGroupParam* group = slot.group;
  slot.Get(kMirrorScaleBlur, 2500);
  EXPECT_EQ(slot.group, group);
  EXPECT_STREQ(group->name, kMirrorScaleBlur);
  EXPECT_EQ(group->count, 3);
  EXPECT_EQ(Angle(slot), 90.0);
}

// Names are filled in where they are missing and never compared.
TEST(MirrorScaleBlurGroup, TakesTheEntriesOfANamelessRecordAsTheyAre) {
  Slot slot;
  slot.Get(kMirrorScaleBlur, 0);
  FilterGroupParam* group = slot.group;
  delete[] group->name;
  group->name = nullptr;
  delete[] group->entries[0].name;
  group->entries[0].name = NewName("Pinch");
  delete[] group->entries[2].name;
  group->entries[2].name = nullptr;
  group->entries[1].name = NewName("Bulge");
  slot.Get(kMirrorScaleBlur, 2500);
  EXPECT_EQ(slot.group, group);
  EXPECT_STREQ(slot[0].name, "Pinch");
  EXPECT_EQ(dynamic_cast<PinchParams&>(*slot[0].params).strength, 0.25);
  EXPECT_STREQ(slot[1].name, "Bulge");
  EXPECT_EQ(slot[1].params, nullptr) << "the middle entry carries no effect";
  EXPECT_STREQ(slot[2].name, "Zoom Blur");
  EXPECT_EQ(Strength(slot), 1.0);
}

// A host that clears the record's name hands its entries on to another group, which may need more of them.
TEST(FilterGroup, HandsEntriesOnToALargerGroup) {
  for (const char* larger : {"Blurry Cross Right Up", kMirrorScaleBlur}) {
    SCOPED_TRACE(larger);
    Slot slot;
    slot.Get("Flip Roll Up", 0);
    delete[] slot.group->name;
    slot.group->name = nullptr;
    slot.Get(larger, 100);
    ASSERT_EQ(slot.group->count, 3);
    EXPECT_STREQ(slot[1].name, "Motion Blur");
    EXPECT_EQ(slot[2].scaleX, 100);
    slot[2].reserved = 7;
    slot[2].extraFlag = 9;
    const FilterGroupEntry* entries = slot.group->entries;
    const FilterParams* object = slot[2].params;
    for (const int time : {200, 300}) {
      slot.Get(larger, time);
      EXPECT_EQ(slot.group->entries, entries);
      EXPECT_EQ(slot[2].params, object);
      EXPECT_EQ(slot[2].reserved, 7);
      EXPECT_EQ(slot[2].extraFlag, 9);
    }
  }
}

TEST(FilterGroup, HandsEntriesOnToASmallerGroupAndBack) {
  Slot slot;
  slot.Get(kMirrorScaleBlur, 0);
  const FilterGroupEntry* entries = slot.group->entries;
  const FilterParams* object = slot[2].params;
  for (const char* next : {"Flip Roll Up", "Blurry Cross Right Up"}) {
    delete[] slot.group->name;
    slot.group->name = nullptr;
    slot.Get(next, 100);
  }
  ASSERT_EQ(slot.group->count, 3);
  EXPECT_EQ(slot.group->entries, entries);
  EXPECT_EQ(slot[2].params, object);
}

// The object of another group's entry is taken by its bytes only if it has enough of them.
TEST(FilterGroup, ReplacesAnObjectThatIsTooSmallForTheField) {
  Slot slot;
  slot.Get("Blurry Cross Right Up", 5000);
  ASSERT_EQ(slot[1].size, static_cast<int>(sizeof(MirrorMoveYParams)));
  FilterParams* const small = slot[1].params;
  small->AddRef();
  delete[] slot.group->name;
  slot.group->name = nullptr;
  slot.Get("Blurry Roll Down", 5000);
  EXPECT_EQ(small->Release(), 0) << "the record has given its reference back";
  EXPECT_EQ(slot[1].size, static_cast<int>(sizeof(MotionBlurParams)));
  EXPECT_EQ(slot.As<MotionBlurParams>(1).angle, 90.0);
  // Two of three entries are in use, and a record releases no other.
  ReleaseParamBuffer(slot[2].params);
  delete[] slot[2].name;
}

TEST(MirrorScaleBlurGroup, ReplacesARecordOfAnotherName) {
  Slot slot;
  slot.Get("No such group", 0);
  slot.Get(kMirrorScaleBlur, 5000);
  EXPECT_STREQ(slot.group->name, kMirrorScaleBlur);
  ASSERT_EQ(slot.group->count, 3);
  EXPECT_EQ(Angle(slot), 180.0);
}

TEST(ReleaseFilterGroup, ReleasesEveryObjectOnce) {
  int deletions = 0;
  FilterGroupParam* group = nullptr;
  GetFilterGroupParam(kMirrorScaleBlur, 5000, &group);
  FilterParams* swirl = ReferenceParamBuffer(group->entries[0].params);
  FilterParams* blur = ReferenceParamBuffer(group->entries[2].params);
  group->entries[1].params = new CountedParams("Counted", deletions);
  group->entries[1].name = NewName("Counted");
  ReleaseFilterGroupParam(group);
  EXPECT_EQ(deletions, 1);
  EXPECT_EQ(swirl->refCount, 1);
  EXPECT_EQ(blur->refCount, 1);
  ReleaseParamBuffer(swirl);
  ReleaseParamBuffer(blur);
}

TEST(ReleaseFilterGroup, ReleasesOnlyTheEntriesInUse) {
  for (const int count : {2, 0, -1}) {
    int deletions[3] = {};
    FilterGroupParam* group = nullptr;
    GetFilterGroupParam(kMirrorScaleBlur, 5000, &group);
    FilterParams* kept[3];
    for (int k = 0; k < 3; ++k) {
      FilterGroupEntry& entry = group->entries[k];
      delete[] entry.name;
      entry.name = nullptr;
      ReleaseParamBuffer(entry.params);
      kept[k] = entry.params = new CountedParams("Counted", deletions[k]);
    }
    group->count = count;
    ReleaseFilterGroupParam(group);
    for (int k = 0; k < 3; ++k) {
      EXPECT_EQ(deletions[k], k < count ? 1 : 0) << "entry " << k << " of " << count;
      if (k >= count) kept[k]->Release();
    }
  }
}

TEST(ReleaseFilterGroup, TakesRecordsThatLackParts) {
  FilterGroupParam* group = nullptr;
  GetFilterGroupParam(nullptr, 0, &group);
  ReleaseFilterGroupParam(group);
  group = nullptr;
  GetFilterGroupParam(nullptr, 0, &group);
  group->count = 3;  // a count without entries
  ReleaseFilterGroupParam(group);
  group = nullptr;
  GetFilterGroupParam(kMirrorScaleBlur, 0, &group);
  delete[] group->name;
  group->name = nullptr;
  ReleaseFilterGroupParam(group);
}

// Every group, whatever its entries, gives a record that a host can walk and free.
TEST(FilterGroup, EveryGroupGivesARecordThatAHostCanWalk) {
  Slot slot;
  for (const char* name :
       {"Mirror Scale Blur", "Flip Roll Up", "Flip Roll Down", "Flip Roll Left", "Flip Roll Right", "Blurry Roll Down",
        "Blurry Roll Left", "Blurry Cross Right Up", "Tile Zoom Blur", "Tile Zoom Blur 1"}) {
    for (const int time : {0, 3333, 10000}) {
      slot.Get(name, time);
      ASSERT_NE(slot.group, nullptr);
      EXPECT_STREQ(slot.group->name, name);
      ASSERT_TRUE(slot.group->count == 0 || slot.group->count == 2 || slot.group->count == 3) << name;
      ASSERT_TRUE(slot.group->count == 0 || slot.group->entries) << name;
      for (int k = 0; k < slot.group->count; ++k) {
        EXPECT_EQ(slot[k].name == nullptr, slot[k].params == nullptr) << name << ", entry " << k;
        EXPECT_EQ(slot[k].params == nullptr, slot[k].size == 0) << name << ", entry " << k;
      }
    }
  }
}

}  // namespace
