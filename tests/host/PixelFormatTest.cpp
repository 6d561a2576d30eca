#include <gmock/gmock.h>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::HasSubstr;

class PixelFormatTest : public HostTest {
protected:
  std::string FormatOf(const std::string& name) const {
    return StreamOf(Probe(In(name)), "video").at("pix_fmt").get<std::string>();
  }
};

TEST_F(PixelFormatTest, OddSizesKeepEveryByte) {
  MakeNoiseClip("clip.mkv", "yuv420p", 57, 43, 3, {"-c:v", "ffv1"});
  const Clip clip = ReadClip(In("clip.mkv"), "yuv420p");
  for (const char* effect : {"Swirl", "Zoom Blur", "Mirror Move X"}) {
    SCOPED_TRACE(effect);
    RenderWell("clip.mkv", "out.mkv", {"--effect", effect, "--codec", "ffv1", "-y"});
    ExpectSameFrames(Apply(clip, effect, 5000), ReadClip(In("out.mkv"), "yuv420p"));
  }
}

TEST_F(PixelFormatTest, PicturesOfOnePixel) {
  MakeNoiseClip("clip.mkv", "rgb24", 1, 1, 3, {"-c:v", "ffv1", "-pix_fmt", "bgr0"});
  RenderWell("clip.mkv", "out.mkv", {"--effect", "Swirl", "--codec", "ffv1"});
  EXPECT_EQ(RawVideo(In("out.mkv"), "rgb24"), RawVideo(In("clip.mkv"), "rgb24"));
}

TEST_F(PixelFormatTest, RgbIsNotConverted) {
  MakeNoiseClip("clip.mov", "rgb24", 57, 43, 3, {"-c:v", "qtrle"});
  ASSERT_EQ(FormatOf("clip.mov"), "rgb24");
  const Clip clip = ReadClip(In("clip.mov"), "rgb24");
  for (const char* effect : {"Swirl", "Zoom Blur", "Mirror Move X"}) {
    SCOPED_TRACE(effect);
    RenderWell("clip.mov", "out.mov", {"--effect", effect, "--codec", "qtrle", "-y"});
    EXPECT_EQ(FormatOf("out.mov"), "rgb24");
    ExpectSameFrames(Apply(clip, effect, 5000), ReadClip(In("out.mov"), "rgb24"));
  }
}

TEST_F(PixelFormatTest, TransparencyIsKept) {
  for (const char* codec : {"qtrle", "png"}) {
    SCOPED_TRACE(codec);
    MakeNoiseClip("clip.mov", "rgba", 34, 26, 3, {"-c:v", codec});
    const Clip clip = ReadClip(In("clip.mov"), "bgra");
    for (const char* effect : {"Swirl", "Zoom Blur", "Mirror Move X"}) {
      SCOPED_TRACE(effect);
      RenderWell("clip.mov", "out.mov", {"--effect", effect, "--codec", codec, "-y"});
      ExpectSameFrames(Apply(clip, effect, 5000), ReadClip(In("out.mov"), "bgra"));
    }
  }
}

TEST_F(PixelFormatTest, LostTransparencyIsTold) {
  MakeNoiseClip("clip.mov", "rgba", 34, 26, 3, {"-c:v", "qtrle"});
  const Ending ending = RenderWell("clip.mov", "out.mp4", {"--effect", "Swirl"});
  EXPECT_THAT(ending.err, HasSubstr("transparency"));
  EXPECT_EQ(FormatOf("out.mp4"), "yuv420p");
}

TEST_F(PixelFormatTest, AskedForFormatIsWorkedIn) {
  // Another matrix or range than the clip's would give other colours.
  struct Case {
    const char* description;
    Words made;
    const char* conversion;
  };
  const std::vector<Case> cases = {
      {"untagged", {"-c:v", "libx264"}, ""},
      {"bt709", {"-c:v", "libx264", "-colorspace", "bt709"}, ":in_color_matrix=bt709"},
      {"full range", {"-c:v", "libx264", "-pix_fmt", "yuvj420p"}, ":in_range=pc"},
      {"full range by its tag alone", {"-c:v", "ffv1", "-color_range", "pc"}, ":in_range=pc"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.description);
    MakeSilentClip("clip.mkv", 96, 64, 4, each.made);
    // The same conversion by another program: 4:2:0 to RGB leaves some freedom in rounding, an effect none.
    FFmpeg({"-i", In("clip.mkv"), "-vf",
            std::string("scale=flags=bicubic+accurate_rnd+bitexact+full_chroma_int+full_chroma_inp") + each.conversion +
                ",format=bgra",
            "-c:v", "ffv1", In("plain.mkv")});
    const Clip plain = ReadClip(In("plain.mkv"), "bgra");
    for (const char* effect : {"Swirl", "Mirror Move X"}) {
      SCOPED_TRACE(effect);
      RenderWell("clip.mkv", "out.mkv", {"--effect", effect, "--format", "bgra", "--codec", "ffv1", "-y"});
      EXPECT_EQ(FormatOf("out.mkv"), "bgra");
      EXPECT_LE(LargestDifference(Apply(plain, effect, 5000), ReadClip(In("out.mkv"), "bgra")), 2);
    }
  }
}

TEST_F(PixelFormatTest, TheWayToRgbAndBackIsNearlyLossless) {
  // Smooth colours, as chroma of 4:2:0 survives the way only where it is smooth. Tagged and full-range clips would come
  // back with other colours if one of the two ways took another matrix or range.
  struct Case {
    const char* description;
    Words tags;
    const char* pixelFormat;
  };
  const std::vector<Case> cases = {
      {"untagged", {}, "yuv420p"},
      {"bt709", {"-colorspace", "bt709", "-color_primaries", "bt709", "-color_trc", "bt709"}, "yuv420p"},
      {"bt2020", {"-colorspace", "bt2020nc"}, "yuv420p"},
      {"full range", {"-color_range", "pc", "-pix_fmt", "yuvj420p"}, "yuvj420p"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.description);
    Words words = {"-f",   "lavfi",          "-i",        "gradients=s=64x48:r=25:d=1:c0=0x8060a0:c1=0x60a080:seed=3",
                   "-vf",  "format=yuv420p", "-frames:v", "3",
                   "-c:v", "libx264",        "-crf",      "0"};
    words.insert(words.end(), each.tags.begin(), each.tags.end());
    words.push_back(In("clip.mkv"));
    FFmpeg(words);
    RenderWell("clip.mkv", "out.mkv",
               {"--effect", "Swirl", "--level", "0", "--format", "rgb24", "--codec", "libx264", "--option", "crf=0", "-y"});
    EXPECT_EQ(FormatOf("out.mkv"), each.pixelFormat);
    EXPECT_LE(LargestDifference(ReadClip(In("clip.mkv"), each.pixelFormat), ReadClip(In("out.mkv"), each.pixelFormat)), 3);
  }
}

TEST_F(PixelFormatTest, TenBitsAreTold) {
  MakeSilentClip("clip.mkv", 64, 48, 3, {"-pix_fmt", "yuv420p10le"});
  const Ending ending = RenderWell("clip.mkv", "out.mp4", {"--effect", "Swirl"});
  EXPECT_THAT(ending.err, HasSubstr("10 bits"));
}

}  // namespace

}  // namespace norix::test
