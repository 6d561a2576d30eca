#include "FilterEffect/common/Frame.h"

#include <cstring>

namespace norix {

namespace {

constexpr int kAlphaPlane = 3;

int PlaneCount(int format) {
  if (format == kBgr24) return 1;  // known to one effect only
  switch (LayoutOf(format)) {
    case Layout::kPacked3:
    case Layout::kPacked4:
      return 1;
    case Layout::kPlanar:
      return 3;
    case Layout::kPlanarAlpha:
      return 4;
    case Layout::kUnknown:
      break;
  }
  return 0;
}

}  // namespace

bool HasPicture(const AVFrame* dst, const AVFrame* src) {
  if (!dst || !src) return false;
  if (src->width < 1 || src->height < 1) return false;
  for (int plane = 0; plane < PlaneCount(src->format); ++plane) {
    if (!dst->data[plane] || !src->data[plane]) return false;
  }
  return true;
}

void CopyPlaneRows(AVFrame& dst, const AVFrame& src, int plane, Band rows) {
  const Plane to = PlaneOf(dst, plane);
  const ConstPlane from = PlaneOf(src, plane);
  const std::size_t bytes = LineBytes(to, from);
  for (std::int64_t row = rows.first; row < rows.end(); ++row) std::memcpy(to.Row(row), from.Row(row), bytes);
}

void CopyAlphaRows(AVFrame& dst, const AVFrame& src, Band rows) { CopyPlaneRows(dst, src, kAlphaPlane, rows); }

}  // namespace norix

void CopyFrameData(AVFrame* dst, AVFrame* src, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  const norix::Band rows = {firstRow, rowCount};
  const norix::Band halved = {(rows.first + 1) / 2, (rows.count + 1) / 2};
  const int planes = norix::PlaneCount(src->format);
  if (norix::LayoutOf(src->format) == norix::Layout::kUnknown) return;
  for (int plane = 0; plane < planes; ++plane) norix::CopyPlaneRows(*dst, *src, plane, plane == 0 ? rows : halved);
}
