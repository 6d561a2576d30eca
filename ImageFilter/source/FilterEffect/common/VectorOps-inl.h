// Vector operations that Highway lacks: one instruction on x86, put together from Highway's own elsewhere. Not for
// HWY_SCALAR, which has no blocks.

#if defined(NORIX_VECTOR_OPS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef NORIX_VECTOR_OPS_INL_H
#undef NORIX_VECTOR_OPS_INL_H
#else
#define NORIX_VECTOR_OPS_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>
#include <cstring>
#include <type_traits>

#if HWY_TARGET != HWY_SCALAR

#undef NORIX_X86_VECTORS
#if HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128
#include <immintrin.h>
#define NORIX_X86_VECTORS 1
#else
#define NORIX_X86_VECTORS 0
#endif

HWY_BEFORE_NAMESPACE();
namespace norix::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<std::uint8_t>;
using SignedBytes = hn::RebindToSigned<Bytes>;
using Words = hn::Repartition<std::int16_t, Bytes>;
using UnsignedWords = hn::Repartition<std::uint16_t, Bytes>;
using Dwords = hn::Repartition<std::int32_t, Bytes>;
using UnsignedDwords = hn::Repartition<std::uint32_t, Bytes>;
using ByteVector = hn::Vec<Bytes>;
using SignedByteVector = hn::Vec<SignedBytes>;
using WordVector = hn::Vec<Words>;

/// In every 16-bit lane: low byte * low weight + high byte * high weight. The caller keeps the sum within int16.
HWY_INLINE WordVector MulPairs(ByteVector pixels, SignedByteVector weights) {
#if NORIX_X86_VECTORS && HWY_TARGET <= HWY_AVX3
  return WordVector{_mm512_maddubs_epi16(pixels.raw, weights.raw)};
#elif NORIX_X86_VECTORS && HWY_TARGET <= HWY_AVX2
  return WordVector{_mm256_maddubs_epi16(pixels.raw, weights.raw)};
#elif NORIX_X86_VECTORS
  return WordVector{_mm_maddubs_epi16(pixels.raw, weights.raw)};
#else
  const Words d;
  const auto p = hn::BitCast(d, pixels);
  const auto w = hn::BitCast(d, weights);
  const auto low = hn::Mul(hn::And(p, hn::Set(d, 0xFF)), hn::ShiftRight<8>(hn::ShiftLeft<8>(w)));
  const auto high = hn::Mul(hn::BitCast(d, hn::ShiftRight<8>(hn::BitCast(UnsignedWords(), p))), hn::ShiftRight<8>(w));
  return hn::Add(low, high);
#endif
}

/// 16-bit lanes to bytes 0..255, saturating; per block: low's eight, then high's eight. Undoes InterleaveLower/Upper.
HWY_INLINE ByteVector PackBlocks(WordVector low, WordVector high) {
#if NORIX_X86_VECTORS && HWY_TARGET <= HWY_AVX3
  return ByteVector{_mm512_packus_epi16(low.raw, high.raw)};
#elif NORIX_X86_VECTORS && HWY_TARGET <= HWY_AVX2
  return ByteVector{_mm256_packus_epi16(low.raw, high.raw)};
#elif NORIX_X86_VECTORS
  return ByteVector{_mm_packus_epi16(low.raw, high.raw)};
#else
  alignas(16) static constexpr std::uint8_t kLow[16] = {0, 2, 4, 6, 8, 10, 12, 14, 128, 128, 128, 128, 128, 128, 128, 128};
  alignas(16) static constexpr std::uint8_t kHigh[16] = {128, 128, 128, 128, 128, 128, 128, 128, 0, 2, 4, 6, 8, 10, 12, 14};
  const Bytes d;
  const Words dw;
  const auto zero = hn::Zero(dw);
  const auto top = hn::Set(dw, 255);
  const auto l = hn::BitCast(d, hn::Min(hn::Max(low, zero), top));
  const auto h = hn::BitCast(d, hn::Min(hn::Max(high, zero), top));
  return hn::Or(hn::TableLookupBytesOr0(l, hn::LoadDup128(d, kLow)), hn::TableLookupBytesOr0(h, hn::LoadDup128(d, kHigh)));
#endif
}

/// A table's byte by the low four bits of every place whose top bit is clear; 0 where it is set.
HWY_INLINE ByteVector LookupByLowBits(ByteVector table, ByteVector places) {
#if NORIX_X86_VECTORS
  return hn::TableLookupBytesOr0(table, places);
#else
  return hn::TableLookupBytesOr0(table, hn::And(places, hn::Set(Bytes(), 0x8F)));
#endif
}

/// Two or four doubles to 32-bit lanes, toward zero. The caller keeps them below 2^31; the lowest lane stands for all too
/// low.
template <class V>
HWY_INLINE auto TruncateBelowLimit(V v) {
#if NORIX_X86_VECTORS && HWY_TARGET <= HWY_AVX2
  return hn::Vec<hn::FixedTag<std::int32_t, 4>>{_mm256_cvttpd_epi32(v.raw)};
#else
  return hn::DemoteTo(hn::Rebind<std::int32_t, hn::DFromV<V>>(), v);
#endif
}

