// "Mirror Scale Blur": the picture twists up, grows to twice its size and blurs outward.
//
// Entry 0 "Swirl" and entry 2 "Zoom Blur" take the time as their level. Entry 1 has no effect: it asks the host to enlarge
// the picture, from 100 to 200 percent.

#include "GroupEffect/Groups.h"

#include <initializer_list>

#include "GroupEffect/GroupEntries.h"

void MirrorScaleBlur(int time, FilterGroupParam* group) {
  if (!group) return;
  norix::PrepareEntries<3>(*group, {"Swirl", nullptr, "Zoom Blur"});
  for (const int k : {0, 2}) {
    FilterGroupEntry& entry = group->entries[k];
    GetParamBuffer(entry.name, time, &entry.params, &entry.size);
  }
  FilterGroupEntry& scale = group->entries[1];
  scale.scaleX = scale.scaleY = time / 100 + 100;
  scale.progress = time / 10000.0;
}
