// Vignette: darkens the picture towards its edges.
//
// At distance d from the centre a pixel keeps its value below innerRadius, is black beyond outerRadius, and in between is
// scaled by f = 1 - e^2 in 4-byte formats and by f = 1 - e in RGB24 and YUV, with e = (d - innerRadius) / (outerRadius -
// innerRadius). Products are truncated; chroma is scaled about 128. The column's and the row's distances are running sums,
// of 1 / W and 1 / H.
//
// A row is up to seven spans: black, ring, faint, unchanged, faint, ring, black. f never grows with d, so each ends at a
// square of a distance, found once per call. Only the ring needs arithmetic: f in single precision, once for columns at the
// same distance left and right of the centre, then 16-bit products. Bytes that may lie on either side of a whole number are
// noted and decided afterwards by the exact formula.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FilterEffect/Vignette.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/PlanarRows.h"
#include "FilterEffect/common/RingSpans.h"
#include "FilterEffect/common/RunningSum-inl.h"
#include "FilterEffect/common/VectorOps-inl.h"

#ifndef NORIX_VIGNETTE_SETUP
#define NORIX_VIGNETTE_SETUP
namespace norix {

struct VignetteSetup {
  double centerX;
  double centerY;
  double innerRadius;
  double outerRadius;
  double ringWidth;
  double columnStep;
  double rowStep;
  int width;
  int height;
  Layout layout;
  bool squared;
  bool tame;             ///< rows can be cut into spans
  bool vectors = false;  ///< the ring is wide enough for single precision
  RingLimits limits;
  double nearOne = -1;  ///< where chroma's products may round to the unchanged value
  double any = -1;      ///< where f is not 0
  int mirror = -1;      ///< columns x and mirror - x are at the same distance; negative: none are
  float slope = 0;      ///< e = slope * d + start
  float start = 0;
  float one = 0;  ///< 2^23 + 2^16 less half the room
  int room = 0;   ///< 2^16 f lies above its weight by less than this

  VignetteSetup(const VignetteParams& params, const AVFrame& src, Band rows)
      : centerX(params.centerX),
        centerY(params.centerY),
        innerRadius(params.innerRadius),
        outerRadius(params.outerRadius),
        ringWidth(params.outerRadius - params.innerRadius),
        columnStep(1.0 / src.width),
        rowStep(1.0 / src.height),
        width(src.width),
        height(src.height),
        layout(LayoutOf(src.format)),
        squared(layout == Layout::kPacked4) {
    const auto between = [](double value, double limit) { return value >= -limit && value <= limit; };
    tame = between(centerX, 4) && between(centerY, 4) && between(innerRadius, 16) && between(outerRadius, 16) &&
           width <= 32767 && height <= 32767 && rows.first >= -65536 && rows.end() <= 65536;
    if (!tame) return;
    // Below 1 / 256 every product is 0; chroma, which turns into 127 or 128, needs a smaller f and looks closer beyond.
    const double least = layout == Layout::kPacked3 || squared ? 0x1p-8 : 0x1p-14;
    limits.visible = SquareOfAtLeast(least, 1 - least);
    limits.unchanged = SquareOfAtLeast(1.0, 0x1p-54);
    limits.faint = squared ? SquareOfAtLeast(1 - 0x1p-8, 0x1p-8) : limits.unchanged;
    const bool planar = layout == Layout::kPlanar || layout == Layout::kPlanarAlpha;
    if (planar) any = SquareOfAtLeast(std::numeric_limits<double>::denorm_min(), 1);
    nearOne = limits.unchanged;
    const double twiceCentre = 2 * centerX * width;
    if (twiceCentre >= 0 && twiceCentre <= 2.0 * width && twiceCentre == std::floor(twiceCentre)) {
      mirror = static_cast<int>(twiceCentre);
    }
    if (ringWidth < 1e-3) return;
    // With u = 2^-24: the column's distance is rounded (u), its square twice as much, the row's square (u), their sum (2 u
    // where the target does not fuse), all halved by the root: 2 u. The root itself is rounded (u), or comes from an
    // estimate of its inverse, 1.5 * 2^-12 off at most: a step of Newton's method leaves 1.5 times the square of that, 3.4
    // u, and its two products, two constants and one sum, where half of the inverse's errors count, no more than 5 u; the
    // last product adds u. All these are shares of slope * d. The start and the sum add u (|start| + |e|), |e| <= 1.
    // Mirrored columns' distances differ by what their running sums are off, at most 2^-34. Squaring doubles all that and
    // adds u, subtracting from 1 another.
    const double wideSlope = 1 / ringWidth;
    const double wideStart = -innerRadius / ringWidth;
    slope = static_cast<float>(wideSlope);
    start = static_cast<float>(wideStart);
    const double linear = 12 * wideSlope * outerRadius + std::abs(wideStart) + 1 + wideSlope / 1024;
    const double off = (squared ? 2 * linear : linear) + 2;
    // 2^16 u is 1 / 256. Rounding adds one half; with one eighth more the weight is never reached from above or below.
    const int reach = static_cast<int>(std::ceil(off / 256 + 0.625));
    one = static_cast<float>((1 << 23) + (1 << 16) - reach);
    room = 2 * reach;
    vectors = room <= 64;
    if (planar && vectors) nearOne = SquareOfAtLeast(1 - (room + 1) * 0x1p-16, (room + 1) * 0x1p-16);
  }

