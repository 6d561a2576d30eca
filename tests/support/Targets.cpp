#include "support/Targets.h"

#include <hwy/targets.h>

#include <cstdlib>
#include <iostream>
#include <string_view>
#include <vector>

namespace norix::test {

namespace {

std::vector<std::int64_t> WantedTargets() {
  std::vector<std::int64_t> targets = hwy::SupportedAndGeneratedTargets();
  // Processors with vectors are not said to support the plain code, although they do.
  if (targets.back() != HWY_STATIC_TARGET) targets.push_back(HWY_STATIC_TARGET);
  if (const char* const wanted = std::getenv("NORIX_TEST_TARGET"); wanted != nullptr) {
    std::erase_if(targets, [&](std::int64_t target) { return std::string_view(hwy::TargetName(target)) != wanted; });
    if (targets.empty()) {
      std::cerr << "NORIX_TEST_TARGET=" << wanted << ": this machine cannot run it, or the engine has no kernels for it\n";
      std::exit(1);
    }
  }
  std::cout << "Instruction sets:";
  for (const std::int64_t target : targets) std::cout << ' ' << hwy::TargetName(target);
  std::cout << std::endl;
  return targets;
}

}  // namespace

std::span<const std::int64_t> Targets() {
  static const std::vector<std::int64_t> kTargets = WantedTargets();
  return kTargets;
}

const char* TargetName(std::int64_t target) { return hwy::TargetName(target); }

ForcedTarget::ForcedTarget(std::int64_t target) {
  hwy::SetSupportedTargetsForTest(target);
  hwy::GetChosenTarget().Update(target);
}

ForcedTarget::~ForcedTarget() {
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().DeInit();
}

}  // namespace norix::test
