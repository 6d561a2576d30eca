// The transitions over time: which sub-effects each lists, and what it sets in them from one moment to the next.

#include <NorixEngine/FEParams.h>
#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "CountedParams.h"
#include "GroupSlot.h"

namespace {

using norix::test::CountedParams;
using Slot = norix::test::GroupSlot;

using Time = std::int64_t;
using Fields = std::vector<double>;

struct Sub {
  const char* name;
  int size;
};

/// The effect that the class of an object belongs to, whatever name the object carries.
std::string ClassOf(const FilterParams* params) {
  if (dynamic_cast<const MirrorMoveXParams*>(params)) return "Mirror Move X";
  if (dynamic_cast<const MirrorMoveYParams*>(params)) return "Mirror Move Y";
  if (dynamic_cast<const MotionBlurParams*>(params)) return "Motion Blur";
  if (dynamic_cast<const TileScaleParams*>(params)) return "Tile Scale";
  if (dynamic_cast<const ZoomBlurParams*>(params)) return "Zoom Blur";
  return "another class";
}

/// All fields, as declared.
Fields FieldsOf(const FilterParams* params) {
  if (const auto* x = dynamic_cast<const MirrorMoveXParams*>(params)) return {x->offset};
  if (const auto* y = dynamic_cast<const MirrorMoveYParams*>(params)) return {y->offset};
  if (const auto* blur = dynamic_cast<const MotionBlurParams*>(params)) return {blur->strength, blur->angle};
  if (const auto* tile = dynamic_cast<const TileScaleParams*>(params)) return {tile->scale};
  if (const auto* zoom = dynamic_cast<const ZoomBlurParams*>(params)) return {zoom->centerX, zoom->centerY, zoom->strength};
  return {};
}

/// Swells to 40 in the middle and fades.
double Blur(Time time) { return static_cast<double>((time <= 5000 ? time : 10000 - time) * 80) / 10000.0; }

double Lead(Time time) { return static_cast<double>(time) / 10000.0; }

double Falling(Time time) {
  if (time <= 999) return Lead(-time);
  if (time <= 8999) return static_cast<int>(static_cast<double>(time - 1000) / 8000.0 * 102000.0 + (-1000.0)) / 10000.0;
  return Lead(110000 - time);
}

double Rising(Time time) {
  if (time <= 999) return Lead(time);
  if (time <= 8999) return static_cast<int>(static_cast<double>(time - 1000) / (-8000.0) * 102000.0 + 1000.0) / 10000.0;
  return Lead(time - 110000);
}

double TileZoomScale(Time time) {
  if (time <= 6499) return static_cast<double>(time - 5000) * 0.2 / 1500.0 + 0.4;
  if (time <= 6699) return static_cast<double>(time - 6500) * 0.4 / 200.0 + 0.6;
  return 1.0;
}

/// `kept` is what the object held before.
double TileZoomStrength(Time time, double kept) {
  if (time <= 6499) return 4.0;
  if (time <= 6999) return static_cast<double>(time - 6500) / (-500.0) + 1.0;
  if (time <= 8999) return 2 * (static_cast<double>(time - 7000) / (-2000.0) + 1.0);
  return kept;
}

double TileZoom1Scale(Time time) { return time <= 4999 ? static_cast<double>(time) / (-10000.0) + 1.0 : 1.0; }

double TileZoom1Strength(Time time) {
  return time <= 4999 ? static_cast<double>(time) * 3.2 / 5000.0 : static_cast<double>(9600 - time) * 3.2 / 4600.0;
}

struct Group {
  const char* name;
  std::vector<Sub> subs;
  /// The fields of all entries at a time, from those they held before.
  std::vector<Fields> (*fieldsAt)(Time time, const std::vector<Fields>& before);