  double Factor(double dx, double dy) const { return FactorAt(dx * dx + dy * dy); }

  double FactorAt(double square) const {
    const double d = std::sqrt(square);
    if (d < innerRadius) return 1.0;
    if (!(innerRadius <= d && d <= outerRadius)) return 0.0;
    if (innerRadius == outerRadius) return 0.0;
    const double e = (d - innerRadius) / ringWidth;
    return squared ? 1.0 - e * e : 1.0 - e;
  }

  /// The largest square of a distance with a factor of at least `least`, which is 1 - `darkening`: f never grows with it.
  double SquareOfAtLeast(double least, double darkening) const {
    const double e = squared ? std::sqrt(darkening) : darkening;
    const double radius = std::max(0.0, ringWidth > 0 ? innerRadius + ringWidth * e : innerRadius);
    return LargestSquareWithin(radius * radius, [&](double square) { return FactorAt(square) >= least; });
  }

  double RowDistance(std::int64_t row) const { return static_cast<double>(row) * rowStep - centerY; }
  double OddLastRowDistance(Band rows) const { return (static_cast<double>(rows.end()) + -1.0) / height - centerY; }
};

inline std::uint8_t Darkened(std::uint8_t value, double factor) {
  return static_cast<std::uint8_t>(TruncateToInt(value * factor));
}

inline std::uint8_t DarkenedChroma(std::uint8_t value, double factor) {
  return static_cast<std::uint8_t>(TruncateToInt((value - 128) * factor + 128.0));
}

/// What the bytes of a pixel are.
enum class Shade { kPacked4, kPacked3, kLuma, kChroma };

constexpr int BytesOf(Shade shade) { return shade == Shade::kPacked4 ? 4 : shade == Shade::kPacked3 ? 3 : 1; }

template <Shade kShade>
inline void ShadePixel(const std::uint8_t* in, std::uint8_t* out, double factor) {
  if constexpr (kShade == Shade::kChroma) {
    *out = DarkenedChroma(*in, factor);
  } else {
    for (int c = 0; c < std::min(BytesOf(kShade), 3); ++c) out[c] = Darkened(in[c], factor);
    if constexpr (kShade == Shade::kPacked4) out[3] = in[3];
  }
}

}  // namespace norix
#endif

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

constexpr int kVignettePiece = 4096;  // columns; even, so that chroma's begin with each
constexpr int kVignetteSpare = 64;    // whole vectors may be computed on either side

/// Columns of a piece of a row, and the weights of the current row where it needs them.
struct VignetteColumns {
  int count;
  int mirror;  // columns i and mirror - i share weights; negative: none do
  ColumnDistances distances;
  double dx[kVignettePiece];
  HWY_ALIGN float narrowDx[kVignettePiece + kVignetteSpare];
  // Whole numbers below 2^16 f, but by no more than setup.room.
  HWY_ALIGN std::uint16_t weights[kVignettePiece + 2 * kVignetteSpare];
  HWY_ALIGN std::uint16_t even[kVignettePiece / 2 + kVignetteSpare];  // of every second column

  std::uint16_t* Weights() { return weights + kVignetteSpare; }

  /// Takes the next columns; `next` is the running sum.
  void Take(const VignetteSetup& setup, int begin, double& next) {
    count = std::min(kVignettePiece, setup.width - begin);
    next = FillRunningSum(next, setup.columnStep, static_cast<std::size_t>(count), dx);
    for (int i = 0; i < count; ++i) narrowDx[i] = static_cast<float>(dx[i]);
    std::fill(narrowDx + count, narrowDx + count + kVignetteSpare, 0.0F);
    mirror = setup.mirror < 0 ? -1 : setup.mirror - 2 * begin;
    if (mirror > 2 * (count - 1)) mirror = -1;
    distances = ColumnDistances(dx, count, setup.width);
  }
};

#if HWY_TARGET != HWY_SCALAR
/// Computes weights. The sum lies between 2^23 and 2^24, where the last bit of a float is a whole unit; its low half is the
/// weight.
template <bool kSquared>
class WeightLanes {
public:
  HWY_INLINE WeightLanes(const VignetteSetup& setup, double dy)
      : y2_(hn::Set(df_, std::max(static_cast<float>(dy * dy), 1e-30F))),  // the centre has no inverse root
        slope_(hn::Set(df_, setup.slope)),
        halfSlope_(hn::Set(df_, 0.5F * setup.slope)),
        slopeAndHalf_(hn::Set(df_, 1.5F * setup.slope)),
        start_(hn::Set(df_, setup.start)),
        one_(hn::Set(df_, setup.one)) {}

