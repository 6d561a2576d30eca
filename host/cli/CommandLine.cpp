#include "cli/CommandLine.h"

#include <algorithm>
#include <vector>

#include "Failure.h"
#include "NearestName.h"
#include "cli/BenchCommand.h"
#include "cli/GalleryCommand.h"
#include "cli/ListCommand.h"
#include "cli/RenderCommand.h"
#include "cli/TransitionCommand.h"
#include "engine/InstructionSet.h"

namespace norix::host {

namespace {

/// A first word that is no command gets a better answer than that one is missing.
void CheckCommand(const CLI::App& app, int argc, const char* const* argv) {
  if (argc < 2 || argv[1][0] == '-') return;
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands(nullptr)) names.push_back(command->get_name());
  if (std::find(names.begin(), names.end(), argv[1]) != names.end()) return;
  FailUsage("there is no command '{}'; did you mean '{}'? `norix --help` lists all", argv[1], NearestName(argv[1], names));
}

std::string FailureMessage(const CLI::App* command, const CLI::Error& error) {
  // The command that was meant, if one was named, has the help that helps.
  const auto named = command->get_subcommands();
  const std::string help = named.empty() ? "norix" : "norix " + named.front()->get_name();
  return "norix: error: " + std::string(error.what()) + "; see `" + help + " --help`\n";
}

}  // namespace

std::string VersionLine() { return "norix " NORIX_VERSION " (" + BestInstructionSet() + ")"; }

void SetUpCommandLine(CLI::App& app, bool& verbose, std::function<int()>& run) {
  app.name("norix");
  app.description("Renders video with NorixEngine's effects.");
  app.set_version_flag("--version", VersionLine, "Print the version, and the instruction set in use, and exit");
  app.require_subcommand(1);
  app.footer(
      "`norix COMMAND --help` tells more, with examples.\nExit codes: 0 done, 1 failed, 2 wrong usage, 130 interrupted.");
  app.fallthrough();
  app.add_flag("--verbose", verbose, "Show FFmpeg's own messages on stderr");
  AddListCommand(app, run);
  AddRenderCommand(app, run);
  AddTransitionCommand(app, run);
  AddGalleryCommand(app, run);
  AddBenchCommand(app, run);
  app.failure_message(FailureMessage);
}

void ParseCommandLine(CLI::App& app, int argc, const char* const* argv) {
  CheckCommand(app, argc, argv);
  app.parse(argc, argv);
}

}  // namespace norix::host
