// Mirror Move Y: moves the picture up or down over an endless strip of itself and its upside-down image.
//
// The move is `offset` picture heights, positive downwards. Uncovered rows show the mirror image of the edge that moved in,
// the edge row repeated at the fold. Chroma moves by half of the luma's whole-row shift; alpha planes stay.
//
// A band that lies wholly inside the mirrored top part, and ends before its last row, shows it one row lower than a band
// that reaches the fold does.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/MirrorFold.h"

namespace {

/// The source row that output row `y` shows, for a shift folded into -height .. height; may lie one row outside the plane.
std::int64_t SourceRow(std::int64_t y, std::int64_t shift, std::int64_t height, norix::Band rows) {
  if (shift >= 0) {
    if (shift > rows.end()) return shift - y;
    return y < shift ? shift - 1 - y : y - shift;
  }
  const std::int64_t boundary = shift + height;
  return y < boundary ? y - shift : height - 1 - (y - boundary);
}

void MovePlane(AVFrame& dst, const AVFrame& src, int plane, norix::Band rows, int height, int shift) {
  const int folded = norix::FoldShift(shift, height);
  const norix::Plane to = norix::PlaneOf(dst, plane);
  const norix::ConstPlane from = norix::PlaneOf(src, plane);
  const std::size_t bytes = norix::LineBytes(to, from);
  for (std::int64_t y = rows.first; y < rows.end(); ++y) {
    std::memcpy(to.Row(y), from.Row(norix::ClampIndex<std::int64_t>(SourceRow(y, folded, height, rows), height)), bytes);
  }
}

}  // namespace

void MirrorMoveY(AVFrame* dst, AVFrame* src, MirrorMoveYParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (dst->width != src->width || dst->height != src->height) return;
  if (!params) return CopyFrameData(dst, src, firstRow, rowCount);
  if (rowCount < 1) return;

  const norix::Band rows = {firstRow, rowCount};
  const int height = src->height;
  const int shift = norix::ShiftOf(height, params->offset);
  switch (norix::LayoutOf(src->format)) {
    case norix::Layout::kPacked3:
    case norix::Layout::kPacked4:
      return MovePlane(*dst, *src, 0, rows, height, shift);
    case norix::Layout::kPlanarAlpha:
      norix::CopyAlphaRows(*dst, *src, rows);
      [[fallthrough]];
    case norix::Layout::kPlanar: {
      const norix::Band chromaRows = {(rows.first + 1) >> 1, (rows.count + 1) >> 1};
      MovePlane(*dst, *src, 0, rows, height, shift);
      for (const int plane : {1, 2}) MovePlane(*dst, *src, plane, chromaRows, norix::ChromaSize(height), shift / 2);
      return;
    }
    case norix::Layout::kUnknown:
      return;
  }
}
