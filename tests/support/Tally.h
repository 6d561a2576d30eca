#ifndef NORIX_TESTS_SUPPORT_TALLY_H
#define NORIX_TESTS_SUPPORT_TALLY_H

#include <cstdint>

#include "support/Picture.h"

namespace norix::test {

/**
 * Counts what an instruction set has rendered, and hashes it, so that runs of the same tests on other machines can be
 * compared. The sum of all pictures' hashes: the order of the tests does not matter. The program prints it at its end when
 * the environment variable NORIX_TEST_TALLY is set.
 */
void Count(std::int64_t target, const Picture& rendered);

}  // namespace norix::test

#endif
