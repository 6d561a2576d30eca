#pragma once

// What the benchmarks of effects have in common: a case with its frames and parameters, and how it is timed.

#include <NorixEngine/FEParams.h>
#include <NorixEngine/NorixEngine.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "Footage.h"
#include "engine/InstructionSet.h"

namespace norix::bench {

struct ReleaseParams {
  void operator()(FilterParams* params) const { ReleaseParamBuffer(params); }
};
using ParamsPtr = std::unique_ptr<FilterParams, ReleaseParams>;

inline ParamsPtr ParamsAt(const std::string& effect, int level) {
  FilterParams* params = nullptr;
  int size = 0;
  GetParamBuffer(effect.c_str(), level, &params, &size);
  return ParamsPtr(params);
}

/// Counters that all rows have: time per pixel, and pictures' bytes per second.
inline void SetCounters(benchmark::State& state, const AVFrame& frame) {
  const double pixels = static_cast<double>(frame.width) * frame.height;
  state.counters["per_pixel"] = benchmark::Counter(
      pixels, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert, benchmark::Counter::kIs1000);
  state.SetBytesProcessed(static_cast<std::int64_t>(PictureBytes(frame)) * static_cast<std::int64_t>(state.iterations()));
}

template <class Work>
double SecondsOf(const Work& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  benchmark::ClobberMemory();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Times every call on its own, and a copy of the same planes before it: whatever else the machine is doing slows both.
/// Counters: the least time of a call and of a copy in microseconds, and those of all rows.
template <class Call>
void TimeCalls(benchmark::State& state, const AVFrame& src, AVFrame& dst, const Call& call) {
  constexpr int kMostCopies = 50;
  double least = std::numeric_limits<double>::infinity();
  double leastCopy = least;
  int copies = 0;
  for ([[maybe_unused]] auto iteration : state) {
    // A call may be far shorter than a copy, such as that of a picture with many short rows.
    if (++copies <= kMostCopies) leastCopy = std::min(leastCopy, SecondsOf([&] { CopyPlanes(dst, src); }));
    const double seconds = SecondsOf(call);
    least = std::min(least, seconds);
    state.SetIterationTime(seconds);
  }
  state.counters["call_us"] = least * 1e6;
  state.counters["copy_us"] = leastCopy * 1e6;
  SetCounters(state, src);
}

/// Cases that were chosen to be slow. Adds their rows.
void RegisterAdversaries();

/// Building Ripple's tables. Adds its rows.
void RegisterRippleTables();

}  // namespace norix::bench
