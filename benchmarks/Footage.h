#pragma once

#include "media/Av.h"

namespace norix::bench {

/// A picture of real footage in that format and size, which may be shared: make it writable before writing. For one thread.
host::FramePtr Footage(AVPixelFormat format, int width, int height);

/// Bytes of pixels in all planes, padding not counted.
std::size_t PictureBytes(const AVFrame& frame);

/// Copies all planes of a picture of the same format and size, each as one block where its lines have no padding.
void CopyPlanes(AVFrame& dst, const AVFrame& src);

}  // namespace norix::bench
