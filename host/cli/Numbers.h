#pragma once

#include <charconv>
#include <optional>
#include <string>
#include <system_error>

namespace norix::host {

/// A number that makes up all of the text; nullopt otherwise.
template <class Number>
std::optional<Number> ParseAll(const std::string& text) {
  Number value = {};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

inline std::optional<long long> ParseInteger(const std::string& text) { return ParseAll<long long>(text); }
inline std::optional<double> ParseNumber(const std::string& text) { return ParseAll<double>(text); }

}  // namespace norix::host
