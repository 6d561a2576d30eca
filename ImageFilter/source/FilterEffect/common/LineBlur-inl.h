// Nine-tap line blur in vectors.
//
// Tap columns depend on the column alone and tap rows on the row alone. So a strip of columns gets one table of tap
// columns, and every row of the band runs over it with nine row pointers. The columns that neighbouring pixels take from
// one tap lie close together: per block of output, one or two loads and a shuffle that the strip prepares bring them all.
//
// The sums are integers. The main weights add up to 128, so no sum exceeds 255 * 128 = 32640 and pair products of signed 16
// bits are exact. The chroma weights add up to 256: sums reach 65280, exact as unsigned 16-bit numbers, and the pairs are
// chosen so that no pair exceeds 32767 by itself (102 + 6 is the heaviest: 27540).

#if defined(NORIX_LINE_BLUR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NORIX_LINE_BLUR_INL_H
#undef NORIX_LINE_BLUR_INL_H
#else
#define NORIX_LINE_BLUR_INL_H
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/LineBlur.h"
#include "FilterEffect/common/RunningSum-inl.h"
#include "FilterEffect/common/VectorOps-inl.h"

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using TapRows = const std::uint8_t* [kTapCount];

/// Walks down the band with the rows of the taps.
class TapWalk {
public:
  TapWalk(const BlurJob& job, int plane)
      : job_(job), data_(job.src[static_cast<std::size_t>(plane)].data), dy_(job.line.dy) {}

  /// The tap rows of row `y`, the next one of the band.
  HWY_INLINE void Next(std::int64_t y, TapRows& rows) {
    std::int32_t held[kTapCount];
    Hold(static_cast<double>(y), held);
    for (int k = 0; k < kTapCount; ++k) rows[k] = data_ + held[k] * job_.SourceLine();
    dy_ -= job_.line.step;
  }

private:
  HWY_INLINE void Hold(double y, std::int32_t* held) const {
#if HWY_TARGET != HWY_SCALAR
    alignas(32) static constexpr double kFactors[8] = {-4, -3, -2, -1, 1, 2, 3, 4};
    const hn::CappedTag<double, 4> d;
    const hn::Rebind<std::int32_t, decltype(d)> d32;
    std::int32_t outer[8];
    for (std::size_t i = 0; i < 8; i += hn::Lanes(d)) {
      auto at = hn::Add(hn::Mul(hn::Load(d, kFactors + i), hn::Set(d, dy_)), hn::Set(d, y));
      at = hn::IfThenElseZero(hn::Eq(at, at), at);  // NaN is row 0
      at = hn::Min(hn::Max(at, hn::Zero(d)), hn::Set(d, job_.size.height - 1));
      hn::StoreU(hn::DemoteTo(d32, at), d32, outer + i);
    }
    std::memcpy(held, outer, 4 * sizeof(std::int32_t));
    held[4] = NearestIndex(0 * dy_ + y, job_.size.height);
    std::memcpy(held + 5, outer + 4, 4 * sizeof(std::int32_t));
#else
    for (int k = 0; k < kTapCount; ++k) held[k] = NearestIndex((k - 4) * dy_ + y, job_.size.height);
#endif
  }

  const BlurJob& job_;
  const std::uint8_t* data_;
  double dy_;
};

inline constexpr int kStripBytes = 1024;

/// A run of columns with their dx.
struct TapStrip {
  int first;
  int count;
  bool finite;
  bool ascending;  ///< no tap's columns fall, and the middle tap is the pixel itself
  double dx[kStripBytes];
};

/// Fills in `count` columns and moves dx on to the column after them.
inline void FillTapStrip(const BlurJob& job, int first, int count, double& dx, TapStrip& strip) {
  strip.first = first;
  strip.count = count;
  dx = FillRunningSum(dx, -job.line.step, static_cast<std::size_t>(count), strip.dx);
  // A running sum that begins and ends finite is finite between.
  const double furthest = std::max(std::fabs(strip.dx[0]), std::fabs(strip.dx[count - 1]));
  strip.finite = std::isfinite(strip.dx[0]) && std::isfinite(strip.dx[count - 1]);
  // Tap 8 advances most slowly: by 1 - 4 step a column. Below 2^30, each of the few roundings on its way is less than
  // 2^-20.
  strip.ascending = strip.finite && job.line.step >= 0 && job.line.step <= 0.24 && furthest < 1 << 30;
}

