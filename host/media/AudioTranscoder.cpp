#include "media/AudioTranscoder.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <algorithm>

#include "Failure.h"

namespace norix::host {

namespace {

constexpr int kFallbackSamples = 1024;  // in a frame, for encoders that take any number

void Check(int code, const char* what) {
  if (code < 0) Fail("cannot {} audio: {}", what, ErrorText(code));
}

int NearestSampleRate(const AVCodec& codec, int wanted) {
  if (!codec.supported_samplerates) return wanted;
  int nearest = codec.supported_samplerates[0];
  for (const int* rate = codec.supported_samplerates; *rate != 0; ++rate) {
    if (std::abs(*rate - wanted) < std::abs(nearest - wanted)) nearest = *rate;
  }
  return nearest;
}

}  // namespace

AudioTranscoder::AudioTranscoder(const AVStream& from, const AVCodec& codec, bool globalHeader)
    : inputTimeBase_(from.time_base) {
  const AVCodec* decoder = avcodec_find_decoder(from.codecpar->codec_id);
  if (!decoder) Fail("this FFmpeg has no decoder for {} audio", avcodec_get_name(from.codecpar->codec_id));
  decoder_.reset(OrBadAlloc(avcodec_alloc_context3(decoder)));
  Check(avcodec_parameters_to_context(decoder_.get(), from.codecpar), "decode");
  decoder_->pkt_timebase = from.time_base;
  Check(avcodec_open2(decoder_.get(), decoder, nullptr), "decode");
  if (decoder_->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
    av_channel_layout_default(&decoder_->ch_layout, decoder_->ch_layout.nb_channels);
  }

  encoder_.reset(OrBadAlloc(avcodec_alloc_context3(&codec)));
  encoder_->sample_fmt = codec.sample_fmts ? codec.sample_fmts[0] : decoder_->sample_fmt;
  encoder_->sample_rate = NearestSampleRate(codec, decoder_->sample_rate);
  Check(av_channel_layout_copy(&encoder_->ch_layout, &decoder_->ch_layout), "encode");
  encoder_->time_base = {1, encoder_->sample_rate};
  encoder_->bit_rate = 96'000LL * std::max(1, encoder_->ch_layout.nb_channels);
  if (globalHeader) encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  Check(avcodec_open2(encoder_.get(), &codec, nullptr), "encode");

  SwrContext* resampler = nullptr;
  Check(swr_alloc_set_opts2(&resampler, &encoder_->ch_layout, encoder_->sample_fmt, encoder_->sample_rate,
                            &decoder_->ch_layout, decoder_->sample_fmt, decoder_->sample_rate, 0, nullptr),
        "resample");
  resampler_.reset(resampler);
  Check(swr_init(resampler_.get()), "resample");
  fifo_.reset(OrBadAlloc(av_audio_fifo_alloc(encoder_->sample_fmt, encoder_->ch_layout.nb_channels, kFallbackSamples)));
}

AudioTranscoder::~AudioTranscoder() = default;

void AudioTranscoder::transcode(const AVPacket& packet, const Write& write) {
  // Damaged packets are skipped, as players do.
  if (avcodec_send_packet(decoder_.get(), &packet) >= 0) receiveFrames(write);
}

void AudioTranscoder::finish(const Write& write) {
  avcodec_send_packet(decoder_.get(), nullptr);
  receiveFrames(write);
  resample(nullptr);
  encodeFromFifo(true, write);
  encode(nullptr, write);
}

void AudioTranscoder::receiveFrames(const Write& write) {
  const FramePtr frame = NewFrame();
  while (avcodec_receive_frame(decoder_.get(), frame.get()) >= 0) {
    if (nextTime_ == AV_NOPTS_VALUE) {
      const std::int64_t time = frame->best_effort_timestamp;
      nextTime_ = time == AV_NOPTS_VALUE ? 0 : av_rescale_q(time, inputTimeBase_, encoder_->time_base);
    }
    resample(frame.get());
    encodeFromFifo(false, write);
    av_frame_unref(frame.get());
  }
}

/// Null hands out what the resampler holds.
void AudioTranscoder::resample(const AVFrame* frame) {
  const FramePtr out = NewFrame();
  out->format = encoder_->sample_fmt;
  out->sample_rate = encoder_->sample_rate;
  Check(av_channel_layout_copy(&out->ch_layout, &encoder_->ch_layout), "resample");
  out->nb_samples = swr_get_out_samples(resampler_.get(), frame ? frame->nb_samples : 0);
  if (out->nb_samples <= 0) return;
  Check(av_frame_get_buffer(out.get(), 0), "resample");
  const auto* const* in = frame ? const_cast<const std::uint8_t**>(frame->extended_data) : nullptr;
  const int samples = swr_convert(resampler_.get(), out->extended_data, out->nb_samples,
                                  const_cast<const std::uint8_t**>(in), frame ? frame->nb_samples : 0);
  Check(samples, "resample");
  std::vector<void*> channels(
      out->extended_data,
      out->extended_data + (av_sample_fmt_is_planar(encoder_->sample_fmt) != 0 ? encoder_->ch_layout.nb_channels : 1));
  Check(av_audio_fifo_write(fifo_.get(), channels.data(), samples), "resample");
}

void AudioTranscoder::encodeFromFifo(bool all, const Write& write) {
  const int frameSize = encoder_->frame_size > 0 ? encoder_->frame_size : kFallbackSamples;
  while (av_audio_fifo_size(fifo_.get()) >= (all ? 1 : frameSize)) {
    const FramePtr frame = NewFrame();
    frame->nb_samples = std::min(frameSize, av_audio_fifo_size(fifo_.get()));
    frame->format = encoder_->sample_fmt;
    frame->sample_rate = encoder_->sample_rate;
    Check(av_channel_layout_copy(&frame->ch_layout, &encoder_->ch_layout), "encode");
    Check(av_frame_get_buffer(frame.get(), 0), "encode");
    std::vector<void*> channels(
        frame->extended_data,
        frame->extended_data + (av_sample_fmt_is_planar(encoder_->sample_fmt) != 0 ? encoder_->ch_layout.nb_channels : 1));
    Check(av_audio_fifo_read(fifo_.get(), channels.data(), frame->nb_samples), "encode");
    frame->pts = nextTime_;
    nextTime_ += frame->nb_samples;
    encode(frame.get(), write);
  }
}

void AudioTranscoder::encode(const AVFrame* frame, const Write& write) {
  Check(avcodec_send_frame(encoder_.get(), frame), "encode");
  const PacketPtr packet = NewPacket();
  while (avcodec_receive_packet(encoder_.get(), packet.get()) >= 0) {
    write(*packet);
    av_packet_unref(packet.get());
  }
}

}  // namespace norix::host
