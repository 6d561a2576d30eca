#include "media/PartFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <system_error>

#include "Failure.h"

namespace norix::host {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void FailExists(const fs::path& path) { Fail("'{}' exists already; add -y to replace it", path.string()); }

/** Follows a link, so that it goes on pointing to the file. */
fs::path Resolved(const fs::path& path) {
  std::error_code error;
  const fs::path resolved = fs::weakly_canonical(fs::absolute(path), error);
  return error ? fs::absolute(path) : resolved;
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

  part_ = folder / fmt::format(".{}.{}.part", final_.filename().string(), getpid());
  const int file = open(part_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (file < 0) Fail("cannot write to folder '{}': {}", folder.string(), std::strerror(errno));
  close(file);
  unfinished_.emplace(part_.string());
}

PartFile::~PartFile() {
  std::error_code ignored;
  if (!kept_) fs::remove(part_, ignored);
}

void PartFile::keep() {
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

void WriteWholeFile(const fs::path& path, std::string_view content, bool overwrite) {
  PartFile file(path, overwrite);
  std::ofstream stream(file.partPath(), std::ios::binary);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  stream.close();
  if (!stream) Fail("cannot write '{}': {}", path.string(), std::strerror(errno));
  file.keep();
}

}  // namespace norix::host
