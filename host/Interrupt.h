#pragma once

#include <string>

namespace norix::host {

/// Makes SIGINT, SIGTERM and SIGHUP ask for an orderly end. A second one ends the process at once, after removing the file
/// named by RemoveOnSecondInterrupt().
void CatchInterrupts();

/// True once an interrupt has come in. Any thread.
bool Interrupted();

/// The unfinished output to remove when a second interrupt ends the process; empty for none. Main thread.
void RemoveOnSecondInterrupt(const std::string& path);

}  // namespace norix::host
