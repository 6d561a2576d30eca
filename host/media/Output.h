#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media/Audio.h"
#include "media/Av.h"
#include "media/Converter.h"
#include "media/Input.h"
#include "media/PartFile.h"

namespace norix::host {

/// What the user asks of the output.
struct OutputWishes {
  std::filesystem::path path;
  bool overwrite = false;
  std::string codec;  ///< name of the video encoder; empty: what plays everywhere in that container
  std::vector<std::pair<std::string, std::string>> options;  ///< for the encoder, or else the container
};

/// The video as it comes out of the effects.
struct VideoForm {
  PictureShape shape;        ///< of the effects' result
  AVPixelFormat clipFormat;  ///< of the clip itself, which the encoder keeps where it can
  AVRational timeBase;       ///< of the frames' time stamps
  AVRational frameRate;
  bool constantRate;  ///< time stamps are multiples of the frame duration
  AVRational sampleAspectRatio;
  Colour colour;
};

/// What becomes of the input's streams other than the video.
enum class OtherStreams {
  kKeep,
  kLeaveOut,   ///< the caller adds its own sound
  kVideoOnly,  ///< nothing but the video, nor chapters, which some containers keep as a stream
};

/// A file with one encoded video stream and the input's other streams, under its final name only when whole.
class Output {
public:
  /// Opens the encoder and the file. Streams of `input` that the container does not take are left out, which notes() says.
  Output(const OutputWishes& wishes, const Input& input, const VideoForm& form, OtherStreams others = OtherStreams::kKeep);
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  /// What the encoder wants its pictures to be; they may be larger than the clip by a column or a row.
  PictureShape shape() const { return {encoder_->pix_fmt, encoder_->width, encoder_->height}; }

  /// Things the user should know about how the output differs from what was asked.
  const std::vector<std::string>& notes() const { return notes_; }

  /// Encodes a picture of shape(), whose time stamp is changed. Time stamps rise.
  void writeFrame(AVFrame& frame);

  /// Adds a sound stream in the container's usual codec, for samples like those of `like`. Null when the container takes no
  /// sound or this FFmpeg cannot encode it, which notes() says. Before the first write.
  AudioEncoder* addSound(const AVStream& like);

  /// What addSound()'s encoder is to be called with.
  AudioEncoder::Write soundWriter();

  /// Writes a packet of another stream of the input; ignores streams that were left out.
  void writePacket(AVPacket& packet);

  /// Moves all times earlier by `time` and cuts the chapters to what remains, or to `length` of it. Before the first write.
  void startAt(std::int64_t time, AVRational timeBase, std::optional<std::int64_t> length = std::nullopt);

  /// Writes what is still held back and gives the file its name.
  void finish();

  /// What has been written, in a few words: "1280x720 yuv420p h264, aac".
  std::string description() const;

private:
  struct CloseOutput {
    void operator()(AVFormatContext* format) const;
  };

  /// What becomes of a stream of the input.
  struct Passage {
    int stream = -1;                              ///< in the output; -1: left out
    std::unique_ptr<AudioTranscoder> transcoder;  ///< null: packets are copied
    std::int64_t lastTime = AV_NOPTS_VALUE;
  };

  const AVCodec& chooseEncoder(const OutputWishes& wishes) const;
  void openEncoder(const OutputWishes& wishes, const VideoForm& form);
  void addVideoStream(const Input& input, const VideoForm& form);
  void addStreams(const Input& input);
  Passage addOtherStream(const Input& input, unsigned index);
  void copyChapters(const AVFormatContext& from);
  void openFile();
  void writeHeader();
  bool isSinglePicture() const;
  void encode(const AVFrame* frame);
  void writeEncoded(int stream, AVRational timeBase, AVPacket& packet);
  const AVCodec* usualSoundEncoder() const;
  void write(AVPacket& packet);
  std::int64_t offsetIn(AVRational timeBase) const;
  [[noreturn]] void failToWrite(int code) const;
  [[noreturn]] void failToEncode(int code) const;
  void note(const std::string& text) { notes_.push_back(text); }

  PartFile file_;
  std::string name_;  // of the final file, for messages
  std::unique_ptr<AVFormatContext, CloseOutput> format_;
  CodecPtr encoder_;
  Options options_;  // the user's that the encoder did not take
  AVStream* video_ = nullptr;
  std::vector<Passage> passages_;        // one per stream of the input
  std::unique_ptr<AudioEncoder> sound_;  // the caller's own
  int soundStream_ = -1;
  std::vector<AVRational> inputTimeBases_;
  AVRational frameTimeBase_;
  std::int64_t lastFrameTime_ = AV_NOPTS_VALUE;     // in the encoder's time base
  std::map<std::int64_t, std::int64_t> durations_;  // of pictures inside the encoder, by time stamp
  std::int64_t offset_ = 0;                         // taken from all times
  AVRational offsetTimeBase_ = av_get_time_base_q();
  std::vector<std::string> notes_;
  bool headerWritten_ = false;
};

}  // namespace norix::host
