#pragma once

#include <atomic>
#include <string>

namespace norix::host {

/// Makes SIGINT, SIGTERM and SIGHUP ask for an orderly end. A second one ends the process at once, after removing every
/// UnfinishedFile.
void CatchInterrupts();

/// True once an interrupt has come in. Any thread.
bool Interrupted();

/// Ignores interrupts from here on: the result is there and is about to get its name. Fails when one has come in before.
void EndInterrupts();

/// While it lives, a second interrupt removes the file before it ends the process. Any thread; of more than 64 at a time
/// the last ones stay.
class UnfinishedFile {
public:
  explicit UnfinishedFile(std::string path);
  ~UnfinishedFile();
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

private:
  std::string path_;
  std::atomic<const char*>* place_ = nullptr;
};

}  // namespace norix::host
