#include "media/Converter.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
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

// RGB has no matrix: its side of a conversion is the same for all clips.
std::array<int, 4> CoefficientsOf(AVPixelFormat format, AVColorSpace space) {
  const int* coefficients = sws_getCoefficients(IsRgb(format) || space == AVCOL_SPC_RGB ? SWS_CS_DEFAULT : space);
  return {coefficients[0], coefficients[1], coefficients[2], coefficients[3]};
}

// The ranges are told before the scaler is made: where only they differ it would copy otherwise.
ScalerPtr NewScaler(const PictureShape& from, bool fromFullRange, const PictureShape& to, bool toFullRange, int flags) {
  ScalerPtr scaler(OrBadAlloc(sws_alloc_context()));
  const std::pair<const char*, std::int64_t> options[] = {
      {"srcw", from.width}, {"srch", from.height}, {"src_format", from.format}, {"src_range", fromFullRange ? 1 : 0},
      {"dstw", to.width},   {"dsth", to.height},   {"dst_format", to.format},   {"dst_range", toFullRange ? 1 : 0},
      {"sws_flags", flags},
  };
  for (const auto& [name, value] : options) av_opt_set_int(scaler.get(), name, value, 0);
  if (sws_init_context(scaler.get(), nullptr, nullptr) < 0) {
    Fail("cannot convert {} {}x{} to {} {}x{}", FormatName(from.format), from.width, from.height, FormatName(to.format),
         to.width, to.height);
  }
  return scaler;
}

// Where a picture's pixel lies in each plane; on whole chroma samples.
std::array<std::uint8_t*, 4> PixelAt(const AVFrame& frame, int x, int y) {
  const auto format = static_cast<AVPixelFormat>(frame.format);
  const AVPixFmtDescriptor& descriptor = *av_pix_fmt_desc_get(format);
  std::array<int, 4> pixelBytes{};
  av_image_fill_max_pixsteps(pixelBytes.data(), nullptr, &descriptor);
  std::array<std::uint8_t*, 4> pixel{};
  for (int plane = 0; plane < av_pix_fmt_count_planes(format); ++plane) {
    const bool chroma = plane == 1 || plane == 2;
    const auto i = static_cast<std::size_t>(plane);
    const std::ptrdiff_t column = chroma ? x >> descriptor.log2_chroma_w : x;
    const std::ptrdiff_t row = chroma ? y >> descriptor.log2_chroma_h : y;
    pixel[i] = frame.data[plane] + row * frame.linesize[plane] + column * pixelBytes[i];
  }
  return pixel;
}

}  // namespace

AVPixelFormat WithoutRange(AVPixelFormat format) {
  for (const auto& [full, plain] : kFullRangeFormats) {
    if (format == full) return plain;
  }
  return format;
}

AVPixelFormat WithFullRange(AVPixelFormat format) {
  for (const auto& [full, plain] : kFullRangeFormats) {
    if (format == plain) return full;
  }
  return format;
}

bool IsFullRangeFormat(AVPixelFormat format) { return WithoutRange(format) != format; }

Converter::Side Converter::clipSide(const PictureShape& shape) const {
  const bool full = IsRgb(shape.format) || IsFullRangeFormat(shape.format) || colour_.range == AVCOL_RANGE_JPEG;
  return {{WithoutRange(shape.format), shape.width, shape.height}, full, CoefficientsOf(shape.format, colour_.space)};
}

/// What a frame says of its colours counts; where it says nothing, they are the clip's.
Converter::Side Converter::sideOf(const AVFrame& frame) const {
  const auto format = static_cast<AVPixelFormat>(frame.format);
  Side side = clipSide({format, frame.width, frame.height});
  if (IsRgb(format) || IsFullRangeFormat(format)) return side;
  if (frame.color_range != AVCOL_RANGE_UNSPECIFIED) side.fullRange = frame.color_range == AVCOL_RANGE_JPEG;
  if (frame.colorspace != AVCOL_SPC_UNSPECIFIED) side.coefficients = CoefficientsOf(format, frame.colorspace);
  return side;
}

