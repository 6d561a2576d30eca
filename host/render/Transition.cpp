#include "render/Transition.h"

extern "C" {
#include <libavutil/display.h>
}

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <utility>

#include "engine/Catalogue.h"
#include "engine/Group.h"
#include "render/FileRun.h"
#include "render/JoinedReader.h"
#include "render/SoundJoiner.h"

namespace norix::host {

namespace {

ClipScan ScanFile(const std::string& url) {
  const std::optional<ClipScan> scan = ScanClip(url);
  if (!scan) Fail("'{}' cannot be read twice, so its length is unknown; name a file", url);
  // It is shown, and its sound filled up, for as long as the times say, which may be forever.
  constexpr double kLongestStay = 3600;
  if (scan->longestStay > kLongestStay) {
    Fail("'{}': its times say that one picture stays for {:.0f} seconds; a transition takes {:.0f} at most", url,
         scan->longestStay, kLongestStay);
  }
  return *scan;
}

/// The pictures of a transition and how many of them are the first clip's.
struct Window {
  TimeSpan span;
  std::int64_t before;

  std::int64_t after() const { return span.count - before; }
};

/// The first clip shows while the time is in its first half.
Window WindowOf(std::int64_t count, std::int64_t firstFrames) {
  TimeSpan span = {0, count, false};
  std::int64_t before = 0;  // found by halving, as the time never falls
  for (std::int64_t end = count; before < end;) {
    const std::int64_t middle = before + (end - before) / 2;
    if (*span.at(middle) < kLastTime / 2) {
      before = middle + 1;
    } else {
      end = middle;
    }
  }
  span.first = firstFrames - before;
  return {span, before};
}

void CheckLongEnough(const std::string& clip, std::int64_t frames, std::int64_t needed, AVRational frameRate) {
  if (frames >= needed) return;
  constexpr double kDigits = 100;  // rounded down, so that it will do
  const double seconds = std::floor(static_cast<double>(2 * frames) / av_q2d(frameRate) * kDigits) / kDigits;
  Fail("'{}' is too short for its half of the transition: {} of {} frames; --duration can be {:.2f} at most", clip, frames,
       needed, seconds);
}

/// Where the rotation mark says that players should turn the picture, in degrees.
double RotationOf(const Input& input) {
  const auto* matrix =
      reinterpret_cast<const std::int32_t*>(av_stream_get_side_data(&input.video(), AV_PKT_DATA_DISPLAYMATRIX, nullptr));
  return matrix ? av_display_rotation_get(matrix) : 0.0;
}

SoundSpan SoundOf(const Input& input, const ClipScan& scan, const AudioEncoder& encoder) {
  const AVRational sample = {1, encoder.sampleRate()};
  const AVRational timeBase = input.video().time_base;
  return {.file = input.url(),
          .stream = input.sound(),
          .start = av_rescale_q(scan.start, timeBase, sample),
          .length = av_rescale_q(scan.end - scan.start, timeBase, sample)};
}

}  // namespace

void CheckRequest(const TransitionRequest& request) {
  CheckEngine();
  FindGroup(request.group);
  for (const std::string& clip : {request.first, request.second}) CheckNotInput(request.output.path, clip);
}

ExitCode Transition(const TransitionRequest& request) {
  Progress progress(request.progress);
  Input first(request.first);
  Input second(request.second);
  const ClipScan firstScan = ScanFile(request.first);
  const ClipScan secondScan = ScanFile(request.second);

  const AVRational frameRate = first.frameRate();
  const std::int64_t secondFrames = TimesBefore(secondScan.end - secondScan.start, second.video().time_base, frameRate);
  const auto count = std::max<std::int64_t>(1, std::llround(request.seconds * av_q2d(frameRate)));
  const Window window = WindowOf(count, firstScan.frames);
  CheckLongEnough(request.first, firstScan.frames, window.before, frameRate);
  CheckLongEnough(request.second, secondFrames, window.after(), frameRate);

  const ChainForm form = ChainFormOf(first, ClipFormat(first));
  const Chain chain({GroupRequest{request.group, window.span}}, form);
  JoinedReader reader(first, second, firstScan.frames);
  Output output(request.output, first, VideoFormOf(first, chain, form, firstScan.constantRate), OtherStreams::kLeaveOut);
  output.startAt(reader.startTime(), first.video().time_base);
  const AVStream* sound = first.sound() ? first.sound() : second.sound();
  AudioEncoder* encoder = sound ? output.addSound(*sound) : nullptr;
  std::optional<SoundJoiner> joiner;
  SoundSpan secondSound;
  if (encoder) {
    const auto samples = [&](std::int64_t frames) {
      return av_rescale_q(frames, av_inv_q(frameRate), {1, encoder->sampleRate()});
    };
    SoundSpan firstSound = SoundOf(first, firstScan, *encoder);
    firstSound.fadeOut = samples(window.before);
    secondSound = SoundOf(second, secondScan, *encoder);
    secondSound.fadeIn = samples(window.after());
    joiner.emplace(*encoder, output.soundWriter());
    joiner->begin(firstSound);
  }
  if (RotationOf(first) != RotationOf(second)) {
    progress.note(fmt::format("'{}' has another rotation mark than '{}', whose mark the result takes", request.second,
                              request.first));
  }

  int clip = 0;
  const PipelineEnds ends = {.read = [&] { return reader.next(); },
                             .writePackets =
                                 [&](ClipPart& part) {
                                   if (!joiner) return;
                                   if (part.clip != clip) joiner->begin(secondSound);
                                   clip = part.clip;
                                   for (const PacketPtr& packet : part.packets) joiner->add(*packet);
                                 },
                             .finishPackets =
                                 [&] {
                                   if (joiner) joiner->finish();
                                 }};
  const std::int64_t written = RunToFile(ends, chain, output, {request.threads, firstScan.frames + secondFrames}, progress);
  Report(request.output.path, written, output, {&first, &second});
  return kDone;
}

}  // namespace norix::host
