// What the search for FAST corners does with vectors, and how some processors do it best.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_FAST_VECTOR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_FAST_VECTOR_INL_H
#undef LUMEN_FAST_VECTOR_INL_H
#else
#define LUMEN_FAST_VECTOR_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>

#include "vorta/lumenLoadOnce-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// A bit for each lane.
template <class D>
HWY_INLINE uint64_t BitsOf(D d, hn::Mask<D> mask) {
  uint64_t bits = 0;
  hn::StoreMaskBits(d, mask, reinterpret_cast<uint8_t*>(&bits));
  return bits;
}

// Lanes of `mask` where a > b.
template <class V, class M>
HWY_INLINE M GtAmong(M mask, V a, V b) {
  return hn::And(mask, hn::Gt(a, b));
}
#if HWY_TARGET == HWY_AVX3
HWY_INLINE hn::Mask512<uint8_t> GtAmong(hn::Mask512<uint8_t> mask, hn::Vec512<uint8_t> a,
                                        hn::Vec512<uint8_t> b) {
  return hn::Mask512<uint8_t>{_mm512_mask_cmpgt_epu8_mask(mask.raw, a.raw, b.raw)};
}
#endif

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_VECTOR_INL_H
