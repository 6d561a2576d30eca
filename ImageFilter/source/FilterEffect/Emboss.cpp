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
//     many, as in patterns or with amounts that often meet whole numbers, the rows of a packed picture's tile are summed in
//     double lanes altogether.
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
#include <cstring>

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

HWY_INLINE DoubleVector Weighed(const std::uint8_t* p, DoubleVector weight) {
  const auto samples = hn::PromoteTo(Doubles(), hn::PromoteTo(IntsOfDoubles(), hn::LoadU(BytesOfDoubles(), p)));
  return hn::Mul(samples, weight);
}

/// As many samples as there are double lanes: EmbossSample with opposite weights taken together, which rounds alike.
template <int kStep>
struct EmbossSums {
  DoubleVector corner;
  DoubleVector side;
  DoubleVector centre;
  DoubleVector low;
  DoubleVector high;
  DoubleVector half;
  DoubleVector divisor;
  bool divide;

  explicit HWY_INLINE EmbossSums(const EmbossSetup& s)
      : corner(hn::Set(Doubles(), s.downRight)),
        side(hn::Set(Doubles(), s.right)),
        centre(hn::Set(Doubles(), s.centre)),
        low(hn::Set(Doubles(), s.low)),
        high(hn::Set(Doubles(), s.high)),
        half(hn::Set(Doubles(), s.half)),
        divisor(hn::Set(Doubles(), s.divisor)),
        divide(s.divide) {}

  /// `step` 0: all seven samples are the same one. A packed picture's sum is limited when it becomes a byte.
  HWY_INLINE DoubleVector operator()(const EmbossRows& rows, std::ptrdiff_t i, std::ptrdiff_t step) const {
    auto above = hn::Add(Weighed(rows.up + i - step, corner), Weighed(rows.up + i, side));
    above = hn::Add(above, Weighed(rows.here + i - step, side));
    auto v = hn::Add(hn::Sub(Weighed(rows.here + i, centre), above), Weighed(rows.here + i + step, side));
    v = hn::Add(hn::Add(v, Weighed(rows.down + i, side)), Weighed(rows.down + i + step, corner));
    if constexpr (kStep == 1) {
      if (divide) v = hn::Div(v, divisor);
      v = hn::Add(hn::Min(hn::Max(v, low), high), half);
    }
    return v;
  }
};

HWY_INLINE void StoreTruncated(DoubleVector v, std::uint8_t* out) {
  hn::StoreU(hn::DemoteTo(BytesOfDoubles(), hn::DemoteTo(IntsOfDoubles(), v)), BytesOfDoubles(), out);
}

/// One bit for each level that a flat area loses, in a square of 16 by 16: a byte for each lower digit of the level has the
/// bits of eight upper ones.
struct LostLevels {
  alignas(16) std::uint8_t bits[32] = {};

