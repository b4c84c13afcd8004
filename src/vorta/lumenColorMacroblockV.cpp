// Macroblocks to RGB888, vector: 16 pixels at a time, which are a row of blocks side by side or two
// rows of one block.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vorta/lumenColorMacroblockV.cpp"
#include <hwy/foreach_target.h>  // compiles this file once for each instruction set
// Must come after foreach_target.h.
#include <hwy/highway.h>

#include <cstring>

#include "cpu/lumenColorPixel.h"
#include "cpu/lumenRow.h"
#include "lumenVector.h"
#include "vorta/lumenShapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {
namespace {

using Block8 = hn::FixedTag<uint8_t, 8>;
using Block16 = hn::FixedTag<uint8_t, 16>;
using Shorts8 = hn::FixedTag<int16_t, 8>;
using VShorts8 = hn::Vec<Shorts8>;

// Eight samples of chroma: their part in R, G and B.
struct Parts {
  VShorts8 r, g, b;
};

// (-5638 u - 11700 v + 16384) >> 15, which takes 32 bits.
HWY_INLINE VShorts8 GreenPart(VShorts8 u, VShorts8 v) {
  using Longs4 = hn::FixedTag<int32_t, 4>;
  const auto part = [](hn::Vec<Longs4> u4, hn::Vec<Longs4> v4) LUM_LAMBDA {
    const Longs4 d;
    const auto sum = hn::Add(hn::Mul(u4, hn::Set(d, -5638)), hn::Mul(v4, hn::Set(d, -11700)));
    return hn::DemoteTo(hn::Half<Shorts8>(), hn::ShiftRight<15>(hn::Add(sum, hn::Set(d, 16384))));
  };
  const Longs4 d4;
  const hn::Half<Shorts8> dh;
  const auto low =
      part(hn::PromoteTo(d4, hn::LowerHalf(dh, u)), hn::PromoteTo(d4, hn::LowerHalf(dh, v)));
  const auto high =
      part(hn::PromoteTo(d4, hn::UpperHalf(dh, u)), hn::PromoteTo(d4, hn::UpperHalf(dh, v)));
  return hn::Combine(Shorts8(), high, low);
}

// The other two are rounding multiplications of 16 bits.
HWY_INLINE Parts PartsOf(const uint8_t* cb, const uint8_t* cr) {
  const Shorts8 d;
  const auto centred = [](const uint8_t* samples) LUM_LAMBDA {
    const Shorts8 ds;
    const auto words = hn::PromoteTo(ds, hn::LoadU(Block8(), samples));
    return hn::Sub(hn::Add(words, words), hn::Set(ds, 255));
  };
  const VShorts8 u = centred(cb), v = centred(cr);
  return {hn::MulFixedPoint15(v, hn::Set(d, 22970)), GreenPart(u, v),
          hn::MulFixedPoint15(u, hn::Set(d, 29032))};
}

// One channel of 16 pixels, whose parts are in the order of `first` and `second`.
HWY_INLINE hn::Vec<Block16> Channel(hn::Vec<Block16> y, VShorts8 first, VShorts8 second) {
  const Shorts8 d;
  const Block8 dh;
  const auto low = hn::Add(hn::PromoteTo(d, hn::LowerHalf(dh, y)), first);
  const auto high = hn::Add(hn::PromoteTo(d, hn::UpperHalf(dh, y)), second);
  return hn::Combine(Block16(), hn::DemoteTo(dh, high), hn::DemoteTo(dh, low));
}

template <class Block>
struct Macroblock {
  const uint8_t* src;

  // 16 pixels, packed: row `row` of the macroblock, or two rows of one that is 8 pixels wide.
  HWY_INLINE void Row(size_t row, uint8_t* packed) const {
    const uint8_t* chroma = src + Block::kCb + row / Block::kY * 8;
    const Parts parts = PartsOf(chroma, chroma + 64);
    if constexpr (Block::kX == 2) {
      const uint8_t* left = src + Block::luma(0, row);
      const auto y =
          hn::Combine(Block16(), hn::LoadU(Block8(), left + 64), hn::LoadU(Block8(), left));
      const auto twice = [](hn::Vec<Block16> v16, VShorts8 part) LUM_LAMBDA {
        return Channel(v16, hn::InterleaveLower(Shorts8(), part, part),
                       hn::InterleaveUpper(Shorts8(), part, part));
      };
      hn::StoreInterleaved3(twice(y, parts.r), twice(y, parts.g), twice(y, parts.b), Block16(),
                            packed);
    } else {
      const uint8_t* nextChroma = Block::kY == 2 ? chroma : chroma + 8;
      const Parts next = PartsOf(nextChroma, nextChroma + 64);
      const auto y = hn::LoadU(Block16(), src + Block::luma(0, row));
      hn::StoreInterleaved3(Channel(y, parts.r, next.r), Channel(y, parts.g, next.g),
                            Channel(y, parts.b, next.b), Block16(), packed);
    }
  }

  // The pixels of it that lie in an image.
  HWY_INLINE void Convert(size_t width, size_t height, uint8_t* dst, uint32_t dstStride) const {
    constexpr size_t kRows = Block::kX == 2 ? 1 : 2;
    for (size_t row = 0; row < height; row += kRows) {
      uint8_t* d = dst + row * dstStride;
      if (kRows == 1 && width == Block::kWidth) {
        Row(row, d);
        continue;
      }
      uint8_t packed[48];
      Row(row, packed);
      for (size_t k = 0; k < kRows && row + k < height; ++k) {
        std::memcpy(d + k * dstStride, packed + 24 * k, 3 * width);
      }
    }
  }
};

template <class Block>
void MacroblocksToRgb(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                      uint8_t* dst, uint32_t dstStride) {
  const auto atMost = [](size_t most, size_t n) LUM_LAMBDA { return n < most ? n : most; };
  for (size_t y = 0; y < height; y += Block::kHeight) {
    const uint8_t* row = src + y / Block::kHeight * srcStride;
    for (size_t x = 0; x < width; x += Block::kWidth) {
      const Macroblock<Block> block = {row + x / Block::kWidth * Block::kBytes};
      block.Convert(atMost(Block::kWidth, width - x), atMost(Block::kHeight, height - y),
                    dst + y * dstStride + 3 * x, dstStride);
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
