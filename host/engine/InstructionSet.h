#pragma once

// Which of the processor's vector instruction sets the engine uses. It takes the best by itself.

#include <string>
#include <vector>

namespace norix::host {

/// The names of those that this machine can run, best first: "AVX3", "AVX2", "SSE4", "SSSE3", "SCALAR" on x86.
std::vector<std::string> InstructionSets();

/// The name of the best one.
std::string BestInstructionSet();

/// Has the engine use one of InstructionSets(), in the whole process: for measuring. While nothing renders.
void UseInstructionSet(const std::string& name);

}  // namespace norix::host
