// Ground Glass: the picture as seen through frosted glass. Pixels, in planar pictures 2x2 blocks, are copied from random
// places up to `amount` whole pixels away.
//
// Two numbers of the process-wide rand() are drawn for each, across and then down. In packed pictures the product that
// spreads them wraps at 32 bits, which leaves a displacement of nearly always -amount: a shift with frozen edges.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"

namespace {

constexpr std::int32_t kRandMax = 2147483647;

/// rand() spread over 0 .. 2 * radius by a product that wraps.
int PackedDraw(int radius) {
  const std::uint32_t product = static_cast<std::uint32_t>(std::rand()) * (2U * static_cast<std::uint32_t>(radius));
  return static_cast<std::int32_t>(product) / kRandMax;
}

/// rand() spread over -radius .. radius, even numbers only.
int PlanarDraw(int radius) {
  const double spread = (2 * static_cast<double>(std::rand()) / 2147483647.0 - 1.0) * radius;
  return norix::TruncateToInt(spread) & ~1;
}

template <int kBytesPerPixel>
void ScatterPacked(AVFrame& dst, const AVFrame& src, norix::Band rows, int radius) {
  const norix::ConstPlane from = norix::PlaneOf(src, 0);
  for (std::int64_t y = rows.first; y < rows.end(); ++y) {
    std::uint8_t* out = norix::PlaneOf(dst, 0).Row(y);
    for (int x = 0; x < src.width; ++x, out += kBytesPerPixel) {
      const int atX = norix::ClampIndex(PackedDraw(radius) + x - radius, src.width);
      const std::int64_t atY = norix::ClampIndex<std::int64_t>(PackedDraw(radius) - radius + y, src.height);
      std::memcpy(out, from.Row(atY) + static_cast<std::ptrdiff_t>(atX) * kBytesPerPixel, kBytesPerPixel);
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

/// The draws of a planar picture, kept inside it. The limits are odd, so that a block's second sample exists; with an even
/// width or height a block at the limit reads one column or row beyond.
class Displacement {
public:
  Displacement(int width, int height, int radius)
      : radius_(radius), highestX_(OddLimit(width)), highestY_(OddLimit(height)) {}

  std::int64_t across(std::int64_t x) const { return Kept(x + PlanarDraw(radius_), highestX_) - x; }
  std::int64_t down(std::int64_t y) const { return Kept(y + PlanarDraw(radius_), highestY_) - y; }

private:
  static std::int64_t OddLimit(int size) { return size % 2 == 0 ? size - 1 : size - 2; }
  static std::int64_t Kept(std::int64_t at, std::int64_t highest) {
    const std::int64_t upper = at > highest ? highest : at;
    return upper < 0 ? 0 : upper;
  }

  int radius_;
  std::int64_t highestX_;
  std::int64_t highestY_;
};

void ScatterPlanar(AVFrame& dst, const AVFrame& src, norix::Band rows, int radius) {
  const int width = src.width;
  const int height = src.height;
  const int chromaHeight = norix::ChromaSize(height);
  const bool oddWidth = width % 2 != 0;
  const Displacement displacement(width, height, radius);
  PlaneWalk luma(dst, src, 0, height, rows.first);
  PlaneWalk chromaU(dst, src, 1, chromaHeight, rows.first >> 1);
  PlaneWalk chromaV(dst, src, 2, chromaHeight, rows.first >> 1);

  const auto copyBlock = [&](std::int64_t x, int columns, int lumaRows, std::int64_t across, std::int64_t down) {
    for (int row = 0; row < lumaRows; ++row) {
      for (int column = 0; column < columns; ++column) luma.copy(x + column, row, across, down);
    }
    chromaU.copy(x / 2, 0, across >> 1, down >> 1);
    chromaV.copy(x / 2, 0, across >> 1, down >> 1);
  };
  /// A row of blocks. `down` draws the vertical displacement of one of them.
  const auto scatterRow = [&](int lumaRows, const auto& down) {
    for (int x = 0; x < width; x += 2) {
      const std::int64_t across = displacement.across(x);
      copyBlock(x, 2, lumaRows, across, down());
    }
    if (oddWidth) {
      const std::int64_t across = displacement.across(width - 1);
      copyBlock(width + 1, 1, lumaRows, across, down());
    }
  };

  const bool endsWithPicture = rows.end() == height && height % 2 != 0;
  const std::int64_t pairedRows = endsWithPicture ? rows.count - 1 : rows.count;
  for (std::int64_t r = 0; r < pairedRows; r += 2) {
    scatterRow(2, [&] { return displacement.down(rows.first + r); });
    // The step past the last block is never taken back.
    luma.moveOn(oddWidth ? 2 : 0, 2);
    chromaU.moveOn(oddWidth ? 1 : 0, 1);
    chromaV.moveOn(oddWidth ? 1 : 0, 1);
  }
  // A picture of odd height ends in a single row; so does every band of it, into the next band's rows.
  if (height % 2 != 0) scatterRow(1, [&] { return displacement.down(height - 1 + rows.first); });
}

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
      return ScatterPlanar(*dst, *src, rows, radius);
    case norix::Layout::kUnknown:
      return;
  }
}
