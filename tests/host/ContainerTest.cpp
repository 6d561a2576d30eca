#include <gmock/gmock.h>

#include <algorithm>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::AnyOf;
using testing::HasSubstr;

class ContainerTest : public HostTest {
protected:
  std::string CodecOf(const std::string& name, const std::string& type) const {
    const nlohmann::json stream = StreamOf(Probe(In(name)), type);
    return stream.is_null() ? "" : stream.at("codec_name").get<std::string>();
  }
};

TEST_F(ContainerTest, UsualOnesGetH264AndTheSoundAsItWas) {
  MakeClip("clip.mp4", 64, 48, 12);
  for (const char* name : {"out.mp4", "out.mov", "out.mkv", "OUT.MP4"}) {
    SCOPED_TRACE(name);
    const Ending ending = RenderWell("clip.mp4", name, {"--effect", "Swirl"});
    EXPECT_EQ(CodecOf(name, "video"), "h264");
    EXPECT_EQ(CodecOf(name, "audio"), "aac");
    EXPECT_THAT(ending.out, HasSubstr("12 frames"));
    EXPECT_EQ(ending.err, "");
    EXPECT_EQ(PlayErrors(In(name)), "");
  }
}

TEST_F(ContainerTest, DefaultQualityIsNearThePicture) {
  MakeClip("clip.mp4", 160, 120, 12);
  const Clip expected = Apply(ReadClip(In("clip.mp4"), "yuv420p"), "Mirror Move X", 5000);
  for (const char* name : {"out.mp4", "out.webm", "out.avi"}) {
    SCOPED_TRACE(name);
    RenderWell("clip.mp4", name, {"--effect", "Mirror Move X"});
    const Clip actual = ReadClip(In(name), "yuv420p");
    ASSERT_EQ(actual.frames.size(), expected.frames.size());
    double squares = 0;
    double bytes = 0;
    for (std::size_t i = 0; i < expected.frames.size(); ++i) {
      for (std::size_t k = 0; k < expected.frames[i].size(); ++k) {
        const double difference =
            static_cast<unsigned char>(expected.frames[i][k]) - static_cast<unsigned char>(actual.frames[i][k]);
        squares += difference * difference;
        ++bytes;
      }
    }
    EXPECT_LT(squares / bytes, 25) << "mean square";
  }
}

TEST_F(ContainerTest, JpegTakesClipsOfAnyRange) {
  MakeClip("clip.mp4", 160, 120, 3);
  // Under the name of the plain format, which is what effects know.
  Clip clip = ReadClip(In("clip.mp4"), "yuvj420p");
  clip.pixelFormat = "yuv420p";
  const Clip expected = Apply(clip, "Mirror Move X", 5000);
  for (const char* name : {"out.jpg", "out.avi"}) {
    SCOPED_TRACE(name);
    Words words = {"--effect", "Mirror Move X"};
    if (std::string(name) == "out.jpg") words.insert(words.end(), {"--frames", "1"});
    if (std::string(name) == "out.avi") words.insert(words.end(), {"--codec", "mjpeg"});
    RenderWell("clip.mp4", name, words);
    EXPECT_EQ(CodecOf(name, "video"), "mjpeg");
    const Clip actual = ReadClip(In(name), "yuvj420p");
    Clip first = expected;
    first.frames.resize(actual.frames.size());
    EXPECT_LE(LargestDifference(first, actual), 48) << "the range is not that of the picture";
  }
}

TEST_F(ContainerTest, EncodersHoldTheirTongue) {
  MakeSilentClip("clip.mp4", 64, 64, 3);
  const std::string encoders = FFmpeg({"-encoders"});
  for (const char* codec : {"libx264", "libx265", "libsvtav1", "libaom-av1", "libvpx-vp9", "libtheora"}) {
    if (encoders.find(codec) == std::string::npos) continue;
    EXPECT_EQ(RenderWell("clip.mp4", std::string(codec) + ".mkv", {"--effect", "Swirl", "--codec", codec}).err, "");
  }
}

TEST_F(ContainerTest, IndexStandsInFront) {
  MakeClip("clip.mp4", 64, 48, 12);
  RenderWell("clip.mp4", "out.mp4", {"--effect", "Swirl"});
  const std::string bytes = Content(In("out.mp4"));
  EXPECT_LT(bytes.find("moov"), bytes.find("mdat"));
}

TEST_F(ContainerTest, WebmGetsSoundItTakes) {
  MakeClip("clip.mp4", 64, 48, 50);
  const Ending ending = RenderWell("clip.mp4", "out.webm", {"--effect", "Swirl"});
  EXPECT_THAT(CodecOf("out.webm", "video"), AnyOf("vp9", "vp8", "av1"));
  EXPECT_THAT(CodecOf("out.webm", "audio"), AnyOf("opus", "vorbis"));
  EXPECT_THAT(ending.err, AnyOf(HasSubstr("opus"), HasSubstr("vorbis")));
  EXPECT_EQ(PlayErrors(In("out.webm")), "");
  // As long as before, within two frames of the codecs.
  const auto seconds = [&](const std::string& name) {
    const std::string pcm = FFmpeg({"-i", In(name), "-map", "0:a", "-f", "s16le", "-ac", "1", "-ar", "8000", "-"});
    return static_cast<double>(pcm.size()) / 2 / 8000;
  };
  EXPECT_NEAR(seconds("clip.mp4"), seconds("out.webm"), 0.06);
}

