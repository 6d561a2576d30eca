#pragma once

#include <CLI/CLI.hpp>
#include <functional>

namespace norix::host {

/// Adds `norix render` to the command line. `run` is set to what to do when it was called.
void AddRenderCommand(CLI::App& app, std::function<int()>& run);

}  // namespace norix::host
