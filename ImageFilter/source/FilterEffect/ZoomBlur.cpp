// Zoom Blur: smears the picture along the lines through a centre, as if the camera zoomed during the exposure.
//
// Tap k of 0..8 of a sample lies (k - 4) * strength percent of its distance from the centre further towards the centre; the
// ones before 4 lie outward, tap 4 is the sample itself. The distance is a running value that loses strength / 100 with
// every row and column.

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/LineBlur.h"

namespace {

constexpr double kNegligibleStrength = 1e-5;  // percent

/// The line from a sample to the centre, walked along with the samples.
class ZoomLine {
public:
  ZoomLine(const ZoomBlurParams& params, norix::PlaneSize size, std::int64_t firstRow) : step_(params.strength / 100) {
    const int centerX = norix::TruncateToInt(size.width * params.centerX);
    const int centerY = norix::TruncateToInt(size.height * params.centerY);
    dy_ = static_cast<double>(centerY - firstRow) * params.strength / 100;
    firstDx_ = params.strength * centerX / 100;
  }

  double row(int k, double y) const { return (k - 4) * dy_ + y; }
  double column(int k, double x) const { return (k - 4) * dx_ + x; }
  void nextRow() { dy_ -= step_; }
  void firstColumn() { dx_ = firstDx_; }
  void nextColumn() { dx_ -= step_; }

private:
  double step_;
  double firstDx_;
  double dx_ = 0.0;
  double dy_;
};

}  // namespace

void ZoomBlur(AVFrame* dst, AVFrame* src, ZoomBlurParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params || params->strength < kNegligibleStrength) return CopyFrameData(dst, src, firstRow, rowCount);
  norix::BlurFrame(*dst, *src, {firstRow, rowCount},
                   [&](norix::PlaneSize size, std::int64_t first) { return ZoomLine(*params, size, first); });
}
