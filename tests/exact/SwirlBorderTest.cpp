// "Swirl" at angles that put a pixel's source onto the border between two pixels: of two neighbouring doubles one fetches
// from this side and one from the other, so that only the exact computation decides right.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "exact/EffectComparison.h"
#include "exact/ParamObject.h"
#include "reference/Reference.h"
#include "support/Formats.h"
#include "support/Picture.h"
#include "support/Random.h"

namespace norix::test {

namespace {

constexpr int kWidth = 200;
constexpr int kHeight = 120;

/** Every pixel says which it is. */
Picture NumberedPixels() {
  Picture picture({kBgra, kWidth, kHeight, {}, {}}, 1);
  for (int row = 0; row < kHeight; ++row)
    for (int column = 0; column < kWidth; ++column) {
      picture.At(0, row, column * 4) = static_cast<std::uint8_t>(column);
      picture.At(0, row, column * 4 + 1) = static_cast<std::uint8_t>(row);
    }
  return picture;
}

class SwirlBorderTest : public testing::Test {
protected:
  /** The number of the pixel that (x, y) is fetched from. */
  int SourceAt(double angle, int x, int y) {
    params_.SetField(3, angle);
    effect_.render(*rendered_.Frame(), *source_.Frame(), params_.Get(), y, 1);
    return rendered_.At(0, y, x * 4 + 1) * 256 + rendered_.At(0, y, x * 4);
  }

  const reference::Effect& effect_ = *reference::FindEffect("Swirl");
  Picture source_ = NumberedPixels();
  Picture rendered_ = source_;
  ParamObject params_{"Swirl", 5000};
};

TEST_F(SwirlBorderTest, NeighbouringAnglesOnBothSides) {
  Random random(31);
  EffectComparison comparison("Swirl");
  int borders = 0;
  for (int i = 0; i < 80; ++i) {
    const int x = random.Between(20, kWidth - 20);
    const int y = random.Between(20, kHeight - 20);
    double below = random.Real(20.0, 350.0);
    double above = below + 5.0;
    const int before = SourceAt(below, x, y);
    if (SourceAt(above, x, y) == before) continue;
    while (std::nextafter(below, above) < above) {
      const double middle = below + (above - below) / 2;
      (SourceAt(middle, x, y) == before ? below : above) = middle;
    }
    ++borders;
    for (const double angle : {below, above, std::nextafter(below, 0.0), std::nextafter(above, 360.0)}) {
      comparison.SetFields({0.5, 0.5, 1.0, angle});
      ASSERT_TRUE(comparison.Agrees(source_, source_.Shape(), {y, 1}, 5));
      ASSERT_TRUE(comparison.Agrees(source_));
    }
  }
  EXPECT_GT(borders, 60);
}

}  // namespace

}  // namespace norix::test
