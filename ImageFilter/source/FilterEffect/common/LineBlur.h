#pragma once

// Nine-tap line blur: every sample becomes a weighted sum of nine source samples on a line through it. Where the line runs
// is the effect's business; weights, edges and output limits are the same for all line blurs.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"

namespace norix {

inline constexpr int kTapCount = 9;

// Neither set of weights is symmetric: the look of the blur rests on it.
inline constexpr std::array<int, kTapCount> kMainWeights = {19, 15, 11, 6, 26, 19, 15, 11, 6};      // of 128
inline constexpr std::array<int, kTapCount> kChromaWeights = {19, 30, 11, 12, 102, 38, 15, 23, 6};  // of 256

struct PlaneSize {
  int width;
  int height;
};

/// Tap k of the sample at column x and row y lies at column trunc((k - 4) dx + x) and row trunc((k - 4) dy + y), each moved
/// to the nearest of the plane. Both distances lose `step` with every column and every row: running sums.
struct BlurLine {
  double dx;  ///< in column 0
  double dy;  ///< in the first row of the band
  double step;
};

enum class BlurKind { kPacked, kLuma, kChroma };

/// A band of a plane, or of both chroma planes when their taps lie alike.
struct BlurJob {
  BlurKind kind;
  int bytesPerPixel;
  int planes;
  std::array<ConstPlane, 2> src;  ///< of one line size
  std::array<Plane, 2> dst;
  PlaneSize size;
  Band rows;
  BlurLine line;

  std::ptrdiff_t SourceLine() const { return src[0].lineSize; }
};

/// Luma ends in 16..235 and chroma in 16..240, whatever range the source uses.
inline std::uint8_t LumaOf(int sum) { return static_cast<std::uint8_t>(std::clamp(sum >> 7, 16, 235)); }
inline std::uint8_t ChromaOf(int sum) { return static_cast<std::uint8_t>(std::clamp(sum >> 8, 16, 240)); }

/// V takes the byte distances of U's taps. With another line size than U's they lead elsewhere; a tap that would so leave
/// the plane reads its lowest or highest sample. `chroma` is the job of U.
inline void BlurShearedV(AVFrame& dst, const AVFrame& src, const BlurJob& chroma) {
  const Plane to = PlaneOf(dst, 2);
  const ConstPlane from = PlaneOf(src, 2);
  const PlaneSize size = chroma.size;
  const std::ptrdiff_t lastRow = (size.height - 1) * from.lineSize;
  const std::ptrdiff_t lowest = std::min<std::ptrdiff_t>(lastRow, 0);
  const std::ptrdiff_t highest = std::max<std::ptrdiff_t>(lastRow, 0) + size.width - 1;
  double dy = chroma.line.dy;
  for (std::int64_t y = chroma.rows.first; y < chroma.rows.end(); ++y, dy -= chroma.line.step) {
    std::array<std::ptrdiff_t, kTapCount> down{};
    for (int k = 0; k < kTapCount; ++k) {
      const std::ptrdiff_t row = NearestIndex((k - 4) * dy + static_cast<double>(y), size.height);
      down[static_cast<std::size_t>(k)] = (row - y) * chroma.SourceLine();
    }
    double dx = chroma.line.dx;
    for (int x = 0; x < size.width; ++x, dx -= chroma.line.step) {
      int sum = 0;
      for (int k = 0; k < kTapCount; ++k) {
        const auto tap = static_cast<std::size_t>(k);
        const std::ptrdiff_t column = NearestIndex((k - 4) * dx + x, size.width);
        sum += from.data[std::clamp(y * from.lineSize + down[tap] + column, lowest, highest)] * kChromaWeights[tap];
      }
      to.Row(y)[x] = ChromaOf(sum);
    }
  }
}

/// Renders a band of a line blur. `lineFor(size, firstRow)` makes the line of a plane, given the plane's size and the first
/// row of the band in it; `render(job)` draws. Alpha passes unchanged; unknown formats are left alone.
template <class LineFor, class Render>
void BlurFrame(AVFrame& dst, const AVFrame& src, Band rows, const LineFor& lineFor, const Render& render) {
  if (rows.count < 1) return;
  const auto jobOf = [&](BlurKind kind, int bytesPerPixel, PlaneSize size, Band planeRows) {
    const int plane = kind == BlurKind::kChroma ? 1 : 0;
    return BlurJob{kind,
                   bytesPerPixel,
                   1,
                   {PlaneOf(src, plane), {}},
                   {PlaneOf(dst, plane), {}},
                   size,
                   planeRows,
                   lineFor(size, planeRows.first)};
  };
  const PlaneSize size = {src.width, src.height};
  switch (LayoutOf(src.format)) {
    case Layout::kPacked3:
      return render(jobOf(BlurKind::kPacked, 3, size, rows));
    case Layout::kPacked4:
      return render(jobOf(BlurKind::kPacked, 4, size, rows));
    case Layout::kPlanarAlpha:
      CopyAlphaRows(dst, src, rows);
      [[fallthrough]];
    case Layout::kPlanar: {
      render(jobOf(BlurKind::kLuma, 1, size, rows));
      const PlaneSize half = {ChromaSize(src.width), ChromaSize(src.height)};
      BlurJob chroma = jobOf(BlurKind::kChroma, 1, half, {rows.first >> 1, (rows.count + 1) / 2});
      const bool alike = src.linesize[1] == src.linesize[2];
      if (alike) {
        chroma.planes = 2;
        chroma.src[1] = PlaneOf(src, 2);
        chroma.dst[1] = PlaneOf(dst, 2);
      }
      render(chroma);
      if (!alike) BlurShearedV(dst, src, chroma);
      return;
    }
    case Layout::kUnknown:
      return;
  }
}

}  // namespace norix
