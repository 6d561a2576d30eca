#pragma once

// What the benchmarks of other libraries have in common: a description of every call, and its rows.

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

#include "media/Av.h"

namespace norix::peers {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

/// What a call leaves out of every picture's time.
enum class Upkeep {
  kReady,  ///< A map, mask or filter was prepared once, for parameters that stay.
  kFresh,  ///< Nothing: the parameters may change with every picture.
};

/// One call of another library for one of NorixEngine's effects.
struct Description {
  const char* effect;
  const char* formats;  ///< With spaces between them.
  const char* call;
  Upkeep upkeep;
  const char* difference;  ///< From the effect, in one sentence.
};

enum class Clock { kWall, kManual };

/// Measures a call on a picture of that format. What it throws becomes the row's error.
using Measure = std::function<void(benchmark::State& state, const std::string& format)>;

/// Adds the call's rows, peer/<peer>/<effect>/<format>/<call>.
void AddRows(const char* peer, const Description& description, Clock clock, const Measure& measure);

/// The footage that all peers are measured on, kWidth x kHeight.
host::FramePtr FootageIn(const std::string& format);

/// Throws when a call has left the picture as it was, or made one of another size or format.
void RequireEffect(const AVFrame& before, const AVFrame& after);

// Start a library and add its rows. Only those are defined whose library was found.
void AddOpenCv();
void AddAvfilter();
void AddFrei0r();
void AddGraphicsMagick();

}  // namespace norix::peers
