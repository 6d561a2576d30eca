#pragma once

#include <NorixEngine/FEParams.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace norix {

/// An entry before anything is known about it.
inline constexpr FilterGroupEntry kFreshEntry = {.name = nullptr,
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

/// A private copy of a name, to be freed with delete[].
inline char* CopyName(const char* name) {
  const std::size_t bytes = std::strlen(name) + 1;
  auto* copy = new char[bytes];
  std::memcpy(copy, name, bytes);
  return copy;
}

/// Every record has room for the entries of any group: a host may hand it over to a larger one.
inline constexpr std::size_t kMostEntries = 3;

/// Gives a record `Count` entries, in their initial state if it has none yet, and every unnamed entry its sub-effect's
/// name. A null in `names` stands for an entry without an effect. A record may hold another group's entries, which are
/// kept.
template <std::size_t Count>
void PrepareEntries(FilterGroupParam& group, const std::array<const char*, Count>& names) {
  static_assert(Count <= kMostEntries);
  if (!group.entries) {
    group.count = 0;  // nothing to free should the allocation fail
    group.entries = new FilterGroupEntry[kMostEntries];
    std::fill_n(group.entries, kMostEntries, kFreshEntry);
  }
  group.count = static_cast<std::int32_t>(Count);
  for (std::size_t k = 0; k < Count; ++k) {
    if (!group.entries[k].name && names[k]) group.entries[k].name = CopyName(names[k]);
  }
}

/// A field of an entry's parameter object, which is made with its defaults if there is none. An object of another group's
/// is taken as it is, by its bytes, as long as it has enough of them.
template <class Params>
__attribute__((no_sanitize("vptr"))) double& FieldOf(FilterGroupEntry& entry, double Params::*field) {
  constexpr auto kSize = static_cast<std::int32_t>(sizeof(Params));
  if (entry.params && entry.size < kSize) {
    entry.params->Release();
    entry.params = nullptr;
  }
  if (!entry.params) {
    entry.params = new Params;
    entry.size = kSize;
  }
  return static_cast<Params&>(*entry.params).*field;
}

}  // namespace norix
