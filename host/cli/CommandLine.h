#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

namespace norix::host {

/// The command's version and the instruction set that the engine takes on this machine.
std::string VersionLine();

/// Adds all commands and common options to the command line. `run` is set to what to do when it has been parsed.
void SetUpCommandLine(CLI::App& app, bool& verbose, std::function<int()>& run);

/// Understands a command line and checks what can be told without opening a file. Throws CLI::ParseError, also for help
/// that was asked for, and Failure.
void ParseCommandLine(CLI::App& app, int argc, const char* const* argv);

}  // namespace norix::host
