#pragma once

#include <array>
#include <map>
#include <tuple>
#include <utility>

#include "media/Av.h"
#include "media/PicturePool.h"

namespace norix::host {

/// How a clip's numbers stand for colours; the same for all its frames.
struct Colour {
  AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
  AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
  AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
  AVColorSpace space = AVCOL_SPC_UNSPECIFIED;
  AVChromaLocation chromaLocation = AVCHROMA_LOC_UNSPECIFIED;
};

struct PictureShape {
  AVPixelFormat format;
  int width;
  int height;
};

/// "yuvj420p" and its kin as the format of the same layout; others as they are.
AVPixelFormat WithoutRange(AVPixelFormat format);

/// "yuvj420p" for "yuv420p" and its kin; others as they are.
AVPixelFormat WithFullRange(AVPixelFormat format);

/// True for the old formats whose name says full range.
bool IsFullRangeFormat(AVPixelFormat format);

/// Turns pictures into a format of the clip's colours. For one thread at a time.
class Converter {
public:
  explicit Converter(const Colour& colour) : colour_(colour) {}

  /// The frame itself when it is so already, else a new one with the same properties. A full-range format as the target
  /// changes the range too. Sizes are as in the frame.
  FramePtr convert(FramePtr frame, AVPixelFormat format);

  /// The same in another size: as large as fits without distortion, in the middle, on black.
  FramePtr fit(FramePtr frame, const PictureShape& to, AVRational sampleAspectRatio);

  /// The picture enlarged about its centre, by percent of width and height; what goes beyond its borders is cut off.
  FramePtr enlarge(FramePtr frame, int percentX, int percentY);

private:
  /// One side of a conversion.
  struct Side {
    PictureShape shape;
    bool fullRange;
    std::array<int, 4> coefficients;  ///< of the YUV matrix

    auto key() const { return std::make_tuple(shape.format, shape.width, shape.height, fullRange, coefficients); }
    bool operator<(const Side& other) const { return key() < other.key(); }
  };

  Side sideOf(const AVFrame& frame) const;
  Side clipSide(const PictureShape& shape) const;
  FramePtr scale(const AVFrame& frame, const Side& from, const Side& to);

  Colour colour_;
  PicturePool pool_;
  std::map<std::pair<Side, Side>, ScalerPtr> scalers_;
};

/// A larger copy of a picture whose last column and row repeat; the frame itself when it has that size.
FramePtr PadByEdge(FramePtr frame, int width, int height);

}  // namespace norix::host
