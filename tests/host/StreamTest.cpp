// What is not the picture: it goes through as it was.

#include <gmock/gmock.h>

#include <cstdlib>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::HasSubstr;

const char* const kSubtitles =
    "1\n00:00:00,100 --> 00:00:00,400\nA bird.\n\n2\n00:00:00,500 --> 00:00:00,900\nTwo <i>birds</i>.\n\n";

const char* const kChapters =
    ";FFMETADATA1\ntitle=Birds of a feather\nartist=Someone\n"
    "[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=400\ntitle=Before\n"
    "[CHAPTER]\nTIMEBASE=1/1000\nSTART=400\nEND=1000\ntitle=After\n";

class StreamTest : public HostTest {
protected:
  void ExpectSamePackets(const std::string& input, const std::string& output, const std::string& stream,
                         std::int64_t tolerance) const {
    const std::vector<Timed> expected = Packets(In(input), stream);
    const std::vector<Timed> actual = Packets(In(output), stream);
    ASSERT_FALSE(expected.empty());
    ASSERT_EQ(expected.size(), actual.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      EXPECT_EQ(expected[i].hash, actual[i].hash) << "packet " << i;
      EXPECT_LE(std::abs(expected[i].pts - actual[i].pts), tolerance) << "packet " << i;
      EXPECT_LE(std::abs(expected[i].dts - actual[i].dts), tolerance) << "packet " << i;
      EXPECT_LE(std::abs(expected[i].duration - actual[i].duration), tolerance) << "packet " << i;
    }
  }

  nlohmann::json VideoOf(const std::string& name) const { return StreamOf(Probe(In(name)), "video"); }

  static std::string Tag(const nlohmann::json& object, const std::string& name) {
    const nlohmann::json tags = object.value("tags", nlohmann::json::object());
    for (const auto& [key, value] : tags.items()) {
      if (strcasecmp(key.c_str(), name.c_str()) == 0) return value.get<std::string>();
    }
    return "";
  }
};

TEST_F(StreamTest, SoundIsCopiedPacketByPacket) {
  MakeClip("clip.mp4", 64, 48, 30);
  RenderWell("clip.mp4", "out.mp4", {"--effect", "Swirl"});
  ExpectSamePackets("clip.mp4", "out.mp4", "a:0", 0);
  const nlohmann::json before = StreamOf(Probe(In("clip.mp4")), "audio");
  const nlohmann::json after = StreamOf(Probe(In("out.mp4")), "audio");
  for (const char* key : {"codec_name", "profile", "sample_rate", "channels", "channel_layout", "start_time", "duration",
                          "nb_frames", "extradata_size", "codec_tag_string"}) {
    EXPECT_EQ(before.value(key, nlohmann::json()), after.value(key, nlohmann::json())) << key;
  }
}

TEST_F(StreamTest, SoundSurvivesAChangeOfContainer) {
  MakeClip("clip.mp4", 64, 48, 30);
  for (const char* name : {"out.mkv", "out.mov"}) {
    SCOPED_TRACE(name);
    RenderWell("clip.mp4", name, {"--effect", "Swirl"});
    const std::vector<Timed> expected = Packets(In("clip.mp4"), "a:0");
    const std::vector<Timed> actual = Packets(In(name), "a:0");
    ASSERT_EQ(expected.size(), actual.size());
    // Against the picture, as a container may move both.
    const std::int64_t shift = FrameTimes(In(name)).front().pts - FrameTimes(In("clip.mp4")).front().pts;
    for (std::size_t i = 0; i < expected.size(); ++i) {
      EXPECT_EQ(expected[i].hash, actual[i].hash) << "packet " << i;
      EXPECT_NEAR(static_cast<double>(expected[i].pts + shift), static_cast<double>(actual[i].pts), 1001) << "packet " << i;
    }
  }
}

TEST_F(StreamTest, SoundLongerThanThePictureIsKeptWhole) {
  MakeClip("clip.mp4", 64, 48, 10, {"-frames:a", "90"});
  FFmpeg({"-i", In("clip.mp4"), "-f", "lavfi", "-i", "sine=f=300:d=3", "-map", "0:v", "-map", "1:a", "-c:v", "copy", "-c:a",
          "aac", In("long.mp4")});
  ASSERT_GT(Packets(In("long.mp4"), "a:0").size(), 100U);
  RenderWell("long.mp4", "out.mp4", {"--effect", "Swirl"});
  ExpectSamePackets("long.mp4", "out.mp4", "a:0", 0);
}

