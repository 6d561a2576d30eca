#include "render/Chain.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <span>
#include <utility>

#include "engine/Catalogue.h"
#include "render/Workers.h"

namespace norix::host {

namespace {

/// Even rows, so that no two bands share a chroma row.
std::vector<Rows> CutIntoBands(int height, int bands) {
  const int rows = std::max(2, ((height + bands - 1) / bands + 1) & ~1);
  std::vector<Rows> cut;
  for (int first = 0; first < height; first += rows) cut.push_back({first, std::min(rows, height - first)});
  return cut;
}

/// Where picture `index` of `count` lies between two values that the first and the last picture have.
int Between(int first, int last, std::int64_t index, std::int64_t count) {
  const double share = static_cast<double>(std::clamp<std::int64_t>(index, 0, count - 1)) / static_cast<double>(count - 1);
  return first + static_cast<int>(std::lround(share * (last - first)));
}

}  // namespace

int LevelRange::at(std::int64_t index, std::int64_t count) const {
  return count < 2 ? from : Between(from, to, index, count);
}

std::optional<int> TimeSpan::at(std::int64_t index) const {
  const std::int64_t place = index - first;
  if (place < 0 || (place >= count && !stays)) return std::nullopt;
  return count < 2 ? (kFirstTime + kLastTime) / 2 : Between(kFirstTime, kLastTime, place, count);
}

Chain::Chain(const std::vector<StepRequest>& requests, const ChainForm& form)
    : form_(form), converter_(form.colour), resultFormat_(form.clip.format) {
  for (const StepRequest& request : requests) {
    if (const auto* effect = std::get_if<EffectRequest>(&request)) {
      const Target target = targetOf(effect->name);
      resultFormat_ = target.format;
      steps_.emplace_back(EffectStep{Effect(effect->name, effect->fields), effect->level, target});
      drawsRandomNumbers_ = drawsRandomNumbers_ || FindEffect(effect->name).drawsRandomNumbers;
    } else if (const auto* group = std::get_if<GroupRequest>(&request)) {
      GroupStep step = {Group(group->name), group->span, {}};
      for (const FilterGroupEntry& entry : step.group.entries()) {
        step.targets.push_back(entry.name ? targetOf(entry.name) : Target());
        if (entry.name) resultFormat_ = step.targets.back().format;
      }
      steps_.emplace_back(std::move(step));
    }
  }
}

Chain::Chain(const Chain& other)
    : form_(other.form_),
      steps_(other.steps_),
      converter_(other.form_.colour),
      resultFormat_(other.resultFormat_),
      drawsRandomNumbers_(other.drawsRandomNumbers_) {}

Chain::Target Chain::targetOf(const std::string& effect) const {
  const EffectInfo& info = FindEffect(effect);
  // An effect for packed pixels would leave a planar picture as it is.
  const bool packed = info.needsPackedPixels && !form_.formatIsWish;
  const AVPixelFormat format = NegotiateFormat(effect, packed ? AV_PIX_FMT_BGRA : form_.clip.format);
  // Of a separate alpha plane, settings that change nothing copy the first half only.
  return {format, info.leavesBytes || format == AV_PIX_FMT_YUVA420P};
}

FramePtr Chain::apply(FramePtr frame, std::int64_t index, PictureShape wanted) {
  if (frame->width != form_.clip.width || frame->height != form_.clip.height) {
    frame = converter_.fit(std::move(frame), form_.clip, form_.sampleAspectRatio);
  }
  // By picture, so that a piece of a clip looks as it does in the whole.
  if (drawsRandomNumbers_) std::srand(form_.seed + static_cast<unsigned>(index));
  for (Step& step : steps_) {
    frame = std::visit([&](auto& each) { return applyStep(each, std::move(frame), index); }, step);
  }
  return PadByEdge(converter_.convert(std::move(frame), wanted.format), wanted.width, wanted.height);
}

FramePtr Chain::applyStep(EffectStep& step, FramePtr frame, std::int64_t index) {
  step.effect.setLevel(step.level.at(index, form_.frameCount));
  return renderBands(std::move(frame), step.target, [&](AVFrame& destination, AVFrame& source, Rows rows) {
    step.effect.render(destination, source, rows);
  });
}

FramePtr Chain::applyStep(GroupStep& step, FramePtr frame, std::int64_t index) {
  const std::optional<int> time = step.span.at(index);
  if (!time) return frame;
  step.group.setTime(*time);
  const std::span<const FilterGroupEntry> entries = step.group.entries();
  for (std::size_t k = 0; k < entries.size(); ++k) {
    const FilterGroupEntry& entry = entries[k];
    if (!entry.name) {
      frame = converter_.enlarge(std::move(frame), entry.scaleX, entry.scaleY);
      continue;
    }
    const auto render = [&](AVFrame& destination, AVFrame& source, Rows rows) {
      Group::Render(entry, destination, source, rows);
    };
    frame = renderBands(std::move(frame), step.targets[k], render);
  }
  return frame;
}

FramePtr Chain::renderBands(FramePtr frame, const Target& target, const RenderBand& render) {
  frame = converter_.convert(std::move(frame), target.format);
  FramePtr result = pool_.picture(target.format, frame->width, frame->height);
  av_frame_copy_props(result.get(), frame.get());
  if (target.showsSource) av_frame_copy(result.get(), frame.get());
  const std::vector<Rows> bands = CutIntoBands(frame->height, form_.bands);
  // The band at row 0 comes first: "Ripple" builds tables in it for which the others would wait.
  render(*result, *frame, bands.front());
  if (bands.size() > 1) {
    form_.bandWorkers->runAll(bands.size() - 1, [&](std::size_t i) { render(*result, *frame, bands[i + 1]); });
  }
  return result;
}

}  // namespace norix::host
