// Copies single pixels to a row of a strip while the places of the next row's pixels are being computed: loads and
// arithmetic overlap, and no offset is loaded so soon after its vector was stored that it must wait for the store.

#if defined(NORIX_DELAYED_SAMPLES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NORIX_DELAYED_SAMPLES_INL_H
#undef NORIX_DELAYED_SAMPLES_INL_H
#else
#define NORIX_DELAYED_SAMPLES_INL_H
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "FilterEffect/common/Frame.h"

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// Whole vectors past a strip's end are computed, never written to a picture.
constexpr int kStripPad = 16;

/// Where a row's entries go. Entry k is written k pixels after entry 0, or before it where columns count to the left.
struct SampleRow {
  int begin = 0;
  int end = 0;
  const std::uint8_t* from = nullptr;  ///< what offsets count from
  std::uint8_t* to = nullptr;          ///< place of entry 0
  bool roomy = false;                  ///< the byte behind each sampled pixel may be read

  // Every other entry has chroma, in one-byte pictures. Without: fromU is null. fromV is null where it is copied elsewhere.
  int firstChroma = 0;  ///< 0 or 1
  const std::uint8_t* fromU = nullptr;
  const std::uint8_t* fromV = nullptr;
  std::uint8_t* toU = nullptr;  ///< place of entry `firstChroma`
  std::uint8_t* toV = nullptr;
};

/// One side of a strip of up to `kEntries` columns, which count to the right (kDirection 1) or to the left (-1).
template <int kBytes, int kDirection, int kEntries>
class DelayedSamples {
public:
  /// What a row's loop works with. Copied bytes might be any object's, so that members would be loaded again after each;
  /// a cursor that no one else knows stays in registers.
  class Cursor {
  public:
    std::int32_t* Offsets() const { return offsets_; }
    std::int32_t* ChromaOffsets() const { return chromaOffsets_; }

    /// Copies the next `kCount` entries of the waiting row, when there are as many.
    template <int kCount>
    HWY_INLINE void Step() {
      static_assert(kCount % 2 == 0);
      if (next_ + kCount > end_) return;
      next_ += kCount;
      // Pointers step along, and every copy is at a fixed distance from them.
      const std::int32_t* const at = at_;
      std::uint8_t* const to = to_;
      at_ += kCount;
      to_ += kCount * kDirection * kBytes;
      if (kBytes == 3 && roomy_) {
        // Four bytes at a time, in the order of their addresses: the next pixel mends the one too many.
        constexpr int kLast = kDirection > 0 ? kCount - 1 : 0;
#pragma GCC unroll 16
        for (int i = 0; i < kCount - 1; ++i) {
          const int k = kDirection > 0 ? i : kCount - 1 - i;
          std::memcpy(to + k * kDirection * 3, from_ + at[k], 4);
        }
        std::memcpy(to + kLast * kDirection * 3, from_ + at[kLast], 3);
      } else {
#pragma GCC unroll 16
        for (int k = 0; k < kCount; ++k) std::memcpy(to + k * kDirection * kBytes, from_ + at[k], kBytes);
      }
      if (kBytes != 1 || fromU_ == nullptr) return;
      const std::int32_t* const chromaAt = chromaAt_;
      chromaAt_ += kCount;
      const std::uint8_t* const fromU = fromU_;
      std::uint8_t* const toU = toU_;
      toU_ += kCount / 2 * kDirection;
#pragma GCC unroll 8
      for (int k = 0; k < kCount / 2; ++k) toU[k * kDirection] = fromU[chromaAt[2 * k]];
      if (fromV_ == nullptr) return;
      const std::uint8_t* const fromV = fromV_;
      std::uint8_t* const toV = toV_;
      toV_ += kCount / 2 * kDirection;
#pragma GCC unroll 8
      for (int k = 0; k < kCount / 2; ++k) toV[k * kDirection] = fromV[chromaAt[2 * k]];
    }

  private:
    friend DelayedSamples;

    std::int32_t* offsets_;
    std::int32_t* chromaOffsets_;
    const std::int32_t* at_;
    const std::int32_t* chromaAt_;  // of entry `firstChroma`
    const std::uint8_t* from_;
    std::uint8_t* to_;
    const std::uint8_t* fromU_;
    const std::uint8_t* fromV_;
    std::uint8_t* toU_;
    std::uint8_t* toV_;
    int next_;
    int end_;
    bool roomy_;
  };

