// The speed of other libraries' nearest calls to the effects, on the same picture, on one thread. Rows are named
//   peer/library/effect/format/call
// Run with --notes, it prints what each call computes differently as JSON instead.

#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "Footage.h"
#include "Peer.h"
#include "Runs.h"

extern "C" {
#include <libavutil/imgutils.h>
}

namespace norix::peers {

namespace {

nlohmann::ordered_json notes = nlohmann::ordered_json::array();
bool failed = false;

AVPixelFormat FormatOf(const std::string& name) {
  const AVPixelFormat format = av_get_pix_fmt(name.c_str());
  if (format == AV_PIX_FMT_NONE) throw std::invalid_argument("no pixel format " + name);
  return format;
}

bool SamePixels(const AVFrame& a, const AVFrame& b) {
  const auto format = static_cast<AVPixelFormat>(a.format);
  const int chromaShift = av_pix_fmt_desc_get(format)->log2_chroma_h;
  for (int plane = 0; plane < av_pix_fmt_count_planes(format); ++plane) {
    const auto bytes = static_cast<std::size_t>(av_image_get_linesize(format, a.width, plane));
    const int rows = plane == 1 || plane == 2 ? AV_CEIL_RSHIFT(a.height, chromaShift) : a.height;
    for (int y = 0; y < rows; ++y) {
      const std::uint8_t* rowA = a.data[plane] + static_cast<std::ptrdiff_t>(y) * a.linesize[plane];
      const std::uint8_t* rowB = b.data[plane] + static_cast<std::ptrdiff_t>(y) * b.linesize[plane];
      if (std::memcmp(rowA, rowB, bytes) != 0) return false;
    }
  }
  return true;
}

/// Starts every library that was found.
void AddAll() {
#ifdef NORIX_PEER_OPENCV
  AddOpenCv();
#endif
#ifdef NORIX_PEER_AVFILTER
  AddAvfilter();
#endif
#ifdef NORIX_PEER_FREI0R
  AddFrei0r();
#endif
#ifdef NORIX_PEER_GRAPHICSMAGICK
  AddGraphicsMagick();
#endif
}

}  // namespace

void AddRows(const char* peer, const Description& description, Clock clock, const Measure& measure) {
  std::istringstream formats(description.formats);
  for (std::string format; formats >> format;) {
    notes.push_back({{"peer", peer},
                     {"effect", description.effect},
                     {"format", format},
                     {"call", description.call},
                     {"fresh", description.upkeep == Upkeep::kFresh},
                     {"difference", description.difference}});
    const std::string name = std::string("peer/") + peer + "/" + description.effect + "/" + format + "/" + description.call;
    auto* row = benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
      try {
        measure(state, format);
      } catch (const std::exception& error) {
        failed = true;
        state.SkipWithError(error.what());
      }
    });
    row->Unit(benchmark::kMicrosecond);
    if (clock == Clock::kManual) {
      row->UseManualTime();
    } else {
      row->UseRealTime();
    }
  }
}

host::FramePtr FootageIn(const std::string& format) { return bench::Footage(FormatOf(format), kWidth, kHeight); }

void RequireEffect(const AVFrame& before, const AVFrame& after) {
  if (after.width != before.width || after.height != before.height) throw std::runtime_error("another size");
  if (after.format != before.format) throw std::runtime_error("another format");
  if (SamePixels(before, after)) throw std::runtime_error("picture unchanged");
}

}  // namespace norix::peers

int main(int argc, char** argv) {
  using namespace norix;
  // Before any library makes its threads.
  setenv("OMP_NUM_THREADS", "1", 1);
  host::SetAvMessages(false);
  peers::AddAll();
  if (argc > 1 && std::string_view(argv[1]) == "--notes") {
    std::cout << peers::notes.dump(2) << "\n";
    return EXIT_SUCCESS;
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return EXIT_FAILURE;
  benchmark::RunSpecifiedBenchmarks();
  return peers::failed ? EXIT_FAILURE : EXIT_SUCCESS;
}
