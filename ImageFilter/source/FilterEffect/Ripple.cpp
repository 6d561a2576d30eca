// Ripple: moves every pixel along the line from the picture's middle by a damped travelling sine wave.
//
// Distances and waves are whole numbers from two tables in the parameter object. A pixel at (dx, dy) from the middle is
// fetched from (dx, dy) * (1 + k / 1024), k being offsetTable's entry for the pixel's distance r, in steps of 1/1024 of
// the picture's larger side, and the wave position (r + P) mod L: L is the wavelength, P the phase.
//
// The band that begins at row 0 builds the tables when the parameters' whole numbers have changed; the other bands of the
// picture, on other threads, wait until it has.

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/RippleTables.h"

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

/// Where pixels come from.
class Wave {
public:
  Wave(const RippleTables& tables, int width, int height, std::int64_t wavelength, std::int64_t shift)
      : tables_(tables), width_(width), height_(height), wavelength_(wavelength), shift_(shift) {}

  struct Place {
    std::int64_t x;
    std::int64_t y;
  };

  Place source(std::int64_t x, std::int64_t y) const {
    const std::int64_t dx = x - width_ / 2;
    const std::int64_t dy = y - height_ / 2;
    const std::int64_t k = offset(weight(dx), weight(dy));
    return {norix::ClampIndex<std::int64_t>(moved(dx, k) + x, width_),
            norix::ClampIndex<std::int64_t>(moved(dy, k) + y, height_)};
  }

private:
  std::int64_t weight(std::int64_t distance) const {
    return tables_.weightTable[std::min<std::int64_t>(std::abs(distance), tables_.weightCount - 1)];
  }

  std::int64_t offset(std::int64_t a, std::int64_t b) const {
    // One Newton step towards sqrt(a^2 + b^2) from the longer leg.
    const std::int64_t m = std::max(a, b);
    const std::int64_t r = m == 0 ? 0 : ((a * a + b * b) / m + m) >> 1;
    const std::int64_t entry = r << 10 | (r + shift_) % wavelength_;
    return tables_.offsetTable[entry & (norix::kRippleEntries - 1)];
  }

  // The product wraps at 32 bits.
  static std::int64_t moved(std::int64_t distance, std::int64_t k) {
    const auto product = static_cast<std::uint32_t>(distance) * static_cast<std::uint32_t>(k);
    return static_cast<std::int32_t>(product) >> 10;
  }

  const RippleTables& tables_;
  int width_;
  int height_;
  std::int64_t wavelength_;
  std::int64_t shift_;
};

template <int kBytesPerPixel>
void RipplePacked(AVFrame& dst, const AVFrame& src, norix::Band rows, const Wave& wave) {
  const norix::ConstPlane from = norix::PlaneOf(src, 0);
  for (std::int64_t y = rows.first; y < rows.end(); ++y) {
    std::uint8_t* out = norix::PlaneOf(dst, 0).Row(y);
    for (int x = 0; x < src.width; ++x, out += kBytesPerPixel) {
      const Wave::Place at = wave.source(x, y);
      std::memcpy(out, from.Row(at.y) + at.x * kBytesPerPixel, kBytesPerPixel);
    }
  }
}

/// Chroma follows the even columns of the picture's even rows.
void RipplePlanar(AVFrame& dst, const AVFrame& src, norix::Band rows, const Wave& wave) {
  const norix::ConstPlane luma = norix::PlaneOf(src, 0);
  const norix::ConstPlane chromaU = norix::PlaneOf(src, 1);
  const norix::ConstPlane chromaV = norix::PlaneOf(src, 2);
  for (std::int64_t y = rows.first; y < rows.end(); ++y) {
    std::uint8_t* outY = norix::PlaneOf(dst, 0).Row(y);
    std::uint8_t* outU = norix::PlaneOf(dst, 1).Row(y >> 1);
    std::uint8_t* outV = norix::PlaneOf(dst, 2).Row(y >> 1);
    for (int x = 0; x < src.width; ++x) {
      const Wave::Place at = wave.source(x, y);
      outY[x] = luma.Row(at.y)[at.x];
      if (x % 2 != 0 || y % 2 != 0) continue;
      outU[x / 2] = chromaU.Row(at.y >> 1)[at.x >> 1];
      outV[x / 2] = chromaV.Row(at.y >> 1)[at.x >> 1];
    }
  }
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
  if (rowCount < 1) return;

  const std::int64_t phase = norix::TruncateToInt(wavelength * params->phase / 20.0);
  const Wave wave(*params->tables, src->width, src->height, wavelength, wavelength - phase % wavelength);
  const norix::Band rows = {firstRow, rowCount};
  switch (norix::LayoutOf(src->format)) {
    case norix::Layout::kPacked3:
      return RipplePacked<3>(*dst, *src, rows, wave);
    case norix::Layout::kPacked4:
      return RipplePacked<4>(*dst, *src, rows, wave);
    case norix::Layout::kPlanarAlpha:
      norix::CopyAlphaRows(*dst, *src, rows);
      [[fallthrough]];
    case norix::Layout::kPlanar:
      return RipplePlanar(*dst, *src, rows, wave);
    case norix::Layout::kUnknown:
      return;
  }
}
