#include <NorixEngine/NorixEngine.h>
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ListTest : public HostTest {
protected:
  static nlohmann::json List() {
    const Ending ending = Norix({"list", "--json"});
    ExpectDone(ending);
    return nlohmann::json::parse(ending.out);
  }

  static nlohmann::json Effect(const nlohmann::json& list, const std::string& name) {
    for (const nlohmann::json& effect : list.at("effects")) {
      if (effect.at("name") == name) return effect;
    }
    ADD_FAILURE() << "no effect " << name;
    return nullptr;
  }

  static Words EngineNames() {
    Words names;
    for (const char** name = NorixGetInfo(); *name; ++name) names.emplace_back(*name);
    return names;
  }
};

TEST_F(ListTest, NamesAllEffectsInTheOrderOfTheEngine) {
  Words names;
  const nlohmann::json list = List();
  for (const nlohmann::json& effect : list.at("effects")) names.push_back(effect.at("name").get<std::string>());
  EXPECT_EQ(names.size(), 16U);
  EXPECT_EQ(names, EngineNames());
}

TEST_F(ListTest, NamesAllGroups) {
  Words names;
  const nlohmann::json list = List();
  for (const nlohmann::json& group : list.at("groups")) names.push_back(group.at("name").get<std::string>());
  EXPECT_THAT(names, ElementsAre("Mirror Scale Blur", "Flip Roll Up", "Flip Roll Down", "Flip Roll Left", "Flip Roll Right",
                                 "Blurry Roll Down", "Blurry Roll Left", "Blurry Cross Right Up", "Tile Zoom Blur",
                                 "Tile Zoom Blur 1"));
}

TEST_F(ListTest, GivesFieldsWithTheirDefaults) {
  const auto fields = [list = List()](const std::string& name) {
    std::map<std::string, double> values;
    const nlohmann::json effect = Effect(list, name);
    for (const nlohmann::json& field : effect.at("fields")) {
      values[field.at("name").get<std::string>()] = field.at("default").get<double>();
    }
    return values;
  };
  using Fields = std::map<std::string, double>;
  EXPECT_EQ(fields("Swirl"), (Fields{{"centerX", 0.5}, {"centerY", 0.5}, {"radius", 1}, {"angle", 180}}));
  EXPECT_EQ(fields("Vignette"), (Fields{{"centerX", 0.5}, {"centerY", 0.5}, {"innerRadius", 0.3}, {"outerRadius", 0.75}}));
  EXPECT_EQ(fields("Mirror Move X"), (Fields{{"offset", 0}}));
  EXPECT_EQ(fields("Comicbook"), Fields());
}

TEST_F(ListTest, GivesFormatsThatTheEngineTakes) {
  const nlohmann::json list = List();
  EXPECT_EQ(Effect(list, "Swirl").at("formats"), nlohmann::json({"yuv420p", "rgb24", "bgra"}));
  EXPECT_EQ(Effect(list, "Sketch").at("formats"), nlohmann::json({"yuv420p"}));
  EXPECT_EQ(Effect(list, "Comicbook").at("formats"), nlohmann::json({"bgra"}));
}

TEST_F(ListTest, RendersExactlyWhatItSaysItRenders) {
  MakeSilentClip("clip.mkv", 32, 24, 2);
  int rendering = 0;
  const nlohmann::json list = List();
  for (const nlohmann::json& effect : list.at("effects")) {
    const auto name = effect.at("name").get<std::string>();
    const Ending ending = Render("clip.mkv", "out.mkv", {"--effect", name, "-y"});
    EXPECT_EQ(ending.code, effect.at("renders").get<bool>() ? 0 : 2) << name << ": " << ending.err;
    rendering += effect.at("renders").get<bool>() ? 1 : 0;
  }
  EXPECT_GE(rendering, 3);
  EXPECT_FALSE(Effect(list, "Stretch").at("renders").get<bool>());
}

TEST_F(ListTest, TextHoldsWhatJsonHolds) {
  const Ending text = Norix({"list"});
  ExpectDone(text);
  const nlohmann::json list = List();
  for (const char* kind : {"effects", "groups"}) {
    for (const nlohmann::json& each : list.at(kind)) {
      EXPECT_THAT(text.out, HasSubstr('\n' + each.at("name").get<std::string>() + ':'));
    }
  }
  for (const nlohmann::json& effect : list.at("effects")) {
    if (!effect.at("renders").get<bool>()) continue;
    for (const nlohmann::json& field : effect.at("fields")) {
      EXPECT_THAT(text.out, HasSubstr(field.at("name").get<std::string>()));
      EXPECT_THAT(text.out, HasSubstr(field.at("meaning").get<std::string>()));
    }
  }
  EXPECT_EQ(text.err, "");
}

TEST_F(ListTest, HelpAndVersionGoToStdout) {
  for (const Words& words : {Words{"--help"}, Words{"render", "--help"}, Words{"list", "--help"}, Words{"--version"}}) {
    const Ending ending = Norix(words);
    EXPECT_EQ(ending.code, 0);
    EXPECT_THAT(ending.out, HasSubstr("norix"));
    EXPECT_EQ(ending.err, "");
  }
}

}  // namespace

}  // namespace norix::test
