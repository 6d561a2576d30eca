/**
 * @file
 * The effects once more, written for reading: one pixel after the other, every step in its defined order. What the engine
 * computes in any faster way has to end in the same bytes.
 *
 * A new effect is one file here and one row in Effects.cpp.
 */
#ifndef NORIX_TESTS_REFERENCE_REFERENCE_H
#define NORIX_TESTS_REFERENCE_REFERENCE_H

#include <NorixEngine/FEParams.h>

extern "C" {
#include <libavutil/frame.h>
}

#include <ostream>
#include <span>

namespace norix::reference {

/** Copies a band of all planes, with padding as far as both line sizes reach. */
void ReferenceCopyBand(AVFrame& dst, const AVFrame& src, int firstRow, int rowCount);

void ReferenceBulge(AVFrame& dst, const AVFrame& src, const BulgeParams* params, int firstRow, int rowCount);
void ReferenceComicbook(AVFrame& dst, const AVFrame& src, const FilterParams* params, int firstRow, int rowCount);
void ReferenceEmboss(AVFrame& dst, const AVFrame& src, const EmbossParams* params, int firstRow, int rowCount);
void ReferenceFocusColor(AVFrame& dst, const AVFrame& src, FocusColorParams* params, int firstRow, int rowCount);
void ReferenceGroundGlass(AVFrame& dst, const AVFrame& src, const GroundGlassParams* params, int firstRow, int rowCount);
void ReferenceMirrorMoveX(AVFrame& dst, const AVFrame& src, const MirrorMoveXParams* params, int firstRow, int rowCount);
void ReferenceMirrorMoveY(AVFrame& dst, const AVFrame& src, const MirrorMoveYParams* params, int firstRow, int rowCount);
void ReferenceMotionBlur(AVFrame& dst, const AVFrame& src, const MotionBlurParams* params, int firstRow, int rowCount);
void ReferencePinch(AVFrame& dst, const AVFrame& src, const PinchParams* params, int firstRow, int rowCount);

/**
 * Renders as with a new object, whose tables the band at row 0 has built; never waits. Of the table block it leaves counts
 * and keys behind, not the tables.
 */
void ReferenceRipple(AVFrame& dst, const AVFrame& src, RippleParams* params, int firstRow, int rowCount);

void ReferenceSketch(AVFrame& dst, const AVFrame& src, const SketchParams* params, int firstRow, int rowCount);
void ReferenceSwirl(AVFrame& dst, const AVFrame& src, const SwirlParams* params, int firstRow, int rowCount);
void ReferenceTileScale(AVFrame& dst, const AVFrame& src, TileScaleParams* params, int firstRow, int rowCount);
void ReferenceVignette(AVFrame& dst, const AVFrame& src, const VignetteParams* params, int firstRow, int rowCount);
void ReferenceZoomBlur(AVFrame& dst, const AVFrame& src, const ZoomBlurParams* params, int firstRow, int rowCount);

struct Effect {
  const char* name; /**< display name */
  void (*render)(AVFrame& dst, const AVFrame& src, FilterParams* params, int firstRow, int rowCount);

  friend void PrintTo(const Effect& effect, std::ostream* out) { *out << effect.name; }
};

std::span<const Effect> Effects();

/** Null if there is none. */
const Effect* FindEffect(const char* name);

}  // namespace norix::reference

#endif
