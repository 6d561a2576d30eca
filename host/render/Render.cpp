#include "render/Render.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <variant>

#include "engine/Catalogue.h"
#include "engine/Effect.h"
#include "render/ClipReader.h"
#include "render/FileRun.h"
#include "render/Pipeline.h"
#include "render/ShortCut.h"
#include "render/Workers.h"

namespace norix::host {

namespace {

AVPixelFormat WishedFormat(const std::string& name) {
  const AVPixelFormat format = av_get_pix_fmt(name.c_str());
  if (format == AV_PIX_FMT_NONE) {
    FailUsage("there is no pixel format '{}'; effects work in yuv420p, rgb24 and bgra", name);
  }
  return format;
}

void CheckStep(const EffectRequest& effect) {
  const EffectInfo& info = FindEffect(effect.name);
  if (!Renders(info.name)) FailUsage("the effect \"{}\" has no picture", info.name);
  for (const FieldValue& set : effect.fields) FindField(info, set.field);
}

void CheckStep(const GroupRequest& group) { FindGroup(group.name); }

/// True when a level or a time changes over the clip, whose length is needed then.
bool RunsOverClip(const RenderRequest& request) {
  return std::any_of(request.steps.begin(), request.steps.end(), [&](const StepRequest& step) {
    const auto* effect = std::get_if<EffectRequest>(&step);
    return effect ? effect->level.from != effect->level.to : !request.groupSeconds;
  });
}

/// Gives the groups the pictures over which their time runs.
std::vector<StepRequest> WithSpans(const RenderRequest& request, std::int64_t clipFrames, AVRational frameRate) {
  std::vector<StepRequest> steps = request.steps;
  const std::int64_t count = request.groupSeconds
                                 ? std::max<std::int64_t>(1, std::llround(*request.groupSeconds * av_q2d(frameRate)))
                                 : clipFrames;
  for (StepRequest& step : steps) {
    if (auto* group = std::get_if<GroupRequest>(&step)) group->span = {0, count, true};
  }
  return steps;
}

/// Pictures to expect, for the display only.
std::optional<std::int64_t> ExpectedFrames(const RenderRequest& request, const std::optional<ClipScan>& scan) {
  if (!scan) return request.frames;
  const std::int64_t frames = std::max<std::int64_t>(0, scan->frames - request.startFrame);
  return request.frames ? std::min(*request.frames, frames) : frames;
}

/// The time that becomes 0 in the output: a piece's first unless it keeps the clip's times, and that of broadcasts, which
/// begin at any time.
std::int64_t StartOf(const Input& input, const RenderRequest& request, const ClipReader& reader) {
  if (request.startFrame > 0 && !request.keepTimes) return reader.startTime();
  const bool broadcast = (input.format().iformat->flags & AVFMT_TS_DISCONT) != 0;
  if (!broadcast || input.format().start_time == AV_NOPTS_VALUE) return 0;
  return av_rescale_q(input.format().start_time, av_get_time_base_q(), input.video().time_base);
}

/// The length of a piece that begins at 0, nearly where the frame rate varies; it cuts the chapters.
std::optional<std::int64_t> LengthOf(const Input& input, const RenderRequest& request) {
  if (!request.frames || request.keepTimes) return std::nullopt;
  return av_rescale_q(*request.frames, av_inv_q(input.frameRate()), input.video().time_base);
}

}  // namespace

void CheckRequest(const RenderRequest& request) {
  CheckEngine();
  if (request.steps.empty()) FailUsage("no effect given; add --effect NAME or --group NAME, and see `norix list`");
  for (const StepRequest& step : request.steps) std::visit([](const auto& each) { CheckStep(each); }, step);
  if (!request.format.empty()) WishedFormat(request.format);
  CheckNotInput(request.output.path, request.input);
}

ExitCode Render(const RenderRequest& request) {
  Progress progress(request.progress);
  Input input(request.input);
  const std::optional<ClipScan> scan = ScanClip(request.input);
  if (!scan && RunsOverClip(request)) {
    Fail("'{}' cannot be read twice, so its length is unknown: levels and times that run over the clip need a file",
         request.input);
  }
  const std::int64_t clipFrames = scan ? scan->frames : 1;
  const bool wished = !request.format.empty();
  ChainForm form = ChainFormOf(input, wished ? WishedFormat(request.format) : ClipFormat(input));
  form.formatIsWish = wished;
  form.frameCount = clipFrames;
  Workers bandWorkers(request.threads);
  form.bands = request.bands;
  form.bandWorkers = &bandWorkers;
  form.seed = request.seed;
  const Chain chain(WithSpans(request, clipFrames, input.frameRate()), form);
  const bool shortCut = request.videoOnly && scan && TakeShortCut(input, *scan, request.startFrame);
  ClipReader reader(input, request.startFrame, request.frames, "--start-frame", shortCut ? &scan->times : nullptr);
  Output output(request.output, input, VideoFormOf(input, chain, form, scan && scan->constantRate),
                request.videoOnly ? OtherStreams::kVideoOnly : OtherStreams::kKeep);
  output.startAt(StartOf(input, request, reader), input.video().time_base, LengthOf(input, request));

  const PipelineEnds ends = {.read = [&] { return reader.next(); },
                             .writePackets =
                                 [&](ClipPart& part) {
                                   for (const PacketPtr& packet : part.packets) output.writePacket(*packet);
                                 },
                             .finishPackets = [] {}};
  const std::int64_t written = RunToFile(ends, chain, output, {request.threads, ExpectedFrames(request, scan)}, progress);
  Report(request.output.path, written, output, {&input});
  return kDone;
}

}  // namespace norix::host
