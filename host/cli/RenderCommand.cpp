#include "cli/RenderCommand.h"

#include <cmath>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "cli/Numbers.h"
#include "cli/Options.h"
#include "render/Render.h"

namespace norix::host {

namespace {

/// What stands on the command line, before it is understood.
struct Words {
  RenderRequest request;
  std::vector<std::string> effects;
  std::vector<std::string> groups;
  std::vector<std::string> levels;
  std::vector<std::string> fields;
  std::vector<std::string> options;
  std::int64_t frames = 0;
  double groupSeconds = 0;
};

const char* const kExamples = R"(Examples:
  norix render clip.mp4 swirled.mp4 --effect Swirl
  norix render clip.mp4 out.mp4 --effect Swirl --level 0:10000 --set centerX=0.3
  norix render clip.mp4 out.mkv --effect "Zoom Blur" --level 8000 --effect "Mirror Move X" --level 2500
  norix render clip.mov out.mov --effect Swirl --format bgra --codec qtrle
  norix render clip.mp4 part2.mp4 --effect Swirl --start-frame 240 --frames 240
  norix render photo.jpg out.png --effect "Zoom Blur"
  norix render clip.mp4 out.mp4 --group "Mirror Scale Blur" --duration 2

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

FieldValue ParseField(const std::string& text) {
  const auto [name, value] = SplitAssignment("--set", text);
  const std::optional<double> number = ParseNumber(value);
  if (!number || !std::isfinite(*number)) FailUsage("--set {}: '{}' is not a number", text, value);
  return {name, *number};
}

/// Puts effects and groups in their order, and gives every --level and --set to the --effect that stands before it.
class StepParser {
public:
  void addEffect(const std::string& name) {
    steps_.emplace_back(EffectRequest{name, {}, {}});
    levelGiven_ = false;
  }

  void addGroup(const std::string& name) { steps_.emplace_back(GroupRequest{name, {}}); }

  void addLevel(const std::string& text) {
    EffectRequest& effect = effectFor("--level", text);
    if (levelGiven_) FailUsage("--level {}: \"{}\" has a level already; one is enough", text, effect.name);
    effect.level = ParseLevel(text);
    levelGiven_ = true;
  }

  void addField(const std::string& text) { effectFor("--set", text).fields.push_back(ParseField(text)); }

  std::vector<StepRequest> steps() { return std::move(steps_); }

private:
  EffectRequest& effectFor(const char* option, const std::string& text) {
    if (steps_.empty())
      FailUsage("{} {} stands before any --effect; write it after the effect it belongs to", option, text);
    auto* effect = std::get_if<EffectRequest>(&steps_.back());
    if (!effect) FailUsage("{} {} stands after a --group, which follows its time; {} is for effects", option, text, option);
    return *effect;
  }

  std::vector<StepRequest> steps_;
  bool levelGiven_ = false;
};

/// What the options say about effects and groups, in the order in which they stand on the command line.
std::vector<StepRequest> ParseSteps(const CLI::App& command, const Words& words) {
  struct Source {
    const std::vector<std::string>& values;
    void (StepParser::*add)(const std::string& text);
    std::size_t next = 0;
  };
  std::map<const CLI::Option*, Source> sources = {
      {command.get_option("--effect"), {words.effects, &StepParser::addEffect}},
      {command.get_option("--group"), {words.groups, &StepParser::addGroup}},
      {command.get_option("--level"), {words.levels, &StepParser::addLevel}},
      {command.get_option("--set"), {words.fields, &StepParser::addField}},
  };
  StepParser parser;
  for (const CLI::Option* option : command.parse_order()) {
    const auto found = sources.find(option);
    if (found == sources.end()) continue;
    Source& source = found->second;
    (parser.*source.add)(source.values[source.next++]);
  }
  return parser.steps();
}

}  // namespace

void AddRenderCommand(CLI::App& app, std::function<int()>& run) {
  CLI::App* command = app.add_subcommand("render", "Render a clip with effects and groups");
  command->footer(kExamples);
  const auto words = std::make_shared<Words>();
  RenderRequest& request = words->request;

  command->add_option("INPUT", request.input, "Video file or address, anything FFmpeg reads")->required();
  command->add_option("OUTPUT", request.output.path, "File to write; its extension chooses the container")->required();
  AddRepeated(*command, "--effect", words->effects, "Effect by display name; several make a chain")->type_name("NAME");
  AddRepeated(*command, "--level", words->levels,
              "Level 0 to 10000 of the effect before it, or FROM:TO to run over the clip [5000]")
      ->type_name("N|FROM:TO");
  AddRepeated(*command, "--set", words->fields, "Write a field of the effect before it; wins over the level")
      ->type_name("FIELD=VALUE");
  AddRepeated(*command, "--group", words->groups, "Group effect by name, part of the chain; its time runs over the clip")
      ->type_name("NAME");
  command
      ->add_option("--duration", words->groupSeconds,
                   "Seconds over which the time of groups runs; then it stays at its end")
      ->type_name("SECONDS")
      ->check(Seconds());

  command
      ->add_option("--format", request.format,
                   "Pixel format to propose to the effects, which choose: yuv420p, rgb24 or bgra [the clip's own family]")
      ->type_name("PIXFMT");
  AddOutputOptions(*command, request.output, words->options);

  command
      ->add_option("--start-frame", request.startFrame, "First frame to render, from 0; levels count over the whole clip")
      ->type_name("N")
      ->check(CLI::NonNegativeNumber);
  command->add_option("--frames", words->frames, "Number of frames to render [to the end]")
      ->type_name("N")
      ->check(CLI::PositiveNumber);
  command->add_flag("--keep-times", request.keepTimes, "Keep the clip's times in a piece, which begins at 0 otherwise");
  command->add_flag("--video-only", request.videoOnly, "Leave out sound, subtitles, chapters and all other streams");
  AddThreads(*command, request.threads);
  command
      ->add_option("--bands", request.bands,
                   "Cut every frame into N bands, as hosts with a latency limit do, and render them at the same time, one "
                   "frame after the other. A band is a computation of its own, so the picture may differ at the seams")
      ->type_name("N")
      ->check(CLI::Range(1, 1 << 16));
  command->add_option("--seed", request.seed, "Start of the random numbers of \"Ground Glass\" [1]")->type_name("N");
  AddProgress(*command, request.progress);

  command->final_callback([command, words, &run] {
    RenderRequest& todo = words->request;
    todo.steps = ParseSteps(*command, *words);
    TakeOptions(words->options, todo.output);
    if (words->frames > 0) todo.frames = words->frames;
    if (words->groupSeconds > 0) todo.groupSeconds = words->groupSeconds;
    CheckRequest(todo);
    run = [words] { return Render(words->request); };
  });
}

}  // namespace norix::host