inline constexpr int kTapBlock = 64;

/// Tap columns of a few columns.
using TapColumns = std::int32_t[kTapCount][kTapBlock];

/// The tap columns of `count` columns of a strip from its column `from` on. Some may lie outside the row.
HWY_INLINE void FillTapColumns(const TapStrip& strip, int from, int count, TapColumns& columns) {
  int i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<double> d;
  const hn::Rebind<std::int32_t, decltype(d)> d32;
  const int lanes = static_cast<int>(hn::Lanes(d));
  // Of a finite dx no tap is NaN.
  for (; strip.finite && i + lanes <= count; i += lanes) {
    const auto x = hn::Iota(d, strip.first + from + i);
    const auto by1 = hn::LoadU(d, strip.dx + from + i);
    const auto by2 = hn::Add(by1, by1);
    const auto by3 = hn::Mul(hn::Set(d, 3.0), by1);
    const auto by4 = hn::Add(by2, by2);
    const auto store = [&](int k, auto at) HWY_ATTR { hn::StoreU(hn::DemoteTo(d32, at), d32, columns[k] + i); };
    store(0, hn::Sub(x, by4));
    store(1, hn::Sub(x, by3));
    store(2, hn::Sub(x, by2));
    store(3, hn::Sub(x, by1));
    store(4, x);
    store(5, hn::Add(x, by1));
    store(6, hn::Add(x, by2));
    store(7, hn::Add(x, by3));
    store(8, hn::Add(x, by4));
  }
#endif
  for (; i < count; ++i) {
    const int x = strip.first + from + i;
    for (int k = 0; k < kTapCount; ++k) columns[k][i] = TruncateToInt((k - 4) * strip.dx[from + i] + x);
  }
}

/// Moves tap columns outside the row to its ends.
HWY_INLINE void HoldTapColumns(std::int32_t* columns, int count, int width) {
  for (int i = 0; i < count; ++i) columns[i] = std::clamp(columns[i], 0, width - 1);
}

#if HWY_TARGET != HWY_SCALAR

// How a block of output, a vector long (of 3-byte pixels: as many as fit as 4-byte ones), is fetched from a tap's row:
//   by pixels (4-byte pixels from AVX2 on): from one vector or two, with indices of pixels;
//   by lanes (everything else): every 16 bytes from one or two windows of 16 bytes of their own, with indices of bytes.
// No window leaves its row, two windows adjoin.
constexpr bool FetchedByPixels(int bytesPerPixel) { return bytesPerPixel == 4 && HWY_TARGET <= HWY_AVX2; }

inline constexpr int kVectorBytes = static_cast<int>(hn::MaxLanes(Bytes()));
inline constexpr int kVectorLanes = kVectorBytes / 16;

constexpr int PixelsPerBlock(int bytesPerPixel) { return bytesPerPixel == 1 ? kVectorBytes : kVectorBytes / 4; }

/// The last block of a strip ends with it and overlaps the one before.
inline int BlockStart(const TapStrip& strip, int block, int pixels) {
  return std::min(block * pixels, strip.count - pixels);
}

struct FetchTable {
  std::int32_t offset[kStripBytes / 16 * kTapCount];
  alignas(64) std::uint8_t pattern[kStripBytes * kTapCount];
  alignas(64) std::uint8_t pattern2[kStripBytes * kTapCount];
};

/// Taps 0..3 lie outwards, where the columns of Zoom Blur spread.
enum TapWindows { kOneWindow, kTwoForFirstTaps, kTwoWindows };

constexpr bool HasTwoWindows(TapWindows windows, int k) {
  return windows == kTwoWindows || (windows == kTwoForFirstTaps && k < 4);
}

