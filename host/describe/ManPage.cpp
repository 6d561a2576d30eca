#include "describe/ManPage.h"

#include <fmt/ranges.h>

#include <sstream>

#include "describe/Words.h"

namespace norix::host {

namespace {

/// Plain text, safe in Markdown.
std::string Plain(const std::string& text) { return Escape(text, "\\*_[]<>|`"); }

std::string Synopsis(const CommandInfo& command) {
  std::string text = "**norix " + command.name + "**";
  for (const ArgumentInfo& argument : command.arguments) text += " *" + argument.name + "*";
  return text + (command.options.empty() ? "" : " \\[*option*...\\]");
}

std::string OptionEntry(const OptionInfo& option) {
  std::string text = fmt::format("**{}**", fmt::join(option.names, "**, **"));
  if (!option.value.empty()) text += " *" + Plain(option.value) + "*";
  return text + "\n: " + Plain(option.text) + "\n\n";
}

std::string CommandSection(const CommandInfo& command) {
  std::string text = "### norix " + command.name + "\n\n" + Plain(command.text) + ".\n\n";
  for (const ArgumentInfo& argument : command.arguments)
    text += "*" + argument.name + "*\n: " + Plain(argument.text) + "\n\n";
  for (const OptionInfo& option : command.options) text += OptionEntry(option);
  return text;
}

/// The indented lines after "Examples:", as code.
std::string Examples(const CommandInfo& command) {
  std::string text;
  std::istringstream lines(command.footer);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("  ")) text += line.substr(2) + "\n";
  }
  return text;
}

/// The manual's sections without its title, its headings as sections of the page.
std::string Sections(const std::string& manual) {
  std::string text;
  std::istringstream lines(manual);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("# ")) continue;
    text += (line.starts_with("## ") ? "#" + line : line) + "\n";
  }
  return text;
}

}  // namespace

std::string ManPage(const CommandLineInfo& info, const std::string& manual) {
  std::string text = "norix 1 \"\" \"NorixEngine " NORIX_VERSION "\" \"User Commands\"\n===\n\n";
  text += "# NAME\n\nnorix - render video with NorixEngine's effects\n\n# SYNOPSIS\n\n";
  for (const CommandInfo& command : info.commands) text += Synopsis(command) + "\n\n";
  text += "# DESCRIPTION\n\n" + Sections(manual) + "\n# OPTIONS\n\n";
  for (const OptionInfo& option : info.common) text += OptionEntry(option);
  for (const CommandInfo& command : info.commands) text += CommandSection(command);
  text += "# EFFECTS AND GROUPS\n\n";
  text += fmt::format("Effects: {}.\n\nGroups: {}.\n", fmt::join(EffectNames(), ", "), fmt::join(GroupNames(), ", "));
  text += "\n# EXAMPLES\n\n```\n";
  for (const CommandInfo& command : info.commands) text += Examples(command);
  text += "```\n\n# SEE ALSO\n\n**NorixEngine**(3), **ffmpeg**(1)\n";
  return text;
}

}  // namespace norix::host
