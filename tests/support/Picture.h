#ifndef NORIX_TESTS_SUPPORT_PICTURE_H
#define NORIX_TESTS_SUPPORT_PICTURE_H

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/frame.h>
}

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "support/Formats.h"

namespace norix::test {

struct PictureShape {
  int format = kBgra;
  int width = 1;
  int height = 1;
  std::array<int, 4> padding{};   /**< bytes behind the pixels of every row, by plane */
  std::array<bool, 4> bottomUp{}; /**< negative line size, by plane */
};

/** What kind of samples a picture is filled with. */
enum class Content {
  kNoise,   /**< every byte of its own: no two positions can be taken for each other */
  kPatches, /**< runs of one value, often at the ends of the range: sums reach the limits of their output */
};

/**
 * An AVFrame that owns its planes. Before and behind each plane lies a fence, rows wide, so that a stray write shows and a
 * stray read stays within the process. Padding and fences always hold noise.
 */
class Picture {
public:
  Picture(const PictureShape& shape, std::uint64_t seed, Content content = Content::kNoise);
  Picture(const Picture& other);
  Picture& operator=(const Picture&) = delete;
  ~Picture() = default;

  AVFrame* Frame() { return &frame_; }
  const AVFrame* Frame() const { return &frame_; }
  const PictureShape& Shape() const { return shape_; }
  int PlaneCount() const { return FormatOf(shape_.format).planes; }

  /** Bytes of pixels in a row, padding not counted. */
  int RowBytes(int plane) const;
  int Rows(int plane) const;

  /** Any row and byte column that padding and fences still hold. */
  std::uint8_t& At(int plane, int row, int column);
  std::uint8_t At(int plane, int row, int column) const;

  /** Sets all pixels of a plane, not its padding. */
  void Fill(int plane, int value);

  /** The pixels of a row. */
  std::vector<int> Row(int plane, int row) const;

  void SetRow(int plane, int row, const std::vector<int>& values);

  /** Every byte: pixels, padding and fences; where they differ first, said with plane, row and column. */
  friend testing::AssertionResult SameBytes(const Picture& expected, const Picture& actual);

private:
  int LineBytes(int plane) const { return RowBytes(plane) + shape_.padding[static_cast<std::size_t>(plane)]; }
  std::size_t FenceBytes(int plane) const;
  std::string Locate(int plane, std::size_t position) const;
  void PointFrameAtPlanes();

  PictureShape shape_;
  std::array<std::vector<std::uint8_t>, 4> planes_;
  AVFrame frame_;
};

testing::AssertionResult SameBytes(const Picture& expected, const Picture& actual);

}  // namespace norix::test

#endif
