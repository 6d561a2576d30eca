#pragma once

#include <NorixEngine/FEParams.h>

/// The effects, one file each. Every one writes a band of `dst` from `src`: rows firstRow .. firstRow + rowCount - 1.

void Bulge(AVFrame* dst, AVFrame* src, BulgeParams* params, int firstRow, int rowCount);
void Comicbook(AVFrame* dst, AVFrame* src, FilterParams* params, int firstRow, int rowCount);
void Emboss(AVFrame* dst, AVFrame* src, EmbossParams* params, int firstRow, int rowCount);
void FocusColor(AVFrame* dst, AVFrame* src, FocusColorParams* params, int firstRow, int rowCount);
void GroundGlass(AVFrame* dst, AVFrame* src, GroundGlassParams* params, int firstRow, int rowCount);
void MirrorMoveX(AVFrame* dst, AVFrame* src, MirrorMoveXParams* params, int firstRow, int rowCount);
void MirrorMoveY(AVFrame* dst, AVFrame* src, MirrorMoveYParams* params, int firstRow, int rowCount);
void MotionBlur(AVFrame* dst, AVFrame* src, MotionBlurParams* params, int firstRow, int rowCount);
void Pinch(AVFrame* dst, AVFrame* src, PinchParams* params, int firstRow, int rowCount);
void Ripple(AVFrame* dst, AVFrame* src, RippleParams* params, int firstRow, int rowCount);
void Sketch(AVFrame* dst, AVFrame* src, SketchParams* params, int firstRow, int rowCount);
void Stretch(AVFrame* dst, AVFrame* src, FilterParams* params, int firstRow, int rowCount);
void Swirl(AVFrame* dst, AVFrame* src, SwirlParams* params, int firstRow, int rowCount);
void TileScale(AVFrame* dst, AVFrame* src, TileScaleParams* params, int firstRow, int rowCount);
void Vignette(AVFrame* dst, AVFrame* src, VignetteParams* params, int firstRow, int rowCount);
void ZoomBlur(AVFrame* dst, AVFrame* src, ZoomBlurParams* params, int firstRow, int rowCount);
