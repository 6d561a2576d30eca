#pragma once

// One effect on one picture. Nothing of Python is touched: callers release the interpreter's lock.

#include <string>

#include "Frames.h"
#include "Settings.h"

namespace norix::python {

struct Work {
  std::string effect;
  std::vector<double> values;  ///< of its fields
  int threads;
  unsigned seed;  ///< of "Ground Glass"
};

/// Has the engine prepare what its effects share. Once, before any picture.
void PrepareEffects();

/// Renders all of the picture. Both frames have the format and the same size and share no memory. Bytes that the effect
/// leaves unwritten become the source's. Fails with std::invalid_argument when the effect has no picture.
void RenderEffect(const Work& work, const PixelFormat& format, AVFrame& destination, AVFrame& source);

}  // namespace norix::python
