// Ripple where its kernel changes course: strips to both sides of the middle, every pair of legs, products that wrap,
// planes with lines of their own.

#include <NorixEngine/FEParams.h>
#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

#include "exact/EffectComparison.h"
#include "exact/ParamObject.h"
#include "support/Formats.h"
#include "support/Picture.h"
#include "support/Targets.h"

namespace norix::test {

namespace {

constexpr std::array<int, 4> kSampledFormats = {kBgra, kRgb24, kYuv420p, kYuva420p};

/** Damping, amplitude and phase are the last three of the fields; the others are not read. */
std::vector<double> Fields(double damping, double amplitude, double phase) {
  return {0.5, 0.5, 0.5, damping, amplitude, phase};
}

class RippleKernelTest : public testing::Test {
protected:
  testing::AssertionResult Agree(const std::vector<double>& fields, int format, int width, int height, int firstRow,
                                 int rowCount) {
    return EffectComparison("Ripple", fields)
        .Agrees(ShapeWithLines(format, width, height, random_), ShapeWithLines(format, width, height, random_),
                {firstRow, rowCount}, random_.Next());
  }

  Random random_{6173};
};

// In a square of 1024 every pair of legs occurs: no weight is above half the table.
TEST_F(RippleKernelTest, EveryPairOfLegs) {
  ASSERT_TRUE(Agree(Fields(90, 20, 0), kRgb24, 1024, 1024, 0, 1024));
  ASSERT_TRUE(Agree(Fields(0.5, 700, 13), kYuv420p, 1024, 1024, 0, 1024));
}

TEST_F(RippleKernelTest, WidthsAroundStrips) {
  for (const int format : kSampledFormats)
    for (const int base : {16, 64, 256, 512, 1024})
      for (int width = base - 3; width <= base + 3; ++width) {
        const int height = random_.Between(1, 14);
        const int first = random_.Between(0, height - 1);
        ASSERT_TRUE(Agree(Fields(90, 20, random_.Real(0, 80)), format, width, height, first, height - first));
        ASSERT_TRUE(Agree(Fields(random_.Real(-100, 100), 60, 0), format, height, width, width / 4, width / 2));
      }
}

// Samples leave 16 bits, products 32, and the table saturates.
TEST_F(RippleKernelTest, WildAmplitudes) {
  for (const double amplitude : {0.0, 1.0, 1000.0, 3e4, 1e5, 1e6, 1e7, 1e12, -5e4, -1e300})
    for (int i = 0; i < 12; ++i) {
      const int width = random_.Between(1, 400);
      const int height = random_.Between(1, 40);
      ASSERT_TRUE(Agree(Fields(random_.Real(-500, 100.9), amplitude, random_.Real(-90, 90)), random_.Pick(kSampledFormats),
                        width, height, 0, height));
    }
}

// Columns beyond 16 bits are rendered pixel by pixel, where products wrap just the same.
TEST_F(RippleKernelTest, TooWideForVectors) {
  for (const int format : kSampledFormats)
    for (const double amplitude : {20.0, 3e4, 1e7}) {
      ASSERT_TRUE(Agree(Fields(90, amplitude, 3), format, 33001, 3, 0, 3));
      ASSERT_TRUE(Agree(Fields(90, amplitude, 3), format, 3, 33001, 16001, 2));
    }
}

// Bands that go on below the picture are rendered pixel by pixel, at all distances to the middle.
TEST_F(RippleKernelTest, BandsBelowThePicture) {
  for (const int format : kSampledFormats)
    for (const double amplitude : {20.0, 3e4}) ASSERT_TRUE(Agree(Fields(90, amplitude, 3), format, 90, 70, 0, 73));
}

// Distances that only a host puts into an object's table: no kernel takes them, so all are as plain code has them.
TEST_F(RippleKernelTest, WeightsOfAHost) {
  for (const int step : {3, 9, 20})
    for (const int format : kSampledFormats) {
      const PictureShape shape{format, 90, 70, {}, {}};
      Picture source(shape, random_.Next());
      const Picture before(shape, 4);
      Picture first = before;
      const ParamObject params("Ripple", 5000);
      filter_video_frame(first.Frame(), source.Frame(), "Ripple", params.Get(), 0, 0, 0);
      RippleTables& tables = *static_cast<RippleParams*>(params.Get())->tables;
      ASSERT_EQ(tables.weightCount, 90);
      for (int distance = 0; distance < tables.weightCount; ++distance)
        tables.weightTable[distance] = 700 + distance * step;
      const auto render = [&](std::int64_t target, Picture& picture) {
        const ForcedTarget forced(target);
        filter_video_frame(picture.Frame(), source.Frame(), "Ripple", params.Get(), 0, 0, shape.height);
      };
      render(Targets().back(), first);
      for (const std::int64_t target : Targets()) {
        Picture picture = before;
        render(target, picture);
        ASSERT_TRUE(SameBytes(first, picture)) << step << ", with " << TargetName(target);
      }
    }
}

TEST_F(RippleKernelTest, LongLines) {
  for (const int format : kSampledFormats) {
    PictureShape shape{format, 150, 21, {33000, 32700, 32700, 5}, {}};
    const EffectComparison comparison("Ripple", Fields(90, 20, 3));
    ASSERT_TRUE(comparison.Agrees(shape, shape, {0, 21}, random_.Next()));
    shape.bottomUp = {true, true, false, false};
    ASSERT_TRUE(comparison.Agrees(shape, shape, {4, 9}, random_.Next()));
  }
}

TEST_F(RippleKernelTest, NothingBesideThePlanesIsTouched) {
  for (const int format : kSampledFormats)
    for (const int width : {1, 3, 16, 33, 129, 300, 600})
      for (const Guard guard : {Guard::kBefore, Guard::kBehind})
        for (const double amplitude : {20.0, 1e5}) {
          const EffectComparison comparison("Ripple", Fields(90, amplitude, random_.Real(0, 80)));
          PictureShape shape{format, width, random_.Between(1, 40), {}, {}};
          ASSERT_TRUE(comparison.AgreesBesidePages(Picture(shape, random_.Next()), guard));
          shape.bottomUp = {true, true, true, true};
          ASSERT_TRUE(comparison.AgreesBesidePages(Picture(shape, random_.Next()), guard));
        }
}

}  // namespace

}  // namespace norix::test
