// Every effect and format against the reference: all bytes of two destinations that began alike.

#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <iostream>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "exact/EffectComparison.h"
#include "exact/ParamObject.h"
#include "reference/Reference.h"
#include "support/Formats.h"
#include "support/Picture.h"
#include "support/Random.h"
#include "support/Tally.h"
#include "support/Targets.h"

namespace norix::test {

namespace {

using reference::Effect;

constexpr int kLevels[] = {0, 1, 2500, 5000, 9999, 10000};

struct Size {
  int width;
  int height;
};

constexpr Size kSizes[] = {{1, 1}, {1, 13},  {1, 64},  {13, 1},  {64, 1},   {2, 2},  {3, 3},  {5, 7},
                           {7, 5}, {16, 16}, {17, 33}, {64, 48}, {101, 10}, {10, 9}, {35, 2}, {131, 77}};

struct Band {
  int firstRow;
  int rowCount;
};

struct Case {
  Effect effect{};
  PictureShape src;
  PictureShape dst;
  Band band{};
  ParamObject params;
  Content content = Content::kNoise;
  std::uint64_t seed = 0;
};

std::string ListOf(const PictureShape& shape) {
  std::ostringstream text;
  for (int plane = 0; plane < FormatOf(shape.format).planes; ++plane) {
    const auto index = static_cast<std::size_t>(plane);
    text << (plane == 0 ? "" : ", ") << '+' << shape.padding[index] << (shape.bottomUp[index] ? " bottom-up" : "");
  }
  return text.str();
}

std::string Describe(const Case& test) {
  std::ostringstream text;
  text << std::setprecision(17) << test.effect.name << ", " << FormatOf(test.src.format).name << ' ' << test.src.width
       << 'x' << test.src.height << ", band " << test.band.firstRow << " of " << test.band.rowCount << " rows, fields {";
  for (std::size_t i = 0; i < test.params.FieldCount(); ++i) text << (i == 0 ? "" : ", ") << test.params.Field(i);
  text << '}' << (test.params.Get() == nullptr ? " (null parameters)" : "") << ", source lines " << ListOf(test.src)
       << "; destination lines " << ListOf(test.dst) << "; content " << static_cast<int>(test.content) << ", seed "
       << test.seed;
  return text.str();
}

testing::AssertionResult Agrees(const Case& test) {
  Picture source(test.src, test.seed, test.content);
  const Picture untouchedSource = source;
  const Picture before(test.dst, ~test.seed);

  // An effect may draw random numbers; then it draws as many as the reference.
  const auto randomSeed = static_cast<unsigned>(test.seed);
  Picture expected = before;
  const ParamObject expectedParams = test.params.Clone();
  std::srand(randomSeed);
  test.effect.render(*expected.Frame(), *source.Frame(), expectedParams.Get(), test.band.firstRow, test.band.rowCount);
  const int expectedDraw = std::rand();

  for (const std::int64_t target : Targets()) {
    const ForcedTarget forced(target);
    const auto failure = [&] {
      return testing::AssertionFailure() << Describe(test) << ", with " << TargetName(target) << "\n  ";
    };
    Picture actual = before;
    const ParamObject actualParams = test.params.Clone();
    // The band at row 0 prepares what an effect keeps in its parameters; without one the others might wait for ever.
    if (test.band.firstRow != 0)
      filter_video_frame(actual.Frame(), source.Frame(), test.effect.name, actualParams.Get(), 0, 0, 0);
    std::srand(randomSeed);
    const int answer = filter_video_frame(actual.Frame(), source.Frame(), test.effect.name, actualParams.Get(), 0,
                                          test.band.firstRow, test.band.rowCount);
    const int actualDraw = std::rand();

    Count(target, actual);
    if (answer != 0) return failure() << "answered " << answer;
    if (const auto same = SameBytes(expected, actual); !same) return failure() << same.message();
    if (const auto same = SameBytes(untouchedSource, source); !same) return failure() << "source: " << same.message();
    if (!actualParams.SameAs(expectedParams)) return failure() << "the parameters changed otherwise than the reference's";
    if (actualDraw != expectedDraw) return failure() << "drew another count of random numbers";
  }
  return testing::AssertionSuccess();
}

void RandomLines(PictureShape& shape, Random& random) {
  const int kind = random.Between(0, 5);
  const int widest = random.OneIn(8) ? 150 : 20;
  for (std::size_t plane = 0; plane < 4; ++plane) {
    shape.padding[plane] = kind == 0 ? 0 : random.Between(0, widest);
    shape.bottomUp[plane] = kind == 1 || (kind == 2 && random.OneIn(2));
  }
  if (kind == 3) shape.padding[2] = shape.padding[1];
}

void SetShapes(Case& test, int format, Size size, Random& random) {
  test.src = {format, size.width, size.height, {}, {}};
  test.dst = test.src;
  RandomLines(test.src, random);
  RandomLines(test.dst, random);
  test.content = random.OneIn(3) ? Content::kPatches : Content::kNoise;
  test.seed = random.Next();
}

int RandomLength(Random& random) {
  switch (random.Between(0, 7)) {
    case 0:
    case 1:
      return random.Between(1, 9);
    case 2:
      return random.Between(65, 200);
    default:
      return random.Between(10, 64);
  }
}

Band RandomBand(int height, Random& random) {
  constexpr int kLeast = std::numeric_limits<int>::min();
  constexpr int kMost = std::numeric_limits<int>::max();
  constexpr std::array<Band, 6> kEmpty = {{{0, 0}, {0, -1}, {1, -2}, {0, kLeast}, {kMost, 0}, {kLeast, -1}}};
  if (random.OneIn(25)) return random.Pick(kEmpty);
  if (random.OneIn(5)) return {0, height};
  const int first = random.Between(0, height - 1);
  const int longest = height - first;
  return {first, random.OneIn(3) ? longest : random.Between(1, longest)};
}

double HostileNumber(Random& random) {
  // Of a huge angle the last bit decides everything, so that no other order of products can hide.
  // Draws in statements of their own come in the same order from every compiler.
  const int sign = random.OneIn(2) ? 1 : -1;
  if (random.OneIn(4)) return sign * std::pow(10.0, random.Real(4.0, 20.0));
  if (random.OneIn(8)) return sign * std::pow(10.0, random.Real(-320.0, 308.0));
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  static const std::vector<double> kNumbers = {std::numeric_limits<double>::quiet_NaN(),
                                               kInfinity,
                                               -kInfinity,
                                               1e300,
                                               -1e300,
                                               1e-300,
                                               -1e-300,
                                               std::numeric_limits<double>::denorm_min(),
                                               0.0,
                                               -0.0,
                                               1.0,
                                               -1.0,
                                               2.0,
                                               0.5,
                                               1e-5,
                                               std::nextafter(1e-5, 0.0),
                                               std::nextafter(1e-5, 1.0),
                                               -1e-5,
                                               25.0,
                                               100.0,
                                               100.75,
                                               std::nextafter(101.0, 0.0),
                                               101.0,
                                               360.0,
                                               2147483647.0,
                                               -2147483648.0,
                                               4294967296.0,
                                               1e10,
                                               -1e10};
  return random.Pick(kNumbers);
}

double OrdinaryNumber(Random& random) {
  switch (random.Between(0, 5)) {
    case 0:
      return random.Real(-2.0, 3.0);
    case 1:
      return random.Real(0.0, 400.0);
    case 2:
      return std::pow(10.0, random.Real(-6.0, 4.0));
    case 3:
      return random.Between(-8, 16) * 0.125;
    default:
      return random.Real(0.0, 1.0);
  }
}

ParamObject RandomParams(const char* name, Random& random) {
  if (random.OneIn(25)) return {};
  ParamObject params(
      name, random.OneIn(3) ? random.Pick(std::vector<int>{0, 1, 2500, 5000, 9999, 10000}) : random.Between(0, 10000));
  const std::size_t count = params.FieldCount();
  if (count == 0) return params;
  const auto anyField = static_cast<std::size_t>(random.Between(0, static_cast<int>(count) - 1));
  switch (random.Between(0, 5)) {
    case 0:
      break;
    case 1:
      params.SetField(anyField, OrdinaryNumber(random));
      break;
    case 2:
      params.SetField(anyField, HostileNumber(random));
      break;
    case 3:
      for (std::size_t i = 0; i < count; ++i)
        if (random.OneIn(2)) params.SetField(i, HostileNumber(random));
      break;
    default:
      for (std::size_t i = 0; i < count; ++i) params.SetField(i, OrdinaryNumber(random));
  }
  return params;
}

Case RandomCase(const Effect& effect, int format, Random& random) {
  Case test;
  test.effect = effect;
  Size size{RandomLength(random), RandomLength(random)};
  if (random.OneIn(12)) size.width = 1;
  if (random.OneIn(12)) size.height = 1;
  SetShapes(test, format, size, random);
  test.band = RandomBand(size.height, random);
  test.params = RandomParams(effect.name, random);
  return test;
}

/** One for the whole run: from the environment, or from the machine. */
std::uint64_t FreshSeed() {
  static const std::uint64_t kSeed = [] {
    std::uint64_t seed = std::random_device{}();
    if (const char* const given = std::getenv("NORIX_TEST_SEED"); given != nullptr)
      std::from_chars(given, given + std::strlen(given), seed);
    std::cout << "NORIX_TEST_SEED=" << seed << std::endl;
    return seed;
  }();
  return kSeed;
}

/** Tells the tests of different effects and formats apart, so that each has cases of its own. */
std::uint64_t SeedFor(const Effect& effect, int format, std::uint64_t base) {
  Random random(base);
  std::uint64_t seed = random.Next() + static_cast<std::uint64_t>(format) * 1000003U;
  for (const char* letter = effect.name; *letter != '\0'; ++letter)
    seed = Random(seed + static_cast<unsigned char>(*letter)).Next();
  return seed;
}

class ExactTest : public testing::TestWithParam<std::tuple<Effect, Format>> {
protected:
  void SetUp() override { filter_check_format(effect_.name, kBgra); }

