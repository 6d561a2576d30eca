// Two clips joined with a group effect over the cut.

#include <NorixEngine/FEParams.h>
#include <gmock/gmock.h>

#include <cmath>
#include <cstring>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::HasSubstr;

constexpr double kToneLoudness = 0.354;  // of the tone in MakeClip(), which swings by 0.5
constexpr int kSamples = 44100;

Clip OneFrame(const Clip& clip, std::size_t frame) {
  return {clip.pixelFormat, clip.width, clip.height, {clip.frames.at(frame)}};
}

/** What the engine makes of a picture at that time of a group. */
std::string AtTime(const std::string& group, int time, Clip picture) {
  FilterGroupParam* record = nullptr;
  GetFilterGroupParam(group.c_str(), time, &record);
  for (int k = 0; k < record->count; ++k) {
    const FilterGroupEntry& entry = record->entries[k];
    // Without a size for its tiles the effect has nothing to show, and the picture stays.
    const bool noTiles =
        std::strcmp(entry.name, "Tile Scale") == 0 && static_cast<TileScaleParams&>(*entry.params).scale <= 0;
    if (noTiles) continue;
    picture = Apply(picture, entry.name, 0, SettingsOf(entry));
  }
  ReleaseFilterGroupParam(record);
  return picture.frames.front();
}

int TimeOf(int frame, int frames) {
  return frames == 1 ? 5000 : static_cast<int>(std::lround(frame * 10000.0 / (frames - 1)));
}

/** Frames of both clips, the last of the first and the first of the second under the group. */
Clip Joined(const Clip& a, const Clip& b, const std::string& group, int window) {
  int before = 0;
  while (before < window && TimeOf(before, window) < 5000) ++before;
  Clip joined = a;
  joined.frames.insert(joined.frames.end(), b.frames.begin(), b.frames.end());
  for (int k = 0; k < window; ++k) {
    const std::size_t at = a.frames.size() + static_cast<std::size_t>(k) - static_cast<std::size_t>(before);
    joined.frames[at] = AtTime(group, TimeOf(k, window), OneFrame(joined, at));
  }
  return joined;
}

class TransitionTest : public HostTest {
protected:
  /** A clip of noise without loss, another for each seed. */
  void MakePictures(const std::string& name, unsigned seed, int frames, const std::string& rate = "25") const {
    SetContent(In("raw"), Noise(PictureBytes("yuv420p", 64, 48) * static_cast<std::size_t>(frames), seed));
    FFmpeg({"-f", "rawvideo", "-pix_fmt", "yuv420p", "-s", "64x48", "-r", rate, "-i", In("raw"), "-c:v", "ffv1", In(name)});
    SetContent(In("raw"), "");
  }

  /** A clip of one colour. */
  void MakePlain(const std::string& name, const std::string& size, const std::string& filter, int frames) const {
    FFmpeg({"-f", "lavfi", "-i", "color=white:r=25:s=" + size, "-vf", filter, "-frames:v", std::to_string(frames),
            "-pix_fmt", "yuv420p", "-c:v", "ffv1", In(name)});
  }

  Ending Join(const std::string& output, const Words& arguments) const {
    Words all = {"transition", In("a.mkv"), In("b.mkv"), In(output)};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return Norix(all);
  }

  /** The same without loss, which must succeed and leave nothing but the output. */
  void JoinWell(const std::string& output, Words arguments) const {
    auto names = Names();
    arguments.insert(arguments.end(), {"--codec", "ffv1"});
    const Ending ending = Join(output, arguments);
    ExpectDone(ending);
    EXPECT_THAT(ending.out, testing::StartsWith(In(output) + ": "));
    names.insert(output);
    EXPECT_EQ(Names(), names);
  }

  /** Joins a clip of that rate to one of 25 frames a second, and expects the latest of its frames at each time. */
  void ExpectLatestFrames(const std::string& rate) const {
    SCOPED_TRACE(rate);
    MakePictures("a.mkv", 1, 5);
    MakePictures("b.mkv", 2, 12, rate);
    const Clip b = ReadClip(In("b.mkv"), "yuv420p");
    const std::vector<Timed> times = FrameTimes(In("b.mkv"));
    ASSERT_EQ(times.size(), 12U);
    Clip shown = b;
    shown.frames.clear();
    const auto count = static_cast<std::size_t>(std::lround(12 * 25 / std::stod(rate)));
    for (std::size_t i = 0, latest = 0; i < count; ++i) {
      while (latest + 1 < times.size() && times[latest + 1].pts <= static_cast<std::int64_t>(i) * 40000) ++latest;
      shown.frames.push_back(b.frames[latest]);
    }
    JoinWell(rate + ".mkv", {"--group", "Flip Roll Left", "--duration", "0.16"});
    ExpectSameFrames(Joined(ReadClip(In("a.mkv"), "yuv420p"), shown, "Flip Roll Left", 4),
                     ReadClip(In(rate + ".mkv"), "yuv420p"));
  }

