#include <gmock/gmock.h>

#include "host/HostTest.h"

namespace norix::test {

namespace {

class ThreadTest : public HostTest {
protected:
  Words VideoHashes(const std::string& name) const {
    Words hashes;
    for (const Timed& packet : Packets(In(name), "v:0")) hashes.push_back(packet.hash);
    return hashes;
  }
};

TEST_F(ThreadTest, NumberOfThreadsDoesNotChangeTheFile) {
  MakeClip("clip.mp4", 96, 64, 40);
  const Words effects = {"--effect", "Swirl", "--level", "0:10000", "--effect", "Zoom Blur"};
  const auto render = [&](const char* threads, const std::string& name) {
    Words words = effects;
    words.insert(words.end(), {"--threads", threads});
    RenderWell("clip.mp4", name, words);
    return VideoHashes(name);
  };
  const Words one = render("1", "one.mp4");
  EXPECT_EQ(one.size(), 40U);
  EXPECT_EQ(one, render("4", "four.mp4"));
  EXPECT_EQ(one, render("13", "thirteen.mp4"));
  EXPECT_EQ(Content(In("one.mp4")), Content(In("four.mp4")));
}

TEST_F(ThreadTest, FramesStayInOrderOnManyThreads) {
  MakeSilentClip("clip.mp4", 96, 64, 40);
  RenderWell("clip.mp4", "out.mkv", {"--effect", "Swirl", "--codec", "ffv1", "--threads", "8"});
  ExpectSameFrames(Apply(ReadClip(In("clip.mp4"), "yuv420p"), "Swirl", 5000), ReadClip(In("out.mkv"), "yuv420p"));
}

TEST_F(ThreadTest, BandsJoinWithoutASeamWhereTheEffectHasNone) {
  MakeNoiseClip("clip.mkv", "yuv420p", 63, 47, 6, {"-c:v", "ffv1"});
  const Clip expected = Apply(ReadClip(In("clip.mkv"), "yuv420p"), "Mirror Move X", 4000);
  for (const char* bands : {"1", "2", "4", "7", "47", "5000"}) {
    SCOPED_TRACE(bands);
    RenderWell(
        "clip.mkv", "out.mkv",
        {"--effect", "Mirror Move X", "--level", "4000", "--codec", "ffv1", "--bands", bands, "--threads", "3", "-y"});
    ExpectSameFrames(expected, ReadClip(In("out.mkv"), "yuv420p"));
  }
}

TEST_F(ThreadTest, BandsOfEveryEffectCoverThePicture) {
  MakeNoiseClip("clip.mkv", "yuv420p", 63, 47, 4, {"-c:v", "ffv1"});
  for (const char* effect : {"Swirl", "Zoom Blur"}) {
    SCOPED_TRACE(effect);
    RenderWell("clip.mkv", "one.mkv", {"--effect", effect, "--codec", "ffv1", "--bands", "4", "--threads", "1", "-y"});
    RenderWell("clip.mkv", "four.mkv", {"--effect", effect, "--codec", "ffv1", "--bands", "4", "--threads", "4", "-y"});
    ExpectSameFrames(ReadClip(In("one.mkv"), "yuv420p"), ReadClip(In("four.mkv"), "yuv420p"));
    ExpectSameFrames(Apply(ReadClip(In("clip.mkv"), "yuv420p"), effect, 5000), ReadClip(In("four.mkv"), "yuv420p"));
  }
}

}  // namespace

}  // namespace norix::test