  Random RandomFrom(std::uint64_t base) const { return Random(SeedFor(effect_, NumberOf(format_), base)); }

  const Effect effect_ = std::get<0>(GetParam());
  const Format format_ = std::get<1>(GetParam());
};

TEST_P(ExactTest, WholePicturesAtLevels) {
  Random random = RandomFrom(1);
  for (const Size size : kSizes)
    for (const int level : kLevels) {
      Case test;
      test.effect = effect_;
      SetShapes(test, format_.code, size, random);
      test.band = {0, size.height};
      test.params = ParamObject(effect_.name, level);
      ASSERT_TRUE(Agrees(test));
    }
}

TEST_P(ExactTest, BandsAndFields) {
  Random random = RandomFrom(2);
  for (int i = 0; i < 500; ++i) ASSERT_TRUE(Agrees(RandomCase(effect_, format_.code, random)));
}

TEST_P(ExactTest, FreshBandsAndFields) {
  const std::uint64_t seed = FreshSeed();
  RecordProperty("NORIX_TEST_SEED", std::to_string(seed));
  SCOPED_TRACE("NORIX_TEST_SEED=" + std::to_string(seed));
  Random random = RandomFrom(seed);
  for (int i = 0; i < 500; ++i) ASSERT_TRUE(Agrees(RandomCase(effect_, format_.code, random)));
}

INSTANTIATE_TEST_SUITE_P(All, ExactTest,
                         testing::Combine(testing::ValuesIn(reference::Effects().begin(), reference::Effects().end()),
                                          testing::ValuesIn(AllFormats().begin(), AllFormats().end())),
                         NameOfCase);

/** A size that hosts really use: rounding errors of running sums have a long way to grow. Slow, so only a few. */
class FullHdTest : public ExactTest {};

TEST_P(FullHdTest, DefaultAndStrongest) {
  Random random = RandomFrom(3);
  for (const int level : {5000, 10000}) {
    Case test;
    test.effect = effect_;
    SetShapes(test, format_.code, {1920, 1080}, random);
    test.band = {0, 1080};
    test.params = ParamObject(effect_.name, level);
    ASSERT_TRUE(Agrees(test));
  }
}

TEST_P(FullHdTest, BandWithOddNumbers) {
  Random random = RandomFrom(4);
  Case test;
  test.effect = effect_;
  SetShapes(test, format_.code, {1919, 1079}, random);
  test.band = {random.Between(100, 400) | 1, random.Between(50, 300) | 1};
  test.params = ParamObject(effect_.name, 7321);
  for (std::size_t i = 0; i < test.params.FieldCount(); ++i)
    test.params.SetField(i, test.params.Field(i) * random.Real(0.8, 1.2));
  ASSERT_TRUE(Agrees(test));
}

INSTANTIATE_TEST_SUITE_P(All, FullHdTest,
                         testing::Combine(testing::ValuesIn(reference::Effects().begin(), reference::Effects().end()),
                                          testing::Values(FormatOf(kYuv420p), FormatOf(kRgb24), FormatOf(kBgra))),
                         NameOfCase);

}  // namespace

}  // namespace norix::test
