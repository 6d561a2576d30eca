// Swirl: twists the picture about a centre, most in the middle, not at all on the rim and beyond.
//
// A pixel at distance d < radius from the centre is fetched from the same point turned by
//   theta = 8 * (angle / 360) * ((radius - d) / radius)^2        [radians]
// Distances are in shares of width and height, so the circle is an ellipse on a picture that is not square.
// Nearest sample; beyond the border the edge pixel repeats.

#include <cmath>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/NearestWarp.h"

namespace {

constexpr double kNegligibleAngle = 1e-5;  // degrees

struct SwirlWarp {
  double centerX;
  double centerY;
  double radius;
  double turns;

  explicit SwirlWarp(const SwirlParams& params)
      : centerX(params.centerX), centerY(params.centerY), radius(params.radius), turns(params.angle / 360.0) {}

  norix::WarpedPoint operator()(double u, double v) const {
    const double dx = u - centerX;
    const double dy = v - centerY;
    const double d = std::sqrt(dx * dx + dy * dy);
    if (!(radius > d)) return {u, v};
    const double t = (radius - d) / radius;
    const double theta = t * t * turns * 8.0;
    const double c = std::cos(theta);
    const double s = std::sin(theta);
    return {centerX + (dx * c + dy * s), centerY + (dy * c - dx * s)};
  }
};

}  // namespace

void Swirl(AVFrame* dst, AVFrame* src, SwirlParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params || params->angle < kNegligibleAngle) return CopyFrameData(dst, src, firstRow, rowCount);
  const norix::Band rows = {firstRow, rowCount};
  const double lastRowV = (static_cast<double>(rows.end()) + -1.0) / src->height;
  norix::WarpFrame(*dst, *src, rows, SwirlWarp(*params), lastRowV);
}
