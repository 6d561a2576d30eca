#ifndef NORIX_TESTS_UNIT_GROUPSLOT_H
#define NORIX_TESTS_UNIT_GROUPSLOT_H

#include <NorixEngine/FEParams.h>

namespace norix::test {

/** A host's slot for a group. */
struct GroupSlot {
  FilterGroupParam* group = nullptr;

  GroupSlot() = default;
  GroupSlot(const GroupSlot&) = delete;
  GroupSlot& operator=(const GroupSlot&) = delete;
  ~GroupSlot() { ReleaseFilterGroupParam(group); }

  void Get(const char* name, int time) { GetFilterGroupParam(name, time, &group); }
  FilterGroupEntry& operator[](int k) { return group->entries[k]; }

  template <class Params>
  Params& As(int k) {
    return dynamic_cast<Params&>(*group->entries[k].params);
  }
};

}  // namespace norix::test

#endif
