#pragma once

#include "Frames.h"

namespace norix::python {

/// Rows of a packed picture as BGRA, opaque when the picture has no fourth byte. Exact: bytes are moved, none is changed.
void ToBgra(AVFrame& bgra, const AVFrame& packed, const PixelFormat& format, Rows rows);

/// Colours of a BGRA picture put back into the packed format; the fourth byte comes from `alpha`, which has that format.
void FromBgra(AVFrame& packed, const AVFrame& bgra, const AVFrame& alpha, const PixelFormat& format, Rows rows);

}  // namespace norix::python
