// The parameter classes that are nothing but numbers.

#include <NorixEngine/FEParams.h>

#include "FEParams/CopyFields.h"

using norix::CopyFields;

SwirlParams::SwirlParams() : FilterParams("Swirl") {}
SwirlParams::~SwirlParams() = default;
FilterParams* SwirlParams::Clone() const {
  return CopyFields(*this, &SwirlParams::centerX, &SwirlParams::centerY, &SwirlParams::radius, &SwirlParams::angle);
}

VignetteParams::VignetteParams() : FilterParams("Vignette") {}
VignetteParams::~VignetteParams() = default;
FilterParams* VignetteParams::Clone() const {
  return CopyFields(*this, &VignetteParams::centerX, &VignetteParams::centerY, &VignetteParams::innerRadius,
                    &VignetteParams::outerRadius);
}

PinchParams::PinchParams() : FilterParams("Pinch") {}
PinchParams::~PinchParams() = default;
FilterParams* PinchParams::Clone() const {
  return CopyFields(*this, &PinchParams::centerX, &PinchParams::centerY, &PinchParams::radius, &PinchParams::strength);
}

BulgeParams::BulgeParams() : FilterParams("Bulge") {}
BulgeParams::~BulgeParams() = default;
FilterParams* BulgeParams::Clone() const {
  return CopyFields(*this, &BulgeParams::centerX, &BulgeParams::centerY, &BulgeParams::radius, &BulgeParams::strength);
}

ZoomBlurParams::ZoomBlurParams() : FilterParams("Zoom Blur") {}
ZoomBlurParams::~ZoomBlurParams() = default;
FilterParams* ZoomBlurParams::Clone() const {
  return CopyFields(*this, &ZoomBlurParams::centerX, &ZoomBlurParams::centerY, &ZoomBlurParams::strength);
}

MotionBlurParams::MotionBlurParams() : FilterParams("Motion Blur") {}
MotionBlurParams::~MotionBlurParams() = default;
FilterParams* MotionBlurParams::Clone() const {
  return CopyFields(*this, &MotionBlurParams::strength, &MotionBlurParams::angle);
}

GroundGlassParams::GroundGlassParams() : FilterParams("Ground Glass") {}
GroundGlassParams::~GroundGlassParams() = default;
FilterParams* GroundGlassParams::Clone() const { return CopyFields(*this, &GroundGlassParams::amount); }

EmbossParams::EmbossParams() : FilterParams("Emboss") {}
EmbossParams::~EmbossParams() = default;
FilterParams* EmbossParams::Clone() const { return CopyFields(*this, &EmbossParams::amount); }

SketchParams::SketchParams() : FilterParams("Sketch") {}
SketchParams::~SketchParams() = default;
FilterParams* SketchParams::Clone() const { return CopyFields(*this, &SketchParams::amount); }

FocusColorParams::FocusColorParams() : FilterParams("Focus Color") {}
FocusColorParams::~FocusColorParams() = default;
FilterParams* FocusColorParams::Clone() const {
  return CopyFields(*this, &FocusColorParams::centerX, &FocusColorParams::centerY, &FocusColorParams::radius,
                    &FocusColorParams::feather);
}

MirrorMoveXParams::MirrorMoveXParams() : FilterParams("Mirror Move X") {}
MirrorMoveXParams::~MirrorMoveXParams() = default;
FilterParams* MirrorMoveXParams::Clone() const { return CopyFields(*this, &MirrorMoveXParams::offset); }

MirrorMoveYParams::MirrorMoveYParams() : FilterParams("Mirror Move Y") {}
MirrorMoveYParams::~MirrorMoveYParams() = default;
FilterParams* MirrorMoveYParams::Clone() const { return CopyFields(*this, &MirrorMoveYParams::offset); }

TileScaleParams::TileScaleParams() : FilterParams(nullptr) {}
TileScaleParams::~TileScaleParams() = default;
FilterParams* TileScaleParams::Clone() const { return CopyFields(*this, &TileScaleParams::scale); }