  friend void PrintTo(const Group& group, std::ostream* out) { *out << group.name; }
};

const Sub kMoveX = {"Mirror Move X", 32};
const Sub kMoveY = {"Mirror Move Y", 32};
const Sub kMotionBlur = {"Motion Blur", 40};
const Sub kTileScale = {"Tile Scale", 32};
const Sub kZoomBlur = {"Zoom Blur", 48};

using Before = const std::vector<Fields>&;

const std::vector<Group> kGroups = {
    {"Flip Roll Up",
     {kMoveY, kMotionBlur},
     [](Time time, Before) -> std::vector<Fields> {
       return {{static_cast<double>(-time) / 1000.0}, {Blur(time), 90.0}};
     }},
    {"Flip Roll Down",
     {kMoveY, kMotionBlur},
     [](Time time, Before) -> std::vector<Fields> {
       return {{static_cast<double>(time) / 1000.0}, {Blur(time), 90.0}};
     }},
    {"Flip Roll Left",
     {kMoveX, kMotionBlur},
     [](Time time, Before before) -> std::vector<Fields> {
       return {{static_cast<double>(-time) / 1000.0}, {Blur(time), before[1][1]}};
     }},
    {"Flip Roll Right",
     {kMoveX, kMotionBlur},
     [](Time time, Before before) -> std::vector<Fields> {
       return {{static_cast<double>(time) / 1000.0}, {Blur(time), before[1][1]}};
     }},
    {"Blurry Roll Down",
     {kMoveY, kMotionBlur},
     [](Time time, Before) -> std::vector<Fields> {
       return {{Falling(time)}, {Blur(time), 90.0}};
     }},
    {"Blurry Roll Left",
     {kMoveX, kMotionBlur},
     [](Time time, Before before) -> std::vector<Fields> {
       return {{Rising(time)}, {Blur(time), before[1][1]}};
     }},
    {"Blurry Cross Right Up",
     {kMoveX, kMoveY, kMotionBlur},
     [](Time time, Before) -> std::vector<Fields> {
       return {{Falling(time)}, {Rising(time)}, {Blur(time), -36.0}};
     }},
    {"Tile Zoom Blur",
     {kTileScale, kZoomBlur},
     [](Time time, Before before) -> std::vector<Fields> {
       return {{TileZoomScale(time)}, {before[1][0], before[1][1], TileZoomStrength(time, before[1][2])}};
     }},
    {"Tile Zoom Blur 1",
     {kTileScale, kZoomBlur},
     [](Time time, Before before) -> std::vector<Fields> {
       return {{TileZoom1Scale(time)}, {before[1][0], before[1][1], TileZoom1Strength(time)}};
     }},
};

/// What the objects hold when they are made.
std::vector<Fields> FreshFields(const Group& group) {
  std::vector<Fields> fields;
  for (const Sub& sub : group.subs) {
    const std::string name = sub.name;
    if (name == "Motion Blur") {
      fields.push_back({1.0, 0.0});
    } else if (name == "Zoom Blur") {
      fields.push_back({0.5, 0.5, 1.0});
    } else {
      fields.push_back({name == "Tile Scale" ? 1.0 : 0.0});
    }
  }
  return fields;
}

class GroupCurves : public testing::TestWithParam<Group> {
protected:
  int Count() const { return static_cast<int>(group_.subs.size()); }

  std::vector<Fields> HeldBy(Slot& slot) const {
    std::vector<Fields> fields;
    fields.reserve(group_.subs.size());
    for (int k = 0; k < Count(); ++k) fields.push_back(FieldsOf(slot[k].params));
    return fields;
  }

  /// The whole record but for the host's own fields.
  void ExpectRecord(Slot& slot, const std::vector<Fields>& fields) const {
    ASSERT_NE(slot.group, nullptr);
    ASSERT_STREQ(slot.group->name, group_.name);
    ASSERT_EQ(slot.group->count, Count());
    ASSERT_NE(slot.group->entries, nullptr);
    for (int k = 0; k < Count(); ++k) {
      const Sub& sub = group_.subs[static_cast<std::size_t>(k)];
      ASSERT_STREQ(slot[k].name, sub.name) << "entry " << k;
      ASSERT_EQ(slot[k].size, sub.size) << "entry " << k;
      ASSERT_EQ(ClassOf(slot[k].params), sub.name) << "entry " << k;
      ASSERT_EQ(slot[k].params->refCount, 1) << "entry " << k;
      ASSERT_EQ(FieldsOf(slot[k].params), fields[static_cast<std::size_t>(k)]) << "entry " << k;
    }
  }

