// Inputs that are cut off or not all of a piece.

#include <gmock/gmock.h>

#include <filesystem>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr int kFrames = 100;

class DamageTest : public HostTest {
protected:
  /** Cuts a file off at 60 % and renders it: what is there comes out. */
  Ending ExpectRest(const std::string& name) const {
    const std::string whole = Content(In(name));
    SetContent(In("cut-" + name), whole.substr(0, whole.size() * 6 / 10));
    const Ending ending = Render("cut-" + name, "out.mkv", {"--effect", "Mirror Move X", "--codec", "ffv1"});
    EXPECT_EQ(ending.signal, 0);
    EXPECT_EQ(Names(), (std::set<std::string>{name, "cut-" + name, "out.mkv"}));
    EXPECT_EQ(PlayErrors(In("out.mkv"), "0:v"), "");
    const Clip rendered = ReadClip(In("out.mkv"), "yuv420p");
    EXPECT_GT(rendered.frames.size(), kFrames * 4 / 10U);
    EXPECT_LT(rendered.frames.size(), kFrames * 8 / 10U);
    EXPECT_THAT(ending.out, HasSubstr(std::to_string(rendered.frames.size()) + " frames"));
    // All but the frames at the cut are those of the whole.
    Clip expected = Apply(ReadClip(In(name), "yuv420p"), "Mirror Move X", 5000);
    Clip begin = rendered;
    begin.frames.resize(rendered.frames.size() - 4);
    expected.frames.resize(begin.frames.size());
    ExpectSameFrames(expected, begin);
    return ending;
  }

  /** The same, in a container that promises a length or packets: it is said that not all was there. */
  void ExpectTold(const std::string& name) const {
    const Ending ending = ExpectRest(name);
    EXPECT_EQ(ending.code, 1);
    EXPECT_THAT(ending.err, StartsWith("norix: error: "));
    EXPECT_THAT(ending.err, HasSubstr("cut-" + name));
    EXPECT_THAT(ending.err, HasSubstr("damaged"));
    EXPECT_THAT(ending.err, HasSubstr(" frames"));
  }
};

TEST_F(DamageTest, CutMp4) {
  MakeClip("clip.mp4", 64, 48, kFrames, {"-movflags", "+faststart"});
  ExpectTold("clip.mp4");
}

TEST_F(DamageTest, CutMkv) {
  MakeClip("clip.mkv", 64, 48, kFrames);
  ExpectTold("clip.mkv");
}

TEST_F(DamageTest, CutTransportStream) {
  // This container promises no length, so that a cut need not show; recordings begin and end anywhere.
  MakeClip("clip.ts", 64, 48, kFrames);
  EXPECT_THAT(ExpectRest("clip.ts").code, testing::AnyOf(0, 1));
}

TEST_F(DamageTest, CutAvi) {
  // Without its index, at the end, this one's length is that of the file.
  MakeClip("clip.avi", 64, 48, kFrames, {"-c:v", "mpeg4", "-bf", "0", "-c:a", "mp3"});
  EXPECT_THAT(ExpectRest("clip.avi").code, testing::AnyOf(0, 1));
}

TEST_F(DamageTest, Mp4WithoutItsIndex) {
  MakeClip("clip.mp4", 64, 48, kFrames);
  const std::string whole = Content(In("clip.mp4"));
  ASSERT_GT(whole.find("moov"), whole.size() / 2);
  SetContent(In("cut.mp4"), whole.substr(0, whole.size() / 2));
  const Ending ending = Render("cut.mp4", "out.mp4", {"--effect", "Swirl"});
  EXPECT_EQ(ending.code, 1);
  EXPECT_THAT(ending.err, HasSubstr("cut.mp4"));
  EXPECT_EQ(Names(), (std::set<std::string>{"clip.mp4", "cut.mp4"}));
}

TEST_F(DamageTest, OverwrittenInTheMiddle) {
  MakeClip("clip.mkv", 64, 48, kFrames);
  std::string bytes = Content(In("clip.mkv"));
  bytes.replace(bytes.size() / 2, 3000, Noise(3000, 9));
  SetContent(In("hurt.mkv"), bytes);
  const Ending ending = Render("hurt.mkv", "out.mkv", {"--effect", "Swirl"});
  EXPECT_EQ(ending.signal, 0);
  // The reader looks for the next place where it can go on; what it skipped it may not know.
  EXPECT_THAT(ending.code, testing::AnyOf(0, 1));
  EXPECT_EQ(PlayErrors(In("out.mkv"), "0:v"), "");
  EXPECT_GT(FrameTimes(In("out.mkv")).size(), kFrames / 2U);
}

TEST_F(DamageTest, WholeInputsAreNotCalledDamaged) {
  for (const char* name : {"clip.mp4", "clip.mkv", "clip.ts", "clip.mov", "clip.flv"}) {
    SCOPED_TRACE(name);
    MakeClip(name, 64, 48, kFrames);
    RenderWell(name, std::string("out-") + name + ".mkv", {"--effect", "Mirror Move X"});
  }
}

TEST_F(DamageTest, PictureSizeThatChangesMidway) {
  for (const char* extension : {".ts", ".h264"}) {
    SCOPED_TRACE(extension);
    const std::string first = std::string("small") + extension;
    const std::string second = std::string("large") + extension;
    const std::string both = std::string("both") + extension;
    MakeSilentClip(first, 64, 48, 20);
    MakeSilentClip(second, 96, 80, 20);
    SetContent(In(both), Content(In(first)) + Content(In(second)));
    const Ending ending = Render(both, "out.mkv", {"--effect", "Mirror Move X", "--codec", "ffv1", "-y"});
    ASSERT_EQ(ending.signal, 0);
    ASSERT_FALSE(ending.late);
    EXPECT_THAT(ending.code, testing::AnyOf(0, 1)) << ending.err;
    if (ending.code == 0) {
      // All in the size of the first frame.
      const Clip rendered = ReadClip(In("out.mkv"), "yuv420p");
      EXPECT_EQ(rendered.width, 64);
      EXPECT_EQ(rendered.height, 48);
      EXPECT_EQ(rendered.frames.size(), 40U);
      EXPECT_EQ(PlayErrors(In("out.mkv")), "");
    } else {
      EXPECT_THAT(ending.err, StartsWith("norix: error: "));
    }
  }
}

}  // namespace

}  // namespace norix::test
