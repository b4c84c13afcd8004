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
#include "vorta/lumenFastRow-inl.h"
#include "vorta/lumenFastSuppress-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

using FastTag = hn::ScalableTag<uint8_t>;

// The corners of all rows, which are a vector at least.
template <int kArc, class D>
void FindInRows(D, FastOutput& out) {
  using Rows = typename RowSearchOf<kArc, D>::Type;
  const lumFastSearch& s = out.search;
  Rows rows(s);
  // Strengths of what is searched at once: of several rows, or of a part of one. Vectors may reach
  // back before a part.
  uint8_t strength[Rows::kLanes * (1 + Rows::kVectors)];
  const size_t pitch = size_t{s.width} + Rows::kLanes;
  const size_t fitting = HWY_MAX(HWY_MIN(sizeof strength / pitch, Rows::kRows), 1u);
  const uint32_t end = s.height - s.border;
  for (uint32_t y = s.border; y < end;) {
    const uint32_t first = y;
    const uint32_t most = out.scores ? HWY_MIN(static_cast<uint32_t>(fitting), end - y) : end - y;
    for (y += rows.Start(y, most); !rows.isDone();) {
      const FastStrengths strengths = {strength, rows.nextX() - Rows::kLanes, first,
                                       static_cast<uint32_t>(pitch)};
      if (out.scores) std::memset(strength, 0, HWY_MIN(sizeof strength, fitting * pitch));
      const uint32_t count = out.scores ? rows.Find(strengths) : rows.Find();
      if (!out.AddAll(rows, count, strengths)) return;
    }
  }
}

template <int kArc>
void FindInShortRows(FastOutput& out) {
  const lumFastSearch& s = out.search;
  ptrdiff_t offsets[LUM_CIRCLE];
  lumCircleOffsets(offsets, s.stride);
  for (uint32_t y = s.border; y < s.height - s.border; ++y) {
    const uint8_t* row = s.src + size_t{y} * s.stride;
    for (uint32_t x = s.border; x < s.width - s.border; ++x) {
      if (!lumIsCorner<kArc>(row + x, offsets, s.barrier)) continue;
      if (!out.Add(x, y, lumBisectScore<kArc>(row + x, offsets, s.barrier))) return;
    }
  }
}

// Every corner that `mask` (null: none) allows, with scores where there is a place for them.
template <int kArc>
void FindFast(const lumFastSearch& search, const lumFastMask* mask, uint32_t* scores) {
  FastOutput out(search, mask, scores);
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
  const hn::CappedTag<uint8_t, kFastBlock> dShort;
  const uint32_t columns = search.width - 2 * search.border;
  if (columns >= hn::Lanes(d)) FindInRows<kArc>(d, out);
  else if (columns >= hn::Lanes(dShort)) FindInRows<kArc>(dShort, out);
  else FindInShortRows<kArc>(out);
  *search.count = out.count;
}

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

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_INL_H
