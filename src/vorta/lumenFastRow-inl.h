// The FAST corners of rows, for any arc length.
//
// Rows are searched in steps, each of which lists what the next one looks at: vectors of pixels
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

#include <type_traits>

#include "cpu/lumenFastArc.h"
#include "vorta/lumenFastArc-inl.h"
#include "vorta/lumenFastOutput-inl.h"
#include "vorta/lumenFastStrength-inl.h"
#include "vorta/lumenFastVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

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
  // At most so many vectors are searched at once.
  static constexpr uint32_t kVectors = 256;

  // Turns to row y and some rows from there on, at most `rows`. How many.
  HWY_INLINE uint32_t Start(uint32_t y, uint32_t rows) {
    const uint32_t most = kVectors / ((end_ - begin_) / kLanes + 2);
    nextY_ = y;
    endY_ = y + HWY_MIN(HWY_MAX(most, 1u), rows);
    nextX_ = begin_;
    return endY_ - y;
  }
  bool isDone() const { return nextY_ == endY_; }
  // Where the next part of a row begins.
  uint32_t nextX() const { return nextX_; }

  // Finds the corners of the next part of these rows. The number of vectors that have some.
  HWY_INLINE uint32_t Find() {
    if constexpr (kComparesToBits) return KeepOwn(ListCorners(ListThin()));
    else return KeepOwn(ListStrengths(ListCandidates(ListVectors<2, 2>()), nullptr));
  }
  // The same with their strengths.
  HWY_INLINE uint32_t Find(const FastStrengths& strengths) {
    if constexpr (kComparesToBits) {
      const uint32_t some = KeepOwn(ListCorners(ListThin()));
      FillStrengths<true>(bright_, some, strengths);
      FillStrengths<false>(dark_, some, strengths);
      return some;
    } else {
      return KeepOwn(ListStrengths(ListCandidates(ListVectors<2, 2>()), &strengths));
    }
  }
  // What was found.
  HWY_INLINE FastCorners operator[](uint32_t k) const {
    return {placeAt(vectors_[k]), bright_[k] | dark_[k]};
  }

 private:
  static constexpr D d{};
  // Whether a comparison yields a number of a bit for each lane, without further work.
  static constexpr bool kComparesToBits = kLanes == 64;
  // Whether to fetch what the next row needs, which pays where a vector is a cache line.
  static constexpr bool kPrefetches = kLanes == 64;
  // How many of these numbers make a vector.
  using BitsTag = hn::Repartition<uint64_t, D>;
  static constexpr uint32_t kBatch = kLanes / 8;
  // How many vectors are compared before their bits are looked at: these stay in the nearest cache.
  static constexpr uint32_t kCompared = 2 * kBatch;

  // Lists are written by vectors, which may reach beyond them.
  static constexpr uint32_t kListed = kVectors + 8;

  HWY_INLINE const uint8_t* placeOf(const uint8_t* p, int i) const { return p + offset_[i]; }
  // How a vector is listed. Where comparisons yield bits, parts are many rows: there are full
  // vectors of bits then, also in small images.
  using Entry = std::conditional_t<kComparesToBits, FastPlace, uint32_t>;
  HWY_INLINE const uint8_t* rowAt(uint32_t y) const {
    return search_.src + size_t{y} * search_.stride;
  }
  HWY_INLINE const uint8_t* pixelAt(Entry vector) const {
    if constexpr (kComparesToBits) return rowAt(yOf(vector)) + xOf(vector);
    else return row_ + vector;
  }
  HWY_INLINE FastPlace placeAt(Entry vector) const {
    if constexpr (kComparesToBits) return vector;
    else return FastPlaceAt(vector, y_);
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

  // The vectors of a row that may hold corners, by kPairs pairs, of which kFirst is one, or those
  // of so many as the list has room for. But for the first and the last of a row, vectors lie on
  // lines, which begin where addresses are multiples of a vector: what is loaded from the same
  // column then lies in one cache line.
  template <int kPairs, int kFirst>
  HWY_INLINE uint32_t ListRow(uint32_t count) {
    const V barrier = hn::Set(d, barrier_);
    const uint32_t y = nextY_;
    const uint8_t* const row = rowAt(y);
    // The circles of the next row reach 4 rows down from this one.
    const uint8_t* const ahead = rowAt(HWY_MIN(y + 4, search_.height - 1));
    const auto list = [&](uint32_t x) HWY_ATTR {
      if constexpr (kPrefetches) hwy::Prefetch(ahead + x);
      const Candidates all = CandidatesAt<kPairs, kFirst>(row + x, barrier);
      if constexpr (kComparesToBits) vectors_[count] = FastPlaceAt(x, y);
      else vectors_[count] = x;
      count += IsAnyIn(d, all.bright, all.dark);
    };
    uint32_t x = nextX_;
    constexpr uint32_t kMost = (kVectors - 1) * kLanes;
    const bool isLast = end_ - x <= kMost;
    const uint32_t end = isLast ? end_ : x + kMost;
    list(HWY_MIN(x, end_ - kLanes));
    // Two vectors are enough where they reach from end to end.
    const bool isShort = end_ - begin_ <= 2 * kLanes;
    const auto address = reinterpret_cast<uintptr_t>(row + x);
    x += isShort ? kLanes : kLanes - static_cast<uint32_t>(address % kLanes);
    for (; x + kLanes <= end; x += kLanes) list(x);
    if (isLast && x < end) list(end - kLanes);
    y_ = y;
    row_ = row;
    nextX_ = isLast ? begin_ : x;
    nextY_ += isLast;
    return count;
  }
  // The same of as many rows as are searched at once.
  template <int kPairs, int kFirst>
  HWY_NOINLINE uint32_t ListVectors() {
    uint32_t count = ListRow<kPairs, kFirst>(0);
    if constexpr (kComparesToBits) {
      while (nextX_ == begin_ && nextY_ < endY_) count = ListRow<kPairs, kFirst>(count);
    }
    return count;
  }

  // Those that further pairs leave.
  template <int kPairs, int kFirst>
  HWY_NOINLINE uint32_t Thin(uint32_t vectors) {
    const V barrier = hn::Set(d, barrier_);
    uint32_t count = 0;
    for (uint32_t k = 0; k < vectors; ++k) {
      const Entry vector = vectors_[k];
      const Candidates all = CandidatesAt<kPairs, kFirst>(pixelAt(vector), barrier);
      vectors_[count] = vector;
      count += IsAnyIn(d, all.bright, all.dark);
    }
    return count;
  }
  // By the two diagonal pairs, which fewer pixels of photographs pass than the upright and the
  // level one, and then by these, where vectors are so few that this is the last step for many:
  // where there are edges all over it would be one step more for most. Where the part before was
  // flat, by the upright pair alone and then by the diagonal ones.
  HWY_INLINE uint32_t ListThin() {
    const uint32_t begin = nextX_, y = nextY_;
    const uint32_t vectors = isFlat_ ? ListVectors<1, 0>() : ListVectors<2, 2>();
    const uint32_t end = nextX_ == begin_ ? end_ : nextX_;
    const uint32_t most = (y_ - y + 1) * ((end - begin) / kLanes);
    const bool wasFlat = isFlat_;
    isFlat_ = vectors < most / (wasFlat ? 2 : 3);
    if (wasFlat) return Thin<2, 2>(vectors);
    return vectors > most / 2 ? vectors : Thin<2, 0>(vectors);
  }

  // Those of the vectors that may still hold corners, and where.
  HWY_NOINLINE uint32_t ListCandidates(uint32_t vectors) {
    const V barrier = hn::Set(d, barrier_);
    uint32_t count = 0;
    for (uint32_t k = 0; k < vectors; ++k) {
      const Entry vector = vectors_[k];
      const Candidates all = CandidatesAt<4, 1>(pixelAt(vector), barrier);
      count += List(count, vector, BitsOf(d, all.bright), BitsOf(d, all.dark));
    }
    return count;
  }

  // Writes a vector to the list. Whether it stays.
  HWY_INLINE bool List(uint32_t count, Entry vector, uint64_t bright, uint64_t dark) {
    vectors_[count] = vector;
    bright_[count] = bright;
    dark_[count] = dark;
    return (bright | dark) != 0;
  }

  // Those of the candidates that are corners, and their strengths.
  HWY_NOINLINE uint32_t ListStrengths(uint32_t vectors, const FastStrengths* strengths) {
    uint32_t count = 0;
    for (uint32_t k = 0; k < vectors; ++k) {
      const Entry vector = vectors_[k];
      const uint64_t bright = bright_[k], dark = dark_[k];
      const uint8_t* const p = pixelAt(vector);
      V v[LUM_CIRCLE], best = hn::Zero(d);
      const V centre = hn::LoadU(d, p);
      for (int i = 0; i < LUM_CIRCLE; ++i) v[i] = hn::LoadU(d, placeOf(p, i));
      if (bright != 0) best = StrengthsOf<kArc, true>(v, centre);
      if (dark != 0) best = hn::Max(best, StrengthsOf<kArc, false>(v, centre));
      const auto isCorner = hn::Gt(best, hn::Set(d, barrier_));
      const uint64_t corners = BitsOf(d, isCorner);
      const bool isAny = List(count, vector, bright & corners, dark & corners);
      count += isAny;
      if (strengths && isAny) {
        uint8_t* const to = strengths->at(placeAt(vector));
        hn::StoreU(hn::Max(hn::IfThenElseZero(isCorner, best), hn::LoadU(d, to)), d, to);
      }
    }
    return count;
  }

  // Those of the vectors that hold corners, and where. For each place of the circle, the bits of as
  // many vectors as make a vector of bits are looked at together.
  HWY_NOINLINE uint32_t ListCorners(uint32_t vectors) {
    const BitsTag d64;
    uint32_t count = 0;
    for (uint32_t done = 0; done < vectors; done += kCompared) {
      const uint32_t some = HWY_MIN(vectors - done, kCompared);
      CompareAll(vectors_ + done, some);
      for (uint32_t k = 0; k < some; k += kBatch) {
        const auto bright = ArcsOf(isBright_[k / kBatch]);
        const auto dark = ArcsOf(isDark_[k / kBatch]);
        const auto found =
            hn::And(hn::Ne(hn::Or(bright, dark), hn::Zero(d64)), hn::FirstN(d64, some - k));
        CompressStore(found, hn::LoadU(d64, vectors_ + done + k), vectors_ + count);
        CompressStore(found, bright, bright_ + count);
        CompressStore(found, dark, dark_ + count);
        count += static_cast<uint32_t>(hn::CountTrue(d64, found));
      }
    }
    return count;
  }
  HWY_INLINE void CompareAll(Entry* vectors, uint32_t count) {
    const V barrier = hn::Set(d, barrier_);
    // Two at a time, so that their bits are stored side by side.
    if (count % 2 != 0) vectors[count] = vectors[count - 1];
    for (uint32_t k = 0; k < count; k += 2) {
      const uint8_t* const p0 = pixelAt(vectors[k]);
      const uint8_t* const p1 = pixelAt(vectors[k + 1]);
      const Limits limits0(hn::LoadU(d, p0), barrier), limits1(hn::LoadU(d, p1), barrier);
      uint64_t* const isBright = &isBright_[k / kBatch][0][k % kBatch];
      uint64_t* const isDark = &isDark_[k / kBatch][0][k % kBatch];
      HWY_UNROLL(16)
      for (int i = 0; i < LUM_CIRCLE; ++i) {
        const V v0 = hn::LoadU(d, placeOf(p0, i)), v1 = hn::LoadU(d, placeOf(p1, i));
        isBright[i * kBatch] = BitsOf(d, hn::Gt(v0, limits0.above));
        isBright[i * kBatch + 1] = BitsOf(d, hn::Gt(v1, limits1.above));
        isDark[i * kBatch] = BitsOf(d, hn::Lt(v0, limits0.below));
        isDark[i * kBatch + 1] = BitsOf(d, hn::Lt(v1, limits1.below));
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

  // Leaves a pixel to the first vector of its row that found it: the first and the last one may
  // share pixels with their neighbours.
  HWY_INLINE uint32_t KeepOwn(uint32_t vectors) {
    uint64_t from = ownFrom_;
    for (uint32_t k = 0; k < vectors; ++k) {
      const FastPlace place = placeAt(vectors_[k]);
      const uint64_t own = ~uint64_t{0} << (from > place ? from - place : 0);
      bright_[k] &= own;
      dark_[k] &= own;
      from = place + kLanes;
    }
    ownFrom_ = from;
    return vectors;
  }

  template <bool kIsBright>
  HWY_INLINE void FillStrengths(const uint64_t* bits, uint32_t vectors,
                                const FastStrengths& strengths) {
    uint32_t blocks = 0;
    for (uint32_t k = 0; k < vectors; ++k) {
      blocks =
          blocks_.List(blocks, pixelAt(vectors_[k]), strengths.at(placeAt(vectors_[k])), bits[k]);
    }
    blocks_.template Fill<kIsBright>(blocks);
  }

  const lumFastSearch& search_;
  const uint32_t begin_, end_;
  const uint8_t barrier_;
  // The next part of the rows that are searched, and the last row of the part before.
  uint32_t nextX_ = 0, nextY_ = 0, endY_ = 0, y_ = 0;
  const uint8_t* row_ = nullptr;
  bool isFlat_ = false;
  // Where the pixels begin that no vector has found before.
  uint64_t ownFrom_ = 0;
  ptrdiff_t offset_[LUM_CIRCLE];
  Entry vectors_[kListed];
  uint64_t bright_[kListed], dark_[kListed];
  HWY_ALIGN BatchBits isBright_[kCompared / kBatch], isDark_[kCompared / kBatch];
  StrengthBlocks<kArc, D, kVectors> blocks_{offset_};
};

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_ROW_INL_H
