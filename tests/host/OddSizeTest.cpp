#include <gmock/gmock.h>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::HasSubstr;

class OddSizeTest : public HostTest {
protected:
  /** Renders noise into H.264 without loss and compares what lies inside, and the padding with its neighbours. */
  void ExpectPadded(int width, int height) const {
    MakeNoiseClip("clip.mkv", "yuv420p", width, height, 3, {"-c:v", "ffv1"});
    const Ending ending =
        RenderWell("clip.mkv", "out.mp4", {"--effect", "Mirror Move X", "--level", "3000", "--option", "crf=0", "-y"});
    const int evenWidth = width + width % 2;
    const int evenHeight = height + height % 2;
    EXPECT_THAT(ending.err, HasSubstr(std::to_string(width) + 'x' + std::to_string(height)));
    EXPECT_THAT(ending.err, HasSubstr(std::to_string(evenWidth) + 'x' + std::to_string(evenHeight)));

    const Clip inside = Apply(ReadClip(In("clip.mkv"), "yuv420p"), "Mirror Move X", 3000);
    const Clip padded = ReadClip(In("out.mp4"), "yuv420p");
    ASSERT_EQ(padded.width, evenWidth);
    ASSERT_EQ(padded.height, evenHeight);
    ASSERT_EQ(padded.frames.size(), inside.frames.size());
    const auto at = [](int x) { return static_cast<std::size_t>(x); };
    for (std::size_t i = 0; i < inside.frames.size(); ++i) {
      for (int y = 0; y < evenHeight; ++y) {
        for (int x = 0; x < evenWidth; ++x) {
          const std::size_t from = at(std::min(y, height - 1)) * at(width) + at(std::min(x, width - 1));
          ASSERT_EQ(inside.frames[i][from], padded.frames[i][at(y) * at(evenWidth) + at(x)])
              << "frame " << i << " at " << x << ',' << y;
        }
      }
      // Chroma of the odd size covers the even one.
      ASSERT_EQ(inside.frames[i].substr(at(width) * at(height)), padded.frames[i].substr(at(evenWidth) * at(evenHeight)));
    }
  }
};

TEST_F(OddSizeTest, WidthIsPadded) { ExpectPadded(45, 36); }

TEST_F(OddSizeTest, HeightIsPadded) { ExpectPadded(46, 37); }

TEST_F(OddSizeTest, BothArePadded) { ExpectPadded(45, 37); }

TEST_F(OddSizeTest, EvenSizesAreLeftAlone) {
  MakeSilentClip("clip.mp4", 64, 48, 3);
  EXPECT_EQ(RenderWell("clip.mp4", "out.mp4", {"--effect", "Swirl"}).err, "");
}

TEST_F(OddSizeTest, SizeTwo) {
  MakeNoiseClip("clip.mkv", "yuv420p", 2, 2, 3, {"-c:v", "ffv1"});
  RenderWell("clip.mkv", "out.mkv", {"--effect", "Swirl", "--codec", "ffv1"});
  ExpectSameFrames(Apply(ReadClip(In("clip.mkv"), "yuv420p"), "Swirl", 5000), ReadClip(In("out.mkv"), "yuv420p"));
}

}  // namespace

}  // namespace norix::test
