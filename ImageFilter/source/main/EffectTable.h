#pragma once

#include <NorixEngine/FEParams.h>

#include <array>
#include <cstddef>

#include "FilterEffect/Effects.h"
#include "main/FormatRules.h"

namespace norix {

/// What the entry points know about an effect. Adding an effect adds a row.
struct EffectRow {
  const char* name;
  int (*answerFormat)(int proposed);
  /// Null: filter_video_frame answers -1.
  void (*render)(AVFrame* dst, AVFrame* src, FilterParams* params, int firstRow, int rowCount);
};

/// Hands the parameter object on as the effect's own class: the host passes the object made for the same name.
template <class Params, void (*Effect)(AVFrame*, AVFrame*, Params*, int, int)>
void Render(AVFrame* dst, AVFrame* src, FilterParams* params, int firstRow, int rowCount) {
  Effect(dst, src, static_cast<Params*>(params), firstRow, rowCount);
}

inline constexpr std::array<EffectRow, 16> kEffectTable = {{
    {"Ground Glass", OfferAll, Render<GroundGlassParams, GroundGlass>},
    {"Swirl", OfferAll, Render<SwirlParams, Swirl>},
    {"Vignette", OfferAll, Render<VignetteParams, Vignette>},
    {"Emboss", OfferAll, Render<EmbossParams, Emboss>},
    {"Sketch", OfferSketch, Render<SketchParams, Sketch>},
    {"Comicbook", OfferYuvOrBgra, Render<FilterParams, Comicbook>},
    {"Pinch", OfferAll, Render<PinchParams, Pinch>},
    {"Bulge", OfferAll, Render<BulgeParams, Bulge>},
    {"Stretch", OfferYuvOrBgra, nullptr},  // listed and negotiated, yet never rendered: hosts rely on the -1
    {"Zoom Blur", OfferAll, Render<ZoomBlurParams, ZoomBlur>},
    {"Motion Blur", OfferAll, Render<MotionBlurParams, MotionBlur>},
    {"Ripple", OfferAll, Render<RippleParams, Ripple>},
    {"Focus Color", OfferFocusColor, Render<FocusColorParams, FocusColor>},
    {"Mirror Move X", OfferAll, Render<MirrorMoveXParams, MirrorMoveX>},
    {"Mirror Move Y", OfferAll, Render<MirrorMoveYParams, MirrorMoveY>},
    {"Tile Scale", OfferAll, Render<TileScaleParams, TileScale>},
}};

}  // namespace norix

/// The display names in the table's order and a null pointer; what NorixGetInfo() hands out.
extern std::array<const char*, norix::kEffectTable.size() + 1> g_effects;
