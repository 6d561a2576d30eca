#include <cmath>

#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

namespace {

enum class Falloff { kLinear, kSquare };

double Factor(const VignetteParams& params, double dx, double dy, Falloff falloff) {
  const double d = std::sqrt(dx * dx + dy * dy);
  if (d < params.innerRadius) return 1.0;
  if (!(params.innerRadius <= d && d <= params.outerRadius)) return 0.0;
  if (params.innerRadius == params.outerRadius) return 0.0;
  const double e = (d - params.innerRadius) / (params.outerRadius - params.innerRadius);
  return falloff == Falloff::kSquare ? 1.0 - e * e : 1.0 - e;
}

std::uint8_t Darker(std::uint8_t value, double f) { return static_cast<std::uint8_t>(Truncate(value * f)); }

std::uint8_t Grayer(std::uint8_t value, double f) { return static_cast<std::uint8_t>(Truncate((value - 128) * f + 128.0)); }

void DarkenPacked(AVFrame& dst, const AVFrame& src, const VignetteParams& params, int firstRow, int rowCount,
                  int bytesPerPixel) {
  const Falloff falloff = bytesPerPixel == 4 ? Falloff::kSquare : Falloff::kLinear;
  double dy = firstRow * (1.0 / src.height) - params.centerY;
  for (int r = 0; r < rowCount; ++r) {
    const std::int64_t y = std::int64_t{firstRow} + r;
    double dx = -params.centerX;
    for (int x = 0; x < src.width; ++x) {
      const double f = Factor(params, dx, dy, falloff);
      const std::uint8_t* const in = RowOf(src, 0, y) + std::int64_t{x} * bytesPerPixel;
      std::uint8_t* const out = RowOf(dst, 0, y) + std::int64_t{x} * bytesPerPixel;
      for (int i = 0; i < 3; ++i) out[i] = Darker(in[i], f);
      if (bytesPerPixel == 4) out[3] = in[3];
      dx += 1.0 / src.width;
    }
    dy += 1.0 / src.height;
  }
}

void DarkenLumaRow(AVFrame& dst, const AVFrame& src, const VignetteParams& params, double dy, std::int64_t y) {
  double dx = -params.centerX;
  for (int x = 0; x < src.width; ++x) {
    RowOf(dst, 0, y)[x] = Darker(RowOf(src, 0, y)[x], Factor(params, dx, dy, Falloff::kLinear));
    dx += 1.0 / src.width;
  }
}

/** The chroma row of the luma row at `dy`, whose even columns give the factors. */
void DarkenChromaRow(AVFrame& dst, const AVFrame& src, const VignetteParams& params, double dy, std::int64_t chromaRow) {
  double dx = -params.centerX;
  for (int x = 0; x < src.width; ++x) {
    if (x % 2 == 0) {
      const double f = Factor(params, dx, dy, Falloff::kLinear);
      for (int plane = 1; plane <= 2; ++plane)
        RowOf(dst, plane, chromaRow)[x / 2] = Grayer(RowOf(src, plane, chromaRow)[x / 2], f);
    }
    dx += 1.0 / src.width;
  }
}

void DarkenPlanar(AVFrame& dst, const AVFrame& src, const VignetteParams& params, int firstRow, int rowCount) {
  const std::int64_t firstChromaRow = firstRow >> 1;
  double dy = firstRow * (1.0 / src.height) - params.centerY;
  for (int r = 0; r < (rowCount & ~1); ++r) {
    DarkenLumaRow(dst, src, params, dy, std::int64_t{firstRow} + r);
    if (r % 2 == 0) DarkenChromaRow(dst, src, params, dy, firstChromaRow + r / 2);
    dy += 1.0 / src.height;
  }
  if (rowCount % 2 == 0) return;
  const std::int64_t endRow = std::int64_t{firstRow} + rowCount;
  dy = (static_cast<double>(endRow) + (-1.0)) / src.height - params.centerY;
  DarkenLumaRow(dst, src, params, dy, endRow - 1);
  DarkenChromaRow(dst, src, params, dy, firstChromaRow + (rowCount >> 1));
}

}  // namespace

void ReferenceVignette(AVFrame& dst, const AVFrame& src, const VignetteParams* params, int firstRow, int rowCount) {
  if (!HasPicture(dst, src)) return;
  if (params == nullptr) {
    ReferenceCopyBand(dst, src, firstRow, rowCount);
    return;
  }
  if (rowCount < 1) return;
  if (IsPacked3(src.format)) DarkenPacked(dst, src, *params, firstRow, rowCount, 3);
  if (IsPacked4(src.format)) DarkenPacked(dst, src, *params, firstRow, rowCount, 4);
  if (src.format == test::kYuva420p) CopyRows(dst, src, 3, firstRow, rowCount);
  if (IsPlanar(src.format)) DarkenPlanar(dst, src, *params, firstRow, rowCount);
}

}  // namespace norix::reference
