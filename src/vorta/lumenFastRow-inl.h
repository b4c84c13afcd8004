// The FAST corners of a row, for any arc length.
//
// A row is searched in steps, each of which lists what the next one looks at: vectors of pixels
// that may hold corners, those that do, and the blocks of 16 pixels in these that do. The steps are
// loops without branches that depend on the picture: where it has edges, such branches are taken or
// not as if at random. Each is a function of its own, so that its loop has all registers.
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

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "cpu/lumenFastArc.h"
#include "vorta/lumenFastArc-inl.h"
#include "vorta/lumenFastOutput-inl.h"

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

// Loads once what is used twice: GCC would make the load a part of each use, and what crosses a
// line of the cache costs two accesses each time.
template <class D>
HWY_INLINE hn::Vec<D> LoadOnce(D d, const uint8_t* p) {
  auto v = hn::LoadU(d, p);
#if HWY_ARCH_X86
  asm("" : "+v"(v.raw));
#endif
  return v;
}

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
// Whether any lane is in one of two masks.
template <class D>
HWY_INLINE bool IsAnyIn(D d, hn::Mask<D> a, hn::Mask<D> b) {
  return !hn::AllFalse(d, hn::Or(a, b));
}
#if HWY_TARGET == HWY_AVX3
HWY_INLINE hn::Mask512<uint8_t> GtAmong(hn::Mask512<uint8_t> mask, hn::Vec512<uint8_t> a,
                                        hn::Vec512<uint8_t> b) {
  return hn::Mask512<uint8_t>{_mm512_mask_cmpgt_epu8_mask(mask.raw, a.raw, b.raw)};
}
HWY_INLINE bool IsAnyIn(hn::Full512<uint8_t>, hn::Mask512<uint8_t> a, hn::Mask512<uint8_t> b) {
  return !_kortestz_mask64_u8(a.raw, b.raw);
}
#endif

template <int kArc, class D>
class RowSearch {
 public:
  using V = hn::Vec<D>;

  // The columns between the borders must be a vector at least.
  explicit RowSearch(const lumFastSearch& search)
      : search_(search),
        begin_(search.border),
        end_(search.width - search.border),
        barrier_(static_cast<uint8_t>(search.barrier)) {
    lumCircleOffsets(offset_, search.stride);
  }

  static constexpr uint32_t kLanes = static_cast<uint32_t>(hn::MaxLanes(D()));
  // Lists are as long as a part of a row may make them.
  static constexpr uint32_t kVectors = 4096 / kLanes;

  // Turns to row y.
  HWY_INLINE void Start(uint32_t y) {
    row_ = search_.src + size_t{y} * search_.stride;
    // Where the first and the last vector are all there are, the first is on a line.
    phase_ = end_ - begin_ < 2 * kLanes
                 ? begin_
                 : static_cast<uint32_t>(-reinterpret_cast<uintptr_t>(row_)) % kLanes;
    firstBits_ = ~uint64_t{0} >> (64 - (lineEnd(begin_) - begin_));
    lastBits_ = ~uint64_t{0} << (kLanes - (end_ - (lineEnd(end_ - 1) - kLanes)));
    // The circles of the next row reach 4 rows down from this one.
    const uint32_t below = HWY_MIN(search_.height - 1 - y, 4u);
    ahead_ = row_ + size_t{below} * search_.stride;
  }
  uint32_t begin() const { return begin_; }
  uint32_t end() const { return end_; }
  // Where the part of a row that begins at x ends.
  HWY_INLINE uint32_t PartEnd(uint32_t x) const {
    return HWY_MIN(lineEnd(x) + (kVectors - 1) * kLanes, end_);
  }

  // Finds the corners of a part of a row. The number of vectors that have some.
  HWY_INLINE uint32_t Find(uint32_t begin, uint32_t end) {
    if constexpr (kComparesToBits) return ListCorners(ListThin(begin, end));
    else return ListStrengths(ListCandidates(ListVectors<2, 2>(begin, end)), nullptr);
  }
  // The same with their strengths.
  HWY_INLINE uint32_t Find(uint32_t begin, uint32_t end, const FastStrengths& strengths) {
    if constexpr (kComparesToBits) {
      const uint32_t some = ListCorners(ListThin(begin, end));
      FillStrengths<true>(ListBlocks(bright_, some), strengths);
      FillStrengths<false>(ListBlocks(dark_, some), strengths);
      return some;
    } else {
      return ListStrengths(ListCandidates(ListVectors<2, 2>(begin, end)), &strengths);
    }
  }
  // What was found.
  HWY_INLINE FastCorners operator[](uint32_t k) const {
    return {vectors_[k], bright_[k] | dark_[k]};
  }

