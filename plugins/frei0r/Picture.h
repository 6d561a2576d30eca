#pragma once

// Pictures as frei0r hosts hand them over, 4 bytes a pixel without gaps, and the effects that render them.

extern "C" {
#include <libavutil/frame.h>
}

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "main/EffectTable.h"

namespace norix::frei0r {

/// Effects that tell red from blue are handed pictures in this order; to the others the order makes no difference.
inline constexpr int kPixels = AV_PIX_FMT_BGRA;

inline std::size_t BytesOf(int width, int height) {
  return std::size_t{4} * static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

/// Of an AVFrame the engine reads these members and no others, so none has to be allocated.
inline AVFrame FrameOf(std::uint8_t* pixels, int width, int height) {
  AVFrame frame = {};
  frame.data[0] = pixels;
  frame.linesize[0] = 4 * width;
  frame.width = width;
  frame.height = height;
  frame.format = kPixels;
  return frame;
}

/// Looked up while compiling, so that a plug-in holds the code of its own effects only.
consteval EffectRow RowOf(std::string_view name) {
  std::size_t i = 0;
  while (name != kEffectTable[i].name) ++i;
  return kEffectTable[i];
}

}  // namespace norix::frei0r
