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
      : search_(search), rowSearch_(search), out_{search, nullptr, {}, scores, 0}, mask_(mask) {
    if (mask) scale_ = lumFastScaleOf(*mask, search.width, search.height);
  }

  HWY_INLINE void Run() {
    *search_.count = 0;
    if (mask_ && !scale_.isKnown) return;
    const uint32_t first = search_.border, end = search_.height - search_.border;
    Clear(first - 1);
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
  static constexpr FastTag d{};
  static constexpr uint32_t kLanes = static_cast<uint32_t>(hn::MaxLanes(FastTag()));
  static constexpr uint32_t kGroup = kLanes / kFastBlock;

  // A vector of blocks in which there are corners.
  struct Group {
    uint32_t x[kGroup];
    uint64_t bits;
  };
  struct Row {
    uint32_t groups;
    Group group[kWidest / kLanes + 1];
    uint8_t strength[kWidest];
  };

  HWY_INLINE Row& Clear(uint32_t y) {
    Row& row = rows_[y % 3];
    row.groups = 0;
    std::memset(row.strength, 0, search_.width);
    return row;
  }

  // Writes the strengths of row y; false when its last corner is the last of all.
  HWY_INLINE bool FindIn(uint32_t y) {
    Row& row = Clear(y);
    return rowSearch_.FindStrengths(search_.src + size_t{y} * search_.stride,
                                    [&](BlockCorners corners, hn::Vec<FastTag> strengths)
                                        HWY_ATTR { return Take(corners, strengths, y, row); });
  }

  HWY_INLINE bool Take(BlockCorners corners, hn::Vec<FastTag> strengths, uint32_t y, Row& row) {
    HWY_ALIGN uint8_t strength[kLanes];
    hn::Store(strengths, d, strength);
    bool goesOn = true;
    const auto more = static_cast<uint32_t>(hwy::PopCount(corners.bits));
    if (mask_ || more >= search_.capacity - candidates_) {
      corners.bits = Choose(corners, y, goesOn);
      for (uint32_t lane = 0; lane < kLanes; ++lane) {
        if (!(corners.bits >> lane & 1)) strength[lane] = 0;
      }
    } else {
      candidates_ += more;
    }
    // The last blocks of a row cover pixels of those before.
    const hn::Full128<uint8_t> dBlock;
    for (uint32_t i = 0; i < kGroup; ++i) {
      uint8_t* const to = row.strength + corners.x[i];
      const auto block = hn::Load(dBlock, strength + i * kFastBlock);
      hn::StoreU(hn::Max(block, hn::LoadU(dBlock, to)), dBlock, to);
    }
    Group& group = row.group[row.groups];
    std::memcpy(group.x, corners.x, sizeof group.x);
    group.bits = corners.bits;
    row.groups += corners.bits != 0;
    return goesOn;
  }

  // The corners that the mask allows and the list would have room for.
  HWY_INLINE uint64_t Choose(BlockCorners corners, uint32_t y, bool& goesOn) {
    uint64_t chosen = 0;
    for (uint64_t bits = corners.bits; goesOn && bits != 0; bits &= bits - 1) {
      const auto lane = static_cast<uint32_t>(__builtin_ctzll(bits));
      if (mask_ && lumFastIsMasked(*mask_, scale_, corners.xOf(lane), y)) continue;
      chosen |= bits & -bits;
      goesOn = ++candidates_ < search_.capacity;
    }
    return chosen;
  }

  HWY_INLINE void KeepFrom(uint32_t y) {
    const uint8_t *above = rows_[(y + 2) % 3].strength, *below = rows_[(y + 1) % 3].strength;
    const Row& row = rows_[y % 3];
    for (const Group* group = row.group; group != row.group + row.groups; ++group) {
      const auto load = [&](const uint8_t* p) HWY_ATTR { return LoadBlocks(d, p, group->x); };
      const auto own = load(row.strength);
      auto other = hn::Max(load(row.strength - 1), load(row.strength + 1));
      for (const uint8_t* p : {above, below}) {
        other = hn::Max(other, hn::Max(load(p - 1), hn::Max(load(p), load(p + 1))));
      }
      HWY_ALIGN uint8_t strength[kLanes];
      hn::Store(own, d, strength);
      out_.AddAll(BlockCorners{group->x, BitsOf(d, hn::Gt(own, other)) & group->bits}, y, strength);
    }
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
