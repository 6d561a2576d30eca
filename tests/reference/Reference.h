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

void ReferenceMirrorMoveX(AVFrame& dst, const AVFrame& src, const MirrorMoveXParams* params, int firstRow, int rowCount);
void ReferenceSwirl(AVFrame& dst, const AVFrame& src, const SwirlParams* params, int firstRow, int rowCount);
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
