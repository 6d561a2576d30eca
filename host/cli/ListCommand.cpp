#include "cli/ListCommand.h"

#include <fmt/ranges.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Failure.h"
#include "engine/Catalogue.h"
#include "engine/Effect.h"
#include "engine/Group.h"
#include "media/Av.h"

namespace norix::host {

namespace {

/// The formats an effect works in: those it answers when they are proposed.
std::vector<std::string> FormatsOf(const EffectInfo& effect) {
  std::vector<std::string> formats;
  for (const AVPixelFormat format : kEngineFormats) {
    if (effect.needsPackedPixels && format == AV_PIX_FMT_YUV420P) continue;
    if (NegotiateFormat(effect.name, format) == format) formats.push_back(FormatName(format));
  }
  return formats;
}

nlohmann::json Describe(const EffectInfo& effect) {
  nlohmann::json fields = nlohmann::json::array();
  for (const Field& field : effect.fields) {
    fields.push_back({{"name", field.name}, {"default", field.standard}, {"meaning", field.meaning}});
  }
  return {
      {"name", effect.name}, {"summary", effect.summary},    {"renders", Renders(effect.name)},    {"level", effect.level},
      {"fields", fields},    {"formats", FormatsOf(effect)}, {"random", effect.drawsRandomNumbers}};
}

nlohmann::json DescribeAll() {
  nlohmann::json effects = nlohmann::json::array();
  for (const EffectInfo& effect : Effects()) effects.push_back(Describe(effect));
  nlohmann::json groups = nlohmann::json::array();
  for (const GroupInfo& group : Groups()) {
    const std::vector<std::string> parts = Group::EffectsOf(group.name);
    groups.push_back({{"name", group.name}, {"summary", group.summary}, {"renders", !parts.empty()}, {"effects", parts}});
  }
  return {{"levels", {{"lowest", kLowestLevel}, {"highest", kHighestLevel}}}, {"effects", effects}, {"groups", groups}};
}

void PrintText() {
  fmt::print("Effects, each with what level {} to {} sets and the pixel formats it works in\n", kLowestLevel,
             kHighestLevel);
  for (const EffectInfo& effect : Effects()) {
    const bool renders = Renders(effect.name);
    fmt::print("\n{}: {}{}\n", effect.name, effect.summary, renders ? "" : " (not rendered by this version)");
    if (!renders) continue;
    fmt::print("  level    {}\n", effect.level);
    fmt::print("  formats  {}\n", fmt::join(FormatsOf(effect), ", "));
    for (const Field& field : effect.fields) fmt::print("  {:<12} {} [{}]\n", field.name, field.meaning, field.standard);
  }
  fmt::print("\nGroups: transitions over a time of 0 to 10000\n\n");
  for (const GroupInfo& group : Groups()) {
    const std::vector<std::string> parts = Group::EffectsOf(group.name);
    fmt::print("{}: {}{}\n", group.name, group.summary,
               parts.empty() ? " (not rendered by this version)" : fmt::format(" ({})", fmt::join(parts, ", ")));
  }
}

}  // namespace

void AddListCommand(CLI::App& app, std::function<int()>& run) {
  CLI::App* command = app.add_subcommand("list", "List effects and groups with their settings and formats");
  command->footer("Examples:\n  norix list\n  norix list --json | jq '.effects[].name'");
  const auto json = std::make_shared<bool>(false);
  command->add_flag("--json", *json, "Print JSON for programs");
  command->final_callback([json, &run] {
    run = [json] {
      if (*json) {
        fmt::print("{}\n", DescribeAll().dump(2));
      } else {
        PrintText();
      }
      return kDone;
    };
  });
}

}  // namespace norix::host
