// Standard streams that are closed, full or read by nobody.

#include <gmock/gmock.h>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

class StandardStreamTest : public HostTest {
protected:
  void SetUp() override { MakeClip("clip.mp4", 64, 48, 20); }

  Launch Rendering() const {
    return NorixLaunch(
        {"render", In("clip.mp4"), In("out.mkv"), "--effect", "Swirl", "--codec", "ffv1", "--progress", "json"});
  }

  /** The file that was written has all pictures, and nothing else has got into it. */
  void ExpectWhole() const {
    EXPECT_EQ(PlayErrors(In("out.mkv")), "");
    ExpectSameFrames(Apply(ReadClip(In("clip.mp4"), "yuv420p"), "Swirl", 5000), ReadClip(In("out.mkv"), "yuv420p"));
    EXPECT_EQ(Content(In("out.mkv")).find("\"event\""), std::string::npos);
    EXPECT_EQ(Names(), (std::set<std::string>{"clip.mp4", "out.mkv"}));
  }
};

TEST_F(StandardStreamTest, MessagesGetIntoNoFile) {
  for (const bool noInput : {false, true}) {
    for (const bool noOutput : {false, true}) {
      Launch launch = Rendering();
      launch.arguments.push_back("-y");
      launch.err = Stream::kClosed;
      launch.noInput = noInput;
      if (noOutput) launch.out = Stream::kClosed;
      const Ending ending = RunToEnd(launch);
      EXPECT_EQ(ending.code, noOutput ? 1 : 0) << ending.signal;
      ExpectWhole();
    }
  }
}

TEST_F(StandardStreamTest, ResultThatCannotBeToldIsAFailure) {
  for (const Stream out : {Stream::kClosed, Stream::kFull, Stream::kDeafPipe}) {
    Launch launch = Rendering();
    launch.arguments.push_back("-y");
    launch.out = out;
    const Ending ending = RunToEnd(launch);
    EXPECT_EQ(ending.code, 1);
    EXPECT_THAT(ending.err, HasSubstr("norix: error: cannot write to standard output"));
    ExpectWhole();
  }
}

TEST_F(StandardStreamTest, OtherCommandsTellToo) {
  for (const Words& words : {Words{"list"}, Words{"list", "--json"}, Words{"--help"}, Words{"--version"}}) {
    for (const Stream out : {Stream::kClosed, Stream::kFull, Stream::kDeafPipe}) {
      Launch launch = NorixLaunch(words);
      launch.out = out;
      const Ending ending = RunToEnd(launch);
      EXPECT_EQ(ending.code, 1) << words.front() << ' ' << ending.signal;
      EXPECT_THAT(ending.err, StartsWith("norix: error: cannot write to standard output"));
    }
  }
}

TEST_F(StandardStreamTest, MessagesNobodyReadsAreNoFailure) {
  for (const Stream err : {Stream::kFull, Stream::kDeafPipe}) {
    Launch launch = Rendering();
    launch.arguments.push_back("-y");
    launch.err = err;
    EXPECT_EQ(RunToEnd(launch).code, 0);
    ExpectWhole();
  }
}

}  // namespace

}  // namespace norix::test