 private:
  static constexpr D d{};
  static constexpr uint32_t kGroup = kLanes / kFastBlock;
  // Whether a comparison yields a number of a bit for each lane, without further work.
  static constexpr bool kComparesToBits = kLanes == 64;
  // Whether to fetch what the next row needs, which pays where a vector is a cache line.
  static constexpr bool kPrefetches = kLanes == 64;
  // How many of these numbers make a vector.
  using BitsTag = hn::Repartition<uint64_t, D>;
  static constexpr uint32_t kBatch = kLanes / 8;
  // How many vectors are compared before their bits are looked at: these stay in the nearest cache.
  static constexpr uint32_t kCompared = 4 * kBatch;

  HWY_INLINE const uint8_t* placeOf(const uint8_t* p, int i) const { return p + offset_[i]; }
  // Where the line ends that x is in. But for the first and the last of a row, vectors lie on
  // lines, which begin where addresses are multiples of a vector: what is loaded from the same
  // column then lies in one cache line.
  HWY_INLINE uint32_t lineEnd(uint32_t x) const { return x + kLanes - (x - phase_) % kLanes; }
  // A bit for each pixel that is for the vector at x to search. The first vector shares pixels with
  // the second, and the last with the one before.
  HWY_INLINE uint64_t ownBits(uint32_t x) const {
    if (x == begin_) return firstBits_;
    return x == end_ - kLanes ? lastBits_ : ~uint64_t{0};
  }

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
  template <int kPairs, int kFirst>
  HWY_INLINE Candidates CandidatesAt(const uint8_t* p, V barrier) const {
    const Limits limits(LoadOnce(d, p), barrier);
    const auto among = [&](int i, const Candidates* before) HWY_ATTR {
      const V a = LoadOnce(d, placeOf(p, i)), b = LoadOnce(d, placeOf(p, i + 8));
      const V brighter = hn::Max(a, b), darker = hn::Min(a, b);
      if (!before) return Candidates{hn::Gt(brighter, limits.above), hn::Lt(darker, limits.below)};
      return Candidates{GtAmong(before->bright, brighter, limits.above),
                        GtAmong(before->dark, limits.below, darker)};
    };
    Candidates all = among(kFirst, nullptr);
    for (int i = kFirst + 8 / kPairs; i < 8; i += 8 / kPairs) all = among(i, &all);
    return all;
  }

  // The vectors of a part of a row that may hold corners, by kPairs pairs, of which kFirst is one.
  template <int kPairs, int kFirst>
  HWY_NOINLINE uint32_t ListVectors(uint32_t begin, uint32_t end) {
    const uint8_t *const row = row_, *const ahead = ahead_;
    const V barrier = hn::Set(d, barrier_);
    uint32_t count = 0;
    const auto list = [&](uint32_t at) HWY_ATTR {
      const Candidates all = CandidatesAt<kPairs, kFirst>(row + at, barrier);
      vectors_[count] = at;
      count += IsAnyIn(d, all.bright, all.dark);
    };
    uint32_t at = lineEnd(begin);
    if constexpr (kPrefetches) hwy::Prefetch(ahead + begin);
    list(HWY_MIN(HWY_MAX(at, begin_ + kLanes), end_) - kLanes);
    for (; at + kLanes <= end; at += kLanes) {
      if constexpr (kPrefetches) hwy::Prefetch(ahead + at);
      list(at);
    }
    if (at < end) list(end_ - kLanes);
    return count;
  }

