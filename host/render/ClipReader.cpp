#include "render/ClipReader.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

#include "Failure.h"
#include "Interrupt.h"

namespace norix::host {

namespace {

// How far behind the pictures the packets of another stream may lie in a file before they count as missing.
constexpr std::int64_t kMostLagSeconds = 10;

std::int64_t TimeOf(const AVPacket& packet) { return packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts; }

}  // namespace

ClipReader::ClipReader(Input& input, std::int64_t firstFrame, std::optional<std::int64_t> frameCount)
    : input_(input), firstFrame_(firstFrame), passedEnd_(input.format().nb_streams, false) {
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  if (frameCount && *frameCount <= kMost - firstFrame) endFrame_ = firstFrame + *frameCount;
  std::vector<PacketPtr> packets;
  while (true) {
    std::optional<Reading> reading = input_.read();
    if (Interrupted()) throw Failure(kInterrupted, "interrupted");
    if (!reading) {
      if (nextIndex_ == 0) Fail("'{}' has no picture that can be decoded", input_.url());
      FailUsage("'{}' has {} frames; --start-frame {} lies behind its end", input_.url(), nextIndex_, firstFrame_);
    }
    std::move(reading->packets.begin(), reading->packets.end(), std::back_inserter(packets));
    if (!reading->frame) continue;
    startTime_ = reading->frame->pts;
    // The piece begins here or later: what lies before will not be asked for.
    dropStrangers(packets);
    if (nextIndex_++ < firstFrame_) continue;
    first_ = ClipPart{nextIndex_ - 1, std::move(reading->frame), std::move(packets)};
    return;
  }
}

std::optional<ClipPart> ClipReader::next() {
  if (first_) return std::exchange(first_, std::nullopt);
  while (!done_) {
    std::optional<Reading> reading = input_.read();
    if (!reading) break;
    ClipPart part = {nextIndex_, nullptr, std::move(reading->packets)};
    if (reading->frame) {
      const std::int64_t index = nextIndex_++;
      if (endFrame_ && index == *endFrame_) endTime_ = reading->frame->pts;
      if (!endTime_) part.frame = std::move(reading->frame);
    }
    if (endTime_) {
      for (const PacketPtr& packet : part.packets) notePassed(*packet);
      if (othersHavePassedEnd(reading->frame ? reading->frame->pts : *endTime_)) done_ = true;
    }
    dropStrangers(part.packets);
    if (part.frame || !part.packets.empty()) return part;
  }
  return std::nullopt;
}

bool ClipReader::isBefore(const AVPacket& packet, std::int64_t time) const {
  const AVStream& stream = *input_.format().streams[packet.stream_index];
  return av_compare_ts(TimeOf(packet), stream.time_base, time, input_.video().time_base) < 0;
}

bool ClipReader::belongs(const AVPacket& packet) const {
  if (TimeOf(packet) == AV_NOPTS_VALUE) return true;
  if (firstFrame_ > 0 && isBefore(packet, startTime_)) return false;
  return !endTime_ || isBefore(packet, *endTime_);
}

void ClipReader::dropStrangers(std::vector<PacketPtr>& packets) {
  packets.erase(std::remove_if(packets.begin(), packets.end(), [&](const PacketPtr& packet) { return !belongs(*packet); }),
                packets.end());
}

void ClipReader::notePassed(const AVPacket& packet) {
  const auto stream = static_cast<std::size_t>(packet.stream_index);
  if (stream >= passedEnd_.size()) passedEnd_.resize(stream + 1, false);
  if (TimeOf(packet) != AV_NOPTS_VALUE && !isBefore(packet, *endTime_)) passedEnd_[stream] = true;
}

bool ClipReader::othersHavePassedEnd(std::int64_t videoTime) const {
  const std::int64_t lag = av_rescale_q(kMostLagSeconds, {1, 1}, input_.video().time_base);
  if (videoTime > *endTime_ + lag) return true;
  for (unsigned i = 0; i < input_.format().nb_streams; ++i) {
    // Only sound comes in steadily; other streams may have nothing to say for long.
    const bool sound = input_.format().streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
    if (sound && !(i < passedEnd_.size() && passedEnd_[i])) return false;
  }
  return true;
}

}  // namespace norix::host