/// Fills one tap's entry of a block; false if its columns span more than the windows. A second window follows the first.
template <int kBytesPerPixel>
HWY_INLINE bool FillEntry(const std::int32_t* columns, int width, bool two, int slot, FetchTable& table) {
  const int windows = two ? 2 : 1;
  bool near = true;
  if constexpr (FetchedByPixels(kBytesPerPixel)) {
    const Dwords d;
    constexpr int kPixels = kVectorBytes / 4;
    const int base = std::min(columns[0], width - windows * kPixels);
    const auto index = hn::Sub(hn::LoadU(d, columns), hn::Set(d, base));
    hn::Store(hn::BitCast(Bytes(), index), Bytes(), table.pattern + slot * kVectorBytes);
    table.offset[slot] = base * 4;
    near = columns[kPixels - 1] - base < windows * kPixels;
  } else {
    // Four pixels; a window of 16 bytes holds four 4-byte pixels or five 3-byte ones.
    const hn::FixedTag<std::int32_t, 4> d;
    const hn::FixedTag<std::uint8_t, 16> bytes;
    constexpr bool kWide = kBytesPerPixel == 4;
    const auto channels = hn::Set(d, kWide ? 0x03020100 : static_cast<std::int32_t>(0x80020100U));
    const auto spread = hn::Set(d, kWide ? 0x01010101 : 0x00010101);
    const auto none = hn::Set(d, static_cast<std::int32_t>(0x80808080U));
    const int last = width * kBytesPerPixel - windows * 16;
    for (int lane = 0; lane < kVectorLanes; ++lane, columns += 4) {
      const int base = std::min(columns[0] * kBytesPerPixel, last);
      const auto at = hn::Mul(hn::LoadU(d, columns), hn::Set(d, kBytesPerPixel));
      const auto index = hn::Sub(at, hn::Set(d, base));
      const auto first = hn::Lt(index, hn::Set(d, 17 - kBytesPerPixel));
      const auto entry = hn::IfThenElse(first, hn::Add(hn::Mul(index, spread), channels), none);
      hn::Store(hn::BitCast(bytes, entry), bytes, table.pattern + slot * kVectorBytes + lane * 16);
      if (two) {
        const auto index2 = hn::Sub(index, hn::Set(d, 16));
        const auto entry2 = hn::IfThenElse(first, none, hn::Add(hn::Mul(index2, spread), channels));
        hn::Store(hn::BitCast(bytes, entry2), bytes, table.pattern2 + slot * kVectorBytes + lane * 16);
      }
      table.offset[slot * kVectorLanes + lane] = base;
      near = near && columns[3] * kBytesPerPixel - base <= windows * 16 - kBytesPerPixel;
    }
  }
  return near;
}

