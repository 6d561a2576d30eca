#include "exact/EffectComparison.h"

#include <NorixEngine/NorixEngine.h>

#include <cstddef>
#include <cstdlib>
#include <iomanip>
#include <sstream>

#include "support/Formats.h"

namespace norix::test {

PictureShape ShapeWithLines(int format, int width, int height, Random& random) {
  PictureShape shape{format, width, height, {}, {}};
  const int widest = random.OneIn(3) ? 40 : 5;
  const bool alike = random.OneIn(2);
  for (std::size_t plane = 0; plane < 4; ++plane) {
    shape.padding[plane] = alike && plane == 2 ? shape.padding[1] : random.OneIn(3) ? 0 : random.Between(0, widest);
    shape.bottomUp[plane] = alike && plane == 2 ? shape.bottomUp[1] : random.OneIn(4);
  }
  return shape;
}

BandOfRows SomeRows(int height, Random& random) {
  if (random.OneIn(3)) return {0, height};
  const int first = random.Between(0, height - 1);
  return {first, random.OneIn(3) ? height - first : random.Between(1, height - first)};
}

Picture RowsOfOneValue(const PictureShape& shape, int step) {
  Picture picture(shape, 1);
  for (int plane = 0; plane < picture.PlaneCount(); ++plane)
    for (int row = 0; row < picture.Rows(plane); ++row)
      for (int column = 0; column < picture.RowBytes(plane); ++column)
        picture.At(plane, row, column) = static_cast<std::uint8_t>((row * step + (column % 4) * 85) & 0xFF);
  return picture;
}

std::string NameOfCase(const testing::TestParamInfo<std::tuple<reference::Effect, Format>>& tested) {
  std::string name = std::get<0>(tested.param).name;
  std::erase(name, ' ');
  return name + '_' + std::get<1>(tested.param).name;
}

EffectComparison::EffectComparison(const char* name, const std::vector<double>& fields)
    : effect_(*reference::FindEffect(name)), params_(name, 5000) {
  filter_check_format(name, kBgra);
  SetFields(fields);
}

void EffectComparison::SetFields(const std::vector<double>& values) {
  for (std::size_t i = 0; i < values.size(); ++i) params_.SetField(i, values[i]);
}

EffectComparison::Outcome EffectComparison::Render(AVFrame* dst, AVFrame* src, FilterParams* params, BandOfRows band,
                                                   unsigned randomSeed) const {
  // The band at row 0 prepares what an effect keeps in its parameters; without one the others might wait for ever.
  if (band.firstRow != 0) filter_video_frame(dst, src, effect_.name, params, 0, 0, 0);
  std::srand(randomSeed);
  const int answer = filter_video_frame(dst, src, effect_.name, params, 0, band.firstRow, band.rowCount);
  return {answer, std::rand()};
}

testing::AssertionResult EffectComparison::Agrees(const Picture& source, const PictureShape& dst, BandOfRows band,
                                                  std::uint64_t seed, std::span<const std::int64_t> targets) const {
  Picture src = source;
  const Picture before(dst, ~seed);
  const auto randomSeed = static_cast<unsigned>(seed);
  Picture expected = before;
  const ParamObject expectedParams = params_.Clone();
  std::srand(randomSeed);
  effect_.render(*expected.Frame(), *src.Frame(), expectedParams.Get(), band.firstRow, band.rowCount);
  const int expectedDraw = std::rand();

  for (const std::int64_t target : targets) {
    const ForcedTarget forced(target);
    Picture actual = before;
    const ParamObject actualParams = params_.Clone();
    const Outcome outcome = Render(actual.Frame(), src.Frame(), actualParams.Get(), band, randomSeed);
    const auto failure = [&] {
      return testing::AssertionFailure() << Describe(source.Shape(), dst, band, seed) << ", with " << TargetName(target)
                                         << "\n  ";
    };
    if (outcome.answer != 0) return failure() << "answered " << outcome.answer;
    if (const auto same = SameBytes(expected, actual); !same) return failure() << same.message();
    if (!SameBytes(source, src)) return failure() << "the source changed";
    if (!actualParams.SameAs(expectedParams)) return failure() << "the parameters changed otherwise than the reference's";
    if (outcome.nextDraw != expectedDraw) return failure() << "drew another count of random numbers";
  }
  return testing::AssertionSuccess();
}

testing::AssertionResult EffectComparison::Agrees(const PictureShape& dst, const PictureShape& src, BandOfRows band,
                                                  std::uint64_t seed) const {
  return Agrees(Picture(src, seed), dst, band, seed);
}

testing::AssertionResult EffectComparison::Agrees(const Picture& source) const {
  return Agrees(source, source.Shape(), {0, source.Shape().height}, 77);
}

testing::AssertionResult EffectComparison::AgreesOnNoise(const PictureShape& shape, Random& random) const {
  const std::uint64_t seed = random.Next();
  const Picture source(shape, seed, random.OneIn(3) ? Content::kPatches : Content::kNoise);
  if (const auto agrees = Agrees(source, shape, {0, shape.height}, seed); !agrees) return agrees;
  return Agrees(source, shape, SomeRows(shape.height, random), seed);
}

testing::AssertionResult EffectComparison::AgreesBesidePages(const Picture& source, Guard guard) const {
  const PictureShape& shape = source.Shape();
  const BandOfRows whole = {0, shape.height};
  Picture src = source;
  Picture expected(shape, 9);
  const Picture before = expected;
  const ParamObject expectedParams = params_.Clone();
  std::srand(1);
  effect_.render(*expected.Frame(), *src.Frame(), expectedParams.Get(), whole.firstRow, whole.rowCount);
  for (const std::int64_t target : Targets()) {
    const ForcedTarget forced(target);
    GuardedPicture from(source, guard);
    from.Protect();
    GuardedPicture to(before, guard);
    Render(to.Frame(), from.Frame(), params_.Clone().Get(), whole, 1);
    if (!to.HoldsTheSameAs(expected))
      return testing::AssertionFailure() << Describe(shape, shape, whole, 1) << ", beside unreadable pages, with "
                                         << TargetName(target);
  }
  return testing::AssertionSuccess();
}

std::string EffectComparison::Describe(const PictureShape& src, const PictureShape& dst, BandOfRows band,
                                       std::uint64_t seed) const {
  std::ostringstream text;
  text << std::setprecision(17) << effect_.name << ", " << FormatOf(src.format).name << ' ' << src.width << 'x'
       << src.height << ", band " << band.firstRow << " of " << band.rowCount << " rows, fields {";
  for (std::size_t i = 0; i < params_.FieldCount(); ++i) text << (i == 0 ? "" : ", ") << params_.Field(i);
  text << '}' << (params_.Get() == nullptr ? " (null parameters)" : "") << ", padding of source and destination";
  for (std::size_t plane = 0; plane < 4; ++plane)
    text << ' ' << src.padding[plane] << (src.bottomUp[plane] ? "up" : "") << '/' << dst.padding[plane]
         << (dst.bottomUp[plane] ? "up" : "");
  text << ", seed " << seed;
  return text.str();
}

}  // namespace norix::test
