// Focus Color: colour inside a circle, gray outside, with a linear fade over a ring in between.
//
// Distances are whole pixels, so the circle is round. Radius and feather are shares of half the picture's diagonal. In
// packed pictures gray is the luminance by the gray tables, byte 2 taken for red; in planar ones it is chroma 128. The
// fourth byte of the destination keeps what it held.

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/Gray.h"
#include "FilterEffect/common/UnequalLines.h"

namespace {

// Squares of distances to a centre far outside need more than 64 bits.
__extension__ using Wide = unsigned __int128;

/// The length of (a, b) by two Newton steps from the longer leg.
std::int64_t RoughLength(std::int64_t a, std::int64_t b) {
  const auto m = static_cast<Wide>(std::max(a, b));
  if (m == 0) return 0;
  const Wide q = static_cast<Wide>(a) * static_cast<Wide>(a) + static_cast<Wide>(b) * static_cast<Wide>(b);
  const Wide g = (q / m + m) >> 1;
  return static_cast<std::int64_t>((q / g + g) >> 1);
}

/// Half the diagonal of a plane, by the same steps.
std::int64_t HalfDiagonal(int width, int height) { return RoughLength(width, height) / 2; }

/// The circle of one plane, in its samples.
class Focus {
public:
  Focus(int width, int height, const FocusColorParams& params, double feather)
      : centerX_(norix::TruncateToInt(width * params.centerX)), centerY_(norix::TruncateToInt(height * params.centerY)) {
    const auto halfDiagonal = static_cast<double>(HalfDiagonal(width, height));
    radius_ = norix::TruncateToInt(params.radius * halfDiagonal);
    feather_ = norix::TruncateToInt(feather * halfDiagonal);
  }

  /// How gray a sample is: 0 in the circle, 1 beyond the ring.
  double grayness(std::int64_t x, std::int64_t y) const {
    const std::int64_t d = RoughLength(std::abs(x - centerX_), std::abs(y - centerY_));
    if (d > radius_ + feather_) return 1.0;
    if (d <= radius_) return 0.0;
    return static_cast<double>(d - radius_) / static_cast<double>(feather_);
  }

private:
  std::int64_t centerX_;
  std::int64_t centerY_;
  std::int64_t radius_ = 0;
  std::int64_t feather_ = 0;
};

/// At the ends the sum is exactly `value` and `gray`.
std::uint8_t Faded(std::uint8_t value, int gray, double grayness) {
  return static_cast<std::uint8_t>(norix::TruncateToInt((gray - value) * grayness + value));
}

void FadePacked(AVFrame& dst, const AVFrame& src, norix::Band rows, const FocusColorParams& params, double feather) {
  constexpr std::ptrdiff_t kBytesPerPixel = 4;
  const Focus focus(src.width, src.height, params, feather);
  const norix::SourceSteppedRows destination(dst, src, rows.first, kBytesPerPixel);
  for (std::int64_t y = rows.first; y < rows.end(); ++y) {
    const std::uint8_t* in = norix::PlaneOf(src, 0).Row(y);
    std::uint8_t* out = destination.Row(y);
    if (!out) continue;
    for (int x = 0; x < src.width; ++x, in += kBytesPerPixel, out += kBytesPerPixel) {
      const auto gray = static_cast<int>(g_table_b[in[0]] + g_table_g[in[1]] + g_table_r[in[2]]);
      const double grayness = focus.grayness(x, y);
      for (int c = 0; c < 3; ++c) out[c] = Faded(in[c], gray, grayness);
    }
  }
}

void FadePlanar(AVFrame& dst, const AVFrame& src, norix::Band rows, const FocusColorParams& params, double feather) {
  norix::CopyPlaneRows(dst, src, 0, rows);
  const int width = norix::ChromaSize(src.width);
  const Focus focus(width, norix::ChromaSize(src.height), params, feather);
  const norix::Band chromaRows = {(rows.first + 1) >> 1, (rows.count + 1) >> 1};
  for (std::int64_t y = chromaRows.first; y < chromaRows.end(); ++y) {
    const std::uint8_t* inU = norix::PlaneOf(src, 1).Row(y);
    const std::uint8_t* inV = norix::PlaneOf(src, 2).Row(y);
    std::uint8_t* outU = norix::PlaneOf(dst, 1).Row(y);
    std::uint8_t* outV = norix::PlaneOf(dst, 2).Row(y);
    for (int x = 0; x < width; ++x) {
      const double grayness = focus.grayness(x, y);
      outU[x] = Faded(inU[x], 128, grayness);
      outV[x] = Faded(inV[x], 128, grayness);
    }
  }
}

/// The feather to use. A negative one is set to 0 in the object too, perhaps by several bands at a time.
double SettledFeather(FocusColorParams& params) {
  const std::atomic_ref<double> feather(params.feather);
  if (feather.load(std::memory_order_relaxed) < 0) feather.store(0.0, std::memory_order_relaxed);
  return feather.load(std::memory_order_relaxed);
}

}  // namespace

void FocusColor(AVFrame* dst, AVFrame* src, FocusColorParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params) return CopyFrameData(dst, src, firstRow, rowCount);
  const double feather = SettledFeather(*params);
  if (rowCount < 1) return;
  const norix::Band rows = {firstRow, rowCount};
  switch (norix::LayoutOf(src->format)) {
    case norix::Layout::kPacked4:
      return FadePacked(*dst, *src, rows, *params, feather);
    case norix::Layout::kPlanarAlpha:
      norix::CopyAlphaRows(*dst, *src, rows);
      [[fallthrough]];
    case norix::Layout::kPlanar:
      return FadePlanar(*dst, *src, rows, *params, feather);
    case norix::Layout::kPacked3:
    case norix::Layout::kUnknown:
      return;
  }
}
