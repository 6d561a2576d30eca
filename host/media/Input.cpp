#include "media/Input.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "Failure.h"
#include "Interrupt.h"

namespace norix::host {

namespace {

// Packets of other streams are handed out at the latest when so many wait for a picture.
constexpr std::size_t kMostWaiting = 64;

// A head of few bytes may claim a size of which one picture takes up all memory.
constexpr std::int64_t kMostPixels = std::int64_t{1} << 28;

// Cover art is a video stream with one picture; it is not the clip.
bool IsVideo(const AVStream& stream) {
  return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
}

/// What libav is to open: a file whose name looks like an address is a file nevertheless.
std::string AddressOf(const std::string& url) {
  std::error_code ignored;
  const std::size_t colon = url.find(':');
  const bool looksLikeOne = colon != std::string::npos && url.find('/') > colon;
  return looksLikeOne && std::filesystem::exists(url, ignored) ? "file:" + url : url;
}

AVFormatContext* OpenFormat(const std::string& url) {
  AVFormatContext* format = OrBadAlloc(avformat_alloc_context());
  format->interrupt_callback = {[](void* /*context*/) { return Interrupted() ? 1 : 0; }, nullptr};
  std::error_code ignored;
  if (std::filesystem::is_directory(FilePathOf(url), ignored)) {
    avformat_free_context(format);
    Fail("cannot read '{}': it is a folder; name a video file", url);
  }
  // On failure the context is freed and set to null.
  if (const int code = avformat_open_input(&format, AddressOf(url).c_str(), nullptr, nullptr); code < 0) {
    if (code == AVERROR_INVALIDDATA)
      Fail("cannot read '{}': not a video file that FFmpeg knows, or cut off at its start", url);
    Fail("cannot read '{}': {}", url, ErrorText(code));
  }
  return format;
}

/// Decoders leave what they cannot decode as they find it, and the memory they are given has held other pictures.
int GetClearBuffer(AVCodecContext* decoder, AVFrame* frame, int flags) {
  const int code = avcodec_default_get_buffer2(decoder, frame, flags);
  if (code < 0) return code;
  for (const AVBufferRef* buffer : frame->buf) {
    if (buffer) std::memset(buffer->data, 0, buffer->size);
  }
  return code;
}

unsigned FindVideo(AVFormatContext& format, const std::string& url) {
  // Of several, the best by libav's own rules, cover art aside.
  for (unsigned i = 0; i < format.nb_streams; ++i) {
    if (!IsVideo(*format.streams[i])) format.streams[i]->discard = AVDISCARD_ALL;
  }
  const int best = av_find_best_stream(&format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  for (unsigned i = 0; i < format.nb_streams; ++i) format.streams[i]->discard = AVDISCARD_DEFAULT;
  if (best >= 0 && IsVideo(*format.streams[best])) return static_cast<unsigned>(best);
  for (unsigned i = 0; i < format.nb_streams; ++i) {
    if (IsVideo(*format.streams[i])) return i;
  }
  Fail("'{}' has no video stream", url);
}

}  // namespace

std::string FilePathOf(const std::string& url) {
  constexpr std::string_view kScheme = "file:";
  std::error_code ignored;
  const bool named = url.rfind(kScheme, 0) == 0 && !std::filesystem::exists(url, ignored);
  return named ? url.substr(kScheme.size()) : url;
}

Input::Input(const std::string& url) : url_(url), format_(OpenFormat(url)) {
  if (const int code = avformat_find_stream_info(format_.get(), nullptr); code < 0) {
    Fail("cannot read '{}': {}", url, ErrorText(code));
  }
  video_ = FindVideo(*format_, url);
  openDecoder();
  if (std::int64_t{decoder_->width} * decoder_->height > kMostPixels) {
    Fail("'{}' has pictures of {}x{}; norix takes {} pixels at most", url, decoder_->width, decoder_->height, kMostPixels);
  }
  if (decoder_->pix_fmt == AV_PIX_FMT_NONE || decoder_->width < 1 || decoder_->height < 1) {
    Fail("'{}' has no picture that can be decoded", url);
  }
}

void Input::openDecoder() {
  const AVCodecParameters& parameters = *video().codecpar;
  const AVCodec* codec = avcodec_find_decoder(parameters.codec_id);
  if (!codec) Fail("'{}': this FFmpeg has no decoder for {}", url_, avcodec_get_name(parameters.codec_id));
  decoder_.reset(OrBadAlloc(avcodec_alloc_context3(codec)));
  if (const int code = avcodec_parameters_to_context(decoder_.get(), &parameters); code < 0) {
    Fail("'{}': {}", url_, ErrorText(code));
  }
  decoder_->pkt_timebase = video().time_base;
  decoder_->get_buffer2 = GetClearBuffer;
  decoder_->max_pixels = kMostPixels;
  // On several threads a picture may be handed out before an error in those it was made of is known: what is said of a
  // damaged clip, and how it looks, would differ from run to run. Where each picture stands alone that cannot be.
  const AVCodecDescriptor* descriptor = avcodec_descriptor_get(parameters.codec_id);
  const bool standAlone = descriptor && (descriptor->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
  decoder_->thread_count = standAlone ? 0 : 1;
  if (const int code = avcodec_open2(decoder_.get(), codec, nullptr); code < 0) {
    Fail("'{}': cannot decode its {} video: {}", url_, codec->name, ErrorText(code));
  }
}

AVRational Input::frameRate() const {
  // Some files claim rates that nobody films at: a thousand pictures a second are many, one an hour is few.
  constexpr AVRational kHighest = {1000, 1};
  constexpr AVRational kLowest = {1, 3600};
  for (const AVRational rate : {av_guess_frame_rate(format_.get(), &video(), nullptr), video().avg_frame_rate}) {
    if (rate.num > 0 && rate.den > 0 && av_cmp_q(rate, kHighest) <= 0 && av_cmp_q(rate, kLowest) >= 0) return rate;
  }
  return {25, 1};
}

const AVStream* Input::sound() const {
  const int best = av_find_best_stream(format_.get(), AVMEDIA_TYPE_AUDIO, -1, static_cast<int>(video_), nullptr, 0);
  return best < 0 ? nullptr : format_->streams[best];
}

std::optional<Reading> Input::read() {
  while (true) {
    FramePtr frame = receiveFrame();
    if (frame || waiting_.size() >= kMostWaiting || (drained_ && !waiting_.empty())) {
      return Reading{std::move(frame), std::exchange(waiting_, {})};
    }
    if (drained_) return std::nullopt;
    // The end of the file is told to the decoder by a null packet; it then hands out what it still holds.
    if (!readPacket()) avcodec_send_packet(decoder_.get(), nullptr);
  }
}

bool Input::seek(std::int64_t time) {
  if (av_seek_frame(format_.get(), static_cast<int>(video_), time, AVSEEK_FLAG_BACKWARD) < 0) return false;
  avcodec_flush_buffers(decoder_.get());
  waiting_.clear();
  drained_ = false;
  lastTime_ = AV_NOPTS_VALUE;
  return true;
}

/// Reads one packet and passes it on; false at the end of the input.
bool Input::readPacket() {
  const int code = av_read_frame(format_.get(), packet_.get());
  if (code < 0) {
    if (code != AVERROR_EOF && !Interrupted()) noteDamage(ErrorText(code));
    if (format_->pb && format_->pb->error < 0 && format_->pb->error != AVERROR_EOF && !Interrupted()) {
      noteDamage(ErrorText(format_->pb->error));
    }
    if (!Interrupted()) checkLength();
    return false;
  }
  noteEnd(*packet_);
  if ((packet_->flags & AV_PKT_FLAG_CORRUPT) != 0) noteDamage("a packet is cut off or damaged");
  if (packet_->stream_index != static_cast<int>(video_)) {
    // Half a packet would be a nuisance to every player of the copy.
    if ((packet_->flags & AV_PKT_FLAG_CORRUPT) == 0) {
      waiting_.push_back(NewPacket());
      av_packet_move_ref(waiting_.back().get(), packet_.get());
    }
    av_packet_unref(packet_.get());
    return true;
  }
  const int sent = avcodec_send_packet(decoder_.get(), packet_.get());
  av_packet_unref(packet_.get());
  if (sent < 0) noteDamage("a picture cannot be decoded");
  return true;
}

FramePtr Input::receiveFrame() {
  FramePtr frame = NewFrame();
  const int code = avcodec_receive_frame(decoder_.get(), frame.get());
  if (code == AVERROR(EAGAIN)) return nullptr;
  if (code == AVERROR_EOF) {
    drained_ = true;
    return nullptr;
  }
  if (code < 0) {
    noteDamage("a picture cannot be decoded");
    return nullptr;
  }
  if (frame->decode_error_flags != 0 || (frame->flags & AV_FRAME_FLAG_CORRUPT) != 0) {
    noteDamage("a picture is damaged");
  }
  finishTimes(*frame);
  return frame;
}

/// Gives every frame a time after the one before, and a duration.
void Input::finishTimes(AVFrame& frame) {
  const std::int64_t regular = std::max<std::int64_t>(1, av_rescale_q(1, av_inv_q(frameRate()), video().time_base));
  if (frame.pkt_duration <= 0) frame.pkt_duration = regular;
  frame.pts = frame.best_effort_timestamp;
  if (frame.pts == AV_NOPTS_VALUE) frame.pts = lastTime_ == AV_NOPTS_VALUE ? 0 : lastTime_ + regular;
  if (lastTime_ != AV_NOPTS_VALUE && frame.pts <= lastTime_) frame.pts = lastTime_ + 1;
  lastTime_ = frame.pts;
  // The container may know what the pictures themselves do not say.
  frame.sample_aspect_ratio = av_guess_sample_aspect_ratio(format_.get(), &video(), &frame);
}

void Input::noteDamage(const std::string& what) {
  if (damage_.empty()) damage_ = what;
}

/// Where in time a packet ends, at the latest so far.
void Input::noteEnd(const AVPacket& packet) {
  const std::int64_t begin = packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
  if (begin == AV_NOPTS_VALUE) return;
  const AVRational timeBase = format_->streams[packet.stream_index]->time_base;
  end_ = std::max(end_, av_rescale_q(begin + packet.duration, timeBase, av_get_time_base_q()));
}

/// The length that the container promises, in AV_TIME_BASE units; 0 when it promises none.
std::int64_t Input::promisedLength() const {
  if (format_->duration_estimation_method != AVFMT_DURATION_FROM_STREAM || format_->duration <= 0) return 0;
  // Without its index, at the end, an AVI file's length is that of what is there; its head still counts the pictures.
  constexpr std::int64_t kMostPictures = 100'000'000;  // beyond that it says nothing
  const bool counts = std::strcmp(format_->iformat->name, "avi") == 0 && video().nb_frames <= kMostPictures;
  if (!counts) return format_->duration;
  return std::max(format_->duration, av_rescale_q(video().nb_frames, video().time_base, av_get_time_base_q()));
}

/// Some containers end without a word where a file was cut off; then only the length they promise tells.
void Input::checkLength() {
  constexpr std::int64_t kTolerance = AV_TIME_BASE / 2;
  const std::int64_t promised = promisedLength();
  if (promised <= 0 || promised - kTolerance <= end_) return;
  const auto seconds = [](std::int64_t time) { return static_cast<double>(time) / AV_TIME_BASE; };
  noteDamage(fmt::format("it ends after {:.1f} of {:.1f} seconds", seconds(end_), seconds(promised)));
}

std::int64_t TimesBefore(std::int64_t length, AVRational timeBase, AVRational rate) {
  return std::max<std::int64_t>(0, av_rescale_q_rnd(length - 1, timeBase, av_inv_q(rate), AV_ROUND_UP));
}

std::optional<ClipScan> ScanClip(const std::string& url) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(FilePathOf(url), error)) return std::nullopt;
  Input input(url);
  const AVRational timeBase = input.video().time_base;
  const AVRational frameTime = av_inv_q(input.frameRate());
  const std::int64_t regular = av_rescale_q(1, frameTime, timeBase);
  ClipScan scan = {.frames = 0, .start = 0, .end = 0, .longestStay = 0, .constantRate = true, .times = {}, .keyTimes = {}};
  const PacketPtr packet = NewPacket();
  while (!Interrupted() && av_read_frame(&input.format(), packet.get()) >= 0) {
    // Packets that only help to decode others have no picture of their own.
    if (packet->stream_index == input.video().index && (packet->flags & AV_PKT_FLAG_DISCARD) == 0) {
      const std::int64_t begin = packet->pts == AV_NOPTS_VALUE ? scan.end : packet->pts;
      scan.start = scan.frames == 0 ? begin : std::min(scan.start, begin);
      scan.end = std::max(scan.end, begin + (packet->duration > 0 ? packet->duration : regular));
      ++scan.frames;
      scan.times.push_back(packet->pts);
      if ((packet->flags & AV_PKT_FLAG_KEY) != 0) scan.keyTimes.push_back(packet->pts);
      const std::int64_t frame = av_rescale_q(packet->pts, timeBase, frameTime);
      if (packet->pts == AV_NOPTS_VALUE || av_rescale_q(frame, frameTime, timeBase) != packet->pts)
        scan.constantRate = false;
    }
    av_packet_unref(packet.get());
  }
  std::sort(scan.times.begin(), scan.times.end());
  std::sort(scan.keyTimes.begin(), scan.keyTimes.end());
  for (std::size_t i = 0; i < scan.times.size(); ++i) {
    if (scan.times[i] == AV_NOPTS_VALUE) continue;
    const std::int64_t next = i + 1 < scan.times.size() ? scan.times[i + 1] : scan.end;
    const double ticks = static_cast<double>(next) - static_cast<double>(scan.times[i]);
    scan.longestStay = std::max(scan.longestStay, ticks * av_q2d(timeBase));
  }
  const bool twice = std::adjacent_find(scan.times.begin(), scan.times.end()) != scan.times.end();
  // A missing time stamp is the least number.
  if (twice || (!scan.times.empty() && scan.times.front() == AV_NOPTS_VALUE)) scan.times.clear();
  return scan;
}

}  // namespace norix::host
