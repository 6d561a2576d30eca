#include "media/Av.h"

extern "C" {
#include <libavutil/log.h>
}

#include <array>
#include <cstdlib>

#include "Failure.h"

namespace norix::host {

FramePtr NewPicture(AVPixelFormat format, int width, int height) {
  FramePtr frame = NewFrame();
  frame->format = format;
  frame->width = width;
  frame->height = height;
  if (const int code = av_frame_get_buffer(frame.get(), 0); code < 0) {
    Fail("cannot make a picture of {}x{} {}: {}", width, height, FormatName(format), ErrorText(code));
  }
  return frame;
}

std::string ErrorText(int code) {
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
  av_strerror(code, text.data(), text.size());
  return text.data();
}

std::string FormatName(int pixelFormat) {
  const char* name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(pixelFormat));
  return name ? name : "unknown";
}

Options Options::copy() const {
  Options other;
  av_dict_copy(&other.entries_, entries_, 0);
  return other;
}

std::vector<std::string> Options::keys() const {
  std::vector<std::string> keys;
  const AVDictionaryEntry* entry = nullptr;
  while ((entry = av_dict_get(entries_, "", entry, AV_DICT_IGNORE_SUFFIX))) keys.emplace_back(entry->key);
  return keys;
}

void SetAvMessages(bool show) {
  av_log_set_level(show ? AV_LOG_INFO : AV_LOG_QUIET);
  // One encoder can be told only in this way.
  constexpr const char* kNothing = "-2";
  if (!show) setenv("SVT_LOG", kNothing, 0);
}

bool ShowsAvMessages() { return av_log_get_level() != AV_LOG_QUIET; }

}  // namespace norix::host
