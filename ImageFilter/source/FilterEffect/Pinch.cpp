// Pinch: draws the middle of the picture together and pushes the rest of a circle outward.
//
// A pixel at distance d < radius from the centre is fetched from the same ray, at d * (2 (0.5 - d) strength + 1): farther
// out for d < 0.5, nearer for d > 0.5. The 0.5 does not follow the radius, so a circle of another radius has a visible rim.

#include <cmath>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/NearestWarp.h"

namespace {

constexpr double kNegligible = 1e-5;

struct PinchWarp {
  double centerX;
  double centerY;
  double radius;
  double strength;

  norix::WarpedPoint operator()(double u, double v) const {
    const double dx = u - centerX;
    const double dy = v - centerY;
    const double d = std::sqrt(dx * dx + dy * dy);
    if (!(radius > d)) return {u, v};
    const double s = 2 * (0.5 - d) * strength + 1.0;
    return {centerX + dx * s, centerY + dy * s};
  }
};

}  // namespace

void Pinch(AVFrame* dst, AVFrame* src, PinchParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params || params->radius < kNegligible || params->strength < kNegligible) {
    return CopyFrameData(dst, src, firstRow, rowCount);
  }
  const PinchWarp warp = {params->centerX, params->centerY, params->radius, params->strength};
  // The last row of an odd band counts as the picture's, wherever the band ends.
  const double lastRowV = static_cast<double>(src->height - 1) / src->height;
  norix::WarpFrame(*dst, *src, {firstRow, rowCount}, warp, lastRowV);
}
