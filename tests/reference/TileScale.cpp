#include <algorithm>
#include <cmath>
#include <vector>

#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

namespace {

struct Size {
  std::int64_t width;
  std::int64_t height;
};

struct TilePlane {
  int plane;
  int bytesPerPixel;
  Size picture;
  Size tile;
  std::int64_t pad;         /**< where the middle tile begins */
  std::int64_t firstSource; /**< source row that the band begins with */
  std::int64_t firstRow;
  std::int64_t rowCount;
};

/** How many tiles stand side by side, and where the first begins. */
struct Grid {
  std::int64_t begin;
  int tiles = 1;
};

Grid GridOf(std::int64_t pad, std::int64_t tileWidth, bool severalTiles) {
  Grid grid{pad};
  if (!severalTiles) return grid;
  std::int64_t before;
  do {
    grid.tiles += 2;
    before = grid.begin;
    grid.begin -= tileWidth;
  } while (before > tileWidth);
  return grid;
}

void TileRows(AVFrame& dst, const AVFrame& src, const TilePlane& job, double step, bool severalTiles) {
  std::vector<std::int64_t> columns;
  double column = 0.0;
  for (std::int64_t j = 0; j < job.tile.width; ++j) {
    columns.push_back(Clamp(Truncate(column + 0.5), job.picture.width));
    column += step;
  }

  std::vector<std::vector<std::uint8_t>> rows;
  std::int64_t source = job.firstSource;
  double below = 0.0;
  for (std::int64_t i = 0; i < std::min(job.rowCount, job.tile.height); ++i) {
    const std::uint8_t* const in = RowOf(src, job.plane, Clamp(source + Truncate(below + 0.5), job.picture.height));
    std::vector<std::uint8_t> row;
    for (const std::int64_t from : columns)
      row.insert(row.end(), in + from * job.bytesPerPixel, in + (from + 1) * job.bytesPerPixel);
    rows.push_back(row);
    below += step;
    if (Truncate(below + 0.5) + source >= job.picture.height) {
      source = 0;
      below = 0.0;
    }
  }

  const Grid grid = GridOf(job.pad, job.tile.width, severalTiles);
  for (std::int64_t i = 0; i < job.rowCount; ++i) {
    const std::vector<std::uint8_t>& row = rows[static_cast<std::size_t>(i % job.tile.height)];
    std::uint8_t* out = RowOf(dst, job.plane, job.firstRow + i);
    for (int m = 0; m < grid.tiles; ++m) {
      const std::int64_t begin = grid.begin + m * job.tile.width;
      const std::int64_t skipped = begin < 0 ? -begin : 0;
      const std::int64_t shown = std::min(job.tile.width - skipped, job.picture.width - begin);
      for (std::int64_t k = 0; k < shown * job.bytesPerPixel; ++k)
        *out++ = row[static_cast<std::size_t>(skipped * job.bytesPerPixel + k)];
    }
  }
}

}  // namespace

void ReferenceTileScale(AVFrame& dst, const AVFrame& src, TileScaleParams* params, int firstRow, int rowCount) {
  if (!HasPicture(dst, src)) return;
  if (params == nullptr || std::fabs(params->scale - 1.0) < 1e-5 || params->scale > 1.0) {
    ReferenceCopyBand(dst, src, firstRow, rowCount);
    return;
  }
  if (params->scale < 0) params->scale = 0.0;
  const double scale = params->scale;
  const Size picture{src.width, src.height};
  const Size tile{Truncate(src.width * scale + 0.5) & ~1, Truncate(src.height * scale + 0.5) & ~1};
  if (tile.width < 1 || tile.height < 1 || rowCount < 1) return;
  const std::int64_t padX = Truncate(static_cast<double>(picture.width - tile.width) * 0.5 + 0.5);
  const std::int64_t padY = Truncate(static_cast<double>(picture.height - tile.height) * 0.5 + 0.5);

  std::int64_t top = tile.height + padY;
  do top -= tile.height;
  while (top > 0);
  const std::int64_t rowInTile = (firstRow - top) % tile.height;
  const std::int64_t firstSource = Truncate(static_cast<double>(rowInTile) / scale + 0.5);
  const double step = 1.0 / scale;

  int bytesPerPixel = 0;
  if (IsPacked3(src.format)) bytesPerPixel = 3;
  if (IsPacked4(src.format)) bytesPerPixel = 4;
  if (IsPlanar(src.format)) bytesPerPixel = 1;
  if (bytesPerPixel == 0) return;
  if (src.format == test::kYuva420p) CopyRows(dst, src, 3, firstRow, rowCount);
  TileRows(dst, src, {0, bytesPerPixel, picture, tile, padX, firstSource, firstRow, rowCount}, step, padX > 0);
  if (!IsPlanar(src.format)) return;
  const auto half = [](std::int64_t number) { return (number + 1) >> 1; };
  for (int plane = 1; plane <= 2; ++plane)
    TileRows(dst, src,
             {plane,
              1,
              {half(picture.width), half(picture.height)},
              {half(tile.width), half(tile.height)},
              half(padX),
              firstSource / 2,
              half(firstRow),
              half(rowCount)},
             step, padX > 0);
}

}  // namespace norix::reference
