// Parameter objects by effect name and level: one row per effect says which class it uses and what the level sets.

#include <NorixEngine/FEParams.h>

#include <cstring>

namespace {

// Applies the level to an object, which is made first when there is none. `t` is the level as a share of 10000.
template <class Params, void (*SetLevel)(Params&, double)>
void Fill(FilterParams*& object, int& size, double t) {
  if (!object) object = new Params;
  SetLevel(static_cast<Params&>(*object), t);
  size = static_cast<int>(sizeof(Params));
}

// 1 at level 0 down to 0.05 at level 10000, and no further at levels beyond.
void SetTileScale(TileScaleParams& params, double t) {
  double scale = 1 + t * -0.95;
  if (0.05 > scale) {
    scale = 0.05;
  } else if (scale > 1.0) {
    scale = 1.0;
  }
  params.scale = scale;
}

void SetGroundGlass(GroundGlassParams& params, double t) { params.amount = t * 20; }
void SetSwirl(SwirlParams& params, double t) { params.angle = t * 360; }
void SetVignette(VignetteParams& params, double t) {
  params.innerRadius = 0.4 - t * 0.4;
  params.outerRadius = 1.8 - t * 1.8;
}
void SetEmboss(EmbossParams& params, double t) { params.amount = t; }
void SetSketch(SketchParams& params, double t) { params.amount = t; }
void SetPinch(PinchParams& params, double t) { params.strength = t; }
void SetBulge(BulgeParams& params, double t) { params.strength = t; }
void SetZoomBlur(ZoomBlurParams& params, double t) { params.strength = t * 4; }
void SetMotionBlur(MotionBlurParams& params, double t) { params.strength = t * 4; }
void SetRipple(RippleParams& params, double t) {
  params.centerX = 0.5;
  params.centerY = 0.5;
  params.radius = 0.5 * t + 0.2;
  params.damping = 90.0;
  params.amplitude = 20.0;
  params.phase = t * 80;
}
void SetFocusColor(FocusColorParams& params, double t) {
  params.centerX = 0.5;
  params.centerY = 0.5;
  params.radius = 0.25;
  params.feather = t * 0.5 + 0.25;
}
void SetMirrorMoveX(MirrorMoveXParams& params, double t) { params.offset = t; }
void SetMirrorMoveY(MirrorMoveYParams& params, double t) { params.offset = t; }

struct ParamRow {
  const char* name;
  void (*fill)(FilterParams*& object, int& size, double t);
};

// "Comicbook" and "Stretch" have no settings and so no row.
constexpr ParamRow kParamRows[] = {
    {"Ground Glass", Fill<GroundGlassParams, SetGroundGlass>},
    {"Swirl", Fill<SwirlParams, SetSwirl>},
    {"Vignette", Fill<VignetteParams, SetVignette>},
    {"Emboss", Fill<EmbossParams, SetEmboss>},
    {"Sketch", Fill<SketchParams, SetSketch>},
    {"Pinch", Fill<PinchParams, SetPinch>},
    {"Bulge", Fill<BulgeParams, SetBulge>},
    {"Zoom Blur", Fill<ZoomBlurParams, SetZoomBlur>},
    {"Motion Blur", Fill<MotionBlurParams, SetMotionBlur>},
    {"Tile Scale", Fill<TileScaleParams, SetTileScale>},
    {"Ripple", Fill<RippleParams, SetRipple>},
    {"Focus Color", Fill<FocusColorParams, SetFocusColor>},
    {"Mirror Move X", Fill<MirrorMoveXParams, SetMirrorMoveX>},
    {"Mirror Move Y", Fill<MirrorMoveYParams, SetMirrorMoveY>},
};

}  // namespace

void GetParamBuffer(const char* name, int level, FilterParams** params, int* size) {
  if (!params || !name || !size) return;
  if (*params) {
    const char* held = (*params)->GetFilterName();
    if (!held || std::strcmp(held, name) != 0) {
      (*params)->Release();
      *params = nullptr;
    }
  }
  const double t = level / 10000.0;
  for (const ParamRow& row : kParamRows) {
    if (std::strcmp(name, row.name) == 0) return row.fill(*params, *size, t);
  }
}

void ReleaseParamBuffer(FilterParams* params) {
  if (params) params->Release();
}

FilterParams* ReferenceParamBuffer(FilterParams* params) {
  if (params) params->AddRef();
  return params;
}

FilterParams* CloneParamBuffer(FilterParams* params) { return params ? params->Clone() : nullptr; }
