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

Owned<ZoomBlurParams> Params(double centerX, double centerY, double strength) {
  Owned<ZoomBlurParams> params(new ZoomBlurParams);
  params->centerX = centerX;
  params->centerY = centerY;
  params->strength = strength;
  return params;
}

/** A row of RGB24 in which one column holds 128 and all others 0, blurred: with weights of 1/128, what that column gives.
 */
Row Shares(int width, int bright, double centerX, double strength) {
  Picture source({kRgb24, width, 1, {}, {}}, 1);
  Picture destination({kRgb24, width, 1, {}, {}}, 2);
  source.Fill(0, 0);
  for (int byte = 0; byte < 3; ++byte) source.At(0, 0, 3 * bright + byte) = 128;
  RenderAll("Zoom Blur", destination, source, Params(centerX, 0.0, strength).get());
  Row shares;
  for (int column = 0; column < width; ++column) {
    shares.push_back(destination.At(0, 0, 3 * column));
    EXPECT_EQ(destination.At(0, 0, 3 * column + 1), shares.back());
    EXPECT_EQ(destination.At(0, 0, 3 * column + 2), shares.back());
  }
  return shares;
}

TEST(ZoomBlurTest, SmallAndNegativeStrengthsCopyLines) {
  for (const double strength : {0.0, -0.0, 0.99e-5, std::nextafter(1e-5, 0.0), -1.0, -kInfinity}) {
    Picture packed({kBgra, 9, 6, {8}, {}}, 1);
    Picture packedOut({kBgra, 9, 6, {5}, {}}, 2);
    Picture packedExpected = packedOut;
    CopyRows(packedExpected, packed, 0, 0, 6, 41);
    RenderAll("Zoom Blur", packedOut, packed, Params(0.5, 0.5, strength).get());
    EXPECT_TRUE(SameBytes(packedExpected, packedOut)) << strength;

    Picture planar({kYuva420p, 9, 6, {}, {}}, 3);
    Picture planarOut({kYuva420p, 9, 6, {}, {}}, 4);
    Picture planarExpected = planarOut;
    CopyRows(planarExpected, planar, 0, 0, 6, 9);
    CopyRows(planarExpected, planar, 1, 0, 3, 5);
    CopyRows(planarExpected, planar, 2, 0, 3, 5);
    CopyRows(planarExpected, planar, 3, 0, 3, 9);
    RenderAll("Zoom Blur", planarOut, planar, Params(0.5, 0.5, strength).get());
    EXPECT_TRUE(SameBytes(planarExpected, planarOut)) << strength;
  }
}

TEST(ZoomBlurTest, StrengthAtThresholdBlurs) {
  // Tiny as it is: taps a little left of or above the pixel already lie in the neighbouring column or row.
  Picture source({kRgb24, 4, 1, {}, {}}, 1);
  Picture destination({kRgb24, 4, 1, {}, {}}, 2);
  source.Fill(0, 0);
  for (int byte = 0; byte < 3; ++byte) source.At(0, 0, byte) = 128;
  RenderAll("Zoom Blur", destination, source, Params(0.0, 0.0, 1e-5).get());
  EXPECT_EQ(destination.At(0, 0, 0), 128);
  EXPECT_EQ(destination.At(0, 0, 3), 51) << "the four inward taps of column 1";
  EXPECT_EQ(destination.At(0, 0, 6), 0);
}

TEST(ZoomBlurTest, PixelAtTheCentreIsItself) {
  const auto params = Params(0.0, 0.5, 4.0);
  Picture packed({kBgra, 8, 8, {}, {}}, 1);
  Picture packedOut({kBgra, 8, 8, {}, {}}, 2);
  Render("Zoom Blur", packedOut, packed, params.get(), 4, 4);
  for (int byte = 0; byte < 4; ++byte) EXPECT_EQ(packedOut.At(0, 4, byte), packed.At(0, 4, byte));

  const int values[] = {0, 15, 16, 17, 100, 234, 235, 236, 255};
  const int clamped[] = {16, 16, 16, 17, 100, 234, 235, 235, 235};
  for (std::size_t i = 0; i < std::size(values); ++i) {
    Picture planar({kYuv420p, 8, 8, {}, {}}, 3);
    Picture planarOut({kYuv420p, 8, 8, {}, {}}, 4);
    planar.At(0, 4, 0) = static_cast<std::uint8_t>(values[i]);
    Render("Zoom Blur", planarOut, planar, params.get(), 4, 4);
    EXPECT_EQ(planarOut.At(0, 4, 0), clamped[i]) << values[i];
  }
}