/// Fills the entries of a block of bytes, straight from dx; false if some columns span more than the windows. The middle
/// tap needs no entry.
template <TapWindows kWindows>
bool FillByteEntries(const BlurJob& job, const TapStrip& strip, int from, int slot, FetchTable& table) {
  const hn::CappedTag<double, 4> d;
  const hn::FixedTag<std::int32_t, 4> d32;
  const hn::FixedTag<std::uint8_t, 16> bytes;
  constexpr int kLanes = static_cast<int>(hn::MaxLanes(d));
  constexpr int kVectors = 16 / kLanes;
  const auto last = hn::Set(d, job.size.width - 1);
  const auto high = hn::Set(bytes, 112);
  auto beyond = hn::Zero(bytes);
  for (int lane = 0; lane < kVectorLanes; ++lane, from += 16) {
    hn::Vec<decltype(d)> x[kVectors];
    hn::Vec<decltype(d)> dx[kVectors];
    for (int i = 0; i < kVectors; ++i) {
      x[i] = hn::Iota(d, strip.first + from + i * kLanes);
      dx[i] = hn::LoadU(d, strip.dx + from + i * kLanes);
    }
    const auto fill = [&](auto tap) HWY_ATTR {
      constexpr int k = tap;
      constexpr int kSize = HasTwoWindows(kWindows, k) ? 32 : 16;
      const auto at = [&](int i) HWY_ATTR { return hn::Min(hn::Add(hn::Mul(hn::Set(d, k - 4), dx[i]), x[i]), last); };
      const auto four = [&](int i) HWY_ATTR {
        if constexpr (kLanes == 4) {
          return TruncateBelowLimit(at(i));
        } else {
          return hn::Combine(d32, TruncateBelowLimit(at(2 * i + 1)), TruncateBelowLimit(at(2 * i)));
        }
      };
      const auto first = four(0);
      // They ascend, so only columns before the row are before the base, which is column 0 then. They saturate to it.
      const auto lowest = hn::Max(hn::Broadcast<0>(first), hn::Zero(d32));
      const auto base = hn::Min(lowest, hn::Set(d32, job.size.width - kSize));
      const auto place =
          BytesOfDwords(hn::Sub(first, base), hn::Sub(four(1), base), hn::Sub(four(2), base), hn::Sub(four(3), base));
      beyond = hn::Or(beyond, hn::SaturatedSub(place, hn::Set(bytes, kSize - 1)));
      const int entry = (slot + k) * kVectorLanes + lane;
      table.offset[entry] = hn::GetLane(base);
      // A lookup gives 0 for indices of 128 and more. The saturated sum leaves places below 16 and makes 128 and more of
      // all others.
      hn::Store(hn::Xor(hn::SaturatedAdd(place, high), high), bytes, table.pattern + entry * 16);
      if constexpr (kSize == 32) {
        const auto place2 = hn::Sub(place, hn::Set(bytes, 16));
        hn::Store(hn::Xor(hn::SaturatedAdd(place2, high), high), bytes, table.pattern2 + entry * 16);
      }
    };
    fill(std::integral_constant<int, 0>());
    fill(std::integral_constant<int, 1>());
    fill(std::integral_constant<int, 2>());
    fill(std::integral_constant<int, 3>());
    fill(std::integral_constant<int, 5>());
    fill(std::integral_constant<int, 6>());
    fill(std::integral_constant<int, 7>());
    fill(std::integral_constant<int, 8>());
  }
  return hn::AllTrue(bytes, hn::Eq(beyond, hn::Zero(bytes)));
}

/// False if the columns span more than the windows somewhere.
template <int kBytesPerPixel, TapWindows kWindows>
bool FillFetchTable(const BlurJob& job, const TapStrip& strip, FetchTable& table) {
  constexpr int kPixels = PixelsPerBlock(kBytesPerPixel);
  const int blocks = (strip.count + kPixels - 1) / kPixels;
  for (int block = 0, slot = 0; block < blocks; ++block) {
    const int start = BlockStart(strip, block, kPixels);
    if constexpr (kBytesPerPixel == 1) {
      if (!FillByteEntries<kWindows>(job, strip, start, slot, table)) return false;
      slot += kTapCount;
    } else {
      TapColumns columns;
      FillTapColumns(strip, start, kPixels, columns);
      bool near = true;
      for (int k = 0; k < kTapCount; ++k, ++slot) {
        // They ascend.
        const bool outside = columns[k][0] < 0 || columns[k][kPixels - 1] >= job.size.width;
        if (outside) HoldTapColumns(columns[k], kPixels, job.size.width);
        near &= FillEntry<kBytesPerPixel>(columns[k], job.size.width, HasTwoWindows(kWindows, k), slot, table);
      }
      if (!near) return false;
    }
  }
  return true;
}

/// Fetches one tap of a block from any row.
template <int kBytesPerPixel, bool kTwo>
class TapFetch {
public:
  HWY_INLINE TapFetch(const FetchTable& table, int slot)
      : offset_(table.offset + slot * kLanes),
        pattern_(table.pattern + slot * kVectorBytes),
        pattern2_(table.pattern2 + slot * kVectorBytes) {}

