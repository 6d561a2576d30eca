// norix bench: what it measures differs from run to run, what it says it measured does not.

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::HasSubstr;

class BenchTest : public HostTest {
protected:
  static nlohmann::json Bench(Words arguments) {
    arguments.insert(arguments.begin(), {"bench", "--json", "--seconds", "0.001", "--size", "48x32"});
    const Ending ending = Norix(arguments);
    ExpectDone(ending);
    return nlohmann::json::parse(ending.out);
  }

  static void ExpectRefusal(const Words& arguments, const Words& told) {
    Words words = {"bench", "--seconds", "0.001"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const Ending ending = Norix(words);
    EXPECT_EQ(ending.code, 2);
    EXPECT_EQ(ending.out, "");
    for (const std::string& text : told) EXPECT_THAT(ending.err, HasSubstr(text));
  }
};

TEST_F(BenchTest, TimesEveryEffectThatRenders) {
  const Ending list = Norix({"list", "--json"});
  Words rendered;
  const nlohmann::json listed = nlohmann::json::parse(list.out);
  for (const nlohmann::json& effect : listed.at("effects")) {
    if (effect.at("renders").get<bool>()) rendered.push_back(effect.at("name").get<std::string>());
  }
  Words timed;
  const nlohmann::json table = Bench({});
  for (const nlohmann::json& row : table.at("effects")) {
    timed.push_back(row.at("name").get<std::string>());
    EXPECT_GT(row.at("milliseconds").get<double>(), 0.0);
    EXPECT_GT(row.at("copy_milliseconds").get<double>(), 0.0);
  }
  EXPECT_EQ(timed, rendered);
}

TEST_F(BenchTest, UsesWhatItIsTold) {
  const nlohmann::json made =
      Bench({"--effect", "Swirl", "--effect", "Sketch", "--format", "rgb24", "--target", "SCALAR", "--level", "7000"});
  EXPECT_EQ(made.at("width"), 48);
  EXPECT_EQ(made.at("height"), 32);
  EXPECT_EQ(made.at("target"), "SCALAR");
  EXPECT_EQ(made.at("level"), 7000);
  ASSERT_EQ(made.at("effects").size(), 2U);
  EXPECT_EQ(made.at("effects")[0].at("format"), "rgb24");
  EXPECT_EQ(made.at("effects")[1].at("format"), "yuv420p") << "the engine answers this format for Sketch";
}

TEST_F(BenchTest, PrintsATable) {
  const Ending ending = Norix({"bench", "--seconds", "0.001", "--size", "48x32", "--effect", "Comicbook"});
  ExpectDone(ending);
  EXPECT_THAT(ending.out, testing::StartsWith("48x32, level 5000, "));
  EXPECT_THAT(ending.out, HasSubstr("x copy"));
  EXPECT_THAT(ending.out, HasSubstr("\nComicbook      bgra "));
}

TEST_F(BenchTest, SaysWhatIsWrong) {
  ExpectRefusal({"--effect", "Swirly"}, {"Swirly", "Swirl"});
  ExpectRefusal({"--effect", "Stretch"}, {"Stretch", "does not render"});
  ExpectRefusal({"--size", "1920"}, {"--size 1920", "1920x1080"});
  ExpectRefusal({"--size", "0x5"}, {"--size 0x5"});
  ExpectRefusal({"--format", "nonsense"}, {"nonsense", "yuv420p"});
  ExpectRefusal({"--target", "MMX"}, {"MMX", "SCALAR"});
  ExpectRefusal({"--level", "10001"}, {"--level"});
}

}  // namespace

}  // namespace norix::test
