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

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

using FastTag = hn::ScalableTag<uint8_t>;

// Three rows of strengths, 0 where there is no corner, so that blocks of corners are held against
// their eight neighbours at once. Row y can be done when row y + 1 has been searched.
template <int kArc>
class SuppressedSearch {
 public:
  static constexpr uint32_t kWidest = 8192;

  // The rows must be a vector long at least, the barrier one that vectors can do.
  SuppressedSearch(const lumFastSearch& search, const lumFastMask* mask, uint32_t* scores)
      : search_(search), rowSearch_(search), out_(search, nullptr, scores), mask_(mask) {
    if (mask) scale_ = lumFastScaleOf(*mask, search.width, search.height);
    for (Row& row : rows_) {
      row.count = 0;
      std::memset(row.strength, 0, search.width);
    }
  }

  HWY_INLINE void Run() {
    *search_.count = 0;
    if (mask_ && !scale_.isKnown) return;
    const uint32_t first = search_.border, end = search_.height - search_.border;
    for (uint32_t y = first; y < end; ++y) {
      const bool goesOn = FindIn(y);
      if (y > first) KeepFrom(y - 1);
      if (goesOn && y + 1 < end) continue;
      Clear(y + 1);
      KeepFrom(y);
      break;
    }
    *search_.count = out_.count;
  }

 private:
  using Rows = RowSearch<kArc, FastTag>;
  static constexpr FastTag d{};

  struct Row {
    uint32_t count;  // of vectors in which there are corners
    FastCorners corners[kWidest / Rows::kLanes + 1];
    uint8_t strength[kWidest];
  };

  // Strengths are in vectors with corners only.
  HWY_INLINE Row& Clear(uint32_t y) {
    Row& row = rows_[y % 3];
    if (row.count > search_.width / Rows::kLanes / 4) {
      std::memset(row.strength, 0, search_.width);
    } else {
      for (uint32_t k = 0; k < row.count; ++k) {
        hn::StoreU(hn::Zero(d), d, row.strength + row.corners[k].x);
      }
    }
    row.count = 0;
    return row;
  }

  // Finds the corners of row y; false when its last corner is the last of all.
  HWY_INLINE bool FindIn(uint32_t y) {
    Row& row = Clear(y);
    rowSearch_.Start(y);
    for (uint32_t x = rowSearch_.begin(), end; x < rowSearch_.end(); x = end) {
      end = rowSearch_.PartEnd(x);
      const uint32_t count = rowSearch_.Find(x, end, {row.strength, 0});
      for (uint32_t k = 0; k < count; ++k) row.corners[row.count++] = rowSearch_[k];
    }
    for (uint32_t k = 0; k < row.count; ++k) {
      if (!Choose(row.corners[k], y, row)) return LeaveOut(row, k + 1);
    }
    return true;
  }

  // Takes corners away that the mask does not allow or the list would have no room for. False when
  // there is no room for more.
  HWY_INLINE bool Choose(FastCorners& corners, uint32_t y, Row& row) {
    const auto more = static_cast<uint32_t>(hwy::PopCount(corners.bits));
    if (!mask_ && more < search_.capacity - candidates_) {
      candidates_ += more;
      return true;
    }
    uint64_t chosen = 0;
    bool goesOn = true;
    for (uint64_t bits = corners.bits; bits != 0; bits &= bits - 1) {
      const auto x = corners.x + static_cast<uint32_t>(__builtin_ctzll(bits));
      if (!goesOn || (mask_ && lumFastIsMasked(*mask_, scale_, x, y))) {
        row.strength[x] = 0;
        continue;
      }
      chosen |= bits & -bits;
      goesOn = ++candidates_ < search_.capacity;
    }
    corners.bits = chosen;
    return goesOn;
  }

  // Takes away the corners of all vectors from the given one on.
  HWY_INLINE bool LeaveOut(Row& row, uint32_t first) {
    for (uint32_t k = first; k < row.count; ++k) {
      for (uint64_t bits = row.corners[k].bits; bits != 0; bits &= bits - 1) {
        row.strength[row.corners[k].x + static_cast<uint32_t>(__builtin_ctzll(bits))] = 0;
      }
    }
    row.count = first;
    return false;
  }

  HWY_INLINE void KeepFrom(uint32_t y) {
    Row& row = rows_[y % 3];
    const uint8_t *above = rows_[(y + 2) % 3].strength, *below = rows_[(y + 1) % 3].strength;
    for (uint32_t k = 0; k < row.count; ++k) {
      const uint32_t x = row.corners[k].x;
      const auto own = hn::LoadU(d, row.strength + x);
      auto other = hn::Max(hn::LoadU(d, row.strength + x - 1), hn::LoadU(d, row.strength + x + 1));
      for (const uint8_t* p : {above + x, below + x}) {
        other = hn::Max(other, hn::LoadU(d, p));
        other = hn::Max(other, hn::Max(hn::LoadU(d, p - 1), hn::LoadU(d, p + 1)));
      }
      row.corners[k].bits &= BitsOf(d, hn::Gt(own, other));
    }
    out_.AddAll(row.corners, row.count, y, {row.strength, 0});
  }

  const lumFastSearch& search_;
  RowSearch<kArc, FastTag> rowSearch_;
  FastOutput out_;
  const lumFastMask* const mask_;
  lumFastMaskScale scale_ = {};
  uint32_t candidates_ = 0;
  Row rows_[3];
};

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_SUPPRESS_INL_H
