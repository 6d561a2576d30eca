// The plug-ins in GStreamer, with the commands of docs/frei0r.md.

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "frei0r/PluginHostTest.h"

namespace norix::test {

namespace {

class GStreamerPluginTest : public PluginHostTest {
protected:
  void SetUp() override {
    if (std::string(GST_LAUNCH_COMMAND).empty()) GTEST_SKIP() << "gst-launch-1.0 is not installed";
    // A registry of its own, so that the plug-ins are looked for here.
    setenv("GST_REGISTRY", In("registry").c_str(), 1);
  }

  static std::string Source(const std::string& path, const Clip& clip) {
    return "filesrc location=" + path + " ! rawvideoparse format=rgba width=" + std::to_string(clip.width) +
           " height=" + std::to_string(clip.height) + " framerate=25/1";
  }

  /** Runs a pipeline, given in words. */
  Clip Run(const std::string& pipeline, const Clip& form) const {
    Words words = {GST_LAUNCH_COMMAND, "-q"};
    std::istringstream in(pipeline);
    for (std::string word; in >> word;) words.push_back(word);
    const Ending ending = RunToEnd({.arguments = words});
    EXPECT_EQ(ending.code, 0) << pipeline << '\n' << ending.err;
    return ReadRaw("out.raw", form);
  }

  std::string Sink() const { return "videoconvert ! video/x-raw,format=RGBA ! filesink location=" + In("out.raw"); }
};

/** "Center X" as GStreamer spells it. */
std::string Dashed(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(), [](char c) {
    return c == ' ' || c == '_' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  });
  return name;
}

TEST_F(GStreamerPluginTest, EveryFilterDrawsWhatTheEngineDraws) {
  for (const FilterCase& filter : FilterCases()) {
    if (filter.effect == "Ground Glass") continue;  // who else draws random numbers is not known
    SCOPED_TRACE(filter.file);
    const Clip clip = MakeRaw("in.raw", 101, 53, 2, 70);
    std::string element = "frei0r-filter-" + Dashed(filter.file);
    const std::vector<std::string> names = ParameterNames(filter.file);
    for (std::size_t i = 0; i < filter.values.size(); ++i) {
      const bool isSwitch = names.at(i) == "Manual";
      const std::string value = isSwitch ? (filter.values[i] != 0 ? "true" : "false") : Text(filter.values[i]);
      element += ' ' + Dashed(names[i]) + '=' + value;
    }
    const std::string pipeline = Source(In("in.raw"), clip) + " ! videoconvert ! " + element + " ! " + Sink();
    ExpectSameFrames(Expected(filter, clip), Run(pipeline, clip));
  }
}

TEST_F(GStreamerPluginTest, AMixerTakesTwoPictures) {
  const Clip first = MakeRaw("first.raw", 66, 50, 2, 80);
  const Clip second = MakeRaw("second.raw", 66, 50, 2, 90);
  for (const double time : {0.25, 0.75}) {
    const Clip& shown = time < 0.5 ? first : second;
    Clip expected = shown;
    for (std::string& frame : expected.frames) {
      frame = ExpectedOfGroup("Flip Roll Up", static_cast<int>(time * 10000), shown, frame);
    }
    const Clip result =
        Run("frei0r-mixer-norix-flip-roll-up-mix name=m time=" + Text(time) + " ! " + Sink() + ' ' +
                Source(In("first.raw"), first) + " ! m.sink_0 " + Source(In("second.raw"), second) + " ! m.sink_1",
            first);
    ExpectSameFrames(expected, result);
  }
}

}  // namespace

}  // namespace norix::test
