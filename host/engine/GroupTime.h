#pragma once

// A group's record at any time, whatever time it was filled at before.

#include <NorixEngine/NorixEngine.h>

namespace norix::host {

/// Fills the record, or a new one for null; it may be replaced by another.
inline void FillGroupAt(const char* name, int time, FilterGroupParam*& record) {
  // In the last tenth of its time "Tile Zoom Blur" leaves the blur as it was. Whoever plays it through gets there with the
  // blur faded out; so does every picture here, whichever was rendered before it.
  constexpr int kLastSetTime = 8999;
  if (time > kLastSetTime) GetFilterGroupParam(name, kLastSetTime, &record);
  GetFilterGroupParam(name, time, &record);
}

}  // namespace norix::host
