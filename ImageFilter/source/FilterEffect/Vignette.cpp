// Vignette: darkens the picture towards its edges.
//
// At distance d from the centre a pixel keeps its value below innerRadius, is black beyond outerRadius, and in between is
// scaled by f = 1 - e^2 in 4-byte formats and by f = 1 - e in RGB24 and YUV, with e = (d - innerRadius) / (outerRadius -
// innerRadius). Products are truncated; chroma is scaled about 128. The column's and the row's distances are running sums,
// of 1 / W and 1 / H.
//
// A row is up to seven spans: black, ring, faint, unchanged, faint, ring, black. f never grows with d, so the exact formula
// at a few columns finds their ends. Only the ring needs arithmetic: f in single precision, once for columns at the same
// distance left and right of the centre, then 16-bit products. Bytes that may lie on either side of a whole number are
// noted and decided afterwards, nearly all with six more bits of f, the rest by the exact formula.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FilterEffect/Vignette.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/PlanarRows.h"
#include "FilterEffect/common/VectorOps-inl.h"

#ifndef NORIX_VIGNETTE_SETUP
#define NORIX_VIGNETTE_SETUP
namespace norix {

constexpr int kFactorBits = 22;

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
  int mirror = -1;       ///< columns x and mirror - x are at the same distance; negative: none are
  float slope = 0;       ///< e = slope * d + start
  float start = 0;
  float one = 0;  ///< 2^23 + 2^22 less half the slack
  int slack = 0;  ///< 2^22 f lies above its estimate by less than this

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
    const auto within = [](double value, double limit) { return value >= -limit && value <= limit; };
    tame = within(centerX, 4) && within(centerY, 4) && within(innerRadius, 16) && within(outerRadius, 16) &&
           width <= 32767 && height <= 32767 && rows.first >= -65536 && rows.end() <= 65536;
    if (!tame) return;
    const double twiceCentre = 2 * centerX * width;
    if (twiceCentre >= 0 && twiceCentre <= 2.0 * width && twiceCentre == std::floor(twiceCentre)) {
      mirror = static_cast<int>(twiceCentre);
    }
    if (ringWidth < 1e-3) return;
    // With u = 2^-24: the column's distance is rounded (u), its square twice as much, the row's square (u), their sum (2 u
    // where the target does not fuse), all halved by the root, which is rounded itself: d is off by 3 u d. The slope and
    // its product add 2 u slope d; the start and the sum u (|start| + |e|), |e| <= 1. Mirrored columns' distances differ by
    // what their running sums are off, at most 2^-34. Squaring doubles all that and adds u, subtracting from 1 another.
    const double wideSlope = 1 / ringWidth;
    const double wideStart = -innerRadius / ringWidth;
    slope = static_cast<float>(wideSlope);
    start = static_cast<float>(wideStart);
    const double linear = 5 * wideSlope * outerRadius + std::abs(wideStart) + 1 + wideSlope / 1024;
    const double off = (squared ? 2 * linear : linear) + 2;
    // 2^22 u is a quarter. Rounding adds one half; with one eighth more the estimate is never reached from above or below.
    slack = 2 * static_cast<int>(std::ceil(off / 4 + 0.625));
    one = static_cast<float>((1 << 23) + (1 << kFactorBits) - slack / 2);
    vectors = slack < 4096;
  }

  double Factor(double dx, double dy) const {
    const double d = std::sqrt(dx * dx + dy * dy);
    if (d < innerRadius) return 1.0;
    if (!(innerRadius <= d && d <= outerRadius)) return 0.0;
    if (innerRadius == outerRadius) return 0.0;
    const double e = (d - innerRadius) / ringWidth;
    return squared ? 1.0 - e * e : 1.0 - e;
  }

  /// 2^22 f less half the slack, rounded, in single precision: never too large, and too small by less than the slack. The
  /// sum lies between 2^23 and 2^24, where the last bit of a float is a whole unit.
  int EstimatedFactor(float dx, float y2) const {
    const float e = std::sqrt(dx * dx + y2) * slope + start;
    const float sum = one - (squared ? e * e : e) * static_cast<float>(1 << kFactorBits);
    return static_cast<int>(std::max(sum, 8388608.0F)) - (1 << 23);
  }

  /// About where the factor is f.
  double RadiusOf(double f) const {
    if (ringWidth <= 0) return innerRadius;
    return innerRadius + ringWidth * (squared ? std::sqrt(1 - f) : 1 - f);
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

/// Columns of a piece of a row, and the factors of the current row where it needs them.
struct VignetteColumns {
  int count;
  int mirror;  // columns i and mirror - i share factors; negative: none do
  double dx[kVignettePiece];
  HWY_ALIGN float narrowDx[kVignettePiece + kVignetteSpare];
  HWY_ALIGN std::uint32_t factors[kVignettePiece + 2 * kVignetteSpare];  // 2^32 f, never too large; the low ten bits are 0
  HWY_ALIGN std::uint16_t coarse[kVignettePiece + 2 * kVignetteSpare];   // the high halves
  HWY_ALIGN std::uint16_t even[kVignettePiece / 2 + kVignetteSpare];     // of every second column

  std::uint32_t* Factors() { return factors + kVignetteSpare; }
  std::uint16_t* Coarse() { return coarse + kVignetteSpare; }

  /// Takes the next columns; `next` is the running sum.
  void Take(const VignetteSetup& setup, int begin, double& next) {
    count = std::min(kVignettePiece, setup.width - begin);
    for (int i = 0; i < count; ++i, next += setup.columnStep) dx[i] = next;
    for (int i = 0; i < count; ++i) narrowDx[i] = static_cast<float>(dx[i]);
    std::fill(narrowDx + count, narrowDx + count + kVignetteSpare, 0.0F);
    mirror = setup.mirror < 0 ? -1 : setup.mirror - 2 * begin;
    if (mirror > 2 * (count - 1)) mirror = -1;
  }
};

struct Span {
  int begin;
  int end;
};

/// The columns whose factor is at least `least`: an interval around the centre, because the factor never grows with the
/// distance. `radius` is about where it ends.
HWY_INLINE Span ColumnsOfAtLeast(const VignetteSetup& setup, const VignetteColumns& columns, double dy, double least,
                                 double radius) {
  const double* dx = columns.dx;
  const int count = columns.count;
  const auto inside = [&](int i) { return setup.Factor(dx[i], dy) >= least; };
  const bool first = inside(0);
  const bool last = inside(count - 1);
  if (first && last) return {0, count};
  const auto nearest = [&](double distance) {
    const double at = (distance - dx[0]) * setup.width;
    return at <= 0 ? 0 : at >= count - 1 ? count - 1 : static_cast<int>(at + 0.5);
  };
  int middle = first ? 0 : last ? count - 1 : nearest(0);
  if (!inside(middle)) {
    // Rounding may have chosen the wrong one of the two columns beside the centre.
    const int before = std::max(middle - 1, 0);
    const int behind = std::min(middle + 1, count - 1);
    middle = inside(before) ? before : behind;
    if (!inside(middle)) return {0, 0};
  }
  const double room = radius * radius - dy * dy;
  const double reach = room > 0 && radius > 0 ? std::sqrt(room) : 0;
  Span span = {0, count};
  if (!first) {
    span.begin = std::min(nearest(-reach), middle);
    while (span.begin > 0 && inside(span.begin - 1)) --span.begin;
    while (!inside(span.begin)) ++span.begin;
  }
  if (!last) {
    span.end = std::max(nearest(reach), middle);
    while (!inside(span.end)) --span.end;
    while (inside(span.end)) ++span.end;
  }
  return span;
}

/// A row of a piece.
struct RowSpans {
  Span visible;    // ring and all within it
  Span faint;      // each byte, unless 0, is one less than before
  Span unchanged;  // f = 1
};

/// Computes EstimatedFactor() of many columns. Shifted to the top of 32 bits, the sum loses its own high bits.
template <bool kSquared>
class FactorLanes {
public:
  HWY_INLINE FactorLanes(const VignetteSetup& setup, double dy)
      : y2_(hn::Set(df_, static_cast<float>(dy * dy))),
        slope_(hn::Set(df_, setup.slope)),
        start_(hn::Set(df_, setup.start)),
        one_(hn::Set(df_, setup.one)) {}

  static constexpr int kCount = static_cast<int>(hn::MaxLanes(hn::ScalableTag<float>()));

  /// Columns begin .. end - 1, and on to a whole vector.
  HWY_INLINE void Direct(VignetteColumns& columns, int begin, int end) const {
    for (int i = begin; i < end; i += kCount) {
      const auto factors = At(columns, i);
      if constexpr (kSquared) {
        hn::StoreU(factors, du_, columns.Factors() + i);
      } else {
        hn::StoreU(Coarse(factors), du16_, columns.Coarse() + i);
      }
    }
  }

  /// The same columns and those at the same distance on the other side.
  HWY_INLINE void Mirrored(VignetteColumns& columns, int begin, int end) const {
    for (int i = begin; i < end; i += kCount) {
      const int beside = columns.mirror - i - (kCount - 1);
      const auto factors = At(columns, i);
      if constexpr (kSquared) {
        hn::StoreU(factors, du_, columns.Factors() + i);
        hn::StoreU(hn::Reverse(du_, factors), du_, columns.Factors() + beside);
      } else {
        const auto coarse = Coarse(factors);
        hn::StoreU(coarse, du16_, columns.Coarse() + i);
        hn::StoreU(hn::Reverse(du16_, coarse), du16_, columns.Coarse() + beside);
      }
    }
  }

private:
  using DF = hn::ScalableTag<float>;
  using DU = hn::RebindToUnsigned<DF>;
  using DU16 = hn::Rebind<std::uint16_t, DU>;

  HWY_INLINE hn::Vec<DU> At(const VignetteColumns& columns, int i) const {
    const auto x = hn::LoadU(df_, columns.narrowDx + i);
    auto e = hn::MulAdd(hn::Sqrt(hn::MulAdd(x, x, y2_)), slope_, start_);
    if constexpr (kSquared) e = hn::Mul(e, e);
    const auto sum = hn::NegMulAdd(e, hn::Set(df_, static_cast<float>(1 << kFactorBits)), one_);
    return hn::ShiftLeft<32 - kFactorBits>(hn::BitCast(du_, hn::Max(sum, hn::Set(df_, 8388608.0F))));
  }

  HWY_INLINE hn::Vec<DU16> Coarse(hn::Vec<DU> factors) const {
    return hn::DemoteTo(du16_, hn::BitCast(hn::RebindToSigned<DU>(), hn::ShiftRight<16>(factors)));
  }

  DF df_;
  DU du_;
  DU16 du16_;
  hn::Vec<DF> y2_;
  hn::Vec<DF> slope_;
  hn::Vec<DF> start_;
  hn::Vec<DF> one_;
};

/// Computes the factors of all columns in the ring.
template <bool kSquared>
HWY_INLINE void ComputeFactors(const VignetteSetup& setup, VignetteColumns& columns, double dy, Span left, Span right) {
  const FactorLanes<kSquared> lanes(setup, dy);
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

/// A byte that 16-bit products could not settle, or did not try: six more bits of f, then the exact formula. As 2^22 f lies
/// between F and F + slack, so does 2^22 c f between c F and c (F + slack), and neither end is reached.
template <Shade kShade>
HWY_INLINE std::uint8_t DecideByte(const VignetteSetup& setup, VignetteColumns& columns, double dy, int column,
                                   std::uint8_t value) {
  const int factor = kShade == Shade::kPacked4
                         ? static_cast<int>(columns.Factors()[column] >> (32 - kFactorBits))
                         : setup.EstimatedFactor(columns.narrowDx[column], static_cast<float>(dy * dy));
  constexpr int kFraction = (1 << kFactorBits) - 1;
  if constexpr (kShade == Shade::kChroma) {
    const int magnitude = std::abs(value - 128);
    const int product = magnitude * factor;
    if ((product & kFraction) + magnitude * setup.slack > kFraction) {
      return DarkenedChroma(value, setup.Factor(columns.dx[column], dy));
    }
    const int whole = product >> kFactorBits;
    return static_cast<std::uint8_t>(value < 128 ? 127 - whole : 128 + whole);
  } else {
    const int product = value * factor;
    if ((product & kFraction) + value * setup.slack > kFraction) {
      return Darkened(value, setup.Factor(columns.dx[column], dy));
    }
    return static_cast<std::uint8_t>(product >> kFactorBits);
  }
}

#if HWY_TARGET != HWY_SCALAR

/// Products of 16-bit lanes c with W, the high 16 bits of f: c W / 2^16 is never too large, and too small by less than
/// c (63 + slack) / 2^22. Where so much would reach the next whole number, Over() is not 0.
template <class D>
class CoarseProducts {
public:
  HWY_INLINE explicit CoarseProducts(const VignetteSetup& setup)
      : limit_(hn::Set(D(), static_cast<std::uint16_t>(65536 - (255 * (63 + setup.slack) + 63) / 64))) {}

  static HWY_INLINE hn::Vec<D> Whole(hn::Vec<D> c, hn::Vec<D> weight) { return hn::MulHigh(c, weight); }
  HWY_INLINE hn::Vec<D> Over(hn::Vec<D> c, hn::Vec<D> weight) const { return hn::SaturatedSub(hn::Mul(c, weight), limit_); }

private:
  hn::Vec<D> limit_;
};

/// Makes kStep bytes; answers which of them are not settled: bit n stands for the byte ByteOf(n).
template <Shade kShade>
class ShadeLanes {
public:
  using D = hn::ScalableTag<std::uint16_t>;
  static constexpr int kLanes = static_cast<int>(hn::MaxLanes(D()));
  static constexpr int kStep = 2 * kLanes;

  HWY_INLINE explicit ShadeLanes(const VignetteSetup& setup) : products_(setup) {}

  static HWY_INLINE const std::uint16_t* WeightsOf(VignetteColumns& columns) {
    return kShade == Shade::kChroma ? columns.even : columns.Coarse();
  }

  /// Packing goes by blocks of 16 bytes: eight of the first half, eight of the second.
  static HWY_INLINE int ByteOf(int bit) { return (bit & 7) + (bit >> 4) * 8 + (bit & 8 ? kLanes : 0); }

  HWY_INLINE std::uint64_t Make(const std::uint8_t* in, std::uint8_t* out, const std::uint16_t* weights, int at) const {
    const Bytes d8;
    const auto first = Half(in + at, out + at, weights + at);
    const auto second = Half(in + at + kLanes, out + at + kLanes, weights + at + kLanes);
    const auto over = PackBlocks(hn::BitCast(Words(), first), hn::BitCast(Words(), second));
    return MaskBits(d8, hn::Ne(over, hn::Zero(d8)));
  }

private:
  HWY_INLINE hn::Vec<D> Half(const std::uint8_t* in, std::uint8_t* out, const std::uint16_t* weights) const {
    const D d;
    const hn::Rebind<std::uint8_t, D> d8;
    const hn::RebindToSigned<D> ds;
    const auto weight = hn::LoadU(d, weights);
    const auto value = hn::PromoteTo(d, hn::LoadU(d8, in));
    if constexpr (kShade == Shade::kLuma) {
      hn::StoreU(hn::DemoteTo(d8, hn::BitCast(ds, products_.Whole(value, weight))), d8, out);
      return products_.Over(value, weight);
    } else {
      // With m = |c - 128|: 128 + floor(m f) on one side, 128 - ceil(m f) = 127 - floor(m f) on the other, where m f is
      // not whole because it is above its estimate.
      const auto middle = hn::Set(ds, 128);
      const auto apart = hn::Sub(hn::BitCast(ds, value), middle);
      const auto magnitude = hn::BitCast(d, hn::Abs(apart));
      const auto whole = hn::BitCast(ds, products_.Whole(magnitude, weight));
      hn::StoreU(hn::DemoteTo(d8, hn::Add(middle, hn::Xor(whole, hn::ShiftRight<15>(apart)))), d8, out);
      return products_.Over(magnitude, weight);
    }
  }

  CoarseProducts<D> products_;
};

template <>
class ShadeLanes<Shade::kPacked4> {
public:
  static constexpr int kStep = static_cast<int>(hn::MaxLanes(Bytes()));

  HWY_INLINE explicit ShadeLanes(const VignetteSetup& setup) : products_(setup) {}

  static HWY_INLINE const std::uint32_t* WeightsOf(VignetteColumns& columns) { return columns.Factors(); }
  static HWY_INLINE int ByteOf(int bit) { return bit; }

  HWY_INLINE std::uint64_t Make(const std::uint8_t* in, std::uint8_t* out, const std::uint32_t* weights, int at) const {
    // The high halves of two pixels' factors, for three words each.
    alignas(16) static constexpr std::uint8_t kLow[16] = {2, 3, 2, 3, 2, 3, 128, 128, 6, 7, 6, 7, 6, 7, 128, 128};
    alignas(16) static constexpr std::uint8_t kHigh[16] = {10, 11, 10, 11, 10, 11, 128, 128,
                                                           14, 15, 14, 15, 14, 15, 128, 128};
    const Bytes d8;
    const UnsignedWords d16;
    const UnsignedDwords d32;
    const auto pixels = hn::LoadU(d8, in + at);
    const auto weight = hn::BitCast(d8, hn::LoadU(d32, weights + (at >> 2)));
    const auto low = hn::BitCast(d16, hn::InterleaveLower(d8, pixels, hn::Zero(d8)));
    const auto high = hn::BitCast(d16, hn::InterleaveUpper(d8, pixels, hn::Zero(d8)));
    const auto weightLow = hn::BitCast(d16, hn::TableLookupBytesOr0(weight, Repeat16(kLow)));
    const auto weightHigh = hn::BitCast(d16, hn::TableLookupBytesOr0(weight, Repeat16(kHigh)));
    const auto colours = Pack(products_.Whole(low, weightLow), products_.Whole(high, weightHigh));
    const auto alpha = hn::BitCast(d8, hn::Set(d32, 0xFF000000U));
    hn::StoreU(hn::OrAnd(colours, pixels, alpha), d8, out + at);
    const auto over = Pack(products_.Over(low, weightLow), products_.Over(high, weightHigh));
    return MaskBits(d8, hn::Ne(over, hn::Zero(d8)));
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

  static HWY_INLINE const std::uint16_t* WeightsOf(VignetteColumns& columns) { return columns.Coarse(); }
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
    hn::StoreU(hn::DemoteTo(d8, hn::BitCast(ds, products_.Whole(value, weight))), d8, out + at);
    return MaskBits(d, hn::Ne(products_.Over(value, weight), hn::Zero(d)));
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

/// The ring's columns begin .. end - 1 of one plane. `in` and `out` are those of the piece's first column.
template <Shade kShade>
HWY_INLINE void ShadeRing(const VignetteSetup& setup, VignetteColumns& columns, double dy, const std::uint8_t* in,
                          std::uint8_t* out, int begin, int end) {
  constexpr int kBytes = BytesOf(kShade);
  constexpr int kStride = kShade == Shade::kChroma ? 2 : 1;
  if (begin >= end) return;
  if (!setup.vectors) {
    for (int i = begin; i < end; ++i) {
      ShadePixel<kShade>(in + i * kBytes, out + i * kBytes, setup.Factor(columns.dx[i * kStride], dy));
    }
    return;
  }
#if HWY_TARGET != HWY_SCALAR
  using Lanes = ShadeLanes<kShade>;
  constexpr int kStep = Lanes::kStep;
  const int first = begin * kBytes;
  const int past = end * kBytes;
  if (past - first >= kStep) {
    const Lanes lanes(setup);
    const auto* weights = Lanes::WeightsOf(columns);
    int at = first;
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
      for (std::size_t k = 0; k < unsettled.count; ++k) {
        for (std::uint64_t left = unsettled.bits[k]; left != 0; left &= left - 1) {
          const int byte = unsettled.at[k] + Lanes::ByteOf(__builtin_ctzll(left));
          const int column = static_cast<int>(static_cast<unsigned>(byte) / kBytes) * kStride;
          out[byte] = DecideByte<kShade>(setup, columns, dy, column, in[byte]);
        }
      }
    }
    return;
  }
#endif
  for (int i = begin; i < end; ++i) {
    for (int c = 0; c < std::min(kBytes, 3); ++c) {
      out[i * kBytes + c] = DecideByte<kShade>(setup, columns, dy, i * kStride, in[i * kBytes + c]);
    }
    if constexpr (kShade == Shade::kPacked4) out[i * kBytes + 3] = in[i * kBytes + 3];
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

/// Finds the spans of a row and computes the factors of its ring.
template <bool kSquared>
HWY_INLINE RowSpans PrepareRow(const VignetteSetup& setup, VignetteColumns& columns, double dy) {
  // Below 1 / 256 every product is 0; chroma, which turns into 127 or 128, needs a smaller f and looks closer beyond.
  const bool planar = setup.layout == Layout::kPlanar || setup.layout == Layout::kPlanarAlpha;
  const double least = planar ? 0x1p-14 : 0x1p-8;
  RowSpans spans;
  spans.visible = ColumnsOfAtLeast(setup, columns, dy, least, setup.RadiusOf(least));
  const Span whole = ColumnsOfAtLeast(setup, columns, dy, 1.0, setup.innerRadius);
  const int axis = columns.mirror < 0 ? spans.visible.end : (columns.mirror + 1) / 2;
  const int parting = std::clamp(axis, spans.visible.begin, spans.visible.end);
  spans.unchanged = whole.begin < whole.end ? whole : Span{parting, parting};
  spans.faint = spans.unchanged;
  if constexpr (kSquared) {
    const Span faint = ColumnsOfAtLeast(setup, columns, dy, 1 - 0x1p-8, setup.RadiusOf(1 - 0x1p-8));
    if (faint.begin < faint.end) {
      const bool hollow = spans.unchanged.begin == spans.unchanged.end;
      spans.faint = faint;
      if (hollow)
        spans.unchanged = {std::clamp(parting, faint.begin, faint.end), std::clamp(parting, faint.begin, faint.end)};
    }
  }
  if (setup.vectors) {
    ComputeFactors<kSquared>(setup, columns, dy, {spans.visible.begin, spans.faint.begin},
                             {spans.faint.end, spans.visible.end});
  }
  return spans;
}

template <Shade kShade>
HWY_INLINE void ShadeRow(const VignetteSetup& setup, VignetteColumns& columns, const RowSpans& spans, double dy,
                         const std::uint8_t* in, std::uint8_t* out) {
  constexpr int kBytes = BytesOf(kShade);
  const auto fill = [&](int begin, int end) HWY_ATTR {
    if constexpr (kShade == Shade::kPacked4) {
      PlainPixels<false>(in, out, begin, end);
    } else {
      std::memset(out + begin * kBytes, 0, static_cast<std::size_t>(end - begin) * kBytes);
    }
  };
  fill(0, spans.visible.begin);
  ShadeRing<kShade>(setup, columns, dy, in, out, spans.visible.begin, spans.faint.begin);
  if constexpr (kShade == Shade::kPacked4) PlainPixels<true>(in, out, spans.faint.begin, spans.unchanged.begin);
  std::memcpy(out + spans.unchanged.begin * kBytes, in + spans.unchanged.begin * kBytes,
              static_cast<std::size_t>(spans.unchanged.end - spans.unchanged.begin) * kBytes);
  if constexpr (kShade == Shade::kPacked4) PlainPixels<true>(in, out, spans.unchanged.end, spans.faint.end);
  ShadeRing<kShade>(setup, columns, dy, in, out, spans.faint.end, spans.visible.end);
  fill(spans.visible.end, columns.count);
}

/// Both chroma rows of a luma row, whose even columns give the factors.
HWY_INLINE void ShadeChroma(const VignetteSetup& setup, VignetteColumns& columns, const RowSpans& spans, double dy,
                            const std::uint8_t* const (&in)[2], std::uint8_t* const (&out)[2]) {
  const int count = (columns.count + 1) / 2;
  const auto half = [](int column) { return (column + 1) / 2; };
  int begin = half(spans.visible.begin);
  int end = half(spans.visible.end);
  const int holeBegin = half(spans.unchanged.begin);
  const int holeEnd = half(spans.unchanged.end);
#if HWY_TARGET != HWY_SCALAR
  if (setup.vectors) {
    const Dwords di;
    const hn::Rebind<std::uint16_t, Dwords> d16;
    constexpr int kLanes = static_cast<int>(hn::MaxLanes(Dwords()));
    const auto gather = [&](int from, int past) HWY_ATTR {
      for (int i = from; i < past; i += kLanes) {
        const auto pairs = hn::LoadU(hn::Repartition<std::uint16_t, Dwords>(), columns.Coarse() + 2 * i);
        hn::StoreU(hn::DemoteTo(d16, hn::And(hn::BitCast(di, pairs), hn::Set(di, 0xFFFF))), d16, columns.even + i);
      }
    };
    gather(begin, holeBegin);
    gather(holeEnd, end);
  }
#endif
  for (int p = 0; p < 2; ++p) {
    ShadeRing<Shade::kChroma>(setup, columns, dy, in[p], out[p], begin, holeBegin);
    std::memcpy(out[p] + holeBegin, in[p] + holeBegin, static_cast<std::size_t>(holeEnd - holeBegin));
    ShadeRing<Shade::kChroma>(setup, columns, dy, in[p], out[p], holeEnd, end);
  }
  // Where a factor is nearly 0 but not quite, only the exact formula tells 127 from 128.
  const auto exact = [&](int i) {
    const double factor = setup.Factor(columns.dx[2 * i], dy);
    if (factor == 0.0) return false;
    for (int p = 0; p < 2; ++p) out[p][i] = DarkenedChroma(in[p][i], factor);
    return true;
  };
  if (begin >= end) {
    const Span some = ColumnsOfAtLeast(setup, columns, dy, std::numeric_limits<double>::denorm_min(), setup.outerRadius);
    begin = end = half(some.begin);
  }
  while (begin > 0 && exact(begin - 1)) --begin;
  while (end < count && exact(end)) ++end;
  for (int p = 0; p < 2; ++p) {
    std::memset(out[p], 128, static_cast<std::size_t>(begin));
    std::memset(out[p] + end, 128, static_cast<std::size_t>(count - end));
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
      const RowSpans spans = PrepareRow<kShade == Shade::kPacked4>(setup, columns, dy);
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
      const RowSpans spans = PrepareRow<false>(setup, columns, dy);
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
