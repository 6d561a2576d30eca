// Sines and cosines come from the machine's mathematical library, whose last bit differs between machines. Here that bit of
// every one of them is moved, far more often than libraries differ, and the bytes that change are counted.

#include <NorixEngine/NorixEngine.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <string>

#include "exact/ParamObject.h"
#include "support/Formats.h"
#include "support/Picture.h"
#include "support/Random.h"

namespace {

/** By how many bits the engine's sines and cosines are moved: 0, 1 or -1. */
int nudge = 0;
std::uint64_t calls = 0;

double Original(const char* name, double angle) {
  // What the functions below hide.
  return reinterpret_cast<double (*)(double)>(dlsym(RTLD_NEXT, name))(angle);
}

/** Leaves -1, 0 and 1 alone: the engine's angles lie so near to these values that every library rounds them alike. */
double Nudged(double value) {
  ++calls;
  const bool exact = value == 0.0 || value == 1.0 || value == -1.0;
  return nudge == 0 || exact ? value : std::nextafter(value, nudge * std::numeric_limits<double>::infinity());
}

}  // namespace

// The library finds these before the C library's.
extern "C" {
double sin(double angle) noexcept { return Nudged(Original("sin", angle)); }
double cos(double angle) noexcept { return Nudged(Original("cos", angle)); }
void sincos(double angle, double* sine, double* cosine) noexcept {
  *sine = Nudged(Original("sin", angle));
  *cosine = Nudged(Original("cos", angle));
}
}

namespace norix::test {

namespace {

/** Bytes rendered, sines taken for them, and bytes that are others when every sine is one bit larger or smaller. */
struct Count {
  std::uint64_t bytes = 0;
  std::uint64_t sines = 0;
  std::uint64_t larger = 0;
  std::uint64_t smaller = 0;
};

/** One byte in ten million would be many. */
void ExpectHardlyAny(const std::string& what, const Count& count) {
  std::cout << what << ": " << count.bytes << " bytes, " << count.sines << " sines and cosines; one bit larger they move "
            << count.larger << " bytes, one bit smaller " << count.smaller << std::endl;
  EXPECT_GT(count.sines, 0U) << "the engine does not call these functions";
  EXPECT_LE(std::max(count.larger, count.smaller), count.bytes / 10'000'000);
}

/** More than once for a long look. */
int Times() {
  const char* const given = std::getenv("NORIX_TEST_SINES");
  return given == nullptr ? 1 : std::max(1, std::atoi(given));
}

class SineRoundingTest : public testing::Test {
protected:
  void TearDown() override { nudge = 0; }

  static Picture Render(Picture& source, const char* effect, const ParamObject& params, int bits) {
    Picture result(source.Shape(), 3);
    const ParamObject own = params.Clone();
    nudge = bits;
    filter_video_frame(result.Frame(), source.Frame(), effect, own.Get(), 0, 0, source.Shape().height);
    nudge = 0;
    return result;
  }

  static std::uint64_t Differences(const Picture& a, const Picture& b) {
    std::uint64_t count = 0;
    for (int plane = 0; plane < a.PlaneCount(); ++plane)
      for (int row = 0; row < a.Rows(plane); ++row)
        for (int column = 0; column < a.RowBytes(plane); ++column)
          count += a.At(plane, row, column) != b.At(plane, row, column) ? 1U : 0U;
    return count;
  }

  static void Add(Count& count, const PictureShape& shape, const char* effect, const ParamObject& params,
                  std::uint64_t seed) {
    Picture source(shape, seed);
    const Picture plain = Render(source, effect, params, 0);
    for (int plane = 0; plane < plain.PlaneCount(); ++plane)
      count.bytes += static_cast<std::uint64_t>(plain.RowBytes(plane)) * static_cast<std::uint64_t>(plain.Rows(plane));
    count.larger += Differences(plain, Render(source, effect, params, 1));
    count.smaller += Differences(plain, Render(source, effect, params, -1));
  }

  /** Pictures of a common size and of others, with the settings of a level; `set` changes them. */
  template <class Set>
  static Count Sample(const char* effect, int pictures, std::uint64_t seed, Set set) {
    Random random(seed);
    Count count;
    const std::uint64_t before = calls;
    for (int i = 0; i < pictures * Times(); ++i) {
      const bool common = random.OneIn(2);
      const int width = common ? 640 : random.Between(50, 900);
      const int height = common ? 360 : random.Between(50, 500);
      const int format = random.OneIn(2) ? kBgra : kYuv420p;
      ParamObject params(effect, random.Between(500, 10000));
      set(params, random);
      Add(count, {format, width, height, {}, {}}, effect, params, random.Next());
    }
    count.sines = (calls - before) / 3;
    return count;
  }
};

TEST_F(SineRoundingTest, LibraryRoundsNearlyAllRight) {
  Random random(5);
  int wrong = 0;
  constexpr int kAngles = 1'000'000;
  for (int i = 0; i < kAngles; ++i) {
    const double angle = random.Real(-8.0, 8.0);
    wrong += Original("sin", angle) != static_cast<double>(std::sin(static_cast<long double>(angle))) ? 1 : 0;
  }
  std::cout << "sines not rounded to the nearest: " << wrong << " of " << kAngles << std::endl;
  EXPECT_LT(wrong, kAngles / 100);
}

TEST_F(SineRoundingTest, SwirlHardlyMoves) {
  ExpectHardlyAny("Swirl", Sample("Swirl", 120, 1, [](ParamObject&, Random&) {}));
}

TEST_F(SineRoundingTest, RippleHardlyMoves) {
  ExpectHardlyAny("Ripple", Sample("Ripple", 60, 2, [](ParamObject& params, Random& random) {
                    if (random.OneIn(2)) return;
                    params.SetField(3, random.Real(0.0, 100.0));
                    params.SetField(4, random.Real(0.0, 60.0));
                  }));
}

TEST_F(SineRoundingTest, MotionBlurHardlyMovesAtAnyAngle) {
  ExpectHardlyAny("Motion Blur", Sample("Motion Blur", 80, 3, [](ParamObject& params, Random& random) {
                    params.SetField(1, random.Real(0.0, 360.0));
                  }));
}

TEST_F(SineRoundingTest, MotionBlurHardlyMovesAtRoundAngles) {
  // Half an even strength would be a whole number of pixels, or a bit less.
  ExpectHardlyAny("Motion Blur at round angles", Sample("Motion Blur", 48, 4, [](ParamObject& params, Random& random) {
                    params.SetField(0, random.Between(1, 4));
                    params.SetField(1, random.Between(-24, 24) * 15.0);
                  }));
}

}  // namespace

}  // namespace norix::test
