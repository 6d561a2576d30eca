// Pieces of a clip, rendered apart.

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::HasSubstr;

constexpr int kFrames = 60;  // and 105 packets of sound

class PieceTest : public HostTest {
protected:
  struct Piece {
    int first;
    int count;  // 0: to the end
  };

  static Words Asking(const Piece& piece) {
    Words words = {"--effect", "Mirror Move X", "--level", "0:10000"};
    if (piece.first > 0) words.insert(words.end(), {"--start-frame", std::to_string(piece.first)});
    if (piece.count > 0) words.insert(words.end(), {"--frames", std::to_string(piece.count)});
    return words;
  }

  /** Renders a piece without loss. */
  std::string RenderPiece(const std::string& input, const Piece& piece) const {
    std::string name = "from" + std::to_string(piece.first) + ".mkv";
    Words words = Asking(piece);
    words.insert(words.end(), {"--codec", "ffv1"});
    RenderWell(input, name, words);
    return name;
  }

  Words SoundOf(const std::string& name) const {
    Words hashes;
    for (const Timed& packet : Packets(In(name), "a:0")) hashes.push_back(packet.hash);
    return hashes;
  }

  /** Renders the pieces, and expects their frames and sound to be the whole's, in order and once. */
  void ExpectWhole(const std::string& input, const std::vector<Piece>& pieces) const {
    const Clip clip = ReadClip(In(input), "yuv420p");
    ASSERT_EQ(clip.frames.size(), static_cast<std::size_t>(kFrames));
    const Clip expected = Apply(clip, "Mirror Move X", [](std::size_t frame) {
      return static_cast<int>(std::lround(10000 * static_cast<double>(frame) / (kFrames - 1)));
    });
    Clip joined = clip;
    joined.frames.clear();
    Words sound;
    for (const Piece& piece : pieces) {
      const std::string name = RenderPiece(input, piece);
      const Clip part = ReadClip(In(name), "yuv420p");
      if (piece.count > 0) {
        EXPECT_EQ(part.frames.size(), static_cast<std::size_t>(piece.count));
      }
      joined.frames.insert(joined.frames.end(), part.frames.begin(), part.frames.end());
      const Words own = SoundOf(name);
      sound.insert(sound.end(), own.begin(), own.end());
    }
    ExpectSameFrames(expected, joined);
    // Against the whole's render, as a container may pack the same sound in another way.
    RenderWell(input, "whole.mkv", {"--effect", "Mirror Move X", "--codec", "ffv1"});
    const Words whole = SoundOf("whole.mkv");
    EXPECT_GT(whole.size(), 100U);
    EXPECT_EQ(whole, sound);
  }
};

TEST_F(PieceTest, TogetherHoldAllFramesAndSoundOnce) {
  MakeClip("clip.mp4", 64, 48, kFrames);
  ExpectWhole("clip.mp4", {{0, 17}, {17, 20}, {37, 0}});
}

TEST_F(PieceTest, OfOneFrameEach) {
  MakeClip("clip.mp4", 64, 48, kFrames);
  ExpectWhole("clip.mp4", {{0, 1}, {1, 1}, {2, 56}, {58, 1}, {59, 1}});
}

TEST_F(PieceTest, OfATransportStream) {
  MakeClip("clip.ts", 64, 48, kFrames);
  ExpectWhole("clip.ts", {{0, 17}, {17, 20}, {37, 0}});
}

TEST_F(PieceTest, OfAClipWhoseStreamsBeginApart) {
  MakeClip("even.mp4", 64, 48, kFrames);
  FFmpeg({"-itsoffset", "0.7", "-i", In("even.mp4"), "-i", In("even.mp4"), "-map", "0:v", "-map", "1:a", "-c", "copy",
          In("clip.mp4")});
  ExpectWhole("clip.mp4", {{0, 17}, {17, 20}, {37, 0}});
}

TEST_F(PieceTest, BeginsAtTimeZeroWithItsSoundInStep) {
  MakeClip("clip.mp4", 64, 48, kFrames);
  RenderWell("clip.mp4", "out.mp4", Asking({25, 20}));
  const std::vector<Timed> frames = FrameTimes(In("out.mp4"));
  ASSERT_EQ(frames.size(), 20U);
  EXPECT_EQ(frames.front().pts, 0);
  const std::vector<Timed> part = Packets(In("out.mp4"), "a:0");
  ASSERT_FALSE(part.empty());
  const std::vector<Timed> whole = Packets(In("clip.mp4"), "a:0");
  const auto same = std::find_if(whole.begin(), whole.end(), [&](const Timed& each) { return each.hash == part[0].hash; });
  ASSERT_NE(same, whole.end());
  EXPECT_NEAR(static_cast<double>(part[0].pts), static_cast<double>(same->pts) - 1e6,
              1000);  // the container starts streams by the millisecond
  EXPECT_GE(part[0].pts, 0);
  EXPECT_LT(part.back().pts, 800000);
}

