#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "PositionMap.h"
#include "Render.h"

namespace norix::test {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Owned<BulgeParams> Params(double centerX, double centerY, double radius, double strength) {
  Owned<BulgeParams> params(new BulgeParams);
  params->centerX = centerX;
  params->centerY = centerY;
  params->radius = radius;
  params->strength = strength;
  return params;
}

Picture Bulged(int format, int size, FilterParams* params) {
  return Moved("Bulge", PositionMap(format, size, size), params);
}

void ExpectCopiedLines(FilterParams* params) {
  Picture source({kBgra, 9, 6, {8}, {}}, 1);
  Picture destination({kBgra, 9, 6, {5}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 0, 0, 6, 41);
  RenderAll("Bulge", destination, source, params);
  EXPECT_TRUE(SameBytes(expected, destination));
}

TEST(BulgeTest, WithoutStrengthLinesAreCopied) {
  for (const double strength : {0.0, -0.0, std::nextafter(1e-5, 0.0), -0.5, -kInfinity}) {
    SCOPED_TRACE(strength);
    ExpectCopiedLines(Params(0.5, 0.5, 0.5, strength).get());
    ExpectCopiedLines(Params(0.5, 0.5, kNaN, strength).get());
  }
}

TEST(BulgeTest, WithoutRadiusLinesAreCopied) {
  for (const double radius : {0.0, -0.0, std::nextafter(1e-5, 0.0), -1.0, -kInfinity}) {
    SCOPED_TRACE(radius);
    ExpectCopiedLines(Params(0.5, 0.5, radius, 0.5).get());
    ExpectCopiedLines(Params(0.5, 0.5, radius, kNaN).get());
  }
}

TEST(BulgeTest, SmallestRadiusAndStrengthWritePixelsOnly) {
  Picture source({kBgra, 8, 8, {8}, {}}, 1);
  Picture destination({kBgra, 8, 8, {8}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 0, 0, 8, 32);
  RenderAll("Bulge", destination, source, Params(0.5, 0.5, 1e-5, 1e-5).get());
  EXPECT_TRUE(SameBytes(expected, destination));
}

TEST(BulgeTest, Defaults) {
  const Owned<BulgeParams> params(new BulgeParams);
  EXPECT_EQ(params->centerX, 0.5);
  EXPECT_EQ(params->centerY, 0.5);
  EXPECT_EQ(params->radius, 0.5);
  EXPECT_EQ(params->strength, 0.5);
  const Picture out = Bulged(kBgra, 64, params.get());
  // A quarter away the factor is 0.75 squared.
  EXPECT_EQ(SourceOf(out, 48, 32), (Position{41, 32}));
  EXPECT_EQ(SourceOf(out, 16, 32), (Position{23, 32}));
  EXPECT_EQ(SourceOf(out, 32, 48), (Position{32, 41}));
  EXPECT_EQ(SourceOf(out, 32, 16), (Position{32, 23}));
}

TEST(BulgeTest, AtFullStrengthTheCentreFillsItsSurroundings) {
  const Picture out = Bulged(kBgra, 64, Params(0.5, 0.5, 0.5, 1.0).get());
  for (const int column : {32, 33, 34, 36, 38}) EXPECT_EQ(SourceOf(out, column, 32), (Position{32, 32})) << column;
  for (const int row : {33, 34, 36, 38}) EXPECT_EQ(SourceOf(out, 32, row), (Position{32, 32})) << row;
  EXPECT_EQ(SourceOf(out, 31, 32), (Position{31, 32})) << "column 31.999";
  EXPECT_EQ(SourceOf(out, 28, 28), (Position{31, 31})) << "31.875 at 0.088 from the centre";
}

TEST(BulgeTest, BeyondFullStrengthTheFactorGrowsAgain) {
  // An eighth away k is -0.5; its square keeps the side.
  const Picture out = Bulged(kBgra, 64, Params(0.5, 0.5, 0.5, 2.0).get());
  EXPECT_EQ(SourceOf(out, 40, 32), (Position{34, 32}));
  EXPECT_EQ(SourceOf(out, 24, 32), (Position{30, 32}));
  EXPECT_EQ(SourceOf(out, 48, 32), (Position{32, 32})) << "k is 0";
}

TEST(BulgeTest, RimStandsStill) {
  const Picture out = Bulged(kBgra, 64, Params(0.0, 0.0, 0.5, 1.0).get());
  EXPECT_EQ(SourceOf(out, 32, 0), (Position{32, 0}));
  EXPECT_EQ(SourceOf(out, 0, 32), (Position{0, 32}));
  EXPECT_EQ(SourceOf(out, 33, 0), (Position{33, 0})) << "beyond";
  EXPECT_EQ(SourceOf(out, 31, 0), (Position{29, 0})) << "inside, column 29.09";
  EXPECT_EQ(SourceOf(out, 0, 31), (Position{0, 29})) << "inside, row 29.09";
}

TEST(BulgeTest, InRgb24TheCircleIsAStrip) {
  const Owned<BulgeParams> params(new BulgeParams);
  const Picture strip = Bulged(kRgb24, 64, params.get());
  const Picture circle = Bulged(kBgra, 64, params.get());
  EXPECT_EQ(SourceOf(circle, 48, 0), (Position{48, 0}));
  EXPECT_EQ(SourceOf(circle, 48, 63), (Position{48, 63}));
  EXPECT_EQ(SourceOf(strip, 48, 0), (Position{41, 14}));
  EXPECT_EQ(SourceOf(strip, 48, 63), (Position{41, 49}));
  EXPECT_EQ(SourceOf(strip, 16, 0), (Position{23, 14}));
  EXPECT_EQ(SourceOf(strip, 0, 0), (Position{0, 0})) << "on the strip's rim";
}

TEST(BulgeTest, InRgb24WholePicturesAboveCountTowardsZero) {
  // One picture below the centre is more than the radius, in every row.
  const Picture above = Bulged(kRgb24, 64, Params(0.5, -1.0, 0.5, 0.5).get());
  for (const int row : {0, 1, 2, 63}) EXPECT_EQ(SourceOf(above, 40, row), (Position{40, row}));
  // Above the centre the whole number loses one with every row and so is 0 from the third on.
  const Picture below = Bulged(kRgb24, 64, Params(0.5, 2.0, 0.5, 0.5).get());
  EXPECT_EQ(SourceOf(below, 40, 0), (Position{40, 0}));
  EXPECT_EQ(SourceOf(below, 40, 1), (Position{40, 1}));
  EXPECT_EQ(SourceOf(below, 40, 2), (Position{35, 63})) << "row 78.8";
}

TEST(BulgeTest, InRgb24HugeDistancesStayDistances) {
  for (const double center : {1e300, -1e300, 65536.0, -65536.0}) {
    const Picture out = Bulged(kRgb24, 8, Params(0.5, center, 1e3, 0.5).get());
    EXPECT_EQ(SourceOf(out, 5, 0), (Position{5, 0})) << center;
  }
}

TEST(BulgeTest, SingleRowAtTheEndIsWarpedAsThePicturesLast) {
  // Rows 2 to 4 of 8: the last one is warped as row 7, to row 7.4, and reads three rows higher; in chroma row 3.7, one row
  // higher. Warped as itself it would lie outside the circle.
  Picture source({kYuv420p, 8, 8, {}, {}}, 1);
  Picture destination({kYuv420p, 8, 8, {}, {}}, 2);
  Render("Bulge", destination, source, Params(0.0, 1.0, 0.25, 0.5).get(), 2, 3);
  EXPECT_EQ(destination.At(0, 4, 0), source.At(0, 4, 0));
  EXPECT_EQ(destination.At(1, 2, 0), source.At(1, 2, 0));
  EXPECT_EQ(destination.At(2, 2, 0), source.At(2, 2, 0));
}

}  // namespace

}  // namespace norix::test
