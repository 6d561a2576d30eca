#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "MirrorMove.h"
#include "Render.h"

namespace norix::test {

namespace {

constexpr auto Params = ParamsWith<MirrorMoveYParams>;

/** Which source rows a band of a plane shows after the move. */
List Moved(int height, double offset, int firstRow, int rowCount, int plane = 0) {
  Picture source({kYuv420p, 2, height, {}, {}}, 1);
  Picture destination({kYuv420p, 2, height, {}, {}}, 2);
  for (int p = 0; p < 3; ++p)
    for (int row = 0; row < source.Rows(p); ++row) source.SetRow(p, row, List(p == 0 ? 2 : 1, row));
  Render("Mirror Move Y", destination, source, Params(offset).get(), firstRow, rowCount);
  const int first = plane == 0 ? firstRow : (firstRow + 1) / 2;
  const int count = plane == 0 ? rowCount : (rowCount + 1) / 2;
  List rows;
  for (int row = first; row < first + count; ++row) rows.push_back(destination.At(plane, row, 0));
  return rows;
}

List Moved(int height, double offset) { return Moved(height, offset, 0, height); }
List MovedChroma(int height, double offset, int plane = 1) { return Moved(height, offset, 0, height, plane); }

TEST(MirrorMoveYTest, NoOffsetCopiesRows) {
  for (const double offset : {0.0, -0.0, 2.0, 4.0})
    for (const Format& format : RenderedFormats()) {
      Picture source({format.code, 6, 8, {3, 3, 3, 3}, {}}, 1);
      Picture destination({format.code, 6, 8, {5, 5, 5, 5}, {}}, 2);
      Picture expected = destination;
      for (int plane = 0; plane < format.planes; ++plane) {
        const bool chroma = plane == 1 || plane == 2;
        CopyRows(expected, source, plane, chroma ? 1 : 2, chroma ? 3 : 6, source.RowBytes(plane) + 3);
      }
      Render("Mirror Move Y", destination, source, Params(offset).get(), 2, 4);
      EXPECT_TRUE(SameBytes(expected, destination)) << format.name << ", offset " << offset;
    }
}

TEST(MirrorMoveYTest, OneHeightTurnsUpsideDown) {
  EXPECT_EQ(Moved(100, 1.0), Series(99, 0));
  EXPECT_EQ(MovedChroma(100, 1.0), Series(49, 0));
  EXPECT_EQ(Moved(100, 3.0), Series(99, 0));
}

TEST(MirrorMoveYTest, QuarterDown) {
  EXPECT_EQ(Moved(100, 0.25), Series(24, 0) + Series(0, 74));
  EXPECT_EQ(MovedChroma(100, 0.25), Series(11, 0) + Series(0, 37)) << "25 / 2 is 12 in chroma";
}

TEST(MirrorMoveYTest, BandAboveTheBoundaryShowsOneRowLower) {
  EXPECT_EQ(Moved(100, 0.25, 0, 10), Series(25, 16));
  EXPECT_EQ(Moved(100, 0.25, 10, 10), Series(15, 6));
  EXPECT_EQ(Moved(100, 0.25, 0, 24), Series(25, 2));
  EXPECT_EQ(Moved(100, 0.25, 0, 25), Series(24, 0)) << "ends at the boundary";
  EXPECT_EQ(Moved(100, 0.25, 0, 26), Series(24, 0) + List{0});
  EXPECT_EQ(Moved(100, 0.25, 25, 10), Series(0, 9));
}

TEST(MirrorMoveYTest, ChromaBandsAreJudgedByTheirOwnBoundary) {
  // Boundary 12 in chroma: bands of 11 rows lie above it, of 12 reach it.
  EXPECT_EQ(Moved(100, 0.25, 0, 22, 1), Series(12, 2));
  EXPECT_EQ(Moved(100, 0.25, 0, 24, 1), Series(11, 0)) << "while luma is still above its boundary";
  EXPECT_EQ(Moved(100, 0.25, 0, 24, 2), Series(11, 0));
}

TEST(MirrorMoveYTest, UpsideDownBandsRepeatTheLastRow) {
  // The row below the last one is the last one.
  EXPECT_EQ(Moved(10, 1.0, 0, 4), List({9, 9, 8, 7}));
  EXPECT_EQ(Moved(10, 1.0, 4, 4), Series(6, 3));
  EXPECT_EQ(Moved(10, 1.0, 4, 6), Series(5, 0));
  EXPECT_EQ(Moved(10, 1.0, 0, 4, 1), List({4, 4}));
}

TEST(MirrorMoveYTest, QuarterUpTruncates) {
  // -24.5 becomes -24, not -25.
  EXPECT_EQ(Moved(100, -0.25), Series(24, 99) + Series(99, 76));
  EXPECT_EQ(MovedChroma(100, -0.25), Series(12, 49) + Series(49, 38));
  EXPECT_EQ(Moved(100, -0.25, 0, 10), Series(24, 33)) << "upwards all bands follow one rule";
  EXPECT_EQ(Moved(100, -0.25, 80, 10), Series(95, 86));
}

TEST(MirrorMoveYTest, RoundsHalvesUp) {
  EXPECT_EQ(Moved(10, 0.04), Series(0, 9));
  EXPECT_EQ(Moved(10, 0.05), List{0} + Series(0, 8)) << "0.5 + 0.5";
  EXPECT_EQ(Moved(10, -0.14), Series(0, 9)) << "-1.4 + 0.5 is -0.9, and that is 0";
  EXPECT_EQ(Moved(10, -0.15), Series(1, 9) + List{9}) << "-1.5 + 0.5";
}

TEST(MirrorMoveYTest, FoldsBeyondOneHeight) {
  EXPECT_EQ(Moved(10, 1.3), Series(7, 9) + Series(9, 3)) << "13 of 20 is -7";
  EXPECT_EQ(Moved(10, -1.35), Series(6, 0) + Series(0, 2)) << "-13 of 20 is 7";
  EXPECT_EQ(Moved(10, -1.05), Series(9, 0)) << "-10 shows the whole mirror";
}

TEST(MirrorMoveYTest, OddHeightHalvesTheShiftForChroma) {
  // 7 rows, 4 in chroma; 5 / 2 is 2.
  EXPECT_EQ(Moved(7, 5.0 / 7.0), Series(4, 0) + Series(0, 1));
  EXPECT_EQ(MovedChroma(7, 5.0 / 7.0), (List{1, 0, 0, 1}));
  // Twice the height is all round in luma; in chroma it is 7 of a period of 8: one row up.
  EXPECT_EQ(Moved(7, 2.0), Series(0, 6));
  EXPECT_EQ(MovedChroma(7, 2.0), (List{1, 2, 3, 3}));
  EXPECT_EQ(MovedChroma(7, 2.0, 2), (List{1, 2, 3, 3}));
}

TEST(MirrorMoveYTest, HostileOffsets) {
  EXPECT_EQ(Moved(10, kNaN), Series(0, 9)) << "no number is no shift";
  // 2147483647 of a period of 20 is 7, -2147483648 is -8; in chroma 1073741823 of 10 is 3, -1073741824 is -4.
  for (const double offset : {kInfinity, 1e300, 1e10}) {
    EXPECT_EQ(Moved(10, offset), Series(6, 0) + Series(0, 2)) << offset;
    EXPECT_EQ(MovedChroma(10, offset), (List{2, 1, 0, 0, 1})) << offset;
  }
  for (const double offset : {-kInfinity, -1e300, -1e10}) {
    EXPECT_EQ(Moved(10, offset), Series(8, 9) + Series(9, 2)) << offset;
    EXPECT_EQ(MovedChroma(10, offset), (List{4, 4, 3, 2, 1})) << offset;
  }
}

TEST(MirrorMoveYTest, RowsMoveAsFarAsBothLinesReach) {
  for (const int dstPadding : {0, 2, 9})
    for (const Format& format : RenderedFormats()) {
      Picture source({format.code, 4, 8, {5, 5, 5, 5}, {}}, 1);
      Picture destination({format.code, 4, 8, {dstPadding, dstPadding, dstPadding, dstPadding}, {true, false, true, true}},
                          2);
      Picture expected = destination;
      for (int plane = 0; plane < format.planes; ++plane)
        for (int row = 0; row < source.Rows(plane); ++row)
          for (int column = 0; column < source.RowBytes(plane) + std::min(5, dstPadding); ++column)
            expected.At(plane, row, column) = source.At(plane, plane == 3 ? row : source.Rows(plane) - 1 - row, column);
      RenderAll("Mirror Move Y", destination, source, Params(1.0).get());
      EXPECT_TRUE(SameBytes(expected, destination)) << format.name << ", padding " << dstPadding;
    }
}

TEST(MirrorMoveYTest, AlphaPlaneStandsStillOverWholeBand) {
  Picture source({kYuva420p, 8, 8, {0, 0, 0, 6}, {}}, 1);
  Picture destination({kYuva420p, 8, 8, {0, 0, 0, 3}, {}}, 2);
  const Picture before = destination;
  Render("Mirror Move Y", destination, source, Params(0.5).get(), 2, 6);
  for (int row = 0; row < 8; ++row)
    for (int column = 0; column < 11; ++column)
      EXPECT_EQ(destination.At(3, row, column), (row < 2 ? before : source).At(3, row, column));
  const Picture after = destination;
  Render("Mirror Move Y", destination, source, Params(0.25).get(), 2, 0);
  Render("Mirror Move Y", destination, source, Params(0.25).get(), 2, -3);
  EXPECT_TRUE(SameBytes(after, destination)) << "no rows, no alpha";
}

TEST(MirrorMoveYTest, OtherSizesAreLeftAlone) {
  for (const Format& format : RenderedFormats())
    for (const bool otherWidth : {false, true})
      for (const int difference : {-1, 1}) {
        Picture source({format.code, 8, 8, {}, {}}, 1);
        Picture destination({format.code, 8, 8, {}, {}}, 2);
        const Picture before = destination;
        (otherWidth ? destination.Frame()->width : destination.Frame()->height) += difference;
        RenderAll("Mirror Move Y", destination, source, Params(0.25).get());
        RenderAll("Mirror Move Y", destination, source, nullptr);
        EXPECT_TRUE(SameBytes(before, destination)) << format.name;
      }
}

TEST(MirrorMoveYTest, UnlistedFormatsAreLeftAlone) {
  for (const int code : {kYuyv422, kBgr24, kArgb}) {
    Picture source({code, 8, 8, {}, {}}, 1);
    Picture destination({code, 8, 8, {}, {}}, 2);
    const Picture before = destination;
    RenderAll("Mirror Move Y", destination, source, Params(0.25).get());
    EXPECT_TRUE(SameBytes(before, destination)) << code;
  }
}

}  // namespace

}  // namespace norix::test
