#pragma once

// Swirl, Pinch and Bulge: every pixel inside a circle is fetched from the one source pixel nearest to where the effect's
// rule moves it; the others stay where they are.
//
// Places are shares of width and height: u = x / W, v = y / H. Along a row u is a running sum of 1 / W from 0, down the
// band v is a running sum of 1 / H from firstRow / H; the sums decide the last bit of a position, so they are kept as sums.
//
// This part knows the exact place of a pixel, the order of rows, and how far a single-precision estimate can be trusted;
// NearestWarp-inl.h renders.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/PlanarRows.h"

namespace norix {

struct WarpedPoint {
  double u;
  double v;
};

/// The circle that a rule acts in, and how much.
struct WarpCircle {
  double centerX;
  double centerY;
  double radius;
  double amount;
  bool wholeVertical;  ///< the vertical part of the distance is a whole number of picture heights
};

/// What one call renders.
struct WarpPicture {
  Layout layout;
  int width;
  int height;
  Band rows;
  double lastRowV;  ///< place of the last row of an odd planar band
  Plane dst[3];
  ConstPlane src[3];

  WarpPicture(AVFrame& to, const AVFrame& from, Band band, double placeOfLastRow)
      : layout(LayoutOf(from.format)), width(from.width), height(from.height), rows(band), lastRowV(placeOfLastRow) {
    for (int plane = 0; plane < 3; ++plane) {
      dst[plane] = PlaneOf(to, plane);
      src[plane] = PlaneOf(from, plane);
    }
  }

  bool IsPlanar() const { return layout == Layout::kPlanar || layout == Layout::kPlanarAlpha; }
};

/// One row to render. The shifts move the sampled rows afterwards; only the odd last row of a band that ends above the
/// bottom has any.
struct WarpRow {
  std::int64_t y;
  double v;
  double verticalSquare;  ///< the square of the vertical part of the distance
  bool withChroma;
  std::int64_t chromaY;
  std::int64_t shift;
  std::int64_t chromaShift;

