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
  // One at a time, however long a picture stands.
  while (nextSlot_ >= shownUntil_) {
    if (following_) shown_ = std::move(following_);
    if (ended_) return std::nullopt;
    std::optional<ClipPart> part = secondReader_.next();
    if (!part) {
      ended_ = true;
      if (shown_) shownUntil_ = slotAt(shown_->pts + shown_->pkt_duration);
      continue;
    }
    if (part->frame) {
      following_ = std::move(part->frame);
      tagColours(*following_);
      if (shown_) shownUntil_ = slotAt(following_->pts);
    }
    part->clip = 1;
    if (!part->packets.empty()) return part;
  }
  return show(nextSlot_++);
}

/// The first slot, of the first clip's frame rate and counted from the second's start, at which a picture of that time
/// shows.
std::int64_t JoinedReader::slotAt(std::int64_t secondTime) const {
  return TimesBefore(secondTime - secondReader_.startTime(), second_.video().time_base, first_.frameRate());
}

ClipPart JoinedReader::show(std::int64_t slot) const {
  const AVRational slotTime = av_inv_q(first_.frameRate());
  const AVRational timeBase = first_.video().time_base;
  FramePtr frame(OrBadAlloc(av_frame_clone(shown_.get())));
  frame->pts = joinTime_ + av_rescale_q(slot, slotTime, timeBase);
  frame->pkt_duration = joinTime_ + av_rescale_q(slot + 1, slotTime, timeBase) - frame->pts;
  return {firstFrames_ + slot, std::move(frame), {}, 1};
}

/// The first clip's colours hold for frames that say nothing; a frame of the second means what is usual instead.
void JoinedReader::tagColours(AVFrame& frame) const {
  if (frame.color_range == AVCOL_RANGE_UNSPECIFIED) frame.color_range = AVCOL_RANGE_MPEG;
  if (frame.colorspace == AVCOL_SPC_UNSPECIFIED) frame.colorspace = AVCOL_SPC_SMPTE170M;
}

}  // namespace norix::host
