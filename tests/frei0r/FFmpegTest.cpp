// The plug-ins in ffmpeg, with the commands of docs/frei0r.md.

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "frei0r/PluginHostTest.h"

namespace norix::test {

namespace {

// Widths are multiples of 16: for others ffmpeg 5.1 pads its rows, which frei0r knows nothing of, and any plug-in's picture
// comes out slanted.
class FFmpegPluginTest : public PluginHostTest {
protected:
  /** Runs raw frames through a filter graph. */
  Clip Filter(const Clip& clip, const std::string& graph) const {
    const std::string size = std::to_string(clip.width) + 'x' + std::to_string(clip.height);
    FFmpeg({"-f", "rawvideo", "-pixel_format", "rgba", "-video_size", size, "-framerate", "25", "-i", In("in.raw"), "-vf",
            graph, "-f", "rawvideo", "-pix_fmt", "rgba", In("out.raw")});
    return ReadRaw("out.raw", clip);
  }
};

TEST_F(FFmpegPluginTest, EveryFilterDrawsWhatTheEngineDraws) {
  for (const FilterCase& filter : FilterCases()) {
    if (filter.effect == "Ground Glass") continue;  // ffmpeg draws random numbers, too
    SCOPED_TRACE(filter.file);
    std::string graph = "frei0r=" + filter.file;
    for (std::size_t i = 0; i < filter.values.size(); ++i) {
      const bool isSwitch = filter.effect == "Vignette" && i == 3;
      graph += (i == 0 ? ':' : '|') + (isSwitch ? std::string(filter.values[i] > 0 ? "y" : "n") : Text(filter.values[i]));
    }
    for (const auto& [width, height] : {std::pair{64, 48}, {112, 53}}) {
      const Clip clip = MakeRaw("in.raw", width, height, 2, 20);
      ExpectSameFrames(Expected(filter, clip), Filter(clip, graph));
    }
  }
}

TEST_F(FFmpegPluginTest, CommandsAnimateALevel) {
  const Clip clip = MakeRaw("in.raw", 64, 50, 5, 30);
  SetContent(In("levels.txt"), "0.08 frei0r filter_params 0.5; 0.16 frei0r filter_params 1.0;");
  const Clip result = Filter(clip, "sendcmd=f=" + In("levels.txt") + ",frei0r=norix_zoom_blur:0.25");
  const int levels[] = {2500, 2500, 5000, 5000, 10000};
  ExpectSameFrames(Apply(clip, "Zoom Blur", [&](std::size_t frame) { return levels[frame]; }), result);
}

TEST_F(FFmpegPluginTest, AGroupIsAFilterOverItsTime) {
  const Clip clip = MakeRaw("in.raw", 64, 50, 3, 40);
  SetContent(In("times.txt"), "0.04 frei0r filter_params 0.25; 0.08 frei0r filter_params 0.75;");
  const Clip result = Filter(clip, "sendcmd=f=" + In("times.txt") + ",frei0r=norix_flip_roll_left:0");
  Clip expected = clip;
  const int times[] = {0, 2500, 7500};
  for (std::size_t i = 0; i < 3; ++i)
    expected.frames[i] = ExpectedOfGroup("Flip Roll Left", times[i], clip, clip.frames[i]);
  ExpectSameFrames(expected, result);
}

TEST_F(FFmpegPluginTest, ATimelineSwitchesIt) {
  const Clip clip = MakeRaw("in.raw", 64, 50, 4, 50);
  Clip expected = Apply(clip, "Mirror Move Y", 2500);
  expected.frames[0] = clip.frames[0];
  expected.frames[3] = clip.frames[3];
  ExpectSameFrames(expected, Filter(clip, "frei0r=norix_mirror_move_y:0.25:enable='between(t,0.03,0.09)'"));
}

TEST_F(FFmpegPluginTest, ValuesOutOfRangeAreHeldInIt) {
  const Clip clip = MakeRaw("in.raw", 64, 50, 1, 60);
  ExpectSameFrames(Apply(clip, "Emboss", 10000), Filter(clip, "frei0r=norix_emboss:1.7"));
  ExpectSameFrames(clip, Filter(clip, "frei0r=norix_emboss:-3"));
}

}  // namespace

}  // namespace norix::test
