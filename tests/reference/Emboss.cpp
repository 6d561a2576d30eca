#include <array>

#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

namespace {

constexpr int kNeighbours = 9;
using Weights = std::array<double, kNeighbours>;

/** Row by row from up-left to down-right. */
constexpr std::array<int, kNeighbours> kRelief = {-2, -1, 0, -1, 1, 1, 0, 1, 2};
constexpr std::array<int, kNeighbours> kChromaSmoothing = {1, 2, 1, 2, 4, 2, 1, 2, 1};

Weights MainWeights(double amount) {
  Weights weights;
  for (std::size_t k = 0; k < kNeighbours; ++k) weights[k] = kRelief[k] * (k == 4 ? 1.0 : amount);
  return weights;
}

Weights ChromaWeights(double amount) {
  Weights weights = MainWeights(amount);
  for (std::size_t k = 0; k < kNeighbours; ++k) weights[k] *= kChromaSmoothing[k];
  return weights;
}

/** Beyond the plane, of `width` samples and `height` rows, the sample's own row or column stands in. */
double Weigh(const std::uint8_t* sample, std::int64_t x, std::int64_t y, std::int64_t width, std::int64_t height,
             int bytesPerPixel, std::int64_t lineSize, const Weights& weights) {
  const std::int64_t rows[3] = {y >= 1 ? -lineSize : 0, 0, y < height - 1 ? lineSize : 0};
  const std::int64_t columns[3] = {x != 0 ? -bytesPerPixel : 0, 0, x < width - 1 ? bytesPerPixel : 0};
  double sum = 0.0;
  for (std::size_t k = 0; k < kNeighbours; ++k) sum += sample[rows[k / 3] + columns[k % 3]] * weights[k];
  return sum;
}

double Limit(double value, double least, double most) {
  if (value < least) return least;
  if (value > most) return most;
  return value;
}

void EmbossPacked(AVFrame& dst, const AVFrame& src, double amount, int firstRow, int rowCount, int bytesPerPixel) {
  const Weights weights = MainWeights(amount);
  for (int r = 0; r < rowCount; ++r) {
    const std::int64_t y = std::int64_t{firstRow} + r;
    for (int x = 0; x < src.width; ++x) {
      const std::uint8_t* const in = RowOf(src, 0, y) + std::int64_t{x} * bytesPerPixel;
      std::uint8_t* const out = RowOf(dst, 0, y) + std::int64_t{x} * bytesPerPixel;
      for (int i = 0; i < 3; ++i) {
        const double sum = Weigh(in + i, x, y, src.width, src.height, bytesPerPixel, src.linesize[0], weights);
        out[i] = static_cast<std::uint8_t>(Truncate(Limit(sum, 0.0, 255.0)));
      }
      if (bytesPerPixel == 4) out[3] = in[3];
    }
  }
}

void EmbossPlanar(AVFrame& dst, const AVFrame& src, double amount, int firstRow, int rowCount) {
  const Weights weights = MainWeights(amount);
  for (int r = 0; r < rowCount; ++r) {
    const std::int64_t y = std::int64_t{firstRow} + r;
    for (int x = 0; x < src.width; ++x) {
      const double sum = Weigh(RowOf(src, 0, y) + x, x, y, src.width, src.height, 1, src.linesize[0], weights);
      RowOf(dst, 0, y)[x] = static_cast<std::uint8_t>(Truncate(Limit(sum, 16.0, 235.0) + 0.5));
    }
  }

  const Weights chromaWeights = ChromaWeights(amount);
  double divisor = 0.0;
  for (const double weight : chromaWeights) divisor += weight;
  const std::int64_t chromaWidth = (std::int64_t{src.width} + 1) >> 1;
  const std::int64_t chromaHeight = (std::int64_t{src.height} + 1) >> 1;
  const std::int64_t firstChromaRow = (std::int64_t{firstRow} + 1) >> 1;
  const std::int64_t chromaRows = (std::int64_t{rowCount} + 1) / 2;
  for (std::int64_t y = firstChromaRow; y < firstChromaRow + chromaRows; ++y)
    for (std::int64_t x = 0; x < chromaWidth; ++x)
      for (int plane = 1; plane <= 2; ++plane) {
        const double sum =
            Weigh(RowOf(src, plane, y) + x, x, y, chromaWidth, chromaHeight, 1, src.linesize[plane], chromaWeights);
        RowOf(dst, plane, y)[x] = static_cast<std::uint8_t>(Truncate(Limit(sum / divisor, 16.0, 240.0) + 0.5));
      }
}

}  // namespace

void ReferenceEmboss(AVFrame& dst, const AVFrame& src, const EmbossParams* params, int firstRow, int rowCount) {
  if (!HasPicture(dst, src)) return;
  if (params == nullptr || params->amount < 1e-5) {
    ReferenceCopyBand(dst, src, firstRow, rowCount);
    return;
  }
  if (rowCount < 1) return;
  if (IsPacked3(src.format)) EmbossPacked(dst, src, params->amount, firstRow, rowCount, 3);
  if (IsPacked4(src.format)) EmbossPacked(dst, src, params->amount, firstRow, rowCount, 4);
  if (src.format == test::kYuva420p) CopyRows(dst, src, 3, firstRow, rowCount);
  if (IsPlanar(src.format)) EmbossPlanar(dst, src, params->amount, firstRow, rowCount);
}

}  // namespace norix::reference
