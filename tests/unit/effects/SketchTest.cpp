#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "Render.h"

namespace norix::test {

namespace {

using Row = std::vector<int>;

class SketchTest : public testing::Test {
protected:
  // Fills the gray tables, as every host does before the first picture.
  void SetUp() override { ASSERT_EQ(filter_check_format("Sketch", kBgra), kYuv420p); }

  static Owned<SketchParams> Params(double amount) {
    Owned<SketchParams> params(new SketchParams);
    params->amount = amount;
    return params;
  }

  /** The luma that a picture with these rows gets at the amount that adds nothing. */
  static std::vector<Row> Luma(const std::vector<Row>& rows, double amount = 0.5) {
    const int width = static_cast<int>(rows[0].size());
    const int height = static_cast<int>(rows.size());
    Picture source({kYuv420p, width, height, {3}, {}}, 1);
    Picture destination({kYuv420p, width, height, {}, {}}, 2);
    for (int row = 0; row < height; ++row) source.SetRow(0, row, rows[static_cast<std::size_t>(row)]);
    RenderAll("Sketch", destination, source, Params(amount).get());
    std::vector<Row> result;
    result.reserve(rows.size());
    for (int row = 0; row < height; ++row) result.push_back(destination.Row(0, row));
    return result;
  }

  /** The first three bytes of the pixels of a BGRA row alone: the picture has this one row. */
  static Row Packed(int code, const Row& bytes, double amount) {
    Picture source({code, static_cast<int>(bytes.size()) / FormatOf(code).bytesPerPixel, 1, {9}, {}}, 1);
    Picture destination(source.Shape(), 2);
    source.SetRow(0, 0, bytes);
    RenderAll("Sketch", destination, source, Params(amount).get());
    return destination.Row(0, 0);
  }
};

TEST_F(SketchTest, FlatGrayDoublesInPackedPictures) {
  for (const int code : {kRgb24, kBgr24, kRgba, kBgra, kRgb0, kBgr0}) {
    SCOPED_TRACE(FormatOf(code).name);
    const bool alpha = FormatOf(code).bytesPerPixel == 4;
    // The gray of 100 is 29 + 58 + 11, doubled 196; half the way from 100 there is 148. That of 200 is limited to 255.
    const auto flat = [&](int value) {
      Row row;
      for (int x = 0; x < 4; ++x) {
        row.insert(row.end(), 3, value);
        if (alpha) row.push_back(40 + x);
      }
      return row;
    };
    for (const auto& [value, expected] : {std::pair{0, 0}, {100, 148}, {200, 227}, {255, 255}})
      EXPECT_EQ(Packed(code, flat(value), 0.5), flat(expected)) << value;
  }
}

TEST_F(SketchTest, FlatGrayDoublesInPlanarPictures) {
  for (const auto& [value, expected] :
       {std::pair{0, 16}, {7, 16}, {8, 16}, {9, 18}, {50, 100}, {117, 234}, {118, 235}, {255, 235}}) {
    const Row row(5, value);
    EXPECT_EQ(Luma({row, row, row, row}), std::vector<Row>(4, Row(5, expected))) << value;
  }
}

TEST_F(SketchTest, BrightnessRisesInPlanarAndFallsInPackedPictures) {
  const std::vector<Row> flat(2, Row(3, 50));
  EXPECT_EQ(Luma(flat, 0.75), std::vector<Row>(2, Row(3, 200))) << "100 + 100";
  EXPECT_EQ(Luma(flat, 0.375), std::vector<Row>(2, Row(3, 50))) << "100 - 50";
  EXPECT_EQ(Luma(flat, 0.50125), std::vector<Row>(2, Row(3, 100))) << "half a level is none";
  // 200 - 200 x 3/4 - 200 is -50: 196 - 100 is 96, of which 3/4 and a quarter of 100 make 97.
  EXPECT_EQ(Packed(kRgb24, Row(9, 100), 0.75), Row(9, 97));
  EXPECT_EQ(Packed(kRgb24, Row(9, 100), 1.0), Row(9, 0)) << "196 - 200";
  EXPECT_EQ(Packed(kRgb24, Row(9, 200), 1.0), Row(9, 196)) << "2 x 198 - 200";
  EXPECT_EQ(Packed(kRgb24, Row(9, 100), 0.0), Row(9, 100)) << "all of the colour";
}

TEST_F(SketchTest, GrayFollowsTheOrderOfColours) {
  // A first byte of 255 is 76 as red and 29 as blue; twice that, and half the way from the colour.
  for (const int code : {kRgba, kRgb0}) EXPECT_EQ(Packed(code, {255, 0, 0, 9}, 0.5), (Row{203, 76, 76, 9}));
  for (const int code : {kBgra, kBgr0}) EXPECT_EQ(Packed(code, {255, 0, 0, 9}, 0.5), (Row{156, 29, 29, 9}));
  EXPECT_EQ(Packed(kRgb24, {255, 0, 0}, 0.5), (Row{203, 76, 76}));
  EXPECT_EQ(Packed(kBgr24, {255, 0, 0}, 0.5), (Row{156, 29, 29}));
}

TEST_F(SketchTest, PlanarKernelTakesTheFourCorners) {
  // In the first line 6 x 30 - 30 - 31 - 40 - 41, 6 x 31 - 30 - 32 - 40 - 42, ...: at an edge, the pixel's own column or
  // row stands for the one beyond.
  EXPECT_EQ(Luma({{30, 31, 32, 33}, {40, 41, 42, 43}, {50, 51, 52, 53}, {60, 61, 62, 63}}),
            (std::vector<Row>{{38, 42, 44, 48}, {78, 82, 84, 88}, {98, 102, 104, 108}, {138, 142, 144, 148}}));
}

TEST_F(SketchTest, PackedKernelTakesTheRightHandColumnTwice) {
  // Grays 98, 108, 103, 98: edges 588 - 2 x 98 - 2 x 108 (the first column counts itself once), 648 - 4 x 103,
  // 618 - 4 x 98, 588 - 4 x 98.
  EXPECT_EQ(Packed(kRgb24, {100, 100, 100, 110, 110, 110, 105, 105, 105, 100, 100, 100}, 0.5),
            (Row{138, 138, 138, 173, 173, 173, 165, 165, 165, 148, 148, 148}));
}

TEST_F(SketchTest, LastPackedColumnReadsTheNextRow) {
  // Grays 0, 98 above 198, 49. Right of the 98 lies the 198: 588 - 198 - 98 - 2 x 49 is 194.
  Picture source({kRgb24, 2, 2, {4}, {}}, 1);
  Picture destination({kRgb24, 2, 2, {}, {}}, 2);
  source.SetRow(0, 0, {0, 0, 0, 100, 100, 100});
  source.SetRow(0, 1, {200, 200, 200, 51, 51, 51});
  RenderAll("Sketch", destination, source, Params(0.5).get());
  EXPECT_EQ(destination.Row(0, 0), (Row{0, 0, 0, 147, 147, 147}));
  EXPECT_EQ(destination.Row(0, 1), (Row{227, 227, 227, 25, 25, 25})) << "half the way to white and to black";
}

TEST_F(SketchTest, ChromaIsGrayInTheBand) {
  Picture source({kYuv420p, 7, 8, {2, 2, 2}, {}}, 1);
  Picture destination({kYuv420p, 7, 8, {2, 2, 2}, {}}, 2);
  Picture expected = destination;
  Render("Sketch", destination, source, Params(0.3).get(), 2, 3);
  for (int plane = 1; plane <= 2; ++plane) {
    for (int row = 1; row < 3; ++row) expected.SetRow(plane, row, Row(4, 128));
    for (int row = 0; row < 4; ++row)
      for (int column = 0; column < 6; ++column)
        EXPECT_EQ(destination.At(plane, row, column), expected.At(plane, row, column)) << row << ", " << column;
  }
}

TEST_F(SketchTest, OddBandsLeaveTheirLastLumaRow) {
  for (const int rowCount : {1, 3, 5}) {
    Picture source({kYuv420p, 6, 8, {}, {}}, 1);
    Picture destination({kYuv420p, 6, 8, {}, {}}, 2);
    const Picture before = destination;
    source.Fill(0, 50);
    Render("Sketch", destination, source, Params(0.5).get(), 2, rowCount);
    for (int row = 0; row < 8; ++row)
      EXPECT_EQ(destination.Row(0, row), row >= 2 && row < 1 + rowCount ? Row(6, 100) : before.Row(0, row))
          << rowCount << " rows, row " << row;
    for (int row = 0; row < 4; ++row)
      EXPECT_EQ(destination.Row(1, row), row >= 1 && row < 1 + (rowCount + 1) / 2 ? Row(3, 128) : before.Row(1, row));
  }
}

TEST_F(SketchTest, BandsBeginWithoutTheRowAbove) {
  Picture planar({kYuv420p, 3, 6, {}, {}}, 1);
  for (int row = 0; row < 6; ++row) planar.SetRow(0, row, Row(3, row < 2 ? 200 : 50));
  Picture destination({kYuv420p, 3, 6, {}, {}}, 2);
  Render("Sketch", destination, planar, Params(0.5).get(), 2, 4);
  EXPECT_EQ(destination.Row(0, 2), Row(3, 100));
  Render("Sketch", destination, planar, Params(0.5).get(), 0, 6);
  EXPECT_EQ(destination.Row(0, 2), Row(3, 16)) << "300 - 400 - 100";

  // Grays 198 and 49: 6 x 49 - 2 x 198 - 2 x 49 is negative in the whole picture.
  Picture packed({kRgb24, 3, 6, {}, {}}, 1);
  for (int row = 0; row < 6; ++row) packed.SetRow(0, row, Row(9, row < 2 ? 200 : 51));
  Picture out({kRgb24, 3, 6, {}, {}}, 2);
  Render("Sketch", out, packed, Params(1.0 / 4).get(), 2, 4);
  EXPECT_EQ(out.Row(0, 2)[0], 87) << "198 of 100 + 98 for a quarter and 51 for the rest";
  Render("Sketch", out, packed, Params(1.0 / 4).get(), 0, 6);
  EXPECT_EQ(out.Row(0, 2)[0], 38) << "three quarters of 51";
}

TEST_F(SketchTest, FourthBytesAreCopied) {
  for (const int code : {kRgba, kBgra, kRgb0, kBgr0}) {
    Picture source({code, 5, 4, {1}, {}}, 1);
    Picture destination({code, 5, 4, {2}, {}}, 2);
    const Picture before = destination;
    Render("Sketch", destination, source, Params(0.5).get(), 1, 2);
    for (int row = 0; row < 4; ++row)
      for (int x = 0; x < 5; ++x)
        EXPECT_EQ(destination.At(0, row, x * 4 + 3), (row == 1 || row == 2 ? source : before).At(0, row, x * 4 + 3));
  }
}

TEST_F(SketchTest, AlphaPlaneIsCopiedOverTheWholeBand) {
  Picture source({kYuva420p, 5, 6, {0, 0, 0, 4}, {}}, 1);
  Picture destination({kYuva420p, 5, 6, {0, 0, 0, 2}, {}}, 2);
  const Picture before = destination;
  Render("Sketch", destination, source, Params(0.5).get(), 2, 3);
  for (int row = 0; row < 6; ++row)
    for (int column = 0; column < 7; ++column)
      EXPECT_EQ(destination.At(3, row, column), (row >= 2 && row < 5 ? source : before).At(3, row, column));
}

TEST_F(SketchTest, HostileAmounts) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const std::vector<Row> flat(2, Row(3, 50));
  EXPECT_EQ(Luma(flat, kNaN), std::vector<Row>(2, Row(3, 100))) << "no number adds nothing";
  EXPECT_EQ(Luma(flat, kInfinity), std::vector<Row>(2, Row(3, 235)));
  EXPECT_EQ(Luma(flat, 1e300), std::vector<Row>(2, Row(3, 235)));
  EXPECT_EQ(Luma(flat, -1e300), std::vector<Row>(2, Row(3, 16)));
  EXPECT_EQ(Packed(kRgb24, Row(9, 100), kNaN), Row(9, 0));
  // The edge is 0 and the colour counts without limit, the other way round it is 255 and beyond every colour.
  EXPECT_EQ(Packed(kRgb24, Row(9, 100), 1e300), Row(9, 0));
  EXPECT_EQ(Packed(kRgb24, Row(9, 100), -1e300), Row(9, 0));
}

TEST_F(SketchTest, NothingToDo) {
  for (const Format& format : RenderedFormats()) {
    Picture source({format.code, 5, 6, {}, {}}, 1);
    Picture destination({format.code, 5, 6, {}, {}}, 2);
    const Picture before = destination;
    Render("Sketch", destination, source, Params(0.5).get(), 2, 0);
    Render("Sketch", destination, source, Params(0.5).get(), 2, -2);
    EXPECT_TRUE(SameBytes(before, destination)) << format.name;
  }
  for (const int code : {kYuyv422, kArgb}) {
    Picture source({code, 5, 6, {}, {}}, 1);
    Picture destination({code, 5, 6, {}, {}}, 2);
    const Picture before = destination;
    RenderAll("Sketch", destination, source, Params(0.5).get());
    EXPECT_TRUE(SameBytes(before, destination)) << code;
  }
  Picture source({kBgr24, 5, 6, {}, {}}, 1);
  Picture destination({kBgr24, 5, 6, {}, {}}, 2);
  const Picture before = destination;
  RenderAll("Sketch", destination, source, nullptr);
  EXPECT_TRUE(SameBytes(before, destination)) << "the band copy does not know BGR24";
}

}  // namespace

}  // namespace norix::test
