#pragma once

// Options that several commands have, and texts that they take apart the same way.

#include <CLI/CLI.hpp>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Progress.h"
#include "media/Output.h"

namespace norix::host {

/// An option that may be given several times, with one value each.
CLI::Option* AddRepeated(CLI::App& command, const std::string& name, std::vector<std::string>& values,
                         const std::string& help);

/// --codec, --option and -y. `options` takes --option as it stands.
void AddOutputOptions(CLI::App& command, OutputWishes& wishes, std::vector<std::string>& options);

/// --threads, all cores unless given.
void AddThreads(CLI::App& command, int& threads);

/// The words that --progress takes.
const std::map<std::string, ProgressStyle>& ProgressStyles();

/// --progress.
void AddProgress(CLI::App& command, ProgressStyle& style);

/// A check for lengths in seconds: from a thousandth to a day.
CLI::Validator Seconds();

/// "KEY=VALUE"; fails and names the option otherwise.
std::pair<std::string, std::string> SplitAssignment(const std::string& option, const std::string& text);

/// Puts what --option said where the output looks for it.
void TakeOptions(const std::vector<std::string>& options, OutputWishes& wishes);

}  // namespace norix::host
