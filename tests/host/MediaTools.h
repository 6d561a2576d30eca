#ifndef NORIX_TESTS_HOST_MEDIATOOLS_H
#define NORIX_TESTS_HOST_MEDIATOOLS_H

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace norix::test {

/** Runs ffmpeg, which must succeed, and gives what it writes to stdout. */
std::string FFmpeg(const std::vector<std::string>& arguments);

/** What ffprobe tells of a file: "format", "streams" and "chapters". */
nlohmann::json Probe(const std::string& path);

/** The first stream of that type ("video", "audio", "subtitle") in what Probe() gave; null when there is none. */
nlohmann::json StreamOf(const nlohmann::json& probe, const std::string& type);

/** A packet of a file, or a frame of its video. Times are in microseconds, rounded. */
struct Timed {
  std::int64_t pts = 0;
  std::int64_t dts = 0;
  std::int64_t duration = 0;
  std::string hash; /**< of the data; only for packets */
  bool key = false; /**< decoding can begin there; only for packets */
};

/** The packets of a stream ("v:0", "a:0", "s:0") in the order of the file. */
std::vector<Timed> Packets(const std::string& path, const std::string& stream);

/** The decoded frames of the video, in the order they are shown. */
std::vector<Timed> FrameTimes(const std::string& path);

/** Bytes of the decoded video, frame after frame, in that pixel format. Nothing is dropped, repeated or rotated. */
std::string RawVideo(const std::string& path, const std::string& pixelFormat);

/** Decodes streams of a file ("0" for all, "0:v"); empty when nothing was wrong with them, else what ffmpeg says. */
std::string PlayErrors(const std::string& path, const std::string& streams = "0");

/** Bytes of a file. */
std::string Content(const std::string& path);
void SetContent(const std::string& path, const std::string& bytes);

}  // namespace norix::test

#endif
