// Strengths of FAST corners: by how much the barrier can grow until a pixel is no corner.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_FAST_STRENGTH_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_FAST_STRENGTH_INL_H
#undef LUMEN_FAST_STRENGTH_INL_H
#else
#define LUMEN_FAST_STRENGTH_INL_H
#endif

#include <hwy/highway.h>

#include <bit>

#include "vorta/lumenFastArc-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

inline constexpr uint32_t kFastBlock = 16;

// A place in an image, as corners go out: what is x there comes first in memory.
using FastPlace = uint64_t;
static_assert(std::endian::native == std::endian::little);
HWY_INLINE FastPlace FastPlaceAt(uint32_t x, uint32_t y) { return FastPlace{y} << 32 | x; }
HWY_INLINE uint32_t xOf(FastPlace place) { return static_cast<uint32_t>(place); }
HWY_INLINE uint32_t yOf(FastPlace place) { return static_cast<uint32_t>(place >> 32); }

// Room for the strengths of rows from `y` on and columns from `x` on, with 0 where there is no
// corner. Its user clears it.
struct FastStrengths {
  uint8_t* first;
  uint32_t x, y, pitch;
  HWY_INLINE uint8_t* at(FastPlace place) const {
    return first + size_t{yOf(place) - y} * pitch + (xOf(place) - x);
  }
};

// The blocks that begin at block[0] + offset, block[1] + offset and so forth, as one vector.
template <class D>
HWY_INLINE hn::Vec<D> LoadBlocks(D d, const uint8_t* const* block, ptrdiff_t offset) {
  if constexpr (hn::MaxLanes(d) == kFastBlock) {
    return hn::LoadU(d, block[0] + offset);
  } else if constexpr (hn::MaxLanes(d) == 2 * kFastBlock) {
    const hn::Half<D> half;
    return hn::Combine(d, hn::LoadU(half, block[1] + offset), hn::LoadU(half, block[0] + offset));
  } else {
    const hn::Repartition<uint32_t, D> d32;
    const auto load = [&](int i) HWY_ATTR {
      return hn::LoadDup128(d32, reinterpret_cast<const uint32_t*>(block[i] + offset));
    };
    auto v = load(3);
    v = hn::IfThenElse(hn::FirstN(d32, 12), load(2), v);
    v = hn::IfThenElse(hn::FirstN(d32, 8), load(1), v);
    v = hn::IfThenElse(hn::FirstN(d32, 4), load(0), v);
    return hn::BitCast(d, v);
  }
}

// How much brighter or darker than their centres the pixels of an arc are.
template <int kArc, bool kIsBright, class V>
HWY_INLINE V StrengthsOf(const V (&circle)[LUM_CIRCLE], V centre) {
  if constexpr (kIsBright) {
    return hn::SaturatedSub(BestArc<kArc>(circle, SmallerOf(), LargerOf()), centre);
  } else {
    return hn::SaturatedSub(centre, BestArc<kArc>(circle, LargerOf(), SmallerOf()));
  }
}

// Blocks of 16 pixels in which there are corners. Wherever they lie, as many as make a vector are
// looked at together.
template <int kArc, class D, uint32_t kVectors>
class StrengthBlocks {
 public:
  explicit StrengthBlocks(const ptrdiff_t (&offset)[LUM_CIRCLE]) : offset_(offset) {}

  // Lists those of a vector, after `count` others. How many there are then.
  HWY_INLINE uint32_t List(uint32_t count, const uint8_t* pixels, uint8_t* strengths,
                           uint64_t bits) {
    for (uint32_t i = 0; i < kLanes; i += kFastBlock) {
      pixels_[count] = pixels + i;
      strengths_[count] = strengths + i;
      bits_[count] = static_cast<uint16_t>(bits >> i);
      count += bits_[count] != 0;
    }
    return count;
  }

  // Writes the strengths of listed corners, which are brighter or darker than their centres.
  template <bool kIsBright>
  HWY_NOINLINE void Fill(uint32_t count) {
    // What the last group lacks: no pixels of a block that is there.
    for (uint32_t i = count; count % kGroup != 0 && i < count + kGroup; ++i) {
      pixels_[i] = pixels_[count - 1];
      strengths_[i] = strengths_[count - 1];
      bits_[i] = 0;
    }
    for (uint32_t k = 0; k < count; k += kGroup) {
      const uint8_t* const* const pixels = pixels_ + k;
      const auto strengthsBy = [&](auto load) HWY_ATTR {
        V v[LUM_CIRCLE];
        for (int i = 0; i < LUM_CIRCLE; ++i) v[i] = load(offset_[i]);
        return StrengthsOf<kArc, kIsBright>(v, load(0));
      };
      // Where there are corners everywhere, blocks are mostly neighbours.
      bool isRun = true;
      for (uint32_t i = 1; i < kGroup; ++i) isRun &= pixels[i] == pixels[0] + i * kFastBlock;
      const V best = isRun ? strengthsBy([&](ptrdiff_t offset)
                                             HWY_ATTR { return hn::LoadU(d, pixels[0] + offset); })
                           : strengthsBy([&](ptrdiff_t offset)
                                             HWY_ATTR { return LoadBlocks(d, pixels, offset); });
      const auto* bits = reinterpret_cast<const uint8_t*>(bits_ + k);
      HWY_ALIGN uint8_t strength[kLanes];
      hn::Store(hn::IfThenElseZero(hn::LoadMaskBits(d, bits), best), d, strength);
      const hn::CappedTag<uint8_t, kFastBlock> dBlock;
      for (uint32_t i = 0; i < kGroup; ++i) {
        const auto block = hn::Load(dBlock, strength + i * kFastBlock);
        uint8_t* const to = strengths_[k + i];
        hn::StoreU(hn::Max(block, hn::LoadU(dBlock, to)), dBlock, to);
      }
    }
  }

 private:
  using V = hn::Vec<D>;
  static constexpr D d{};
  static constexpr uint32_t kLanes = static_cast<uint32_t>(hn::MaxLanes(D()));
  static constexpr uint32_t kGroup = kLanes / kFastBlock;

  const ptrdiff_t (&offset_)[LUM_CIRCLE];
  const uint8_t* pixels_[kVectors * kGroup + kGroup];
  uint8_t* strengths_[kVectors * kGroup + kGroup];
  uint16_t bits_[kVectors * kGroup + kGroup];
};

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_STRENGTH_INL_H
