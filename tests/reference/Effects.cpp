#include <cstring>

#include "reference/Reference.h"

namespace norix::reference {

namespace {

template <typename Params, auto Render>
void With(AVFrame& dst, const AVFrame& src, FilterParams* params, int firstRow, int rowCount) {
  Render(dst, src, static_cast<Params*>(params), firstRow, rowCount);
}

constexpr Effect kEffects[] = {
    {"Swirl", With<SwirlParams, ReferenceSwirl>},
    {"Zoom Blur", With<ZoomBlurParams, ReferenceZoomBlur>},
    {"Mirror Move X", With<MirrorMoveXParams, ReferenceMirrorMoveX>},
    {"Ground Glass", With<GroundGlassParams, ReferenceGroundGlass>},
    {"Sketch", With<SketchParams, ReferenceSketch>},
    {"Comicbook", With<FilterParams, ReferenceComicbook>},
    {"Focus Color", With<FocusColorParams, ReferenceFocusColor>},
    {"Mirror Move Y", With<MirrorMoveYParams, ReferenceMirrorMoveY>},
    {"Tile Scale", With<TileScaleParams, ReferenceTileScale>},
    {"Pinch", With<PinchParams, ReferencePinch>},
    {"Bulge", With<BulgeParams, ReferenceBulge>},
    {"Vignette", With<VignetteParams, ReferenceVignette>},
    {"Ripple", With<RippleParams, ReferenceRipple>},
    {"Motion Blur", With<MotionBlurParams, ReferenceMotionBlur>},
    {"Emboss", With<EmbossParams, ReferenceEmboss>},
};

}  // namespace

std::span<const Effect> Effects() { return kEffects; }

const Effect* FindEffect(const char* name) {
  for (const Effect& effect : kEffects)
    if (std::strcmp(effect.name, name) == 0) return &effect;
  return nullptr;
}

}  // namespace norix::reference
