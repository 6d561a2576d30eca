#include <cmath>

#include "reference/RadialWarp.h"
#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

namespace {

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

}  // namespace

void ReferenceSwirl(AVFrame& dst, const AVFrame& src, const SwirlParams* params, int firstRow, int rowCount) {
  if (!HasPicture(dst, src)) return;
  if (params == nullptr || params->angle < 1e-5) {
    ReferenceCopyBand(dst, src, firstRow, rowCount);
    return;
  }
  if (rowCount < 1) return;
  const auto inRow = [&](int, double u, double v) { return Warp(*params, u, v); };
  if (IsPacked3(src.format)) WarpPacked(dst, src, firstRow, rowCount, 3, inRow);
  if (IsPacked4(src.format)) WarpPacked(dst, src, firstRow, rowCount, 4, inRow);
  if (src.format == test::kYuva420p) CopyRows(dst, src, 3, firstRow, rowCount);
  if (IsPlanar(src.format)) {
    const double bandEnd = static_cast<double>(std::int64_t{firstRow} + rowCount);
    WarpPlanar(dst, src, firstRow, rowCount, (bandEnd + (-1.0)) / src.height,
               [&](double u, double v) { return Warp(*params, u, v); });
  }
}

}  // namespace norix::reference
