// Group records by name and time: one row per group says which function fills its entries.

#include <NorixEngine/FEParams.h>

#include <cstring>

#include "GroupEffect/GroupEntries.h"
#include "GroupEffect/Groups.h"

namespace {

struct GroupRow {
  const char* name;
  void (*fill)(int time, FilterGroupParam* group);
};

constexpr GroupRow kGroupRows[] = {
    {"Mirror Scale Blur", MirrorScaleBlur}, {"Flip Roll Up", FlipRollUp},           {"Flip Roll Down", FlipRollDown},
    {"Flip Roll Left", FlipRollLeft},       {"Flip Roll Right", FlipRollRight},     {"Blurry Roll Down", BlurryRollDown},
    {"Blurry Roll Left", BlurryRollLeft},   {"Blurry Cross Right Up", BlurryCross}, {"Tile Zoom Blur", TileZoomBlur},
    {"Tile Zoom Blur 1", TileZoomBlur1},
};

void FillEntries(const char* name, int time, FilterGroupParam* group) {
  for (const GroupRow& row : kGroupRows) {
    if (std::strcmp(name, row.name) == 0) return row.fill(time, group);
  }
  group->count = 0;
}

}  // namespace

void GetFilterGroupParam(const char* name, int time, FilterGroupParam** group) {
  if (!group) return;
  if (!name) {
    *group = new FilterGroupParam{nullptr, 0, nullptr};
    return;
  }
  if (*group && (*group)->name && std::strcmp((*group)->name, name) != 0) {
    ReleaseFilterGroupParam(*group);
    *group = nullptr;
  }
  if (!*group) *group = new FilterGroupParam{nullptr, 0, nullptr};
  if (!(*group)->name) (*group)->name = norix::CopyName(name);
  FillEntries(name, time, *group);
}

void ReleaseFilterGroupParam(FilterGroupParam* group) {
  if (!group) return;
  if (group->entries) {
    for (int k = 0; k < group->count; ++k) {
      delete[] group->entries[k].name;
      if (group->entries[k].params) group->entries[k].params->Release();
    }
    delete[] group->entries;
  }
  delete[] group->name;
  delete group;
}