  /// For filling in the offsets of a row while the one before is copied.
  HWY_INLINE Cursor Begin() {
    Cursor cursor;
    cursor.offsets_ = offsets_[filling_];
    cursor.chromaOffsets_ = chroma_[filling_];
    const int first = FirstStep();
    const std::ptrdiff_t half = first / 2 * kDirection;
    cursor.at_ = offsets_[filling_ ^ 1] + first;
    cursor.from_ = waiting_.from;
    cursor.to_ = waiting_.to + first * kDirection * kBytes;
    cursor.chromaAt_ = chroma_[filling_ ^ 1];
    cursor.fromU_ = waiting_.fromU;
    cursor.fromV_ = waiting_.fromV;
    cursor.toU_ = waiting_.toU;
    cursor.toV_ = waiting_.toV;
    if (waiting_.fromU != nullptr) {
      cursor.chromaAt_ += first + waiting_.firstChroma;
      cursor.toU_ += half;
      if (waiting_.fromV != nullptr) cursor.toV_ += half;
    }
    cursor.next_ = first;
    cursor.end_ = waiting_.end;
    cursor.roomy_ = waiting_.roomy;
    return cursor;
  }

  /// Copies what a cursor left of the waiting row. From now on the row waits whose offsets were filled in.
  HWY_INLINE void Await(const Cursor& cursor, const SampleRow& row) {
    const int next = cursor.next_;
    CopyRange(waiting_.begin, std::min(FirstStep(), waiting_.end));
    CopyRange(std::max(next, waiting_.begin), waiting_.end);
    waiting_ = row;
    filling_ ^= 1;
  }

  /// Copies the waiting row; none waits after that.
  HWY_INLINE void Finish() {
    CopyRange(waiting_.begin, waiting_.end);
    waiting_ = {};
  }

private:
  /// Steps cover the chroma of their own entries.
  int FirstStep() const { return (waiting_.begin + 1) & ~1; }

  HWY_INLINE void CopyRange(int begin, int end) {
    if (begin >= end) return;
    const std::int32_t* at = offsets_[filling_ ^ 1];
    const std::uint8_t* from = waiting_.from;
    std::uint8_t* to = waiting_.to;
    for (int k = begin; k < end; ++k) std::memcpy(to + k * kDirection * kBytes, from + at[k], kBytes);
    if (kBytes != 1 || waiting_.fromU == nullptr) return;
    const int firstChroma = waiting_.firstChroma;
    begin += (begin ^ firstChroma) & 1;
    at = chroma_[filling_ ^ 1];
    from = waiting_.fromU;
    to = waiting_.toU;
    for (int k = begin; k < end; k += 2) to[(k - firstChroma) / 2 * kDirection] = from[at[k]];
    if (waiting_.fromV == nullptr) return;
    from = waiting_.fromV;
    to = waiting_.toV;
    for (int k = begin; k < end; k += 2) to[(k - firstChroma) / 2 * kDirection] = from[at[k]];
  }

  static constexpr std::size_t kOffsets = kEntries + kStripPad;
  static constexpr std::size_t kChromaOffsets = kBytes == 1 ? kOffsets : 2;

  HWY_ALIGN std::int32_t offsets_[2][kOffsets];  // one is filled while the other waits
  HWY_ALIGN std::int32_t chroma_[2][kChromaOffsets];
  int filling_ = 0;
  SampleRow waiting_;
};

/// Turns vectors of sampled columns and rows into the offsets that are copied from: holds both inside the picture, adds up
/// the bytes. Rows count from an even one, `origin`, so that halves of rows add up, too.
template <int kBytes>
class SamplePlaces {
public:
  using Dwords = hn::ScalableTag<std::int32_t>;
  using DwordVector = hn::Vec<Dwords>;

