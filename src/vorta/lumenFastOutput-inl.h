// What is found of FAST corners, and where it goes.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_FAST_OUTPUT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_FAST_OUTPUT_INL_H
#undef LUMEN_FAST_OUTPUT_INL_H
#else
#define LUMEN_FAST_OUTPUT_INL_H
#endif

#include <hwy/highway.h>

#include "lumenFast.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

// Corners of a vector that begins at x: a bit for each pixel.
struct FastCorners {
  uint32_t x;
  uint64_t bits;
};

// Where corners go.
struct FastOutput {
  const lumFastSearch& search;
  const lumFastMask* mask;
  lumFastMaskScale scale;
  uint32_t* scores;  // null: not wanted
  uint32_t count;

  HWY_INLINE bool IsMasked(uint32_t x, uint32_t y) const {
    return mask && lumFastIsMasked(*mask, scale, x, y);
  }
  HWY_INLINE void Put(uint32_t at, uint32_t x, uint32_t y, uint32_t score) const {
    search.xy[2 * size_t{at}] = x;
    search.xy[2 * size_t{at} + 1] = y;
    if (scores) scores[at] = score;
  }
  // False when the search is over.
  HWY_INLINE bool Add(uint32_t x, uint32_t y, uint32_t score) {
    if (IsMasked(x, y)) return true;
    Put(count, x, y, score);
    return ++count < search.capacity;
  }
  // With strengths, that of corners.x first, where scores are wanted.
  HWY_INLINE bool AddAll(const FastCorners& corners, uint32_t y, const uint8_t* strength) {
    const auto add = [&](auto put) HWY_ATTR {
      for (uint64_t bits = corners.bits; bits != 0; bits &= bits - 1) {
        const auto lane = static_cast<uint32_t>(__builtin_ctzll(bits));
        if (!put(corners.x + lane, strength ? strength[lane] - 1u : 0)) return false;
      }
      return true;
    };
    const auto more = static_cast<uint32_t>(hwy::PopCount(corners.bits));
    if (mask || search.capacity <= count || more >= search.capacity - count) {
      return add([&](uint32_t x, uint32_t score) HWY_ATTR { return Add(x, y, score); });
    }
    uint32_t at = count;
    count += more;
    return add([&, xy = search.xy](uint32_t x, uint32_t score) HWY_ATTR {
      xy[2 * size_t{at}] = x;
      xy[2 * size_t{at} + 1] = y;
      if (strength) scores[at] = score;
      ++at;
      return true;
    });
  }
};

// Room for the strengths of columns from `origin` on: by how much the barrier can grow until a
// pixel is no corner, and 0 where there is none. Its user clears it.
struct FastStrengths {
  uint8_t* row;
  uint32_t origin;
  HWY_INLINE uint8_t* at(uint32_t x) const { return row + (x - origin); }
};

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_OUTPUT_INL_H
