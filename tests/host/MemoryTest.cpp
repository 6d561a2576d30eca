#include <gmock/gmock.h>

#include "host/HostTest.h"

namespace norix::test {

namespace {

class MemoryTest : public HostTest {};

TEST_F(MemoryTest, DoesNotGrowWithTheClip) {
  if (!std::string(NORIX_SANITIZE).empty()) GTEST_SKIP() << "sanitizers keep freed memory";
  MakeClip("short.mkv", 320, 240, 50);
  FFmpeg({"-stream_loop", "19", "-i", In("short.mkv"), "-c", "copy", In("long.mkv")});
  const auto peak = [&](const std::string& input) {
    // An encoder that holds no pictures back, so that only the program's own count.
    const Ending ending = Render(
        input, "out.mkv", {"--effect", "Mirror Move X", "--level", "0:10000", "--codec", "ffv1", "--threads", "2", "-y"});
    ExpectDone(ending);
    return ending.peakKiB;
  };
  const long little = peak("short.mkv");
  ASSERT_EQ(Packets(In("long.mkv"), "v:0").size(), 1000U);
  // The 950 more pictures are 110 MB.
  EXPECT_LT(peak("long.mkv"), little + 30 * 1024);
  EXPECT_GT(little, 0);
}

}  // namespace

}  // namespace norix::test
