#pragma once

#include <string>

#include "describe/Command.h"

namespace norix::host {

/// A file for bash-completion's folder of completions.
std::string BashCompletion(const CommandLineInfo& info);

}  // namespace norix::host
