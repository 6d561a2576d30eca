// Ground Glass: the picture as seen through frosted glass. Pixels, in planar pictures 2x2 blocks, are copied from random
// places up to `amount` whole pixels away.
//
// Two numbers of the process-wide rand() are drawn for each, across and then down. In packed pictures the product that
// spreads them wraps at 32 bits, which leaves a displacement of nearly always -amount: a shift with frozen edges.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"

namespace {

constexpr std::int32_t kRandMax = 2147483647;

/// rand() spread over 0 .. 2 * radius by a product that wraps: -1 for -2^31, as this product is even, and otherwise 0.
int PackedDraw(int radius) {
  const std::uint32_t product = static_cast<std::uint32_t>(std::rand()) * (2U * static_cast<std::uint32_t>(radius));
  return static_cast<std::int32_t>(product) / kRandMax;
}

/// Fills in draws of rand() spread over -radius .. radius, even numbers only: trunc(((2 v / M) - 1) radius) with
/// M = 2^31 - 1, every step rounded.
///
/// The real value is a multiple of 1 / M, and whole only where v is 0 or M, as M is prime. So any order of rounding serves
/// that is exact at these two and elsewhere off by less than 1 / M > 4.6e-10: a product by the rounded 2 / M instead of the
/// quotient makes the error less than 7e-16 radius.
void DrawPlanar(int radius, int count, std::int32_t* draws) {
  constexpr double kShare = 2.0 / kRandMax;
  static_assert(kShare * kRandMax == 2.0);
  constexpr int kSurelyExact = 1 << 19;
  for (int i = 0; i < count; ++i) draws[i] = std::rand();
  if (radius <= kSurelyExact) {
    for (int i = 0; i < count; ++i) draws[i] = static_cast<int>((draws[i] * kShare - 1.0) * radius) & ~1;
  } else {
    for (int i = 0; i < count; ++i) {
      draws[i] = norix::TruncateToInt((2 * static_cast<double>(draws[i]) / kRandMax - 1.0) * radius) & ~1;
    }
  }
}

template <int kBytesPerPixel>
void ScatterPacked(AVFrame& dst, const AVFrame& src, norix::Band rows, int radius) {
  const norix::ConstPlane from = norix::PlaneOf(src, 0);
  const int width = src.width;
  const int height = src.height;
  for (std::int64_t y = rows.first; y < rows.end(); ++y) {
    // All that is not displaced otherwise: the row shifted, its first pixel frozen.
    std::uint8_t* out = norix::PlaneOf(dst, 0).Row(y);
    const std::uint8_t* usual = from.Row(norix::ClampIndex<std::int64_t>(y - radius, height));
    for (int x = 0; x < radius; ++x) std::memcpy(out + x * kBytesPerPixel, usual, kBytesPerPixel);
    const auto shifted = static_cast<std::size_t>(width - radius);
    std::memcpy(out + radius * kBytesPerPixel, usual, shifted * kBytesPerPixel);

    for (int x = 0; x < width; ++x) {
      const int across = PackedDraw(radius);
      const int down = PackedDraw(radius);
      if ((across | down) == 0) [[likely]]
        continue;
      const std::ptrdiff_t atX = norix::ClampIndex(across + x - radius, width);
      const std::int64_t atY = norix::ClampIndex<std::int64_t>(down - radius + y, height);
      std::memcpy(out + std::ptrdiff_t{x} * kBytesPerPixel, from.Row(atY) + atX * kBytesPerPixel, kBytesPerPixel);
    }
  }
}

/// One plane of both pictures, walked by byte positions: in pictures of odd width the walk drifts to the right, through
/// the lines' padding and into the next lines.
class PlaneWalk {
public:
  PlaneWalk(AVFrame& dst, const AVFrame& src, int plane, int height, std::int64_t firstRow)
      : dst_(norix::PlaneOf(dst, plane)),
        src_(norix::PlaneOf(src, plane)),
        height_(height),
        to_(firstRow * dst_.lineSize),
        from_(firstRow * src_.lineSize) {}

  /// Copies a sample `column` and `row` from here, from a place so many columns and rows away from it.
  void copy(std::int64_t column, std::int64_t row, std::int64_t acrossBy, std::int64_t downBy) const {
    const std::int64_t to = to_ + row * dst_.lineSize + column;
    const std::int64_t from = from_ + (row + downBy) * src_.lineSize + column + acrossBy;
    if (!Inside(dst_.lineSize, to) || src_.lineSize == 0) return;
    dst_.data[to] = src_.data[Returned(from)];
  }

