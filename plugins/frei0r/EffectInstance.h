#pragma once

// A single-frame effect as the host's plug-in instance. Which one, the build says: NORIX_PLUGIN is its display name.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "Parameters.h"
#include "Picture.h"

namespace norix::frei0r {

struct ReleaseParams {
  void operator()(FilterParams* params) const { ReleaseParamBuffer(params); }
};

class EffectInstance {
public:
  static constexpr const EffectDescription& kEffect = DescriptionOf(NORIX_PLUGIN);
  static constexpr ByteOrder kOrder = kEffect.order;
  static constexpr bool kMixes = false;
  static constexpr int kLevels = kEffect.level >= 0 ? 1 : 0;
  static constexpr int kParameters = kLevels + static_cast<int>(kEffect.fields.size());

  /// Before any instance, once: some effects prepare tables.
  static void Prepare() { kRow.answerFormat(kPixels); }

  static Parameter ParameterAt(int index) {
    if (index < kLevels) return {"Level", kEffect.levelMeaning, kEffect.level};
    return kEffect.fields[static_cast<std::size_t>(index - kLevels)].parameter;
  }

  EffectInstance(int width, int height) : width_(width), height_(height) {
    for (int i = 0; i < kParameters; ++i) values_[i] = ParameterAt(i).standard;
    Apply();
  }

  double Get(int index) const { return values_[index]; }

  void Set(int index, double value) {
    if (values_[index] == value) return;
    values_[index] = value;
    Apply();
  }

  /// Reads the instance only: hosts may render several pictures with one at the same time.
  void Render(const std::uint8_t* from, const std::uint8_t* /*second*/, std::uint8_t* to) const {
    if (kEffect.leavesBytes) std::memcpy(to, from, BytesOf(width_, height_));
    AVFrame source = FrameOf(const_cast<std::uint8_t*>(from), width_, height_);
    AVFrame destination = FrameOf(to, width_, height_);
    kRow.render(&destination, &source, params_.get(), 0, height_);
  }

private:
  static constexpr EffectRow kRow = RowOf(NORIX_PLUGIN);

  void Apply() {
    constexpr double kHighestLevel = 10000;
    const int level = kLevels > 0 ? static_cast<int>(std::lround(values_[0] * kHighestLevel)) : 0;
    FilterParams* params = params_.release();
    int size = 0;
    GetParamBuffer(kEffect.name, level, &params, &size);
    params_.reset(params);
    if (!params) return;
    bool manual = false;
    for (int i = kLevels; i < kParameters; ++i) {
      const FieldParameter& field = kEffect.fields[static_cast<std::size_t>(i - kLevels)];
      if (!field.set) manual = values_[i] != 0;
      if (field.set && (manual || !field.byHand)) field.set(*params, field.ValueAt(values_[i]));
    }
    // A band of no rows builds what an effect keeps in its parameters.
    AVFrame picture = FrameOf(reinterpret_cast<std::uint8_t*>(this), width_, height_);
    kRow.render(&picture, &picture, params, 0, 0);
  }

  int width_;
  int height_;
  double values_[kParameters > 0 ? kParameters : 1] = {};
  std::unique_ptr<FilterParams, ReleaseParams> params_;
};

}  // namespace norix::frei0r
