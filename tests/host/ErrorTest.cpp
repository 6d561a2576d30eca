// Whatever goes wrong, the message says what and what would be right, and no file is left or lost.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

struct Mistake {
  const char* name;
  Words arguments;  // IN/ and OUT/ stand for folders
  int code;
  Words told;  // what the message holds
};

void PrintTo(const Mistake& mistake, std::ostream* out) { *out << mistake.name; }

class ErrorTest : public HostTest, public testing::WithParamInterface<Mistake> {
protected:
  void SetUp() override {
    std::filesystem::create_directory(In("in"));
    std::filesystem::create_directory(In("out"));
    SetContent(In("out/existing.mp4"), "precious");
    std::filesystem::create_directory(In("out/folder.mp4"));
    const auto named = [](const std::string& name) {
      const Words& words = GetParam().arguments;
      return std::any_of(words.begin(), words.end(),
                         [&](const std::string& word) { return word == "IN/" + name || word == "FILE:IN/" + name; });
    };
    if (named("clip.mp4")) MakeClip("in/clip.mp4", 64, 48, 10, {"-c:v", "mpeg4"});
    if (named("sound.mp4")) FFmpeg({"-f", "lavfi", "-i", "sine=d=0.2", In("in/sound.mp4")});
    if (named("text.txt")) SetContent(In("in/text.txt"), "This is no video.\nNor will it be.\n");
    if (named("empty.mp4")) SetContent(In("in/empty.mp4"), "");
    if (named("noise.mp4")) SetContent(In("in/noise.mp4"), Noise(3000, 4));
    for (const auto& name : Names("in")) before_[name] = Content(In("in/" + name));
  }

  std::string Expand(std::string word) const {
    if (word.rfind("IN/", 0) == 0) return In("in/" + word.substr(3));
    if (word.rfind("FILE:IN/", 0) == 0) return "file:" + In("in/" + word.substr(8));
    if (word.rfind("OUT/", 0) == 0) return In("out/" + word.substr(4));
    return word;
  }

  std::map<std::string, std::string> before_;  // the inputs, by name
};

TEST_P(ErrorTest, IsTold) {
  const Mistake& mistake = GetParam();
  Words words;
  for (const std::string& word : mistake.arguments) words.push_back(Expand(word));
  const auto outputs = Names("out");
  const Ending ending = Norix(words);
  EXPECT_EQ(ending.code, mistake.code) << "signal " << ending.signal;
  EXPECT_EQ(ending.out, "");
  EXPECT_THAT(ending.err, StartsWith("norix: error: "));
  EXPECT_THAT(ending.err, testing::EndsWith("\n"));
  for (const std::string& part : mistake.told) EXPECT_THAT(ending.err, HasSubstr(Expand(part)));
  EXPECT_EQ(Names("out"), outputs);
  EXPECT_EQ(Content(In("out/existing.mp4")), "precious");
  std::map<std::string, std::string> after;
  for (const auto& name : Names("in")) after[name] = Content(In("in/" + name));
  EXPECT_TRUE(after == before_) << "the input has changed";
}

