// Focus Color where its distances, its weights and its ties decide.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "exact/EffectComparison.h"

namespace norix::test {

namespace {

class FocusColorTest : public OneFormatTest {
protected:
  FocusColorTest() : OneFormatTest(11) {}

  /** Sets radius and feather in pixels of the plane that fades. */
  void SetCircle(int width, int height, double centerX, double centerY, int radius, int feather) {
    if (FormatOf(format_).IsPlanar()) {
      width = (width + 1) / 2;
      height = (height + 1) / 2;
    }
    const int longer = std::max(width, height);
    const int square = width * width + height * height;
    const int first = (square / longer + longer) / 2;
    const int half = (square / first + first) / 2 / 2;
    focus_.SetFields({centerX, centerY, (radius + 0.5) / half, (feather + 0.5) / half});
  }

  EffectComparison focus_{"Focus Color"};
};

// The centre is in the first column, so that the first row meets every distance of the ring.
TEST_P(FocusColorTest, EveryFeather) {
  const int scale = FormatOf(format_).IsPlanar() ? 2 : 1;
  for (int feather = 0; feather <= 1300; feather += feather < 300 ? 1 : 13) {
    const int radius = random_.Between(0, 20);
    const int width = scale * (radius + feather + 12);
    SetCircle(width, 4, 0.0, 0.0, radius, feather);
    const PictureShape shape = Shape(width, 4);
    ASSERT_TRUE(focus_.Agrees(Picture(shape, random_.Next()), shape, {0, 4}, random_.Next()));
  }
}

TEST_P(FocusColorTest, AllValuesInRingsThatTie) {
  const Picture source = RowsOfOneValue(Shape(500, 300), 1);
  for (const int feather : {1, 2, 3, 7, 60, 64, 100, 110, 127, 128, 180, 210, 240, 255, 256}) {
    SetCircle(500, 300, 0.5, 0.5, 10, feather);
    ASSERT_TRUE(focus_.Agrees(source, source.Shape(), {0, 300}, 7));
  }
}

// One colour throughout: where it ties, it ties everywhere.
TEST_P(FocusColorTest, FlatAreas) {
  for (int i = 0; i < 120; ++i) {
    const PictureShape shape = Shape(random_.Between(100, 400), random_.Between(20, 60));
    Picture source(shape, random_.Next());
    for (int plane = 0; plane < source.PlaneCount(); ++plane) {
      const int values[4] = {random_.Between(0, 255), random_.Between(0, 255), random_.Between(0, 255), 255};
      for (int row = 0; row < source.Rows(plane); ++row)
        for (int column = 0; column < source.RowBytes(plane); ++column)
          source.At(plane, row, column) = static_cast<std::uint8_t>(values[column % 4]);
    }
    SetCircle(shape.width, shape.height, random_.Real(0.0, 1.0), random_.Real(0.0, 1.0), random_.Between(0, 60),
              random_.Pick(std::vector<int>{110, 120, 128, 180, 200, 210, 240}));
    ASSERT_TRUE(focus_.Agrees(source, source.Shape(), {0, shape.height}, random_.Next()));
  }
}

TEST_P(FocusColorTest, EveryWidth) {
  for (int width = 1; width <= 150; ++width) {
    for (const int height : {1, 2, 9}) {
      SetCircle(width, height, random_.Real(-0.2, 1.2), random_.Real(-0.2, 1.2), random_.Between(0, 30),
                random_.Between(0, 120));
      ASSERT_TRUE(focus_.AgreesOnNoise(Shape(width, height), random_));
    }
  }
}

// Distances are worked on in strips, and beyond 4096 in double precision.
TEST_P(FocusColorTest, WidePicturesAndFarCentres) {
  for (const int width : {1023, 1024, 1025, 1537, 4100, 9001, 12289}) {
    for (const double centre : {0.0, 0.5, 0.31, 1.0, -1.2, 3.0}) {
      for (const double feather : {0.1, 0.75, 3.0}) {
        focus_.SetFields({centre, random_.Real(-1.0, 2.0), random_.Real(0.0, 1.0), feather});
        ASSERT_TRUE(focus_.AgreesOnNoise(Shape(width, 3), random_));
      }
    }
  }
}

TEST_P(FocusColorTest, HugeAndNegativeCircles) {
  for (int i = 0; i < 400; ++i) {
    const int width = random_.Between(1, 300);
    const int height = random_.Between(1, 30);
    const auto reach = [&] { return random_.OneIn(2) ? std::pow(10.0, random_.Real(0.0, 9.0)) : random_.Real(0.0, 1.0); };
    const double centre = random_.OneIn(3) ? (random_.OneIn(2) ? -1 : 1) * reach() : random_.Real(0.0, 1.0);
    focus_.SetFields({centre, random_.OneIn(4) ? reach() : 0.5, (random_.OneIn(3) ? -1 : 1) * reach(),
                      (random_.OneIn(8) ? -1 : 1) * reach()});
    ASSERT_TRUE(focus_.AgreesOnNoise(Shape(width, height), random_));
  }
}

INSTANTIATE_TEST_SUITE_P(Layouts, FocusColorTest,
                         testing::Values(FormatOf(kYuv420p), FormatOf(kYuva420p), FormatOf(kBgra), FormatOf(kRgb0)),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace

}  // namespace norix::test
