#ifndef NORIX_TESTS_HOST_PROCESS_H
#define NORIX_TESTS_HOST_PROCESS_H

#include <sys/types.h>

#include <chrono>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace norix::test {

/** What a standard stream of a process is connected to. */
enum class Stream {
  kPipe,     /**< a pipe that is read to its end */
  kDeafPipe, /**< a pipe nobody reads from any more */
  kTerminal, /**< a pseudo-terminal */
  kClosed,   /**< nothing at all */
  kFull,     /**< a device without room */
};

struct Launch {
  std::vector<std::string> arguments;                             /**< the first is the program */
  std::vector<std::pair<std::string, std::string>> environment{}; /**< added to that of the tests */
  Stream out = Stream::kPipe;
  Stream err = Stream::kPipe;
  std::chrono::seconds limit{100};
  unsigned columns = 80; /**< of a terminal */
  uid_t user = 0;        /**< to become before it begins; 0: who the tests are */
  bool noInput = false;  /**< stdin is closed */
};

/** How a process ended. */
struct Ending {
  int code = -1;     /**< exit code; -1 when a signal ended it */
  int signal = 0;    /**< that ended it */
  bool late = false; /**< it was killed because it had taken too long */
  long peakKiB = 0;  /**< most memory it ever held */
  std::string out;
  std::string err;
};

/** A running process. Destroyed before its end, it is killed. */
class Process {
public:
  explicit Process(const Launch& launch);
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  ~Process();

  pid_t Id() const { return id_; }

  /** Waits until the process has written `text` to stderr; false when it ends or the limit comes before. */
  bool WaitForErr(std::string_view text);

  void Send(int signal) const;

  /** Waits for the end. */
  Ending Wait();

private:
  /** Reads what has come; false when both streams have ended, or the limit has come. */
  bool Read();

  pid_t id_ = -1;
  int out_ = -1;
  int err_ = -1;
  std::chrono::steady_clock::time_point deadline_;
  Ending ending_;
};

/** Runs a process to its end. */
Ending RunToEnd(const Launch& launch);

}  // namespace norix::test

#endif
