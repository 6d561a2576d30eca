#include <cstdint>
#include <cstdlib>

#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

namespace {

/** A random number times the doubled radius wraps in 32 bits: the quotient is nearly always 0. */
std::int64_t PackedDisplacement(int radius) {
  const std::uint32_t product = static_cast<std::uint32_t>(std::rand()) * (2U * static_cast<std::uint32_t>(radius));
  return static_cast<std::int32_t>(product) / 2147483647;
}

void ScatterPacked(AVFrame& dst, const AVFrame& src, int radius, std::int64_t firstRow, int rowCount, int bytesPerPixel) {
  for (std::int64_t y = firstRow; y < firstRow + rowCount; ++y)
    for (std::int64_t x = 0; x < src.width; ++x) {
      const std::int64_t column = Clamp(PackedDisplacement(radius) + x - radius, src.width);
      const std::int64_t row = Clamp(PackedDisplacement(radius) - radius + y, src.height);
      for (int i = 0; i < bytesPerPixel; ++i)
        RowOf(dst, 0, y)[x * bytesPerPixel + i] = RowOf(src, 0, row)[column * bytesPerPixel + i];
    }
}

/** A plane as one run of bytes, counted from the first byte of row 0. */
class Bytes {
public:
  Bytes(const AVFrame& frame, int plane, std::int64_t rows)
      : data_(frame.data[plane]),
        line_(std::abs(std::int64_t{frame.linesize[plane]})),
        lowest_(frame.linesize[plane] < 0 ? (rows - 1) * frame.linesize[plane] : 0),
        end_(lowest_ + rows * line_) {}

  std::uint8_t Read(std::int64_t position) const {
    while (position >= end_) position -= line_;
    while (position < lowest_) position += line_;
    return data_[position];
  }

  void Write(std::int64_t position, std::uint8_t value) const {
    if (position >= lowest_ && position < end_) data_[position] = value;
  }

private:
  std::uint8_t* data_;
  std::int64_t line_;
  std::int64_t lowest_;
  std::int64_t end_;
};

/** One plane of both frames, and the place in each that the walk has come to. */
struct Walk {
  Walk(const AVFrame& dst, const AVFrame& src, int plane, std::int64_t rows, std::int64_t firstRow)
      : out(dst, plane, rows),
        in(src, plane, rows),
        outLine(dst.linesize[plane]),
        inLine(src.linesize[plane]),
        outAt(firstRow * outLine),
        inAt(firstRow * inLine) {}

  /** Copies the sample at a column and a row from the walk's place, displaced in the source. */
  void Copy(std::int64_t column, int row, std::int64_t dx, std::int64_t dy) const {
    out.Write(outAt + row * outLine + column, in.Read(inAt + (row + dy) * inLine + column + dx));
  }

  void Move(std::int64_t rows, std::int64_t columns) {
    outAt += rows * outLine + columns;
    inAt += rows * inLine + columns;
  }

  Bytes out;
  Bytes in;
  std::int64_t outLine;
  std::int64_t inLine;
  std::int64_t outAt;
  std::int64_t inAt;
};

std::int64_t PlanarDisplacement(int radius) {
  const double number = std::rand();
  return Truncate(((2.0 * number) / 2147483647.0 - 1.0) * radius) & ~1;
}

std::int64_t Limit(std::int64_t position, std::int64_t highest) {
  if (position > highest) position = highest;
  if (position < 0) position = 0;
  return position;
}

/** The highest odd position there is. */
std::int64_t LastOdd(int size) { return size % 2 == 0 ? size - 1 : size - 2; }

void ScatterPlanar(AVFrame& dst, const AVFrame& src, int radius, std::int64_t firstRow, int rowCount) {
  const std::int64_t width = src.width;
  const std::int64_t height = src.height;
  const bool oddWidth = width % 2 != 0;
  const bool oddHeight = height % 2 != 0;
  const std::int64_t lastX = LastOdd(src.width);
  const std::int64_t lastY = LastOdd(src.height);

  Walk luma(dst, src, 0, height, firstRow);
  Walk u(dst, src, 1, (height + 1) >> 1, firstRow >> 1);
  Walk v(dst, src, 2, (height + 1) >> 1, firstRow >> 1);

  // One row of blocks, `rows` luma rows high, moved as if they lay at row `y`.
  const auto scatterRow = [&](int rows, std::int64_t y) {
    const auto rowMove = [&] { return Limit(y + PlanarDisplacement(radius), lastY) - y; };
    for (std::int64_t x = 0; x < width; x += 2) {
      const std::int64_t dx = Limit(x + PlanarDisplacement(radius), lastX) - x;
      const std::int64_t dy = rowMove();
      for (int row = 0; row < rows; ++row) {
        luma.Copy(x, row, dx, dy);
        luma.Copy(x + 1, row, dx, dy);
      }
      u.Copy(x / 2, 0, dx >> 1, dy >> 1);
      v.Copy(x / 2, 0, dx >> 1, dy >> 1);
    }
    if (!oddWidth) return;
    // The single column is displaced as the last one would be, and yet lies behind the last block.
    const std::int64_t dx = Limit(width - 1 + PlanarDisplacement(radius), lastX) - (width - 1);
    const std::int64_t dy = rowMove();
    for (int row = 0; row < rows; ++row) luma.Copy(width + 1, row, dx, dy);
    u.Copy((width + 1) / 2, 0, dx >> 1, dy >> 1);
    v.Copy((width + 1) / 2, 0, dx >> 1, dy >> 1);
  };

  const bool singleRowIsLast = oddHeight && firstRow + rowCount == height;
  const std::int64_t pairedRows = singleRowIsLast ? rowCount - 1 : rowCount;
  for (std::int64_t r = 0; r < pairedRows; r += 2) {
    scatterRow(2, firstRow + r);
    // The single column makes every row pair of an odd width begin further right.
    luma.Move(2, oddWidth ? 2 : 0);
    u.Move(1, oddWidth ? 1 : 0);
    v.Move(1, oddWidth ? 1 : 0);
  }
  if (oddHeight) scatterRow(1, height - 1 + firstRow);
}

}  // namespace

void ReferenceGroundGlass(AVFrame& dst, const AVFrame& src, const GroundGlassParams* params, int firstRow, int rowCount) {
  if (!HasPicture(dst, src)) return;
  const int radius = params == nullptr ? 0 : Truncate(params->amount);
  if (radius < 1 || radius >= src.height / 2 || radius >= src.width / 2) {
    ReferenceCopyBand(dst, src, firstRow, rowCount);
    return;
  }
  if (rowCount < 1) return;
  if (IsPacked3(src.format)) ScatterPacked(dst, src, radius, firstRow, rowCount, 3);
  if (IsPacked4(src.format)) ScatterPacked(dst, src, radius, firstRow, rowCount, 4);
  if (src.format == test::kYuva420p) CopyRows(dst, src, 3, firstRow, rowCount);
  if (IsPlanar(src.format)) ScatterPlanar(dst, src, radius, firstRow, rowCount);
}

}  // namespace norix::reference
