#include "render/Bench.h"

extern "C" {
#include <libavutil/imgutils.h>
}

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

#include "Interrupt.h"
#include "engine/Catalogue.h"
#include "engine/Effect.h"
#include "engine/InstructionSet.h"
#include "media/Av.h"
#include "media/Converter.h"
#include "render/FileRun.h"

namespace norix::host {

namespace {

constexpr int kUsualLevel = 5000;

/// Soft areas of all sizes, an edge every few hundred pixels and fine grain: what a camera's picture is made of.
FramePtr TestPicture(int width, int height) {
  FramePtr picture = NewPicture(AV_PIX_FMT_RGB24, width, height);
  std::uint32_t random = 1;
  for (int y = 0; y < height; ++y) {
    std::uint8_t* pixel = picture->data[0] + static_cast<std::ptrdiff_t>(y) * picture->linesize[0];
    for (int x = 0; x < width; ++x, pixel += 3) {
      const bool dark = (x + y / 3) % 311 < 150;
      for (int c = 0; c < 3; ++c) {
        random = random * 1664525U + 1013904223U;
        const double soft = std::sin(x * 0.013 + c) * 50 + std::sin((y - x * 0.3) * 0.031) * 40;
        const double grain = static_cast<double>(random >> 28) - 8.0;
        pixel[c] = static_cast<std::uint8_t>(std::clamp(128 + soft + grain - (dark ? 30 : 0), 0.0, 255.0));
      }
    }
  }
  return picture;
}

/// The least time of a call, in seconds, of as many as fit into a time: what the work takes when nothing else runs.
template <class Work>
double LeastTime(double seconds, const Work& work) {
  using Clock = std::chrono::steady_clock;
  work();
  double least = std::numeric_limits<double>::infinity();
  const Clock::time_point begin = Clock::now();
  for (Clock::time_point before = begin; before - begin < std::chrono::duration<double>(seconds);) {
    if (Interrupted()) throw Failure(kInterrupted, "interrupted");
    work();
    const Clock::time_point after = Clock::now();
    least = std::min(least, std::chrono::duration<double>(after - before).count());
    before = after;
  }
  return least;
}

struct Row {
  std::string effect;
  std::string format;
  double seconds;      ///< per picture
  double copySeconds;  ///< to copy that picture
};

class Bencher {
public:
  explicit Bencher(const BenchRequest& request)
      : request_(request), picture_(TestPicture(request.width, request.height)), converter_({}) {}

  Row time(const EffectInfo& info) {
    const AVPixelFormat wanted = av_get_pix_fmt(request_.format.c_str());
    const bool packed = info.needsPackedPixels && wanted == AV_PIX_FMT_YUV420P;
    const AVPixelFormat format = NegotiateFormat(info.name, packed ? AV_PIX_FMT_BGRA : wanted);
    FramePtr source = converter_.convert(FramePtr(OrBadAlloc(av_frame_clone(picture_.get()))), format);
    const FramePtr destination = NewPicture(format, request_.width, request_.height);
    Effect effect(info.name, {});
    effect.setLevel(request_.level.value_or(kUsualLevel));
    // The copy lies on both sides of the effect, so that both meet the machine in the same state.
    const double before = timeCopy(format, request_.seconds / 4);
    const double seconds = LeastTime(request_.seconds, [&] { effect.render(*destination, *source, {0, request_.height}); });
    return {info.name, FormatName(format), seconds, std::min(before, timeCopy(format, request_.seconds / 4))};
  }

private:
  double timeCopy(AVPixelFormat format, double seconds) const {
    const auto bytes = static_cast<std::size_t>(av_image_get_buffer_size(format, request_.width, request_.height, 1));
    const std::vector<std::uint8_t> from(bytes, 7);
    std::vector<std::uint8_t> to(bytes, 9);
    return LeastTime(seconds, [&] { std::memcpy(to.data(), from.data(), bytes); });
  }

  const BenchRequest& request_;
  FramePtr picture_;
  Converter converter_;
};

nlohmann::json Json(const BenchRequest& request, const std::string& target, const std::vector<Row>& rows) {
  nlohmann::json effects = nlohmann::json::array();
  for (const Row& row : rows) {
    effects.push_back({{"name", row.effect},
                       {"format", row.format},
                       {"milliseconds", row.seconds * 1e3},
                       {"copy_milliseconds", row.copySeconds * 1e3}});
  }
  return {{"width", request.width},
          {"height", request.height},
          {"level", request.level.value_or(kUsualLevel)},
          {"target", target},
          {"threads", 1},
          {"effects", effects}};
}

}  // namespace

void CheckRequest(const BenchRequest& request) {
  CheckEngine();
  if (av_get_pix_fmt(request.format.c_str()) == AV_PIX_FMT_NONE) {
    FailUsage("--format {}: FFmpeg knows no such pixel format; the effects work in yuv420p, rgb24 and bgra",
              request.format);
  }
  for (const std::string& name : request.effects) {
    if (!Renders(FindEffect(name).name)) FailUsage("the engine does not render the effect \"{}\"", name);
  }
}

ExitCode Bench(const BenchRequest& request) {
  std::vector<const EffectInfo*> effects;
  for (const std::string& name : request.effects) effects.push_back(&FindEffect(name));
  if (effects.empty()) {
    for (const EffectInfo& effect : Effects()) {
      if (Renders(effect.name)) effects.push_back(&effect);
    }
  }
  const std::string target = request.target.empty() ? BestInstructionSet() : request.target;
  UseInstructionSet(target);

  Bencher bencher(request);
  std::vector<Row> rows;
  if (!request.json) {
    fmt::print("{}x{}, level {}, {}, one thread; the least of the calls that fit into {} s\n\n", request.width,
               request.height, request.level.value_or(kUsualLevel), target, request.seconds);
    fmt::print("{:<14} {:<9} {:>10} {:>9} {:>8} {:>8}\n", "effect", "format", "ms/frame", "ns/pixel", "GB/s", "x copy");
  }
  for (const EffectInfo* effect : effects) {
    rows.push_back(bencher.time(*effect));
    if (request.json) continue;
    const Row& row = rows.back();
    const AVPixelFormat format = av_get_pix_fmt(row.format.c_str());
    const int bytes = av_image_get_buffer_size(format, request.width, request.height, 1);
    fmt::print("{:<14} {:<9} {:>10.3f} {:>9.3f} {:>8.2f} {:>8.2f}\n", row.effect, row.format, row.seconds * 1e3,
               row.seconds * 1e9 / (static_cast<double>(request.width) * request.height), bytes / row.seconds / 1e9,
               row.seconds / row.copySeconds);
  }
  if (request.json) fmt::print("{}\n", Json(request, target, rows).dump(2));
  return kDone;
}

}  // namespace norix::host
