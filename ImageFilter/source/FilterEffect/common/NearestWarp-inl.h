// Nearest-sample warps inside a circle, for every instruction set: Swirl, Pinch and Bulge.
//
// A picture is made in strips of columns, all rows of the band before the next strip: what depends on the column alone is
// made once per strip, and the strip's samples stay in the nearest caches whichever way the warp turns them. When the
// centre is the middle of the picture, a strip consists of columns on both sides of it, which share distances and the rule.
//
// In a row of a strip the circle covers one run of columns. Outside of it pixels are copied in runs; inside:
//
//   1. the movement of a vector of pixels is estimated in single precision, rounded to whole units of 2^-fractionBits pixel
//      and added to the column's and the row's own position, so that the error shrinks with the movement;
//   2. a pixel that lies at least the estimate's margin away from the next whole pixel has found its sample;
//   3. the others, about one in a hundred, are copied all the same, collected, and decided in double precision later.
//
// Samples are copied one by one: gathers are not faster, and this serves pixels of 1, 3 and 4 bytes.

#if defined(NORIX_NEAREST_WARP_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NORIX_NEAREST_WARP_INL_H
#undef NORIX_NEAREST_WARP_INL_H
#else
#define NORIX_NEAREST_WARP_INL_H
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "FilterEffect/common/DelayedSamples-inl.h"
#include "FilterEffect/common/NearestWarp.h"
#include "FilterEffect/common/RunningSum-inl.h"

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

constexpr int kWarpStrip = 128;  // columns on one side, at most
constexpr int kWarpRoom = kWarpStrip + kStripPad;

/// The width of strips that are about equally wide: a narrow one costs as much in every row as a wide one.
inline int StripFor(int columns) {
  const int strips = (columns + kWarpStrip - 1) / kWarpStrip;
  return (columns + strips * kStripPad - 1) / (strips * kStripPad) * kStripPad;
}

// Added to a number below 2^22, leaves it rounded to a whole one in the low bits of the sum: 1.5 * 2^23.
constexpr float kRoundToBits = 12582912.0F;
constexpr std::int32_t kRoundedZero = 0x4B400000;

/// The samples of one plane, and the picture's columns they lie in. Planes of chroma have every other column.
struct WarpGrid {
  int width;
  int height;
  int columnStep;
  ConstPlane src;
  Plane dst;
  // Chroma that follows the samples of luma at half their places.
  int halfPlanes = 0;
  ConstPlane halfSrc[2] = {};
  Plane halfDst[2] = {};
};

/// The columns of a strip on one side: to the right from `first`, or to the left.
template <int kDirection>
struct WarpColumns {
  static constexpr int kStep = kDirection;
  static constexpr int kMostRuns = 6;

  // The longer of two mirrored sides takes the shorter one along, beyond its columns, where nothing comes of them.
  HWY_ALIGN double u[kWarpRoom] = {};
  HWY_ALIGN std::int32_t column[kWarpRoom] = {};  // the sampled one outside the circle
  HWY_ALIGN std::int32_t base[kWarpRoom] = {};    // what u lies beyond it, in units; plus the margin
  int first;
  int count;
  int runs;  // of sampled columns side by side; 0: too many to tell apart
  int runEnd[kMostRuns];
  // Inside the circle in the present row.
  int begin;
  int end;

