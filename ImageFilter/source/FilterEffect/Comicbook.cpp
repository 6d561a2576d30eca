// Comicbook: harsh colours of a printed comic, from every pixel's own three colour bytes c0, c1, c2 in memory order.
//
//   d = |2 c0 - c1 + c2|    e = |c2 - c0 + 2 c1|
//   byte 0 = d c1 / 256     byte 1 = d c2 / 256     byte 2 = e c2 / 256     each at most 255
// The fourth byte of the destination keeps what it held. Only 4-byte pixels have this look; other formats are left alone.

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "FilterEffect/Effects.h"
#include "FilterEffect/common/Frame.h"
#include "FilterEffect/common/UnequalLines.h"

namespace {

constexpr std::ptrdiff_t kBytesPerPixel = 4;

std::uint8_t Product(int a, int b) { return static_cast<std::uint8_t>(std::min(255, (a * b) >> 8)); }

}  // namespace

void Comicbook(AVFrame* dst, AVFrame* src, FilterParams* /*params*/, int firstRow, int rowCount) {
  if (!norix::HasPicture(dst, src)) return;
  if (norix::LayoutOf(src->format) != norix::Layout::kPacked4) return;
  const norix::Band rows = {firstRow, rowCount};
  const norix::SourceSteppedRows destination(*dst, *src, firstRow, kBytesPerPixel);
  for (std::int64_t y = rows.first; y < rows.end(); ++y) {
    const std::uint8_t* in = norix::PlaneOf(*src, 0).Row(y);
    std::uint8_t* out = destination.Row(y);
    if (!out) continue;
    for (int x = 0; x < src->width; ++x, in += kBytesPerPixel, out += kBytesPerPixel) {
      const int d = std::abs(2 * in[0] - in[1] + in[2]);
      const int e = std::abs(in[2] - in[0] + 2 * in[1]);
      out[0] = Product(d, in[1]);
      out[1] = Product(d, in[2]);
      out[2] = Product(e, in[2]);
    }
  }
}