TEST_F(ContainerTest, SoundEncodedAnewIsTheSameSound) {
  MakeClip("clip.mov", 64, 48, 50, {"-c:a", "pcm_s16le", "-ar", "44100"});
  const Ending ending = RenderWell("clip.mov", "out.mp4", {"--effect", "Swirl"});
  EXPECT_EQ(CodecOf("out.mp4", "audio"), "aac");
  EXPECT_THAT(ending.err, HasSubstr("aac"));
  EXPECT_EQ(PlayErrors(In("out.mp4")), "");
  const auto samples = [&](const std::string& name) {
    return FFmpeg({"-i", In(name), "-map", "0:a", "-f", "s16le", "-ac", "1", "-ar", "44100", "-"});
  };
  const std::string before = samples("clip.mov");
  const std::string after = samples("out.mp4");
  EXPECT_NEAR(static_cast<double>(before.size()), static_cast<double>(after.size()), 2 * 2 * 1024);
  // Sample by sample: a shift, a gap or a wrong rate would leave a difference as loud as the sound itself.
  double signal = 0;
  double difference = 0;
  for (std::size_t i = 0; i + 1 < std::min(before.size(), after.size()); i += 2) {
    const auto sample = [i](const std::string& bytes) {
      return static_cast<std::int16_t>(static_cast<unsigned char>(bytes[i]) |
                                       (static_cast<unsigned char>(bytes[i + 1]) << 8));
    };
    const double a = sample(before);
    const double b = sample(after);
    signal += a * a;
    difference += (a - b) * (a - b);
  }
  EXPECT_LT(difference, signal / 50);
}

TEST_F(ContainerTest, AviPlays) {
  MakeClip("clip.mp4", 64, 48, 12);
  RenderWell("clip.mp4", "out.avi", {"--effect", "Swirl"});
  EXPECT_EQ(PlayErrors(In("out.avi")), "");
  EXPECT_EQ(FrameTimes(In("out.avi")).size(), 12U);
  EXPECT_NE(CodecOf("out.avi", "audio"), "");
}

TEST_F(ContainerTest, TransportStreamInAndOut) {
  MakeClip("clip.ts", 64, 48, 30);
  RenderWell("clip.ts", "out.mkv", {"--effect", "Swirl", "--codec", "ffv1"});
  ExpectSameFrames(Apply(ReadClip(In("clip.ts"), "yuv420p"), "Swirl", 5000), ReadClip(In("out.mkv"), "yuv420p"));
  RenderWell("clip.ts", "out.mp4", {"--effect", "Swirl"});
  EXPECT_EQ(FrameTimes(In("out.mp4")).size(), 30U);
  EXPECT_EQ(Packets(In("out.mp4"), "a:0").size(), Packets(In("clip.ts"), "a:0").size());
  RenderWell("clip.ts", "out.ts", {"--effect", "Swirl"});
  EXPECT_EQ(FrameTimes(In("out.ts")).size(), 30U);
  for (const char* name : {"out.mkv", "out.mp4", "out.ts"}) EXPECT_EQ(PlayErrors(In(name)), "") << name;
}

TEST_F(ContainerTest, CodecByItsOwnNameOrItsEncoders) {
  MakeClip("clip.mp4", 64, 48, 5);
  for (const char* codec : {"libx265", "hevc"}) {
    RenderWell("clip.mp4", "out.mkv", {"--effect", "Swirl", "--codec", codec, "-y"});
    EXPECT_EQ(CodecOf("out.mkv", "video"), "hevc");
  }
}

TEST_F(ContainerTest, OptionsReachTheEncoderAndTheContainer) {
  MakeClip("clip.mp4", 64, 48, 30);
  RenderWell("clip.mp4", "out.mp4", {"--effect", "Swirl", "--option", "g=5", "--option", "movflags=+frag_keyframe"});
  const std::string bytes = Content(In("out.mp4"));
  EXPECT_THAT(bytes, HasSubstr("moof"));
  const std::vector<Timed> packets = Packets(In("out.mp4"), "v:0");
  const auto keys = std::count_if(packets.begin(), packets.end(), [](const Timed& packet) { return packet.key; });
  EXPECT_GE(keys, 6);
}

TEST_F(ContainerTest, ExistingFileIsReplacedOnlyWhenAsked) {
  MakeClip("clip.mp4", 64, 48, 5);
  SetContent(In("out.mp4"), "precious");
  const Ending refused = Render("clip.mp4", "out.mp4", {"--effect", "Swirl"});
  EXPECT_EQ(refused.code, 1);
  EXPECT_EQ(Content(In("out.mp4")), "precious");
  RenderWell("clip.mp4", "out.mp4", {"--effect", "Swirl", "-y"});
  EXPECT_EQ(FrameTimes(In("out.mp4")).size(), 5U);
}

TEST_F(ContainerTest, NamesWithSpacesPercentSignsAndLetters) {
  for (const char* name : {"a clip.mp4", "100%d.mp4", "vögel.mp4", "a:b.mp4", "quote'd.mp4"}) {
    SCOPED_TRACE(name);
    MakeClip("plain.mp4", 64, 48, 4);
    SetContent(In(name), Content(In("plain.mp4")));
    const std::string output = "out of " + std::string(name);
    RenderWell(name, output, {"--effect", "Swirl"});
    SetContent(In("plain.mp4"), Content(In(output)));
    EXPECT_EQ(FrameTimes(In("plain.mp4")).size(), 4U);
  }
}

}  // namespace

}  // namespace norix::test
