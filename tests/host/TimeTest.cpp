#include <gmock/gmock.h>

#include <cstdlib>

#include "host/HostTest.h"

namespace norix::test {

namespace {

class TimeTest : public HostTest {
protected:
  void ExpectSameTimes(const std::string& input, const std::string& output, std::int64_t tolerance) const {
    const std::vector<Timed> expected = FrameTimes(In(input));
    const std::vector<Timed> actual = FrameTimes(In(output));
    ASSERT_EQ(expected.size(), actual.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      EXPECT_LE(std::abs(expected[i].pts - actual[i].pts), tolerance)
          << "frame " << i << ": " << expected[i].pts << " and " << actual[i].pts;
      if (expected[i].duration == 0) continue;  // not told
      EXPECT_LE(std::abs(expected[i].duration - actual[i].duration), tolerance)
          << "duration of frame " << i << ": " << expected[i].duration << " and " << actual[i].duration;
    }
  }

  nlohmann::json VideoOf(const std::string& name) const { return StreamOf(Probe(In(name)), "video"); }
};

TEST_F(TimeTest, FramesKeepTimesAndDurations) {
  MakeClip("clip.mp4", 64, 48, 30);
  RenderWell("clip.mp4", "out.mp4", {"--effect", "Swirl"});
  ExpectSameTimes("clip.mp4", "out.mp4", 0);
  EXPECT_EQ(Packets(In("out.mp4"), "v:0").size(), 30U);
}

TEST_F(TimeTest, LastFrameStaysAsLong) {
  MakeSilentClip("even.mp4", 64, 48, 10, {"-bf", "0"});
  FFmpeg({"-i", In("even.mp4"), "-c", "copy", "-bsf:v", "setts=duration='if(eq(N,9),10240,DURATION)'", In("clip.mp4")});
  ASSERT_EQ(FrameTimes(In("clip.mp4")).back().duration, 800000);
  RenderWell("clip.mp4", "out.mp4", {"--effect", "Swirl", "--option", "bf=0"});
  ExpectSameTimes("clip.mp4", "out.mp4", 0);
  EXPECT_EQ(Probe(In("clip.mp4")).at("format").at("duration"), Probe(In("out.mp4")).at("format").at("duration"));
}

TEST_F(TimeTest, PacketsKeepTimesWhereTheOrderIsTheSame) {
  MakeSilentClip("clip.mp4", 64, 48, 30, {"-bf", "0"});
  RenderWell("clip.mp4", "out.mp4", {"--effect", "Swirl", "--option", "bf=0"});
  const auto times = [&](const std::string& name) {
    std::vector<std::array<std::int64_t, 3>> all;
    for (const Timed& packet : Packets(In(name), "v:0")) all.push_back({packet.pts, packet.dts, packet.duration});
    return all;
  };
  EXPECT_EQ(times("clip.mp4"), times("out.mp4"));
}

TEST_F(TimeTest, RatesOfManyKinds) {
  for (const char* rate : {"24000/1001", "50", "12.5", "1"}) {
    SCOPED_TRACE(rate);
    MakeSilentClip("clip.mp4", 64, 48, 12, {"-r", rate});
    RenderWell("clip.mp4", "out.mp4", {"--effect", "Swirl", "-y"});
    ExpectSameTimes("clip.mp4", "out.mp4", 0);
    EXPECT_EQ(VideoOf("clip.mp4").at("r_frame_rate"), VideoOf("out.mp4").at("r_frame_rate"));
    EXPECT_EQ(VideoOf("clip.mp4").at("avg_frame_rate"), VideoOf("out.mp4").at("avg_frame_rate"));
    EXPECT_EQ(Probe(In("clip.mp4")).at("format").at("duration"), Probe(In("out.mp4")).at("format").at("duration"));
  }
}

TEST_F(TimeTest, FrameRateSurvivesEachContainer) {
  MakeSilentClip("clip.mp4", 64, 48, 24, {"-r", "24000/1001"});
  for (const char* name : {"out.mov", "out.mkv", "out.webm", "out.avi", "out.ts"}) {
    SCOPED_TRACE(name);
    RenderWell("clip.mp4", name, {"--effect", "Swirl"});
    EXPECT_EQ(VideoOf(name).at("r_frame_rate"), "24000/1001");
    EXPECT_EQ(FrameTimes(In(name)).size(), 24U);
  }
}

TEST_F(TimeTest, OtherContainersRoundToTheirOwnClock) {
  MakeSilentClip("clip.mp4", 64, 48, 30);
  RenderWell("clip.mp4", "out.mkv", {"--effect", "Swirl"});
  ExpectSameTimes("clip.mp4", "out.mkv", 1000);
}

TEST_F(TimeTest, VariableFrameRateKeepsItsTimes) {
  MakeSilentClip(
      "clip.mp4", 64, 48, 40,
      {"-vf", "select='not(eq(mod(n,5),2))*not(between(n,20,26))'", "-fps_mode", "vfr", "-enc_time_base", "1:12800"});
  const std::vector<Timed> times = FrameTimes(In("clip.mp4"));
  ASSERT_GT(times.size(), 20U);
  ASSERT_NE(times[1].pts - times[0].pts, times[2].pts - times[1].pts);
  RenderWell("clip.mp4", "out.mp4", {"--effect", "Swirl"});
  ExpectSameTimes("clip.mp4", "out.mp4", 0);
  RenderWell("clip.mp4", "out.mkv", {"--effect", "Swirl", "--codec", "ffv1"});
  ExpectSameTimes("clip.mp4", "out.mkv", 1000);
  ExpectSameFrames(Apply(ReadClip(In("clip.mp4"), "yuv420p"), "Swirl", 5000), ReadClip(In("out.mkv"), "yuv420p"));
}

TEST_F(TimeTest, CodecsThatCountPicturesKeepThemAll) {
  // Noise, as pictures that hardly change take no bytes and FFmpeg passes over them.
  MakeNoiseClip("even.mkv", "yuv420p", 64, 48, 30, {"-c:v", "ffv1"});
  // Off the grid of the rate, and on a clock of milliseconds: nothing that Theora could count in.
  FFmpeg({"-i", In("even.mkv"), "-c", "copy", "-bsf:v", "setts=ts='TS+mod(N*7,5)'", In("clip.mkv")});
  RenderWell("clip.mkv", "out.ogv", {"--effect", "Swirl", "--video-only"});
  ExpectSameTimes("clip.mkv", "out.ogv", 42000);
  EXPECT_EQ(VideoOf("out.ogv").at("r_frame_rate"), VideoOf("clip.mkv").at("avg_frame_rate"));
}

TEST_F(TimeTest, TimesOffTheGridOfTheFrameRateAreKept) {
  // Each frame a little early or late, as cameras and screen recorders write them.
  MakeSilentClip("clip.mp4", 64, 48, 20,
                 {"-vf", "settb=1/90000,setpts='N*3600+mod(N*7919,1900)'", "-fps_mode", "passthrough", "-enc_time_base",
                  "1:90000", "-video_track_timescale", "90000"});
  RenderWell("clip.mp4", "out.mp4", {"--effect", "Swirl"});
  ExpectSameTimes("clip.mp4", "out.mp4", 0);
}

TEST_F(TimeTest, VideoThatBeginsLaterThanSoundStaysSo) {
  MakeClip("even.mp4", 64, 48, 30);
  FFmpeg({"-itsoffset", "0.4", "-i", In("even.mp4"), "-i", In("even.mp4"), "-map", "0:v", "-map", "1:a", "-c", "copy",
          In("clip.mp4")});
  ASSERT_GT(FrameTimes(In("clip.mp4")).front().pts, 390000);
  RenderWell("clip.mp4", "out.mp4", {"--effect", "Swirl"});
  ExpectSameTimes("clip.mp4", "out.mp4", 0);
}

TEST_F(TimeTest, ClipThatBeginsLate) {
  MakeClip("even.mp4", 64, 48, 30);
  FFmpeg({"-i", In("even.mp4"), "-c", "copy", "-output_ts_offset", "3", In("clip.mkv")});
  ASSERT_GE(FrameTimes(In("clip.mkv")).front().pts, 3000000);
  RenderWell("clip.mkv", "out.mkv", {"--effect", "Swirl"});
  ExpectSameTimes("clip.mkv", "out.mkv", 1000);
}

}  // namespace

}  // namespace norix::test
