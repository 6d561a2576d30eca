#pragma once

// The parameters of the plug-ins. Their order and names are what saved projects refer to: new ones go to the end.

#include <NorixEngine/FEParams.h>

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace norix::frei0r {

/// A number that hosts set from 0 to 1.
struct Parameter {
  const char* name;
  const char* meaning;  ///< with unit, and what 0 and 1 stand for
  double standard;      ///< 0 to 1
  bool isSwitch = false;
};

/// A field of an effect's parameter object as a parameter: 0 to 1 stand for `from` to `to`.
struct FieldParameter {
  Parameter parameter;
  double from;
  double to;
  void (*set)(FilterParams& params, double value);  ///< null for the switch "Manual"
  bool byHand = false;  ///< used only while the switch "Manual" is on: the level sets the field otherwise

  double ValueAt(double share) const { return from + share * (to - from); }
};

/// Bytes of a pixel from the lowest address.
enum class ByteOrder { kRgba, kBgra };

struct EffectDescription {
  const char* name;
  double level;  ///< the standard one, 0 to 1; negative: the effect has none
  const char* levelMeaning;
  ByteOrder order = ByteOrder::kRgba;  ///< BGRA for effects that tell red from blue
  bool leavesBytes = false;            ///< alpha, a last row or all may stay unwritten
  std::span<const FieldParameter> fields = {};
};

template <class Params, double Params::*kField>
void SetField(FilterParams& params, double value) {
  static_cast<Params&>(params).*kField = value;
}

template <class Params>
inline constexpr FieldParameter kCenterX = {
    {"Center X", "centre of the effect: 0 left edge, 0.5 middle, 1 right edge", 0.5},
    0,
    1,
    SetField<Params, &Params::centerX>};

template <class Params>
inline constexpr FieldParameter kCenterY = {
    {"Center Y", "centre of the effect: 0 top edge, 0.5 middle, 1 bottom edge", 0.5},
    0,
    1,
    SetField<Params, &Params::centerY>};

/// 0 to 2 picture widths and heights.
template <class Params>
constexpr FieldParameter Radius(double standard) {
  return {{"Radius", "where the effect ends, in picture widths and heights: 0 nowhere, 0.5 one width, 1 two widths",
           standard / 2},
          0,
          2,
          SetField<Params, &Params::radius>};
}

inline constexpr FieldParameter kManual = {
    {"Manual", "on: the radii below count, off: the level sets them", 0, true}, 0, 1, nullptr};

inline constexpr FieldParameter kSwirlFields[] = {kCenterX<SwirlParams>, kCenterY<SwirlParams>, Radius<SwirlParams>(1.0)};
inline constexpr FieldParameter kPinchFields[] = {kCenterX<PinchParams>, kCenterY<PinchParams>, Radius<PinchParams>(1.0)};
inline constexpr FieldParameter kBulgeFields[] = {kCenterX<BulgeParams>, kCenterY<BulgeParams>, Radius<BulgeParams>(0.5)};
inline constexpr FieldParameter kZoomBlurFields[] = {kCenterX<ZoomBlurParams>, kCenterY<ZoomBlurParams>};
inline constexpr FieldParameter kVignetteFields[] = {
    kCenterX<VignetteParams>,
    kCenterY<VignetteParams>,
    kManual,
    {{"Inner Radius", "where the darkening begins, with Manual on: 0 centre, 0.5 one picture width and height, 1 two",
      0.15},
     0,
     2,
     SetField<VignetteParams, &VignetteParams::innerRadius>,
     true},
    {{"Outer Radius", "where black begins, with Manual on: 0 centre, 0.5 one picture width and height, 1 two", 0.375},
     0,
     2,
     SetField<VignetteParams, &VignetteParams::outerRadius>,
     true},
};
inline constexpr FieldParameter kMotionBlurFields[] = {
    {{"Angle", "direction of the blur: 0 and 1 rightwards, 0.25 downwards, 0.5 leftwards", 0},
     0,
     360,
     SetField<MotionBlurParams, &MotionBlurParams::angle>},
};
inline constexpr FieldParameter kRippleFields[] = {
    {{"Damping", "length of the waves: 0 short, 1 long", 0.9}, 0, 100, SetField<RippleParams, &RippleParams::damping>},
    {{"Amplitude", "height of the waves: 0 flat, 0.2 usual, 1 five times that", 0.2},
     0,
     100,
     SetField<RippleParams, &RippleParams::amplitude>},
};
inline constexpr FieldParameter kFocusColorFields[] = {
    kCenterX<FocusColorParams>,
    kCenterY<FocusColorParams>,
    {{"Radius", "radius of the coloured circle: 0 nothing, 0.5 half the picture's diagonal, 1 all of it", 0.125},
     0,
     2,
     SetField<FocusColorParams, &FocusColorParams::radius>},
};

inline constexpr EffectDescription kEffects[] = {
    {"Ground Glass", 0.25, "how far pixels scatter: 0 unchanged, 0.5 ten pixels, 1 twenty pixels", ByteOrder::kRgba, true},
    {"Swirl", 0.3, "twist of the centre: 0 unchanged, 0.5 four radians, 1 eight radians", ByteOrder::kRgba, false,
     kSwirlFields},
    {"Vignette", 0.5, "darkness of the edges: 0 hardly any, 0.5 dark corners, 1 black", ByteOrder::kRgba, false,
     kVignetteFields},
    {"Emboss", 0.5, "strength of the relief: 0 unchanged, 0.5 half, 1 carved", ByteOrder::kRgba},
    {"Sketch", 0.5, "how much of the drawing shows: 0 the picture, 0.5 half, 1 the drawing alone", ByteOrder::kBgra, true},
    {"Comicbook", -1, "", ByteOrder::kBgra, true},
    {"Pinch", 0.5, "strength: 0 unchanged, 0.5 half, 1 full", ByteOrder::kRgba, false, kPinchFields},
    {"Bulge", 0.5, "strength: 0 unchanged, 0.5 half, 1 full", ByteOrder::kRgba, false, kBulgeFields},
    {"Zoom Blur", 0.5, "length of the blur: 0 unchanged, 0.5 half, 1 a third of the way to the centre", ByteOrder::kRgba,
     false, kZoomBlurFields},
    {"Motion Blur", 0.5, "length of the blur: 0 unchanged, 0.5 sixteen pixels, 1 thirty-two pixels", ByteOrder::kRgba,
     false, kMotionBlurFields},
    {"Ripple", 0.25, "phase, which moves the rings outward: from 0 to 1 four wavelengths", ByteOrder::kRgba, false,
     kRippleFields},
    {"Focus Color", 0.5, "width of the fade to gray: 0 an eighth of the picture's diagonal, 1 three eighths",
     ByteOrder::kBgra, true, kFocusColorFields},
    {"Mirror Move X", 0.25, "move to the right: 0 none, 0.5 half the width, 1 the whole width, all mirrored",
     ByteOrder::kRgba},
    {"Mirror Move Y", 0.25, "move downwards: 0 none, 0.5 half the height, 1 the whole height, all mirrored",
     ByteOrder::kRgba},
    {"Tile Scale", 0.7, "size of the tiles: 0 the whole picture, 0.5 half of it, 1 a twentieth", ByteOrder::kRgba, true},
};

inline constexpr Parameter kTime = {"Time", "moment of the transition: 0 its beginning, 0.5 its middle, 1 its end", 0.25};

constexpr const EffectDescription& DescriptionOf(std::string_view name) {
  std::size_t i = 0;
  while (name != kEffects[i].name) ++i;
  return kEffects[i];
}

}  // namespace norix::frei0r
