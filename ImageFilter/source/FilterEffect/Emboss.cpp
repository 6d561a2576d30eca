// Emboss: adds a relief along one diagonal. Every sample becomes itself plus `amount` times
//   -2 -1  0
//   -1  .  1      over its neighbours; beyond the border the edge sample repeats.
//    0  1  2
// Chroma is smoothed by 1-2-1 both ways at the same time. The sums are formed in double, in the order of the rows; a flat
// area may so lose a level.
//
// In real numbers the sum is s4 + a D with D = 2 (s8 - s0) + (s7 - s1) + (s5 - s3), in chroma s4 + a / 2 D with all weights
// 1, and trunc(limited(s4 + a D)) = limited(s4 + floor(a D)). Thirteen roundings of numbers below 2^14 move the double sum
// by less than 1e-10, so the floor of 16-bit lanes decides wherever a D is not within their own margin of a whole number.
// The rest takes the ordered double sum:
//   - in packed pictures, where all seven samples are equal (D = 0, most doubtful samples of real pictures), the sum is one
//     of 256, and a bit for each says whether the level is lost;
//   - elsewhere in double lanes: the places in doubt are collected without branches and summed afterwards. Where they are
//     most of a strip, as in patterns, the following rows are summed in double lanes altogether.
// With `amount` a multiple of 2^-14 every sum is exact and nothing is in doubt.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FilterEffect/Emboss.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/FloorMultiply-inl.h"
#include "FilterEffect/common/FloorMultiply.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/VectorOps-inl.h"

