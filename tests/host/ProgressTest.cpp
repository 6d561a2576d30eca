#include <gmock/gmock.h>

#include <csignal>
#include <cstring>
#include <nlohmann/json.hpp>
#include <sstream>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class ProgressTest : public HostTest {
protected:
  void SetUp() override { MakeClip("clip.mp4", 64, 48, 30); }

  Ending RenderWith(const Words& arguments, Stream err = Stream::kPipe,
                    const std::vector<std::pair<std::string, std::string>>& environment = {}) const {
    Launch launch = NorixLaunch({"render", In("clip.mp4"), In("out.mp4"), "--effect", "Swirl", "-y"});
    launch.arguments.insert(launch.arguments.end(), arguments.begin(), arguments.end());
    launch.err = err;
    launch.environment = environment;
    Ending ending = RunToEnd(launch);
    ExpectDone(ending);
    EXPECT_EQ(ending.out, In("out.mp4") + ": 30 frames, 64x48 yuv420p h264, aac (copied)\n");
    return ending;
  }
};

TEST_F(ProgressTest, ShortRunsInAPipeAreSilent) {
  EXPECT_EQ(RenderWith({}).err, "");
  EXPECT_EQ(RenderWith({"--progress", "plain"}).err, "");
  EXPECT_EQ(RenderWith({"--progress", "none"}).err, "");
}

TEST_F(ProgressTest, LongRunsInAPipeWriteLines) {
  FFmpeg({"-stream_loop", "400", "-i", In("clip.mp4"), "-c", "copy", In("long.mkv")});
  Launch launch = NorixLaunch(
      {"render", In("long.mkv"), In("out.mp4"), "--effect", "Zoom Blur", "--option", "preset=veryslow", "--threads", "1"});
  Process norix(launch);
  ASSERT_TRUE(norix.WaitForErr("fps"));
  norix.Send(SIGINT);
  const Ending ending = norix.Wait();
  EXPECT_THAT(ending.err, testing::ContainsRegex("norix: [0-9]+/[0-9]+ frames, [0-9.]+ fps"));
  EXPECT_THAT(ending.err, Not(HasSubstr("\r")));
  EXPECT_THAT(ending.err, Not(HasSubstr("\033")));
}

TEST_F(ProgressTest, JsonIsOneObjectPerLine) {
  const Ending ending = RenderWith({"--progress", "json"});
  std::istringstream lines(ending.err);
  nlohmann::json last;
  for (std::string line; std::getline(lines, line);) {
    last = nlohmann::json::parse(line);
    ASSERT_TRUE(last.is_object());
    EXPECT_LE(last.at("frame").get<int>(), 30);
    EXPECT_EQ(last.at("frames"), 30);
    EXPECT_GE(last.at("fps").get<double>(), 0);
  }
  EXPECT_EQ(last.at("frame"), 30);
  EXPECT_THAT(ending.err, EndsWith("}\n"));
}

TEST_F(ProgressTest, JsonHoldsNotesToo) {
  const Ending ending = Render("clip.mp4", "out.webm", {"--effect", "Swirl", "--progress", "json"});
  ExpectDone(ending);
  std::istringstream lines(ending.err);
  bool noted = false;
  for (std::string line; std::getline(lines, line);) {
    const nlohmann::json object = nlohmann::json::parse(line);
    noted = noted || object.dump().find("opus") != std::string::npos || object.dump().find("vorbis") != std::string::npos;
  }
  EXPECT_TRUE(noted);
}

TEST_F(ProgressTest, JsonOfAPieceCountsThePiece) {
  const Ending ending =
      Render("clip.mp4", "out.mp4", {"--effect", "Swirl", "--progress", "json", "--start-frame", "10", "--frames", "7"});
  ExpectDone(ending);
  EXPECT_THAT(ending.err, HasSubstr("\"frame\":7"));
  EXPECT_THAT(ending.err, HasSubstr("\"frames\":7"));
}