  static constexpr int kCount = static_cast<int>(hn::MaxLanes(hn::ScalableTag<float>()));
  static constexpr int kStep = 2 * kCount;

  /// Columns begin .. end - 1, and on to a whole step.
  HWY_INLINE void Direct(VignetteColumns& columns, int begin, int end) const {
    for (int i = begin; i < end; i += kStep) hn::StoreU(At(columns, i), du16_, columns.Weights() + i);
  }

  /// The same columns and those at the same distance on the other side.
  HWY_INLINE void Mirrored(VignetteColumns& columns, int begin, int end) const {
    for (int i = begin; i < end; i += kStep) {
      const auto weights = At(columns, i);
      hn::StoreU(weights, du16_, columns.Weights() + i);
      hn::StoreU(Reversed(weights), du16_, columns.Weights() + columns.mirror - i - (kStep - 1));
    }
  }

private:
  using DF = hn::ScalableTag<float>;
  using DU = hn::RebindToUnsigned<DF>;
  using DU16 = UnsignedWords;

  HWY_INLINE hn::Vec<DU16> SumsAt(const VignetteColumns& columns, int i) const {
    const auto x = hn::LoadU(df_, columns.narrowDx + i);
    const auto square = hn::MulAdd(x, x, y2_);
    auto e = start_;
    if constexpr (!NORIX_X86_VECTORS) {
      e = hn::MulAdd(hn::Sqrt(square), slope_, start_);
    } else {
      // A step of Newton's method from an estimate, twice as fast as the root.
      const auto inverse = hn::ApproximateReciprocalSqrt(square);
      const auto root = hn::Mul(square, inverse);
      e = hn::MulAdd(root, hn::NegMulAdd(hn::Mul(root, inverse), halfSlope_, slopeAndHalf_), start_);
    }
    if constexpr (kSquared) e = hn::Mul(e, e);
    const auto sum = hn::NegMulAdd(e, hn::Set(df_, 65536.0F), one_);
    return hn::BitCast(du16_, hn::Max(sum, hn::Set(df_, 8388608.0F)));
  }

  HWY_INLINE hn::Vec<DU16> At(const VignetteColumns& columns, int i) const {
    const auto low = SumsAt(columns, i);
    return hn::ConcatEven(du16_, SumsAt(columns, i + kCount), low);
  }

  /// Fewer operations than Reverse() takes with 16-bit lanes.
  static HWY_INLINE hn::Vec<DU16> Reversed(hn::Vec<DU16> v) {
    alignas(16) static constexpr std::uint8_t kBackwards[16] = {14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1};
    return hn::ReverseBlocks(DU16(), hn::TableLookupBytes(v, hn::BitCast(DU16(), Repeat16(kBackwards))));
  }

  DF df_;
  DU du_;
  DU16 du16_;
  hn::Vec<DF> y2_;
  hn::Vec<DF> slope_;
  hn::Vec<DF> halfSlope_;
  hn::Vec<DF> slopeAndHalf_;
  hn::Vec<DF> start_;
  hn::Vec<DF> one_;
};

/// Computes the weights of all columns in the ring.
template <bool kSquared>
HWY_INLINE void ComputeWeights(const VignetteSetup& setup, VignetteColumns& columns, double dy, Span left, Span right) {
  const WeightLanes<kSquared> lanes(setup, dy);
  const int mirror = columns.mirror;
  if (mirror < 0) {
    lanes.Direct(columns, left.begin, left.end);
    lanes.Direct(columns, right.begin, right.end);
    return;
  }
  // Columns on the right that either side needs, as far as both have them.
  int begin = columns.count;
  int end = 0;
  if (left.begin < left.end) {
    begin = std::min(begin, mirror - (left.end - 1));
    end = std::max(end, mirror - left.begin + 1);
  }
  if (right.begin < right.end) {
    begin = std::min(begin, right.begin);
    end = std::max(end, right.end);
  }
  begin = std::max(begin, (mirror + 1) / 2);
  end = std::min({end, mirror + 1, columns.count});
  lanes.Mirrored(columns, begin, end);
  if (right.end > mirror + 1) lanes.Direct(columns, std::max(right.begin, mirror + 1), right.end);
  if (left.begin <= mirror - columns.count)
    lanes.Direct(columns, left.begin, std::min(left.end, mirror - columns.count + 1));
}
/// Products of 16-bit lanes c with a weight, and with a number that 2^16 f does not reach. Where both have
/// the same whole part, that is the one of c f. As f is below 1 it does not reach 65535 / 65536 c + 1 either.
template <class D>
class CoarseProducts {
public:
  HWY_INLINE explicit CoarseProducts(const VignetteSetup& setup)
      : room_(hn::Set(D(), static_cast<std::uint16_t>(setup.room))) {}