  /// True if the walk's next `rows` rows of `columns` columns may be written without a look at the plane's ends, and so may
  /// be read from anywhere between `up` rows above and `down` rows below.
  bool roams(std::int64_t columns, std::int64_t rows, std::int64_t up, std::int64_t down) const {
    const auto holds = [&](std::int64_t lineSize, std::int64_t first, std::int64_t last) {
      return Inside(lineSize, first) && Inside(lineSize, last) && Inside(lineSize, first + columns - 1) &&
             Inside(lineSize, last + columns - 1);
    };
    return holds(dst_.lineSize, to_, to_ + (rows - 1) * dst_.lineSize) &&
           holds(src_.lineSize, from_ - up * src_.lineSize, from_ + (down + rows - 1) * src_.lineSize);
  }

  std::uint8_t* to(std::ptrdiff_t column) const { return dst_.data + to_ + column; }
  const std::uint8_t* from(std::ptrdiff_t column) const { return src_.data + from_ + column; }
  std::ptrdiff_t toLine() const { return dst_.lineSize; }
  std::ptrdiff_t fromLine() const { return src_.lineSize; }

  void moveOn(std::int64_t columns, std::int64_t rows) {
    to_ += columns + rows * dst_.lineSize;
    from_ += columns + rows * src_.lineSize;
  }

private:
  /// The bytes of a plane: from its lowest line's first to its highest line's last.
  std::int64_t Lowest(std::int64_t lineSize) const { return lineSize < 0 ? (height_ - 1) * lineSize : 0; }
  std::int64_t End(std::int64_t lineSize) const { return lineSize < 0 ? -lineSize : height_ * lineSize; }
  bool Inside(std::int64_t lineSize, std::int64_t at) const { return at >= Lowest(lineSize) && at < End(lineSize); }

  /// A position outside the plane, moved by whole lines until it is inside.
  std::int64_t Returned(std::int64_t at) const {
    const std::int64_t line = std::abs(src_.lineSize);
    const std::int64_t lowest = Lowest(src_.lineSize);
    const std::int64_t end = End(src_.lineSize);
    if (at >= end) at -= (at - end) / line * line + line;
    if (at < lowest) at += (lowest - at + line - 1) / line * line;
    return at;
  }

  norix::Plane dst_;
  norix::ConstPlane src_;
  std::int64_t height_;
  std::int64_t to_;
  std::int64_t from_;
};

/// Even displacements of blocks, kept inside the picture. The limits are odd, so that a block's second sample exists; with
/// an even width or height a block at the limit reads one column or row beyond.
class Limits {
public:
  Limits(int width, int height) : highestX_(OddLimit(width)), highestY_(OddLimit(height)) {}

  template <class Int>
  Int across(Int x, Int draw) const {
    return Kept<Int>(x + draw, highestX_) - x;
  }
  template <class Int>
  Int down(Int y, Int draw) const {
    return Kept<Int>(y + draw, highestY_) - y;
  }

private:
  static int OddLimit(int size) { return size % 2 == 0 ? size - 1 : size - 2; }
  template <class Int>
  static Int Kept(Int at, Int highest) {
    const Int upper = at > highest ? highest : at;
    return upper < 0 ? 0 : upper;
  }

  int highestX_;
  int highestY_;
};

class PlanarScatter {
public:
  PlanarScatter(AVFrame& dst, const AVFrame& src, norix::Band rows, int radius)
      : width_(src.width),
        height_(src.height),
        radius_(radius),
        rows_(rows),
        limits_(src.width, src.height),
        luma_(dst, src, 0, src.height, rows.first),
        chromaU_(dst, src, 1, norix::ChromaSize(src.height), rows.first >> 1),
        chromaV_(dst, src, 2, norix::ChromaSize(src.height), rows.first >> 1) {}

  void Run() {
    const bool oddWidth = width_ % 2 != 0;
    const bool endsWithPicture = rows_.end() == height_ && height_ % 2 != 0;
    const std::int64_t pairedRows = endsWithPicture ? rows_.count - 1 : rows_.count;
    for (std::int64_t r = 0; r < pairedRows; r += 2) {
      ScatterRow(rows_.first + r, 2);
      // The step past the last block is never taken back.
      luma_.moveOn(oddWidth ? 2 : 0, 2);
      chromaU_.moveOn(oddWidth ? 1 : 0, 1);
      chromaV_.moveOn(oddWidth ? 1 : 0, 1);
    }
    // A picture of odd height ends in a single row; so does every band of it, into the next band's rows.
    if (height_ % 2 != 0) ScatterRow(height_ - 1 + rows_.first, 1);
  }

private:
  // rand() guards its state with instructions that wait for stores and loads on their way, so a run of blocks is drawn
  // before any of it is copied.
  static constexpr int kRun = 512;

