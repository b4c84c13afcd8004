// The FAST corners of a row, for any arc length.
//
// Few pixels have a circle that can hold an arc, and those lie in groups. A row is searched in
// three steps, each of which lists what the next one looks at: vectors of pixels, blocks of 16
// pixels, and the corners in as many blocks as make a vector. The steps are loops without branches
// that depend on the picture, which would be taken or not at random where it has edges.
//
// Brightness is compared with saturation: centre plus barrier stops at 255 and centre less barrier
// at 0, beyond which no pixel lies. That is right for barriers from 0 to 254.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_FAST_ROW_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_FAST_ROW_INL_H
#undef LUMEN_FAST_ROW_INL_H
#else
#define LUMEN_FAST_ROW_INL_H
#endif

#include <hwy/highway.h>

#include <cstring>

#include "cpu/lumenFastArc.h"
#include "vorta/lumenFastArc-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

inline constexpr uint32_t kFastBlock = 16;

// The blocks that begin at p[x[0]], p[x[1]] and so forth, as one vector.
template <class D>
HWY_INLINE hn::Vec<D> LoadBlocks(D d, const uint8_t* p, const uint32_t* x) {
  if constexpr (hn::MaxLanes(d) == kFastBlock) {
    return hn::LoadU(d, p + x[0]);
  } else if constexpr (hn::MaxLanes(d) == 2 * kFastBlock) {
    const hn::Half<D> half;
    return hn::Combine(d, hn::LoadU(half, p + x[1]), hn::LoadU(half, p + x[0]));
  } else {
    const hn::Repartition<uint32_t, D> d32;
    const auto load = [&](int i) HWY_ATTR {
      return hn::LoadDup128(d32, reinterpret_cast<const uint32_t*>(p + x[i]));
    };
    auto v = load(3);
    v = hn::IfThenElse(hn::FirstN(d32, 12), load(2), v);
    v = hn::IfThenElse(hn::FirstN(d32, 8), load(1), v);
    v = hn::IfThenElse(hn::FirstN(d32, 4), load(0), v);
    return hn::BitCast(d, v);
  }
}

// Corners in the blocks of one vector: a bit for each pixel.
struct FastCorners {
  const uint32_t* x;  // where each block begins
  uint64_t bits;