  /** The sound of a file, on the file's own clock. */
  std::vector<float> SoundOf(const std::string& name) const {
    const std::string bytes = FFmpeg({"-i", In(name), "-map", "0:a", "-af", "aresample=async=1:first_pts=0", "-f", "f32le",
                                      "-ac", "1", "-ar", std::to_string(kSamples), "-"});
    std::vector<float> samples(bytes.size() / sizeof(float));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
    return samples;
  }

  static double Loudness(const std::vector<float>& samples, double fromSeconds, double toSeconds) {
    const auto from = static_cast<std::size_t>(fromSeconds * kSamples);
    const auto to = static_cast<std::size_t>(toSeconds * kSamples);
    if (to > samples.size()) return -1;
    double sum = 0;
    for (std::size_t i = from; i < to; ++i) sum += static_cast<double>(samples[i]) * samples[i];
    return std::sqrt(sum / static_cast<double>(to - from));
  }
};

TEST_F(TransitionTest, GroupIsOverTheCutAndOtherFramesStay) {
  MakePictures("a.mkv", 1, 14);
  MakePictures("b.mkv", 2, 12);
  const Clip a = ReadClip(In("a.mkv"), "yuv420p");
  const Clip b = ReadClip(In("b.mkv"), "yuv420p");
  // An even number of frames, an odd one with a frame at time 5000, and one frame alone, which is the second clip's.
  for (const auto& [seconds, window] : {std::pair("0.4", 10), std::pair("0.28", 7), std::pair("0.01", 1)}) {
    SCOPED_TRACE(seconds);
    const std::string name = std::string(seconds) + ".mkv";
    JoinWell(name, {"--group", "Flip Roll Left", "--duration", seconds});
    const Clip expected = Joined(a, b, "Flip Roll Left", window);
    ASSERT_EQ(expected.frames.size(), 26U);
    ASSERT_NE(expected.frames[14], b.frames[0]) << "the group shows nothing";
    ExpectSameFrames(expected, ReadClip(In(name), "yuv420p"));
  }
}

TEST_F(TransitionTest, LastsASecondUnlessTold) {
  MakePictures("a.mkv", 1, 14);
  MakePictures("b.mkv", 2, 14);
  JoinWell("out.mkv", {"--group", "Flip Roll Right"});
  ExpectSameFrames(Joined(ReadClip(In("a.mkv"), "yuv420p"), ReadClip(In("b.mkv"), "yuv420p"), "Flip Roll Right", 25),
                   ReadClip(In("out.mkv"), "yuv420p"));
}

TEST_F(TransitionTest, PictureWithoutTilesStaysAndIsBlurred) {
  MakePictures("a.mkv", 1, 8);
  MakePictures("b.mkv", 2, 8);
  JoinWell("out.mkv", {"--group", "Tile Zoom Blur", "--duration", "0.4"});
  const Clip a = ReadClip(In("a.mkv"), "yuv420p");
  Clip out = ReadClip(In("out.mkv"), "yuv420p");
  const Clip expected = Joined(a, ReadClip(In("b.mkv"), "yuv420p"), "Tile Zoom Blur", 10);
  // The first frame of the window, far before the first tiles.
  EXPECT_EQ(Apply(OneFrame(a, 3), "Zoom Blur", 10000).frames[0], out.frames.at(3));
  for (std::size_t i = 0; i < 12; ++i) EXPECT_EQ(expected.frames[i], out.frames.at(i)) << "frame " << i;
}

TEST_F(TransitionTest, TimesGoOnOverTheCut) {
  MakePictures("a.mkv", 1, 10);
  MakePictures("b.mkv", 2, 30, "30");
  JoinWell("out.mkv", {"--group", "Flip Roll Up", "--duration", "0.2"});
  const std::vector<Timed> frames = FrameTimes(In("out.mkv"));
  ASSERT_EQ(frames.size(), 10U + 25U);
  for (std::size_t i = 0; i < frames.size(); ++i) EXPECT_EQ(frames[i].pts, static_cast<std::int64_t>(i) * 40000);
}

TEST_F(TransitionTest, SlowerClipRepeatsFrames) { ExpectLatestFrames("12.5"); }

TEST_F(TransitionTest, FasterClipSkipsFrames) {
  ExpectLatestFrames("50");
  ExpectLatestFrames("30");
}

