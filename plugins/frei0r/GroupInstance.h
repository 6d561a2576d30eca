#pragma once

// A group effect at a moment of a transition as the host's plug-in instance: NORIX_PLUGIN is its display name. As a mixer
// it takes the first picture in the first half of the time and the second one after it; as a filter the only one.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "Enlarge.h"
#include "Parameters.h"
#include "Picture.h"
#include "engine/GroupTime.h"

namespace norix::frei0r {

struct ReleaseGroup {
  void operator()(FilterGroupParam* group) const { ReleaseFilterGroupParam(group); }
};

/// An effect that groups are made of.
struct GroupPart {
  const char* name;
  EffectRow row;
  bool leavesBytes;
};

consteval GroupPart PartOf(const char* name) { return {name, RowOf(name), DescriptionOf(name).leavesBytes}; }

inline constexpr GroupPart kParts[] = {PartOf("Mirror Move X"), PartOf("Mirror Move Y"), PartOf("Motion Blur"),
                                       PartOf("Swirl"),         PartOf("Tile Scale"),    PartOf("Zoom Blur")};

class GroupInstance {
public:
  static constexpr ByteOrder kOrder = ByteOrder::kRgba;
  static constexpr bool kMixes = NORIX_PLUGIN_MIXES;
  static constexpr int kParameters = 1;

  static void Prepare() {}
  static Parameter ParameterAt(int) { return kTime; }

  GroupInstance(int width, int height) : width_(width), height_(height), time_(kTime.standard) { Apply(); }

  double Get(int) const { return time_; }

  void Set(int, double value) {
    if (time_ == value) return;
    time_ = value;
    Apply();
  }

  /// Reads the instance only: hosts may render several pictures with one at the same time.
  void Render(const std::uint8_t* first, const std::uint8_t* second, std::uint8_t* to) const {
    const std::uint8_t* from = time_ < 0.5 ? first : second;
    const int count = group_ ? group_->count : 0;  // none when memory ran out
    const std::size_t bytes = BytesOf(width_, height_);
    std::array<std::vector<std::uint8_t>, 2> between;
    if (count == 0) std::memcpy(to, from, bytes);
    for (int i = 0; i < count; ++i) {
      std::uint8_t* out = to;
      if (i + 1 < count) {
        std::vector<std::uint8_t>& picture = between[static_cast<std::size_t>(i % 2)];
        picture.resize(bytes);
        out = picture.data();
      }
      RenderEntry(group_->entries[i], from, out);
      from = out;
    }
  }

private:
  void RenderEntry(const FilterGroupEntry& entry, const std::uint8_t* from, std::uint8_t* to) const {
    if (!entry.name) return Enlarge(from, to, width_, height_, entry.scaleX, entry.scaleY);
    const auto* part = std::find_if(std::begin(kParts), std::end(kParts),
                                    [&](const GroupPart& each) { return std::strcmp(each.name, entry.name) == 0; });
    if (part == std::end(kParts) || part->leavesBytes) std::memcpy(to, from, BytesOf(width_, height_));
    if (part == std::end(kParts)) return;
    AVFrame source = FrameOf(const_cast<std::uint8_t*>(from), width_, height_);
    AVFrame destination = FrameOf(to, width_, height_);
    part->row.render(&destination, &source, entry.params, 0, height_);
  }

  void Apply() {
    constexpr double kLastTime = 10000;
    FilterGroupParam* group = group_.release();
    host::FillGroupAt(NORIX_PLUGIN, static_cast<int>(std::lround(time_ * kLastTime)), group);
    group_.reset(group);
  }

  int width_;
  int height_;
  double time_;
  std::unique_ptr<FilterGroupParam, ReleaseGroup> group_;
};

}  // namespace norix::frei0r