  static HWY_INLINE hn::Vec<D> Least(hn::Vec<D> c, hn::Vec<D> weight) { return hn::MulHigh(c, weight); }
  HWY_INLINE hn::Vec<D> Most(hn::Vec<D> c, hn::Vec<D> weight) const {
    return hn::MulHigh(c, hn::SaturatedAdd(weight, room_));
  }

private:
  hn::Vec<D> room_;
};

/// Makes kStep bytes; answers which of them are not settled: bit n stands for the byte ByteOf(n).
template <Shade kShade>
class ShadeLanes {
public:
  using D = hn::ScalableTag<std::uint16_t>;
  static constexpr int kLanes = static_cast<int>(hn::MaxLanes(D()));
  static constexpr int kStep = 2 * kLanes;

  HWY_INLINE explicit ShadeLanes(const VignetteSetup& setup) : products_(setup) {}

  /// Packing goes by blocks of 16 bytes: eight of the first half, eight of the second.
  static HWY_INLINE int ByteOf(int bit) { return (bit & 7) + (bit >> 4) * 8 + (bit & 8 ? kLanes : 0); }

  HWY_INLINE std::uint64_t Make(const std::uint8_t* in, std::uint8_t* out, const std::uint16_t* weights, int at) const {
    const Bytes d8;
    const D d;
    const hn::Rebind<std::uint8_t, D> half;
    const auto first = hn::PromoteTo(d, hn::LoadU(half, in + at));
    const auto second = hn::PromoteTo(d, hn::LoadU(half, in + at + kLanes));
    const auto firstWeight = hn::LoadU(d, weights + at);
    const auto secondWeight = hn::LoadU(d, weights + at + kLanes);
    ByteVector least;
    ByteVector most;
    if constexpr (kShade == Shade::kLuma) {
      least = Pack(products_.Least(first, firstWeight), products_.Least(second, secondWeight));
      most = Pack(products_.Most(first, firstWeight), products_.Most(second, secondWeight));
    } else {
      const auto firstSize = FromMiddle(first);
      const auto secondSize = FromMiddle(second);
      least = Pack(products_.Least(firstSize, firstWeight), products_.Least(secondSize, secondWeight));
      most = Pack(products_.Most(firstSize, firstWeight), products_.Most(secondSize, secondWeight));
    }
    const auto unsettled = hn::Ne(least, most);
    if constexpr (kShade == Shade::kChroma) {
      // With m = |c - 128|: 128 + floor(m f) on one side, 128 - ceil(m f) = 127 - floor(m f) on the other, where m f is
      // not whole because it is above its estimate.
      const auto sides = hn::BroadcastSignBit(hn::BitCast(SignedBytes(), Pack(first, second)));
      least = hn::Xor(least, hn::Xor(hn::BitCast(d8, sides), hn::Set(d8, 127)));
    }
    hn::StoreU(InOrder(least), d8, out + at);
    return MaskBits(d8, unsettled);
  }

private:
  static HWY_INLINE hn::Vec<D> FromMiddle(hn::Vec<D> value) {
    const hn::RebindToSigned<D> d;
    return hn::BitCast(D(), hn::Abs(hn::Sub(hn::BitCast(d, value), hn::Set(d, 128))));
  }

  static HWY_INLINE ByteVector Pack(hn::Vec<D> first, hn::Vec<D> second) {
    return PackBlocks(hn::BitCast(Words(), first), hn::BitCast(Words(), second));
  }

  /// Undoes what packing does to the order.
  HWY_INLINE ByteVector InOrder(ByteVector packed) const {
    return hn::BitCast(Bytes(), hn::TableLookupLanes(hn::BitCast(Dwords(), packed), order_));
  }

  static HWY_INLINE auto Order() {
    alignas(64) std::int32_t index[HWY_MAX_BYTES / 4];
    const auto half = static_cast<std::int32_t>(hn::MaxLanes(Dwords())) / 2;
    for (std::int32_t k = 0; k < 2 * half; ++k) index[k] = k % half / 2 * 4 + k / half * 2 + k % 2;
    return hn::SetTableIndices(Dwords(), index);
  }

  CoarseProducts<D> products_;
  decltype(Order()) order_ = Order();
};

template <>
class ShadeLanes<Shade::kPacked4> {
public:
  static constexpr int kStep = static_cast<int>(hn::MaxLanes(Bytes()));

  HWY_INLINE explicit ShadeLanes(const VignetteSetup& setup) : products_(setup) {}

  static HWY_INLINE int ByteOf(int bit) { return bit; }

