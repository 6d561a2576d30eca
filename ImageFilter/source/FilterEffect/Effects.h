#pragma once

#include <NorixEngine/FEParams.h>

/// The effects, one file each. Every one writes a band of `dst` from `src`: rows firstRow .. firstRow + rowCount - 1.

void MirrorMoveX(AVFrame* dst, AVFrame* src, MirrorMoveXParams* params, int firstRow, int rowCount);
void Swirl(AVFrame* dst, AVFrame* src, SwirlParams* params, int firstRow, int rowCount);
void ZoomBlur(AVFrame* dst, AVFrame* src, ZoomBlurParams* params, int firstRow, int rowCount);
