#include "GroupEffect/TimeCurves.h"

#include <cstdint>

namespace norix {

namespace {

constexpr double kTimes = 10000.0;
constexpr int kRunUpEnd = 999;
constexpr int kRollEnd = 8999;

}  // namespace

double RollBlur(int time) {
  const std::int64_t distanceToEnd = time <= 5000 ? time : 10000 - std::int64_t{time};
  return static_cast<double>(distanceToEnd * 80) / kTimes;
}

// The jumps where the phases meet are part of the movement.
double FallingRoll(int time) {
  const std::int64_t t = time;
  if (time <= kRunUpEnd) return static_cast<double>(-t) / kTimes;
  if (time > kRollEnd) return static_cast<double>(110000 - t) / kTimes;
  return static_cast<int>((time - 1000) / 8000.0 * 102000.0 + -1000.0) / kTimes;
}

double RisingRoll(int time) {
  const std::int64_t t = time;
  if (time <= kRunUpEnd) return static_cast<double>(t) / kTimes;
  if (time > kRollEnd) return static_cast<double>(t - 110000) / kTimes;
  return static_cast<int>((time - 1000) / -8000.0 * 102000.0 + 1000.0) / kTimes;
}

}  // namespace norix