  HWY_INLINE ByteVector From(const std::uint8_t* row) const {
    const Bytes d;
    if constexpr (kByPixels) {
      const Dwords d32;
      const auto a = hn::BitCast(d32, hn::LoadU(d, row + *offset_));
      const auto index = hn::BitCast(d32, hn::Load(d, pattern_));
#if HWY_TARGET <= HWY_AVX2
      if constexpr (kTwo)
        return hn::BitCast(d, LookupInTwo(a, hn::BitCast(d32, hn::LoadU(d, row + *offset_ + kVectorBytes)), index));
#endif
      return hn::BitCast(d, hn::TableLookupLanes(a, hn::IndicesFromVec(d32, index)));
    } else {
      const auto a = hn::TableLookupBytesOr0(LoadBlocks(row, offset_), hn::Load(d, pattern_));
      if constexpr (!kTwo) return a;
      return hn::Or(a, hn::TableLookupBytesOr0(LoadBlocks(row + 16, offset_), hn::Load(d, pattern2_)));
    }
  }

private:
  static constexpr bool kByPixels = FetchedByPixels(kBytesPerPixel);
  static constexpr int kLanes = kByPixels ? 1 : kVectorLanes;

  const std::int32_t* offset_;
  const std::uint8_t* pattern_;
  const std::uint8_t* pattern2_;
};

/// The weights of the pairs of taps (0 1) (2 3) (4 8) (5 6) (7 -).
struct TapWeights {
  SignedByteVector w01, w23, w48, w56, w7;

  template <class Weights>
  explicit HWY_INLINE TapWeights(const Weights& w)
      : w01(PairWeights(w[0], w[1])),
        w23(PairWeights(w[2], w[3])),
        w48(PairWeights(w[4], w[8])),
        w56(PairWeights(w[5], w[6])),
        w7(PairWeights(w[7], 0)) {}
};

/// The weighted sums of a block, in the order of Interleave.
struct TapSums {
  WordVector low;
  WordVector high;

  HWY_INLINE TapSums(ByteVector a, ByteVector b, SignedByteVector weights)
      : low(MulPairs(hn::InterleaveLower(Bytes(), a, b), weights)),
        high(MulPairs(hn::InterleaveUpper(Bytes(), a, b), weights)) {}

  HWY_INLINE void Add(ByteVector a, ByteVector b, SignedByteVector weights) {
    low = hn::Add(low, MulPairs(hn::InterleaveLower(Bytes(), a, b), weights));
    high = hn::Add(high, MulPairs(hn::InterleaveUpper(Bytes(), a, b), weights));
  }
};

/// From sums to bytes. `own` gives 4-byte pixels their last byte.
template <int kBytesPerPixel, bool kChroma>
HWY_INLINE ByteVector BlurredBytes(const TapSums& sums, ByteVector own) {
  const Bytes d;
  const UnsignedWords d16;
  constexpr int kShift = kChroma ? 8 : 7;
  auto v = PackBlocks(hn::BitCast(Words(), hn::ShiftRight<kShift>(hn::BitCast(d16, sums.low))),
                      hn::BitCast(Words(), hn::ShiftRight<kShift>(hn::BitCast(d16, sums.high))));
  if constexpr (kBytesPerPixel == 1) v = hn::Min(hn::Max(v, hn::Set(d, 16)), hn::Set(d, kChroma ? 240 : 235));
  if constexpr (kBytesPerPixel == 4) {
    const auto alpha = hn::BitCast(d, hn::Set(UnsignedDwords(), 0xFF000000U));
    v = hn::Or(hn::AndNot(alpha, v), hn::And(alpha, own));
  }
  return v;
}

/// Four-byte lanes to packed 3-byte pixels.
HWY_INLINE void StorePixels3(ByteVector v, std::uint8_t* out) {
  alignas(16) static constexpr std::uint8_t kPack[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 128, 128, 128, 128};
  const auto dense = JoinTwelves(hn::TableLookupBytesOr0(v, Repeat16(kPack)));
  alignas(64) std::uint8_t packed[kVectorBytes];
  hn::Store(dense, Bytes(), packed);
  std::memcpy(out, packed, kVectorBytes / 4 * 3);
}

