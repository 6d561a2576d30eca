#pragma once

#include <fmt/format.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace norix::host {

/// Exit codes of the command.
enum ExitCode : int {
  kDone = 0,
  kFailed = 1,
  kUsage = 2,
  kInterrupted = 130,
};

/// An error that ends the run: a message for the user, which names what was wrong and what would be right, and the exit
/// code.
class Failure : public std::runtime_error {
public:
  Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}

  ExitCode code() const { return code_; }

private:
  ExitCode code_;
};

/// Something went wrong while working: exit code 1.
template <class... Args>
[[noreturn]] void Fail(fmt::format_string<Args...> format, Args&&... args) {
  throw Failure(kFailed, fmt::format(format, std::forward<Args>(args)...));
}

/// The command line asks for something that does not exist: exit code 2.
template <class... Args>
[[noreturn]] void FailUsage(fmt::format_string<Args...> format, Args&&... args) {
  throw Failure(kUsage, fmt::format(format, std::forward<Args>(args)...));
}

}  // namespace norix::host
