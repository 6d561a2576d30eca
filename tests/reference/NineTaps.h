/**
 * @file
 * Nine taps along a line and their weighted sums, as Zoom Blur and Motion Blur share them.
 */
#ifndef NORIX_TESTS_REFERENCE_NINETAPS_H
#define NORIX_TESTS_REFERENCE_NINETAPS_H

#include <algorithm>
#include <array>

#include "reference/Rules.h"

namespace norix::reference {

constexpr int kTaps = 9;

/** In bytes, from the pixel to its taps. */
using Offsets = std::array<std::int64_t, kTaps>;

constexpr std::array<int, kTaps> kMainWeights = {19, 15, 11, 6, 26, 19, 15, 11, 6};
constexpr std::array<int, kTaps> kChromaWeights = {19, 30, 11, 12, 102, 38, 15, 23, 6};

/** Where a tap lies, along one axis. */
inline std::int64_t TapPosition(int tap, double displacement, double position, int size) {
  return Clamp(Truncate((tap - 4) * displacement + position), size);
}

/** How far the nine taps lie from a position along one axis, in steps of `stepBytes`. */
inline Offsets TapOffsets(double displacement, double position, int size, std::int64_t stepBytes) {
  Offsets offsets;
  for (int k = 0; k < kTaps; ++k)
    offsets[static_cast<std::size_t>(k)] =
        (TapPosition(k, displacement, position, size) - static_cast<std::int64_t>(position)) * stepBytes;
  return offsets;
}

inline Offsets Sum(const Offsets& a, const Offsets& b) {
  Offsets sum;
  for (std::size_t k = 0; k < kTaps; ++k) sum[k] = a[k] + b[k];
  return sum;
}

inline int Weigh(const std::uint8_t* at, const Offsets& taps, const std::array<int, kTaps>& weights) {
  int sum = 0;
  for (std::size_t k = 0; k < kTaps; ++k) sum += weights[k] * at[taps[k]];
  return sum;
}

inline void BlurPixel(AVFrame& dst, const AVFrame& src, std::int64_t y, std::int64_t x, int bytesPerPixel,
                      const Offsets& taps) {
  const std::uint8_t* const in = RowOf(src, 0, y) + x * bytesPerPixel;
  std::uint8_t* const out = RowOf(dst, 0, y) + x * bytesPerPixel;
  for (int i = 0; i < 3; ++i) out[i] = static_cast<std::uint8_t>(Weigh(in + i, taps, kMainWeights) >> 7);
  if (bytesPerPixel == 4) out[3] = in[3];
}

inline void BlurLuma(AVFrame& dst, const AVFrame& src, std::int64_t y, std::int64_t x, const Offsets& taps) {
  const int sum = Weigh(RowOf(src, 0, y) + x, taps, kMainWeights);
  RowOf(dst, 0, y)[x] = static_cast<std::uint8_t>(sum < 2048 ? 16 : sum > 30207 ? 235 : sum >> 7);
}

inline std::uint8_t ChromaOf(int sum) {
  if (sum < 4096) return 16;
  if (sum > 61695) return 240;
  return static_cast<std::uint8_t>(sum >> 8);
}

/** The samples of U and V. */
inline void BlurChroma(AVFrame& dst, const AVFrame& src, std::int64_t y, std::int64_t x, const Offsets& taps) {
  RowOf(dst, 1, y)[x] = ChromaOf(Weigh(RowOf(src, 1, y) + x, taps, kChromaWeights));
  // V takes the offsets made for U's line size. With other line sizes of its own they lead to other rows, into padding, and
  // at last out of the plane, where the outermost sample is read instead.
  const std::int64_t chromaWidth = (std::int64_t{src.width} + 1) >> 1;
  const std::int64_t chromaHeight = (std::int64_t{src.height} + 1) >> 1;
  const std::int64_t lastRow = (chromaHeight - 1) * src.linesize[2];
  const std::int64_t lowest = std::min<std::int64_t>(0, lastRow);
  const std::int64_t highest = std::max<std::int64_t>(0, lastRow) + chromaWidth - 1;
  Offsets inPlane;
  for (std::size_t k = 0; k < kTaps; ++k) inPlane[k] = std::clamp(y * src.linesize[2] + x + taps[k], lowest, highest);
  RowOf(dst, 2, y)[x] = ChromaOf(Weigh(src.data[2], inPlane, kChromaWeights));
}

}  // namespace norix::reference

#endif
