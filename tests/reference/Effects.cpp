#include <cstring>

#include "reference/Reference.h"

namespace norix::reference {

namespace {

template <typename Params, void (*Render)(AVFrame&, const AVFrame&, const Params*, int, int)>
void With(AVFrame& dst, const AVFrame& src, FilterParams* params, int firstRow, int rowCount) {
  Render(dst, src, static_cast<const Params*>(params), firstRow, rowCount);
}

constexpr Effect kEffects[] = {
    {"Swirl", With<SwirlParams, ReferenceSwirl>},
    {"Zoom Blur", With<ZoomBlurParams, ReferenceZoomBlur>},
    {"Mirror Move X", With<MirrorMoveXParams, ReferenceMirrorMoveX>},
};

}  // namespace

std::span<const Effect> Effects() { return kEffects; }

const Effect* FindEffect(const char* name) {
  for (const Effect& effect : kEffects)
    if (std::strcmp(effect.name, name) == 0) return &effect;
  return nullptr;
}

}  // namespace norix::reference
