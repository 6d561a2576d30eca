#ifndef NORIX_TESTS_FUZZ_REQUIRE_H
#define NORIX_TESTS_FUZZ_REQUIRE_H

#include <cstdlib>
#include <iostream>
#include <string_view>

namespace norix::test {

/** Ends the process and says what should have held. */
inline void Require(bool holds, std::string_view what) {
  if (holds) return;
  std::cerr << "Should hold: " << what << std::endl;
  std::abort();
}

}  // namespace norix::test

#endif