  void Make(const WarpGrid& grid, const WarpEstimate& estimate) {
    const hn::ScalableTag<double> d;
    const hn::Rebind<std::int32_t, decltype(d)> di;
    const int lanes = static_cast<int>(hn::Lanes(d));
    const int padded = (count + kStripPad - 1) & -kStripPad;
    std::fill(u + count, u + padded, count > 0 ? u[count - 1] : 0.0);
    const auto width = hn::Set(d, static_cast<double>(grid.width));
    const auto last = hn::Set(d, static_cast<double>(grid.width - 1));
    const auto unit = hn::Set(d, static_cast<double>(1 << estimate.fractionBits));
    const auto toBase = hn::Set(di, estimate.margin - kRoundedZero);
    for (int i = 0; i < padded; i += lanes) {
      const auto position = hn::Mul(hn::Load(d, u + i), width);
      const auto whole = hn::DemoteTo(di, hn::Min(position, last));
      const auto beyond = hn::MulAdd(hn::Sub(position, hn::PromoteTo(d, whole)), unit, hn::Set(d, 0.5));
      hn::Store(whole, di, column + i);
      hn::Store(hn::Add(hn::DemoteTo(di, beyond), toBase), di, base + i);
    }
    FindRuns();
  }

  void FindRuns() {
    const hn::ScalableTag<std::int32_t> di;
    const int lanes = static_cast<int>(hn::Lanes(di));
    const auto step = hn::Set(di, kDirection * lanes);
    const auto firstLanes = hn::Iota(di, 0);
    auto run = hn::Add(hn::Set(di, column[0]), kDirection > 0 ? firstLanes : hn::Neg(firstLanes));
    auto apart = hn::Zero(di);
    int i = 0;
    for (; i + lanes <= count; i += lanes) {
      apart = hn::Or(apart, hn::Xor(run, hn::Load(di, column + i)));
      run = hn::Add(run, step);
    }
    runs = 0;
    for (i = hn::AllTrue(di, hn::Eq(apart, hn::Zero(di))) ? std::max(i, 1) : 1; i <= count; ++i) {
      if (i < count && column[i] == column[i - 1] + kDirection) continue;
      if (runs == kMostRuns) {
        runs = 0;
        return;
      }
      runEnd[runs++] = i;
    }
  }

  bool IsInside(const WarpCircle& circle, const WarpEstimate& estimate, double verticalSquare, int i) const {
    const double dx = u[i] - circle.centerX;
    return dx * dx + verticalSquare <= estimate.lastSquare;
  }

  /// Sums and products are rounded monotonically, so the exact test changes at most once on either side of the centre; each
  /// end is guessed, then found with the test.
  void FindInside(const WarpCircle& circle, const WarpEstimate& estimate, double verticalSquare) {
    begin = 0;
    end = count;
    if (count == 0) return;
    const int lastColumn = count - 1;
    const auto inside = [&](int i) { return IsInside(circle, estimate, verticalSquare, i); };
    const bool firstInside = inside(0);
    const bool lastInside = inside(lastColumn);
    if (firstInside && lastInside) return;
    const double density = lastColumn > 0 ? lastColumn / (u[lastColumn] - u[0]) : 1;
    const auto columnAt = [&](double place) {
      const double at = (place - u[0]) * density;
      return at <= 0 ? 0 : at >= lastColumn ? lastColumn : static_cast<int>(at + 0.5);
    };
    // The column nearest to the centre, or one beside it where the guess is a tie.
    int middle = columnAt(circle.centerX);
    if (!inside(middle)) {
      if (middle > 0 && inside(middle - 1)) {
        --middle;
      } else if (middle < lastColumn && inside(middle + 1)) {
        ++middle;
      } else {
        end = 0;
        return;
      }
    }
    const double room = estimate.lastSquare - verticalSquare;
    const double reach = room > 0 ? std::sqrt(room) : 0;
    if (!firstInside) {
      begin = std::min(columnAt(circle.centerX - kDirection * reach), middle);
      while (inside(begin)) --begin;
      do {
        ++begin;
      } while (!inside(begin));
    }
    if (!lastInside) {
      end = std::max(columnAt(circle.centerX + kDirection * reach), middle);
      while (inside(end)) ++end;
      do {
        --end;
      } while (!inside(end));
      ++end;
    }
  }

