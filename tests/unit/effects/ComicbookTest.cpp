#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

#include <vector>

#include "Render.h"

namespace norix::test {

namespace {

using Row = std::vector<int>;

constexpr int kFourBytes[] = {kBgra, kRgba, kRgb0, kBgr0};

/** What becomes of one pixel's first three bytes; the fourth has to stay as the destination had it. */
Row Pixel(int code, const Row& bytes) {
  Picture source({code, 1, 1, {}, {}}, 1);
  Picture destination({code, 1, 1, {}, {}}, 2);
  source.SetRow(0, 0, {bytes[0], bytes[1], bytes[2], 99});
  destination.SetRow(0, 0, {1, 2, 3, 42});
  RenderAll("Comicbook", destination, source, nullptr);
  EXPECT_EQ(destination.At(0, 0, 3), 42);
  return {destination.At(0, 0, 0), destination.At(0, 0, 1), destination.At(0, 0, 2)};
}

TEST(ComicbookTest, RecoloursByTheOrderInMemory) {
  for (const int code : kFourBytes) {
    SCOPED_TRACE(FormatOf(code).name);
    EXPECT_EQ(Pixel(code, {0, 0, 0}), (Row{0, 0, 0}));
    EXPECT_EQ(Pixel(code, {255, 255, 255}), (Row{255, 255, 255})) << "510 x 255 >> 8 is 508";
    EXPECT_EQ(Pixel(code, {100, 50, 0}), (Row{29, 0, 0})) << "150 x 50 >> 8";
    EXPECT_EQ(Pixel(code, {0, 100, 0}), (Row{39, 0, 0})) << "-100 counts as 100";
    EXPECT_EQ(Pixel(code, {0, 0, 200}), (Row{0, 156, 156})) << "200 x 200 >> 8 twice";
    // |2 x 10 - 200 + 90| is 90, |90 - 10 + 400| is 480.
    EXPECT_EQ(Pixel(code, {10, 200, 90}), (Row{70, 31, 168}));
    // |90 - 200 + 0| is 110 for the third byte.
    EXPECT_EQ(Pixel(code, {200, 0, 90}), (Row{0, 172, 38}));
  }
}

TEST(ComicbookTest, WritesItsBandOnly) {
  Picture source({kBgra, 6, 8, {4}, {}}, 1);
  Picture destination({kBgra, 6, 8, {4}, {}}, 2);
  Picture expected = destination;
  for (int row = 0; row < 8; ++row) source.SetRow(0, row, Row(24, 16 * row));
  // d is twice the value and so is e.
  for (int row = 3; row < 6; ++row)
    for (int x = 0; x < 6; ++x)
      for (int i = 0; i < 3; ++i) expected.At(0, row, x * 4 + i) = static_cast<std::uint8_t>(2 * row * row);
  Render("Comicbook", destination, source, nullptr, 3, 3);
  EXPECT_TRUE(SameBytes(expected, destination));
  Render("Comicbook", destination, source, nullptr, 0, 0);
  Render("Comicbook", destination, source, nullptr, 0, -1);
  EXPECT_TRUE(SameBytes(expected, destination));
}

// Rows of the destination lie as far apart as the source's.
TEST(ComicbookTest, StepsTheDestinationByTheSourcesLines) {
  Picture source({kBgra, 2, 4, {8}, {}}, 1);
  source.Fill(0, 16);  // becomes 2
  Picture destination({kBgra, 2, 4, {}, {}}, 2);
  destination.Fill(0, 70);
  Picture expected = destination;
  const auto set = [&](int row) { expected.SetRow(0, row, {2, 2, 2, 70, 2, 2, 2, 70}); };
  set(0);
  set(2);  // rows 2 and 3 of the band would come to lie behind the plane
  RenderAll("Comicbook", destination, source, nullptr);
  EXPECT_TRUE(SameBytes(expected, destination));

  set(3);
  Render("Comicbook", destination, source, nullptr, 3, 1);
  EXPECT_TRUE(SameBytes(expected, destination)) << "a band begins at its own row in both";

  Picture widerThanSource({kBgra, 2, 4, {4}, {}}, 2);
  Picture narrow({kBgra, 2, 4, {}, {}}, 1);
  narrow.Fill(0, 16);
  widerThanSource.Fill(0, 70);
  expected.Fill(0, 70);
  Picture shifted = widerThanSource;
  // Pixels of 4 bytes, three to the line: 0 1 - / 2 3 - becomes 0 1 2 / 3 4 5 / 6 7.
  for (const int byte : {0, 4, 8, 12, 16, 20, 24, 28})
    for (int i = 0; i < 3; ++i) shifted.At(0, 0, byte + i) = 2;
  RenderAll("Comicbook", widerThanSource, narrow, nullptr);
  EXPECT_TRUE(SameBytes(shifted, widerThanSource));
}

TEST(ComicbookTest, BottomUpAgainstTopDownLeavesThePlaneAtOnce) {
  Picture source({kBgra, 2, 4, {}, {true}}, 1);
  source.Fill(0, 16);
  Picture destination({kBgra, 2, 4, {}, {}}, 2);
  destination.Fill(0, 70);
  Picture expected = destination;
  expected.SetRow(0, 0, {2, 2, 2, 70, 2, 2, 2, 70});
  RenderAll("Comicbook", destination, source, nullptr);
  EXPECT_TRUE(SameBytes(expected, destination)) << "the second row would lie before the first";
}

TEST(ComicbookTest, OtherFormatsAreLeftAlone) {
  for (const int code : {kYuv420p, kYuva420p, kRgb24, kBgr24, kYuyv422, kArgb}) {
    Picture source({code, 8, 8, {}, {}}, 1);
    Picture destination({code, 8, 8, {}, {}}, 2);
    const Picture before = destination;
    RenderAll("Comicbook", destination, source, nullptr);
    EXPECT_TRUE(SameBytes(before, destination)) << code;
  }
}

TEST(StretchTest, IsListedAndNeverRenders) {
  for (const Format& format : AllFormats()) {
    Picture source({format.code, 8, 8, {}, {}}, 1);
    Picture destination({format.code, 8, 8, {}, {}}, 2);
    const Picture before = destination;
    EXPECT_EQ(filter_video_frame(destination.Frame(), source.Frame(), "Stretch", nullptr, 0, 0, 8), -1);
    EXPECT_TRUE(SameBytes(before, destination)) << format.name;
  }
  EXPECT_EQ(filter_check_format("Stretch", kYuv420p), kYuv420p);
  EXPECT_EQ(filter_check_format("Stretch", kRgb24), kBgra);
}

}  // namespace

}  // namespace norix::test