/// Rows drawn together share the loads of fetch table entries. That pays where registers suffice and entries are long.
constexpr int RowsTogether(int bytesPerPixel) {
  return HWY_TARGET <= HWY_AVX3 || (HWY_TARGET <= HWY_AVX2 && bytesPerPixel > 1) ? 2 : 1;
}

template <int kRows>
struct BlurRowGroup {
  TapRows taps[std::size_t{kRows}];
  const std::uint8_t* own[std::size_t{kRows}];
  std::uint8_t* out[std::size_t{kRows}];
};

template <int kBytesPerPixel, bool kChroma, TapWindows kWindows, int kRows>
HWY_INLINE void BlurRows(const TapStrip& strip, const FetchTable& table, const TapWeights& w,
                         const BlurRowGroup<kRows>& rows) {
  const Bytes d;
  constexpr int kPixels = PixelsPerBlock(kBytesPerPixel);
  constexpr bool kA = HasTwoWindows(kWindows, 0);
  constexpr bool kB = HasTwoWindows(kWindows, 8);
  using FirstTaps = TapFetch<kBytesPerPixel, kA>;
  using LastTaps = TapFetch<kBytesPerPixel, kB>;
  const int blocks = (strip.count + kPixels - 1) / kPixels;
  for (int block = 0, slot = 0; block < blocks; ++block, slot += kTapCount) {
    const std::ptrdiff_t at = (std::ptrdiff_t{strip.first} + BlockStart(strip, block, kPixels)) * kBytesPerPixel;
    const FirstTaps f0(table, slot), f1(table, slot + 1), f2(table, slot + 2), f3(table, slot + 3);
    const LastTaps f4(table, slot + 4), f5(table, slot + 5), f6(table, slot + 6), f7(table, slot + 7), f8(table, slot + 8);
    // The middle tap is the pixel itself.
    const auto middle = [&](int r) HWY_ATTR {
      if constexpr (kBytesPerPixel == 3) return f4.From(rows.taps[r][4]);
      return hn::LoadU(d, rows.taps[r][4] + at);
    };
    const auto finish = [&](int r, const TapSums& sums) HWY_ATTR {
      if constexpr (kBytesPerPixel == 3) {
        StorePixels3(BlurredBytes<3, false>(sums, hn::Zero(d)), rows.out[r] + at);
      } else {
        hn::StoreU(BlurredBytes<kBytesPerPixel, kChroma>(sums, hn::LoadU(d, rows.own[r] + at)), d, rows.out[r] + at);
      }
    };
    const TapRows& a = rows.taps[0];
    TapSums sums(f0.From(a[0]), f1.From(a[1]), w.w01);
    if constexpr (kRows == 1) {
      sums.Add(f2.From(a[2]), f3.From(a[3]), w.w23);
      sums.Add(middle(0), f8.From(a[8]), w.w48);
      sums.Add(f5.From(a[5]), f6.From(a[6]), w.w56);
      sums.Add(f7.From(a[7]), hn::Zero(d), w.w7);
    } else {
      const TapRows& b = rows.taps[1];
      TapSums sums2(f0.From(b[0]), f1.From(b[1]), w.w01);
      sums.Add(f2.From(a[2]), f3.From(a[3]), w.w23);
      sums2.Add(f2.From(b[2]), f3.From(b[3]), w.w23);
      sums.Add(middle(0), f8.From(a[8]), w.w48);
      sums2.Add(middle(1), f8.From(b[8]), w.w48);
      sums.Add(f5.From(a[5]), f6.From(a[6]), w.w56);
      sums2.Add(f5.From(b[5]), f6.From(b[6]), w.w56);
      sums.Add(f7.From(a[7]), hn::Zero(d), w.w7);
      sums2.Add(f7.From(b[7]), hn::Zero(d), w.w7);
      finish(1, sums2);
    }
    finish(0, sums);
  }
}

