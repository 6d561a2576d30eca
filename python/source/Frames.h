#pragma once

// Arrays as the engine's pictures. The Python side has checked what users pass; what is checked here keeps a mistake there
// from reaching memory.

#include <pybind11/numpy.h>

extern "C" {
#include <libavutil/frame.h>
}

#include <cstdint>
#include <string>
#include <vector>

namespace norix::python {

/// A pixel format by libavutil's name of it.
struct PixelFormat {
  const char* name;
  AVPixelFormat code;
  int planes;
  int bytesPerPixel;  ///< in plane 0; planes after it have one

  bool isPlanar() const { return planes > 1; }
  bool hasAlphaPlane() const { return planes == 4; }
};

/// Fails with std::invalid_argument for an unknown name.
const PixelFormat& FormatNamed(const std::string& name);

/// Rows `first` .. `first + count - 1`; `first` is even.
struct Rows {
  int first;
  int count;
};

/// The same rows in a plane: halved, with the last row counted in, for planes of chroma.
Rows InPlane(Rows rows, int plane);

/// Samples in a row of a plane times their bytes.
std::size_t RowBytes(const PixelFormat& format, int width, int plane);

inline std::uint8_t* RowOf(const AVFrame& frame, int plane, int row) {
  return frame.data[plane] + static_cast<std::ptrdiff_t>(row) * frame.linesize[plane];
}

/// The frame that `planes` make: a row's samples lie side by side, rows at any distance. The arrays must outlive it.
/// Fails with std::invalid_argument when shape, type or strides are others.
AVFrame FrameOf(const PixelFormat& format, const std::vector<pybind11::array>& planes, bool writable);

/// Copies rows of all planes.
void CopyRows(AVFrame& destination, const AVFrame& source, const PixelFormat& format, Rows rows);

}  // namespace norix::python
