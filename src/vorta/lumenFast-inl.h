// FAST corners for any arc length, a vector of pixels at a time.
//
// Brightness is compared with saturation: centre plus barrier stops at 255 and centre less barrier
// at 0, beyond which no pixel lies. That is right for barriers from 0 to 254; above there is no
// corner, and below the reference does it.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_FAST_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_FAST_INL_H
#undef LUMEN_FAST_INL_H
#else
#define LUMEN_FAST_INL_H
#endif

#include <hwy/highway.h>

#include <cstring>

#include "cpu/lumenFastArc.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using FastTag = hn::ScalableTag<uint8_t>;

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

// By how much the barrier can grow until a pixel is no corner, for the corners among the pixels
// from `p` on; 0 for the other pixels. Of two opposite pixels each arc has one: where too few of
// these are bright or dark enough, first of four and then of eight, no lane is a corner. Most
// vectors that hold corners hold bright ones or dark ones only.
template <int kArc, class D, class V = hn::Vec<D>>
HWY_INLINE bool HasCorners(D d, const uint8_t* p, ptrdiff_t stride, uint8_t barrier, V& strength) {
  const V limit = hn::Set(d, barrier), centre = hn::LoadU(d, p), zero = hn::Zero(d);
  const V above = hn::SaturatedAdd(centre, limit), below = hn::SaturatedSub(centre, limit);
  V v[LUM_CIRCLE];
  const auto load = [&](int i) HWY_ATTR {
    v[i] = hn::LoadU(d, p + LUM_CIRCLE_PLACE[i].dx + LUM_CIRCLE_PLACE[i].dy * stride);
  };
  V bright, dark;
  const auto look = [&](int a, bool isFirst) HWY_ATTR {
    load(a);
    load(a + 8);
    const V brighter = hn::Max(v[a], v[a + 8]), darker = hn::Min(v[a], v[a + 8]);
    bright = isFirst ? brighter : hn::Min(bright, brighter);
    dark = isFirst ? darker : hn::Max(dark, darker);
  };
  const auto isNone = [&](V beyond) HWY_ATTR { return hn::AllTrue(d, hn::Eq(beyond, zero)); };
  look(0, true);
  look(4, false);
  if (isNone(hn::Or(hn::SaturatedSub(bright, above), hn::SaturatedSub(below, dark)))) return false;
  look(2, false);
  look(6, false);
  const bool anyBright = !isNone(hn::SaturatedSub(bright, above));
  const bool anyDark = !isNone(hn::SaturatedSub(below, dark));
  if (!anyBright && !anyDark) return false;
  for (int i = 1; i < 8; i += 2) {
    load(i);
    load(i + 8);
  }
  V best = zero;
  if (anyBright) best = hn::SaturatedSub(BestArc<kArc>(v, SmallerOf(), LargerOf()), centre);
  if (anyDark) {
    best = hn::Max(best, hn::SaturatedSub(centre, BestArc<kArc>(v, LargerOf(), SmallerOf())));
  }
  strength = hn::IfThenElseZero(hn::Gt(best, limit), best);
  return !isNone(strength);
}

// The lanes that are not 0, a bit each.
template <class D>
HWY_INLINE uint64_t BitsOf(D d, hn::Vec<D> v) {
  uint64_t bits = 0;
  hn::StoreMaskBits(d, hn::Gt(v, hn::Zero(d)), reinterpret_cast<uint8_t*>(&bits));
  return bits;
}

// Where corners go.
struct FastOutput {
  const lumFastSearch& search;
  const lumFastMask* mask;
  lumFastMaskScale scale;
  uint32_t* scores;  // null: not wanted
  uint32_t count;

  // False when the search is over.
  HWY_INLINE bool Add(uint32_t x, uint32_t y, uint32_t score) {
    if (mask && lumFastIsMasked(*mask, scale, x, y)) return true;
    search.xy[2 * size_t{count}] = x;
    search.xy[2 * size_t{count} + 1] = y;
    if (scores) scores[count] = score;
    return ++count < search.capacity;
  }
};

