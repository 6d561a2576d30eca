// Emboss: adds a relief along one diagonal. Every sample becomes itself plus `amount` times
//   -2 -1  0
//   -1  .  1      over its neighbours; beyond the border the edge sample repeats.
//    0  1  2
// Chroma is smoothed by 1-2-1 both ways at the same time. The sums are formed in double, in the order of the rows; a flat
// area may so lose a level.

#include <array>
#include <cstdint>
#include <initializer_list>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"

namespace {

constexpr double kNegligibleAmount = 1e-5;
constexpr std::size_t kNeighbours = 9;
constexpr std::size_t kCentre = 4;

using Weights = std::array<double, kNeighbours>;
using Offsets = std::array<std::ptrdiff_t, kNeighbours>;

constexpr Weights kRelief = {-2, -1, 0, -1, 1, 1, 0, 1, 2};
constexpr Weights kSmoothing = {1, 2, 1, 2, 4, 2, 1, 2, 1};

Weights LumaWeights(double amount) {
  Weights weights;
  for (std::size_t k = 0; k < kNeighbours; ++k) weights[k] = kRelief[k] * (k == kCentre ? 1.0 : amount);
  return weights;
}

Weights ChromaWeights(double amount) {
  Weights weights = LumaWeights(amount);
  for (std::size_t k = 0; k < kNeighbours; ++k) weights[k] *= kSmoothing[k];
  return weights;
}

/// Byte distances from a sample to its neighbours, the sample's own row or column standing in for what lies outside.
Offsets NeighboursOf(std::int64_t x, std::int64_t y, int width, int height, std::ptrdiff_t bytesPerPixel,
                     std::ptrdiff_t lineSize) {
  const std::ptrdiff_t rows[] = {y >= 1 ? -lineSize : 0, 0, y < height - 1 ? lineSize : 0};
  const std::ptrdiff_t columns[] = {x != 0 ? -bytesPerPixel : 0, 0, x < width - 1 ? bytesPerPixel : 0};
  Offsets offsets;
  std::size_t k = 0;
  for (const std::ptrdiff_t row : rows) {
    for (const std::ptrdiff_t column : columns) offsets[k++] = row + column;
  }
  return offsets;
}

double WeightedSum(const std::uint8_t* sample, const Offsets& offsets, const Weights& weights) {
  double sum = 0.0;
  for (std::size_t k = 0; k < kNeighbours; ++k) sum += sample[offsets[k]] * weights[k];
  return sum;
}

// NaN passes both comparisons and is 0 as a byte.
double Limited(double value, double lowest, double highest) {
  if (value < lowest) return lowest;
  return value > highest ? highest : value;
}

std::uint8_t ToByte(double value) { return static_cast<std::uint8_t>(norix::TruncateToInt(value)); }

template <int kBytesPerPixel>
void EmbossPacked(AVFrame& dst, const AVFrame& src, norix::Band rows, double amount) {
  const Weights weights = LumaWeights(amount);
  const norix::ConstPlane from = norix::PlaneOf(src, 0);
  for (std::int64_t y = rows.first; y < rows.end(); ++y) {
    const std::uint8_t* in = from.Row(y);
    std::uint8_t* out = norix::PlaneOf(dst, 0).Row(y);
    for (int x = 0; x < src.width; ++x, in += kBytesPerPixel, out += kBytesPerPixel) {
      const Offsets offsets = NeighboursOf(x, y, src.width, src.height, kBytesPerPixel, from.lineSize);
      for (int c = 0; c < 3; ++c) out[c] = ToByte(Limited(WeightedSum(in + c, offsets, weights), 0.0, 255.0));
      if constexpr (kBytesPerPixel == 4) out[3] = in[3];
    }
  }
}

struct PlaneJob {
  int plane;
  int width;
  int height;
  norix::Band rows;
};

/// `toSample` makes a byte of the weighted sum.
template <class ToSample>
void EmbossPlane(AVFrame& dst, const AVFrame& src, const PlaneJob& job, const Weights& weights, const ToSample& toSample) {
  const norix::ConstPlane from = norix::PlaneOf(src, job.plane);
  for (std::int64_t y = job.rows.first; y < job.rows.end(); ++y) {
    const std::uint8_t* in = from.Row(y);
    std::uint8_t* out = norix::PlaneOf(dst, job.plane).Row(y);
    for (int x = 0; x < job.width; ++x) {
      const Offsets offsets = NeighboursOf(x, y, job.width, job.height, 1, from.lineSize);
      out[x] = toSample(WeightedSum(in + x, offsets, weights));
    }
  }
}

void EmbossPlanar(AVFrame& dst, const AVFrame& src, norix::Band rows, double amount) {
  EmbossPlane(dst, src, {0, src.width, src.height, rows}, LumaWeights(amount),
              [](double sum) { return ToByte(Limited(sum, 16.0, 235.0) + 0.5); });
  const Weights weights = ChromaWeights(amount);
  double divisor = 0.0;
  for (const double weight : weights) divisor += weight;
  const norix::Band chromaRows = {(rows.first + 1) >> 1, (rows.count + 1) / 2};
  for (const int plane : {1, 2}) {
    EmbossPlane(dst, src, {plane, norix::ChromaSize(src.width), norix::ChromaSize(src.height), chromaRows}, weights,
                [&](double sum) { return ToByte(Limited(sum / divisor, 16.0, 240.0) + 0.5); });
  }
}

}  // namespace

void Emboss(AVFrame* dst, AVFrame* src, EmbossParams* params, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (!params || params->amount < kNegligibleAmount) return CopyFrameData(dst, src, firstRow, rowCount);
  if (rowCount < 1) return;
  const norix::Band rows = {firstRow, rowCount};
  switch (norix::LayoutOf(src->format)) {
    case norix::Layout::kPacked3:
      return EmbossPacked<3>(*dst, *src, rows, params->amount);
    case norix::Layout::kPacked4:
      return EmbossPacked<4>(*dst, *src, rows, params->amount);
    case norix::Layout::kPlanarAlpha:
      norix::CopyAlphaRows(*dst, *src, rows);
      [[fallthrough]];
    case norix::Layout::kPlanar:
      return EmbossPlanar(*dst, *src, rows, params->amount);
    case norix::Layout::kUnknown:
      return;
  }
}
