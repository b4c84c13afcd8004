// Macroblocks to RGB888, vector: a block of 64 samples of chroma at a time, or as much of it as a
// vector holds, and the pixels that it is for.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vorta/lumenColorMacroblockV.cpp"
#include <hwy/foreach_target.h>  // compiles this file once for each instruction set
// Must come after foreach_target.h.
#include <hwy/highway.h>

#include <cstring>

#include "cpu/lumenColorPixel.h"
#include "cpu/lumenRow.h"
#include "lumenVector.h"
#include "vorta/lumenColorToRgb-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {
namespace {

// Chroma's part in R, G and B: rounding multiplications of 16 bits, and
// (-5638 u - 11700 v + 16384) >> 15, of which 256 (-22 u - 46 v) and the rest are each exact.
HWY_INLINE Parts MacroblockPartsOf(VWords cb, VWords cr) {
  const Shorts d;
  const auto centred = [](VWords samples) LUM_LAMBDA {
    const VShorts v = hn::BitCast(Shorts(), samples);
    return hn::Sub(hn::Add(v, v), hn::Set(Shorts(), 255));
  };
  const VShorts u = centred(cb), v = centred(cr);
  const VShorts rest = hn::ShiftRight<8>(hn::Sub(Times(v, 76), Times(u, 6)));
  const VShorts whole = hn::Add(Times(u, 22), Times(v, 46));
  const VShorts g = hn::Add(hn::Sub(rest, whole), hn::Set(d, 64));
  return {hn::MulFixedPoint15(v, hn::Set(d, 22970)), hn::ShiftRight<7>(g),
          hn::MulFixedPoint15(u, hn::Set(d, 29032))};
}

// Each vector of both changes by a function of it.
template <class F>
HWY_INLINE Changes Each(const Changes& c, const F& f) {
  const auto both = [&](const Change& change) LUM_LAMBDA {
    return Change{f(change.add), f(change.subtract)};
  };
  return {both(c.r), both(c.g), both(c.b)};
}

using Eights = hn::Repartition<uint64_t, Bytes>;
HWY_INLINE VBytes LowerEights(VBytes a, VBytes b) {
  const Eights d;
  return hn::BitCast(Bytes(), hn::InterleaveLower(d, hn::BitCast(d, a), hn::BitCast(d, b)));
}
HWY_INLINE VBytes UpperEights(VBytes a, VBytes b) {
  const Eights d;
  return hn::BitCast(Bytes(), hn::InterleaveUpper(d, hn::BitCast(d, a), hn::BitCast(d, b)));
}

// Each 16 bytes of a vector are a row of a macroblock 16 pixels wide, or two rows of one that is 8
// pixels wide.
template <class Block>
class Macroblock {
 public:
  // `width` and `height`: of the pixels that lie in an image.
  HWY_INLINE Macroblock(const uint8_t* src, size_t width, size_t height, uint8_t* dst,
                        uint32_t dstStride)
      : src_(src), width_(width), height_(height), dst_(dst), dstStride_(dstStride) {}

  HWY_INLINE void Convert() const {
    for (size_t i = 0; i < 64; i += kLanes) {
      const size_t row = i / 8 * Block::kY;
      if (row >= height_) break;
      const Changes changes = ChangesAt(i);
      // What is for even and for odd rows of chroma, block by block.
      Changes even = changes, odd = changes;
      if constexpr (Block::kX == 2) {
        const Bytes d;
        even = Each(changes, [=](VBytes v) LUM_LAMBDA { return hn::InterleaveLower(d, v, v); });
        odd = Each(changes, [=](VBytes v) LUM_LAMBDA { return hn::InterleaveUpper(d, v, v); });
      } else if constexpr (Block::kY == 2) {
        even = Each(changes, [](VBytes v) LUM_LAMBDA { return LowerEights(v, v); });
        odd = Each(changes, [](VBytes v) LUM_LAMBDA { return UpperEights(v, v); });
      }
      if constexpr (Block::kY == 2) {
        Merge(even, odd);
        Rows(row, even, even);
        Rows(row + kLanes / 8, odd, odd);
      } else {
        Rows(row, even, odd);
      }
    }
  }

