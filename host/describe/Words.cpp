#include "describe/Words.h"

#include "engine/Catalogue.h"
#include "engine/Effect.h"
#include "engine/Group.h"

namespace norix::host {

std::vector<std::string> EffectNames() {
  std::vector<std::string> names;
  for (const EffectInfo& effect : Effects()) {
    if (Renders(effect.name)) names.push_back(effect.name);
  }
  return names;
}

std::vector<std::string> GroupNames() {
  std::vector<std::string> names;
  for (const GroupInfo& group : Groups()) {
    if (!Group::EffectsOf(group.name).empty()) names.push_back(group.name);
  }
  return names;
}

std::string ShellWord(const std::string& word) {
  std::string quoted = "'";
  for (const char character : word) quoted += character == '\'' ? std::string("'\\''") : std::string(1, character);
  return quoted + "'";
}

std::string Escape(const std::string& text, const std::string& characters) {
  std::string escaped;
  for (const char character : text) {
    if (characters.find(character) != std::string::npos) escaped += '\\';
    escaped += character;
  }
  return escaped;
}

}  // namespace norix::host
