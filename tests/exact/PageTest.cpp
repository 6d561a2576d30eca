// Planes beside memory that cannot be read: whoever reads or writes a byte outside ends the test.

#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <tuple>

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

class PageTest : public testing::TestWithParam<std::tuple<Effect, Format>> {
protected:
  void SetUp() override { filter_check_format(effect_.name, kBgra); }

  /** Renders in bands of so many rows, on every instruction set, and compares. */
  void ExpectTheSame(int width, int height, int bandRows, const ParamObject& params, std::uint64_t seed) const {
    const PictureShape shape{format_.code, width, height, {}, {}};
    Picture source(shape, seed);
    Picture expected(shape, seed + 1);
    const Picture before = expected;
    const ParamObject expectedParams = params.Clone();
    std::srand(1);
    for (int y = 0; y < height; y += bandRows)
      effect_.render(*expected.Frame(), *source.Frame(), expectedParams.Get(), y, std::min(bandRows, height - y));
    for (const std::int64_t target : Targets())
      for (const Guard guard : {Guard::kBehind, Guard::kBefore}) {
        const ForcedTarget forced(target);
        GuardedPicture from(source, guard);
        from.Protect();
        GuardedPicture to(before, guard);
        const ParamObject ownParams = params.Clone();
        std::srand(1);
        for (int y = 0; y < height; y += bandRows)
          filter_video_frame(to.Frame(), from.Frame(), effect_.name, ownParams.Get(), 0, y, std::min(bandRows, height - y));
        ASSERT_TRUE(to.ShowsTheSameAs(expected)) << effect_.name << ' ' << width << 'x' << height << ", bands of "
                                                 << bandRows << " rows, with " << TargetName(target);
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
    ParamObject params(effect_.name, random.OneIn(4) ? 10000 : random.Between(0, 10000));
    for (std::size_t k = 0; k < params.FieldCount(); ++k)
      if (random.OneIn(4)) params.SetField(k, random.Real(-1.5, 3.0));
    ExpectTheSame(width, height, random.OneIn(2) ? height : 2 * random.Between(1, 8), params, random.Next());
  }
}

INSTANTIATE_TEST_SUITE_P(All, PageTest,
                         testing::Combine(testing::ValuesIn(reference::Effects().begin(), reference::Effects().end()),
                                          testing::ValuesIn(RenderedFormats().begin(), RenderedFormats().end())),
                         [](const testing::TestParamInfo<std::tuple<Effect, Format>>& tested) {
                           std::string name = std::get<0>(tested.param).name;
                           std::erase(name, ' ');
                           return name + '_' + std::get<1>(tested.param).name;
                         });

}  // namespace

}  // namespace norix::test
