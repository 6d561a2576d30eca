#include <NorixEngine/FEAgorithmset.h>

#include <cstddef>

void FEAgorithmSet::CopyAlphaData(unsigned char* dstAlpha, unsigned char* srcAlpha, int width, int height,
                                  int dstRowPadding, int srcRowPadding, int bytesPerPixel) {
  if (width < 1 || height < 1) return;
  const std::ptrdiff_t step = bytesPerPixel;
  const std::ptrdiff_t dstLine = width * step + dstRowPadding;
  const std::ptrdiff_t srcLine = width * step + srcRowPadding;
  for (std::ptrdiff_t row = 0; row < height; ++row) {
    unsigned char* to = dstAlpha + row * dstLine;
    const unsigned char* from = srcAlpha + row * srcLine;
    for (std::ptrdiff_t column = 0; column < width; ++column) to[column * step] = from[column * step];
  }
}
