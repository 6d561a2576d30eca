// Pictures of every effect and group, and the pages that show them.

#include <NorixEngine/NorixEngine.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <regex>

#include "host/HostTest.h"

namespace norix::test {

namespace {

using testing::HasSubstr;

constexpr int kGap = 4;

std::string FileOf(std::string name) {
  for (char& c : name) c = c == ' ' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return name + ".png";
}

std::set<std::string> EffectFiles() {
  std::set<std::string> files;
  for (const char** name = NorixGetInfo(); *name; ++name) {
    if (std::string(*name) != "Stretch") files.insert(FileOf(*name));
  }
  return files;
}

std::set<std::string> GroupFiles() {
  return {"mirror-scale-blur.png", "flip-roll-up.png",     "flip-roll-down.png",   "flip-roll-left.png",
          "flip-roll-right.png",   "blurry-roll-down.png", "blurry-roll-left.png", "blurry-cross-right-up.png",
          "tile-zoom-blur.png",    "tile-zoom-blur-1.png"};
}

/** Width and height in a PNG file's header. */
std::pair<int, int> PngSize(const std::string& file) {
  const auto number = [&](std::size_t at) {
    int value = 0;
    for (std::size_t i = at; i < at + 4; ++i) value = value * 256 + static_cast<unsigned char>(file.at(i));
    return value;
  };
  return {number(16), number(20)};
}

class GalleryTest : public HostTest {
protected:
  Ending Gallery(const std::string& input, const Words& arguments = {}) const {
    Words all = {"gallery", In(input), In("gallery")};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return Norix(all);
  }

  /** The small pictures of a strip; fails where the gaps between them are not white. */
  Clip Pictures(const std::string& file, int width) const {
    const Clip strip = ReadClip(In("gallery/" + file), "rgb24");
    Clip pictures = {"rgb24", width, strip.height, {}};
    bool white = true;
    for (int left = 0; left < strip.width; left += width + kGap) {
      std::string picture;
      for (int y = 0; y < strip.height; ++y) {
        const auto at = static_cast<std::size_t>(y * strip.width + left) * 3;
        picture += strip.frames[0].substr(at, static_cast<std::size_t>(width) * 3);
        if (left + width == strip.width) continue;
        const std::string gap(std::size_t{kGap} * 3, '\xff');
        white = white && strip.frames[0].compare(at + static_cast<std::size_t>(width) * 3, gap.size(), gap) == 0;
      }
      pictures.frames.push_back(picture);
    }
    EXPECT_TRUE(white) << file << ": something else than white between the pictures";
    return pictures;
  }

