#include "FilterEffect/common/RippleTables.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "FilterEffect/common/ExactInt.h"

void InitRippleTable1(RippleParams* params) {
  if (!params) return;
  std::int32_t* table = params->tables->offsetTable;
  if (!table) table = new std::int32_t[norix::kRippleEntries];

  const double width = 101.0 - params->damping;
  const double height = params->amplitude * 1.024 * 1024.0;
  const double step = 6.283185307179586 / (1024.0 / width);
  std::array<double, norix::kRippleSteps> wave;
  for (std::size_t i = 0; i < wave.size(); ++i) wave[i] = std::sin(static_cast<double>(i) * step) * height;
  std::int32_t* entry = table;
  for (int j = 0; j < norix::kRippleSteps; ++j) {
    // Nearly 1 next to the centre, nearly 0 in the last row.
    const double fading = j == 0 ? 0.0 : 1.0 / j + -0.0009765625;
    for (const double value : wave) *entry++ = norix::TruncateToInt(value * fading);
  }

  // Bands on other threads may be looking for the table: they see it filled or not at all.
  std::atomic_ref(params->tables->offsetTable).store(table, std::memory_order_release);
}

void InitRippleTable2(RippleParams* params, int size) {
  if (!params) return;
  const int count = std::max(size, 0);
  auto* table = new std::int32_t[static_cast<std::size_t>(count)];  // first: when it fails the old table stays
  delete[] params->tables->weightTable;
  params->tables->weightTable = table;
  if (count == 0) return;
  const double scale = 1024.0 / count;
  double distance = 0.0;
  for (int i = 0; i < count; ++i, distance += 1.0) params->tables->weightTable[i] = norix::TruncateToInt(scale * distance);
}