TEST(ZoomBlurTest, FlatPlanesEndInLimitedRange) {
  const struct {
    int value;
    int luma;
    int chroma;
  } cases[] = {{0, 16, 16},     {15, 16, 16},    {16, 16, 16},    {17, 17, 17},    {100, 100, 100},
               {235, 235, 235}, {236, 235, 236}, {240, 235, 240}, {241, 235, 240}, {255, 235, 240}};
  for (const auto& expected : cases)
    for (const int code : {kYuv420p, kYuva420p}) {
      Picture source({code, 17, 9, {}, {}}, 1);
      Picture destination({code, 17, 9, {}, {}}, 2);
      for (int plane = 0; plane < 3; ++plane) source.Fill(plane, expected.value);
      RenderAll("Zoom Blur", destination, source, Params(0.3, 0.7, 40.0).get());
      for (int row = 0; row < 9; ++row) EXPECT_EQ(destination.Row(0, row), Row(17, expected.luma)) << expected.value;
      for (const int plane : {1, 2})
        for (int row = 0; row < 5; ++row) EXPECT_EQ(destination.Row(plane, row), Row(9, expected.chroma)) << expected.value;
    }
}

TEST(ZoomBlurTest, FlatPackedPicturesStayAsTheyAre) {
  for (const int value : {0, 1, 128, 254, 255})
    for (const int code : {kRgb24, kBgra, kRgba, kRgb0, kBgr0}) {
      Picture source({code, 13, 7, {}, {}}, 1);
      Picture destination({code, 13, 7, {}, {}}, 2);
      source.Fill(0, value);
      RenderAll("Zoom Blur", destination, source, Params(0.5, 0.5, 1000.0).get());
      for (int row = 0; row < 7; ++row) EXPECT_EQ(destination.Row(0, row), source.Row(0, row)) << value;
    }
}

TEST(ZoomBlurTest, WeightsOfTheNineTaps) {
  // Full strength about column 0: column 1 has its outward taps at 5, 4, 3, 2, itself, and all inward ones at 0 and beyond.
  EXPECT_EQ(Shares(8, 5, 0.0, 100.0)[1], 19);
  EXPECT_EQ(Shares(8, 4, 0.0, 100.0)[1], 15);
  EXPECT_EQ(Shares(8, 3, 0.0, 100.0)[1], 11);
  EXPECT_EQ(Shares(8, 2, 0.0, 100.0)[1], 6);
  EXPECT_EQ(Shares(8, 1, 0.0, 100.0)[1], 26);
  EXPECT_EQ(Shares(8, 0, 0.0, 100.0)[1], 19 + 15 + 11 + 6);
  // Outward taps at 10, 8, 6, 4 of column 2; what lies outside is read from the last column.
  EXPECT_EQ(Shares(8, 7, 0.0, 100.0)[2], 19 + 15);
  // A quarter: column 4 has its inward taps at 3, 2, 1, 0.
  EXPECT_EQ(Shares(16, 3, 0.0, 25.0)[4], 19);
  EXPECT_EQ(Shares(16, 2, 0.0, 25.0)[4], 15);
  EXPECT_EQ(Shares(16, 1, 0.0, 25.0)[4], 11);
  EXPECT_EQ(Shares(16, 0, 0.0, 25.0)[4], 6);
}

TEST(ZoomBlurTest, ChromaHasWeightsOfItsOwn) {
  const int weights[] = {6 + 23 + 15 + 38, 102, 12, 11, 30, 19};
  for (int bright = 0; bright < 6; ++bright) {
    Picture source({kYuv420p, 16, 1, {}, {}}, 1);
    Picture destination({kYuv420p, 16, 1, {}, {}}, 2);
    source.Fill(1, 100);
    source.Fill(2, 100);
    source.At(1, 0, bright) = 228;
    source.At(2, 0, bright) = 36;
    RenderAll("Zoom Blur", destination, source, Params(0.0, 0.0, 100.0).get());
    EXPECT_EQ(destination.At(1, 0, 1), (100 * 256 + 128 * weights[bright]) / 256) << bright;
    EXPECT_EQ(destination.At(2, 0, 1), (100 * 256 - 64 * weights[bright]) / 256) << bright;
  }
}

