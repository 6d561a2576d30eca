// Mirror Move X: moves every row sideways over an endless strip of the picture and its mirror image.
//
// The move is `offset` picture widths, positive to the right. Uncovered columns show the mirror image of the edge that
// moved in, the edge column repeated at the fold. Chroma moves by half of the luma's whole-pixel shift; alpha planes stay.

#include <cstring>
#include <initializer_list>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/MirrorFold.h"

namespace {

/// Moves one row by `shift` pixels, -width .. width: one block copy and a mirrored rest.
template <int kBytesPerPixel>
void MoveRow(std::uint8_t* out, const std::uint8_t* in, std::ptrdiff_t width, std::ptrdiff_t shift) {
  const auto mirror = [&](std::ptrdiff_t to, std::ptrdiff_t from, std::ptrdiff_t count) {
    for (; count > 0; --count, ++to, --from) {
      std::memcpy(out + to * kBytesPerPixel, in + from * kBytesPerPixel, kBytesPerPixel);
    }
  };
  const auto copy = [&](std::ptrdiff_t to, std::ptrdiff_t from, std::ptrdiff_t count) {
    std::memcpy(out + to * kBytesPerPixel, in + from * kBytesPerPixel, static_cast<std::size_t>(count) * kBytesPerPixel);
  };
  if (shift >= 0) {
    mirror(0, shift - 1, shift);
    copy(shift, 0, width - shift);
  } else {
    copy(0, -shift, width + shift);
    mirror(width + shift, width - 1, -shift);
  }
}

template <int kBytesPerPixel>
void MovePlane(AVFrame& dst, const AVFrame& src, int plane, norix::Band rows, int width, int shift) {
  const int folded = norix::FoldShift(shift, width);
  const norix::Plane to = norix::PlaneOf(dst, plane);
  const norix::ConstPlane from = norix::PlaneOf(src, plane);
  for (std::int64_t y = rows.first; y < rows.end(); ++y) MoveRow<kBytesPerPixel>(to.Row(y), from.Row(y), width, folded);
}

}  // namespace

void MirrorMoveX(AVFrame* dst, AVFrame* src, MirrorMoveXParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (dst->width != src->width || dst->height != src->height) return;
  if (!params) return CopyFrameData(dst, src, firstRow, rowCount);
  if (rowCount < 1) return;

  const norix::Band rows = {firstRow, rowCount};
  const int width = src->width;
  const int shift = norix::ShiftOf(width, params->offset);
  switch (norix::LayoutOf(src->format)) {
    case norix::Layout::kPacked3:
      return MovePlane<3>(*dst, *src, 0, rows, width, shift);
    case norix::Layout::kPacked4:
      return MovePlane<4>(*dst, *src, 0, rows, width, shift);
    case norix::Layout::kPlanarAlpha:
      norix::CopyAlphaRows(*dst, *src, rows);
      [[fallthrough]];
    case norix::Layout::kPlanar: {
      const norix::Band chromaRows = {(rows.first + 1) >> 1, (rows.count + 1) >> 1};
      MovePlane<1>(*dst, *src, 0, rows, width, shift);
      for (const int plane : {1, 2}) {
        MovePlane<1>(*dst, *src, plane, chromaRows, norix::ChromaSize(width), shift / 2);
      }
      return;
    }
    case norix::Layout::kUnknown:
      return;
  }
}
