#include "media/NewFolder.h"

#include <system_error>

#include "Failure.h"

namespace norix::host {

namespace fs = std::filesystem;

NewFolder::NewFolder(const fs::path& path) {
  std::error_code error;
  const fs::path folder = fs::weakly_canonical(fs::absolute(path), error);
  for (fs::path each = folder; !fs::exists(each, error) && each.has_relative_path(); each = each.parent_path()) {
    made_.push_back(each);
  }
  fs::create_directories(folder, error);
  std::error_code ignored;
  if (fs::is_directory(folder, ignored)) return;
  Fail("cannot make the folder '{}': {}", path.string(), error ? error.message() : "there is a file of that name");
}

NewFolder::~NewFolder() {
  std::error_code ignored;
  for (const fs::path& each : made_) fs::remove(each, ignored);  // only if nothing else is in it
}

}  // namespace norix::host
