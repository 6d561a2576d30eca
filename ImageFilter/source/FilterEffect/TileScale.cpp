// Tile Scale: shrinks the picture and repeats it as a grid of tiles, one of them in the middle, the outer ones cut off.
//
// A tile has trunc(W scale + 0.5) x trunc(H scale + 0.5) pixels, rounded down to even, each the nearest source pixel:
// column j of a tile shows source column trunc(c + 0.5), c being a running sum of 1 / scale from 0. Down the band the
// source row is such a sum too; it starts again at row 0 when it reaches the picture's height. Alpha planes are not tiled.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FilterEffect/TileScale.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/RunningSum-inl.h"
#include "FilterEffect/common/VectorOps-inl.h"

#ifndef NORIX_TILE_SCALE_SETUP
#define NORIX_TILE_SCALE_SETUP

namespace norix {

/// A plane's tiles, and the band of it to draw.
struct TileJob {
  int planes;  ///< one, or two that are tiled alike
  std::array<Plane, 2> to;
  std::array<ConstPlane, 2> from;
  int bytesPerPixel;
  int width;
  int height;
  Band rows;
  int tileWidth;
  int tileHeight;
  int middle;  ///< column of the tile in the middle, which is whole
  double step;
  int firstSourceRow;
};

}  // namespace norix

