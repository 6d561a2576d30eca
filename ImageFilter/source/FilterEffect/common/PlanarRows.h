#pragma once

#include <cstdint>

#include "FilterEffect/common/Frame.h"

namespace norix {

/// One luma row of a planar band, and the chroma row that goes with it.
struct PlanarRow {
  std::int64_t y;
  bool withChroma;
  std::int64_t chromaY;
  bool oddLast;  ///< the last row of an odd band, which has no partner
};

/// Visits the luma rows of a band. They go in pairs counted from the band's first row; the first of each pair brings a
/// chroma row along, and so does a last one without partner.
template <class Visit>
void ForEachPlanarRow(Band rows, const Visit& visit) {
  const std::int64_t firstChromaRow = rows.first >> 1;
  const std::int64_t paired = rows.count & ~std::int64_t{1};
  for (std::int64_t r = 0; r < paired; ++r) {
    visit(PlanarRow{rows.first + r, r % 2 == 0, firstChromaRow + r / 2, false});
  }
  if (rows.count > paired) visit(PlanarRow{rows.end() - 1, true, firstChromaRow + (rows.count >> 1), true});
}

}  // namespace norix
