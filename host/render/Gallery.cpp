#include "render/Gallery.h"

extern "C" {
#include <libavutil/imgutils.h>
}

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "Interrupt.h"
#include "engine/Catalogue.h"
#include "engine/Effect.h"
#include "engine/Group.h"
#include "media/NewFolder.h"
#include "media/PartFile.h"
#include "media/Png.h"
#include "render/ClipReader.h"
#include "render/FileRun.h"
#include "render/Workers.h"

namespace norix::host {

namespace {

namespace fs = std::filesystem;

constexpr std::array<int, 5> kLevels = {0, 2500, 5000, 7500, 10000};
constexpr int kTimeStep = 1000;
constexpr int kGap = 4;  // pixels between two pictures of a strip

/// One strip: what it shows, and the steps and picture numbers that make its pictures.
struct Strip {
  struct Shot {
    StepRequest step;
    std::int64_t index;
    int label;  ///< the level or the time
  };

  std::string name;
  std::string summary;
  std::string unit;    ///< what the labels are: "level" or "time"
  std::string detail;  ///< what the level sets, or what the group applies
  std::vector<Shot> shots;

  std::string fileName() const {
    std::string file = name;
    for (char& c : file) c = c == ' ' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return file + ".png";
  }
};

std::vector<Strip> AllStrips() {
  std::vector<Strip> strips;
  for (const EffectInfo& effect : Effects()) {
    if (!Renders(effect.name)) continue;
    Strip strip = {effect.name, effect.summary, "level", "level sets " + effect.level, {}};
    for (const int level : kLevels) strip.shots.push_back({EffectRequest{effect.name, {level, level}, {}}, 0, level});
    strips.push_back(std::move(strip));
  }
  for (const GroupInfo& group : Groups()) {
    std::string parts;
    for (const std::string& effect : Group::EffectsOf(group.name)) parts += (parts.empty() ? "" : ", ") + effect;
    Strip strip = {group.name, group.summary, "time", "applies " + parts, {}};
    // With a span of as many pictures as there are times, the picture's number is the time.
    const TimeSpan times = {0, kLastTime - kFirstTime + 1, false};
    for (int time = kFirstTime; time <= kLastTime; time += kTimeStep) {
      strip.shots.push_back({GroupRequest{group.name, times}, time, time});
    }
    strips.push_back(std::move(strip));
  }
  return strips;
}

FramePtr RenderStrip(const Strip& strip, const AVFrame& frame, const ChainForm& form, int width, int height) {
  const int count = static_cast<int>(strip.shots.size());
  FramePtr picture = NewPicture(AV_PIX_FMT_RGB24, count * (width + kGap) - kGap, height);
  for (int y = 0; y < height; ++y) {
    std::fill_n(picture->data[0] + static_cast<std::ptrdiff_t>(y) * picture->linesize[0],
                static_cast<std::size_t>(picture->width) * 3, std::uint8_t{255});
  }
  Converter converter(form.colour);
  for (int i = 0; i < count; ++i) {
    const Strip::Shot& shot = strip.shots[static_cast<std::size_t>(i)];
    Chain chain({shot.step}, form);
    FramePtr shown = chain.apply(FramePtr(OrBadAlloc(av_frame_clone(&frame))), shot.index, chain.resultShape());
    shown->sample_aspect_ratio = form.sampleAspectRatio;
    shown = converter.fit(std::move(shown), {AV_PIX_FMT_RGB24, width, height}, {1, 1});
    std::uint8_t* corner = picture->data[0] + static_cast<std::ptrdiff_t>(i) * (width + kGap) * 3;
    av_image_copy_plane(corner, picture->linesize[0], shown->data[0], shown->linesize[0], width * 3, height);
  }
  return picture;
}

std::string Labels(const Strip& strip) {
  std::string labels;
  for (const Strip::Shot& shot : strip.shots) labels += (labels.empty() ? "" : ", ") + std::to_string(shot.label);
  return labels;
}

std::string MarkdownPage(const std::vector<Strip>& strips) {
  std::string page = "# Effects and groups\n\nFrom left to right: the levels of an effect, the times of a group.\n";
  for (const Strip& strip : strips) {
    page += fmt::format("\n## {}\n\n{}; {}. {}s {}.\n\n![{}]({})\n", strip.name, strip.summary, strip.detail, strip.unit,
                        Labels(strip), strip.name, strip.fileName());
  }
  return page;
}

std::string HtmlPage(const std::vector<Strip>& strips) {
  std::string page =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>NorixEngine: effects and "
      "groups</title>\n"
      "<style>body{font-family:sans-serif;margin:2em}img{max-width:100%;display:block}"
      "ol{display:flex;list-style:none;margin:0;padding:0}li{flex:1;color:#555}</style>\n</head>\n<body>\n"
      "<h1>Effects and groups</h1>\n";
  for (const Strip& strip : strips) {
    page += fmt::format("<h2>{}</h2>\n<p>{}; {}.</p>\n<img src=\"{}\" alt=\"{}\">\n<ol>", strip.name, strip.summary,
                        strip.detail, strip.fileName(), strip.name);
    for (const Strip::Shot& shot : strip.shots) page += fmt::format("<li>{} {}</li>", strip.unit, shot.label);
    page += "</ol>\n";
  }
  return page + "</body>\n</html>\n";
}

/// The picture to show the effects on.
FramePtr ReadFrame(Input& input, const GalleryRequest& request) {
  std::int64_t index = request.frame.value_or(0);
  if (!request.frame) {
    const std::optional<ClipScan> scan = ScanClip(request.input);
    if (scan) index = scan->frames / 2;
  }
  ClipReader reader(input, index, 1, "--frame");
  while (std::optional<ClipPart> part = reader.next()) {
    if (part->frame) return std::move(part->frame);
  }
  Fail("'{}' has no picture that can be decoded", request.input);
}

/// The files of a gallery, which get their names together.
class GalleryFiles {
public:
  GalleryFiles(const fs::path& folder, const std::vector<Strip>& strips, bool overwrite) {
    for (const Strip& strip : strips) strips_.push_back(std::make_unique<PartFile>(folder / strip.fileName(), overwrite));
    for (const char* page : {"index.md", "index.html"}) {
      pages_.push_back(std::make_unique<PartFile>(folder / page, overwrite));
    }
  }

