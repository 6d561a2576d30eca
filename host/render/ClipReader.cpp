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

/// Which picture of the clip has that time; beyond the last when none has.
std::int64_t IndexOf(std::int64_t time, const std::vector<std::int64_t>& times) {
  const auto found = std::lower_bound(times.begin(), times.end(), time);
  return found != times.end() && *found == time ? found - times.begin() : static_cast<std::int64_t>(times.size());
}

}  // namespace

ClipReader::ClipReader(Input& input, std::int64_t firstFrame, std::optional<std::int64_t> frameCount, const char* option,
                       const std::vector<std::int64_t>* times)
    : input_(input), firstFrame_(firstFrame), passedEnd_(input.format().nb_streams, false) {
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  if (frameCount && *frameCount <= kMost - firstFrame) endFrame_ = firstFrame + *frameCount;
  while (true) {
    std::optional<Reading> reading = input_.read();
    if (Interrupted()) throw Failure(kInterrupted, "interrupted");
    if (!reading) {
      if (nextIndex_ == 0) Fail("'{}' has no picture that can be decoded", input_.url());
      FailUsage("'{}' has {} frames; {} {} lies behind its end", input_.url(), nextIndex_, option, firstFrame_);
    }
    hold(reading->packets);
    if (!reading->frame) continue;
    // The piece begins here or later: what lies before will not be asked for.
    startTime_ = reachedTime_ = reading->frame->pts;
    held_.erase(std::remove_if(held_.begin(), held_.end(), [&](const PacketPtr& packet) { return !belongs(*packet); }),
                held_.end());
    if (times) nextIndex_ = IndexOf(startTime_, *times);
    if (nextIndex_++ < firstFrame_) continue;
    if (nextIndex_ != firstFrame_ + 1) Fail("'{}': the picture {} cannot be found again", input_.url(), firstFrame_);
    pending_ = std::move(reading->frame);
    return;
  }
}

std::optional<ClipPart> ClipReader::next() {
  while (!done_) {
    ClipPart part;
    part.index = nextIndex_ - 1;
    FramePtr frame = std::move(pending_);
    if (!frame) {
      std::optional<Reading> reading = input_.read();
      if (reading) {
        hold(reading->packets);
        frame = std::move(reading->frame);
        if (frame) part.index = nextIndex_++;
      }
      done_ = !reading;
    }
    if (frame) {
      reachedTime_ = frame->pts;
      if (endFrame_ && part.index == *endFrame_) endTime_ = frame->pts;
      if (!endTime_) part.frame = std::move(frame);
    }
    part.packets = takeSettled(done_);
    if (endTime_ && othersHavePassedEnd(reachedTime_)) done_ = true;
    if (part.frame || !part.packets.empty()) return part;
  }
  return std::nullopt;
}

void ClipReader::hold(std::vector<PacketPtr>& packets) {
  std::move(packets.begin(), packets.end(), std::back_inserter(held_));
}

/// The packets of which it is sure that they belong to the piece. `all`: there is no end but the clip's.
std::vector<PacketPtr> ClipReader::takeSettled(bool all) {
  passedEnd_.resize(input_.format().nb_streams, false);  // some containers announce streams late
  std::vector<PacketPtr> settled;
  std::vector<PacketPtr> open;
  for (PacketPtr& packet : held_) {
    if (endTime_ && TimeOf(*packet) != AV_NOPTS_VALUE && !isBefore(*packet, *endTime_)) {
      passedEnd_.at(static_cast<std::size_t>(packet->stream_index)) = true;
    }
    if (!belongs(*packet)) continue;
    const bool sure = all || !endFrame_ || endTime_ || TimeOf(*packet) == AV_NOPTS_VALUE || isBefore(*packet, reachedTime_);
    (sure ? settled : open).push_back(std::move(packet));
  }
  held_ = std::move(open);
  return settled;
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

bool ClipReader::othersHavePassedEnd(std::int64_t videoTime) const {
  const std::int64_t lag = av_rescale_q(kMostLagSeconds, {1, 1}, input_.video().time_base);
  if (videoTime > *endTime_ + lag) return true;
  for (unsigned i = 0; i < input_.format().nb_streams; ++i) {
    // Only sound comes in steadily; other streams may have nothing to say for long.
    const bool sound = input_.format().streams[i]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
    if (sound && !passedEnd_[i]) return false;
  }
  return true;
}

}  // namespace norix::host
