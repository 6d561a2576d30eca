#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "FilterEffect/common/RippleTables.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "FilterEffect/common/RippleTables.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "FilterEffect/common/ExactInt.h"
#include "FilterEffect/common/VectorOps-inl.h"

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// `kTame` promises that no product needs to saturate at the upper end.
template <bool kTame>
void FillRows(const double* wave, std::int32_t* table) {
  const hn::CappedTag<double, 4> d;
  const hn::Rebind<std::int32_t, decltype(d)> di;
  const int lanes = static_cast<int>(hn::Lanes(d));
  for (int j = 0; j < kRippleSteps; ++j, table += kRippleSteps) {
    // Nearly 1 next to the centre, nearly 0 in the last row.
    const auto fading = hn::Set(d, j == 0 ? 0.0 : 1.0 / j + -0.0009765625);
    for (int i = 0; i < kRippleSteps; i += lanes) {
      const auto value = hn::Mul(hn::LoadU(d, wave + i), fading);
#if HWY_TARGET != HWY_SCALAR
      if constexpr (kTame) {
        hn::StoreU(TruncateBelowLimit(value), di, table + i);
        continue;
      }
#endif
      hn::StoreU(hn::DemoteTo(di, hn::IfThenElseZero(hn::Eq(value, value), value)), di, table + i);
    }
  }
}

/// Fills the table with the wave, fading with the distance; products are truncated toward zero, saturate, and NaN gives 0.
void FillRippleOffsets(const double* wave, std::int32_t* table) {
  // Rows fade by a factor of at most 1.
#if HWY_TARGET != HWY_SCALAR
  if (std::all_of(wave, wave + kRippleSteps, [](double value) { return std::abs(value) < 0x1p31; }))
    return FillRows<true>(wave, table);
#endif
  FillRows<false>(wave, table);
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix {
HWY_EXPORT(FillRippleOffsets);
static void FillOffsets(const double* wave, std::int32_t* table) { HWY_DYNAMIC_DISPATCH(FillRippleOffsets)(wave, table); }
}  // namespace norix

void InitRippleTable1(RippleParams* params) {
  if (!params) return;
  std::int32_t* table = params->tables->offsetTable;
  if (!table) table = new std::int32_t[norix::kRippleEntries];

  const double width = 101.0 - params->damping;
  const double height = params->amplitude * 1.024 * 1024.0;
  const double step = 6.283185307179586 / (1024.0 / width);
  std::array<double, norix::kRippleSteps> wave;
  for (std::size_t i = 0; i < wave.size(); ++i) wave[i] = std::sin(static_cast<double>(i) * step) * height;
  norix::FillOffsets(wave.data(), table);

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

#endif