  /// Copies the entries from `i` up to `until`, which lie outside the circle.
  template <int kBytes>
  void CopyOutside(const std::uint8_t* from, std::uint8_t* row, int i, int until) const {
    std::uint8_t* to = row + std::ptrdiff_t{first} * kBytes;
    if (runs == 0) {
      for (; i < until; ++i) std::memcpy(to + i * kDirection * kBytes, from + column[i] * kBytes, kBytes);
      return;
    }
    for (int run = 0; i < until; ++run) {
      const int next = std::min(runEnd[run], until);
      if (next <= i) continue;
      const int leftmost = kDirection > 0 ? i : next - 1;
      std::memcpy(to + leftmost * kDirection * kBytes, from + column[leftmost] * kBytes,
                  static_cast<std::size_t>(next - i) * kBytes);
      i = next;
    }
  }

  void CopyHalfOutside(const std::uint8_t* from, std::uint8_t* row, int i, int until) const {
    for (i += (first + i) & 1; i < until; i += 2) row[(first + i * kDirection) >> 1] = from[column[i] >> 1];
  }
};

/// Pixels that the estimate could not settle. They are copied like the others first, and again when decided.
struct WarpDoubts {
  static constexpr int kEnough = 256;
  static constexpr int kRoom = kEnough + 2 * kWarpStrip + kStripPad;

  int count = 0;
  HWY_ALIGN double u[kRoom];
  HWY_ALIGN double v[kRoom];
  HWY_ALIGN double verticalSquare[kRoom];
  std::uint8_t* to[kRoom];
  std::uint8_t* toHalf[2][kRoom];
};

/// Decides the doubts that have come together. Lanes whose formula has the exact one's own bits need no scalar behind them.
template <class Lanes, int kBytes>
HWY_NOINLINE void DecideDoubts(const WarpCircle& circle, const WarpGrid& grid, WarpDoubts& doubts) {
  const hn::ScalableTag<double> d;
  const hn::Rebind<std::int32_t, decltype(d)> di;
  constexpr int kMostLanes = hn::MaxLanes(d);
  const int lanes = static_cast<int>(hn::Lanes(d));
  HWY_ALIGN std::int32_t columns[kMostLanes];
  HWY_ALIGN std::int32_t rows[kMostLanes];
  const auto width = hn::Set(d, static_cast<double>(grid.width));
  const auto height = hn::Set(d, static_cast<double>(grid.height));
  const auto lastColumn = hn::Set(d, static_cast<double>(grid.width - 1));
  const auto lastRow = hn::Set(d, static_cast<double>(grid.height - 1));
  const auto zero = hn::Zero(d);
  const int count = doubts.count;
  for (int i = count; i % lanes != 0; ++i) doubts.u[i] = doubts.v[i] = doubts.verticalSquare[i] = 0;
  for (int done = 0; done < count; done += lanes) {
    const auto dx = hn::Sub(hn::Load(d, doubts.u + done), hn::Set(d, circle.centerX));
    const auto dy = hn::Sub(hn::Load(d, doubts.v + done), hn::Set(d, circle.centerY));
    const auto distance = hn::Sqrt(hn::Add(hn::Mul(dx, dx), hn::Load(d, doubts.verticalSquare + done)));
    hn::Vec<decltype(d)> u;
    hn::Vec<decltype(d)> v;
    Lanes::Moved(d, circle, dx, dy, distance, u, v);
    const auto x = hn::Mul(u, width);
    const auto y = hn::Mul(v, height);
    hn::Store(hn::DemoteTo(di, hn::Min(hn::Max(x, zero), lastColumn)), di, columns);
    hn::Store(hn::DemoteTo(di, hn::Min(hn::Max(y, zero), lastRow)), di, rows);
    std::uint8_t sure[8] = {0xFF};
    if constexpr (!Lanes::kExactInDouble) {
      const auto near = hn::Set(d, 0x1p-23);
      const auto sureX = hn::Gt(hn::Abs(hn::Sub(x, hn::Round(x))), near);
      const auto sureY = hn::Gt(hn::Abs(hn::Sub(y, hn::Round(y))), near);
      hn::StoreMaskBits(d, hn::And(sureX, sureY), sure);
    }
    const int decided = std::min(lanes, count - done);
    for (int i = 0; i < decided; ++i) {
      const int at = done + i;
      if (!Lanes::kExactInDouble && (sure[0] >> i & 1) == 0) {
        const WarpedPoint place =
            WarpedPlace<typename Lanes::Rule>(circle, doubts.u[at], doubts.v[at], doubts.verticalSquare[at]);
        columns[i] = NearestIndex(place.u * grid.width, grid.width);
        rows[i] = NearestIndex(place.v * grid.height, grid.height);
      }
      std::memcpy(doubts.to[at], grid.src.Row(rows[i]) + std::ptrdiff_t{columns[i]} * kBytes, kBytes);
      if (kBytes != 1) continue;
      for (int half = 0; half < 2; ++half) {
        if (doubts.toHalf[half][at] == nullptr) continue;
        *doubts.toHalf[half][at] = grid.halfSrc[half].Row(rows[i] >> 1)[columns[i] >> 1];
      }
    }
  }
  doubts.count = 0;
}

