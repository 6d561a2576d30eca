// Any command line of norix, up to where it would open files: the lines of the input are its words. It is understood, or
// refused with one of the two kinds of message.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "Failure.h"
#include "cli/CommandLine.h"
#include "fuzz/Require.h"

namespace {

using norix::host::Failure;
using norix::test::Require;

constexpr std::size_t kMostWords = 64;

std::vector<std::string> WordsOf(const std::uint8_t* data, std::size_t size) {
  std::istringstream lines(std::string(data, data + size));
  std::vector<std::string> words = {"norix"};
  for (std::string line; words.size() < kMostWords && std::getline(lines, line);)
    // A program's words end at the first zero.
    words.push_back(line.substr(0, line.find('\0')));
  return words;
}

/** What the command would print, and that it is something. */
void CheckMessage(const CLI::App& app, const CLI::ParseError& error) {
  std::ostringstream out;
  std::ostringstream err;
  const int code = app.exit(error, out, err);
  Require(!(code == 0 ? out : err).str().empty(), "a command line that is refused, or asks for help, is answered");
}

void Parse(const std::vector<std::string>& words) {
  std::vector<const char*> argv;
  argv.reserve(words.size() + 1);
  for (const std::string& word : words) argv.push_back(word.c_str());
  argv.push_back(nullptr);

  CLI::App app;
  bool verbose = false;
  std::function<int()> run;
  norix::host::SetUpCommandLine(app, verbose, run);
  try {
    norix::host::ParseCommandLine(app, static_cast<int>(words.size()), argv.data());
    Require(static_cast<bool>(run), "a command line that is understood says what to do");
  } catch (const CLI::ParseError& error) {
    CheckMessage(app, error);
  } catch (const Failure& failure) {
    Require(failure.what()[0] != '\0', "a failure has a message");
    Require(failure.code() == norix::host::kUsage || failure.code() == norix::host::kFailed, "a failure has its exit code");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Parse(WordsOf(data, size));
  return 0;
}
