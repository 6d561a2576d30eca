#include "media/Output.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "Failure.h"
#include "Interrupt.h"
#include "StandardStreams.h"

namespace norix::host {

namespace {

// Encoders by codec where libav's default is not visually lossless; a user's --option wins.
struct Quality {
  AVCodecID codec;
  const char* option;
  const char* value;
};
constexpr Quality kQualities[] = {
    {AV_CODEC_ID_H264, "crf", "17"},
    {AV_CODEC_ID_HEVC, "crf", "19"},
    {AV_CODEC_ID_VP9, "crf", "18"},
    {AV_CODEC_ID_VP9, "b", "0"},
    {AV_CODEC_ID_VP8, "crf", "6"},
    {AV_CODEC_ID_VP8, "b", "20M"},
    {AV_CODEC_ID_AV1, "crf", "20"},
    {AV_CODEC_ID_MPEG4, "qmin", "1"},
    {AV_CODEC_ID_MPEG4, "global_quality", "236"},
    {AV_CODEC_ID_MPEG4, "flags", "+qscale"},
    {AV_CODEC_ID_MPEG2VIDEO, "global_quality", "236"},
    {AV_CODEC_ID_MPEG2VIDEO, "flags", "+qscale"},
    {AV_CODEC_ID_MJPEG, "global_quality", "236"},
    {AV_CODEC_ID_MJPEG, "flags", "+qscale"},
    {AV_CODEC_ID_THEORA, "global_quality", "1180"},
    {AV_CODEC_ID_THEORA, "flags", "+qscale"},
};

// Codecs that players expect in 8-bit 4:2:0.
bool WantsYuv420p(AVCodecID codec) {
  return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC || codec == AV_CODEC_ID_VP9 || codec == AV_CODEC_ID_AV1;
}

bool Takes(const AVCodec& codec, AVPixelFormat format) {
  for (const AVPixelFormat* each = codec.pix_fmts; each && *each != AV_PIX_FMT_NONE; ++each) {
    if (*each == format) return true;
  }
  return false;
}

bool HasAlpha(AVPixelFormat format) { return (av_pix_fmt_desc_get(format)->flags & AV_PIX_FMT_FLAG_ALPHA) != 0; }

AVPixelFormat NearestFormat(const AVCodec& codec, AVPixelFormat rendered, AVPixelFormat clip) {
  if (!codec.pix_fmts || Takes(codec, rendered)) return rendered;
  const bool clipHasEightBits = av_pix_fmt_desc_get(clip)->comp[0].depth == 8;
  if (clipHasEightBits && !HasAlpha(rendered) && Takes(codec, clip)) return clip;
  if (WantsYuv420p(codec.id) && Takes(codec, AV_PIX_FMT_YUV420P)) return AV_PIX_FMT_YUV420P;
  return avcodec_find_best_pix_fmt_of_list(codec.pix_fmts, rendered, HasAlpha(rendered) ? 1 : 0, nullptr);
}

AVPixelFormat EncoderFormat(const AVCodec& codec, AVPixelFormat rendered, AVPixelFormat clip) {
  const AVPixelFormat format = NearestFormat(codec, rendered, clip);
  // JPEG knows no other range.
  const AVPixelFormat full = WithFullRange(format);
  return codec.id == AV_CODEC_ID_MJPEG && Takes(codec, full) ? full : format;
}

// Some codecs count time in pictures, or in few ticks a second, and refuse finer clocks.
bool NeedsCoarseClock(const AVCodec& codec, AVRational timeBase) {
  constexpr int kMpeg4MostTicks = 65535;
  return codec.supported_framerates || codec.id == AV_CODEC_ID_THEORA ||
         (codec.id == AV_CODEC_ID_MPEG4 && timeBase.den > kMpeg4MostTicks);
}

// True when the container takes a stream that is not the clip's video as it is.
bool Takes(const AVOutputFormat& container, const AVStream& stream) {
  const AVCodecParameters& codec = *stream.codecpar;
  if (codec.codec_id == AV_CODEC_ID_NONE) return false;
  // A second video would not have the effect.
  if (codec.codec_type == AVMEDIA_TYPE_VIDEO && (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0) return false;
  const int answer = avformat_query_codec(&container, codec.codec_id, FF_COMPLIANCE_NORMAL);
  if (answer >= 0) return answer == 1;
  // A container without a list takes what it has a default for.
  return (codec.codec_type == AVMEDIA_TYPE_AUDIO && container.audio_codec != AV_CODEC_ID_NONE) ||
         (codec.codec_type == AVMEDIA_TYPE_SUBTITLE && container.subtitle_codec != AV_CODEC_ID_NONE);
}

/// Encoders of other libraries have messages of their own, which pass libav's by.
int OpenQuietly(AVCodecContext& encoder, const AVCodec& codec, Options& options) {
  if (ShowsAvMessages()) return avcodec_open2(&encoder, &codec, options.get());
  if (std::strcmp(codec.name, "libx265") == 0) options.set("x265-params", "log-level=none:" + options.get("x265-params"));
  const QuietStderr quiet;
  return avcodec_open2(&encoder, &codec, options.get());
}

void CopyMetadata(AVDictionary** to, const AVDictionary* from) {
  av_dict_copy(to, from, 0);
  // These describe the file they were read from.
  for (const char* key : {"encoder", "major_brand", "minor_version", "compatible_brands"}) av_dict_set(to, key, nullptr, 0);
}

void CopySideData(AVStream& to, const AVStream& from) {
  for (int i = 0; i < from.nb_side_data; ++i) {
    const AVPacketSideData& data = from.side_data[i];
    std::uint8_t* copy = OrBadAlloc(av_stream_new_side_data(&to, data.type, data.size));
    std::memcpy(copy, data.data, data.size);
  }
}

std::string StreamName(const AVStream& stream) {
  const char* type = av_get_media_type_string(stream.codecpar->codec_type);
  return fmt::format("{} stream {} ({})", type ? type : "data", stream.index, avcodec_get_name(stream.codecpar->codec_id));
}

}  // namespace

void Output::CloseOutput::operator()(AVFormatContext* format) const {
  if (format->pb && (format->oformat->flags & AVFMT_NOFILE) == 0) avio_closep(&format->pb);
  avformat_free_context(format);
}

Output::Output(const OutputWishes& wishes, const Input& input, const VideoForm& form, OtherStreams others)
    : file_(wishes.path, wishes.overwrite), name_(wishes.path.string()), frameTimeBase_(form.timeBase) {
  AVFormatContext* format = nullptr;
  avformat_alloc_output_context2(&format, nullptr, nullptr, wishes.path.filename().c_str());
  if (!format) {
    FailUsage("cannot tell a container from the name '{}'; give it an extension such as .mp4, .mkv or .webm", name_);
  }
  format_.reset(format);
  format_->interrupt_callback = {[](void* /*context*/) { return Interrupted() ? 1 : 0; }, nullptr};
  for (const auto& [key, value] : wishes.options) options_.set(key, value);
  openEncoder(wishes, form);
  addVideoStream(input, form);
  if (others == OtherStreams::kKeep) addStreams(input);
  CopyMetadata(&format_->metadata, input.format().metadata);
  if (others != OtherStreams::kVideoOnly) copyChapters(input.format());
  openFile();
}

Output::~Output() = default;

const AVCodec& Output::chooseEncoder(const OutputWishes& wishes) const {
  const AVOutputFormat& container = *format_->oformat;
  if (!wishes.codec.empty()) {
    const AVCodec* codec = avcodec_find_encoder_by_name(wishes.codec.c_str());
    if (!codec) {
      const AVCodecDescriptor* descriptor = avcodec_descriptor_get_by_name(wishes.codec.c_str());
      if (descriptor) codec = avcodec_find_encoder(descriptor->id);
    }
    if (!codec || codec->type != AVMEDIA_TYPE_VIDEO) {
      FailUsage("this FFmpeg has no video encoder '{}'; `ffmpeg -encoders` lists those it has", wishes.codec);
    }
    if (avformat_query_codec(&container, codec->id, FF_COMPLIANCE_NORMAL) == 0) {
      FailUsage("{} files do not take {} video; choose another --codec or another extension for '{}'", container.name,
                avcodec_get_name(codec->id), name_);
    }
    return *codec;
  }
  const AVCodecID usual = av_guess_codec(&container, nullptr, name_.c_str(), nullptr, AVMEDIA_TYPE_VIDEO);
  if (usual == AV_CODEC_ID_NONE)
    FailUsage("{} files hold no video; name a video file such as .mp4 instead of '{}'", container.name, name_);
  // Where H.264 goes but this FFmpeg cannot encode it, MPEG-4 plays almost as widely.
  for (const AVCodecID id : {usual, AV_CODEC_ID_MPEG4}) {
    const AVCodec* codec = avcodec_find_encoder(id);
    if (codec && avformat_query_codec(&container, id, FF_COMPLIANCE_NORMAL) != 0) return *codec;
  }
  Fail("this FFmpeg has no encoder for {} video in {} files; choose one with --codec", avcodec_get_name(usual),
       container.name);
}

void Output::openEncoder(const OutputWishes& wishes, const VideoForm& form) {
  const AVCodec& codec = chooseEncoder(wishes);
  Options defaults;
  for (const Quality& quality : kQualities) {
    if (quality.codec == codec.id) defaults.set(quality.option, quality.value);
  }
  const auto attempt = [&](int width, int height) {
    CodecPtr encoder(OrBadAlloc(avcodec_alloc_context3(&codec)));
    encoder->width = width;
    encoder->height = height;
    encoder->pix_fmt = EncoderFormat(codec, form.shape.format, form.clipFormat);
    // A clock that ticks once a frame, where that is exact, lets the encoder write the true frame rate into its stream.
    const bool tickPerFrame = form.constantRate || NeedsCoarseClock(codec, form.timeBase);
    encoder->time_base = tickPerFrame ? av_inv_q(form.frameRate) : form.timeBase;
    encoder->framerate = form.frameRate;
    encoder->sample_aspect_ratio = form.sampleAspectRatio;
    encoder->color_range = IsFullRangeFormat(encoder->pix_fmt) ? AVCOL_RANGE_JPEG : form.colour.range;
    encoder->color_primaries = form.colour.primaries;
    encoder->color_trc = form.colour.transfer;
    const bool rgb = (av_pix_fmt_desc_get(encoder->pix_fmt)->flags & AV_PIX_FMT_FLAG_RGB) != 0;
    encoder->colorspace = rgb ? AVCOL_SPC_RGB : form.colour.space;
    encoder->chroma_sample_location = form.colour.chromaLocation;
    encoder->thread_count = 0;  // as libav sees fit, and never --threads: the file must not depend on it
    if ((format_->oformat->flags & AVFMT_GLOBALHEADER) != 0) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    Options options = defaults.copy();
    for (const auto& [key, value] : wishes.options) options.set(key, value);
    const int code = OpenQuietly(*encoder, codec, options);
    // What the encoder did not know may be meant for the container, unless norix itself proposed it.
    Options rest;
    for (const auto& [key, value] : wishes.options) {
      const std::vector<std::string> left = options.keys();
      if (std::find(left.begin(), left.end(), key) != left.end()) rest.set(key, value);
    }
    if (code >= 0) {
      options_ = std::move(rest);
      encoder_ = std::move(encoder);
    }
    return code;
  };

  int code = attempt(form.shape.width, form.shape.height);
  const int evenWidth = form.shape.width + form.shape.width % 2;
  const int evenHeight = form.shape.height + form.shape.height % 2;
  const bool odd = evenWidth != form.shape.width || evenHeight != form.shape.height;
  if (code < 0 && odd && attempt(evenWidth, evenHeight) >= 0) {
    note(fmt::format("{} needs even sizes: the picture of {}x{} is padded to {}x{} by repeating its last {}", codec.name,
                     form.shape.width, form.shape.height, evenWidth, evenHeight,
                     evenWidth == form.shape.width     ? "row"
                     : evenHeight == form.shape.height ? "column"
                                                       : "column and row"));
    code = 0;
  }
  if (code < 0) {
    std::string given;
    for (const auto& [key, value] : wishes.options) given += fmt::format(" --option {}={}", key, value);
    Fail("cannot write '{}': the encoder {} refuses pictures of {}x{} at {}/{} frames a second{}{}: {}", name_, codec.name,
         form.shape.width, form.shape.height, form.frameRate.num, form.frameRate.den, given.empty() ? "" : " with", given,
         ErrorText(code));
  }
  if (HasAlpha(form.clipFormat) && !HasAlpha(encoder_->pix_fmt)) {
    note(fmt::format("{} keeps no transparency; --codec ffv1 in .mkv or --codec qtrle in .mov does", codec.name));
  }
  const int clipDepth = av_pix_fmt_desc_get(form.clipFormat)->comp[0].depth;
  if (clipDepth > 8) note(fmt::format("the clip has {} bits a sample; effects work in 8", clipDepth));
}

void Output::addVideoStream(const Input& input, const VideoForm& form) {
  const AVStream& from = input.video();
  video_ = OrBadAlloc(avformat_new_stream(format_.get(), nullptr));
  avcodec_parameters_from_context(video_->codecpar, encoder_.get());
  video_->time_base = encoder_->time_base;
  video_->avg_frame_rate = form.frameRate;
  video_->r_frame_rate = from.r_frame_rate;
  video_->sample_aspect_ratio = form.sampleAspectRatio;
  video_->disposition = from.disposition;
  CopyMetadata(&video_->metadata, from.metadata);
  CopySideData(*video_, from);
}

void Output::addStreams(const Input& input) {
  for (unsigned i = 0; i < input.format().nb_streams; ++i) {
    inputTimeBases_.push_back(input.format().streams[i]->time_base);
    passages_.push_back(i == static_cast<unsigned>(input.video().index) ? Passage{} : addOtherStream(input, i));
  }
}

Output::Passage Output::addOtherStream(const Input& input, unsigned index) {
  const AVStream& from = *input.format().streams[index];
  const AVOutputFormat& container = *format_->oformat;
  Passage passage;
  const AVCodecParameters& codec = *from.codecpar;
  const bool copied = Takes(container, from);
  const bool globalHeader = (container.flags & AVFMT_GLOBALHEADER) != 0;
  const AVCodec* audioEncoder = !copied && codec.codec_type == AVMEDIA_TYPE_AUDIO ? usualSoundEncoder() : nullptr;
  if (!copied && !audioEncoder) {
    if (!isSinglePicture()) note(fmt::format("{} is left out: {} files do not take it", StreamName(from), container.name));
    return passage;
  }
  if (!copied) {
    try {
      passage.transcoder = std::make_unique<AudioTranscoder>(from, input.url(), *audioEncoder, globalHeader, name_);
    } catch (const Failure& failure) {
      note(fmt::format("{} is left out: {}", StreamName(from), failure.what()));
      return passage;
    }
  }
  AVStream* to = OrBadAlloc(avformat_new_stream(format_.get(), nullptr));
  if (copied) {
    if (avcodec_parameters_copy(to->codecpar, from.codecpar) < 0) throw std::bad_alloc();
    // Tags are the container's own; a foreign one would be refused.
    const unsigned tag = codec.codec_tag;
    to->codecpar->codec_tag = container.codec_tag && av_codec_get_id(container.codec_tag, tag) == codec.codec_id ? tag : 0;
    to->time_base = from.time_base;
  } else {
    avcodec_parameters_from_context(to->codecpar, &passage.transcoder->codec());
    to->time_base = passage.transcoder->codec().time_base;
    note(fmt::format("{} is encoded anew as {}: {} files do not take it as it is", StreamName(from), audioEncoder->name,
                     container.name));
  }
  to->disposition = from.disposition;
  to->sample_aspect_ratio = from.sample_aspect_ratio;
  to->avg_frame_rate = from.avg_frame_rate;
  CopyMetadata(&to->metadata, from.metadata);
  CopySideData(*to, from);
  passage.stream = to->index;
  return passage;
}

void Output::copyChapters(const AVFormatContext& from) {
  if (from.nb_chapters == 0) return;
  format_->chapters = static_cast<AVChapter**>(OrBadAlloc(av_calloc(from.nb_chapters, sizeof(AVChapter*))));
  for (unsigned i = 0; i < from.nb_chapters; ++i) {
    auto* chapter = static_cast<AVChapter*>(OrBadAlloc(av_mallocz(sizeof(AVChapter))));
    *chapter = *from.chapters[i];
    chapter->metadata = nullptr;
    CopyMetadata(&chapter->metadata, from.chapters[i]->metadata);
    format_->chapters[format_->nb_chapters++] = chapter;
  }
}

void Output::startAt(std::int64_t time, AVRational timeBase, std::optional<std::int64_t> length) {
  offset_ = time;
  offsetTimeBase_ = timeBase;
  unsigned kept = 0;
  for (unsigned i = 0; i < format_->nb_chapters; ++i) {
    AVChapter* chapter = format_->chapters[i];
    const auto last = length ? av_rescale_q(*length, timeBase, chapter->time_base) : chapter->end;
    chapter->start = std::max<std::int64_t>(0, chapter->start - offsetIn(chapter->time_base));
    chapter->end = std::min(chapter->end - offsetIn(chapter->time_base), last);
    if (chapter->end > chapter->start) {
      format_->chapters[kept++] = chapter;
    } else {
      av_dict_free(&chapter->metadata);
      av_free(chapter);
    }
  }
  format_->nb_chapters = kept;
}

std::int64_t Output::offsetIn(AVRational timeBase) const { return av_rescale_q(offset_, offsetTimeBase_, timeBase); }

void Output::openFile() {
  // Single pictures are written by their container itself, under the name it is given.
  const std::string path = file_.partPath().string();
  av_free(format_->url);
  format_->url = OrBadAlloc(av_strdup(path.c_str()));
  if ((format_->oformat->flags & AVFMT_NOFILE) != 0) return;
  const int code = avio_open2(&format_->pb, path.c_str(), AVIO_FLAG_WRITE, &format_->interrupt_callback, nullptr);
  if (code < 0) failToWrite(code);
}

void Output::failToWrite(int code) const { Fail("cannot write '{}': {}", name_, ErrorText(code)); }

void Output::failToEncode(int code) const {
  Fail("cannot write '{}': {} cannot encode a picture: {}", name_, encoder_->codec->name, ErrorText(code));
}

void Output::writeHeader() {
  headerWritten_ = true;
  const std::string container = format_->oformat->name;
  // An index in front lets players on the net begin before the file is there.
  if ((container == "mp4" || container == "mov") && !options_.has("movflags")) options_.set("movflags", "+faststart");
  if (isSinglePicture()) options_.set("update", "1");
  const int code = avformat_write_header(format_.get(), options_.get());
  if (code < 0) Fail("cannot write '{}' as {}: {}", name_, container, ErrorText(code));
  const std::vector<std::string> unknown = options_.keys();
  if (!unknown.empty()) {
    FailUsage("neither the encoder {} nor {} files have an option '{}'", encoder_->codec->name, container, unknown.front());
  }
}

bool Output::isSinglePicture() const { return std::strcmp(format_->oformat->name, "image2") == 0; }

void Output::writeFrame(AVFrame& frame) {
  if (!headerWritten_) writeHeader();
  if (isSinglePicture() && lastFrameTime_ != AV_NOPTS_VALUE) {
    FailUsage("'{}' holds one picture and the clip has more; add --frames 1, or name a video file such as .mp4", name_);
  }
  frame.pts = av_rescale_q(frame.pts - offsetIn(frameTimeBase_), frameTimeBase_, encoder_->time_base);
  // Two pictures may fall on one tick of a coarser clock.
  if (lastFrameTime_ != AV_NOPTS_VALUE) frame.pts = std::max(frame.pts, lastFrameTime_ + 1);
  lastFrameTime_ = frame.pts;
  durations_[frame.pts] = av_rescale_q(frame.pkt_duration, frameTimeBase_, encoder_->time_base);
  frame.pict_type = AV_PICTURE_TYPE_NONE;  // the encoder's own choice
  encode(&frame);
}

/// Null ends the stream.
void Output::encode(const AVFrame* frame) {
  const int sent = avcodec_send_frame(encoder_.get(), frame);
  if (sent < 0) failToEncode(sent);
  const PacketPtr packet = NewPacket();
  while (true) {
    const int code = avcodec_receive_packet(encoder_.get(), packet.get());
    if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) return;
    if (code < 0) failToEncode(code);
    if (const auto duration = durations_.find(packet->pts); duration != durations_.end()) {
      packet->duration = duration->second;
      // Those before may be of pictures that the encoder has left out.
      if (packet->dts != AV_NOPTS_VALUE) durations_.erase(durations_.begin(), durations_.lower_bound(packet->dts));
      durations_.erase(packet->pts);
    }
    packet->stream_index = video_->index;
    av_packet_rescale_ts(packet.get(), encoder_->time_base, video_->time_base);
    write(*packet);
  }
}

void Output::writePacket(AVPacket& packet) {
  const auto index = static_cast<std::size_t>(packet.stream_index);
  if (index >= passages_.size() || passages_[index].stream < 0) return;  // left out, or begun after the start
  if (!headerWritten_) writeHeader();
  Passage& passage = passages_[index];
  const AVRational timeBase = inputTimeBases_[index];
  if (packet.pts != AV_NOPTS_VALUE) packet.pts -= offsetIn(timeBase);
  if (packet.dts != AV_NOPTS_VALUE) packet.dts -= offsetIn(timeBase);
  if (passage.transcoder) {
    passage.transcoder->transcode(
        packet, [&](AVPacket& out) { writeEncoded(passage.stream, passage.transcoder->codec().time_base, out); });
    return;
  }
  const AVStream& stream = *format_->streams[passage.stream];
  packet.stream_index = passage.stream;
  packet.pos = -1;
  av_packet_rescale_ts(&packet, timeBase, stream.time_base);
  // Containers refuse times that fall back; some inputs have them where they were joined.
  if (packet.dts != AV_NOPTS_VALUE && passage.lastTime != AV_NOPTS_VALUE && packet.dts <= passage.lastTime) {
    packet.dts = passage.lastTime + 1;
    if (packet.pts != AV_NOPTS_VALUE) packet.pts = std::max(packet.pts, packet.dts);
  }
  if (packet.dts != AV_NOPTS_VALUE) passage.lastTime = packet.dts;
  write(packet);
}

void Output::writeEncoded(int stream, AVRational timeBase, AVPacket& packet) {
  packet.stream_index = stream;
  av_packet_rescale_ts(&packet, timeBase, format_->streams[stream]->time_base);
  write(packet);
}

const AVCodec* Output::usualSoundEncoder() const {
  const AVCodecID codec = format_->oformat->audio_codec;
  return codec == AV_CODEC_ID_NONE ? nullptr : avcodec_find_encoder(codec);
}

AudioEncoder* Output::addSound(const AVStream& like) {
  const AVCodec* codec = usualSoundEncoder();
  if (!codec) {
    note(fmt::format("the sound is left out: this FFmpeg cannot encode any for {} files", format_->oformat->name));
    return nullptr;
  }
  const bool globalHeader = (format_->oformat->flags & AVFMT_GLOBALHEADER) != 0;
  sound_ = std::make_unique<AudioEncoder>(*codec, *like.codecpar, globalHeader, name_);
  AVStream* stream = OrBadAlloc(avformat_new_stream(format_.get(), nullptr));
  avcodec_parameters_from_context(stream->codecpar, &sound_->codec());
  stream->time_base = sound_->codec().time_base;
  stream->disposition = like.disposition;
  CopyMetadata(&stream->metadata, like.metadata);
  soundStream_ = stream->index;
  return sound_.get();
}

AudioEncoder::Write Output::soundWriter() {
  return [this](AVPacket& packet) {
    if (!headerWritten_) writeHeader();
    writeEncoded(soundStream_, sound_->codec().time_base, packet);
  };
}

void Output::write(AVPacket& packet) {
  const int code = av_interleaved_write_frame(format_.get(), &packet);
  if (code < 0) failToWrite(code);
}

void Output::finish() {
  encode(nullptr);
  for (Passage& passage : passages_) {
    if (!passage.transcoder) continue;
    passage.transcoder->finish(
        [&](AVPacket& packet) { writeEncoded(passage.stream, passage.transcoder->codec().time_base, packet); });
  }
  if (const int code = av_write_trailer(format_.get()); code < 0) failToWrite(code);
  if (format_->pb && (format_->oformat->flags & AVFMT_NOFILE) == 0) {
    const int error = format_->pb->error;
    const int closed = avio_closep(&format_->pb);
    if (error < 0) failToWrite(error);
    if (closed < 0) failToWrite(closed);
  }
  EndInterrupts();
  file_.keep();
}

std::string Output::description() const {
  std::string text = fmt::format("{}x{} {} {}", encoder_->width, encoder_->height, FormatName(encoder_->pix_fmt),
                                 avcodec_get_name(encoder_->codec_id));
  for (const Passage& passage : passages_) {
    if (passage.stream < 0) continue;
    text += fmt::format(", {}{}", avcodec_get_name(format_->streams[passage.stream]->codecpar->codec_id),
                        passage.transcoder ? "" : " (copied)");
  }
  if (sound_) text += fmt::format(", {}", avcodec_get_name(sound_->codec().codec_id));
  return text;
}

}  // namespace norix::host
