// Tile Scale: shrinks the picture and repeats it as a grid of tiles, one of them in the middle, the outer ones cut off.
//
// A tile has trunc(W scale + 0.5) x trunc(H scale + 0.5) pixels, rounded down to even, each the nearest source pixel:
// column j of a tile shows source column trunc(c + 0.5), c being a running sum of 1 / scale from 0. Down the band the
// source row is such a sum too; it starts again at row 0 when it reaches the picture's height. Alpha planes are not tiled.

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"

namespace {

constexpr double kNegligible = 1e-5;

/// Rounds half up, toward zero below.
int Rounded(double value) { return norix::TruncateToInt(value + 0.5); }

int EvenSize(int size, double scale) { return Rounded(size * scale) & ~1; }

/// One plane's tiles.
struct Grid {
  int tileWidth;
  int tileHeight;
  int firstColumn;  ///< where the first tile of a row starts, left of the plane or at its edge
  int tilesAcross;
};

/// The tiles' first column and number, from the column of the middle one.
void CoverRow(Grid& grid, int middleColumn, bool hasMargin) {
  grid.tilesAcross = 1;
  grid.firstColumn = middleColumn;
  if (!hasMargin) return;
  int previous = 0;
  do {
    grid.tilesAcross += 2;
    previous = grid.firstColumn;
    grid.firstColumn -= grid.tileWidth;
  } while (previous > grid.tileWidth);
}

/// Lays shrunken rows side by side into the band of one plane.
template <int kBytesPerPixel>
void TilePlane(AVFrame& dst, const AVFrame& src, int plane, int width, int height, norix::Band rows, const Grid& grid,
               double step, int firstSourceRow) {
  const norix::Plane to = norix::PlaneOf(dst, plane);
  const norix::ConstPlane from = norix::PlaneOf(src, plane);
  const auto tileBytes = static_cast<std::size_t>(grid.tileWidth) * kBytesPerPixel;
  const std::int64_t distinctRows = std::min<std::int64_t>(rows.count, grid.tileHeight);
  const auto shrunken = std::make_unique<std::uint8_t[]>(static_cast<std::size_t>(distinctRows) * tileBytes);

  std::int64_t sourceRow = firstSourceRow;
  double down = 0.0;
  for (std::int64_t i = 0; i < distinctRows; ++i) {
    const std::uint8_t* in = from.Row(norix::ClampIndex<std::int64_t>(sourceRow + Rounded(down), height));
    std::uint8_t* out = shrunken.get() + static_cast<std::size_t>(i) * tileBytes;
    double across = 0.0;
    for (int j = 0; j < grid.tileWidth; ++j, out += kBytesPerPixel, across += step) {
      // Only the rounding of a very long sum could leave the row.
      const std::ptrdiff_t column = norix::ClampIndex(Rounded(across), width);
      std::memcpy(out, in + column * kBytesPerPixel, kBytesPerPixel);
    }
    down += step;
    if (Rounded(down) + sourceRow >= height) {
      sourceRow = 0;
      down = 0.0;
    }
  }

  for (std::int64_t i = 0; i < rows.count; ++i) {
    const std::uint8_t* row = shrunken.get() + static_cast<std::size_t>(i % grid.tileHeight) * tileBytes;
    std::uint8_t* out = to.Row(rows.first + i);
    for (int m = 0; m < grid.tilesAcross; ++m) {
      const std::int64_t start = grid.firstColumn + std::int64_t{m} * grid.tileWidth;
      const std::int64_t skipped = start < 0 ? -start : 0;
      const std::int64_t count = std::min<std::int64_t>(grid.tileWidth - skipped, width - start);
      if (count < 1) continue;
      const auto bytes = static_cast<std::size_t>(count) * kBytesPerPixel;
      std::memcpy(out, row + skipped * kBytesPerPixel, bytes);
      out += bytes;
    }
  }
}

/// The scale to use. A negative one is set to 0 in the object too, perhaps by several bands at a time.
double SettledScale(TileScaleParams& params) {
  const std::atomic_ref<double> scale(params.scale);
  if (scale.load(std::memory_order_relaxed) < 0) scale.store(0.0, std::memory_order_relaxed);
  return scale.load(std::memory_order_relaxed);
}

}  // namespace

void TileScale(AVFrame* dst, AVFrame* src, TileScaleParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params) return CopyFrameData(dst, src, firstRow, rowCount);
  const double scale = SettledScale(*params);
  // Tiles larger than the picture make no grid.
  if (std::fabs(scale - 1) < kNegligible || scale > 1) return CopyFrameData(dst, src, firstRow, rowCount);
  const int width = src->width;
  const int height = src->height;
  Grid grid = {EvenSize(width, scale), EvenSize(height, scale), 0, 0};
  if (grid.tileWidth < 1 || grid.tileHeight < 1 || rowCount < 1) return;

  const int marginX = Rounded((width - grid.tileWidth) * 0.5);
  const int marginY = Rounded((height - grid.tileHeight) * 0.5);
  CoverRow(grid, marginX, marginX > 0);
  int tileTop = grid.tileHeight + marginY;
  do {
    tileTop -= grid.tileHeight;
  } while (tileTop > 0);
  const norix::Band rows = {firstRow, rowCount};
  const std::int64_t rowInTile = (rows.first - tileTop) % grid.tileHeight;
  const double step = 1 / scale;
  const int firstSourceRow = Rounded(static_cast<double>(rowInTile) / scale);

  switch (norix::LayoutOf(src->format)) {
    case norix::Layout::kPacked3:
      return TilePlane<3>(*dst, *src, 0, width, height, rows, grid, step, firstSourceRow);
    case norix::Layout::kPacked4:
      return TilePlane<4>(*dst, *src, 0, width, height, rows, grid, step, firstSourceRow);
    case norix::Layout::kPlanarAlpha:
      norix::CopyAlphaRows(*dst, *src, rows);
      [[fallthrough]];
    case norix::Layout::kPlanar: {
      TilePlane<1>(*dst, *src, 0, width, height, rows, grid, step, firstSourceRow);
      Grid chroma = {norix::ChromaSize(grid.tileWidth), norix::ChromaSize(grid.tileHeight), 0, 0};
      CoverRow(chroma, (marginX + 1) >> 1, marginX > 0);
      const norix::Band chromaRows = {(rows.first + 1) >> 1, (rows.count + 1) >> 1};
      for (const int plane : {1, 2}) {
        TilePlane<1>(*dst, *src, plane, norix::ChromaSize(width), norix::ChromaSize(height), chromaRows, chroma, step,
                     firstSourceRow / 2);
      }
      return;
    }
    case norix::Layout::kUnknown:
      return;
  }
}
