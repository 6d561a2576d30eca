#include "support/Tally.h"

#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <map>

#include "support/Targets.h"

namespace norix::test {

namespace {

/** FNV-1a of the pixels; padding and fences are noise of the same seeds everywhere and compared elsewhere. */
std::uint64_t HashOf(const Picture& picture) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (int plane = 0; plane < picture.PlaneCount(); ++plane)
    for (int row = 0; row < picture.Rows(plane); ++row)
      for (const int sample : picture.Row(plane, row)) hash = (hash ^ static_cast<std::uint64_t>(sample)) * 0x100000001B3U;
  return hash;
}

struct Sum {
  std::uint64_t pictures = 0;
  std::uint64_t hash = 0;
};

class Printer : public testing::Environment {
public:
  void TearDown() override {
    for (const auto& [target, sum] : sums)
      std::cout << "tally " << TargetName(target) << ' ' << sum.pictures << ' ' << std::hex << std::setw(16)
                << std::setfill('0') << sum.hash << std::dec << std::endl;
  }

  std::map<std::int64_t, Sum> sums;
};

Printer* Wanted() {
  if (std::getenv("NORIX_TEST_TALLY") == nullptr) return nullptr;
  static auto* const printer = static_cast<Printer*>(testing::AddGlobalTestEnvironment(new Printer));
  return printer;
}

// Before the tests begin, or no environment can be added any more.
Printer* const kPrinter = Wanted();

}  // namespace

void Count(std::int64_t target, const Picture& rendered) {
  if (kPrinter == nullptr) return;
  Sum& sum = kPrinter->sums[target];
  ++sum.pictures;
  sum.hash += HashOf(rendered);
}

}  // namespace norix::test
