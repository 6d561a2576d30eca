#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <limits>
#include <thread>
#include <vector>

#include "PositionMap.h"
#include "Render.h"

namespace norix::test {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Owned<RippleParams> Params(double damping, double amplitude, double phase) {
  Owned<RippleParams> params(new RippleParams);
  params->damping = damping;
  params->amplitude = amplitude;
  params->phase = phase;
  return params;
}

/** Has the tables built and not a pixel written. */
void Prepare(RippleParams& params, int width, int height, int format = kRgb24) {
  Picture source({format, width, height, {}, {}}, 1);
  Picture destination({format, width, height, {}, {}}, 2);
  const Picture before = destination;
  Render("Ripple", destination, source, &params, 0, 0);
  EXPECT_TRUE(SameBytes(before, destination));
}

std::int32_t Entry(const RippleParams& params, int distance, int position) {
  return params.tables->offsetTable[1024 * distance + position];
}

std::vector<std::int32_t> Weights(const RippleParams& params) {
  return {params.tables->weightTable, params.tables->weightTable + params.tables->weightCount};
}

Picture Rippled(RippleParams& params, int width = 64, int height = 64) {
  return Moved("Ripple", PositionMap(kRgb24, width, height), &params);
}

TEST(RippleTest, NullParametersCopyLines) {
  Picture source({kBgra, 9, 6, {8}, {}}, 1);
  Picture destination({kBgra, 9, 6, {5}, {}}, 2);
  Picture expected = destination;
  CopyRows(expected, source, 0, 1, 5, 41);
  Render("Ripple", destination, source, nullptr, 1, 4);
  EXPECT_TRUE(SameBytes(expected, destination));
}

TEST(RippleTest, OffsetTableHoldsTheFadingWave) {
  const auto params = Params(90.0, 20.0, 3.0);
  Prepare(*params, 64, 48);
  EXPECT_EQ(params->tables, &params->ownTables);
  ASSERT_NE(params->tables->offsetTable, nullptr);
  EXPECT_EQ(params->tables->offsetCount, 1048576);
  EXPECT_EQ(params->tables->tableDamping, 90);
  EXPECT_EQ(params->tables->tableAmplitude, 20);
  // sin(position * 2 pi * 11 / 1024) * 20971.52 * (1 / distance - 1 / 1024), cut off.
  EXPECT_EQ(Entry(*params, 1, 0), 0);
  EXPECT_EQ(Entry(*params, 1, 1), 1413);
  EXPECT_EQ(Entry(*params, 1, 23), 20947);
  EXPECT_EQ(Entry(*params, 1, 70), -20949);
  EXPECT_EQ(Entry(*params, 1, 1023), -1413);
  EXPECT_EQ(Entry(*params, 2, 23), 10463);
  EXPECT_EQ(Entry(*params, 10, 70), -2076) << "towards zero from -2076.5";
  EXPECT_EQ(Entry(*params, 128, 35), 100);
  EXPECT_EQ(Entry(*params, 512, 1023), -1) << "towards zero from -1.4";
  EXPECT_EQ(Entry(*params, 1023, 23), 0);
  for (int position = 0; position < 1024; ++position) ASSERT_EQ(Entry(*params, 0, position), 0) << position;
}

TEST(RippleTest, OffsetTableFollowsDampingAndAmplitude) {
  const auto damped = Params(91.0, 20.0, 0.0);
  Prepare(*damped, 8, 8);
  EXPECT_EQ(Entry(*damped, 1, 1), 1284);
  EXPECT_EQ(Entry(*damped, 1, 70), -19153);
  EXPECT_EQ(Entry(*damped, 128, 35), 120);
  const auto higher = Params(90.0, 21.0, 0.0);
  Prepare(*higher, 8, 8);
  EXPECT_EQ(Entry(*higher, 1, 1), 1483);
  EXPECT_EQ(Entry(*higher, 10, 70), -2180);
  const auto fraction = Params(90.9, 20.9, 0.0);
  Prepare(*fraction, 8, 8);
  EXPECT_EQ(fraction->tables->tableDamping, 90);
  EXPECT_EQ(fraction->tables->tableAmplitude, 20);
  EXPECT_EQ(Entry(*fraction, 1, 1), 1355) << "built for the fractions as well";
}

TEST(RippleTest, HostileAmplitudes) {
  const auto huge = Params(90.0, 1e300, 0.0);
  Prepare(*huge, 8, 8);
  EXPECT_EQ(huge->tables->tableAmplitude, std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(Entry(*huge, 1, 23), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(Entry(*huge, 1, 70), std::numeric_limits<std::int32_t>::min());
  const auto negative = Params(90.0, -20.9, 0.0);
  Prepare(*negative, 8, 8);
  EXPECT_EQ(negative->tables->tableAmplitude, -20);
  for (const double amplitude : {kNaN, kInfinity}) {
    const auto params = Params(90.0, amplitude, 0.0);
    Prepare(*params, 8, 8);
    EXPECT_EQ(Entry(*params, 0, 23), 0);
    EXPECT_EQ(Entry(*params, 1, 0), 0);
    EXPECT_EQ(Entry(*params, 1, 23), std::isnan(amplitude) ? 0 : std::numeric_limits<std::int32_t>::max());
  }
}

TEST(RippleTest, WeightTableMapsLargerSideToTableSteps) {
  const auto params = Params(90.0, 20.0, 0.0);
  Prepare(*params, 4, 3);
  EXPECT_EQ(Weights(*params), (std::vector<std::int32_t>{0, 256, 512, 768}));
  Prepare(*params, 2, 7);
  EXPECT_EQ(Weights(*params), (std::vector<std::int32_t>{0, 146, 292, 438, 585, 731, 877}));
  Prepare(*params, 1, 1);
  EXPECT_EQ(Weights(*params), (std::vector<std::int32_t>{0}));
  Prepare(*params, 100, 30);
  EXPECT_EQ(params->tables->weightCount, 100);
  EXPECT_EQ(params->tables->weightTable[50], 512);
  EXPECT_EQ(params->tables->weightTable[99], 1013);
  Prepare(*params, 3, 3000);
  EXPECT_EQ(params->tables->weightCount, 3000);
  EXPECT_EQ(params->tables->weightTable[2], 0);
  EXPECT_EQ(params->tables->weightTable[3], 1);
  EXPECT_EQ(params->tables->weightTable[2999], 1023);
}

TEST(RippleTest, TablesAreBuiltForUnlistedFormatsToo) {
  for (const int format : {kYuyv422, kBgr24, kArgb}) {
    const auto params = Params(90.0, 20.0, 0.0);
    Prepare(*params, 8, 8, format);
    EXPECT_EQ(params->tables->offsetCount, 1048576);
    EXPECT_EQ(params->tables->weightCount, 8);
    Picture source({format, 8, 8, {}, {}}, 1);
    Picture destination({format, 8, 8, {}, {}}, 2);
    const Picture before = destination;
    RenderAll("Ripple", destination, source, params.get());
    EXPECT_TRUE(SameBytes(before, destination));
  }
}

/** Marks entries with what these tables do not hold there; building again wipes it out. */
class RippleKeysTest : public testing::Test {
protected:
  static constexpr std::int32_t kOffsetMark = 123456789;
  static constexpr std::int32_t kWeightMark = 79;

  void SetUp() override {
    Prepare(*params_, 64, 48);
    offsets_ = params_->tables->offsetTable;
    Mark();
  }

  void Mark() {
    params_->tables->offsetTable[5] = kOffsetMark;
    params_->tables->weightTable[5] = kWeightMark;
  }

  bool OffsetsBuiltAgain() const { return params_->tables->offsetTable[5] != kOffsetMark; }
  bool WeightsBuiltAgain() const { return params_->tables->weightTable[5] != kWeightMark; }

  Owned<RippleParams> params_ = Params(90.0, 20.0, 0.0);
  const std::int32_t* offsets_ = nullptr;
};

TEST_F(RippleKeysTest, SameWholeNumbersBuildNothing) {
  for (const double amplitude : {20.9, 20.0001, 20.0}) {
    params_->amplitude = amplitude;
    Prepare(*params_, 64, 48);
    EXPECT_FALSE(OffsetsBuiltAgain()) << amplitude;
  }
  for (const double damping : {90.9, 90.0001, 90.0}) {
    params_->damping = damping;
    Prepare(*params_, 64, 48);
    EXPECT_FALSE(OffsetsBuiltAgain()) << damping;
  }
  for (const double phase : {1.0, 80.0, -7.0}) {
    params_->phase = phase;
    Prepare(*params_, 64, 48);
    EXPECT_FALSE(OffsetsBuiltAgain()) << phase;
  }
  EXPECT_FALSE(WeightsBuiltAgain());
  EXPECT_EQ(params_->tables->tableDamping, 90);
  EXPECT_EQ(params_->tables->tableAmplitude, 20);
}

TEST_F(RippleKeysTest, OtherWholeNumbersBuildInPlace) {
  params_->amplitude = 21.0;
  Prepare(*params_, 64, 48);
  EXPECT_TRUE(OffsetsBuiltAgain());
  EXPECT_EQ(params_->tables->offsetTable, offsets_);
  EXPECT_EQ(params_->tables->tableAmplitude, 21);
  EXPECT_EQ(Entry(*params_, 1, 1), 1483);

  Mark();
  params_->amplitude = 20.0;
  params_->damping = 91.0;
  Prepare(*params_, 64, 48);
  EXPECT_TRUE(OffsetsBuiltAgain());
  EXPECT_EQ(params_->tables->offsetTable, offsets_);
  EXPECT_EQ(params_->tables->tableDamping, 91);
  EXPECT_EQ(params_->tables->tableAmplitude, 20);
  EXPECT_EQ(Entry(*params_, 1, 1), 1284);
  EXPECT_FALSE(WeightsBuiltAgain());
}

TEST_F(RippleKeysTest, WeightsBelongToTheLargerSide) {
  Prepare(*params_, 1920, 1080);
  EXPECT_TRUE(WeightsBuiltAgain());
  EXPECT_EQ(params_->tables->weightCount, 1920);
  Mark();
  Prepare(*params_, 1080, 1920);
  EXPECT_FALSE(WeightsBuiltAgain());
  Prepare(*params_, 1920, 8);
  EXPECT_FALSE(WeightsBuiltAgain());
  Prepare(*params_, 1080, 1080);
  EXPECT_TRUE(WeightsBuiltAgain());
  EXPECT_EQ(params_->tables->weightCount, 1080);
  EXPECT_FALSE(OffsetsBuiltAgain());
}

TEST_F(RippleKeysTest, OtherBandsBuildNothing) {
  params_->phase = 11.0;
  Picture map = PositionMap(kRgb24, 64, 48);
  Picture out(map.Shape(), 2);
  for (const int firstRow : {2, 24, 46}) Render("Ripple", out, map, params_.get(), firstRow, 2);
  EXPECT_FALSE(OffsetsBuiltAgain());
  EXPECT_FALSE(WeightsBuiltAgain());
}

TEST_F(RippleKeysTest, MissingTableIsBuiltWhateverTheKeysSay) {
  delete[] params_->tables->offsetTable;
  params_->tables->offsetTable = nullptr;
  Prepare(*params_, 64, 48);
  ASSERT_NE(params_->tables->offsetTable, nullptr);
  EXPECT_EQ(Entry(*params_, 1, 1), 1413);
}

TEST(RippleTest, KeysOfNewObjectDoNotPassForTable) {
  for (const double damping : {0.0, 0.5, -0.5}) {
    const auto params = Params(damping, 0.5, 0.0);
    Rippled(*params);
    ASSERT_NE(params->tables->offsetTable, nullptr);
    EXPECT_EQ(params->tables->offsetCount, 1048576);
    EXPECT_EQ(params->tables->tableDamping, 0);
    EXPECT_EQ(params->tables->tableAmplitude, 0);
  }
  const auto params = Params(0.5, 0.5, 0.0);
  Prepare(*params, 8, 8);
  EXPECT_EQ(Entry(*params, 1, 1), 302);
  EXPECT_EQ(Entry(*params, 1, 2), 494);
}

TEST(RippleTest, WithoutWavelengthLinesAreCopiedAtOnce) {
  for (const double damping : {101.0, 101.5, 200.0, 1e300, kInfinity, kNaN, -923.5, -1e10, -1e300, -kInfinity}) {
    SCOPED_TRACE(damping);
    const auto params = Params(damping, 20.0, 0.0);
    for (const int firstRow : {0, 2}) {
      Picture source({kBgra, 9, 6, {8}, {}}, 1);
      Picture destination({kBgra, 9, 6, {5}, {}}, 2);
      Picture expected = destination;
      CopyRows(expected, source, 0, firstRow, firstRow + 3, 41);
      Render("Ripple", destination, source, params.get(), firstRow, 3);
      EXPECT_TRUE(SameBytes(expected, destination));
    }
    EXPECT_EQ(params->tables->offsetTable, nullptr);
    EXPECT_EQ(params->tables->offsetCount, 0);
    EXPECT_EQ(params->tables->weightTable, nullptr);
    EXPECT_EQ(params->tables->weightCount, 0);
    EXPECT_EQ(params->tables->tableDamping, 0);
    EXPECT_EQ(params->tables->tableAmplitude, 0);
  }
}

TEST(RippleTest, ShortestAndLongestWaves) {
  for (const double damping : {-923.0, std::nextafter(101.0, 0.0)}) {
    const auto params = Params(damping, 20.0, 7.0);
    Rippled(*params);
    EXPECT_EQ(params->tables->offsetCount, 1048576) << damping;
  }
}

TEST(RippleTest, CentreStandsStill) {
  for (const double phase : {0.0, 3.0, 11.0, -4.0})
    for (const double amplitude : {20.0, 1e6, -1e300, kInfinity}) {
      const auto params = Params(90.0, amplitude, phase);
      EXPECT_EQ(SourceOf(Rippled(*params), 32, 32), (Position{32, 32})) << amplitude << ", " << phase;
      EXPECT_EQ(SourceOf(Rippled(*params, 31, 9), 15, 4), (Position{15, 4})) << amplitude << ", " << phase;
    }
}

TEST(RippleTest, InLargePicturesTheNeighboursOfTheCentreStandStillToo) {
  const auto params = Params(90.0, 20.0, 0.0);
  const Picture out = Rippled(*params, 2048, 8);
  for (int row = 3; row <= 5; ++row)
    for (int column = 1023; column <= 1025; ++column) EXPECT_EQ(SourceOf(out, column, row), (Position{column, row}));
  // The next step of distance is moved by 1413 / 1024 of it, downwards on both sides.
  EXPECT_EQ(SourceOf(out, 1026, 4), (Position{1028, 4}));
  EXPECT_EQ(SourceOf(out, 1022, 4), (Position{1019, 4}));
}

TEST(RippleTest, PixelsMoveAlongTheLineFromTheCentre) {
  const auto params = Params(90.0, 20.0, 0.0);
  const Picture out = Rippled(*params);
  EXPECT_EQ(SourceOf(out, 33, 32), (Position{34, 32}));
  EXPECT_EQ(SourceOf(out, 31, 32), (Position{29, 32}));
  EXPECT_EQ(SourceOf(out, 36, 32), (Position{34, 32}));
  EXPECT_EQ(SourceOf(out, 28, 32), (Position{29, 32}));
  EXPECT_EQ(SourceOf(out, 24, 32), (Position{23, 32}));
  EXPECT_EQ(SourceOf(out, 32, 24), (Position{32, 23}));
  EXPECT_EQ(SourceOf(out, 35, 36), (Position{34, 35}));
  EXPECT_EQ(SourceOf(out, 10, 50), (Position{9, 50}));
  EXPECT_EQ(SourceOf(out, 0, 0), (Position{0, 0})) << "from (-1, -1)";
}

TEST(RippleTest, PhaseMovesTheWave) {
  const auto params = Params(90.0, 20.0, 5.0);
  const Picture quarter = Rippled(*params);
  EXPECT_EQ(SourceOf(quarter, 36, 32), (Position{36, 32}));
  EXPECT_EQ(SourceOf(quarter, 28, 32), (Position{27, 32}));
  EXPECT_EQ(SourceOf(quarter, 63, 63), (Position{62, 62}));
  params->phase = -5.0;
  const Picture back = Rippled(*params);
  EXPECT_EQ(SourceOf(back, 36, 32), (Position{35, 32}));
  EXPECT_EQ(SourceOf(back, 28, 32), (Position{28, 32}));
  EXPECT_EQ(SourceOf(back, 29, 28), (Position{28, 27}));
}

TEST(RippleTest, WholeWavelengthsChangeNothing) {
  const auto params = Params(90.0, 20.0, 0.0);
  const Picture still = Rippled(*params);
  for (const double phase : {20.0, 40.0, -20.0, -60.0}) {
    params->phase = phase;
    EXPECT_TRUE(SameBytes(still, Rippled(*params))) << phase;
  }
}

TEST(RippleTest, CentreAndRadiusAreNotRead) {
  const auto params = Params(90.0, 20.0, 3.0);
  const Picture expected = Rippled(*params);
  params->centerX = 0.1;
  params->centerY = kNaN;
  params->radius = 0.0;
  EXPECT_TRUE(SameBytes(expected, Rippled(*params)));
}

TEST(RippleTest, WavelengthFollowsDampingWithoutANewTable) {
  // At 90.9 a wave is 101 steps long instead of 93; the table stays the one of 90.
  const auto params = Params(90.0, 20.0, 0.0);
  Rippled(*params);
  params->damping = 90.9;
  const Picture kept = Rippled(*params);
  EXPECT_EQ(SourceOf(kept, 24, 32), (Position{22, 32}));
  EXPECT_EQ(SourceOf(kept, 36, 32), (Position{34, 32}));
  const auto fresh = Params(90.9, 20.0, 0.0);
  EXPECT_EQ(SourceOf(Rippled(*fresh), 36, 32), (Position{35, 32}));
}

TEST(RippleTest, WavesLongerThanATableRow) {
  // 4096 steps long: the position reaches into the bits of the distance.
  const auto params = Params(100.75, 2000.0, 0.0);
  const Picture out = Rippled(*params);
  EXPECT_EQ(SourceOf(out, 33, 32), (Position{36, 32}));
  EXPECT_EQ(SourceOf(out, 40, 32), (Position{61, 32}));
  EXPECT_EQ(SourceOf(out, 24, 32), (Position{2, 32}));
  EXPECT_EQ(SourceOf(out, 40, 40), (Position{60, 60}));
  params->phase = 10.0;
  const Picture half = Rippled(*params);
  EXPECT_EQ(SourceOf(half, 33, 32), (Position{35, 32}));
  EXPECT_EQ(SourceOf(half, 34, 32), (Position{39, 32}));
  EXPECT_EQ(SourceOf(half, 40, 40), (Position{59, 59}));
}

TEST(RippleTest, HugeDisplacementsWrap) {
  // All entries here are the largest number of 32 bits; twice that is -2.
  const auto params = Params(90.0, 1e9, 0.0);
  const Picture out = Rippled(*params);
  EXPECT_EQ(SourceOf(out, 33, 32), (Position{63, 32}));
  EXPECT_EQ(SourceOf(out, 31, 32), (Position{0, 32}));
  EXPECT_EQ(SourceOf(out, 34, 32), (Position{33, 32}));
  EXPECT_EQ(SourceOf(out, 30, 32), (Position{30, 32}));
}

TEST(RippleTest, FourthByteMovesWithItsPixel) {
  Picture source({kBgra, 64, 64, {}, {}}, 1);
  Picture destination({kBgra, 64, 64, {}, {}}, 2);
  RenderAll("Ripple", destination, source, Params(90.0, 20.0, 0.0).get());
  for (int byte = 0; byte < 4; ++byte) EXPECT_EQ(destination.At(0, 36, 4 * 35 + byte), source.At(0, 35, 4 * 34 + byte));
}

TEST(RippleTest, ChromaFollowsFirstPixelOfItsBlock) {
  Picture source({kYuva420p, 64, 64, {0, 0, 0, 6}, {}}, 1);
  Picture destination({kYuva420p, 64, 64, {0, 0, 0, 3}, {}}, 2);
  RenderAll("Ripple", destination, source, Params(90.0, 20.0, 0.0).get());
  EXPECT_EQ(destination.At(0, 32, 36), source.At(0, 32, 34));
  for (int plane = 1; plane <= 2; ++plane) {
    EXPECT_EQ(destination.At(plane, 16, 18), source.At(plane, 16, 17)) << "(36, 32) from (34, 32)";
    EXPECT_EQ(destination.At(plane, 16, 12), source.At(plane, 16, 11)) << "(24, 32) from (23, 32)";
    EXPECT_EQ(destination.At(plane, 12, 16), source.At(plane, 11, 16)) << "(32, 24) from (32, 23)";
    EXPECT_EQ(destination.At(plane, 16, 16), source.At(plane, 16, 16)) << "centre";
  }
  for (int row = 0; row < 64; ++row)
    for (int column = 0; column < 67; ++column) ASSERT_EQ(destination.At(3, row, column), source.At(3, row, column));
}

TEST(RippleTest, BandsMakeTheWholePicture) {
  // Chroma rows belong to even rows of the picture, wherever bands begin and end.
  for (const int format : {kYuv420p, kRgb24, kBgra}) {
    const auto params = Params(90.0, 20.0, 7.0);
    Picture source({format, 31, 29, {}, {}}, 1);
    Picture whole(source.Shape(), 2);
    Picture bands(source.Shape(), 2);
    RenderAll("Ripple", whole, source, params.get());
    Render("Ripple", bands, source, params.get(), 0, 5);
    Render("Ripple", bands, source, params.get(), 28, 1);
    Render("Ripple", bands, source, params.get(), 5, 2);
    Render("Ripple", bands, source, params.get(), 7, 21);
    EXPECT_TRUE(SameBytes(whole, bands)) << FormatOf(format).name;
  }
}

/** A band away from row 0, on a thread of its own. */
class WaitingBand {
public:
  explicit WaitingBand(RippleParams& params)
      : thread_([this, &params] {
          Render("Ripple", out_, map_, &params, 8, 4);
          done_ = true;
        }) {}

  bool WaitsFor(std::chrono::milliseconds time) const {
    std::this_thread::sleep_for(time);
    return !done_;
  }

  const Picture& Join() {
    thread_.join();
    return out_;
  }

private:
  Picture map_ = PositionMap(kRgb24, 64, 64);
  Picture out_ = Picture(map_.Shape(), 2);
  std::atomic<bool> done_ = false;
  std::thread thread_;  // last, for it uses the others
};

void ExpectRows8To11(const Picture& whole, const Picture& band) {
  for (int row = 8; row < 12; ++row) EXPECT_EQ(whole.Row(0, row), band.Row(0, row)) << row;
}

TEST(RippleWaitTest, OtherBandsWaitForTheFirst) {
  const auto params = Params(90.0, 20.0, 0.0);
  WaitingBand band(*params);
  EXPECT_TRUE(band.WaitsFor(std::chrono::milliseconds(50)));
  const Picture whole = Rippled(*params);
  ExpectRows8To11(whole, band.Join());
}

TEST(RippleWaitTest, TheyWaitForAMissingTableToo) {
  const auto params = Params(0.5, 0.5, 0.0);
  params->tables->weightTable = new std::int32_t[64]();
  params->tables->weightCount = 64;
  WaitingBand band(*params);
  EXPECT_TRUE(band.WaitsFor(std::chrono::milliseconds(50)));
  const Picture whole = Rippled(*params);
  EXPECT_NE(params->tables->offsetTable, nullptr);
  ExpectRows8To11(whole, band.Join());
}

TEST(RippleWaitTest, TheyWaitForTheTablesOfChangedParameters) {
  const auto params = Params(90.0, 20.0, 0.0);
  Rippled(*params);
  params->amplitude = 50.0;
  WaitingBand higher(*params);
  EXPECT_TRUE(higher.WaitsFor(std::chrono::milliseconds(20)));
  const Picture atFifty = Rippled(*params);
  ExpectRows8To11(atFifty, higher.Join());

  params->damping = 80.0;
  WaitingBand damped(*params);
  EXPECT_TRUE(damped.WaitsFor(std::chrono::milliseconds(20)));
  const Picture atEighty = Rippled(*params);
  ExpectRows8To11(atEighty, damped.Join());

  Rippled(*params, 32, 16);
  WaitingBand larger(*params);
  EXPECT_TRUE(larger.WaitsFor(std::chrono::milliseconds(20)));
  const Picture again = Rippled(*params);
  ExpectRows8To11(again, larger.Join());
}

}  // namespace

}  // namespace norix::test