  // Those that further pairs leave.
  template <int kPairs, int kFirst>
  HWY_NOINLINE uint32_t Thin(uint32_t vectors) {
    const V barrier = hn::Set(d, barrier_);
    uint32_t count = 0;
    for (uint32_t k = 0; k < vectors; ++k) {
      const uint32_t at = vectors_[k];
      const Candidates all = CandidatesAt<kPairs, kFirst>(row_ + at, barrier);
      vectors_[count] = at;
      count += IsAnyIn(d, all.bright, all.dark);
    }
    return count;
  }
  // By the two diagonal pairs, which fewer pixels of photographs pass than the upright and the
  // level one, and then by these, where vectors are so few that this is the last step for many:
  // where there are edges all over it would be one step more for most. Where the part before was
  // flat, by the upright pair alone and then by the rest.
  HWY_INLINE uint32_t ListThin(uint32_t begin, uint32_t end) {
    const uint32_t most = (end - begin) / kLanes;
    if (isFlat_) {
      const uint32_t vectors = ListVectors<1, 0>(begin, end);
      isFlat_ = vectors < most / 3;
      return Thin<4, 0>(vectors);
    }
    const uint32_t vectors = ListVectors<2, 2>(begin, end);
    isFlat_ = vectors < most / 6;
    return vectors > most / 2 ? vectors : Thin<2, 0>(vectors);
  }

  // Those of the vectors that may still hold corners, and where.
  HWY_NOINLINE uint32_t ListCandidates(uint32_t vectors) {
    const V barrier = hn::Set(d, barrier_);
    uint32_t count = 0;
    for (uint32_t k = 0; k < vectors; ++k) {
      const uint32_t x = vectors_[k];
      const Candidates all = CandidatesAt<4, 1>(row_ + x, barrier);
      count += List(count, x, BitsOf(d, all.bright), BitsOf(d, all.dark));
    }
    return count;
  }

  // Writes a vector to a place of the list. Whether it stays.
  HWY_INLINE bool List(uint32_t place, uint32_t x, uint64_t bright, uint64_t dark) {
    vectors_[place] = x;
    bright_[place] = bright & ownBits(x);
    dark_[place] = dark & ownBits(x);
    return (bright_[place] | dark_[place]) != 0;
  }

  // Those of the candidates that are corners, and their strengths.
  HWY_NOINLINE uint32_t ListStrengths(uint32_t vectors, const FastStrengths* strengths) {
    uint32_t count = 0;
    for (uint32_t k = 0; k < vectors; ++k) {
      const uint32_t x = vectors_[k];
      const uint64_t bright = bright_[k], dark = dark_[k];
      V v[LUM_CIRCLE], best = hn::Zero(d);
      const V centre = hn::LoadU(d, row_ + x);
      for (int i = 0; i < LUM_CIRCLE; ++i) v[i] = hn::LoadU(d, placeOf(row_ + x, i));
      if (bright != 0) best = StrengthsOf<true>(v, centre);
      if (dark != 0) best = hn::Max(best, StrengthsOf<false>(v, centre));
      const auto isCorner = hn::Gt(best, hn::Set(d, barrier_));
      const uint64_t corners = BitsOf(d, isCorner);
      vectors_[count] = x;
      bright_[count] = bright & corners;
      dark_[count] = dark & corners;
      const bool isAny = ((bright | dark) & corners) != 0;
      count += isAny;
      if (strengths && isAny) {
        uint8_t* const to = strengths->at(x);
        hn::StoreU(hn::Max(hn::IfThenElseZero(isCorner, best), hn::LoadU(d, to)), d, to);
      }
    }
    return count;
  }

  // Those of the vectors that hold corners, and where. For each place of the circle, the bits of as
  // many vectors as make a vector of bits are looked at together.
  HWY_NOINLINE uint32_t ListCorners(uint32_t vectors) {
    uint32_t count = 0;
    for (uint32_t done = 0; done < vectors; done += kCompared) {
      const uint32_t some = HWY_MIN(vectors - done, kCompared);
      CompareAll(vectors_ + done, some);
      for (uint32_t k = 0; k < some; k += kBatch) {
        HWY_ALIGN uint64_t bright[kBatch], dark[kBatch];
        hn::Store(ArcsOf(isBright_[k / kBatch]), BitsTag(), bright);
        hn::Store(ArcsOf(isDark_[k / kBatch]), BitsTag(), dark);
        for (uint32_t n = 0; n < kBatch && k + n < some; ++n) {
          count += List(count, vectors_[done + k + n], bright[n], dark[n]);
        }
      }
    }
    return count;
  }
  HWY_INLINE void CompareAll(const uint32_t* vectors, uint32_t count) {
    const V barrier = hn::Set(d, barrier_);
    for (uint32_t k = 0; k < count; ++k) {
      const uint8_t* p = row_ + vectors[k];
      const Limits limits(hn::LoadU(d, p), barrier);
      auto& isBright = isBright_[k / kBatch];
      auto& isDark = isDark_[k / kBatch];
      HWY_UNROLL(16)
      for (int i = 0; i < LUM_CIRCLE; ++i) {
        const V v = hn::LoadU(d, placeOf(p, i));
        isBright[i][k % kBatch] = BitsOf(d, hn::Gt(v, limits.above));
        isDark[i][k % kBatch] = BitsOf(d, hn::Lt(v, limits.below));
      }
    }
  }