TEST_F(PieceTest, LongerThanTheClipEndsWithIt) {
  MakeClip("clip.mp4", 64, 48, kFrames);
  RenderWell("clip.mp4", "out.mkv", {"--effect", "Swirl", "--codec", "ffv1", "--start-frame", "50", "--frames", "1000"});
  EXPECT_EQ(FrameTimes(In("out.mkv")).size(), 10U);
}

TEST_F(PieceTest, ChaptersFollow) {
  MakeSilentClip("plain.mkv", 32, 24, kFrames);
  SetContent(In("chapters.txt"),
             ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=800\ntitle=One\n"
             "[CHAPTER]\nTIMEBASE=1/1000\nSTART=800\nEND=1600\ntitle=Two\n"
             "[CHAPTER]\nTIMEBASE=1/1000\nSTART=1600\nEND=2000\ntitle=Three\n"
             "[CHAPTER]\nTIMEBASE=1/1000\nSTART=2000\nEND=2400\ntitle=Four\n");
  FFmpeg({"-i", In("plain.mkv"), "-i", In("chapters.txt"), "-map_metadata", "1", "-c", "copy", In("clip.mkv")});
  const nlohmann::json chapters = Probe(In(RenderPiece("clip.mkv", {25, 20}))).at("chapters");  // seconds 1.0 to 1.8
  const auto seconds = [&](std::size_t chapter, const char* what) {
    return std::stod(chapters[chapter].at(what).get<std::string>());
  };
  ASSERT_GE(chapters.size(), 2U);
  EXPECT_EQ(chapters[0].at("tags").at("title"), "Two");
  EXPECT_EQ(seconds(0, "start_time"), 0);
  EXPECT_NEAR(seconds(0, "end_time"), 0.6, 0.001);
  EXPECT_EQ(chapters[1].at("tags").at("title"), "Three");
  EXPECT_NEAR(seconds(1, "start_time"), 0.6, 0.001);
  EXPECT_EQ(chapters.size(), 2U) << "the fourth begins behind the piece";
  EXPECT_LE(seconds(1, "end_time"), 0.801);
}

TEST_F(PieceTest, MayKeepTheTimesOfTheClip) {
  MakeClip("clip.mp4", 64, 48, kFrames);
  Words words = Asking({25, 20});
  words.insert(words.end(), {"--codec", "ffv1", "--keep-times"});
  RenderWell("clip.mp4", "piece.mkv", words);
  RenderWell("clip.mp4", "whole.mkv", {"--effect", "Mirror Move X", "--level", "0:10000", "--codec", "ffv1"});
  const std::vector<Timed> piece = FrameTimes(In("piece.mkv"));
  const std::vector<Timed> whole = FrameTimes(In("whole.mkv"));
  ASSERT_EQ(piece.size(), 20U);
  // The whole begins later than its first picture by what its sound needs before.
  for (std::size_t i = 0; i < piece.size(); ++i) {
    EXPECT_EQ(piece[i].pts, whole[25 + i].pts - whole[0].pts) << "frame " << i;
  }
  const std::vector<Timed> sound = Packets(In("piece.mkv"), "a:0");
  ASSERT_FALSE(sound.empty());
  EXPECT_GE(sound.front().pts, 1000000);
  EXPECT_LT(sound.back().pts, 1800000);
}

TEST_F(PieceTest, MayHoldPicturesOnly) {
  MakeClip("plain.mkv", 64, 48, kFrames);
  SetContent(In("words.srt"), "1\n00:00:00,100 --> 00:00:02,000\nHello\n");
  SetContent(In("chapters.txt"), ";FFMETADATA1\ntitle=Full\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=2000\ntitle=One\n");
  FFmpeg({"-i", In("plain.mkv"), "-i", In("words.srt"), "-i", In("chapters.txt"), "-map", "0", "-map", "1", "-map_metadata",
          "2", "-c", "copy", In("clip.mkv")});
  ASSERT_EQ(Probe(In("clip.mkv")).at("streams").size(), 3U);
  for (const std::string name : {"out.mkv", "out.mp4"}) {
    const Ending ending = RenderWell("clip.mkv", name, {"--effect", "Swirl", "--video-only"});
    EXPECT_EQ(ending.err, "") << "what was asked to be left out is no news";
    const nlohmann::json probe = Probe(In(name));
    ASSERT_EQ(probe.at("streams").size(), 1U) << name;
    EXPECT_EQ(probe.at("streams")[0].at("codec_type"), "video");
    EXPECT_TRUE(probe.at("chapters").empty());
    EXPECT_EQ(FrameTimes(In(name)).size(), static_cast<std::size_t>(kFrames));
  }
}

