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
    Ending ending = Render("cut-" + name, "out.mkv", {"--effect", "Mirror Move X", "--codec", "ffv1"});
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
  // Its index, at the end, is gone; its head still says how many pictures there were.
  MakeClip("clip.avi", 64, 48, kFrames, {"-c:v", "mpeg4", "-bf", "0", "-c:a", "mp3"});
  ExpectTold("clip.avi");
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

TEST_F(DamageTest, LooksAndIsToldTheSameEachTime) {
  // Errors in some of many reordered pictures, whose decoding several threads would share.
  MakeSilentClip("clip.h264", 320, 240, 40, {"-g", "40"});
  std::string bytes = Content(In("clip.h264"));
  for (std::size_t at = bytes.size() / 3; at < bytes.size() - 200; at += bytes.size() / 9)
    bytes.replace(at, 20, Noise(20, 5));
  SetContent(In("hurt.h264"), bytes);
  // Slices of a codec without references are left as they are found where they cannot be decoded.
  MakeSilentClip("clip.mkv", 320, 240, 20, {"-c:v", "ffv1", "-slices", "4", "-slicecrc", "0"});
  bytes = Content(In("clip.mkv"));
  for (std::size_t at = bytes.size() / 4; at < bytes.size() - 9000; at += bytes.size() / 9)
    bytes.replace(at, 40, Noise(40, 6));
  SetContent(In("hurt.mkv"), bytes);
  for (const char* name : {"hurt.h264", "hurt.mkv"}) {
    SCOPED_TRACE(name);
    std::set<std::string> endings;
    for (const char* threads : {"1", "4", "2", "4", "3", "4"}) {
      const Ending ending =
          Render(name, "out.mkv", {"--effect", "Mirror Move X", "--codec", "ffv1", "--threads", threads, "-y"});
      endings.insert(std::to_string(ending.code) + ending.out + ending.err + RawVideo(In("out.mkv"), "yuv420p"));
    }
    EXPECT_EQ(endings.size(), 1U);
  }
}

TEST_F(DamageTest, SoundThatCannotBeEncodedIsLeftOut) {
  MakeClip("clip.mkv", 64, 48, 20, {"-c:a", "pcm_s16le", "-af", "pan=hexadecagonal|c0=c0|c15=c0"});
  const Ending ending = RenderWell("clip.mkv", "out.webm", {"--effect", "Swirl", "--codec", "libvpx"});
  EXPECT_THAT(ending.err, HasSubstr("norix: note: audio stream 1 (pcm_s16le) is left out"));
  EXPECT_TRUE(StreamOf(Probe(In("out.webm")), "audio").is_null());
}

TEST_F(DamageTest, SoundThatChangesMidway) {
  // As broadcasts do between programmes.
  MakeClip("one.ts", 64, 48, 25, {"-ac", "1", "-ar", "44100", "-c:a", "mp2"});
  MakeClip("two.ts", 64, 48, 25, {"-ac", "2", "-ar", "32000", "-c:a", "mp2", "-output_ts_offset", "1"});
  SetContent(In("both.ts"), Content(In("one.ts")) + Content(In("two.ts")));
  SetContent(In("back.ts"), Content(In("two.ts")) + Content(In("one.ts")));
  for (const char* name : {"both.ts", "back.ts"}) {
    SCOPED_TRACE(name);
    const Ending ending = Render(name, "out.webm", {"--effect", "Mirror Move X", "--codec", "libvpx", "-y"});
    EXPECT_EQ(ending.signal, 0);
    EXPECT_THAT(ending.code, testing::AnyOf(0, 1)) << ending.err;
    EXPECT_EQ(PlayErrors(In("out.webm")), "");
    const std::string samples =
        FFmpeg({"-i", In("out.webm"), "-map", "0:a", "-f", "s16le", "-ac", "1", "-ar", "8000", "-"});
    EXPECT_NEAR(static_cast<double>(samples.size()) / 2 / 8000, 2.0, 0.2);
  }
}

TEST_F(DamageTest, WholeInputsAreNotCalledDamaged) {
  for (const char* name : {"clip.mp4", "clip.mkv", "clip.ts", "clip.mov", "clip.flv", "clip.avi"}) {
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
