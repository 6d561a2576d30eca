#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "BgraRows.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "BgraRows.h"

#include <cstddef>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace norix::python::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

/// The tag's vectors of the colours of adjacent pixels, as they lie in memory, and of the fourth byte.
template <class Vector>
struct Channels {
  Vector first;
  Vector second;
  Vector third;
  Vector fourth;
};

template <int kBytes, class Tag>
Channels<hn::Vec<Tag>> Load(Tag d, const std::uint8_t* from) {
  Channels<hn::Vec<Tag>> channels;
  if constexpr (kBytes == 3) {
    hn::LoadInterleaved3(d, from, channels.first, channels.second, channels.third);
    channels.fourth = hn::Set(d, 255);
  } else {
    hn::LoadInterleaved4(d, from, channels.first, channels.second, channels.third, channels.fourth);
  }
  return channels;
}

template <int kBytes, class Tag>
void Store(Tag d, const Channels<hn::Vec<Tag>>& channels, std::uint8_t* to) {
  if constexpr (kBytes == 3) {
    hn::StoreInterleaved3(channels.first, channels.second, channels.third, d, to);
  } else {
    hn::StoreInterleaved4(channels.first, channels.second, channels.third, channels.fourth, d, to);
  }
}

template <int kBytes, bool kSwap, class Tag>
void PixelsToBgra(Tag d, std::uint8_t* to, const std::uint8_t* from) {
  Channels<hn::Vec<Tag>> channels = Load<kBytes>(d, from);
  if constexpr (kSwap) channels = {channels.third, channels.second, channels.first, channels.fourth};
  Store<4>(d, channels, to);
}

template <int kBytes, bool kSwap, class Tag>
void PixelsFromBgra(Tag d, std::uint8_t* to, const std::uint8_t* from, const std::uint8_t* alpha) {
  Channels<hn::Vec<Tag>> channels = Load<4>(d, from);
  if constexpr (kSwap) channels = {channels.third, channels.second, channels.first, channels.fourth};
  if constexpr (kBytes == 4) channels.fourth = Load<4>(d, alpha).fourth;
  Store<kBytes>(d, channels, to);
}

template <int kBytes, bool kSwap>
void RowToBgra(std::uint8_t* to, const std::uint8_t* from, std::size_t width) {
  const hn::ScalableTag<std::uint8_t> d;
  std::size_t x = 0;
  for (; x + hn::Lanes(d) <= width; x += hn::Lanes(d)) PixelsToBgra<kBytes, kSwap>(d, to + 4 * x, from + kBytes * x);
  const hn::CappedTag<std::uint8_t, 1> one;
  for (; x < width; ++x) PixelsToBgra<kBytes, kSwap>(one, to + 4 * x, from + kBytes * x);
}

template <int kBytes, bool kSwap>
void RowFromBgra(std::uint8_t* to, const std::uint8_t* from, const std::uint8_t* alpha, std::size_t width) {
  const hn::ScalableTag<std::uint8_t> d;
  std::size_t x = 0;
  for (; x + hn::Lanes(d) <= width; x += hn::Lanes(d)) {
    PixelsFromBgra<kBytes, kSwap>(d, to + kBytes * x, from + 4 * x, alpha + kBytes * x);
  }
  const hn::CappedTag<std::uint8_t, 1> one;
  for (; x < width; ++x) PixelsFromBgra<kBytes, kSwap>(one, to + kBytes * x, from + 4 * x, alpha + kBytes * x);
}

void RowIn(std::uint8_t* to, const std::uint8_t* from, std::size_t width, int bytes, bool swap) {
  if (bytes == 4) return swap ? RowToBgra<4, true>(to, from, width) : RowToBgra<4, false>(to, from, width);
  return swap ? RowToBgra<3, true>(to, from, width) : RowToBgra<3, false>(to, from, width);
}

void RowBack(std::uint8_t* to, const std::uint8_t* from, const std::uint8_t* alpha, std::size_t width, int bytes,
             bool swap) {
  if (bytes == 4) {
    return swap ? RowFromBgra<4, true>(to, from, alpha, width) : RowFromBgra<4, false>(to, from, alpha, width);
  }
  return swap ? RowFromBgra<3, true>(to, from, alpha, width) : RowFromBgra<3, false>(to, from, alpha, width);
}

}  // namespace norix::python::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace norix::python {

HWY_EXPORT(RowIn);
HWY_EXPORT(RowBack);

namespace {

bool RedFirst(const PixelFormat& format) { return format.code == AV_PIX_FMT_RGB24 || format.code == AV_PIX_FMT_RGBA; }

}  // namespace

void ToBgra(AVFrame& bgra, const AVFrame& packed, const PixelFormat& format, Rows rows) {
  const auto width = static_cast<std::size_t>(packed.width);
  for (int y = rows.first; y < rows.first + rows.count; ++y) {
    HWY_DYNAMIC_DISPATCH(RowIn)(RowOf(bgra, 0, y), RowOf(packed, 0, y), width, format.bytesPerPixel, RedFirst(format));
  }
}

void FromBgra(AVFrame& packed, const AVFrame& bgra, const AVFrame& alpha, const PixelFormat& format, Rows rows) {
  const auto width = static_cast<std::size_t>(packed.width);
  for (int y = rows.first; y < rows.first + rows.count; ++y) {
    HWY_DYNAMIC_DISPATCH(RowBack)
    (RowOf(packed, 0, y), RowOf(bgra, 0, y), RowOf(alpha, 0, y), width, format.bytesPerPixel, RedFirst(format));
  }
}

}  // namespace norix::python

#endif
