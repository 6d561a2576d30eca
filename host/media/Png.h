#pragma once

#include "media/Av.h"
#include "media/PartFile.h"

namespace norix::host {

/// Writes an RGB24 picture as PNG.
void WritePng(const AVFrame& picture, const PartFile& file);

}  // namespace norix::host
