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

namespace norix {

struct WarpedPoint {
  double u;
  double v;
};

template <int kBytesPerPixel, class Warp>
void WarpPacked(AVFrame& dst, const AVFrame& src, Band rows, const Warp& warp) {
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
  }
}

/// Rows go in pairs counted from the band's first row; the chroma of a 2x2 block follows the warp of its top left pixel.
/// The last row of an odd band is treated as the last row of the picture: `lastRowV` is its place, and its source rows are
/// shifted by as much as the band ends above the picture's bottom.
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

  struct RowJob {
    std::int64_t y;
    double v;
    bool withChroma;
    std::int64_t chromaRow;
    std::int64_t lumaShift;    // added to the sampled row
    std::int64_t chromaShift;  // added to the sampled chroma row
  };
  const auto warpRow = [&](const RowJob& job) {
    std::uint8_t* outY = PlaneOf(dst, 0).Row(job.y);
    std::uint8_t* outU = PlaneOf(dst, 1).Row(job.chromaRow);
    std::uint8_t* outV = PlaneOf(dst, 2).Row(job.chromaRow);
    double u = 0.0;
    for (int x = 0; x < width; ++x, u += columnStep) {
      const WarpedPoint at = warp(u, job.v);
      const std::int64_t row = ClampIndex<std::int64_t>(NearestIndex(at.v * height, height) + job.lumaShift, height);
      outY[x] = luma.Row(row)[NearestIndex(at.u * width, width)];
      if (!job.withChroma || x % 2 != 0) continue;
      const int column = NearestIndex(at.u * chromaWidth, chromaWidth);
      const std::int64_t chromaRow =
          ClampIndex<std::int64_t>(NearestIndex(at.v * chromaHeight, chromaHeight) + job.chromaShift, chromaHeight);
      outU[x / 2] = chromaU.Row(chromaRow)[column];
      outV[x / 2] = chromaV.Row(chromaRow)[column];
    }
  };

  const std::int64_t firstChromaRow = rows.first >> 1;
  const std::int64_t paired = rows.count & ~std::int64_t{1};
  double v = static_cast<double>(rows.first) / height;
  for (std::int64_t r = 0; r < paired; ++r, v += rowStep) {
    warpRow({rows.first + r, v, r % 2 == 0, firstChromaRow + r / 2, 0, 0});
  }
  if (rows.count > paired) {
    const std::int64_t chromaRow = firstChromaRow + (rows.count >> 1);
    warpRow({rows.end() - 1, lastRowV, true, chromaRow, rows.end() - height, chromaRow - chromaHeight + 1});
  }
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
