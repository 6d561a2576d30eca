#include "render/ShortCut.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>

#include "Failure.h"

namespace norix::host {

namespace {

/// Containers with an index of the key frames. Others find places by trying, and not always a key frame.
bool HasIndex(const Input& input) {
  const char* name = input.format().iformat->name;
  return std::strstr(name, "mov") != nullptr || std::strstr(name, "matroska") != nullptr;
}

/// The key frame before the last one at or before `time`. From the last one on, the pictures that are shown before it but
/// coded after it may need others, and where the picture is renewed little by little, one round of that is needed first.
std::optional<std::int64_t> KeyTimeBefore(const ClipScan& scan, std::int64_t time) {
  const auto after = std::upper_bound(scan.keyTimes.begin(), scan.keyTimes.end(), time);
  if (std::distance(scan.keyTimes.begin(), after) < 3) return std::nullopt;
  return *std::prev(after, 2);
}

/// True when pictures can be decoded from the key frame of that time on, without any damage.
bool DecodesFrom(const std::string& url, std::int64_t keyTime) {
  Input input(url);
  if (!input.seek(keyTime)) return false;
  bool early = false;
  while (std::optional<Reading> reading = input.read()) {
    if (!reading->frame) continue;
    early = early || reading->frame->pts <= keyTime;
    if (reading->frame->pts > keyTime) return early && input.damage().empty();
  }
  return false;
}

}  // namespace

bool TakeShortCut(Input& input, const ClipScan& scan, std::int64_t firstFrame) {
  if (!HasIndex(input) || firstFrame <= 0 || firstFrame >= static_cast<std::int64_t>(scan.times.size())) return false;
  const std::int64_t wanted = scan.times[static_cast<std::size_t>(firstFrame)];
  const std::optional<std::int64_t> key = KeyTimeBefore(scan, wanted);
  if (!key || !DecodesFrom(input.url(), *key)) return false;
  if (!input.seek(*key)) Fail("cannot go on in '{}'", input.url());
  return true;
}

}  // namespace norix::host
