#pragma once

// What all commands that write a clip to a file have in common.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Progress.h"
#include "media/Input.h"
#include "media/Output.h"
#include "render/Chain.h"
#include "render/Pipeline.h"

namespace norix::host {

/// Fails unless the engine numbers pixel formats as this program does.
void CheckEngine();

/// Fails when the output would replace the input.
void CheckNotInput(const std::filesystem::path& output, const std::string& input);

/// The engine's format that is nearest to the clip's own, so that as little as possible is converted.
AVPixelFormat ClipFormat(const Input& input);

/// The form of pictures of that clip, for effects that are proposed `format`.
ChainForm ChainFormOf(const Input& input, AVPixelFormat format);

VideoForm VideoFormOf(const Input& input, const Chain& chain, const ChainForm& form, bool constantRate);

struct RunWishes {
  int threads;
  std::optional<std::int64_t> expectedFrames;
};

/// Runs a pipeline with its progress shown, and finishes the file. @return pictures written
std::int64_t RunToFile(const PipelineEnds& ends, const Chain& chain, Output& output, const RunWishes& wishes,
                       Progress& progress);

/// Says on stdout what was written. Fails afterwards when one of the inputs was damaged.
void Report(const std::filesystem::path& path, std::int64_t frames, const Output& output,
            const std::vector<const Input*>& inputs);

}  // namespace norix::host
