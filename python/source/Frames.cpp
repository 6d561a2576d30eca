#include "Frames.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace norix::python {

namespace {

constexpr PixelFormat kFormats[] = {
    {"rgb24", AV_PIX_FMT_RGB24, 1, 3}, {"bgr24", AV_PIX_FMT_BGR24, 1, 3},     {"rgba", AV_PIX_FMT_RGBA, 1, 4},
    {"bgra", AV_PIX_FMT_BGRA, 1, 4},   {"yuv420p", AV_PIX_FMT_YUV420P, 3, 1}, {"yuva420p", AV_PIX_FMT_YUVA420P, 4, 1},
};

bool IsChroma(int plane) { return plane == 1 || plane == 2; }

pybind11::ssize_t Halved(pybind11::ssize_t size) { return (size + 1) / 2; }

void Require(bool holds, const char* what) {
  if (!holds) throw std::invalid_argument(what);
}

/// Bytes from one row to the next.
int LineOf(const pybind11::array& plane, std::size_t rowBytes) {
  constexpr auto kLongest = static_cast<pybind11::ssize_t>(std::numeric_limits<int>::max());
  const auto bytes = static_cast<pybind11::ssize_t>(rowBytes);
  // The stride of a single row or sample means nothing.
  const pybind11::ssize_t line = plane.shape(0) > 1 ? plane.strides(0) : bytes;
  Require(std::abs(line) >= bytes && std::abs(line) <= kLongest, "the rows overlap or lie too far apart");
  const pybind11::ssize_t sample = plane.ndim() == 3 ? plane.shape(2) : 1;
  Require(plane.shape(1) == 1 || plane.strides(1) == sample, "the pixels of a row do not lie side by side");
  Require(plane.ndim() == 2 || plane.strides(2) == 1, "the channels of a pixel do not lie side by side");
  return static_cast<int>(line);
}

}  // namespace

const PixelFormat& FormatNamed(const std::string& name) {
  for (const PixelFormat& format : kFormats) {
    if (name == format.name) return format;
  }
  throw std::invalid_argument("there is no pixel format '" + name + "'");
}

Rows InPlane(Rows rows, int plane) {
  if (!IsChroma(plane)) return rows;
  return {rows.first / 2, (rows.count + 1) / 2};
}

std::size_t RowBytes(const PixelFormat& format, int width, int plane) {
  const auto columns = static_cast<std::size_t>(width);
  if (plane == 0) return columns * static_cast<std::size_t>(format.bytesPerPixel);
  return IsChroma(plane) ? (columns + 1) / 2 : columns;
}

AVFrame FrameOf(const PixelFormat& format, const std::vector<pybind11::array>& planes, bool writable) {
  constexpr pybind11::ssize_t kMost = std::numeric_limits<int>::max() / 4;
  Require(planes.size() == static_cast<std::size_t>(format.planes), "another number of planes than the format has");
  // Of an AVFrame the engine reads these members and no others, so none has to be allocated.
  AVFrame frame = {};
  frame.format = format.code;
  for (int i = 0; i < format.planes; ++i) {
    const pybind11::array& plane = planes[static_cast<std::size_t>(i)];
    Require(plane.dtype().kind() == 'u' && plane.itemsize() == 1, "the samples are not uint8");
    Require(!writable || plane.writeable(), "the array is read-only");
    Require(plane.ndim() == (format.isPlanar() ? 2 : 3), "another number of dimensions than the format has");
    Require(plane.ndim() == 2 || plane.shape(2) == format.bytesPerPixel, "another number of channels than the format has");
    if (i == 0) {
      Require(plane.shape(0) > 0 && plane.shape(0) <= kMost && plane.shape(1) > 0 && plane.shape(1) <= kMost,
              "the picture is empty or too large");
      frame.height = static_cast<int>(plane.shape(0));
      frame.width = static_cast<int>(plane.shape(1));
    } else {
      const bool chroma = IsChroma(i);
      Require(plane.shape(0) == (chroma ? Halved(frame.height) : frame.height) &&
                  plane.shape(1) == (chroma ? Halved(frame.width) : frame.width),
              "a plane has another size than the picture");
    }
    frame.linesize[i] = LineOf(plane, RowBytes(format, frame.width, i));
    frame.data[i] = static_cast<std::uint8_t*>(const_cast<void*>(plane.data()));
  }
  return frame;
}

void CopyRows(AVFrame& destination, const AVFrame& source, const PixelFormat& format, Rows rows) {
  for (int plane = 0; plane < format.planes; ++plane) {
    const Rows part = InPlane(rows, plane);
    const std::size_t bytes = RowBytes(format, source.width, plane);
    for (int row = part.first; row < part.first + part.count; ++row) {
      std::memcpy(RowOf(destination, plane, row), RowOf(source, plane, row), bytes);
    }
  }
}

}  // namespace norix::python
