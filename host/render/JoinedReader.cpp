#include "render/JoinedReader.h"

#include <utility>

namespace norix::host {

JoinedReader::JoinedReader(Input& first, Input& second, std::int64_t firstFrames)
    : first_(first),
      second_(second),
      firstFrames_(firstFrames),
      firstReader_(first, 0, std::nullopt),
      secondReader_(second, 0, std::nullopt),
      joinTime_(firstReader_.startTime()) {}

std::optional<ClipPart> JoinedReader::next() {
  if (!inSecond_) {
    if (std::optional<ClipPart> part = firstReader_.next()) {
      if (part->frame) joinTime_ = part->frame->pts + part->frame->pkt_duration;
      return part;
    }
    inSecond_ = true;
  }
  return nextOfSecond();
}

std::optional<ClipPart> JoinedReader::nextOfSecond() {
  while (ready_.empty()) {
    std::optional<ClipPart> part = secondReader_.next();
    if (!part) {
      if (!held_) return std::nullopt;
      showHeldUntil(slotAt(held_->pts + held_->pkt_duration));
      held_.reset();
      continue;
    }
    FramePtr frame = std::move(part->frame);
    if (!part->packets.empty()) {
      part->clip = 1;
      ready_.push_back(std::move(*part));
    }
    if (!frame) continue;
    if (held_) showHeldUntil(slotAt(frame->pts));
    tagColours(*frame);
    held_ = std::move(frame);
  }
  ClipPart part = std::move(ready_.front());
  ready_.pop_front();
  return part;
}

/// The first slot, of the first clip's frame rate and counted from the second's start, at which a picture of that time
/// shows.
std::int64_t JoinedReader::slotAt(std::int64_t secondTime) const {
  return TimesBefore(secondTime - secondReader_.startTime(), second_.video().time_base, first_.frameRate());
}

void JoinedReader::showHeldUntil(std::int64_t slot) {
  const AVRational slotTime = av_inv_q(first_.frameRate());
  const AVRational timeBase = first_.video().time_base;
  for (; nextSlot_ < slot; ++nextSlot_) {
    FramePtr frame(OrBadAlloc(av_frame_clone(held_.get())));
    frame->pts = joinTime_ + av_rescale_q(nextSlot_, slotTime, timeBase);
    frame->pkt_duration = joinTime_ + av_rescale_q(nextSlot_ + 1, slotTime, timeBase) - frame->pts;
    ready_.push_back({firstFrames_ + nextSlot_, std::move(frame), {}, 1});
  }
}

/// The first clip's colours hold for frames that say nothing; a frame of the second means what is usual instead.
void JoinedReader::tagColours(AVFrame& frame) const {
  if (frame.color_range == AVCOL_RANGE_UNSPECIFIED) frame.color_range = AVCOL_RANGE_MPEG;
  if (frame.colorspace == AVCOL_SPC_UNSPECIFIED) frame.colorspace = AVCOL_SPC_SMPTE170M;
}

}  // namespace norix::host
