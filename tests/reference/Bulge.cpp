#include <cmath>
#include <vector>

#include "reference/RadialWarp.h"
#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

namespace {

/** `d` is the distance from the centre as far as the circle is concerned. */
Point WarpAt(const BulgeParams& params, double u, double v, double d) {
  if (!(params.radius > d)) return {u, v};
  const double dx = u - params.centerX;
  const double dy = v - params.centerY;
  const double k = 1.0 - ((params.radius - d) / params.radius) * params.strength;
  const double s = k * k;
  return {params.centerX + dx * s, params.centerY + dy * s};
}

Point Warp(const BulgeParams& params, double u, double v) {
  const double dx = u - params.centerX;
  const double dy = v - params.centerY;
  return WarpAt(params, u, v, std::sqrt(dx * dx + dy * dy));
}

/** In RGB24 a row's distance from the centre counts in whole pictures, so that the circle becomes an upright strip. */
std::vector<int> WholeRowDistances(const BulgeParams& params, int height, int firstRow, int rowCount) {
  std::vector<int> distances;
  int q = Truncate(static_cast<double>(firstRow) / height - params.centerY);
  for (int r = 0; r < rowCount; ++r) {
    distances.push_back(q);
    q = Truncate(static_cast<double>(q) + 1.0 / height);
  }
  return distances;
}

}  // namespace

void ReferenceBulge(AVFrame& dst, const AVFrame& src, const BulgeParams* params, int firstRow, int rowCount) {
  if (!HasPicture(dst, src)) return;
  if (params == nullptr || params->radius < 1e-5 || params->strength < 1e-5) {
    ReferenceCopyBand(dst, src, firstRow, rowCount);
    return;
  }
  if (rowCount < 1) return;
  if (IsPacked3(src.format)) {
    const std::vector<int> distances = WholeRowDistances(*params, src.height, firstRow, rowCount);
    WarpPacked(dst, src, firstRow, rowCount, 3, [&](int r, double u, double v) {
      const double dx = u - params->centerX;
      const std::int64_t q = distances[static_cast<std::size_t>(r)];
      return WarpAt(*params, u, v, std::sqrt(dx * dx + static_cast<double>(q * q)));
    });
  }
  if (IsPacked4(src.format))
    WarpPacked(dst, src, firstRow, rowCount, 4, [&](int, double u, double v) { return Warp(*params, u, v); });
  if (src.format == test::kYuva420p) CopyRows(dst, src, 3, firstRow, rowCount);
  // A single row is warped as the picture's last one, wherever the band ends.
  if (IsPlanar(src.format))
    WarpPlanar(dst, src, firstRow, rowCount, (src.height - 1.0) / src.height,
               [&](double u, double v) { return Warp(*params, u, v); });
}

}  // namespace norix::reference
