// Bulge: magnifies the middle of a circle, most in the centre, not at all on the rim and beyond.
//
// A pixel at distance d < radius from the centre is fetched from the same ray, at d * k^2 with
//   k = 1 - strength (radius - d) / radius
// With a strength above 1 pixels next to the centre come from farther out again, since k turns negative and is squared.
//
// In RGB24 pictures the distance is taken from the column alone as long as the centre lies inside the picture: the vertical
// part enters as a whole number of picture heights. The bulge acts on a vertical strip there.

#include <cmath>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/NearestWarp.h"

namespace {

constexpr double kNegligible = 1e-5;

struct BulgeWarp {
  double centerX;
  double centerY;
  double radius;
  double strength;

  norix::WarpedPoint operator()(double u, double v) const {
    const double dx = u - centerX;
    const double dy = v - centerY;
    return moved(u, v, dx, dy, std::sqrt(dx * dx + dy * dy));
  }

  norix::WarpedPoint moved(double u, double v, double dx, double dy, double d) const {
    if (!(radius > d)) return {u, v};
    const double k = 1.0 - (radius - d) / radius * strength;
    const double s = k * k;
    return {centerX + dx * s, centerY + dy * s};
  }
};

/// The warp of RGB24 pictures, with the vertical distance in whole picture heights.
class BulgeStripWarp {
public:
  BulgeStripWarp(const BulgeWarp& warp, int firstRow, int height)
      : warp_(warp),
        rowStep_(1.0 / height),
        q_(norix::TruncateToInt(static_cast<double>(firstRow) / height - warp.centerY)) {}

  norix::WarpedPoint operator()(double u, double v) const {
    const double dx = u - warp_.centerX;
    const auto squared = static_cast<double>(std::int64_t{q_} * q_);
    return warp_.moved(u, v, dx, v - warp_.centerY, std::sqrt(dx * dx + squared));
  }

  void nextRow() { q_ = norix::TruncateToInt(static_cast<double>(q_) + rowStep_); }

private:
  BulgeWarp warp_;
  double rowStep_;
  int q_;
};

}  // namespace

void Bulge(AVFrame* dst, AVFrame* src, BulgeParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params || params->radius < kNegligible || params->strength < kNegligible) {
    return CopyFrameData(dst, src, firstRow, rowCount);
  }
  const norix::Band rows = {firstRow, rowCount};
  const BulgeWarp warp = {params->centerX, params->centerY, params->radius, params->strength};
  if (norix::LayoutOf(src->format) == norix::Layout::kPacked3) {
    return norix::WarpPacked<3>(*dst, *src, rows, BulgeStripWarp(warp, firstRow, src->height));
  }
  // The last row of an odd band counts as the picture's, wherever the band ends.
  const double lastRowV = static_cast<double>(src->height - 1) / src->height;
  norix::WarpFrame(*dst, *src, rows, warp, lastRowV);
}
