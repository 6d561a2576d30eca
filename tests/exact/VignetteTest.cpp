// Vignette where its spans, its pieces and its products decide.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "exact/EffectComparison.h"

namespace norix::test {

namespace {

class VignetteTest : public OneFormatTest {
protected:
  VignetteTest() : OneFormatTest(5) {}

  EffectComparison vignette_{"Vignette"};
};

TEST_P(VignetteTest, AllValuesAtManyDistances) {
  for (const int step : {1, 7}) {
    const Picture source = RowsOfOneValue(Shape(700, 512), step);
    for (const double outer : {0.9, 0.5, 1.3}) {
      vignette_.SetFields({0.5, 0.5, 0.2, outer});
      ASSERT_TRUE(vignette_.Agrees(source, source.Shape(), {0, 512}, 3));
    }
  }
}

// Steps, radii and centre are multiples of powers of two: products are whole at many columns, and the factor is 0 and 1 at
// whole columns.
TEST_P(VignetteTest, ProductsThatAreWhole) {
  for (const int width : {64, 128, 256, 512})
    for (const double centre : {0.0, 0.25, 0.5, 1.0})
      for (const double inner : {0.0, 0.125, 0.25})
        for (const double outer : {0.25, 0.5, 1.0, 1.25}) {
          vignette_.SetFields({centre, 0.5, inner, outer});
          const PictureShape shape = Shape(width, 64);
          ASSERT_TRUE(vignette_.Agrees(RowsOfOneValue(shape, 3), shape, {0, 64}, 1));
          ASSERT_TRUE(vignette_.AgreesOnNoise(shape, random_));
        }
}

TEST_P(VignetteTest, EveryWidthAndHalfColumnOfTheCentre) {
  for (int width = 1; width <= 140; width += width < 70 ? 1 : 5) {
    for (int halves = -1; halves <= 2 * width + 1; halves += 1 + width / 6) {
      vignette_.SetFields({halves / (2.0 * width), 0.4, random_.Real(0.0, 0.3), random_.Real(0.3, 1.2)});
      ASSERT_TRUE(vignette_.AgreesOnNoise(Shape(width, 5), random_));
    }
  }
}

// Rows are worked on in pieces; columns share factors only within one.
TEST_P(VignetteTest, WiderThanAPiece) {
  for (const int width : {4095, 4096, 4097, 4098, 6001, 8191, 8193, 12290}) {
    for (const double centre : {0.5, 0.25, 0.4, 0.9, 1.0 / 3.0}) {
      vignette_.SetFields({centre, 0.5, 0.1, random_.Real(0.2, 0.9)});
      ASSERT_TRUE(vignette_.AgreesOnNoise(Shape(width, 4), random_));
    }
  }
}

TEST_P(VignetteTest, NarrowRings) {
  for (int i = 0; i < 400; ++i) {
    const double inner = random_.Real(-0.1, 0.8);
    const double width = random_.OneIn(4) ? std::pow(10.0, random_.Real(-17.0, -2.0))
                                          : random_.Pick(std::vector<double>{0.0, -0.1, 0.00099, 0.001, 0.00101, 0.01});
    vignette_.SetFields({random_.OneIn(2) ? 0.5 : random_.Real(-0.5, 1.5), 0.5, inner, inner + width});
    ASSERT_TRUE(vignette_.AgreesOnNoise(Shape(random_.Between(1, 400), random_.Between(1, 40)), random_));
  }
}

// Wide rings: factors just below 1, and chroma just above black, over many columns.
TEST_P(VignetteTest, WideRings) {
  for (int i = 0; i < 250; ++i) {
    const double inner = random_.OneIn(3) ? random_.Real(-16.0, 0.0) : random_.Real(0.0, 0.4);
    const double outer = random_.OneIn(3) ? random_.Real(0.1, 0.6) : random_.Real(0.6, 16.5);
    const double centre = random_.OneIn(3) ? random_.Real(-4.5, 4.5) : random_.Between(0, 8) * 0.125;
    vignette_.SetFields({centre, random_.OneIn(2) ? 0.5 : random_.Real(-4.0, 4.0), inner, outer});
    ASSERT_TRUE(vignette_.AgreesOnNoise(Shape(random_.Between(1, 700), random_.Between(1, 24)), random_));
  }
}

// Circles that touch a row, or the corner, or miss them by the last bit.
TEST_P(VignetteTest, RadiiThatGraze) {
  for (int i = 0; i < 400; ++i) {
    const int width = random_.Between(1, 300);
    const int height = random_.Between(1, 40);
    const double corner = std::hypot(random_.Between(0, width) / static_cast<double>(width) - 0.5,
                                     random_.Between(0, height) / static_cast<double>(height) - 0.5);
    double radius = random_.OneIn(3) ? std::abs(random_.Between(0, height) / static_cast<double>(height) - 0.5) : corner;
    if (random_.OneIn(2)) radius = std::nextafter(radius, random_.OneIn(2) ? 0.0 : 2.0);
    if (random_.OneIn(2)) {
      vignette_.SetFields({0.5, 0.5, radius, radius + random_.Real(0.0, 0.5)});
    } else {
      vignette_.SetFields({0.5, 0.5, radius * random_.Real(0.0, 1.0), radius});
    }
    ASSERT_TRUE(vignette_.AgreesOnNoise(Shape(width, height), random_));
  }
}

// Factors of 1 less a few units in the last places, which rounding may make whole again.
TEST_P(VignetteTest, FactorsThatAreNearlyOne) {
  for (int bits = 4; bits <= 56; ++bits) {
    for (int i = 0; i < 16; ++i) {
      const double inner = 0.5 - std::ldexp(1.0, -bits);
      vignette_.SetFields({0.5, 0.0, inner, inner + random_.Real(0.01, 1.0)});
      ASSERT_TRUE(vignette_.AgreesOnNoise(Shape(random_.OneIn(2) ? 128 : 16, 2), random_));
    }
  }
}

// Ring sides of a few columns, which no vector fits into.
TEST_P(VignetteTest, SidesNarrowerThanAVector) {
  for (int i = 0; i < 600; ++i) {
    const int width = random_.Between(1, 300);
    const double inner = random_.Real(0.0, 0.5);
    vignette_.SetFields({random_.OneIn(2) ? 0.5 : random_.Real(0.0, 1.0), 0.5, inner,
                         inner + random_.Between(1, 40) / static_cast<double>(width)});
    ASSERT_TRUE(vignette_.AgreesOnNoise(Shape(width, random_.Between(1, 12)), random_));
  }
}

INSTANTIATE_TEST_SUITE_P(Layouts, VignetteTest,
                         testing::Values(FormatOf(kYuv420p), FormatOf(kYuva420p), FormatOf(kRgb24), FormatOf(kBgra)),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace

}  // namespace norix::test
