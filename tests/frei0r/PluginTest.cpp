// The plug-ins loaded by hand: what they say of themselves, every size and value a host may send, and their pictures.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "frei0r/PluginCases.h"

#pragma GCC visibility push(default)
extern "C" {
#include <frei0r.h>
}
#pragma GCC visibility pop

namespace norix::test {

namespace {

class Plugin {
public:
  explicit Plugin(const std::string& file) : handle_(dlopen(PluginPath(file).c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (!handle_) throw std::runtime_error(dlerror());
    EXPECT_EQ(Function<decltype(f0r_init)>("f0r_init")(), 1);
  }
  Plugin(const Plugin&) = delete;
  Plugin& operator=(const Plugin&) = delete;
  ~Plugin() {
    Function<decltype(f0r_deinit)>("f0r_deinit")();
    dlclose(handle_);
  }

  template <class Type>
  Type* Function(const char* name) const {
    auto* found = reinterpret_cast<Type*>(dlsym(handle_, name));
    if (!found) throw std::runtime_error(std::string("no ") + name);
    return found;
  }

  f0r_plugin_info_t Info() const {
    f0r_plugin_info_t info = {};
    Function<decltype(f0r_get_plugin_info)>("f0r_get_plugin_info")(&info);
    return info;
  }

  f0r_param_info_t ParamInfo(int index) const {
    f0r_param_info_t info = {};
    Function<decltype(f0r_get_param_info)>("f0r_get_param_info")(&info, index);
    return info;
  }

private:
  void* handle_;
};

class Instance {
public:
  Instance(const Plugin& plugin, unsigned width, unsigned height)
      : plugin_(plugin), instance_(plugin.Function<decltype(f0r_construct)>("f0r_construct")(width, height)) {}
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;
  ~Instance() {
    if (instance_) plugin_.Function<decltype(f0r_destruct)>("f0r_destruct")(instance_);
  }

  bool IsThere() const { return instance_ != nullptr; }

  void Set(int index, double value) {
    plugin_.Function<decltype(f0r_set_param_value)>("f0r_set_param_value")(instance_, &value, index);
  }

  double Get(int index) const {
    double value = -1;
    plugin_.Function<decltype(f0r_get_param_value)>("f0r_get_param_value")(instance_, &value, index);
    return value;
  }

  std::string Update(const std::string& frame, double time = 0) const {
    std::vector<std::uint32_t> from = Words(frame);
    std::vector<std::uint32_t> to(from.size(), 0xDEADBEEF);
    plugin_.Function<decltype(f0r_update)>("f0r_update")(instance_, time, from.data(), to.data());
    return Bytes(to);
  }

  std::string Mix(const std::string& first, const std::string& second) const {
    std::vector<std::uint32_t> a = Words(first);
    std::vector<std::uint32_t> b = Words(second);
    std::vector<std::uint32_t> to(a.size(), 0xDEADBEEF);
    plugin_.Function<decltype(f0r_update2)>("f0r_update2")(instance_, 0, a.data(), b.data(), nullptr, to.data());
    return Bytes(to);
  }

private:
  static std::vector<std::uint32_t> Words(const std::string& frame) {
    std::vector<std::uint32_t> words(frame.size() / 4);
    std::copy(frame.begin(), frame.end(), reinterpret_cast<char*>(words.data()));
    return words;
  }
  static std::string Bytes(const std::vector<std::uint32_t>& words) {
    return {reinterpret_cast<const char*>(words.data()), words.size() * 4};
  }

