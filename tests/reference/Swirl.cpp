#include <cmath>

#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

namespace {

struct Point {
  double u;
  double v;
};

Point Warp(const SwirlParams& params, double u, double v) {
  const double dx = u - params.centerX;
  const double dy = v - params.centerY;
  const double d = std::sqrt(dx * dx + dy * dy);
  if (!(params.radius > d)) return {u, v};
  const double a = params.angle / 360.0;
  const double t = (params.radius - d) / params.radius;
  const double theta = t * t * a * 8.0;
  const double cosine = std::cos(theta);
  const double sine = std::sin(theta);
  return {params.centerX + (dx * cosine + dy * sine), params.centerY + (dy * cosine - dx * sine)};
}

std::int64_t Nearest(double share, int size) { return Clamp(Truncate(share * size), size); }

void WarpPacked(AVFrame& dst, const AVFrame& src, const SwirlParams& params, int firstRow, int rowCount,
                int bytesPerPixel) {
  double v = static_cast<double>(firstRow) / src.height;
  for (int r = 0; r < rowCount; ++r) {
    double u = 0.0;
    for (int x = 0; x < src.width; ++x) {
      const Point from = Warp(params, u, v);
      const std::uint8_t* const in =
          RowOf(src, 0, Nearest(from.v, src.height)) + Nearest(from.u, src.width) * bytesPerPixel;
      std::uint8_t* const out = RowOf(dst, 0, std::int64_t{firstRow} + r) + std::int64_t{x} * bytesPerPixel;
      for (int i = 0; i < bytesPerPixel; ++i) out[i] = in[i];
      u += 1.0 / src.width;
    }
    v += 1.0 / src.height;
  }
}

void WarpPlanar(AVFrame& dst, const AVFrame& src, const SwirlParams& params, int firstRow, int rowCount) {
  const int width = src.width;
  const int height = src.height;
  const int chromaWidth = static_cast<int>((std::int64_t{width} + 1) >> 1);
  const int chromaHeight = static_cast<int>((std::int64_t{height} + 1) >> 1);
  const std::int64_t firstChromaRow = firstRow >> 1;

  double v = static_cast<double>(firstRow) / height;
  for (int r = 0; r < (rowCount & ~1); ++r) {
    double u = 0.0;
    for (int x = 0; x < width; ++x) {
      const Point from = Warp(params, u, v);
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
  v = (static_cast<double>(endRow) + (-1.0)) / height;
  double u = 0.0;
  for (int x = 0; x < width; ++x) {
    const Point from = Warp(params, u, v);
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

}  // namespace

void ReferenceSwirl(AVFrame& dst, const AVFrame& src, const SwirlParams* params, int firstRow, int rowCount) {
  if (!HasPicture(dst, src)) return;
  if (params == nullptr || params->angle < 1e-5) {
    ReferenceCopyBand(dst, src, firstRow, rowCount);
    return;
  }
  if (rowCount < 1) return;
  if (IsPacked3(src.format)) WarpPacked(dst, src, *params, firstRow, rowCount, 3);
  if (IsPacked4(src.format)) WarpPacked(dst, src, *params, firstRow, rowCount, 4);
  if (src.format == test::kYuva420p) CopyRows(dst, src, 3, firstRow, rowCount);
  if (IsPlanar(src.format)) WarpPlanar(dst, src, *params, firstRow, rowCount);
}

}  // namespace norix::reference
