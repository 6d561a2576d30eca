#include "render/SoundJoiner.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace norix::host {

namespace {

// Time stamps of neighbouring packets may disagree by rounding; nobody hears that.
constexpr double kTolerableGapSeconds = 0.01;

float* ChannelOf(const AVFrame& samples, int channel) {
  return reinterpret_cast<float*>(samples.extended_data[channel]);  // planar floats by contract
}

/// Rises from 0 to 1 so that a sound fading in and one fading out have the power of one.
double FadeGain(std::int64_t position, std::int64_t length) {
  return std::sin(static_cast<double>(position) / static_cast<double>(length) * std::numbers::pi / 2);
}

}  // namespace

void SoundJoiner::begin(const SoundSpan& span) {
  endSpan();
  span_ = span;
  position_ = 0;
  if (span.stream) decoder_.emplace(*span.stream, encoder_, span.file);
}

void SoundJoiner::add(const AVPacket& packet) {
  if (decoder_ && packet.stream_index == span_.stream->index) decoder_->decode(packet, taker());
}

void SoundJoiner::finish() {
  endSpan();
  encoder_.finish(write_);
}

void SoundJoiner::endSpan() {
  if (decoder_) decoder_->finish(taker());
  decoder_.reset();
  addSilence(span_.length);
}

AudioDecoder::Take SoundJoiner::taker() {
  return [this](AVFrame& samples, std::int64_t time) { take(samples, time); };
}

/// Samples from where the pictures start to where they end; gaps become silence and overlaps are dropped.
void SoundJoiner::take(const AVFrame& samples, std::int64_t time) {
  const auto tolerance = static_cast<std::int64_t>(encoder_.sampleRate() * kTolerableGapSeconds);
  std::int64_t begin = time == AV_NOPTS_VALUE ? position_ : time - span_.start;
  if (std::abs(begin - position_) <= tolerance) begin = position_;
  addSilence(std::min(begin, span_.length));
  const std::int64_t skipped = std::max<std::int64_t>(0, position_ - begin);
  const std::int64_t count = std::min(samples.nb_samples - skipped, span_.length - position_);
  if (count < 1) return;
  const FramePtr out = NewSamples(encoder_.codec(), static_cast<int>(count));
  for (int channel = 0; channel < encoder_.channels(); ++channel) {
    const float* from = ChannelOf(samples, channel) + skipped;
    float* to = ChannelOf(*out, channel);
    for (std::int64_t i = 0; i < count; ++i) to[i] = from[i] * static_cast<float>(gainAt(position_ + i));
  }
  position_ += count;
  encoder_.encode(*out, write_);
}

void SoundJoiner::addSilence(std::int64_t until) {
  while (position_ < until) {
    const std::int64_t count = std::min<std::int64_t>(until - position_, encoder_.sampleRate());
    const FramePtr out = NewSamples(encoder_.codec(), static_cast<int>(count));
    for (int channel = 0; channel < encoder_.channels(); ++channel) std::fill_n(ChannelOf(*out, channel), count, 0.0F);
    position_ += count;
    encoder_.encode(*out, write_);
  }
}

double SoundJoiner::gainAt(std::int64_t position) const {
  if (position < span_.fadeIn) return FadeGain(position, span_.fadeIn);
  const std::int64_t left = span_.length - position;
  return left < span_.fadeOut ? FadeGain(left, span_.fadeOut) : 1.0;
}

}  // namespace norix::host
