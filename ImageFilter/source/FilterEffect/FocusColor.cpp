// Focus Color: colour inside a circle, gray outside, with a linear fade over a ring in between.
//
// Distances are whole pixels, so the circle is round. Radius R and feather F are shares of half the picture's diagonal. At
// distance d a byte c becomes trunc((gray - c) t + c) with t = (d - R) / F, held to 0 .. 1. In packed pictures gray is the
// luminance by the gray tables, byte 2 taken for red; in planar ones it is chroma 128. The fourth byte of the destination
// keeps what it held.
//
// A row is three spans on either side of the centre: unchanged, fading, gray. Their ends are estimated safely, so that
// only the fading one needs distances; those are made once for both sides.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FilterEffect/FocusColor.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/Gray.h"
#include "FilterEffect/common/UnequalLines.h"
#include "FilterEffect/common/VectorOps-inl.h"

#ifndef NORIX_FOCUS_COLOR_SETUP
#define NORIX_FOCUS_COLOR_SETUP
namespace norix {

// Squares of distances to a centre far outside need more than 64 bits.
__extension__ using Wide = unsigned __int128;

/// The length of (a, b) by two Newton steps from the longer leg, no more: distances are meant to be this coarse.
inline std::int64_t RoughLength(std::int64_t a, std::int64_t b) {
  const auto m = static_cast<Wide>(std::max(a, b));
  if (m == 0) return 0;
  const Wide q = static_cast<Wide>(a) * static_cast<Wide>(a) + static_cast<Wide>(b) * static_cast<Wide>(b);
  const Wide g = (q / m + m) >> 1;
  return static_cast<std::int64_t>((q / g + g) >> 1);
}

/// The circle of one plane, in its samples.
struct FocusSetup {
  std::int64_t centerX;
  std::int64_t centerY;
  std::int64_t radius;
  std::int64_t feather;
  int width;
  bool vectors;  ///< everything that vectors compare or multiply fits 32 bits
  bool hasGray;  ///< the gray tables are filled; until then gray is 0

  FocusSetup(int planeWidth, int planeHeight, const FocusColorParams& params, double featherShare, Band rows)
      : centerX(TruncateToInt(planeWidth * params.centerX)),
        centerY(TruncateToInt(planeHeight * params.centerY)),
        width(planeWidth),
        hasGray(g_table_r[255] != 0) {
    const std::int64_t wholeHalf = RoughLength(planeWidth, planeHeight) / 2;
    const auto halfDiagonal = static_cast<double>(wholeHalf);
    radius = TruncateToInt(params.radius * halfDiagonal);
    feather = TruncateToInt(featherShare * halfDiagonal);
    const auto tame = [](std::int64_t value) { return value >= -65536 && value <= 65536; };
    vectors = tame(centerX) && tame(centerY) && planeWidth <= 32767 && planeHeight <= 32767 && tame(rows.first) &&
              tame(rows.count) && std::abs(radius) <= 1 << 29 && feather >= 0 && feather <= 1 << 29;
  }

  /// How gray a sample is: 0 in the circle, 1 beyond the ring.
  double Grayness(std::int64_t distance) const {
    if (distance > radius + feather) return 1.0;
    if (distance <= radius) return 0.0;
    return static_cast<double>(distance - radius) / static_cast<double>(feather);
  }

  double GraynessAt(std::int64_t x, std::int64_t y) const {
    return Grayness(RoughLength(std::abs(x - centerX), std::abs(y - centerY)));
  }
};

/// At the ends the sum is exactly `value` and `gray`; in between it lies between them.
inline std::uint8_t Faded(std::uint8_t value, int gray, double grayness) {
  return static_cast<std::uint8_t>(static_cast<int>((gray - value) * grayness + value));
}

inline int GrayOf(const std::uint8_t* pixel) {
  return static_cast<int>(g_table_b[pixel[0]] + g_table_g[pixel[1]] + g_table_r[pixel[2]]);
}

/// One packed pixel, or one chroma sample.
template <int kBytes>
inline void FadeSample(const std::uint8_t* in, std::uint8_t* out, double grayness) {
  if constexpr (kBytes == 1) {
    *out = Faded(*in, 128, grayness);
  } else {
    const int gray = GrayOf(in);
    for (int c = 0; c < 3; ++c) out[c] = Faded(in[c], gray, grayness);
  }
}

}  // namespace norix
#endif

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

