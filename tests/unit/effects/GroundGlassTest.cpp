#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <vector>

#include "Render.h"

namespace norix::test {

namespace {

using Row = std::vector<int>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Owned<GroundGlassParams> Params(double amount) {
  Owned<GroundGlassParams> params(new GroundGlassParams);
  params->amount = amount;
  return params;
}

TEST(GroundGlassTest, UnusableRadiiCopyTheBand) {
  // 9 and 8 halve to 4, so 3 is the largest radius.
  for (const double amount : {0.0, 0.5, 0.999999, -0.5, -1.0, -3.0, -kInfinity, 4.0, 4.5, 100.0, kInfinity, kNaN})
    for (const Format& format : RenderedFormats())
      for (const bool high : {false, true}) {
        Picture source({format.code, high ? 9 : 20, high ? 20 : 8, {3, 3, 3, 3}, {}}, 1);
        Picture destination({format.code, high ? 9 : 20, high ? 20 : 8, {3, 3, 3, 3}, {}}, 2);
        Picture expected = destination;
        for (int plane = 0; plane < format.planes; ++plane)
          CopyRows(expected, source, plane, plane == 0 ? 2 : 1, plane == 0 ? 6 : 3, source.RowBytes(plane) + 3);
        Render("Ground Glass", destination, source, Params(amount).get(), 2, 4);
        EXPECT_TRUE(SameBytes(expected, destination)) << format.name << ", amount " << amount;
      }
}

TEST(GroundGlassTest, UnusableRadiiDrawNoNumbers) {
  Picture source({kYuv420p, 8, 8, {}, {}}, 1);
  Picture destination({kYuv420p, 8, 8, {}, {}}, 2);
  std::srand(5);
  const int first = std::rand();
  std::srand(5);
  RenderAll("Ground Glass", destination, source, Params(4.0).get());
  RenderAll("Ground Glass", destination, source, Params(0.0).get());
  RenderAll("Ground Glass", destination, source, nullptr);
  Render("Ground Glass", destination, source, Params(3.0).get(), 0, 0);
  EXPECT_EQ(std::rand(), first);
}

TEST(GroundGlassTest, PackedPicturesShiftByTheRadius) {
  std::srand(1);
  for (const int code : {kRgb24, kBgra, kRgba, kRgb0, kBgr0}) {
    const int bytes = FormatOf(code).bytesPerPixel;
    Picture source({code, 11, 10, {1}, {}}, 1);
    Picture destination({code, 11, 10, {2}, {}}, 2);
    Picture expected = destination;
    for (int y = 1; y < 9; ++y)
      for (int x = 0; x < 11; ++x)
        for (int i = 0; i < bytes; ++i)
          expected.At(0, y, x * bytes + i) = source.At(0, std::max(y - 3, 0), std::max(x - 3, 0) * bytes + i);
    Render("Ground Glass", destination, source, Params(3.75).get(), 1, 8);
    EXPECT_TRUE(SameBytes(expected, destination)) << FormatOf(code).name;
  }
}

TEST(GroundGlassTest, PackedPicturesDrawTwoNumbersForEachPixel) {
  Picture source({kBgra, 8, 8, {}, {}}, 1);
  Picture destination({kBgra, 8, 8, {}, {}}, 2);
  std::srand(9);
  for (int i = 0; i < 2 * 8 * 3; ++i) std::rand();
  const int next = std::rand();
  std::srand(9);
  Render("Ground Glass", destination, source, Params(2.0).get(), 4, 3);
  EXPECT_EQ(std::rand(), next);
}

TEST(GroundGlassTest, PlanarBlocksComeFromEvenPlacesNearby) {
  // Every sample tells its own place.
  Picture source({kYuv420p, 16, 14, {4, 4, 4}, {}}, 1);
  for (int y = 0; y < 14; ++y)
    for (int x = 0; x < 20; ++x) source.At(0, y, x) = static_cast<std::uint8_t>(y * 18 + x % 18);
  for (int plane = 1; plane <= 2; ++plane)
    for (int y = 0; y < 7; ++y)
      for (int x = 0; x < 12; ++x) source.At(plane, y, x) = static_cast<std::uint8_t>(y * 16 + x);
  Picture destination({kYuv420p, 16, 14, {}, {}}, 2);
  std::srand(3);
  RenderAll("Ground Glass", destination, source, Params(5.0).get());

  std::srand(3);
  // 4 is the largest even displacement below 5; rounding down to even numbers widens the other side.
  const auto move = [](int position, int last) {
    int displacement = static_cast<int>((2.0 * std::rand() / 2147483647.0 - 1.0) * 5);
    if (displacement % 2 != 0) --displacement;
    return std::clamp(position + displacement, 0, last);
  };
  bool moved = false;
  for (int y = 0; y < 14; y += 2)
    for (int x = 0; x < 16; x += 2) {
      const int fromX = move(x, 15);
      const int fromY = move(y, 13);
      moved = moved || fromX != x || fromY != y;
      EXPECT_TRUE(fromX % 2 == 0 || fromX == 15);
      for (int row = 0; row < 2; ++row)
        for (int column = 0; column < 2; ++column) {
          // A block at the lowest odd row reaches below the picture, where the last row goes on.
          const int lowest = std::min(fromY + row, 13);
          EXPECT_EQ(destination.At(0, y + row, x + column), source.At(0, lowest, fromX + column)) << x << ", " << y;
        }
      // Halved toward the left and the top.
      const int chromaX = x / 2 + ((fromX - x) >> 1);
      const int chromaY = y / 2 + ((fromY - y) >> 1);
      EXPECT_EQ(destination.At(1, y / 2, x / 2), source.At(1, chromaY, chromaX)) << x << ", " << y;
      EXPECT_EQ(destination.At(2, y / 2, x / 2), source.At(2, chromaY, chromaX)) << x << ", " << y;
    }
  EXPECT_TRUE(moved);
}

// With radius 1 all displacements are rounded to 0, so that only the walk over odd sizes shows.
TEST(GroundGlassTest, OddSizesDriftToTheRightAndRepeatTheLastRow) {
  Picture source({kYuv420p, 5, 5, {8, 6, 6}, {}}, 1);
  Picture destination({kYuv420p, 5, 5, {8, 6, 6}, {}}, 2);
  Picture expected = destination;
  const auto put = [&](int plane, int row, int first, const std::vector<int>& fromColumns, int fromRow) {
    for (std::size_t i = 0; i < fromColumns.size(); ++i)
      expected.At(plane, row, first + static_cast<int>(i)) = source.At(plane, fromRow, fromColumns[i]);
  };
  // The last block's column is pulled back by one, and the single one behind it as well.
  put(0, 0, 0, {0, 1, 2, 3, 3, 4, 5}, 0);
  put(0, 1, 0, {0, 1, 2, 3, 3, 4, 5}, 1);
  put(0, 2, 2, {2, 3, 4, 5, 5, 6, 7}, 2);
  put(0, 3, 2, {2, 3, 4, 5, 5, 6, 7}, 3);
  put(0, 4, 4, {4, 5, 6, 7, 7, 8, 9}, 3);
  for (int plane = 1; plane <= 2; ++plane) {
    put(plane, 0, 0, {0, 1, 1, 2}, 0);
    put(plane, 1, 1, {1, 2, 2, 3}, 1);
    put(plane, 2, 2, {2, 3, 3, 4}, 1);
  }
  std::srand(1);
  RenderAll("Ground Glass", destination, source, Params(1.0).get());
  EXPECT_TRUE(SameBytes(expected, destination));

  std::srand(1);
  for (int i = 0; i < 3 * 4 * 2; ++i) std::rand();
  const int next = std::rand();
  std::srand(1);
  RenderAll("Ground Glass", destination, source, Params(1.0).get());
  EXPECT_EQ(std::rand(), next) << "three rows of three blocks and a single column";
}

TEST(GroundGlassTest, OddHeightsWriteTheRowBehindABand) {
  Picture source({kYuv420p, 6, 7, {}, {}}, 1);
  Picture destination({kYuv420p, 6, 7, {}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 0, 0, 2, 6);
  CopyRows(expected, source, 1, 0, 2, 3);
  CopyRows(expected, source, 2, 0, 2, 3);
  // The row behind counts as the last one, which reads the row above it.
  for (int column = 0; column < 6; ++column) expected.At(0, 2, column) = source.At(0, 1, column);
  for (int plane = 1; plane <= 2; ++plane)
    for (int column = 0; column < 3; ++column) expected.At(plane, 1, column) = source.At(plane, 0, column);
  std::srand(1);
  Render("Ground Glass", destination, source, Params(1.0).get(), 0, 2);
  EXPECT_TRUE(SameBytes(expected, destination));
}

TEST(GroundGlassTest, OddBandsWriteWholePairs) {
  Picture source({kYuv420p, 6, 8, {}, {}}, 1);
  Picture destination({kYuv420p, 6, 8, {}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 0, 2, 6, 6);
  CopyRows(expected, source, 1, 1, 3, 3);
  CopyRows(expected, source, 2, 1, 3, 3);
  std::srand(1);
  Render("Ground Glass", destination, source, Params(1.0).get(), 2, 3);
  EXPECT_TRUE(SameBytes(expected, destination));
}

// Two columns of drift per row pair leave a plane without padding; nothing is read or written behind it.
TEST(GroundGlassTest, DriftStaysInThePlanes) {
  for (const bool bottomUp : {false, true}) {
    Picture source({kYuv420p, 5, 41, {}, {bottomUp, bottomUp, bottomUp}}, 1);
    for (int plane = 0; plane < 3; ++plane) source.Fill(plane, 77);
    Picture destination(source.Shape(), 2);
    const Picture before = destination;
    std::srand(1);
    RenderAll("Ground Glass", destination, source, Params(1.0).get());
    for (int plane = 0; plane < 3; ++plane) {
      const int columns = source.RowBytes(plane);
      const int rows = source.Rows(plane);
      // Downwards the walk reaches every sample. Upwards it gains a line on the rows again and again and ends early.
      const int written = !bottomUp ? rows : plane == 0 ? 33 : 14;
      for (int row = 0; row < written; ++row)
        EXPECT_EQ(destination.Row(plane, row), Row(static_cast<std::size_t>(columns), 77)) << plane << ", row " << row;
      for (int row = written + 1; row < rows; ++row) EXPECT_EQ(destination.Row(plane, row), before.Row(plane, row));
      for (int distance = 0; distance < 6; ++distance)
        for (const int fence : {-1 - distance, rows + distance})
          EXPECT_EQ(destination.Row(plane, fence), before.Row(plane, fence)) << plane << ", row " << fence;
    }
  }
}

TEST(GroundGlassTest, AlphaPlaneStandsStillOverWholeBand) {
  Picture source({kYuva420p, 8, 8, {0, 0, 0, 6}, {}}, 1);
  Picture destination({kYuva420p, 8, 8, {0, 0, 0, 3}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 0, 2, 8, 8);
  CopyRows(expected, source, 1, 1, 4, 4);
  CopyRows(expected, source, 2, 1, 4, 4);
  CopyRows(expected, source, 3, 2, 8, 11);
  std::srand(1);
  Render("Ground Glass", destination, source, Params(1.0).get(), 2, 6);
  EXPECT_TRUE(SameBytes(expected, destination));
  Render("Ground Glass", destination, source, Params(1.0).get(), 0, 0);
  Render("Ground Glass", destination, source, Params(1.0).get(), 0, -3);
  EXPECT_TRUE(SameBytes(expected, destination)) << "no rows, no alpha";
}

TEST(GroundGlassTest, UnlistedFormatsAreLeftAlone) {
  for (const int code : {kYuyv422, kBgr24, kArgb}) {
    Picture source({code, 8, 8, {}, {}}, 1);
    Picture destination({code, 8, 8, {}, {}}, 2);
    const Picture before = destination;
    RenderAll("Ground Glass", destination, source, Params(2.0).get());
    EXPECT_TRUE(SameBytes(before, destination)) << code;
  }
}

}  // namespace

}  // namespace norix::test
