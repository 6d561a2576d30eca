#include "describe/ZshCompletion.h"

#include <fmt/ranges.h>

#include <string_view>

#include "describe/Words.h"
#include "engine/Catalogue.h"
#include "engine/Effect.h"
#include "engine/Group.h"

namespace norix::host {

namespace {

constexpr std::string_view kFieldsHead = R"(
# The fields of the effect that --set belongs to.
_norix_fields() {
  local -a fields
  local effect i
  for ((i = CURRENT - 1; i > 0; i--)); do
    case $words[i] in
      (--effect) effect=${(Q)words[i + 1]} ;;
      (--effect=*) effect=${(Q)${words[i]#*=}} ;;
      (*) continue ;;
    esac
    break
  done
  case $effect in
)";

constexpr std::string_view kFieldsTail = R"(  esac
  _describe -t fields field fields -S =
}

_norix() {
  local curcontext=$curcontext state line ret=1
  local -a commands
  typeset -A opt_args
)";

constexpr std::string_view kTail = R"(      esac
      ;;
  esac
  return ret
}

_norix "$@"
)";

/// "name:text" for _describe.
std::string Entry(const std::string& name, const std::string& text) { return ShellWord(Escape(name, ":\\") + ":" + text); }

std::string Action(const OptionInfo& option) {
  switch (option.values) {
    case Values::kEffect:
      return "_norix_effects";
    case Values::kGroup:
      return "_norix_groups";
    case Values::kField:
      return "_norix_fields";
    case Values::kChoice:
      return fmt::format("({})", fmt::join(option.choices, " "));
    case Values::kNone:
    case Values::kWord:
      break;
  }
  return " ";
}

/// One option as _arguments wants it, once for each of its names.
std::string Specifications(const OptionInfo& option, const std::string& indent) {
  std::string text;
  for (const std::string& name : option.names) {
    std::string word = option.repeatable ? "*" : fmt::format("({})", fmt::join(option.names, " "));
    word += name;
    if (!option.value.empty() && name.starts_with("--")) word += "=";
    word += "[" + Escape(option.text, "[]:\\") + "]";
    if (!option.value.empty()) word += ":" + Escape(option.value, ":\\") + ":" + Action(option);
    text += indent + ShellWord(word) + " \\\n";
  }
  return text;
}

std::string Arguments(const CommandInfo& command, const std::vector<OptionInfo>& common, const std::string& indent) {
  std::string text;
  for (const OptionInfo& option : command.options) text += Specifications(option, indent);
  for (const OptionInfo& option : common) text += Specifications(option, indent);
  for (const ArgumentInfo& argument : command.arguments) {
    const std::string action = argument.isFolder ? "_files -/" : "_files";
    text += fmt::format("{}{} \\\n", indent, ShellWord(fmt::format(":{}:{}", Escape(argument.text, ":\\"), action)));
  }
  return text + indent + "&& ret=0\n";
}

std::string Fields() {
  std::string text;
  for (const EffectInfo& effect : Effects()) {
    if (effect.fields.empty()) continue;
    text += fmt::format("    ({})\n      fields=(\n", ShellWord(effect.name));
    for (const Field& field : effect.fields) text += "        " + Entry(field.name, field.meaning) + "\n";
    text += "      )\n      ;;\n";
  }
  return text;
}

}  // namespace

std::string ZshCompletion(const CommandLineInfo& info) {
  std::string text = "#compdef norix\n\n_norix_effects() {\n  local -a effects=(\n";
  for (const std::string& name : EffectNames()) text += "    " + Entry(name, FindEffect(name).summary) + "\n";
  text += "  )\n  _describe -t effects effect effects\n}\n\n_norix_groups() {\n  local -a groups=(\n";
  for (const std::string& name : GroupNames()) text += "    " + Entry(name, FindGroup(name).summary) + "\n";
  text += "  )\n  _describe -t groups group groups\n}\n";
  text += kFieldsHead;
  text += Fields();
  text += kFieldsTail;
  text += "  _arguments -C \\\n";
  for (const OptionInfo& option : info.common) text += Specifications(option, "    ");
  text += "    '1:command:->command' \\\n    '*::argument:->arguments' && ret=0\n";
  text += "  case $state in\n    (command)\n      commands=(\n";
  for (const CommandInfo& command : info.commands) text += "        " + Entry(command.name, command.text) + "\n";
  text += "      )\n      _describe -t commands command commands && ret=0\n      ;;\n";
  text += "    (arguments)\n      case $line[1] in\n";
  for (const CommandInfo& command : info.commands) {
    text += fmt::format("        ({})\n          _arguments \\\n", command.name);
    text += Arguments(command, info.common, "            ") + "          ;;\n";
  }
  text += kTail;
  return text;
}

}  // namespace norix::host