  template <class Sums>
  void Find(const Sums& sums) {
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
    const auto eight = hn::Or(LookupByLowBits(Repeat16(bits), level),
                              LookupByLowBits(Repeat16(bits + 16), hn::Xor(level, hn::Set(d, 0x80))));
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
constexpr std::int64_t kEmbossTileRows = 32;

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
  FloorMultiply multiply;
  SignedByteVector corner;
  ByteVector lowest;
  ByteVector highest;
  EmbossSums<kStep> sums;
  double amount;
  LostLevels lost;

  explicit HWY_INLINE EmbossLanes(const EmbossSetup& s)
      : multiply(s.factor),
        corner(PairWeights(4 * s.corner, -4 * s.corner)),
        lowest(hn::Set(Bytes(), static_cast<std::uint8_t>(s.low))),
        highest(hn::Set(Bytes(), static_cast<std::uint8_t>(s.high))),
        sums(s),
        amount(s.right) {
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
    const auto lost = hn::And(doubt, hn::VecFromMask(d8, hn::And(flat, lanes.lost.Has(s4))));
    hn::StoreU(hn::Add(result, lost), d8, out + i);  // `lost` is -1 where a level is lost.
    doubt = hn::AndNot(hn::VecFromMask(d8, flat), doubt);
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
HWY_INLINE void SettleGroups(const EmbossSums<kStep>& sums, const EmbossRows& rows, std::uint8_t* out,
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
/// A packed pixel's samples as doubles: one vector or, with fewer lanes, two.
using Quads = hn::CappedTag<double, 4>;
using QuadInts = hn::Rebind<std::int32_t, Quads>;
using QuadBytes = hn::Repartition<std::uint8_t, Quads>;
using QuadVector = hn::Vec<Quads>;
using QuadByteVector = hn::Vec<QuadBytes>;
using SixteenBytes = hn::FixedTag<std::uint8_t, 16>;
constexpr std::size_t kQuadLanes = hn::MaxLanes(Quads());
constexpr std::size_t kParts = 4 / kQuadLanes;
constexpr std::ptrdiff_t kBlockPixels = 4;
constexpr std::ptrdiff_t kDensePixels = kEmbossStrip / 3;
constexpr std::ptrdiff_t kDenseShare = 3;

/// Makes the doubles 2^52 + sample of four pixels by a byte shuffle. The pixels lie `step` bytes apart from byte `first` on
/// in a block, of which two bytes that no sample needs are replaced by those of 2^52.
struct PixelTable {
  alignas(32) std::uint8_t places[4 * 32] = {};  ///< a pixel's after the other
  alignas(16) std::uint8_t replaced[16] = {};
  alignas(16) std::uint8_t replacement[16] = {};

  constexpr PixelTable(int step, int first, int lower, int upper) {
    for (int pixel = 0; pixel < 4; ++pixel) {
      for (int i = 0; i < 32; ++i) {
        int place = 128;
        if (i % 8 == 0 && i / 8 < 3) place = first + pixel * step + i / 8;
        if (i % 8 == 6) place = lower;
        if (i % 8 == 7) place = upper;
        places[pixel * 32 + i] = static_cast<std::uint8_t>(place);
      }
    }
    replaced[lower] = 255;
    replaced[upper] = 255;
    replacement[lower] = 0x30;
    replacement[upper] = 0x43;
  }
};

/// Where blocks of four pixels are loaded, in bytes from the first pixel's, so that they lie within the row: the block that
/// starts with the column before the strip, blocks of the strip and the same moved on by a column.
template <int kStep>
struct DenseTables {
  static constexpr PixelTable kFirst{4, 0, 3, 7};
  static constexpr const PixelTable& kHere = kFirst;
  static constexpr const PixelTable& kNext = kFirst;
  static constexpr std::ptrdiff_t kHereAt = 0;
  static constexpr std::ptrdiff_t kNextAt = 4;
};
template <>
struct DenseTables<3> {
  static constexpr PixelTable kFirst{3, 0, 12, 13};
  static constexpr PixelTable kHere{3, 1, 0, 13};
  static constexpr PixelTable kNext{3, 4, 0, 1};
  static constexpr std::ptrdiff_t kHereAt = -1;
  static constexpr std::ptrdiff_t kNextAt = -1;
};

HWY_INLINE QuadByteVector LoadPixels(const std::uint8_t* in, const PixelTable& table) {
  const QuadBytes d;
  return hn::IfThenElse(hn::MaskFromVec(hn::LoadDup128(d, table.replaced)), hn::LoadDup128(d, table.replacement),
                        hn::LoadDup128(d, in));
}

struct DenseProducts {
  QuadVector amount;
  QuadVector bias;
  QuadVector minusBias;  ///< its product with `amount`, exact like that itself

  explicit HWY_INLINE DenseProducts(double a)
      : amount(hn::Set(Quads(), a)), bias(hn::Set(Quads(), 0x1p52)), minusBias(hn::Set(Quads(), -0x1p52 * a)) {}

  /// The k-th vector of the four pixels, 2^52 added to every sample.
  static HWY_INLINE QuadVector Biased(QuadByteVector pixels, const PixelTable& table, std::size_t k) {
    const auto places = hn::Load(QuadBytes(), table.places + k * kQuadLanes * 8);
    return hn::BitCast(Quads(), hn::TableLookupBytesOr0(pixels, places));
  }

  HWY_INLINE QuadVector Sample(QuadByteVector pixels, const PixelTable& table, std::size_t k) const {
    return hn::Sub(Biased(pixels, table, k), bias);
  }

  /// With one rounding, that of the sample's product with `amount`.
  HWY_INLINE QuadVector Product(QuadByteVector pixels, const PixelTable& table, std::size_t k) const {
#if HWY_NATIVE_FMA
    return hn::MulAdd(Biased(pixels, table, k), amount, minusBias);
#else
    return hn::Mul(Sample(pixels, table, k), amount);
#endif
  }

  /// Those of four pixels.
  HWY_INLINE void Store(const std::uint8_t* in, const PixelTable& table, double* out) const {
    const auto pixels = LoadPixels(in, table);
    for (std::size_t k = 0; k < 4 * kParts; ++k) hn::Store(Product(pixels, table, k), Quads(), out + k * kQuadLanes);
  }
};

/// A strip's products, with a column more on both sides.
struct DenseRow {
  alignas(64) double products[(kDensePixels + 2) * 4];
};

/// Four pixels' samples, limited to bytes.
HWY_INLINE hn::Vec<SixteenBytes> LimitedPixels(const hn::Vec<QuadInts>* quads) {
#if HWY_TARGET <= HWY_AVX2
  return BytesOfDwords(quads[0], quads[1], quads[2], quads[3]);
#else
  const hn::FixedTag<std::int32_t, 4> d;
  return BytesOfDwords(hn::Combine(d, quads[1], quads[0]), hn::Combine(d, quads[3], quads[2]),
                       hn::Combine(d, quads[5], quads[4]), hn::Combine(d, quads[7], quads[6]));
#endif
}

template <int kStep>
HWY_INLINE void StorePixels(hn::Vec<SixteenBytes> pixels, const std::uint8_t* in, std::uint8_t* out) {
  const SixteenBytes d;
  if constexpr (kStep == 4) {
    const auto alpha = hn::MaskFromVec(hn::BitCast(d, hn::Set(hn::FixedTag<std::uint32_t, 4>(), 0xFF000000U)));
    hn::StoreU(hn::IfThenElse(alpha, hn::LoadU(d, in), pixels), d, out);
  } else {
    alignas(16) static constexpr std::uint8_t kJoin[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 128, 128, 128, 128};
    alignas(16) std::uint8_t joined[16];
    hn::Store(hn::TableLookupBytesOr0(pixels, hn::Load(d, kJoin)), d, joined);
    std::memcpy(out, joined, 12);
  }
}

/// The sums of a row and the products of the row below. Twice a product is as exact as the product, and so is a fused
/// product with 2. `x` counts columns from the strip's first.
template <int kStep>
HWY_INLINE void EmbossDenseRow(const DenseProducts& products, const EmbossRows& rows, std::uint8_t* out,
                               std::ptrdiff_t count, const DenseRow& up, const DenseRow& here, DenseRow& down) {
  using Tables = DenseTables<kStep>;
  const Quads d;
  const auto two = hn::Set(d, 2.0);
  products.Store(rows.down - kStep, Tables::kFirst, down.products);
  for (std::ptrdiff_t at = 0; at < count; at += kBlockPixels) {
    const std::ptrdiff_t x = std::min(at, count - kBlockPixels);
    const auto herePixels = LoadPixels(rows.here + x * kStep + Tables::kHereAt, Tables::kHere);
    const auto nextPixels = LoadPixels(rows.down + x * kStep + Tables::kNextAt, Tables::kNext);
    const double* const u = up.products + 4 * x;
    const double* const h = here.products + 4 * x;
    double* const w = down.products + 4 * x;
    QuadVector p0[kParts];
    QuadVector p3[kParts];
    QuadVector p4[kParts];
    QuadVector p7[kParts];
    for (std::size_t part = 0; part < kParts; ++part) {
      p0[part] = hn::Load(d, u + part * kQuadLanes);
      p3[part] = hn::Load(d, h + part * kQuadLanes);
      p4[part] = hn::Load(d, h + part * kQuadLanes + 4);
      p7[part] = hn::Load(d, w + part * kQuadLanes + 4);
    }
    hn::Vec<QuadInts> quads[4 * kParts];
    for (std::size_t k = 0; k < 4 * kParts; ++k) {
      const std::size_t part = k % kParts;
      const auto p1 = hn::Load(d, u + k * kQuadLanes + 4);
      const auto p5 = hn::Load(d, h + k * kQuadLanes + 8);
      const auto p8 = products.Product(nextPixels, Tables::kNext, k);
      hn::Store(p8, d, w + k * kQuadLanes + 8);
      const auto above = hn::Add(hn::MulAdd(p0[part], two, p1), p3[part]);
      const auto v = hn::Add(hn::Sub(products.Sample(herePixels, Tables::kHere, k), above), p5);
      quads[k] = TruncateBelowLimit(hn::MulAdd(p8, two, hn::Add(v, p7[part])));
      p0[part] = p1;
      p3[part] = p4[part];
      p4[part] = p5;
      p7[part] = p8;
    }
    StorePixels<kStep>(LimitedPixels(quads), rows.here + x * kStep, out + x * kStep);
  }
}

/// Rows y .. end - 1 of a strip of whole pixels, at least four, in double lanes: a product serves three rows.
template <int kStep>
void EmbossDense(double amount, const EmbossPlaneJob& job, std::int64_t y, std::int64_t end, std::ptrdiff_t first,
                 std::ptrdiff_t last) {
  using Tables = DenseTables<kStep>;
  const DenseProducts products(amount);
  const std::ptrdiff_t count = (last - first) / kStep;
  DenseRow ring[3];
  DenseRow* up = &ring[0];
  DenseRow* here = &ring[1];
  DenseRow* down = &ring[2];
  const auto fill = [&](const std::uint8_t* in, DenseRow& row) HWY_ATTR {
    products.Store(in - kStep, Tables::kFirst, row.products);
    for (std::ptrdiff_t at = 0; at < count; at += kBlockPixels) {
      const std::ptrdiff_t x = std::min(at, count - kBlockPixels);
      products.Store(in + x * kStep + Tables::kNextAt, Tables::kNext, row.products + 4 * (x + 2));
    }
  };
  const EmbossRows before = EmbossRowsAt(job, y);
  fill(before.up + first, *up);
  fill(before.here + first, *here);
  for (; y < end; ++y) {
    const EmbossRows rows = EmbossRowsAt(job, y);
    EmbossDenseRow<kStep>(products, {rows.up + first, rows.here + first, rows.down + first}, job.to.Row(y) + first, count,
                          *up, *here, *down);
    DenseRow* const free = up;
    up = here;
    here = down;
    down = free;
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
      // Many of them: the next rows will be alike. A short last strip may start within a pixel.
      if (static_cast<std::ptrdiff_t>(doubtful.count) * kGroup * kDenseShare > last - first)
        return EmbossDense<kStep>(lanes.amount, job, y, end, first - (kStep - (last - first) % kStep) % kStep, last);
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
  if (s.fast && s.divisor == 4) {
    // Quarters of all weights round alike and give the quarter of the sum.
    for (double* weight : {&s.upLeft, &s.up, &s.left, &s.centre, &s.right, &s.down, &s.downRight}) *weight /= 4;
    s.divide = false;
  }
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