/// One plane of a band, strip by strip.
///
/// `Lanes` is the rule in vectors: a pixel at (dx, dy) from the centre moves by (c dx + s dy, c dy - s dx), where c and s
/// depend on the distance, and s is 0 unless kTurns.
template <class Lanes, int kBytes, bool kMirrored>
class WarpPass {
public:
  WarpPass(const WarpCircle& circle, const WarpEstimate& estimate, const WarpGrid& grid)
      : circle_(circle), estimate_(estimate), grid_(grid), lanes_(circle) {}

  /// Sets a strip up: its columns to the right from one column on and to the left from another, and their places.
  void Begin(const double* rightPlaces, int rightFirst, int rightCount, const double* leftPlaces, int leftFirst,
             int leftCount) {
    right_.first = rightFirst;
    right_.count = rightCount;
    for (int i = 0; i < rightCount; ++i) right_.u[i] = rightPlaces[i * grid_.columnStep];
    right_.Make(grid_, estimate_);
    if constexpr (kMirrored) {
      left_.first = leftFirst;
      left_.count = leftCount;
      for (int i = 0; i < leftCount; ++i) left_.u[i] = leftPlaces[-i * grid_.columnStep];
      left_.Make(grid_, estimate_);
      MakeDistances(left_.u, leftCount, -1);
    } else {
      MakeDistances(right_.u, rightCount, 1);
    }
  }

  /// Renders row `y` of the grid, with the planes that follow it at half its places or without.
  void Row(const WarpRow& row, std::int64_t y, bool withHalves) {
    right_.FindInside(circle_, estimate_, row.verticalSquare);
    if (kMirrored) left_.FindInside(circle_, estimate_, row.verticalSquare);
    if (right_.begin < right_.end || (kMirrored && left_.begin < left_.end)) Inside(row, y, withHalves);
    Outside(right_, row, y, withHalves);
    if (kMirrored) Outside(left_, row, y, withHalves);
    if (HWY_UNLIKELY(doubts_.count >= WarpDoubts::kEnough)) Finish();
  }

  void Finish() {
    rightSamples_.Finish();
    if (kMirrored) leftSamples_.Finish();
    if (doubts_.count > 0) DecideDoubts<Lanes, kBytes>(circle_, grid_, doubts_);
  }

private:
  using Singles = hn::ScalableTag<float>;
  using Dwords = hn::RebindToSigned<Singles>;
  using SingleVector = hn::Vec<Singles>;
  using DwordVector = hn::Vec<Dwords>;

  static constexpr int kLanes = hn::MaxLanes(Singles());
  static constexpr int kCopies = kLanes < 4 ? 4 : kLanes;
  static constexpr int kMaskBytes = kLanes > 8 ? kLanes / 8 : 1;
  static constexpr int kMaskRoom = (kWarpStrip / kLanes * kMaskBytes + 7) & -8;

