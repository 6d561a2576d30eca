#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "Failure.h"

namespace norix::host {

/// All that `norix gallery` is told.
struct GalleryRequest {
  std::string input;
  std::filesystem::path folder;
  std::optional<std::int64_t> frame;  ///< from 0; the middle of the clip without
  int width = 256;                    ///< of one small picture
  int threads = 1;
  bool overwrite = false;
};

/// Writes a strip of pictures for every effect and group, and pages that show them. Throws Failure.
ExitCode Gallery(const GalleryRequest& request);

}  // namespace norix::host
