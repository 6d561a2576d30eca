// Pins the binary layout of the parameter classes: hosts built against an earlier version rely on it.

#include <NorixEngine/FEParams.h>

#include <cstddef>

#if defined(__LP64__)

// offsetof of a class with virtual functions is conditionally supported; g++ and clang support it.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

static_assert(sizeof(FilterParams) == 24);
static_assert(offsetof(FilterParams, refCount) == 8);
static_assert(offsetof(FilterParams, name) == 16);

static_assert(sizeof(SwirlParams) == 56);
static_assert(offsetof(SwirlParams, centerX) == 24);
static_assert(offsetof(SwirlParams, centerY) == 32);
static_assert(offsetof(SwirlParams, radius) == 40);
static_assert(offsetof(SwirlParams, angle) == 48);

static_assert(sizeof(VignetteParams) == 56);
static_assert(offsetof(VignetteParams, centerX) == 24);
static_assert(offsetof(VignetteParams, centerY) == 32);
static_assert(offsetof(VignetteParams, innerRadius) == 40);
static_assert(offsetof(VignetteParams, outerRadius) == 48);

static_assert(sizeof(PinchParams) == 56);
static_assert(offsetof(PinchParams, centerX) == 24);
static_assert(offsetof(PinchParams, centerY) == 32);
static_assert(offsetof(PinchParams, radius) == 40);
static_assert(offsetof(PinchParams, strength) == 48);

static_assert(sizeof(BulgeParams) == 56);
static_assert(offsetof(BulgeParams, centerX) == 24);
static_assert(offsetof(BulgeParams, centerY) == 32);
static_assert(offsetof(BulgeParams, radius) == 40);
static_assert(offsetof(BulgeParams, strength) == 48);

static_assert(sizeof(ZoomBlurParams) == 48);
static_assert(offsetof(ZoomBlurParams, centerX) == 24);
static_assert(offsetof(ZoomBlurParams, centerY) == 32);
static_assert(offsetof(ZoomBlurParams, strength) == 40);

static_assert(sizeof(MotionBlurParams) == 40);
static_assert(offsetof(MotionBlurParams, strength) == 24);
static_assert(offsetof(MotionBlurParams, angle) == 32);

static_assert(sizeof(GroundGlassParams) == 32);
static_assert(offsetof(GroundGlassParams, amount) == 24);

static_assert(sizeof(EmbossParams) == 32);
static_assert(offsetof(EmbossParams, amount) == 24);

static_assert(sizeof(SketchParams) == 32);
static_assert(offsetof(SketchParams, amount) == 24);

static_assert(sizeof(FocusColorParams) == 56);
static_assert(offsetof(FocusColorParams, centerX) == 24);
static_assert(offsetof(FocusColorParams, centerY) == 32);
static_assert(offsetof(FocusColorParams, radius) == 40);
static_assert(offsetof(FocusColorParams, feather) == 48);

static_assert(sizeof(MirrorMoveXParams) == 32);
static_assert(offsetof(MirrorMoveXParams, offset) == 24);

static_assert(sizeof(MirrorMoveYParams) == 32);
static_assert(offsetof(MirrorMoveYParams, offset) == 24);

static_assert(sizeof(TileScaleParams) == 32);
static_assert(offsetof(TileScaleParams, scale) == 24);

static_assert(sizeof(RippleParams) == 120);
static_assert(offsetof(RippleParams, centerX) == 24);
static_assert(offsetof(RippleParams, centerY) == 32);
static_assert(offsetof(RippleParams, radius) == 40);
static_assert(offsetof(RippleParams, damping) == 48);
static_assert(offsetof(RippleParams, amplitude) == 56);
static_assert(offsetof(RippleParams, phase) == 64);
static_assert(offsetof(RippleParams, ownTables) == 72);
static_assert(offsetof(RippleParams, tables) == 112);
static_assert(offsetof(RippleTables, offsetTable) == 0);
static_assert(offsetof(RippleTables, offsetCount) == 8);
static_assert(offsetof(RippleTables, weightTable) == 16);
static_assert(offsetof(RippleTables, weightCount) == 24);
static_assert(offsetof(RippleTables, tableDamping) == 28);
static_assert(offsetof(RippleTables, tableAmplitude) == 32);

static_assert(offsetof(FilterGroupParam, name) == 0);
static_assert(offsetof(FilterGroupParam, count) == 8);
static_assert(offsetof(FilterGroupParam, entries) == 16);

static_assert(offsetof(FilterGroupEntry, name) == 0);
static_assert(offsetof(FilterGroupEntry, params) == 8);
static_assert(offsetof(FilterGroupEntry, size) == 16);
static_assert(offsetof(FilterGroupEntry, reserved) == 24);
static_assert(offsetof(FilterGroupEntry, scaleX) == 32);
static_assert(offsetof(FilterGroupEntry, scaleY) == 36);
static_assert(offsetof(FilterGroupEntry, extraPercent) == 40);
static_assert(offsetof(FilterGroupEntry, extraFlag) == 44);
static_assert(offsetof(FilterGroupEntry, progress) == 48);
static_assert(offsetof(FilterGroupEntry, extraValue) == 56);
static_assert(offsetof(FilterGroupEntry, extraPercentX) == 64);
static_assert(offsetof(FilterGroupEntry, extraPercentY) == 68);

#endif
