#include "Progress.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string_view>

namespace norix::host {

namespace {

using namespace std::chrono_literals;

constexpr auto kBarInterval = 100ms;
constexpr auto kLineInterval = 3s;
constexpr auto kJsonInterval = 1s;
constexpr int kUsualColumns = 80;

bool StderrIsTerminal() {
  const char* term = std::getenv("TERM");
  return isatty(STDERR_FILENO) != 0 && term && std::string_view(term) != "dumb";
}

int TerminalColumns() {
  winsize size = {};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsualColumns;
}

std::string Duration(double seconds) {
  const auto whole = static_cast<long long>(std::llround(seconds));
  if (whole >= 3600) return fmt::format("{}:{:02}:{:02}", whole / 3600, whole / 60 % 60, whole % 60);
  return fmt::format("{}:{:02}", whole / 60, whole % 60);
}

void Print(const std::string& text) {
  std::fputs(text.c_str(), stderr);
  std::fflush(stderr);
}

}  // namespace

Progress::Progress(ProgressStyle style) : style_(style) {
  if (style_ == ProgressStyle::kAutomatic) style_ = StderrIsTerminal() ? ProgressStyle::kBar : ProgressStyle::kPlain;
  const char* noColour = std::getenv("NO_COLOR");
  colour_ = StderrIsTerminal() && !(noColour && *noColour != '\0');
}

void Progress::start(std::optional<std::int64_t> total) {
  total_ = total;
  begin_ = shown_ = Clock::now();
  running_ = true;
}

void Progress::update(std::int64_t done) {
  done_ = done;
  const auto interval = style_ == ProgressStyle::kBar    ? Clock::duration(kBarInterval)
                        : style_ == ProgressStyle::kJson ? Clock::duration(kJsonInterval)
                                                         : Clock::duration(kLineInterval);
  if (Clock::now() - shown_ < interval) return;
  shown_ = Clock::now();
  show(false);
}

void Progress::finish() {
  if (!running_) return;
  running_ = false;
  // Plain lines are for long runs only; a bar and a program want to see the end.
  if (style_ != ProgressStyle::kPlain) show(true);
  if (style_ == ProgressStyle::kBar) Print("\n");
}

void Progress::show(bool last) {
  const double seconds = std::chrono::duration<double>(Clock::now() - begin_).count();
  switch (style_) {
    case ProgressStyle::kBar:
      return showBar(seconds);
    case ProgressStyle::kPlain:
      return showPlain(seconds);
    case ProgressStyle::kJson:
      return showJson(seconds, last);
    case ProgressStyle::kAutomatic:
    case ProgressStyle::kNone:
      return;
  }
}

std::optional<double> Progress::secondsLeft(double seconds) const {
  if (!total_ || done_ < 1) return std::nullopt;
  const auto left = static_cast<double>(std::max<std::int64_t>(0, *total_ - done_));
  return seconds / static_cast<double>(done_) * left;
}

void Progress::showBar(double seconds) const {
  const double fps = seconds > 0 ? static_cast<double>(done_) / seconds : 0;
  const std::optional<double> left = secondsLeft(seconds);
  std::string numbers = total_ ? fmt::format("{}/{} frames", done_, *total_) : fmt::format("{} frames", done_);
  numbers += fmt::format("  {:.1f} fps", fps);
  if (left) numbers += fmt::format("  {} left", Duration(*left));
  std::string bar;
  const int room = TerminalColumns() - static_cast<int>(numbers.size()) - 7;  // brackets and blanks
  if (total_ && *total_ > 0 && room >= 10) {
    const int width = std::min(room, 40);
    const double share = std::clamp(static_cast<double>(done_) / static_cast<double>(*total_), 0.0, 1.0);
    const auto full = static_cast<std::size_t>(std::lround(share * width));
    const std::string filled(full, '#');
    const std::string empty(static_cast<std::size_t>(width) - full, '-');
    bar = colour_ ? fmt::format("[\033[32m{}\033[0m{}] ", filled, empty) : fmt::format("[{}{}] ", filled, empty);
  }
  // The old line is overwritten; what it had beyond the new one is cleared.
  Print("\r" + bar + numbers + (colour_ ? "\033[K" : "   "));
}

void Progress::showPlain(double seconds) const {
  const double fps = seconds > 0 ? static_cast<double>(done_) / seconds : 0;
  const std::optional<double> left = secondsLeft(seconds);
  const std::string total = total_ ? fmt::format("/{}", *total_) : "";
  Print(fmt::format("norix: {}{} frames, {:.1f} fps{}\n", done_, total, fps,
                    left ? fmt::format(", {} left", Duration(*left)) : ""));
}

void Progress::showJson(double seconds, bool last) const {
  nlohmann::json line = {{"event", last ? "end" : "progress"},
                         {"frame", done_},
                         {"seconds", seconds},
                         {"fps", seconds > 0 ? static_cast<double>(done_) / seconds : 0}};
  line["frames"] = total_ ? nlohmann::json(*total_) : nlohmann::json(nullptr);
  const std::optional<double> left = secondsLeft(seconds);
  line["secondsLeft"] = left ? nlohmann::json(*left) : nlohmann::json(nullptr);
  Print(line.dump() + "\n");
}

void Progress::note(const std::string& text) const {
  if (style_ == ProgressStyle::kJson) return Print(nlohmann::json{{"event", "note"}, {"text", text}}.dump() + "\n");
  Print(fmt::format("norix: note: {}\n", text));
}

}  // namespace norix::host
