// Emboss where its sums lie on whole numbers or halves, and where its strips, tiles and vectors end.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "exact/EffectComparison.h"
#include "support/Formats.h"
#include "support/Picture.h"
#include "support/Random.h"

namespace norix::test {

namespace {

constexpr int kPainted[] = {kBgra, kRgb24, kYuv420p};

/** Ways to make the differences 0 or small, which is where ties are. */
enum class Paint { kFlat, kNearlyFlat, kTwoPeriodic, kRamp, kMixed };
constexpr Paint kPaints[] = {Paint::kFlat, Paint::kNearlyFlat, Paint::kTwoPeriodic, Paint::kRamp, Paint::kMixed};

int Value(Paint paint, int row, int column, int base, Random& random) {
  switch (paint) {
    case Paint::kFlat:
      return base;
    case Paint::kNearlyFlat:
      return std::clamp(base + random.Between(-1, 1), 0, 255);
    case Paint::kTwoPeriodic:
      return ((row ^ column) & 1) != 0 ? base : 255 - base / 2;
    case Paint::kRamp:
      return (base + 5 * column + 3 * row) & 0xFF;
    case Paint::kMixed:
      return Value(kPaints[(column / 97 + row / 23) % 4], row, column, base, random);
  }
  return 0;
}

void Fill(Picture& picture, Paint paint, Random& random) {
  for (int plane = 0; plane < picture.PlaneCount(); ++plane) {
    const int bytes = plane == 0 ? FormatOf(picture.Shape().format).bytesPerPixel : 1;
    std::array<int, 4> bases{};
    for (int& base : bases) base = random.Between(0, 255);
    for (int row = 0; row < picture.Rows(plane); ++row)
      for (int at = 0; at < picture.RowBytes(plane); ++at) {
        const int base = bases[static_cast<std::size_t>(at % bytes)];
        picture.At(plane, row, at) = static_cast<std::uint8_t>(Value(paint, row, at / bytes, base, random));
      }
  }
}

Paint AnyPaint(Random& random) { return kPaints[random.Between(0, 4)]; }

// Levels whose products often meet whole numbers or halves, and others in between.
TEST(EmbossTest, TiesAtManyLevels) {
  EffectComparison emboss("Emboss");
  Random random(1);
  for (int level = 20; level <= 10000; level += 20)
    for (const int format : kPainted) {
      emboss.SetLevel(random.OneIn(3) ? level - random.Between(1, 19) : level);
      Picture source({format, random.Between(20, 60), 6, {}, {}}, random.Next());
      Fill(source, AnyPaint(random), random);
      ASSERT_TRUE(emboss.Agrees(source)) << "level " << level;
    }
}

// Wide and high enough for several strips and tiles; patterns make whole strips doubtful, or parts of them.
TEST(EmbossTest, StripsAndTiles) {
  EffectComparison emboss("Emboss");
  Random random(2);
  for (const int level : {1000, 2000, 3700, 5000, 6000, 9999})
    for (const int format : kPainted)
      for (const Paint paint : kPaints) {
        emboss.SetLevel(level);
        const PictureShape shape{format, random.Between(385, 800), random.Between(33, 50), {5, 1, 3, 0}, {}};
        Picture source(shape, random.Next());
        Fill(source, paint, random);
        const int first = random.Between(0, 17);
        ASSERT_TRUE(emboss.Agrees(source));
        ASSERT_TRUE(emboss.Agrees(source, {format, shape.width, shape.height, {}, {true, false, true, false}},
                                  {first, random.Between(1, shape.height - first)}, random.Next()));
      }
}

TEST(EmbossTest, EveryWidthUpToAFewVectors) {
  EffectComparison emboss("Emboss");
  Random random(3);
  for (int width = 1; width <= 140; ++width)
    for (const int format : kPainted)
      for (const double amount : {0.2, 0.37, 0.5}) {
        emboss.SetFields({amount});
        Picture source({format, width, 4, {}, {}}, random.Next());
        Fill(source, AnyPaint(random), random);
        ASSERT_TRUE(emboss.Agrees(source)) << "width " << width;
      }
}

TEST(EmbossTest, WidthsAroundStrips) {
  EffectComparison emboss("Emboss");
  Random random(4);
  for (const int strip : {96, 128, 192, 256, 384, 512, 768})
    for (int width = strip - 4; width <= strip + 13; ++width)
      for (const int format : kPainted)
        for (const Paint paint : {Paint::kNearlyFlat, Paint::kTwoPeriodic}) {
          emboss.SetFields({random.OneIn(2) ? 0.2 : 0.37});
          Picture source({format, width, 3, {}, {}}, random.Next());
          Fill(source, paint, random);
          ASSERT_TRUE(emboss.Agrees(source)) << "width " << width;
        }
}

// Amounts at the ends of the lanes' range, next to fractions with exact products and next to multiples of 2^-14.
TEST(EmbossTest, AmountsOnBorders) {
  EffectComparison emboss("Emboss");
  Random random(5);
  std::vector<double> amounts = {1.0 / 3.0, 1.0 / 7.0, 2.0 / 255.0, 1e-5,  1.9,      3.7,
                                 4.0,       17.0,      1e6,         1e300, HUGE_VAL, std::nan("")};
  for (const double border : {0.1, 0.2, 0.3, 0.6, 0.5, 0x1p-14, 3 * 0x1p-14, 1.0, 2.0 - 0x1p-14, 2.0})
    for (const double step : {0x1p-52, 0x1p-46, 0x1p-40, 0x1p-34, 0x1p-28, 0x1p-20, 0x1p-14})
      for (const double sign : {-1.0, 0.0, 1.0}) amounts.push_back(border * (1 + sign * step));
  for (const double amount : amounts) {
    emboss.SetFields({amount});
    for (const int format : kPainted)
      for (const Paint paint : kPaints) {
        Picture source({format, 70, 5, {}, {}}, random.Next());
        Fill(source, paint, random);
        ASSERT_TRUE(emboss.Agrees(source));
      }
  }
}

// Noise between rows of patterns: tiles turn to double lanes at any of their rows, up to the last, and strips do so alone.
TEST(EmbossTest, TilesThatTurnDense) {
  EffectComparison emboss("Emboss");
  Random random(7);
  for (int turn = 0; turn <= 68; ++turn)
    for (const int format : {kBgra, kRgb24}) {
      emboss.SetFields({turn % 2 == 0 ? 0.6 : 0.37});
      Picture source({format, random.Between(250, 300), 70, {}, {}}, random.Next());
      const int from = random.Between(0, source.RowBytes(0) - 1);
      for (int row = turn; row < source.Rows(0); ++row)
        for (int at = from; at < source.RowBytes(0); ++at)
          source.At(0, row, at) = static_cast<std::uint8_t>(Value(Paint::kTwoPeriodic, row, at, 90, random));
      ASSERT_TRUE(emboss.Agrees(source)) << "from row " << turn;
    }
}

TEST(EmbossTest, PlanesAtTheEndOfMemory) {
  EffectComparison emboss("Emboss");
  Random random(6);
  for (const double amount : {0.2, 0.5})
    for (const int format : {kBgra, kRgb24, kYuv420p, kYuva420p})
      for (int width = 1; width <= 300; width += width < 40 ? 1 : 37) {
        emboss.SetFields({amount});
        Picture source({format, width, 5, {}, {}}, random.Next());
        switch (random.Between(0, 2)) {
          case 0:
            for (int plane = 0; plane < source.PlaneCount(); ++plane) source.Fill(plane, 90);
            break;
          case 1:
            Fill(source, Paint::kTwoPeriodic, random);
            break;
          default:
            break;
        }
        ASSERT_TRUE(emboss.AgreesBesidePages(source, Guard::kBehind));
      }
}

}  // namespace

}  // namespace norix::test
