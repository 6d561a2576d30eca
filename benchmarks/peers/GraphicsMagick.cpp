// GraphicsMagick's calls. Its images hold 16-bit samples, eight bytes a pixel; reading and writing 8-bit pictures, which
// takes about three milliseconds more, is left out.

#include <magick/api.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "Peer.h"
#include "Runs.h"

namespace norix::peers {

namespace {

struct Release {
  void operator()(Image* image) const { DestroyImage(image); }
};
using ImagePtr = std::unique_ptr<Image, Release>;

/// The last error of the library.
ExceptionInfo& Problem() {
  static ExceptionInfo info = [] {
    ExceptionInfo empty;
    GetExceptionInfo(&empty);
    return empty;
  }();
  return info;
}

Image* Copy(const Image* image) { return CloneImage(image, 0, 0, 1, &Problem()); }

Image* Swirl(const Image* image) { return SwirlImage(image, 229, &Problem()); }
Image* Pinch(const Image* image) { return ImplodeImage(image, 0.5, &Problem()); }
Image* Bulge(const Image* image) { return ImplodeImage(image, -0.5, &Problem()); }
Image* Wave(const Image* image) { return WaveImage(image, 8, 60, &Problem()); }
Image* Spread(const Image* image) { return SpreadImage(image, 10, &Problem()); }
Image* MotionBlur(const Image* image) { return MotionBlurImage(image, 4, 2, 0, &Problem()); }
Image* Emboss(const Image* image) { return EmbossImage(image, 1, 0.5, &Problem()); }
Image* Edges(const Image* image) { return EdgeImage(image, 1, &Problem()); }

Image* Solarize(const Image* image) {
  Image* copy = Copy(image);
  if (copy) SolarizeImage(copy, 30000);
  return copy;
}

Image* Gray(const Image* image) {
  Image* copy = Copy(image);
  if (copy) TransformColorspace(copy, Rec601LumaColorspace);
  return copy;
}

Image* RollX(const Image* image) { return RollImage(image, kWidth / 2, 0, &Problem()); }
Image* RollY(const Image* image) { return RollImage(image, 0, kHeight / 2, &Problem()); }
Image* Flop(const Image* image) { return FlopImage(image, &Problem()); }
Image* Flip(const Image* image) { return FlipImage(image, &Problem()); }

Image* Tile(const Image* image) {
  const ImagePtr tile(SampleImage(image, kWidth / 3, kHeight / 3, &Problem()));
  Image* copy = Copy(image);
  if (tile && copy) TextureImage(copy, tile.get());
  return copy;
}

struct Call {
  Description description;
  Image* (*run)(const Image* image);
};

constexpr Upkeep kFresh = Upkeep::kFresh;

// The format's name says that samples have 16 bits.
const Call kCalls[] = {
    {{"Swirl", "q16", "SwirlImage(229)", kFresh, "Interpolates 16-bit pixels and twists a circle only."}, Swirl},
    {{"Pinch", "q16", "ImplodeImage(0.5)", kFresh, "Interpolates 16-bit pixels; the curve is a power of a sine."}, Pinch},
    {{"Bulge", "q16", "ImplodeImage(-0.5)", kFresh, "Interpolates 16-bit pixels; the curve is a power of a sine."}, Bulge},
    {{"Ripple", "q16", "WaveImage(8, 60)", kFresh, "Moves whole columns up and down; there are no rings."}, Wave},
    {{"Ground Glass", "q16", "SpreadImage(10)", kFresh, "Spreads every 16-bit pixel by itself, not 2x2 blocks."}, Spread},
    {{"Motion Blur", "q16", "MotionBlurImage(4, 2, 0)", kFresh,
      "Nine taps of a bell curve one pixel apart, on one side of the pixel, in 16 bits."},
     MotionBlur},
    {{"Emboss", "q16", "EmbossImage(1, 0.5)", kFresh,
      "A kernel with a bell curve's weights and contrast equalised afterwards, in 16 bits."},
     Emboss},
    {{"Sketch", "q16", "EdgeImage(1)", kFresh, "Edges of every colour on black; no luminance and no paper."}, Edges},
    {{"Comicbook", "q16", "SolarizeImage(30000)", kFresh,
      "Inverts bright samples: one operation a sample, in place of six."},
     Solarize},
    {{"Focus Color", "q16", "TransformColorspace(Rec601Luma)", kFresh, "Makes the whole picture gray; there is no circle."},
     Gray},
    {{"Mirror Move X", "q16", "RollImage(960, 0)", kFresh, "The picture comes in again from the left, not mirrored."},
     RollX},
    {{"Mirror Move X", "q16", "FlopImage", kFresh, "Mirrors the whole picture and does not move it."}, Flop},
    {{"Mirror Move Y", "q16", "RollImage(0, 540)", kFresh, "The picture comes in again from the top, not mirrored."},
     RollY},
    {{"Mirror Move Y", "q16", "FlipImage", kFresh, "Turns the whole picture over and does not move it."}, Flip},
    {{"Tile Scale", "q16", "SampleImage to a third, TextureImage", kFresh,
      "Whole tiles only, the first one in the corner; copies the picture first."},
     Tile},
};

/// A call's result, or its error.
ImagePtr Result(const Call& call, const Image& image) {
  ImagePtr result(call.run(&image));
  if (!result) throw std::runtime_error(Problem().reason ? Problem().reason : "no picture");
  return result;
}

void RequireEffect(Image& before, Image& after) {
  const bool sameSize = after.columns == before.columns && after.rows == before.rows;
  if (sameSize && IsImagesEqual(&after, &before)) throw std::runtime_error("picture unchanged");
}

void Time(benchmark::State& state, const Call& call) {
  const host::FramePtr frame = FootageIn("rgb24");
  const ImagePtr image(ConstituteImage(kWidth, kHeight, "RGB", CharPixel, frame->data[0], &Problem()));
  if (!image || frame->linesize[0] != 3 * kWidth) throw std::runtime_error("the footage was not taken");
  RequireEffect(*image, *Result(call, *image));
  for (auto iteration : state) {
    Result(call, *image);
    benchmark::ClobberMemory();
  }
  bench::SetCounters(state, *frame);
}

}  // namespace

void AddGraphicsMagick() {
  InitializeMagick(nullptr);
  SetMagickResourceLimit(ThreadsResource, 1);
  for (const Call& call : kCalls) {
    AddRows("GraphicsMagick", call.description, Clock::kWall,
            [&call](benchmark::State& state, const std::string& /*format*/) { Time(state, call); });
  }
}

}  // namespace norix::peers
