// The list of effects and the negotiation of pixel formats.

#include <NorixEngine/NorixEngine.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Proposals.h"

namespace {

using namespace norix::test;

TEST(EffectList, HasSixteenNamesInOrderAndANullAtItsEnd) {
  const char** names = NorixGetInfo();
  std::vector<std::string> listed;
  for (int i = 0; i < 16; ++i) {
    ASSERT_NE(names[i], nullptr) << "entry " << i;
    listed.emplace_back(names[i]);
  }
  EXPECT_EQ(names[16], nullptr);
  EXPECT_THAT(listed, testing::ElementsAre("Ground Glass", "Swirl", "Vignette", "Emboss", "Sketch", "Comicbook", "Pinch",
                                           "Bulge", "Stretch", "Zoom Blur", "Motion Blur", "Ripple", "Focus Color",
                                           "Mirror Move X", "Mirror Move Y", "Tile Scale"));
}

TEST(EffectList, IsTheSameArrayOnEveryCall) { EXPECT_EQ(NorixGetInfo(), NorixGetInfo()); }

// Answers of an effect to kProposals (YUV420P, RGB24, BGR24, RGBA, BGRA, YUVA420P, RGB0, BGR0, then four that no effect
// knows), one letter each: Y is YUV420P, R is RGB24, B is BGRA.
struct Answers {
  const char* name;
  const char* letters;
};

std::string NameWithoutSpaces(const testing::TestParamInfo<Answers>& effect) {
  std::string name = effect.param.name;
  std::erase(name, ' ');
  return name;
}

class Negotiation : public testing::TestWithParam<Answers> {};

TEST_P(Negotiation, AnswersEveryProposal) {
  const std::string letters = GetParam().letters;
  ASSERT_EQ(letters.size(), kProposals.size());
  for (std::size_t i = 0; i < kProposals.size(); ++i) {
    const int expected = letters[i] == 'Y' ? kYuv420p : letters[i] == 'R' ? kRgb24 : kBgra;
    EXPECT_EQ(filter_check_format(GetParam().name, kProposals[i]), expected) << "proposed " << kProposals[i];
  }
}

INSTANTIATE_TEST_SUITE_P(Effects, Negotiation,
                         testing::Values(Answers{"Ground Glass", "YRBBBBBBBBBB"}, Answers{"Swirl", "YRBBBBBBBBBB"},
                                         Answers{"Vignette", "YRBBBBBBBBBB"}, Answers{"Emboss", "YRBBBBBBBBBB"},
                                         Answers{"Sketch", "YYYYYYYYYYYY"}, Answers{"Comicbook", "YBBBBBBBBBBB"},
                                         Answers{"Pinch", "YRBBBBBBBBBB"}, Answers{"Bulge", "YRBBBBBBBBBB"},
                                         Answers{"Stretch", "YBBBBBBBBBBB"}, Answers{"Zoom Blur", "YRBBBBBBBBBB"},
                                         Answers{"Motion Blur", "YRBBBBBBBBBB"}, Answers{"Ripple", "YRBBBBBBBBBB"},
                                         Answers{"Focus Color", "YBBBBBBBBBBB"}, Answers{"Mirror Move X", "YRBBBBBBBBBB"},
                                         Answers{"Mirror Move Y", "YRBBBBBBBBBB"}, Answers{"Tile Scale", "YRBBBBBBBBBB"}),
                         NameWithoutSpaces);

TEST(Negotiation, AnswersMinusOneForNamesThatAreNotListed) {
  for (const char* name : {"", "swirl", "SWIRL", "Swirl ", " Swirl", "Swir", "MirrorMoveX", "mirror move x", "Mirror Move",
                           "Tile", "sketch", "focus color", "FocusColor", "Mirror Scale Blur", "Flip Roll Up", "null"}) {
    for (const int proposed : kProposals) EXPECT_EQ(filter_check_format(name, proposed), -1) << '"' << name << '"';
  }
}

TEST(Negotiation, AnswersMinusOneForEveryListedNameInTheWrongCase) {
  for (const char** name = NorixGetInfo(); *name; ++name) {
    std::string other = *name;
    other[0] = static_cast<char>(other[0] - 'A' + 'a');
    EXPECT_EQ(filter_check_format(other.c_str(), kYuv420p), -1) << other;
    EXPECT_EQ(filter_check_format(other.c_str(), kBgra), -1) << other;
  }
}

#ifdef NORIX_CLASSIC_PIXEL_CODES
TEST(Negotiation, SpeaksTheClassicNumbers) {
  EXPECT_EQ(filter_check_format("Swirl", 0), 0);
  EXPECT_EQ(filter_check_format("Swirl", 2), 2);
  EXPECT_EQ(filter_check_format("Swirl", 28), 30);
  EXPECT_EQ(filter_check_format("Swirl", 30), 30);
  EXPECT_EQ(filter_check_format("Swirl", -1), 30);
  EXPECT_EQ(filter_check_format("Sketch", 30), 0);
}
#endif

}  // namespace
