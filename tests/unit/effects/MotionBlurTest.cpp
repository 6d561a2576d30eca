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

Owned<MotionBlurParams> Params(double strength, double angle) {
  Owned<MotionBlurParams> params(new MotionBlurParams);
  params->strength = strength;
  params->angle = angle;
  return params;
}

/** An RGB24 picture of gray pixels: black but for one column of 128. */
Picture BrightColumn(int width, int height, int column) {
  Picture picture({kRgb24, width, height, {}, {}}, 1);
  picture.Fill(0, 0);
  for (int row = 0; row < height; ++row)
    for (int byte = 0; byte < 3; ++byte) picture.At(0, row, 3 * column + byte) = 128;
  return picture;
}

Picture BrightRow(int width, int height, int row) {
  Picture picture({kRgb24, width, height, {}, {}}, 1);
  picture.Fill(0, 0);
  picture.SetRow(0, row, Row(static_cast<std::size_t>(3 * width), 128));
  return picture;
}

Picture Blurred(Picture source, double strength, double angle) {
  Picture out(source.Shape(), 99);
  RenderAll("Motion Blur", out, source, Params(strength, angle).get());
  return out;
}

/** The gray levels of a row or a column of RGB24, whose three bytes have to agree. */
Row LevelsOfRow(const Picture& picture, int row) {
  Row levels;
  for (int column = 0; column < picture.Shape().width; ++column) {
    levels.push_back(picture.At(0, row, 3 * column));
    EXPECT_EQ(picture.At(0, row, 3 * column + 1), levels.back());
    EXPECT_EQ(picture.At(0, row, 3 * column + 2), levels.back());
  }
  return levels;
}

Row LevelsOfColumn(const Picture& picture, int column) {
  Row levels;
  for (int row = 0; row < picture.Shape().height; ++row) levels.push_back(picture.At(0, row, 3 * column));
  return levels;
}

/** A level of 128 shows the weight of each tap; the one at 8 is seen by tap 0 from 12 and by tap 8 from 4. */
const Row kForwards = {0, 0, 0, 0, 6, 11, 15, 19, 26, 6, 11, 15, 19, 0, 0, 0, 0};
const Row kBackwards = {0, 0, 0, 0, 19, 15, 11, 6, 26, 19, 15, 11, 6, 0, 0, 0, 0};

TEST(MotionBlurTest, WithoutStrengthLinesAreCopied) {
  for (const double strength : {0.0, -0.0, std::nextafter(1e-5, 0.0), -1.0, -kInfinity}) {
    Picture source({kBgra, 9, 6, {8}, {}}, 1);
    Picture destination({kBgra, 9, 6, {5}, {}}, 2);
    Picture expected = destination;
    CopyRows(expected, source, 0, 0, 6, 41);
    RenderAll("Motion Blur", destination, source, Params(strength, 30.0).get());
    EXPECT_TRUE(SameBytes(expected, destination)) << strength;
  }
}

TEST(MotionBlurTest, DefaultsBlurToTheRight) {
  const Owned<MotionBlurParams> params(new MotionBlurParams);
  EXPECT_EQ(params->strength, 1.0);
  EXPECT_EQ(params->angle, 0.0);
  Picture source = BrightColumn(17, 2, 8);
  Picture out(source.Shape(), 2);
  RenderAll("Motion Blur", out, source, params.get());
  EXPECT_EQ(LevelsOfRow(out, 0), kForwards);
  EXPECT_EQ(LevelsOfRow(out, 1), kForwards);
}

TEST(MotionBlurTest, AngleZeroStaysInItsRow) {
  Picture source({kRgb24, 5, 9, {}, {}}, 1);
  for (int row = 0; row < 9; ++row) source.SetRow(0, row, Row(15, 28 * row));
  Picture out(source.Shape(), 2);
  Picture expected = out;
  CopyRows(expected, source, 0, 0, 9, 15);
  RenderAll("Motion Blur", out, source, Params(4.0, 0.0).get());
  EXPECT_TRUE(SameBytes(expected, out));
}

TEST(MotionBlurTest, RightAngleBlursDownwards) {
  const Picture out = Blurred(BrightRow(5, 17, 8), 1.0, 90.0);
  for (int column = 0; column < 5; ++column) EXPECT_EQ(LevelsOfColumn(out, column), kForwards) << column;
}

TEST(MotionBlurTest, RightAngleTakesFirstTapsFromTheColumnBefore) {
  const Picture out = Blurred(BrightColumn(7, 3, 3), 1.0, 90.0);
  const Picture edge = Blurred(BrightColumn(7, 3, 0), 1.0, 90.0);
  for (int row = 0; row < 3; ++row) {
    EXPECT_EQ(LevelsOfRow(out, row), (Row{0, 0, 0, 77, 51, 0, 0}));
    EXPECT_EQ(LevelsOfRow(edge, row), (Row{128, 51, 0, 0, 0, 0, 0}));
  }
}

