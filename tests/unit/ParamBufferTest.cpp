// Parameter objects by effect name and level.

#include <NorixEngine/FEParams.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "CountedParams.h"

namespace {

using norix::test::CountedParams;

constexpr int kUnwritten = -12345;

/// A host's slot: handle and size.
struct Slot {
  FilterParams* params = nullptr;
  int size = kUnwritten;

  Slot() = default;
  Slot(const Slot&) = delete;
  Slot& operator=(const Slot&) = delete;
  ~Slot() { ReleaseParamBuffer(params); }

  void Get(const char* name, int level) { GetParamBuffer(name, level, &params, &size); }
  template <class Params>
  Params& As() {
    return dynamic_cast<Params&>(*params);
  }
};

template <class Params>
std::vector<double> Values(const FilterParams& params, std::initializer_list<double Params::*> fields) {
  const auto& object = dynamic_cast<const Params&>(params);
  std::vector<double> values;
  for (const auto field : fields) values.push_back(object.*field);
  return values;
}

// All fields of an effect's object: read from the object, and written out as a formula of t = level / 10000.
struct Effect {
  const char* name;
  int size;
  std::function<std::vector<double>(const FilterParams&)> read;
  std::function<std::vector<double>(double t)> formula;
};

double TileScaleOf(double t) {
  const double scale = 1 + t * (-0.95);
  if (scale < 0.05) return 0.05;
  return scale > 1.0 ? 1.0 : scale;
}

#define NORIX_READ(Class, ...)               \
  [](const FilterParams& object) {           \
    using P = Class;                         \
    return Values<P>(object, {__VA_ARGS__}); \
  }

const std::vector<Effect>& Effects() {
  using List = std::vector<double>;
  static const std::vector<Effect> effects = {
      {"Ground Glass", 32, NORIX_READ(GroundGlassParams, &P::amount), [](double t) { return List{t * 20}; }},
      {"Swirl", 56, NORIX_READ(SwirlParams, &P::centerX, &P::centerY, &P::radius, &P::angle),
       [](double t) {
         return List{0.5, 0.5, 1.0, t * 360};
       }},
      {"Vignette", 56, NORIX_READ(VignetteParams, &P::centerX, &P::centerY, &P::innerRadius, &P::outerRadius),
       [](double t) {
         return List{0.5, 0.5, 0.4 - t * 0.4, 1.8 - t * 1.8};
       }},
      {"Emboss", 32, NORIX_READ(EmbossParams, &P::amount), [](double t) { return List{t}; }},
      {"Sketch", 32, NORIX_READ(SketchParams, &P::amount), [](double t) { return List{t}; }},
      {"Pinch", 56, NORIX_READ(PinchParams, &P::centerX, &P::centerY, &P::radius, &P::strength),
       [](double t) {
         return List{0.5, 0.5, 1.0, t};
       }},
      {"Bulge", 56, NORIX_READ(BulgeParams, &P::centerX, &P::centerY, &P::radius, &P::strength),
       [](double t) {
         return List{0.5, 0.5, 0.5, t};
       }},
      {"Zoom Blur", 48, NORIX_READ(ZoomBlurParams, &P::centerX, &P::centerY, &P::strength),
       [](double t) {
         return List{0.5, 0.5, t * 4};
       }},
      {"Motion Blur", 40, NORIX_READ(MotionBlurParams, &P::strength, &P::angle),
       [](double t) {
         return List{t * 4, 0.0};
       }},
      {"Tile Scale", 32, NORIX_READ(TileScaleParams, &P::scale), [](double t) { return List{TileScaleOf(t)}; }},
      {"Ripple", 120, NORIX_READ(RippleParams, &P::centerX, &P::centerY, &P::radius, &P::damping, &P::amplitude, &P::phase),
       [](double t) { return List{0.5, 0.5, 0.5 * t + 0.2, 90.0, 20.0, t * 80}; }},
      {"Focus Color", 56, NORIX_READ(FocusColorParams, &P::centerX, &P::centerY, &P::radius, &P::feather),
       [](double t) {
         return List{0.5, 0.5, 0.25, t * 0.5 + 0.25};
       }},
      {"Mirror Move X", 32, NORIX_READ(MirrorMoveXParams, &P::offset), [](double t) { return List{t}; }},
      {"Mirror Move Y", 32, NORIX_READ(MirrorMoveYParams, &P::offset), [](double t) { return List{t}; }},
  };
  return effects;
}

#undef NORIX_READ

class Levels : public testing::TestWithParam<std::size_t> {
protected:
  const Effect& effect_ = Effects()[GetParam()];
};

std::string NameWithoutSpaces(const testing::TestParamInfo<std::size_t>& effect) {
  std::string name = Effects()[effect.param].name;
  std::erase(name, ' ');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Effects, Levels, testing::Range(std::size_t{0}, std::size_t{14}), NameWithoutSpaces);

TEST_P(Levels, SetTheFieldsOfANewObject) {
  for (int level = 0; level <= 10000; ++level) {
    Slot slot;
    slot.Get(effect_.name, level);
    ASSERT_NE(slot.params, nullptr);
    ASSERT_EQ(slot.params->refCount, 1);
    ASSERT_EQ(slot.size, effect_.size);
    ASSERT_EQ(effect_.read(*slot.params), effect_.formula(level / 10000.0)) << "level " << level;
  }
}

TEST_P(Levels, SetTheFieldsOfAnObjectInUse) {
  Slot slot;
  for (int level = 10000; level >= 0; --level) {
    slot.size = kUnwritten;
    slot.Get(effect_.name, level);
    ASSERT_EQ(slot.size, effect_.size);
    ASSERT_EQ(effect_.read(*slot.params), effect_.formula(level / 10000.0)) << "level " << level;
  }
}

TEST_P(Levels, OutsideTheRangeAreNotClamped) {
  for (const int level : {-1, -10000, 10001, 20000, INT_MIN, INT_MAX}) {
    Slot slot;
    slot.Get(effect_.name, level);
    ASSERT_NE(slot.params, nullptr);
    EXPECT_EQ(effect_.read(*slot.params), effect_.formula(level / 10000.0)) << "level " << level;
  }
}

TEST_P(Levels, ReuseTheObjectOfTheSameName) {
  Slot slot;
  slot.Get(effect_.name, 1000);
  ReferenceParamBuffer(slot.params);
  FilterParams* first = slot.params;
  slot.Get(effect_.name, 2000);
  if (std::string(effect_.name) == "Tile Scale") {
    // Its objects carry no name that could match.
    EXPECT_NE(slot.params, first);
    EXPECT_EQ(first->refCount, 1);
    EXPECT_EQ(slot.params->refCount, 1);
    EXPECT_EQ(effect_.read(*first), effect_.formula(0.1));
  } else {
    EXPECT_EQ(slot.params, first);
    EXPECT_EQ(first->refCount, 2);
  }
  EXPECT_EQ(effect_.read(*slot.params), effect_.formula(0.2));
  ReleaseParamBuffer(first);
}

TEST_P(Levels, ReplaceAnObjectOfAnotherName) {
  int deletions = 0;
  Slot slot;
  slot.params = new CountedParams("Another", deletions);
  slot.Get(effect_.name, 5000);
  EXPECT_EQ(deletions, 1);
  ASSERT_NE(slot.params, nullptr);
  EXPECT_EQ(slot.params->refCount, 1);
  EXPECT_EQ(slot.size, effect_.size);
  EXPECT_EQ(effect_.read(*slot.params), effect_.formula(0.5));
}

TEST_P(Levels, ReplaceAnObjectWithoutAName) {
  int deletions = 0;
  Slot slot;
  slot.params = new CountedParams(nullptr, deletions);
  slot.Get(effect_.name, 5000);
  EXPECT_EQ(deletions, 1);
  EXPECT_EQ(effect_.read(*slot.params), effect_.formula(0.5));
}

TEST(ParamBuffer, LevelsGiveTheseNumbers) {
  Slot slot;
  slot.Get("Swirl", 5000);
  EXPECT_EQ(slot.As<SwirlParams>().angle, 180.0);
  slot.Get("Swirl", 10000);
  EXPECT_EQ(slot.As<SwirlParams>().angle, 360.0);
  slot.Get("Vignette", 5000);
  EXPECT_EQ(slot.As<VignetteParams>().innerRadius, 0.2);
  EXPECT_EQ(slot.As<VignetteParams>().outerRadius, 0.9);
  slot.Get("Vignette", 0);
  EXPECT_EQ(slot.As<VignetteParams>().innerRadius, 0.4);
  EXPECT_EQ(slot.As<VignetteParams>().outerRadius, 1.8);
  slot.Get("Ripple", 10000);
  EXPECT_EQ(slot.As<RippleParams>().radius, 0.7);
  EXPECT_EQ(slot.As<RippleParams>().damping, 90.0);
  EXPECT_EQ(slot.As<RippleParams>().amplitude, 20.0);
  EXPECT_EQ(slot.As<RippleParams>().phase, 80.0);
  slot.Get("Focus Color", 10000);
  EXPECT_EQ(slot.As<FocusColorParams>().radius, 0.25);
  EXPECT_EQ(slot.As<FocusColorParams>().feather, 0.75);
  slot.Get("Ground Glass", 10000);
  EXPECT_EQ(slot.As<GroundGlassParams>().amount, 20.0);
  slot.Get("Zoom Blur", 10000);
  EXPECT_EQ(slot.As<ZoomBlurParams>().strength, 4.0);
  slot.Get("Motion Blur", 2500);
  EXPECT_EQ(slot.As<MotionBlurParams>().strength, 1.0);
}

TEST(ParamBuffer, TileScaleStaysBetweenAFullPictureAndATwentieth) {
  Slot slot;
  const auto scale = [&slot](int level) {
    slot.Get("Tile Scale", level);
    return slot.As<TileScaleParams>().scale;
  };
  EXPECT_EQ(scale(0), 1.0);
  EXPECT_EQ(scale(10000), 1 - 0.95);  // a little above 0.05, and not clamped to it
  EXPECT_GT(scale(10000), 0.05);
  EXPECT_EQ(scale(10001), 0.05);
  EXPECT_EQ(scale(20000), 0.05);
  EXPECT_EQ(scale(INT_MAX), 0.05);
  EXPECT_EQ(scale(-1), 1.0);
  EXPECT_EQ(scale(-10000), 1.0);
  EXPECT_EQ(scale(INT_MIN), 1.0);
}

TEST(ParamBuffer, KeepsWhatTheLevelDoesNotSet) {
  Slot slot;
  slot.Get("Swirl", 1000);
  auto& swirl = slot.As<SwirlParams>();
  swirl.centerX = 0.125;
  swirl.centerY = 0.25;
  swirl.radius = 0.75;
  slot.Get("Swirl", 5000);
  ASSERT_EQ(slot.params, &swirl);
  EXPECT_EQ(swirl.centerX, 0.125);
  EXPECT_EQ(swirl.centerY, 0.25);
  EXPECT_EQ(swirl.radius, 0.75);
  EXPECT_EQ(swirl.angle, 180.0);
  EXPECT_EQ(swirl.refCount, 1);

  Slot blur;
  blur.Get("Motion Blur", 1000);
  blur.As<MotionBlurParams>().angle = 45.0;
  blur.Get("Motion Blur", 5000);
  EXPECT_EQ(blur.As<MotionBlurParams>().angle, 45.0);
  EXPECT_EQ(blur.As<MotionBlurParams>().strength, 2.0);
}

TEST(ParamBuffer, SetsCentresAnewWhereTheLevelSaysSo) {
  Slot slot;
  slot.Get("Ripple", 0);
  auto& ripple = slot.As<RippleParams>();
  ripple.centerX = ripple.centerY = ripple.damping = ripple.amplitude = 3.0;
  slot.Get("Ripple", 5000);
  EXPECT_EQ(ripple.centerX, 0.5);
  EXPECT_EQ(ripple.centerY, 0.5);
  EXPECT_EQ(ripple.radius, 0.45);
  EXPECT_EQ(ripple.damping, 90.0);
  EXPECT_EQ(ripple.amplitude, 20.0);
  EXPECT_EQ(ripple.phase, 40.0);

  Slot focus;
  focus.Get("Focus Color", 0);
  auto& color = focus.As<FocusColorParams>();
  color.centerX = color.centerY = color.radius = 3.0;
  focus.Get("Focus Color", 5000);
  EXPECT_EQ(color.centerX, 0.5);
  EXPECT_EQ(color.centerY, 0.5);
  EXPECT_EQ(color.radius, 0.25);
  EXPECT_EQ(color.feather, 0.5);
}

TEST(ParamBuffer, KeepsTheTablesOfARippleInUse) {
  Slot slot;
  slot.Get("Ripple", 0);
  RippleTables& tables = *slot.As<RippleParams>().tables;
  auto* table = new std::int32_t[2]{7, 8};
  tables.weightTable = table;
  tables.weightCount = 2;
  tables.tableDamping = 90;
  slot.Get("Ripple", 10000);
  EXPECT_EQ(slot.As<RippleParams>().tables, &tables);
  EXPECT_EQ(tables.weightTable, table);
  EXPECT_EQ(tables.weightCount, 2);
  EXPECT_EQ(tables.tableDamping, 90);
  EXPECT_EQ(table[1], 8);
}

TEST(ParamBuffer, ReplacesASwirlByAPinch) {
  Slot slot;
  slot.Get("Swirl", 5000);
  FilterParams* swirl = ReferenceParamBuffer(slot.params);
  slot.Get("Pinch", 2500);
  EXPECT_EQ(swirl->refCount, 1);
  ASSERT_NE(slot.params, swirl);
  EXPECT_EQ(slot.As<PinchParams>().strength, 0.25);
  EXPECT_EQ(slot.size, 56);
  ReleaseParamBuffer(swirl);
}

class NoObject : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(Names, NoObject,
                         testing::Values("Comicbook", "Stretch", "swirl", "Swirl ", "", "TileScale", "Mirror Scale Blur"));

TEST_P(NoObject, LeavesAnEmptySlotEmpty) {
  Slot slot;
  slot.Get(GetParam(), 5000);
  EXPECT_EQ(slot.params, nullptr);
  EXPECT_EQ(slot.size, kUnwritten);
}

TEST_P(NoObject, ReleasesAnObjectOfAnotherName) {
  Slot slot;
  slot.Get("Swirl", 5000);
  FilterParams* swirl = ReferenceParamBuffer(slot.params);
  slot.size = kUnwritten;
  slot.Get(GetParam(), 5000);
  EXPECT_EQ(slot.params, nullptr);
  EXPECT_EQ(slot.size, kUnwritten);
  EXPECT_EQ(swirl->refCount, 1);
  ReleaseParamBuffer(swirl);

  int deletions = 0;
  slot.params = new CountedParams("Another", deletions);
  slot.Get(GetParam(), 5000);
  EXPECT_EQ(slot.params, nullptr);
  EXPECT_EQ(deletions, 1);
}

TEST_P(NoObject, KeepsAnObjectThatCarriesTheVeryName) {
  int deletions = 0;
  Slot slot;
  FilterParams* own = slot.params = new CountedParams(GetParam(), deletions);
  slot.Get(GetParam(), 5000);
  EXPECT_EQ(slot.params, own);
  EXPECT_EQ(own->refCount, 1);
  EXPECT_EQ(deletions, 0);
  EXPECT_EQ(slot.size, kUnwritten);
}

TEST(ParamBuffer, ComparesNamesByTheirLetters) {
  Slot slot;
  slot.Get("Swirl", 0);
  FilterParams* first = slot.params;
  const std::string sameLetters = "Swirl";
  slot.Get(sameLetters.c_str(), 10000);
  EXPECT_EQ(slot.params, first);
  EXPECT_EQ(slot.As<SwirlParams>().angle, 360.0);
}

TEST(ParamBuffer, DoesNothingWithNullArguments) {
  int deletions = 0;
  Slot slot;
  FilterParams* own = slot.params = new CountedParams("Another", deletions);
  GetParamBuffer(nullptr, 5000, &slot.params, &slot.size);
  GetParamBuffer("Swirl", 5000, nullptr, &slot.size);
  GetParamBuffer("Swirl", 5000, &slot.params, nullptr);
  GetParamBuffer("Comicbook", 5000, &slot.params, nullptr);
  GetParamBuffer(nullptr, 5000, nullptr, nullptr);
  EXPECT_EQ(slot.params, own);
  EXPECT_EQ(slot.size, kUnwritten);
  EXPECT_EQ(deletions, 0);
  EXPECT_EQ(own->refCount, 1);
}

TEST(ParamBuffer, ReferencesAndReleasesCount) {
  int deletions = 0;
  FilterParams* params = new CountedParams("Counted", deletions);
  EXPECT_EQ(ReferenceParamBuffer(params), params);
  EXPECT_EQ(params->refCount, 2);
  ReleaseParamBuffer(params);
  EXPECT_EQ(params->refCount, 1);
  EXPECT_EQ(deletions, 0);
  ReleaseParamBuffer(params);
  EXPECT_EQ(deletions, 1);
}

TEST(ParamBuffer, TakesNullHandles) {
  EXPECT_EQ(ReferenceParamBuffer(nullptr), nullptr);
  EXPECT_EQ(CloneParamBuffer(nullptr), nullptr);
  ReleaseParamBuffer(nullptr);
}

TEST(ParamBuffer, ClonesAreObjectsOfTheirOwn) {
  Slot slot;
  slot.Get("Bulge", 7500);
  slot.As<BulgeParams>().radius = 0.125;
  ReferenceParamBuffer(slot.params);
  Slot copy;
  copy.params = CloneParamBuffer(slot.params);
  ASSERT_NE(copy.params, nullptr);
  EXPECT_NE(copy.params, slot.params);
  EXPECT_EQ(copy.params->refCount, 1);
  EXPECT_EQ(slot.params->refCount, 2);
  EXPECT_EQ(copy.As<BulgeParams>().radius, 0.125);
  EXPECT_EQ(copy.As<BulgeParams>().strength, 0.75);
  ReleaseParamBuffer(slot.params);
}

}  // namespace