// The corners of columns `begin` to `end` of row y, which are a vector at least. The last vector
// covers lanes of the one before.
template <int kArc, class D>
HWY_INLINE bool FindInRow(D d, uint32_t y, uint32_t begin, uint32_t end, FastOutput& out) {
  const uint32_t N = static_cast<uint32_t>(hn::Lanes(d));
  const uint8_t* row = out.search.src + size_t{y} * out.search.stride;
  const auto stride = static_cast<ptrdiff_t>(out.search.stride);
  const auto barrier = static_cast<uint8_t>(out.search.barrier);
  HWY_ALIGN uint8_t strength[hn::MaxLanes(d)];
  hn::Vec<D> strengths = hn::Zero(d);
  for (uint32_t x = begin; x < end; x += N) {
    const uint32_t at = end - x < N ? end - N : x;
    if (!HasCorners<kArc>(d, row + at, stride, barrier, strengths)) continue;
    hn::Store(strengths, d, strength);
    for (uint64_t bits = BitsOf(d, strengths) & ~uint64_t{0} << (x - at); bits != 0;
         bits &= bits - 1) {
      const auto lane = static_cast<uint32_t>(__builtin_ctzll(bits));
      if (!out.Add(at + lane, y, strength[lane] - 1u)) return false;
    }
  }
  return true;
}

template <int kArc>
bool FindInShortRow(uint32_t y, uint32_t begin, uint32_t end, const ptrdiff_t* offsets,
                    FastOutput& out) {
  const uint8_t* row = out.search.src + size_t{y} * out.search.stride;
  for (uint32_t x = begin; x < end; ++x) {
    if (!lumIsCorner<kArc>(row + x, offsets, out.search.barrier)) continue;
    if (!out.Add(x, y, lumBisectScore<kArc>(row + x, offsets, out.search.barrier))) return false;
  }
  return true;
}

// Every corner that `mask` (null: none) allows, with scores where there is a place for them.
template <int kArc>
void FindFast(const lumFastSearch& search, const lumFastMask* mask, uint32_t* scores) {
  FastOutput out = {search, mask, {}, scores, 0};
  *search.count = 0;
  if (mask) out.scale = lumFastScaleOf(*mask, search.width, search.height);
  if ((mask && !out.scale.isKnown) || search.barrier >= 255) return;
  if (search.barrier < 0) {
    if (mask) lumFindCorners<kArc>(search, *mask);
    else lumFindCorners<kArc>(search);
    const bool isNine = kArc == 9;
    if (scores) {
      lumFastScore(isNine ? fast9_corner_scoreC : fast10_corner_scoreC, search, *search.count,
                   search.xy, scores);
    }
    return;
  }
  const FastTag d;
  const hn::CappedTag<uint8_t, 16> dShort;
  const uint32_t begin = search.border, end = search.width - search.border;
  ptrdiff_t offsets[LUM_CIRCLE];
  lumCircleOffsets(offsets, search.stride);
  bool goesOn = true;
  for (uint32_t y = search.border; goesOn && y < search.height - search.border; ++y) {
    if (end - begin >= hn::Lanes(d)) goesOn = FindInRow<kArc>(d, y, begin, end, out);
    else if (end - begin >= 16) goesOn = FindInRow<kArc>(dShort, y, begin, end, out);
    else goesOn = FindInShortRow<kArc>(y, begin, end, offsets, out);
  }
  *search.count = out.count;
}

// Suppression as corners are found: three rows of strengths, 0 where there is no corner, so that a
// vector of corners is held against its eight neighbours at once. Row y can be done when row y + 1
// has been searched.
template <int kArc>
class SuppressedSearch {
 public:
  static constexpr uint32_t kWidest = 8192;

  // The rows must be a vector long at least, the barrier one that vectors can do.
  SuppressedSearch(const lumFastSearch& search, const lumFastMask* mask, uint32_t* scores)
      : search_(search), out_{search, nullptr, {}, scores, 0}, mask_(mask) {
    if (mask) scale_ = lumFastScaleOf(*mask, search.width, search.height);
    for (auto& row : strength_) std::memset(row, 0, search.width);
  }

  HWY_INLINE void Run() {
    *search_.count = 0;
    if (mask_ && !scale_.isKnown) return;
    const uint32_t first = search_.border, end = search_.height - search_.border;
    for (uint32_t y = first; y < end; ++y) {
      const bool goesOn = FindIn(y);
      if (y > first) KeepFrom(y - 1);
      if (goesOn && y + 1 < end) continue;
      std::memset(strength_[(y + 1) % 3], 0, search_.width);
      KeepFrom(y);
      break;
    }
    *search_.count = out_.count;
  }

 private:
  static constexpr uint32_t kLanes = static_cast<uint32_t>(hn::MaxLanes(FastTag()));

  uint32_t end() const { return search_.width - search_.border; }
  uint32_t placeOf(uint32_t x) const { return end() - x < kLanes ? end() - kLanes : x; }

