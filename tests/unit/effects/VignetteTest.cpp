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

Owned<VignetteParams> Params(double centerX, double centerY, double innerRadius, double outerRadius) {
  Owned<VignetteParams> params(new VignetteParams);
  params->centerX = centerX;
  params->centerY = centerY;
  params->innerRadius = innerRadius;
  params->outerRadius = outerRadius;
  return params;
}

/** A picture whose planes hold one value each. */
Picture Darkened(const PictureShape& shape, const std::vector<int>& values, FilterParams* params) {
  Picture source(shape, 1);
  for (int plane = 0; plane < source.PlaneCount(); ++plane) source.Fill(plane, values[static_cast<std::size_t>(plane)]);
  Picture out(shape, 99);
  RenderAll("Vignette", out, source, params);
  return out;
}

/** One row, its centre at its first pixel: column x lies x / 8 away. */
Picture DarkenedLine(int format, const std::vector<int>& values, double innerRadius, double outerRadius) {
  return Darkened({format, 8, 1, {}, {}}, values, Params(0.0, 0.0, innerRadius, outerRadius).get());
}

/** First bytes of the pixels of a row. */
Row FirstBytes(const Picture& picture, int row) {
  const int bytesPerPixel = FormatOf(picture.Shape().format).bytesPerPixel;
  Row bytes;
  for (int column = 0; column < picture.Shape().width; ++column)
    bytes.push_back(picture.At(0, row, column * bytesPerPixel));
  return bytes;
}

