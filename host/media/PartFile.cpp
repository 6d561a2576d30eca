#include "media/PartFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

#include "Failure.h"

namespace norix::host {

namespace fs = std::filesystem;

namespace {

constexpr const char* kEnding = ".part";

[[noreturn]] void FailExists(const fs::path& path) { Fail("'{}' exists already; add -y to replace it", path.string()); }

/** Follows a link, so that it goes on pointing to the file. */
fs::path Resolved(const fs::path& path) {
  std::error_code error;
  const fs::path resolved = fs::weakly_canonical(fs::absolute(path), error);
  return error ? fs::absolute(path) : resolved;
}

/// What the names of all unfinished versions of a file begin with: its own, cut off where it would grow too long.
std::string PartPrefix(const std::string& name) {
  constexpr std::size_t kRoom = 40;  // for dots, number and ending
  std::size_t length = std::min<std::size_t>(name.size(), NAME_MAX - kRoom);
  // Not inside a character of several bytes.
  while (length > 0 && length < name.size() && (static_cast<unsigned char>(name[length]) & 0xC0U) == 0x80U) --length;
  return '.' + name.substr(0, length) + '.';
}

/// True for ".NAME.123.part" and ".NAME.123-4.part".
bool IsPart(const std::string& name, const std::string& prefix) {
  const std::size_t ending = std::strlen(kEnding);
  if (name.size() <= prefix.size() + ending || name.rfind(prefix, 0) != 0) return false;
  if (name.substr(name.size() - ending) != kEnding) return false;
  return name.find_first_not_of("0123456789-", prefix.size()) == name.size() - ending;
}

/// Removes what killed runs left: nobody holds a lock on it.
void RemoveLeftovers(const fs::path& folder, const std::string& prefix) {
  std::vector<fs::path> parts;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    if (IsPart(entry->path().filename().string(), prefix)) parts.push_back(entry->path());
  }
  for (const fs::path& part : parts) {
    const int file = open(part.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (file < 0) continue;
    if (flock(file, LOCK_EX | LOCK_NB) == 0) unlink(part.c_str());
    close(file);
  }
}

/// True when the open file still has a name.
bool IsThere(int file) {
  struct stat status = {};
  return fstat(file, &status) == 0 && status.st_nlink > 0;
}

}  // namespace

PartFile::PartFile(const fs::path& path, bool overwrite) : final_(Resolved(path)), overwrite_(overwrite) {
  std::error_code error;
  const fs::file_status status = fs::status(final_, error);
  if (fs::is_directory(status)) Fail("'{}' is a folder; name a file in it", path.string());
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    Fail("'{}' is not a file; the result is written to a file and renamed when whole", path.string());
  }
  if (fs::exists(status) && !overwrite) FailExists(path);
  const fs::path folder = final_.parent_path();
  if (!fs::is_directory(folder, error)) Fail("cannot write '{}': there is no folder '{}'", path.string(), folder.string());
  if (final_.filename().string().size() > NAME_MAX) {
    Fail("cannot write '{}': its name is longer than the {} bytes of a file name", path.string(), NAME_MAX);
  }
  create();
}

PartFile::~PartFile() {
  std::error_code ignored;
  if (!kept_) fs::remove(part_, ignored);
  if (lock_ >= 0) close(lock_);
}

void PartFile::create() {
  const fs::path folder = final_.parent_path();
  const std::string prefix = PartPrefix(final_.filename().string());
  RemoveLeftovers(folder, prefix);
  // The number of the process is its own on this machine, but others may share the folder.
  constexpr int kMostTries = 100;
  for (int attempt = 0; attempt < kMostTries; ++attempt) {
    part_ = folder / fmt::format("{}{}{}{}", prefix, getpid(), attempt == 0 ? "" : fmt::format("-{}", attempt), kEnding);
    unfinished_.emplace(part_.string());  // before it is there, so that no interrupt can come between
    lock_ = open(part_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (lock_ >= 0) {
      flock(lock_, LOCK_EX | LOCK_NB);  // where there are no locks, leftovers stay
      if (IsThere(lock_)) return;
      close(lock_);  // taken for a leftover before it was locked
      continue;
    }
    const int reason = errno;
    unfinished_.reset();
    if (reason != EEXIST) Fail("cannot write to folder '{}': {}", folder.string(), std::strerror(reason));
  }
  Fail("cannot write to folder '{}': it is full of unfinished files '{}*{}'", folder.string(), prefix, kEnding);
}

void PartFile::keep() {
  // Some disks tell only now that they are full; and a name must not outlive its bytes when the power fails.
  if (fsync(lock_) != 0 && errno != EINVAL && errno != EROFS) {
    Fail("cannot write '{}': {}", final_.string(), std::strerror(errno));
  }
  // Without permission to overwrite, a file that has appeared meanwhile must survive too.
  const unsigned flags = overwrite_ ? 0 : RENAME_NOREPLACE;
  int result = renameat2(AT_FDCWD, part_.c_str(), AT_FDCWD, final_.c_str(), flags);
  if (result != 0 && (errno == EINVAL || errno == ENOSYS)) {  // a file system without the flag
    if (!overwrite_ && fs::exists(final_)) FailExists(final_);
    result = std::rename(part_.c_str(), final_.c_str());
  }
  if (result != 0 && errno == EEXIST) FailExists(final_);
  if (result != 0) Fail("cannot rename the result to '{}': {}", final_.string(), std::strerror(errno));
  kept_ = true;
}

void PartFile::write(std::string_view content) const {
  std::ofstream stream(part_, std::ios::binary);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  if (!stream) Fail("cannot write '{}': {}", final_.string(), std::strerror(errno));
}

}  // namespace norix::host
