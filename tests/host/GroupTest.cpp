// Group effects as steps of a render.

#include <NorixEngine/FEParams.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::HasSubstr;

constexpr int kFrames = 24;

/** What the engine makes of a clip with "Blurry Roll Down" over its first `count` frames, at its end after those. */
Clip Rolled(const Clip& clip, int count = kFrames) {
  Clip result = clip;
  FilterGroupParam* record = nullptr;
  for (std::size_t i = 0; i < clip.frames.size(); ++i) {
    const int frame = std::min(static_cast<int>(i), count - 1);
    GetFilterGroupParam("Blurry Roll Down", static_cast<int>(std::lround(frame * 10000.0 / (count - 1))), &record);
    Clip one = {clip.pixelFormat, clip.width, clip.height, {clip.frames[i]}};
    for (int k = 0; k < record->count; ++k) {
      const FilterGroupEntry& entry = record->entries[k];
      one = Apply(one, entry.name, 0, SettingsOf(entry));
    }
    result.frames[i] = one.frames.front();
  }
  ReleaseFilterGroupParam(record);
  return result;
}

class GroupTest : public HostTest {
protected:
  /** Renders without loss. */
  Clip Rendered(const std::string& output, Words arguments) const {
    arguments.insert(arguments.end(), {"--codec", "ffv1"});
    RenderWell("clip.mkv", output, arguments);
    return ReadClip(In(output), "yuv420p");
  }

  Clip MakeInput() const {
    MakeNoiseClip("clip.mkv", "yuv420p", 64, 48, kFrames, {"-c:v", "ffv1"});
    return ReadClip(In("clip.mkv"), "yuv420p");
  }
};

TEST_F(GroupTest, TimeRunsOverTheClip) {
  const Clip clip = MakeInput();
  ExpectSameFrames(Rolled(clip), Rendered("out.mkv", {"--group", "Blurry Roll Down"}));
}

TEST_F(GroupTest, TimeRunsOverADurationAndStaysAtItsEnd) {
  const Clip clip = MakeInput();
  ExpectSameFrames(Rolled(clip, 10), Rendered("out.mkv", {"--group", "Blurry Roll Down", "--duration", "0.4"}));
  // Beyond the clip the end is not reached.
  ExpectSameFrames(Rolled(clip, 100), Rendered("long.mkv", {"--group", "Blurry Roll Down", "--duration", "4"}));
}

TEST_F(GroupTest, EndOfMirrorScaleBlurIsTwistedEnlargedAndBlurred) {
  // Smooth, as scalers round differently where pixels jump.
  FFmpeg({"-f", "lavfi", "-i", "gradients=s=64x48:r=25:c0=red:c1=blue:x0=0:y0=0:x1=63:y1=47:speed=0.00001", "-frames:v",
          "4", "-pix_fmt", "yuv420p", "-c:v", "ffv1", In("clip.mkv")});
  Clip clip = ReadClip(In("clip.mkv"), "yuv420p");
  const Clip out = Rendered("out.mkv", {"--group", "Mirror Scale Blur"});
  ASSERT_EQ(out.frames.size(), 4U);
  EXPECT_EQ(out.frames[0], clip.frames[0]) << "nothing has begun";

  clip.frames = {clip.frames[3]};
  SetContent(In("twisted"), Apply(clip, "Swirl", 10000).frames[0]);
  clip.frames = {
      FFmpeg({"-f", "rawvideo", "-pix_fmt", "yuv420p", "-s", "64x48", "-i", In("twisted"), "-vf",
              "crop=32:24:16:12,scale=64:48:flags=bicubic+accurate_rnd", "-pix_fmt", "yuv420p", "-f", "rawvideo", "-"})};
  const Clip expected = Apply(clip, "Zoom Blur", 10000);
  Clip last = out;
  last.frames = {out.frames[3]};
  EXPECT_LE(LargestDifference(expected, last), 2);
}

TEST_F(GroupTest, PiecesAreThoseOfTheWhole) {
  MakeInput();
  for (const std::string group : {"Mirror Scale Blur", "Tile Zoom Blur"}) {
    SCOPED_TRACE(group);
    const Clip whole = Rendered(group + ".mkv", {"--group", group, "--threads", "1"});
    Clip joined = whole;
    joined.frames.clear();
    for (const Words& piece :
         {Words{"--frames", "7"}, Words{"--start-frame", "7", "--frames", "15"}, Words{"--start-frame", "22"}}) {
      Words arguments = {"--group", group};
      arguments.insert(arguments.end(), piece.begin(), piece.end());
      const Clip part = Rendered(group + std::to_string(joined.frames.size()) + ".mkv", arguments);
      joined.frames.insert(joined.frames.end(), part.frames.begin(), part.frames.end());
    }
    ExpectSameFrames(whole, joined);
  }
}

TEST_F(GroupTest, StandsInTheChainWhereItIsWritten) {
  const Clip clip = MakeInput();
  const Clip after = Rolled(Apply(clip, "Swirl", 3000));
  const Clip before = Apply(Rolled(clip), "Swirl", 3000);
  ASSERT_GT(LargestDifference(after, before), 0);
  ExpectSameFrames(after, Rendered("a.mkv", {"--effect", "Swirl", "--level", "3000", "--group", "Blurry Roll Down"}));
  ExpectSameFrames(before, Rendered("b.mkv", {"--group", "Blurry Roll Down", "--effect", "Swirl", "--level", "3000"}));
  ExpectSameFrames(Apply(after, "Mirror Move X", 2500),
                   Rendered("c.mkv", {"--effect", "Swirl", "--level", "3000", "--group", "Blurry Roll Down", "--effect",
                                      "Mirror Move X", "--level", "2500"}));
}

TEST_F(GroupTest, MistakesAreTold) {
  MakeInput();
  const auto names = Names();
  for (const auto& [arguments, told] :
       {std::pair(Words{"--group", "Flip Roll Left", "--level", "3000"}, "--level 3000 stands after a --group"),
        std::pair(Words{"--effect", "Swirl", "--group", "Flip Roll Left", "--set", "angle=3"},
                  "--set angle=3 stands after"),
        std::pair(Words{"--group", "tile zoom blurr"}, "Tile Zoom Blur"),
        std::pair(Words{"--group", "Flip Roll Left", "--duration", "-1"}, "--duration"),
        std::pair(Words{"--group", "Flip Roll Left", "--duration", "nan"}, "--duration")}) {
    const Ending ending = Render("clip.mkv", "out.mkv", arguments);
    EXPECT_EQ(ending.code, 2);
    EXPECT_THAT(ending.err, HasSubstr(told));
    EXPECT_EQ(Names(), names);
  }
}

}  // namespace

}  // namespace norix::test
