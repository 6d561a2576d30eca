#pragma once

// Owners of libav objects, so that none of the code that uses them frees anything by hand.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace norix::host {

struct AvDeleter {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
  void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};

using FramePtr = std::unique_ptr<AVFrame, AvDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, AvDeleter>;
using CodecPtr = std::unique_ptr<AVCodecContext, AvDeleter>;
using ScalerPtr = std::unique_ptr<SwsContext, AvDeleter>;

/// An allocation that libav answers with null when memory has run out.
template <class T>
T* OrBadAlloc(T* pointer) {
  if (!pointer) throw std::bad_alloc();
  return pointer;
}

inline FramePtr NewFrame() { return FramePtr(OrBadAlloc(av_frame_alloc())); }
inline PacketPtr NewPacket() { return PacketPtr(OrBadAlloc(av_packet_alloc())); }

/// A writable frame with buffers for a picture.
FramePtr NewPicture(AVPixelFormat format, int width, int height);

/// What an error code of libav means, in words.
std::string ErrorText(int code);

/// A name for users: "yuv420p".
std::string FormatName(int pixelFormat);

/// Name-value pairs for libav calls that take options; owned here.
class Options {
public:
  Options() = default;
  Options(const Options&) = delete;
  Options& operator=(const Options&) = delete;
  Options(Options&& other) noexcept : entries_(std::exchange(other.entries_, nullptr)) {}
  Options& operator=(Options&& other) noexcept {
    std::swap(entries_, other.entries_);
    return *this;
  }
  ~Options() { av_dict_free(&entries_); }

  void set(const std::string& key, const std::string& value) { av_dict_set(&entries_, key.c_str(), value.c_str(), 0); }
  bool has(const std::string& key) const { return av_dict_get(entries_, key.c_str(), nullptr, 0) != nullptr; }
  /// Empty when there is none.
  std::string get(const std::string& key) const {
    const AVDictionaryEntry* entry = av_dict_get(entries_, key.c_str(), nullptr, 0);
    return entry ? entry->value : "";
  }
  AVDictionary** get() { return &entries_; }
  Options copy() const;
  std::vector<std::string> keys() const;

private:
  AVDictionary* entries_ = nullptr;
};

/// Keeps the messages of libav and its encoders off the terminal; they are told only when `show` is set. Before any thread.
void SetAvMessages(bool show);
bool ShowsAvMessages();

}  // namespace norix::host
