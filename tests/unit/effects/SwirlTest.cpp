#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "Render.h"

namespace norix::test {

namespace {

using Row = std::vector<int>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Owned<SwirlParams> Params(double centerX, double centerY, double radius, double angle) {
  Owned<SwirlParams> params(new SwirlParams);
  params->centerX = centerX;
  params->centerY = centerY;
  params->radius = radius;
  params->angle = angle;
  return params;
}

/** Every pixel of an RGB24 picture says in its bytes where it stands. */
Picture Map(int width, int height) {
  Picture map({kRgb24, width, height, {}, {}}, 1);
  for (int row = 0; row < height; ++row)
    for (int column = 0; column < width; ++column) {
      map.At(0, row, 3 * column) = static_cast<std::uint8_t>(column);
      map.At(0, row, 3 * column + 1) = static_cast<std::uint8_t>(row);
      map.At(0, row, 3 * column + 2) = 77;
    }
  return map;
}

struct Position {
  int column;
  int row;
  friend bool operator==(const Position&, const Position&) = default;
  friend void PrintTo(const Position& position, std::ostream* out) { *out << position.column << ',' << position.row; }
};

Position SourceOf(const Picture& picture, int column, int row) {
  return {picture.At(0, row, 3 * column), picture.At(0, row, 3 * column + 1)};
}

Picture Swirled(Picture map, FilterParams* params) {
  Picture out(map.Shape(), 99);
  RenderAll("Swirl", out, map, params);
  return out;
}

TEST(SwirlTest, SmallAndNegativeAnglesCopyLines) {
  for (const double angle : {0.0, -0.0, 0.99e-5, std::nextafter(1e-5, 0.0), -1.0, -180.0, -kInfinity}) {
    Picture source({kBgra, 9, 6, {8}, {}}, 1);
    Picture destination({kBgra, 9, 6, {5}, {}}, 2);
    Picture expected = destination;
    CopyRows(expected, source, 0, 0, 6, 41);
    RenderAll("Swirl", destination, source, Params(0.5, 0.5, 1.0, angle).get());
    EXPECT_TRUE(SameBytes(expected, destination)) << angle;
  }
}

TEST(SwirlTest, AngleAtThresholdWritesPixelsOnly) {
  Picture source({kBgra, 8, 8, {8}, {}}, 1);
  Picture destination({kBgra, 8, 8, {8}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 0, 0, 8, 32);
  RenderAll("Swirl", destination, source, Params(0.5, 0.5, 0.0, 1e-5).get());
  EXPECT_TRUE(SameBytes(expected, destination));
}

TEST(SwirlTest, RadiusWithoutCircleMovesNothing) {
  // Eighths are exact, so every pixel comes from its own place, the one at the centre included.
  for (const double radius : {0.0, -0.0, -1.0, -kInfinity, kNaN})
    for (const Format& format : RenderedFormats()) {
      Picture source({format.code, 8, 8, {4, 4, 4, 4}, {}}, 1);
      Picture destination({format.code, 8, 8, {4, 4, 4, 4}, {}}, 2);
      Picture expected = destination;
      for (int plane = 0; plane < format.planes; ++plane)
        CopyRows(expected, source, plane, 0, source.Rows(plane), source.RowBytes(plane) + (plane == 3 ? 4 : 0));
      RenderAll("Swirl", destination, source, Params(0.5, 0.5, radius, 180.0).get());
      EXPECT_TRUE(SameBytes(expected, destination)) << format.name << ", radius " << radius;
    }
}

TEST(SwirlTest, SumOfTenthsDecidesUnmovedColumns) {
  // Eight tenths added up stay below 0.8, so column 8 reads column 7.
  const Picture out = Swirled(Map(10, 1), Params(0.5, 0.5, 0.0, 180.0).get());
  Row columns;
  for (int column = 0; column < 10; ++column) columns.push_back(SourceOf(out, column, 0).column);
  EXPECT_EQ(columns, (Row{0, 1, 2, 3, 4, 5, 6, 7, 7, 9}));
}

TEST(SwirlTest, SumOfTenthsBeginsAtBand) {
  Picture map = Map(1, 10);
  Picture whole(map.Shape(), 2);
  Picture bands(map.Shape(), 2);
  const auto params = Params(0.5, 0.5, 0.0, 180.0);
  Render("Swirl", whole, map, params.get(), 0, 10);
  Render("Swirl", bands, map, params.get(), 0, 8);
  Render("Swirl", bands, map, params.get(), 8, 2);
  EXPECT_EQ(SourceOf(whole, 0, 8), (Position{0, 7}));
  EXPECT_EQ(SourceOf(bands, 0, 8), (Position{0, 8}));
}

TEST(SwirlTest, DefaultsTurnCentreByFourRadians) {
  const Owned<SwirlParams> params(new SwirlParams);
  EXPECT_EQ(params->centerX, 0.5);
  EXPECT_EQ(params->centerY, 0.5);
  EXPECT_EQ(params->radius, 1.0);
  EXPECT_EQ(params->angle, 180.0);
  const Picture out = Swirled(Map(64, 64), params.get());
  EXPECT_EQ(SourceOf(out, 32, 32), (Position{32, 32}));
  // One pixel to the right of the centre: by 3.875 radians to (31.26, 32.67).
  EXPECT_EQ(SourceOf(out, 33, 32), (Position{31, 32}));
  // An eighth of the picture away, on all four sides: by 3.0625 radians.
  EXPECT_EQ(SourceOf(out, 40, 32), (Position{24, 31}));
  EXPECT_EQ(SourceOf(out, 24, 32), (Position{39, 32}));
  EXPECT_EQ(SourceOf(out, 32, 40), (Position{32, 24}));
  EXPECT_EQ(SourceOf(out, 32, 24), (Position{31, 39}));
}

TEST(SwirlTest, RimStandsStill) {
  const Picture out = Swirled(Map(8, 8), Params(0.0, 0.0, 0.5, 360.0).get());
  EXPECT_EQ(SourceOf(out, 4, 0), (Position{4, 0}));
  EXPECT_EQ(SourceOf(out, 0, 4), (Position{0, 4}));
  EXPECT_EQ(SourceOf(out, 3, 3), (Position{3, 3})) << "beyond the rim";
  EXPECT_EQ(SourceOf(out, 3, 0), (Position{2, 0})) << "inside";
  EXPECT_EQ(SourceOf(out, 1, 3), (Position{1, 2})) << "inside";
}

TEST(SwirlTest, OutsideThePictureTheNearestEdgeIsTaken) {
  const Picture out = Swirled(Map(8, 8), Owned<SwirlParams>(new SwirlParams).get());
  EXPECT_EQ(SourceOf(out, 0, 0), (Position{0, 1})) << "column -1.11";
  EXPECT_EQ(SourceOf(out, 7, 0), (Position{4, 0})) << "row -0.98";
  EXPECT_EQ(SourceOf(out, 0, 7), (Position{2, 7})) << "row 8.67";
  EXPECT_EQ(SourceOf(out, 7, 7), (Position{7, 3})) << "column 8.22";
}

TEST(SwirlTest, PositionThatIsNoNumberIsTheFirstPixel) {
  for (const double angle : {kNaN, kInfinity}) {
    const Picture out = Swirled(Map(8, 8), Params(0.5, 0.5, 1.0, angle).get());
    for (int row = 1; row < 8; ++row) EXPECT_EQ(SourceOf(out, 5, row), (Position{0, 0})) << angle;
  }
  const Picture out = Swirled(Map(8, 8), Params(0.5, 0.5, kInfinity, 90.0).get());
  EXPECT_EQ(SourceOf(out, 5, 6), (Position{0, 0})) << "infinite radius";
}

TEST(SwirlTest, PositionBeyondAllNumbersIsTheEdge) {
  // Turned by 4.5 radians about a centre 1e12 widths away, the picture lands another 1.2e12 widths behind that centre.
  const Picture right = Swirled(Map(8, 8), Params(1e12, 0.5, 4e12, 360.0).get());
  const Picture left = Swirled(Map(8, 8), Params(-1e12, 0.5, 4e12, 360.0).get());
  for (int column = 0; column < 8; ++column) {
    EXPECT_EQ(SourceOf(right, column, 4).column, 7);
    EXPECT_EQ(SourceOf(left, column, 4).column, 0);
  }
}

TEST(SwirlTest, UnlistedFormatsAreLeftAlone) {
  for (const int code : {kYuyv422, kBgr24, kArgb}) {
    Picture source({code, 8, 8, {}, {}}, 1);
    Picture destination({code, 8, 8, {}, {}}, 2);
    const Picture before = destination;
    RenderAll("Swirl", destination, source, Owned<SwirlParams>(new SwirlParams).get());
    EXPECT_TRUE(SameBytes(before, destination)) << code;
  }
}

TEST(SwirlTest, FourthByteMovesWithItsPixel) {
  for (const int code : {kBgra, kRgba, kRgb0, kBgr0}) {
    Picture source({code, 8, 8, {}, {}}, 1);
    Picture destination({code, 8, 8, {}, {}}, 2);
    RenderAll("Swirl", destination, source, Owned<SwirlParams>(new SwirlParams).get());
    for (int byte = 0; byte < 4; ++byte)
      EXPECT_EQ(destination.At(0, 7, 7 * 4 + byte), source.At(0, 3, 7 * 4 + byte)) << FormatOf(code).name;
  }
}

TEST(SwirlTest, AlphaPlaneStandsStillOverWholeBand) {
  Picture source({kYuva420p, 8, 8, {0, 0, 0, 6}, {}}, 1);
  Picture destination({kYuva420p, 8, 8, {0, 0, 0, 3}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 3, 2, 8, 11);
  Render("Swirl", destination, source, Owned<SwirlParams>(new SwirlParams).get(), 2, 6);
  for (int row = 0; row < 8; ++row)
    for (int column = 0; column < 11; ++column)
      EXPECT_EQ(destination.At(3, row, column), expected.At(3, row, column)) << row << ", " << column;
}

TEST(SwirlTest, ChromaFollowsTopLeftPixelOfItsBlock) {
  Picture source({kYuv420p, 8, 8, {}, {}}, 1);
  Picture destination({kYuv420p, 8, 8, {}, {}}, 2);
  const auto params = Params(0.5, 0.5, 1.0, 180.0);
  RenderAll("Swirl", destination, source, params.get());
  // In luma pixels: the block's first one, and where it comes from.
  EXPECT_EQ(destination.At(1, 0, 0), source.At(1, 0, 0)) << "(0, 0) from (-1, 1)";
  EXPECT_EQ(destination.At(1, 1, 0), source.At(1, 2, 0)) << "(0, 2) from (0, 5)";
  EXPECT_EQ(destination.At(2, 1, 0), source.At(2, 2, 0));
  EXPECT_EQ(destination.At(1, 0, 2), source.At(1, 0, 0)) << "(4, 0) from (0, 1)";
  EXPECT_EQ(destination.At(1, 2, 2), source.At(1, 2, 2)) << "(4, 4) is the centre";
  EXPECT_EQ(destination.At(1, 3, 0), source.At(1, 3, 1)) << "(0, 6) from (2, 7)";
  EXPECT_EQ(destination.At(2, 3, 3), source.At(2, 0, 2)) << "(6, 6) from (5, 1)";
}

TEST(SwirlTest, LastRowOfOddBandReadsShiftedRow) {
  // Rows 2 to 4 of 8: the last one is taken for row 7, so it reads three rows higher; in chroma one row higher.
  Picture source({kYuv420p, 8, 8, {}, {}}, 1);
  Picture destination({kYuv420p, 8, 8, {}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 0, 2, 4, 8);
  expected.SetRow(0, 4, source.Row(0, 1));
  for (int plane = 1; plane <= 2; ++plane) {
    expected.SetRow(plane, 1, source.Row(plane, 1));
    expected.SetRow(plane, 2, source.Row(plane, 1));
  }
  Render("Swirl", destination, source, Params(0.5, 0.5, 0.0, 180.0).get(), 2, 3);
  EXPECT_TRUE(SameBytes(expected, destination));
}

TEST(SwirlTest, ShiftedRowStaysInItsPlane) {
  Picture source({kYuva420p, 8, 8, {}, {}}, 1);
  Picture destination({kYuva420p, 8, 8, {}, {}}, 2);
  Picture expected = destination;
  expected.SetRow(0, 0, source.Row(0, 0));
  expected.SetRow(1, 0, source.Row(1, 0));
  expected.SetRow(2, 0, source.Row(2, 0));
  expected.SetRow(3, 0, source.Row(3, 0));
  Render("Swirl", destination, source, Params(0.5, 0.5, 0.0, 180.0).get(), 0, 1);
  EXPECT_TRUE(SameBytes(expected, destination));
}

TEST(SwirlTest, OddHeightEndsWithItsOwnRow) {
  Picture source({kYuv420p, 4, 5, {}, {}}, 1);
  Picture destination({kYuv420p, 4, 5, {}, {}}, 2);
  RenderAll("Swirl", destination, source, Params(0.5, 0.5, 0.0, 180.0).get());
  EXPECT_EQ(destination.Row(0, 4), source.Row(0, 4));
  EXPECT_EQ(destination.Row(1, 2), source.Row(1, 2));
  EXPECT_EQ(destination.Row(2, 2), source.Row(2, 2));
}

TEST(SwirlTest, OddFirstRowBeginsChromaInItsOwnRow) {
  Picture source({kYuv420p, 8, 8, {}, {}}, 1);
  Picture destination({kYuv420p, 8, 8, {}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 0, 3, 5, 8);
  expected.SetRow(1, 1, source.Row(1, 1));
  expected.SetRow(2, 1, source.Row(2, 1));
  Render("Swirl", destination, source, Params(0.5, 0.5, 0.0, 180.0).get(), 3, 2);
  EXPECT_TRUE(SameBytes(expected, destination));
}

}  // namespace

}  // namespace norix::test