  // Writes the strengths of row y; false when its last corner is the last of all.
  HWY_INLINE bool FindIn(uint32_t y) {
    const FastTag d;
    const uint8_t* row = search_.src + size_t{y} * search_.stride;
    uint8_t* const strength = strength_[y % 3];
    uint64_t* bitsOf = bits_[y % 2];
    const auto stride = static_cast<ptrdiff_t>(search_.stride);
    const auto barrier = static_cast<uint8_t>(search_.barrier);
    hn::Vec<FastTag> strengths = hn::Zero(d);
    bool goesOn = true;
    for (uint32_t x = search_.border; x < end(); x += kLanes, ++bitsOf) {
      const uint32_t at = placeOf(x);
      uint64_t bits = 0;
      if (goesOn && HasCorners<kArc>(d, row + at, stride, barrier, strengths)) {
        bits = BitsOf(d, strengths) & ~uint64_t{0} << (x - at);
      } else {
        strengths = hn::Zero(d);
      }
      if (x == at && !mask_) {
        hn::StoreU(strengths, d, strength + at);
      } else {  // not over what the vector before has left out
        HWY_ALIGN uint8_t lanes[kLanes];
        hn::Store(strengths, d, lanes);
        for (uint32_t lane = x - at; lane < kLanes; ++lane) {
          const bool isOut =
              (bits >> lane & 1) && mask_ && lumFastIsMasked(*mask_, scale_, at + lane, y);
          if (isOut) bits &= ~(uint64_t{1} << lane);
          strength[at + lane] = isOut ? uint8_t{0} : lanes[lane];
        }
      }
      if (bits != 0) goesOn = Count(bits, strength + at);
      *bitsOf = bits;
    }
    return goesOn;
  }

  // Takes corners away again that the list would have no room for.
  HWY_INLINE bool Count(uint64_t& bits, uint8_t* strength) {
    const auto more = static_cast<uint32_t>(hwy::PopCount(bits));
    if (more < search_.capacity - candidates_) {
      candidates_ += more;
      return true;
    }
    uint64_t rest = bits;
    for (; candidates_ < search_.capacity; ++candidates_) rest &= rest - 1;
    bits &= ~rest;
    for (; rest != 0; rest &= rest - 1) strength[__builtin_ctzll(rest)] = 0;
    return false;
  }

  HWY_INLINE void KeepFrom(uint32_t y) {
    const FastTag d;
    const uint8_t* rows[3] = {strength_[(y + 2) % 3], strength_[y % 3], strength_[(y + 1) % 3]};
    const uint64_t* bitsOf = bits_[y % 2];
    for (uint32_t x = search_.border; x < end(); x += kLanes, ++bitsOf) {
      if (*bitsOf == 0) continue;
      const uint32_t at = placeOf(x);
      const auto own = hn::LoadU(d, rows[1] + at);
      auto other = hn::Max(hn::LoadU(d, rows[1] + at - 1), hn::LoadU(d, rows[1] + at + 1));
      for (const int k : {0, 2}) {
        other = hn::Max(other, hn::LoadU(d, rows[k] + at));
        other = hn::Max(other, hn::LoadU(d, rows[k] + at - 1));
        other = hn::Max(other, hn::LoadU(d, rows[k] + at + 1));
      }
      for (uint64_t bits = BitsOf(d, hn::SaturatedSub(own, other)) & *bitsOf; bits != 0;
           bits &= bits - 1) {
        const auto lane = static_cast<uint32_t>(__builtin_ctzll(bits));
        out_.Add(at + lane, y, rows[1][at + lane] - 1u);
      }
    }
  }

  const lumFastSearch& search_;
  FastOutput out_;
  const lumFastMask* const mask_;
  lumFastMaskScale scale_ = {};
  uint32_t candidates_ = 0;
  uint64_t bits_[2][kWidest / kLanes];  // of each vector of two rows
  uint8_t strength_[3][kWidest];
};

// A capacity of 0 finds one corner, which has no neighbour. What the vectors above cannot do goes
// through the work area.
template <int kArc>
void FindFastScored(lumFastSearch search, const lumFastMask* mask, uint32_t* scores,
                    uint32_t* tempBuf) {
  if (!tempBuf || search.capacity == 0) return FindFast<kArc>(search, mask, scores);
  if (search.width <= SuppressedSearch<kArc>::kWidest && search.barrier >= 0 &&
      search.barrier < 255 && search.width - 2 * search.border >= hn::Lanes(FastTag())) {
    return SuppressedSearch<kArc>(search, mask, scores).Run();
  }
  const lumFastWork work(tempBuf, search.capacity);
  uint32_t* const xy = search.xy;
  search.xy = work.xy;
  FindFast<kArc>(search, mask, work.scores);
  nms_processing(work.xy, work.scores, work.rowStart, *search.count, xy, scores, search.count);
}

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

#endif  // LUMEN_FAST_INL_H
