#include "engine/InstructionSet.h"

#include <fmt/ranges.h>
#include <hwy/targets.h>

#include <cstdint>

#include "Failure.h"

namespace norix::host {

namespace {

std::vector<std::int64_t> Targets() {
  std::vector<std::int64_t> targets = hwy::SupportedAndGeneratedTargets();
  // Every processor runs the plain code, although those with vectors are not said to.
  if (targets.back() != HWY_STATIC_TARGET) targets.push_back(HWY_STATIC_TARGET);
  return targets;
}

}  // namespace

std::vector<std::string> InstructionSets() {
  hwy::SetSupportedTargetsForTest(0);
  std::vector<std::string> names;
  for (const std::int64_t target : Targets()) names.emplace_back(hwy::TargetName(target));
  return names;
}

std::string BestInstructionSet() { return InstructionSets().front(); }

void UseInstructionSet(const std::string& name) {
  hwy::SetSupportedTargetsForTest(0);
  for (const std::int64_t target : Targets()) {
    if (hwy::TargetName(target) != name) continue;
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(target);
    return;
  }
  FailUsage("this machine has no instruction set '{}'; it has {}", name, fmt::join(InstructionSets(), ", "));
}

}  // namespace norix::host
