#include "Interrupt.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <utility>

#include "Failure.h"

namespace norix::host {

namespace {

std::atomic<bool> interrupted{false};
std::atomic<bool> ending{false};
// Paths, as plain characters and of a fixed number: the signal handler reads them.
std::array<std::atomic<const char*>, 64> unfinished{};

static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<const char*>::is_always_lock_free,
              "the signal handler uses them");

void OnSignal(int /*signal*/) {
  if (!interrupted.exchange(true)) return;
  ending = true;
  for (const std::atomic<const char*>& place : unfinished) {
    if (const char* path = place) unlink(path);
  }
  _exit(kInterrupted);
}

}  // namespace

void CatchInterrupts() {
  struct sigaction action = {};
  action.sa_handler = OnSignal;
  sigemptyset(&action.sa_mask);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
  // A closed pipe is an error of the write to it, not a reason to die.
  struct sigaction ignore = {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, nullptr);
}

void EndInterrupts() {
  struct sigaction ignore = {};
  ignore.sa_handler = SIG_IGN;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &ignore, nullptr);
  if (Interrupted()) throw Failure(kInterrupted, "interrupted; nothing was written");
}

bool Interrupted() { return interrupted.load(std::memory_order_relaxed); }

UnfinishedFile::UnfinishedFile(std::string path) : path_(std::move(path)) {
  for (std::atomic<const char*>& place : unfinished) {
    const char* none = nullptr;
    if (!place.compare_exchange_strong(none, path_.c_str())) continue;
    place_ = &place;
    return;
  }
}

UnfinishedFile::~UnfinishedFile() {
  if (!place_) return;
  *place_ = nullptr;
  // The handler says that it begins before it looks: whoever cannot have seen the path go sees that, and leaves it be.
  while (ending) pause();
}

}  // namespace norix::host
