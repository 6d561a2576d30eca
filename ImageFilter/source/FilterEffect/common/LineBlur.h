#pragma once

// Nine-tap line blur: every sample becomes a weighted sum of nine source samples on a line through it. Where the taps lie
// is the effect's business; weights, edges and output limits are the same for all line blurs.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"

namespace norix {

inline constexpr int kTapCount = 9;
using Taps = std::array<std::ptrdiff_t, kTapCount>;

// Neither set of weights is symmetric: the look of the blur rests on it.
inline constexpr std::array<int, kTapCount> kMainWeights = {19, 15, 11, 6, 26, 19, 15, 11, 6};      // of 128
inline constexpr std::array<int, kTapCount> kChromaWeights = {19, 30, 11, 12, 102, 38, 15, 23, 6};  // of 256

struct PlaneSize {
  int width;
  int height;
};

inline int WeightedSum(const std::uint8_t* sample, const Taps& taps, const std::array<int, kTapCount>& weights) {
  int sum = 0;
  for (std::size_t k = 0; k < kTapCount; ++k) sum += sample[taps[k]] * weights[k];
  return sum;
}

// Luma ends in 16..235 and chroma in 16..240, whatever range the source uses.
inline std::uint8_t LumaOf(int sum) {
  if (sum < 16 << 7) return 16;
  if (sum > (236 << 7) - 1) return 235;
  return static_cast<std::uint8_t>(sum >> 7);
}
inline std::uint8_t ChromaOf(int sum) {
  if (sum < 16 << 8) return 16;
  if (sum > (241 << 8) - 1) return 240;
  return static_cast<std::uint8_t>(sum >> 8);
}

/// Visits every sample of a band of one plane with the byte distances from the sample to its nine taps.
///
/// `Line` is made once per plane and answers where the taps of a row or column lie, before truncation: `row(k, y)` for the
/// current row, `column(k, x)` for the current column. `nextRow()` and `nextColumn()` follow each row and column, and
/// `firstColumn()` begins a row.
template <class Line, class Visit>
void ForEachSample(Line line, PlaneSize size, Band rows, std::ptrdiff_t lineSize, int bytesPerPixel, const Visit& visit) {
  Taps rowOffsets;
  Taps taps;
  for (std::int64_t y = rows.first; y < rows.end(); ++y, line.nextRow()) {
    for (int k = 0; k < kTapCount; ++k) {
      const std::ptrdiff_t row = NearestIndex(line.row(k, static_cast<double>(y)), size.height);
      rowOffsets[static_cast<std::size_t>(k)] = (row - y) * lineSize;
    }
    line.firstColumn();
    for (int x = 0; x < size.width; ++x, line.nextColumn()) {
      for (int k = 0; k < kTapCount; ++k) {
        const std::ptrdiff_t column = NearestIndex(line.column(k, x), size.width);
        taps[static_cast<std::size_t>(k)] = rowOffsets[static_cast<std::size_t>(k)] + (column - x) * bytesPerPixel;
      }
      visit(x, y, taps);
    }
  }
}

template <int kBytesPerPixel, class Line>
void BlurPacked(AVFrame& dst, const AVFrame& src, Band rows, const Line& line) {
  const Plane to = PlaneOf(dst, 0);
  const ConstPlane from = PlaneOf(src, 0);
  ForEachSample(line, {src.width, src.height}, rows, from.lineSize, kBytesPerPixel,
                [&](std::ptrdiff_t x, std::int64_t y, const Taps& taps) {
                  const std::uint8_t* in = from.Row(y) + x * kBytesPerPixel;
                  std::uint8_t* out = to.Row(y) + x * kBytesPerPixel;
                  for (int c = 0; c < 3; ++c) {
                    out[c] = static_cast<std::uint8_t>(WeightedSum(in + c, taps, kMainWeights) >> 7);
                  }
                  if constexpr (kBytesPerPixel == 4) out[3] = in[3];
                });
}

template <class Line>
void BlurLuma(AVFrame& dst, const AVFrame& src, Band rows, const Line& line) {
  const Plane to = PlaneOf(dst, 0);
  const ConstPlane from = PlaneOf(src, 0);
  ForEachSample(line, {src.width, src.height}, rows, from.lineSize, 1,
                [&](std::ptrdiff_t x, std::int64_t y, const Taps& taps) {
                  to.Row(y)[x] = LumaOf(WeightedSum(from.Row(y) + x, taps, kMainWeights));
                });
}

/// U and V share U's tap distances, also where V has another line size; a tap that would so leave the V plane reads the
/// plane's lowest or highest sample.
template <class Line>
void BlurChroma(AVFrame& dst, const AVFrame& src, PlaneSize size, Band rows, const Line& line) {
  const Plane toU = PlaneOf(dst, 1);
  const Plane toV = PlaneOf(dst, 2);
  const ConstPlane u = PlaneOf(src, 1);
  const ConstPlane v = PlaneOf(src, 2);
  const std::ptrdiff_t lastRow = (size.height - 1) * v.lineSize;
  const std::ptrdiff_t lowest = std::min<std::ptrdiff_t>(lastRow, 0);
  const std::ptrdiff_t highest = std::max<std::ptrdiff_t>(lastRow, 0) + size.width - 1;
  ForEachSample(line, size, rows, u.lineSize, 1, [&](std::ptrdiff_t x, std::int64_t y, const Taps& taps) {
    toU.Row(y)[x] = ChromaOf(WeightedSum(u.Row(y) + x, taps, kChromaWeights));
    const std::ptrdiff_t place = y * v.lineSize + x;
    Taps inside;
    for (std::size_t k = 0; k < kTapCount; ++k) inside[k] = std::clamp(place + taps[k], lowest, highest);
    toV.Row(y)[x] = ChromaOf(WeightedSum(v.data, inside, kChromaWeights));
  });
}

/// Renders a band of a line blur. `lineFor(size, firstRow)` makes the Line of a plane, given the plane's size and the first
/// row of the band in it. Alpha passes unchanged; unknown formats are left alone.
template <class LineFor>
void BlurFrame(AVFrame& dst, const AVFrame& src, Band rows, const LineFor& lineFor) {
  if (rows.count < 1) return;
  const PlaneSize size = {src.width, src.height};
  switch (LayoutOf(src.format)) {
    case Layout::kPacked3:
      return BlurPacked<3>(dst, src, rows, lineFor(size, rows.first));
    case Layout::kPacked4:
      return BlurPacked<4>(dst, src, rows, lineFor(size, rows.first));
    case Layout::kPlanarAlpha:
      CopyAlphaRows(dst, src, rows);
      [[fallthrough]];
    case Layout::kPlanar: {
      const PlaneSize chroma = {ChromaSize(src.width), ChromaSize(src.height)};
      const Band chromaRows = {rows.first >> 1, (rows.count + 1) / 2};
      BlurLuma(dst, src, rows, lineFor(size, rows.first));
      BlurChroma(dst, src, chroma, chromaRows, lineFor(chroma, chromaRows.first));
      return;
    }
    case Layout::kUnknown:
      return;
  }
}

}  // namespace norix
