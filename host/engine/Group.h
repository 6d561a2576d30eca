#pragma once

// How a host uses the engine's groups: lists of sub-effects for a moment of a transition.

#include <NorixEngine/FEParams.h>

#include <memory>
#include <span>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

#include "engine/Effect.h"

namespace norix::host {

/// Times run from the beginning to the end of a transition.
inline constexpr int kFirstTime = 0;
inline constexpr int kLastTime = 10000;

/// One group with its settings. Each thread that renders uses a copy of its own.
class Group {
public:
  explicit Group(std::string name);
  Group(const Group& other);
  Group(Group&&) noexcept = default;
  Group& operator=(const Group&) = delete;
  Group& operator=(Group&&) = delete;
  ~Group() = default;

  const std::string& name() const { return name_; }

  void setTime(int time);

  /// The entries at that time, to be applied in order. One without a name asks to enlarge the picture by scaleX and scaleY.
  std::span<const FilterGroupEntry> entries() const;

  /// Renders one band with an entry that has a name.
  static void Render(const FilterGroupEntry& entry, AVFrame& destination, AVFrame& source, Rows rows);

  /// The names of a group's sub-effects; empty when the engine does not fill the group.
  static std::vector<std::string> EffectsOf(const std::string& group);

private:
  struct Release {
    void operator()(FilterGroupParam* record) const { ReleaseFilterGroupParam(record); }
  };

  std::string name_;
  std::unique_ptr<FilterGroupParam, Release> record_;
};

}  // namespace norix::host
