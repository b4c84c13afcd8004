// Vectors of bytes and of what bytes add up to, as kernels on 8-bit images use them.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_BYTE_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_BYTE_VECTORS_INL_H
#undef LUMEN_BYTE_VECTORS_INL_H
#else
#define LUMEN_BYTE_VECTORS_INL_H
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

#include "vorta/lumenGroups-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

using Words = hn::Repartition<uint16_t, Bytes>;
using Shorts = hn::RebindToSigned<Words>;
using Quads = hn::Repartition<uint32_t, Bytes>;
using VWords = hn::Vec<Words>;
using VShorts = hn::Vec<Shorts>;
using VQuads = hn::Vec<Quads>;

HWY_INLINE VWords EvenBytes(VBytes v) {
  return hn::And(hn::BitCast(Words(), v), hn::Set(Words(), 0x00FF));
}
HWY_INLINE VWords OddBytes(VBytes v) { return hn::ShiftRight<8>(hn::BitCast(Words(), v)); }

// Block of 16 bytes by block: the words of a, then those of b, as bytes, with 0 for less and 255
// for more.
HWY_INLINE VBytes PackBlocks(VShorts a, VShorts b) {
#if HWY_TARGET == HWY_AVX3
  return VBytes{_mm512_packus_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_AVX2
  return VBytes{_mm256_packus_epi16(a.raw, b.raw)};
#elif HWY_ARCH_X86
  return VBytes{_mm_packus_epi16(a.raw, b.raw)};
#else
  return VBytes(vcombine_u8(vqmovun_s16(a.raw), vqmovun_s16(b.raw)));
#endif
}
HWY_INLINE VBytes PackBlocks(VWords a, VWords b) {
  return PackBlocks(hn::BitCast(Shorts(), a), hn::BitCast(Shorts(), b));
}

// A product of words by a factor, one instruction: a compiler that sees the factor makes shifts and
// additions of it, which are more than that.
template <class V>
HWY_INLINE V Times(V v, hn::TFromV<V> factor) {
  V factors = hn::Set(hn::DFromV<V>(), factor);
#if HWY_TARGET == HWY_AVX3
  asm("" : "+v"(factors.raw));
#elif HWY_ARCH_X86
  asm("" : "+x"(factors.raw));
#endif
  return hn::Mul(v, factors);
}

#if HWY_ARCH_X86

// Products of unsigned with signed bytes, added in pairs.
HWY_INLINE VWords PairSums(VBytes a, VBytes b) {
#if HWY_TARGET == HWY_AVX3
  return VWords{_mm512_maddubs_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_AVX2
  return VWords{_mm256_maddubs_epi16(a.raw, b.raw)};
#else
  return VWords{_mm_maddubs_epi16(a.raw, b.raw)};
#endif
}

HWY_INLINE VWords SumsOfPairs(VBytes v) { return PairSums(v, hn::Set(Bytes(), 1)); }

// Groups of eight bytes, which instructions that work within 16 bytes have left in another order.
template <class Order>
HWY_INLINE VBytes Reordered(VBytes v, const Order& from) {
  if constexpr (kMaxBlock == 16) return v;
  using Eights = hn::Repartition<uint64_t, Bytes>;
  alignas(64) int64_t order[kMaxBlock / 8];
  for (size_t i = 0; i < kMaxBlock / 8; ++i) order[i] = static_cast<int64_t>(from(i));
  return hn::BitCast(Bytes(), hn::TableLookupLanes(hn::BitCast(Eights(), v),
                                                   hn::SetTableIndices(Eights(), order)));
}
// The order from which interleaving makes one in order.
HWY_INLINE VBytes InterleavingOrder(VBytes v) {
  return Reordered(v, [](size_t i) LUM_LAMBDA { return i / 2 + i % 2 * (kMaxBlock / 16); });
}
// Words that hold bytes, in order.
HWY_INLINE VBytes BytesOfWords(VWords lo, VWords hi) {
  return Reordered(PackBlocks(lo, hi), [](size_t i) LUM_LAMBDA {
    return i % (kMaxBlock / 16) * 2 + i / (kMaxBlock / 16);
  });
}

#else  // HWY_ARCH_X86

HWY_INLINE VWords SumsOfPairs(VBytes v) { return VWords(vpaddlq_u8(v.raw)); }
HWY_INLINE VBytes InterleavingOrder(VBytes v) { return v; }
HWY_INLINE VBytes BytesOfWords(VWords lo, VWords hi) {
  return hn::ConcatEven(Bytes(), hn::BitCast(Bytes(), hi), hn::BitCast(Bytes(), lo));
}

#endif  // HWY_ARCH_X86

// The low bytes of words times one weight and the high bytes times another, added; all are within
// 16 bits with a sign.
template <int kLow, int kHigh>
HWY_INLINE VWords WeightedPairs(VWords v) {
#if HWY_ARCH_X86
  static_assert(-128 <= kLow && kLow < 128 && -128 <= kHigh && kHigh < 128);
  constexpr auto kWeights = static_cast<uint16_t>((kHigh & 255) << 8 | (kLow & 255));
  return PairSums(hn::BitCast(Bytes(), v), hn::BitCast(Bytes(), hn::Set(Words(), kWeights)));
#else
  return hn::Add(Times(EvenBytes(hn::BitCast(Bytes(), v)), static_cast<uint16_t>(kLow)),
                 Times(OddBytes(hn::BitCast(Bytes(), v)), static_cast<uint16_t>(kHigh)));
#endif
}

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_BYTE_VECTORS_INL_H
