#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "Progress.h"
#include "media/Output.h"
#include "render/Chain.h"
#include "render/ClipReader.h"

namespace norix::host {

/// Where a pipeline's pictures come from and where the packets between them go.
struct PipelineEnds {
  std::function<std::optional<ClipPart>()> read;  ///< nullopt at the end
  std::function<void(ClipPart& part)> writePackets;
  std::function<void()> finishPackets;  ///< after the last part, unless the run was interrupted
};

/// Reads, renders and writes a clip on so many threads, with several pictures at work at once. The result does not depend
/// on the number of threads. An interrupt ends it early. @return pictures written
std::int64_t RunPipeline(const PipelineEnds& ends, const Chain& chain, Output& output, int threads, Progress& progress);

}  // namespace norix::host
