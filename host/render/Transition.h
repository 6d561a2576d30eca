#pragma once

#include <string>

#include "Failure.h"
#include "Progress.h"
#include "media/Output.h"

namespace norix::host {

/// All that `norix transition` is told.
struct TransitionRequest {
  std::string first;
  std::string second;
  OutputWishes output;
  std::string group;
  double seconds = 1.0;  ///< length of the transition, half of it before the cut
  int threads = 1;
  ProgressStyle progress = ProgressStyle::kAutomatic;
};

/// Throws Failure for what is wrong with a request and can be told before any file is opened.
void CheckRequest(const TransitionRequest& request);

/// Joins two clips with a group effect over the cut and says so on stdout; the request has been checked. Throws Failure.
ExitCode Transition(const TransitionRequest& request);

}  // namespace norix::host
