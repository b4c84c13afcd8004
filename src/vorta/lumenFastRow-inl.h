// The FAST corners of rows, for any arc length and vectors of up to 32 pixels.
//
// Rows are searched in steps, each of which lists what the next one looks at: vectors of pixels
// that may hold corners, and those that do. The steps are loops without branches that depend on the
// picture: where it has edges, such branches are taken or not as if at random. Each is a function
// of its own, so that its loop has all registers.
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

#include "cpu/lumenFastArc.h"
#include "vorta/lumenFastArc-inl.h"
#include "vorta/lumenFastOutput-inl.h"
#include "vorta/lumenFastPart-inl.h"
#include "vorta/lumenFastStrength-inl.h"
#include "vorta/lumenFastVector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

template <int kArc, class D>
class RowSearch : public FastParts<static_cast<uint32_t>(hn::MaxLanes(D()))> {
  using Parts = FastParts<static_cast<uint32_t>(hn::MaxLanes(D()))>;

 public:
  using Parts::kLanes, Parts::kVectors;
  using V = hn::Vec<D>;

  explicit RowSearch(const lumFastSearch& search)
      : Parts(search), barrier_(static_cast<uint8_t>(search.barrier)) {
    lumCircleOffsets(offset_, search.stride);
  }

  // Finds the corners of the next part of a row. How many vectors have some.
  HWY_INLINE uint32_t Find() {
    return KeepOwn(ListStrengths(ListCandidates(ListVectors()), nullptr));
  }
  // The same with their strengths.
  HWY_INLINE uint32_t Find(const FastStrengths& strengths) {
    return KeepOwn(ListStrengths(ListCandidates(ListVectors()), &strengths));
  }
  // What was found.
  HWY_INLINE FastCorners operator[](uint32_t k) const {
    return {placeAt(vectors_[k]), bright_[k] | dark_[k]};
  }

 private:
  static constexpr D d{};

  HWY_INLINE const uint8_t* placeOf(const uint8_t* p, int i) const { return p + offset_[i]; }
  HWY_INLINE FastPlace placeAt(uint32_t x) const { return FastPlaceAt(x, y_); }

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

  // The vectors of a row that may hold corners, by two pairs, or those of so many as the list has
  // room for.
  HWY_NOINLINE uint32_t ListVectors() {
    const V barrier = hn::Set(d, barrier_);
    y_ = Parts::nextY();
    row_ = Parts::rowAt(y_);
    uint32_t count = 0;
    const auto list = [&](uint32_t x) HWY_ATTR {
      const Candidates all = CandidatesAt<2, 2>(row_ + x, barrier);
      vectors_[count] = x;
      count += !hn::AllFalse(d, hn::Or(all.bright, all.dark));
    };
    Parts::ForVectors(list);
    return count;
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

  // Writes a vector to the list. Whether it stays.
  HWY_INLINE bool List(uint32_t count, uint32_t x, uint64_t bright, uint64_t dark) {
    vectors_[count] = x;
    bright_[count] = bright;
    dark_[count] = dark;
    return (bright | dark) != 0;
  }

  // Those of the candidates that are corners, and their strengths.
  HWY_NOINLINE uint32_t ListStrengths(uint32_t vectors, const FastStrengths* strengths) {
    uint32_t count = 0;
    for (uint32_t k = 0; k < vectors; ++k) {
      const uint32_t x = vectors_[k];
      const uint64_t bright = bright_[k], dark = dark_[k];
      const uint8_t* const p = row_ + x;
      V v[LUM_CIRCLE], best = hn::Zero(d);
      const V centre = hn::LoadU(d, p);
      for (int i = 0; i < LUM_CIRCLE; ++i) v[i] = hn::LoadU(d, placeOf(p, i));
      if (bright != 0) best = StrengthsOf<kArc, true>(v, centre);
      if (dark != 0) best = hn::Max(best, StrengthsOf<kArc, false>(v, centre));
      const auto isCorner = hn::Gt(best, hn::Set(d, barrier_));
      const uint64_t corners = BitsOf(d, isCorner);
      const bool isAny = List(count, x, bright & corners, dark & corners);
      count += isAny;
      if (strengths && isAny) {
        uint8_t* const to = strengths->at(placeAt(x));
        hn::StoreU(hn::Max(hn::IfThenElseZero(isCorner, best), hn::LoadU(d, to)), d, to);
      }
    }
    return count;
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

  const uint8_t barrier_;
  // The row that is searched.
  uint32_t y_ = 0;
  const uint8_t* row_ = nullptr;
  // Where the pixels begin that no vector has found before.
  uint64_t ownFrom_ = 0;
  ptrdiff_t offset_[LUM_CIRCLE];
  uint32_t vectors_[kVectors];
  uint64_t bright_[kVectors], dark_[kVectors];
};

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_ROW_INL_H
