#pragma once

#include <string>
#include <vector>

namespace norix::host {

/// The name that takes the fewest typing errors to turn into `wanted`, letter case aside. `names` is not empty.
std::string NearestName(const std::string& wanted, const std::vector<std::string>& names);

}  // namespace norix::host
