#pragma once

// Words as completions and manual pages need them.

#include <string>
#include <vector>

namespace norix::host {

/// The effects and groups that have a picture.
std::vector<std::string> EffectNames();
std::vector<std::string> GroupNames();

/// In single quotes, for shells.
std::string ShellWord(const std::string& word);

/// With a backslash before each of these characters.
std::string Escape(const std::string& text, const std::string& characters);

}  // namespace norix::host
