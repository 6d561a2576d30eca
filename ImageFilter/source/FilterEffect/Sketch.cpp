// Sketch: pencil drawing. A sample's edge value is
//   e = bias + 6 g - (two neighbours in the row above) - (two in the row below)
// on luminance, limited to its range. The bias is the paper's brightness; it falls with `amount` in packed pictures and
// rises in planar ones.
//
// Packed pictures fade from the colour c to e by `amount`, out = trunc((c - e) k + e) with k = 1 - amount, and both
// neighbours of a row lie on the right. Planar ones get e as their luma, from the diagonal neighbours, and lose their
// colour. The row above a band's first row is that row itself, also where the picture goes on there.
//
// In lanes: 306 red >> 10 is the high half of the 16-bit product red * (306 << 6), likewise the other weights. |6 g - ...|
// is at most 1530, so that a bias beyond +-2000 acts like +-2000. The limited mix is limited(e + floor((c - e) k)); the
// lanes look one unit of 2^-14 upwards, so that a whole product comes out whole, and only a product just below a whole
// number may come out 1 too high. It depends on c - e alone: all 511 are tried in every call, see SketchMix.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FilterEffect/Sketch.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <numeric>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/FloorMultiply-inl.h"
#include "FilterEffect/common/FloorMultiply.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/Gray.h"
#include "FilterEffect/common/VectorOps-inl.h"

#ifndef NORIX_SKETCH_SETUP
#define NORIX_SKETCH_SETUP
namespace norix {

/// How floor((c - e) k) + e of the lanes becomes the double sum.
///
/// With D = c - e the sum is N + d, N whole and d < 0 the distance of the double product D k to the whole number that the
/// lanes take it for. It rounds to N or falls short of it. The spacing of doubles below N decides, so that all N up to a
/// power of two fall short, and the ones above do not. That limit is looked up by D: since k is a share of whole numbers
/// wherever many D are in doubt, these are the multiples of one, of one sign.
struct SketchMix {
  static constexpr int kMostTables = 6;

