#include "GroupEntries.h"

#include <memory>

#include "Settings.h"
#include "engine/GroupTime.h"

namespace norix::python {

namespace {

struct ReleaseGroup {
  void operator()(FilterGroupParam* group) const { ReleaseFilterGroupParam(group); }
};

}  // namespace

std::vector<GroupEntry> EntriesOf(const std::string& group, int time) {
  FilterGroupParam* filled = nullptr;
  host::FillGroupAt(group.c_str(), time, filled);
  const std::unique_ptr<FilterGroupParam, ReleaseGroup> record(filled);
  std::vector<GroupEntry> entries;
  for (int i = 0; i < record->count; ++i) {
    const FilterGroupEntry& from = record->entries[i];
    GroupEntry entry = {std::nullopt, {}, from.scaleX, from.scaleY};
    if (from.name) {
      entry.effect = from.name;
      entry.values = ValuesOf(from.name, *from.params);
    }
    entries.push_back(std::move(entry));
  }
  return entries;
}

}  // namespace norix::python
