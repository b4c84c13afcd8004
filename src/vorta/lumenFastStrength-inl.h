// Strengths of FAST corners: by how much the barrier can grow until a pixel is no corner.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_FAST_STRENGTH_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_FAST_STRENGTH_INL_H
#undef LUMEN_FAST_STRENGTH_INL_H
#else
#define LUMEN_FAST_STRENGTH_INL_H
#endif

#include <hwy/highway.h>

#include <bit>

#include "vorta/lumenFastArc-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

inline constexpr uint32_t kFastBlock = 16;

// A place in an image, as corners go out: what is x there comes first in memory.
using FastPlace = uint64_t;
static_assert(std::endian::native == std::endian::little);
HWY_INLINE FastPlace FastPlaceAt(uint32_t x, uint32_t y) { return FastPlace{y} << 32 | x; }
HWY_INLINE uint32_t xOf(FastPlace place) { return static_cast<uint32_t>(place); }
HWY_INLINE uint32_t yOf(FastPlace place) { return static_cast<uint32_t>(place >> 32); }

// Room for the strengths of rows from `y` on and columns from `x` on, with 0 where there is no
// corner. Its user clears it.
struct FastStrengths {
  uint8_t* first;
  uint32_t x, y, pitch;
  HWY_INLINE uint8_t* at(FastPlace place) const {
    return first + size_t{yOf(place) - y} * pitch + (xOf(place) - x);
  }
};

// How much brighter or darker than their centres the pixels of an arc are.
template <int kArc, bool kIsBright, class V>
HWY_INLINE V StrengthsOf(const V (&circle)[LUM_CIRCLE], V centre) {
  if constexpr (kIsBright) {
    return hn::SaturatedSub(BestArc<kArc>(circle, SmallerOf(), LargerOf()), centre);
  } else {
    return hn::SaturatedSub(centre, BestArc<kArc>(circle, LargerOf(), SmallerOf()));
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_STRENGTH_INL_H
