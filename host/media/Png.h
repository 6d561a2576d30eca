#pragma once

#include <filesystem>

#include "media/Av.h"

namespace norix::host {

/// Writes an RGB24 picture as a PNG file; whole or not at all.
void WritePng(const AVFrame& picture, const std::filesystem::path& path, bool overwrite);

}  // namespace norix::host
