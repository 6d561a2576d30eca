#include "cli/RenderCommand.h"

#include <charconv>
#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "cli/Numbers.h"
#include "render/Render.h"

namespace norix::host {

namespace {

/// What stands on the command line, before it is understood.
struct Words {
  RenderRequest request;
  std::vector<std::string> effects;
  std::vector<std::string> levels;
  std::vector<std::string> fields;
  std::vector<std::string> options;
  std::int64_t frames = 0;
};

const char* const kExamples = R"(Examples:
  norix render clip.mp4 swirled.mp4 --effect Swirl
  norix render clip.mp4 out.mp4 --effect Swirl --level 0:10000 --set centerX=0.3
  norix render clip.mp4 out.mkv --effect "Zoom Blur" --level 8000 --effect "Mirror Move X" --level 2500
  norix render clip.mov out.mov --effect Swirl --format bgra --codec qtrle
  norix render clip.mp4 part2.mp4 --effect Swirl --start-frame 240 --frames 240
  norix render photo.jpg out.png --effect "Zoom Blur"

--level and --set belong to the --effect before them. `norix list` shows effects, fields and formats.)";

int ParseLevelNumber(const std::string& text, const std::string& whole) {
  const std::optional<long long> level = ParseInteger(text);
  if (!level) FailUsage("--level {}: give a whole number, or two as FROM:TO", whole);
  if (*level < kLowestLevel || *level > kHighestLevel) {
    FailUsage("--level {}: levels run from {} to {}", whole, kLowestLevel, kHighestLevel);
  }
  return static_cast<int>(*level);
}

LevelRange ParseLevel(const std::string& text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string::npos) {
    const int level = ParseLevelNumber(text, text);
    return {level, level};
  }
  return {ParseLevelNumber(text.substr(0, colon), text), ParseLevelNumber(text.substr(colon + 1), text)};
}

std::pair<std::string, std::string> SplitAssignment(const std::string& option, const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) FailUsage("{} {}: give a name and a value as NAME=VALUE", option, text);
  return {text.substr(0, equals), text.substr(equals + 1)};
}

FieldValue ParseField(const std::string& text) {
  const auto [name, value] = SplitAssignment("--set", text);
  const std::optional<double> number = ParseNumber(value);
  if (!number || !std::isfinite(*number)) FailUsage("--set {}: '{}' is not a number", text, value);
  return {name, *number};
}

/// Gives every --level and --set to the --effect that stands before it.
std::vector<EffectRequest> GroupByEffect(const CLI::App& command, const Words& words) {
  std::vector<EffectRequest> requests;
  bool levelGiven = false;
  std::map<const CLI::Option*, std::size_t> seen;
  const CLI::Option* effect = command.get_option("--effect");
  const CLI::Option* level = command.get_option("--level");
  const CLI::Option* set = command.get_option("--set");
  for (const CLI::Option* option : command.parse_order()) {
    if (option != effect && option != level && option != set) continue;
    const std::size_t nth = seen[option]++;
    if (option == effect) {
      requests.push_back({words.effects[nth], {}, {}});
      levelGiven = false;
      continue;
    }
    const std::string& text = option == level ? words.levels[nth] : words.fields[nth];
    const char* name = option == level ? "--level" : "--set";
    if (requests.empty())
      FailUsage("{} {} stands before any --effect; write it after the effect it belongs to", name, text);
    if (option == set) {
      requests.back().fields.push_back(ParseField(text));
      continue;
    }
    if (levelGiven) FailUsage("--level {}: \"{}\" has a level already; one is enough", text, requests.back().name);
    requests.back().level = ParseLevel(text);
    levelGiven = true;
  }
  return requests;
}

}  // namespace

void AddRenderCommand(CLI::App& app, std::function<int()>& run) {
  CLI::App* command = app.add_subcommand("render", "Render a clip with one or more effects");
  command->footer(kExamples);
  const auto words = std::make_shared<Words>();
  RenderRequest& request = words->request;

  command->add_option("INPUT", request.input, "Video file or address, anything FFmpeg reads")->required();
  command->add_option("OUTPUT", request.output.path, "File to write; its extension chooses the container")->required();
  const auto repeated = [&](const char* name, std::vector<std::string>& values, const char* help) {
    return command->add_option(name, values, help)->allow_extra_args(false);
  };
  repeated("--effect", words->effects, "Effect by display name; several make a chain")->type_name("NAME")->required();
  repeated("--level", words->levels, "Level 0 to 10000 of the effect before it, or FROM:TO to run over the clip [5000]")
      ->type_name("N|FROM:TO");
  repeated("--set", words->fields, "Write a field of the effect before it; wins over the level")->type_name("FIELD=VALUE");

  command
      ->add_option("--format", request.format,
                   "Pixel format to propose to the effects, which choose: yuv420p, rgb24 or bgra [the clip's own family]")
      ->type_name("PIXFMT");
  command->add_option("--codec", request.output.codec, "Video encoder [what plays everywhere in that container]")
      ->type_name("NAME");
  repeated("--option", words->options, "Option of the encoder or the container, as FFmpeg names it; repeatable")
      ->type_name("KEY=VALUE");
  command->add_flag("-y,--overwrite", request.output.overwrite, "Replace OUTPUT if it exists");

  command
      ->add_option("--start-frame", request.startFrame, "First frame to render, from 0; levels count over the whole clip")
      ->type_name("N")
      ->check(CLI::NonNegativeNumber);
  command->add_option("--frames", words->frames, "Number of frames to render [to the end]")
      ->type_name("N")
      ->check(CLI::PositiveNumber);
  request.threads = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  command->add_option("--threads", request.threads, "Threads to work on; the result is the same for any number [all cores]")
      ->type_name("N")
      ->check(CLI::Range(1, 1024));
  command
      ->add_option("--bands", request.bands,
                   "Cut every frame into N bands, as hosts with a latency limit do, and render them at the same time, one "
                   "frame after the other. A band is a computation of its own, so the picture may differ at the seams")
      ->type_name("N")
      ->check(CLI::Range(1, 1 << 16));
  command->add_option("--seed", request.seed, "Start of the random numbers of \"Ground Glass\" [1]")->type_name("N");
  const std::map<std::string, ProgressStyle> styles = {{"auto", ProgressStyle::kAutomatic},
                                                       {"bar", ProgressStyle::kBar},
                                                       {"plain", ProgressStyle::kPlain},
                                                       {"json", ProgressStyle::kJson},
                                                       {"none", ProgressStyle::kNone}};
  command->add_option("--progress", request.progress, "auto, bar, plain, json or none, on stderr [a bar on a terminal]")
      ->type_name("STYLE")
      ->transform(CLI::CheckedTransformer(styles, CLI::ignore_case).description(""));

  command->final_callback([command, words, &run] {
    run = [command, words] {
      RenderRequest& todo = words->request;
      todo.effects = GroupByEffect(*command, *words);
      for (const std::string& text : words->options) todo.output.options.push_back(SplitAssignment("--option", text));
      if (words->frames > 0) todo.frames = words->frames;
      return Render(todo);
    };
  });
}

}  // namespace norix::host
