#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

namespace {

/** A shift taken into one period of the strip, -width .. width. */
std::int64_t Fold(std::int64_t shift, std::int64_t width) {
  const std::int64_t rest = shift % (2 * width);
  if (rest > width) return rest - 2 * width;
  if (rest < -width) return rest + 2 * width;
  return rest;
}

void MoveRows(AVFrame& dst, const AVFrame& src, int plane, int bytesPerPixel, std::int64_t width, std::int64_t shift,
              std::int64_t firstRow, std::int64_t rowCount) {
  const std::int64_t folded = Fold(shift, width);
  for (std::int64_t y = firstRow; y < firstRow + rowCount; ++y)
    for (std::int64_t x = 0; x < width; ++x) {
      std::int64_t from = x - folded;
      if (from < 0)
        from = -1 - from;
      else if (from >= width)
        from = 2 * width - 1 - from;
      for (int i = 0; i < bytesPerPixel; ++i)
        RowOf(dst, plane, y)[x * bytesPerPixel + i] = RowOf(src, plane, y)[from * bytesPerPixel + i];
    }
}

}  // namespace

void ReferenceMirrorMoveX(AVFrame& dst, const AVFrame& src, const MirrorMoveXParams* params, int firstRow, int rowCount) {
  if (!HasPicture(dst, src)) return;
  if (dst.width != src.width || dst.height != src.height) return;
  if (params == nullptr) {
    ReferenceCopyBand(dst, src, firstRow, rowCount);
    return;
  }
  if (rowCount < 1) return;
  const std::int64_t width = src.width;
  const std::int64_t shift = Truncate(src.width * params->offset + 0.5);
  if (IsPacked3(src.format)) MoveRows(dst, src, 0, 3, width, shift, firstRow, rowCount);
  if (IsPacked4(src.format)) MoveRows(dst, src, 0, 4, width, shift, firstRow, rowCount);
  if (!IsPlanar(src.format)) return;
  if (src.format == test::kYuva420p) CopyRows(dst, src, 3, firstRow, rowCount);
  MoveRows(dst, src, 0, 1, width, shift, firstRow, rowCount);
  const std::int64_t chromaFirstRow = (std::int64_t{firstRow} + 1) >> 1;
  const std::int64_t chromaRowCount = (std::int64_t{rowCount} + 1) >> 1;
  for (int plane = 1; plane <= 2; ++plane)
    MoveRows(dst, src, plane, 1, (width + 1) >> 1, shift / 2, chromaFirstRow, chromaRowCount);
}

}  // namespace norix::reference
