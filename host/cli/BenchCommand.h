#pragma once

#include <CLI/CLI.hpp>
#include <functional>

namespace norix::host {

/// Adds `norix bench` to the command line. `run` is set to what to do when it was called.
void AddBenchCommand(CLI::App& app, std::function<int()>& run);

}  // namespace norix::host
