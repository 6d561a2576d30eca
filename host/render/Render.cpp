#include "render/Render.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "Interrupt.h"
#include "engine/Catalogue.h"
#include "render/ClipReader.h"
#include "render/Pipeline.h"

namespace norix::host {

namespace {

namespace fs = std::filesystem;

/// The format of the engine's that is nearest to the clip's own, so that as little as possible is converted.
AVPixelFormat FamilyOf(AVPixelFormat clip) {
  const AVPixFmtDescriptor& descriptor = *av_pix_fmt_desc_get(clip);
  if ((descriptor.flags & AV_PIX_FMT_FLAG_ALPHA) != 0 || clip == AV_PIX_FMT_PAL8) return AV_PIX_FMT_BGRA;
  return (descriptor.flags & AV_PIX_FMT_FLAG_RGB) != 0 ? AV_PIX_FMT_RGB24 : AV_PIX_FMT_YUV420P;
}

AVPixelFormat WishedFormat(const std::string& name) {
  const AVPixelFormat format = av_get_pix_fmt(name.c_str());
  if (format == AV_PIX_FMT_NONE) {
    FailUsage("there is no pixel format '{}'; effects work in yuv420p, rgb24 and bgra", name);
  }
  return format;
}

Colour ColourOf(const AVCodecContext& decoder) {
  const bool fullRange = IsFullRangeFormat(decoder.pix_fmt);
  return {fullRange ? AVCOL_RANGE_JPEG : decoder.color_range, decoder.color_primaries, decoder.color_trc,
          decoder.colorspace, decoder.chroma_sample_location};
}

void CheckRequest(const RenderRequest& request) {
  if (!EngineSharesPixelFormats()) {
    Fail("the engine was built for another libavutil: its pixel formats are numbered differently");
  }
  if (request.effects.empty()) FailUsage("no effect given; add --effect NAME, and see `norix list`");
  for (const EffectRequest& effect : request.effects) {
    const EffectInfo& info = FindEffect(effect.name);
    if (!Renders(info.name)) FailUsage("the effect \"{}\" has no picture in this version of the engine", info.name);
    for (const FieldValue& set : effect.fields) FindField(info, set.field);
  }
  std::error_code ignored;
  if (fs::equivalent(request.input, request.output.path, ignored)) {
    Fail("'{}' is input and output; name another output, and rename it afterwards", request.input);
  }
}

/// The number of pictures over which levels run; 1 when none does.
std::int64_t LengthForLevels(const RenderRequest& request, const std::optional<ClipScan>& scan) {
  const bool moving = std::any_of(request.effects.begin(), request.effects.end(),
                                  [](const EffectRequest& effect) { return effect.level.from != effect.level.to; });
  if (moving && !scan) {
    Fail("'{}' cannot be read twice, so its length is unknown: a level that runs over the clip (--level A:B) needs a file",
         request.input);
  }
  return moving ? scan->frames : 1;
}

/// Pictures to expect, for the display only.
std::optional<std::int64_t> ExpectedFrames(const RenderRequest& request, const std::optional<ClipScan>& scan) {
  if (!scan) return request.frames;
  const std::int64_t frames = std::max<std::int64_t>(0, scan->frames - request.startFrame);
  return request.frames ? std::min(*request.frames, frames) : frames;
}

VideoForm FormOf(const Input& input, const Chain& chain, const Colour& colour, bool constantRate) {
  return {.shape = chain.resultShape(),
          .clipFormat = input.decoder().pix_fmt,
          .timeBase = input.video().time_base,
          .frameRate = input.frameRate(),
          .constantRate = constantRate,
          .sampleAspectRatio = av_guess_sample_aspect_ratio(&input.format(), &input.video(), nullptr),
          .colour = colour};
}

std::string Frames(std::int64_t count) { return fmt::format("{} frame{}", count, count == 1 ? "" : "s"); }

}  // namespace

ExitCode Render(const RenderRequest& request) {
  CheckRequest(request);
  Progress progress(request.progress);
  Input input(request.input);
  const AVCodecContext& decoder = input.decoder();
  if (decoder.pix_fmt == AV_PIX_FMT_NONE || decoder.width < 1 || decoder.height < 1) {
    Fail("'{}' has no picture that can be decoded", request.input);
  }

  const std::optional<ClipScan> scan = ScanClip(request.input);
  const Colour colour = ColourOf(decoder);
  const AVPixelFormat proposed = request.format.empty() ? FamilyOf(decoder.pix_fmt) : WishedFormat(request.format);
  const Chain chain(request.effects, {.clip = {proposed, decoder.width, decoder.height},
                                      .formatIsWish = !request.format.empty(),
                                      .colour = colour,
                                      .frameCount = LengthForLevels(request, scan),
                                      .bands = request.bands,
                                      .seed = request.seed});
  ClipReader reader(input, request.startFrame, request.frames);
  Output output(request.output, input, FormOf(input, chain, colour, scan && scan->constantRate));
  if (request.startFrame > 0) {
    output.startAt(reader.startTime(), input.video().time_base);
  } else if ((input.format().iformat->flags & AVFMT_TS_DISCONT) != 0 && input.format().start_time != AV_NOPTS_VALUE) {
    output.startAt(input.format().start_time, AV_TIME_BASE_Q);  // broadcasts begin at any time
  }
  for (const std::string& note : output.notes()) progress.note(note);

  progress.start(ExpectedFrames(request, scan));
  std::int64_t written = 0;
  try {
    written = RunPipeline(reader, chain, output, request.threads, progress);
  } catch (...) {
    progress.finish();
    throw;
  }
  progress.finish();
  if (Interrupted()) throw Failure(kInterrupted, "interrupted; nothing was written");
  output.finish();
  fmt::print("{}: {}, {}\n", request.output.path.string(), Frames(written), output.description());
  if (input.damage().empty()) return kDone;
  Fail("'{}' is damaged: {}; what could be decoded, {}, is in '{}'", request.input, input.damage(), Frames(written),
       request.output.path.string());
}

}  // namespace norix::host
