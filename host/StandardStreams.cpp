#include "StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Failure.h"

namespace norix::host {

void FillStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) >= 0) continue;
    // The wrong way round, so that using it fails as before. The lowest free number is the one that is missing.
    open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

void FlushStandardOutput() {
  errno = 0;
  const bool failed = std::ferror(stdout) != 0;
  if (std::fflush(stdout) == 0 && !failed) return;
  Fail("cannot write to standard output{}{}", errno != 0 ? ": " : "", errno != 0 ? std::strerror(errno) : "");
}

QuietStderr::QuietStderr() : kept_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (kept_ >= 0 && nowhere >= 0) dup2(nowhere, STDERR_FILENO);
  if (nowhere >= 0) close(nowhere);
}

QuietStderr::~QuietStderr() {
  if (kept_ < 0) return;
  dup2(kept_, STDERR_FILENO);
  close(kept_);
}

}  // namespace norix::host
