#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "Render.h"

namespace norix::test {

namespace {

using List = std::vector<int>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Owned<TileScaleParams> Params(double scale) {
  Owned<TileScaleParams> params(new TileScaleParams);
  params->scale = scale;
  return params;
}

/** From `first` in steps of `step`, `count` numbers. */
List Steps(int first, int step, int count) {
  List values;
  for (int i = 0; i < count; ++i) values.push_back(first + i * step);
  return values;
}

List operator+(List left, const List& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

/** Which source columns and rows the band shows: in U by column, in V by row, in luma by either. */
struct Shown {
  List columns;
  List rows;
  List chromaColumns;
  List chromaRows;
};

Shown Scaled(int width, int height, double scale, int firstRow, int rowCount) {
  Shown shown;
  for (const bool byRow : {false, true}) {
    Picture source({kYuv420p, width, height, {}, {}}, 1);
    Picture destination({kYuv420p, width, height, {}, {}}, 2);
    for (int plane = 0; plane < 3; ++plane)
      for (int row = 0; row < source.Rows(plane); ++row)
        for (int column = 0; column < source.RowBytes(plane); ++column)
          source.At(plane, row, column) = static_cast<std::uint8_t>(byRow ? row : column);
    Render("Tile Scale", destination, source, Params(scale).get(), firstRow, rowCount);
    const int lastRow = firstRow + rowCount - 1;
    const int firstChromaRow = (firstRow + 1) / 2;
    const int lastChromaRow = firstChromaRow + (rowCount + 1) / 2 - 1;
    if (!byRow) {
      shown.columns = destination.Row(0, firstRow);
      shown.chromaColumns = destination.Row(1, firstChromaRow);
      EXPECT_EQ(destination.Row(0, lastRow), shown.columns);
      EXPECT_EQ(destination.Row(2, lastChromaRow), shown.chromaColumns);
    } else {
      for (int row = firstRow; row <= lastRow; ++row) shown.rows.push_back(destination.At(0, row, width - 1));
      for (int row = firstChromaRow; row <= lastChromaRow; ++row) {
        shown.chromaRows.push_back(destination.At(1, row, 0));
        EXPECT_EQ(destination.At(2, row, 0), shown.chromaRows.back());
      }
    }
  }
  return shown;
}

TEST(TileScaleTest, FullAndLargerScalesCopyTheBand) {
  for (const double scale : {1.0, 1.0 + 9e-6, 1.0 - 9e-6, 1.00002, 1.5, 1e300, kInfinity})
    for (const Format& format : RenderedFormats()) {
      Picture source({format.code, 6, 8, {3, 3, 3, 3}, {}}, 1);
      Picture destination({format.code, 6, 8, {5, 5, 5, 5}, {}}, 2);
      Picture expected = destination;
      for (int plane = 0; plane < format.planes; ++plane)
        CopyRows(expected, source, plane, plane == 0 ? 2 : 1, plane == 0 ? 6 : 3, source.RowBytes(plane) + 3);
      const auto params = Params(scale);
      Render("Tile Scale", destination, source, params.get(), 2, 4);
      EXPECT_TRUE(SameBytes(expected, destination)) << format.name << ", scale " << scale;
      EXPECT_EQ(params->scale, scale);
    }
}

TEST(TileScaleTest, HalfPutsOneTileInTheMiddle) {
  const Shown shown = Scaled(100, 60, 0.5, 0, 60);
  EXPECT_EQ(shown.columns, Steps(50, 2, 25) + Steps(0, 2, 50) + Steps(0, 2, 25));
  EXPECT_EQ(shown.rows, Steps(30, 2, 15) + Steps(0, 2, 30) + Steps(0, 2, 15));
  // The middle tile begins at column 13 of chroma; the first rows go on from half of row 30.
  EXPECT_EQ(shown.chromaColumns, Steps(24, 2, 13) + Steps(0, 2, 25) + Steps(0, 2, 12));
  EXPECT_EQ(shown.chromaRows, Steps(15, 2, 8) + Steps(0, 2, 7) + Steps(15, 2, 8) + Steps(0, 2, 7));
}

TEST(TileScaleTest, BandsBeginInTheirTile) {
  // Row 20 is the sixth of the middle tile.
  const Shown shown = Scaled(100, 60, 0.5, 20, 12);
  EXPECT_EQ(shown.columns, Steps(50, 2, 25) + Steps(0, 2, 50) + Steps(0, 2, 25));
  EXPECT_EQ(shown.rows, Steps(10, 2, 12));
  EXPECT_EQ(shown.chromaRows, Steps(5, 2, 6));
}

TEST(TileScaleTest, SmallestTilesAreTwoPixelsWide) {
  const Shown shown = Scaled(30, 40, 0.05, 0, 40);
  List columns;
  List rows;
  for (int i = 0; i < 15; ++i) columns = columns + List{0, 20};
  for (int i = 0; i < 20; ++i) rows = rows + List{20, 0};
  EXPECT_EQ(shown.columns, columns);
  EXPECT_EQ(shown.rows, rows) << "row 0 shows the lower row of a tile cut in two";
  // Chroma tiles are single samples; the row is that of the first one for all.
  EXPECT_EQ(shown.chromaColumns, List(15, 0));
  EXPECT_EQ(shown.chromaRows, List(20, 10));
}

TEST(TileScaleTest, TilesAreRoundedToEvenSizes) {
  // 7.5 + 0.5 is 8, and 6.99 becomes 6.
  EXPECT_EQ(Scaled(10, 10, 0.75, 0, 10).columns, (List{9, 0, 1, 3, 4, 5, 7, 8, 9, 0}));
  EXPECT_EQ(Scaled(10, 10, 0.649, 0, 10).columns, (List{6, 8, 0, 2, 3, 5, 6, 8, 0, 2}));
}

TEST(TileScaleTest, NegativeScalesAreWrittenBackAndDrawNothing) {
  for (const Format& format : AllFormats())
    for (const double scale : {-0.5, -1e-300, -7.0, -kInfinity}) {
      Picture source({format.code, 6, 8, {}, {}}, 1);
      Picture destination({format.code, 6, 8, {}, {}}, 2);
      const Picture before = destination;
      const auto params = Params(scale);
      RenderAll("Tile Scale", destination, source, params.get());
      EXPECT_TRUE(SameBytes(before, destination)) << format.name << ", scale " << scale;
      EXPECT_EQ(params->scale, 0.0);
    }
}

TEST(TileScaleTest, TilesWithoutAPixelDrawNothing) {
  // Up to 1.49 pixels are rounded to 1 and then to an even number.
  for (const double scale : {0.0, 1e-300, 0.01, 0.149, kNaN})
    for (const Format& format : RenderedFormats())
      for (const bool high : {false, true}) {
        Picture source({format.code, high ? 10 : 200, high ? 200 : 10, {}, {}}, 1);
        Picture destination({format.code, high ? 10 : 200, high ? 200 : 10, {}, {}}, 2);
        const Picture before = destination;
        const auto params = Params(scale);
        RenderAll("Tile Scale", destination, source, params.get());
        EXPECT_TRUE(SameBytes(before, destination)) << format.name << ", scale " << scale;
        EXPECT_TRUE(params->scale == scale || std::isnan(scale));
      }
}

TEST(TileScaleTest, ScalesBelowTheLeastLevelTileToo) {
  // 2 of 100 columns and rows: the pixels 0 and 50.
  const Shown shown = Scaled(100, 100, 0.02, 0, 100);
  List columns;
  List rows;
  for (int i = 0; i < 50; ++i) {
    columns = columns + List{50, 0};
    rows = rows + List{50, 0};
  }
  EXPECT_EQ(shown.columns, columns);
  EXPECT_EQ(shown.rows, rows);
}

TEST(TileScaleTest, PixelsMoveWhole) {
  for (const int code : {kRgb24, kBgra, kRgba, kRgb0, kBgr0}) {
    const int bytes = FormatOf(code).bytesPerPixel;
    Picture source({code, 8, 8, {1}, {}}, 1);
    Picture destination({code, 8, 8, {2}, {}}, 2);
    Picture expected = destination;
    const int from[] = {4, 6, 0, 2, 4, 6, 0, 2};
    for (int row = 1; row < 4; ++row)
      for (int x = 0; x < 8; ++x)
        for (int i = 0; i < bytes; ++i) expected.At(0, row, x * bytes + i) = source.At(0, from[row], from[x] * bytes + i);
    Render("Tile Scale", destination, source, Params(0.5).get(), 1, 3);
    EXPECT_TRUE(SameBytes(expected, destination)) << FormatOf(code).name;
  }
}

TEST(TileScaleTest, AlphaPlaneIsNotTiled) {
  Picture source({kYuva420p, 8, 8, {0, 0, 0, 6}, {}}, 1);
  Picture destination({kYuva420p, 8, 8, {0, 0, 0, 3}, {}}, 2);
  const Picture before = destination;
  Render("Tile Scale", destination, source, Params(0.5).get(), 2, 6);
  for (int row = 0; row < 8; ++row)
    for (int column = 0; column < 11; ++column)
      EXPECT_EQ(destination.At(3, row, column), (row < 2 ? before : source).At(3, row, column));
  const Picture after = destination;
  Render("Tile Scale", destination, source, Params(0.75).get(), 2, 0);
  Render("Tile Scale", destination, source, Params(0.75).get(), 2, -3);
  EXPECT_TRUE(SameBytes(after, destination)) << "no rows, no alpha";
}

TEST(TileScaleTest, UnlistedFormatsAreLeftAlone) {
  for (const int code : {kYuyv422, kBgr24, kArgb}) {
    Picture source({code, 8, 8, {}, {}}, 1);
    Picture destination({code, 8, 8, {}, {}}, 2);
    const Picture before = destination;
    RenderAll("Tile Scale", destination, source, Params(0.5).get());
    EXPECT_TRUE(SameBytes(before, destination)) << code;
  }
}

}  // namespace

}  // namespace norix::test
