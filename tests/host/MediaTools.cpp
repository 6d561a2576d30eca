#include "host/MediaTools.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "host/Process.h"

namespace norix::test {

namespace {

std::string Succeed(const std::vector<std::string>& arguments) {
  const Ending ending = RunToEnd({.arguments = arguments});
  if (ending.code == 0) return ending.out;
  std::string line;
  for (const std::string& argument : arguments) line += argument + ' ';
  throw std::runtime_error(line + "failed: " + ending.err);
}

nlohmann::json FFprobe(const std::string& path, const std::vector<std::string>& what) {
  std::vector<std::string> arguments = {FFPROBE_COMMAND, "-v", "error", "-of", "json"};
  arguments.insert(arguments.end(), what.begin(), what.end());
  arguments.push_back(path);
  return nlohmann::json::parse(Succeed(arguments));
}

/** From ticks, since ffprobe's own seconds are cut off. */
std::int64_t Microseconds(const nlohmann::json& object, const std::string& name, const std::string& timeBase) {
  if (!object.contains(name)) return 0;
  const auto slash = timeBase.find('/');
  const long double unit = std::stold(timeBase.substr(0, slash)) / std::stold(timeBase.substr(slash + 1));
  const long double value = static_cast<long double>(object.at(name).get<std::int64_t>()) * unit * 1e6L;
  return static_cast<std::int64_t>(value < 0 ? value - 0.5L : value + 0.5L);
}

std::string TimeBase(const nlohmann::json& probe) { return probe.at("streams").at(0).at("time_base").get<std::string>(); }

}  // namespace

std::string FFmpeg(const std::vector<std::string>& arguments) {
  std::vector<std::string> all = {FFMPEG_COMMAND, "-nostdin", "-v", "error", "-y"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return Succeed(all);
}

nlohmann::json Probe(const std::string& path) { return FFprobe(path, {"-show_format", "-show_streams", "-show_chapters"}); }

nlohmann::json StreamOf(const nlohmann::json& probe, const std::string& type) {
  for (const nlohmann::json& stream : probe.at("streams")) {
    if (stream.value("codec_type", "") == type) return stream;
  }
  return nullptr;
}

std::vector<Timed> Packets(const std::string& path, const std::string& stream) {
  const nlohmann::json probe =
      FFprobe(path, {"-select_streams", stream, "-show_streams", "-show_packets", "-show_data_hash", "sha256"});
  const std::string timeBase = TimeBase(probe);
  std::vector<Timed> packets;
  for (const nlohmann::json& packet : probe.at("packets")) {
    packets.push_back({Microseconds(packet, "pts", timeBase), Microseconds(packet, "dts", timeBase),
                       Microseconds(packet, "duration", timeBase), packet.value("data_hash", ""),
                       packet.value("flags", "").find('K') != std::string::npos});
  }
  return packets;
}

std::vector<Timed> FrameTimes(const std::string& path) {
  const nlohmann::json probe = FFprobe(path, {"-select_streams", "v:0", "-show_streams", "-show_frames"});
  const std::string timeBase = TimeBase(probe);
  std::vector<Timed> frames;
  for (const nlohmann::json& frame : probe.at("frames")) {
    frames.push_back({Microseconds(frame, "best_effort_timestamp", timeBase), 0,
                      Microseconds(frame, "pkt_duration", timeBase), "", false});
  }
  return frames;
}

std::string RawVideo(const std::string& path, const std::string& pixelFormat) {
  return FFmpeg({"-noautorotate", "-i", path, "-map", "0:v:0", "-fps_mode", "passthrough", "-f", "rawvideo", "-pix_fmt",
                 pixelFormat, "-"});
}

std::string PlayErrors(const std::string& path, const std::string& streams) {
  const Ending ending =
      RunToEnd({.arguments = {FFMPEG_COMMAND, "-nostdin", "-v", "error", "-i", path, "-map", streams, "-f", "null", "-"}});
  return ending.code == 0 ? ending.err : "failed: " + ending.err;
}

std::string Content(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

void SetContent(const std::string& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary);
  file << bytes;
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

}  // namespace norix::test
