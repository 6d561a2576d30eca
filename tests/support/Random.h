#ifndef NORIX_TESTS_SUPPORT_RANDOM_H
#define NORIX_TESTS_SUPPORT_RANDOM_H

#include <cstddef>
#include <cstdint>

namespace norix::test {

/** Numbers that are the same on every machine for the same seed, which <random>'s distributions do not promise. */
class Random {
public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint64_t Next() {
    state_ += 0x9E3779B97F4A7C15U;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBU;
    return mixed ^ (mixed >> 31);
  }

  /** `low` to `high`, both included. */
  int Between(int low, int high) {
    const auto count = static_cast<std::uint64_t>(static_cast<std::int64_t>(high) - low + 1);
    return static_cast<int>(low + static_cast<std::int64_t>(Next() % count));
  }

  bool OneIn(int count) { return Between(1, count) == 1; }

  /** `low` up to `high`. */
  double Real(double low, double high) { return low + (high - low) * (static_cast<double>(Next() >> 11) * 0x1p-53); }

  template <typename List>
  const auto& Pick(const List& list) {
    return list[static_cast<std::size_t>(Next() % list.size())];
  }

private:
  std::uint64_t state_;
};

}  // namespace norix::test

#endif
