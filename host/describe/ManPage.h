#pragma once

#include <string>

#include "describe/Command.h"

namespace norix::host {

/// norix(1) in the Markdown that go-md2man takes. `manual` is the text of docs/norix.md.
std::string ManPage(const CommandLineInfo& info, const std::string& manual);

}  // namespace norix::host
