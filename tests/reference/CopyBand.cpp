#include "reference/Reference.h"
#include "reference/Rules.h"

namespace norix::reference {

void ReferenceCopyBand(AVFrame& dst, const AVFrame& src, int firstRow, int rowCount) {
  if (!HasPicture(dst, src)) return;
  const std::int64_t chromaFirstRow = (std::int64_t{firstRow} + 1) / 2;
  const std::int64_t chromaRowCount = (std::int64_t{rowCount} + 1) / 2;
  if (IsPacked3(src.format) || IsPacked4(src.format)) {
    CopyRows(dst, src, 0, firstRow, rowCount);
  } else if (IsPlanar(src.format)) {
    CopyRows(dst, src, 0, firstRow, rowCount);
    CopyRows(dst, src, 1, chromaFirstRow, chromaRowCount);
    CopyRows(dst, src, 2, chromaFirstRow, chromaRowCount);
    // The alpha plane has all rows, and still is copied over the rows of the chroma band.
    if (src.format == test::kYuva420p) CopyRows(dst, src, 3, chromaFirstRow, chromaRowCount);
  }
}

}  // namespace norix::reference
