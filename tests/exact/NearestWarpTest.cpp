// Swirl, Pinch and Bulge where their kernels change course: strips and their mirrored sides, the circle's rim, positions on
// the borders between pixels, and the edges of what vectors may serve.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "exact/EffectComparison.h"
#include "support/Formats.h"

namespace norix::test {

namespace {

constexpr std::array<int, 4> kSampledFormats = {kBgra, kRgb24, kYuv420p, kYuva420p};

class NearestWarpTest : public testing::TestWithParam<const char*> {
protected:
  using Fields = std::vector<double>;

  const char* Name() const { return GetParam(); }
  double Strong() const { return std::string(Name()) == "Swirl" ? 360.0 : 1.0; }

  testing::AssertionResult Agree(const Fields& fields, int format, int width, int height, int firstRow, int rowCount) {
    return EffectComparison(Name(), fields)
        .Agrees(ShapeWithLines(format, width, height, random_), ShapeWithLines(format, width, height, random_),
                {firstRow, rowCount}, random_.Next());
  }

  Random random_{2711};
};

// Strips are 128 columns to each side of the middle, or 128 from the left.
TEST_P(NearestWarpTest, WidthsAroundStrips) {
  for (const int format : {kBgra, kRgb24, kYuv420p})
    for (const int base : {128, 256, 384, 512, 768})
      for (int width = base - 3; width <= base + 3; ++width) {
        const int height = random_.Between(1, 12);
        const double radius = random_.OneIn(2) ? 1.0 : random_.Real(0.2, 0.7);
        ASSERT_TRUE(Agree({0.5, 0.5, radius, Strong() / 2}, format, width, height, 0, height));
        ASSERT_TRUE(Agree({random_.Real(0.2, 0.8), 0.5, radius, Strong() / 2}, format, width, height, 0, height));
      }
}

TEST_P(NearestWarpTest, NarrowAndFlat) {
  for (const int format : kSampledFormats)
    for (int size = 1; size <= 40; ++size) {
      const int other = random_.Between(1, 6);
      ASSERT_TRUE(Agree({0.5, 0.5, 1.0, Strong()}, format, size, other, 0, other));
      ASSERT_TRUE(Agree({0.5, 0.5, 1.0, Strong()}, format, other, size, size / 3, size - size / 3));
    }
}

// A circle through pixels: inside or not is decided by the last bit of the root.
TEST_P(NearestWarpTest, RimThroughPixels) {
  for (int i = 0; i < 300; ++i) {
    const int format = random_.Pick(kSampledFormats);
    const int width = random_.Between(4, 300);
    const int height = random_.Between(4, 40);
    const double centerX = random_.OneIn(2) ? 0.5 : static_cast<double>(random_.Between(0, width)) / width;
    const double centerY = random_.OneIn(2) ? 0.5 : static_cast<double>(random_.Between(0, height)) / height;
    double u = 0;
    double v = 0;
    for (int x = random_.Between(0, width - 1); x > 0; --x) u += 1.0 / width;
    for (int y = random_.Between(0, height - 1); y > 0; --y) v += 1.0 / height;
    const double dx = u - centerX;
    const double dy = v - centerY;
    double radius = std::sqrt(dx * dx + dy * dy);
    if (random_.OneIn(2)) radius = std::nextafter(radius, random_.OneIn(2) ? 0.0 : 2.0);
    ASSERT_TRUE(Agree({centerX, centerY, radius, Strong() * random_.Real(0.3, 1.0)}, format, width, height, 0, height));
  }
}

// Whole columns and rows that do not move, or by so little that only the last bits tell; and by so much that samples leave
// the picture far behind.
TEST_P(NearestWarpTest, WeakAndWild) {
  for (const double amount : {1e-5, 2e-5, 1e-4, 1e-3, 0.01, 0.25, 0.5, 0.75, 1.0, 1.5, 2.0, 2.5, 3.0, 7.0, 20.0, 60.0})
    for (int i = 0; i < 12; ++i) {
      const int format = random_.Pick(kSampledFormats);
      const int width = random_.OneIn(4) ? random_.Between(600, 1400) : random_.Between(2, 200);
      const int height = random_.Between(2, 30);
      const bool middle = !random_.OneIn(3);
      const double centerX = middle ? 0.5 : static_cast<double>(random_.Between(0, width)) / width;
      const double centerY = middle ? 0.5 : static_cast<double>(random_.Between(0, height)) / height;
      const double radius = random_.OneIn(3) ? 0.5 : random_.Real(0.01, 2.0);
      const double scale = random_.OneIn(2) || amount < 1e-3 ? 1.0 : Strong();
      ASSERT_TRUE(Agree({centerX, centerY, radius, amount * scale}, format, width, height, 0, height));
    }
}

// Round turns at the centre, and strengths that send pixels exactly to others.
TEST_P(NearestWarpTest, TiesAtFullSize) {
  const bool swirl = std::string(Name()) == "Swirl";
  const std::vector<Fields> kFields =
      swirl ? std::vector<Fields>{{0.5, 0.5, 1.0, 180.0}, {0.5, 0.5, 0.5, 141.3716694115407}, {0.25, 0.75, 0.5, 2e-5}}
            : std::vector<Fields>{{0.5, 0.5, 1.0, 1.0}, {0.5, 0.5, 0.5, 2e-5}, {0.25, 0.5, 0.25, 0.5}};
  int turn = 0;
  for (const Fields& fields : kFields)
    for (const int format : {kBgra, kYuv420p}) {
      const int width = turn++ % 2 == 0 ? 1024 : 1280;
      ASSERT_TRUE(Agree(fields, format, width, 512, 0, 512));
    }
  ASSERT_TRUE(Agree(kFields[0], kRgb24, 1281, 361, 0, 361));
}

// Lines too long for 16 bits, and pictures too wide to be mirrored.
TEST_P(NearestWarpTest, LongLines) {
  for (const int format : kSampledFormats) {
    PictureShape shape{format, 150, 21, {33000, 32700, 32700, 5}, {}};
    const EffectComparison comparison(Name(), {0.5, 0.5, 0.8, Strong() / 2});
    ASSERT_TRUE(comparison.Agrees(shape, shape, {0, 21}, random_.Next()));
    shape.bottomUp = {true, true, true, false};
    ASSERT_TRUE(comparison.Agrees(shape, shape, {4, 9}, random_.Next()));
    ASSERT_TRUE(Agree({0.5, 0.5, 1.0, Strong() / 2}, format, 8192, 2, 0, 2));
    ASSERT_TRUE(Agree({0.5, 0.5, 1.0, Strong() / 2}, format, 8194, 2, 0, 2));
    ASSERT_TRUE(Agree({0.5, 0.5, 1.0, Strong() / 2}, format, 20000, 2, 0, 2));
  }
}

TEST_P(NearestWarpTest, NothingBesideThePlanesIsTouched) {
  for (const int format : kSampledFormats)
    for (const int width : {1, 3, 16, 33, 129, 300})
      for (const Guard guard : {Guard::kBefore, Guard::kBehind}) {
        const EffectComparison comparison(Name(), {0.5, 0.5, 1.0, Strong() * random_.Real(0.01, 1.0)});
        PictureShape shape{format, width, random_.Between(1, 40), {}, {}};
        ASSERT_TRUE(comparison.AgreesBesidePages(Picture(shape, random_.Next()), guard));
        shape.bottomUp = {true, true, true, true};
        ASSERT_TRUE(comparison.AgreesBesidePages(Picture(shape, random_.Next()), guard));
      }
}

INSTANTIATE_TEST_SUITE_P(All, NearestWarpTest, testing::Values("Swirl", "Pinch", "Bulge"),
                         [](const auto& tested) { return std::string(tested.param); });

}  // namespace

}  // namespace norix::test