TEST(VignetteTest, NullParametersCopyLines) {
  Picture source({kBgra, 9, 6, {8}, {}}, 1);
  Picture destination({kBgra, 9, 6, {5}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 0, 1, 5, 41);
  Render("Vignette", destination, source, nullptr, 1, 4);
  EXPECT_TRUE(SameBytes(expected, destination));
}

TEST(VignetteTest, DefaultsKeepTheMiddle) {
  const Owned<VignetteParams> params(new VignetteParams);
  EXPECT_EQ(params->centerX, 0.5);
  EXPECT_EQ(params->centerY, 0.5);
  EXPECT_EQ(params->innerRadius, 0.3);
  EXPECT_EQ(params->outerRadius, 0.75);
  for (const int format : {kRgb24, kBgra, kRgba, kRgb0, kBgr0, kYuv420p, kYuva420p}) {
    SCOPED_TRACE(FormatOf(format).name);
    const Picture out = Darkened({format, 64, 64, {}, {}}, {200, 90, 210, 60}, params.get());
    const Row row = FirstBytes(out, 32);
    for (int column = 32 - 19; column <= 32 + 19; ++column) EXPECT_EQ(row[static_cast<std::size_t>(column)], 200) << column;
    for (int line = 32 - 19; line <= 32 + 19; ++line) EXPECT_EQ(FirstBytes(out, line)[32], 200) << line;
    // Twenty pixels, 0.3125, from the centre.
    const int darker = FormatOf(format).bytesPerPixel == 4 ? 199 : 194;
    EXPECT_EQ(row[32 - 20], darker);
    EXPECT_EQ(row[32 + 20], darker);
    EXPECT_EQ(FirstBytes(out, 32 - 20)[32], darker);
    EXPECT_EQ(FirstBytes(out, 32 + 20)[32], darker);
  }
}

TEST(VignetteTest, DefaultRadiiHalfway) {
  // Column 21 of 40 is 0.525 away, halfway from 0.3 to 0.75.
  const auto params = Params(0.0, 0.0, 0.3, 0.75);
  EXPECT_EQ(FirstBytes(Darkened({kBgra, 40, 1, {}, {}}, {201}, params.get()), 0)[21], 150);
  EXPECT_EQ(FirstBytes(Darkened({kRgb24, 40, 1, {}, {}}, {201}, params.get()), 0)[21], 100);
  EXPECT_EQ(FirstBytes(Darkened({kYuv420p, 40, 1, {}, {}}, {201, 128, 128}, params.get()), 0)[21], 100);
}

TEST(VignetteTest, FourByteFormatsFadeBySquare) {
  for (const int format : {kBgra, kRgba, kRgb0, kBgr0}) {
    const Picture out = DarkenedLine(format, {201}, 0.25, 0.75);
    EXPECT_EQ(FirstBytes(out, 0), (Row{201, 201, 201, 188, 150, 87, 0, 0})) << FormatOf(format).name;
    for (int column = 0; column < 8; ++column) {
      EXPECT_EQ(out.At(0, 0, 4 * column + 1), out.At(0, 0, 4 * column));
      EXPECT_EQ(out.At(0, 0, 4 * column + 2), out.At(0, 0, 4 * column));
      EXPECT_EQ(out.At(0, 0, 4 * column + 3), 201) << "fourth byte";
    }
  }
}

TEST(VignetteTest, OtherFormatsFadeEvenly) {
  const Picture packed = DarkenedLine(kRgb24, {201}, 0.25, 0.75);
  EXPECT_EQ(packed.Row(0, 0),
            (Row{201, 201, 201, 201, 201, 201, 201, 201, 201, 150, 150, 150, 100, 100, 100, 50, 50, 50, 0, 0, 0, 0, 0, 0}));
  const Picture planar = DarkenedLine(kYuv420p, {201, 228, 27}, 0.25, 0.75);
  EXPECT_EQ(planar.Row(0, 0), (Row{201, 201, 201, 150, 100, 50, 0, 0}));
  EXPECT_EQ(planar.Row(1, 0), (Row{228, 228, 178, 128}));
  EXPECT_EQ(planar.Row(2, 0), (Row{27, 27, 77, 128})) << "77.5";
}

TEST(VignetteTest, BeyondTheOuterRadiusIsBlack) {
  EXPECT_EQ(FirstBytes(DarkenedLine(kRgb24, {255}, 0.1, 0.2), 0), (Row{255, 191, 0, 0, 0, 0, 0, 0}));
  const Picture planar = DarkenedLine(kYuva420p, {255, 250, 3, 77}, 0.1, 0.2);
  EXPECT_EQ(planar.Row(0, 0), (Row{255, 191, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(planar.Row(1, 0), (Row{250, 128, 128, 128}));
  EXPECT_EQ(planar.Row(2, 0), (Row{3, 128, 128, 128}));
  EXPECT_EQ(planar.Row(3, 0), (Row{77, 77, 77, 77, 77, 77, 77, 77}));
}

TEST(VignetteTest, OuterRadiusItselfIsBlack) {
  for (const int format : {kBgra, kRgb24, kYuv420p}) {
    const Row row = FirstBytes(DarkenedLine(format, {200, 228, 28}, 0.25, 0.5), 0);
    EXPECT_EQ(row[4], 0) << FormatOf(format).name;
    EXPECT_EQ(row[3], format == kBgra ? 150 : 100) << FormatOf(format).name;
  }
  const Picture planar = DarkenedLine(kYuv420p, {200, 228, 28}, 0.25, 0.5);
  EXPECT_EQ(planar.Row(1, 0), (Row{228, 228, 128, 128}));
  EXPECT_EQ(planar.Row(2, 0), (Row{28, 28, 128, 128}));
}

TEST(VignetteTest, InnerRadiusBeyondOuterLeavesNoRing) {
  for (const int format : {kBgra, kRgb24, kYuv420p})
    EXPECT_EQ(FirstBytes(DarkenedLine(format, {200, 90, 90}, 0.5, 0.25), 0), (Row{200, 200, 200, 200, 0, 0, 0, 0}))
        << FormatOf(format).name;
}

TEST(VignetteTest, RingWithoutWidthIsBlack) {
  for (const int format : {kBgra, kRgb24, kYuv420p})
    EXPECT_EQ(FirstBytes(DarkenedLine(format, {200, 228, 28}, 0.5, 0.5), 0), (Row{200, 200, 200, 200, 0, 0, 0, 0}))
        << FormatOf(format).name;
  EXPECT_EQ(DarkenedLine(kYuv420p, {200, 228, 28}, 0.5, 0.5).Row(1, 0), (Row{228, 228, 128, 128}));
  EXPECT_EQ(FirstBytes(DarkenedLine(kBgra, {200}, 0.0, 0.0), 0), Row(8, 0));
}

TEST(VignetteTest, HostileRadii) {
  for (const int format : {kBgra, kRgb24, kYuv420p}) {
    SCOPED_TRACE(FormatOf(format).name);
    EXPECT_EQ(FirstBytes(DarkenedLine(format, {200, 228, 28}, kNaN, 0.5), 0), Row(8, 0));
    EXPECT_EQ(FirstBytes(DarkenedLine(format, {200, 228, 28}, 0.0, kNaN), 0), Row(8, 0));
    EXPECT_EQ(FirstBytes(DarkenedLine(format, {200, 228, 28}, -kInfinity, 0.5), 0), Row(8, 0)) << "no number";
    EXPECT_EQ(FirstBytes(DarkenedLine(format, {200, 228, 28}, 0.5, kInfinity), 0), Row(8, 200));
    EXPECT_EQ(FirstBytes(DarkenedLine(format, {200, 228, 28}, kInfinity, 0.5), 0), Row(8, 200));
  }
  EXPECT_EQ(DarkenedLine(kYuv420p, {200, 228, 28}, kNaN, 0.5).Row(1, 0), Row(4, 128)) << "outside";
  EXPECT_EQ(DarkenedLine(kYuv420p, {200, 228, 28}, -kInfinity, 0.5).Row(1, 0), (Row{0, 0, 0, 128})) << "no number";
}

TEST(VignetteTest, ChromaFollowsFirstPixelOfItsBlock) {
  // Column 0 of row y lies y / 8 away.
  Picture source({kYuv420p, 2, 8, {}, {}}, 1);
  source.Fill(0, 200);
  source.Fill(1, 228);
  source.Fill(2, 28);
  Picture out(source.Shape(), 2);
  RenderAll("Vignette", out, source, Params(0.0, 0.0, 0.25, 0.75).get());
  const auto firstColumn = [&](int plane) {
    Row column;
    for (int row = 0; row < out.Rows(plane); ++row) column.push_back(out.At(plane, row, 0));
    return column;
  };
  EXPECT_EQ(firstColumn(0), (Row{200, 200, 200, 150, 100, 50, 0, 0}));
  EXPECT_EQ(firstColumn(1), (Row{228, 228, 178, 128}));
  EXPECT_EQ(firstColumn(2), (Row{28, 28, 78, 128}));
}

TEST(VignetteTest, SingleRowAtTheEndOfABand) {
  Picture source({kYuv420p, 1, 8, {}, {}}, 1);
  source.Fill(0, 200);
  source.Fill(1, 228);
  source.Fill(2, 28);
  Picture out(source.Shape(), 2);
  Picture expected = out;
  expected.SetRow(0, 2, {200});
  expected.SetRow(0, 3, {150});
  expected.SetRow(0, 4, {100});
  expected.SetRow(1, 1, {228});
  expected.SetRow(1, 2, {178});
  expected.SetRow(2, 1, {28});
  expected.SetRow(2, 2, {78});
  Render("Vignette", out, source, Params(0.0, 0.0, 0.25, 0.75).get(), 2, 3);
  EXPECT_TRUE(SameBytes(expected, out));
}

/** Gray levels of column 0 of rows 0 to 9, each tenth of the height with its own rounding. */
Row ColumnOfTenths(int format, double radius, int firstRow, int rowCount) {
  Picture source({format, 1, 10, {}, {}}, 1);
  for (int plane = 0; plane < source.PlaneCount(); ++plane) source.Fill(plane, 200);
  Picture out(source.Shape(), 2);
  for (int plane = 0; plane < out.PlaneCount(); ++plane) out.Fill(plane, 1);
  // No ring between the radii: what is nearer stays, the rest is black.
  Render("Vignette", out, source, Params(0.0, 0.0, radius, 0.0).get(), firstRow, rowCount);
  Row levels;
  for (int row = 0; row < 10; ++row) levels.push_back(out.At(0, row, 0));
  return levels;
}

TEST(VignetteTest, RunningSumOfTenthsDecides) {
  // Eight tenths added up stay below 0.8; the single row at a planar band's end is not added up.
  for (const int format : {kBgra, kRgb24, kYuv420p}) {
    SCOPED_TRACE(FormatOf(format).name);
    EXPECT_EQ(ColumnOfTenths(format, 0.8, 0, 10), (Row{200, 200, 200, 200, 200, 200, 200, 200, 200, 0}));
    EXPECT_EQ(ColumnOfTenths(format, 0.8, 8, 2), (Row{1, 1, 1, 1, 1, 1, 1, 1, 0, 0}));
    const int last = format == kYuv420p ? 0 : 200;
    EXPECT_EQ(ColumnOfTenths(format, 0.8, 0, 9), (Row{200, 200, 200, 200, 200, 200, 200, 200, last, 1}));
  }
}

TEST(VignetteTest, BandBeginsWithAProductOfTenths) {
  // Six times 0.1 is above 0.6, six divided by ten is not.
  const double aboveSixTenths = std::nextafter(0.6, 1.0);
  for (const int format : {kBgra, kRgb24, kYuv420p}) {
    SCOPED_TRACE(FormatOf(format).name);
    EXPECT_EQ(ColumnOfTenths(format, aboveSixTenths, 6, 2), (Row{1, 1, 1, 1, 1, 1, 0, 0, 1, 1}));
    const int single = format == kYuv420p ? 200 : 0;
    EXPECT_EQ(ColumnOfTenths(format, aboveSixTenths, 6, 1), (Row{1, 1, 1, 1, 1, 1, single, 1, 1, 1}));
  }
}

TEST(VignetteTest, OddFirstRowBeginsChromaInItsOwnRow) {
  Picture source({kYuv420p, 8, 8, {}, {}}, 1);
  Picture out({kYuv420p, 8, 8, {}, {}}, 2);
  Picture expected = out;
  CopyRows(expected, source, 0, 3, 5, 8);
  expected.SetRow(1, 1, source.Row(1, 1));
  expected.SetRow(2, 1, source.Row(2, 1));
  Render("Vignette", out, source, Params(0.5, 0.5, 9.0, 10.0).get(), 3, 2);
  EXPECT_TRUE(SameBytes(expected, out));
}

}  // namespace

}  // namespace norix::test
