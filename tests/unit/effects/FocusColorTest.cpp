#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "Render.h"

namespace norix::test {

namespace {

using Row = std::vector<int>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class FocusColorTest : public testing::Test {
protected:
  // Fills the gray tables, as every host does before the first picture.
  void SetUp() override { ASSERT_EQ(filter_check_format("Focus Color", kBgra), kBgra); }

  static Owned<FocusColorParams> Params(double radius, double feather, double centerX = 0.5, double centerY = 0.5) {
    Owned<FocusColorParams> params(new FocusColorParams);
    params->radius = radius;
    params->feather = feather;
    params->centerX = centerX;
    params->centerY = centerY;
    return params;
  }

  /** All pixels 200, 100, 0, 9: as BGRA of gray 22 + 58 + 0. The destination holds 70s. */
  static Picture Colour(int width, int height) {
    Picture picture({kBgra, width, height, {}, {}}, 1);
    Row row;
    for (int x = 0; x < width; ++x) row.insert(row.end(), {200, 100, 0, 9});
    for (int y = 0; y < height; ++y) picture.SetRow(0, y, row);
    return picture;
  }

  static Picture Rendered(Picture& source, FilterParams* params) {
    Picture destination(source.Shape(), 2);
    for (int plane = 0; plane < destination.PlaneCount(); ++plane) destination.Fill(plane, 70);
    RenderAll("Focus Color", destination, source, params);
    return destination;
  }

  static Row PixelOf(const Picture& picture, int row, int x) {
    return {picture.At(0, row, x * 4), picture.At(0, row, x * 4 + 1), picture.At(0, row, x * 4 + 2),
            picture.At(0, row, x * 4 + 3)};
  }
};

const Row kKept = {200, 100, 0, 70};
const Row kGray = {80, 80, 80, 70};

TEST_F(FocusColorTest, DefaultsIn640By480) {
  // Half the diagonal is 400: the colour ends at 120 pixels and the fade at 200.
  Picture source = Colour(640, 480);
  const Owned<FocusColorParams> params(new FocusColorParams);
  const Picture result = Rendered(source, params.get());
  EXPECT_EQ(PixelOf(result, 240, 320), kKept);
  for (const int side : {-1, 1}) {
    EXPECT_EQ(PixelOf(result, 240, 320 + 120 * side), kKept);
    EXPECT_EQ(PixelOf(result, 240 + 120 * side, 320), kKept);
    // An 80th, a quarter, a half of the way to 80.
    EXPECT_EQ(PixelOf(result, 240, 320 + 121 * side), (Row{198, 99, 1, 70}));
    EXPECT_EQ(PixelOf(result, 240 + 140 * side, 320), (Row{170, 95, 20, 70}));
    EXPECT_EQ(PixelOf(result, 240, 320 + 160 * side), (Row{140, 90, 40, 70}));
    EXPECT_EQ(PixelOf(result, 240, 320 + 200 * side), kGray);
    EXPECT_EQ(PixelOf(result, 240 + 201 * side, 320), kGray);
  }
  // 3, 4, 5 in two steps from 4: (25 / 4 + 4) / 2 is 5. The same with 72 and 96, and with 96 and 128: 120 and 160.
  EXPECT_EQ(PixelOf(result, 240 + 96, 320 + 72), kKept);
  EXPECT_EQ(PixelOf(result, 240 - 128, 320 + 96), (Row{140, 90, 40, 70}));
  EXPECT_EQ(PixelOf(result, 0, 0), kGray);
}

TEST_F(FocusColorTest, NoFeatherMakesAHardEdge) {
  Picture source = Colour(64, 48);
  // Half the diagonal is 40.
  const Picture result = Rendered(source, Params(0.25, 0.0).get());
  for (const int side : {-1, 1}) {
    EXPECT_EQ(PixelOf(result, 24, 32 + 10 * side), kKept);
    EXPECT_EQ(PixelOf(result, 24, 32 + 11 * side), kGray);
    EXPECT_EQ(PixelOf(result, 24 + 10 * side, 32), kKept);
    EXPECT_EQ(PixelOf(result, 24 + 11 * side, 32), kGray);
  }
  for (int row = 0; row < 48; ++row)
    for (int x = 0; x < 64; ++x)
      EXPECT_TRUE(PixelOf(result, row, x) == kKept || PixelOf(result, row, x) == kGray) << row << ", " << x;
}

TEST_F(FocusColorTest, NoRadiusKeepsTheCentreAlone) {
  Picture source = Colour(9, 7);
  const Picture result = Rendered(source, Params(0.0, 0.0).get());
  for (int row = 0; row < 7; ++row)
    for (int x = 0; x < 9; ++x) EXPECT_EQ(PixelOf(result, row, x), row == 3 && x == 4 ? kKept : kGray) << row << ", " << x;
}

TEST_F(FocusColorTest, ThirdByteCountsAsRedInAllFormats) {
  for (const int code : {kBgra, kRgba, kRgb0, kBgr0}) {
    Picture source({code, 3, 1, {}, {}}, 1);
    source.SetRow(0, 0, {255, 0, 0, 1, 0, 255, 0, 2, 0, 0, 255, 3});
    const Picture result = Rendered(source, Params(0.0, 0.0, -100.0).get());
    EXPECT_EQ(result.Row(0, 0), (Row{29, 29, 29, 70, 149, 149, 149, 70, 76, 76, 76, 70})) << FormatOf(code).name;
  }
}

TEST_F(FocusColorTest, NegativeFeatherIsWrittenBack) {
  for (const Format& format : AllFormats()) {
    Picture source({format.code, 8, 8, {}, {}}, 1);
    Picture destination({format.code, 8, 8, {}, {}}, 2);
    for (const double feather : {-0.25, -1e-300, -kInfinity}) {
      const auto params = Params(0.3, feather);
      Render("Focus Color", destination, source, params.get(), 0, 0);
      EXPECT_EQ(params->feather, 0.0) << format.name;
      EXPECT_EQ(params->radius, 0.3);
    }
    const auto params = Params(-0.3, kNaN);
    Render("Focus Color", destination, source, params.get(), 0, 0);
    EXPECT_TRUE(std::isnan(params->feather));
    EXPECT_EQ(params->radius, -0.3);
  }
  Picture source = Colour(64, 48);
  EXPECT_TRUE(SameBytes(Rendered(source, Params(0.25, 0.0).get()), Rendered(source, Params(0.25, -0.5).get())));

  source.Frame()->width = 0;
  const auto params = Params(0.3, -0.25);
  Render("Focus Color", source, source, params.get(), 0, 48);
  EXPECT_EQ(params->feather, -0.25) << "without a picture nothing happens";
}

TEST_F(FocusColorTest, ChromaFadesToGrayByItsOwnCircle) {
  // Chroma of 64 x 48: half the diagonal is 40, radius 8, feather 16.
  Picture source({kYuv420p, 128, 96, {5, 0, 0}, {}}, 1);
  source.Fill(1, 200);
  source.Fill(2, 0);
  Picture destination({kYuv420p, 128, 96, {2, 0, 0}, {}}, 2);
  RenderAll("Focus Color", destination, source, Params(0.2, 0.4).get());
  for (int row = 0; row < 96; ++row)
    for (int column = 0; column < 130; ++column)
      ASSERT_EQ(destination.At(0, row, column), source.At(0, row, column)) << "luma as far as both lines reach";
  EXPECT_EQ(destination.At(1, 24, 32), 200);
  EXPECT_EQ(destination.At(1, 24, 40), 200);
  EXPECT_EQ(destination.At(1, 24, 41), 195) << "200 - 72 / 16";
  EXPECT_EQ(destination.At(1, 24, 48), 164);
  EXPECT_EQ(destination.At(1, 24, 56), 128);
  EXPECT_EQ(destination.At(1, 24, 57), 128);
  EXPECT_EQ(destination.At(2, 24, 24), 0);
  EXPECT_EQ(destination.At(2, 24, 23), 8);
  EXPECT_EQ(destination.At(2, 40, 32), 64);
  EXPECT_EQ(destination.At(2, 0, 0), 128);
}

TEST_F(FocusColorTest, OddFirstRowBeginsChromaBelow) {
  // Rows 3 to 7 of 8 take chroma rows 2 to 4, and 4 lies behind the plane.
  Picture source({kYuva420p, 8, 8, {0, 0, 0, 2}, {}}, 1);
  Picture destination({kYuva420p, 8, 8, {0, 0, 0, 1}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 0, 3, 8, 8);
  for (int plane = 1; plane <= 2; ++plane)
    for (int row = 2; row < 5; ++row) expected.SetRow(plane, row, Row(4, 128));
  CopyRows(expected, source, 3, 3, 8, 9);
  Render("Focus Color", destination, source, Params(0.0, 0.0, 50.0, 50.0).get(), 3, 5);
  EXPECT_TRUE(SameBytes(expected, destination));
}

// Rows of the destination lie as far apart as the source's, and those behind the plane are left out.
TEST_F(FocusColorTest, StepsTheDestinationByTheSourcesLines) {
  Picture source({kBgra, 2, 4, {8}, {}}, 1);
  source.Fill(0, 100);  // gray 98
  Picture destination({kBgra, 2, 4, {}, {}}, 2);
  destination.Fill(0, 70);
  Picture expected = destination;
  expected.SetRow(0, 0, {98, 98, 98, 70, 98, 98, 98, 70});
  expected.SetRow(0, 2, {98, 98, 98, 70, 98, 98, 98, 70});
  RenderAll("Focus Color", destination, source, Params(0.0, 0.0, 50.0).get());
  EXPECT_TRUE(SameBytes(expected, destination));
}

TEST_F(FocusColorTest, HostileFields) {
  Picture source = Colour(16, 12);
  const auto expectAll = [&](const Row& expected, const Owned<FocusColorParams>& params) {
    const Picture result = Rendered(source, params.get());
    for (int row = 0; row < 12; ++row)
      for (int x = 0; x < 16; ++x) ASSERT_EQ(PixelOf(result, row, x), expected) << row << ", " << x;
  };
  for (const double far : {kInfinity, -kInfinity, 1e300, -1e300, 1e8, -1e8}) {
    SCOPED_TRACE(far);
    expectAll(kGray, Params(0.3, 0.2, far));
    expectAll(kGray, Params(0.3, 0.2, 0.5, far));
    expectAll(kGray, Params(0.3, 0.2, far, far));
    expectAll(kGray, Params(0.3, 0.2, far, -far));
  }
  expectAll(kKept, Params(kInfinity, 0.2));
  expectAll(kKept, Params(1e300, kInfinity));
  expectAll(kGray, Params(-kInfinity, 0.2));
  // The fade is so wide that all of the picture is at its beginning: 200 becomes 199 and 100 becomes 99.
  expectAll({199, 99, 0, 70}, Params(-0.1, kInfinity));
  const Picture corner = Rendered(source, Params(0.0, 0.0, kNaN, kNaN).get());
  EXPECT_EQ(PixelOf(corner, 0, 0), kKept);
  EXPECT_EQ(PixelOf(corner, 0, 1), kGray);
  expectAll(kGray, Params(kNaN, kNaN, 3.0));
}

TEST_F(FocusColorTest, OtherFormatsAreLeftAlone) {
  for (const int code : {kRgb24, kBgr24, kYuyv422, kArgb}) {
    Picture source({code, 8, 8, {}, {}}, 1);
    Picture destination({code, 8, 8, {}, {}}, 2);
    const Picture before = destination;
    RenderAll("Focus Color", destination, source, Params(0.3, 0.2).get());
    EXPECT_TRUE(SameBytes(before, destination)) << code;
  }
  for (const Format& format : RenderedFormats()) {
    Picture source({format.code, 8, 8, {}, {}}, 1);
    Picture destination({format.code, 8, 8, {}, {}}, 2);
    const Picture before = destination;
    Render("Focus Color", destination, source, Params(0.3, 0.2).get(), 2, 0);
    Render("Focus Color", destination, source, Params(0.3, 0.2).get(), 2, -2);
    EXPECT_TRUE(SameBytes(before, destination)) << format.name;
  }
}

}  // namespace

}  // namespace norix::test