  /** Files of the folder that a page shows. */
  std::set<std::string> ShownBy(const std::string& page) const {
    const std::string text = Content(In("gallery/" + page));
    const std::regex link(R"re(src="([^"]*)"|\]\(([^)]*)\))re");
    std::set<std::string> files;
    for (std::sregex_iterator found(text.begin(), text.end(), link), end; found != end; ++found) {
      files.insert((*found)[1].matched ? (*found)[1].str() : (*found)[2].str());
    }
    return files;
  }
};

TEST_F(GalleryTest, HasAStripForEveryEffectAndGroup) {
  MakeSilentClip("clip.mp4", 64, 48, 5);
  ExpectDone(Gallery("clip.mp4", {"--width", "40"}));
  std::set<std::string> strips = EffectFiles();
  EXPECT_EQ(strips.size(), 15U);
  strips.merge(GroupFiles());
  EXPECT_EQ(strips.size(), 25U);
  EXPECT_EQ(ShownBy("index.html"), strips);
  EXPECT_EQ(ShownBy("index.md"), strips);
  std::set<std::string> files = strips;
  files.insert({"index.html", "index.md"});
  EXPECT_EQ(Names("gallery"), files);

  for (const std::string& file : strips) {
    const int pictures = EffectFiles().count(file) > 0 ? 5 : 11;
    EXPECT_EQ(PngSize(Content(In("gallery/" + file))), std::pair(pictures * (40 + kGap) - kGap, 30)) << file;
  }
  const std::string decoded = FFmpeg({"-xerror", "-f", "image2", "-pattern_type", "glob", "-i", In("gallery/*.png"), "-vf",
                                      "scale=16:16", "-f", "rawvideo", "-pix_fmt", "gray", "-"});
  EXPECT_EQ(decoded.size(), strips.size() * 16 * 16);
}

TEST_F(GalleryTest, PicturesAreTheEngines) {
  MakeNoiseClip("picture.png", "rgb24", 32, 24, 1, {});
  const Clip source = ReadClip(In("picture.png"), "rgb24");
  ExpectDone(Gallery("picture.png", {"--width", "32"}));
  for (const std::string effect : {"Swirl", "Mirror Move X", "Vignette", "Tile Scale"}) {
    SCOPED_TRACE(effect);
    Clip repeated = source;
    repeated.frames.resize(5, source.frames[0]);
    ExpectSameFrames(Apply(repeated, effect, [](std::size_t i) { return static_cast<int>(i) * 2500; }),
                     Pictures(FileOf(effect), 32));
  }
  EXPECT_EQ(Pictures("swirl.png", 32).frames[0], source.frames[0]);
  EXPECT_EQ(Pictures("mirror-move-x.png", 32).frames[0], source.frames[0]);

  // A group's time runs likewise over a clip of as many frames as there are pictures in the strip.
  FFmpeg({"-loop", "1", "-i", In("picture.png"), "-frames:v", "11", "-c:v", "ffv1", "-pix_fmt", "bgr0", In("clip.mkv")});
  for (const std::string group : {"Mirror Scale Blur", "Tile Zoom Blur"}) {
    SCOPED_TRACE(group);
    RenderWell("clip.mkv", group + ".mkv", {"--group", group, "--codec", "ffv1", "--threads", "1"});
    ExpectSameFrames(ReadClip(In(group + ".mkv"), "rgb24"), Pictures(FileOf(group), 32));
  }
}

TEST_F(GalleryTest, ShowsTheFrameAskedForElseTheMiddle) {
  // Frame n is as bright as 20n, so its small picture is one colour, too.
  FFmpeg({"-f", "lavfi", "-i", "color=black:s=64x48:r=25", "-vf", "format=gray,geq=lum=20*N", "-frames:v", "9", "-c:v",
          "ffv1", In("clip.mkv")});
  for (const auto& [arguments, frame] :
       {std::pair(Words{}, 4), std::pair(Words{"--frame", "0", "-y"}, 0), std::pair(Words{"--frame", "8", "-y"}, 8)}) {
    Words all = {"--width", "16"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    ExpectDone(Gallery("clip.mkv", all));
    const Clip pictures = Pictures("swirl.png", 16);
    EXPECT_EQ(pictures.height, 12);
    EXPECT_EQ(pictures.frames.size(), 5U);
    for (const std::string& picture : pictures.frames) {
      // The middle one of twelve rows.
      EXPECT_NEAR(static_cast<unsigned char>(picture[288]), 20 * frame, 2);
    }
  }
}

TEST_F(GalleryTest, ReplacesNothingUnasked) {
  MakeSilentClip("clip.mp4", 64, 48, 5);
  for (const char* mine : {"swirl.png", "index.md"}) {
    std::filesystem::create_directory(In("gallery"));
    SetContent(In("gallery/") + mine, "mine");
    const Ending ending = Gallery("clip.mp4", {"--width", "16"});
    EXPECT_EQ(ending.code, 1);
    EXPECT_THAT(ending.err, HasSubstr("-y"));
    EXPECT_THAT(ending.err, HasSubstr(mine));
    EXPECT_EQ(Names("gallery"), std::set<std::string>{mine});
    EXPECT_EQ(Content(In("gallery/") + mine), "mine");
    ExpectDone(Gallery("clip.mp4", {"--width", "16", "-y"}));
    EXPECT_NE(Content(In("gallery/") + mine), "mine");
    EXPECT_EQ(Names("gallery").size(), 27U);
    std::filesystem::remove_all(In("gallery"));
  }
}

TEST_F(GalleryTest, MistakesAreToldAndLeaveNothing) {
  MakeSilentClip("clip.mp4", 64, 48, 5);
  SetContent(In("text.txt"), "This is no video.\n");
  const auto names = Names();
  struct Mistake {
    const char* input;
    Words arguments;
    int code;
    Words told;
  };
  for (const Mistake& each :
       {Mistake{"clip.mp4", {"--frame", "5"}, 2, {"5 frames", " --frame 5"}},
        Mistake{"clip.mp4", {"--frame", "9223372036854775807"}, 2, {"5 frames", " --frame 9"}},
        Mistake{"clip.mp4", {"--frame", "99999999999999999999"}, 2, {"--frame"}},
        Mistake{"clip.mp4", {"--frame", "-1"}, 2, {"--frame"}}, Mistake{"clip.mp4", {"--frame", "first"}, 2, {"--frame"}},
        Mistake{"clip.mp4", {"--width", "0"}, 2, {"--width"}}, Mistake{"text.txt", {}, 1, {"text.txt"}},
        Mistake{"none.mp4", {}, 1, {"none.mp4"}}}) {
    const Ending ending = Gallery(each.input, each.arguments);
    EXPECT_EQ(ending.code, each.code) << ending.err;
    for (const std::string& part : each.told) EXPECT_THAT(ending.err, HasSubstr(part));
    EXPECT_EQ(Names(), names);
  }
}

}  // namespace

}  // namespace norix::test