  bool IsShifted() const { return shift != 0 || chromaShift != 0; }
};

template <class Rule>
WarpedPoint WarpedPlace(const WarpCircle& circle, double u, double v, double verticalSquare) {
  const double dx = u - circle.centerX;
  const double d = std::sqrt(dx * dx + verticalSquare);
  if (!(circle.radius > d)) return {u, v};
  return Rule::Moved(circle, dx, v - circle.centerY, d);
}

/// Visits the rows of the band from the top. The last row of an odd planar band is treated as the last row of the picture:
/// its source rows are shifted by as much as the band ends above the bottom.
template <class Visit>
void ForEachWarpRow(const WarpCircle& circle, const WarpPicture& picture, const Visit& visit) {
  const double rowStep = 1.0 / picture.height;
  const double firstV = static_cast<double>(picture.rows.first) / picture.height;
  double nextV = firstV;
  int wholes = TruncateToInt(firstV - circle.centerY);
  const auto square = [&](double v) {
    const double dy = v - circle.centerY;
    return dy * dy;
  };
  if (picture.IsPlanar()) {
    ForEachPlanarRow(picture.rows, [&](const PlanarRow& row) {
      const double v = row.oddLast ? picture.lastRowV : nextV;
      nextV += rowStep;
      visit(WarpRow{row.y, v, square(v), row.withChroma, row.chromaY, row.oddLast ? picture.rows.end() - picture.height : 0,
                    row.oddLast ? row.chromaY - ChromaSize(picture.height) + 1 : 0});
    });
    return;
  }
  for (std::int64_t y = picture.rows.first; y < picture.rows.end(); ++y, nextV += rowStep) {
    const double verticalSquare = circle.wholeVertical ? static_cast<double>(std::int64_t{wholes} * wholes) : square(nextV);
    visit(WarpRow{y, nextV, verticalSquare, false, 0, 0, 0});
    wholes = TruncateToInt(static_cast<double>(wholes) + rowStep);
  }
}

/// One row, pixel by pixel. The chroma of a 2x2 block follows its top left pixel.
template <class Rule>
void WarpRowPlainly(const WarpCircle& circle, const WarpPicture& picture, const WarpRow& row) {
  const int width = picture.width;
  const int height = picture.height;
  const int chromaWidth = ChromaSize(width);
  const int chromaHeight = ChromaSize(height);
  const std::size_t bytes = picture.IsPlanar() ? 1 : picture.layout == Layout::kPacked3 ? 3 : 4;
  const double columnStep = 1.0 / width;
  std::uint8_t* out = picture.dst[0].Row(row.y);
  double u = 0.0;
  for (int x = 0; x < width; ++x, out += bytes, u += columnStep) {
    const WarpedPoint at = WarpedPlace<Rule>(circle, u, row.v, row.verticalSquare);
    const std::int64_t y = ClampIndex<std::int64_t>(NearestIndex(at.v * height, height) + row.shift, height);
    const auto column = static_cast<std::size_t>(NearestIndex(at.u * width, width));
    std::memcpy(out, picture.src[0].Row(y) + column * bytes, bytes);
    if (!row.withChroma || x % 2 != 0) continue;
    const int chromaColumn = NearestIndex(at.u * chromaWidth, chromaWidth);
    const std::int64_t chromaRow =
        ClampIndex<std::int64_t>(NearestIndex(at.v * chromaHeight, chromaHeight) + row.chromaShift, chromaHeight);
    for (int plane = 1; plane < 3; ++plane) {
      picture.dst[plane].Row(row.chromaY)[x / 2] = picture.src[plane].Row(chromaRow)[chromaColumn];
    }
  }
}

/// Passes the alpha plane through, which is not warped. False when there is nothing to warp.
inline bool BeginWarp(AVFrame& dst, const AVFrame& src, Band rows) {
  const Layout layout = LayoutOf(src.format);
  if (rows.count < 1 || layout == Layout::kUnknown) return false;
  if (layout == Layout::kPlanarAlpha) CopyAlphaRows(dst, src, rows);
  return true;
}

/// How far a rule's estimate in single precision can be trusted, in shares of the picture's side.
struct WarpBounds {
  double movement;   ///< no pixel moves farther, nor does either product that a movement is the sum of
  double error;      ///< the estimate is off by less than this many 2^-24
  double steepness;  ///< two pixels side by side move this many times their distance apart, at most
};

/// Estimated positions are whole numbers of 2^-fractionBits pixel, off by less than `margin` of them.
struct WarpEstimate {
  bool usable = false;
  bool mirrored = false;  ///< columns left and right of the middle share their distance
  bool narrow = false;    ///< columns, rows and line sizes fit 16 bits
  int fractionBits = 0;
  std::int32_t margin = 0;
  double lastSquare = 0;  ///< the largest square of a distance that is inside the circle
};

/// The farthest distance from the centre that lies both in the picture and in the circle. With whole vertical distances
/// the circle reaches any row.
inline double FarthestInside(const WarpCircle& circle) {
  const double x = std::max(std::abs(circle.centerX), std::abs(1 - circle.centerX));
  const double y = std::max(std::abs(circle.centerY), std::abs(1 - circle.centerY));
  const double corner = std::sqrt(x * x + y * y);
  return circle.wholeVertical ? corner : std::min(circle.radius, corner);
}

/// The position of each column is kept on the stack for mirrored pictures.
inline constexpr int kWidestMirrored = 8192;

/// Not usable for hostile parameters, pictures too narrow to be worth a row's set-up, bands outside the picture and planes
/// whose offsets do not fit 32 bits.
inline WarpEstimate EstimateFor(const WarpCircle& circle, const WarpPicture& picture, const WarpBounds& bounds) {
  constexpr int kNarrowest = 3;
  constexpr int kLargestSide = 32767;
  constexpr std::int64_t kLargestPlane = (std::int64_t{1} << 31) - 65536;
  constexpr double kMostUnits = (1 << 22) - 2;  // what a float can hold beside 1.5 * 2^23, rounded to a whole number
  WarpEstimate estimate;
  const int width = picture.width;
  const int height = picture.height;
  if (width < kNarrowest || width > kLargestSide || height > kLargestSide) return estimate;
  if (picture.rows.first < 0 || picture.rows.end() > height) return estimate;
  const int planes = picture.IsPlanar() ? 3 : 1;
  bool shortLines = true;
  for (int plane = 0; plane < planes; ++plane) {
    const std::int64_t line = std::abs(std::int64_t{picture.src[plane].lineSize});
    if (line * height >= kLargestPlane) return estimate;
    shortLines = shortLines && line <= kLargestSide;
  }
  const auto tame = [](double value, double limit) { return value >= -limit && value <= limit; };
  if (!tame(circle.centerX, 4) || !tame(circle.centerY, 4) || !(circle.radius >= 1e-4 && circle.radius <= 8))
    return estimate;
  if (!(bounds.movement <= 64) || !(bounds.error >= 0 && bounds.error <= 1e6) || !(bounds.steepness <= 1e12))
    return estimate;

  const double side = std::max(width, height);
  estimate.fractionBits = 24;
  while (estimate.fractionBits > 4 && side * bounds.movement * (1 << estimate.fractionBits) >= kMostUnits) {
    --estimate.fractionBits;
  }
  const double unit = 1 << estimate.fractionBits;
  if (side * bounds.movement * unit >= kMostUnits) return estimate;

  // The exact formula rounds, too: some ten operations on numbers below 64 are off by less than 2^-40. The running sums of
  // two columns that mirror each other differ by less than 2^-54 for each addition.
  estimate.mirrored = circle.centerX == 0.5 && width <= kWidestMirrored && (!picture.IsPlanar() || width % 2 == 0);
  double off = bounds.error * 0x1p-24 + 0x1p-40;
  if (estimate.mirrored) off += bounds.steepness * width * 0x1p-53;
  // Rounding to whole units: half a one for the column or row, and twice half a one for the movement.
  const double margin = std::min(std::ceil(side * off * unit + 1.5), unit / 2);
  estimate.margin = static_cast<std::int32_t>(margin);
  estimate.narrow = shortLines && side * (1 + bounds.movement) + 4 <= kLargestSide;

  // Roots are rounded monotonically: distances below the radius have squares up to a certain one.
  double square = circle.radius * circle.radius;
  while (std::sqrt(square) < circle.radius) square = std::nextafter(square, 100.0);
  while (!(std::sqrt(square) < circle.radius)) square = std::nextafter(square, 0.0);
  estimate.lastSquare = square;
  estimate.usable = true;
  return estimate;
}

}  // namespace norix
