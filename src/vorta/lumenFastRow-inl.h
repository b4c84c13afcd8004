// The FAST corners of a row, for any arc length.
//
// A row is searched in steps, each of which lists what the next one looks at: vectors of pixels
// that may hold corners, those that do, and the blocks of 16 pixels in these that do. The steps are
// loops without branches that depend on the picture: where it has edges, such branches are taken or
// not as if at random.
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

// Corners of a vector that begins at x: a bit for each pixel.
struct VectorCorners {
  uint32_t x;
  uint64_t bits;
  HWY_INLINE uint32_t xOf(uint32_t lane) const { return x + lane; }
};
// The same of blocks, of which there are as many as make a vector.
struct BlockCorners {
  const uint32_t* x;  // of each
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
  template <class Corners>
  HWY_INLINE bool AddAll(const Corners& corners, uint32_t y, const uint8_t* strength) {
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

  // Calls take(corners) for what may have corners of a row, in order, and ends when that returns
  // false.
  template <class Take>
  HWY_INLINE bool Find(const uint8_t* row, const Take& take) {
    return InSegments([&](uint32_t begin, uint32_t end) HWY_ATTR {
      uint32_t vectors = ListVectors(row, begin, end);
      if constexpr (kComparesToBits) {
        vectors = ListCorners(row, vectors);
        for (uint32_t k = 0; k < vectors; ++k) {
          if (!take(VectorCorners{vectors_[k], bits_[k]})) return false;
        }
      } else {
        vectors = ListCandidates(row, vectors);
        for (uint32_t k = 0; k < vectors; ++k) {
          VectorCorners corners{vectors_[k], bits_[k]};
          StrengthsAt(row, BlocksFrom(corners.x).x, sides_[k], corners.bits);
          if (!take(corners)) return false;
        }
      }
      return true;
    });
  }

  // The same with take(corners, strengths), for blocks. Strengths are by how much the barrier can
  // grow until a pixel is no corner, and 0 where there is none.
  template <class Take>
  HWY_INLINE bool FindStrengths(const uint8_t* row, const Take& take) {
    return InSegments([&](uint32_t begin, uint32_t end) HWY_ATTR {
      uint32_t vectors = ListVectors(row, begin, end);
      const auto look = [&](const uint32_t* x, uint32_t sides, uint64_t bits) HWY_ATTR {
        const V strengths = StrengthsAt(row, x, sides, bits);
        return take(BlockCorners{x, bits}, strengths);
      };
      if constexpr (kComparesToBits) {
        const uint32_t blocks = ListBlocks(ListCorners(row, vectors));
        for (uint32_t k = 0; k < blocks; k += kGroup) {
          uint64_t bits = 0;
          std::memcpy(&bits, blockBits_ + k, kGroup * sizeof *blockBits_);
          if (!look(blocks_ + k, kBright | kDark, bits)) return false;
        }
      } else {
        vectors = ListCandidates(row, vectors);
        for (uint32_t k = 0; k < vectors; ++k) {
          if (!look(BlocksFrom(vectors_[k]).x, sides_[k], bits_[k])) return false;
        }
      }
      return true;
    });
  }

 private:
  static constexpr D d{};
  static constexpr uint32_t kLanes = static_cast<uint32_t>(hn::MaxLanes(D()));
  static constexpr uint32_t kGroup = kLanes / kFastBlock;
  static constexpr uint32_t kSegment = 4096, kVectors = kSegment / kLanes;
  // Whether a comparison yields a number of a bit for each lane, without further work.
  static constexpr bool kComparesToBits = kLanes == 64;
  // How many of these numbers make a vector.
  using BitsTag = hn::Repartition<uint64_t, D>;
  static constexpr uint32_t kBatch = kLanes / 8;
  static constexpr uint32_t kBright = 1, kDark = 2;

  struct Blocks {
    uint32_t x[kGroup];
  };
  static HWY_INLINE Blocks BlocksFrom(uint32_t x) {
    Blocks blocks;
    for (uint32_t i = 0; i < kGroup; ++i) blocks.x[i] = x + i * kFastBlock;
    return blocks;
  }

  // Lists are as long as a part of a row may make them.
  template <class Search>
  HWY_INLINE bool InSegments(const Search& search) const {
    for (uint32_t rest = end_ - begin_, some; rest != 0; rest -= some) {
      some = rest < kSegment ? rest : kSegment;
      if (!search(end_ - rest, end_ - rest + some)) return false;
    }
    return true;
  }

  HWY_INLINE const uint8_t* placeOf(const uint8_t* p, int i) const { return p + offset_[i]; }
  // The last vector of a row covers pixels of the one before, where corners are not new.
  HWY_INLINE uint32_t vectorAt(uint32_t x) const { return end_ - x < kLanes ? end_ - kLanes : x; }
  HWY_INLINE uint64_t newBits(uint32_t x) const { return ~uint64_t{0} << (x - vectorAt(x)); }

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

  // Those of the vectors that may still hold corners, where, and on which sides.
  HWY_INLINE uint32_t ListCandidates(const uint8_t* row, uint32_t vectors) {
    uint32_t count = 0;
    for (uint32_t k = 0; k < vectors; ++k) {
      const uint32_t x = vectors_[k];
      const Candidates all = CandidatesAt<4>(row + vectorAt(x));
      const uint64_t bright = BitsOf(d, all.bright), dark = BitsOf(d, all.dark);
      vectors_[count] = vectorAt(x);
      bits_[count] = (bright | dark) & newBits(x);
      sides_[count] = static_cast<uint8_t>((bright ? kBright : 0u) | (dark ? kDark : 0u));
      count += bits_[count] != 0;
    }
    return count;
  }

  // Those of the vectors that hold corners, and where. For each place of the circle, the bits of as
  // many vectors as make a vector of bits are looked at together.
  HWY_INLINE uint32_t ListCorners(const uint8_t* row, uint32_t vectors) {
    uint32_t count = 0;
    for (uint32_t k = 0; k < vectors; k += kBatch) {
      const uint32_t some = vectors - k < kBatch ? vectors - k : kBatch;
      for (uint32_t n = 0; n < some; ++n) {
        const uint8_t* p = row + vectorAt(vectors_[k + n]);
        const Limits limits(hn::LoadU(d, p), hn::Set(d, barrier_));
        HWY_UNROLL(16)
        for (int i = 0; i < LUM_CIRCLE; ++i) {
          const V v = hn::LoadU(d, placeOf(p, i));
          isBright_[i][n] = BitsOf(d, hn::Gt(v, limits.above));
          isDark_[i][n] = BitsOf(d, hn::Lt(v, limits.below));
        }
      }
      uint64_t arcs[kBatch];
      const BitsTag dBits;
      hn::StoreU(hn::Or(ArcsOf(isBright_), ArcsOf(isDark_)), dBits, arcs);
      for (uint32_t n = 0; n < some; ++n) {
        const uint32_t x = vectors_[k + n];
        vectors_[count] = vectorAt(x);
        bits_[count] = arcs[n] & newBits(x);
        count += bits_[count] != 0;
      }
    }
    return count;
  }
  static HWY_INLINE hn::Vec<BitsTag> ArcsOf(const uint64_t (&is)[LUM_CIRCLE][kBatch]) {
    hn::Vec<BitsTag> v[LUM_CIRCLE];
    for (int i = 0; i < LUM_CIRCLE; ++i) v[i] = hn::LoadU(BitsTag(), is[i]);
    return BestArc<kArc>(v, BothOf(), EitherOf());
  }

  // The blocks of vectors that hold corners.
  HWY_INLINE uint32_t ListBlocks(uint32_t vectors) {
    uint32_t count = 0;
    for (uint32_t k = 0; k < vectors; ++k) {
      for (uint32_t i = 0; i < kLanes; i += kFastBlock) {
        blocks_[count] = vectors_[k] + i;
        blockBits_[count] = static_cast<uint16_t>(bits_[k] >> i);
        count += blockBits_[count] != 0;
      }
    }
    // What the last group lacks: no pixels of a block that is there.
    for (uint32_t i = count; count % kGroup != 0 && i < count + kGroup; ++i) {
      blocks_[i] = blocks_[count - 1];
      blockBits_[i] = 0;
    }
    return count;
  }

  // The strengths of blocks that have candidates `bits`, of which the corners remain.
  HWY_INLINE V StrengthsAt(const uint8_t* row, const uint32_t* x, uint32_t sides,
                           uint64_t& bits) const {
    const V centre = LoadBlocks(d, row, x);
    V v[LUM_CIRCLE], best = hn::Zero(d);
    for (int i = 0; i < LUM_CIRCLE; ++i) v[i] = LoadBlocks(d, placeOf(row, i), x);
    if (kComparesToBits || (sides & kBright) != 0) {
      best = hn::SaturatedSub(BestArc<kArc>(v, SmallerOf(), LargerOf()), centre);
    }
    if (kComparesToBits || (sides & kDark) != 0) {
      best = hn::Max(best, hn::SaturatedSub(centre, BestArc<kArc>(v, LargerOf(), SmallerOf())));
    }
    const auto isCorner = hn::Gt(best, hn::Set(d, barrier_));
    bits &= BitsOf(d, isCorner);
    return hn::IfThenElseZero(isCorner, best);
  }

  const uint32_t begin_, end_;
  const uint8_t barrier_;
  ptrdiff_t offset_[LUM_CIRCLE];
  uint32_t vectors_[kVectors];
  uint64_t bits_[kVectors];
  uint8_t sides_[kVectors];
  uint64_t isBright_[LUM_CIRCLE][kBatch] = {}, isDark_[LUM_CIRCLE][kBatch] = {};
  uint32_t blocks_[kSegment / kFastBlock + kGroup];
  uint16_t blockBits_[kSegment / kFastBlock + kGroup];
};

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_ROW_INL_H
