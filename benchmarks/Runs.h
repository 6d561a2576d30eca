#pragma once

// What the benchmarks of effects have in common: a case with its frames and parameters, and how it is timed.

#include <NorixEngine/FEParams.h>
#include <NorixEngine/NorixEngine.h>
#include <benchmark/benchmark.h>

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

/// Cases that were chosen to be slow. Adds their rows.
void RegisterAdversaries();

/// Building Ripple's tables. Adds its rows.
void RegisterRippleTables();

}  // namespace norix::bench