constexpr int kFocusStrip = 512;  // distances from the centre's column
constexpr int kFocusSpare = 64;   // whole vectors may be computed behind them

/// A row of one packed plane, or of the two chroma planes.
template <int kBytes>
struct FocusRow {
  static constexpr std::size_t kPlanes = kBytes == 1 ? 2 : 1;
  const std::uint8_t* in[kPlanes];
  std::uint8_t* out[kPlanes];
};

/// The share of gray, t, of every column of a strip as a whole number W of 2^-16.
template <int kBytes>
using FadeWeight = std::conditional_t<kBytes == 4, std::uint32_t, std::uint16_t>;

/// Distances of the samples (first + i, b) from the centre, i = 0 .. count - 1 and on to a whole vector.
///
/// With m and l the longer and the shorter leg, the first step ends at g = (n / m + m) / 2 = m + l^2 / 2m and the second at
/// (n / g + g) / 2 = g + (n - g^2) / 2g, each rounded down once. Quotients p / q of whole numbers, |p| < 2^24, are exact in
/// single precision once rounded down: where p / q is not whole it lies at least 1 / q from the next whole number, which is
/// more than half a unit in the last place of a number below 2^24 / q. g^2 is at most 9 / 8 n, so that n may reach 2^23. In
/// double precision the same holds up to 2^52.
template <typename T>
HWY_INLINE void StripDistances(int first, int b, int count, std::int32_t* HWY_RESTRICT out) {
  const hn::ScalableTag<T> d;
  const hn::Rebind<std::int32_t, decltype(d)> di;
  const int lanes = static_cast<int>(hn::Lanes(d));
  const auto step = hn::Set(d, static_cast<T>(lanes));
  const auto other = hn::Set(d, static_cast<T>(b));
  const auto otherSquared = hn::Mul(other, other);
  const auto atLeast = hn::Max(other, hn::Set(d, T{1}));  // at the centre itself 0 / 2, then (0 - 1) / 2
  auto a = hn::Iota(d, static_cast<T>(first));
  for (int i = 0; i < count; i += lanes) {
    const auto n = hn::MulAdd(a, a, otherSquared);
    const auto m = hn::Max(a, atLeast);
    const auto l = hn::Min(a, other);
    const auto g = hn::Add(m, hn::Floor(hn::Div(hn::Mul(l, l), hn::Add(m, m))));
    const auto length = hn::Add(g, hn::Floor(hn::Div(hn::NegMulAdd(g, g, n), hn::Add(g, g))));
    if constexpr (sizeof(T) == 4) {
      // A whole number below 2^23 stands in the low bits of its sum with 2^23.
      const auto whole = hn::Sub(hn::BitCast(di, hn::Add(length, hn::Set(d, T{8388608}))), hn::Set(di, 0x4B000000));
      hn::StoreU(whole, di, out + i);
    } else {
      hn::StoreU(hn::DemoteTo(di, length), di, out + i);
    }
    a = hn::Add(a, step);
  }
}

/// The columns whose distance from the centre's column is below `keep` are in the circle for sure, those from `gray` on
/// beyond the ring. With s the true distance, s - 1 <= d <= 1.00174 s + 1: no Newton step ends below the root, two
/// truncations take less than one off, and two steps from the longer leg end at most 1.735 in a thousand too high.
struct FocusReach {
  int keep;
  int gray;

  FocusReach(const FocusSetup& setup, int b, int farthest) {
    const double innermost = (static_cast<double>(setup.radius) - 2) / 1.00174;
    const double outermost = static_cast<double>(setup.radius + setup.feather) + 2;
    keep = static_cast<int>(Columns(innermost, b, farthest));
    gray = std::max(keep, static_cast<int>(Columns(outermost, b, farthest)) + 1);
  }

  static double Columns(double distance, int b, int farthest) {
    const double room = distance * distance - static_cast<double>(b) * b;
    return distance <= 0 || room <= 0 ? 0.0 : std::min(std::sqrt(room), farthest + 1.0);
  }
};

#if HWY_TARGET != HWY_SCALAR