  HWY_INLINE std::uint64_t Make(const std::uint8_t* in, std::uint8_t* out, const std::uint16_t* weights, int at) const {
    // Two pixels' weights, for three words each.
    alignas(16) static constexpr std::uint8_t kLow[16] = {0, 1, 0, 1, 0, 1, 128, 128, 4, 5, 4, 5, 4, 5, 128, 128};
    alignas(16) static constexpr std::uint8_t kHigh[16] = {8, 9, 8, 9, 8, 9, 128, 128, 12, 13, 12, 13, 12, 13, 128, 128};
    const Bytes d8;
    const UnsignedWords d16;
    const UnsignedDwords d32;
    const auto pixels = hn::LoadU(d8, in + at);
    const auto weight =
        hn::BitCast(d8, hn::PromoteTo(d32, hn::LoadU(hn::Rebind<std::uint16_t, UnsignedDwords>(), weights + (at >> 2))));
    const auto low = hn::BitCast(d16, hn::InterleaveLower(d8, pixels, hn::Zero(d8)));
    const auto high = hn::BitCast(d16, hn::InterleaveUpper(d8, pixels, hn::Zero(d8)));
    const auto weightLow = hn::BitCast(d16, hn::TableLookupBytesOr0(weight, Repeat16(kLow)));
    const auto weightHigh = hn::BitCast(d16, hn::TableLookupBytesOr0(weight, Repeat16(kHigh)));
    const auto least = Pack(products_.Least(low, weightLow), products_.Least(high, weightHigh));
    const auto most = Pack(products_.Most(low, weightLow), products_.Most(high, weightHigh));
    const auto alpha = hn::BitCast(d8, hn::Set(d32, 0xFF000000U));
    hn::StoreU(hn::OrAnd(least, pixels, alpha), d8, out + at);
    return MaskBits(d8, hn::Ne(least, most));
  }

private:
  static HWY_INLINE ByteVector Pack(hn::Vec<UnsignedWords> low, hn::Vec<UnsignedWords> high) {
    return PackBlocks(hn::BitCast(Words(), low), hn::BitCast(Words(), high));
  }

  CoarseProducts<UnsignedWords> products_;
};

/// Bytes of three to a pixel. A vector begins anywhere in a pixel; its weights are spread by one of three patterns.
template <>
class ShadeLanes<Shade::kPacked3> {
public:
  using D = hn::CappedTag<std::uint16_t, 16>;  // eight weights reach as far as that
  using D8 = hn::Rebind<std::uint8_t, D>;
  static constexpr int kStep = static_cast<int>(hn::MaxLanes(D()));

  HWY_INLINE explicit ShadeLanes(const VignetteSetup& setup) : products_(setup) {}

  static HWY_INLINE int ByteOf(int bit) { return bit; }

  HWY_INLINE std::uint64_t Make(const std::uint8_t* in, std::uint8_t* out, const std::uint16_t* weights, int at) const {
    alignas(32) static constexpr std::uint8_t kSpread[3][32] = {
        {0, 1, 0, 1, 0, 1, 2, 3, 2, 3, 2, 3, 4, 5, 4, 5, 4, 5, 6, 7, 6, 7, 6, 7, 8, 9, 8, 9, 8, 9, 10, 11},
        {0, 1, 0, 1, 2, 3, 2, 3, 2, 3, 4, 5, 4, 5, 4, 5, 6, 7, 6, 7, 6, 7, 8, 9, 8, 9, 8, 9, 10, 11, 10, 11},
        {0, 1, 2, 3, 2, 3, 2, 3, 4, 5, 4, 5, 4, 5, 6, 7, 6, 7, 6, 7, 8, 9, 8, 9, 8, 9, 10, 11, 10, 11, 10, 11}};
    const D d;
    const D8 d8;
    const hn::RebindToSigned<D> ds;
    const hn::Repartition<std::uint8_t, D> spreadBytes;
    const unsigned pixel = static_cast<unsigned>(at) / 3;
    const auto spread = hn::LoadU(spreadBytes, kSpread[static_cast<unsigned>(at) - 3 * pixel]);
    const auto weight =
        hn::BitCast(d, hn::TableLookupBytes(hn::BitCast(spreadBytes, hn::LoadDup128(d, weights + pixel)), spread));
    const auto value = hn::PromoteTo(d, hn::LoadU(d8, in + at));
    const auto least = products_.Least(value, weight);
    hn::StoreU(hn::DemoteTo(d8, hn::BitCast(ds, least)), d8, out + at);
    return MaskBits(d, hn::Ne(least, products_.Most(value, weight)));
  }

private:
  CoarseProducts<D> products_;
};

/// Steps of a span that hold unsettled bytes.
struct UnsettledSteps {
  static constexpr std::size_t kRoom = 256;
  std::size_t count = 0;
  int at[kRoom + 1];
  std::uint64_t bits[kRoom + 1];

  // Without a branch, as no processor foresees where they come.
  HWY_INLINE void Note(int byte, std::uint64_t unsettled) {
    at[count] = byte;
    bits[count] = unsettled;
    count += unsettled != 0 ? 1U : 0U;
  }
};
#endif  // not scalar