TEST_F(TransitionTest, AnotherSizeIsFittedOnBlack) {
  struct Case {
    const char* size;
    const char* filter;
    int left, top;  // of the picture between the bars
  };
  MakePictures("a.mkv", 1, 4);
  for (const Case& each : {Case{"32x64", "null", 20, 0}, Case{"128x48", "null", 0, 12}, Case{"32x48", "setsar=2", 0, 0},
                           Case{"32x24", "null", 0, 0}}) {
    const std::string name = std::string(each.size) + ".mkv";
    SCOPED_TRACE(name);
    MakePlain("b.mkv", each.size, each.filter, 4);
    JoinWell(name, {"--group", "Flip Roll Left", "--duration", "0.08"});
    const Clip out = ReadClip(In(name), "gray");
    EXPECT_EQ(out.width, 64);
    EXPECT_EQ(out.height, 48);
    ASSERT_EQ(out.frames.size(), 8U);
    int wrong = 0;
    std::size_t at = 0;
    for (int y = 0; y < 48; ++y) {
      for (int x = 0; x < 64; ++x) {
        const bool inside = x >= each.left && x < 64 - each.left && y >= each.top && y < 48 - each.top;
        const auto value = static_cast<unsigned char>(out.frames[7][at++]);
        if (std::abs(value - (inside ? 255 : 0)) > 2) ++wrong;
      }
    }
    EXPECT_EQ(wrong, 0) << "pixels are on the wrong side of a bar";
    const Clip colours = ReadClip(In(name), "yuv420p");
    constexpr std::size_t kLuma = 3072;  // 64 x 48
    EXPECT_EQ(colours.frames[7].substr(kLuma), std::string(kLuma / 2, '\x80')) << "bars are coloured";
  }
}

TEST_F(TransitionTest, SoundFadesToTheCutAndIsAsLongAsThePictures) {
  MakeClip("a.mkv", 32, 24, 25, {"-c:a", "pcm_s16le"});
  MakeClip("b.mkv", 32, 24, 30, {"-c:a", "pcm_s16le", "-ar", "22050"});
  JoinWell("out.mkv", {"--group", "Flip Roll Left", "--duration", "0.8"});
  EXPECT_EQ(FrameTimes(In("out.mkv")).size(), 55U);
  const std::vector<float> sound = SoundOf("out.mkv");
  EXPECT_NEAR(static_cast<double>(sound.size()) / kSamples, 2.2, 0.03);
  EXPECT_NEAR(Loudness(sound, 0.1, 0.5), kToneLoudness, 0.02);
  EXPECT_NEAR(Loudness(sound, 0.78, 0.82), kToneLoudness * 0.707, 0.03);
  EXPECT_LT(Loudness(sound, 0.98, 1.02), kToneLoudness * 0.1);
  EXPECT_NEAR(Loudness(sound, 1.18, 1.22), kToneLoudness * 0.707, 0.03);
  EXPECT_NEAR(Loudness(sound, 1.5, 2.1), kToneLoudness, 0.02);
}

TEST_F(TransitionTest, ClipWithoutSoundIsSilent) {
  const auto sounds = [&](const char* output) {
    JoinWell(output, {"--group", "Flip Roll Left", "--duration", "0.2"});
    const std::vector<float> sound = SoundOf(output);
    EXPECT_NEAR(static_cast<double>(sound.size()) / kSamples, 2, 0.03);
    return std::pair(Loudness(sound, 0.1, 0.8), Loudness(sound, 1.2, 1.9));
  };
  MakeClip("a.mkv", 32, 24, 25, {"-c:a", "pcm_s16le"});
  MakeSilentClip("b.mkv", 32, 24, 25);
  const auto first = sounds("first.mkv");
  EXPECT_NEAR(first.first, kToneLoudness, 0.02);
  EXPECT_LT(first.second, 0.001);

  MakeSilentClip("a.mkv", 32, 24, 25);
  MakeClip("b.mkv", 32, 24, 25, {"-c:a", "pcm_s16le"});
  const auto second = sounds("second.mkv");
  EXPECT_LT(second.first, 0.001);
  EXPECT_NEAR(second.second, kToneLoudness, 0.02);

  MakeSilentClip("b.mkv", 32, 24, 25);
  JoinWell("none.mkv", {"--group", "Flip Roll Left", "--duration", "0.2"});
  EXPECT_TRUE(StreamOf(Probe(In("none.mkv")), "audio").is_null());
  EXPECT_EQ(FrameTimes(In("none.mkv")).size(), 50U);
}

