#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "media/Av.h"

namespace norix::host {

/// What one step of reading yields: a picture of the video, or packets of the other streams, or both. The packets come in
/// the order of the file and stood before the picture in it.
struct Reading {
  FramePtr frame;
  std::vector<PacketPtr> packets;
};

/// The path of a local file as it is given or as "file:PATH"; other addresses as they are.
std::string FilePathOf(const std::string& url);

/// A file or address that FFmpeg can read, its first video stream decoded, the other streams as packets.
class Input {
public:
  /// Fails when it cannot be opened or holds no video.
  explicit Input(const std::string& url);

  const std::string& url() const { return url_; }
  AVFormatContext& format() const { return *format_; }
  AVStream& video() const { return *format_->streams[video_]; }
  /// The sound stream that players would choose; null without sound.
  const AVStream* sound() const;
  const AVCodecContext& decoder() const { return *decoder_; }
  AVRational frameRate() const;

  /// Reads on until there is something to hand out; nullopt at the end. Frames carry strictly rising time stamps and their
  /// duration in the video stream's time base.
  std::optional<Reading> read();

  /// Goes on at the key frame at or before a time, of which read() then hands out the pictures first. False when the
  /// container cannot; then nothing more is to be read.
  bool seek(std::int64_t time);

  /// What was wrong with the data, if anything: in words, empty when the input was whole.
  const std::string& damage() const { return damage_; }

private:
  struct CloseInput {
    void operator()(AVFormatContext* format) const { avformat_close_input(&format); }
  };

  void openDecoder();
  bool readPacket();
  FramePtr receiveFrame();
  void finishTimes(AVFrame& frame);
  void noteDamage(const std::string& what);
  void noteEnd(const AVPacket& packet);
  std::int64_t promisedLength() const;
  void checkLength();

  std::string url_;
  std::unique_ptr<AVFormatContext, CloseInput> format_;
  unsigned video_ = 0;
  CodecPtr decoder_;
  PacketPtr packet_ = NewPacket();
  std::vector<PacketPtr> waiting_;
  bool drained_ = false;
  std::int64_t lastTime_ = AV_NOPTS_VALUE;
  std::int64_t end_ = 0;  // of the last packet, in AV_TIME_BASE units
  std::string damage_;
};

/// What reading all of a file once, without decoding, tells about its video.
struct ClipScan {
  std::int64_t frames = 0;
  std::int64_t start = 0;  ///< of the first picture, in the stream's time base
  std::int64_t end = 0;    ///< of the last picture
  double longestStay = 0;  ///< of a picture, in seconds
  /// Every time stamp is the nearest tick to a multiple of the frame duration.
  bool constantRate = false;
  std::vector<std::int64_t> times;     ///< of all pictures, rising; empty when one has none or two have the same
  std::vector<std::int64_t> keyTimes;  ///< of the key frames, rising
};

/// The number of times 0, 1 / rate, 2 / rate ... that lie before `length`, which has ticks of `timeBase`. A tick of
/// rounding in a time stamp makes no difference.
std::int64_t TimesBefore(std::int64_t length, AVRational timeBase, AVRational rate);

/// Scans a file; nullopt for what cannot be read twice (pipes, addresses).
std::optional<ClipScan> ScanClip(const std::string& url);

}  // namespace norix::host
