// Mirror Move X: moves every row sideways over an endless strip of the picture and its mirror image.
//
// The move is `offset` picture widths, positive to the right. Uncovered columns show the mirror image of the edge that
// moved in, the edge column repeated at the fold. Chroma moves by half of the luma's whole-pixel shift; alpha planes stay.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FilterEffect/MirrorMoveX.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <utility>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/MirrorFold.h"
#include "FilterEffect/common/VectorOps-inl.h"

#ifndef NORIX_MIRROR_MOVE_X_SETUP
#define NORIX_MIRROR_MOVE_X_SETUP

namespace norix {

/// A band of one plane, and its move to the right: -width .. width pixels.
struct MirrorMoveJob {
  Plane to;
  ConstPlane from;
  int bytesPerPixel;
  Band rows;
  int width;
  int shift;
};

}  // namespace norix

#endif

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR
/// One vector of pixels, of 1 or 4 bytes, back to front.
template <int kBytesPerPixel>
HWY_INLINE void MirrorVector(const std::uint8_t* in, std::uint8_t* out) {
  const Bytes d;
  const auto pixels = hn::LoadU(d, in);
  if constexpr (kBytesPerPixel == 4) {
    const UnsignedDwords d32;
    hn::StoreU(hn::BitCast(d, hn::Reverse(d32, hn::BitCast(d32, pixels))), d, out);
  } else {
    alignas(16) static constexpr std::uint8_t kReverse[16] = {15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0};
    hn::StoreU(hn::ReverseBlocks(d, hn::TableLookupBytes(pixels, Repeat16(kReverse))), d, out);
  }
}

/// Sixteen 3-byte pixels back to front: every 16 bytes of the result lie in two or three of the source.
HWY_INLINE void MirrorSixteen3(const std::uint8_t* in, std::uint8_t* out) {
  constexpr std::uint8_t kNo = 128;
  alignas(16) static constexpr std::uint8_t k0From1[16] = {kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo,
                                                           kNo, kNo, kNo, kNo, kNo, kNo, kNo, 14};
  alignas(16) static constexpr std::uint8_t k0From2[16] = {13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, 1, 2, 3, kNo};
  alignas(16) static constexpr std::uint8_t k1From0[16] = {kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo,
                                                           kNo, kNo, kNo, kNo, kNo, kNo, 15,  kNo};
  alignas(16) static constexpr std::uint8_t k1From1[16] = {15, kNo, 11, 12, 13, 8, 9, 10, 5, 6, 7, 2, 3, 4, kNo, 0};
  alignas(16) static constexpr std::uint8_t k1From2[16] = {kNo, 0,   kNo, kNo, kNo, kNo, kNo, kNo,
                                                           kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo};
  alignas(16) static constexpr std::uint8_t k2From0[16] = {kNo, 12, 13, 14, 9, 10, 11, 6, 7, 8, 3, 4, 5, 0, 1, 2};
  alignas(16) static constexpr std::uint8_t k2From1[16] = {1,   kNo, kNo, kNo, kNo, kNo, kNo, kNo,
                                                           kNo, kNo, kNo, kNo, kNo, kNo, kNo, kNo};
  const hn::FixedTag<std::uint8_t, 16> d;
  const auto a = hn::LoadU(d, in);
  const auto b = hn::LoadU(d, in + 16);
  const auto c = hn::LoadU(d, in + 32);
  const auto pick = [&](auto from, const std::uint8_t* places)
                        HWY_ATTR { return hn::TableLookupBytesOr0(from, hn::Load(d, places)); };
  hn::StoreU(hn::Or(pick(b, k0From1), pick(c, k0From2)), d, out);
  hn::StoreU(hn::Or(hn::Or(pick(a, k1From0), pick(b, k1From1)), pick(c, k1From2)), d, out + 16);
  hn::StoreU(hn::Or(pick(a, k2From0), pick(b, k2From1)), d, out + 32);
}
#endif

