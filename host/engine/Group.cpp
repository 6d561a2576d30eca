#include "engine/Group.h"

#include <cstddef>
#include <utility>

#include "Failure.h"
#include "engine/GroupTime.h"

namespace norix::host {

Group::Group(std::string name) : name_(std::move(name)) { setTime(kFirstTime); }

Group::Group(const Group& other) : Group(other.name_) {}

void Group::setTime(int time) {
  FilterGroupParam* record = record_.release();
  FillGroupAt(name_.c_str(), time, record);
  record_.reset(record);
}

std::span<const FilterGroupEntry> Group::entries() const {
  return {record_->entries, static_cast<std::size_t>(record_->count)};
}

void Group::Render(const FilterGroupEntry& entry, AVFrame& destination, AVFrame& source, Rows rows) {
  if (filter_video_frame(&destination, &source, entry.name, entry.params, 0, rows.first, rows.count) != 0) {
    Fail("the engine does not render the effect \"{}\"", entry.name);
  }
}

std::vector<std::string> Group::EffectsOf(const std::string& group) {
  const Group sample(group);
  std::vector<std::string> effects;
  for (const FilterGroupEntry& entry : sample.entries()) {
    if (entry.name) effects.emplace_back(entry.name);
  }
  return effects;
}

}  // namespace norix::host
