// Arcs of FAST corners, a vector of circles at a time.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_FAST_ARC_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_FAST_ARC_INL_H
#undef LUMEN_FAST_ARC_INL_H
#else
#define LUMEN_FAST_ARC_INL_H
#endif

#include <hwy/highway.h>

#include "lumenFast.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// The largest of the smallest elements of each arc of kArc of `v`, or the other way round. Arcs
// that begin one place apart share all but one pixel at each end, and all arcs share runs of 8.
template <int kArc, class V, class Inner, class Outer>
HWY_INLINE V BestArc(const V (&v)[LUM_CIRCLE], const Inner& inner, const Outer& outer) {
  static_assert(kArc == 9 || kArc == 10);
  const auto at = [&](int i) HWY_ATTR { return v[i % LUM_CIRCLE]; };
  V two[8], four[8];
  for (int i = 0; i < 8; ++i) two[i] = inner(at(2 * i + 1), at(2 * i + 2));
  for (int i = 0; i < 8; ++i) four[i] = inner(two[i], two[(i + 1) % 8]);
  V best = v[0];
  for (int i = 0; i < 8; ++i) {
    const int begin = 2 * i + 1;
    V shared = inner(four[i], four[(i + 2) % 8]);
    if constexpr (kArc == 10) shared = inner(shared, at(begin + 8));
    const V arcs = inner(shared, outer(at(begin - 1), at(begin + kArc - 1)));
    best = i == 0 ? arcs : outer(best, arcs);
  }
  return best;
}

struct LargerOf {
  template <class V>
  HWY_INLINE V operator()(V a, V b) const {
    return hn::Max(a, b);
  }
};
struct SmallerOf {
  template <class V>
  HWY_INLINE V operator()(V a, V b) const {
    return hn::Min(a, b);
  }
};
// The same of bits.
struct EitherOf {
  template <class V>
  HWY_INLINE V operator()(V a, V b) const {
    return hn::Or(a, b);
  }
};
struct BothOf {
  template <class V>
  HWY_INLINE V operator()(V a, V b) const {
    return hn::And(a, b);
  }
};

// The score of one corner: its circle is a vector, and arcs are its rotations.
template <int kArc>
uint32_t CornerScore(const uint8_t* p, const int32_t* offsets, int32_t barrier) {
  const hn::Full128<uint8_t> d;
  using V = hn::Vec<decltype(d)>;
  HWY_ALIGN uint8_t circle[LUM_CIRCLE];
  for (int i = 0; i < LUM_CIRCLE; ++i) circle[i] = p[offsets[i]];
  const V v = hn::Load(d, circle);
  const auto bestOf = [&](const auto& inner, const auto& outer) HWY_ATTR {
    V shared = inner(v, hn::CombineShiftRightBytes<1>(d, v, v));
    shared = inner(shared, hn::CombineShiftRightBytes<2>(d, shared, shared));
    shared = inner(shared, hn::CombineShiftRightBytes<4>(d, shared, shared));
    V arcs = inner(shared, hn::CombineShiftRightBytes<8>(d, v, v));
    if (kArc == 10) arcs = inner(arcs, hn::CombineShiftRightBytes<9>(d, v, v));
    arcs = outer(arcs, hn::CombineShiftRightBytes<8>(d, arcs, arcs));
    arcs = outer(arcs, hn::CombineShiftRightBytes<4>(d, arcs, arcs));
    arcs = outer(arcs, hn::CombineShiftRightBytes<2>(d, arcs, arcs));
    arcs = outer(arcs, hn::CombineShiftRightBytes<1>(d, arcs, arcs));
    return int32_t{hn::GetLane(arcs)};
  };
  const int32_t bright = bestOf(SmallerOf(), LargerOf()) - *p;
  const int32_t dark = *p - bestOf(LargerOf(), SmallerOf());
  const int32_t best = (bright > dark ? bright : dark) - 1;
  return static_cast<uint32_t>(best > barrier ? best : barrier);
}

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_ARC_INL_H
