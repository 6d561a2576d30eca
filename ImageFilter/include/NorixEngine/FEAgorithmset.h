/**
 * @file
 * Helper routines of NorixEngine that hosts may call themselves (C++). Any thread; nothing is allocated or kept.
 */
#ifndef NORIXENGINE_FEAGORITHMSET_H
#define NORIXENGINE_FEAGORITHMSET_H

#include <NorixEngine/NorixEngine.h>

namespace FEAgorithmSet {

/** A point, in any unit that all arguments of a call share. */
struct POINTF {
  float x;
  float y;
};

/**
 * Where a ripple about `center` fetches the point `point` from.
 *
 * A point at distance d up to `radius` moves along the line from the centre by its offset from it, times
 *   k = (radius - d) / radius * sin(2 pi d / wavelength - phase) * amplitude * wavelength / d
 * (without the last factor when d is 1 within 1e-5). Points farther out, and the centre itself, stay where they are.
 *
 * @param out         where to write the result
 * @param point       the point asked about
 * @param center      middle of the rings
 * @param radius      where the rings end, in the points' unit
 * @param wavelength  distance from ring to ring, in the points' unit; not 0
 * @param amplitude   height of the wave, without unit
 * @param phase       shift of the wave, in radians
 */
NORIX_API void RipplePos(POINTF& out, POINTF point, POINTF center, float radius, float wavelength, float amplitude,
                         float phase);

/**
 * Copies one byte of every pixel of a block, usually the alpha byte of packed 4-byte pixels.
 *
 * @param dstAlpha       that byte of the first pixel to write
 * @param srcAlpha       that byte of the first pixel to read
 * @param width          pixels in a row; below 1 copies nothing
 * @param height         rows; below 1 copies nothing
 * @param dstRowPadding  bytes from the end of a row to write to the next one: line size - width * bytesPerPixel
 * @param srcRowPadding  the same of the rows to read
 * @param bytesPerPixel  bytes from one pixel to the next, in both
 */
NORIX_API void CopyAlphaData(unsigned char* dstAlpha, unsigned char* srcAlpha, int width, int height, int dstRowPadding,
                             int srcRowPadding, int bytesPerPixel);

}  // namespace FEAgorithmSet

#endif
