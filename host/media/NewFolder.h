#pragma once

#include <filesystem>
#include <vector>

namespace norix::host {

/// A folder that is made, with those above it, if it is not there. Destroyed before keep(), it removes those it made.
class NewFolder {
public:
  /// Fails when the folder cannot be made.
  explicit NewFolder(const std::filesystem::path& path);
  ~NewFolder();
  NewFolder(const NewFolder&) = delete;
  NewFolder& operator=(const NewFolder&) = delete;

  void keep() { made_.clear(); }

private:
  std::vector<std::filesystem::path> made_;  // the innermost first
};

}  // namespace norix::host
