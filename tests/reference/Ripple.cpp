#include <algorithm>
#include <cmath>
#include <limits>

#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

namespace {

constexpr int kTableSide = 1024;

/** The wave at one place of the table of 1024 distances and 1024 positions. */
std::int32_t WaveHeight(const RippleParams& params, int distance, int position) {
  const double w = 101.0 - params.damping;
  const double a = params.amplitude * 1.024 * 1024.0;
  const double step = 6.283185307179586 / (1024.0 / w);
  const double wave = std::sin(position * step) * a;
  const double f = distance == 0 ? 0.0 : 1.0 / distance + (-0.0009765625);
  return Truncate(wave * f);
}

/** From pixels to the table's distances. Beyond the larger side of the picture, which ends the table, nothing grows. */
int TableDistance(std::int64_t pixels, int largerSide) {
  const double q = 1024.0 / largerSide;
  const std::int64_t entry = std::min<std::int64_t>(std::abs(pixels), largerSide - 1);
  return Truncate(q * static_cast<double>(entry));
}

/** One step towards the root of the sum of squares, from the longer leg. */
int AboutHypotenuse(int a, int b) {
  const int m = std::max(a, b);
  return m == 0 ? 0 : ((a * a + b * b) / m + m) >> 1;
}

std::int64_t Displacement(std::int64_t distance, std::int32_t scale) {
  const std::uint32_t product = static_cast<std::uint32_t>(distance) * static_cast<std::uint32_t>(scale);
  return static_cast<std::int32_t>(product) >> 10;
}

struct Pixel {
  std::int64_t x;
  std::int64_t y;
};

class Waves {
public:
  Waves(const RippleParams& params, int wavelength, int width, int height)
      : params_(params), wavelength_(wavelength), width_(width), height_(height) {
    const int p = Truncate(wavelength * params.phase / 20.0);
    start_ = std::int64_t{wavelength} - p % wavelength;
  }

  Pixel SourceOf(std::int64_t x, std::int64_t y) const {
    const int largerSide = std::max(width_, height_);
    const std::int64_t dx = x - width_ / 2;
    const std::int64_t dy = y - height_ / 2;
    const int r = AboutHypotenuse(TableDistance(dx, largerSide), TableDistance(dy, largerSide));
    // A wave longer than a row of the table reaches into others, and at last round to the first.
    const std::int64_t entry = ((std::int64_t{r} << 10) | ((r + start_) % wavelength_)) & (kTableSide * kTableSide - 1);
    const std::int32_t k = WaveHeight(params_, static_cast<int>(entry / kTableSide), static_cast<int>(entry % kTableSide));
    return {Clamp(Displacement(dx, k) + x, width_), Clamp(Displacement(dy, k) + y, height_)};
  }

private:
  const RippleParams& params_;
  int wavelength_;
  int width_;
  int height_;
  std::int64_t start_ = 0;
};

void MovePacked(AVFrame& dst, const AVFrame& src, const Waves& waves, int firstRow, int rowCount, int bytesPerPixel) {
  for (int r = 0; r < rowCount; ++r)
    for (int x = 0; x < src.width; ++x) {
      const std::int64_t y = std::int64_t{firstRow} + r;
      const Pixel from = waves.SourceOf(x, y);
      for (int i = 0; i < bytesPerPixel; ++i)
        RowOf(dst, 0, y)[std::int64_t{x} * bytesPerPixel + i] = RowOf(src, 0, from.y)[from.x * bytesPerPixel + i];
    }
}

void MovePlanar(AVFrame& dst, const AVFrame& src, const Waves& waves, int firstRow, int rowCount) {
  const std::int64_t chromaWidth = (std::int64_t{src.width} + 1) >> 1;
  const std::int64_t chromaHeight = (std::int64_t{src.height} + 1) >> 1;
  std::int64_t chromaRow = (std::int64_t{firstRow} + 1) >> 1;
  for (int r = 0; r < rowCount; ++r) {
    const std::int64_t y = std::int64_t{firstRow} + r;
    for (int x = 0; x < src.width; ++x) {
      const Pixel from = waves.SourceOf(x, y);
      RowOf(dst, 0, y)[x] = RowOf(src, 0, from.y)[from.x];
      if (x % 2 == 0 && y % 2 == 0)
        for (int plane = 1; plane <= 2; ++plane)
          RowOf(dst, plane, chromaRow)[x / 2] =
              RowOf(src, plane, Clamp(from.y >> 1, chromaHeight))[Clamp(from.x >> 1, chromaWidth)];
    }
    if (y % 2 == 0) ++chromaRow;
  }
}

}  // namespace

void ReferenceRipple(AVFrame& dst, const AVFrame& src, RippleParams* params, int firstRow, int rowCount) {
  if (!HasPicture(dst, src)) return;
  const int wavelength = params != nullptr && params->damping < 101.0 ? Truncate(1024.0 / (101.0 - params->damping)) : 0;
  if (wavelength < 1) {
    ReferenceCopyBand(dst, src, firstRow, rowCount);
    return;
  }

  // The tables themselves are not kept: each pixel computes its entry, as it stands in tables of a new object. Only their
  // labels are left, as by any band once the one at row 0 has been there.
  RippleTables& tables = *params->tables;
  tables.offsetCount = kTableSide * kTableSide;
  tables.tableDamping = Truncate(params->damping);
  tables.tableAmplitude = Truncate(params->amplitude);
  tables.weightCount = std::max(src.width, src.height);

  if (rowCount < 1) return;
  const Waves waves(*params, wavelength, src.width, src.height);
  if (IsPacked3(src.format)) MovePacked(dst, src, waves, firstRow, rowCount, 3);
  if (IsPacked4(src.format)) MovePacked(dst, src, waves, firstRow, rowCount, 4);
  if (src.format == test::kYuva420p) CopyRows(dst, src, 3, firstRow, rowCount);
  if (IsPlanar(src.format)) MovePlanar(dst, src, waves, firstRow, rowCount);
}

}  // namespace norix::reference
