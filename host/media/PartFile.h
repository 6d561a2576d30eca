#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

#include "Interrupt.h"

namespace norix::host {

/// An output file in the making: written under a name beside the final one and renamed when whole. Destroyed before that,
/// it leaves nothing behind, and whatever was under the final name stays there.
class PartFile {
public:
  /// Fails when the final name cannot be written: no such folder, a folder itself, exists and `overwrite` is not set.
  PartFile(const std::filesystem::path& path, bool overwrite);
  ~PartFile();
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;

  /// Where to write.
  const std::filesystem::path& partPath() const { return part_; }

  /// Gives the file its final name.
  void keep();

private:
  std::filesystem::path final_;
  std::filesystem::path part_;
  std::optional<UnfinishedFile> unfinished_;
  bool overwrite_;
  bool kept_ = false;
};

/// Writes a file in one go; whole or not at all.
void WriteWholeFile(const std::filesystem::path& path, std::string_view content, bool overwrite);

}  // namespace norix::host
