#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "Render.h"

namespace norix::test {

namespace {

using Row = std::vector<int>;
using Rows = std::vector<Row>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Owned<EmbossParams> Params(double amount) {
  Owned<EmbossParams> params(new EmbossParams);
  params->amount = amount;
  return params;
}

/** Puts levels into every byte of the pixels of a plane, renders, and takes the levels out again. */
Rows Embossed(int format, int plane, const Rows& levels, double amount) {
  const int bytesPerSample = plane == 0 ? FormatOf(format).bytesPerPixel : 1;
  const int scale = plane == 0 ? 1 : 2;
  Picture source({format, scale * static_cast<int>(levels[0].size()), scale * static_cast<int>(levels.size()), {}, {}}, 1);
  for (int row = 0; row < source.Rows(plane); ++row)
    for (int i = 0; i < source.RowBytes(plane); ++i)
      source.At(plane, row, i) =
          static_cast<std::uint8_t>(levels[static_cast<std::size_t>(row)][static_cast<std::size_t>(i / bytesPerSample)]);
  Picture out(source.Shape(), 2);
  RenderAll("Emboss", out, source, Params(amount).get());
  Rows embossed = levels;
  for (int row = 0; row < out.Rows(plane); ++row)
    for (int i = 0; i < out.RowBytes(plane); ++i) {
      int& level = embossed[static_cast<std::size_t>(row)][static_cast<std::size_t>(i / bytesPerSample)];
      const int byteOfPixel = i % bytesPerSample;
      if (byteOfPixel == 0) level = out.At(plane, row, i);
      EXPECT_EQ(out.At(plane, row, i), byteOfPixel == 3 ? source.At(plane, row, i) : level) << row << ", byte " << i;
    }
  return embossed;
}

Rows Dot(int background, int dot) {
  Rows levels(5, Row(5, background));
  levels[2][2] = dot;
  return levels;
}

TEST(EmbossTest, WithoutAmountLinesAreCopied) {
  EXPECT_EQ(Owned<EmbossParams>(new EmbossParams)->amount, 0.0);
  for (const double amount : {0.0, -0.0, std::nextafter(1e-5, 0.0), -1.0, -kInfinity}) {
    Picture source({kBgra, 9, 6, {8}, {}}, 1);
    Picture destination({kBgra, 9, 6, {5}, {}}, 2);
    Picture expected = destination;
    CopyRows(expected, source, 0, 0, 6, 41);
    RenderAll("Emboss", destination, source, Params(amount).get());
    EXPECT_TRUE(SameBytes(expected, destination)) << amount;
  }
}

TEST(EmbossTest, FlatPackedPicturesStay) {
  // Other amounts than sums of powers of two may round below the level, which then is cut off.
  for (const int format : {kRgb24, kBgra, kRgba, kRgb0, kBgr0})
    for (const double amount : {0x1p-16, 0.25, 0.5, 1.0, 64.0})
      for (const int level : {0, 1, 100, 255})
        EXPECT_EQ(Embossed(format, 0, Rows(4, Row(5, level)), amount), Rows(4, Row(5, level)))
            << FormatOf(format).name << ' ' << amount;
}

TEST(EmbossTest, FlatPlanesEndInVideoRange) {
  for (const double amount : {1e-5, 0.25, 0.5, 1.0, 64.0})
    for (int plane = 0; plane < 3; ++plane) {
      const int most = plane == 0 ? 235 : 240;
      for (const int level : {16, 17, 100, 235, most}) {
        EXPECT_EQ(Embossed(kYuv420p, plane, Rows(4, Row(5, level)), amount), Rows(4, Row(5, level))) << amount;
      }
      for (const int level : {0, 15})
        EXPECT_EQ(Embossed(kYuv420p, plane, Rows(4, Row(5, level)), amount), Rows(4, Row(5, 16))) << amount;
      for (const int level : {most + 1, 255})
        EXPECT_EQ(Embossed(kYuv420p, plane, Rows(4, Row(5, level)), amount), Rows(4, Row(5, most))) << amount;
    }
}

TEST(EmbossTest, DotOnBlackThrowsItsReliefUpAndLeft) {
  for (const int format : {kRgb24, kBgra})
    EXPECT_EQ(Embossed(format, 0, Dot(0, 100), 0.5),
              (Rows{{0, 0, 0, 0, 0}, {0, 100, 50, 0, 0}, {0, 50, 100, 0, 0}, {0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}}));
}

TEST(EmbossTest, DotOnGrayThrowsAShadowDownAndRight) {
  const Rows main = {{120, 120, 120, 120, 120},
                     {120, 140, 130, 120, 120},
                     {120, 130, 140, 110, 120},
                     {120, 120, 110, 100, 120},
                     {120, 120, 120, 120, 120}};
  EXPECT_EQ(Embossed(kRgb24, 0, Dot(120, 140), 0.5), main);
  EXPECT_EQ(Embossed(kYuv420p, 0, Dot(120, 140), 0.5), main);
  // Smoothed, all four neighbours on a side weigh the same.
  const Rows chroma = {{120, 120, 120, 120, 120},
                       {120, 125, 125, 120, 120},
                       {120, 125, 140, 115, 120},
                       {120, 120, 115, 115, 120},
                       {120, 120, 120, 120, 120}};
  EXPECT_EQ(Embossed(kYuv420p, 1, Dot(120, 140), 0.5), chroma);
  EXPECT_EQ(Embossed(kYuv420p, 2, Dot(120, 140), 0.5), chroma);
}

TEST(EmbossTest, ResultsAreLimited) {
  EXPECT_EQ(Embossed(kRgb24, 0, Dot(100, 200), 1.0)[1], (Row{100, 255, 200, 100, 100}));
  EXPECT_EQ(Embossed(kRgb24, 0, Dot(100, 200), 1.0)[3], (Row{100, 100, 0, 0, 100}));
  EXPECT_EQ(Embossed(kYuv420p, 0, Dot(100, 200), 1.0)[1], (Row{100, 235, 200, 100, 100}));
  EXPECT_EQ(Embossed(kYuv420p, 0, Dot(100, 200), 1.0)[3], (Row{100, 100, 16, 16, 100}));
  EXPECT_EQ(Embossed(kYuv420p, 1, Dot(100, 200), 4.0)[1], (Row{100, 240, 240, 100, 100}));
  EXPECT_EQ(Embossed(kYuv420p, 2, Dot(100, 200), 4.0)[3], (Row{100, 100, 16, 16, 100}));
}

TEST(EmbossTest, CornersStandInForWhatLiesOutside) {
  const Rows levels = {{100, 40, 80}, {60, 20, 40}, {80, 20, 50}};
  const Rows out = Embossed(kRgb24, 0, levels, 0.25);
  // Up-left four of five weights fall on the corner itself: 100 * (1 - 4 * 0.25) + 40 / 4 + 60 / 4 + 20 / 2.
  EXPECT_EQ(out[0][0], 35);
  EXPECT_EQ(out[0][2], 80) << "80 + 3 / 4 * (40 - 40)";
  EXPECT_EQ(out[2][0], 50) << "80 + 3 / 4 * (20 - 60)";
  EXPECT_EQ(out[2][2], 75) << "50 * 2 - 40 / 4 - 20 / 4 - 20 / 2";
  EXPECT_EQ(Embossed(kRgb24, 0, Rows(1, Row(1, 77)), 0.25), Rows(1, Row(1, 77)));
}

TEST(EmbossTest, PackedIsCutOffAndPlanarIsRounded) {
  // The left neighbour takes 0.25 times what it lacks.
  const auto withLeft = [](int format, int plane, int left) {
    Rows levels(3, Row(5, 100));
    levels[1][1] = left;
    return Embossed(format, plane, levels, 0.25)[1][2];
  };
  EXPECT_EQ(withLeft(kRgb24, 0, 97), 100) << "100.75";
  EXPECT_EQ(withLeft(kBgra, 0, 97), 100);
  EXPECT_EQ(withLeft(kYuv420p, 0, 97), 101);
  EXPECT_EQ(withLeft(kYuv420p, 0, 98), 101) << "100.5";
  EXPECT_EQ(withLeft(kYuv420p, 0, 99), 100) << "100.25";
  EXPECT_EQ(withLeft(kYuv420p, 1, 97), 100) << "100.375";
  EXPECT_EQ(withLeft(kYuv420p, 1, 96), 101) << "100.5";
  EXPECT_EQ(withLeft(kYuv420p, 2, 94), 101) << "100.75";
}

TEST(EmbossTest, AmountThatIsNoNumberGivesZero) {
  for (const double amount : {kNaN, kInfinity}) {
    EXPECT_EQ(Embossed(kRgb24, 0, Dot(100, 200), amount), Rows(5, Row(5, 0))) << amount;
    EXPECT_EQ(Embossed(kYuv420p, 0, Dot(100, 200), amount), Rows(5, Row(5, 0))) << amount;
    EXPECT_EQ(Embossed(kYuv420p, 1, Dot(100, 200), amount), Rows(5, Row(5, 0))) << amount;
  }
}

TEST(EmbossTest, PlanesUseTheirOwnLineSizes) {
  Picture source({kYuv420p, 10, 10, {1, 3, 8}, {}}, 1);
  for (int plane = 0; plane < 3; ++plane) {
    source.Fill(plane, 120);
    source.At(plane, 2, 2) = 140;
  }
  Picture out({kYuv420p, 10, 10, {5, 0, 2}, {}}, 2);
  RenderAll("Emboss", out, source, Params(0.5).get());
  EXPECT_EQ(out.Row(0, 1), (Row{120, 140, 130, 120, 120, 120, 120, 120, 120, 120}));
  EXPECT_EQ(out.Row(0, 3), (Row{120, 120, 110, 100, 120, 120, 120, 120, 120, 120}));
  for (const int plane : {1, 2}) {
    EXPECT_EQ(out.Row(plane, 1), (Row{120, 125, 125, 120, 120}));
    EXPECT_EQ(out.Row(plane, 3), (Row{120, 120, 115, 115, 120}));
  }
}

TEST(EmbossTest, AlphaPlaneStays) {
  Picture source({kYuva420p, 8, 8, {0, 0, 0, 6}, {}}, 1);
  Picture out({kYuva420p, 8, 8, {0, 0, 0, 3}, {}}, 2);
  RenderAll("Emboss", out, source, Params(0.5).get());
  for (int row = 0; row < 8; ++row)
    for (int column = 0; column < 11; ++column) ASSERT_EQ(out.At(3, row, column), source.At(3, row, column));
}

TEST(EmbossTest, OddFirstRowBeginsChromaInTheNextRow) {
  Picture source({kYuv420p, 8, 8, {}, {}}, 1);
  for (int plane = 0; plane < 3; ++plane) source.Fill(plane, 50 + plane);
  Picture out(source.Shape(), 2);
  Picture expected = out;
  CopyRows(expected, source, 0, 3, 5, 8);
  CopyRows(expected, source, 1, 2, 3, 4);
  CopyRows(expected, source, 2, 2, 3, 4);
  Render("Emboss", out, source, Params(0.5).get(), 3, 2);
  EXPECT_TRUE(SameBytes(expected, out));
}

}  // namespace

}  // namespace norix::test
