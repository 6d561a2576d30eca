#pragma once

#include <optional>
#include <string>
#include <vector>

namespace norix::python {

/// One step of a group at a moment of the transition.
struct GroupEntry {
  std::optional<std::string> effect;  ///< none: the picture is to be enlarged
  std::vector<double> values;         ///< of the effect's fields
  int percentX;
  int percentY;
};

/// In the order in which they are applied.
std::vector<GroupEntry> EntriesOf(const std::string& group, int time);

}  // namespace norix::python