  // A bit of each vector of a batch, for each place of the circle.
  using BatchBits = uint64_t[LUM_CIRCLE][kBatch];
  static HWY_INLINE hn::Vec<BitsTag> ArcsOf(const BatchBits& is) {
    hn::Vec<BitsTag> v[LUM_CIRCLE];
    for (int i = 0; i < LUM_CIRCLE; ++i) v[i] = hn::Load(BitsTag(), is[i]);
    return BestArc<kArc>(v, BothOf(), EitherOf());
  }

  // The blocks in which vectors have any of `bits`.
  HWY_INLINE uint32_t ListBlocks(const uint64_t* bits, uint32_t vectors) {
    uint32_t count = 0;
    for (uint32_t k = 0; k < vectors; ++k) {
      for (uint32_t i = 0; i < kLanes; i += kFastBlock) {
        blocks_[count] = vectors_[k] + i;
        blockBits_[count] = static_cast<uint16_t>(bits[k] >> i);
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

  // The strengths of the corners of listed blocks, which are brighter or darker than their centres.
  template <bool kIsBright>
  HWY_NOINLINE void FillStrengths(uint32_t blocks, const FastStrengths& strengths) const {
    for (uint32_t k = 0; k < blocks; k += kGroup) {
      const uint32_t* const x = blocks_ + k;
      const auto strengthsBy = [&](auto load) HWY_ATTR {
        V v[LUM_CIRCLE];
        for (int i = 0; i < LUM_CIRCLE; ++i) v[i] = load(placeOf(row_, i));
        return StrengthsOf<kIsBright>(v, load(row_));
      };
      // Where there are corners everywhere, blocks are mostly neighbours.
      bool isRun = true;
      for (uint32_t i = 1; i < kGroup; ++i) isRun &= x[i] == x[0] + i * kFastBlock;
      const V best =
          isRun ? strengthsBy([&](const uint8_t* p) HWY_ATTR { return hn::LoadU(d, p + x[0]); })
                : strengthsBy([&](const uint8_t* p) HWY_ATTR { return LoadBlocks(d, p, x); });
      const auto* bits = reinterpret_cast<const uint8_t*>(blockBits_ + k);
      HWY_ALIGN uint8_t strength[kLanes];
      hn::Store(hn::IfThenElseZero(hn::LoadMaskBits(d, bits), best), d, strength);
      const hn::CappedTag<uint8_t, kFastBlock> dBlock;
      for (uint32_t i = 0; i < kGroup; ++i) {
        const auto block = hn::Load(dBlock, strength + i * kFastBlock);
        hn::StoreU(hn::Max(block, hn::LoadU(dBlock, strengths.at(x[i]))), dBlock,
                   strengths.at(x[i]));
      }
    }
  }

  template <bool kIsBright>
  static HWY_INLINE V StrengthsOf(const V (&v)[LUM_CIRCLE], V centre) {
    if constexpr (kIsBright) {
      return hn::SaturatedSub(BestArc<kArc>(v, SmallerOf(), LargerOf()), centre);
    } else {
      return hn::SaturatedSub(centre, BestArc<kArc>(v, LargerOf(), SmallerOf()));
    }
  }

  const lumFastSearch& search_;
  const uint32_t begin_, end_;
  const uint8_t barrier_;
  const uint8_t *row_ = nullptr, *ahead_ = nullptr;
  uint32_t phase_ = 0;
  bool isFlat_ = false;
  uint64_t firstBits_ = 0, lastBits_ = 0;
  ptrdiff_t offset_[LUM_CIRCLE];
  uint32_t vectors_[kVectors];
  uint64_t bright_[kVectors], dark_[kVectors];
  HWY_ALIGN BatchBits isBright_[kCompared / kBatch], isDark_[kCompared / kBatch];
  uint32_t blocks_[kVectors * kGroup + kGroup];
  uint16_t blockBits_[kVectors * kGroup + kGroup];
};

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_ROW_INL_H