/// The ring's columns begin .. end - 1 of one plane. `in` and `out` are those of the piece's first column. A function of
/// its own, so that the constants of its loop stay in registers.
template <Shade kShade>
HWY_NOINLINE void ShadeRing(const VignetteSetup& setup, VignetteColumns& columns, double dy, const std::uint8_t* in,
                            std::uint8_t* out, int begin, int end) {
  constexpr int kBytes = BytesOf(kShade);
  constexpr int kStride = kShade == Shade::kChroma ? 2 : 1;
  if (begin >= end) return;
#if HWY_TARGET != HWY_SCALAR
  if (setup.vectors) {
    using Lanes = ShadeLanes<kShade>;
    constexpr int kStep = Lanes::kStep;
    const Lanes lanes(setup);
    const std::uint16_t* weights = kShade == Shade::kChroma ? columns.even : columns.Weights();
    const int past = end * kBytes;
    int at = begin * kBytes;
    const auto settle = [&](int step, std::uint64_t unsettled) {
      for (; unsettled != 0; unsettled &= unsettled - 1) {
        const int byte = step + Lanes::ByteOf(__builtin_ctzll(unsettled));
        const int column = static_cast<int>(static_cast<unsigned>(byte) / kBytes) * kStride;
        const double factor = setup.Factor(columns.dx[column], dy);
        out[byte] = kShade == Shade::kChroma ? DarkenedChroma(in[byte], factor) : Darkened(in[byte], factor);
      }
    };
    if (past - at < kStep) {
      // Filled up with bytes that are settled whatever their weights.
      std::uint8_t bytes[std::size_t{kStep}];
      std::memset(bytes, kShade == Shade::kChroma ? 128 : 0, kStep);
      std::memcpy(bytes, in + at, static_cast<std::size_t>(past - at));
      const std::uint64_t unsettled = lanes.Make(bytes, bytes, weights + begin, 0);
      std::memcpy(out + at, bytes, static_cast<std::size_t>(past - at));
      return settle(at, unsettled);
    }
    while (at < past) {
      UnsettledSteps unsettled;
      const int stop = std::min(past, at + static_cast<int>(UnsettledSteps::kRoom) * kStep);
      for (; at + kStep <= stop; at += kStep) unsettled.Note(at, lanes.Make(in, out, weights, at));
      if (at < past && past - at < kStep) {
        // Overlaps the step before, so that nothing behind the span is touched.
        at = past - kStep;
        unsettled.Note(at, lanes.Make(in, out, weights, at));
        at = past;
      }
      for (std::size_t k = 0; k < unsettled.count; ++k) settle(unsettled.at[k], unsettled.bits[k]);
    }
    return;
  }
#endif
  for (int i = begin; i < end; ++i) {
    ShadePixel<kShade>(in + i * kBytes, out + i * kBytes, setup.Factor(columns.dx[i * kStride], dy));
  }
}

/// Black pixels that keep their fourth byte (kFaint = false), or colours less one, where they are not 0 (kFaint = true).
template <bool kFaint>
HWY_INLINE void PlainPixels(const std::uint8_t* in, std::uint8_t* out, int begin, int end) {
  int i = begin;
#if HWY_TARGET != HWY_SCALAR
  const Bytes d;
  constexpr int kPixels = static_cast<int>(hn::MaxLanes(Bytes())) / 4;
  const auto mask = hn::BitCast(d, hn::Set(UnsignedDwords(), kFaint ? 0x00010101U : 0xFF000000U));
  if (end - begin >= kPixels) {
    while (i < end) {
      i = std::min(i, end - kPixels);
      const auto pixels = hn::LoadU(d, in + i * 4);
      hn::StoreU(kFaint ? hn::SaturatedSub(pixels, mask) : hn::And(pixels, mask), d, out + i * 4);
      i += kPixels;
    }
  }
#endif
  for (; i < end; ++i) {
    for (int c = 0; c < 3; ++c) {
      const std::uint8_t value = in[i * 4 + c];
      out[i * 4 + c] = kFaint && value != 0 ? static_cast<std::uint8_t>(value - 1) : std::uint8_t{0};
    }
    out[i * 4 + 3] = in[i * 4 + 3];
  }
}

/// Finds the spans of a row and computes the weights of its ring.
template <bool kSquared>
HWY_INLINE RingSpans PrepareRow(const VignetteSetup& setup, VignetteColumns& columns, double dy) {
  const int axis = columns.mirror < 0 ? columns.count : (columns.mirror + 1) / 2;
  const RingSpans spans = columns.distances.Spans(setup.limits, dy * dy, axis);
#if HWY_TARGET != HWY_SCALAR
  if (setup.vectors) {
    ComputeWeights<kSquared>(setup, columns, dy, {spans.visible.begin, spans.faint.begin},
                             {spans.faint.end, spans.visible.end});
  }
#endif
  return spans;
}

