// Vignette: darkens the picture towards its edges.
//
// At distance d from the centre a pixel keeps its value below innerRadius, is black beyond outerRadius, and in between is
// scaled by 1 - e^2 in 4-byte formats and by 1 - e in RGB24 and YUV, with e = (d - innerRadius) / (outerRadius -
// innerRadius). The column's and the row's distances are running sums, of 1 / W and 1 / H.

#include <cmath>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/PlanarRows.h"

namespace {

struct Falloff {
  double innerRadius;
  double outerRadius;
  bool squared;

  double operator()(double dx, double dy) const {
    const double d = std::sqrt(dx * dx + dy * dy);
    if (d < innerRadius) return 1.0;
    if (!(innerRadius <= d && d <= outerRadius)) return 0.0;
    if (innerRadius == outerRadius) return 0.0;
    const double e = (d - innerRadius) / (outerRadius - innerRadius);
    return squared ? 1.0 - e * e : 1.0 - e;
  }
};

std::uint8_t Scaled(std::uint8_t value, double factor) {
  return static_cast<std::uint8_t>(norix::TruncateToInt(value * factor));
}

std::uint8_t ScaledChroma(std::uint8_t value, double factor) {
  return static_cast<std::uint8_t>(norix::TruncateToInt((value - 128) * factor + 128.0));
}

template <int kBytesPerPixel>
void ShadePacked(AVFrame& dst, const AVFrame& src, norix::Band rows, const VignetteParams& params) {
  const Falloff falloff = {params.innerRadius, params.outerRadius, kBytesPerPixel == 4};
  const double columnStep = 1.0 / src.width;
  const double rowStep = 1.0 / src.height;
  double dy = static_cast<double>(rows.first) * rowStep - params.centerY;
  for (std::int64_t y = rows.first; y < rows.end(); ++y, dy += rowStep) {
    const std::uint8_t* in = norix::PlaneOf(src, 0).Row(y);
    std::uint8_t* out = norix::PlaneOf(dst, 0).Row(y);
    double dx = -params.centerX;
    for (int x = 0; x < src.width; ++x, dx += columnStep, in += kBytesPerPixel, out += kBytesPerPixel) {
      const double factor = falloff(dx, dy);
      for (int c = 0; c < 3; ++c) out[c] = Scaled(in[c], factor);
      if constexpr (kBytesPerPixel == 4) out[3] = in[3];
    }
  }
}

void ShadePlanar(AVFrame& dst, const AVFrame& src, norix::Band rows, const VignetteParams& params) {
  const Falloff falloff = {params.innerRadius, params.outerRadius, false};
  const double columnStep = 1.0 / src.width;
  const double rowStep = 1.0 / src.height;
  double nextDy = static_cast<double>(rows.first) * rowStep - params.centerY;
  norix::ForEachPlanarRow(rows, [&](const norix::PlanarRow& row) {
    const double dy = row.oddLast ? (static_cast<double>(rows.end()) + -1.0) / src.height - params.centerY : nextDy;
    nextDy += rowStep;
    const std::uint8_t* inY = norix::PlaneOf(src, 0).Row(row.y);
    const std::uint8_t* inU = norix::PlaneOf(src, 1).Row(row.chromaY);
    const std::uint8_t* inV = norix::PlaneOf(src, 2).Row(row.chromaY);
    std::uint8_t* outY = norix::PlaneOf(dst, 0).Row(row.y);
    std::uint8_t* outU = norix::PlaneOf(dst, 1).Row(row.chromaY);
    std::uint8_t* outV = norix::PlaneOf(dst, 2).Row(row.chromaY);
    double dx = -params.centerX;
    for (int x = 0; x < src.width; ++x, dx += columnStep) {
      const double factor = falloff(dx, dy);
      outY[x] = Scaled(inY[x], factor);
      if (!row.withChroma || x % 2 != 0) continue;
      outU[x / 2] = ScaledChroma(inU[x / 2], factor);
      outV[x / 2] = ScaledChroma(inV[x / 2], factor);
    }
  });
}

}  // namespace

void Vignette(AVFrame* dst, AVFrame* src, VignetteParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params) return CopyFrameData(dst, src, firstRow, rowCount);
  if (rowCount < 1) return;
  const norix::Band rows = {firstRow, rowCount};
  switch (norix::LayoutOf(src->format)) {
    case norix::Layout::kPacked3:
      return ShadePacked<3>(*dst, *src, rows, *params);
    case norix::Layout::kPacked4:
      return ShadePacked<4>(*dst, *src, rows, *params);
    case norix::Layout::kPlanarAlpha:
      norix::CopyAlphaRows(*dst, *src, rows);
      [[fallthrough]];
    case norix::Layout::kPlanar:
      return ShadePlanar(*dst, *src, rows, *params);
    case norix::Layout::kUnknown:
      return;
  }
}
