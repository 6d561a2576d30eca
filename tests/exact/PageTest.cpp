// Planes beside memory that cannot be read: whoever reads or writes a byte outside ends the test.

#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "exact/EffectComparison.h"
#include "exact/ParamObject.h"
#include "reference/Reference.h"
#include "support/Formats.h"
#include "support/GuardedPicture.h"
#include "support/Picture.h"
#include "support/Random.h"
#include "support/Targets.h"

namespace norix::test {

namespace {

using reference::Effect;

/** The bands that one picture is rendered in. */
using Bands = std::vector<BandOfRows>;

Bands EqualBands(int height, int rows) {
  Bands bands;
  for (int y = 0; y < height; y += rows) bands.push_back({y, std::min(rows, height - y)});
  return bands;
}

/** Any part of the picture; the empty band before it prepares what an effect keeps in its parameters. */
Bands AnyBand(int height, Random& random) {
  const int first = random.Between(0, height - 1);
  return {{0, 0}, {first, random.OneIn(3) ? height - first : random.Between(0, height - first)}};
}

/** With an odd first row some effects begin their chroma one row lower and so end behind the plane of an even height. */
bool ReachesBehindChroma(const Bands& bands, int height) {
  return height % 2 == 0 && std::any_of(bands.begin(), bands.end(), [&](const BandOfRows& band) {
           return band.firstRow % 2 == 1 && band.rowCount % 2 == 1 && band.firstRow + band.rowCount == height;
         });
}

/** Those of them that may do so at any level; the others do when they copy. "Ground Glass" copies small pictures. */
bool BeginsChromaLower(const std::string& effect) {
  static const std::set<std::string> kNames = {"Comicbook",     "Emboss",        "Focus Color", "Ground Glass",
                                               "Mirror Move X", "Mirror Move Y", "Tile Scale"};
  return kNames.contains(effect);
}

class PageTest : public testing::TestWithParam<std::tuple<Effect, Format>> {
protected:
  void SetUp() override { filter_check_format(effect_.name, kBgra); }

  PictureShape Shape(int width, int height, Random& random) const {
    if (random.OneIn(2)) return {format_.code, width, height, {}, {}};
    return ShapeWithLines(format_.code, width, height, random);
  }

  /** Renders on every instruction set and compares. */
  void ExpectTheSame(const PictureShape& src, const PictureShape& dst, const Bands& bands, int chromaRoom,
                     const ParamObject& params, std::uint64_t seed) const {
    Picture source(src, seed);
    Picture expected(dst, seed + 1);
    const Picture before = expected;
    const ParamObject expectedParams = params.Clone();
    std::srand(1);
    for (const BandOfRows& band : bands)
      effect_.render(*expected.Frame(), *source.Frame(), expectedParams.Get(), band.firstRow, band.rowCount);
    for (const std::int64_t target : Targets())
      for (const Guard guard : {Guard::kBehind, Guard::kBefore}) {
        const ForcedTarget forced(target);
        GuardedPicture from(source, guard, chromaRoom);
        from.Protect();
        GuardedPicture to(before, guard, chromaRoom);
        const ParamObject ownParams = params.Clone();
        std::srand(1);
        for (const BandOfRows& band : bands)
          filter_video_frame(to.Frame(), from.Frame(), effect_.name, ownParams.Get(), 0, band.firstRow, band.rowCount);
        ASSERT_TRUE(to.HoldsTheSameAs(expected))
            << effect_.name << ' ' << src.width << 'x' << src.height << ", " << bands.size() << " bands, the last of "
            << bands.back().rowCount << " rows from " << bands.back().firstRow << ", with " << TargetName(target);
      }
  }

  const Effect effect_ = std::get<0>(GetParam());
  const Format format_ = std::get<1>(GetParam());
};

TEST_P(PageTest, AtManySizes) {
  Random random(7);
  for (int i = 0; i < 60; ++i) {
    const int width = i < 20 ? i + 1 : random.Between(1, 300);
    const int height = i < 20 ? 21 - i : random.Between(1, 40);
    const PictureShape src = Shape(width, height, random);
    const PictureShape dst = Shape(width, height, random);
    const Bands bands =
        random.OneIn(2) ? EqualBands(height, random.OneIn(2) ? height : random.Between(1, 16)) : AnyBand(height, random);
    bool mayCopy = BeginsChromaLower(effect_.name);
    ParamObject params(effect_.name, random.OneIn(4) ? 10000 : random.Between(1000, 10000));
    if (random.OneIn(10)) {
      params = ParamObject();
      mayCopy = true;
    }
    for (std::size_t k = 0; k < params.FieldCount(); ++k)
      if (random.OneIn(8)) {
        params.SetField(k, random.Real(-1.5, 3.0));
        mayCopy = true;
      }
    const int chromaRoom = mayCopy && ReachesBehindChroma(bands, height) ? 1 : 0;
    ASSERT_NO_FATAL_FAILURE(ExpectTheSame(src, dst, bands, chromaRoom, params, random.Next()));
  }
}

INSTANTIATE_TEST_SUITE_P(All, PageTest,
                         testing::Combine(testing::ValuesIn(reference::Effects().begin(), reference::Effects().end()),
                                          testing::ValuesIn(RenderedFormats().begin(), RenderedFormats().end())),
                         NameOfCase);

}  // namespace

}  // namespace norix::test