template <Shade kShade>
HWY_INLINE void ShadeRow(const VignetteSetup& setup, VignetteColumns& columns, const RingSpans& spans, double dy,
                         const std::uint8_t* in, std::uint8_t* out) {
  constexpr int kBytes = BytesOf(kShade);
  const auto fill = [&](int begin, int end) HWY_ATTR {
    if (begin >= end) return;
    if constexpr (kShade == Shade::kPacked4) {
      PlainPixels<false>(in, out, begin, end);
    } else {
      std::memset(out + begin * kBytes, 0, static_cast<std::size_t>(end - begin) * kBytes);
    }
  };
  fill(0, spans.visible.begin);
  ShadeRing<kShade>(setup, columns, dy, in, out, spans.visible.begin, spans.faint.begin);
  if constexpr (kShade == Shade::kPacked4) PlainPixels<true>(in, out, spans.faint.begin, spans.unchanged.begin);
  if (spans.unchanged.begin < spans.unchanged.end)
    std::memcpy(out + spans.unchanged.begin * kBytes, in + spans.unchanged.begin * kBytes,
                static_cast<std::size_t>(spans.unchanged.end - spans.unchanged.begin) * kBytes);
  if constexpr (kShade == Shade::kPacked4) PlainPixels<true>(in, out, spans.unchanged.end, spans.faint.end);
  ShadeRing<kShade>(setup, columns, dy, in, out, spans.faint.end, spans.visible.end);
  fill(spans.visible.end, columns.count);
}

/// Both chroma rows of a luma row, whose even columns give the factors.
HWY_INLINE void ShadeChroma(const VignetteSetup& setup, VignetteColumns& columns, const RingSpans& spans, double dy,
                            const std::uint8_t* const (&in)[2], std::uint8_t* const (&out)[2]) {
  const int count = (columns.count + 1) / 2;
  const auto half = [](int column) { return (column + 1) / 2; };
  const int begin = half(spans.visible.begin);
  const int end = half(spans.visible.end);
  const Span close = columns.distances.Within(setup.nearOne, dy * dy);
  const Span nearOne = close.begin < close.end ? close : spans.unchanged;
  const int nearBegin = half(nearOne.begin);
  const int nearEnd = half(nearOne.end);
  const int holeBegin = std::clamp(half(spans.unchanged.begin), nearBegin, nearEnd);
  const int holeEnd = std::clamp(half(spans.unchanged.end), nearBegin, nearEnd);
#if HWY_TARGET != HWY_SCALAR
  if (setup.vectors) {
    const UnsignedWords d;
    constexpr int kLanes = static_cast<int>(hn::MaxLanes(UnsignedWords()));
    const auto gather = [&](int from, int past) HWY_ATTR {
      for (int i = from; i < past; i += kLanes) {
        const std::uint16_t* pairs = columns.Weights() + 2 * i;
        hn::StoreU(hn::ConcatEven(d, hn::LoadU(d, pairs + kLanes), hn::LoadU(d, pairs)), d, columns.even + i);
      }
    };
    gather(begin, nearBegin);
    gather(nearEnd, end);
  }
#endif
  for (int p = 0; p < 2; ++p) {
    ShadeRing<Shade::kChroma>(setup, columns, dy, in[p], out[p], begin, nearBegin);
    std::memcpy(out[p] + holeBegin, in[p] + holeBegin, static_cast<std::size_t>(holeEnd - holeBegin));
    ShadeRing<Shade::kChroma>(setup, columns, dy, in[p], out[p], nearEnd, end);
  }
  // Where a factor is nearly 0 but not quite, only the exact formula tells 127 from 128. Where it is nearly 1, adding 128
  // rounds some products to the unchanged value.
  const auto exact = [&](int from, int past) {
    for (int i = from; i < past; ++i) {
      const double factor = setup.Factor(columns.dx[2 * i], dy);
      for (int p = 0; p < 2; ++p) out[p][i] = DarkenedChroma(in[p][i], factor);
    }
  };
  const Span any = columns.distances.Within(setup.any, dy * dy);
  const int anyBegin = half(any.begin);
  const int anyEnd = half(any.end);
  const bool black = begin >= end;
  exact(anyBegin, black ? anyEnd : begin);
  exact(black ? anyEnd : end, anyEnd);
  exact(nearBegin, holeBegin);
  exact(holeEnd, nearEnd);
  for (std::uint8_t* const plane : out) {
    std::memset(plane, 128, static_cast<std::size_t>(anyBegin));
    std::memset(plane + anyEnd, 128, static_cast<std::size_t>(count - anyEnd));
  }
}

