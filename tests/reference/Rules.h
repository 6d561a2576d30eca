/**
 * @file
 * Rules that hold for all effects.
 */
#ifndef NORIX_TESTS_REFERENCE_RULES_H
#define NORIX_TESTS_REFERENCE_RULES_H

extern "C" {
#include <libavutil/frame.h>
}

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "support/Formats.h"

namespace norix::reference {

inline bool IsPacked4(int format) {
  return format == test::kRgba || format == test::kBgra || format == test::kRgb0 || format == test::kBgr0;
}

inline bool IsPacked3(int format) { return format == test::kRgb24; }

inline bool IsPlanar(int format) { return format == test::kYuv420p || format == test::kYuva420p; }

/** Both frames have the planes that the source's format needs, and there is a picture at all. */
inline bool HasPicture(const AVFrame& dst, const AVFrame& src) {
  if (src.width < 1 || src.height < 1) return false;
  int planes = 0;
  if (IsPacked3(src.format) || IsPacked4(src.format)) planes = 1;
  if (src.format == test::kYuv420p) planes = 3;
  if (src.format == test::kYuva420p) planes = 4;
  for (int plane = 0; plane < planes; ++plane)
    if (dst.data[plane] == nullptr || src.data[plane] == nullptr) return false;
  return true;
}

/** Toward zero; beyond the range of int its nearest end; NaN is 0. */
inline int Truncate(double value) {
  if (std::isnan(value)) return 0;
  if (value <= static_cast<double>(std::numeric_limits<int>::min())) return std::numeric_limits<int>::min();
  if (value >= static_cast<double>(std::numeric_limits<int>::max())) return std::numeric_limits<int>::max();
  return static_cast<int>(value);
}

/** A position taken into 0 .. size - 1. */
inline std::int64_t Clamp(std::int64_t position, std::int64_t size) {
  if (position >= size) return size - 1;
  if (position < 0) return 0;
  return position;
}

inline std::uint8_t* RowOf(const AVFrame& frame, int plane, std::int64_t row) {
  return frame.data[plane] + static_cast<std::ptrdiff_t>(row) * frame.linesize[plane];
}

/** Copies rows of a plane, each as long as the shorter of the two lines. */
inline void CopyRows(AVFrame& dst, const AVFrame& src, int plane, std::int64_t firstRow, std::int64_t rowCount) {
  const std::int64_t dstBytes = std::abs(std::int64_t{dst.linesize[plane]});
  const std::int64_t srcBytes = std::abs(std::int64_t{src.linesize[plane]});
  const std::int64_t bytes = dstBytes < srcBytes ? dstBytes : srcBytes;
  for (std::int64_t row = firstRow; row < firstRow + rowCount; ++row)
    for (std::int64_t i = 0; i < bytes; ++i) RowOf(dst, plane, row)[i] = RowOf(src, plane, row)[i];
}

}  // namespace norix::reference

#endif
