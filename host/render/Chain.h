#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "engine/Effect.h"
#include "engine/Group.h"
#include "media/Converter.h"

namespace norix::host {

class Workers;

/// A level that runs over the clip, from the first picture to the last. Equal ends: a level that stays.
struct LevelRange {
  int from = 5000;
  int to = 5000;

  /// The level of picture `index` of `count`.
  int at(std::int64_t index, std::int64_t count) const;
};

/// The pictures over which a group's time runs from its first to its last value.
struct TimeSpan {
  std::int64_t first = 0;
  std::int64_t count = 1;
  bool stays = false;  ///< pictures after the span keep the last time; else they and those before it are left alone

  /// The time of picture `index`; a span of one picture is half way.
  std::optional<int> at(std::int64_t index) const;
};

/// One effect as the user asks for it.
struct EffectRequest {
  std::string name;
  LevelRange level;
  std::vector<FieldValue> fields;
};

/// One group as the user asks for it.
struct GroupRequest {
  std::string name;
  TimeSpan span;
};

using StepRequest = std::variant<EffectRequest, GroupRequest>;

/// What all pictures of a render have in common.
struct ChainForm {
  PictureShape clip;  ///< size of the clip, and the format to propose to the effects
  bool formatIsWish;  ///< the user asked for that format
  Colour colour;
  AVRational sampleAspectRatio = {0, 1};
  std::int64_t frameCount = 1;     ///< of the whole clip, over which levels run
  int bands = 1;                   ///< to cut pictures into
  Workers* bandWorkers = nullptr;  ///< threads for bands, if there are several; borrowed
  unsigned seed = 0;               ///< of the random numbers, together with the picture's index
};

/// The effects of a render, one after the other, on one picture at a time. Each thread uses a copy of its own.
class Chain {
public:
  Chain(const std::vector<StepRequest>& requests, const ChainForm& form);
  Chain(const Chain& other);
  Chain& operator=(const Chain&) = delete;

  /// Format and size of the result.
  PictureShape resultShape() const { return {resultFormat_, form_.clip.width, form_.clip.height}; }

  /// True when pictures must be rendered one after the other, in the order of the clip.
  bool inOrder() const { return drawsRandomNumbers_ || form_.bands > 1; }

  /// Renders a picture and turns it into what the encoder wants: another format, or a column and a row more. A picture of
  /// another size than the clip's is fitted to that first.
  FramePtr apply(FramePtr frame, std::int64_t index, PictureShape wanted);

private:
  /// What a step renders into.
  struct Target {
    AVPixelFormat format = AV_PIX_FMT_NONE;
    bool showsSource = false;  ///< holds the source already, for an effect that leaves bytes unwritten
  };
  struct EffectStep {
    Effect effect;
    LevelRange level;
    Target target;
  };
  struct GroupStep {
    Group group;
    TimeSpan span;
    std::vector<Target> targets;  // of the entries; unused where an entry has no effect
  };
  using Step = std::variant<EffectStep, GroupStep>;
  using RenderBand = std::function<void(AVFrame& destination, AVFrame& source, Rows rows)>;

  Target targetOf(const std::string& effect) const;
  FramePtr applyStep(EffectStep& step, FramePtr frame, std::int64_t index);
  FramePtr applyStep(GroupStep& step, FramePtr frame, std::int64_t index);
  FramePtr renderBands(FramePtr frame, const Target& target, const RenderBand& render);

  ChainForm form_;
  std::vector<Step> steps_;
  Converter converter_;
  PicturePool pool_;
  AVPixelFormat resultFormat_ = AV_PIX_FMT_NONE;
  bool drawsRandomNumbers_ = false;
};

}  // namespace norix::host