/** Clips that do not decode from every key frame on to the same pictures. */
class ShortCutTest : public PieceTest, public testing::WithParamInterface<std::pair<std::string, Words>> {};

TEST_P(ShortCutTest, LeavesThePicturesAsTheyAre) {
  const auto& [name, encoding] = GetParam();
  MakeSilentClip(name, 64, 48, kFrames, encoding);
  RenderWell(name, "whole.mkv", {"--effect", "Swirl", "--level", "0:10000", "--codec", "ffv1"});
  const Clip whole = ReadClip(In("whole.mkv"), "yuv420p");
  ASSERT_EQ(whole.frames.size(), static_cast<std::size_t>(kFrames));
  for (const int first : {1, 24, 35, 36, 37, 47, 59}) {
    SCOPED_TRACE(first);
    RenderWell(name, "piece.mkv",
               {"-y", "--effect", "Swirl", "--level", "0:10000", "--codec", "ffv1", "--video-only", "--start-frame",
                std::to_string(first), "--frames", "3"});
    Clip expected = whole;
    const auto begin = whole.frames.begin() + first;
    expected.frames.assign(begin, begin + std::min(3, kFrames - first));
    ExpectSameFrames(expected, ReadClip(In("piece.mkv"), "yuv420p"));
  }
}

INSTANTIATE_TEST_SUITE_P(Clips, ShortCutTest,
                         testing::Values(std::pair("closed.mp4", Words{}),
                                         std::pair("open.mp4", Words{"-bf", "3", "-x264-params", "open-gop=1:scenecut=0"}),
                                         std::pair("open.mkv", Words{"-bf", "3", "-x264-params", "open-gop=1:scenecut=0"}),
                                         std::pair("refreshed.mkv",
                                                   Words{"-bf", "0", "-x264-params", "intra-refresh=1:scenecut=0"}),
                                         std::pair("mpeg2.mkv", Words{"-c:v", "mpeg2video", "-bf", "2", "-g", "12"}),
                                         std::pair("broadcast.ts", Words{})));

TEST_F(PieceTest, OfPicturesOnlyDoesNotDecodeFromTheBeginning) {
  MakeSilentClip("clip.mkv", 64, 48, kFrames, {"-c:v", "png", "-pix_fmt", "rgb24"});
  std::string bytes = Content(In("clip.mkv"));
  // The header of the second picture.
  const std::size_t picture = bytes.find("IHDR", bytes.find("IHDR") + 1);
  ASSERT_NE(picture, std::string::npos);
  for (std::size_t i = picture; i < picture + 20; ++i) bytes[i] = static_cast<char>(~bytes[i]);
  SetContent(In("clip.mkv"), bytes);
  EXPECT_EQ(Render("clip.mkv", "all.mkv", {"--effect", "Swirl", "--video-only"}).code, 1) << "the beginning is damaged";
  EXPECT_EQ(Render("clip.mkv", "piece.mkv", {"--effect", "Swirl", "--start-frame", "50"}).code, 1);
  RenderWell("clip.mkv", "pictures.mkv", {"--effect", "Swirl", "--video-only", "--start-frame", "50"});
  EXPECT_EQ(FrameTimes(In("pictures.mkv")).size(), 10U);
}

TEST_F(PieceTest, BehindTheEndIsRefused) {
  MakeClip("clip.mp4", 64, 48, 12);
  for (const char* first : {"12", "500"}) {
    const Ending ending = Render("clip.mp4", "out.mp4", {"--effect", "Swirl", "--start-frame", first});
    EXPECT_EQ(ending.code, 2);
    EXPECT_THAT(ending.err, HasSubstr("12 frames"));
    EXPECT_EQ(Names().count("out.mp4"), 0U);
  }
  RenderWell("clip.mp4", "out.mp4", {"--effect", "Swirl", "--start-frame", "11"});
  EXPECT_EQ(FrameTimes(In("out.mp4")).size(), 1U);
}

}  // namespace

}  // namespace norix::test
