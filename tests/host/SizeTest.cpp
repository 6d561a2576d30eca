// Pictures of unusual shapes, and clips that change what they are midway.

#include <gmock/gmock.h>

#include <filesystem>
#include <utility>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::HasSubstr;

class SizeTest : public HostTest {
protected:
  void ExpectExact(const std::string& pixelFormat, int width, int height, const std::string& effect) const {
    SCOPED_TRACE(pixelFormat + ' ' + std::to_string(width) + 'x' + std::to_string(height) + ' ' + effect);
    MakeNoiseClip("clip.nut", pixelFormat, width, height, 2, {"-c:v", "rawvideo"});
    RenderWell("clip.nut", "out.nut", {"--effect", effect, "--codec", "rawvideo", "-y"});
    ExpectSameFrames(Apply(ReadClip(In("clip.nut"), pixelFormat), effect, 5000), ReadClip(In("out.nut"), pixelFormat));
  }

  /** JPEG pictures one after the other, each of another size out of so many. */
  void MakeManySizes(const std::string& name, int pictures, int sizes) const {
    std::string bytes;
    for (int size = 0; size < sizes; ++size) {
      const std::string shape = std::to_string(480 + size * 2) + 'x' + std::to_string(400 - size * 2);
      FFmpeg({"-f", "lavfi", "-i", "testsrc2=s=" + shape, "-frames:v", "1", In("one.jpg")});
      for (int i = 0; i < pictures / sizes; ++i) bytes += Content(In("one.jpg"));
    }
    std::filesystem::remove(In("one.jpg"));
    SetContent(In(name), bytes);
  }
};

TEST_F(SizeTest, LinesAndPoints) {
  for (const char* effect : {"Swirl", "Zoom Blur", "Mirror Move X"}) {
    ExpectExact("yuv420p", 1, 1, effect);
    ExpectExact("yuv420p", 1, 8192, effect);
    ExpectExact("bgra", 8192, 1, effect);
  }
}

TEST_F(SizeTest, LinesAreEncodedToo) {
  for (const auto& [width, height] : {std::pair(1, 8192), std::pair(8192, 1), std::pair(1, 1)}) {
    SCOPED_TRACE(width);
    MakeNoiseClip("clip.mkv", "yuv420p", width, height, 2, {"-c:v", "ffv1"});
    RenderWell("clip.mkv", "out.mp4", {"--effect", "Swirl", "-y"});
    EXPECT_EQ(PlayErrors(In("out.mp4")), "");
  }
}

TEST_F(SizeTest, LargePictures) {
  if (!std::string(NORIX_SANITIZE).empty()) GTEST_SKIP() << "too slow under sanitizers";
  FFmpeg({"-f", "lavfi", "-i", "color=red:s=8192x8192", "-frames:v", "2", "-c:v", "mjpeg", In("clip.avi")});
  const Ending ending =
      RenderWell("clip.avi", "out.avi", {"--effect", "Mirror Move X", "--codec", "mjpeg", "--threads", "64"});
  EXPECT_EQ(FrameTimes(In("out.avi")).size(), 2U);
  RecordProperty("peakMiB", static_cast<int>(ending.peakKiB / 1024));
  // Two pictures of 100 MB each in decoder, effect and encoder.
  EXPECT_LT(ending.peakKiB, 1600 * 1024);
}

TEST_F(SizeTest, SizesThatAreClaimed) {
  // A head that promises more than norix takes; nothing of the picture follows.
  std::string bmp = "BM";
  const auto number = [](std::uint32_t value) {
    std::string bytes;
    for (int i = 0; i < 4; ++i) bytes += static_cast<char>(value >> 8 * i & 255U);
    return bytes;
  };
  bmp += number(1000) + number(0) + number(54) + number(40) + number(30000) + number(30000);
  bmp += std::string("\x01\0\x18\0", 4) + number(0) + number(900) + std::string(16 + 900, '\0');
  SetContent(In("claim.bmp"), bmp);
  const Ending ending = Render("claim.bmp", "out.png", {"--effect", "Swirl"});
  EXPECT_EQ(ending.code, 1);
  EXPECT_THAT(ending.err, HasSubstr("norix: error: "));
  EXPECT_THAT(ending.err, HasSubstr("claim.bmp"));
  const long most = std::string(NORIX_SANITIZE).empty() ? 200 : 2000;
  EXPECT_LT(ending.peakKiB, most * 1024);
  EXPECT_EQ(Names(), std::set<std::string>{"claim.bmp"});
}

TEST_F(SizeTest, ManySizesTakeNoMoreMemory) {
  if (!std::string(NORIX_SANITIZE).empty()) GTEST_SKIP() << "sanitizers keep freed memory";
  const auto peak = [&](int sizes) {
    MakeManySizes("clip.mjpeg", 120, sizes);
    const Ending ending =
        RenderWell("clip.mjpeg", "out.mkv", {"--effect", "Swirl", "--codec", "ffv1", "--threads", "2", "-y"});
    EXPECT_THAT(ending.out, HasSubstr("120 frames"));
    return ending.peakKiB;
  };
  const long few = peak(4);
  EXPECT_LT(peak(60), few + 60L * 1024);
}

TEST_F(SizeTest, PixelFormatThatChangesMidway) {
  FFmpeg({"-f", "lavfi", "-i", "testsrc2=s=64x48", "-frames:v", "1", "-pix_fmt", "yuvj420p", In("a.jpg")});
  FFmpeg({"-f", "lavfi", "-i", "testsrc2=s=64x48", "-frames:v", "1", "-pix_fmt", "yuvj444p", In("b.jpg")});
  FFmpeg({"-f", "lavfi", "-i", "testsrc2=s=64x48", "-frames:v", "1", "-pix_fmt", "gray", In("c.jpg")});
  SetContent(In("clip.mjpeg"), Content(In("a.jpg")) + Content(In("b.jpg")) + Content(In("c.jpg")) + Content(In("a.jpg")));
  RenderWell("clip.mjpeg", "out.mkv", {"--effect", "Swirl", "--level", "0", "--codec", "ffv1"});
  const Clip clip = ReadClip(In("out.mkv"), "yuv420p");
  ASSERT_EQ(clip.frames.size(), 4U);
  EXPECT_EQ(clip.frames[0], clip.frames[3]);
  constexpr std::size_t kLuma = 3072;  // 64 x 48
  EXPECT_LE(LargestDifference({"yuv420p", 64, 48, {clip.frames[0].substr(0, kLuma)}},
                              {"yuv420p", 64, 48, {clip.frames[1].substr(0, kLuma)}}),
            40);
}

}  // namespace

}  // namespace norix::test
