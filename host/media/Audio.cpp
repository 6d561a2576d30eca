#include "media/Audio.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include "Failure.h"

namespace norix::host {

namespace {

constexpr AVSampleFormat kBetween = AV_SAMPLE_FMT_FLTP;
constexpr int kFallbackSamples = 1024;            // in a frame, for encoders that take any number
constexpr std::int64_t kBitsPerChannel = 96'000;  // a second; transparent for AAC and Opus

void Check(int code, const char* what) {
  if (code < 0) Fail("cannot {} sound: {}", what, ErrorText(code));
}

int NearestSampleRate(const AVCodec& codec, int wanted) {
  if (!codec.supported_samplerates) return wanted;
  int nearest = codec.supported_samplerates[0];
  for (const int* rate = codec.supported_samplerates; *rate != 0; ++rate) {
    if (std::abs(*rate - wanted) < std::abs(nearest - wanted)) nearest = *rate;
  }
  return nearest;
}

void CopyLayout(AVChannelLayout& to, const AVChannelLayout& from) {
  Check(av_channel_layout_copy(&to, &from), "describe the channels of");
}

ResamplerPtr NewResampler(const AVChannelLayout& toLayout, AVSampleFormat toFormat, int toRate,
                          const AVChannelLayout& fromLayout, AVSampleFormat fromFormat, int fromRate) {
  // Only read; some versions of the call do not say so.
  auto* to = const_cast<AVChannelLayout*>(&toLayout);
  auto* from = const_cast<AVChannelLayout*>(&fromLayout);
  SwrContext* resampler = nullptr;
  Check(swr_alloc_set_opts2(&resampler, to, toFormat, toRate, from, fromFormat, fromRate, 0, nullptr), "resample");
  ResamplerPtr owner(resampler);
  Check(swr_init(resampler), "resample");
  return owner;
}

FramePtr NewAudioFrame(AVSampleFormat format, const AVChannelLayout& layout, int rate, int count) {
  FramePtr frame = NewFrame();
  frame->format = format;
  frame->sample_rate = rate;
  frame->nb_samples = count;
  CopyLayout(frame->ch_layout, layout);
  Check(av_frame_get_buffer(frame.get(), 0), "hold");
  return frame;
}

std::vector<void*> Channels(const AVFrame& frame) {
  const int planes =
      av_sample_fmt_is_planar(static_cast<AVSampleFormat>(frame.format)) != 0 ? frame.ch_layout.nb_channels : 1;
  // Not in braces: those would make a list of two pointers.
  return std::vector<void*>(frame.extended_data, frame.extended_data + planes);
}

/// Runs samples through a resampler; null drains it. @return samples that came out
int Resample(SwrContext& resampler, AVFrame& out, const AVFrame* in) {
  const auto** data = in ? const_cast<const std::uint8_t**>(in->extended_data) : nullptr;
  const int count = swr_convert(&resampler, out.extended_data, out.nb_samples, data, in ? in->nb_samples : 0);
  Check(count, "resample");
  return count;
}

}  // namespace

ChannelLayout::ChannelLayout(const AVChannelLayout& layout) {
  if (layout.order == AV_CHANNEL_ORDER_UNSPEC) {
    av_channel_layout_default(&layout_, layout.nb_channels);
  } else {
    CopyLayout(layout_, layout);
  }
}

FramePtr NewSamples(const AVCodecContext& like, int count) {
  return NewAudioFrame(kBetween, like.ch_layout, like.sample_rate, count);
}

AudioEncoder::AudioEncoder(const AVCodec& codec, const AVCodecParameters& like, bool globalHeader, std::string file)
    : file_(std::move(file)), encoder_(OrBadAlloc(avcodec_alloc_context3(&codec))) {
  encoder_->sample_fmt = codec.sample_fmts ? codec.sample_fmts[0] : kBetween;
  encoder_->sample_rate = NearestSampleRate(codec, like.sample_rate);
  CopyLayout(encoder_->ch_layout, ChannelLayout(like.ch_layout).get());
  encoder_->time_base = {1, encoder_->sample_rate};
  encoder_->bit_rate = kBitsPerChannel * std::max(1, channels());
  if (globalHeader) encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  check(avcodec_open2(encoder_.get(), &codec, nullptr));
  toCodec_ =
      NewResampler(encoder_->ch_layout, encoder_->sample_fmt, sampleRate(), encoder_->ch_layout, kBetween, sampleRate());
  fifo_.reset(OrBadAlloc(av_audio_fifo_alloc(encoder_->sample_fmt, channels(), kFallbackSamples)));
}

void AudioEncoder::encode(const AVFrame& samples, const Write& write) {
  const FramePtr converted = NewAudioFrame(encoder_->sample_fmt, encoder_->ch_layout, sampleRate(), samples.nb_samples);
  const int count = Resample(*toCodec_, *converted, &samples);
  Check(av_audio_fifo_write(fifo_.get(), Channels(*converted).data(), count), "encode");
  encodeFromFifo(false, write);
}

void AudioEncoder::finish(const Write& write) {
  encodeFromFifo(true, write);
  send(nullptr, write);
}

void AudioEncoder::encodeFromFifo(bool all, const Write& write) {
  const int frameSize = encoder_->frame_size > 0 ? encoder_->frame_size : kFallbackSamples;
  while (av_audio_fifo_size(fifo_.get()) >= (all ? 1 : frameSize)) {
    const int count = std::min(frameSize, av_audio_fifo_size(fifo_.get()));
    const FramePtr frame = NewAudioFrame(encoder_->sample_fmt, encoder_->ch_layout, sampleRate(), count);
    Check(av_audio_fifo_read(fifo_.get(), Channels(*frame).data(), count), "encode");
    frame->pts = nextTime_;
    nextTime_ += count;
    send(frame.get(), write);
  }
}

void AudioEncoder::check(int code) const {
  if (code >= 0) return;
  Fail("cannot encode the sound of '{}' as {}: {}", file_, avcodec_get_name(encoder_->codec_id), ErrorText(code));
}

/// Null ends the stream.
void AudioEncoder::send(const AVFrame* frame, const Write& write) {
  check(avcodec_send_frame(encoder_.get(), frame));
  const PacketPtr packet = NewPacket();
  while (avcodec_receive_packet(encoder_.get(), packet.get()) >= 0) {
    write(*packet);
    av_packet_unref(packet.get());
  }
}

AudioDecoder::AudioDecoder(const AVStream& from, const AudioEncoder& to, const std::string& file)
    : timeBase_(from.time_base), sampleRate_(to.sampleRate()), layout_(to.codec().ch_layout) {
  const AVCodec* codec = avcodec_find_decoder(from.codecpar->codec_id);
  if (!codec) Fail("'{}': this FFmpeg has no decoder for {} sound", file, avcodec_get_name(from.codecpar->codec_id));
  decoder_.reset(OrBadAlloc(avcodec_alloc_context3(codec)));
  Check(avcodec_parameters_to_context(decoder_.get(), from.codecpar), "decode");
  decoder_->pkt_timebase = from.time_base;
  if (const int code = avcodec_open2(decoder_.get(), codec, nullptr); code < 0) {
    Fail("'{}': cannot decode its {} sound: {}", file, codec->name, ErrorText(code));
  }
}

void AudioDecoder::decode(const AVPacket& packet, const Take& take) {
  // Damaged packets are skipped, as players do.
  if (avcodec_send_packet(decoder_.get(), &packet) >= 0) receive(take);
}

void AudioDecoder::finish(const Take& take) {
  avcodec_send_packet(decoder_.get(), nullptr);
  receive(take);
  if (resampler_) resample(nullptr, take);
}

void AudioDecoder::receive(const Take& take) {
  const FramePtr frame = NewFrame();
  while (avcodec_receive_frame(decoder_.get(), frame.get()) >= 0) {
    prepareFor(*frame, take);
    resample(frame.get(), take);
    av_frame_unref(frame.get());
  }
}

/// What the stream's header says of its samples is not always true; the frames are, and they may change midway.
void AudioDecoder::prepareFor(const AVFrame& frame, const Take& take) {
  const Form form = {frame.format, frame.sample_rate, frame.ch_layout.nb_channels};
  if (resampler_ && form == form_) return;
  if (resampler_) resample(nullptr, take);
  const ChannelLayout layout(frame.ch_layout);
  resampler_ = NewResampler(layout_.get(), kBetween, sampleRate_, layout.get(), static_cast<AVSampleFormat>(frame.format),
                            frame.sample_rate);
  form_ = form;
}

/// Null hands out what the resampler holds.
void AudioDecoder::resample(const AVFrame* frame, const Take& take) {
  const int room = swr_get_out_samples(resampler_.get(), frame ? frame->nb_samples : 0);
  if (room <= 0) return;
  std::int64_t time = AV_NOPTS_VALUE;
  if (frame && frame->best_effort_timestamp != AV_NOPTS_VALUE) {
    // What the resampler still holds comes first.
    time = av_rescale_q(frame->best_effort_timestamp, timeBase_, {1, sampleRate_}) -
           swr_get_delay(resampler_.get(), sampleRate_);
  }
  const FramePtr out = NewAudioFrame(kBetween, layout_.get(), sampleRate_, room);
  out->nb_samples = Resample(*resampler_, *out, frame);
  if (out->nb_samples > 0) take(*out, time);
}

AudioDecoder::Take AudioTranscoder::into(const AudioEncoder::Write& write) {
  return [this, &write](AVFrame& samples, std::int64_t time) {
    if (!started_ && time != AV_NOPTS_VALUE) encoder_.startAt(time);
    started_ = true;
    encoder_.encode(samples, write);
  };
}

void AudioTranscoder::transcode(const AVPacket& packet, const AudioEncoder::Write& write) {
  decoder_.decode(packet, into(write));
}

void AudioTranscoder::finish(const AudioEncoder::Write& write) {
  decoder_.finish(into(write));
  encoder_.finish(write);
}

}  // namespace norix::host
