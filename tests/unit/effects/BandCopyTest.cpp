// The band copy that effects fall back to, reached through null parameters.

#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

#include <string>

#include "Render.h"

namespace norix::test {

namespace {

constexpr const char* kEffects[] = {"Swirl", "Zoom Blur", "Mirror Move X"};

class BandCopyTest : public testing::TestWithParam<const char*> {};

TEST_P(BandCopyTest, NoRowsNoCopy) {
  for (const Format& format : RenderedFormats())
    for (const int rowCount : {0, -1, -2, -7}) {
      Picture source({format.code, 10, 8, {}, {}}, 1);
      Picture destination({format.code, 10, 8, {}, {}}, 2);
      const Picture before = destination;
      Render(GetParam(), destination, source, nullptr, 2, rowCount);
      EXPECT_TRUE(SameBytes(before, destination)) << format.name << ", " << rowCount << " rows";
    }
}

TEST_P(BandCopyTest, NegativeFirstRowIsUsedUnchanged) {
  // The fences hold the rows above the picture. Halves go toward zero: -1 / 2 is 0, -2 / 2 is -1.
  const struct {
    int firstRow;
    int chromaFirstRow;
  } cases[] = {{-2, 0}, {-3, -1}};
  for (const auto& band : cases) {
    Picture source({kYuv420p, 10, 8, {}, {}}, 3);
    Picture destination({kYuv420p, 10, 8, {}, {}}, 4);
    Picture expected = destination;
    CopyRows(expected, source, 0, band.firstRow, band.firstRow + 4, 10);
    CopyRows(expected, source, 1, band.chromaFirstRow, band.chromaFirstRow + 2, 5);
    CopyRows(expected, source, 2, band.chromaFirstRow, band.chromaFirstRow + 2, 5);
    Render(GetParam(), destination, source, nullptr, band.firstRow, 4);
    EXPECT_TRUE(SameBytes(expected, destination)) << band.firstRow;
  }
}

TEST_P(BandCopyTest, OddBandOfPlanarPicture) {
  Picture source({kYuv420p, 10, 12, {}, {}}, 5);
  Picture destination({kYuv420p, 10, 12, {}, {}}, 6);
  Picture expected = destination;
  CopyRows(expected, source, 0, 5, 8, 10);
  CopyRows(expected, source, 1, 3, 5, 5);
  CopyRows(expected, source, 2, 3, 5, 5);
  Render(GetParam(), destination, source, nullptr, 5, 3);
  EXPECT_TRUE(SameBytes(expected, destination));
}

TEST_P(BandCopyTest, AlphaPlaneIsCopiedOverChromaRows) {
  Picture source({kYuva420p, 10, 8, {}, {}}, 7);
  Picture destination({kYuva420p, 10, 8, {}, {}}, 8);
  Picture expected = destination;
  CopyRows(expected, source, 0, 0, 8, 10);
  CopyRows(expected, source, 1, 0, 4, 5);
  CopyRows(expected, source, 2, 0, 4, 5);
  CopyRows(expected, source, 3, 0, 4, 10);
  RenderAll(GetParam(), destination, source, nullptr);
  EXPECT_TRUE(SameBytes(expected, destination));
}

TEST_P(BandCopyTest, UnknownFormatsAreLeftAlone) {
  for (const int code : {kYuyv422, kBgr24, kArgb}) {
    Picture source({code, 10, 8, {}, {}}, 9);
    Picture destination({code, 10, 8, {}, {}}, 10);
    const Picture before = destination;
    RenderAll(GetParam(), destination, source, nullptr);
    EXPECT_TRUE(SameBytes(before, destination)) << code;
  }
}

TEST_P(BandCopyTest, ShorterLineDecidesLength) {
  for (const bool srcBottomUp : {false, true})
    for (const bool dstBottomUp : {false, true})
      for (const bool shorterDestination : {false, true}) {
        Picture source({kBgra, 24, 6, {shorterDestination ? 24 : 4}, {srcBottomUp}}, 11);
        Picture destination({kBgra, 24, 6, {shorterDestination ? 4 : 24}, {dstBottomUp}}, 12);
        ASSERT_EQ(std::abs(source.Frame()->linesize[0]), shorterDestination ? 120 : 100);
        ASSERT_EQ(std::abs(destination.Frame()->linesize[0]), shorterDestination ? 100 : 120);
        Picture expected = destination;
        CopyRows(expected, source, 0, 1, 5, 100);
        Render(GetParam(), destination, source, nullptr, 1, 4);
        EXPECT_TRUE(SameBytes(expected, destination));
      }
}

TEST_P(BandCopyTest, AllPackedFormatsAreCopiedWhole) {
  for (const int code : {kRgb24, kBgra, kRgba, kRgb0, kBgr0}) {
    Picture source({code, 7, 5, {2}, {}}, 13);
    Picture destination({code, 7, 5, {3}, {}}, 14);
    Picture expected = destination;
    CopyRows(expected, source, 0, 0, 5, 7 * FormatOf(code).bytesPerPixel + 2);
    RenderAll(GetParam(), destination, source, nullptr);
    EXPECT_TRUE(SameBytes(expected, destination)) << FormatOf(code).name;
  }
}

INSTANTIATE_TEST_SUITE_P(All, BandCopyTest, testing::ValuesIn(kEffects), [](const auto& tested) {
  std::string name = tested.param;
  std::erase(name, ' ');
  return name;
});

}  // namespace

}  // namespace norix::test
