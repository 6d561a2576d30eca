#include "render/FileRun.h"

#include <system_error>

#include "Failure.h"
#include "Interrupt.h"
#include "engine/Effect.h"

namespace norix::host {

namespace fs = std::filesystem;

namespace {

Colour ColourOf(const AVCodecContext& decoder) {
  const bool fullRange = IsFullRangeFormat(decoder.pix_fmt);
  return {fullRange ? AVCOL_RANGE_JPEG : decoder.color_range, decoder.color_primaries, decoder.color_trc,
          decoder.colorspace, decoder.chroma_sample_location};
}

}  // namespace

void CheckEngine() {
  if (!EngineSharesPixelFormats()) {
    Fail("the engine was built for another libavutil: its pixel formats are numbered differently");
  }
}

void CheckNotInput(const fs::path& output, const std::string& input) {
  std::error_code ignored;
  if (fs::equivalent(FilePathOf(input), output, ignored)) {
    Fail("'{}' is input and output; name another output, and rename it afterwards", input);
  }
}

AVPixelFormat ClipFormat(const Input& input) {
  const AVPixelFormat format = input.decoder().pix_fmt;
  const AVPixFmtDescriptor& descriptor = *av_pix_fmt_desc_get(format);
  if ((descriptor.flags & AV_PIX_FMT_FLAG_ALPHA) != 0 || format == AV_PIX_FMT_PAL8) return AV_PIX_FMT_BGRA;
  return (descriptor.flags & AV_PIX_FMT_FLAG_RGB) != 0 ? AV_PIX_FMT_RGB24 : AV_PIX_FMT_YUV420P;
}

ChainForm ChainFormOf(const Input& input, AVPixelFormat format) {
  return {.clip = {format, input.decoder().width, input.decoder().height},
          .formatIsWish = false,
          .colour = ColourOf(input.decoder()),
          .sampleAspectRatio = av_guess_sample_aspect_ratio(&input.format(), &input.video(), nullptr)};
}

VideoForm VideoFormOf(const Input& input, const Chain& chain, const ChainForm& form, bool constantRate) {
  return {.shape = chain.resultShape(),
          .clipFormat = input.decoder().pix_fmt,
          .timeBase = input.video().time_base,
          .frameRate = input.frameRate(),
          .constantRate = constantRate,
          .sampleAspectRatio = form.sampleAspectRatio,
          .colour = form.colour};
}

std::int64_t RunToFile(const PipelineEnds& ends, const Chain& chain, Output& output, const RunWishes& wishes,
                       Progress& progress) {
  for (const std::string& note : output.notes()) progress.note(note);
  progress.start(wishes.expectedFrames);
  std::int64_t written = 0;
  try {
    written = RunPipeline(ends, chain, output, wishes.threads, progress);
  } catch (...) {
    progress.finish();
    throw;
  }
  progress.finish();
  if (Interrupted()) throw Failure(kInterrupted, "interrupted; nothing was written");
  ends.finishPackets();
  output.finish();
  return written;
}

void Report(const fs::path& path, std::int64_t frames, const Output& output, const std::vector<const Input*>& inputs) {
  const std::string count = fmt::format("{} frame{}", frames, frames == 1 ? "" : "s");
  fmt::print("{}: {}, {}\n", path.string(), count, output.description());
  for (const Input* input : inputs) {
    if (input->damage().empty()) continue;
    Fail("'{}' is damaged: {}; what could be decoded, {}, is in '{}'", input->url(), input->damage(), count, path.string());
  }
}

}  // namespace norix::host