TEST(MotionBlurTest, RightAngleMissesByMoreThanRounding) {
  // So far to the right a cosine of more digits of pi would be lost in the column's number.
  const Picture out = Blurred(BrightColumn(1003, 1, 1000), 1.0, 90.0);
  EXPECT_EQ(out.At(0, 0, 3 * 1000), 77);
  EXPECT_EQ(out.At(0, 0, 3 * 1001), 51);
}

TEST(MotionBlurTest, StrengthFourReadsEveryFourthPixel) {
  Row expected(41, 0);
  const Row weights = {6, 11, 15, 19, 26, 6, 11, 15, 19};
  for (std::size_t i = 0; i < weights.size(); ++i) expected[4 + 4 * i] = weights[i];
  EXPECT_EQ(LevelsOfRow(Blurred(BrightColumn(41, 1, 20), 4.0, 0.0), 0), expected);
  EXPECT_EQ(LevelsOfColumn(Blurred(BrightRow(1, 41, 20), 4.0, 90.0), 0), expected);
}

TEST(MotionBlurTest, FractionsOfPixelsAreCutOff) {
  // With 0.5 the taps of column 8 lie at 6, 6.5, 7, 7.5, 8, 8.5, 9, 9.5, 10.
  EXPECT_EQ(LevelsOfRow(Blurred(BrightColumn(17, 1, 8), 0.5, 0.0), 0),
            (Row{0, 0, 0, 0, 0, 0, 6, 26, 45, 17, 34, 0, 0, 0, 0, 0, 0}));
}

TEST(MotionBlurTest, EdgesRepeat) {
  EXPECT_EQ(LevelsOfRow(Blurred(BrightColumn(9, 1, 0), 1.0, 0.0), 0), (Row{77, 51, 45, 34, 19, 0, 0, 0, 0}));
  EXPECT_EQ(LevelsOfRow(Blurred(BrightColumn(9, 1, 8), 1.0, 0.0), 0), (Row{0, 0, 0, 0, 6, 17, 32, 51, 77}));
  EXPECT_EQ(LevelsOfColumn(Blurred(BrightRow(1, 9, 0), 1.0, 90.0), 0), (Row{77, 51, 45, 34, 19, 0, 0, 0, 0}));
  EXPECT_EQ(LevelsOfColumn(Blurred(BrightRow(1, 9, 8), 1.0, 90.0), 0), (Row{0, 0, 0, 0, 6, 17, 32, 51, 77}));
}

TEST(MotionBlurTest, FlatPackedPicturesStayFlat) {
  for (const int format : {kRgb24, kBgra, kRgba, kRgb0, kBgr0})
    for (const int level : {0, 1, 16, 128, 254, 255}) {
      Picture source({format, 9, 7, {}, {}}, 1);
      source.Fill(0, level);
      Picture out(source.Shape(), 2);
      Picture expected = out;
      expected.Fill(0, level);
      RenderAll("Motion Blur", out, source, Params(3.3, 37.0).get());
      EXPECT_TRUE(SameBytes(expected, out)) << FormatOf(format).name << ' ' << level;
    }
}

TEST(MotionBlurTest, FlatPlanesEndInVideoRange) {
  struct Levels {
    int from;
    int luma;
    int chroma;
  };
  for (const Levels levels : {Levels{0, 16, 16},
                              {15, 16, 16},
                              {16, 16, 16},
                              {17, 17, 17},
                              {100, 100, 100},
                              {235, 235, 235},
                              {236, 235, 236},
                              {240, 235, 240},
                              {241, 235, 240},
                              {255, 235, 240}}) {
    Picture source({kYuv420p, 9, 7, {}, {}}, 1);
    Picture out(source.Shape(), 2);
    Picture expected = out;
    for (int plane = 0; plane < 3; ++plane) {
      source.Fill(plane, levels.from);
      expected.Fill(plane, plane == 0 ? levels.luma : levels.chroma);
    }
    RenderAll("Motion Blur", out, source, Params(1.7, -62.0).get());
    EXPECT_TRUE(SameBytes(expected, out)) << levels.from;
  }
}

TEST(MotionBlurTest, ChromaMovesAsManySamplesAsLuma) {
  Picture source({kYuv420p, 34, 2, {}, {}}, 1);
  source.Fill(0, 100);
  source.Fill(1, 100);
  source.Fill(2, 100);
  source.At(0, 0, 16) = 228;
  source.At(1, 0, 8) = 200;
  source.At(2, 0, 8) = 200;
  Picture out(source.Shape(), 2);
  RenderAll("Motion Blur", out, source, Params(1.0, 0.0).get());
  Row luma(34, 100);
  const Row weights = {6, 11, 15, 19, 26, 6, 11, 15, 19};
  for (std::size_t i = 0; i < weights.size(); ++i) luma[12 + i] += weights[i];
  EXPECT_EQ(out.Row(0, 0), luma);
  const Row chroma = {100, 100, 100, 100, 102, 108, 105, 114, 139, 104, 104, 111, 107, 100, 100, 100, 100};
  EXPECT_EQ(out.Row(1, 0), chroma);
  EXPECT_EQ(out.Row(2, 0), chroma);
}

