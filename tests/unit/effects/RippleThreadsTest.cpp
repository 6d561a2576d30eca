// Bands of one picture on threads of their own, with one object whose tables they share: the first builds, the others wait.

#include <NorixEngine/FEParams.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Render.h"
#include "support/Random.h"

namespace norix::test {

namespace {

struct Band {
  int firstRow;
  int rowCount;
};

/** Begins on even rows, as hosts have to; the band at row 0 first. */
std::vector<Band> BandsOf(int height, int count) {
  const int rows = std::max(2, (height / count) & ~1);
  std::vector<Band> bands;
  for (int first = 0; first < height; first += rows) bands.push_back({first, std::min(rows, height - first)});
  return bands;
}

void Shuffle(std::vector<Band>& bands, Random& random) {
  for (std::size_t i = bands.size(); i > 1; --i)
    std::swap(bands[i - 1], bands[static_cast<std::size_t>(random.Between(0, static_cast<int>(i) - 1))]);
}

/** The next picture's settings: often the same, or another fraction of the same whole number. */
void Change(RippleParams& params, Random& random) {
  params.phase = random.Real(-40.0, 80.0);
  if (random.OneIn(2)) params.damping = random.Pick(std::vector<double>{90.0, 90.7, 91.0, 50.0, 0.25, 100.6, 101.0, -20.0});
  if (random.OneIn(2)) params.amplitude = random.Pick(std::vector<double>{20.0, 20.9, 21.0, 300.0, 0.5, -60.0});
}

TEST(RippleThreadsTest, AnyOrderOfBandsGivesTheBytesOfOneThread) {
  Random random(2024);
  const Owned<RippleParams> shared(new RippleParams);
  const Owned<RippleParams> single(new RippleParams);
  shared->damping = 90.0;
  shared->amplitude = 20.0;
  for (int frame = 0; frame < 120; ++frame) {
    if (frame != 0) Change(*shared, random);
    single->damping = shared->damping;
    single->amplitude = shared->amplitude;
    single->phase = shared->phase;
    const int format = random.Pick(std::vector<int>{kBgra, kRgb24, kYuv420p, kYuva420p});
    const PictureShape shape{
        format, random.Pick(std::vector<int>{48, 64, 33}), random.Pick(std::vector<int>{48, 64, 33}), {}, {}};
    SCOPED_TRACE("frame " + std::to_string(frame) + ", damping " + std::to_string(shared->damping) + ", amplitude " +
                 std::to_string(shared->amplitude));

    Picture source(shape, random.Next());
    Picture expected(shape, 5);
    Picture actual = expected;
    std::vector<Band> bands = BandsOf(shape.height, random.Between(1, 8));
    for (const Band band : bands) Render("Ripple", expected, source, single.get(), band.firstRow, band.rowCount);

    Shuffle(bands, random);
    std::vector<std::thread> threads;
    threads.reserve(bands.size());
    for (const Band band : bands)
      threads.emplace_back([&, band] { Render("Ripple", actual, source, shared.get(), band.firstRow, band.rowCount); });
    for (std::thread& thread : threads) thread.join();
    ASSERT_TRUE(SameBytes(expected, actual));
    ASSERT_EQ(shared->tables->tableDamping, single->tables->tableDamping);
    ASSERT_EQ(shared->tables->tableAmplitude, single->tables->tableAmplitude);
    ASSERT_EQ(shared->tables->weightCount, single->tables->weightCount);
  }
}

TEST(RippleThreadsTest, LateFirstBandFreesAllOthers) {
  Random random(7);
  for (int round = 0; round < 20; ++round) {
    const Owned<RippleParams> params(new RippleParams);
    params->damping = round % 2 == 0 ? 90.0 : 0.5;
    params->amplitude = round % 2 == 0 ? 20.0 : 0.5;
    Picture source({kYuv420p, 64, 64, {}, {}}, random.Next());
    Picture actual(source.Shape(), 2);
    Picture expected = actual;
    std::vector<std::thread> threads;
    for (int first = 60; first >= 0; first -= 4) {
      if (first == 0) std::this_thread::sleep_for(std::chrono::milliseconds(3));
      threads.emplace_back([&, first] { Render("Ripple", actual, source, params.get(), first, 4); });
    }
    for (std::thread& thread : threads) thread.join();
    RenderAll("Ripple", expected, source, params.get());
    ASSERT_TRUE(SameBytes(expected, actual)) << round;
  }
}

}  // namespace

}  // namespace norix::test
