// The array behind the list of effects.

#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

#include <type_traits>

#include "main/EffectTable.h"

namespace {

TEST(EffectNames, AreTheArrayThatHostsGet) {
  EXPECT_EQ(NorixGetInfo(), g_effects.data());
  EXPECT_EQ(g_effects.size(), 17U);
  EXPECT_EQ(g_effects[16], nullptr);
}

// Hosts may hold the array as `const char**` and sort or patch their view of it, so it must not lie in read-only memory.
TEST(EffectNames, LieInWritableMemory) {
  static_assert(!std::is_const_v<decltype(g_effects)>);
  const char* first = g_effects[0];
  NorixGetInfo()[0] = "patched";
  EXPECT_STREQ(g_effects[0], "patched");
  g_effects[0] = first;
}

}  // namespace