  const Plugin& plugin_;
  f0r_instance_t instance_;
};

std::vector<std::string> AllFiles() {
  std::set<std::string> files;
  for (const FilterCase& filter : FilterCases()) files.insert(filter.file);
  for (const std::string& group : GroupNames()) {
    files.insert(FileOf(group));
    files.insert(FileOf(group) + "_mix");
  }
  return {files.begin(), files.end()};
}

/** The bytes as the plug-in wants them, and back. */
std::string Ordered(std::string frame, const Plugin& plugin) {
  if (plugin.Info().color_model == F0R_COLOR_MODEL_RGBA8888) return frame;
  for (std::size_t i = 0; i + 3 < frame.size(); i += 4) std::swap(frame[i], frame[i + 2]);
  return frame;
}

TEST(PluginTest, OnePerEffectWithAPictureAndTwoPerGroup) {
  std::set<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator(NORIX_FREI0R_FOLDER)) found.insert(entry.path().stem());
  const std::vector<std::string> expected = AllFiles();
  EXPECT_EQ(found, std::set<std::string>(expected.begin(), expected.end()));
}

// Saved projects refer to names, numbers and kinds, so these never change: new ones go to the end of their plug-in.
TEST(PluginTest, TellsNamesAndParametersThatProjectsRelyOn) {
  std::ostringstream told;
  for (const std::string& file : AllFiles()) {
    const Plugin plugin(file);
    const f0r_plugin_info_t info = plugin.Info();
    EXPECT_STREQ(info.author, "NorixEngine");
    EXPECT_GT(std::string(info.explanation).size(), 10U);
    EXPECT_EQ(info.frei0r_version, FREI0R_MAJOR_VERSION);
    told << file << ": \"" << info.name << "\" " << (info.plugin_type == F0R_PLUGIN_TYPE_FILTER ? "filter" : "mixer2")
         << (info.color_model == F0R_COLOR_MODEL_RGBA8888 ? " rgba" : " bgra") << '\n';
    Instance instance(plugin, 16, 16);
    for (int i = 0; i < info.num_params; ++i) {
      const f0r_param_info_t parameter = plugin.ParamInfo(i);
      EXPECT_THAT((std::vector<std::string>{"name", "parent", "qos"}), testing::Not(testing::Contains(parameter.name)));
      EXPECT_GT(std::string(parameter.explanation).size(), 10U);
      told << "  " << i << " \"" << parameter.name << "\" " << (parameter.type == F0R_PARAM_DOUBLE ? "double" : "bool")
           << ' ' << instance.Get(i) << '\n';
    }
  }
  std::ostringstream pinned;
  pinned << std::ifstream(NORIX_FREI0R_PARAMETERS).rdbuf();
  EXPECT_EQ(told.str(), pinned.str());
}

TEST(PluginTest, TakesEverySizeThatHasBytes) {
  for (const std::string& file : AllFiles()) {
    SCOPED_TRACE(file);
    const Plugin plugin(file);
    const bool mixes = plugin.Info().plugin_type == F0R_PLUGIN_TYPE_MIXER2;
    for (const auto& [width, height] : {std::pair{1U, 1U}, {1U, 9U}, {9U, 1U}, {2U, 3U}, {101U, 53U}, {64U, 48U}}) {
      const Instance instance(plugin, width, height);
      ASSERT_TRUE(instance.IsThere());
      const std::string frame = Noise(std::size_t{4} * width * height, 5);
      const std::string result = mixes ? instance.Mix(frame, frame) : instance.Update(frame);
      EXPECT_EQ(result.size(), frame.size());
    }
    for (const auto& [width, height] :
         {std::pair{0U, 5U}, {5U, 0U}, {0xFFFFFFFFU, 1U}, {1U, 0xFFFFFFFFU}, {0x20000000U, 4U}}) {
      EXPECT_FALSE(Instance(plugin, width, height).IsThere()) << width << 'x' << height;
    }
  }
}

TEST(PluginTest, HoldsValuesInRangeAndTakesTheStandardForNoNumber) {
  for (const std::string& file : AllFiles()) {
    SCOPED_TRACE(file);
    const Plugin plugin(file);
    const Instance fresh(plugin, 32, 24);
    Instance instance(plugin, 32, 24);
    for (int i = 0; i < plugin.Info().num_params; ++i) {
      const bool isSwitch = plugin.ParamInfo(i).type == F0R_PARAM_BOOL;
      instance.Set(i, 1.7);
      EXPECT_EQ(instance.Get(i), 1.0);
      instance.Set(i, -3);
      EXPECT_EQ(instance.Get(i), 0.0);
      instance.Set(i, std::numeric_limits<double>::infinity());
      EXPECT_EQ(instance.Get(i), 1.0);
      instance.Set(i, 0.625);
      EXPECT_EQ(instance.Get(i), isSwitch ? 1.0 : 0.625);
      instance.Set(i, std::numeric_limits<double>::quiet_NaN());
      EXPECT_EQ(instance.Get(i), fresh.Get(i));
    }
    for (const int index : {-1, plugin.Info().num_params, 1000}) {
      instance.Set(index, 0.5);
      EXPECT_EQ(instance.Get(index), -1);
    }
    const std::string frame = Noise(std::size_t{4} * 32 * 24, 6);
    std::srand(1);
    const std::string expected = fresh.Update(frame);
    std::srand(1);
    EXPECT_EQ(instance.Update(frame, -3.7e20), expected);
  }
}

TEST(PluginTest, ShowsSomethingByItself) {
  for (const std::string& file : AllFiles()) {
    const Plugin plugin(file);
    const std::string frame = Noise(std::size_t{4} * 64 * 48, 7);
    EXPECT_NE(Instance(plugin, 64, 48).Update(frame), frame) << file;
  }
}

TEST(PluginTest, DrawsWhatTheEngineDraws) {
  for (const FilterCase& filter : FilterCases()) {
    SCOPED_TRACE(filter.file);
    const Plugin plugin(filter.file);
    EXPECT_EQ(plugin.Info().color_model == F0R_COLOR_MODEL_BGRA8888, filter.bgra);
    ASSERT_EQ(plugin.Info().num_params, static_cast<int>(filter.values.size()));
    for (const auto& [width, height] : {std::pair{64, 48}, {101, 53}, {7, 5}}) {
      const Clip clip = {"rgba", width, height, {Noise(PictureBytes("rgba", width, height), 8)}};
      Instance instance(plugin, static_cast<unsigned>(width), static_cast<unsigned>(height));
      for (std::size_t i = 0; i < filter.values.size(); ++i) instance.Set(static_cast<int>(i), filter.values[i]);
      std::srand(1);
      const Clip expected = Expected(filter, clip);
      std::srand(1);
      const std::string drawn = instance.Update(Ordered(clip.frames.front(), plugin));
      ExpectSameFrames(expected, {"rgba", width, height, {Ordered(drawn, plugin)}});
    }
  }
}

TEST(PluginTest, DrawsGroupsOfTheFirstPictureAndThenTheSecond) {
  for (const std::string& group : GroupNames()) {
    SCOPED_TRACE(group);
    const Plugin filter(FileOf(group));
    const Plugin mixer(FileOf(group) + "_mix");
    const Clip form = {"rgba", 66, 47};
    const std::string first = Noise(PictureBytes("rgba", 66, 47), 9);
    const std::string second = Noise(PictureBytes("rgba", 66, 47), 10);
    Instance one(filter, 66, 47);
    Instance two(mixer, 66, 47);
    for (const double time : {0.0, 0.125, 0.4375, 0.5, 0.75, 1.0}) {
      SCOPED_TRACE(time);
      const int moment = static_cast<int>(time * 10000);
      one.Set(0, time);
      two.Set(0, time);
      EXPECT_EQ(one.Update(first), ExpectedOfGroup(group, moment, form, first));
      EXPECT_EQ(two.Mix(first, second), ExpectedOfGroup(group, moment, form, time < 0.5 ? first : second));
    }
  }
}

// Some hosts hand one instance to several threads.
TEST(PluginTest, RendersWithOneInstanceOnSeveralThreads) {
  for (const std::string& file : AllFiles()) {
    if (file == "norix_ground_glass") continue;  // draws random numbers, each thread its own share
    const Plugin plugin(file);
    const Instance instance(plugin, 320, 180);
    const std::string frame = Noise(std::size_t{4} * 320 * 180, 11);
    const std::string expected = instance.Update(frame);
    std::vector<std::string> results(4);
    std::vector<std::thread> threads;
    threads.reserve(results.size());
    for (std::string& result : results) threads.emplace_back([&] { result = instance.Update(frame); });
    for (std::thread& thread : threads) thread.join();
    for (const std::string& result : results) EXPECT_EQ(result, expected) << file;
  }
}

TEST(PluginTest, SurvivesLoadingAgainAndAgain) {
  const std::string frame = Noise(std::size_t{4} * 32 * 32, 12);
  std::string expected;
  for (int i = 0; i < 20; ++i) {
    const Plugin plugin("norix_focus_color");
    const std::string result = Instance(plugin, 32, 32).Update(frame);
    if (i == 0) expected = result;
    ASSERT_EQ(result, expected);
  }
}

// What it needs is in the file, so that a copy in the user's own folder works.
TEST(PluginTest, ACopyWorksAlone) {
  const std::string copy = std::string(NORIX_SCRATCH) + "/copy_of_norix_swirl.so";
  std::filesystem::create_directories(NORIX_SCRATCH);
  std::filesystem::copy_file(PluginPath("norix_swirl"), copy, std::filesystem::copy_options::overwrite_existing);
  void* handle = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(handle, nullptr) << dlerror();
  EXPECT_EQ(dlsym(handle, "filter_video_frame"), nullptr) << "the engine's names stay inside";
  dlclose(handle);
  std::filesystem::remove(copy);
}

}  // namespace

}  // namespace norix::test