Words Rendering(const std::string& input, const std::string& output, const Words& more) {
  Words words = {"render", input, output};
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

Words Swirling(const std::string& input, const std::string& output, const Words& more = {}) {
  Words words = {"--effect", "Swirl"};
  words.insert(words.end(), more.begin(), more.end());
  return Rendering(input, output, words);
}

Words Usual(const Words& more) { return Rendering("IN/clip.mp4", "OUT/out.mp4", more); }

INSTANTIATE_TEST_SUITE_P(
    Input, ErrorTest,
    testing::Values(
        Mistake{"Missing", Swirling("IN/nothing.mp4", "OUT/out.mp4"), 1, {"IN/nothing.mp4", "No such file"}},
        Mistake{"Folder", Swirling("IN/", "OUT/out.mp4"), 1, {"folder"}},
        Mistake{"Text", Swirling("IN/text.txt", "OUT/out.mp4"), 1, {"IN/text.txt"}},
        Mistake{"Empty", Swirling("IN/empty.mp4", "OUT/out.mp4"), 1, {"IN/empty.mp4"}},
        Mistake{"Nothing", Swirling("/dev/null", "OUT/out.mp4"), 1, {"/dev/null"}},
        Mistake{"Zeros", Swirling("/dev/zero", "OUT/out.mp4"), 1, {"/dev/zero"}},
        Mistake{"NameTooLong", Swirling("IN/" + std::string(300, 'n') + ".mp4", "OUT/out.mp4"), 1, {"nnn.mp4", "too long"}},
        Mistake{"Noise", Swirling("IN/noise.mp4", "OUT/out.mp4"), 1, {"IN/noise.mp4"}},
        Mistake{"SoundOnly", Swirling("IN/sound.mp4", "OUT/out.mp4"), 1, {"IN/sound.mp4", "no video stream"}},
        Mistake{
            "MissingWithExistingOutput", Swirling("IN/nothing.mp4", "OUT/existing.mp4", {"-y"}), 1, {"IN/nothing.mp4"}}),
    [](const auto& test) { return std::string(test.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Effect, ErrorTest,
    testing::Values(
        Mistake{"None", Usual({}), 2, {"--effect"}},
        Mistake{"Unknown", Usual({"--effect", "swirll"}), 2, {"swirll", "\"Swirl\""}},
        Mistake{"OtherCase", Usual({"--effect", "zoom blur"}), 2, {"zoom blur", "\"Zoom Blur\""}},
        Mistake{"WithoutPicture", Usual({"--effect", "Stretch"}), 2, {"Stretch"}},
        Mistake{"WithoutName", Usual({"--effect"}), 2, {"--effect"}},
        Mistake{"SecondUnknown", Usual({"--effect", "Swirl", "--effect", "Mirror Move Z"}), 2, {"Mirror Move"}},
        Mistake{"LevelTooHigh", Usual({"--effect", "Swirl", "--level", "10001"}), 2, {"10001", "0", "10000"}},
        Mistake{"LevelTooLow", Usual({"--effect", "Swirl", "--level", "-1"}), 2, {"-1"}},
        Mistake{"LevelNoNumber", Usual({"--effect", "Swirl", "--level", "high"}), 2, {"high"}},
        Mistake{"LevelNotWhole", Usual({"--effect", "Swirl", "--level", "10.5"}), 2, {"10.5"}},
        Mistake{"LevelRangeWithoutEnd", Usual({"--effect", "Swirl", "--level", "0:"}), 2, {"0:"}},
        Mistake{"LevelRangeTooHigh", Usual({"--effect", "Swirl", "--level", "0:20000"}), 2, {"20000", "10000"}},
        Mistake{"LevelOfThree", Usual({"--effect", "Swirl", "--level", "0:1:2"}), 2, {"0:1:2"}},
        Mistake{"LevelHuge", Usual({"--effect", "Swirl", "--level", "99999999999999999999"}), 2, {"99999999999999999999"}},
        Mistake{"LevelFirst", Usual({"--level", "5", "--effect", "Swirl"}), 2, {"--level", "--effect"}},
        Mistake{"LevelTwice", Usual({"--effect", "Swirl", "--level", "5", "--level", "6"}), 2, {"Swirl", "6"}},
        Mistake{"FieldFirst", Usual({"--set", "angle=5", "--effect", "Swirl"}), 2, {"--set", "--effect"}},
        Mistake{"FieldUnknown",
                Usual({"--effect", "Swirl", "--set", "size=3"}),
                2,
                {"size", "centerX", "centerY", "radius", "angle"}},
        Mistake{"FieldNoNumber", Usual({"--effect", "Swirl", "--set", "angle=steep"}), 2, {"steep", "number"}},
        Mistake{"FieldHalfANumber", Usual({"--effect", "Swirl", "--set", "angle=5deg"}), 2, {"5deg"}},
        Mistake{"FieldInfinite", Usual({"--effect", "Swirl", "--set", "angle=inf"}), 2, {"inf"}},
        Mistake{"FieldWithoutValue", Usual({"--effect", "Swirl", "--set", "angle"}), 2, {"angle", "="}},
        Mistake{"FieldOfAnother", Usual({"--effect", "Mirror Move X", "--set", "angle=5"}), 2, {"angle", "offset"}}),
    [](const auto& test) { return std::string(test.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Output, ErrorTest,
    testing::Values(
        Mistake{
            "Exists", Swirling("IN/clip.mp4", "OUT/existing.mp4", {"--progress", "json"}), 1, {"OUT/existing.mp4", "-y"}},
        Mistake{"FolderMissing", Swirling("IN/clip.mp4", "OUT/none/out.mp4"), 1, {"OUT/none"}},
        Mistake{"IsAFolder", Swirling("IN/clip.mp4", "OUT/folder.mp4", {"-y"}), 1, {"OUT/folder.mp4", "folder"}},
        Mistake{"IsADevice", Swirling("IN/clip.mp4", "/dev/null", {"-y"}), 1, {"/dev/null"}},
        Mistake{"FolderNotWritable", Swirling("IN/clip.mp4", "/proc/norix-test.mp4"), 1, {"/proc"}},
        Mistake{"ExtensionUnknown", Swirling("IN/clip.mp4", "OUT/out.xyz"), 2, {"out.xyz", ".mp4"}},
        Mistake{"ExtensionMissing", Swirling("IN/clip.mp4", "OUT/out"), 2, {"OUT/out", ".mp4"}},
        Mistake{"ExtensionOfSound", Swirling("IN/clip.mp4", "OUT/out.wav"), 2, {"out.wav"}},
        Mistake{"CodecUnknown", Usual({"--effect", "Swirl", "--codec", "vhs"}), 2, {"vhs"}},
        Mistake{"CodecOfSound", Usual({"--effect", "Swirl", "--codec", "aac"}), 2, {"aac"}},
        Mistake{"CodecNotInContainer",
                Swirling("IN/clip.mp4", "OUT/out.webm", {"--codec", "prores_ks"}),
                2,
                {"prores", "webm"}},
        Mistake{"CodecNotInContainerOverExisting",
                Swirling("IN/clip.mp4", "OUT/existing.mp4", {"-y", "--codec", "qtrle"}),
                2,
                {"qtrle", "mp4"}},
        Mistake{"OptionUnknown", Usual({"--effect", "Swirl", "--option", "speeed=3"}), 2, {"speeed"}},
        Mistake{"OptionUnknownOverExisting",
                Swirling("IN/clip.mp4", "OUT/existing.mp4", {"-y", "--option", "speeed=3"}),
                2,
                {"speeed"}},
        Mistake{"OptionValueWrong", Usual({"--effect", "Swirl", "--option", "crf=sharp"}), 1, {"crf=sharp"}},
        Mistake{
            "PresetUnknown", Usual({"--effect", "Swirl", "--option", "preset=best"}), 1, {"preset=best", "OUT/out.mp4"}},
        Mistake{"ProfileUnknown",
                Usual({"--effect", "Swirl", "--codec", "libx265", "--option", "profile=best"}),
                1,
                {"profile=best", "OUT/out.mp4"}},
        Mistake{"OptionWithoutValue", Usual({"--effect", "Swirl", "--option", "preset"}), 2, {"preset", "="}},
        Mistake{"SameAsInput", Swirling("IN/clip.mp4", "IN/clip.mp4", {"-y"}), 1, {"IN/clip.mp4"}},
        Mistake{
            "SameAsInputByItsAddress", Swirling("FILE:IN/clip.mp4", "IN/clip.mp4", {"-y"}), 1, {"IN/clip.mp4", "output"}},
        Mistake{"NameTooLong", Swirling("IN/clip.mp4", "OUT/" + std::string(300, 'n') + ".mp4"), 1, {"nnn.mp4", "name"}},
        Mistake{"SameAsInputByAnotherPath", Swirling("IN/clip.mp4", "OUT/../in/./clip.mp4", {"-y"}), 1, {"clip.mp4"}}),
    [](const auto& test) { return std::string(test.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Words, ErrorTest,
    testing::Values(
        Mistake{"Nothing", {}, 2, {"--help"}}, Mistake{"UnknownCommand", {"rendre"}, 2, {"rendre"}},
        Mistake{"UnknownOption", Usual({"--effect", "Swirl", "--speed", "3"}), 2, {"--speed"}},
        Mistake{"UnknownOptionOfList", {"list", "--xml"}, 2, {"--xml"}},
        Mistake{"NoFiles", {"render", "--effect", "Swirl"}, 2, {"INPUT"}},
        Mistake{"NoOutput", {"render", "IN/clip.mp4", "--effect", "Swirl"}, 2, {"OUTPUT"}},
        Mistake{"TooManyFiles", Usual({"IN/clip.mp4", "--effect", "Swirl"}), 2, {"IN/clip.mp4"}},
        Mistake{"NoThreads", Usual({"--effect", "Swirl", "--threads", "0"}), 2, {"--threads", "0"}},
        Mistake{"ThreadsNoNumber", Usual({"--effect", "Swirl", "--threads", "many"}), 2, {"--threads", "many"}},
        Mistake{"NoBands", Usual({"--effect", "Swirl", "--bands", "0"}), 2, {"--bands", "0"}},
        Mistake{"FormatUnknown", Usual({"--effect", "Swirl", "--format", "nonsense"}), 2, {"nonsense", "yuv420p"}},
        Mistake{"NoFrames", Usual({"--effect", "Swirl", "--frames", "0"}), 2, {"--frames", "0"}},
        Mistake{"StartBeforeTheClip", Usual({"--effect", "Swirl", "--start-frame", "-3"}), 2, {"--start-frame"}},
        Mistake{"StartBehindTheEnd", Usual({"--effect", "Swirl", "--start-frame", "10"}), 2, {"10 frames", "frame 10"}},
        Mistake{"StartBehindTheEndOverExisting",
                Swirling("IN/clip.mp4", "OUT/existing.mp4", {"-y", "--start-frame", "99"}),
                2,
                {"99"}},
        Mistake{"ProgressUnknown", Usual({"--effect", "Swirl", "--progress", "dance"}), 2, {"dance", "json"}}),
    [](const auto& test) { return std::string(test.param.name); });

class OutputTest : public HostTest {
protected:
  static constexpr int kNotAllowed = 127;  // the program could not be begun

  /** Runs norix as a user whom permissions hold back, as they do not root. */
  static Ending AsNobody(const Words& words) {
    constexpr uid_t kNobody = 65534;
    Launch launch = NorixLaunch(words);
    if (geteuid() == 0) launch.user = kNobody;
    return RunToEnd(launch);
  }
};

TEST_F(OutputTest, FolderWithoutPermission) {
  MakeClip("clip.mp4", 64, 48, 5);
  std::filesystem::create_directory(In("closed"));
  chmod(In("closed").c_str(), 0555);
  const Ending ending = AsNobody({"render", In("clip.mp4"), In("closed/out.mp4"), "--effect", "Swirl"});
  chmod(In("closed").c_str(), 0755);
  if (ending.code == kNotAllowed) GTEST_SKIP() << "others may not read the build's folder";
  EXPECT_EQ(ending.code, 1);
  EXPECT_THAT(ending.err, HasSubstr("Permission denied"));
  EXPECT_THAT(Names("closed"), IsEmpty());
}

TEST_F(OutputTest, InputWithoutPermission) {
  MakeClip("clip.mp4", 64, 48, 5);
  std::filesystem::create_directory(In("open"));
  chmod(In("open").c_str(), 0777);
  chmod(In("clip.mp4").c_str(), 0000);
  const Ending ending = AsNobody({"render", In("clip.mp4"), In("open/out.mp4"), "--effect", "Swirl"});
  if (ending.code == kNotAllowed) GTEST_SKIP() << "others may not read the build's folder";
  EXPECT_EQ(ending.code, 1);
  EXPECT_THAT(ending.err, HasSubstr("clip.mp4': Permission denied"));
  EXPECT_THAT(Names("open"), IsEmpty());
}

TEST_F(OutputTest, SecondNameOfTheInputIsTheInput) {
  MakeClip("clip.mp4", 64, 48, 5);
  const std::string before = Content(In("clip.mp4"));
  std::filesystem::create_hard_link(In("clip.mp4"), In("second.mp4"));
  EXPECT_EQ(Render("clip.mp4", "second.mp4", {"--effect", "Swirl", "-y"}).code, 1);
  EXPECT_EQ(Content(In("clip.mp4")), before);
}

TEST_F(OutputTest, InputWhoseNameLooksLikeAnAddress) {
  MakeClip("clip.mp4", 64, 48, 5);
  std::filesystem::rename(In("clip.mp4"), In("a:b.mp4"));
  const Launch norix = NorixLaunch({});
  Launch shell = {.arguments = {"/bin/sh", "-c", "cd \"$1\" && exec \"$2\" render a:b.mp4 out.mp4 --effect Swirl", "sh",
                                In(""), norix.arguments.front()}};
  ExpectDone(RunToEnd(shell));
  EXPECT_EQ(FrameTimes(In("out.mp4")).size(), 5U);
}

TEST_F(OutputTest, InputFromAPipe) {
  MakeClip("clip.ts", 64, 48, 5);
  ASSERT_EQ(mkfifo(In("pipe").c_str(), 0600), 0);
  Process feed({.arguments = {"/bin/sh", "-c", "cat \"$1\" > \"$2\"", "sh", In("clip.ts"), In("pipe")}});
  ExpectDone(Render("pipe", "out.mkv", {"--effect", "Swirl"}));
  EXPECT_EQ(FrameTimes(In("out.mkv")).size(), 5U);
  ASSERT_EQ(mkfifo(In("pipe.mp4").c_str(), 0600), 0);
  const Ending ending = Render("clip.ts", "pipe.mp4", {"--effect", "Swirl", "-y"});
  EXPECT_EQ(ending.code, 1);
  EXPECT_THAT(ending.err, HasSubstr("pipe.mp4' is not a file"));
}

TEST_F(OutputTest, LinkGoesOnPointingToTheFile) {
  MakeClip("clip.mp4", 64, 48, 5);
  std::filesystem::create_directory(In("elsewhere"));
  SetContent(In("elsewhere/out.mp4"), "old");
  std::filesystem::create_symlink("elsewhere/out.mp4", In("link.mp4"));
  const Ending ending = Render("clip.mp4", "link.mp4", {"--effect", "Swirl", "-y"});
  ExpectDone(ending);
  EXPECT_TRUE(std::filesystem::is_symlink(In("link.mp4")));
  EXPECT_EQ(FrameTimes(In("elsewhere/out.mp4")).size(), 5U);
  EXPECT_EQ(Names("elsewhere").size(), 1U);
}

TEST_F(OutputTest, LinkToTheInputIsTheInput) {
  MakeClip("clip.mp4", 64, 48, 5);
  const std::string before = Content(In("clip.mp4"));
  std::filesystem::create_symlink("clip.mp4", In("link.mp4"));
  EXPECT_EQ(Render("clip.mp4", "link.mp4", {"--effect", "Swirl", "-y"}).code, 1);
  EXPECT_EQ(Content(In("clip.mp4")), before);
}

TEST_F(OutputTest, PermissionsFollowTheUsersMask) {
  MakeClip("clip.mp4", 64, 48, 5);
  RenderWell("clip.mp4", "out.mp4", {"--effect", "Swirl"});
  struct stat made = {};
  struct stat usual = {};
  SetContent(In("usual"), "");
  ASSERT_EQ(stat(In("out.mp4").c_str(), &made), 0);
  ASSERT_EQ(stat(In("usual").c_str(), &usual), 0);
  EXPECT_EQ(made.st_mode & 0777, usual.st_mode & 0777);
}

}  // namespace

}  // namespace norix::test
