#include "describe/Command.h"

#include <fmt/format.h>

#include <functional>

#include "cli/CommandLine.h"
#include "cli/Options.h"
#include "engine/Effect.h"
#include "media/Av.h"

namespace norix::host {

namespace {

void TakeValues(OptionInfo& option) {
  option.values = Values::kWord;
  const std::string& name = option.names.back();
  if (name == "--effect") option.values = Values::kEffect;
  if (name == "--group") option.values = Values::kGroup;
  if (name == "--set") option.values = Values::kField;
  if (name == "--format") {
    option.values = Values::kChoice;
    for (const AVPixelFormat format : kEngineFormats) option.choices.push_back(FormatName(format));
  }
  if (name == "--progress") {
    option.values = Values::kChoice;
    for (const auto& [style, value] : ProgressStyles()) option.choices.push_back(style);
  }
}

/// The word for an option's value, without what CLI11 puts behind it about its limits.
std::string ValueOf(CLI::Option& option) {
  std::string value = option.get_type_name();
  try {
    for (int i = 0;; ++i) {
      const std::string limits = fmt::format(":{}", option.get_validator(i)->get_description());
      if (limits.size() > 1 && value.ends_with(limits)) value.resize(value.size() - limits.size());
    }
  } catch (const CLI::OptionNotFound&) {
    return value;  // that was the last one
  }
}

OptionInfo Describe(CLI::Option& option) {
  OptionInfo info;
  for (const std::string& name : option.get_snames()) info.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) info.names.push_back("--" + name);
  info.text = option.get_description();
  if (option.get_items_expected_max() == 0) return info;
  info.value = ValueOf(option);
  info.repeatable = option.get_expected_max() > 1;
  TakeValues(info);
  return info;
}

std::vector<OptionInfo> OptionsOf(CLI::App& app) {
  std::vector<OptionInfo> options;
  for (CLI::Option* option : app.get_options()) {
    if (!option->get_positional()) options.push_back(Describe(*option));
  }
  return options;
}

}  // namespace

CommandLineInfo DescribeCommandLine() {
  CLI::App app;
  bool verbose = false;
  std::function<int()> run;
  SetUpCommandLine(app, verbose, run);
  CommandLineInfo info;
  info.common = OptionsOf(app);
  for (CLI::App* command : app.get_subcommands(std::function<bool(CLI::App*)>())) {
    CommandInfo described{command->get_name(), command->get_description(), command->get_footer(), {}, {}};
    for (CLI::Option* option : command->get_options()) {
      if (option->get_positional()) {
        described.arguments.push_back({option->get_name(), option->get_description(), option->get_name() == "DIR"});
      } else if (option->get_name() != app.get_help_ptr()->get_name()) {
        described.options.push_back(Describe(*option));
      }
    }
    info.commands.push_back(described);
  }
  return info;
}

}  // namespace norix::host
