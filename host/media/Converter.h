#pragma once

#include <map>
#include <tuple>
#include <utility>

#include "media/Av.h"

namespace norix::host {

/// How the clip's numbers stand for colours; the same for all its frames.
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

/// True for the old formats whose name says full range.
bool IsFullRangeFormat(AVPixelFormat format);

/// Turns pictures from one format and size into another. For one thread at a time.
class Converter {
public:
  explicit Converter(const Colour& colour) : colour_(colour) {}

  /// The frame itself when it has that shape already, else a new one with the same properties. A full-range format as the
  /// target changes the range too.
  FramePtr convert(FramePtr frame, PictureShape to);

private:
  /// One side of a conversion.
  struct Side {
    PictureShape shape;
    bool fullRange;

    auto key() const { return std::make_tuple(shape.format, shape.width, shape.height, fullRange); }
    bool operator<(const Side& other) const { return key() < other.key(); }
  };

  SwsContext& scalerFor(const Side& from, const Side& to);

  Colour colour_;
  std::map<std::pair<Side, Side>, ScalerPtr> scalers_;
};

/// A larger copy of a picture whose last column and row repeat; the frame itself when it has that size.
FramePtr PadByEdge(FramePtr frame, int width, int height);

}  // namespace norix::host