  void MakeDistances(const double* u, int count, int direction) {
    const hn::ScalableTag<double> d;
    const hn::Rebind<float, decltype(d)> df;
    const int lanes = static_cast<int>(hn::Lanes(d));
    const double unit = 1 << estimate_.fractionBits;
    const int padded = (count + kStripPad - 1) & -kStripPad;
    for (int i = 0; i < padded; i += lanes) {
      const auto dx =
          hn::Mul(hn::Sub(hn::Load(d, u + i), hn::Set(d, circle_.centerX)), hn::Set(d, static_cast<double>(direction)));
      hn::Store(hn::DemoteTo(df, dx), df, dx_ + i);
      hn::Store(hn::DemoteTo(df, hn::Mul(dx, hn::Set(d, grid_.width * unit))), df, across_ + i);
      hn::Store(hn::DemoteTo(df, hn::Mul(dx, hn::Set(d, grid_.height * unit))), df, down_ + i);
    }
  }

  /// What all pixels of a row share, in units.
  struct RowConstants {
    DwordVector base;
    DwordVector fraction;
    DwordVector doubt;
    int fractionBits;
  };

  /// A vector of vertical positions.
  struct Vertical {
    DwordVector row;
    DwordVector fraction;
  };

  static HWY_INLINE Vertical VerticalAt(const RowConstants& row, SingleVector movement) {
    const auto y = hn::Add(hn::BitCast(Dwords(), movement), row.base);
    return {hn::ShiftRightSame(y, row.fractionBits), hn::And(y, row.fraction)};
  }

  /// Stores the offsets of a vector of samples, and which of them are doubtful; copies as many of the row before.
  template <class Columns, class Samples>
  static HWY_INLINE void Place(const RowConstants& row, const Columns& columns, int i, SingleVector movement,
                               const Vertical& vertical, SamplePlaces<kBytes>& places, Samples& samples,
                               std::uint8_t* doubtful) {
    const Dwords di;
    const auto x = hn::Add(hn::BitCast(di, movement), hn::Load(di, columns.base + i));
    const auto unsure = hn::Lt(hn::Min(hn::And(x, row.fraction), vertical.fraction), row.doubt);
    hn::StoreMaskBits(di, unsure, doubtful + i / kLanes * kMaskBytes);
    const auto column = hn::Add(hn::ShiftRightSame(x, row.fractionBits), hn::Load(di, columns.column + i));
    places.Store(column, vertical.row, i, samples);
    samples.template Step<kCopies>();
  }

