#ifndef NORIX_TESTS_FUZZ_ALLOCATIONS_H
#define NORIX_TESTS_FUZZ_ALLOCATIONS_H

/** The program's `operator new`, replaced: what the engine allocates is counted, and fails when asked to. */
namespace norix::test {

/** While it lives, allocations are the engine's. */
class EngineCall {
public:
  EngineCall();
  EngineCall(const EngineCall&) = delete;
  EngineCall& operator=(const EngineCall&) = delete;
  ~EngineCall();
};

/** The engine's allocation number `number`, counted from 1 on from now, fails, and `more` after it; 0: none fails. */
void FailAllocation(int number, int more);

/** Allocations of the engine that it has not given back. */
long LiveAllocations();

}  // namespace norix::test

#endif
