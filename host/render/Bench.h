#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Failure.h"

namespace norix::host {

/// All that `norix bench` is told.
struct BenchRequest {
  std::vector<std::string> effects;  ///< none: all
  int width = 1920;
  int height = 1080;
  std::string format = "bgra";  ///< by FFmpeg's name; an effect that does not take it is timed in the one it answers
  std::string target;           ///< empty: the best instruction set
  std::optional<int> level;     ///< without: 5000
  double seconds = 0.5;         ///< to spend on each effect
  bool json = false;
};

/// Throws Failure for what is wrong with a request.
void CheckRequest(const BenchRequest& request);

/// Times every effect on this machine, on one thread, and prints a table; the request has been checked. Throws Failure.
ExitCode Bench(const BenchRequest& request);

}  // namespace norix::host