 private:
  // Of kLanes samples.
  HWY_INLINE Changes ChangesAt(size_t i) const {
    const Bytes d;
    const VBytes cb = LoadBytes(src_ + Block::kCb + i), cr = LoadBytes(src_ + Block::kCr + i);
    const auto low = [=](VBytes v) LUM_LAMBDA {
      return hn::BitCast(Words(), hn::InterleaveLower(d, v, hn::Zero(d)));
    };
    const auto high = [=](VBytes v) LUM_LAMBDA {
      return hn::BitCast(Words(), hn::InterleaveUpper(d, v, hn::Zero(d)));
    };
    return ChangesOfBlocks(MacroblockPartsOf(low(cb), low(cr)),
                           MacroblockPartsOf(high(cb), high(cr)));
  }

  static HWY_INLINE void Merge(Changes& even, Changes& odd) {
    MergeBlocks(even.r.add, odd.r.add);
    MergeBlocks(even.r.subtract, odd.r.subtract);
    MergeBlocks(even.g.add, odd.g.add);
    MergeBlocks(even.g.subtract, odd.g.subtract);
    MergeBlocks(even.b.add, odd.b.add);
    MergeBlocks(even.b.subtract, odd.b.subtract);
  }

  // kLanes / 8 rows, of which every second one has its own changes where a row is 16 pixels.
  HWY_INLINE void Rows(size_t row, const Changes& even, const Changes& odd) const {
    const VBytes y = LoadBytes(src_ + Block::luma(0, row));
    if constexpr (Block::kX == 2) {
      const VBytes right = LoadBytes(src_ + Block::luma(8, row));
      Store(LowerEights(y, right), even, row);
      Store(UpperEights(y, right), odd, row + 1);
    } else {
      Store(y, even, row);
    }
  }

  // Every second row from `row` on, or pairs of rows.
  HWY_INLINE void Store(VBytes y, const Changes& change, size_t row) const {
    constexpr size_t kRows = 2 / Block::kX, kBytes = 3 * Block::kWidth;
    alignas(64) uint8_t packed[3 * kLanes];
    StorePacked3<false>(change.r(y), change.g(y), change.b(y), packed);
    const uint8_t* from = packed;
    for (size_t block = 0; block < kBlocks; ++block, row += 2) {
      for (size_t k = 0; k < kRows; ++k, from += kBytes) {
        if (row + k >= height_) return;
        uint8_t* const to = dst_ + (row + k) * dstStride_;
        if (width_ == Block::kWidth) std::memcpy(to, from, kBytes);
        else std::memcpy(to, from, 3 * width_);
      }
    }
  }

  const uint8_t* src_;
  const size_t width_, height_;
  uint8_t* dst_;
  const uint32_t dstStride_;
};

template <class Block>
void MacroblocksToRgb(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                      uint8_t* dst, uint32_t dstStride) {
  const auto atMost = [](size_t most, size_t n) LUM_LAMBDA { return n < most ? n : most; };
  for (size_t y = 0; y < height; y += Block::kHeight) {
    const uint8_t* row = src + y / Block::kHeight * srcStride;
    for (size_t x = 0; x < width; x += Block::kWidth) {
      Macroblock<Block>(row + x / Block::kWidth * Block::kBytes, atMost(Block::kWidth, width - x),
                        atMost(Block::kHeight, height - y), dst + y * dstStride + 3 * x, dstStride)
          .Convert();
    }
  }
}

}  // namespace

LUM_KERNEL(lumColorYCrCbH1V1toRGB888u8) = MacroblocksToRgb<lumMacroblock<1, 1>>;
LUM_KERNEL(lumColorYCrCbH1V2toRGB888u8) = MacroblocksToRgb<lumMacroblock<1, 2>>;
LUM_KERNEL(lumColorYCrCbH2V1toRGB888u8) = MacroblocksToRgb<lumMacroblock<2, 1>>;
LUM_KERNEL(lumColorYCrCbH2V2toRGB888u8) = MacroblocksToRgb<lumMacroblock<2, 2>>;

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
LUM_VECTOR(lumColorYCrCbH1V1toRGB888u8);
LUM_VECTOR(lumColorYCrCbH1V2toRGB888u8);
LUM_VECTOR(lumColorYCrCbH2V1toRGB888u8);
LUM_VECTOR(lumColorYCrCbH2V2toRGB888u8);
#endif  // HWY_ONCE