  const Group group_ = GetParam();
};

TEST_P(GroupCurves, FillsANewRecordAtAnyTime) {
  std::vector<int> times = {INT_MIN, INT_MIN + 1, -1, 0, 1, 10000, 10001, 110000, INT_MAX - 1, INT_MAX};
  for (int time = -5000; time <= 15000; time += 125) times.push_back(time);
  for (const int border : {999, 1000, 4999, 5000, 6499, 6500, 6699, 6700, 6999, 7000, 8999, 9000, 9600})
    times.push_back(border);
  for (const int time : times) {
    SCOPED_TRACE(time);
    Slot slot;
    slot.Get(group_.name, time);
    ASSERT_NO_FATAL_FAILURE(ExpectRecord(slot, group_.fieldsAt(time, FreshFields(group_))));
  }
}

TEST_P(GroupCurves, FollowsTheTimeAtEveryMomentForwardsAndBackwards) {
  Slot slot;
  std::vector<Fields> held = FreshFields(group_);
  const auto follow = [&](int time) {
    SCOPED_TRACE(time);
    held = group_.fieldsAt(time, held);
    slot.Get(group_.name, time);
    ExpectRecord(slot, held);
  };
  for (int time = -5000; time <= 15000; ++time) {
    follow(time);
    if (HasFatalFailure()) return;
  }
  for (int time = 15000; time >= -5000; --time) {
    follow(time);
    if (HasFatalFailure()) return;
  }
}

TEST_P(GroupCurves, StartsEveryEntryWithItsInitialValues) {
  Slot slot;
  slot.Get(group_.name, 5000);
  for (int k = 0; k < Count(); ++k) {
    EXPECT_EQ(slot[k].reserved, 0) << k;
    EXPECT_EQ(slot[k].scaleX, 100) << k;
    EXPECT_EQ(slot[k].scaleY, 100) << k;
    EXPECT_EQ(slot[k].extraPercent, 100) << k;
    EXPECT_EQ(slot[k].extraFlag, 0) << k;
    EXPECT_EQ(slot[k].progress, 0.0) << k;
    EXPECT_EQ(slot[k].extraValue, 0) << k;
    EXPECT_EQ(slot[k].extraPercentX, 100) << k;
    EXPECT_EQ(slot[k].extraPercentY, 100) << k;
  }
}

TEST_P(GroupCurves, KeepsCopiesOfTheNames) {
  std::string name = group_.name;
  Slot slot;
  slot.Get(name.c_str(), 5000);
  name.assign(name.size(), '?');
  EXPECT_STREQ(slot.group->name, group_.name);
  Slot other;
  other.Get(group_.name, 5000);
  for (int k = 0; k < Count(); ++k) {
    EXPECT_NE(slot[k].name, other[k].name) << k;
    slot[k].name[0] = '?';
    EXPECT_STREQ(other[k].name, group_.subs[static_cast<std::size_t>(k)].name) << k;
  }
}

TEST_P(GroupCurves, ReusesTheRecordItsNamesAndItsObjects) {
  Slot slot;
  slot.Get(group_.name, 0);
  const FilterGroupParam* const group = slot.group;
  const char* const groupName = group->name;
  const FilterGroupEntry* const entries = group->entries;
  std::vector<const FilterParams*> objects;
  std::vector<const char*> names;
  for (int k = 0; k < Count(); ++k) {
    objects.push_back(slot[k].params);
    names.push_back(slot[k].name);
  }
  const std::vector<Fields> held = HeldBy(slot);
  slot.Get(std::string(group_.name).c_str(), 3000);
  EXPECT_EQ(slot.group, group);
  EXPECT_EQ(group->name, groupName);
  EXPECT_EQ(group->entries, entries);
  for (int k = 0; k < Count(); ++k) {
    EXPECT_EQ(slot[k].params, objects[static_cast<std::size_t>(k)]) << k;
    EXPECT_EQ(slot[k].name, names[static_cast<std::size_t>(k)]) << k;
  }
  ExpectRecord(slot, group_.fieldsAt(3000, held));
}

TEST_P(GroupCurves, LeavesTheHostsFieldsAlone) {
  Slot slot;
  slot.Get(group_.name, 0);
  for (int k = 0; k < Count(); ++k) {
    slot[k].size = 300 + k;
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
  slot.Get(group_.name, 5000);
  for (int k = 0; k < Count(); ++k) {
    EXPECT_EQ(slot[k].size, 300 + k) << "written only with a new object";
    EXPECT_EQ(slot[k].reserved, INT64_MIN + k);
    EXPECT_EQ(slot[k].scaleX, 310 + k);
    EXPECT_EQ(slot[k].scaleY, 320 + k);
    EXPECT_EQ(slot[k].extraPercent, 330 + k);
    EXPECT_EQ(slot[k].extraFlag, 340 + k);
    EXPECT_EQ(slot[k].progress, 350.5 + k);
    EXPECT_EQ(slot[k].extraValue, INT64_MAX - k);
    EXPECT_EQ(slot[k].extraPercentX, 360 + k);
    EXPECT_EQ(slot[k].extraPercentY, 370 + k);
  }
}

TEST_P(GroupCurves, KeepsWhatTheHostSetAndTheTransitionDoesNot) {
  Slot slot;
  slot.Get(group_.name, 0);
  for (int k = 0; k < Count(); ++k) {
    if (auto* x = dynamic_cast<MirrorMoveXParams*>(slot[k].params)) x->offset = -77.5;
    if (auto* y = dynamic_cast<MirrorMoveYParams*>(slot[k].params)) y->offset = -78.5;
    if (auto* tile = dynamic_cast<TileScaleParams*>(slot[k].params)) tile->scale = -79.5;
    if (auto* blur = dynamic_cast<MotionBlurParams*>(slot[k].params)) {
      blur->strength = -80.5;
      blur->angle = -81.5;
    }
    if (auto* zoom = dynamic_cast<ZoomBlurParams*>(slot[k].params)) {
      zoom->centerX = -82.5;
      zoom->centerY = -83.5;
      zoom->strength = -84.5;
    }
  }
  const std::vector<Fields> held = HeldBy(slot);
  slot.Get(group_.name, 9500);
  ExpectRecord(slot, group_.fieldsAt(9500, held));
}

TEST_P(GroupCurves, RefillsWhatAnEntryLacks) {
  for (int k = 0; k < Count(); ++k) {
    Slot slot;
    slot.Get(group_.name, 2000);
    std::vector<Fields> held = HeldBy(slot);
    delete[] slot[k].name;
    slot[k].name = nullptr;
    ReleaseParamBuffer(slot[k].params);
    slot[k].params = nullptr;
    slot[k].size = 0;
    held[static_cast<std::size_t>(k)] = FreshFields(group_)[static_cast<std::size_t>(k)];
    slot.Get(group_.name, 9500);
    ExpectRecord(slot, group_.fieldsAt(9500, held));
  }
}

TEST_P(GroupCurves, NeverComparesTheNamesOfEntries) {
  Slot slot;
  slot.Get(group_.name, 2000);
  for (int k = 0; k < Count(); ++k) slot[k].name[0] = '?';
  slot.Get(group_.name, 3000);
  for (int k = 0; k < Count(); ++k) EXPECT_EQ(slot[k].name[0], '?') << k;
}

TEST_P(GroupCurves, TakesANamelessRecord) {
  Slot slot;
  slot.Get(nullptr, 0);
  const FilterGroupParam* const group = slot.group;
  slot.Get(group_.name, 2500);
  EXPECT_EQ(slot.group, group);
  ExpectRecord(slot, group_.fieldsAt(2500, FreshFields(group_)));
}

TEST_P(GroupCurves, KeepsTheObjectsOfARecordThatLostItsName) {
  Slot slot;
  slot.Get(group_.name, 8000);
  const std::vector<Fields> held = HeldBy(slot);
  const FilterGroupEntry* const entries = slot.group->entries;
  const FilterParams* const object = slot[1].params;
  delete[] slot.group->name;
  slot.group->name = nullptr;
  slot.Get(group_.name, 9500);
  EXPECT_EQ(slot.group->entries, entries);
  EXPECT_EQ(slot[1].params, object);
  ExpectRecord(slot, group_.fieldsAt(9500, held));
}

TEST_P(GroupCurves, ReplacesTheRecordOfEveryOtherGroup) {
  for (const Group& other : kGroups) {
    if (std::string(other.name) == group_.name) continue;
    int deletions = 0;
    Slot slot;
    slot.Get(other.name, 5000);
    FilterParams* const object = ReferenceParamBuffer(slot[0].params);
    ReleaseParamBuffer(slot[1].params);
    slot[1].params = new CountedParams("Counted", deletions);
    slot.Get(group_.name, 9500);
    EXPECT_EQ(deletions, 1) << other.name;
    EXPECT_EQ(object->refCount, 1) << other.name;
    ReleaseParamBuffer(object);
    ExpectRecord(slot, group_.fieldsAt(9500, FreshFields(group_)));
  }
}

TEST_P(GroupCurves, ReleaseGivesUpEveryObjectOnce) {
  FilterGroupParam* group = nullptr;
  GetFilterGroupParam(group_.name, 5000, &group);
  std::vector<FilterParams*> objects;
  objects.reserve(static_cast<std::size_t>(group->count));
  for (int k = 0; k < group->count; ++k) objects.push_back(ReferenceParamBuffer(group->entries[k].params));
  ReleaseFilterGroupParam(group);
  ASSERT_EQ(static_cast<int>(objects.size()), Count());
  for (FilterParams* const object : objects) {
    EXPECT_EQ(object->refCount, 1);
    ReleaseParamBuffer(object);
  }
}

INSTANTIATE_TEST_SUITE_P(All, GroupCurves, testing::ValuesIn(kGroups), [](const auto& tested) {
  std::string name = tested.param.name;
  std::erase(name, ' ');
  return name;
});

TEST(FlipRoll, GivesTheseNumbers) {
  struct Moment {
    const char* name;
    int time;
    double offset;
    double strength;
    double angle;
  };
  for (const Moment& moment :
       {Moment{"Flip Roll Up", 0, 0.0, 0.0, 90.0}, Moment{"Flip Roll Up", 2500, -2.5, 20.0, 90.0},
        Moment{"Flip Roll Up", 5000, -5.0, 40.0, 90.0}, Moment{"Flip Roll Up", 5001, -5.001, 39.992, 90.0},
        Moment{"Flip Roll Up", 10000, -10.0, 0.0, 90.0}, Moment{"Flip Roll Down", 0, 0.0, 0.0, 90.0},
        Moment{"Flip Roll Down", 5000, 5.0, 40.0, 90.0}, Moment{"Flip Roll Down", 5001, 5.001, 39.992, 90.0},
        Moment{"Flip Roll Down", 10000, 10.0, 0.0, 90.0}, Moment{"Flip Roll Left", 5000, -5.0, 40.0, 0.0},
        Moment{"Flip Roll Left", 5001, -5.001, 39.992, 0.0}, Moment{"Flip Roll Left", 10000, -10.0, 0.0, 0.0},
        Moment{"Flip Roll Right", 5000, 5.0, 40.0, 0.0}, Moment{"Flip Roll Right", 5001, 5.001, 39.992, 0.0},
        Moment{"Flip Roll Right", 7500, 7.5, 20.0, 0.0}, Moment{"Flip Roll Right", 12500, 12.5, -20.0, 0.0},
        Moment{"Flip Roll Right", -2500, -2.5, -20.0, 0.0}}) {
    Slot slot;
    slot.Get(moment.name, moment.time);
    SCOPED_TRACE(std::string(moment.name) + " at " + std::to_string(moment.time));
    EXPECT_EQ(FieldsOf(slot[0].params), Fields{moment.offset});
    EXPECT_DOUBLE_EQ(slot.As<MotionBlurParams>(1).strength, moment.strength);
    EXPECT_EQ(slot.As<MotionBlurParams>(1).angle, moment.angle);
  }
}

TEST(BlurryRoll, GivesTheseNumbers) {
  struct Moment {
    int time;
    double down;
    double left;
  };
  for (const Moment& moment :
       {Moment{0, 0.0, 0.0}, Moment{500, -0.05, 0.05}, Moment{999, -0.0999, 0.0999}, Moment{1000, -0.1, 0.1},
        Moment{1001, -0.0987, 0.0987}, Moment{5000, 5.0, -5.0}, Moment{8999, 10.0987, -10.0987}, Moment{9000, 10.1, -10.1},
        Moment{9500, 10.05, -10.05}, Moment{10000, 10.0, -10.0}}) {
    SCOPED_TRACE(moment.time);
    Slot slot;
    slot.Get("Blurry Roll Down", moment.time);
    EXPECT_DOUBLE_EQ(slot.As<MirrorMoveYParams>(0).offset, moment.down);
    EXPECT_EQ(slot.As<MotionBlurParams>(1).angle, 90.0);
    slot.Get("Blurry Roll Left", moment.time);
    EXPECT_DOUBLE_EQ(slot.As<MirrorMoveXParams>(0).offset, moment.left);
    EXPECT_EQ(slot.As<MotionBlurParams>(1).angle, 0.0);
    slot.Get("Blurry Cross Right Up", moment.time);
    EXPECT_DOUBLE_EQ(slot.As<MirrorMoveXParams>(0).offset, moment.down);
    EXPECT_DOUBLE_EQ(slot.As<MirrorMoveYParams>(1).offset, moment.left);
    EXPECT_EQ(slot.As<MotionBlurParams>(2).angle, -36.0);
  }
}

TEST(BlurryCross, IsStrongestInTheMiddle) {
  Slot slot;
  slot.Get("Blurry Cross Right Up", 5000);
  EXPECT_EQ(slot.As<MirrorMoveXParams>(0).offset, 5.0);
  EXPECT_EQ(slot.As<MirrorMoveYParams>(1).offset, -5.0);
  EXPECT_EQ(slot.As<MotionBlurParams>(2).strength, 40.0);
  EXPECT_EQ(slot.As<MotionBlurParams>(2).angle, -36.0);
}

TEST(TileZoomBlur, GivesTheseNumbers) {
  struct Moment {
    int time;
    double scale;
    double strength;
  };
  for (const Moment& moment :
       {Moment{0, -4.0 / 15.0, 4.0}, Moment{2000, 0.0, 4.0}, Moment{5000, 0.4, 4.0}, Moment{6499, 0.59986666666666666, 4.0},
        Moment{6500, 0.6, 1.0}, Moment{6600, 0.8, 0.8}, Moment{6699, 0.998, 0.602}, Moment{6700, 1.0, 0.6},
        Moment{6999, 1.0, 0.002}, Moment{7000, 1.0, 2.0}, Moment{8000, 1.0, 1.0}, Moment{8999, 1.0, 0.001},
        Moment{9000, 1.0, 1.0}, Moment{10000, 1.0, 1.0}}) {
    Slot slot;
    slot.Get("Tile Zoom Blur", moment.time);
    EXPECT_NEAR(slot.As<TileScaleParams>(0).scale, moment.scale, 1e-15) << "time " << moment.time;
    EXPECT_NEAR(slot.As<ZoomBlurParams>(1).strength, moment.strength, 1e-15) << "time " << moment.time;
  }
}

TEST(TileZoomBlur, LeavesTheStrengthAtTheEndAsItFindsIt) {
  Slot fresh;
  fresh.Get("Tile Zoom Blur", 9500);
  EXPECT_EQ(fresh.As<ZoomBlurParams>(1).strength, 1.0);

  Slot slot;
  slot.Get("Tile Zoom Blur", 8000);
  slot.Get("Tile Zoom Blur", 9500);
  EXPECT_EQ(slot.As<ZoomBlurParams>(1).strength, 1.0);
  slot.Get("Tile Zoom Blur", 7000);
  slot.Get("Tile Zoom Blur", 9000);
  EXPECT_EQ(slot.As<ZoomBlurParams>(1).strength, 2.0);
  slot.Get("Tile Zoom Blur", 6000);
  slot.Get("Tile Zoom Blur", 10000);
  EXPECT_EQ(slot.As<ZoomBlurParams>(1).strength, 4.0);
  slot.As<ZoomBlurParams>(1).strength = 17.25;
  slot.Get("Tile Zoom Blur", 12000);
  EXPECT_EQ(slot.As<ZoomBlurParams>(1).strength, 17.25);
}

TEST(TileZoomBlur1, GivesTheseNumbers) {
  struct Moment {
    int time;
    double scale;
    double strength;
  };
  for (const Moment& moment :
       {Moment{0, 1.0, 0.0}, Moment{2500, 0.75, 1.6}, Moment{4999, 0.5001, 3.19936}, Moment{5000, 1.0, 3.2},
        Moment{7300, 1.0, 1.6}, Moment{9600, 1.0, 0.0}, Moment{10000, 1.0, -0.27826086956521739}}) {
    Slot slot;
    slot.Get("Tile Zoom Blur 1", moment.time);
    EXPECT_NEAR(slot.As<TileScaleParams>(0).scale, moment.scale, 1e-15) << "time " << moment.time;
    EXPECT_NEAR(slot.As<ZoomBlurParams>(1).strength, moment.strength, 1e-15) << "time " << moment.time;
    EXPECT_EQ(slot.As<ZoomBlurParams>(1).centerX, 0.5);
    EXPECT_EQ(slot.As<ZoomBlurParams>(1).centerY, 0.5);
  }
}

}  // namespace
