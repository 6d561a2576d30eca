#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "media/Input.h"

namespace norix::host {

/// A picture of the clip, if there is one, and the packets of other streams that stood before it.
struct ClipPart {
  std::int64_t index = 0;  ///< of the picture in the whole clip, from 0
  FramePtr frame;
  std::vector<PacketPtr> packets;
  int clip = 0;  ///< which of the inputs the packets are from
};

/// Reads a clip, or a piece of it: so many pictures from a given one on. A packet of another stream belongs to the piece
/// in which its time lies, so that all pieces together hold every packet once.
class ClipReader {
public:
  /// Reads up to the first picture. Fails when the clip is too short for that, or has none; `option` is where the user said
  /// which picture comes first. With `times`, of all the clip's pictures, `input` may stand before the piece already.
  ClipReader(Input& input, std::int64_t firstFrame, std::optional<std::int64_t> frameCount,
             const char* option = "--start-frame", const std::vector<std::int64_t>* times = nullptr);

  /// The piece's first time stamp, in the video's time base.
  std::int64_t startTime() const { return startTime_; }

  /// The next part; nullopt at the end.
  std::optional<ClipPart> next();

private:
  bool belongs(const AVPacket& packet) const;
  bool isBefore(const AVPacket& packet, std::int64_t time) const;
  void hold(std::vector<PacketPtr>& packets);
  std::vector<PacketPtr> takeSettled(bool all);
  bool othersHavePassedEnd(std::int64_t videoTime) const;

  Input& input_;
  std::int64_t firstFrame_;
  std::optional<std::int64_t> endFrame_;  // the first one not to be rendered
  std::int64_t nextIndex_ = 0;
  std::int64_t startTime_ = 0;
  std::optional<std::int64_t> endTime_;  // of the picture `endFrame_`
  FramePtr pending_;                     // the first picture, until it is asked for
  std::int64_t reachedTime_ = 0;         // of the latest picture
  std::vector<PacketPtr> held_;          // may lie behind the end: pictures come later than packets
  std::vector<bool> passedEnd_;          // by stream
  bool done_ = false;
};

}  // namespace norix::host
