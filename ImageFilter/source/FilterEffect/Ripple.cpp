// Ripple: moves every pixel along the line from the picture's middle by a damped travelling sine wave.
//
// Distances and waves are whole numbers from two tables in the parameter object. A pixel at (dx, dy) from the middle is
// fetched from (dx, dy) * (1 + k / 1024), k being offsetTable's entry for the pixel's distance r, in steps of 1/1024 of
// the picture's larger side, and the wave position (r + P) mod L: L is the wavelength, P the phase.
//
// The band that begins at row 0 builds the tables when the parameters' whole numbers have changed; the other bands of the
// picture, on other threads, wait until it has.
//
// In one call L and P are fixed, so that k depends on the distance alone: a small table of its own. Columns left and right
// of the middle at the same distance share k and the sampled row.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FilterEffect/Ripple.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/DelayedSamples-inl.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/RippleTables.h"

#ifndef NORIX_RIPPLE_SETUP
#define NORIX_RIPPLE_SETUP
namespace norix {

/// One Newton step from the longer leg towards sqrt(a^2 + b^2).
inline std::int64_t RippleDistance(std::int64_t a, std::int64_t b) {
  const std::int64_t m = std::max(a, b);
  return m == 0 ? 0 : ((a * a + b * b) / m + m) >> 1;
}

/// The product wraps at 32 bits.
inline std::int64_t RippleMovement(std::int64_t distance, std::int64_t k) {
  const auto product = static_cast<std::uint32_t>(distance) * static_cast<std::uint32_t>(k);
  return static_cast<std::int32_t>(product) >> 10;
}

/// Where pixels come from.
class RippleWave {
public:
  RippleWave(const RippleTables& tables, const AVFrame& src, int wavelength, std::int64_t shift)
      : width(src.width),
        height(src.height),
        centerX(src.width / 2),
        centerY(src.height / 2),
        offsets_(tables.offsetTable),
        weights_(tables.weightTable),
        weightCount_(tables.weightCount),
        wavelength_(wavelength),
        shift_(shift) {}

  struct Place {
    std::int64_t x;
    std::int64_t y;
  };

  Place Source(std::int64_t x, std::int64_t y) const {
    const std::int64_t dx = x - centerX;
    const std::int64_t dy = y - centerY;
    const std::int64_t k = Multiplier(RippleDistance(Weight(dx), Weight(dy)));
    return {ClampIndex<std::int64_t>(RippleMovement(dx, k) + x, width),
            ClampIndex<std::int64_t>(RippleMovement(dy, k) + y, height)};
  }

  std::int32_t Weight(std::int64_t distance) const {
    return weights_[std::min<std::int64_t>(std::abs(distance), weightCount_ - 1)];
  }

  const std::int32_t* Weights() const { return weights_; }
  std::int32_t WeightCount() const { return weightCount_; }

  std::int32_t Multiplier(std::int64_t r) const { return Entry(r, (r + shift_) % wavelength_); }

  /// The multipliers of all distances up to the last; the wave position steps by one with the distance.
  void Multipliers(std::int64_t last, std::int32_t* out) const {
    std::int64_t position = shift_ % wavelength_;
    for (std::int64_t r = 0; r <= last; ++r) {
      out[r] = Entry(r, position);
      if (++position == wavelength_) position = 0;
    }
  }

  const int width;
  const int height;
  const int centerX;
  const int centerY;

private:
  /// Waves longer than the table run over into the rows of other distances, and round it.
  std::int32_t Entry(std::int64_t r, std::int64_t position) const {
    return offsets_[(r << 10 | position) & (kRippleEntries - 1)];
  }

  const std::int32_t* offsets_;
  const std::int32_t* weights_;
  std::int32_t weightCount_;
  std::int64_t wavelength_;
  std::int64_t shift_;
};

/// What one call renders.
struct RipplePicture {
  Layout layout;
  Band rows;
  Plane dst[3];
  ConstPlane src[3];

