// The speed of every effect. Rows are named
//   effect/format/WxH/instruction set           one call for the whole picture
//   .../bands32                                 one call for every 32 rows
//   .../threads2                                two halves on two threads
//   plain/effect/format/WxH                     the reference that tests hold the effects to
// Every row times copies of the same planes as well. Run with --benchmark_repetitions and random interleaving: see
// scripts/bench.

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Footage.h"
#include "Runs.h"
#include "reference/Reference.h"

namespace norix::bench {

namespace {

struct Size {
  int width;
  int height;

  std::string name() const { return std::to_string(width) + "x" + std::to_string(height); }
};

constexpr Size kFullHd = {1920, 1080};
// From one that fits the second-level cache to one that leaves all caches; a row and a column as the least of pictures.
constexpr Size kSizes[] = {{320, 180}, {1280, 720}, kFullHd, {3840, 2160}, {7680, 4320}, {32000, 1}, {1, 32000}};
constexpr AVPixelFormat kFormats[] = {AV_PIX_FMT_BGRA, AV_PIX_FMT_RGB24, AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVA420P};

int LevelOf(const std::string& effect) {
  if (effect.ends_with("Blur")) return 10000;
  // Half of a byte would be a lucky amount: exact in few bits.
  return effect == "Emboss" || effect == "Sketch" ? 3700 : 5000;
}

/// A second thread that renders one half of a picture at a time. It waits as a busy host's threads do, without sleeping.
class Helper {
public:
  Helper() : thread_([this] { run(); }) {}
  ~Helper() {
    stop_ = true;
    thread_.join();
  }
  Helper(const Helper&) = delete;
  Helper& operator=(const Helper&) = delete;

  void start(const std::function<void()>& work) { work_ = &work; }
  void wait() const {
    while (work_.load()) {
    }
  }

private:
  void run() {
    while (!stop_) {
      if (const std::function<void()>* work = work_) {
        (*work)();
        work_ = nullptr;
      }
    }
  }

  std::atomic<const std::function<void()>*> work_ = nullptr;
  std::atomic<bool> stop_ = false;
  std::thread thread_;
};

using Render = std::function<void(AVFrame& dst, AVFrame& src, FilterParams* params, int firstRow, int rowCount)>;

enum class Cut { kWhole, kBands, kThreads };

void Time(benchmark::State& state, const std::string& effect, AVPixelFormat format, Size size, Cut cut,
          const Render& render) {
  const host::FramePtr src = Footage(format, size.width, size.height);
  const host::FramePtr dst = host::NewPicture(format, size.width, size.height);
  const ParamsPtr params = ParamsAt(effect, LevelOf(effect));
  const auto rows = [&](int first, int count) { render(*dst, *src, params.get(), first, count); };
  rows(0, size.height);
  std::unique_ptr<Helper> helper = cut == Cut::kThreads ? std::make_unique<Helper>() : nullptr;
  const int half = (size.height / 2 + 1) & ~1;
  const std::function<void()> lowerHalf = [&] { rows(half, size.height - half); };
  TimeCalls(state, *src, *dst, [&] {
    switch (cut) {
      case Cut::kWhole:
        rows(0, size.height);
        break;
      case Cut::kBands:
        for (int y = 0; y < size.height; y += 32) rows(y, std::min(32, size.height - y));
        break;
      case Cut::kThreads:
        helper->start(lowerHalf);
        rows(0, half);
        helper->wait();
        break;
    }
  });
}

void Add(const std::string& name, const std::function<void(benchmark::State&)>& run) {
  benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMicrosecond)->UseManualTime();
}

/// False for the few pairs of effect and format without a picture, which return at once.
bool Draws(const std::string& effect, AVPixelFormat format) {
  const host::FramePtr src = Footage(format, 32, 32);
  const host::FramePtr dst = Footage(format, 32, 32);
  av_frame_make_writable(dst.get());
  const std::size_t bytes = static_cast<std::size_t>(dst->linesize[0]) * 32;
  for (std::size_t i = 0; i < bytes; ++i) dst->data[0][i] ^= 1;
  const std::vector<std::uint8_t> before(dst->data[0], dst->data[0] + bytes);
  filter_check_format(effect.c_str(), AV_PIX_FMT_BGRA);
  filter_video_frame(dst.get(), src.get(), effect.c_str(), ParamsAt(effect, LevelOf(effect)).get(), 0, 0, 32);
  return std::memcmp(before.data(), dst->data[0], bytes) != 0;
}

void RegisterEffect(const reference::Effect& effect, AVPixelFormat format, Size size) {
  const std::string name = effect.name;
  if (!Draws(name, format)) return;
  const std::string picture = "/" + host::FormatName(format) + "/" + size.name();
  const Render engine = [name](AVFrame& dst, AVFrame& src, FilterParams* params, int first, int count) {
    filter_video_frame(&dst, &src, name.c_str(), params, 0, first, count);
  };
  const bool usual = size.width == kFullHd.width;
  const std::vector<std::string> sets = host::InstructionSets();
  for (const std::string& set : sets) {
    if (!usual && set != sets.front()) continue;
    const auto add = [&](const std::string& suffix, Cut cut) {
      Add(fmt::format("{}{}/{}{}", name, picture, set, suffix), [=](benchmark::State& state) {
        host::UseInstructionSet(set);
        Time(state, name, format, size, cut, engine);
      });
    };
    add("", Cut::kWhole);
    // Bands of an effect that draws from one sequence of random numbers are no use to anyone.
    if (!usual || set != sets.front() || name == "Ground Glass") continue;
    add("/bands32", Cut::kBands);
    add("/threads2", Cut::kThreads);
  }
  if (usual) {
    Add("plain/" + name + picture, [=](benchmark::State& state) {
      Time(state, name, format, size, Cut::kWhole,
           [&](AVFrame& dst, AVFrame& src, FilterParams* params, int first, int count) {
             effect.render(dst, src, params, first, count);
           });
    });
  }
}

void TimeRandomNumbers(benchmark::State& state, int count) {
  for ([[maybe_unused]] auto iteration : state) {
    state.SetIterationTime(SecondsOf([&] {
      for (int i = 0; i < count; ++i) benchmark::DoNotOptimize(std::rand());
    }));
  }
}

void RegisterAll() {
  for (const AVPixelFormat format : kFormats) {
    for (const Size size : kSizes) {
      for (const reference::Effect& effect : reference::Effects()) RegisterEffect(effect, format, size);
    }
  }
  // What Ground Glass cannot do without.
  constexpr int kPixels = kFullHd.width * kFullHd.height;
  Add("rand/bgra/1920x1080", [](benchmark::State& state) { TimeRandomNumbers(state, 2 * kPixels); });
  Add("rand/yuv420p/1920x1080", [](benchmark::State& state) { TimeRandomNumbers(state, kPixels / 2); });
  RegisterAdversaries();
  RegisterRippleTables();
}

}  // namespace

}  // namespace norix::bench

int main(int argc, char** argv) {
  norix::host::SetAvMessages(false);
  norix::bench::RegisterAll();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::AddCustomContext("best_instruction_set", norix::host::BestInstructionSet());
  benchmark::RunSpecifiedBenchmarks();
}
