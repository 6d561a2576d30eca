// Which bytes of the destination a call may write: the band's rows, and beyond them what NorixEngine.h lists under
// "Memory".

#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <tuple>

#include "exact/EffectComparison.h"
#include "exact/ParamObject.h"
#include "reference/Reference.h"
#include "support/Formats.h"
#include "support/Picture.h"
#include "support/Random.h"

namespace norix::test {

namespace {

using reference::Effect;

/** From `first` up to `end`. */
struct Rows {
  int first;
  int end;

  bool Hold(int row) const { return row >= first && row < end; }
};

/** One call, as far as it matters which bytes it writes. */
struct Call {
  std::string effect;
  PictureShape shape;
  BandOfRows band;
  bool equalLines; /**< source and destination have the same line sizes */
  bool mayCopy;    /**< null parameters, or settings that may leave the picture as it is */

  bool Planar() const { return FormatOf(shape.format).IsPlanar(); }

  /** Where walks by byte positions leave the band. */
  bool MayWriteAnywhere() const {
    if (effect == "Ground Glass") return Planar() && (shape.width % 2 != 0 || shape.height % 2 != 0);
    if (effect == "Comicbook" || effect == "Focus Color") return !Planar() && !equalLines;
    return false;
  }

  /** Row copies carry the padding along. */
  bool MayWritePadding(int plane) const {
    if (mayCopy || plane == 3 || effect == "Mirror Move Y") return true;
    return Planar() && plane == 0 && (effect == "Comicbook" || effect == "Focus Color");
  }

  Rows MayWriteRows(int plane) const {
    const Rows own = {band.firstRow, band.firstRow + band.rowCount};
    const Rows halved = {band.firstRow >> 1, (band.firstRow + 1) / 2 + (band.rowCount + 1) / 2};
    if (plane == 1 || plane == 2) return halved;
    // Copies take alpha's rows by the numbers of U and V.
    if (plane == 3 && mayCopy) return {halved.first, std::max(own.end, halved.end)};
    // Row pairs.
    if (effect == "Ground Glass" && Planar() && plane == 0) return {own.first, own.end + band.rowCount % 2};
    return own;
  }
};

class FootprintTest : public testing::TestWithParam<std::tuple<Effect, Format>> {
protected:
  void SetUp() override { filter_check_format(effect_.name, kBgra); }

  const Effect effect_ = std::get<0>(GetParam());
  const Format format_ = std::get<1>(GetParam());
};

TEST_P(FootprintTest, OnlyTheBandAndWhatIsListed) {
  Random random(11);
  for (int i = 0; i < 150; ++i) {
    const int width = random.Between(1, 70);
    const int height = random.Between(1, 40);
    const PictureShape src = ShapeWithLines(format_.code, width, height, random);
    const PictureShape dst = random.OneIn(2) ? src : ShapeWithLines(format_.code, width, height, random);
    const BandOfRows band = SomeRows(height, random);
    const bool byLevel = !random.OneIn(3);
    ParamObject params(effect_.name, random.Between(1000, 10000));
    if (!byLevel) {
      if (random.OneIn(2)) params = ParamObject();
      for (std::size_t k = 0; k < params.FieldCount(); ++k) params.SetField(k, random.Real(-1.5, 3.0));
    }
    Picture source(src, random.Next());
    const Picture before(dst, random.Next());
    Picture after = before;
    if (band.firstRow != 0) filter_video_frame(after.Frame(), source.Frame(), effect_.name, params.Get(), 0, 0, 0);
    std::srand(1);
    filter_video_frame(after.Frame(), source.Frame(), effect_.name, params.Get(), 0, band.firstRow, band.rowCount);

    const bool equalLines = src.padding == dst.padding && src.bottomUp == dst.bottomUp;
    // "Ground Glass" copies small pictures, "Comicbook" all planar ones.
    const bool mayCopy =
        !byLevel || std::string(effect_.name) == "Ground Glass" || std::string(effect_.name) == "Comicbook";
    const Call call{effect_.name, dst, band, equalLines, mayCopy};
    for (int plane = 0; plane < after.PlaneCount(); ++plane) {
      const Rows rows = call.MayWriteRows(plane);
      const int lineBytes = after.RowBytes(plane) + dst.padding[static_cast<std::size_t>(plane)];
      const int columns = call.MayWritePadding(plane) ? lineBytes : after.RowBytes(plane);
      for (int row = -2; row < after.Rows(plane) + 2; ++row)
        for (int column = 0; column < lineBytes; ++column) {
          const bool inPlane = row >= 0 && row < after.Rows(plane);
          const bool may = (rows.Hold(row) && column < columns) || (inPlane && call.MayWriteAnywhere());
          if (may) continue;
          ASSERT_EQ(after.At(plane, row, column), before.At(plane, row, column))
              << width << 'x' << height << ", band " << band.firstRow << " of " << band.rowCount << " rows: plane " << plane
              << ", row " << row << ", byte column " << column << " of " << lineBytes << (byLevel ? "" : ", fields set");
        }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, FootprintTest,
                         testing::Combine(testing::ValuesIn(reference::Effects().begin(), reference::Effects().end()),
                                          testing::ValuesIn(RenderedFormats().begin(), RenderedFormats().end())),
                         NameOfCase);

}  // namespace

}  // namespace norix::test