  RipplePicture(AVFrame& to, const AVFrame& from, Band band) : layout(LayoutOf(from.format)), rows(band) {
    for (int plane = 0; plane < 3; ++plane) {
      dst[plane] = PlaneOf(to, plane);
      src[plane] = PlaneOf(from, plane);
    }
  }

  int Planes() const { return layout == Layout::kPlanar || layout == Layout::kPlanarAlpha ? 3 : 1; }
};

/// Pixel by pixel. Chroma follows the even columns of the picture's even rows.
inline void RipplePlainly(const RippleWave& wave, const RipplePicture& picture) {
  const bool planar = picture.Planes() > 1;
  const std::size_t bytes = planar ? 1 : picture.layout == Layout::kPacked3 ? 3 : 4;
  for (std::int64_t y = picture.rows.first; y < picture.rows.end(); ++y) {
    std::uint8_t* out = picture.dst[0].Row(y);
    for (int x = 0; x < wave.width; ++x, out += bytes) {
      const RippleWave::Place at = wave.Source(x, y);
      std::memcpy(out, picture.src[0].Row(at.y) + static_cast<std::size_t>(at.x) * bytes, bytes);
      if (!planar || x % 2 != 0 || y % 2 != 0) continue;
      for (int plane = 1; plane < 3; ++plane) {
        picture.dst[plane].Row(y >> 1)[x / 2] = picture.src[plane].Row(at.y >> 1)[at.x >> 1];
      }
    }
  }
}

/// How far vectors may be used.
struct RippleReach {
  static constexpr int kLargestWeight = kRippleSteps - 1;
  static constexpr int kLargestDistance = (3 * kLargestWeight) >> 1;

