#include "cli/GalleryCommand.h"

#include <cstdint>
#include <memory>

#include "cli/Options.h"
#include "render/Gallery.h"

namespace norix::host {

namespace {

struct Words {
  GalleryRequest request;
  std::int64_t frame = -1;
};

}  // namespace

void AddGalleryCommand(CLI::App& app, std::function<int()>& run) {
  CLI::App* command = app.add_subcommand("gallery", "Show every effect and group on one frame of a clip, as pictures");
  command->footer(
      "Examples:\n  norix gallery clip.mp4 gallery\n  norix gallery photo.jpg gallery --width 160 -y\n\n"
      "DIR gets a PNG strip per effect (levels 0 to 10000) and group (times 0 to 10000), index.html and index.md.");
  const auto words = std::make_shared<Words>();
  GalleryRequest& request = words->request;
  command->add_option("INPUT", request.input, "Video file or picture, anything FFmpeg reads")->required();
  command->add_option("DIR", request.folder, "Folder to write to; made if it is not there")->required();
  command->add_option("--frame", words->frame, "Frame to show, from 0 [the middle of the clip]")
      ->type_name("N")
      ->check(CLI::NonNegativeNumber);
  command->add_option("--width", request.width, "Width of one small picture in pixels [256]")
      ->type_name("N")
      ->check(CLI::Range(8, 4096));
  AddThreads(*command, request.threads);
  command->add_flag("-y,--overwrite", request.overwrite, "Replace files that exist");
  command->final_callback([words, &run] {
    if (words->frame >= 0) words->request.frame = words->frame;
    run = [words] { return Gallery(words->request); };
  });
}

}  // namespace norix::host