  HWY_INLINE uint32_t xOf(uint32_t lane) const { return x[lane / kFastBlock] + lane % kFastBlock; }
};

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
  // With the strength of each lane where scores are wanted.
  HWY_INLINE bool AddAll(FastCorners corners, uint32_t y, const uint8_t* strength) {
    const auto add = [&](auto put) HWY_ATTR {
      for (uint64_t bits = corners.bits; bits != 0; bits &= bits - 1) {
        const auto lane = static_cast<uint32_t>(__builtin_ctzll(bits));
        if (!put(corners.xOf(lane), strength ? strength[lane] - 1u : 0)) return false;
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

template <int kArc, class D>
class RowSearch {
 public:
  using V = hn::Vec<D>;

  // The columns between the borders must be a vector at least.
  explicit RowSearch(const lumFastSearch& search)
      : begin_(search.border),
        end_(search.width - search.border),
        barrier_(static_cast<uint8_t>(search.barrier)) {
    lumCircleOffsets(offset_, search.stride);
  }

  // Calls take(corners, strengths) for vectors that may have corners, in order, and ends when that
  // returns false. Strengths are by how much the barrier can grow until a pixel is no corner, and 0
  // where there is none; without kHasStrengths they are not to be looked at.
  template <bool kHasStrengths, class Take>
  HWY_INLINE bool Find(const uint8_t* row, const Take& take) {
    for (uint32_t rest = end_ - begin_, some; rest != 0; rest -= some) {
      some = rest < kSegment ? rest : kSegment;
      uint32_t blocks = ListBlocks(row, ListVectors(row, end_ - rest, end_ - rest + some));
      if (kListsCorners) blocks = ListCorners(row, blocks);
      for (uint32_t k = 0; k < blocks; k += kGroup) {
        const uint32_t* const x = blocks_ + k;
        FastLanes lanes = {BitsOfGroup(bright_ + k), BitsOfGroup(dark_ + k)};
        V strengths = hn::Zero(d);
        if (kHasStrengths || !kListsCorners) strengths = StrengthsAt(row, x, lanes);
        if (!take(FastCorners{x, lanes.bright | lanes.dark}, strengths)) return false;
      }
    }
    return true;
  }

 private:
  static constexpr D d{};
  static constexpr uint32_t kLanes = static_cast<uint32_t>(hn::MaxLanes(D()));
  static constexpr uint32_t kGroup = kLanes / kFastBlock;
  static constexpr uint32_t kSegment = 4096, kBlocks = kSegment / kFastBlock;
  // Where comparisons yield bits, ordinary registers find arcs in less time than those of vectors
  // find strengths, and at the same time as these do something else.
  static constexpr bool kListsCorners = kLanes == 64;

  // Bits of the lanes of a group, and how many of these make a vector.
  using BitsTag = hn::Repartition<uint64_t, D>;
  static constexpr uint32_t kBits = kLanes / 8, kBatch = kBits * kGroup;

  // A bit for each lane.
  struct FastLanes {
    uint64_t bright, dark;
  };

  HWY_INLINE const uint8_t* placeOf(const uint8_t* p, int i) const { return p + offset_[i]; }
  // The last vector of a row covers pixels of the one before.
  HWY_INLINE uint32_t vectorAt(uint32_t x) const { return end_ - x < kLanes ? end_ - kLanes : x; }

  // What is brighter or darker than the centre by more than the barrier, beyond these.
  struct Limits {
    V above, below;
    HWY_INLINE Limits(V centre, V barrier)
        : above(hn::SaturatedAdd(centre, barrier)), below(hn::SaturatedSub(centre, barrier)) {}
  };

  // Pixels where of each of some pairs of opposite pixels one is bright or dark enough. Each arc
  // has one of each pair.
  struct Candidates {
    hn::Mask<D> bright, dark;
  };
  template <int kPairs>
  HWY_INLINE Candidates CandidatesAt(const uint8_t* p) const {
    const Limits limits(hn::LoadU(d, p), hn::Set(d, barrier_));
    const auto among = [&](int i, const Candidates* before) HWY_ATTR {
      const V a = hn::LoadU(d, placeOf(p, i)), b = hn::LoadU(d, placeOf(p, i + 8));
      const V brighter = hn::Max(a, b), darker = hn::Min(a, b);
      if (!before) return Candidates{hn::Gt(brighter, limits.above), hn::Lt(darker, limits.below)};
      return Candidates{GtAmong(before->bright, brighter, limits.above),
                        GtAmong(before->dark, limits.below, darker)};
    };
    Candidates all = among(0, nullptr);
    for (int i = 8 / kPairs; i < 8; i += 8 / kPairs) all = among(i, &all);
    return all;
  }

  HWY_INLINE uint32_t ListVectors(const uint8_t* row, uint32_t begin, uint32_t end) {
    uint32_t count = 0;
    for (uint32_t x = begin; x < end; x += kLanes) {
      const Candidates all = CandidatesAt<2>(row + vectorAt(x));
      vectors_[count] = x;
      count += !hn::AllFalse(d, hn::Or(all.bright, all.dark));
    }
    return count;
  }

  HWY_INLINE uint32_t ListBlocks(const uint8_t* row, uint32_t vectors) {
    uint32_t count = 0;
    for (uint32_t k = 0; k < vectors; ++k) {
      const uint32_t x = vectors_[k], at = vectorAt(x);
      const Candidates all = CandidatesAt<4>(row + at);
      const uint64_t isNew = ~uint64_t{0} << (x - at);
      const FastLanes lanes = {BitsOf(d, all.bright) & isNew, BitsOf(d, all.dark) & isNew};
      for (uint32_t i = 0; i < kGroup; ++i)
        count += ListBlock(count, at + i * kFastBlock, lanes, i);
    }
    return Fill(count);
  }

  // Those of the blocks that have corners, and these in place of candidates. The bits of one place
  // of the circle, of as many groups of blocks as make a vector, are a vector again.
  HWY_INLINE uint32_t ListCorners(const uint8_t* row, uint32_t blocks) {
    uint32_t count = 0;
    for (uint32_t k = 0; k < blocks; k += kBatch) {
      const uint32_t end = blocks - k < kBatch ? blocks : k + kBatch;
      for (uint32_t group = k; group < end; group += kGroup) {
        const uint32_t* const x = blocks_ + group;
        const Limits limits(LoadBlocks(d, row, x), hn::Set(d, barrier_));
        for (int i = 0; i < LUM_CIRCLE; ++i) {
          const V v = LoadBlocks(d, placeOf(row, i), x);
          isBright_[i][(group - k) / kGroup] = BitsOf(d, hn::Gt(v, limits.above));
          isDark_[i][(group - k) / kGroup] = BitsOf(d, hn::Lt(v, limits.below));
        }
      }
      KeepArcs(isBright_, bright_ + k);
      KeepArcs(isDark_, dark_ + k);
      for (uint32_t i = k; i < end; ++i) {
        blocks_[count] = blocks_[i];
        bright_[count] = bright_[i];
        dark_[count] = dark_[i];
        count += (bright_[count] | dark_[count]) != 0;
      }
    }
    return Fill(count);
  }

  // Of the candidates of a batch, those whose circle has an arc of bits.
  static HWY_INLINE void KeepArcs(const uint64_t (&is)[LUM_CIRCLE][kBits], uint16_t* candidates) {
    const BitsTag dBits;
    hn::Vec<BitsTag> v[LUM_CIRCLE];
    for (int i = 0; i < LUM_CIRCLE; ++i) v[i] = hn::LoadU(dBits, is[i]);
    auto* const lanes = reinterpret_cast<uint8_t*>(candidates);
    const auto all = hn::BitCast(dBits, hn::LoadU(d, lanes));
    const auto arcs = hn::And(all, BestArc<kArc>(v, BothOf(), EitherOf()));
    hn::StoreU(hn::BitCast(d, arcs), d, lanes);
  }

  // Writes block `block` of some lanes, which begins at x, to a place of the list. Whether it has
  // any lanes, and stays.
  HWY_INLINE bool ListBlock(uint32_t place, uint32_t x, const FastLanes& lanes, uint32_t block) {
    blocks_[place] = x;
    bright_[place] = static_cast<uint16_t>(lanes.bright >> (block * kFastBlock));
    dark_[place] = static_cast<uint16_t>(lanes.dark >> (block * kFastBlock));
    return (bright_[place] | dark_[place]) != 0;
  }

  // What the last vector of blocks lacks: no pixels of a block that is there.
  HWY_INLINE uint32_t Fill(uint32_t count) {
    for (uint32_t i = count; count % kGroup != 0 && i < count + kGroup; ++i) {
      blocks_[i] = blocks_[count - 1];
      bright_[i] = dark_[i] = 0;
    }
    return count;
  }

  static HWY_INLINE uint64_t BitsOfGroup(const uint16_t* blocks) {
    uint64_t bits = 0;
    std::memcpy(&bits, blocks, kGroup * sizeof *blocks);
    return bits;
  }

  // The strengths of blocks that have these candidates, of which the corners remain. A block by
  // itself is mostly bright or dark only.
  HWY_INLINE V StrengthsAt(const uint8_t* row, const uint32_t* x, FastLanes& lanes) const {
    const V centre = LoadBlocks(d, row, x);
    V v[LUM_CIRCLE], best = hn::Zero(d);
    for (int i = 0; i < LUM_CIRCLE; ++i) v[i] = LoadBlocks(d, placeOf(row, i), x);
    if (kGroup > 1 || lanes.bright != 0) {
      best = hn::SaturatedSub(BestArc<kArc>(v, SmallerOf(), LargerOf()), centre);
    }
    if (kGroup > 1 || lanes.dark != 0) {
      best = hn::Max(best, hn::SaturatedSub(centre, BestArc<kArc>(v, LargerOf(), SmallerOf())));
    }
    const auto isCorner = hn::Gt(best, hn::Set(d, barrier_));
    const uint64_t corners = BitsOf(d, isCorner);
    lanes.bright &= corners;
    lanes.dark &= corners;
    return hn::IfThenElseZero(isCorner, best);
  }

  const uint32_t begin_, end_;
  const uint8_t barrier_;
  ptrdiff_t offset_[LUM_CIRCLE];
  uint32_t vectors_[kSegment / kLanes], blocks_[kBlocks + kGroup];
  uint16_t bright_[kBlocks + kGroup], dark_[kBlocks + kGroup];
  uint64_t isBright_[LUM_CIRCLE][kBits] = {}, isDark_[LUM_CIRCLE][kBits] = {};
};

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_ROW_INL_H
