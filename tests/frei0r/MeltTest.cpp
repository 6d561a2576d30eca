// The plug-ins in melt, with the commands of docs/frei0r.md.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "frei0r/PluginHostTest.h"

namespace norix::test {

namespace {

constexpr int kFrames = 9;

class MeltPluginTest : public PluginHostTest {
protected:
  void SetUp() override {
    if (std::string(MELT_COMMAND).empty()) GTEST_SKIP() << "melt is not installed";
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
  }

  void MakeInput(const std::string& name, const std::string& pattern) const {
    FFmpeg({"-f", "lavfi", "-i", pattern + "=s=102x54:r=25:d=0.36", "-c:v", "ffv1", "-pix_fmt", "bgr0", In(name)});
  }

  /** Has melt render what the arguments say; pictures pass as rgba, without loss. */
  Clip Melt(const Words& arguments) const {
    Words words = {MELT_COMMAND, "-silent"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const Words consumer = {
        "-consumer",    "avformat:" + In("out.nut"), "vcodec=rawvideo", "pix_fmt=rgba", "mlt_image_format=rgba", "an=1",
        "real_time=-1", "terminate_on_pause=1",      "width=102",       "height=54"};
    words.insert(words.end(), consumer.begin(), consumer.end());
    // On a busy machine melt may leave before its consumer has begun, with or without plug-ins, and with an empty file.
    constexpr int kMostTries = 20;
    for (int i = 0; i < kMostTries; ++i) {
      const Ending ending = RunToEnd({.arguments = words});
      EXPECT_EQ(ending.code, 0) << ending.err;
      if (!Content(In("out.nut")).empty()) break;
    }
    return ReadClip(In("out.nut"), "rgba");
  }

  static std::string Last() { return std::to_string(kFrames - 1); }
};

TEST_F(MeltPluginTest, EveryFilterDrawsWhatTheEngineDraws) {
  MakeInput("in.mkv", "testsrc2");
  const Clip clip = Melt({In("in.mkv"), "out=1"});
  ASSERT_EQ(clip.frames.size(), 2U);
  for (const FilterCase& filter : FilterCases()) {
    if (filter.effect == "Ground Glass") continue;  // who else draws random numbers is not known
    SCOPED_TRACE(filter.file);
    Words arguments = {In("in.mkv"), "out=1", "-filter", "frei0r." + filter.file};
    for (std::size_t i = 0; i < filter.values.size(); ++i)
      arguments.push_back(std::to_string(i) + '=' + Text(filter.values[i]));
    ExpectSameFrames(Expected(filter, clip), Melt(arguments));
  }
}

TEST_F(MeltPluginTest, KeyframesAnimateALevel) {
  MakeInput("in.mkv", "testsrc2");
  const Clip clip = Melt({In("in.mkv"), "out=" + Last()});
  const Clip result =
      Melt({In("in.mkv"), "out=" + Last(), "-filter", "frei0r.norix_mirror_move_x", "0=0=0;" + Last() + "=1"});
  ASSERT_EQ(clip.frames.size(), static_cast<std::size_t>(kFrames));
  const auto level = [](std::size_t frame) {
    return static_cast<int>(std::lround(static_cast<double>(frame) / (kFrames - 1) * 10000));
  };
  ExpectSameFrames(Apply(clip, "Mirror Move X", level), result);
}

TEST_F(MeltPluginTest, AMixerIsATransition) {
  MakeInput("first.mkv", "testsrc2");
  MakeInput("second.mkv", "testsrc");
  const Clip first = Melt({In("first.mkv"), "out=" + Last()});
  const Clip second = Melt({In("second.mkv"), "out=" + Last()});
  const Clip result = Melt({In("first.mkv"), "out=" + Last(), In("second.mkv"), "out=" + Last(), "-mix",
                            std::to_string(kFrames), "-mixer", "frei0r.norix_blurry_roll_left_mix", "0=0=0;-1=1"});
  ASSERT_EQ(result.frames.size(), static_cast<std::size_t>(kFrames));
  Clip expected = first;
  for (std::size_t i = 0; i < kFrames; ++i) {
    const double time = static_cast<double>(i) / (kFrames - 1);
    const std::string& shown = time < 0.5 ? first.frames[i] : second.frames[i];
    expected.frames[i] = ExpectedOfGroup("Blurry Roll Left", static_cast<int>(std::lround(time * 10000)), first, shown);
  }
  ExpectSameFrames(expected, result);
}

}  // namespace

}  // namespace norix::test
