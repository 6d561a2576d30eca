// The helper routines that hosts may call themselves.

#include <NorixEngine/FEAgorithmset.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <limits>
#include <vector>

namespace {

using FEAgorithmSet::CopyAlphaData;
using FEAgorithmSet::POINTF;
using FEAgorithmSet::RipplePos;

POINTF Ripple(POINTF point, POINTF center, float radius, float wavelength, float amplitude, float phase) {
  POINTF out = {-1.0F, -1.0F};
  RipplePos(out, point, center, radius, wavelength, amplitude, phase);
  return out;
}

#define EXPECT_POINT(point, expectedX, expectedY) \
  do {                                            \
    const POINTF actual = point;                  \
    EXPECT_FLOAT_EQ(actual.x, expectedX);         \
    EXPECT_FLOAT_EQ(actual.y, expectedY);         \
  } while (false)

TEST(RipplePos, LeavesPointsBeyondTheRadius) {
  EXPECT_POINT(Ripple({3.0F, 4.0F}, {0.0F, 0.0F}, 4.99F, 20.0F, 7.0F, 0.0F), 3.0F, 4.0F);
  EXPECT_POINT(Ripple({13.0F, 24.0F}, {10.0F, 20.0F}, 4.99F, 20.0F, 7.0F, 0.0F), 13.0F, 24.0F);
  EXPECT_POINT(Ripple({-100.0F, 1.0F}, {0.0F, 0.0F}, 0.0F, 20.0F, 7.0F, 0.0F), -100.0F, 1.0F);
}

TEST(RipplePos, EndsAtTheRadius) { EXPECT_POINT(Ripple({3.0F, 4.0F}, {0.0F, 0.0F}, 5.0F, 20.0F, 7.0F, 0.0F), 3.0F, 4.0F); }

TEST(RipplePos, LeavesTheCentre) {
  EXPECT_POINT(Ripple({0.0F, 0.0F}, {0.0F, 0.0F}, 5.0F, 20.0F, 7.0F, 1.0F), 0.0F, 0.0F);
  EXPECT_POINT(Ripple({10.0F, 20.0F}, {10.0F, 20.0F}, 5.0F, 20.0F, 7.0F, 1.0F), 10.0F, 20.0F);
  EXPECT_POINT(Ripple({10.0F, 20.0F}, {10.0F, 20.0F}, 0.0F, 20.0F, 7.0F, 1.0F), 10.0F, 20.0F);
}

// A quarter wavelength out the wave is at its height: 2 pi d / wavelength = pi / 2.
TEST(RipplePos, MovesPointsAlongTheLineFromTheCentre) {
  // d = 5, k = 5 / 10 * 0.25 * 20 / 5 = 0.5
  EXPECT_POINT(Ripple({3.0F, 4.0F}, {0.0F, 0.0F}, 10.0F, 20.0F, 0.25F, 0.0F), 4.5F, 6.0F);
  EXPECT_POINT(Ripple({13.0F, 24.0F}, {10.0F, 20.0F}, 10.0F, 20.0F, 0.25F, 0.0F), 14.5F, 26.0F);
  EXPECT_POINT(Ripple({7.0F, 16.0F}, {10.0F, 20.0F}, 10.0F, 20.0F, 0.25F, 0.0F), 5.5F, 14.0F);
  EXPECT_POINT(Ripple({3.0F, 4.0F}, {0.0F, 0.0F}, 10.0F, 20.0F, -0.25F, 0.0F), 1.5F, 2.0F);
  // d = 2, k = 2 / 4 * 1 * 8 / 2 = 2
  EXPECT_POINT(Ripple({0.0F, -2.0F}, {0.0F, 0.0F}, 4.0F, 8.0F, 1.0F, 0.0F), 0.0F, -6.0F);
  // d = 0.5, k = 1.5 / 2 * 1 * 2 / 0.5 = 3
  EXPECT_POINT(Ripple({0.5F, 0.0F}, {0.0F, 0.0F}, 2.0F, 2.0F, 1.0F, 0.0F), 2.0F, 0.0F);
}

TEST(RipplePos, SubtractsThePhase) {
  constexpr float kPi = 3.14159265F;
  // sin(pi/2 - pi) = -1, sin(pi/2 - pi/6) = sqrt(3)/2; k = 0.5 and its multiples otherwise.
  EXPECT_POINT(Ripple({3.0F, 4.0F}, {0.0F, 0.0F}, 10.0F, 20.0F, 0.25F, kPi), 1.5F, 2.0F);
  EXPECT_POINT(Ripple({3.0F, 4.0F}, {0.0F, 0.0F}, 10.0F, 20.0F, 0.25F, kPi / 6), 4.2990381F, 5.7320508F);
  // A phase that tells minus from plus: sin(pi/4 - pi/4) = 0 where a sum would give 1.
  EXPECT_NEAR(Ripple({3.0F, 4.0F}, {0.0F, 0.0F}, 10.0F, 40.0F, 0.25F, kPi / 4).x, 3.0F, 1e-6);
}

TEST(RipplePos, DoesNotDivideAtDistanceOne) {
  // At 1 within 1e-5: k = 1 / 2 * 3 = 1.5. Elsewhere also times wavelength / d = 4.
  EXPECT_POINT(Ripple({1.0F, 0.0F}, {0.0F, 0.0F}, 2.0F, 4.0F, 3.0F, 0.0F), 2.5F, 0.0F);
  EXPECT_NEAR(Ripple({1.000009F, 0.0F}, {0.0F, 0.0F}, 2.0F, 4.0F, 3.0F, 0.0F).x, 2.5F, 1e-3);
  EXPECT_NEAR(Ripple({0.999991F, 0.0F}, {0.0F, 0.0F}, 2.0F, 4.0F, 3.0F, 0.0F).x, 2.5F, 1e-3);
  EXPECT_NEAR(Ripple({1.000011F, 0.0F}, {0.0F, 0.0F}, 2.0F, 4.0F, 3.0F, 0.0F).x, 7.0F, 1e-3);
  EXPECT_NEAR(Ripple({0.999989F, 0.0F}, {0.0F, 0.0F}, 2.0F, 4.0F, 3.0F, 0.0F).x, 7.0F, 1e-3);
}

TEST(RipplePos, WritesOverItsOwnArguments) {
  POINTF point = {3.0F, 4.0F};
  RipplePos(point, point, {0.0F, 0.0F}, 10.0F, 20.0F, 0.25F, 0.0F);
  EXPECT_FLOAT_EQ(point.x, 4.5F);
  EXPECT_FLOAT_EQ(point.y, 6.0F);
}

TEST(RipplePos, PointIsTwoFloats) {
  EXPECT_EQ(sizeof(POINTF), 8U);
  EXPECT_EQ(offsetof(POINTF, x), 0U);
  EXPECT_EQ(offsetof(POINTF, y), 4U);
}

using Bytes = std::vector<unsigned char>;

Bytes Counting(std::size_t size) {
  Bytes bytes(size);
  unsigned char value = 1;
  for (unsigned char& byte : bytes) byte = value++;
  return bytes;
}

TEST(CopyAlphaData, CopiesOneByteOfEveryPixel) {
  Bytes src = Counting(16);
  Bytes dst(16, 99);
  CopyAlphaData(&dst[3], &src[3], 2, 2, 0, 0, 4);
  EXPECT_THAT(dst, testing::ElementsAre(99, 99, 99, 4, 99, 99, 99, 8, 99, 99, 99, 12, 99, 99, 99, 16));
  EXPECT_EQ(src, Counting(16));
}

TEST(CopyAlphaData, SkipsEachFramesOwnPadding) {
  // Two rows of eight bytes, and three or one more.
  Bytes src = Counting(22);
  Bytes dst(18, 0);
  CopyAlphaData(&dst[3], &src[3], 2, 2, 1, 3, 4);
  EXPECT_THAT(dst, testing::ElementsAre(0, 0, 0, 4, 0, 0, 0, 8, 0,  //
                                        0, 0, 0, 15, 0, 0, 0, 19, 0));
}

TEST(CopyAlphaData, StepsByTheGivenPixelSize) {
  Bytes src = Counting(6);
  Bytes dst(6, 0);
  CopyAlphaData(&dst[2], &src[1], 2, 1, 0, 0, 3);
  EXPECT_THAT(dst, testing::ElementsAre(0, 0, 2, 0, 0, 5));
}

TEST(CopyAlphaData, WalksUpwardsWithNegativePadding) {
  // Bottom-up: a line size of -8 leaves -8 - 2 * 4 = -16 after a row.
  Bytes src = Counting(16);
  Bytes dst(16, 0);
  CopyAlphaData(&dst[3], &src[8 + 3], 2, 2, 0, -16, 4);
  EXPECT_THAT(dst, testing::ElementsAre(0, 0, 0, 12, 0, 0, 0, 16, 0, 0, 0, 4, 0, 0, 0, 8));
}

TEST(CopyAlphaData, CopiesNothingOfAnEmptyBlock) {
  constexpr int kMin = std::numeric_limits<int>::min();
  for (const auto& [width, height] : {std::array{0, 2}, {-1, 2}, {kMin, 2}, {2, 0}, {2, -1}, {2, kMin}, {0, 0}}) {
    Bytes src = Counting(16);
    Bytes dst(16, 0);
    CopyAlphaData(&dst[3], &src[3], width, height, 0, 0, 4);
    EXPECT_THAT(dst, testing::Each(0)) << width << " x " << height;
  }
}

}  // namespace