/// Weights of `count` distances, and on to a whole vector.
///
/// Where 2^16 t is whole, W is just that. Everywhere else W is odd, and less than one off: the nearest whole number, or if
/// that is even, the one beyond 2^16 t. At t = 1 it is 2^16 - 1, as W has 16 bits.
template <class Weight>
HWY_INLINE void WeighDistances(const FocusSetup& setup, const std::int32_t* HWY_RESTRICT distances, int count,
                               Weight* HWY_RESTRICT weights) {
  const hn::ScalableTag<std::int32_t> di;
  const hn::Rebind<float, decltype(di)> df;
  const int lanes = static_cast<int>(hn::Lanes(di));
  const std::int64_t width = std::max<std::int64_t>(setup.feather, 1);
  const auto radius = hn::Set(di, static_cast<std::int32_t>(setup.radius));
  const auto feather = hn::Set(di, static_cast<std::int32_t>(width));
  const auto perPixel = hn::Set(df, static_cast<float>(65536.0 / static_cast<double>(width)));
  const auto magic = hn::Set(df, 8388608.0F);
  const auto magicBits = hn::Set(di, 0x4B000000);
  const auto one = hn::Set(di, 1);
  for (int i = 0; i < count; i += lanes) {
    const auto depth = hn::Min(hn::Max(hn::Sub(hn::LoadU(di, distances + i), radius), hn::Zero(di)), feather);
    const auto sum = hn::MulAdd(hn::ConvertTo(df, depth), perPixel, magic);
    const auto nearest = hn::Sub(hn::BitCast(di, sum), magicBits);
    // The product of both sides may leave 32 bits; the difference, at most F, does not.
    const auto rest = hn::Sub(hn::ShiftLeft<16>(depth), hn::Mul(nearest, feather));
    const auto aside = hn::Or(hn::ShiftRight<31>(rest), one);  // towards 2^16 t: 1 or -1
    const auto even = hn::VecFromMask(di, hn::Eq(hn::And(nearest, one), hn::Zero(di)));
    const auto inexact = hn::VecFromMask(di, hn::Ne(rest, hn::Zero(di)));
    const auto odd = hn::Add(nearest, hn::And(aside, hn::And(even, inexact)));
    const auto weight = hn::Min(odd, hn::Set(di, 65535));
    if constexpr (sizeof(Weight) == 4) {
      const hn::RebindToUnsigned<decltype(di)> du;
      hn::StoreU(hn::BitCast(du, weight), du, weights + i);
    } else {
      const hn::Rebind<std::uint16_t, decltype(di)> du;
      hn::StoreU(hn::DemoteTo(du, weight), du, weights + i);
    }
  }
}

template <class Weight>
HWY_INLINE void ReverseWeights(const Weight* HWY_RESTRICT from, int count, Weight* HWY_RESTRICT to) {
  const hn::ScalableTag<Weight> d;
  const int lanes = static_cast<int>(hn::Lanes(d));
  int i = 0;
  for (; i + lanes <= count; i += lanes) hn::StoreU(hn::Reverse(d, hn::LoadU(d, from + count - lanes - i)), d, to + i);
  for (; i < count; ++i) to[i] = from[count - 1 - i];
}

struct FadedWords {
  WordVector value;
  hn::Vec<UnsignedWords> doubt;  // 0 where the value is settled
};

/// trunc(c + k t) = c + floor(k t) with k = gray - c, in 16-bit lanes.
///
/// k W is off from 2^16 k t by less than |k|, or by |k| at t = 1. If k W is farther than |k| from every multiple of 2^16,
/// both have the same floor, and 2^16 k t is not a multiple itself, so that k t is at least 1 / F from a whole number and
/// the roundings of the double formula do not matter. If k W is a multiple of 2^16, then k = 0 or W is even (|k| < 2^16),
/// so that W is exact and so is every step of the formula. All else is doubtful: W is signed, and k is added where W is
/// 2^16 too small by that.
HWY_INLINE FadedWords FadeWords(WordVector c, WordVector gray, WordVector weight) {
  const UnsignedWords du;
  const Words d;
  const auto k = hn::Sub(gray, c);
  const auto base = hn::Add(c, hn::And(k, hn::ShiftRight<15>(weight)));
  const auto rest = hn::Sub(hn::Abs(hn::Mul(k, weight)), hn::Set(d, 1));
  return {hn::Add(base, hn::MulHigh(k, weight)), hn::SaturatedSub(hn::BitCast(du, hn::Abs(k)), hn::BitCast(du, rest))};
}

