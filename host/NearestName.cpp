#include "NearestName.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <numeric>

namespace norix::host {

namespace {

// Insertions, deletions and replacements from one to the other; letter case does not count.
std::size_t TypingErrors(const std::string& a, const std::string& b) {
  const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (const char letter : a) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t replaced = diagonal + (lower(letter) == lower(b[j]) ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string NearestName(const std::string& wanted, const std::vector<std::string>& names) {
  return *std::min_element(names.begin(), names.end(), [&](const std::string& a, const std::string& b) {
    return TypingErrors(wanted, a) < TypingErrors(wanted, b);
  });
}

}  // namespace norix::host
