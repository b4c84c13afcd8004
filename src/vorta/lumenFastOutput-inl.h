// What is found of FAST corners, and where it goes.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_FAST_OUTPUT_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_FAST_OUTPUT_INL_H
#undef LUMEN_FAST_OUTPUT_INL_H
#else
#define LUMEN_FAST_OUTPUT_INL_H
#endif

#include <hwy/highway.h>

#include <cstring>

#include "lumenFast.h"
#include "vorta/lumenFastStrength-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

// Corners of a vector that begins at a place: a bit for each pixel.
struct FastCorners {
  FastPlace place;
  uint64_t bits;
};

// Where corners go.
struct FastOutput {
  const lumFastSearch& search;
  const lumFastMask* mask;
  lumFastMaskScale scale = {};
  uint32_t* scores;  // null: not wanted
  uint32_t count = 0;

  FastOutput(const lumFastSearch& theSearch, const lumFastMask* theMask, uint32_t* theScores)
      : search(theSearch), mask(theMask), scores(theScores) {}

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
  // The corners of some vectors, with strengths where scores are wanted. Listed first: how many a
  // vector has is hard to foresee.
  template <class Vectors>
  HWY_INLINE bool AddAll(const Vectors& corners, uint32_t vectors, const FastStrengths& strengths) {
    for (uint32_t k = 0; k < vectors;) {
      uint32_t some = 0;
      for (; k < vectors && some <= kPlaces - 64; ++k) some = List(corners[k], some);
      if (!AddListed(some, strengths)) return false;
    }
    return true;
  }

 private:
  static constexpr uint32_t kPlaces = 512;
  // So many corners of a vector are listed without a look at how many there are.
  static constexpr uint32_t kAtOnce = HWY_MAX_BYTES / 16;

  HWY_INLINE uint32_t List(const FastCorners& corners, uint32_t at) {
    uint64_t bits = corners.bits;
    const auto more = static_cast<uint32_t>(hwy::PopCount(bits));
    FastPlace* const to = place_ + at;
    const auto list = [&](uint32_t i) HWY_ATTR {
      to[i] = corners.place + static_cast<uint32_t>(__builtin_ctzll(bits | uint64_t{1} << 63));
      bits &= bits - 1;
    };
    for (uint32_t i = 0; i < kAtOnce; ++i) list(i);
    for (uint32_t i = kAtOnce; i < more; ++i) list(i);
    return at + more;
  }
  HWY_INLINE bool AddListed(uint32_t some, const FastStrengths& strengths) {
    const auto scoreOf = [&](FastPlace place)
                             HWY_ATTR { return scores ? *strengths.at(place) - 1u : 0; };
    if (mask || search.capacity <= count || some >= search.capacity - count) {
      for (uint32_t i = 0; i < some; ++i) {
        if (!Add(xOf(place_[i]), yOf(place_[i]), scoreOf(place_[i]))) return false;
      }
      return true;
    }
    std::memcpy(search.xy + 2 * size_t{count}, place_, some * sizeof place_[0]);
    if (scores) {
      for (uint32_t i = 0; i < some; ++i) scores[count + i] = scoreOf(place_[i]);
    }
    count += some;
    return true;
  }

  FastPlace place_[kPlaces + kAtOnce];
};

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_OUTPUT_INL_H
