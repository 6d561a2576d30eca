#pragma once

// Nearest-sample warps: every pixel of the band is fetched from one source pixel, whose place a warp computes from the
// pixel's own.
//
// Places are shares of width and height: u = x / W, v = y / H. Along a row u is a running sum of 1 / W from 0, down the
// band v is a running sum of 1 / H from firstRow / H; the sums decide the last bit of a position, so they are kept as sums.

#include <cstdint>
#include <cstring>

#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/PlanarRows.h"

namespace norix {

struct WarpedPoint {
  double u;
  double v;
};

/// A warp with a `nextRow()` is told of every row after the first.
template <int kBytesPerPixel, class Warp>
void WarpPacked(AVFrame& dst, const AVFrame& src, Band rows, Warp warp) {
  const Plane to = PlaneOf(dst, 0);
  const ConstPlane from = PlaneOf(src, 0);
  const int width = src.width;
  const int height = src.height;
  const double columnStep = 1.0 / width;
  const double rowStep = 1.0 / height;
  double v = static_cast<double>(rows.first) / height;
  for (std::int64_t y = rows.first; y < rows.end(); ++y, v += rowStep) {
    std::uint8_t* out = to.Row(y);
    double u = 0.0;
    for (int x = 0; x < width; ++x, out += kBytesPerPixel, u += columnStep) {
      const WarpedPoint at = warp(u, v);
      const std::ptrdiff_t column = NearestIndex(at.u * width, width);
      const int row = NearestIndex(at.v * height, height);
      std::memcpy(out, from.Row(row) + column * kBytesPerPixel, kBytesPerPixel);
    }
    if constexpr (requires { warp.nextRow(); }) warp.nextRow();
  }
}

/// The chroma of a 2x2 block follows the warp of its top left pixel. The last row of an odd band is treated as the last row
/// of the picture: `lastRowV` is its place, and its source rows are shifted by as much as the band ends above the bottom.
template <class Warp>
void WarpPlanar(AVFrame& dst, const AVFrame& src, Band rows, const Warp& warp, double lastRowV) {
  const int width = src.width;
  const int height = src.height;
  const int chromaWidth = ChromaSize(width);
  const int chromaHeight = ChromaSize(height);
  const double columnStep = 1.0 / width;
  const double rowStep = 1.0 / height;
  const ConstPlane luma = PlaneOf(src, 0);
  const ConstPlane chromaU = PlaneOf(src, 1);
  const ConstPlane chromaV = PlaneOf(src, 2);

  double nextV = static_cast<double>(rows.first) / height;
  ForEachPlanarRow(rows, [&](const PlanarRow& row) {
    const double v = row.oddLast ? lastRowV : nextV;
    nextV += rowStep;
    const std::int64_t lumaShift = row.oddLast ? rows.end() - height : 0;
    const std::int64_t chromaShift = row.oddLast ? row.chromaY - chromaHeight + 1 : 0;
    std::uint8_t* outY = PlaneOf(dst, 0).Row(row.y);
    std::uint8_t* outU = PlaneOf(dst, 1).Row(row.chromaY);
    std::uint8_t* outV = PlaneOf(dst, 2).Row(row.chromaY);
    double u = 0.0;
    for (int x = 0; x < width; ++x, u += columnStep) {
      const WarpedPoint at = warp(u, v);
      const std::int64_t y = ClampIndex<std::int64_t>(NearestIndex(at.v * height, height) + lumaShift, height);
      outY[x] = luma.Row(y)[NearestIndex(at.u * width, width)];
      if (!row.withChroma || x % 2 != 0) continue;
      const int column = NearestIndex(at.u * chromaWidth, chromaWidth);
      const std::int64_t chromaY =
          ClampIndex<std::int64_t>(NearestIndex(at.v * chromaHeight, chromaHeight) + chromaShift, chromaHeight);
      outU[x / 2] = chromaU.Row(chromaY)[column];
      outV[x / 2] = chromaV.Row(chromaY)[column];
    }
  });
}

/// Renders a band of a nearest-sample warp. `warp(u, v)` answers the WarpedPoint to fetch from; `lastRowV` is the place of
/// the last row of an odd planar band. Alpha planes are not warped; unknown formats are left alone.
template <class Warp>
void WarpFrame(AVFrame& dst, const AVFrame& src, Band rows, const Warp& warp, double lastRowV) {
  if (rows.count < 1) return;
  switch (LayoutOf(src.format)) {
    case Layout::kPacked3:
      return WarpPacked<3>(dst, src, rows, warp);
    case Layout::kPacked4:
      return WarpPacked<4>(dst, src, rows, warp);
    case Layout::kPlanarAlpha:
      CopyAlphaRows(dst, src, rows);
      [[fallthrough]];
    case Layout::kPlanar:
      return WarpPlanar(dst, src, rows, warp, lastRowV);
    case Layout::kUnknown:
      return;
  }
}

}  // namespace norix
