#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

namespace {

void MoveRows(AVFrame& dst, const AVFrame& src, int plane, std::int64_t height, std::int64_t shift, std::int64_t firstRow,
              std::int64_t rowCount) {
  std::int64_t folded = shift % (2 * height);
  if (folded > height)
    folded -= 2 * height;
  else if (folded < -height)
    folded += 2 * height;
  const std::int64_t boundary = folded >= 0 ? folded : folded + height;

  for (std::int64_t y = firstRow; y < firstRow + rowCount; ++y) {
    std::int64_t from;
    if (folded >= 0 && boundary > firstRow + rowCount)
      from = boundary - y;  // a band that does not reach the boundary shows one row lower
    else if (folded >= 0)
      from = y < boundary ? boundary - 1 - y : y - boundary;
    else
      from = y < boundary ? y + height - boundary : height - 1 - (y - boundary);
    const std::uint8_t* const in = RowOf(src, plane, Clamp(from, height));
    std::uint8_t* const out = RowOf(dst, plane, y);
    const std::int64_t dstBytes = std::abs(std::int64_t{dst.linesize[plane]});
    const std::int64_t srcBytes = std::abs(std::int64_t{src.linesize[plane]});
    for (std::int64_t i = 0; i < (dstBytes < srcBytes ? dstBytes : srcBytes); ++i) out[i] = in[i];
  }
}

}  // namespace

void ReferenceMirrorMoveY(AVFrame& dst, const AVFrame& src, const MirrorMoveYParams* params, int firstRow, int rowCount) {
  if (!HasPicture(dst, src)) return;
  if (dst.width != src.width || dst.height != src.height) return;
  if (params == nullptr) {
    ReferenceCopyBand(dst, src, firstRow, rowCount);
    return;
  }
  if (rowCount < 1) return;
  if (!IsPacked3(src.format) && !IsPacked4(src.format) && !IsPlanar(src.format)) return;
  const std::int64_t height = src.height;
  const std::int64_t shift = Truncate(src.height * params->offset + 0.5);
  if (src.format == test::kYuva420p) CopyRows(dst, src, 3, firstRow, rowCount);
  MoveRows(dst, src, 0, height, shift, firstRow, rowCount);
  if (!IsPlanar(src.format)) return;
  const std::int64_t chromaFirstRow = (std::int64_t{firstRow} + 1) >> 1;
  const std::int64_t chromaRowCount = (std::int64_t{rowCount} + 1) >> 1;
  for (int plane = 1; plane <= 2; ++plane)
    MoveRows(dst, src, plane, (height + 1) >> 1, shift / 2, chromaFirstRow, chromaRowCount);
}

}  // namespace norix::reference
