// norix: renders video with NorixEngine's effects.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>
#include <new>
#include <string>
#include <system_error>
#include <vector>

#include "Failure.h"
#include "Interrupt.h"
#include "NearestName.h"
#include "StandardStreams.h"
#include "cli/CommandLine.h"
#include "media/Av.h"

namespace norix::host {

namespace {

/// A first word that is no command gets a better answer than that one is missing.
void CheckCommand(const CLI::App& app, int argc, char** argv) {
  if (argc < 2 || argv[1][0] == '-') return;
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands(nullptr)) names.push_back(command->get_name());
  if (std::find(names.begin(), names.end(), argv[1]) != names.end()) return;
  FailUsage("there is no command '{}'; did you mean '{}'? `norix --help` lists all", argv[1], NearestName(argv[1], names));
}

int Run(int argc, char** argv) {
  CLI::App app;
  bool verbose = false;
  std::function<int()> run;
  SetUpCommandLine(app, verbose, run);
  app.failure_message([](const CLI::App* command, const CLI::Error& error) {
    // The command that was meant, if one was named, has the help that helps.
    const auto named = command->get_subcommands();
    const std::string help = named.empty() ? "norix" : "norix " + named.front()->get_name();
    return "norix: error: " + std::string(error.what()) + "; see `" + help + " --help`\n";
  });
  CheckCommand(app, argc, argv);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kUsage;
  }
  SetAvMessages(verbose);
  return run();
}

}  // namespace

}  // namespace norix::host

int main(int argc, char** argv) {
  using namespace norix::host;
  FillStandardStreams();
  CatchInterrupts();
  const auto report = [](const char* message) { std::fprintf(stderr, "norix: error: %s\n", message); };
  try {
    const int code = Run(argc, argv);
    FlushStandardOutput();
    return code;
  } catch (const Failure& failure) {
    // Whatever an interrupted call reports, the interrupt is the reason.
    report(Interrupted() ? "interrupted; nothing was written" : failure.what());
    return Interrupted() ? kInterrupted : failure.code();
  } catch (const std::bad_alloc&) {
    report("out of memory");
  } catch (const std::exception& error) {
    report(error.what());
  }
  return kFailed;
}