  /// `narrow` promises that columns, rows and line sizes fit 16 bits; then two additions and products become one.
  /// `half` is a plane of chroma that follows at half the places, or null.
  HWY_INLINE SamplePlaces(const ConstPlane& plane, int width, int height, int origin, bool narrow, const ConstPlane* half)
      : firstRow_(hn::Set(Dwords(), -origin)),
        lastRow_(hn::Set(Dwords(), height - 1 - origin)),
        lastColumn_(hn::Set(Dwords(), width - 1)),
        line_(hn::Set(Dwords(), static_cast<std::int32_t>(plane.lineSize))),
        halfLine_(hn::Set(Dwords(), half ? static_cast<std::int32_t>(half->lineSize) : 0)),
        firstPair_(Pair(0, -origin)),
        lastPair_(Pair(width - 1, height - 1 - origin)),
        weights_(Pair(kBytes, plane.lineSize)),
        halfWeights_(Pair(1, half ? half->lineSize : 0)),
        highest_(hn::Set(Dwords(), std::numeric_limits<std::int32_t>::min())),
        narrow_(narrow),
        withHalves_(half != nullptr),
        highestRoomy_((plane.lineSize > 0 ? height - 1 - origin : -origin) * plane.lineSize +
                      3 * (std::int64_t{width} - 1)) {}

  /// Stores the offsets of entry `i` and the following.
  template <class Samples>
  HWY_INLINE void Store(DwordVector column, DwordVector row, int i, Samples& samples) {
    const Dwords di;
    DwordVector offset;
#if HWY_TARGET != HWY_SCALAR
    if (HWY_LIKELY(narrow_)) {
      const hn::Repartition<std::int16_t, Dwords> dw;
      auto pair = hn::OddEven(hn::BitCast(dw, hn::ShiftLeft<16>(row)), hn::BitCast(dw, column));
      pair = hn::Min(hn::Max(pair, hn::BitCast(dw, firstPair_)), hn::BitCast(dw, lastPair_));
      offset = SumOfPairs(pair, hn::BitCast(dw, weights_));
      hn::Store(offset, di, samples.Offsets() + i);
      if (kBytes == 1 && withHalves_) {
        hn::Store(SumOfPairs(hn::ShiftRight<1>(pair), hn::BitCast(dw, halfWeights_)), di, samples.ChromaOffsets() + i);
      }
      if (kBytes == 3) highest_ = hn::Max(highest_, offset);
      return;
    }
#endif
    const auto heldColumn = hn::Min(hn::Max(column, hn::Zero(di)), lastColumn_);
    const auto heldRow = hn::Min(hn::Max(row, firstRow_), lastRow_);
    const auto bytes = kBytes == 4   ? hn::ShiftLeft<2>(heldColumn)
                       : kBytes == 3 ? hn::Add(heldColumn, hn::ShiftLeft<1>(heldColumn))
                                     : heldColumn;
    offset = hn::Add(hn::Mul(heldRow, line_), bytes);
    hn::Store(offset, di, samples.Offsets() + i);
    if (kBytes == 1 && withHalves_) {
      const auto halfRow = hn::Mul(hn::ShiftRight<1>(heldRow), halfLine_);
      hn::Store(hn::Add(halfRow, hn::ShiftRight<1>(heldColumn)), di, samples.ChromaOffsets() + i);
    }
    if (kBytes == 3) highest_ = hn::Max(highest_, offset);
  }

  /// True if the byte behind each 3-byte pixel so far may be read: the plane's highest one is not among them.
  HWY_INLINE bool IsRoomy() const { return kBytes == 3 && hn::GetLane(hn::MaxOfLanes(Dwords(), highest_)) < highestRoomy_; }

private:
#if HWY_TARGET != HWY_SCALAR
  template <class V>
  static HWY_INLINE DwordVector SumOfPairs(V pairs, V weights) {
    const Dwords di;
    auto rest = hn::Zero(di);
    const auto sum = hn::ReorderWidenMulAccumulate(di, pairs, weights, hn::Zero(di), rest);
    return hn::RearrangeToOddPlusEven(sum, rest);
  }
#endif

  static HWY_INLINE DwordVector Pair(std::int64_t column, std::int64_t row) {
    const auto low = static_cast<std::uint32_t>(column & 0xFFFF);
    const auto high = static_cast<std::uint32_t>(row & 0xFFFF) << 16;
    return hn::Set(Dwords(), static_cast<std::int32_t>(low | high));
  }

  DwordVector firstRow_;
  DwordVector lastRow_;
  DwordVector lastColumn_;
  DwordVector line_;
  DwordVector halfLine_;
  DwordVector firstPair_;
  DwordVector lastPair_;
  DwordVector weights_;
  DwordVector halfWeights_;
  DwordVector highest_;
  bool narrow_;
  bool withHalves_;
  std::int64_t highestRoomy_;
};

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // toggle
