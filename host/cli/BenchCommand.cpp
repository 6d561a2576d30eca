#include "cli/BenchCommand.h"

#include <memory>
#include <string>

#include "Failure.h"
#include "cli/Numbers.h"
#include "cli/Options.h"
#include "engine/Effect.h"
#include "render/Bench.h"

namespace norix::host {

namespace {

constexpr long long kLargestSide = 16384;

struct Words {
  BenchRequest request;
  std::string size = "1920x1080";
  int level = -1;
};

void TakeSize(const std::string& text, BenchRequest& request) {
  const std::size_t cross = text.find('x');
  const auto side = [&](const std::string& number) {
    const auto value = ParseInteger(number);
    if (cross == std::string::npos || !value || *value < 1 || *value > kLargestSide) {
      FailUsage("--size {}: give width and height in pixels, each from 1 to {}, as in 1920x1080", text, kLargestSide);
    }
    return static_cast<int>(*value);
  };
  request.width = side(text.substr(0, cross));
  request.height = side(cross == std::string::npos ? "" : text.substr(cross + 1));
}

}  // namespace

void AddBenchCommand(CLI::App& app, std::function<int()>& run) {
  CLI::App* command = app.add_subcommand("bench", "Time the effects on this machine");
  command->footer(
      "Examples:\n  norix bench\n  norix bench --effect Swirl --effect Ripple --size 3840x2160 --format yuv420p\n"
      "  norix bench --target SSE4 --json\n\n"
      "\"x copy\" is the time over that of copying the picture. --target takes the instruction sets of this machine.");
  const auto words = std::make_shared<Words>();
  BenchRequest& request = words->request;
  AddRepeated(*command, "--effect", request.effects, "Effect to time; repeatable [all]")->type_name("NAME");
  command->add_option("--size", words->size, "Size of the picture in pixels [1920x1080]")->type_name("WxH");
  command->add_option("--format", request.format, "Pixel format to propose: yuv420p, rgb24 or bgra [bgra]")
      ->type_name("FORMAT");
  command->add_option("--target", request.target, "Instruction set to use [the best]")->type_name("NAME");
  command->add_option("--level", words->level, "Level, 0 to 10000 [5000]")
      ->type_name("N")
      ->check(CLI::Range(kLowestLevel, kHighestLevel));
  command->add_option("--seconds", request.seconds, "Time to spend on each effect [0.5]")
      ->type_name("SECONDS")
      ->check(Seconds());
  command->add_flag("--json", request.json, "Print JSON for programs");
  command->final_callback([words, &run] {
    TakeSize(words->size, words->request);
    if (words->level >= 0) words->request.level = words->level;
    CheckRequest(words->request);
    run = [words] { return Bench(words->request); };
  });
}

}  // namespace norix::host