TEST_F(TransitionTest, IsTheSameForAnyNumberOfThreads) {
  MakePictures("a.mkv", 1, 13);
  MakePictures("b.mkv", 2, 13);
  // In a short window every thread skips most of the group's time.
  for (const std::string seconds : {"0.32", "1"}) {
    for (const std::string group : {"Blurry Cross Right Up", "Tile Zoom Blur"}) {
      SCOPED_TRACE(group);
      const std::string name = group + seconds;
      JoinWell(name + "1.mkv", {"--group", group, "--duration", seconds, "--threads", "1"});
      JoinWell(name + "3.mkv", {"--group", group, "--duration", seconds, "--threads", "3"});
      ExpectSameFrames(ReadClip(In(name + "1.mkv"), "yuv420p"), ReadClip(In(name + "3.mkv"), "yuv420p"));
    }
  }
}

TEST_F(TransitionTest, TooShortAClipIsNamedWithTheDurationThatWouldDo) {
  MakePictures("a.mkv", 1, 5);
  MakePictures("b.mkv", 2, 20);
  const auto names = Names();
  const Ending first = Join("out.mkv", {"--group", "Flip Roll Left"});
  EXPECT_EQ(first.code, 1);
  EXPECT_EQ(first.out, "");
  EXPECT_THAT(first.err, HasSubstr("'" + In("a.mkv") + "' is too short"));
  EXPECT_THAT(first.err, HasSubstr("--duration can be 0.40 at most"));
  EXPECT_EQ(Names(), names);

  MakePictures("a.mkv", 1, 20);
  MakePictures("b.mkv", 2, 9, "30");
  const Ending second = Join("out.mkv", {"--group", "Flip Roll Left"});
  EXPECT_EQ(second.code, 1);
  EXPECT_THAT(second.err, HasSubstr("'" + In("b.mkv") + "' is too short"));
  EXPECT_EQ(Names(), names);
  // As long as it says is indeed possible, a little more is not.
  const std::string before = "--duration can be ";
  const auto at = second.err.find(before);
  ASSERT_NE(at, std::string::npos) << second.err;
  const double most = std::stod(second.err.substr(at + before.size()));
  EXPECT_EQ(Join("more.mkv", {"--group", "Flip Roll Left", "--duration", std::to_string(most + 0.04)}).code, 1);
  JoinWell("out.mkv", {"--group", "Flip Roll Left", "--duration", std::to_string(most)});
}

TEST_F(TransitionTest, AbsurdDurationsAreRefused) {
  MakePictures("a.mkv", 1, 20);
  MakePictures("b.mkv", 2, 20);
  const auto names = Names();
  for (const char* seconds : {"1e300", "4e17", "nan", "inf"}) {
    SCOPED_TRACE(seconds);
    const Ending ending = Join("out.mkv", {"--group", "Flip Roll Left", "--codec", "ffv1", "--duration", seconds});
    EXPECT_GT(ending.code, 0);
    EXPECT_THAT(ending.err, HasSubstr("--duration"));
    EXPECT_EQ(Names(), names);
  }
}

TEST_F(TransitionTest, MistakesAreToldAndNoFileIsLost) {
  MakePictures("a.mkv", 1, 20);
  MakePictures("b.mkv", 2, 20);
  SetContent(In("out.mkv"), "precious");
  const auto names = Names();
  struct Mistake {
    std::string output;
    Words arguments;
    int code;
    const char* told;
  };
  for (const Mistake& each : {Mistake{"new.mkv", {"--group", "Flip Role Left"}, 2, "Flip Roll Left"},
                              Mistake{"new.mkv", {"--group", "Swirl"}, 2, "Swirl"}, Mistake{"new.mkv", {}, 2, "--group"},
                              Mistake{"new.mkv", {"--group", "Flip Roll Left", "--duration", "0"}, 2, "--duration"},
                              Mistake{"new.mkv", {"--group", "Flip Roll Left", "--codec", "nonsense"}, 2, "nonsense"},
                              Mistake{"out.mkv", {"--group", "Flip Roll Left", "--duration", "0.4"}, 1, "-y"},
                              Mistake{"b.mkv", {"--group", "Flip Roll Left", "-y", "--duration", "0.4"}, 1, "input"}}) {
    const Ending ending = Join(each.output, each.arguments);
    EXPECT_EQ(ending.code, each.code) << ending.err;
    EXPECT_THAT(ending.err, HasSubstr(each.told));
    EXPECT_EQ(Names(), names);
    EXPECT_EQ(Content(In("out.mkv")), "precious");
  }
  JoinWell("out.mkv", {"--group", "Flip Roll Left", "--duration", "0.4", "-y"});
  EXPECT_EQ(FrameTimes(In("out.mkv")).size(), 40U);
}

}  // namespace

}  // namespace norix::test
