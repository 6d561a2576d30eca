#pragma once

#include <string>

#include "describe/Command.h"

namespace norix::host {

/// A file for a folder in zsh's fpath, named _norix.
std::string ZshCompletion(const CommandLineInfo& info);

}  // namespace norix::host
