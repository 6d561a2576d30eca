#include <cmath>

#include "reference/RadialWarp.h"
#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

namespace {

Point Warp(const PinchParams& params, double u, double v) {
  const double dx = u - params.centerX;
  const double dy = v - params.centerY;
  const double d = std::sqrt(dx * dx + dy * dy);
  if (!(params.radius > d)) return {u, v};
  // Half the picture away the factor is 1, whatever the radius.
  const double s = 2.0 * (0.5 - d) * params.strength + 1.0;
  return {params.centerX + dx * s, params.centerY + dy * s};
}

}  // namespace

void ReferencePinch(AVFrame& dst, const AVFrame& src, const PinchParams* params, int firstRow, int rowCount) {
  if (!HasPicture(dst, src)) return;
  if (params == nullptr || params->radius < 1e-5 || params->strength < 1e-5) {
    ReferenceCopyBand(dst, src, firstRow, rowCount);
    return;
  }
  if (rowCount < 1) return;
  const auto inRow = [&](int, double u, double v) { return Warp(*params, u, v); };
  if (IsPacked3(src.format)) WarpPacked(dst, src, firstRow, rowCount, 3, inRow);
  if (IsPacked4(src.format)) WarpPacked(dst, src, firstRow, rowCount, 4, inRow);
  if (src.format == test::kYuva420p) CopyRows(dst, src, 3, firstRow, rowCount);
  // A single row is warped as the picture's last one, wherever the band ends.
  if (IsPlanar(src.format))
    WarpPlanar(dst, src, firstRow, rowCount, (src.height - 1.0) / src.height,
               [&](double u, double v) { return Warp(*params, u, v); });
}

}  // namespace norix::reference
