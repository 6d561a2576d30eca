/**
 * @file
 * The walk over a picture that Swirl, Pinch and Bulge share: each pixel comes from the nearest one to where the effect's
 * warp takes its position.
 */
#ifndef NORIX_TESTS_REFERENCE_RADIALWARP_H
#define NORIX_TESTS_REFERENCE_RADIALWARP_H

#include "reference/Rules.h"

namespace norix::reference {

/** A position in shares of the picture's width and height. */
struct Point {
  double u;
  double v;
};

inline std::int64_t Nearest(double share, int size) { return Clamp(Truncate(share * size), size); }

/** `warp(r, u, v)` is where the pixel at (u, v) in the band's row r comes from. */
template <typename Warp>
void WarpPacked(AVFrame& dst, const AVFrame& src, int firstRow, int rowCount, int bytesPerPixel, Warp warp) {
  double v = static_cast<double>(firstRow) / src.height;
  for (int r = 0; r < rowCount; ++r) {
    double u = 0.0;
    for (int x = 0; x < src.width; ++x) {
      const Point from = warp(r, u, v);
      const std::uint8_t* const in =
          RowOf(src, 0, Nearest(from.v, src.height)) + Nearest(from.u, src.width) * bytesPerPixel;
      std::uint8_t* const out = RowOf(dst, 0, std::int64_t{firstRow} + r) + std::int64_t{x} * bytesPerPixel;
      for (int i = 0; i < bytesPerPixel; ++i) out[i] = in[i];
      u += 1.0 / src.width;
    }
    v += 1.0 / src.height;
  }
}

/** `warp(u, v)` as above; a single row at the band's end is warped as if it lay at `singleRowV`. */
template <typename Warp>
void WarpPlanar(AVFrame& dst, const AVFrame& src, int firstRow, int rowCount, double singleRowV, Warp warp) {
  const int width = src.width;
  const int height = src.height;
  const int chromaWidth = static_cast<int>((std::int64_t{width} + 1) >> 1);
  const int chromaHeight = static_cast<int>((std::int64_t{height} + 1) >> 1);
  const std::int64_t firstChromaRow = firstRow >> 1;

  double v = static_cast<double>(firstRow) / height;
  for (int r = 0; r < (rowCount & ~1); ++r) {
    double u = 0.0;
    for (int x = 0; x < width; ++x) {
      const Point from = warp(u, v);
      RowOf(dst, 0, std::int64_t{firstRow} + r)[x] = RowOf(src, 0, Nearest(from.v, height))[Nearest(from.u, width)];
      if (x % 2 == 0 && r % 2 == 0) {
        const std::int64_t column = Nearest(from.u, chromaWidth);
        const std::int64_t row = Nearest(from.v, chromaHeight);
        RowOf(dst, 1, firstChromaRow + r / 2)[x / 2] = RowOf(src, 1, row)[column];
        RowOf(dst, 2, firstChromaRow + r / 2)[x / 2] = RowOf(src, 2, row)[column];
      }
      u += 1.0 / width;
    }
    v += 1.0 / height;
  }

  if (rowCount % 2 == 0) return;
  // A single row at the end is taken for the picture's last one; in other places its source is shifted accordingly.
  const std::int64_t endRow = std::int64_t{firstRow} + rowCount;
  const std::int64_t chromaRow = firstChromaRow + (rowCount >> 1);
  double u = 0.0;
  for (int x = 0; x < width; ++x) {
    const Point from = warp(u, singleRowV);
    const std::int64_t lumaRow = Clamp(Nearest(from.v, height) + (endRow - height), height);
    RowOf(dst, 0, endRow - 1)[x] = RowOf(src, 0, lumaRow)[Nearest(from.u, width)];
    if (x % 2 == 0) {
      const std::int64_t column = Nearest(from.u, chromaWidth);
      const std::int64_t row = Clamp(Nearest(from.v, chromaHeight) + chromaRow - chromaHeight + 1, chromaHeight);
      RowOf(dst, 1, chromaRow)[x / 2] = RowOf(src, 1, row)[column];
      RowOf(dst, 2, chromaRow)[x / 2] = RowOf(src, 2, row)[column];
    }
    u += 1.0 / width;
  }
}

}  // namespace norix::reference

#endif
