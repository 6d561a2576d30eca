#include "engine/Effect.h"

#include "Failure.h"
#include "engine/Catalogue.h"
#include "media/Av.h"

namespace norix::host {

bool EngineSharesPixelFormats() { return filter_check_format("Swirl", -1) == AV_PIX_FMT_BGRA; }

bool Renders(const std::string& effect) {
  // Only the answer counts: an empty picture leaves the effect nothing to do.
  const FramePtr destination = NewFrame();
  const FramePtr source = NewFrame();
  return filter_video_frame(destination.get(), source.get(), effect.c_str(), nullptr, 0, 0, 0) == 0;
}

AVPixelFormat NegotiateFormat(const std::string& effect, AVPixelFormat proposed) {
  const int answer = filter_check_format(effect.c_str(), proposed);
  if (answer < 0) FailUsage("the engine does not know the effect \"{}\"", effect);
  // Some effects prepare for a format only when it is proposed itself.
  if (answer != proposed) filter_check_format(effect.c_str(), answer);
  return static_cast<AVPixelFormat>(answer);
}

Effect::Effect(std::string name, std::vector<FieldValue> fields) : name_(std::move(name)), fields_(std::move(fields)) {
  setLevel(kLowestLevel);
}

Effect::Effect(const Effect& other)
    : name_(other.name_), fields_(other.fields_), params_(CloneParamBuffer(other.params_.get())) {}

void Effect::setLevel(int level) {
  // The call takes over the reference to the old object and hands out one to the new, which may be the same.
  FilterParams* params = params_.release();
  int size = 0;
  GetParamBuffer(name_.c_str(), level, &params, &size);
  params_.reset(params);
  for (const FieldValue& set : fields_) FieldOf(*params_, name_, set.field) = set.value;
}

void Effect::render(AVFrame& destination, AVFrame& source, Rows rows) const {
  if (filter_video_frame(&destination, &source, name_.c_str(), params_.get(), 0, rows.first, rows.count) != 0) {
    Fail("the engine does not render the effect \"{}\"", name_);
  }
}

}  // namespace norix::host