TEST_F(StreamTest, AllStreamsWithLanguagesTitlesAndDispositions) {
  MakeClip("two.mkv", 64, 48, 25);
  SetContent(In("text.srt"), kSubtitles);
  FFmpeg({"-i",
          In("two.mkv"),
          "-i",
          In("text.srt"),
          "-f",
          "lavfi",
          "-i",
          "sine=f=300:d=1",
          "-map",
          "0:v",
          "-map",
          "0:a",
          "-map",
          "2:a",
          "-map",
          "1:s",
          "-c:v",
          "copy",
          "-c:a",
          "aac",
          "-c:s",
          "srt",
          "-metadata:s:a:0",
          "language=deu",
          "-metadata:s:a:1",
          "language=fra",
          "-metadata:s:a:1",
          "title=Commentary",
          "-metadata:s:s:0",
          "language=eng",
          "-metadata:s:v:0",
          "title=The picture",
          "-disposition:a:0",
          "0",
          "-disposition:a:1",
          "default+comment",
          "-disposition:s:0",
          "default+forced",
          In("clip.mkv")});
  const Ending ending = RenderWell("clip.mkv", "out.mkv", {"--effect", "Swirl"});
  EXPECT_EQ(ending.err, "");
  const nlohmann::json before = Probe(In("clip.mkv"));
  const nlohmann::json after = Probe(In("out.mkv"));
  ASSERT_EQ(after.at("streams").size(), 4U);
  for (std::size_t i = 0; i < 4; ++i) {
    SCOPED_TRACE(i);
    const nlohmann::json& from = before.at("streams").at(i);
    const nlohmann::json& to = after.at("streams").at(i);
    EXPECT_EQ(from.at("codec_name"), to.at("codec_name"));
    EXPECT_EQ(from.at("disposition"), to.at("disposition"));
    EXPECT_EQ(Tag(from, "language"), Tag(to, "language"));
    EXPECT_EQ(Tag(from, "title"), Tag(to, "title"));
  }
  ASSERT_EQ(Tag(before.at("streams").at(2), "title"), "Commentary");
  ASSERT_EQ(before.at("streams").at(3).at("disposition").at("forced"), 1);
  for (const char* stream : {"a:0", "a:1", "s:0"}) {
    SCOPED_TRACE(stream);
    ExpectSamePackets("clip.mkv", "out.mkv", stream, 0);
  }
}

TEST_F(StreamTest, SubtitlesThatAreSparseAndLate) {
  // The last line comes long after the first, with hundreds of other packets in between.
  MakeClip("clip0.mkv", 32, 24, 300);
  SetContent(In("text.srt"), "1\n00:00:00,100 --> 00:00:00,400\nFirst.\n\n2\n00:00:11,500 --> 00:00:11,900\nLast.\n\n");
  FFmpeg(
      {"-i", In("clip0.mkv"), "-i", In("text.srt"), "-map", "0", "-map", "1", "-c", "copy", "-c:s", "srt", In("clip.mkv")});
  ASSERT_EQ(Packets(In("clip.mkv"), "s:0").size(), 2U);
  RenderWell("clip.mkv", "out.mkv", {"--effect", "Mirror Move X"});
  ExpectSamePackets("clip.mkv", "out.mkv", "s:0", 0);
  ExpectSamePackets("clip.mkv", "out.mkv", "a:0", 0);
}

TEST_F(StreamTest, SubtitlesTheContainerDoesNotTakeAreToldOf) {
  MakeClip("clip0.mkv", 32, 24, 10);
  SetContent(In("text.srt"), kSubtitles);
  FFmpeg({"-i", In("clip0.mkv"), "-i", In("text.srt"), "-c", "copy", "-c:s", "srt", In("clip.mkv")});
  const Ending ending = RenderWell("clip.mkv", "out.mp4", {"--effect", "Swirl"});
  EXPECT_THAT(ending.err, HasSubstr("subtitle"));
  EXPECT_TRUE(StreamOf(Probe(In("out.mp4")), "subtitle").is_null());
  EXPECT_FALSE(StreamOf(Probe(In("out.mp4")), "audio").is_null());
}

TEST_F(StreamTest, MetadataAndChapters) {
  SetContent(In("chapters.txt"), kChapters);
  MakeClip("plain.mkv", 32, 24, 25);
  for (const char* extension : {".mkv", ".mp4"}) {
    SCOPED_TRACE(extension);
    const std::string input = std::string("clip") + extension;
    const std::string output = std::string("out") + extension;
    FFmpeg({"-i", In("plain.mkv"), "-i", In("chapters.txt"), "-map", "0", "-map_metadata", "1", "-c", "copy", In(input)});
    RenderWell(input, output, {"--effect", "Swirl"});
    const nlohmann::json before = Probe(In(input));
    const nlohmann::json after = Probe(In(output));
    EXPECT_EQ(Tag(after.at("format"), "title"), "Birds of a feather");
    EXPECT_EQ(Tag(after.at("format"), "artist"), "Someone");
    ASSERT_EQ(after.at("chapters").size(), 2U);
    for (std::size_t i = 0; i < 2; ++i) {
      for (const char* key : {"start_time", "end_time", "tags"}) {
        EXPECT_EQ(before.at("chapters").at(i).at(key), after.at("chapters").at(i).at(key));
      }
    }
  }
}

