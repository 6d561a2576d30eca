// The reference keeps pace with the library.

#include <NorixEngine/NorixEngine.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "reference/Reference.h"
#include "support/Formats.h"
#include "support/Picture.h"

namespace norix::test {

namespace {

/** Names of the list that answer 0 for a small picture. */
std::set<std::string> RenderingEffects() {
  std::set<std::string> names;
  for (const char** name = NorixGetInfo(); *name != nullptr; ++name) {
    Picture source({kBgra, 8, 8, {}, {}}, 1);
    Picture destination({kBgra, 8, 8, {}, {}}, 2);
    filter_check_format(*name, kBgra);
    if (filter_video_frame(destination.Frame(), source.Frame(), *name, nullptr, 0, 0, 8) == 0) names.insert(*name);
  }
  return names;
}

TEST(RegistryTest, EveryEffectThatRendersHasAReference) {
  const std::set<std::string> names = RenderingEffects();
  EXPECT_FALSE(names.empty());
  EXPECT_EQ(names.count("Stretch"), 0U);
  for (const std::string& name : names)
    EXPECT_NE(reference::FindEffect(name.c_str()), nullptr) << name << " renders and is compared with nothing";
}

TEST(RegistryTest, EveryReferenceBelongsToAnEffect) {
  const std::set<std::string> names = RenderingEffects();
  for (const reference::Effect& effect : reference::Effects())
    EXPECT_EQ(names.count(effect.name), 1U) << effect.name << " has a reference and does not render";
}

}  // namespace

}  // namespace norix::test