#endif

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {

inline constexpr int kTileStrip = 2048;                // columns
inline constexpr int kTilePatterns = kTileStrip * 16;  // bytes

/// Sixteen bytes from many windows are still faster than one by one; four pixels are not.
constexpr int MostTileWindows(int bytesPerPixel) { return bytesPerPixel == 1 ? 8 : 4; }

/// A strip of a tile's columns: where they lie in a source row, and how to fetch groups of them in vectors.
struct TileStrip {
  int count;
  int windows;   ///< of 16 bytes, for each block of a vector; 0: none fit
  bool vectors;  ///< 4-byte pixels are fetched from two vectors instead
  std::int32_t column[kTileStrip];
  std::int32_t base[kTileStrip / 4];
  alignas(64) std::uint8_t pattern[kTilePatterns];
};

/// Fills in the columns and moves `sum` on to the column after them.
inline void FillTileColumns(TileStrip& strip, int count, int width, double step, double& sum) {
  double place[kTileStrip];
  sum = FillRunningSum(sum, step, static_cast<std::size_t>(count), place);
  strip.count = count;
  strip.windows = 0;
  strip.vectors = false;
  int i = 0;
#if HWY_TARGET != HWY_SCALAR
  const hn::ScalableTag<double> d;
  const hn::Rebind<std::int32_t, decltype(d)> d32;
  const int lanes = static_cast<int>(hn::Lanes(d));
  // The sum may become infinite but not NaN: its step is not negative. Only a very long sum could leave the row.
  for (; i + lanes <= count; i += lanes) {
    const auto rounded = hn::Add(hn::LoadU(d, place + i), hn::Set(d, 0.5));
    hn::StoreU(hn::DemoteTo(d32, hn::Min(rounded, hn::Set(d, width - 1))), d32, strip.column + i);
  }
#endif
  for (; i < count; ++i) strip.column[i] = NearestIndex(place[i] + 0.5, width);
}

#if HWY_TARGET != HWY_SCALAR
inline constexpr int kTileBlocks = static_cast<int>(hn::MaxLanes(Bytes())) / 16;

/// Pixels in a block of a vector. Blocks of 3-byte pixels have twelve bytes.
constexpr int TileBlock(int bytesPerPixel) { return bytesPerPixel == 1 ? 16 : 4; }

/// Where the pixels of a vector start. The last of a strip ends with it and overlaps the one before.
inline int TileVectorStart(const TileStrip& strip, int index, int pixels) {
  return std::min(index * pixels, strip.count - pixels);
}

/// Fetches from two vectors, one after the other, where no vector spans more. They never leave the row.
inline bool PrepareTileVectors(TileStrip& strip, int width) {
#if HWY_TARGET <= HWY_AVX2
  const Dwords d;
  const Bytes d8;
  const int pixels = static_cast<int>(hn::Lanes(d));
  if (strip.count < pixels || width < 2 * pixels) return false;
  for (int v = 0; v * pixels < strip.count; ++v) {
    const std::int32_t* column = strip.column + TileVectorStart(strip, v, pixels);
    const int base = std::min(column[0], width - 2 * pixels);
    if (column[pixels - 1] >= base + 2 * pixels) return false;
    const auto index = hn::Sub(hn::LoadU(d, column), hn::Set(d, base));
    hn::Store(hn::BitCast(d8, index), d8, strip.pattern + v * pixels * 4);
    strip.base[v] = base * 4;
  }
  return true;
#else
  static_cast<void>(strip);
  static_cast<void>(width);
  return false;
#endif
}

/// Fetches from windows of 16 bytes, one after the other, as many as the widest block needs. They never leave the row.
template <int kBytesPerPixel>
void PrepareTileWindows(TileStrip& strip, int width) {
  constexpr int kBlock = TileBlock(kBytesPerPixel);
  constexpr int kPixels = kBlock * kTileBlocks;
  if (strip.count < kPixels) return;
  std::int64_t widest = 0;
  for (int v = 0; v * kPixels < strip.count; ++v) {
    const std::int32_t* column = strip.column + TileVectorStart(strip, v, kPixels);
    for (int block = 0; block < kTileBlocks; ++block, column += kBlock) {
      widest = std::max(widest, (std::int64_t{column[kBlock - 1]} - column[0] + 1) * kBytesPerPixel);
    }
  }
  if (widest > 16 * MostTileWindows(kBytesPerPixel)) return;
  const int windows = (static_cast<int>(widest) + 15) / 16;
  const int last = width * kBytesPerPixel - 16 * windows;
  if (last < 0) return;
  const hn::FixedTag<std::uint8_t, 16> d8;
  const hn::FixedTag<std::int32_t, 4> d;
  // Every pixel's place is copied to its bytes, to which their numbers are added.
  alignas(16) static constexpr std::uint8_t kCopy3[16] = {0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 0, 0, 0, 0};
  alignas(16) static constexpr std::uint8_t kCopy4[16] = {0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3};
  alignas(16) static constexpr std::uint8_t kNumber3[16] = {0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 0, 0, 0};
  alignas(16) static constexpr std::uint8_t kNumber4[16] = {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3};
  const auto copy = hn::Load(d8, kBytesPerPixel == 3 ? kCopy3 : kCopy4);
  const auto number = hn::Load(d8, kBytesPerPixel == 3 ? kNumber3 : kNumber4);
  for (int v = 0; v * kPixels < strip.count; ++v) {
    const std::int32_t* column = strip.column + TileVectorStart(strip, v, kPixels);
    for (int block = 0; block < kTileBlocks; ++block, column += kBlock) {
      const int base = std::min(column[0] * kBytesPerPixel, last);
      strip.base[v * kTileBlocks + block] = base;
      const auto placesAt = [&](int i) HWY_ATTR {
        const auto at = hn::LoadU(d, column + i);
        const auto scaled = kBytesPerPixel == 1 ? at : hn::Mul(at, hn::Set(d, kBytesPerPixel));
        return hn::Sub(scaled, hn::Set(d, base));
      };
      auto place = hn::Zero(d8);
      if constexpr (kBytesPerPixel == 1) {
        place = BytesOfDwords(placesAt(0), placesAt(4), placesAt(8), placesAt(12));
      } else {
        const auto four = placesAt(0);
        place = hn::Add(hn::TableLookupBytes(BytesOfDwords(four, four, four, four), copy), number);
      }
      // A lookup gives 0 for 128 and more. The saturated sum leaves places below 16, and makes 128 and more of all others.
      for (int w = 0; w < windows; ++w) {
        const auto mine = hn::Sub(place, hn::Set(d8, static_cast<std::uint8_t>(16 * w)));
        const auto pattern = hn::Xor(hn::SaturatedAdd(mine, hn::Set(d8, 112)), hn::Set(d8, 112));
        hn::Store(pattern, d8, strip.pattern + ((v * windows + w) * kTileBlocks + block) * 16);
      }
    }
  }
  strip.windows = windows;
}

template <int kBytesPerPixel, int kWindows>
HWY_INLINE void SampleTileWindows(const TileStrip& strip, const std::uint8_t* in, std::uint8_t* out) {
  constexpr int kPixels = TileBlock(kBytesPerPixel) * kTileBlocks;
  constexpr int kVectorSize = 16 * kTileBlocks;
  const Bytes d;
  const std::int32_t* base = strip.base;
  const std::uint8_t* pattern = strip.pattern;
  const auto next = [&]() HWY_ATTR {
    auto v = hn::TableLookupBytesOr0(LoadBlocks(in, base), hn::Load(d, pattern));
    for (int w = 1; w < kWindows; ++w) {
      const auto more = LoadBlocks(in + 16 * w, base);
      v = hn::Or(v, hn::TableLookupBytesOr0(more, hn::Load(d, pattern + w * kVectorSize)));
    }
    base += kTileBlocks;
    pattern += kWindows * kVectorSize;
    if constexpr (kBytesPerPixel == 3) v = JoinTwelves(v);
    return v;
  };
  // A vector of 3-byte pixels is stored with a third too much, which those after it cover.
  constexpr int kStored = kBytesPerPixel == 3 ? (kVectorSize + 2) / 3 : kPixels;
  int x = 0;
  for (; x + std::max(kStored, kPixels + 1) <= strip.count; x += kPixels) hn::StoreU(next(), d, out + x * kBytesPerPixel);
  for (; x < strip.count; x += kPixels) {
    std::uint8_t* rest = out + std::min(x, strip.count - kPixels) * kBytesPerPixel;
    if constexpr (kBytesPerPixel == 3) {
      alignas(64) std::uint8_t pixels[kVectorSize];
      hn::Store(next(), d, pixels);
      std::memcpy(rest, pixels, kPixels * 3);
    } else {
      hn::StoreU(next(), d, rest);
    }
  }
}

#if HWY_TARGET <= HWY_AVX2
HWY_INLINE void SampleTileVectors(const TileStrip& strip, const std::uint8_t* in, std::uint8_t* out) {
  const Dwords d;
  const Bytes d8;
  const int pixels = static_cast<int>(hn::Lanes(d));
  for (int v = 0; v * pixels < strip.count; ++v) {
    const std::uint8_t* from = in + strip.base[v];
    const auto a = hn::BitCast(d, hn::LoadU(d8, from));
    const auto b = hn::BitCast(d, hn::LoadU(d8, from + pixels * 4));
    const auto index = hn::BitCast(d, hn::Load(d8, strip.pattern + v * pixels * 4));
    hn::StoreU(hn::BitCast(d8, LookupInTwo(a, b, index)), d8, out + TileVectorStart(strip, v, pixels) * 4);
  }
}
#endif
#endif

template <int kBytesPerPixel>
void SampleTileStrip(const TileStrip& strip, const std::uint8_t* in, std::uint8_t* out) {
#if HWY_TARGET != HWY_SCALAR
#if HWY_TARGET <= HWY_AVX2
  if (strip.vectors) return SampleTileVectors(strip, in, out);
#endif
  switch (strip.windows) {
    case 1:
      return SampleTileWindows<kBytesPerPixel, 1>(strip, in, out);
    case 2:
      return SampleTileWindows<kBytesPerPixel, 2>(strip, in, out);
    case 3:
      return SampleTileWindows<kBytesPerPixel, 3>(strip, in, out);
    case 4:
      return SampleTileWindows<kBytesPerPixel, 4>(strip, in, out);
    default:
      break;
  }
  if constexpr (kBytesPerPixel == 1) {
    switch (strip.windows) {
      case 5:
        return SampleTileWindows<1, 5>(strip, in, out);
      case 6:
        return SampleTileWindows<1, 6>(strip, in, out);
      case 7:
        return SampleTileWindows<1, 7>(strip, in, out);
      case 8:
        return SampleTileWindows<1, 8>(strip, in, out);
      default:
        break;
    }
  }
#endif
  for (int j = 0; j < strip.count; ++j) {
    std::memcpy(out + j * kBytesPerPixel, in + std::ptrdiff_t{strip.column[j]} * kBytesPerPixel, kBytesPerPixel);
  }
}

/// Repeats the whole tile that lies at `begin` over the row, in both directions. All counts are bytes.
inline void RepeatTile(std::uint8_t* row, std::ptrdiff_t begin, std::ptrdiff_t tile, std::ptrdiff_t width) {
  std::ptrdiff_t end = begin + tile;
  for (std::ptrdiff_t period = tile; end < width; period = (end - begin) / tile * tile) {
    const std::ptrdiff_t count = std::min(period, width - end);
    std::memcpy(row + end, row + end - period, static_cast<std::size_t>(count));
    end += count;
  }
  while (begin > 0) {
    const std::ptrdiff_t period = (end - begin) / tile * tile;
    const std::ptrdiff_t count = std::min(period, begin);
    begin -= count;
    std::memcpy(row + begin, row + begin + period, static_cast<std::size_t>(count));
  }
}

/// Repeats a part of the tile, that lies at `begin`, at every distance of whole tiles from there.
inline void RepeatTilePart(std::uint8_t* row, std::ptrdiff_t begin, std::ptrdiff_t size, std::ptrdiff_t tile,
                           std::ptrdiff_t width) {
  for (std::ptrdiff_t at = begin + tile; at < width; at += tile) {
    std::memcpy(row + at, row + begin, static_cast<std::size_t>(std::min(size, width - at)));
  }
  for (std::ptrdiff_t at = begin - tile; at + size > 0; at -= tile) {
    const std::ptrdiff_t cut = std::max<std::ptrdiff_t>(-at, 0);
    std::memcpy(row + at + cut, row + begin + cut, static_cast<std::size_t>(size - cut));
  }
}

template <int kBytesPerPixel>
void DrawTileRows(const TileJob& job) {
  const std::int64_t distinctRows = std::min<std::int64_t>(job.rows.count, job.tileHeight);
  const std::ptrdiff_t rowBytes = std::ptrdiff_t{job.width} * kBytesPerPixel;
  const std::ptrdiff_t tileBytes = std::ptrdiff_t{job.tileWidth} * kBytesPerPixel;
  const bool wholeTiles = job.tileWidth <= kTileStrip;
  TileStrip strip;
  double across = 0.0;
  for (int first = 0; first < job.tileWidth; first += kTileStrip) {
    FillTileColumns(strip, std::min(job.tileWidth - first, kTileStrip), job.width, job.step, across);
#if HWY_TARGET != HWY_SCALAR
    if (distinctRows > 1) {
      if constexpr (kBytesPerPixel == 4) strip.vectors = PrepareTileVectors(strip, job.width);
      if (!strip.vectors) PrepareTileWindows<kBytesPerPixel>(strip, job.width);
    }
#endif
    const std::ptrdiff_t begin = (std::ptrdiff_t{job.middle} + first) * kBytesPerPixel;
    const std::ptrdiff_t size = std::ptrdiff_t{strip.count} * kBytesPerPixel;
    for (std::size_t plane = 0; plane < static_cast<std::size_t>(job.planes); ++plane) {
      const Plane to = job.to[plane];
      const ConstPlane from = job.from[plane];
      std::int64_t sourceRow = job.firstSourceRow;
      double down = 0.0;
      for (std::int64_t i = 0; i < distinctRows; ++i) {
        const std::int64_t y = ClampIndex<std::int64_t>(sourceRow + TruncateToInt(down + 0.5), job.height);
        std::uint8_t* out = to.Row(job.rows.first + i);
        SampleTileStrip<kBytesPerPixel>(strip, from.Row(y), out + begin);
        if (wholeTiles) {
          RepeatTile(out, begin, tileBytes, rowBytes);
        } else {
          RepeatTilePart(out, begin, size, tileBytes, rowBytes);
        }
        // The rows a tile further down, while this one is in the cache.
        for (std::int64_t below = i + job.tileHeight; below < job.rows.count; below += job.tileHeight) {
          std::uint8_t* copy = to.Row(job.rows.first + below);
          if (wholeTiles) {
            std::memcpy(copy, out, static_cast<std::size_t>(rowBytes));
          } else {
            std::memcpy(copy + begin, out + begin, static_cast<std::size_t>(size));
            RepeatTilePart(copy, begin, size, tileBytes, rowBytes);
          }
        }
        down += job.step;
        if (TruncateToInt(down + 0.5) + sourceRow >= job.height) {
          sourceRow = 0;
          down = 0.0;
        }
      }
    }
  }
}

void DrawTiles(const TileJob& job) {
  if (job.bytesPerPixel == 1) return DrawTileRows<1>(job);
  if (job.bytesPerPixel == 3) return DrawTileRows<3>(job);
  DrawTileRows<4>(job);
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix {
HWY_EXPORT(DrawTiles);
static void RenderTiles(const TileJob& job) { HWY_DYNAMIC_DISPATCH(DrawTiles)(job); }
}  // namespace norix

namespace {

constexpr double kNegligible = 1e-5;

/// Rounds half up, toward zero below.
int Rounded(double value) { return norix::TruncateToInt(value + 0.5); }

int EvenSize(int size, double scale) { return Rounded(size * scale) & ~1; }

/// The scale to use. A negative one is set to 0 in the object too, perhaps by several bands at a time.
double SettledScale(TileScaleParams& params) {
  const std::atomic_ref<double> scale(params.scale);
  if (scale.load(std::memory_order_relaxed) < 0) scale.store(0.0, std::memory_order_relaxed);
  return scale.load(std::memory_order_relaxed);
}

}  // namespace

void TileScale(AVFrame* dst, AVFrame* src, TileScaleParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params) return CopyFrameData(dst, src, firstRow, rowCount);
  const double scale = SettledScale(*params);
  // Tiles larger than the picture make no grid.
  if (std::fabs(scale - 1) < kNegligible || scale > 1) return CopyFrameData(dst, src, firstRow, rowCount);
  const int width = src->width;
  const int height = src->height;
  const int tileWidth = EvenSize(width, scale);
  const int tileHeight = EvenSize(height, scale);
  if (tileWidth < 1 || tileHeight < 1 || rowCount < 1) return;

  const int marginX = Rounded((width - tileWidth) * 0.5);
  const int marginY = Rounded((height - tileHeight) * 0.5);
  // The topmost tile that reaches into the picture.
  int tileTop = tileHeight + marginY;
  do {
    tileTop -= tileHeight;
  } while (tileTop > 0);
  const norix::Band rows = {firstRow, rowCount};
  const std::int64_t rowInTile = (rows.first - tileTop) % tileHeight;
  const int firstSourceRow = Rounded(static_cast<double>(rowInTile) / scale);

  norix::TileJob job = {1,
                        {norix::PlaneOf(*dst, 0), {}},
                        {norix::PlaneOf(std::as_const(*src), 0), {}},
                        1,
                        width,
                        height,
                        rows,
                        tileWidth,
                        tileHeight,
                        marginX,
                        1 / scale,
                        firstSourceRow};
  switch (norix::LayoutOf(src->format)) {
    case norix::Layout::kPacked3:
      job.bytesPerPixel = 3;
      return norix::RenderTiles(job);
    case norix::Layout::kPacked4:
      job.bytesPerPixel = 4;
      return norix::RenderTiles(job);
    case norix::Layout::kPlanarAlpha:
      norix::CopyAlphaRows(*dst, *src, rows);
      [[fallthrough]];
    case norix::Layout::kPlanar:
      norix::RenderTiles(job);
      job.planes = 2;
      job.to = {norix::PlaneOf(*dst, 1), norix::PlaneOf(*dst, 2)};
      job.from = {norix::PlaneOf(std::as_const(*src), 1), norix::PlaneOf(std::as_const(*src), 2)};
      job.width = norix::ChromaSize(width);
      job.height = norix::ChromaSize(height);
      job.rows = {(rows.first + 1) >> 1, (rows.count + 1) >> 1};
      job.tileWidth = norix::ChromaSize(tileWidth);
      job.tileHeight = norix::ChromaSize(tileHeight);
      job.middle = (marginX + 1) >> 1;
      job.firstSourceRow = firstSourceRow / 2;
      return norix::RenderTiles(job);
    case norix::Layout::kUnknown:
      return;
  }
}

#endif