  HWY_INLINE void Inside(const WarpRow& row, std::int64_t y, bool withHalves) {
    const Singles df;
    const Dwords di;
    const double unit = 1 << estimate_.fractionBits;
    const double dy = row.v - circle_.centerY;
    const double position = row.v * grid_.height;
    const int evenRow = static_cast<int>(position) & ~1;
    const auto verticalSquare = hn::Set(df, static_cast<float>(row.verticalSquare));
    const auto ay = hn::Set(df, static_cast<float>(dy * (grid_.width * unit)));
    const auto by = hn::Set(df, static_cast<float>(dy * (grid_.height * unit)));
    const auto magic = hn::Set(df, kRoundToBits);
    const auto base = static_cast<std::int32_t>((position - evenRow) * unit + 0.5);
    const RowConstants constants = {hn::Set(di, base + estimate_.margin - kRoundedZero),
                                    hn::Set(di, (1 << estimate_.fractionBits) - 1), hn::Set(di, 2 * estimate_.margin),
                                    estimate_.fractionBits};
    SamplePlaces<kBytes> places(grid_.src, grid_.width, grid_.height, evenRow, estimate_.narrow,
                                withHalves ? &grid_.halfSrc[0] : nullptr);
    std::uint8_t rightDoubtful[kMaskRoom + 8] = {};
    std::uint8_t leftDoubtful[kMaskRoom + 8] = {};

    const Lanes lanes = lanes_;
    auto rightCursor = rightSamples_.Begin();
    [[maybe_unused]] auto leftCursor = leftSamples_.Begin();
    const int begin = kMirrored ? std::min(right_.begin, left_.begin) : right_.begin;
    const int end = kMirrored ? std::max(right_.end, left_.end) : right_.end;
    for (int i = begin & -kLanes; i < end; i += kLanes) {
      const auto dx = hn::Load(df, dx_ + i);
      const auto ax = hn::Load(df, across_ + i);
      SingleVector c;
      SingleVector s;
      lanes.Turn(df, hn::Sqrt(hn::MulAdd(dx, dx, verticalSquare)), c, s);
      const auto my = hn::MulAdd(by, c, magic);
      if constexpr (Lanes::kTurns) {
        const auto bx = hn::Load(df, down_ + i);
        const auto mx = hn::MulAdd(ay, s, magic);
        Place(constants, right_, i, hn::MulAdd(ax, c, mx), VerticalAt(constants, hn::NegMulAdd(bx, s, my)), places,
              rightCursor, rightDoubtful);
        if constexpr (kMirrored) {
          Place(constants, left_, i, hn::NegMulAdd(ax, c, mx), VerticalAt(constants, hn::MulAdd(bx, s, my)), places,
                leftCursor, leftDoubtful);
        }
      } else {
        const Vertical vertical = VerticalAt(constants, my);
        Place(constants, right_, i, hn::MulAdd(ax, c, magic), vertical, places, rightCursor, rightDoubtful);
        if constexpr (kMirrored) {
          Place(constants, left_, i, hn::NegMulAdd(ax, c, magic), vertical, places, leftCursor, leftDoubtful);
        }
      }
    }

    AwaitSamples(right_, rightSamples_, rightCursor, y, evenRow, places.IsRoomy(), withHalves);
    if constexpr (kMirrored) AwaitSamples(left_, leftSamples_, leftCursor, y, evenRow, places.IsRoomy(), withHalves);
    // Only now, when the masks are long known: a branch on each would be mispredicted behind the longest chain of
    // operations in the loop.
    NoteDoubts(right_, row, y, withHalves, rightDoubtful);
    if constexpr (kMirrored) NoteDoubts(left_, row, y, withHalves, leftDoubtful);
  }

  template <class Columns, class Samples>
  HWY_INLINE void AwaitSamples(const Columns& columns, Samples& samples, const typename Samples::Cursor& cursor,
                               std::int64_t y, int evenRow, bool roomy, bool withHalves) {
    SampleRow waiting;
    waiting.begin = columns.begin;
    waiting.end = columns.end;
    waiting.from = grid_.src.Row(evenRow);
    waiting.to = grid_.dst.Row(y) + std::ptrdiff_t{columns.first} * kBytes;
    waiting.roomy = roomy;
    if (kBytes == 1 && withHalves) {
      waiting.firstChroma = columns.first & 1;
      const int half = (columns.first + waiting.firstChroma * Columns::kStep) / 2;
      waiting.fromU = grid_.halfSrc[0].Row(evenRow >> 1);
      waiting.toU = grid_.halfDst[0].Row(y >> 1) + half;
      if (grid_.halfPlanes == 2) {
        waiting.fromV = grid_.halfSrc[1].Row(evenRow >> 1);
        waiting.toV = grid_.halfDst[1].Row(y >> 1) + half;
      }
    }
    samples.Await(cursor, waiting);
  }

