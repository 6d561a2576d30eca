#include "cli/TransitionCommand.h"

#include <memory>
#include <string>
#include <vector>

#include "cli/Options.h"
#include "render/Transition.h"

namespace norix::host {

namespace {

const char* const kExamples = R"(Examples:
  norix transition a.mp4 b.mp4 joined.mp4 --group "Flip Roll Left"
  norix transition a.mp4 b.mov joined.mkv --group "Tile Zoom Blur" --duration 1.5

The last frames of A show the first half of the group's time, the first frames of B the second. B is fitted to A: scaled
without distortion onto black, shown at A's frame rate. Sound fades out with A and in with B. `norix list` shows groups.)";

struct Words {
  TransitionRequest request;
  std::vector<std::string> options;
};

}  // namespace

void AddTransitionCommand(CLI::App& app, std::function<int()>& run) {
  CLI::App* command = app.add_subcommand("transition", "Join two clips with a group effect over the cut");
  command->footer(kExamples);
  const auto words = std::make_shared<Words>();
  TransitionRequest& request = words->request;
  command->add_option("A", request.first, "Video file that comes first")->required();
  command->add_option("B", request.second, "Video file that follows")->required();
  command->add_option("OUTPUT", request.output.path, "File to write; its extension chooses the container")->required();
  command->add_option("--group", request.group, "Group effect by name")->type_name("NAME")->required();
  command->add_option("--duration", request.seconds, "Length of the transition in seconds, half of it before the cut [1]")
      ->type_name("SECONDS")
      ->check(Seconds());
  AddOutputOptions(*command, request.output, words->options);
  AddThreads(*command, request.threads);
  AddProgress(*command, request.progress);
  command->final_callback([words, &run] {
    TakeOptions(words->options, words->request.output);
    CheckRequest(words->request);
    run = [words] { return Transition(words->request); };
  });
}

}  // namespace norix::host
