// Which effect, level and field reaches which frame: the result is compared with the engine's own, byte for byte.

#include <NorixEngine/FEParams.h>
#include <gmock/gmock.h>

#include <cmath>

#include "host/HostTest.h"

namespace norix::test {

namespace {

constexpr int kWidth = 96;
constexpr int kHeight = 64;
constexpr int kFrames = 14;

/** From the first frame to the last, rounded. */
Levels Running(int from, int to, int frames = kFrames) {
  return [=](std::size_t frame) {
    return from + static_cast<int>(std::lround((to - from) * static_cast<double>(frame) / (frames - 1)));
  };
}

/** A clip in H.264, rendered without loss. */
class ChainTest : public HostTest {
protected:
  void SetUp() override {
    MakeSilentClip("clip.mp4", kWidth, kHeight, kFrames);
    clip_ = ReadClip(In("clip.mp4"), "yuv420p");
    ASSERT_EQ(clip_.frames.size(), static_cast<std::size_t>(kFrames));
  }

  Clip Rendered(Words arguments) const {
    arguments.insert(arguments.end(), {"--codec", "ffv1"});
    RenderWell("clip.mp4", "out.mkv", arguments);
    return ReadClip(In("out.mkv"), "yuv420p");
  }

  Clip clip_;
};

TEST_F(ChainTest, EffectAtItsUsualLevel) {
  for (const char* effect : {"Swirl", "Zoom Blur", "Mirror Move X"}) {
    SCOPED_TRACE(effect);
    const Clip expected = Apply(clip_, effect, 5000);
    ASSERT_NE(expected.frames, clip_.frames);
    ExpectSameFrames(expected, Rendered({"--effect", effect, "-y"}));
  }
}

TEST_F(ChainTest, EffectAtALevel) {
  for (const char* effect : {"Swirl", "Zoom Blur", "Mirror Move X"}) {
    for (const int level : {0, 1234, 10000}) {
      SCOPED_TRACE(std::string(effect) + ' ' + std::to_string(level));
      ExpectSameFrames(Apply(clip_, effect, level), Rendered({"--effect", effect, "--level", std::to_string(level), "-y"}));
    }
  }
}

TEST_F(ChainTest, ChainGoesFromTheFirstToTheLast) {
  const Clip expected = Apply(Apply(clip_, "Zoom Blur", 8000), "Mirror Move X", 2500);
  ASSERT_NE(expected.frames, Apply(Apply(clip_, "Mirror Move X", 2500), "Zoom Blur", 8000).frames);
  ExpectSameFrames(expected,
                   Rendered({"--effect", "Zoom Blur", "--level", "8000", "--effect", "Mirror Move X", "--level", "2500"}));
}

TEST_F(ChainTest, SameEffectTwice) {
  const Clip expected = Apply(Apply(clip_, "Mirror Move X", 5000), "Mirror Move X", 1000);
  ExpectSameFrames(expected, Rendered({"--effect", "Mirror Move X", "--effect", "Mirror Move X", "--level", "1000"}));
}

TEST_F(ChainTest, LevelRunsOverTheClip) {
  const Clip expected = Apply(clip_, "Mirror Move X", Running(0, 10000));
  ASSERT_EQ(expected.frames.front(), clip_.frames.front());
  ExpectSameFrames(expected, Rendered({"--effect", "Mirror Move X", "--level", "0:10000"}));
}

TEST_F(ChainTest, LevelRunsDown) {
  ExpectSameFrames(Apply(clip_, "Swirl", Running(9001, 17)), Rendered({"--effect", "Swirl", "--level", "9001:17"}));
}

TEST_F(ChainTest, EachEffectHasItsOwnRun) {
  const Clip expected = Apply(Apply(clip_, "Swirl", Running(0, 7000)), "Zoom Blur", Running(10000, 0));
  ExpectSameFrames(expected,
                   Rendered({"--effect", "Swirl", "--level", "0:7000", "--effect", "Zoom Blur", "--level", "10000:0"}));
}

TEST_F(ChainTest, FieldsAreWrittenAfterTheLevel) {
  const auto change = [](FilterParams& params) {
    auto& swirl = static_cast<SwirlParams&>(params);
    swirl.centerX = 0.3;
    swirl.angle = -90.5;
  };
  const Clip expected = Apply(clip_, "Swirl", 2000, change);
  ExpectSameFrames(expected,
                   Rendered({"--effect", "Swirl", "--set", "centerX=0.3", "--level", "2000", "--set", "angle=-90.5"}));
}

TEST_F(ChainTest, FieldsStayWhileTheLevelRuns) {
  const auto change = [](FilterParams& params) { static_cast<SwirlParams&>(params).radius = 0.4; };
  const Clip expected = Apply(clip_, "Swirl", Running(0, 10000), change);
  ExpectSameFrames(expected, Rendered({"--effect", "Swirl", "--level", "0:10000", "--set", "radius=0.4"}));
}

TEST_F(ChainTest, FieldBelongsToTheEffectBeforeIt) {
  const auto change = [](FilterParams& params) { static_cast<ZoomBlurParams&>(params).centerX = 0; };
  const Clip expected = Apply(Apply(clip_, "Zoom Blur", 5000, change), "Swirl", 5000);
  ExpectSameFrames(expected, Rendered({"--effect", "Zoom Blur", "--set", "centerX=0", "--effect", "Swirl"}));
}

TEST_F(ChainTest, OptionsMayStandBeforeTheFiles) {
  const Ending ending =
      Norix({"render", "--effect", "Swirl", "--level", "7000", "--codec", "ffv1", In("clip.mp4"), In("out.mkv")});
  ExpectDone(ending);
  ExpectSameFrames(Apply(clip_, "Swirl", 7000), ReadClip(In("out.mkv"), "yuv420p"));
}

TEST_F(ChainTest, RealFootage) {
  for (const char* name : {"bird", "meadow"}) {
    SCOPED_TRACE(name);
    FFmpeg({"-i", std::string(NORIX_ASSETS) + '/' + name + ".mp4", "-vf", "scale=178:100", "-frames:v", "12", "-c:v",
            "libx264", "-c:a", "copy", "-shortest", In("clip.mp4")});
    clip_ = ReadClip(In("clip.mp4"), "yuv420p");
    const Clip expected = Apply(Apply(clip_, "Swirl", Running(3000, 0, 12)), "Zoom Blur", 9000);
    ExpectSameFrames(
        expected, Rendered({"--effect", "Swirl", "--level", "3000:0", "--effect", "Zoom Blur", "--level", "9000", "-y"}));
  }
}

}  // namespace

}  // namespace norix::test
