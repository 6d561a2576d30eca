#include "host/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

namespace norix::test {

namespace {

[[noreturn]] void Throw(const char* call) { throw std::system_error(errno, std::generic_category(), call); }

/** The two ends of what a stream is connected to. */
struct Ends {
  int ours = -1;
  int theirs = -1;
};

Ends Connect(Stream stream, unsigned columns) {
  Ends ends;
  if (stream == Stream::kTerminal) {
    winsize size = {};
    size.ws_row = 24;
    size.ws_col = static_cast<unsigned short>(columns);
    if (openpty(&ends.ours, &ends.theirs, nullptr, nullptr, &size) != 0) Throw("openpty");
    fcntl(ends.ours, F_SETFD, FD_CLOEXEC);
    fcntl(ends.theirs, F_SETFD, FD_CLOEXEC);
    return ends;
  }
  if (stream == Stream::kClosed) return ends;
  if (stream == Stream::kFull) {
    ends.theirs = open("/dev/full", O_WRONLY | O_CLOEXEC);
    if (ends.theirs < 0) Throw("/dev/full");
    return ends;
  }
  std::array<int, 2> pipe{};
  if (pipe2(pipe.data(), O_CLOEXEC) != 0) Throw("pipe2");
  ends = {pipe[0], pipe[1]};
  if (stream == Stream::kDeafPipe) close(std::exchange(ends.ours, -1));
  return ends;
}

/** In the new process: takes what is meant for a standard stream. */
void Take(int theirs, int stream) {
  if (theirs >= 0) {
    dup2(theirs, stream);
  } else {
    close(stream);
  }
}

/** In the new process: signals as at a shell's prompt, whatever the tests were started with. */
void ResetSignals() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) std::signal(signal, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace

Process::Process(const Launch& launch) : deadline_(std::chrono::steady_clock::now() + launch.limit) {
  const Ends out = Connect(launch.out, launch.columns);
  const Ends err = Connect(launch.err, launch.columns);
  std::vector<char*> arguments;
  for (const std::string& argument : launch.arguments) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  id_ = fork();
  if (id_ < 0) Throw("fork");
  if (id_ == 0) {
    ResetSignals();
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    Take(launch.noInput ? -1 : nothing, STDIN_FILENO);
    Take(out.theirs, STDOUT_FILENO);
    Take(err.theirs, STDERR_FILENO);
    for (const auto& [name, value] : launch.environment) setenv(name.c_str(), value.c_str(), 1);
    if (launch.user != 0 && setuid(launch.user) != 0) _exit(126);
    execv(arguments[0], arguments.data());
    _exit(127);
  }
  for (const int theirs : {out.theirs, err.theirs}) {
    if (theirs >= 0) close(theirs);
  }
  out_ = out.ours;
  err_ = err.ours;
}

Process::~Process() {
  for (const int file : {out_, err_}) {
    if (file >= 0) close(file);
  }
  if (id_ < 0) return;
  kill(id_, SIGKILL);
  waitpid(id_, nullptr, 0);
}

bool Process::Read() {
  std::array<pollfd, 2> files{};
  files[0] = {out_, POLLIN, 0};
  files[1] = {err_, POLLIN, 0};
  if (out_ < 0 && err_ < 0) return false;
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(deadline_ - std::chrono::steady_clock::now()).count();
  if (left <= 0) return false;
  const int ready = poll(files.data(), files.size(), static_cast<int>(left));
  if (ready < 0 && errno != EINTR) Throw("poll");
  if (ready <= 0) return ready != 0;
  const auto take = [](const pollfd& file, int& ours, std::string& text) {
    if (ours < 0 || file.revents == 0) return;
    std::array<char, 1 << 16> buffer{};
    const ssize_t count = read(ours, buffer.data(), buffer.size());
    if (count > 0) {
      text.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {  // a terminal ends with an error
      close(std::exchange(ours, -1));
    }
  };
  take(files[0], out_, ending_.out);
  take(files[1], err_, ending_.err);
  return true;
}

bool Process::WaitForErr(std::string_view text) {
  while (ending_.err.find(text) == std::string::npos) {
    if (!Read()) return false;
  }
  return true;
}

void Process::Send(int signal) const {
  if (id_ > 0) kill(id_, signal);
}

Ending Process::Wait() {
  while (Read()) {
  }
  int status = 0;
  rusage usage = {};
  // Without a stream to read, the end itself is waited for.
  while (wait4(id_, &status, WNOHANG, &usage) == 0) {
    if (std::chrono::steady_clock::now() >= deadline_) {
      ending_.late = true;
      kill(id_, SIGKILL);
      wait4(id_, &status, 0, &usage);
      break;
    }
    usleep(5000);
  }
  id_ = -1;
  ending_.peakKiB = usage.ru_maxrss;
  if (WIFEXITED(status)) ending_.code = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) ending_.signal = WTERMSIG(status);
  return std::move(ending_);
}

Ending RunToEnd(const Launch& launch) { return Process(launch).Wait(); }

}  // namespace norix::test