/// Every pixel by the exact formula.
template <Shade kShade>
void ShadePlainRow(const VignetteSetup& setup, double dy, const std::uint8_t* in, std::uint8_t* out) {
  constexpr int kBytes = BytesOf(kShade);
  double dx = -setup.centerX;
  for (int x = 0; x < setup.width; ++x, dx += setup.columnStep) {
    if (kShade == Shade::kChroma && x % 2 != 0) continue;
    const std::ptrdiff_t at = kShade == Shade::kChroma ? x / 2 : std::ptrdiff_t{x} * kBytes;
    ShadePixel<kShade>(in + at, out + at, setup.Factor(dx, dy));
  }
}

template <Shade kShade>
void ShadePacked(const VignetteSetup& setup, VignetteColumns& columns, Plane to, ConstPlane from, Band rows) {
  constexpr int kBytes = BytesOf(kShade);
  double next = -setup.centerX;
  for (int x = 0; x < setup.width; x += kVignettePiece) {
    if (setup.tame) columns.Take(setup, x, next);
    double dy = setup.RowDistance(rows.first);
    for (std::int64_t y = rows.first; y < rows.end(); ++y, dy += setup.rowStep) {
      if (!setup.tame) {
        ShadePlainRow<kShade>(setup, dy, from.Row(y), to.Row(y));
        continue;
      }
      const std::ptrdiff_t at = std::ptrdiff_t{x} * kBytes;
      const RingSpans spans = PrepareRow<kShade == Shade::kPacked4>(setup, columns, dy);
      ShadeRow<kShade>(setup, columns, spans, dy, from.Row(y) + at, to.Row(y) + at);
    }
    if (!setup.tame) return;
  }
}

void ShadePlanar(const VignetteSetup& setup, VignetteColumns& columns, AVFrame& dst, const AVFrame& src, Band rows) {
  double next = -setup.centerX;
  for (int x = 0; x < setup.width; x += kVignettePiece) {
    if (setup.tame) columns.Take(setup, x, next);
    double nextDy = setup.RowDistance(rows.first);
    ForEachPlanarRow(rows, [&](const PlanarRow& row) HWY_ATTR {
      const double dy = row.oddLast ? setup.OddLastRowDistance(rows) : nextDy;
      nextDy += setup.rowStep;
      if (!setup.tame) {
        ShadePlainRow<Shade::kLuma>(setup, dy, PlaneOf(src, 0).Row(row.y), PlaneOf(dst, 0).Row(row.y));
        if (!row.withChroma) return;
        for (int p = 1; p <= 2; ++p) {
          ShadePlainRow<Shade::kChroma>(setup, dy, PlaneOf(src, p).Row(row.chromaY), PlaneOf(dst, p).Row(row.chromaY));
        }
        return;
      }
      const RingSpans spans = PrepareRow<false>(setup, columns, dy);
      ShadeRow<Shade::kLuma>(setup, columns, spans, dy, PlaneOf(src, 0).Row(row.y) + x, PlaneOf(dst, 0).Row(row.y) + x);
      if (!row.withChroma) return;
      const int half = x / 2;
      const std::uint8_t* const in[2] = {PlaneOf(src, 1).Row(row.chromaY) + half, PlaneOf(src, 2).Row(row.chromaY) + half};
      std::uint8_t* const out[2] = {PlaneOf(dst, 1).Row(row.chromaY) + half, PlaneOf(dst, 2).Row(row.chromaY) + half};
      ShadeChroma(setup, columns, spans, dy, in, out);
    });
    if (!setup.tame) return;
  }
}

}  // namespace

void VignetteBand(const VignetteSetup& setup, AVFrame& dst, const AVFrame& src, Band rows) {
  VignetteColumns columns;
  switch (setup.layout) {
    case Layout::kPacked3:
      return ShadePacked<Shade::kPacked3>(setup, columns, PlaneOf(dst, 0), PlaneOf(src, 0), rows);
    case Layout::kPacked4:
      return ShadePacked<Shade::kPacked4>(setup, columns, PlaneOf(dst, 0), PlaneOf(src, 0), rows);
    case Layout::kPlanar:
    case Layout::kPlanarAlpha:
      return ShadePlanar(setup, columns, dst, src, rows);
    case Layout::kUnknown:
      return;
  }
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix {
HWY_EXPORT(VignetteBand);
static void RenderVignette(const VignetteSetup& setup, AVFrame& dst, const AVFrame& src, Band rows) {
  HWY_DYNAMIC_DISPATCH(VignetteBand)(setup, dst, src, rows);
}
}  // namespace norix

void Vignette(AVFrame* dst, AVFrame* src, VignetteParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params) return CopyFrameData(dst, src, firstRow, rowCount);
  if (rowCount < 1) return;
  const norix::Band rows = {firstRow, rowCount};
  const norix::VignetteSetup setup(*params, *src, rows);
  if (setup.layout == norix::Layout::kUnknown) return;
  if (setup.layout == norix::Layout::kPlanarAlpha) norix::CopyAlphaRows(*dst, *src, rows);
  norix::RenderVignette(setup, *dst, *src, rows);
}

#endif
