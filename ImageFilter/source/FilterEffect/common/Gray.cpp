#include "FilterEffect/common/Gray.h"

#include <atomic>
#include <cstddef>

std::uint32_t g_table_r[256];
std::uint32_t g_table_g[256];
std::uint32_t g_table_b[256];

void InitRGB2GrayTable() {
  // The last red weight is written last and says that all others are there. Format negotiation may run on several threads.
  const std::atomic_ref<std::uint32_t> filled(g_table_r[255]);
  if (filled.load(std::memory_order_acquire) != 0) return;
  const auto set = [](std::uint32_t& weight, std::uint32_t value, std::memory_order order) {
    std::atomic_ref<std::uint32_t>(weight).store(value, order);
  };
  for (std::uint32_t i = 0; i < 256; ++i) {
    set(g_table_g[i], (i * 601) >> 10, std::memory_order_relaxed);
    set(g_table_b[i], (i * 117) >> 10, std::memory_order_relaxed);
    set(g_table_r[i], (i * 306) >> 10, i == 255 ? std::memory_order_release : std::memory_order_relaxed);
  }
}

int RGB2Gray(unsigned char* gray, unsigned char* src, int width, int height, int srcRowPadding, int bytesPerPixel,
             int order) {
  if (width < 1 || height < 1 || (order != 0 && order != 1)) return 0;
  const std::ptrdiff_t red = order == 1 ? 0 : 2;
  const std::ptrdiff_t blue = 2 - red;
  const std::ptrdiff_t step = bytesPerPixel;
  const std::ptrdiff_t lineSize = width * step + srcRowPadding;
  for (std::ptrdiff_t y = 0; y < height; ++y) {
    const unsigned char* row = src + y * lineSize;
    unsigned char* out = gray + y * width;
    for (std::ptrdiff_t x = 0; x < width; ++x) {
      const unsigned char* pixel = row + x * step;
      out[x] = static_cast<unsigned char>(g_table_r[pixel[red]] + g_table_g[pixel[1]] + g_table_b[pixel[blue]]);
    }
  }
  return 0;
}