TEST(MotionBlurTest, AnglesComeRound) {
  for (const double angle : {180.0, -180.0, 540.0})
    EXPECT_EQ(LevelsOfRow(Blurred(BrightColumn(17, 1, 8), 1.0, angle), 0), kBackwards) << angle;
  for (const double angle : {-90.0, 270.0, -450.0})
    EXPECT_EQ(LevelsOfColumn(Blurred(BrightRow(1, 17, 8), 1.0, angle), 0), kBackwards) << angle;
  EXPECT_EQ(LevelsOfColumn(Blurred(BrightRow(1, 17, 8), 1.0, 450.0), 0), kForwards);
}

TEST(MotionBlurTest, DiagonalRunsDownwardsToTheRight) {
  // Taps 1.25 apart at the angle of a triangle of 3, 4 and 5: 1 to the right and 0.75 down each.
  Picture source({kRgb24, 17, 17, {}, {}}, 1);
  source.Fill(0, 0);
  for (int byte = 0; byte < 3; ++byte) source.At(0, 8, 3 * 8 + byte) = 128;
  const Picture out = Blurred(source, 1.2501, 36.8698976);
  EXPECT_EQ(out.At(0, 8, 3 * 8), 26);
  EXPECT_EQ(out.At(0, 8, 3 * 7), 19) << "tap 5 of (7, 8) at (8.0001, 8.75)";
  EXPECT_EQ(out.At(0, 7, 3 * 6), 15) << "tap 6 of (6, 7) at (8.0002, 8.5)";
  EXPECT_EQ(out.At(0, 5, 3 * 4), 6) << "tap 8 of (4, 5) at (8.0003, 8.0002)";
  EXPECT_EQ(out.At(0, 6, 3 * 4), 0) << "tap 8 of (4, 6) at (8.0003, 9.0002)";
}

TEST(MotionBlurTest, InfiniteStrengthSplitsTheTaps) {
  // Rightwards all rows are no number, and so is the column of tap 4: the first.
  Picture source({kRgb24, 3, 2, {}, {}}, 1);
  source.Fill(0, 0);
  source.SetRow(0, 0, {128, 128, 128, 0, 0, 0, 0, 0, 0});
  EXPECT_EQ(LevelsOfRow(Blurred(source, kInfinity, 0.0), 1), (Row{77, 77, 77}));
  source.SetRow(0, 0, {0, 0, 0, 0, 0, 0, 128, 128, 128});
  EXPECT_EQ(LevelsOfRow(Blurred(source, kInfinity, 0.0), 1), (Row{51, 51, 51}));
}

TEST(MotionBlurTest, FourthByteAndAlphaPlaneStay) {
  Picture packed({kBgra, 9, 6, {}, {}}, 1);
  Picture packedOut(packed.Shape(), 2);
  RenderAll("Motion Blur", packedOut, packed, Params(2.0, 30.0).get());
  for (int row = 0; row < 6; ++row)
    for (int column = 0; column < 9; ++column)
      ASSERT_EQ(packedOut.At(0, row, 4 * column + 3), packed.At(0, row, 4 * column + 3));
  Picture planar({kYuva420p, 8, 8, {0, 0, 0, 6}, {}}, 1);
  Picture planarOut({kYuva420p, 8, 8, {0, 0, 0, 3}, {}}, 2);
  RenderAll("Motion Blur", planarOut, planar, Params(2.0, 30.0).get());
  for (int row = 0; row < 8; ++row)
    for (int column = 0; column < 11; ++column) ASSERT_EQ(planarOut.At(3, row, column), planar.At(3, row, column));
}

TEST(MotionBlurTest, OddFirstRowBeginsChromaInItsOwnRow) {
  Picture source({kYuv420p, 8, 8, {}, {}}, 1);
  for (int plane = 0; plane < 3; ++plane) source.Fill(plane, 50 + plane);
  Picture out(source.Shape(), 2);
  Picture expected = out;
  CopyRows(expected, source, 0, 3, 5, 8);
  CopyRows(expected, source, 1, 1, 2, 4);
  CopyRows(expected, source, 2, 1, 2, 4);
  Render("Motion Blur", out, source, Params(1.0, 45.0).get(), 3, 2);
  EXPECT_TRUE(SameBytes(expected, out));
}

}  // namespace

}  // namespace norix::test
