// FAST corners without those that have a neighbour as strong, suppressed as they are found.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_FAST_SUPPRESS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_FAST_SUPPRESS_INL_H
#undef LUMEN_FAST_SUPPRESS_INL_H
#else
#define LUMEN_FAST_SUPPRESS_INL_H
#endif

#include <hwy/highway.h>

#include <cstring>

#include "vorta/lumenFastRow-inl.h"
#include "vorta/lumenFastWide-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

using FastTag = hn::ScalableTag<uint8_t>;

// What searches rows by a vector of pixels.
template <int kArc, class D>
struct RowSearchOf {
  using Type = RowSearch<kArc, D>;
};
#if HWY_TARGET == HWY_AVX3
template <int kArc>
struct RowSearchOf<kArc, hn::Full512<uint8_t>> {
  using Type = WideSearch<kArc>;
};
#endif

// Rows of strengths, 0 where there is no corner, so that blocks of corners are held against their
// eight neighbours at once. They are those of the rows that are searched at once, of the two rows
// above, and of one below: a row can be done when the next one has been searched.
template <int kArc>
class SuppressedSearch {
 public:
  static constexpr uint32_t kWidest = 8192;

  // The rows must be a vector long at least, the barrier one that vectors can do.
  SuppressedSearch(const lumFastSearch& search, const lumFastMask* mask, uint32_t* scores)
      : search_(search), rowSearch_(search), out_(search, nullptr, scores), mask_(mask) {
    if (mask) scale_ = lumFastScaleOf(*mask, search.width, search.height);
    strengths_ = {room_, 0, 0, (search.width / kPitch + 1) * kPitch};
    const uint32_t fitting = static_cast<uint32_t>(sizeof room_) / strengths_.pitch - 3;
    rows_ = rowSearch_.Start(search.border, HWY_MIN(fitting, search.height - 2 * search.border));
    std::memset(room_, 0, size_t{rows_ + 3} * strengths_.pitch);
  }

  HWY_INLINE void Run() {
    *search_.count = 0;
    if (mask_ && !scale_.isKnown) return;
    const uint32_t end = search_.height - search_.border;
    for (uint32_t y = search_.border; y < end;) {
      strengths_.y = y - 2;
      y += rowSearch_.Start(y, HWY_MIN(rows_, end - y));
      const bool goesOn = Find() && y < end;
      KeepUpTo(goesOn ? y - 1 : y);
      if (!goesOn) break;
      MoveUp(y - 2);
    }
    *search_.count = out_.count;
  }

 private:
  using Rows = typename RowSearchOf<kArc, FastTag>::Type;
  static constexpr FastTag d{};
  // Rows are apart by multiples of this.
  static constexpr uint32_t kPitch = 64;
  // How many of the widest rows there is room for. Where many are searched at once, that takes less
  // for each.
  static constexpr uint32_t kFitting = Rows::kRows > 1 ? 10 : 4;

  // Finds the corners of the next rows; false when the last of them is the last of all.
  HWY_INLINE bool Find() {
    const uint32_t before = count_;
    while (!rowSearch_.isDone()) {
      const uint32_t more = rowSearch_.Find(strengths_);
      for (uint32_t k = 0; k < more; ++k) corners_[count_++] = rowSearch_[k];
    }
    for (uint32_t k = before; k < count_; ++k) {
      if (!Choose(corners_[k])) return LeaveOut(k + 1);
    }
    return true;
  }

  // Takes corners away that the mask does not allow or the list would have no room for. False when
  // there is no room for more.
  HWY_INLINE bool Choose(FastCorners& corners) {
    const auto more = static_cast<uint32_t>(hwy::PopCount(corners.bits));
    if (!mask_ && more < search_.capacity - candidates_) {
      candidates_ += more;
      return true;
    }
    uint64_t chosen = 0;
    bool goesOn = true;
    for (uint64_t bits = corners.bits; bits != 0; bits &= bits - 1) {
      const FastPlace place = corners.place + static_cast<uint32_t>(__builtin_ctzll(bits));
      if (!goesOn || (mask_ && lumFastIsMasked(*mask_, scale_, xOf(place), yOf(place)))) {
        *strengths_.at(place) = 0;
        continue;
      }
      chosen |= bits & -bits;
      goesOn = ++candidates_ < search_.capacity;
    }
    corners.bits = chosen;
    return goesOn;
  }

  // Takes away the corners of all vectors from the given one on.
  HWY_INLINE bool LeaveOut(uint32_t first) {
    for (uint32_t k = first; k < count_; ++k) {
      const FastCorners& corners = corners_[k];
      for (uint64_t bits = corners.bits; bits != 0; bits &= bits - 1) {
        *strengths_.at(corners.place + static_cast<uint32_t>(__builtin_ctzll(bits))) = 0;
      }
    }
    count_ = first;
    return false;
  }

  // Keeps the strongest corners of the rows above row `end`.
  HWY_INLINE void KeepUpTo(uint32_t end) {
    const uint32_t first = kept_;
    for (; kept_ < count_ && yOf(corners_[kept_].place) < end; ++kept_) {
      FastCorners& corners = corners_[kept_];
      const uint8_t* const p = strengths_.at(corners.place);
      auto other = hn::Max(hn::LoadU(d, p - 1), hn::LoadU(d, p + 1));
      for (const uint8_t* row : {p - strengths_.pitch, p + strengths_.pitch}) {
        other = hn::Max(other, hn::LoadU(d, row));
        other = hn::Max(other, hn::Max(hn::LoadU(d, row - 1), hn::LoadU(d, row + 1)));
      }
      corners.bits &= BitsOf(d, hn::Gt(hn::LoadU(d, p), other));
    }
    out_.AddAll(corners_ + first, kept_ - first, strengths_);
  }

  // Makes room for the rows after row y + 1: what is there of this one and of row y, where corners
  // have been kept, comes first then.
  HWY_INLINE void MoveUp(uint32_t y) {
    uint32_t count = 0;
    kept_ = 0;
    for (uint32_t k = 0; k < count_; ++k) {
      const FastCorners corners = corners_[k];
      uint8_t* const from = strengths_.at(corners.place);
      const auto strengths = hn::LoadU(d, from);
      hn::StoreU(hn::Zero(d), d, from);
      if (yOf(corners.place) < y) continue;
      // Vectors may have pixels in common, which the first of them has moved.
      uint8_t* const to = from - size_t{y - strengths_.y} * strengths_.pitch;
      hn::StoreU(hn::Max(strengths, hn::LoadU(d, to)), d, to);
      corners_[count++] = corners;
      kept_ += yOf(corners.place) == y;
    }
    count_ = count;
  }

  const lumFastSearch& search_;
  Rows rowSearch_;
  FastOutput out_;
  const lumFastMask* const mask_;
  lumFastMaskScale scale_ = {};
  uint32_t candidates_ = 0;
  uint32_t rows_;  // that are searched at once at most
  FastStrengths strengths_;
  // Vectors with corners, the first kept_ of which have been looked at.
  uint32_t kept_ = 0, count_ = 0;
  FastCorners corners_[Rows::kVectors + 3 * (kWidest / Rows::kLanes + 2)];
  uint8_t room_[kFitting * (kWidest + kPitch)];
};

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_SUPPRESS_INL_H