  /// A row of blocks, displaced as if it lay at row `y`.
  void ScatterRow(std::int64_t y, int lumaRows) const {
    const bool roams = lumaRows == 2 && Roams(y);
    const int blocks = norix::ChromaSize(width_);
    std::int32_t draws[2 * kRun];
    for (int first = 0; first < blocks; first += kRun) {
      const int count = std::min(blocks - first, kRun);
      DrawPlanar(radius_, 2 * count, draws);
      if (roams) {
        CopyBlocks(2 * first, static_cast<int>(y), count, draws);
        continue;
      }
      for (int i = 0; i < count; ++i) {
        const std::int64_t x = 2 * (std::int64_t{first} + i);
        CopyBlock(x, 2, lumaRows, limits_.across<std::int64_t>(x, draws[2 * i]),
                  limits_.down<std::int64_t>(y, draws[2 * i + 1]));
      }
    }
    if (width_ % 2 != 0) {
      DrawPlanar(radius_, 2, draws);
      CopyBlock(width_ + 1, 1, lumaRows, limits_.across<std::int64_t>(width_ - 1, draws[0]),
                limits_.down<std::int64_t>(y, draws[1]));
    }
  }

  /// True if no block of the row pair at `y` can touch the end of a plane.
  bool Roams(std::int64_t y) const {
    const std::int64_t up = -limits_.down<std::int64_t>(y, -radius_ - 1);
    const std::int64_t down = limits_.down<std::int64_t>(y, radius_);
    const int columns = norix::ChromaSize(width_) + 1;
    return luma_.roams(2 * columns, 2, up, down) && chromaU_.roams(columns, 1, (up + 1) / 2, down / 2) &&
           chromaV_.roams(columns, 1, (up + 1) / 2, down / 2);
  }

  void CopyBlock(std::int64_t x, int columns, int lumaRows, std::int64_t across, std::int64_t down) const {
    for (int row = 0; row < lumaRows; ++row) {
      for (int column = 0; column < columns; ++column) luma_.copy(x + column, row, across, down);
    }
    chromaU_.copy(x / 2, 0, across >> 1, down >> 1);
    chromaV_.copy(x / 2, 0, across >> 1, down >> 1);
  }

  /// Whole blocks from column `x` on, in the middle of the planes.
  void CopyBlocks(int x, int y, int count, const std::int32_t* draws) const {
    std::int32_t across[kRun];
    std::int32_t down[kRun];
    for (int i = 0; i < count; ++i) {
      across[i] = limits_.across(x + 2 * i, draws[2 * i]);
      down[i] = limits_.down(y, draws[2 * i + 1]);
    }
    CopyLuma(x, count, across, down);
    CopyChroma(chromaU_, x / 2, count, across, down);
    CopyChroma(chromaV_, x / 2, count, across, down);
  }

  void CopyLuma(int x, int count, const std::int32_t* across, const std::int32_t* down) const {
    const std::ptrdiff_t inLine = luma_.fromLine();
    const std::uint8_t* in = luma_.from(x);
    std::uint8_t* out = luma_.to(x);
    std::uint8_t* out2 = out + luma_.toLine();
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      const std::uint8_t* from = in + 2 * i + across[i] + down[i] * inLine;
      std::memcpy(out + 2 * i, from, 2);
      std::memcpy(out2 + 2 * i, from + inLine, 2);
    }
  }

  static void CopyChroma(const PlaneWalk& plane, int x, int count, const std::int32_t* across, const std::int32_t* down) {
    const std::ptrdiff_t inLine = plane.fromLine();
    const std::uint8_t* in = plane.from(x);
    std::uint8_t* out = plane.to(x);
    for (std::ptrdiff_t i = 0; i < count; ++i) out[i] = in[i + (across[i] >> 1) + (down[i] >> 1) * inLine];
  }

  int width_;
  int height_;
  int radius_;
  norix::Band rows_;
  Limits limits_;
  PlaneWalk luma_;
  PlaneWalk chromaU_;
  PlaneWalk chromaV_;
};

}  // namespace

void GroundGlass(AVFrame* dst, AVFrame* src, GroundGlassParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params) return CopyFrameData(dst, src, firstRow, rowCount);
  const int radius = norix::TruncateToInt(params->amount);
  if (src->height / 2 <= radius || radius < 1 || src->width / 2 <= radius) {
    return CopyFrameData(dst, src, firstRow, rowCount);
  }
  if (rowCount < 1) return;

  const norix::Band rows = {firstRow, rowCount};
  switch (norix::LayoutOf(src->format)) {
    case norix::Layout::kPacked3:
      return ScatterPacked<3>(*dst, *src, rows, radius);
    case norix::Layout::kPacked4:
      return ScatterPacked<4>(*dst, *src, rows, radius);
    case norix::Layout::kPlanarAlpha:
      norix::CopyAlphaRows(*dst, *src, rows);
      [[fallthrough]];
    case norix::Layout::kPlanar:
      return PlanarScatter(*dst, *src, rows, radius).Run();
    case norix::Layout::kUnknown:
      return;
  }
}