template <int kBytesPerPixel, bool kChroma, TapWindows kWindows>
void BlurStrip(const BlurJob& job, const TapStrip& strip, const FetchTable& table) {
  const TapWeights weights(kChroma ? kChromaWeights : kMainWeights);
  for (int p = 0; p < job.planes; ++p) {
    const auto plane = static_cast<std::size_t>(p);
    TapWalk walk(job, p);
    const auto next = [&](auto& rows, int r, std::int64_t y) HWY_ATTR {
      walk.Next(y, rows.taps[r]);
      rows.own[r] = job.src[plane].Row(y);
      rows.out[r] = job.dst[plane].Row(y);
    };
    std::int64_t y = job.rows.first;
    if constexpr (RowsTogether(kBytesPerPixel) == 2) {
      for (; y + 2 <= job.rows.end(); y += 2) {
        BlurRowGroup<2> rows;
        next(rows, 0, y);
        next(rows, 1, y + 1);
        BlurRows<kBytesPerPixel, kChroma, kWindows>(strip, table, weights, rows);
      }
    }
    for (; y < job.rows.end(); ++y) {
      BlurRowGroup<1> rows;
      next(rows, 0, y);
      BlurRows<kBytesPerPixel, kChroma, kWindows>(strip, table, weights, rows);
    }
  }
}

/// Wherever the taps lie: gathers them one by one. For narrow pictures and wild parameters.
template <int kBytesPerPixel, bool kChroma>
void BlurGathered(const BlurJob& job, const TapStrip& strip) {
  constexpr int kPixels = kVectorBytes / kBytesPerPixel;
  static_assert(kPixels <= kTapBlock);
  const Bytes d;
  const TapWeights w(kChroma ? kChromaWeights : kMainWeights);
  for (int from = 0; from < strip.count; from += kPixels) {
    const int count = std::min(strip.count - from, kPixels);
    const std::size_t size = static_cast<std::size_t>(count) * kBytesPerPixel;
    const std::ptrdiff_t at = (std::ptrdiff_t{strip.first} + from) * kBytesPerPixel;
    TapColumns columns;
    FillTapColumns(strip, from, count, columns);
    for (auto& tap : columns) HoldTapColumns(tap, count, job.size.width);
    alignas(64) std::uint8_t taps[kTapCount][kVectorBytes] = {};
    alignas(64) std::uint8_t pixels[kVectorBytes] = {};
    for (int p = 0; p < job.planes; ++p) {
      const auto plane = static_cast<std::size_t>(p);
      TapWalk walk(job, p);
      for (std::int64_t y = job.rows.first; y < job.rows.end(); ++y) {
        TapRows rows;
        walk.Next(y, rows);
        for (int k = 0; k < kTapCount; ++k) {
          for (int i = 0; i < count; ++i) {
            const std::uint8_t* in = rows[k] + std::ptrdiff_t{columns[k][i]} * kBytesPerPixel;
            std::memcpy(taps[k] + i * kBytesPerPixel, in, kBytesPerPixel);
          }
        }
        if constexpr (kBytesPerPixel == 4) std::memcpy(pixels, job.src[plane].Row(y) + at, size);
        const auto tap = [&](int k) HWY_ATTR { return hn::Load(d, taps[k]); };
        TapSums sums(tap(0), tap(1), w.w01);
        sums.Add(tap(2), tap(3), w.w23);
        sums.Add(tap(4), tap(8), w.w48);
        sums.Add(tap(5), tap(6), w.w56);
        sums.Add(tap(7), hn::Zero(d), w.w7);
        hn::Store(BlurredBytes<kBytesPerPixel, kChroma>(sums, hn::Load(d, pixels)), d, pixels);
        std::memcpy(job.dst[plane].Row(y) + at, pixels, size);
      }
    }
  }
}

template <int kBytesPerPixel, bool kChroma>
void BlurTapStrip(const BlurJob& job, const TapStrip& strip, FetchTable& table) {
  constexpr int kPixels = PixelsPerBlock(kBytesPerPixel);
  if (!strip.ascending || strip.count < kPixels || job.size.width < 32)
    return BlurGathered<kBytesPerPixel, kChroma>(job, strip);
  if (FillFetchTable<kBytesPerPixel, kOneWindow>(job, strip, table))
    return BlurStrip<kBytesPerPixel, kChroma, kOneWindow>(job, strip, table);
  if constexpr (kBytesPerPixel != 3) {
    if (FillFetchTable<kBytesPerPixel, kTwoForFirstTaps>(job, strip, table))
      return BlurStrip<kBytesPerPixel, kChroma, kTwoForFirstTaps>(job, strip, table);
    if (FillFetchTable<kBytesPerPixel, kTwoWindows>(job, strip, table))
      return BlurStrip<kBytesPerPixel, kChroma, kTwoWindows>(job, strip, table);
  }
  BlurGathered<kBytesPerPixel, kChroma>(job, strip);
}

