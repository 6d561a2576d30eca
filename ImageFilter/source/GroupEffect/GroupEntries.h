#pragma once

#include <NorixEngine/NorixEngine.h>

#include <array>
#include <cstdint>
#include <cstring>

namespace norix {

/// A private copy of a name, to be freed with delete[].
inline char* CopyName(const char* name) {
  const std::size_t bytes = std::strlen(name) + 1;
  auto* copy = new char[bytes];
  std::memcpy(copy, name, bytes);
  return copy;
}

/// Gives a record `Count` entries in their initial state if it has none yet, and every unnamed entry its sub-effect's name.
/// A null in `names` stands for an entry without an effect.
template <std::size_t Count>
void PrepareEntries(FilterGroupParam& group, const std::array<const char*, Count>& names) {
  constexpr FilterGroupEntry kInitial = {.name = nullptr,
                                         .params = nullptr,
                                         .size = 0,
                                         .reserved = 0,
                                         .scaleX = 100,
                                         .scaleY = 100,
                                         .extraPercent = 100,
                                         .extraFlag = 0,
                                         .progress = 0.0,
                                         .extraValue = 0,
                                         .extraPercentX = 100,
                                         .extraPercentY = 100};
  if (!group.entries) {
    group.count = 0;  // nothing to free should the allocation fail
    group.entries = new FilterGroupEntry[Count];
    for (std::size_t k = 0; k < Count; ++k) group.entries[k] = kInitial;
  }
  group.count = static_cast<std::int32_t>(Count);
  for (std::size_t k = 0; k < Count; ++k) {
    if (!group.entries[k].name && names[k]) group.entries[k].name = CopyName(names[k]);
  }
}

}  // namespace norix
