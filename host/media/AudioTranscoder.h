#pragma once

extern "C" {
#include <libavutil/audio_fifo.h>
#include <libswresample/swresample.h>
}

#include <cstdint>
#include <functional>
#include <memory>

#include "media/Av.h"

namespace norix::host {

/// Turns packets of one audio stream into packets of another codec, for containers that do not take the input's own.
class AudioTranscoder {
public:
  using Write = std::function<void(AVPacket& packet)>;

  /// `globalHeader`: the container wants codec headers apart from the packets. Fails when one of the codecs is missing.
  AudioTranscoder(const AVStream& from, const AVCodec& codec, bool globalHeader);
  ~AudioTranscoder();

  const AVCodecContext& encoder() const { return *encoder_; }

  /// Decodes a packet; gives `write` the packets that come out, in the encoder's time base.
  void transcode(const AVPacket& packet, const Write& write);

  /// Hands out what is still inside.
  void finish(const Write& write);

private:
  struct FreeFifo {
    void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
  };
  struct FreeResampler {
    void operator()(SwrContext* resampler) const { swr_free(&resampler); }
  };

  void receiveFrames(const Write& write);
  void resample(const AVFrame* frame);
  void encodeFromFifo(bool all, const Write& write);
  void encode(const AVFrame* frame, const Write& write);

  AVRational inputTimeBase_;
  CodecPtr decoder_;
  CodecPtr encoder_;
  std::unique_ptr<SwrContext, FreeResampler> resampler_;
  std::unique_ptr<AVAudioFifo, FreeFifo> fifo_;
  std::int64_t nextTime_ = AV_NOPTS_VALUE;  // of the first sample in the fifo, in samples
};

}  // namespace norix::host
