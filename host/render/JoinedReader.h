#pragma once

#include <cstdint>
#include <optional>

#include "render/ClipReader.h"

namespace norix::host {

/// Reads two clips one after the other. The second follows at the first's frame rate: at each of its times the latest
/// picture shows. Times are in the first video's time base.
class JoinedReader {
public:
  /// `firstFrames`: pictures of the first clip; the second's are numbered on from there.
  JoinedReader(Input& first, Input& second, std::int64_t firstFrames);

  std::int64_t startTime() const { return firstReader_.startTime(); }

  /// The next part; nullopt at the end of both.
  std::optional<ClipPart> next();

private:
  std::optional<ClipPart> nextOfSecond();
  ClipPart show(std::int64_t slot) const;
  std::int64_t slotAt(std::int64_t secondTime) const;
  void tagColours(AVFrame& frame) const;

  Input& first_;
  Input& second_;
  std::int64_t firstFrames_;
  ClipReader firstReader_;
  ClipReader secondReader_;
  bool inSecond_ = false;
  std::int64_t joinTime_;  // where the first clip ends
  FramePtr shown_;         // of the second clip, until the slot below
  FramePtr following_;     // the one after it
  std::int64_t nextSlot_ = 0;
  std::int64_t shownUntil_ = 0;
  bool ended_ = false;
};

}  // namespace norix::host
