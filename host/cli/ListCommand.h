#pragma once

#include <CLI/CLI.hpp>
#include <functional>

namespace norix::host {

/// Adds `norix list` to the command line. `run` is set to what to do when it was called.
void AddListCommand(CLI::App& app, std::function<int()>& run);

}  // namespace norix::host