  double k;            ///< share of the source colour
  FloorFactor factor;  ///< k, looking one unit upwards
  bool fast;           ///< the lanes know every case
  int tables;          ///< 0: no product is in doubt
  std::int16_t index;  ///< (D * index) >> 16 is D's place in `limit`; below 0 for the other sign
  alignas(16) std::array<std::uint8_t, 16 * kMostTables> limit;  ///< results up to this are 1 too high
};

struct SketchSetup {
  int bias;  ///< of the edge sum, held to a range that cannot change the limited sum
  // Weights of a pixel's first, second and third byte in its luminance, * 2^-16.
  std::uint16_t first;
  std::uint16_t green;
  std::uint16_t third;
  SketchMix mix;
};

struct SketchJob {
  Plane to;
  ConstPlane from;
  int width;
  int height;
  Band rows;
};

inline std::uint8_t SketchByte(int value) { return static_cast<std::uint8_t>(std::clamp(value, 0, 255)); }

}  // namespace norix
#endif

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {
namespace {

int SketchGray(const SketchSetup& s, const std::uint8_t* pixel) {
  return (pixel[0] * s.first >> 16) + (pixel[1] * s.green >> 16) + (pixel[2] * s.third >> 16);
}

template <int kBytes>
void SketchPixel(double k, int edge, const std::uint8_t* in, std::uint8_t* out) {
  for (int b = 0; b < 3; ++b) out[b] = SketchByte(TruncateToInt((in[b] - edge) * k + edge));
  if constexpr (kBytes == 4) out[3] = in[3];
}

/// The rows above and below row `i` of the band, counted in the band. The picture's height, not the band's place in it,
/// says where the last row is.
std::int64_t SketchRowAbove(std::int64_t i) { return i == 0 ? 0 : i - 1; }
std::int64_t SketchRowBelow(const SketchJob& job, std::int64_t i) {
  return i == job.height - 1 || i == job.rows.count - 1 ? i : i + 1;
}

/// The luminance of the band's rows, back to back: column `width` is the first value of the next row, or the last value of
/// all.
template <int kBytes>
struct SketchGrays {
  const SketchSetup& s;
  const SketchJob& job;

  int At(std::int64_t row, std::int64_t column) const {
    const bool beyond = column == job.width;
    if (beyond) column = row < job.rows.count - 1 ? 0 : column - 1;
    if (beyond && row < job.rows.count - 1) ++row;
    return SketchGray(s, job.from.Row(job.rows.first + row) + column * kBytes);
  }

  int EdgeAt(std::int64_t i, std::int64_t x) const {
    const std::int64_t up = SketchRowAbove(i);
    const std::int64_t down = SketchRowBelow(job, i);
    const std::int64_t right = x != 0 ? x + 1 : x;
    const std::int64_t heldRight = x != job.width - 1 ? x + 1 : x;
    return SketchByte(s.bias + 6 * At(i, x) - At(up, right) - At(up, heldRight) - At(down, right) - At(down, heldRight));
  }
};

/// Columns first .. end - 1, one by one.
template <int kBytes>
void SketchColumns(const SketchSetup& s, const SketchJob& job, std::int64_t first, std::int64_t end) {
  const SketchGrays<kBytes> gray{s, job};
  for (std::int64_t i = 0; i < job.rows.count; ++i) {
    const std::uint8_t* in = job.from.Row(job.rows.first + i);
    std::uint8_t* out = job.to.Row(job.rows.first + i);
    for (std::int64_t x = first; x < end; ++x) {
      SketchPixel<kBytes>(s.mix.k, gray.EdgeAt(i, x), in + x * kBytes, out + x * kBytes);
    }
  }
}

constexpr std::ptrdiff_t kSketchStrip = 1024;    // columns
constexpr std::ptrdiff_t kSketchFewColumns = 4;  // fewer are not worth a vector

#if HWY_TARGET != HWY_SCALAR
using SketchHalf = hn::Half<Bytes>;
using SketchQuarter = hn::Rebind<std::uint8_t, Dwords>;

/// Two rounds of packing leave four pixels of each vector together, block by block.
HWY_INLINE auto SketchGrayOrder() {
  alignas(64) std::int32_t index[HWY_MAX_BYTES / 4];
  const auto blocks = static_cast<std::int32_t>(hn::Lanes(Dwords()) / 4);
  for (std::int32_t k = 0; k < 4 * blocks; ++k) index[k] = k % blocks * 4 + k / blocks;
  return hn::SetTableIndices(Dwords(), index);
}

/// Luminance of as many 4-byte pixels as a vector has bytes.
struct SketchGray4 {
  hn::Vec<UnsignedWords> outer;
  hn::Vec<UnsignedWords> green;
  decltype(SketchGrayOrder()) order;

  explicit HWY_INLINE SketchGray4(const SketchSetup& s)
      : outer(hn::BitCast(UnsignedWords(),
                          hn::Set(UnsignedDwords(), std::uint32_t{s.first} | static_cast<std::uint32_t>(s.third) << 16))),
        green(hn::BitCast(UnsignedWords(), hn::Set(UnsignedDwords(), s.green))),
        order(SketchGrayOrder()) {}

  /// The shares of each pixel as 16-bit pairs: first byte and green, third byte.
  HWY_INLINE WordVector Shares(const std::uint8_t* in) const {
    const UnsignedWords d;
    const auto v = hn::BitCast(d, hn::LoadU(Bytes(), in));
    return hn::BitCast(Words(),
                       hn::Add(hn::MulHigh(hn::And(v, hn::Set(d, 0xFF)), outer), hn::MulHigh(hn::ShiftRight<8>(v), green)));
  }

  HWY_INLINE void operator()(const std::uint8_t* in, std::uint8_t* out) const {
    const std::size_t n = hn::Lanes(Bytes());
    const auto ones = PairWeights(1, 1);
    const auto low = MulPairs(PackBlocks(Shares(in), Shares(in + n)), ones);
    const auto high = MulPairs(PackBlocks(Shares(in + 2 * n), Shares(in + 3 * n)), ones);
    const auto packed = hn::TableLookupLanes(hn::BitCast(Dwords(), PackBlocks(low, high)), order);
    hn::StoreU(hn::BitCast(Bytes(), packed), Bytes(), out);
  }
};

HWY_INLINE void SketchGray3(const SketchSetup& s, const std::uint8_t* in, std::uint8_t* out) {
  const SketchHalf d8;
  const hn::Rebind<std::uint16_t, SketchHalf> d16;
  hn::Vec<SketchHalf> first, green, third;
  hn::LoadInterleaved3(d8, in, first, green, third);
  const auto sum = hn::Add(hn::Add(hn::MulHigh(hn::PromoteTo(d16, first), hn::Set(d16, s.first)),
                                   hn::MulHigh(hn::PromoteTo(d16, third), hn::Set(d16, s.third))),
                           hn::MulHigh(hn::PromoteTo(d16, green), hn::Set(d16, s.green)));
  hn::StoreU(hn::TruncateTo(d8, sum), d8, out);
}

/// Edge values of a vector of columns; `up` and `down` begin one column further right.
HWY_INLINE ByteVector SketchEdges(WordVector bias, const std::uint8_t* up, const std::uint8_t* here,
                                  const std::uint8_t* down) {
  const Bytes d;
  const auto h = hn::LoadU(d, here);
  const auto u = hn::LoadU(d, up);
  const auto b = hn::LoadU(d, down);
  const auto zero = hn::Zero(d);
  const auto first = PairWeights(6, -2);
  const auto second = PairWeights(-2, 0);
  const auto low =
      hn::Add(MulPairs(hn::InterleaveLower(d, h, u), first), MulPairs(hn::InterleaveLower(d, b, zero), second));
  const auto high =
      hn::Add(MulPairs(hn::InterleaveUpper(d, h, u), first), MulPairs(hn::InterleaveUpper(d, b, zero), second));
  return PackBlocks(hn::Add(low, bias), hn::Add(high, bias));
}

/// The mix of a vector of bytes with as many edge values.
template <bool kDoubt>
struct SketchMixer {
  FloorMultiply multiply;
  WordVector index;
  int tables;
  const std::uint8_t* limit;

  explicit HWY_INLINE SketchMixer(const SketchMix& m)
      : multiply(m.factor), index(hn::Set(Words(), m.index)), tables(m.tables), limit(m.limit.data()) {}

  HWY_INLINE ByteVector operator()(ByteVector c, ByteVector e) const {
    const Bytes d;
    const Words d16;
    const auto zero = hn::Zero(d);
    const auto difference = PairWeights(4, -4);
    const auto lowD = MulPairs(hn::InterleaveLower(d, c, e), difference);
    const auto highD = MulPairs(hn::InterleaveUpper(d, c, e), difference);
    const auto low = multiply(lowD);
    const auto high = multiply(highD);
    const auto result = PackBlocks(hn::Add(low.floor, hn::BitCast(d16, hn::InterleaveLower(d, e, zero))),
                                   hn::Add(high.floor, hn::BitCast(d16, hn::InterleaveUpper(d, e, zero))));
    if constexpr (!kDoubt) return result;
    const auto place = PackBlocks(hn::MulHigh(lowD, index), hn::MulHigh(highD, index));
    auto most = zero;
    for (int t = 0; t < tables; ++t) {
      // Places of this table have a clear top bit and themselves in the low four; all others look up 0.
      const auto own = hn::SaturatedAdd(hn::Sub(place, hn::Set(d, static_cast<std::uint8_t>(16 * t))), hn::Set(d, 112));
      most = hn::Or(most, LookupByLowBits(Repeat16(limit + 16 * t), own));
    }
    const auto doubt = hn::Eq(PackBlocks(low.margin, high.margin), zero);
    const auto wrong = hn::And(hn::Eq(hn::Min(result, most), result), doubt);
    return hn::SaturatedSub(result, hn::IfThenElseZero(wrong, hn::Set(d, 1)));
  }
};

/// Columns first .. end - 1 of the interior, at most a strip, with three gray rows. Less than a vector of them (kNarrow)
/// are filled up beside the picture.
template <int kBytes, bool kDoubt, bool kNarrow>
void SketchStrip(const SketchSetup& s, const SketchJob& job, std::ptrdiff_t first, std::ptrdiff_t end) {
  const Bytes d;
  const auto n = static_cast<std::ptrdiff_t>(hn::Lanes(d));
  const SketchGray4 gray4(s);
  const SketchMixer<kDoubt> mix(s.mix);
  const auto bias = hn::Set(Words(), static_cast<std::int16_t>(s.bias));
  const std::ptrdiff_t columns = kNarrow ? n : end - first;
  const auto narrowBytes = static_cast<std::size_t>(end - first) * kBytes;
  std::uint8_t padded[kNarrow ? std::size_t{kBytes} * 2 * HWY_MAX_BYTES : 1] = {};
  std::uint8_t grays[3][kSketchStrip + 2 * HWY_MAX_BYTES];
  std::uint8_t edges[kSketchStrip + HWY_MAX_BYTES];
  std::uint8_t edges3[kBytes == 3 ? 3 * (kSketchStrip + HWY_MAX_BYTES) : 1];

  // One column past the strip's last, which is a neighbour on the right.
  const auto rowOf = [&](std::int64_t i) -> const std::uint8_t* {
    const std::uint8_t* in = job.from.Row(job.rows.first + i) + first * kBytes;
    if constexpr (!kNarrow) return in;
    std::memcpy(padded, in, narrowBytes + kBytes);
    return padded;
  };
  const auto grayRow = [&](std::int64_t i) HWY_ATTR {
    const std::uint8_t* in = rowOf(i);
    std::uint8_t* out = grays[i % 3];
    const std::ptrdiff_t count = columns + 1;
    const std::ptrdiff_t step = kBytes == 4 ? n : n / 2;
    for (std::ptrdiff_t x = 0; x < count; x += step) {
      x = std::min(x, count - step);
      if constexpr (kBytes == 4) {
        gray4(in + 4 * x, out + x);
      } else {
        SketchGray3(s, in + 3 * x, out + x);
      }
    }
  };

  grayRow(0);
  for (std::int64_t i = 0; i < job.rows.count; ++i) {
    const std::int64_t below = SketchRowBelow(job, i);
    if (i + 1 < job.rows.count) grayRow(i + 1);
    const std::uint8_t* up = grays[SketchRowAbove(i) % 3] + 1;
    const std::uint8_t* here = grays[i % 3];
    const std::uint8_t* down = grays[below % 3] + 1;
    for (std::ptrdiff_t x = 0; x < columns; x += n) {
      x = std::min(x, columns - n);
      const auto e = SketchEdges(bias, up + x, here + x, down + x);
      hn::StoreU(e, d, edges + x);
      if constexpr (kBytes == 3) hn::StoreInterleaved3(e, e, e, d, edges3 + 3 * x);
    }
    const std::uint8_t* in = rowOf(i);
    std::uint8_t* row = job.to.Row(job.rows.first + i) + first * kBytes;
    std::uint8_t* out = kNarrow ? padded : row;
    const std::ptrdiff_t bytes = columns * kBytes;
    for (std::ptrdiff_t at = 0; at < bytes; at += n) {
      at = std::min(at, bytes - n);
      const auto c = hn::LoadU(d, in + at);
      if constexpr (kBytes == 4) {
        alignas(16) static constexpr std::uint8_t kSpread[16] = {0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12};
        const auto wide = hn::PromoteTo(Dwords(), hn::LoadU(SketchQuarter(), edges + at / 4));
        const auto mixed = mix(c, hn::TableLookupBytes(hn::BitCast(d, wide), Repeat16(kSpread)));
        const auto alpha = hn::MaskFromVec(hn::BitCast(d, hn::Set(UnsignedDwords(), 0xFF000000U)));
        hn::StoreU(hn::IfThenElse(alpha, c, mixed), d, out + at);
      } else {
        hn::StoreU(mix(c, hn::LoadU(d, edges3 + at)), d, out + at);
      }
    }
    if constexpr (kNarrow) std::memcpy(row, padded, narrowBytes);
  }
}
#endif

template <int kBytes>
void SketchPixels(const SketchSetup& s, const SketchJob& job) {
  const std::ptrdiff_t last = job.width - 1;
#if HWY_TARGET != HWY_SCALAR
  const auto n = static_cast<std::ptrdiff_t>(hn::Lanes(Bytes()));
  const bool lanes = s.mix.fast && last - 1 >= kSketchFewColumns;
  if (lanes && last - 1 < n) {
    s.mix.tables == 0 ? SketchStrip<kBytes, false, true>(s, job, 1, last)
                      : SketchStrip<kBytes, true, true>(s, job, 1, last);
  }
  for (std::ptrdiff_t first = 1; lanes && last - 1 >= n && first < last; first += kSketchStrip) {
    const std::ptrdiff_t end = std::min(first + kSketchStrip, last);
    // A short last strip overlaps the one before, whose bytes it only writes once more.
    const std::ptrdiff_t begin = std::min(first, end - n);
    s.mix.tables == 0 ? SketchStrip<kBytes, false, false>(s, job, begin, end)
                      : SketchStrip<kBytes, true, false>(s, job, begin, end);
  }
#else
  constexpr bool lanes = false;
#endif
  if (!lanes) SketchColumns<kBytes>(s, job, 1, last);
  SketchColumns<kBytes>(s, job, 0, 1);
  if (last > 0) SketchColumns<kBytes>(s, job, last, job.width);
}

/// One luma row from the rows around it.
void SketchLumaRow(const std::uint8_t* up, const std::uint8_t* here, const std::uint8_t* down, std::uint8_t* out,
                   std::ptrdiff_t width, int bias) {
  const auto single = [&](std::ptrdiff_t x) {
    const std::ptrdiff_t left = x == 0 ? x : x - 1;
    const std::ptrdiff_t right = x == width - 1 ? x : x + 1;
    const int sum = bias + 6 * here[x] - up[left] - up[right] - down[left] - down[right];
    out[x] = static_cast<std::uint8_t>(std::clamp(sum, 16, 235));
  };
  const std::ptrdiff_t end = width - 1;
  std::ptrdiff_t x = 1;
#if HWY_TARGET != HWY_SCALAR
  const Bytes d;
  const auto n = static_cast<std::ptrdiff_t>(hn::Lanes(d));
  const auto first = PairWeights(6, -1);
  const auto second = PairWeights(-1, -1);
  const auto third = PairWeights(-1, 0);
  const auto bias16 = hn::Set(Words(), static_cast<std::int16_t>(bias));
  const auto zero = hn::Zero(d);
  if (end - x >= n) {
    for (; x < end; x += n) {
      x = std::min(x, end - n);
      const auto h = hn::LoadU(d, here + x);
      const auto upLeft = hn::LoadU(d, up + x - 1);
      const auto upRight = hn::LoadU(d, up + x + 1);
      const auto downLeft = hn::LoadU(d, down + x - 1);
      const auto downRight = hn::LoadU(d, down + x + 1);
      const auto low = hn::Add(hn::Add(MulPairs(hn::InterleaveLower(d, h, upLeft), first),
                                       MulPairs(hn::InterleaveLower(d, upRight, downLeft), second)),
                               hn::Add(MulPairs(hn::InterleaveLower(d, downRight, zero), third), bias16));
      const auto high = hn::Add(hn::Add(MulPairs(hn::InterleaveUpper(d, h, upLeft), first),
                                        MulPairs(hn::InterleaveUpper(d, upRight, downLeft), second)),
                                hn::Add(MulPairs(hn::InterleaveUpper(d, downRight, zero), third), bias16));
      hn::StoreU(hn::Min(hn::Max(PackBlocks(low, high), hn::Set(d, 16)), hn::Set(d, 235)), d, out + x);
    }
  }
#endif
  for (; x < end; ++x) single(x);
  single(0);
  if (width > 1) single(width - 1);
}

}  // namespace

void SketchPacked(const SketchSetup& s, const SketchJob& job, int bytesPerPixel) {
  bytesPerPixel == 4 ? SketchPixels<4>(s, job) : SketchPixels<3>(s, job);
}

void SketchLuma(const SketchJob& job, int bias) {
  const std::int64_t paired = job.rows.count & ~std::int64_t{1};  // a last row without partner stays as it was
  for (std::int64_t i = 0; i < paired; ++i) {
    const std::int64_t y = job.rows.first + i;
    const std::uint8_t* here = job.from.Row(y);
    const std::uint8_t* up = i == 0 ? here : here - job.from.lineSize;
    // Rows of the band beyond the picture's height have none below, nor has the picture's last row.
    const std::uint8_t* down = i >= job.height || y >= job.height - 1 ? here : here + job.from.lineSize;
    SketchLumaRow(up, here, down, job.to.Row(y), job.width, bias);
  }
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix {
HWY_EXPORT(SketchPacked);
HWY_EXPORT(SketchLuma);

namespace {

int HeldBias(double bias) { return std::clamp(TruncateToInt(bias), -2000, 2000); }

constexpr double kTiny = 1e-9;  // far above a product's rounding, far below the lanes' unit

/// The lanes' floor for one D, and whether they doubt it.
struct MixLane {
  int floor;
  bool doubt;

  MixLane(const FloorFactor& f, int D) {
    const int product = 4 * D * f.coarse;
    const int t = ((product & 0xFFFF) >> 2) + (4 * D * f.fine >> 16) + f.offset;
    floor = (product >> 16) + (t >> 14);
    doubt = (t & 16382) == 0;
  }
};

/// The results up to which the lanes are 1 too high with this D; -1 where they are wrong in another way.
int LimitFor(const SketchMix& mix, int D) {
  const MixLane lane(mix.factor, D);
  const double distance = D * mix.k - lane.floor;
  if (distance >= 0) return distance < 1 - kTiny ? 0 : -1;
  if (distance < -0.5 || !lane.doubt) return -1;
  // Doubles of (t / 2, t] have the same spacing below themselves.
  int limit = 0;
  for (int t = 1; t <= 256; t *= 2) {
    if (t + distance < t) limit = std::min(t, 255);
  }
  return limit;
}

/// Where the lanes look for D's limit.
int PlaceOf(const SketchMix& mix, int D) { return std::clamp(4 * D * mix.index >> 16, 0, 255); }

/// The differences whose products lie from 1.1 units of 2^-14 below a whole number to 2.1 above it, and a little more: all
/// that the lanes may doubt.
struct NearDifferences {
  std::array<std::int16_t, 511> values;
  std::size_t count = 0;

  explicit NearDifferences(double k) {
    constexpr std::int64_t kOne = std::int64_t{1} << 44;
    constexpr std::int64_t kUnit = kOne / 16384;
    constexpr std::int64_t kBelow = kUnit * 5 / 4;
    constexpr std::int64_t kAbove = kUnit * 9 / 4;
    const auto scaled = static_cast<std::int64_t>(k * static_cast<double>(kOne));
    for (int D = -255; D <= 255; ++D) {
      values[count] = static_cast<std::int16_t>(D);
      count += ((D * scaled + kBelow) & (kOne - 1)) < kBelow + kAbove ? 1U : 0U;
    }
  }

  const std::int16_t* begin() const { return values.data(); }
  const std::int16_t* end() const { return values.data() + count; }
};

/// Leaves `fast` false where the lanes cannot do it: with an amount far outside its range, or one that was sought out.
SketchMix MixRule(double k) {
  SketchMix mix{k, {}, false, 0, 0, {}};
  if (!FloorFactor::Fits(k)) return mix;
  mix.factor = FloorFactor(k, false);
  if (mix.factor.exact) {
    mix.fast = true;
    return mix;
  }

  const NearDifferences near(k);
  int size = 0;
  bool limited = false;
  bool negative = false;
  for (const int D : near) {
    const int limit = LimitFor(mix, D);
    if (limit < 0) return mix;
    const double product = D * k;
    // All whole products count, also those that have no limit: the lanes must find theirs.
    if (limit > 0 || std::abs(product - std::nearbyint(product)) < kTiny) size = std::gcd(size, D);
    if (limit == 0) continue;
    limited = true;
    negative = D < 0;
  }
  if (!limited) {
    mix.fast = true;
    return mix;
  }

  // The mix lies between colour and edge, so that results and limits are bytes.
  if (k < 0 || k > 1 || size < 3) return mix;
  mix.tables = 255 / size / 16 + 1;
  const int reciprocal = 16384 / size + 1;
  mix.index = static_cast<std::int16_t>(negative ? -reciprocal : reciprocal);
  for (const int D : near) {
    if (const int limit = LimitFor(mix, D); limit > 0)
      mix.limit[static_cast<std::size_t>(PlaceOf(mix, D))] = static_cast<std::uint8_t>(limit);
  }
  for (const int D : near) {
    if (MixLane(mix.factor, D).doubt && mix.limit[static_cast<std::size_t>(PlaceOf(mix, D))] != LimitFor(mix, D))
      return mix;
  }
  mix.fast = true;
  return mix;
}

/// 306, 601 and 117 parts of 1024, unless the gray tables have not been filled.
SketchSetup SetupFor(double amount, bool redFirst) {
  const bool filled = g_table_r[255] != 0;
  const auto weight = [&](int parts) { return static_cast<std::uint16_t>(filled ? parts << 6 : 0); };
  const double k = 1 - amount;
  return {HeldBias(400 * k - 200), weight(redFirst ? 306 : 117), weight(601), weight(redFirst ? 117 : 306), MixRule(k)};
}

void RenderPacked(AVFrame& dst, const AVFrame& src, Band rows, int bytesPerPixel, bool redFirst, double amount) {
  HWY_DYNAMIC_DISPATCH(SketchPacked)
  (SetupFor(amount, redFirst), {PlaneOf(dst, 0), PlaneOf(src, 0), src.width, src.height, rows}, bytesPerPixel);
}

void RenderPlanar(AVFrame& dst, const AVFrame& src, Band rows, double amount) {
  const auto chromaBytes = static_cast<std::size_t>(ChromaSize(src.width));
  const Band chromaRows = {rows.first >> 1, (rows.count + 1) >> 1};
  for (const int plane : {1, 2}) {
    for (std::int64_t y = chromaRows.first; y < chromaRows.end(); ++y) {
      std::memset(PlaneOf(dst, plane).Row(y), 128, chromaBytes);
    }
  }
  HWY_DYNAMIC_DISPATCH(SketchLuma)
  ({PlaneOf(dst, 0), PlaneOf(src, 0), src.width, src.height, rows}, HeldBias(amount * 400 - 200));
}

}  // namespace

static void SketchBand(AVFrame& dst, const AVFrame& src, Band rows, double amount) {
  switch (src.format) {
    case kRgb24:
      return RenderPacked(dst, src, rows, 3, true, amount);
    case kBgr24:
      return RenderPacked(dst, src, rows, 3, false, amount);
    case kRgba:
    case kRgb0:
      return RenderPacked(dst, src, rows, 4, true, amount);
    case kBgra:
    case kBgr0:
      return RenderPacked(dst, src, rows, 4, false, amount);
    case kYuva420p:
      CopyAlphaRows(dst, src, rows);
      [[fallthrough]];
    case kYuv420p:
      return RenderPlanar(dst, src, rows, amount);
    default:
      return;
  }
}

}  // namespace norix

void Sketch(AVFrame* dst, AVFrame* src, SketchParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params) return CopyFrameData(dst, src, firstRow, rowCount);
  if (rowCount < 1) return;
  norix::SketchBand(*dst, *src, {firstRow, rowCount}, params->amount);
}

#endif
