#include "render/Chain.h"

#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "Failure.h"
#include "engine/Catalogue.h"

namespace norix::host {

namespace {

/// Even rows, so that no two bands share a chroma row.
std::vector<Rows> CutIntoBands(int height, int bands) {
  const int rows = std::max(2, (height + bands - 1) / bands + ((height + bands - 1) / bands) % 2);
  std::vector<Rows> cut;
  for (int first = 0; first < height; first += rows) cut.push_back({first, std::min(rows, height - first)});
  return cut;
}

}  // namespace

int LevelRange::at(std::int64_t index, std::int64_t count) const {
  if (count < 2) return from;
  const double share = static_cast<double>(std::clamp<std::int64_t>(index, 0, count - 1)) / static_cast<double>(count - 1);
  return from + static_cast<int>(std::lround(share * (to - from)));
}

Chain::Chain(const std::vector<EffectRequest>& effects, const ChainForm& form) : form_(form), converter_(form.colour) {
  for (const EffectRequest& request : effects) {
    const EffectInfo& info = FindEffect(request.name);
    // An effect for packed pixels would leave a planar picture as it is.
    const bool packed = info.needsPackedPixels && !form.formatIsWish;
    const AVPixelFormat format = NegotiateFormat(request.name, packed ? AV_PIX_FMT_BGRA : form.clip.format);
    steps_.push_back({Effect(request.name, request.fields), request.level, format});
    drawsRandomNumbers_ = drawsRandomNumbers_ || info.drawsRandomNumbers;
  }
}

Chain::Chain(const Chain& other)
    : form_(other.form_),
      steps_(other.steps_),
      converter_(other.form_.colour),
      drawsRandomNumbers_(other.drawsRandomNumbers_) {}

PictureShape Chain::resultShape() const { return {steps_.back().format, form_.clip.width, form_.clip.height}; }

FramePtr Chain::apply(FramePtr frame, std::int64_t index, PictureShape wanted) {
  // By picture, so that a piece of a clip looks as it does in the whole.
  if (drawsRandomNumbers_) std::srand(form_.seed + static_cast<unsigned>(index));
  for (Step& step : steps_) {
    step.effect.setLevel(step.level.at(index, form_.frameCount));
    frame = renderStep(step, converter_.convert(std::move(frame), {step.format, form_.clip.width, form_.clip.height}));
  }
  frame = converter_.convert(std::move(frame), {wanted.format, form_.clip.width, form_.clip.height});
  return PadByEdge(std::move(frame), wanted.width, wanted.height);
}

FramePtr Chain::renderStep(const Step& step, FramePtr frame) const {
  FramePtr result = NewPicture(step.format, frame->width, frame->height);
  av_frame_copy_props(result.get(), frame.get());
  // Some effects leave bytes unwritten, such as alpha or a last row: there the picture stays as it was.
  av_frame_copy(result.get(), frame.get());
  const std::vector<Rows> bands = CutIntoBands(frame->height, form_.bands);
  // The band at row 0 comes first: "Ripple" builds tables in it for which the others would wait.
  step.effect.render(*result, *frame, bands.front());
  if (bands.size() > 1) {
    // Isolated, so that a thread that waits for bands does not take up another picture meanwhile.
    tbb::this_task_arena::isolate([&] {
      tbb::parallel_for(std::size_t{1}, bands.size(),
                        [&](std::size_t i) { step.effect.render(*result, *frame, bands[i]); });
    });
  }
  return result;
}

}  // namespace norix::host