  template <class Columns>
  HWY_INLINE void NoteDoubts(const Columns& columns, const WarpRow& row, std::int64_t y, bool withHalves,
                             const std::uint8_t* doubtful) {
    for (int i = 0; i < kMaskRoom; i += 8) {
      std::uint64_t left;
      std::memcpy(&left, doubtful + i, 8);
      for (; HWY_UNLIKELY(left != 0); left &= left - 1) {
        const int bit = i * 8 + __builtin_ctzll(left);
        const int at = kLanes >= 8 ? bit : bit / 8 * kLanes + bit % 8;
        if (at < columns.begin || at >= columns.end) continue;
        const int column = columns.first + at * Columns::kStep;
        const int n = doubts_.count++;
        doubts_.u[n] = columns.u[at];
        doubts_.v[n] = row.v;
        doubts_.verticalSquare[n] = row.verticalSquare;
        doubts_.to[n] = grid_.dst.Row(y) + std::ptrdiff_t{column} * kBytes;
        if (kBytes != 1) continue;
        for (int half = 0; half < 2; ++half) {
          const bool follows = withHalves && half < grid_.halfPlanes && column % 2 == 0;
          doubts_.toHalf[half][n] = follows ? grid_.halfDst[half].Row(y >> 1) + column / 2 : nullptr;
        }
      }
    }
  }

  template <class Columns>
  HWY_INLINE void Outside(const Columns& columns, const WarpRow& row, std::int64_t y, bool withHalves) {
    if (columns.begin == 0 && columns.end == columns.count) return;
    const int from = NearestIndex(row.v * grid_.height, grid_.height);
    const int begin = std::min(columns.begin, columns.end);
    columns.template CopyOutside<kBytes>(grid_.src.Row(from), grid_.dst.Row(y), 0, begin);
    columns.template CopyOutside<kBytes>(grid_.src.Row(from), grid_.dst.Row(y), columns.end, columns.count);
    if (kBytes != 1 || !withHalves) return;
    for (int half = 0; half < grid_.halfPlanes; ++half) {
      const std::uint8_t* halfFrom = grid_.halfSrc[half].Row(from >> 1);
      std::uint8_t* to = grid_.halfDst[half].Row(y >> 1);
      columns.CopyHalfOutside(halfFrom, to, 0, begin);
      columns.CopyHalfOutside(halfFrom, to, columns.end, columns.count);
    }
  }

  const WarpCircle& circle_;
  const WarpEstimate& estimate_;
  const WarpGrid& grid_;
  const Lanes lanes_;
  HWY_ALIGN float dx_[kWarpRoom];      // distance of the columns from the centre, on both sides
  HWY_ALIGN float across_[kWarpRoom];  // the same in units along a row ...
  HWY_ALIGN float down_[kWarpRoom];    // ... and along a column
  WarpColumns<1> right_;
  WarpColumns<-1> left_;
  DelayedSamples<kBytes, 1, kWarpStrip> rightSamples_;
  DelayedSamples<kBytes, -1, kMirrored ? kWarpStrip : 2> leftSamples_;
  WarpDoubts doubts_;
};

/// One plane of a band. `places` holds those of all columns in mirrored pictures.
template <class Lanes, int kBytes, bool kMirrored>
void WarpPlane(const WarpCircle& circle, const WarpEstimate& estimate, const WarpPicture& picture, const WarpGrid& grid,
               bool isChroma, const double* places) {
  WarpPass<Lanes, kBytes, kMirrored> pass(circle, estimate, grid);
  const auto renderStrip = [&]() HWY_ATTR {
    ForEachWarpRow(circle, picture, [&](const WarpRow& row) HWY_ATTR {
      if (row.IsShifted()) return;  // left to the plain row
      if (!isChroma) {
        pass.Row(row, row.y, row.withChroma && grid.halfPlanes > 0);
      } else if (row.withChroma) {
        pass.Row(row, row.chromaY, false);
      }
    });
    pass.Finish();
  };
  if constexpr (kMirrored) {
    // In even widths the middle column stands at the head of both sides.
    const int rightFirst = (grid.width + 1) / 2;
    const int leftFirst = grid.width - rightFirst;
    const int strip = StripFor(leftFirst + 1);
    for (int i = 0; i <= leftFirst; i += strip) {
      const int rightCount = std::clamp(grid.width - rightFirst - i, 0, strip);
      const int leftCount = std::clamp(leftFirst + 1 - i, 0, strip);
      pass.Begin(places + (rightFirst + i) * grid.columnStep, rightFirst + i, rightCount,
                 places + (leftFirst - i) * grid.columnStep, leftFirst - i, leftCount);
      renderStrip();
    }
  } else {
    const double step = 1.0 / picture.width;
    const int widest = StripFor(grid.width);
    double strip[2 * kWarpStrip];
    double u = 0.0;
    for (int x = 0; x < grid.width; x += widest) {
      const int count = std::min(widest, grid.width - x);
      u = FillRunningSum(u, step, static_cast<std::size_t>(count) * static_cast<std::size_t>(grid.columnStep), strip);
      pass.Begin(strip, x, count, nullptr, 0, 0);
      renderStrip();
    }
  }
}