/// Which bytes of a block are doubtful, a bit each.
HWY_INLINE std::uint64_t DoubtBits(FadedWords low, FadedWords high) {
  const Bytes d8;
  const auto doubts = PackBlocks(hn::BitCast(Words(), low.doubt), hn::BitCast(Words(), high.doubt));
  return MaskBits(d8, hn::Ne(doubts, hn::Zero(d8)));
}

constexpr int kBlockBytes = static_cast<int>(hn::MaxLanes(Bytes()));

/// What packed pixels need, in vectors before the loop, since byte stores may alias everything else.
struct PackedFade {
  static constexpr int kSamples = kBlockBytes / 4;
  hn::Vec<UnsignedWords> shares;
  SignedByteVector ones = hn::Set(SignedBytes(), std::int8_t{1});
  ByteVector colours = hn::BitCast(Bytes(), hn::Set(UnsignedDwords(), 0x00FFFFFFU));

  HWY_INLINE explicit PackedFade(const FocusSetup& setup) {
    // (c * weight) >> 10 is the high half of c * (weight << 6).
    alignas(16) static constexpr std::uint16_t kShares[8] = {117 << 6, 601 << 6, 306 << 6, 0,
                                                             117 << 6, 601 << 6, 306 << 6, 0};
    const UnsignedWords d;
    shares = setup.hasGray ? hn::LoadDup128(d, kShares) : hn::Zero(d);
  }

  /// In the low byte of every pixel; the others hold no meaning.
  HWY_INLINE ByteVector Gray(WordVector low, WordVector high) const {
    const UnsignedWords d16;
    const UnsignedDwords d32;
    const auto parts = PackBlocks(hn::BitCast(Words(), hn::MulHigh(hn::BitCast(d16, low), shares)),
                                  hn::BitCast(Words(), hn::MulHigh(hn::BitCast(d16, high), shares)));
    const auto sums = hn::BitCast(d32, MulPairs(parts, ones));
    return hn::BitCast(Bytes(), hn::Add(sums, hn::ShiftRight<16>(sums)));
  }

  static HWY_INLINE WordVector LowWords(ByteVector pixels) {
    return hn::BitCast(Words(), hn::InterleaveLower(Bytes(), pixels, hn::Zero(Bytes())));
  }
  static HWY_INLINE WordVector HighWords(ByteVector pixels) {
    return hn::BitCast(Words(), hn::InterleaveUpper(Bytes(), pixels, hn::Zero(Bytes())));
  }

  /// Gray for the three words of a pixel; the fourth is 0.
  static HWY_INLINE WordVector LowGray(ByteVector gray) {
    alignas(16) static constexpr std::uint8_t kSpread[16] = {0, 128, 0, 128, 0, 128, 128, 128,
                                                             4, 128, 4, 128, 4, 128, 128, 128};
    return hn::BitCast(Words(), hn::TableLookupBytesOr0(gray, Repeat16(kSpread)));
  }
  static HWY_INLINE WordVector HighGray(ByteVector gray) {
    alignas(16) static constexpr std::uint8_t kSpread[16] = {8,  128, 8,  128, 8,  128, 128, 128,
                                                             12, 128, 12, 128, 12, 128, 128, 128};
    return hn::BitCast(Words(), hn::TableLookupBytesOr0(gray, Repeat16(kSpread)));
  }
  static HWY_INLINE WordVector LowWeights(ByteVector weights) {
    alignas(16) static constexpr std::uint8_t kSpread[16] = {0, 1, 0, 1, 0, 1, 128, 128, 4, 5, 4, 5, 4, 5, 128, 128};
    return hn::BitCast(Words(), hn::TableLookupBytesOr0(weights, Repeat16(kSpread)));
  }
  static HWY_INLINE WordVector HighWeights(ByteVector weights) {
    alignas(16) static constexpr std::uint8_t kSpread[16] = {8, 9, 8, 9, 8, 9, 128, 128, 12, 13, 12, 13, 12, 13, 128, 128};
    return hn::BitCast(Words(), hn::TableLookupBytesOr0(weights, Repeat16(kSpread)));
  }

  HWY_INLINE void Store(ByteVector value, std::uint8_t* out) const {
    const Bytes d;
    hn::StoreU(hn::IfThenElse(hn::MaskFromVec(colours), value, hn::LoadU(d, out)), d, out);
  }

  HWY_INLINE void Keep(const std::uint8_t* in, std::uint8_t* out) const { Store(hn::LoadU(Bytes(), in), out); }

