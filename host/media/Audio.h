#pragma once

// Sound in between codecs: planar floats, at the rate and in the channels of the encoder.

extern "C" {
#include <libavutil/audio_fifo.h>
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "media/Av.h"

namespace norix::host {

struct FreeResampler {
  void operator()(SwrContext* resampler) const { swr_free(&resampler); }
};
using ResamplerPtr = std::unique_ptr<SwrContext, FreeResampler>;

/// Which channels there are. Stands in for libav's own record, which wants to be freed.
class ChannelLayout {
public:
  /// Channels whose places are not told get the usual ones of their number.
  explicit ChannelLayout(const AVChannelLayout& layout);
  ~ChannelLayout() { av_channel_layout_uninit(&layout_); }
  ChannelLayout(const ChannelLayout&) = delete;
  ChannelLayout& operator=(const ChannelLayout&) = delete;

  const AVChannelLayout& get() const { return layout_; }

private:
  AVChannelLayout layout_ = {};
};

/// Turns samples of any kind into a codec's packets.
class AudioEncoder {
public:
  using Write = std::function<void(AVPacket& packet)>;

  /// Rate and channels are `like`'s, or the nearest that the codec has. `globalHeader`: the container wants codec headers
  /// apart from the packets. `file`: for messages.
  AudioEncoder(const AVCodec& codec, const AVCodecParameters& like, bool globalHeader, std::string file);

  const AVCodecContext& codec() const { return *encoder_; }
  int sampleRate() const { return encoder_->sample_rate; }
  int channels() const { return encoder_->ch_layout.nb_channels; }

  /// The time of the first sample, in samples. Zero unless set before it.
  void startAt(std::int64_t time) { nextTime_ = time; }

  /// Takes planar floats at sampleRate(); gives `write` the packets that come out, in 1 / sampleRate().
  void encode(const AVFrame& samples, const Write& write);

  /// Hands out what is still inside.
  void finish(const Write& write);

private:
  struct FreeFifo {
    void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
  };

  void encodeFromFifo(bool all, const Write& write);
  void send(const AVFrame* frame, const Write& write);
  void check(int code) const;

  std::string file_;
  CodecPtr encoder_;
  ResamplerPtr toCodec_;  // from planar floats to the codec's own kind of sample
  std::unique_ptr<AVAudioFifo, FreeFifo> fifo_;
  std::int64_t nextTime_ = 0;  // of the first sample in the fifo
};

/// Turns packets of one stream into samples for an encoder.
class AudioDecoder {
public:
  /// Called with planar floats; `time` is that of the first, in samples of the encoder, or AV_NOPTS_VALUE.
  using Take = std::function<void(AVFrame& samples, std::int64_t time)>;

  /// `file`: for messages.
  AudioDecoder(const AVStream& from, const AudioEncoder& to, const std::string& file);

  void decode(const AVPacket& packet, const Take& take);

  /// Hands out what is still inside.
  void finish(const Take& take);

private:
  /// What a resampler is made for.
  struct Form {
    int format = -1;
    int sampleRate = 0;
    int channels = 0;

    bool operator==(const Form&) const = default;
  };

  void receive(const Take& take);
  void prepareFor(const AVFrame& frame, const Take& take);
  void resample(const AVFrame* frame, const Take& take);

  AVRational timeBase_;
  CodecPtr decoder_;
  int sampleRate_;  // of the result
  ChannelLayout layout_;
  ResamplerPtr resampler_;
  Form form_;
};

/// A frame for so many samples, as planar floats.
FramePtr NewSamples(const AVCodecContext& like, int count);

/// Turns packets of one stream into packets of another codec, for containers that do not take the input's own.
class AudioTranscoder {
public:
  /// `file` and `to`: the files, for messages.
  AudioTranscoder(const AVStream& from, const std::string& file, const AVCodec& codec, bool globalHeader,
                  const std::string& to)
      : encoder_(codec, *from.codecpar, globalHeader, to), decoder_(from, encoder_, file) {}

  const AVCodecContext& codec() const { return encoder_.codec(); }

  void transcode(const AVPacket& packet, const AudioEncoder::Write& write);
  void finish(const AudioEncoder::Write& write);

private:
  AudioDecoder::Take into(const AudioEncoder::Write& write);

  AudioEncoder encoder_;
  AudioDecoder decoder_;
  bool started_ = false;
};

}  // namespace norix::host