TEST(ZoomBlurTest, RowsAreBlurredLikeColumns) {
  const int weights[] = {51, 26, 6, 11, 15, 19};
  for (int bright = 0; bright < 6; ++bright) {
    Picture source({kRgb24, 1, 8, {2}, {bright % 2 == 1}}, 1);
    Picture destination({kRgb24, 1, 8, {}, {}}, 2);
    source.Fill(0, 0);
    source.At(0, bright, 1) = 128;
    RenderAll("Zoom Blur", destination, source, Params(0.0, 0.0, 100.0).get());
    EXPECT_EQ(destination.Row(0, 1), (Row{0, weights[bright], 0}));
  }
}

TEST(ZoomBlurTest, StrongInwardTapsPassTheCentre) {
  // The centre is column 4 of 9. At 50 percent column 0 has its taps at 0 (five times), 2, 4, 6 and 8.
  EXPECT_EQ(Shares(9, 8, 0.5, 50.0)[0], 6);
  EXPECT_EQ(Shares(9, 6, 0.5, 50.0)[0], 11);
  EXPECT_EQ(Shares(9, 4, 0.5, 50.0)[0], 15);
  EXPECT_EQ(Shares(9, 2, 0.5, 50.0)[0], 19);
  EXPECT_EQ(Shares(9, 0, 0.5, 50.0)[0], 19 + 15 + 11 + 6 + 26);
}

TEST(ZoomBlurTest, InfiniteStrength) {
  // Column 0 of 8 about column 4: outward taps end at column 0, inward ones at 7, tap 4 is no number and so at 0.
  EXPECT_EQ(Shares(8, 0, 0.5, kInfinity)[0], 19 + 15 + 11 + 6 + 26);
  EXPECT_EQ(Shares(8, 7, 0.5, kInfinity)[0], 19 + 15 + 11 + 6);
  // After one column the displacement is infinity less infinity.
  EXPECT_EQ(Shares(8, 0, 0.5, kInfinity)[1], 128);
  EXPECT_EQ(Shares(8, 0, 0.5, kNaN), Row(8, 128));
}

TEST(ZoomBlurTest, FourthByteIsNotBlurred) {
  for (const int code : {kBgra, kRgba, kRgb0, kBgr0}) {
    Picture source({code, 12, 6, {4}, {}}, 1);
    Picture destination({code, 12, 6, {}, {}}, 2);
    RenderAll("Zoom Blur", destination, source, Params(0.5, 0.5, 4.0).get());
    int changed = 0;
    for (int row = 0; row < 6; ++row)
      for (int column = 0; column < 12; ++column) {
        EXPECT_EQ(destination.At(0, row, 4 * column + 3), source.At(0, row, 4 * column + 3));
        changed += destination.At(0, row, 4 * column) != source.At(0, row, 4 * column) ? 1 : 0;
      }
    EXPECT_GT(changed, 36);
  }
}