  HWY_INLINE void TurnGray(const std::uint8_t* in, std::uint8_t* out) const {
    alignas(16) static constexpr std::uint8_t kSpread[16] = {0, 0, 0, 128, 4, 4, 4, 128, 8, 8, 8, 128, 12, 12, 12, 128};
    const auto pixels = hn::LoadU(Bytes(), in);
    Store(hn::TableLookupBytesOr0(Gray(LowWords(pixels), HighWords(pixels)), Repeat16(kSpread)), out);
  }

  HWY_INLINE std::uint64_t Fade(const std::uint32_t* weights, const std::uint8_t* in, std::uint8_t* out) const {
    const auto pixels = hn::LoadU(Bytes(), in);
    const auto weight = hn::BitCast(Bytes(), hn::LoadU(UnsignedDwords(), weights));
    const auto low = LowWords(pixels);
    const auto high = HighWords(pixels);
    const auto gray = Gray(low, high);
    const auto fadedLow = FadeWords(low, LowGray(gray), LowWeights(weight));
    const auto fadedHigh = FadeWords(high, HighGray(gray), HighWeights(weight));
    Store(PackBlocks(fadedLow.value, fadedHigh.value), out);
    return DoubtBits(fadedLow, fadedHigh);
  }
};

struct ChromaFade {
  static constexpr int kSamples = kBlockBytes / 2;

  HWY_INLINE explicit ChromaFade(const FocusSetup& /*setup*/) {}

  HWY_INLINE std::uint64_t Fade(const std::uint16_t* weights, const std::uint8_t* in, std::uint8_t* out) const {
    const Words d;
    const UnsignedWords du;
    const hn::Rebind<std::uint8_t, Words> d8;
    const auto faded =
        FadeWords(hn::PromoteTo(d, hn::LoadU(d8, in)), hn::Set(d, 128), hn::BitCast(d, hn::LoadU(du, weights)));
    hn::StoreU(hn::DemoteTo(d8, faded.value), d8, out);
    return MaskBits(du, hn::Ne(faded.doubt, hn::Zero(du)));
  }
};

/// Blocks of a span that hold doubtful bytes.
template <std::size_t kSamples>
struct DoubtfulBlocks {
  std::size_t count = 0;
  int at[kFocusStrip / kSamples + 2];  // their first samples
  std::uint64_t bits[kFocusStrip / kSamples + 2];

  // Without a branch, as no processor foresees where doubts come.
  HWY_INLINE void Note(int sample, std::uint64_t doubts) {
    at[count] = sample;
    bits[count] = doubts;
    count += doubts != 0 ? 1U : 0U;
  }
};

#endif  // not scalar

/// A strip of columns at the same distance from the centre's column on both sides.
template <int kBytes>
class FocusStrip {
public:
  HWY_INLINE FocusStrip(const FocusSetup& setup, int first, int count, int b, bool wide) : setup_(setup), first_(first) {
    if (wide) {
      StripDistances<double>(first, b, count, distances_);
    } else {
      StripDistances<float>(first, b, count, distances_);
    }
#if HWY_TARGET != HWY_SCALAR
    WeighDistances(setup, distances_, count, right_);
#endif
  }

