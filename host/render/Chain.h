#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/Effect.h"
#include "media/Converter.h"

namespace norix::host {

/// A level that runs over the clip, from the first picture to the last. Equal ends: a level that stays.
struct LevelRange {
  int from = 5000;
  int to = 5000;

  /// The level of picture `index` of `count`.
  int at(std::int64_t index, std::int64_t count) const;
};

/// One effect as the user asks for it.
struct EffectRequest {
  std::string name;
  LevelRange level;
  std::vector<FieldValue> fields;
};

/// What all pictures of a render have in common.
struct ChainForm {
  PictureShape clip;  ///< size of the clip, and the format to propose to the effects
  bool formatIsWish;  ///< the user asked for that format
  Colour colour;
  std::int64_t frameCount = 1;  ///< of the whole clip, over which levels run
  int bands = 1;                ///< to cut pictures into
  unsigned seed = 0;            ///< of the random numbers, together with the picture's index
};

/// The effects of a render, one after the other, on one picture at a time. Each thread uses a copy of its own.
class Chain {
public:
  Chain(const std::vector<EffectRequest>& effects, const ChainForm& form);
  Chain(const Chain& other);
  Chain& operator=(const Chain&) = delete;

  /// Format and size of the result.
  PictureShape resultShape() const;

  /// True when pictures must be rendered one after the other, in the order of the clip.
  bool inOrder() const { return drawsRandomNumbers_ || form_.bands > 1; }

  /// Renders a picture and turns it into what the encoder wants: another format, or a column and a row more.
  FramePtr apply(FramePtr frame, std::int64_t index, PictureShape wanted);

private:
  struct Step {
    Effect effect;
    LevelRange level;
    AVPixelFormat format;
  };

  FramePtr renderStep(const Step& step, FramePtr frame) const;

  ChainForm form_;
  std::vector<Step> steps_;
  Converter converter_;
  bool drawsRandomNumbers_ = false;
};

}  // namespace norix::host
