// What norix's catalogue says about effects, held to what the engine does.

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "engine/Catalogue.h"
#include "engine/Effect.h"
#include "support/Formats.h"
#include "support/Picture.h"

namespace norix::test {

namespace {

/// True when the effect left pixels of the destination as they were, in one of two that began differently.
bool LeavesBytes(const std::string& name, int level, const PictureShape& shape) {
  Picture source(shape, 1);
  Picture first(shape, 2);
  Picture second(shape, 2);
  for (int plane = 0; plane < first.PlaneCount(); ++plane) {
    first.Fill(plane, 0);
    second.Fill(plane, 255);
  }
  host::Effect effect(name, {});
  effect.setLevel(level);
  for (Picture* picture : {&first, &second}) effect.render(*picture->Frame(), *source.Frame(), {0, shape.height});
  return !SameBytes(first, second);
}

TEST(Catalogue, KnowsWhichEffectsLeaveBytesUnwritten) {
  for (const host::EffectInfo& info : host::Effects()) {
    if (!host::Renders(info.name)) continue;
    bool leaves = false;
    for (const int format : {kYuv420p, kRgb24, kBgra}) {
      host::NegotiateFormat(info.name, static_cast<AVPixelFormat>(format));
      for (const auto& [width, height] : {std::tuple(64, 48), std::tuple(65, 47), std::tuple(1, 1), std::tuple(3, 50)}) {
        for (const int level : {0, 1, 5000, 10000})
          leaves = leaves || LeavesBytes(info.name, level, {format, width, height, {}, {}});
      }
    }
    // Tile Scale leaves all of them when its scale is not positive, which no level asks for.
    EXPECT_EQ(leaves || info.name == "Tile Scale", info.leavesBytes) << info.name;
  }
}

}  // namespace

}  // namespace norix::test