TEST_F(ProgressTest, BarIsDrawnOverItself) {
  const Ending ending = RenderWith({"--progress", "bar"});
  EXPECT_THAT(ending.err, HasSubstr("\r"));
  EXPECT_THAT(ending.err, HasSubstr("30/30 frames"));
  EXPECT_THAT(ending.err, EndsWith("\n"));
  EXPECT_THAT(ending.err, Not(HasSubstr("\033"))) << "colours are for terminals";
}

TEST_F(ProgressTest, TerminalShowsABarInColour) {
  const Ending ending = RenderWith({}, Stream::kTerminal, {{"TERM", "xterm"}, {"NO_COLOR", ""}});
  EXPECT_THAT(ending.err, HasSubstr("30/30 frames"));
  EXPECT_THAT(ending.err, HasSubstr("\r"));
  EXPECT_THAT(ending.err, HasSubstr("\033["));
}

TEST_F(ProgressTest, NoColourOnRequest) {
  const Ending ending = RenderWith({}, Stream::kTerminal, {{"TERM", "xterm"}, {"NO_COLOR", "1"}});
  EXPECT_THAT(ending.err, HasSubstr("30/30 frames"));
  EXPECT_THAT(ending.err, Not(HasSubstr("\033")));
}

TEST_F(ProgressTest, DumbTerminalGetsNoBar) {
  const Ending ending = RenderWith({}, Stream::kTerminal, {{"TERM", "dumb"}, {"NO_COLOR", ""}});
  EXPECT_THAT(ending.err, Not(HasSubstr("\033")));
  EXPECT_THAT(ending.err, Not(HasSubstr("30/30")));
}

TEST_F(ProgressTest, BarFitsTheTerminal) {
  // A line that reaches the last column begins a new one, and the bar no longer stays in place.
  for (const char* noColour : {"", "1"}) {
    SCOPED_TRACE(noColour);
    for (const unsigned columns : {60U, 64U}) {
      Launch launch = NorixLaunch({"render", In("clip.mp4"), In("out.mp4"), "--effect", "Swirl", "-y"});
      launch.err = Stream::kTerminal;
      launch.columns = columns;
      launch.environment = {{"TERM", "xterm"}, {"NO_COLOR", noColour}};
      std::string text = RunToEnd(launch).err;
      for (const char* code : {"\033[32m", "\033[0m", "\033[K", "\n"}) {
        for (std::size_t at = 0; (at = text.find(code)) != std::string::npos;) text.erase(at, std::strlen(code));
      }
      EXPECT_THAT(text, HasSubstr("30 frames"));
      std::istringstream lines(text);
      for (std::string line; std::getline(lines, line, '\r');) {
        EXPECT_LE(line.size(), columns) << line;
      }
    }
  }
}

TEST_F(ProgressTest, NobodyReadsStderr) {
  for (const char* style : {"bar", "json"}) RenderWith({"--progress", style}, Stream::kDeafPipe);
  EXPECT_EQ(PlayErrors(In("out.mp4")), "");
}

TEST_F(ProgressTest, NobodyReadsStdout) {
  for (const Words& words : {Words{"list"}, Words{"list", "--json"}, Words{"--help"},
                             Words{"render", In("clip.mp4"), In("out.mp4"), "--effect", "Swirl"}}) {
    Launch launch = NorixLaunch(words);
    launch.out = Stream::kDeafPipe;
    const Ending ending = RunToEnd(launch);
    EXPECT_EQ(ending.signal, 0) << words[0];
    EXPECT_EQ(ending.code, 1) << words[0] << ": what was asked for could not be told";
    EXPECT_THAT(ending.err, testing::StartsWith("norix: error: cannot write to "));
  }
  EXPECT_EQ(FrameTimes(In("out.mp4")).size(), 30U);
}

}  // namespace

}  // namespace norix::test
