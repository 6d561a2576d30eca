#include <gmock/gmock.h>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAre;

class SinglePictureTest : public HostTest {};

TEST_F(SinglePictureTest, PngIntoPng) {
  MakeNoiseClip("photo.png", "rgb24", 57, 43, 1, {});
  RenderWell("photo.png", "out.png", {"--effect", "Swirl"});
  ExpectSameFrames(Apply(ReadClip(In("photo.png"), "rgb24"), "Swirl", 5000), ReadClip(In("out.png"), "rgb24"));
}

TEST_F(SinglePictureTest, PngKeepsTransparency) {
  MakeNoiseClip("photo.png", "rgba", 57, 43, 1, {});
  RenderWell("photo.png", "out.png", {"--effect", "Zoom Blur"});
  ExpectSameFrames(Apply(ReadClip(In("photo.png"), "bgra"), "Zoom Blur", 5000), ReadClip(In("out.png"), "bgra"));
}

TEST_F(SinglePictureTest, JpegInAndOut) {
  FFmpeg({"-f", "lavfi", "-i", "testsrc2=s=64x48", "-frames:v", "1", In("photo.jpg")});
  RenderWell("photo.jpg", "out.jpg", {"--effect", "Mirror Move X", "--level", "0"});
  EXPECT_EQ(PlayErrors(In("out.jpg")), "");
  EXPECT_EQ(FrameTimes(In("out.jpg")).size(), 1U);
  EXPECT_LT(LargestDifference(ReadClip(In("photo.jpg"), "yuvj420p"), ReadClip(In("out.jpg"), "yuvj420p")), 40);
}

TEST_F(SinglePictureTest, OneFrameOfAClip) {
  MakeClip("clip.mp4", 64, 48, 12);
  RenderWell("clip.mp4", "out.png", {"--effect", "Swirl", "--start-frame", "7", "--frames", "1"});
  const Clip picture = ReadClip(In("out.png"), "rgb24");
  ASSERT_EQ(picture.frames.size(), 1U);
  // The effect in 4:2:0 and then the conversion, so colours are near, not equal: nearer than to any other frame.
  RenderWell("clip.mp4", "whole.mkv", {"--effect", "Swirl", "--codec", "ffv1"});
  Clip whole = ReadClip(In("whole.mkv"), "rgb24");
  const auto differences = [&](std::size_t frame) {
    double sum = 0;
    for (std::size_t k = 0; k < picture.frames[0].size(); ++k) {
      sum +=
          std::abs(static_cast<unsigned char>(picture.frames[0][k]) - static_cast<unsigned char>(whole.frames[frame][k]));
    }
    return sum / static_cast<double>(picture.frames[0].size());
  };
  for (std::size_t frame = 0; frame < whole.frames.size(); ++frame) {
    if (frame == 7) continue;
    EXPECT_GT(differences(frame), differences(7)) << frame;
  }
}

TEST_F(SinglePictureTest, MoreFramesThanOneAreRefused) {
  MakeClip("clip.mp4", 64, 48, 12);
  const Ending ending = Render("clip.mp4", "out.png", {"--effect", "Swirl"});
  EXPECT_EQ(ending.code, 2);
  EXPECT_EQ(ending.out, "");
  EXPECT_THAT(ending.err, StartsWith("norix: error: "));
  EXPECT_THAT(ending.err, HasSubstr("--frames 1"));
  EXPECT_THAT(Names(), UnorderedElementsAre("clip.mp4"));
}

TEST_F(SinglePictureTest, NameWithAPercentSign) {
  MakeNoiseClip("photo.png", "rgb24", 20, 10, 1, {});
  RenderWell("photo.png", "50%d off.png", {"--effect", "Swirl"});
}

TEST_F(SinglePictureTest, RunningLevelBeginsOnOnePicture) {
  MakeNoiseClip("photo.png", "rgb24", 57, 43, 1, {});
  RenderWell("photo.png", "out.png", {"--effect", "Swirl", "--level", "2000:9000"});
  ExpectSameFrames(Apply(ReadClip(In("photo.png"), "rgb24"), "Swirl", 2000), ReadClip(In("out.png"), "rgb24"));
}

}  // namespace

}  // namespace norix::test