template <class Lanes, int kBytes, bool kMirrored>
void WarpPlanes(const WarpCircle& circle, const WarpEstimate& estimate, const WarpPicture& picture) {
  HWY_ALIGN double places[kMirrored ? kWidestMirrored : 1];
  if constexpr (kMirrored) {
    const double step = 1.0 / picture.width;
    FillRunningSum(0.0, step, static_cast<std::size_t>(picture.width), places);
  } else {
    places[0] = 0;
  }
  WarpGrid luma{picture.width, picture.height, 1, picture.src[0], picture.dst[0]};
  if constexpr (kBytes == 1) {
    // With even sizes a position in chroma is half the one in luma, exactly, and so are both truncated.
    const bool halves = picture.width % 2 == 0 && picture.height % 2 == 0;
    const bool sameLines = picture.src[1].lineSize == picture.src[2].lineSize;
    luma.halfPlanes = !halves ? 0 : sameLines ? 2 : 1;
    for (int plane = 1; plane <= luma.halfPlanes; ++plane) {
      luma.halfSrc[plane - 1] = picture.src[plane];
      luma.halfDst[plane - 1] = picture.dst[plane];
    }
    for (int plane = 1 + luma.halfPlanes; plane < 3; ++plane) {
      const WarpGrid chroma{ChromaSize(picture.width), ChromaSize(picture.height), 2, picture.src[plane],
                            picture.dst[plane]};
      WarpPlane<Lanes, 1, kMirrored>(circle, estimate, picture, chroma, true, places);
    }
  }
  WarpPlane<Lanes, kBytes, kMirrored>(circle, estimate, picture, luma, false, places);
  if (!picture.IsPlanar()) return;
  ForEachWarpRow(circle, picture, [&](const WarpRow& row) {
    if (row.IsShifted()) WarpRowPlainly<typename Lanes::Rule>(circle, picture, row);
  });
}

/// Renders a band in vectors as far as the estimate can be trusted.
template <class Lanes>
void WarpBand(const WarpCircle& circle, const WarpBounds& bounds, const WarpPicture& picture) {
  const WarpEstimate estimate = EstimateFor(circle, picture, bounds);
  if (!estimate.usable) {
    ForEachWarpRow(circle, picture,
                   [&](const WarpRow& row) { WarpRowPlainly<typename Lanes::Rule>(circle, picture, row); });
  } else if (picture.layout == Layout::kPacked4) {
    estimate.mirrored ? WarpPlanes<Lanes, 4, true>(circle, estimate, picture)
                      : WarpPlanes<Lanes, 4, false>(circle, estimate, picture);
  } else if (picture.layout == Layout::kPacked3) {
    estimate.mirrored ? WarpPlanes<Lanes, 3, true>(circle, estimate, picture)
                      : WarpPlanes<Lanes, 3, false>(circle, estimate, picture);
  } else {
    estimate.mirrored ? WarpPlanes<Lanes, 1, true>(circle, estimate, picture)
                      : WarpPlanes<Lanes, 1, false>(circle, estimate, picture);
  }
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
