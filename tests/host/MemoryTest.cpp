#include <gmock/gmock.h>

#include <cstdlib>

#include "host/HostTest.h"

namespace norix::test {

namespace {

constexpr long kMiB = 1024;  // in KiB, as peaks are told

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
  EXPECT_LT(peak("long.mkv"), little + 30 * kMiB);
  EXPECT_GT(little, 0);
}

/** No more pictures are at work than threads, and those wait in a row of two more; each is there up to three times. */
TEST_F(MemoryTest, GrowsWithTheThreadsAndNotWithTheClip) {
  if (!std::string(NORIX_SANITIZE).empty()) GTEST_SKIP() << "sanitizers keep freed memory";
  MakeSilentClip("clip.mkv", 640, 480, 50);
  constexpr long kPictureKiB = 640L * 480 * 4 / 1024;
  const auto peak = [&](const Words& words) {
    Words all = {"--codec", "ffv1", "-y", "--format", "bgra"};
    all.insert(all.end(), words.begin(), words.end());
    const Ending ending = Render("clip.mkv", "out.mkv", all);
    ExpectDone(ending);
    return ending.peakKiB;
  };
  // What threads have freed stays with them, in as many heaps as there happen to be.
  setenv("MALLOC_ARENA_MAX", "1", 1);
  const Words chain = {"--effect", "Mirror Move X", "--effect", "Swirl", "--group", "Flip Roll Left"};
  const auto with = [&](const char* option, const char* value) {
    Words words = chain;
    words.insert(words.end(), {option, value});
    return words;
  };
  const long one = peak(with("--threads", "1"));
  EXPECT_LT(peak(with("--threads", "16")), one + 18L * 3 * kPictureKiB + 40 * kMiB);
  EXPECT_LT(peak(with("--bands", "16")), one + 5 * kPictureKiB + 20 * kMiB);
}

TEST_F(MemoryTest, GalleryOfALongClip) {
  if (!std::string(NORIX_SANITIZE).empty()) GTEST_SKIP() << "sanitizers keep freed memory";
  MakeSilentClip("short.mkv", 320, 240, 50);
  FFmpeg({"-stream_loop", "19", "-i", In("short.mkv"), "-c", "copy", In("long.mkv")});
  const auto peak = [&](const std::string& input, const char* frame) {
    const Ending ending = Norix({"gallery", In(input), In(input + ".gallery"), "--width", "64", "--frame", frame});
    ExpectDone(ending);
    return ending.peakKiB;
  };
  // The 950 pictures more that it passes over are 110 MB.
  const long little = peak("short.mkv", "40");
  EXPECT_LT(peak("long.mkv", "990"), little + 30 * kMiB);
}

TEST_F(MemoryTest, TransitionShowsAPictureThatStaysLongOneAtATime) {
  if (!std::string(NORIX_SANITIZE).empty()) GTEST_SKIP() << "sanitizers keep freed memory";
  MakeSilentClip("a.mkv", 64, 48, 50);
  FFmpeg({"-i", In("a.mkv"), "-c", "copy", "-bsf:v", "setts=ts='TS+if(gte(N,25),200000,0)'", In("b.mkv")});
  const auto join = [&](const std::string& b) {
    return Norix({"transition", In("a.mkv"), In(b), In("out.mkv"), "--group", "Flip Roll Left", "--codec", "ffv1", "-y"});
  };
  const Ending plain = join("a.mkv");
  ExpectDone(plain);
  const Ending jump = join("b.mkv");
  ExpectDone(jump);
  EXPECT_THAT(jump.out, testing::HasSubstr("5100 frames"));
  EXPECT_LT(jump.peakKiB, plain.peakKiB + 10 * kMiB);
  // Longer than anybody means is refused before it begins.
  FFmpeg({"-i", In("a.mkv"), "-c", "copy", "-bsf:v", "setts=ts='TS+if(gte(N,25),90000000,0)'", In("b.mkv")});
  const Ending endless = join("b.mkv");
  EXPECT_EQ(endless.code, 1);
  EXPECT_THAT(endless.err, testing::HasSubstr("b.mkv"));
  EXPECT_THAT(endless.err, testing::HasSubstr("3600"));
}

}  // namespace

}  // namespace norix::test
