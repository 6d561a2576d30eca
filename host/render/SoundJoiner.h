#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "media/Audio.h"

namespace norix::host {

/// The sound of one clip in a join, in samples of the encoder.
struct SoundSpan {
  std::string file;                  ///< of the clip, for messages
  const AVStream* stream = nullptr;  ///< null: silence
  std::int64_t start = 0;            ///< where the clip's pictures start, in the stream's own time
  std::int64_t length = 0;           ///< of the clip's pictures
  std::int64_t fadeIn = 0;           ///< at the beginning
  std::int64_t fadeOut = 0;          ///< at the end
};

/// Lays the sounds of clips end to end, each as long as its pictures, with fades of equal power where they meet.
class SoundJoiner {
public:
  SoundJoiner(AudioEncoder& encoder, AudioEncoder::Write write) : encoder_(encoder), write_(std::move(write)) {}

  /// Ends the clip before and begins the next.
  void begin(const SoundSpan& span);
  void add(const AVPacket& packet);
  void finish();

private:
  void endSpan();
  void take(const AVFrame& samples, std::int64_t time);
  void addSilence(std::int64_t until);
  double gainAt(std::int64_t position) const;
  AudioDecoder::Take taker();

  AudioEncoder& encoder_;
  AudioEncoder::Write write_;
  SoundSpan span_;
  std::optional<AudioDecoder> decoder_;
  std::int64_t position_ = 0;  // in the span
};

}  // namespace norix::host