#else

/// One pixel in plain code.
inline void BlurPixel(const BlurJob& job, const TapRows& rows, const TapColumns& columns, int i, const std::uint8_t* own,
                      std::uint8_t* out) {
  const auto sum = [&](int channel, const auto& weights) {
    int total = 0;
    for (int k = 0; k < kTapCount; ++k) {
      const std::ptrdiff_t at = std::ptrdiff_t{columns[k][i]} * job.bytesPerPixel + channel;
      total += rows[k][at] * weights[static_cast<std::size_t>(k)];
    }
    return total;
  };
  switch (job.kind) {
    case BlurKind::kLuma:
      *out = LumaOf(sum(0, kMainWeights));
      return;
    case BlurKind::kChroma:
      *out = ChromaOf(sum(0, kChromaWeights));
      return;
    case BlurKind::kPacked:
      for (int c = 0; c < 3; ++c) out[c] = static_cast<std::uint8_t>(sum(c, kMainWeights) >> 7);
      if (job.bytesPerPixel == 4) out[3] = own[3];
      return;
  }
}

inline void BlurPlainly(const BlurJob& job, const TapStrip& strip) {
  for (int from = 0; from < strip.count; from += kTapBlock) {
    const int count = std::min(strip.count - from, kTapBlock);
    TapColumns columns;
    FillTapColumns(strip, from, count, columns);
    for (auto& tap : columns) HoldTapColumns(tap, count, job.size.width);
    for (int p = 0; p < job.planes; ++p) {
      const auto plane = static_cast<std::size_t>(p);
      TapWalk walk(job, p);
      for (std::int64_t y = job.rows.first; y < job.rows.end(); ++y) {
        TapRows rows;
        walk.Next(y, rows);
        for (int i = 0; i < count; ++i) {
          const std::ptrdiff_t at = (std::ptrdiff_t{strip.first} + from + i) * job.bytesPerPixel;
          BlurPixel(job, rows, columns, i, job.src[plane].Row(y) + at, job.dst[plane].Row(y) + at);
        }
      }
    }
  }
}

#endif

/// Columns [from, to), strip by strip.
inline void BlurColumns(const BlurJob& job, int from, int to) {
  TapStrip strip;
  double dx = job.line.dx;
  for (int i = 0; i < from && job.line.step != 0; ++i) dx -= job.line.step;
#if HWY_TARGET != HWY_SCALAR
  FetchTable table;
  const int pixels = PixelsPerBlock(job.bytesPerPixel);
  const int most = kStripBytes / (job.bytesPerPixel == 1 ? 1 : 4);
#else
  const int pixels = 1;
  const int most = kStripBytes;
#endif
  while (from < to) {
    int count = std::min(to - from, most);
    const int rest = to - from - count;
    if (rest > 0 && rest < pixels) count -= pixels;  // leaves the last strip a whole block
    FillTapStrip(job, from, count, dx, strip);
#if HWY_TARGET != HWY_SCALAR
    switch (job.kind) {
      case BlurKind::kChroma:
        BlurTapStrip<1, true>(job, strip, table);
        break;
      case BlurKind::kLuma:
        BlurTapStrip<1, false>(job, strip, table);
        break;
      case BlurKind::kPacked:
        if (job.bytesPerPixel == 3) {
          BlurTapStrip<3, false>(job, strip, table);
        } else {
          BlurTapStrip<4, false>(job, strip, table);
        }
        break;
    }
#else
    BlurPlainly(job, strip);
#endif
    from += count;
  }
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
