#include "cli/Options.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <thread>

#include "Failure.h"
#include "cli/Numbers.h"

namespace norix::host {

CLI::Option* AddRepeated(CLI::App& command, const std::string& name, std::vector<std::string>& values,
                         const std::string& help) {
  return command.add_option(name, values, help)->allow_extra_args(false);
}

void AddOutputOptions(CLI::App& command, OutputWishes& wishes, std::vector<std::string>& options) {
  command.add_option("--codec", wishes.codec, "Video encoder [what plays everywhere in that container]")->type_name("NAME");
  AddRepeated(command, "--option", options, "Option of the encoder or the container, as FFmpeg names it; repeatable")
      ->type_name("KEY=VALUE");
  command.add_flag("-y,--overwrite", wishes.overwrite, "Replace OUTPUT if it exists");
}

void AddThreads(CLI::App& command, int& threads) {
  threads = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  command.add_option("--threads", threads, "Threads to work on; the result is the same for any number [all cores]")
      ->type_name("N")
      ->check(CLI::Range(1, 1024));
}

const std::map<std::string, ProgressStyle>& ProgressStyles() {
  static const std::map<std::string, ProgressStyle> kStyles = {{"auto", ProgressStyle::kAutomatic},
                                                               {"bar", ProgressStyle::kBar},
                                                               {"plain", ProgressStyle::kPlain},
                                                               {"json", ProgressStyle::kJson},
                                                               {"none", ProgressStyle::kNone}};
  return kStyles;
}

void AddProgress(CLI::App& command, ProgressStyle& style) {
  command.add_option("--progress", style, "auto, bar, plain, json or none, on stderr [a bar on a terminal]")
      ->type_name("STYLE")
      ->transform(CLI::CheckedTransformer(ProgressStyles(), CLI::ignore_case).description(""));
}

CLI::Validator Seconds() {
  const auto check = [](const std::string& text) -> std::string {
    constexpr double kLeast = 0.001;
    constexpr double kMost = 86400;
    const std::optional<double> seconds = ParseNumber(text);
    if (seconds && *seconds >= kLeast && *seconds <= kMost) return "";
    return fmt::format("{} is not a length from {} to {} seconds", text, kLeast, kMost);
  };
  return {check, ""};
}

std::pair<std::string, std::string> SplitAssignment(const std::string& option, const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) FailUsage("{} {}: give a name and a value as NAME=VALUE", option, text);
  return {text.substr(0, equals), text.substr(equals + 1)};
}

void TakeOptions(const std::vector<std::string>& options, OutputWishes& wishes) {
  for (const std::string& text : options) wishes.options.push_back(SplitAssignment("--option", text));
}

}  // namespace norix::host