/// Sixteen 32-bit lanes to bytes 0..255, saturating.
template <class V>
HWY_INLINE hn::Vec<hn::FixedTag<std::uint8_t, 16>> BytesOfDwords(V a, V b, V c, V d) {
  const hn::FixedTag<std::int16_t, 8> d16;
  const hn::FixedTag<std::uint8_t, 8> half;
#if NORIX_X86_VECTORS
  static_cast<void>(half);
  const auto low = hn::ReorderDemote2To(d16, a, b);
  const auto high = hn::ReorderDemote2To(d16, c, d);
  return hn::Vec<hn::FixedTag<std::uint8_t, 16>>{_mm_packus_epi16(low.raw, high.raw)};
#else
  const hn::FixedTag<std::int16_t, 4> quarter;
  const auto low = hn::Combine(d16, hn::DemoteTo(quarter, b), hn::DemoteTo(quarter, a));
  const auto high = hn::Combine(d16, hn::DemoteTo(quarter, d), hn::DemoteTo(quarter, c));
  return hn::Combine(hn::FixedTag<std::uint8_t, 16>(), hn::DemoteTo(half, high), hn::DemoteTo(half, low));
#endif
}

#if HWY_TARGET <= HWY_AVX2
/// Pixel lookup in two vectors of n pixels: indices 0 .. n - 1 from the first, n .. 2n - 1 from the second.
HWY_INLINE hn::Vec<Dwords> LookupInTwo(hn::Vec<Dwords> a, hn::Vec<Dwords> b, hn::Vec<Dwords> index) {
#if HWY_TARGET <= HWY_AVX3
  return hn::Vec<Dwords>{_mm512_permutex2var_epi32(a.raw, index.raw, b.raw)};
#else
  const __m256i low = _mm256_permutevar8x32_epi32(a.raw, index.raw);
  const __m256i high = _mm256_permutevar8x32_epi32(b.raw, index.raw);
  return hn::Vec<Dwords>{_mm256_blendv_epi8(low, high, _mm256_cmpgt_epi32(index.raw, _mm256_set1_epi32(7)))};
#endif
}
#endif

/// The weights (even, odd, even, odd, ...) for MulPairs.
HWY_INLINE SignedByteVector PairWeights(int even, int odd) {
  const auto pair = static_cast<std::uint16_t>((even & 0xFF) | (odd & 0xFF) << 8);
  return hn::BitCast(SignedBytes(), hn::Set(UnsignedWords(), pair));
}

/// The lanes of a mask, a bit each.
template <class D, class Mask>
HWY_INLINE std::uint64_t MaskBits(D d, Mask mask) {
  constexpr std::size_t kBytes = (hn::MaxLanes(D()) + 7) / 8;
  using Bits = std::conditional_t<
      kBytes == 8, std::uint64_t,
      std::conditional_t<kBytes == 4, std::uint32_t, std::conditional_t<kBytes == 2, std::uint16_t, std::uint8_t>>>;
  // StoreMaskBits may write eight bytes. Only as many as it does write are read, so that they can stay in a register.
  std::uint8_t stored[8];
  hn::StoreMaskBits(d, mask, stored);
  Bits bits;
  std::memcpy(&bits, stored, sizeof bits);
  return bits;
}

/// Sixteen bytes in every block.
HWY_INLINE ByteVector Repeat16(const std::uint8_t* pattern) { return hn::LoadDup128(Bytes(), pattern); }

/// Sixteen bytes from each of as many places as the vector has blocks.
HWY_INLINE ByteVector LoadBlocks(const std::uint8_t* data, const std::int32_t* places) {
  const hn::FixedTag<std::uint8_t, 16> d;
#if HWY_TARGET <= HWY_AVX3
  const hn::FixedTag<std::uint8_t, 32> half;
  return hn::Combine(Bytes(), hn::Combine(half, hn::LoadU(d, data + places[3]), hn::LoadU(d, data + places[2])),
                     hn::Combine(half, hn::LoadU(d, data + places[1]), hn::LoadU(d, data + places[0])));
#elif HWY_TARGET <= HWY_AVX2
  return hn::Combine(Bytes(), hn::LoadU(d, data + places[1]), hn::LoadU(d, data + places[0]));
#else
  return hn::LoadU(d, data + places[0]);
#endif
}

/// Moves the first twelve bytes of every block to the front, one after the other; what follows them is undefined.
HWY_INLINE ByteVector JoinTwelves(ByteVector v) {
#if HWY_TARGET <= HWY_AVX3
  alignas(64) static constexpr std::int32_t kJoin[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 3, 7, 11, 15};
#elif HWY_TARGET <= HWY_AVX2
  alignas(32) static constexpr std::int32_t kJoin[8] = {0, 1, 2, 4, 5, 6, 3, 7};
#endif
#if HWY_TARGET <= HWY_AVX2
  const Dwords d;
  return hn::BitCast(Bytes(), hn::TableLookupLanes(hn::BitCast(d, v), hn::SetTableIndices(d, kJoin)));
#else
  return v;
#endif
}

}  // namespace norix::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // not scalar
#endif  // toggle
