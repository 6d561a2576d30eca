#include "frei0r/PluginCases.h"

#include <NorixEngine/FEParams.h>
#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

extern "C" {
#include <libavutil/pixfmt.h>
}

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>
#include <ostream>
#include <utility>

#include "Enlarge.h"

namespace norix::test {

namespace {

template <class Params>
Params& As(FilterParams& params) {
  return static_cast<Params&>(params);
}

/** The first and third of every four bytes change places. */
std::string Swapped(std::string frame) {
  for (std::size_t i = 0; i + 3 < frame.size(); i += 4) std::swap(frame[i], frame[i + 2]);
  return frame;
}

Clip Swapped(Clip clip, const std::string& pixelFormat) {
  clip.pixelFormat = pixelFormat;
  for (std::string& frame : clip.frames) frame = Swapped(frame);
  return clip;
}

}  // namespace

void PrintTo(const FilterCase& filter, std::ostream* out) { *out << filter.file << " at level " << filter.level; }

const std::vector<FilterCase>& FilterCases() {
  // Shares of few bits, so that every host reads them exactly.
  static const std::vector<FilterCase> kCases = {
      {"norix_ground_glass", "Ground Glass", false, {0.5}, 5000},
      {"norix_swirl",
       "Swirl",
       false,
       {0.5, 0.375, 0.625, 0.25},
       5000,
       [](FilterParams& params) {
         As<SwirlParams>(params).centerX = 0.375;
         As<SwirlParams>(params).centerY = 0.625;
         As<SwirlParams>(params).radius = 0.5;
       }},
      {"norix_vignette",
       "Vignette",
       false,
       {0.75, 0.375, 0.625, 0, 0.125, 0.25},
       7500,
       [](FilterParams& params) {
         As<VignetteParams>(params).centerX = 0.375;
         As<VignetteParams>(params).centerY = 0.625;
       }},
      {"norix_vignette",
       "Vignette",
       false,
       {0.5, 0.5, 0.5, 1, 0.125, 0.25},
       5000,
       [](FilterParams& params) {
         As<VignetteParams>(params).innerRadius = 0.25;
         As<VignetteParams>(params).outerRadius = 0.5;
       }},
      {"norix_emboss", "Emboss", false, {0.375}, 3750},
      {"norix_sketch", "Sketch", true, {0.375}, 3750},
      {"norix_comicbook", "Comicbook", true, {}, 0},
      {"norix_pinch",
       "Pinch",
       false,
       {0.75, 0.375, 0.625, 0.25},
       7500,
       [](FilterParams& params) {
         As<PinchParams>(params).centerX = 0.375;
         As<PinchParams>(params).centerY = 0.625;
         As<PinchParams>(params).radius = 0.5;
       }},
      {"norix_bulge",
       "Bulge",
       false,
       {0.75, 0.375, 0.625, 0.125},
       7500,
       [](FilterParams& params) {
         As<BulgeParams>(params).centerX = 0.375;
         As<BulgeParams>(params).centerY = 0.625;
         As<BulgeParams>(params).radius = 0.25;
       }},
      {"norix_zoom_blur",
       "Zoom Blur",
       false,
       {1, 0.375, 0.625},
       10000,
       [](FilterParams& params) {
         As<ZoomBlurParams>(params).centerX = 0.375;
         As<ZoomBlurParams>(params).centerY = 0.625;
       }},
      {"norix_motion_blur",
       "Motion Blur",
       false,
       {0.25, 0.125},
       2500,
       [](FilterParams& params) { As<MotionBlurParams>(params).angle = 45; }},
      {"norix_ripple",
       "Ripple",
       false,
       {0.625, 0.75, 0.5},
       6250,
       [](FilterParams& params) {
         As<RippleParams>(params).damping = 75;
         As<RippleParams>(params).amplitude = 50;
       }},
      {"norix_focus_color",
       "Focus Color",
       true,
       {0.125, 0.375, 0.625, 0.25},
       1250,
       [](FilterParams& params) {
         As<FocusColorParams>(params).centerX = 0.375;
         As<FocusColorParams>(params).centerY = 0.625;
         As<FocusColorParams>(params).radius = 0.5;
       }},
      {"norix_mirror_move_x", "Mirror Move X", false, {0.375}, 3750},
      {"norix_mirror_move_y", "Mirror Move Y", false, {0.375}, 3750},
      {"norix_tile_scale", "Tile Scale", false, {0.75}, 7500},
  };
  return kCases;
}

Clip Expected(const FilterCase& filter, const Clip& clip) {
  // Fills the tables of effects that need some.
  filter_check_format(filter.effect.c_str(), AV_PIX_FMT_BGRA);
  if (!filter.bgra) return Apply(clip, filter.effect, filter.level, filter.change);
  return Swapped(Apply(Swapped(clip, "bgra"), filter.effect, filter.level, filter.change), "rgba");
}

std::string ExpectedOfGroup(const std::string& group, int time, const Clip& form, const std::string& frame) {
  FilterGroupParam* record = nullptr;
  // A record that is new in the last tenth would lack the blur of the time before it.
  GetFilterGroupParam(group.c_str(), std::min(time, 8999), &record);
  GetFilterGroupParam(group.c_str(), time, &record);
  const std::unique_ptr<FilterGroupParam, decltype(&ReleaseFilterGroupParam)> owner(record, ReleaseFilterGroupParam);
  Clip clip = form;
  clip.frames = {frame};
  for (int i = 0; i < record->count; ++i) {
    const FilterGroupEntry& entry = record->entries[i];
    if (!entry.name) {
      const std::string from = clip.frames.front();
      frei0r::Enlarge(reinterpret_cast<const std::uint8_t*>(from.data()),
                      reinterpret_cast<std::uint8_t*>(clip.frames.front().data()), clip.width, clip.height, entry.scaleX,
                      entry.scaleY);
      continue;
    }
    clip = Apply(clip, entry.name, 0, SettingsOf(entry));
  }
  return clip.frames.front();
}

std::vector<std::string> ParameterNames(const std::string& file) {
  std::vector<std::string> names;
  std::ifstream pinned(NORIX_FREI0R_PARAMETERS);
  bool found = false;
  for (std::string line; std::getline(pinned, line);) {
    if (line.front() != ' ') {
      found = line.starts_with(file + ':');
    } else if (found) {
      const std::size_t begin = line.find('"') + 1;
      names.push_back(line.substr(begin, line.rfind('"') - begin));
    }
  }
  return names;
}

const std::vector<std::string>& GroupNames() {
  static const std::vector<std::string> kNames = {
      "Mirror Scale Blur", "Flip Roll Up",     "Flip Roll Down",        "Flip Roll Left", "Flip Roll Right",
      "Blurry Roll Down",  "Blurry Roll Left", "Blurry Cross Right Up", "Tile Zoom Blur", "Tile Zoom Blur 1"};
  return kNames;
}

std::string FileOf(const std::string& name) {
  std::string file = "norix_";
  for (const char c : name) file += c == ' ' ? '_' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return file;
}

std::string PluginPath(const std::string& file) { return std::string(NORIX_FREI0R_FOLDER) + '/' + file + ".so"; }

}  // namespace norix::test
