// The gray tables: who fills them, with what, and the conversion that reads them.

#include <NorixEngine/NorixEngine.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include "FilterEffect/common/Gray.h"
#include "Proposals.h"

namespace {

using namespace norix::test;

// The tables are part of the process; every test starts with those of a library that was just loaded.
class Gray : public testing::Test {
protected:
  Gray() { Clear(); }
  ~Gray() override { Clear(); }

  static void Clear() {
    for (auto* table : {g_table_r, g_table_g, g_table_b}) std::fill_n(table, 256, 0U);
  }
  static bool AllZero() {
    return std::all_of(std::begin(kTables), std::end(kTables), [](const std::uint32_t* table) {
      return std::all_of(table, table + 256, [](std::uint32_t weight) { return weight == 0; });
    });
  }
  static bool Filled() {
    for (std::uint32_t i = 0; i < 256; ++i) {
      if (g_table_r[i] != i * 306 / 1024 || g_table_g[i] != i * 601 / 1024 || g_table_b[i] != i * 117 / 1024) return false;
    }
    return true;
  }

private:
  static constexpr std::uint32_t* kTables[] = {g_table_r, g_table_g, g_table_b};
};

using GrayTables = Gray;
using Rgb2Gray = Gray;

TEST_F(GrayTables, HoldTheseWeights) {
  ASSERT_TRUE(AllZero());
  InitRGB2GrayTable();
  EXPECT_TRUE(Filled());
  EXPECT_EQ(g_table_r[0], 0U);
  EXPECT_EQ(g_table_r[3], 0U);  // 918 / 1024
  EXPECT_EQ(g_table_r[4], 1U);
  EXPECT_EQ(g_table_r[128], 38U);
  EXPECT_EQ(g_table_r[255], 76U);
  EXPECT_EQ(g_table_g[1], 0U);
  EXPECT_EQ(g_table_g[2], 1U);
  EXPECT_EQ(g_table_g[128], 75U);
  EXPECT_EQ(g_table_g[255], 149U);
  EXPECT_EQ(g_table_b[8], 0U);  // 936 / 1024
  EXPECT_EQ(g_table_b[9], 1U);
  EXPECT_EQ(g_table_b[128], 14U);
  EXPECT_EQ(g_table_b[255], 29U);
}

TEST_F(GrayTables, AreFilledOnce) {
  InitRGB2GrayTable();
  g_table_r[7] = g_table_g[8] = g_table_b[9] = 4711;
  InitRGB2GrayTable();
  EXPECT_EQ(g_table_r[7], 4711U);
  EXPECT_EQ(g_table_g[8], 4711U);
  EXPECT_EQ(g_table_b[9], 4711U);
}

// Whether the tables are there is told by the last red weight alone.
TEST_F(GrayTables, AreFilledWhenTheLastRedWeightIsMissing) {
  InitRGB2GrayTable();
  g_table_r[255] = 0;
  g_table_g[8] = 4711;
  InitRGB2GrayTable();
  EXPECT_TRUE(Filled());
}

TEST_F(GrayTables, StayAsTheyAreWhenTheLastRedWeightIsThere) {
  g_table_r[255] = 1;
  InitRGB2GrayTable();
  EXPECT_EQ(g_table_r[254], 0U);
  EXPECT_EQ(g_table_r[255], 1U);
  EXPECT_EQ(g_table_g[255], 0U);
}

TEST_F(GrayTables, AreFilledBySketchWhateverIsProposed) {
  for (const int proposed : kProposals) {
    Clear();
    filter_check_format("Sketch", proposed);
    EXPECT_TRUE(Filled()) << "proposed " << proposed;
  }
}

TEST_F(GrayTables, AreFilledByFocusColorOnlyWhenBgraIsProposed) {
  for (const int proposed : kProposals) {
    Clear();
    filter_check_format("Focus Color", proposed);
    if (proposed == kBgra) {
      EXPECT_TRUE(Filled());
    } else {
      EXPECT_TRUE(AllZero()) << "proposed " << proposed;
    }
  }
}

TEST_F(GrayTables, AreFilledByNobodyElse) {
  for (const char* name :
       {"Ground Glass", "Swirl", "Vignette", "Emboss", "Comicbook", "Pinch", "Bulge", "Stretch", "Zoom Blur", "Motion Blur",
        "Ripple", "Mirror Move X", "Mirror Move Y", "Tile Scale", "sketch", "focus color", ""}) {
    for (const int proposed : kProposals) filter_check_format(name, proposed);
    EXPECT_TRUE(AllZero()) << name;
  }
  FilterParams* params = nullptr;
  int size = 0;
  GetParamBuffer("Sketch", 5000, &params, &size);
  GetParamBuffer("Focus Color", 5000, &params, &size);
  ReleaseParamBuffer(params);
  EXPECT_TRUE(AllZero());
}

constexpr int kRedFirst = 1;
constexpr int kBlueFirst = 0;

int GrayOf(std::array<unsigned char, 3> pixel, int order) {
  unsigned char gray = 77;
  RGB2Gray(&gray, pixel.data(), 1, 1, 0, 3, order);
  return gray;
}

TEST_F(Rgb2Gray, GivesTheseNumbers) {
  InitRGB2GrayTable();
  EXPECT_EQ(GrayOf({0, 0, 0}, kRedFirst), 0);
  EXPECT_EQ(GrayOf({255, 255, 255}, kRedFirst), 254);
  EXPECT_EQ(GrayOf({255, 255, 255}, kBlueFirst), 254);
  EXPECT_EQ(GrayOf({255, 0, 0}, kRedFirst), 76);
  EXPECT_EQ(GrayOf({0, 255, 0}, kRedFirst), 149);
  EXPECT_EQ(GrayOf({0, 0, 255}, kRedFirst), 29);
  EXPECT_EQ(GrayOf({255, 0, 0}, kBlueFirst), 29);
  EXPECT_EQ(GrayOf({0, 255, 0}, kBlueFirst), 149);
  EXPECT_EQ(GrayOf({0, 0, 255}, kBlueFirst), 76);
  EXPECT_EQ(GrayOf({128, 128, 128}, kRedFirst), 38 + 75 + 14);
}

TEST_F(Rgb2Gray, SumsTheWeightsOfEveryValue) {
  InitRGB2GrayTable();
  for (int value = 0; value < 256; ++value) {
    const auto byte = static_cast<unsigned char>(value);
    const auto other = static_cast<unsigned char>(255 - value);
    ASSERT_EQ(GrayOf({byte, other, 3}, kRedFirst), value * 306 / 1024 + (255 - value) * 601 / 1024 + 3 * 117 / 1024);
    ASSERT_EQ(GrayOf({byte, 200, other}, kBlueFirst), value * 117 / 1024 + 200 * 601 / 1024 + (255 - value) * 306 / 1024);
  }
}

TEST_F(Rgb2Gray, WritesNothingForAnyOtherOrder) {
  InitRGB2GrayTable();
  for (const int order : {2, -1, 3, 256, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_EQ(GrayOf({255, 255, 255}, order), 77) << "order " << order;
  }
}

TEST_F(Rgb2Gray, PacksRowsBackToBackAndSkipsPadding) {
  InitRGB2GrayTable();
  // Two rows of two 4-byte pixels; the fourth byte and three bytes after each row do not count.
  std::vector<unsigned char> src = {255, 0, 0,   99, 0,   255, 0,   99, 99, 99, 99,  //
                                    0,   0, 255, 99, 255, 255, 255, 99, 99, 99, 99};
  std::vector<unsigned char> gray(6, 77);
  RGB2Gray(gray.data() + 1, src.data(), 2, 2, 3, 4, kRedFirst);
  EXPECT_THAT(gray, testing::ElementsAre(77, 76, 149, 29, 254, 77));
}

TEST_F(Rgb2Gray, ReadsBottomUpRows) {
  InitRGB2GrayTable();
  std::vector<unsigned char> src = {255, 0, 0, 0, 255, 0};
  std::vector<unsigned char> gray(2, 77);
  RGB2Gray(gray.data(), src.data() + 3, 1, 2, -3 - 3, 3, kRedFirst);
  EXPECT_THAT(gray, testing::ElementsAre(149, 76));
}

TEST_F(Rgb2Gray, WritesNothingOfAnEmptyBlock) {
  InitRGB2GrayTable();
  constexpr int kMin = std::numeric_limits<int>::min();
  for (const auto& [width, height] : {std::array{0, 1}, {-1, 1}, {kMin, 1}, {1, 0}, {1, -1}, {1, kMin}, {-1, -1}}) {
    std::vector<unsigned char> src(12, 255);
    std::vector<unsigned char> gray(4, 77);
    RGB2Gray(gray.data(), src.data(), width, height, 0, 3, kRedFirst);
    EXPECT_THAT(gray, testing::Each(77)) << width << " x " << height;
  }
}

// Without the negotiation there are no weights and everything is black.
TEST_F(Rgb2Gray, IsBlackBeforeTheTablesAreFilled) { EXPECT_EQ(GrayOf({255, 255, 255}, kRedFirst), 0); }

}  // namespace
