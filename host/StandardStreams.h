#pragma once

namespace norix::host {

/// Gives closed standard streams something to be, before any file is opened: it would take their place, and messages would
/// go into it.
void FillStandardStreams();

/// Fails when what was printed cannot be written.
void FlushStandardOutput();

/// While it lives, what libraries write to stderr past libav's messages goes nowhere. Not for two threads at a time.
class QuietStderr {
public:
  QuietStderr();
  ~QuietStderr();
  QuietStderr(const QuietStderr&) = delete;
  QuietStderr& operator=(const QuietStderr&) = delete;

private:
  int kept_;
};

}  // namespace norix::host
