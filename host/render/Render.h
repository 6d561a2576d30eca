#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Failure.h"
#include "Progress.h"
#include "media/Output.h"
#include "render/Chain.h"

namespace norix::host {

/// All that `norix render` is told.
struct RenderRequest {
  std::string input;
  OutputWishes output;
  std::vector<StepRequest> steps;
  std::optional<double> groupSeconds;  ///< over which the time of groups runs; the whole clip without
  std::string format;                  ///< pixel format to propose; empty: the clip's own family
  int threads = 1;
  int bands = 1;
  std::int64_t startFrame = 0;
  std::optional<std::int64_t> frames;
  bool videoOnly = false;  ///< sound and other streams are left out
  bool keepTimes = false;  ///< a piece has the times of its frames in the whole clip
  unsigned seed = 1;
  ProgressStyle progress = ProgressStyle::kAutomatic;
};

/// Throws Failure for what is wrong with a request and can be told before any file is opened.
void CheckRequest(const RenderRequest& request);

/// Renders a clip to a file and says so on stdout; the request has been checked. Throws Failure.
ExitCode Render(const RenderRequest& request);

}  // namespace norix::host