TEST(ZoomBlurTest, AlphaPlaneIsCopiedOverWholeBand) {
  Picture source({kYuva420p, 8, 8, {0, 0, 0, 6}, {}}, 1);
  Picture destination({kYuva420p, 8, 8, {0, 0, 0, 3}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 3, 2, 8, 11);
  Render("Zoom Blur", destination, source, Params(0.5, 0.5, 4.0).get(), 2, 6);
  for (int row = 0; row < 8; ++row)
    for (int column = 0; column < 11; ++column)
      EXPECT_EQ(destination.At(3, row, column), expected.At(3, row, column)) << row << ", " << column;
}

TEST(ZoomBlurTest, NothingIsWrittenWithoutRows) {
  for (const Format& format : RenderedFormats())
    for (const int rowCount : {0, -1, -2}) {
      Picture source({format.code, 8, 8, {}, {}}, 1);
      Picture destination({format.code, 8, 8, {}, {}}, 2);
      const Picture before = destination;
      Render("Zoom Blur", destination, source, Params(0.5, 0.5, 4.0).get(), 2, rowCount);
      EXPECT_TRUE(SameBytes(before, destination)) << format.name << ", " << rowCount << " rows";
    }
}

TEST(ZoomBlurTest, UnlistedFormatsAreLeftAlone) {
  for (const int code : {kYuyv422, kBgr24, kArgb}) {
    Picture source({code, 8, 8, {}, {}}, 1);
    Picture destination({code, 8, 8, {}, {}}, 2);
    const Picture before = destination;
    RenderAll("Zoom Blur", destination, source, Params(0.5, 0.5, 4.0).get());
    EXPECT_TRUE(SameBytes(before, destination)) << code;
  }
}

TEST(ZoomBlurTest, OddFirstRowSharesChromaRowWithItsNeighbour) {
  // Rows 0 to 2 and 3 to 7: both write chroma row 1. A displacement without rounding errors, so both write the same.
  const auto params = Params(0.5, 0.5, 50.0);
  Picture source({kYuv420p, 8, 8, {}, {}}, 1);
  Picture upper({kYuv420p, 8, 8, {}, {}}, 2);
  Picture lower = upper;
  Picture whole = upper;
  RenderAll("Zoom Blur", whole, source, params.get());
  Render("Zoom Blur", upper, source, params.get(), 0, 3);
  const Picture fresh({kYuv420p, 8, 8, {}, {}}, 2);
  Render("Zoom Blur", lower, source, params.get(), 3, 5);
  for (const int plane : {1, 2}) {
    EXPECT_EQ(upper.Row(plane, 1), whole.Row(plane, 1));
    EXPECT_EQ(lower.Row(plane, 1), whole.Row(plane, 1));
    EXPECT_EQ(upper.Row(plane, 2), fresh.Row(plane, 2));
    EXPECT_EQ(lower.Row(plane, 0), fresh.Row(plane, 0));
    EXPECT_EQ(lower.Row(plane, 3), whole.Row(plane, 3));
    EXPECT_NE(whole.Row(plane, 1), fresh.Row(plane, 1));
  }
}

TEST(ZoomBlurTest, VTakesTheOffsetsOfU) {
  // U lines have 4 bytes, V lines 6. Full strength about the top: chroma row 1 has its taps in rows 5, 4, 3, 2, 1, 0, 0, 0,
  // 0, so at +16, +12, +8, +4, 0 and -4 bytes from (0, 1). In V that is 6 bytes behind its first: bytes 22, 18, 14, 10, 6
  // and 2.
  const auto params = Params(0.0, 0.0, 100.0);
  const int bytes[] = {22, 18, 14, 10, 6, 2};
  const int weights[] = {19, 30, 11, 12, 102, 38 + 15 + 23 + 6};
  for (std::size_t i = 0; i < std::size(bytes); ++i) {
    Picture source({kYuv420p, 8, 12, {0, 0, 2}, {}}, 1);
    Picture destination({kYuv420p, 8, 12, {}, {}}, 2);
    source.Fill(1, 100);
    for (int row = 0; row < 6; ++row)
      for (int column = 0; column < 6; ++column) source.At(2, row, column) = 100;
    source.At(2, 0, bytes[i]) = 228;
    RenderAll("Zoom Blur", destination, source, params.get());
    EXPECT_EQ(destination.At(1, 1, 0), 100);
    EXPECT_EQ(destination.At(2, 1, 0), (100 * 256 + 128 * weights[i]) / 256) << bytes[i];
  }
}

TEST(ZoomBlurTest, TapsOutsideVReadItsOutermostSamples) {
  // U lines are far longer than V's: every tap of another row misses the V plane.
  Picture source({kYuv420p, 8, 12, {0, 96, 0}, {}}, 1);
  Picture destination({kYuv420p, 8, 12, {}, {}}, 2);
  source.Fill(1, 100);
  source.Fill(2, 100);
  source.At(2, 0, 0) = 164;
  source.At(2, 5, 3) = 36;
  RenderAll("Zoom Blur", destination, source, Params(0.0, 0.0, 100.0).get());
  // Column 0 of row 1: four outward taps behind the end, itself, four inward ones before the beginning.
  EXPECT_EQ(destination.At(2, 1, 0), (100 * 256 - 64 * (19 + 30 + 11 + 12) + 64 * (38 + 15 + 23 + 6)) / 256);
  EXPECT_EQ(destination.At(1, 1, 0), 100);

  // Bottom-up, the last row's first sample lies lowest in memory and the first row's last one highest.
  Picture bottomUp({kYuv420p, 8, 12, {0, 96, 0}, {false, true, true}}, 1);
  bottomUp.Fill(1, 100);
  bottomUp.Fill(2, 100);
  bottomUp.At(2, 5, 0) = 36;
  bottomUp.At(2, 0, 3) = 164;
  RenderAll("Zoom Blur", destination, bottomUp, Params(0.0, 0.0, 100.0).get());
  EXPECT_EQ(destination.At(2, 1, 0), (100 * 256 - 64 * (19 + 30 + 11 + 12) + 64 * (38 + 15 + 23 + 6)) / 256);
}

}  // namespace

}  // namespace norix::test
