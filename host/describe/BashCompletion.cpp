#include "describe/BashCompletion.h"

#include <fmt/ranges.h>

#include <map>
#include <set>
#include <string_view>

#include "describe/Words.h"
#include "engine/Catalogue.h"

namespace norix::host {

namespace {

constexpr std::string_view kHead = R"(# bash completion for norix                                -*- shell-script -*-

# Offers those of the given words that begin with what is typed, quoted as the command line needs it.
_norix_offer() {
  local word typed=$cur quote=
  case $typed in
    \"* | \'*)
      quote=${typed:0:1}
      typed=${typed:1}
      ;;
  esac
  typed=${typed//\\/}
  for word; do
    [[ $word == "$typed"* ]] || continue
    [[ $quote ]] || printf -v word %q "$word"
    COMPREPLY+=("$word")
  done
}

# The fields of the effect that --set belongs to.
_norix_fields() {
  local i effect=
  for ((i = cword - 1; i > 0; i--)); do
    case ${words[i]} in
      --effect) effect=${words[i + 1]} ;;
      --effect=*) effect=${words[i]#*=} ;;
      *) continue ;;
    esac
    break
  done
  effect=${effect//[\"\'\\]/}
  case $effect in
)";

constexpr std::string_view kFunction = R"(  esac
  compopt -o nospace
}

_norix() {
  local cur prev words cword split command=
  _init_completion -s || return
  local i
  for ((i = 1; i < cword; i++)); do
    [[ ${words[i]} == -* ]] || { command=${words[i]}; break; }
  done
  # -s takes --option=value apart.
  case $prev in
)";

std::string QuotedList(const std::vector<std::string>& words) {
  std::string list;
  for (const std::string& word : words) list += " " + ShellWord(word);
  return list;
}

std::vector<std::string> NamesOf(const std::vector<OptionInfo>& options) {
  std::vector<std::string> names;
  for (const OptionInfo& option : options) names.insert(names.end(), option.names.begin(), option.names.end());
  return names;
}

std::string Fields() {
  std::string text;
  for (const EffectInfo& effect : Effects()) {
    if (effect.fields.empty()) continue;
    std::vector<std::string> fields;
    for (const Field& field : effect.fields) fields.push_back(field.name + "=");
    text += fmt::format("    {}) _norix_offer{} ;;\n", ShellWord(effect.name), QuotedList(fields));
  }
  return text;
}

std::string Reaction(const OptionInfo& option) {
  switch (option.values) {
    case Values::kEffect:
      return "_norix_offer" + QuotedList(EffectNames()) + "\n      ";
    case Values::kGroup:
      return "_norix_offer" + QuotedList(GroupNames()) + "\n      ";
    case Values::kField:
      return "_norix_fields\n      ";
    case Values::kChoice:
      return "_norix_offer" + QuotedList(option.choices) + "\n      ";
    case Values::kNone:
    case Values::kWord:
      break;
  }
  return "";
}

/// Options of one name mean the same in all commands, and those that react alike share a case.
std::string ValueCases(const CommandLineInfo& info) {
  std::map<std::string, std::set<std::string>> names;
  for (const CommandInfo& command : info.commands) {
    for (const OptionInfo& option : command.options) {
      if (!option.value.empty()) names[Reaction(option)].insert(option.names.begin(), option.names.end());
    }
  }
  std::string text;
  for (const auto& [reaction, options] : names) {
    text += fmt::format("    {})\n      {}return\n      ;;\n", fmt::join(options, " | "), reaction);
  }
  return text;
}

}  // namespace

std::string BashCompletion(const CommandLineInfo& info) {
  std::string text(kHead);
  text += Fields();
  text += kFunction;
  text += ValueCases(info);
  text += "  esac\n  local options=\n  case $command in\n";
  std::vector<std::string> commands;
  for (const CommandInfo& command : info.commands) {
    commands.push_back(command.name);
    text += fmt::format("    {}) options='{} {}' ;;\n", command.name, fmt::join(NamesOf(command.options), " "),
                        fmt::join(NamesOf(info.common), " "));
  }
  text += fmt::format("    *) options='{}' ;;\n  esac\n", fmt::join(NamesOf(info.common), " "));
  text += fmt::format(R"(  if [[ $cur == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
  elif [[ ! $command ]]; then
    _norix_offer {}
  else
    case $command in
)",
                      fmt::join(commands, " "));
  for (const CommandInfo& command : info.commands) {
    if (command.arguments.empty()) text += fmt::format("      {}) ;;\n", command.name);
  }
  text += "      *) _filedir ;;\n    esac\n  fi\n} &&\n  complete -F _norix norix\n";
  return text;
}

}  // namespace norix::host