TEST_F(StreamTest, SampleAspectRatio) {
  MakeSilentClip("clip.mp4", 64, 48, 5, {"-vf", "setsar=4/3"});
  ASSERT_EQ(VideoOf("clip.mp4").at("sample_aspect_ratio"), "4:3");
  for (const char* name : {"out.mp4", "out.mov", "out.mkv"}) {
    RenderWell("clip.mp4", name, {"--effect", "Swirl"});
    EXPECT_EQ(VideoOf(name).at("sample_aspect_ratio"), "4:3") << name;
  }
}

TEST_F(StreamTest, RotationStaysInTheContainer) {
  MakeSilentClip("plain.mp4", 64, 48, 5);
  FFmpeg({"-i", In("plain.mp4"), "-c", "copy", "-metadata:s:v:0", "rotate=90", In("clip.mp4")});
  const nlohmann::json before = VideoOf("clip.mp4");
  ASSERT_TRUE(before.contains("side_data_list"));
  ASSERT_TRUE(before.at("side_data_list").at(0).contains("rotation"));
  for (const char* name : {"out.mp4", "out.mov"}) {
    SCOPED_TRACE(name);
    RenderWell("clip.mp4", name, {"--effect", "Swirl"});
    const nlohmann::json after = VideoOf(name);
    EXPECT_EQ(after.value("side_data_list", nlohmann::json()), before.at("side_data_list"));
    EXPECT_EQ(after.at("width"), 64);  // the picture itself is not turned
    EXPECT_EQ(after.at("height"), 48);
  }
}

TEST_F(StreamTest, ColoursAreDescribedAsTheyWere) {
  struct Case {
    const char* description;
    Words arguments;
  };
  const std::vector<Case> cases = {
      {"high definition",
       {"-color_range", "tv", "-color_primaries", "bt709", "-color_trc", "bt709", "-colorspace", "bt709"}},
      {"television of old",
       {"-color_range", "tv", "-color_primaries", "bt470bg", "-color_trc", "gamma28", "-colorspace", "bt470bg"}},
      {"full range", {"-color_range", "pc", "-pix_fmt", "yuvj420p", "-colorspace", "smpte170m"}},
      {"told nothing", {}},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.description);
    MakeSilentClip("clip.mp4", 64, 48, 4, each.arguments);
    const nlohmann::json before = VideoOf("clip.mp4");
    for (const char* name : {"out.mp4", "out.mkv"}) {
      SCOPED_TRACE(name);
      RenderWell("clip.mp4", name, {"--effect", "Swirl", "-y"});
      const nlohmann::json after = VideoOf(name);
      for (const char* key :
           {"pix_fmt", "color_range", "color_primaries", "color_transfer", "color_space", "chroma_location"}) {
        EXPECT_EQ(before.value(key, "unknown"), after.value(key, "unknown")) << key;
      }
    }
  }
}

TEST_F(StreamTest, FullRangePicturesAreNotSqueezed) {
  MakeNoiseClip("clip.mkv", "yuvj420p", 64, 48, 3, {"-c:v", "libx264", "-crf", "0", "-color_range", "pc"});
  RenderWell("clip.mkv", "out.mkv", {"--effect", "Mirror Move X", "--option", "crf=0"});
  ASSERT_EQ(VideoOf("out.mkv").value("color_range", ""), "pc");
  // Under the name of the plain format: the bytes as they are.
  Clip clip = ReadClip(In("clip.mkv"), "yuvj420p");
  clip.pixelFormat = "yuv420p";
  ExpectSameFrames(Apply(clip, "Mirror Move X", 5000), ReadClip(In("out.mkv"), "yuvj420p"));
}

TEST_F(StreamTest, CoverArtIsNotTheClip) {
  MakeClip("plain.mp4", 64, 48, 8);
  FFmpeg({"-f", "lavfi", "-i", "testsrc2=s=200x200", "-frames:v", "1", In("cover.png")});
  FFmpeg({"-i", In("cover.png"), "-i", In("plain.mp4"), "-map", "0:v", "-map", "1", "-c", "copy", "-disposition:v:0",
          "attached_pic", In("clip.mp4")});
  RenderWell("clip.mp4", "out.mkv", {"--effect", "Swirl", "--codec", "ffv1"});
  FFmpeg({"-i", In("out.mkv"), "-map", "0:V:0", "-c", "copy", In("clip-only.mkv")});
  ExpectSameFrames(Apply(ReadClip(In("plain.mp4"), "yuv420p"), "Swirl", 5000), ReadClip(In("clip-only.mkv"), "yuv420p"));
}

}  // namespace

}  // namespace norix::test
