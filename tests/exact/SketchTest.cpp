// Sketch where its mix lies on whole numbers, and where its strips and vectors end.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "exact/EffectComparison.h"
#include "support/Formats.h"
#include "support/Picture.h"
#include "support/Random.h"

namespace norix::test {

namespace {

constexpr std::array<int, 7> kPacked = {kRgb24, kBgr24, kRgba, kBgra, kRgb0, kBgr0, kBgra};
constexpr int kColumn = 4;  // pixels of one colour, the first three of which have like neighbours

/** A colour whose luminance is about `gray` and one of whose bytes is `byte`. */
std::array<int, 3> ColourOf(int gray, int byte, int position) {
  const int rest = position == 1 ? 1024 - 601 : position == 0 ? 1024 - 117 : 1024 - 306;
  const int other = std::clamp((gray * 1024 - byte * (1024 - rest)) / rest, 0, 255);
  std::array<int, 3> colour = {other, other, other};
  colour[static_cast<std::size_t>(position)] = byte;
  return colour;
}

/** Columns of one colour each: 2 g + bias is the edge value within, so that it takes all values against all colours. */
Picture Columns(int format, int bias, int height, Random& random) {
  Picture picture({format, 256 * kColumn + 37, height, {}, {}}, random.Next());
  const int bytes = FormatOf(format).bytesPerPixel;
  for (int row = 0; row < height; ++row) {
    const int band = row / 3;
    for (int x = 0; x < picture.Shape().width; ++x) {
      const int edge = (x / kColumn * 5 + band * 37) & 0xFF;
      const int byte = (x / kColumn + band * 11) & 0xFF;
      const auto colour = ColourOf(std::clamp((edge - bias) / 2, 0, 254), byte, band % 3);
      for (int b = 0; b < 3; ++b)
        picture.At(0, row, x * bytes + b) = static_cast<std::uint8_t>(colour[static_cast<std::size_t>(b)]);
    }
  }
  return picture;
}

int PackedBias(double amount) { return static_cast<int>(400 * (1 - amount) - 200); }

// A product of colour less edge may lie a rounding below a whole number: at the levels where many do, all pairs of both.
TEST(SketchTest, EveryDifferenceAtLevelsOnTies) {
  EffectComparison sketch("Sketch");
  Random random(1);
  for (int level = 0; level <= 10000; level += 500) {
    sketch.SetLevel(level);
    Picture source = Columns(kPacked[static_cast<std::size_t>(level / 500 % 7)], PackedBias(level / 10000.0), 180, random);
    ASSERT_TRUE(sketch.Agrees(source)) << "level " << level;
  }
}

TEST(SketchTest, EveryLevel) {
  EffectComparison sketch("Sketch");
  Random random(2);
  for (int level = 0; level <= 10000; ++level) {
    sketch.SetLevel(level);
    Picture source({random.Pick(kPacked), 48, 3, {}, {}}, random.Next());
    const int bytes = FormatOf(source.Shape().format).bytesPerPixel;
    for (int row = 0; row < 3; ++row)
      for (int x = 0; x < 48; ++x) {
        const int gray = std::clamp((x / 4 * 22 - PackedBias(level / 10000.0)) / 2, 0, 255);
        for (int b = 0; b < 3; ++b)
          source.At(0, row, x * bytes + b) = static_cast<std::uint8_t>(std::clamp(gray + random.Between(-9, 9), 0, 255));
      }
    ASSERT_TRUE(sketch.Agrees(source)) << "level " << level;
  }
}

// Amounts next to the ones with whole products, other fractions, and those that no level reaches.
TEST(SketchTest, AmountsOnBorders) {
  EffectComparison sketch("Sketch");
  Random random(3);
  std::vector<double> amounts = {1.0 / 3.0, 2.0 / 3.0, 1.0 / 7.0,    1e-17,    1e-16,     1e-12, -0.5,  1.5,         -1.0,
                                 3.0,       3.1,       2.9999999999, HUGE_VAL, -HUGE_VAL, -17.0, 1e300, std::nan("")};
  for (const double border : {0.1, 0.2, 0.3, 0.4, 0.6, 0.7, 0.8, 0.9, 0.5, 0.98, 0x1p-14, 1.0})
    for (const double step : {0x1p-53, 0x1p-51, 0x1p-48, 0x1p-44, 0x1p-40, 0x1p-34, 0x1p-28, 0x1p-20, 0x1p-14})
      for (const double sign : {-1.0, 1.0}) amounts.push_back(border * (1 + sign * step));
  for (const double amount : amounts) {
    sketch.SetFields({amount});
    const int bias = std::abs(amount) < 4 ? PackedBias(amount) : 0;
    Picture source = Columns(random.Pick(kPacked), bias, 12, random);
    ASSERT_TRUE(sketch.Agrees(source));
    Picture planar({kYuv420p, 70, 6, {}, {}}, random.Next());
    ASSERT_TRUE(sketch.Agrees(planar));
  }
}

TEST(SketchTest, EveryWidthUpToAFewVectors) {
  EffectComparison sketch("Sketch");
  Random random(4);
  for (int width = 1; width <= 150; ++width)
    for (const int format : {kBgra, kRgb24, kYuv420p})
      for (const double amount : {0.5, 0.8}) {
        sketch.SetFields({amount});
        const int height = random.Between(1, 6);
        Picture source({format, width, height, {3, 1, 2, 0}, {}}, random.Next(), Content::kPatches);
        ASSERT_TRUE(sketch.Agrees(source));
        const int first = random.Between(0, height - 1);
        ASSERT_TRUE(sketch.Agrees(source, {format, width, height, {}, {true, true, false, true}},
                                  {first, random.Between(1, height - first)}, random.Next()));
      }
}

TEST(SketchTest, WidthsAroundStrips) {
  EffectComparison sketch("Sketch");
  Random random(5);
  for (const int strips : {1, 2})
    for (int width = 1024 * strips - 3; width <= 1024 * strips + 70; ++width) {
      sketch.SetFields({random.OneIn(2) ? 0.37 : 0.7});
      Picture source({random.Pick(kPacked), width, 3, {}, {}}, random.Next(), Content::kPatches);
      ASSERT_TRUE(sketch.Agrees(source)) << "width " << width;
    }
}

TEST(SketchTest, PlanesAtTheEndOfMemory) {
  EffectComparison sketch("Sketch");
  Random random(6);
  for (const double amount : {0.37, 0.8})
    for (const int format : {kBgra, kRgb24, kBgr24, kYuv420p, kYuva420p})
      for (int width = 1; width <= 1200; width += width < 70 ? 1 : 161) {
        sketch.SetFields({amount});
        Picture source({format, width, 5, {}, {}}, 1);
        for (int row = 0; row < 5; ++row) {
          std::vector<int> values(static_cast<std::size_t>(source.RowBytes(0)));
          for (int& value : values) value = random.Between(90, 110);
          source.SetRow(0, row, values);
        }
        ASSERT_TRUE(sketch.AgreesBesidePages(source, Guard::kBehind));
      }
}

}  // namespace

}  // namespace norix::test
