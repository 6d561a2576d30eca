#include "Interrupt.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>

#include "Failure.h"

namespace norix::host {

namespace {

std::atomic<bool> interrupted{false};
std::array<char, 4096> unfinished{};  // a path, or empty; plain characters, since the signal handler reads it

static_assert(std::atomic<bool>::is_always_lock_free, "the signal handler uses it");

void OnSignal(int /*signal*/) {
  if (!interrupted.exchange(true)) return;
  if (unfinished[0] != '\0') unlink(unfinished.data());
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

bool Interrupted() { return interrupted.load(std::memory_order_relaxed); }

void RemoveOnSecondInterrupt(const std::string& path) {
  unfinished[0] = '\0';
  if (path.size() + 1 > unfinished.size()) return;
  // The first character comes last: until then the handler sees an empty path.
  for (std::size_t i = path.size(); i > 0; --i) unfinished[i] = i < path.size() ? path[i] : '\0';
  if (!path.empty()) unfinished[0] = path[0];
}

}  // namespace norix::host
