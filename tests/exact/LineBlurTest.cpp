// Zoom Blur and Motion Blur where their kernels decide: blocks, strips, windows, whole-number displacements.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "exact/EffectComparison.h"

namespace norix::test {

namespace {

class LineBlurTest : public OneFormatTest {
protected:
  LineBlurTest() : OneFormatTest(11) {}
};

TEST_P(LineBlurTest, ZoomAtEveryWidth) {
  EffectComparison comparison("Zoom Blur");
  for (int width = 1; width <= 150; ++width)
    for (const double strength : {0.04, 1.0, 4.0, 7.0, 12.5, 23.0}) {
      comparison.SetFields({random_.Real(-0.3, 1.3), random_.Real(-0.3, 1.3), strength});
      Compare(comparison, width, random_.Between(1, 9));
    }
}

// Strips have 256 or 1024 columns; the last one always has a whole block.
TEST_P(LineBlurTest, ZoomAroundStrips) {
  EffectComparison comparison("Zoom Blur");
  for (const int strip : {256, 512, 1024, 2048})
    for (int over = -3; over <= 66; over += random_.Between(1, 4))
      for (const double strength : {0.01, 2.0, 4.0, 20.0}) {
        comparison.SetFields({random_.Real(0.0, 1.0), random_.Real(0.0, 1.0), strength});
        Compare(comparison, strip + over, random_.Between(1, 4));
      }
}

// From 24 percent on, columns may stand still or fall; the spread of the outer taps outgrows one window and then two.
TEST_P(LineBlurTest, ZoomThroughAllStrengths) {
  EffectComparison comparison("Zoom Blur");
  for (int i = 0; i < 400; ++i) {
    double strength = random_.Real(0.0, 30.0);
    if (random_.OneIn(4)) strength = random_.Pick(std::vector<double>{24.0, 25.0, 26.0, 50.0, 99.0, 100.0, 1000.0});
    if (random_.OneIn(4)) strength = std::nextafter(strength, random_.OneIn(2) ? 0.0 : 1e3);
    comparison.SetFields({random_.Real(-2.0, 3.0), random_.Real(-2.0, 3.0), strength});
    Compare(comparison, random_.Between(16, 330), random_.Between(1, 12));
  }
}

// Strengths whose products with whole distances are whole or short of it by a rounding; steps of few bits, whose sums tie.
TEST_P(LineBlurTest, ZoomOnDecisionBorders) {
  EffectComparison comparison("Zoom Blur");
  for (int i = 0; i < 400; ++i) {
    double strength = 100.0 / random_.Pick(std::vector<int>{5, 10, 20, 25, 30, 40, 50, 64, 75, 100, 128, 300, 1024});
    if (random_.OneIn(4)) strength = std::ldexp(random_.Between(1, 7), random_.Between(-40, 1));
    if (random_.OneIn(3)) strength = std::nextafter(strength, random_.OneIn(2) ? 0.0 : 1e3);
    const double distance = random_.OneIn(4) ? std::ldexp(1.0, random_.Between(0, 24)) : 1.0;
    comparison.SetFields({random_.Between(-2, 4) * 0.25 * distance, random_.Between(-2, 4) * 0.25 * distance, strength});
    Compare(comparison, random_.Between(30, 600), random_.Between(1, 6));
  }
}

// Distances that pass many powers of two on their way through zero; strengths at which steps are rounded to half units.
TEST_P(LineBlurTest, ZoomOverLongRows) {
  EffectComparison comparison("Zoom Blur");
  for (int i = 0; i < 60; ++i) {
    double strength = random_.Real(0.0, 5.0);
    if (random_.OneIn(3)) strength = 100.0 * std::ldexp(2 * random_.Between(1, 4096) + 1, random_.Between(-62, -16));
    comparison.SetFields({random_.Real(0.0, 1.0), random_.Real(0.0, 1.0), strength});
    Compare(comparison, random_.Between(900, 4200), random_.Between(2, 5));
  }
}

TEST_P(LineBlurTest, MotionAtEveryWidth) {
  EffectComparison comparison("Motion Blur");
  for (int width = 1; width <= 150; ++width)
    for (const double strength : {0.2, 1.0, 3.5, 9.0, 30.0}) {
      comparison.SetFields({strength, random_.OneIn(3) ? random_.Between(-4, 4) * 90.0 : random_.Real(-360.0, 360.0)});
      Compare(comparison, width, random_.Between(1, 9));
    }
}

// Whole displacements and their neighbours, up to where a tap always leaves the row.
TEST_P(LineBlurTest, MotionOnDecisionBorders) {
  EffectComparison comparison("Motion Blur");
  for (int i = 0; i < 600; ++i) {
    const int width = random_.Between(20, random_.OneIn(4) ? 1400 : 300);
    double strength = random_.Between(1, 4 * width) * 0.25 * (random_.OneIn(2) ? 0.25 : 1.0);
    if (random_.OneIn(3)) strength = width * 0.25 - random_.Between(-2, 12) * 0.25;
    if (random_.OneIn(4)) strength = random_.Between(1, 20) / 3.0;
    if (random_.OneIn(3)) strength = std::nextafter(strength, random_.OneIn(2) ? 0.0 : 1e6);
    if (random_.OneIn(12)) strength = std::ldexp(random_.Real(0.5, 1.0), random_.Between(-16, 45));
    comparison.SetFields({strength, random_.OneIn(2) ? random_.Between(-4, 4) * 90.0 : random_.Real(-180.0, 180.0)});
    Compare(comparison, width, random_.Between(1, 8));
  }
}

INSTANTIATE_TEST_SUITE_P(All, LineBlurTest, testing::ValuesIn(AllFormats().begin(), AllFormats().begin() + 8),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace

}  // namespace norix::test