  /// Columns begin .. end - 1, all of them on the right or all on the left of the centre's column or on it.
  HWY_INLINE void Fade(const FocusRow<kBytes>& row, int begin, int end, bool leftSide) {
    if (begin >= end) return;
    const int centre = static_cast<int>(setup_.centerX);
    const int offset = leftSide ? centre - first_ : first_ + centre;
    const auto distanceAt = [&](int x) { return distances_[leftSide ? offset - x : x - offset]; };
#if HWY_TARGET != HWY_SCALAR
    using Lanes = std::conditional_t<kBytes == 4, PackedFade, ChromaFade>;
    constexpr int kSamples = Lanes::kSamples;
    const int count = end - begin;
    if (count >= kSamples) {
      FadeWeight<kBytes> reversed[kFocusStrip + kFocusSpare];
      const FadeWeight<kBytes>* const weights = leftSide ? reversed : right_ + (begin - offset);
      if (leftSide) ReverseWeights(right_ + (offset - (end - 1)), count, reversed);
      const Lanes lanes(setup_);
      for (std::size_t p = 0; p < FocusRow<kBytes>::kPlanes; ++p) {
        const std::uint8_t* in = row.in[p] + std::ptrdiff_t{begin} * kBytes;
        std::uint8_t* out = row.out[p] + std::ptrdiff_t{begin} * kBytes;
        DoubtfulBlocks<std::size_t{kSamples}> doubtful;
        int i = 0;
        for (; i + kSamples <= count; i += kSamples)
          doubtful.Note(i, lanes.Fade(weights + i, in + i * kBytes, out + i * kBytes));
        // The last block overlaps the one before, so that nothing behind the span is touched.
        if (i < count) {
          i = count - kSamples;
          doubtful.Note(i, lanes.Fade(weights + i, in + i * kBytes, out + i * kBytes));
        }
        for (std::size_t k = 0; k < doubtful.count; ++k) {
          // A sample is decided once, whichever of its bytes are doubtful.
          for (std::uint64_t left = doubtful.bits[k]; left != 0;) {
            const int inBlock = __builtin_ctzll(left) / kBytes;
            left &= ~(std::uint64_t{kBytes == 4 ? 15 : 1} << (inBlock * kBytes));
            const int sample = doubtful.at[k] + inBlock;
            FadeSample<kBytes>(in + sample * kBytes, out + sample * kBytes, setup_.Grayness(distanceAt(begin + sample)));
          }
        }
      }
      return;
    }
#endif
    for (int x = begin; x < end; ++x) {
      const double grayness = setup_.Grayness(distanceAt(x));
      for (std::size_t p = 0; p < FocusRow<kBytes>::kPlanes; ++p) {
        FadeSample<kBytes>(row.in[p] + std::ptrdiff_t{x} * kBytes, row.out[p] + std::ptrdiff_t{x} * kBytes, grayness);
      }
    }
  }

private:
  const FocusSetup& setup_;
  int first_;
  HWY_ALIGN std::int32_t distances_[kFocusStrip + kFocusSpare];
  HWY_ALIGN FadeWeight<kBytes> right_[kFocusStrip + kFocusSpare];
};

/// Samples in the circle (kGray = false) or beyond the ring.
template <int kBytes, bool kGray>
HWY_INLINE void PlainSpan(const FocusSetup& setup, const FocusRow<kBytes>& row, int begin, int end) {
  begin = std::max(begin, 0);
  end = std::min(end, setup.width);
  if (begin >= end) return;
  const int count = end - begin;
  if constexpr (kBytes == 1) {
    for (std::size_t p = 0; p < FocusRow<kBytes>::kPlanes; ++p) {
      if (kGray) {
        std::memset(row.out[p] + begin, 128, static_cast<std::size_t>(count));
      } else {
        std::memcpy(row.out[p] + begin, row.in[p] + begin, static_cast<std::size_t>(count));
      }
    }
  } else {
    const std::uint8_t* in = row.in[0] + std::ptrdiff_t{begin} * kBytes;
    std::uint8_t* out = row.out[0] + std::ptrdiff_t{begin} * kBytes;
    int i = 0;
#if HWY_TARGET != HWY_SCALAR
    if (count >= PackedFade::kSamples) {
      const PackedFade lanes(setup);
      while (i < count) {
        i = std::min(i, count - PackedFade::kSamples);
        if (kGray) {
          lanes.TurnGray(in + i * kBytes, out + i * kBytes);
        } else {
          lanes.Keep(in + i * kBytes, out + i * kBytes);
        }
        i += PackedFade::kSamples;
      }
    }
#endif
    for (; i < count; ++i) FadeSample<kBytes>(in + i * kBytes, out + i * kBytes, kGray ? 1.0 : 0.0);
  }
}

