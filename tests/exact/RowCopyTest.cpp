// Effects that copy pixels by runs of a row: vectors, strips and tiles of all sizes.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "exact/EffectComparison.h"

namespace norix::test {

namespace {

class RowCopyTest : public OneFormatTest {
protected:
  RowCopyTest() : OneFormatTest(5) {}
};

TEST_P(RowCopyTest, MirrorMoveXWithEveryShift) {
  EffectComparison comparison("Mirror Move X");
  for (const int width : {1, 2, 3, 15, 16, 17, 31, 33, 47, 48, 49, 64, 66, 97, 130})
    for (int shift = -2 * width - 1; shift <= 2 * width + 1; ++shift) {
      comparison.SetFields({(shift + (shift < 0 ? -0.75 : 0.25)) / width});
      Compare(comparison, width, 3);
    }
}

// Tiles of more than one strip of 2048 columns, and of less than a vector.
TEST_P(RowCopyTest, TileScaleWithWideAndNarrowTiles) {
  EffectComparison comparison("Tile Scale");
  for (int i = 0; i < 150; ++i) {
    const int width = random_.OneIn(3) ? random_.Between(2040, 5200) : random_.Between(900, 2600);
    comparison.SetFields(
        {random_.OneIn(3) ? random_.Between(2, 140) / static_cast<double>(width) : random_.Real(0.3, 1.0)});
    Compare(comparison, width, random_.Between(2, 12));
  }
}

// Around the scales at which pixels of a vector fit one more or one less window, and sums that land on halves.
TEST_P(RowCopyTest, TileScaleAroundWindows) {
  EffectComparison comparison("Tile Scale");
  for (int i = 0; i < 400; ++i) {
    double scale = random_.Between(1, 63) / 64.0;
    if (random_.OneIn(2)) scale = 1.0 / (random_.Between(3, 20) * 0.5);
    if (random_.OneIn(2)) scale = std::nextafter(scale, random_.OneIn(2) ? 0.0 : 1.0);
    if (random_.OneIn(4)) scale += random_.Real(-0.001, 0.001);
    comparison.SetFields({scale});
    Compare(comparison, random_.Between(8, 400), random_.Between(8, 40));
  }
}

// Single bytes are fetched from up to eight windows, larger pixels from up to four; beyond that, one by one.
TEST_P(RowCopyTest, TileScaleWithManyWindows) {
  EffectComparison comparison("Tile Scale");
  for (int i = 0; i < 150; ++i) {
    comparison.SetFields({random_.OneIn(3) ? 1.0 / random_.Between(3, 10) : random_.Real(0.1, 0.3)});
    Compare(comparison, random_.Between(150, 1400), random_.Between(20, 60));
  }
}

TEST_P(RowCopyTest, GroundGlassInTheMiddleAndAtTheEnds) {
  EffectComparison comparison("Ground Glass");
  for (int i = 0; i < 150; ++i) {
    const int width = random_.Between(6, random_.OneIn(4) ? 1200 : 80);
    const int height = random_.Between(6, 80);
    comparison.SetFields({random_.Real(1.0, random_.OneIn(2) ? 3.0 : std::min(width, height) * 0.5)});
    Compare(comparison, width, height);
  }
}

TEST_P(RowCopyTest, NothingBesideThePlanesIsTouched) {
  struct Setting {
    const char* name;
    std::vector<double> fields;
  };
  const std::vector<Setting> kSettings = {
      {"Zoom Blur", {0.5, 0.5, 4.0}}, {"Zoom Blur", {-0.5, 1.5, 2.0}}, {"Zoom Blur", {1.5, 0.5, 20.0}},
      {"Motion Blur", {2.6, -36.0}},  {"Motion Blur", {9.0, 200.0}},   {"Tile Scale", {0.9}},
      {"Tile Scale", {0.53}},         {"Tile Scale", {0.26}},          {"Tile Scale", {0.1}},
      {"Mirror Move X", {0.3}},       {"Mirror Move X", {-0.6}},       {"Mirror Move X", {1.0}},
      {"Mirror Move Y", {0.4}},       {"Ground Glass", {2.0}},         {"Ground Glass", {3.0}}};
  for (const Setting& setting : kSettings) {
    EffectComparison comparison(setting.name);
    comparison.SetFields(setting.fields);
    for (const int width : {9, 16, 31, 32, 33, 63, 64, 66, 95, 130, 270})
      for (const Guard guard : {Guard::kBefore, Guard::kBehind}) {
        const Picture source({format_, width, random_.Between(8, 11), {}, {}}, random_.Next());
        ASSERT_TRUE(comparison.AgreesBesidePages(source, guard));
      }
  }
}

INSTANTIATE_TEST_SUITE_P(All, RowCopyTest, testing::ValuesIn(AllFormats().begin(), AllFormats().begin() + 8),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace

}  // namespace norix::test
