#ifndef NORIX_TESTS_SUPPORT_TARGETS_H
#define NORIX_TESTS_SUPPORT_TARGETS_H

#include <cstdint>
#include <span>

namespace norix::test {

/**
 * The vector instruction sets that the engine has kernels for and this machine can run, best first; the plain one is last.
 * The environment variable NORIX_TEST_TARGET holds the run to one of them, by name ("AVX2").
 */
std::span<const std::int64_t> Targets();

const char* TargetName(std::int64_t target);

/** While it lives, the engine renders with one instruction set, in the whole process. */
class ForcedTarget {
public:
  explicit ForcedTarget(std::int64_t target);
  ForcedTarget(const ForcedTarget&) = delete;
  ForcedTarget& operator=(const ForcedTarget&) = delete;
  ~ForcedTarget();
};

}  // namespace norix::test

#endif