template <int kBytes>
void RenderFocusRow(const FocusSetup& setup, const FocusRow<kBytes>& row, std::int64_t y) {
  if (!setup.vectors) {
    for (int x = 0; x < setup.width; ++x) {
      const double grayness = setup.GraynessAt(x, y);
      for (std::size_t p = 0; p < FocusRow<kBytes>::kPlanes; ++p) {
        FadeSample<kBytes>(row.in[p] + std::ptrdiff_t{x} * kBytes, row.out[p] + std::ptrdiff_t{x} * kBytes, grayness);
      }
    }
    return;
  }
  const int centre = static_cast<int>(setup.centerX);
  const int b = static_cast<int>(std::abs(y - setup.centerY));
  const int farthest = std::max(setup.width - 1 - centre, centre);
  const FocusReach reach(setup, b, farthest);
  PlainSpan<kBytes, true>(setup, row, 0, centre - reach.gray + 1);
  PlainSpan<kBytes, false>(setup, row, centre - reach.keep + 1, centre + reach.keep);
  PlainSpan<kBytes, true>(setup, row, centre + std::max(reach.gray, 1), setup.width);

  const std::int64_t longest = std::int64_t{farthest} + kFocusSpare;
  const bool wide = longest * longest + std::int64_t{b} * b >= 1 << 23;
  // The first distance that occurs at all.
  const int nearest = std::max({reach.keep, -centre, centre - (setup.width - 1)});
  const int past = std::min(farthest + 1, reach.gray);
  for (int first = nearest; first < past; first += kFocusStrip) {
    const int count = std::min(kFocusStrip, past - first);
    FocusStrip<kBytes> strip(setup, first, count, b, wide);
    strip.Fade(row, std::max(centre + first, 0), std::min(centre + first + count, setup.width), false);
    // The centre's own column is made already.
    const int begin = std::max(centre - first - count + 1, 0);
    const int end = std::min(centre - std::max(first, 1) + 1, setup.width);
    strip.Fade(row, begin, end, true);
  }
}

}  // namespace

void FocusPacked(const FocusSetup& setup, AVFrame& dst, const AVFrame& src, Band rows) {
  const SourceSteppedRows destination(dst, src, rows.first, 4);
  for (std::int64_t y = rows.first; y < rows.end(); ++y) {
    std::uint8_t* out = destination.Row(y);
    if (out) RenderFocusRow<4>(setup, {{PlaneOf(src, 0).Row(y)}, {out}}, y);
  }
}

/// The rows are chroma's.
void FocusChroma(const FocusSetup& setup, AVFrame& dst, const AVFrame& src, Band rows) {
  for (std::int64_t y = rows.first; y < rows.end(); ++y) {
    const FocusRow<1> row = {{PlaneOf(src, 1).Row(y), PlaneOf(src, 2).Row(y)},
                             {PlaneOf(dst, 1).Row(y), PlaneOf(dst, 2).Row(y)}};
    RenderFocusRow<1>(setup, row, y);
  }
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix {
namespace {

HWY_EXPORT(FocusPacked);
HWY_EXPORT(FocusChroma);

void RenderPacked(AVFrame& dst, const AVFrame& src, Band rows, const FocusColorParams& params, double feather) {
  const FocusSetup setup(src.width, src.height, params, feather, rows);
  HWY_DYNAMIC_DISPATCH(FocusPacked)(setup, dst, src, rows);
}

void RenderPlanar(AVFrame& dst, const AVFrame& src, Band rows, const FocusColorParams& params, double feather) {
  CopyPlaneRows(dst, src, 0, rows);
  const Band chromaRows = {(rows.first + 1) >> 1, (rows.count + 1) >> 1};
  const FocusSetup setup(ChromaSize(src.width), ChromaSize(src.height), params, feather, chromaRows);
  HWY_DYNAMIC_DISPATCH(FocusChroma)(setup, dst, src, chromaRows);
}

/// The feather to use. A negative one is set to 0 in the object too, perhaps by several bands at a time.
double SettledFeather(FocusColorParams& params) {
  const std::atomic_ref<double> feather(params.feather);
  if (feather.load(std::memory_order_relaxed) < 0) feather.store(0.0, std::memory_order_relaxed);
  return feather.load(std::memory_order_relaxed);
}

}  // namespace
}  // namespace norix

void FocusColor(AVFrame* dst, AVFrame* src, FocusColorParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params) return CopyFrameData(dst, src, firstRow, rowCount);
  const double feather = norix::SettledFeather(*params);
  if (rowCount < 1) return;
  const norix::Band rows = {firstRow, rowCount};
  switch (norix::LayoutOf(src->format)) {
    case norix::Layout::kPacked4:
      return norix::RenderPacked(*dst, *src, rows, *params, feather);
    case norix::Layout::kPlanarAlpha:
      norix::CopyAlphaRows(*dst, *src, rows);
      [[fallthrough]];
    case norix::Layout::kPlanar:
      return norix::RenderPlanar(*dst, *src, rows, *params, feather);
    case norix::Layout::kPacked3:
    case norix::Layout::kUnknown:
      return;
  }
}

#endif