  bool usable = false;
  bool narrow = false;  ///< places before they are held in the picture, and line sizes, fit 16 bits
  int farthest = 0;     ///< distance of the picture's corner, which no pixel's exceeds
};

/// Not usable for bands outside the picture, planes whose offsets do not fit 32 bits, and weights that nobody built.
inline RippleReach ReachOf(const RippleWave& wave, const RipplePicture& picture, std::int32_t* multipliers) {
  constexpr int kLargestSide = 32767;
  constexpr std::int64_t kLargestPlane = (std::int64_t{1} << 31) - 65536;
  RippleReach reach;
  if (wave.width > kLargestSide || wave.height > kLargestSide) return reach;
  if (picture.rows.first < 0 || picture.rows.end() > wave.height) return reach;
  bool shortLines = true;
  for (int plane = 0; plane < picture.Planes(); ++plane) {
    const std::int64_t line = std::abs(std::int64_t{picture.src[plane].lineSize});
    if (line * wave.height >= kLargestPlane) return reach;
    shortLines = shortLines && line <= kLargestSide;
  }
  const int farthestLeg = std::max(wave.centerX, wave.centerY);
  if (farthestLeg >= wave.WeightCount()) return reach;
  const std::int32_t* const weights = wave.Weights();
  std::int32_t least = 0;
  std::int32_t mostX = 0;
  std::int32_t mostY = 0;
  for (int distance = 0; distance <= farthestLeg; ++distance) least = std::min(least, weights[distance]);
  for (int distance = 0; distance <= wave.centerX; ++distance) mostX = std::max(mostX, weights[distance]);
  for (int distance = 0; distance <= wave.centerY; ++distance) mostY = std::max(mostY, weights[distance]);
  if (least < 0 || std::max(mostX, mostY) > RippleReach::kLargestWeight) return reach;
  reach.usable = true;
  reach.farthest = static_cast<int>(RippleDistance(mostX, mostY));
  wave.Multipliers(reach.farthest, multipliers);
  std::int64_t strongest = 0;
  for (int r = 0; r <= reach.farthest; ++r) strongest = std::max(strongest, std::abs(std::int64_t{multipliers[r]}));
  const std::int64_t product = strongest * farthestLeg;
  reach.narrow = shortLines && product <= std::numeric_limits<std::int32_t>::max() &&
                 (product >> 10) + 1 + std::max(wave.width, wave.height) <= kLargestSide;
  return reach;
}

}  // namespace norix
#endif

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {

constexpr int kRippleStrip = 256;  // distances from the middle column; even

// Added to a number below 2^22 that is not a whole one, rounds it down and leaves it in the low bits: 2^23 - 1/2.
constexpr float kTruncateToBits = 8388607.5F;
constexpr std::int32_t kTruncatedZero = 0x4B000000;

/// One plane of a band, and planes of chroma with it, strip by strip of columns on both sides of the middle.
template <int kBytes>
class RipplePass {
public:
  RipplePass(const RippleWave& wave, const RippleReach& reach, const std::int32_t* multipliers,
             const RipplePicture& picture, int firstChroma, int endChroma)
      : wave_(wave),
        reach_(reach),
        multipliers_(multipliers),
        picture_(picture),
        firstChroma_(firstChroma),
        endChroma_(endChroma) {}

  void Render() {
    const int right = wave_.width - wave_.centerX;
    const int left = wave_.centerX + 1;
    for (first_ = 0; first_ < left; first_ += kRippleStrip) {
      rightCount_ = std::clamp(right - first_, 0, kRippleStrip);
      leftCount_ = std::clamp(left - first_, 0, kRippleStrip);
      MakeWeights(std::max(rightCount_, leftCount_));
      for (std::int64_t y = picture_.rows.first; y < picture_.rows.end(); ++y) Row(static_cast<int>(y));
      rightSamples_.Finish();
      leftSamples_.Finish();
    }
  }

private:
  using Singles = hn::ScalableTag<float>;
  using Dwords = hn::RebindToSigned<Singles>;

  static constexpr int kLanes = hn::MaxLanes(Singles());
  static constexpr int kCopies = kLanes < 4 ? 4 : kLanes;

  HWY_INLINE void MakeWeights(int count) {
    const Singles df;
    const std::int32_t* const weights = wave_.Weights() + first_;
    int i = 0;
    for (; i < count; ++i) weight_[i] = static_cast<float>(weights[i]);
    for (; i % kStripPad != 0; ++i) weight_[i] = weight_[count - 1];
    const auto one = hn::Set(df, 1.0F);
    for (i = 0; i < count; i += kLanes) {
      hn::Store(hn::Div(one, hn::Max(hn::Load(df, weight_ + i), one)), df, reciprocal_ + i);
    }
  }

  /// The division needs no divider: n = a^2 + b^2 < 2^21 and m = max(a, b) < 2^10 are whole, so that (n + 1/2) / m lies at
  /// least 1 / 2m > 2^-11 from any whole number, while (n + 1/2) * float(1 / m) is off by at most 2 * 2^-24 * 2^11 = 2^-12.
  template <class Cursor>
  HWY_INLINE void FindMultipliers(int weight, int count, std::int32_t* out, Cursor& waiting) {
    const Singles df;
    const Dwords di;
    const auto b = static_cast<float>(weight);
    const auto vectorB = hn::Set(df, b);
    const auto square = hn::Set(df, b * b + 0.5F);
    const auto reciprocal = hn::Set(df, weight == 0 ? 1.0F : 1.0F / b);
    const auto magic = hn::Set(df, kTruncateToBits);
    const auto magicBits = hn::Set(di, kTruncatedZero);
    for (int i = 0; i < count; i += kLanes) {
      const auto a = hn::Load(df, weight_ + i);
      const auto sum = hn::MulAdd(a, a, square);
      const auto quotient = hn::Mul(sum, hn::Min(hn::Load(df, reciprocal_ + i), reciprocal));
      const auto doubled = hn::Add(hn::Add(quotient, magic), hn::Max(a, vectorB));
      hn::Store(hn::ShiftRight<1>(hn::Sub(hn::BitCast(di, doubled), magicBits)), di, out + i);
      waiting.template Step<kCopies>();
    }
    const std::int32_t* const multipliers = multipliers_;
#pragma GCC unroll 8
    for (int i = 0; i < count; ++i) out[i] = multipliers[out[i]];
  }

  HWY_INLINE void Row(int y) {
    const Dwords di;
    const int count = std::max(rightCount_, leftCount_);
    HWY_ALIGN std::int32_t multipliers[kRippleStrip + kStripPad];
    auto rightCursor = rightSamples_.Begin();
    auto leftCursor = leftSamples_.Begin();
    FindMultipliers(wave_.Weight(y - wave_.centerY), count, multipliers, rightCursor);

    const bool withChroma = kBytes == 1 && y % 2 == 0 && firstChroma_ < endChroma_;
    SamplePlaces<kBytes> places(picture_.src[0], wave_.width, wave_.height, 0, reach_.narrow,
                                withChroma ? &picture_.src[firstChroma_] : nullptr);
    const auto zero = hn::Zero(di);
    const auto row = hn::Set(di, y);
    const auto dy = hn::Set(di, y - wave_.centerY);
    const auto center = hn::Set(di, wave_.centerX);
    const auto step = hn::Set(di, kLanes);
    auto distance = hn::Iota(di, first_);
    for (int i = 0; i < count; i += kLanes) {
      const auto k = hn::Load(di, multipliers + i);
      const auto moved = hn::Mul(distance, k);
      const auto sampledRow = hn::Add(row, hn::ShiftRight<10>(hn::Mul(dy, k)));
      const auto right = hn::Add(hn::Add(center, distance), hn::ShiftRight<10>(moved));
      const auto left = hn::Add(hn::Sub(center, distance), hn::ShiftRight<10>(hn::Sub(zero, moved)));
      places.Store(right, sampledRow, i, rightCursor);
      places.Store(left, sampledRow, i, leftCursor);
      distance = hn::Add(distance, step);
      leftCursor.template Step<kCopies>();
    }
    Await(rightSamples_, rightCursor, y, rightCount_, 1, places.IsRoomy(), withChroma);
    Await(leftSamples_, leftCursor, y, leftCount_, -1, places.IsRoomy(), withChroma);
  }

  template <class Samples>
  HWY_INLINE void Await(Samples& samples, const typename Samples::Cursor& cursor, int y, int count, int direction,
                        bool roomy, bool withChroma) {
    SampleRow waiting;
    waiting.end = count;
    waiting.from = picture_.src[0].data;
    const int column = wave_.centerX + direction * first_;
    waiting.to = picture_.dst[0].Row(y) + std::ptrdiff_t{column} * kBytes;
    waiting.roomy = roomy;
    if (withChroma) {
      waiting.firstChroma = column & 1;
      const int half = (column + direction * waiting.firstChroma) / 2;
      waiting.fromU = picture_.src[firstChroma_].data;
      waiting.toU = picture_.dst[firstChroma_].Row(y >> 1) + half;
      if (endChroma_ - firstChroma_ == 2) {
        waiting.fromV = picture_.src[2].data;
        waiting.toV = picture_.dst[2].Row(y >> 1) + half;
      }
    }
    samples.Await(cursor, waiting);
  }

  const RippleWave& wave_;
  const RippleReach& reach_;
  const std::int32_t* multipliers_;
  const RipplePicture& picture_;
  const int firstChroma_;  // planes of chroma that this pass renders
  const int endChroma_;
  int first_ = 0;  // distance of entry 0
  int rightCount_ = 0;
  int leftCount_ = 0;
  HWY_ALIGN float weight_[kRippleStrip + kStripPad];
  HWY_ALIGN float reciprocal_[kRippleStrip + kStripPad];
  DelayedSamples<kBytes, 1, kRippleStrip> rightSamples_;
  DelayedSamples<kBytes, -1, kRippleStrip> leftSamples_;
};

void RippleBand(const RippleWave& wave, const RipplePicture& picture) {
  std::int32_t multipliers[RippleReach::kLargestDistance + 1];
  const RippleReach reach = ReachOf(wave, picture, multipliers);
  if (!reach.usable) {
    RipplePlainly(wave, picture);
  } else if (picture.layout == Layout::kPacked4) {
    RipplePass<4>(wave, reach, multipliers, picture, 0, 0).Render();
  } else if (picture.layout == Layout::kPacked3) {
    RipplePass<3>(wave, reach, multipliers, picture, 0, 0).Render();
  } else if (picture.src[1].lineSize == picture.src[2].lineSize) {
    RipplePass<1>(wave, reach, multipliers, picture, 1, 3).Render();
  } else {
    // Planes of chroma with offsets of their own, which is rare: luma is rendered twice.
    RipplePass<1>(wave, reach, multipliers, picture, 1, 2).Render();
    RipplePass<1>(wave, reach, multipliers, picture, 2, 3).Render();
  }
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix {
HWY_EXPORT(RippleBand);
static void RenderRipple(const RippleWave& wave, const RipplePicture& picture) {
  HWY_DYNAMIC_DISPATCH(RippleBand)(wave, picture);
}
}  // namespace norix

namespace {

constexpr useconds_t kPollMicroseconds = 1000;

/// What the tables must have been built for.
struct Keys {
  std::int32_t damping;
  std::int32_t amplitude;
  std::int32_t size;

  Keys(const RippleParams& params, const AVFrame& src)
      : damping(norix::TruncateToInt(params.damping)),
        amplitude(norix::TruncateToInt(params.amplitude)),
        size(std::max(src.width, src.height)) {}
};

// The keys are written after the tables they describe, and read before them.
template <class T>
T Published(T& value) {
  return std::atomic_ref(value).load(std::memory_order_acquire);
}
template <class T>
void Publish(T& place, T value) {
  std::atomic_ref(place).store(value, std::memory_order_release);
}

bool HasOffsets(RippleTables& tables, const Keys& keys) {
  return Published(tables.tableDamping) == keys.damping && Published(tables.tableAmplitude) == keys.amplitude &&
         Published(tables.offsetTable);
}

bool HasWeights(RippleTables& tables, const Keys& keys) { return Published(tables.weightCount) == keys.size; }

void Build(RippleParams& params, const Keys& keys) {
  RippleTables& tables = *params.tables;
  if (!HasOffsets(tables, keys)) {
    InitRippleTable1(&params);
    tables.offsetCount = norix::kRippleEntries;
    Publish(tables.tableDamping, keys.damping);
    Publish(tables.tableAmplitude, keys.amplitude);
  }
  if (!HasWeights(tables, keys)) {
    InitRippleTable2(&params, keys.size);
    Publish(tables.weightCount, keys.size);
  }
}

void Wait(RippleTables& tables, const Keys& keys) {
  while (!HasOffsets(tables, keys) || !HasWeights(tables, keys)) usleep(kPollMicroseconds);
}

}  // namespace

void Ripple(AVFrame* dst, AVFrame* src, RippleParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params) return CopyFrameData(dst, src, firstRow, rowCount);
  const double perWave = 1024.0 / (101.0 - params->damping);
  const int wavelength = norix::TruncateToInt(perWave);
  // Without waves there is nothing to build and nothing to wait for.
  if (!(params->damping < 101) || wavelength < 1) return CopyFrameData(dst, src, firstRow, rowCount);

  const Keys keys(*params, *src);
  if (firstRow == 0) {
    Build(*params, keys);
  } else {
    Wait(*params->tables, keys);
  }
  const norix::Layout layout = norix::LayoutOf(src->format);
  if (rowCount < 1 || layout == norix::Layout::kUnknown) return;

  const norix::Band rows = {firstRow, rowCount};
  if (layout == norix::Layout::kPlanarAlpha) norix::CopyAlphaRows(*dst, *src, rows);
  const std::int64_t phase = norix::TruncateToInt(wavelength * params->phase / 20.0);
  const norix::RippleWave wave(*params->tables, *src, wavelength, wavelength - phase % wavelength);
  norix::RenderRipple(wave, norix::RipplePicture(*dst, *src, rows));
}

#endif
