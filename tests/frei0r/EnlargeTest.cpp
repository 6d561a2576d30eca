// Enlarging the middle of a picture, as one group asks for.

#include "Enlarge.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace norix::test {

namespace {

using Pixels = std::vector<std::uint8_t>;

Pixels Enlarged(const Pixels& picture, int width, int height, int percentX, int percentY) {
  Pixels out(picture.size(), 99);
  frei0r::Enlarge(picture.data(), out.data(), width, height, percentX, percentY);
  return out;
}

/** Brightness grows by 8 from column to column. */
Pixels Ramp(int width, int height) {
  Pixels picture;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      for (int i = 0; i < 4; ++i) picture.push_back(static_cast<std::uint8_t>(8 * x + i));
  return picture;
}

TEST(EnlargeTest, LeavesAPictureOfItsOwnSize) { EXPECT_EQ(Enlarged(Ramp(13, 5), 13, 5, 100, 100), Ramp(13, 5)); }

TEST(EnlargeTest, HalvesTheSlopeOfARamp) {
  const Pixels out = Enlarged(Ramp(16, 4), 16, 4, 200, 200);
  for (std::size_t x = 1; x < 16; ++x) EXPECT_EQ(out[4 * x], out[4 * (x - 1)] + 4) << x;
  // The middle stays in the middle: between 56 and 64.
  EXPECT_EQ(out[28], 58);
  EXPECT_EQ(out[32], 62);
}

TEST(EnlargeTest, StretchesOneDirectionAlone) {
  const Pixels wide = Ramp(16, 4);
  EXPECT_EQ(Enlarged(wide, 16, 4, 100, 200), wide);
  EXPECT_NE(Enlarged(wide, 16, 4, 200, 100), wide);
}

TEST(EnlargeTest, TakesTheSmallestPicture) { EXPECT_EQ(Enlarged({1, 2, 3, 4}, 1, 1, 150, 200), (Pixels{1, 2, 3, 4})); }

}  // namespace

}  // namespace norix::test
