// norix: renders video with NorixEngine's effects.

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <functional>
#include <new>
#include <string>
#include <system_error>

#include "Failure.h"
#include "Interrupt.h"
#include "StandardStreams.h"
#include "cli/CommandLine.h"
#include "media/Av.h"

namespace norix::host {

namespace {

int Run(int argc, char** argv) {
  CLI::App app;
  bool verbose = false;
  std::function<int()> run;
  SetUpCommandLine(app, verbose, run);
  try {
    ParseCommandLine(app, argc, argv);
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
  } catch (const std::system_error& error) {
    // Printing fails without a word about where to.
    const std::string what = "cannot write to standard output: " + error.code().message();
    report(std::ferror(stdout) != 0 ? what.c_str() : error.what());
  } catch (const std::exception& error) {
    report(error.what());
  }
  return kFailed;
}
