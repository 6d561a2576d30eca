#ifndef NORIX_TESTS_EXACT_EFFECTCOMPARISON_H
#define NORIX_TESTS_EXACT_EFFECTCOMPARISON_H

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "exact/ParamObject.h"
#include "reference/Reference.h"
#include "support/Formats.h"
#include "support/GuardedPicture.h"
#include "support/Picture.h"
#include "support/Random.h"
#include "support/Targets.h"

namespace norix::test {

struct BandOfRows {
  int firstRow;
  int rowCount;
};

/** Lines with a few bytes of padding or none, sometimes bottom-up; those of U and V are often alike. */
PictureShape ShapeWithLines(int format, int width, int height, Random& random);

/** The whole picture or a part of it, which often ends at the bottom. */
BandOfRows SomeRows(int height, Random& random);

/** Every row of one value, by its number, so that all values meet the distances of all columns. */
Picture RowsOfOneValue(const PictureShape& shape, int step);

/** One effect against its reference on every instruction set: pictures, parameters and the place in the random sequence. */
class EffectComparison {
public:
  /** With the settings of level 5000. */
  explicit EffectComparison(const char* name, const std::vector<double>& fields = {});

  void SetLevel(int level) { params_ = ParamObject(effect_.name, level); }

  /** Renders without a parameter object. */
  void DropParams() { params_ = ParamObject(); }

  std::size_t FieldCount() const { return params_.FieldCount(); }
  void SetField(std::size_t index, double value) { params_.SetField(index, value); }

  /** Fields from the first on; those not given keep their values. */
  void SetFields(const std::vector<double>& values);

  /** The destination holds noise beforehand. */
  testing::AssertionResult Agrees(const Picture& source, const PictureShape& dst, BandOfRows band, std::uint64_t seed,
                                  std::span<const std::int64_t> targets = Targets()) const;

  /** A source of noise. */
  testing::AssertionResult Agrees(const PictureShape& dst, const PictureShape& src, BandOfRows band,
                                  std::uint64_t seed) const;

  /** The whole of a painted picture. */
  testing::AssertionResult Agrees(const Picture& source) const;

  /** The whole picture and a part of it, of noise. */
  testing::AssertionResult AgreesOnNoise(const PictureShape& shape, Random& random) const;

  /** The whole picture, with planes of source and destination beside unreadable pages: a stray access ends the program. */
  testing::AssertionResult AgreesBesidePages(const Picture& source, Guard guard) const;

private:
  /** What a band leaves in the destination and the parameters, and which random number comes next. */
  struct Outcome {
    int answer;
    int nextDraw;
  };

  Outcome Render(AVFrame* dst, AVFrame* src, FilterParams* params, BandOfRows band, unsigned randomSeed) const;
  std::string Describe(const PictureShape& src, const PictureShape& dst, BandOfRows band, std::uint64_t seed) const;

  const reference::Effect& effect_;
  ParamObject params_;
};

/** Names a test of an effect in a pixel format. */
std::string NameOfCase(const testing::TestParamInfo<std::tuple<reference::Effect, Format>>& tested);

/** Effects in one pixel format, with random numbers that each family of tests draws from a start of its own. */
class OneFormatTest : public testing::TestWithParam<Format> {
protected:
  explicit OneFormatTest(std::uint64_t start) : random_(static_cast<std::uint64_t>(NumberOf(GetParam())) * 7919U + start) {}

  PictureShape Shape(int width, int height) { return ShapeWithLines(format_, width, height, random_); }

  /** Noise in random lines, the whole picture or a part of it. */
  void Compare(const EffectComparison& comparison, int width, int height) {
    const PictureShape src = Shape(width, height);
    const PictureShape dst = Shape(width, height);
    ASSERT_TRUE(comparison.Agrees(dst, src, SomeRows(height, random_), random_.Next()));
  }

  const int format_ = GetParam().code;
  Random random_;
};

}  // namespace norix::test

#endif
