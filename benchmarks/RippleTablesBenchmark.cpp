// What a Ripple call pays for its tables: nothing when only the phase changes, their building when the amplitude does.

#include "Runs.h"

namespace norix::bench {

namespace {

void TimeEmptyBand(benchmark::State& state, double RippleParams::*changing) {
  const host::FramePtr src = Footage(AV_PIX_FMT_BGRA, 1920, 1080);
  const host::FramePtr dst = host::NewPicture(AV_PIX_FMT_BGRA, 1920, 1080);
  const ParamsPtr params = ParamsAt("Ripple", 5000);
  auto& ripple = static_cast<RippleParams&>(*params);
  for ([[maybe_unused]] auto iteration : state) {
    ripple.*changing = ripple.*changing == 20.0 ? 21.0 : 20.0;
    // A band of no rows prepares the tables and renders nothing.
    filter_video_frame(dst.get(), src.get(), "Ripple", params.get(), 0, 0, 0);
  }
}

}  // namespace

void RegisterRippleTables() {
  const auto add = [](const char* name, double RippleParams::*changing) {
    benchmark::RegisterBenchmark(name, [=](benchmark::State& state) {
      TimeEmptyBand(state, changing);
    })->Unit(benchmark::kMicrosecond);
  };
  add("Ripple tables/amplitude", &RippleParams::amplitude);
  add("Ripple tables/phase", &RippleParams::phase);
}

}  // namespace norix::bench
