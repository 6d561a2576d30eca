#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "MirrorMove.h"
#include "Render.h"

namespace norix::test {

namespace {

constexpr auto Params = ParamsWith<MirrorMoveXParams>;

/** Which source columns a row of a 4:2:0 picture shows after the move. */
List Moved(int width, double offset, int plane = 0) {
  Picture source({kYuv420p, width, 2, {}, {}}, 1);
  Picture destination({kYuv420p, width, 2, {}, {}}, 2);
  for (int p = 0; p < 3; ++p)
    for (int row = 0; row < source.Rows(p); ++row) source.SetRow(p, row, Series(0, source.RowBytes(p) - 1));
  RenderAll("Mirror Move X", destination, source, Params(offset).get());
  return destination.Row(plane, 0);
}

TEST(MirrorMoveXTest, NoOffsetCopiesPixels) {
  for (const double offset : {0.0, -0.0, 2.0, 4.0})
    for (const Format& format : RenderedFormats()) {
      Picture source({format.code, 8, 6, {3, 3, 3, 3}, {}}, 1);
      Picture destination({format.code, 8, 6, {4, 4, 4, 4}, {}}, 2);
      Picture expected = destination;
      for (int plane = 0; plane < format.planes; ++plane) {
        const bool chroma = plane == 1 || plane == 2;
        const int bytes = source.RowBytes(plane) + (plane == 3 ? 3 : 0);
        CopyRows(expected, source, plane, chroma ? 1 : 2, chroma ? 3 : 6, bytes);
      }
      Render("Mirror Move X", destination, source, Params(offset).get(), 2, 4);
      EXPECT_TRUE(SameBytes(expected, destination)) << format.name << ", offset " << offset;
    }
}

TEST(MirrorMoveXTest, OneWidthMirrors) {
  EXPECT_EQ(Moved(100, 1.0), Series(99, 0));
  EXPECT_EQ(Moved(100, 1.0, 1), Series(49, 0));
  EXPECT_EQ(Moved(100, 3.0), Series(99, 0));
}

TEST(MirrorMoveXTest, TwoWidthsCopy) {
  EXPECT_EQ(Moved(100, 2.0), Series(0, 99));
  EXPECT_EQ(Moved(100, 2.0, 2), Series(0, 49));
  EXPECT_EQ(Moved(100, 200.0), Series(0, 99));
}

TEST(MirrorMoveXTest, QuarterToTheRight) {
  EXPECT_EQ(Moved(100, 0.25), Series(24, 0) + Series(0, 74));
  EXPECT_EQ(Moved(100, 0.25, 1), Series(11, 0) + Series(0, 37)) << "25 / 2 is 12 in chroma";
}

TEST(MirrorMoveXTest, QuarterToTheLeftTruncates) {
  // -24.5 becomes -24, not -25.
  EXPECT_EQ(Moved(100, -0.25), Series(24, 99) + Series(99, 76));
  EXPECT_EQ(Moved(100, -0.25, 2), Series(12, 49) + Series(49, 38));
}

TEST(MirrorMoveXTest, RoundsHalvesUp) {
  EXPECT_EQ(Moved(10, 0.04), Series(0, 9));
  EXPECT_EQ(Moved(10, 0.05), Series(0, 0) + Series(0, 8)) << "0.5 + 0.5";
  EXPECT_EQ(Moved(10, -0.05), Series(0, 9));
  EXPECT_EQ(Moved(10, -0.14), Series(0, 9)) << "-1.4 + 0.5 is -0.9, and that is 0";
  EXPECT_EQ(Moved(10, -0.15), Series(1, 9) + Series(9, 9)) << "-1.5 + 0.5";
}

TEST(MirrorMoveXTest, FoldsBeyondOneWidth) {
  EXPECT_EQ(Moved(10, 1.3), Series(7, 9) + Series(9, 3)) << "13 of 20 is -7";
  EXPECT_EQ(Moved(10, -1.35), Series(6, 0) + Series(0, 2)) << "-13 of 20 is 7";
}

TEST(MirrorMoveXTest, OddWidthHalvesTheShiftForChroma) {
  // 7 columns, 4 in chroma; 5 / 2 is 2.
  EXPECT_EQ(Moved(7, 5.0 / 7.0), Series(4, 0) + Series(0, 1));
  EXPECT_EQ(Moved(7, 5.0 / 7.0, 1), (List{1, 0, 0, 1}));
  // Twice the width is all round in luma; in chroma it is 7 of a period of 8: one column to the left.
  EXPECT_EQ(Moved(7, 2.0), Series(0, 6));
  EXPECT_EQ(Moved(7, 2.0, 1), (List{1, 2, 3, 3}));
  EXPECT_EQ(Moved(7, 2.0, 2), (List{1, 2, 3, 3}));
}

TEST(MirrorMoveXTest, OneColumnStaysAsItIs) {
  for (const double offset : {0.0, 0.5, 1.0, -3.0, 1e9}) EXPECT_EQ(Moved(1, offset), List{0});
}

TEST(MirrorMoveXTest, HostileOffsets) {
  EXPECT_EQ(Moved(10, kNaN), Series(0, 9)) << "no number is no shift";
  // 2147483647 of a period of 20 is 7, -2147483648 is -8; in chroma 1073741823 of 10 is 3, -1073741824 is -4.
  for (const double offset : {kInfinity, 1e300, 1e10}) {
    EXPECT_EQ(Moved(10, offset), Series(6, 0) + Series(0, 2)) << offset;
    EXPECT_EQ(Moved(10, offset, 1), (List{2, 1, 0, 0, 1})) << offset;
  }
  for (const double offset : {-kInfinity, -1e300, -1e10}) {
    EXPECT_EQ(Moved(10, offset), Series(8, 9) + Series(9, 2)) << offset;
    EXPECT_EQ(Moved(10, offset, 1), (List{4, 4, 3, 2, 1})) << offset;
  }
}

TEST(MirrorMoveXTest, PixelsMoveWhole) {
  for (const int code : {kRgb24, kBgra, kRgba, kRgb0, kBgr0}) {
    const int bytes = FormatOf(code).bytesPerPixel;
    Picture source({code, 8, 3, {1}, {}}, 1);
    Picture destination({code, 8, 3, {2}, {}}, 2);
    Picture expected = destination;
    const int columns[] = {1, 0, 0, 1, 2, 3, 4, 5};
    for (int column = 0; column < 8; ++column)
      for (int byte = 0; byte < bytes; ++byte)
        expected.At(0, 1, column * bytes + byte) = source.At(0, 1, columns[column] * bytes + byte);
    Render("Mirror Move X", destination, source, Params(0.25).get(), 1, 1);
    EXPECT_TRUE(SameBytes(expected, destination)) << FormatOf(code).name;
  }
}

TEST(MirrorMoveXTest, AlphaPlaneStandsStillOverWholeBand) {
  Picture source({kYuva420p, 8, 8, {0, 0, 0, 6}, {}}, 1);
  Picture destination({kYuva420p, 8, 8, {0, 0, 0, 3}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 3, 2, 8, 11);
  for (int row = 2; row < 8; ++row) {
    List moved = source.Row(0, row);
    std::reverse(moved.begin(), moved.end());
    expected.SetRow(0, row, moved);
  }
  for (const int plane : {1, 2})
    for (int row = 1; row < 4; ++row) {
      List moved = source.Row(plane, row);
      std::reverse(moved.begin(), moved.end());
      expected.SetRow(plane, row, moved);
    }
  Render("Mirror Move X", destination, source, Params(1.0).get(), 2, 6);
  EXPECT_TRUE(SameBytes(expected, destination));

  const Picture before = destination;
  Render("Mirror Move X", destination, source, Params(0.5).get(), 2, 0);
  Render("Mirror Move X", destination, source, Params(0.5).get(), 2, -3);
  EXPECT_TRUE(SameBytes(before, destination)) << "no rows, no alpha";
}

TEST(MirrorMoveXTest, OddFirstRowBeginsChromaBelow) {
  // Rows 3 to 7 of 8 take chroma rows 2 to 4, and 4 lies behind the plane.
  Picture source({kYuv420p, 8, 8, {}, {}}, 1);
  Picture destination({kYuv420p, 8, 8, {}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 0, 3, 8, 8);
  CopyRows(expected, source, 1, 2, 5, 4);
  CopyRows(expected, source, 2, 2, 5, 4);
  Render("Mirror Move X", destination, source, Params(0.0).get(), 3, 5);
  EXPECT_TRUE(SameBytes(expected, destination));
}

TEST(MirrorMoveXTest, OtherSizesAreLeftAlone) {
  for (const Format& format : RenderedFormats())
    for (const bool otherWidth : {false, true})
      for (const int difference : {-1, 1}) {
        Picture source({format.code, 8, 8, {}, {}}, 1);
        Picture destination({format.code, 8, 8, {}, {}}, 2);
        const Picture before = destination;
        (otherWidth ? destination.Frame()->width : destination.Frame()->height) += difference;
        RenderAll("Mirror Move X", destination, source, Params(0.25).get());
        EXPECT_TRUE(SameBytes(before, destination)) << format.name;
        RenderAll("Mirror Move X", destination, source, nullptr);
        EXPECT_TRUE(SameBytes(before, destination)) << format.name << ", null parameters";
      }
}

TEST(MirrorMoveXTest, UnlistedFormatsAreLeftAlone) {
  for (const int code : {kYuyv422, kBgr24, kArgb}) {
    Picture source({code, 8, 8, {}, {}}, 1);
    Picture destination({code, 8, 8, {}, {}}, 2);
    const Picture before = destination;
    RenderAll("Mirror Move X", destination, source, Params(0.25).get());
    EXPECT_TRUE(SameBytes(before, destination)) << code;
  }
}

}  // namespace

}  // namespace norix::test