#ifndef NORIX_EMBOSS_SETUP
#define NORIX_EMBOSS_SETUP
namespace norix {

/// What one plane's relief needs to know; the same for every sample of a call.
struct EmbossSetup {
  // Weights of the sum, in its order.
  double upLeft;
  double up;
  double left;
  double centre;
  double right;
  double down;
  double downRight;
  double divisor;  ///< divides the sum when `divide` is set
  double low;      ///< limits before rounding
  double high;
  double half;  ///< added before truncation
  int corner;   ///< integer weight of the diagonal neighbours in D
  bool divide;
  FloorFactor factor;  ///< of D
  bool fast;           ///< the factor is within the lanes' range
};

struct EmbossPlaneJob {
  ConstPlane from;
  Plane to;
  std::ptrdiff_t step;  ///< bytes from column to column
  int width;
  int height;
  Band rows;
};

}  // namespace norix
#endif

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {
namespace {

struct EmbossRows {
  const std::uint8_t* up;
  const std::uint8_t* here;
  const std::uint8_t* down;
};

/// One sample in double precision, in the order that defines it. `before`, `after`: byte distances to the neighbouring
/// columns.
std::uint8_t EmbossSample(const EmbossSetup& s, const EmbossRows& rows, std::ptrdiff_t i, std::ptrdiff_t before,
                          std::ptrdiff_t after) {
  double v = rows.up[i - before] * s.upLeft;
  v = v + rows.up[i] * s.up;
  v = v + rows.here[i - before] * s.left;
  v = v + rows.here[i] * s.centre;
  v = v + rows.here[i + after] * s.right;
  v = v + rows.down[i] * s.down;
  v = v + rows.down[i + after] * s.downRight;
  if (s.divide) v = v / s.divisor;
  // NaN passes both comparisons and is 0 as a byte.
  if (v < s.low) v = s.low;
  if (v > s.high) v = s.high;
  return static_cast<std::uint8_t>(TruncateToInt(v + s.half));
}

#if HWY_TARGET != HWY_SCALAR
using Doubles = hn::ScalableTag<double>;
using DoubleVector = hn::Vec<Doubles>;
using IntsOfDoubles = hn::Rebind<std::int32_t, Doubles>;
using BytesOfDoubles = hn::Rebind<std::uint8_t, Doubles>;

HWY_INLINE DoubleVector LoadAsDoubles(const std::uint8_t* p) {
  return hn::PromoteTo(Doubles(), hn::PromoteTo(IntsOfDoubles(), hn::LoadU(BytesOfDoubles(), p)));
}

HWY_INLINE void StoreTruncated(DoubleVector v, std::uint8_t* out) {
  hn::StoreU(hn::DemoteTo(BytesOfDoubles(), hn::DemoteTo(IntsOfDoubles(), v)), BytesOfDoubles(), out);
}

/// As many samples of a planar picture as there are double lanes: the same operations as EmbossSample.
struct PlanarSums {
  DoubleVector upLeft, up, left, centre, right, down, downRight, low, high, half, divisor;
  bool divide;

  explicit HWY_INLINE PlanarSums(const EmbossSetup& s) : divide(s.divide) {
    const Doubles d;
    upLeft = hn::Set(d, s.upLeft);
    up = hn::Set(d, s.up);
    left = hn::Set(d, s.left);
    centre = hn::Set(d, s.centre);
    right = hn::Set(d, s.right);
    down = hn::Set(d, s.down);
    downRight = hn::Set(d, s.downRight);
    low = hn::Set(d, s.low);
    high = hn::Set(d, s.high);
    half = hn::Set(d, s.half);
    divisor = hn::Set(d, s.divisor);
  }

  HWY_INLINE DoubleVector operator()(const EmbossRows& rows, std::ptrdiff_t i, std::ptrdiff_t step) const {
    auto v = hn::Mul(LoadAsDoubles(rows.up + i - step), upLeft);
    v = hn::Add(v, hn::Mul(LoadAsDoubles(rows.up + i), up));
    v = hn::Add(v, hn::Mul(LoadAsDoubles(rows.here + i - step), left));
    v = hn::Add(v, hn::Mul(LoadAsDoubles(rows.here + i), centre));
    v = hn::Add(v, hn::Mul(LoadAsDoubles(rows.here + i + step), right));
    v = hn::Add(v, hn::Mul(LoadAsDoubles(rows.down + i), down));
    v = hn::Add(v, hn::Mul(LoadAsDoubles(rows.down + i + step), downRight));
    if (divide) v = hn::Div(v, divisor);
    return hn::Add(hn::Min(hn::Max(v, low), high), half);
  }
};

/// A packed picture's sum from the products p with `amount`: those with twice the amount and with its opposite are as
/// exact, and so is a fused product with 2. The sum is limited when it becomes a byte.
HWY_INLINE DoubleVector PackedSum(DoubleVector p0, DoubleVector p1, DoubleVector p3, DoubleVector s4, DoubleVector p5,
                                  DoubleVector p7, DoubleVector p8) {
  const auto two = hn::Set(Doubles(), 2.0);
  const auto above = hn::Add(hn::MulAdd(p0, two, p1), p3);
  return hn::MulAdd(p8, two, hn::Add(hn::Add(hn::Sub(s4, above), p5), p7));
}

/// As many samples of a packed picture as there are double lanes, and their sums.
struct PackedSums {
  DoubleVector amount;

  explicit HWY_INLINE PackedSums(const EmbossSetup& s) : amount(hn::Set(Doubles(), s.right)) {}

  HWY_INLINE DoubleVector Sample(const std::uint8_t* p) const { return LoadAsDoubles(p); }
  HWY_INLINE DoubleVector Product(const std::uint8_t* p) const { return hn::Mul(LoadAsDoubles(p), amount); }

  /// `step` 0: all seven samples are the same one.
  HWY_INLINE DoubleVector operator()(const EmbossRows& rows, std::ptrdiff_t i, std::ptrdiff_t step) const {
    return PackedSum(Product(rows.up + i - step), Product(rows.up + i), Product(rows.here + i - step),
                     Sample(rows.here + i), Product(rows.here + i + step), Product(rows.down + i),
                     Product(rows.down + i + step));
  }
};

/// One bit for each level that a flat area loses, in a square of 16 by 16: a byte for each lower digit of the level has the
/// bits of eight upper ones.
struct LostLevels {
  alignas(16) std::uint8_t bits[32] = {};

  void Find(const PackedSums& sums) {
    const IntsOfDoubles d;
    std::uint8_t level[256];
    std::int32_t shown[HWY_MAX_BYTES / 8];
    for (std::size_t i = 0; i < 256; ++i) level[i] = static_cast<std::uint8_t>(i);
    for (std::size_t i = 0; i < 256; i += hn::Lanes(d)) {
      hn::StoreU(hn::DemoteTo(d, sums({level, level, level}, static_cast<std::ptrdiff_t>(i), 0)), d, shown);
      for (std::size_t k = 0; k < hn::Lanes(d); ++k) {
        const std::size_t at = i + k;
        const int lost = shown[k] != static_cast<std::int32_t>(at) ? 1 : 0;
        std::uint8_t& byte = bits[(at & 15) + (at >> 7) * 16];
        byte = static_cast<std::uint8_t>(byte | lost << (at >> 4 & 7));
      }
    }
  }

  HWY_INLINE hn::Mask<Bytes> Has(ByteVector level) const {
    alignas(16) static constexpr std::uint8_t kBit[16] = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    const Bytes d;
    // An index with the top bit set looks up 0.
    const auto lower = hn::And(level, hn::Set(d, 0x8F));
    const auto eight = hn::Or(hn::TableLookupBytesOr0(Repeat16(bits), lower),
                              hn::TableLookupBytesOr0(Repeat16(bits + 16), hn::Xor(lower, hn::Set(d, 0x80))));
    const auto bit = hn::TableLookupBytes(Repeat16(kBit), hn::ShiftRight<4>(level));
    return hn::Eq(hn::And(eight, bit), bit);
  }
};

/// Samples that are settled together: as many bytes as a group has, at least a vector of doubles.
#if HWY_TARGET <= HWY_AVX3
using GroupPlace = std::uint64_t;
#else
using GroupPlace = std::uint32_t;
#endif
using Groups = hn::Repartition<GroupPlace, Bytes>;
constexpr std::ptrdiff_t kGroup = sizeof(GroupPlace);
constexpr std::ptrdiff_t kEmbossStrip = 768;  // bytes
constexpr std::int64_t kEmbossTileRows = 16;

#if HWY_TARGET > HWY_AVX3
/// For every set of up to eight groups the byte positions of its members.
struct GroupTable {
  std::uint8_t places[256][8] = {};

  constexpr GroupTable() {
    for (std::size_t set = 0; set < 256; ++set) {
      std::size_t count = 0;
      for (std::size_t group = 0; group < 8; ++group) {
        if ((set >> group & 1) != 0) places[set][count++] = static_cast<std::uint8_t>(group * kGroup);
      }
    }
  }
};
constexpr GroupTable kGroupTable;
#endif

/// Adds the places of a block's marked groups to `places` without a branch, and answers how many they are.
HWY_INLINE std::size_t NoteGroups(hn::Mask<Groups> marked, std::ptrdiff_t block, GroupPlace* places) {
  const Groups d;
  const auto first = hn::Set(d, static_cast<GroupPlace>(block));
#if HWY_TARGET <= HWY_AVX3
  return hn::CompressStore(hn::Add(hn::ShiftLeft<3>(hn::Iota(d, 0)), first), marked, d, places);
#else
  std::uint8_t set[8];
  hn::StoreMaskBits(d, marked, set);
  const hn::Rebind<std::uint8_t, Groups> d8;
  hn::StoreU(hn::Add(hn::PromoteTo(d, hn::LoadU(d8, kGroupTable.places[set[0]])), first), d, places);
  return static_cast<std::size_t>(std::popcount(set[0]));
#endif
}

struct DoubtfulGroups {
  GroupPlace places[kEmbossStrip / kGroup + 2 * HWY_MAX_BYTES / kGroup];
  std::size_t count;
};

/// The lanes of a call. In the fourth bytes of 4-byte pixels the factor is 0, so that they come out as they were, and the
/// offset is out of doubt.
template <int kStep>
struct EmbossLanes {
  using Sums = std::conditional_t<kStep == 1, PlanarSums, PackedSums>;

  FloorMultiply multiply;
  SignedByteVector corner;
  ByteVector lowest;
  ByteVector highest;
  Sums sums;
  LostLevels lost;

  explicit HWY_INLINE EmbossLanes(const EmbossSetup& s)
      : multiply(s.factor),
        corner(PairWeights(4 * s.corner, -4 * s.corner)),
        lowest(hn::Set(Bytes(), static_cast<std::uint8_t>(s.low))),
        highest(hn::Set(Bytes(), static_cast<std::uint8_t>(s.high))),
        sums(s) {
    if constexpr (kStep != 1) lost.Find(sums);
    if constexpr (kStep == 4) {
      const Words d;
      const auto alpha = hn::MaskFromVec(hn::BitCast(d, hn::Set(hn::Repartition<std::uint64_t, Words>(), 0xFFFFULL << 48)));
      multiply.coarse = hn::IfThenZeroElse(alpha, multiply.coarse);
      multiply.fine = hn::IfThenZeroElse(alpha, multiply.fine);
      multiply.offset = hn::IfThenElse(alpha, hn::Set(d, 4), multiply.offset);
    }
  }
};

/// Packed pictures have flat areas in doubt, since nothing is added before truncation.
template <int kStep, bool kExact>
HWY_INLINE std::size_t EmbossBlock(const EmbossLanes<kStep>& lanes, const EmbossRows& rows, std::uint8_t* out,
                                   std::ptrdiff_t i, GroupPlace* doubtful) {
  const Bytes d8;
  const Words d16;
  const auto s0 = hn::LoadU(d8, rows.up + i - kStep);
  const auto s1 = hn::LoadU(d8, rows.up + i);
  const auto s3 = hn::LoadU(d8, rows.here + i - kStep);
  const auto s4 = hn::LoadU(d8, rows.here + i);
  const auto s5 = hn::LoadU(d8, rows.here + i + kStep);
  const auto s7 = hn::LoadU(d8, rows.down + i);
  const auto s8 = hn::LoadU(d8, rows.down + i + kStep);
  const auto side = PairWeights(4, -4);
  const auto low = lanes.multiply(
      hn::Add(MulPairs(hn::InterleaveLower(d8, s8, s0), lanes.corner),
              hn::Add(MulPairs(hn::InterleaveLower(d8, s7, s1), side), MulPairs(hn::InterleaveLower(d8, s5, s3), side))));
  const auto high = lanes.multiply(
      hn::Add(MulPairs(hn::InterleaveUpper(d8, s8, s0), lanes.corner),
              hn::Add(MulPairs(hn::InterleaveUpper(d8, s7, s1), side), MulPairs(hn::InterleaveUpper(d8, s5, s3), side))));
  const auto zero = hn::Zero(d8);
  auto result = PackBlocks(hn::Add(low.floor, hn::BitCast(d16, hn::InterleaveLower(d8, s4, zero))),
                           hn::Add(high.floor, hn::BitCast(d16, hn::InterleaveUpper(d8, s4, zero))));
  if constexpr (kStep == 1) {
    result = hn::Min(hn::Max(result, lanes.lowest), lanes.highest);
  }
  if constexpr (kExact) {
    hn::StoreU(result, d8, out + i);
    return 0;
  }

  auto doubt = hn::VecFromMask(d8, hn::Eq(PackBlocks(low.margin, high.margin), zero));
  if constexpr (kStep == 1) {
    hn::StoreU(result, d8, out + i);
    if (HWY_LIKELY(hn::AllTrue(d8, hn::Eq(doubt, zero)))) return 0;
  } else {
    const auto flat = hn::And(hn::And(hn::Eq(s0, s4), hn::Eq(s1, s4)),
                              hn::And(hn::And(hn::Eq(s3, s4), hn::Eq(s5, s4)), hn::And(hn::Eq(s7, s4), hn::Eq(s8, s4))));
    const auto lost = hn::And(hn::VecFromMask(d8, flat), hn::And(doubt, hn::VecFromMask(d8, lanes.lost.Has(s4))));
    hn::StoreU(hn::Add(result, lost), d8, out + i);  // `lost` is -1 where a level is lost.
    doubt = hn::IfThenZeroElse(flat, doubt);
  }
  return NoteGroups(hn::Ne(hn::BitCast(Groups(), doubt), hn::Zero(Groups())), i, doubtful);
}

/// Bytes first .. end - 1 of a row, at least a vector of them, in lanes.
template <int kStep, bool kExact>
HWY_INLINE void EmbossBlocks(const EmbossLanes<kStep>& lanes, const EmbossRows& rows, std::uint8_t* out,
                             std::ptrdiff_t first, std::ptrdiff_t end, DoubtfulGroups& doubtful) {
  std::size_t count = 0;
  const auto n = static_cast<std::ptrdiff_t>(hn::Lanes(Bytes()));
  for (std::ptrdiff_t i = first; i < end; i += n) {
    // The last block ends with the strip, like it at a whole pixel, so that the fourth bytes stay in place.
    i = std::min(i, end - n);
    count += EmbossBlock<kStep, kExact>(lanes, rows, out, i, doubtful.places + count);
  }
  doubtful.count = count;
}

/// The doubtful groups again in double precision.
template <int kStep>
HWY_INLINE void SettleGroups(const typename EmbossLanes<kStep>::Sums& sums, const EmbossRows& rows, std::uint8_t* out,
                             const DoubtfulGroups& doubtful) {
  for (std::size_t k = 0; k < doubtful.count; ++k) {
    const auto first = static_cast<std::ptrdiff_t>(doubtful.places[k]);
    for (std::ptrdiff_t j = 0; j < kGroup; j += static_cast<std::ptrdiff_t>(hn::Lanes(Doubles()))) {
      StoreTruncated(sums(rows, first + j, kStep), out + first + j);
    }
    if constexpr (kStep == 4) {
      for (std::ptrdiff_t j = 3; j < kGroup; j += 4) out[first + j] = rows.here[first + j];
    }
  }
}
#endif

EmbossRows EmbossRowsAt(const EmbossPlaneJob& job, std::int64_t y) {
  const std::uint8_t* here = job.from.Row(y);
  return {y >= 1 ? here - job.from.lineSize : here, here, y < job.height - 1 ? here + job.from.lineSize : here};
}

#if HWY_TARGET != HWY_SCALAR
using EightBytes = hn::Simd<std::uint8_t, 8, 0>;
using EightWords = hn::Simd<std::int16_t, 8, 0>;
constexpr std::ptrdiff_t kEight = 8;
constexpr std::ptrdiff_t kDenseStrip = 384;  // bytes; their products fit the first-level cache

/// Eight sums, truncated and limited to bytes. `sum(j)` makes those from the j-th on, as many as there are double lanes.
template <class Sum>
HWY_INLINE hn::Vec<EightBytes> EightTruncated(const Sum& sum) {
  const IntsOfDoubles d32;
  const EightBytes d8;
  const EightWords d16;
#if HWY_TARGET <= HWY_AVX3
  return hn::DemoteTo(d8, hn::DemoteTo(d16, hn::DemoteTo(d32, sum(0))));
#elif HWY_TARGET <= HWY_AVX2
  return hn::DemoteTo(d8, hn::ReorderDemote2To(d16, hn::DemoteTo(d32, sum(0)), hn::DemoteTo(d32, sum(4))));
#else
  const hn::Twice<IntsOfDoubles> four;
  const auto low = hn::Combine(four, hn::DemoteTo(d32, sum(2)), hn::DemoteTo(d32, sum(0)));
  const auto high = hn::Combine(four, hn::DemoteTo(d32, sum(6)), hn::DemoteTo(d32, sum(4)));
  return hn::DemoteTo(d8, hn::ReorderDemote2To(d16, low, high));
#endif
}

/// A strip's samples as doubles and their products with `amount`, with a column more on both sides.
template <int kStep>
struct EmbossProducts {
  alignas(64) double samples[kDenseStrip + 2 * kStep];
  alignas(64) double products[kDenseStrip + 2 * kStep];

  HWY_INLINE void Fill(const std::uint8_t* in, std::ptrdiff_t bytes, const PackedSums& sums) {
    const Doubles d;
    const auto n = static_cast<std::ptrdiff_t>(hn::Lanes(d));
    const std::ptrdiff_t count = bytes + 2 * kStep;
    for (std::ptrdiff_t x = 0; x < count; x += n) {
      x = std::min(x, count - n);
      const auto sample = sums.Sample(in - kStep + x);
      const auto product = sums.Product(in - kStep + x);
      hn::StoreU(sample, d, samples + x);
      hn::StoreU(product, d, products + x);
    }
  }
};

/// Rows y .. end - 1 of a strip in double lanes, for strips where many groups are in doubt: a product serves three rows.
template <int kStep>
void EmbossDense(const PackedSums& sums, const EmbossPlaneJob& job, std::int64_t y, std::int64_t end, std::ptrdiff_t first,
                 std::ptrdiff_t bytes) {
  const Doubles d;
  const EightBytes d8;
  alignas(8) static constexpr std::uint8_t kAlpha[8] = {0, 0, 0, 255, 0, 0, 0, 255};
  const auto alpha = hn::MaskFromVec(hn::Load(d8, kAlpha));
  EmbossProducts<kStep> ring[3];
  const std::int64_t base = y - 1;
  const auto slot = [&](std::int64_t row) -> EmbossProducts<kStep>& { return ring[(row - base) % 3]; };
  const auto fill = [&](std::int64_t row) HWY_ATTR { slot(row).Fill(job.from.Row(row) + first, bytes, sums); };

  if (y > 0) fill(y - 1);
  fill(y);
  for (; y < end; ++y) {
    if (y < job.height - 1) fill(y + 1);
    const double* const up = slot(y > 0 ? y - 1 : y).products + kStep;
    const double* const here = slot(y).products + kStep;
    const double* const down = slot(y < job.height - 1 ? y + 1 : y).products + kStep;
    const double* const centre = slot(y).samples + kStep;
    const std::uint8_t* const in = job.from.Row(y) + first;
    std::uint8_t* const out = job.to.Row(y) + first;
    for (std::ptrdiff_t at = 0; at < bytes; at += kEight) {
      const std::ptrdiff_t group = std::min(at, bytes - kEight);
      const auto sum = [&](std::ptrdiff_t j) HWY_ATTR {
        const std::ptrdiff_t x = group + j;
        return PackedSum(hn::LoadU(d, up + x - kStep), hn::LoadU(d, up + x), hn::LoadU(d, here + x - kStep),
                         hn::LoadU(d, centre + x), hn::LoadU(d, here + x + kStep), hn::LoadU(d, down + x),
                         hn::LoadU(d, down + x + kStep));
      };
      auto eight = EightTruncated(sum);
      if constexpr (kStep == 4) eight = hn::IfThenElse(alpha, hn::LoadU(d8, in + group), eight);
      hn::StoreU(eight, d8, out + group);
    }
  }
}

template <int kStep>
void EmbossDenseStrips(const PackedSums& sums, const EmbossPlaneJob& job, std::int64_t y, std::int64_t end,
                       std::ptrdiff_t first, std::ptrdiff_t last) {
  for (std::ptrdiff_t i = first; i < last; i += kDenseStrip) {
    const std::ptrdiff_t begin = std::min(i, last - kEight);
    EmbossDense<kStep>(sums, job, y, end, begin, std::min(last - begin, kDenseStrip));
  }
}

/// Rows of a strip, some of them in lanes.
template <int kStep, bool kExact>
void EmbossTile(const EmbossLanes<kStep>& lanes, const EmbossPlaneJob& job, std::int64_t y, std::int64_t end,
                std::ptrdiff_t first, std::ptrdiff_t last) {
  for (; y < end; ++y) {
    const EmbossRows rows = EmbossRowsAt(job, y);
    DoubtfulGroups doubtful;
    EmbossBlocks<kStep, kExact>(lanes, rows, job.to.Row(y), first, last, doubtful);
    if constexpr (kStep != 1) {
      // Most of them: the next rows will be alike.
      if (static_cast<std::ptrdiff_t>(doubtful.count) * kGroup * 2 > last - first)
        return EmbossDenseStrips<kStep>(lanes.sums, job, y, end, first, last);
    }
    if constexpr (!kExact) SettleGroups<kStep>(lanes.sums, rows, job.to.Row(y), doubtful);
  }
}

/// The columns that have neighbours on both sides, at least a vector of bytes.
template <int kStep, bool kExact>
void EmbossTiles(const EmbossSetup& s, const EmbossPlaneJob& job) {
  const auto n = static_cast<std::ptrdiff_t>(hn::Lanes(Bytes()));
  const EmbossLanes<kStep> lanes(s);
  const std::ptrdiff_t last = (std::ptrdiff_t{job.width} - 1) * kStep;
  for (std::int64_t y = job.rows.first; y < job.rows.end(); y += kEmbossTileRows) {
    const std::int64_t stop = std::min(y + kEmbossTileRows, job.rows.end());
    for (std::ptrdiff_t i = kStep; i < last; i += kEmbossStrip) {
      const std::ptrdiff_t end = std::min(i + kEmbossStrip, last);
      // A short last strip overlaps the one before, whose bytes it only writes once more.
      EmbossTile<kStep, kExact>(lanes, job, y, stop, std::min(i, end - n), end);
    }
  }
}
#endif

/// Columns first .. end - 1, one by one.
template <int kStep>
void EmbossColumns(const EmbossSetup& s, const EmbossPlaneJob& job, std::ptrdiff_t first, std::ptrdiff_t end) {
  for (std::int64_t y = job.rows.first; y < job.rows.end(); ++y) {
    const EmbossRows rows = EmbossRowsAt(job, y);
    std::uint8_t* out = job.to.Row(y);
    for (std::ptrdiff_t x = first; x < end; ++x) {
      const std::ptrdiff_t before = x > 0 ? kStep : 0;
      const std::ptrdiff_t after = x < job.width - 1 ? kStep : 0;
      for (std::ptrdiff_t i = x * kStep; i < (x + 1) * kStep; ++i) {
        out[i] = kStep == 4 && (i & 3) == 3 ? rows.here[i] : EmbossSample(s, rows, i, before, after);
      }
    }
  }
}

template <int kStep>
void EmbossSteps(const EmbossSetup& s, const EmbossPlaneJob& job) {
#if HWY_TARGET != HWY_SCALAR
  const std::ptrdiff_t interior = (std::ptrdiff_t{job.width} - 2) * kStep;
  if (s.fast && interior >= static_cast<std::ptrdiff_t>(hn::Lanes(Bytes()))) {
    s.factor.exact ? EmbossTiles<kStep, true>(s, job) : EmbossTiles<kStep, false>(s, job);
    EmbossColumns<kStep>(s, job, 0, 1);
    return EmbossColumns<kStep>(s, job, job.width - 1, job.width);
  }
#endif
  EmbossColumns<kStep>(s, job, 0, job.width);
}

}  // namespace

void EmbossPlane(const EmbossSetup& s, const EmbossPlaneJob& job) {
  if (job.step == 4) return EmbossSteps<4>(s, job);
  if (job.step == 3) return EmbossSteps<3>(s, job);
  EmbossSteps<1>(s, job);
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix {
HWY_EXPORT(EmbossPlane);

namespace {

constexpr double kNegligibleAmount = 1e-5;

/// The weights of 0 in the other corners count too: an infinite amount makes them NaN, and so the sum.
EmbossSetup PackedSetup(double a) {
  EmbossSetup s{-2 * a, -1 * a, -1 * a, 1.0 + 0 * a, a, a, 2 * a, 1, 0, 255, 0, 2, false, {}, FloorFactor::Fits(a)};
  if (s.fast) s.factor = FloorFactor(a, false);
  return s;
}

EmbossSetup LumaSetup(double a) {
  EmbossSetup s = PackedSetup(a);
  s.low = 16;
  s.high = 235;
  s.half = 0.5;
  if (s.fast) s.factor = FloorFactor(a, true);
  return s;
}

EmbossSetup ChromaSetup(double a) {
  EmbossSetup s = LumaSetup(a);
  const std::array<double, 9> weights = {s.upLeft,    s.up * 2, 0 * a,      s.left * 2, s.centre * 4,
                                         s.right * 2, 0 * a,    s.down * 2, s.downRight};
  s.divisor = 0;
  for (const double weight : weights) s.divisor += weight;
  s.up = weights[1];
  s.left = weights[3];
  s.centre = weights[4];
  s.right = weights[5];
  s.down = weights[7];
  s.high = 240;
  s.corner = 1;
  s.divide = true;
  if (s.fast) s.factor = FloorFactor(a / 2, true);
  return s;
}

void RenderPacked(AVFrame& dst, const AVFrame& src, Band rows, std::ptrdiff_t step, double amount) {
  HWY_DYNAMIC_DISPATCH(EmbossPlane)
  (PackedSetup(amount), {PlaneOf(src, 0), PlaneOf(dst, 0), step, src.width, src.height, rows});
}

void RenderPlanar(AVFrame& dst, const AVFrame& src, Band rows, double amount) {
  HWY_DYNAMIC_DISPATCH(EmbossPlane)
  (LumaSetup(amount), {PlaneOf(src, 0), PlaneOf(dst, 0), 1, src.width, src.height, rows});
  const EmbossSetup chroma = ChromaSetup(amount);
  const Band chromaRows = {(rows.first + 1) >> 1, (rows.count + 1) / 2};
  for (const int plane : {1, 2}) {
    HWY_DYNAMIC_DISPATCH(EmbossPlane)
    (chroma, {PlaneOf(src, plane), PlaneOf(dst, plane), 1, ChromaSize(src.width), ChromaSize(src.height), chromaRows});
  }
}

}  // namespace

static void EmbossBand(AVFrame& dst, const AVFrame& src, Band rows, double amount) {
  switch (LayoutOf(src.format)) {
    case Layout::kPacked3:
      return RenderPacked(dst, src, rows, 3, amount);
    case Layout::kPacked4:
      return RenderPacked(dst, src, rows, 4, amount);
    case Layout::kPlanarAlpha:
      CopyAlphaRows(dst, src, rows);
      [[fallthrough]];
    case Layout::kPlanar:
      return RenderPlanar(dst, src, rows, amount);
    case Layout::kUnknown:
      return;
  }
}

}  // namespace norix

void Emboss(AVFrame* dst, AVFrame* src, EmbossParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params || params->amount < norix::kNegligibleAmount) return CopyFrameData(dst, src, firstRow, rowCount);
  if (rowCount < 1) return;
  norix::EmbossBand(*dst, *src, {firstRow, rowCount}, params->amount);
}

#endif
