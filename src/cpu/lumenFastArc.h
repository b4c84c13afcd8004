// FAST corners for any arc length, reference.

#ifndef LUMEN_FAST_ARC_H
#define LUMEN_FAST_ARC_H

#include "lumenFast.h"

// Whether kArc neighbouring pixels of the circle are all brighter than the centre by more than the
// barrier, or all darker. An arc of more than half the circle has one of each two opposite pixels,
// so that the first pair ends the test at most pixels.
template <int kArc, class Offset>
bool lumIsCorner(const uint8_t* p, const Offset* offsets, int32_t barrier) {
  static_assert(2 * kArc > LUM_CIRCLE && kArc < LUM_CIRCLE);
  const int64_t above = int64_t{*p} + barrier, below = int64_t{*p} - barrier;
  const auto isBright = [&](int i) { return p[offsets[i % LUM_CIRCLE]] > above; };
  const auto isDark = [&](int i) { return p[offsets[i % LUM_CIRCLE]] < below; };
  const auto hasArc = [](auto is) {
    if (!is(0) && !is(8)) return false;
    if (!is(4) && !is(12)) return false;
    int run = 0;
    for (int i = 0; i < LUM_CIRCLE + kArc - 1; ++i) {
      run = is(i) ? run + 1 : 0;
      if (run == kArc) return true;
    }
    return false;
  };
  return hasArc(isBright) || hasArc(isDark);
}

// The largest barrier with which a corner is still one. From 255 on there is no such barrier, and
// the given one comes back.
template <int kArc, class Offset>
uint32_t lumBisectScore(const uint8_t* p, const Offset* offsets, int32_t barrier) {
  constexpr int32_t kGreatest = 255;
  if (barrier >= kGreatest) return static_cast<uint32_t>(barrier);
  int32_t least = barrier, greatest = kGreatest;
  do {
    const int32_t middle = (least + greatest) / 2;
    if (lumIsCorner<kArc>(p, offsets, middle)) least = middle;
    else greatest = middle;
  } while (least != greatest - 1 && least != greatest);
  return static_cast<uint32_t>(least);
}

// Without the limits of 32 bits.
inline void lumCircleOffsets(ptrdiff_t (&offsets)[LUM_CIRCLE], uint32_t stride) {
  for (int i = 0; i < LUM_CIRCLE; ++i) {
    offsets[i] = LUM_CIRCLE_PLACE[i].dx + LUM_CIRCLE_PLACE[i].dy * static_cast<ptrdiff_t>(stride);
  }
}

// Corners in order, as long as `isLeftOut(x, y)` does not say otherwise. The list is looked at
// after a corner is written: there is room for one.
template <int kArc, class IsLeftOut>
void lumFindCorners(const lumFastSearch& search, IsLeftOut isLeftOut) {
  ptrdiff_t offsets[LUM_CIRCLE];
  lumCircleOffsets(offsets, search.stride);
  uint32_t count = 0;
  *search.count = 0;
  for (uint32_t y = search.border; y < search.height - search.border; ++y) {
    const uint8_t* row = search.src + size_t{y} * search.stride;
    for (uint32_t x = search.border; x < search.width - search.border; ++x) {
      if (isLeftOut(x, y) || !lumIsCorner<kArc>(row + x, offsets, search.barrier)) continue;
      search.xy[2 * size_t{count}] = x;
      search.xy[2 * size_t{count} + 1] = y;
      *search.count = ++count;
      if (count >= search.capacity) return;
    }
  }
}

template <int kArc>
void lumFindCorners(const lumFastSearch& search) {
  lumFindCorners<kArc>(search, [](uint32_t, uint32_t) { return false; });
}

template <int kArc>
void lumFindCorners(const lumFastSearch& search, const lumFastMask& mask) {
  const lumFastMaskScale scale = lumFastScaleOf(mask, search.width, search.height);
  *search.count = 0;
  if (!scale.isKnown) return;
  lumFindCorners<kArc>(search,
                       [&](uint32_t x, uint32_t y) { return lumFastIsMasked(mask, scale, x, y); });
}

// Corners that `find(search)` finds, with scores; in the work area, and from there without those
// that a neighbour is as strong as, where there is one. A capacity of 0 finds one corner at most,
// for which the work area has no room and which has no neighbour.
template <class Find>
void lumFindScored(lumFastSearch search, uint32_t* scores, lumCornerScore* score, uint32_t* tempBuf,
                   Find find) {
  if (!tempBuf || search.capacity == 0) {
    find(search);
    lumFastScore(score, search, *search.count, search.xy, scores);
    return;
  }
  const lumFastWork work(tempBuf, search.capacity);
  uint32_t* const xy = search.xy;
  search.xy = work.xy;
  find(search);
  lumFastScore(score, search, *search.count, work.xy, work.scores);
  nms_processing(work.xy, work.scores, work.rowStart, *search.count, xy, scores, search.count);
}

// A search by a public function, which goes to the implementation that is selected for it.
template <class Entry, class... Mask>
auto lumFindBy(Entry* entry, Mask... mask) {
  return [=](const lumFastSearch& s) {
    entry(s.src, s.width, s.height, s.stride, s.barrier, s.border, s.xy, s.capacity, s.count,
          mask...);
  };
}

#endif  // LUMEN_FAST_ARC_H
