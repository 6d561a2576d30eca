// Motion Blur: smears the picture in one direction, as if the camera moved in a straight line during the exposure.
//
// Tap k of 0..8 lies (k - 4) * strength samples from its sample, at `angle` degrees from rightwards to downwards. Chroma
// uses the same distances in its own samples and so is smeared twice as far.

#include <array>
#include <cmath>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/LineBlur.h"

namespace {

constexpr double kNegligibleStrength = 1e-5;  // samples
constexpr double kPi = 3.141592653;           // the look of "straight down" rests on these digits and no more

/// The same taps for every sample.
class MotionLine {
public:
  explicit MotionLine(const MotionBlurParams& params) {
    const double theta = params.angle * kPi / 180.0;
    const double stepY = std::sin(theta) * params.strength;
    const double stepX = std::cos(theta) * params.strength;
    for (int k = 0; k < norix::kTapCount; ++k) {
      tapDy_[static_cast<std::size_t>(k)] = stepY * (k - 4);
      tapDx_[static_cast<std::size_t>(k)] = (k - 4) * stepX;
    }
  }

  double row(int k, double y) const { return tapDy_[static_cast<std::size_t>(k)] + y; }
  double column(int k, double x) const { return tapDx_[static_cast<std::size_t>(k)] + x; }
  void nextRow() {}
  void firstColumn() {}
  void nextColumn() {}

private:
  std::array<double, norix::kTapCount> tapDy_{};
  std::array<double, norix::kTapCount> tapDx_{};
};

}  // namespace

void MotionBlur(AVFrame* dst, AVFrame* src, MotionBlurParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params || params->strength < kNegligibleStrength) return CopyFrameData(dst, src, firstRow, rowCount);
  const MotionLine line(*params);
  norix::BlurFrame(*dst, *src, {firstRow, rowCount}, [&](norix::PlaneSize, std::int64_t) { return line; });
}