  const PartFile& strip(std::size_t index) const { return *strips_[index]; }

  void writePages(const std::vector<Strip>& strips) {
    pages_[0]->write(MarkdownPage(strips));
    pages_[1]->write(HtmlPage(strips));
  }

  /// Pages last: what they show is there.
  void keep() {
    for (const auto& file : strips_) file->keep();
    for (const auto& file : pages_) file->keep();
  }

private:
  std::vector<std::unique_ptr<PartFile>> strips_;
  std::vector<std::unique_ptr<PartFile>> pages_;
};

}  // namespace

ExitCode Gallery(const GalleryRequest& request) {
  CheckEngine();
  Input input(request.input);
  const FramePtr frame = ReadFrame(input, request);
  const std::vector<Strip> strips = AllStrips();
  NewFolder folder(request.folder);
  GalleryFiles files(request.folder, strips, request.overwrite);

  const ChainForm form = ChainFormOf(input, ClipFormat(input));
  const AVRational aspect = form.sampleAspectRatio;
  const double shape = form.clip.height / (form.clip.width * (aspect.num > 0 && aspect.den > 0 ? av_q2d(aspect) : 1.0));
  const int height = std::max(1, static_cast<int>(std::lround(request.width * shape)));

  Workers workers(request.threads);
  workers.runAll(strips.size(), [&](std::size_t i) {
    if (Interrupted()) return;
    const FramePtr picture = RenderStrip(strips[i], *frame, form, request.width, height);
    WritePng(*picture, files.strip(i));
  });
  files.writePages(strips);
  EndInterrupts();
  files.keep();
  folder.keep();
  fmt::print("{}: {} strips; open {}\n", request.folder.string(), strips.size(), (request.folder / "index.html").string());
  return kDone;
}

}  // namespace norix::host
