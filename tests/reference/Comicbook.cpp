#include <algorithm>
#include <cstdlib>

#include "reference/Reference.h"
#include "reference/Rules.h"
#include "reference/SourceStride.h"

namespace norix::reference {

void ReferenceComicbook(AVFrame& dst, const AVFrame& src, const FilterParams* /*params*/, int firstRow, int rowCount) {
  if (!HasPicture(dst, src) || !IsPacked4(src.format)) return;
  for (std::int64_t r = 0; r < rowCount; ++r) {
    std::uint8_t* const out = SteppedRow(dst, src, firstRow, r);
    if (out == nullptr) continue;
    const std::uint8_t* const in = RowOf(src, 0, firstRow + r);
    for (std::int64_t x = 0; x < src.width; ++x) {
      const int c0 = in[x * 4];
      const int c1 = in[x * 4 + 1];
      const int c2 = in[x * 4 + 2];
      const int d = std::abs(2 * c0 - c1 + c2);
      const int e = std::abs(c2 - c0 + 2 * c1);
      out[x * 4] = static_cast<std::uint8_t>(std::min(255, (d * c1) >> 8));
      out[x * 4 + 1] = static_cast<std::uint8_t>(std::min(255, (d * c2) >> 8));
      out[x * 4 + 2] = static_cast<std::uint8_t>(std::min(255, (e * c2) >> 8));
    }
  }
}

}  // namespace norix::reference