/// Writes `count` pixels back to front.
template <int kBytesPerPixel>
void MirrorPixels(const std::uint8_t* in, std::uint8_t* out, std::size_t count) {
  std::size_t i = 0;
  const std::uint8_t* end = in + count * kBytesPerPixel;
#if HWY_TARGET != HWY_SCALAR
  constexpr std::size_t kStep = kBytesPerPixel == 3 ? 16 : hn::MaxLanes(Bytes()) / kBytesPerPixel;
  const auto step = [&](std::size_t at) HWY_ATTR {
    const std::uint8_t* from = end - (at + kStep) * kBytesPerPixel;
    if constexpr (kBytesPerPixel == 3) {
      MirrorSixteen3(from, out + at * kBytesPerPixel);
    } else {
      MirrorVector<kBytesPerPixel>(from, out + at * kBytesPerPixel);
    }
  };
  if (count >= kStep) {
    // Stores that straddle cache lines are slow: a first step makes the others aligned.
    constexpr std::size_t kAlignment = kBytesPerPixel == 3 ? 16 : hn::MaxLanes(Bytes());
    const std::size_t missing = (0 - reinterpret_cast<std::uintptr_t>(out)) % kAlignment;
    if (missing != 0) {
      step(0);
      i = kBytesPerPixel == 3 ? missing * 11 % 16 : missing / kBytesPerPixel;  // 3 * 11 = 1 modulo 16
    }
  }
  for (; i + kStep <= count; i += kStep) step(i);
  // Overlaps the step before.
  if (i < count && count >= kStep) return step(count - kStep);
#endif
  for (; i < count; ++i) std::memcpy(out + i * kBytesPerPixel, end - (i + 1) * kBytesPerPixel, kBytesPerPixel);
}

/// Moves the rows: one block copy each, and a mirrored rest.
template <int kBytesPerPixel>
void MoveRows(const MirrorMoveJob& job) {
  const auto mirrored = static_cast<std::size_t>(std::abs(job.shift));
  const std::size_t straight = static_cast<std::size_t>(job.width) - mirrored;
  for (std::int64_t y = job.rows.first; y < job.rows.end(); ++y) {
    const std::uint8_t* in = job.from.Row(y);
    std::uint8_t* out = job.to.Row(y);
    if (job.shift >= 0) {
      MirrorPixels<kBytesPerPixel>(in, out, mirrored);
      std::memcpy(out + mirrored * kBytesPerPixel, in, straight * kBytesPerPixel);
    } else {
      std::memcpy(out, in + mirrored * kBytesPerPixel, straight * kBytesPerPixel);
      MirrorPixels<kBytesPerPixel>(in + straight * kBytesPerPixel, out + straight * kBytesPerPixel, mirrored);
    }
  }
}

void MoveBand(const MirrorMoveJob& job) {
  if (job.bytesPerPixel == 1) return MoveRows<1>(job);
  if (job.bytesPerPixel == 3) return MoveRows<3>(job);
  MoveRows<4>(job);
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix {
HWY_EXPORT(MoveBand);
static void RenderBand(const MirrorMoveJob& job) { HWY_DYNAMIC_DISPATCH(MoveBand)(job); }
}  // namespace norix

void MirrorMoveX(AVFrame* dst, AVFrame* src, MirrorMoveXParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (dst->width != src->width || dst->height != src->height) return;
  if (!params) return CopyFrameData(dst, src, firstRow, rowCount);
  if (rowCount < 1) return;

  const norix::Band rows = {firstRow, rowCount};
  const int width = src->width;
  const int shift = norix::ShiftOf(width, params->offset);
  const auto move = [&](int plane, int bytesPerPixel, norix::Band planeRows, int planeWidth, int planeShift) {
    norix::RenderBand({norix::PlaneOf(*dst, plane), norix::PlaneOf(std::as_const(*src), plane), bytesPerPixel, planeRows,
                       planeWidth, norix::FoldShift(planeShift, planeWidth)});
  };
  switch (norix::LayoutOf(src->format)) {
    case norix::Layout::kPacked3:
      return move(0, 3, rows, width, shift);
    case norix::Layout::kPacked4:
      return move(0, 4, rows, width, shift);
    case norix::Layout::kPlanarAlpha:
      norix::CopyAlphaRows(*dst, *src, rows);
      [[fallthrough]];
    case norix::Layout::kPlanar: {
      const norix::Band chromaRows = {(rows.first + 1) >> 1, (rows.count + 1) >> 1};
      move(0, 1, rows, width, shift);
      for (const int plane : {1, 2}) move(plane, 1, chromaRows, norix::ChromaSize(width), shift / 2);
      return;
    }
    case norix::Layout::kUnknown:
      return;
  }
}

#endif
