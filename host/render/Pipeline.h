#pragma once

#include <cstdint>

#include "Progress.h"
#include "media/Output.h"
#include "render/Chain.h"
#include "render/ClipReader.h"

namespace norix::host {

/// Reads, renders and writes a clip on so many threads, with several pictures at work at once. The result does not depend
/// on the number of threads. An interrupt ends it early. @return pictures written
std::int64_t RunPipeline(ClipReader& reader, const Chain& chain, Output& output, int threads, Progress& progress);

}  // namespace norix::host
