/**
 * @file
 * Effects around a centre against their references, on every instruction set, with chosen pictures.
 */
#ifndef NORIX_TESTS_EXACT_RADIALCOMPARISON_H
#define NORIX_TESTS_EXACT_RADIALCOMPARISON_H

#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
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

struct RowBand {
  int firstRow;
  int rowCount;
};

class RadialComparison {
public:
  explicit RadialComparison(const char* name) : effect_(*reference::FindEffect(name)), params_(name, 5000) {
    filter_check_format(name, kBgra);
  }

  /** Fields from the first on; those not given keep their values. */
  void SetFields(const std::vector<double>& values) {
    for (std::size_t i = 0; i < values.size(); ++i) params_.SetField(i, values[i]);
  }

  /** The destination holds noise beforehand. */
  testing::AssertionResult Agrees(const Picture& source, RowBand band, std::uint64_t seed) const {
    Picture src = source;
    const Picture before(source.Shape(), ~seed);
    Picture expected = before;
    const ParamObject expectedParams = params_.Clone();
    effect_.render(*expected.Frame(), *src.Frame(), expectedParams.Get(), band.firstRow, band.rowCount);
    for (const std::int64_t target : Targets()) {
      const ForcedTarget forced(target);
      Picture actual = before;
      const ParamObject actualParams = params_.Clone();
      const int answer = filter_video_frame(actual.Frame(), src.Frame(), effect_.name, actualParams.Get(), 0, band.firstRow,
                                            band.rowCount);
      const auto failure = [&] {
        return testing::AssertionFailure() << Describe(source.Shape(), band) << ", with " << TargetName(target) << "\n  ";
      };
      if (answer != 0) return failure() << "answered " << answer;
      if (const auto same = SameBytes(expected, actual); !same) return failure() << same.message();
      if (!SameBytes(source, src)) return failure() << "the source changed";
      if (!actualParams.SameAs(expectedParams)) return failure() << "the parameters changed otherwise than the reference's";
    }
    return testing::AssertionSuccess();
  }

  /** The whole picture and a band of it, of noise. */
  testing::AssertionResult AgreesOnNoise(const PictureShape& shape, Random& random) const {
    const std::uint64_t seed = random.Next();
    const Picture source(shape, seed, random.OneIn(3) ? Content::kPatches : Content::kNoise);
    if (const auto agrees = Agrees(source, {0, shape.height}, seed); !agrees) return agrees;
    const int first = random.Between(0, shape.height - 1);
    return Agrees(source, {first, random.Between(1, shape.height - first)}, seed);
  }

private:
  std::string Describe(const PictureShape& shape, RowBand band) const {
    std::ostringstream text;
    text << std::setprecision(17) << effect_.name << ", " << FormatOf(shape.format).name << ' ' << shape.width << 'x'
         << shape.height << ", band " << band.firstRow << " of " << band.rowCount << " rows, fields {";
    for (std::size_t i = 0; i < params_.FieldCount(); ++i) text << (i == 0 ? "" : ", ") << params_.Field(i);
    text << '}';
    return text.str();
  }

  const reference::Effect& effect_;
  ParamObject params_;
};

/** Lines of unlike lengths, some of them bottom-up. */
inline PictureShape ShapeOf(int format, int width, int height, Random& random) {
  PictureShape shape{format, width, height, {}, {}};
  for (std::size_t plane = 0; plane < 4; ++plane) {
    shape.padding[plane] = random.OneIn(3) ? 0 : random.Between(1, 40);
    shape.bottomUp[plane] = random.OneIn(6);
  }
  return shape;
}

/** Every row of one value, by its number, so that all values meet the distances of all columns. */
inline Picture RowsOfOneValue(const PictureShape& shape, int step) {
  Picture picture(shape, 1);
  for (int plane = 0; plane < picture.PlaneCount(); ++plane)
    for (int row = 0; row < picture.Rows(plane); ++row)
      for (int column = 0; column < picture.RowBytes(plane); ++column)
        picture.At(plane, row, column) = static_cast<std::uint8_t>((row * step + (column % 4) * 85) & 0xFF);
  return picture;
}

}  // namespace norix::test

#endif
