#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

#include "Interrupt.h"

namespace norix::host {

/// An output file in the making: written under a name beside the final one and renamed when whole. Destroyed before that,
/// it leaves nothing behind, and whatever was under the final name stays there. What a run that was killed left of the same
/// file goes when the next one begins.
class PartFile {
public:
  /// Fails when the final name cannot be written: no such folder, a folder itself, exists and `overwrite` is not set.
  PartFile(const std::filesystem::path& path, bool overwrite);
  ~PartFile();
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;

  /// Where to write.
  const std::filesystem::path& partPath() const { return part_; }

  /// Writes all of it in one go.
  void write(std::string_view content) const;

  /// Gives the file its final name, once its bytes are on the disk.
  void keep();

private:
  void create();

  std::filesystem::path final_;
  std::filesystem::path part_;
  std::optional<UnfinishedFile> unfinished_;
  int lock_ = -1;  // the open file, locked as long as somebody writes it
  bool overwrite_;
  bool kept_ = false;
};

}  // namespace norix::host
