// Contents and parameters chosen to meet the slow lanes of the kernels: values on the borders of decisions. Rows are named
//   hard/effect/what is hard/format             at 1920x1080, with the best instruction set

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "Runs.h"

namespace norix::bench {

namespace {

enum class Content { kFootage, kFlat, kStripes, kNoise };

struct Hard {
  std::string effect;
  std::string what;
  int level = 5000;
  std::function<void(FilterParams&)> change;  // null: as the level makes them
  Content content = Content::kFootage;
};

template <class Params>
std::function<void(FilterParams&)> Set(double Params::*field, double value) {
  return [=](FilterParams& params) { static_cast<Params&>(params).*field = value; };
}

std::vector<Hard> HardCases() {
  std::vector<Hard> cases = {
      {"Swirl", "level 1", 1, {}},
      {"Swirl", "level 10000", 10000, {}},
      {"Swirl", "0.00002 degrees", 5000, Set(&SwirlParams::angle, 2e-5)},
      {"Swirl", "2880 degrees", 5000, Set(&SwirlParams::angle, 2880.0)},
      {"Swirl", "circle grazes a row", 5000, Set(&SwirlParams::radius, 540.0 / 1080)},
      {"Pinch", "strength 0.00002", 5000, Set(&PinchParams::strength, 2e-5)},
      {"Pinch", "strength 3", 5000, Set(&PinchParams::strength, 3.0)},
      {"Bulge", "strength 0.00002", 5000, Set(&BulgeParams::strength, 2e-5)},
      {"Bulge", "strength 2", 5000, Set(&BulgeParams::strength, 2.0)},
      {"Ripple", "damping -500", 5000, Set(&RippleParams::damping, -500.0)},
      {"Vignette", "ring of 0.002", 5000, Set(&VignetteParams::innerRadius, 0.898)},
      {"Vignette", "inner radius 0", 5000, Set(&VignetteParams::innerRadius, 0.0)},
      {"Vignette", "flat", 5000, {}, Content::kFlat},
      {"Focus Color", "flat", 5000, {}, Content::kFlat},
      {"Focus Color", "noise", 5000, {}, Content::kNoise},
      {"Focus Color", "wide feather", 5000, Set(&FocusColorParams::feather, 3.0)},
  };
  for (const int level : {1, 500, 1000, 2000, 2500, 3700, 4000, 6000, 7000, 8000, 9000, 10000}) {
    for (const char* effect : {"Emboss", "Sketch"}) cases.push_back({effect, "level " + std::to_string(level), level, {}});
  }
  for (const int level : {3000, 5000, 7000}) {
    for (const char* effect : {"Emboss", "Sketch"}) {
      cases.push_back({effect, "flat at level " + std::to_string(level), level, {}, Content::kFlat});
      cases.push_back({effect, "stripes at level " + std::to_string(level), level, {}, Content::kStripes});
      cases.push_back({effect, "noise at level " + std::to_string(level), level, {}, Content::kNoise});
    }
  }
  for (const int level : {1, 1000, 2500, 4500, 8500}) {
    for (const char* effect : {"Zoom Blur", "Motion Blur", "Tile Scale", "Mirror Move X"}) {
      cases.push_back({effect, "level " + std::to_string(level), level, {}});
    }
  }
  return cases;
}

/// Paints over the footage.
void Paint(AVFrame& frame, Content content) {
  if (content == Content::kFootage) return;
  av_frame_make_writable(&frame);
  std::uint32_t random = 12345;
  for (int plane = 0; plane < AV_NUM_DATA_POINTERS && frame.data[plane]; ++plane) {
    const bool chroma = plane == 1 || plane == 2;
    const int rows = chroma ? (frame.height + 1) / 2 : frame.height;
    const int period = frame.format == AV_PIX_FMT_BGRA ? 4 : 1;
    for (int y = 0; y < rows; ++y) {
      std::uint8_t* row = frame.data[plane] + static_cast<std::ptrdiff_t>(y) * frame.linesize[plane];
      for (int i = 0; i < frame.linesize[plane]; ++i) {
        random = random * 1664525U + 1013904223U;
        const int value = content == Content::kFlat      ? 100
                          : content == Content::kStripes ? ((i / period + y) % 2 != 0 ? 180 : 60)
                                                         : static_cast<int>(random >> 24);
        row[i] = static_cast<std::uint8_t>(value);
      }
    }
  }
}

void Time(benchmark::State& state, const Hard& hard, AVPixelFormat format) {
  host::UseInstructionSet(host::BestInstructionSet());
  const host::FramePtr src = Footage(format, 1920, 1080);
  Paint(*src, hard.content);
  const host::FramePtr dst = host::NewPicture(format, 1920, 1080);
  const ParamsPtr params = ParamsAt(hard.effect, hard.level);
  if (hard.change) hard.change(*params);
  const auto render = [&] {
    filter_video_frame(dst.get(), src.get(), hard.effect.c_str(), params.get(), 0, 0, src->height);
  };
  render();
  TimeCalls(state, *src, *dst, render);
}

}  // namespace

void RegisterAdversaries() {
  for (const Hard& hard : HardCases()) {
    for (const AVPixelFormat format : {AV_PIX_FMT_BGRA, AV_PIX_FMT_YUV420P}) {
      const std::string name = "hard/" + hard.effect + "/" + hard.what + "/" + host::FormatName(format);
      benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { Time(state, hard, format); })
          ->Unit(benchmark::kMicrosecond)
          ->UseManualTime();
    }
  }
}

}  // namespace norix::bench
