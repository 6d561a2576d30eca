#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace norix::host {

enum class ProgressStyle {
  kAutomatic,  ///< a bar on a terminal, plain lines otherwise
  kBar,
  kPlain,
  kJson,
  kNone,
};

/// Tells on stderr how far a render is, and what else there is to know. For one thread at a time.
class Progress {
public:
  explicit Progress(ProgressStyle style);

  /// `total`: pictures in all, if known.
  void start(std::optional<std::int64_t> total);
  void update(std::int64_t done);
  /// Ends the display. Safe to call twice.
  void finish();
  /// A remark for the user, before start() or after finish().
  void note(const std::string& text) const;

private:
  using Clock = std::chrono::steady_clock;

  void show(bool last);
  void showBar(double seconds) const;
  void showPlain(double seconds) const;
  void showJson(double seconds, bool last) const;
  std::optional<double> secondsLeft(double seconds) const;

  ProgressStyle style_;
  bool colour_;
  std::optional<std::int64_t> total_;
  std::int64_t done_ = 0;
  Clock::time_point begin_;
  Clock::time_point shown_;
  bool running_ = false;
};

}  // namespace norix::host
