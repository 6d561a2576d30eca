#pragma once

// The command line as data, read from what parses it, for completions and the manual page.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace norix::host {

/// What may follow an option, as far as it can be completed.
enum class Values { kNone, kWord, kEffect, kGroup, kField, kChoice };

struct OptionInfo {
  std::vector<std::string> names;  ///< with their dashes
  std::string value;               ///< what stands for its value in help; empty for flags
  std::string text;
  Values values = Values::kNone;
  std::vector<std::string> choices;  ///< for kChoice
  bool repeatable = false;
};

struct ArgumentInfo {
  std::string name;
  std::string text;
  bool isFolder = false;
};

struct CommandInfo {
  std::string name;
  std::string text;
  std::string footer;  ///< examples and remarks
  std::vector<ArgumentInfo> arguments;
  std::vector<OptionInfo> options;  ///< those common to all commands left out
};

struct CommandLineInfo {
  std::vector<CommandInfo> commands;
  std::vector<OptionInfo> common;
};

CommandLineInfo DescribeCommandLine();

}  // namespace norix::host
