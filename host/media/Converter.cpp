#include "media/Converter.h"

extern "C" {
#include <libavutil/imgutils.h>
}

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "Failure.h"

namespace norix::host {

namespace {

constexpr std::array<std::pair<AVPixelFormat, AVPixelFormat>, 5> kFullRangeFormats = {{
    {AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV420P},
    {AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUV422P},
    {AV_PIX_FMT_YUVJ444P, AV_PIX_FMT_YUV444P},
    {AV_PIX_FMT_YUVJ440P, AV_PIX_FMT_YUV440P},
    {AV_PIX_FMT_YUVJ411P, AV_PIX_FMT_YUV411P},
}};

bool IsRgb(AVPixelFormat format) { return (av_pix_fmt_desc_get(format)->flags & AV_PIX_FMT_FLAG_RGB) != 0; }

}  // namespace

AVPixelFormat WithoutRange(AVPixelFormat format) {
  for (const auto& [full, plain] : kFullRangeFormats) {
    if (format == full) return plain;
  }
  return format;
}

bool IsFullRangeFormat(AVPixelFormat format) { return WithoutRange(format) != format; }

SwsContext& Converter::scalerFor(const Side& from, const Side& to) {
  ScalerPtr& scaler = scalers_[{from, to}];
  if (scaler) return *scaler;
  // Exact arithmetic that is the same on every processor, and chroma at full resolution on its way to RGB.
  constexpr int kFlags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_BITEXACT | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
  scaler.reset(sws_getContext(from.shape.width, from.shape.height, from.shape.format, to.shape.width, to.shape.height,
                              to.shape.format, kFlags, nullptr, nullptr, nullptr));
  if (!scaler) {
    Fail("cannot convert {} {}x{} to {} {}x{}", FormatName(from.shape.format), from.shape.width, from.shape.height,
         FormatName(to.shape.format), to.shape.width, to.shape.height);
  }
  // The way to RGB and the way back use the clip's own coefficients.
  const int* coefficients = sws_getCoefficients(colour_.space == AVCOL_SPC_RGB ? SWS_CS_DEFAULT : colour_.space);
  constexpr int kUnit = 1 << 16;
  sws_setColorspaceDetails(scaler.get(), coefficients, from.fullRange ? 1 : 0, coefficients, to.fullRange ? 1 : 0, 0, kUnit,
                           kUnit);
  return *scaler;
}

FramePtr Converter::convert(FramePtr frame, PictureShape to) {
  const bool clipIsFull = colour_.range == AVCOL_RANGE_JPEG;
  const auto side = [&](AVPixelFormat format, int width, int height) {
    return Side{{WithoutRange(format), width, height}, IsRgb(format) || IsFullRangeFormat(format) || clipIsFull};
  };
  const Side source = side(static_cast<AVPixelFormat>(frame->format), frame->width, frame->height);
  const Side target = side(to.format, to.width, to.height);
  if (source.key() == target.key()) {
    frame->format = to.format;
    return frame;
  }
  FramePtr converted = NewPicture(to.format, to.width, to.height);
  av_frame_copy_props(converted.get(), frame.get());
  const int rows = sws_scale(&scalerFor(source, target), frame->data, frame->linesize, 0, frame->height, converted->data,
                             converted->linesize);
  if (rows != to.height) Fail("cannot convert {} to {}", FormatName(frame->format), FormatName(to.format));
  converted->color_range = target.fullRange ? AVCOL_RANGE_JPEG : colour_.range;
  converted->colorspace = IsRgb(to.format) ? AVCOL_SPC_RGB : colour_.space;
  return converted;
}

FramePtr PadByEdge(FramePtr frame, int width, int height) {
  if (frame->width == width && frame->height == height) return frame;
  const auto format = static_cast<AVPixelFormat>(frame->format);
  FramePtr padded = NewPicture(format, width, height);
  av_frame_copy_props(padded.get(), frame.get());
  const AVPixFmtDescriptor& descriptor = *av_pix_fmt_desc_get(format);
  std::array<int, 4> pixelBytes{};
  av_image_fill_max_pixsteps(pixelBytes.data(), nullptr, &descriptor);
  for (int plane = 0; plane < av_pix_fmt_count_planes(format); ++plane) {
    const bool chroma = plane == 1 || plane == 2;
    const auto samples = [&](int size, int shift) { return chroma ? AV_CEIL_RSHIFT(size, shift) : size; };
    const int from = samples(frame->width, descriptor.log2_chroma_w);
    const int to = samples(width, descriptor.log2_chroma_w);
    const int fromRows = samples(frame->height, descriptor.log2_chroma_h);
    const int toRows = samples(height, descriptor.log2_chroma_h);
    const auto step = static_cast<std::size_t>(pixelBytes[static_cast<std::size_t>(plane)]);
    for (int y = 0; y < toRows; ++y) {
      const std::uint8_t* in =
          frame->data[plane] + static_cast<std::ptrdiff_t>(std::min(y, fromRows - 1)) * frame->linesize[plane];
      std::uint8_t* out = padded->data[plane] + static_cast<std::ptrdiff_t>(y) * padded->linesize[plane];
      std::memcpy(out, in, static_cast<std::size_t>(from) * step);
      for (int x = from; x < to; ++x) {
        std::memcpy(out + static_cast<std::size_t>(x) * step, in + static_cast<std::size_t>(from - 1) * step, step);
      }
    }
  }
  return padded;
}

}  // namespace norix::host
