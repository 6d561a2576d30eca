#ifndef NORIX_TESTS_EXACT_EFFECTCOMPARISON_H
#define NORIX_TESTS_EXACT_EFFECTCOMPARISON_H

#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include "exact/ParamObject.h"
#include "reference/Reference.h"
#include "support/Formats.h"
#include "support/Picture.h"
#include "support/Random.h"
#include "support/Targets.h"

namespace norix::test {

struct BandOfRows {
  int firstRow;
  int rowCount;
};

/** Lines with a few bytes of padding, sometimes bottom-up. */
inline PictureShape ShapeWithLines(int format, int width, int height, Random& random) {
  PictureShape shape{format, width, height, {}, {}};
  const bool alike = random.OneIn(2);
  for (std::size_t plane = 0; plane < 4; ++plane) {
    shape.padding[plane] = alike && plane == 2 ? shape.padding[1] : random.Between(0, 5);
    shape.bottomUp[plane] = alike && plane == 2 ? shape.bottomUp[1] : random.OneIn(4);
  }
  return shape;
}

inline BandOfRows SomeRows(int height, Random& random) {
  if (random.OneIn(3)) return {0, height};
  const int first = random.Between(0, height - 1);
  return {first, random.Between(1, height - first)};
}

/** One effect against its reference, on every instruction set. */
class EffectComparison {
public:
  explicit EffectComparison(const char* name) : effect_(*reference::FindEffect(name)), params_(name, 5000) {
    filter_check_format(name, kBgra);
  }

  void SetFields(const std::vector<double>& values) {
    for (std::size_t i = 0; i < values.size(); ++i) params_.SetField(i, values[i]);
  }

  testing::AssertionResult Agrees(const PictureShape& dst, const PictureShape& src, BandOfRows band,
                                  std::uint64_t seed) const {
    Picture source(src, seed);
    return AgreesOn(*source.Frame(), dst, band, seed);
  }

  testing::AssertionResult AgreesOn(AVFrame& source, const PictureShape& dst, BandOfRows band, std::uint64_t seed) const {
    const Picture before(dst, ~seed);
    const auto randomSeed = static_cast<unsigned>(seed);
    Picture expected = before;
    const ParamObject expectedParams = params_.Clone();
    std::srand(randomSeed);
    effect_.render(*expected.Frame(), source, expectedParams.Get(), band.firstRow, band.rowCount);
    for (const std::int64_t target : Targets()) {
      const ForcedTarget forced(target);
      Picture actual = before;
      const ParamObject actualParams = params_.Clone();
      std::srand(randomSeed);
      const int answer =
          filter_video_frame(actual.Frame(), &source, effect_.name, actualParams.Get(), 0, band.firstRow, band.rowCount);
      if (answer != 0) return testing::AssertionFailure() << "answered " << answer;
      if (const auto same = SameBytes(expected, actual); !same) {
        return testing::AssertionFailure()
               << Describe(source, band, seed) << ", with " << TargetName(target) << "\n  " << same.message();
      }
    }
    return testing::AssertionSuccess();
  }

private:
  std::string Describe(const AVFrame& source, BandOfRows band, std::uint64_t seed) const {
    std::ostringstream text;
    text << std::setprecision(17) << effect_.name << ", " << FormatOf(source.format).name << ' ' << source.width << 'x'
         << source.height << ", band " << band.firstRow << " of " << band.rowCount << " rows, fields {";
    for (std::size_t i = 0; i < params_.FieldCount(); ++i) text << (i == 0 ? "" : ", ") << params_.Field(i);
    text << "}, source lines " << source.linesize[0] << ' ' << source.linesize[1] << ' ' << source.linesize[2] << ", seed "
         << seed;
    return text.str();
  }

  const reference::Effect& effect_;
  ParamObject params_;
};

}  // namespace norix::test

#endif