FramePtr Converter::scale(const AVFrame& frame, const Side& from, const Side& to) {
  // A clip may change its size with every picture.
  constexpr std::size_t kMostScalers = 16;
  if (scalers_.size() >= kMostScalers && !scalers_.contains({from, to})) scalers_.clear();
  ScalerPtr& scaler = scalers_[{from, to}];
  if (!scaler) {
    // Exact arithmetic that is the same on every processor, and chroma at full resolution on its way to RGB.
    constexpr int kFlags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_BITEXACT | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
    scaler = NewScaler(from.shape, IsRgb(from.shape.format) ? false : from.fullRange, to.shape,
                       IsRgb(to.shape.format) ? false : to.fullRange, kFlags);
    constexpr int kUnit = 1 << 16;
    sws_setColorspaceDetails(scaler.get(), from.coefficients.data(), from.fullRange ? 1 : 0, to.coefficients.data(),
                             to.fullRange ? 1 : 0, 0, kUnit, kUnit);
  }
  FramePtr scaled = pool_.picture(to.shape.format, to.shape.width, to.shape.height);
  av_frame_copy_props(scaled.get(), &frame);
  const int rows = sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, scaled->data, scaled->linesize);
  if (rows != to.shape.height) Fail("cannot convert {} to {}", FormatName(from.shape.format), FormatName(to.shape.format));
  const bool rgb = IsRgb(to.shape.format);
  scaled->color_range = to.fullRange ? AVCOL_RANGE_JPEG : colour_.range;
  scaled->colorspace = rgb ? AVCOL_SPC_RGB : colour_.space;
  return scaled;
}

FramePtr Converter::convert(FramePtr frame, AVPixelFormat format) {
  const Side from = sideOf(*frame);
  const Side to = clipSide({format, frame->width, frame->height});
  if (from.key() != to.key()) frame = scale(*frame, from, to);
  frame->format = format;
  return frame;
}

FramePtr Converter::fit(FramePtr frame, const PictureShape& to, AVRational sampleAspectRatio) {
  if (frame->width == to.width && frame->height == to.height) return convert(std::move(frame), to.format);
  const auto ratio = [](AVRational value) { return value.num > 0 && value.den > 0 ? av_q2d(value) : 1.0; };
  const double width = frame->width * ratio(frame->sample_aspect_ratio) / ratio(sampleAspectRatio);
  const double factor = std::min(to.width / width, static_cast<double>(to.height) / frame->height);
  const AVPixFmtDescriptor& descriptor = *av_pix_fmt_desc_get(to.format);
  // On whole chroma samples, so that the bars are free of colour.
  const auto whole = [](int size, int shift) { return std::max(size >> shift << shift, 1); };
  const int innerWidth = std::min(to.width, whole(static_cast<int>(std::lround(width * factor)), descriptor.log2_chroma_w));
  const int innerHeight =
      std::min(to.height, whole(static_cast<int>(std::lround(frame->height * factor)), descriptor.log2_chroma_h));
  const FramePtr inner = scale(*frame, sideOf(*frame), clipSide({to.format, innerWidth, innerHeight}));

  FramePtr fitted = pool_.picture(to.format, to.width, to.height);
  av_frame_copy_props(fitted.get(), inner.get());
  fitted->sample_aspect_ratio = sampleAspectRatio;
  std::array<std::ptrdiff_t, 4> lines{};
  std::copy_n(fitted->linesize, lines.size(), lines.begin());
  av_image_fill_black(fitted->data, lines.data(), to.format, inner->color_range, to.width, to.height);
  const int left = (to.width - innerWidth) / 2 >> descriptor.log2_chroma_w << descriptor.log2_chroma_w;
  const int top = (to.height - innerHeight) / 2 >> descriptor.log2_chroma_h << descriptor.log2_chroma_h;
  std::array<std::uint8_t*, 4> corner = PixelAt(*fitted, left, top);
  av_image_copy(corner.data(), fitted->linesize, const_cast<const std::uint8_t**>(inner->data), inner->linesize, to.format,
                innerWidth, innerHeight);
  return fitted;
}

FramePtr Converter::enlarge(FramePtr frame, int percentX, int percentY) {
  if (percentX <= 100 && percentY <= 100) return frame;
  const auto format = static_cast<AVPixelFormat>(frame->format);
  const AVPixFmtDescriptor& descriptor = *av_pix_fmt_desc_get(format);
  const auto part = [](int size, int percent, int shift) {
    const int visible = std::max(1, static_cast<int>(std::lround(size * 100.0 / std::max(percent, 100))));
    return std::clamp(visible >> shift << shift, 1, size);
  };
  const int width = part(frame->width, percentX, descriptor.log2_chroma_w);
  const int height = part(frame->height, percentY, descriptor.log2_chroma_h);
  const int left = (frame->width - width) / 2 >> descriptor.log2_chroma_w << descriptor.log2_chroma_w;
  const int top = (frame->height - height) / 2 >> descriptor.log2_chroma_h << descriptor.log2_chroma_h;
  const FramePtr middle = NewFrame();
  if (av_frame_ref(middle.get(), frame.get()) < 0) throw std::bad_alloc();
  const std::array<std::uint8_t*, 4> corner = PixelAt(*frame, left, top);
  std::copy(corner.begin(), corner.end(), middle->data);
  middle->width = width;
  middle->height = height;
  return scale(*middle, sideOf(*middle), clipSide({format, frame->width, frame->height}));
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
