#include "engine/Catalogue.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>
#include <memory>

#include "Failure.h"
#include "NearestName.h"
#include "engine/Summaries.h"

namespace norix::host {

namespace {

/// A field, given as pointer to member, of a parameter class.
template <class Params, double Params::*kMember>
Field Make(const char* name, const char* meaning) {
  struct Release {
    void operator()(FilterParams* params) const { params->Release(); }
  };
  const std::unique_ptr<Params, Release> fresh(new Params);
  return {name, meaning, fresh.get()->*kMember,
          [](FilterParams& params) -> double& { return static_cast<Params&>(params).*kMember; }};
}

constexpr const char* kCenterX = "middle of the effect, in picture widths from the left";
constexpr const char* kCenterY = "middle of the effect, in picture heights from the top";
constexpr const char* kUnusedByRipple = "not used: the rings lie about the middle of the picture";

std::vector<EffectInfo> DescribeEffects() {
  return {
      {.name = "Ground Glass",
       .summary = SummaryOf("Ground Glass"),
       .level = "amount 0 to 20 pixels",
       .fields = {Make<GroundGlassParams, &GroundGlassParams::amount>("amount", "displacement in pixels, whole numbers")},
       .drawsRandomNumbers = true,
       .leavesBytes = true},
      {.name = "Swirl",
       .summary = SummaryOf("Swirl"),
       .level = "angle 0 to 360 degrees",
       .fields = {Make<SwirlParams, &SwirlParams::centerX>("centerX", kCenterX),
                  Make<SwirlParams, &SwirlParams::centerY>("centerY", kCenterY),
                  Make<SwirlParams, &SwirlParams::radius>("radius", "where the twist ends, in picture widths and heights"),
                  Make<SwirlParams, &SwirlParams::angle>("angle", "twist in degrees; 360 turns the centre by 8 radians")}},
      {.name = "Vignette",
       .summary = SummaryOf("Vignette"),
       .level = "innerRadius 0.4 to 0, outerRadius 1.8 to 0",
       .fields = {Make<VignetteParams, &VignetteParams::centerX>("centerX", kCenterX),
                  Make<VignetteParams, &VignetteParams::centerY>("centerY", kCenterY),
                  Make<VignetteParams, &VignetteParams::innerRadius>(
                      "innerRadius", "where the darkening begins, in picture widths and heights"),
                  Make<VignetteParams, &VignetteParams::outerRadius>("outerRadius",
                                                                     "where black begins, in the same unit")}},
      {.name = "Emboss",
       .summary = SummaryOf("Emboss"),
       .level = "amount 0 to 1",
       .fields = {Make<EmbossParams, &EmbossParams::amount>("amount", "strength of the relief")}},
      {.name = "Sketch",
       .summary = SummaryOf("Sketch"),
       .level = "amount 0 to 1",
       .fields = {Make<SketchParams, &SketchParams::amount>("amount", "brightness of the paper")},
       .leavesBytes = true},
      {.name = "Comicbook",
       .summary = SummaryOf("Comicbook"),
       .level = "nothing: the look is fixed",
       .fields = {},
       .leavesBytes = true,
       .needsPackedPixels = true},
      {.name = "Pinch",
       .summary = SummaryOf("Pinch"),
       .level = "strength 0 to 1",
       .fields = {Make<PinchParams, &PinchParams::centerX>("centerX", kCenterX),
                  Make<PinchParams, &PinchParams::centerY>("centerY", kCenterY),
                  Make<PinchParams, &PinchParams::radius>("radius", "where the effect ends, in picture widths and heights"),
                  Make<PinchParams, &PinchParams::strength>("strength", "0 nothing, 1 full")}},
      {.name = "Bulge",
       .summary = SummaryOf("Bulge"),
       .level = "strength 0 to 1",
       .fields = {Make<BulgeParams, &BulgeParams::centerX>("centerX", kCenterX),
                  Make<BulgeParams, &BulgeParams::centerY>("centerY", kCenterY),
                  Make<BulgeParams, &BulgeParams::radius>("radius", "where the effect ends, in picture widths and heights"),
                  Make<BulgeParams, &BulgeParams::strength>("strength",
                                                            "0 nothing, 1 full, above 1 the very middle shrinks again")}},
      {.name = "Stretch", .summary = SummaryOf("Stretch"), .level = "nothing", .fields = {}},
      {.name = "Zoom Blur",
       .summary = SummaryOf("Zoom Blur"),
       .level = "strength 0 to 4",
       .fields = {Make<ZoomBlurParams, &ZoomBlurParams::centerX>("centerX", kCenterX),
                  Make<ZoomBlurParams, &ZoomBlurParams::centerY>("centerY", kCenterY),
                  Make<ZoomBlurParams, &ZoomBlurParams::strength>(
                      "strength",
                      "length of the blur, in percent of the distance to the centre "
                      "from sample to sample")}},
      {.name = "Motion Blur",
       .summary = SummaryOf("Motion Blur"),
       .level = "strength 0 to 4",
       .fields = {Make<MotionBlurParams, &MotionBlurParams::strength>(
                      "strength", "length of the blur, in pixels from sample to sample"),
                  Make<MotionBlurParams, &MotionBlurParams::angle>("angle",
                                                                   "direction in degrees, from rightwards to downwards")}},
      {.name = "Ripple",
       .summary = SummaryOf("Ripple"),
       .level = "phase 0 to 80; damping 90, amplitude 20",
       .fields = {Make<RippleParams, &RippleParams::centerX>("centerX", kUnusedByRipple),
                  Make<RippleParams, &RippleParams::centerY>("centerY", kUnusedByRipple),
                  Make<RippleParams, &RippleParams::radius>("radius", "not used: the rings cover the picture"),
                  Make<RippleParams, &RippleParams::damping>("damping", "below 101; the larger, the longer the waves"),
                  Make<RippleParams, &RippleParams::amplitude>("amplitude", "height of the waves"),
                  Make<RippleParams, &RippleParams::phase>("phase", "moves the rings outward; 20 is one wavelength")}},
      {.name = "Focus Color",
       .summary = SummaryOf("Focus Color"),
       .level = "feather 0.25 to 0.75; centre in the middle, radius 0.25",
       .fields = {Make<FocusColorParams, &FocusColorParams::centerX>("centerX", kCenterX),
                  Make<FocusColorParams, &FocusColorParams::centerY>("centerY", kCenterY),
                  Make<FocusColorParams, &FocusColorParams::radius>("radius", "coloured circle, in halves of the diagonal"),
                  Make<FocusColorParams, &FocusColorParams::feather>("feather",
                                                                     "width of the fade, in halves of the diagonal")},
       .leavesBytes = true},
      {.name = "Mirror Move X",
       .summary = SummaryOf("Mirror Move X"),
       .level = "offset 0 to 1",
       .fields = {Make<MirrorMoveXParams, &MirrorMoveXParams::offset>("offset", "move to the right in picture widths")}},
      {.name = "Mirror Move Y",
       .summary = SummaryOf("Mirror Move Y"),
       .level = "offset 0 to 1",
       .fields = {Make<MirrorMoveYParams, &MirrorMoveYParams::offset>("offset", "move downwards in picture heights")}},
      {.name = "Tile Scale",
       .summary = SummaryOf("Tile Scale"),
       .level = "scale 1 to 0.05",
       .fields = {Make<TileScaleParams, &TileScaleParams::scale>("scale", "size of a tile, 0.05 to 1")},
       .leavesBytes = true},
  };
}

/// The one of that name; `kind` says in the message what was looked for.
template <class Info>
const Info& Find(const std::vector<Info>& infos, const std::string& name, const char* kind) {
  const auto found = std::find_if(infos.begin(), infos.end(), [&](const Info& info) { return info.name == name; });
  if (found != infos.end()) return *found;
  std::vector<std::string> names;
  std::transform(infos.begin(), infos.end(), std::back_inserter(names), [](const Info& info) { return info.name; });
  FailUsage("there is no {} \"{}\"; did you mean \"{}\"? `norix list` shows all", kind, name, NearestName(name, names));
}

}  // namespace

const std::vector<EffectInfo>& Effects() {
  static const std::vector<EffectInfo> effects = DescribeEffects();
  return effects;
}

const std::vector<GroupInfo>& Groups() {
  static const std::vector<GroupInfo> groups = [] {
    std::vector<GroupInfo> infos;
    for (const Summary& summary : kGroupSummaries) infos.push_back({summary.name, summary.text});
    return infos;
  }();
  return groups;
}

const EffectInfo& FindEffect(const std::string& name) { return Find(Effects(), name, "effect"); }

const GroupInfo& FindGroup(const std::string& name) { return Find(Groups(), name, "group"); }

const Field& FindField(const EffectInfo& effect, const std::string& name) {
  const auto found =
      std::find_if(effect.fields.begin(), effect.fields.end(), [&](const auto& field) { return field.name == name; });
  if (found != effect.fields.end()) return *found;
  if (effect.fields.empty()) FailUsage("\"{}\" has no field \"{}\": there is nothing to set", effect.name, name);
  std::vector<std::string> names;
  for (const Field& field : effect.fields) names.push_back(field.name);
  FailUsage("\"{}\" has no field \"{}\"; it has {}", effect.name, name, fmt::join(names, ", "));
}

double& FieldOf(FilterParams& params, const std::string& effect, const std::string& field) {
  return FindField(FindEffect(effect), field).in(params);
}

}  // namespace norix::host
