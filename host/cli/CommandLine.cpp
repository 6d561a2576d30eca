#include "cli/CommandLine.h"

#include "cli/BenchCommand.h"
#include "cli/GalleryCommand.h"
#include "cli/ListCommand.h"
#include "cli/RenderCommand.h"
#include "cli/TransitionCommand.h"
#include "engine/InstructionSet.h"

namespace norix::host {

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
}

}  // namespace norix::host
