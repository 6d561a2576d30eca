/**
 * @file
 * Effects that step the destination from row to row by the line size of the source.
 */
#ifndef NORIX_TESTS_REFERENCE_SOURCESTRIDE_H
#define NORIX_TESTS_REFERENCE_SOURCESTRIDE_H

#include "reference/Rules.h"

namespace norix::reference {

/** Where row `r` of the band is written; null where that is not wholly in the destination's plane of 4-byte pixels. */
inline std::uint8_t* SteppedRow(const AVFrame& dst, const AVFrame& src, std::int64_t firstRow, std::int64_t r) {
  const std::int64_t dstLine = dst.linesize[0];
  const std::int64_t srcLine = src.linesize[0];
  const std::int64_t begin = firstRow * dstLine + r * srcLine;
  const std::int64_t lowest = dstLine < 0 ? (std::int64_t{src.height} - 1) * dstLine : 0;
  const std::int64_t end = lowest + std::int64_t{src.height} * std::abs(dstLine);
  const bool outside = begin < lowest || begin + std::int64_t{src.width} * 4 > end;
  if (dstLine != srcLine && outside) return nullptr;
  return dst.data[0] + begin;
}

}  // namespace norix::reference

#endif
