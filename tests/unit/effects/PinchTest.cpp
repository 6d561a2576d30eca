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

Owned<PinchParams> Params(double centerX, double centerY, double radius, double strength) {
  Owned<PinchParams> params(new PinchParams);
  params->centerX = centerX;
  params->centerY = centerY;
  params->radius = radius;
  params->strength = strength;
  return params;
}

Picture Pinched(int size, FilterParams* params) { return Moved("Pinch", PositionMap(kRgb24, size, size), params); }

void ExpectCopiedLines(FilterParams* params) {
  Picture source({kBgra, 9, 6, {8}, {}}, 1);
  Picture destination({kBgra, 9, 6, {5}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 0, 0, 6, 41);
  RenderAll("Pinch", destination, source, params);
  EXPECT_TRUE(SameBytes(expected, destination));
}

TEST(PinchTest, WithoutStrengthLinesAreCopied) {
  for (const double strength : {0.0, -0.0, std::nextafter(1e-5, 0.0), -0.5, -kInfinity}) {
    SCOPED_TRACE(strength);
    ExpectCopiedLines(Params(0.5, 0.5, 1.0, strength).get());
    ExpectCopiedLines(Params(0.5, 0.5, kNaN, strength).get());
  }
}

TEST(PinchTest, WithoutRadiusLinesAreCopied) {
  for (const double radius : {0.0, -0.0, std::nextafter(1e-5, 0.0), -1.0, -kInfinity}) {
    SCOPED_TRACE(radius);
    ExpectCopiedLines(Params(0.5, 0.5, radius, 0.5).get());
    ExpectCopiedLines(Params(0.5, 0.5, radius, kNaN).get());
  }
}

TEST(PinchTest, SmallestRadiusAndStrengthWritePixelsOnly) {
  Picture source({kBgra, 8, 8, {8}, {}}, 1);
  Picture destination({kBgra, 8, 8, {8}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 0, 0, 8, 32);
  RenderAll("Pinch", destination, source, Params(0.5, 0.5, 1e-5, 1e-5).get());
  EXPECT_TRUE(SameBytes(expected, destination));
}

TEST(PinchTest, HalfThePictureAwayNothingMoves) {
  for (const double strength : {0.25, 0.5, 1.0, 7.0, 1e10}) {
    const Picture out = Pinched(8, Params(0.0, 0.0, 1.0, strength).get());
    EXPECT_EQ(SourceOf(out, 4, 0), (Position{4, 0})) << strength;
    EXPECT_EQ(SourceOf(out, 0, 4), (Position{0, 4})) << strength;
  }
}

TEST(PinchTest, NearerSamplesFartherAndFartherNearer) {
  const Picture out = Pinched(8, Params(0.0, 0.0, 1.0, 2.0).get());
  EXPECT_EQ(SourceOf(out, 3, 0), (Position{4, 0})) << "column 4.5";
  EXPECT_EQ(SourceOf(out, 5, 0), (Position{2, 0})) << "column 2.5";
}

TEST(PinchTest, DefaultsDrawQuarterFromFiveSixteenths) {
  const Owned<PinchParams> params(new PinchParams);
  EXPECT_EQ(params->centerX, 0.5);
  EXPECT_EQ(params->centerY, 0.5);
  EXPECT_EQ(params->radius, 1.0);
  EXPECT_EQ(params->strength, 0.5);
  const Picture out = Pinched(64, params.get());
  EXPECT_EQ(SourceOf(out, 32, 32), (Position{32, 32}));
  EXPECT_EQ(SourceOf(out, 48, 32), (Position{52, 32}));
  EXPECT_EQ(SourceOf(out, 16, 32), (Position{12, 32}));
  EXPECT_EQ(SourceOf(out, 32, 48), (Position{32, 52}));
  EXPECT_EQ(SourceOf(out, 32, 16), (Position{32, 12}));
}

TEST(PinchTest, PictureJumpsAtTheRim) {
  const Picture out = Pinched(8, Params(0.0, 0.0, 0.75, 1.0).get());
  EXPECT_EQ(SourceOf(out, 5, 0), (Position{3, 0})) << "inside, column 3.75";
  EXPECT_EQ(SourceOf(out, 6, 0), (Position{6, 0})) << "on the rim";
  EXPECT_EQ(SourceOf(out, 7, 0), (Position{7, 0})) << "beyond";
}

TEST(PinchTest, OutsideThePictureTheNearestEdgeIsTaken) {
  const Picture out = Pinched(8, Params(0.5, 0.5, 1.0, 4.0).get());
  EXPECT_EQ(SourceOf(out, 6, 4), (Position{7, 4})) << "column 10";
  EXPECT_EQ(SourceOf(out, 2, 4), (Position{0, 4})) << "column -2";
  EXPECT_EQ(SourceOf(out, 4, 6), (Position{4, 7})) << "row 10";
  EXPECT_EQ(SourceOf(out, 4, 2), (Position{4, 0})) << "row -2";
}

TEST(PinchTest, PositionThatIsNoNumberIsTheFirstPixel) {
  const Picture out = Pinched(8, Params(0.5, 0.5, 1.0, kNaN).get());
  EXPECT_EQ(SourceOf(out, 5, 6), (Position{0, 0}));
}

TEST(PinchTest, FourthByteMovesWithItsPixel) {
  Picture source({kBgra, 64, 64, {}, {}}, 1);
  Picture destination({kBgra, 64, 64, {}, {}}, 2);
  RenderAll("Pinch", destination, source, Owned<PinchParams>(new PinchParams).get());
  for (int byte = 0; byte < 4; ++byte) EXPECT_EQ(destination.At(0, 32, 48 * 4 + byte), source.At(0, 32, 52 * 4 + byte));
}

TEST(PinchTest, SingleRowAtTheEndIsWarpedAsThePicturesLast) {
  // Rows 2 to 4 of 8: the last one is warped as row 7, to row 6.25, and reads three rows higher; in chroma row 3.125, one
  // row higher. Warped as itself it would not move, being half the picture away.
  Picture source({kYuv420p, 8, 8, {}, {}}, 1);
  Picture destination({kYuv420p, 8, 8, {}, {}}, 2);
  Render("Pinch", destination, source, Params(0.0, 1.0, 4.0, 1.0).get(), 2, 3);
  EXPECT_EQ(destination.At(0, 4, 0), source.At(0, 3, 0));
  EXPECT_EQ(destination.At(1, 2, 0), source.At(1, 2, 0));
  EXPECT_EQ(destination.At(2, 2, 0), source.At(2, 2, 0));
}

TEST(PinchTest, AlphaPlaneStandsStill) {
  Picture source({kYuva420p, 8, 8, {0, 0, 0, 6}, {}}, 1);
  Picture destination({kYuva420p, 8, 8, {0, 0, 0, 3}, {}}, 2);
  RenderAll("Pinch", destination, source, Owned<PinchParams>(new PinchParams).get());
  for (int row = 0; row < 8; ++row)
    for (int column = 0; column < 11; ++column)
      ASSERT_EQ(destination.At(3, row, column), source.At(3, row, column)) << row << ", " << column;
}

}  // namespace

}  // namespace norix::test
