// Comicbook: harsh colours of a printed comic, from every pixel's own three colour bytes c0, c1, c2 in memory order.
//
//   d = |2 c0 - c1 + c2|    e = |c2 - c0 + 2 c1|
//   byte 0 = d c1 / 256     byte 1 = d c2 / 256     byte 2 = e c2 / 256     each at most 255
// The fourth byte of the destination keeps what it held. Only 4-byte pixels have this look; other formats are left alone.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FilterEffect/Comicbook.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/UnequalLines.h"
#include "FilterEffect/common/VectorOps-inl.h"

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {

inline std::uint8_t ComicProduct(int a, int b) { return static_cast<std::uint8_t>(std::min(255, (a * b) >> 8)); }

inline void ComicPixel(const std::uint8_t* in, std::uint8_t* out) {
  const int d = std::abs(2 * in[0] - in[1] + in[2]);
  const int e = std::abs(in[2] - in[0] + 2 * in[1]);
  out[0] = ComicProduct(d, in[1]);
  out[1] = ComicProduct(d, in[2]);
  out[2] = ComicProduct(e, in[2]);
}

#if HWY_TARGET != HWY_SCALAR
/// One vector of pixels. d and e are at most 765, so (d * c) >> 8 is the high half of the 16-bit product d * (c << 8).
HWY_INLINE void ComicBlock(const std::uint8_t* in, std::uint8_t* out) {
  // Every pixel becomes a pair of 16-bit lanes.
  alignas(16) static constexpr std::uint8_t k01[16] = {0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13};
  alignas(16) static constexpr std::uint8_t k22[16] = {2, 128, 2, 128, 6, 128, 6, 128, 10, 128, 10, 128, 14, 128, 14, 128};
  alignas(16) static constexpr std::uint8_t kHigh12[16] = {128, 1, 128, 2,  128, 5,  128, 6,
                                                           128, 9, 128, 10, 128, 13, 128, 14};
  const Bytes d8;
  const UnsignedWords d16;
  const UnsignedDwords d32;
  const auto pixels = hn::LoadU(d8, in);
  const auto weights = hn::BitCast(SignedBytes(), hn::Set(d32, 0x02FFFF02U));  // (2, -1) and (-1, 2)
  const auto sums = hn::Add(MulPairs(hn::TableLookupBytes(pixels, Repeat16(k01)), weights),
                            hn::BitCast(Words(), hn::TableLookupBytesOr0(pixels, Repeat16(k22))));
  const auto de = hn::BitCast(d16, hn::Abs(sums));                                        // (d, e)
  const auto c12 = hn::BitCast(d16, hn::TableLookupBytesOr0(pixels, Repeat16(kHigh12)));  // (c1, c2) << 8
  const auto c2 = hn::BitCast(d16, hn::ShiftRight<16>(hn::BitCast(d32, c12)));            // (c2 << 8, 0)
  const auto most = hn::Set(d16, 255);
  const auto bytes02 = hn::Min(hn::MulHigh(de, c12), most);
  const auto byte1 = hn::ShiftLeft<8>(hn::Min(hn::MulHigh(de, c2), most));
  const auto kept = hn::And(hn::BitCast(d32, hn::LoadU(d8, out)), hn::Set(d32, 0xFF000000U));
  hn::StoreU(hn::BitCast(d8, hn::Or(hn::BitCast(d32, hn::Or(bytes02, byte1)), kept)), d8, out);
}
#endif

void ComicRow(const std::uint8_t* in, std::uint8_t* out, std::size_t width) {
  constexpr std::size_t kBytesPerPixel = 4;
  std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
  const std::size_t step = hn::Lanes(Bytes()) / kBytesPerPixel;
  for (; x + step <= width; x += step) ComicBlock(in + x * kBytesPerPixel, out + x * kBytesPerPixel);
  if (x < width && width >= step) {
    // Overlaps the block before, which it only writes once more.
    const std::size_t last = (width - step) * kBytesPerPixel;
    return ComicBlock(in + last, out + last);
  }
#endif
  for (; x < width; ++x) ComicPixel(in + x * kBytesPerPixel, out + x * kBytesPerPixel);
}

void ComicBand(AVFrame& dst, const AVFrame& src, Band rows) {
  const SourceSteppedRows destination(dst, src, rows.first, 4);
  for (std::int64_t y = rows.first; y < rows.end(); ++y) {
    std::uint8_t* out = destination.Row(y);
    if (out) ComicRow(PlaneOf(src, 0).Row(y), out, static_cast<std::size_t>(src.width));
  }
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix {
HWY_EXPORT(ComicBand);
static void RenderBand(AVFrame& dst, const AVFrame& src, Band rows) { HWY_DYNAMIC_DISPATCH(ComicBand)(dst, src, rows); }
}  // namespace norix

void Comicbook(AVFrame* dst, AVFrame* src, FilterParams* /*params*/, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (norix::LayoutOf(src->format) != norix::Layout::kPacked4) return;
  norix::RenderBand(*dst, *src, {firstRow, rowCount});
}

#endif
