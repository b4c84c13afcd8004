// YCbCr with pairs of chroma to RGB, vector.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vorta/lumenColorPairsToRgbV.cpp"
#include <hwy/foreach_target.h>  // compiles this file once for each instruction set
// Must come after foreach_target.h.
#include <hwy/highway.h>

#include "lumenVector.h"
#include "vorta/lumenColorToRgb-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {
namespace {

template <class S, class Format, class Row>
void PairsToRgb(const uint8_t* srcY, const uint8_t* srcC, uint32_t width, uint32_t height,
                uint32_t srcYStride, uint32_t srcCStride, uint8_t* dst, uint32_t dstStride) {
  const bool isPacked =
      srcCStride == 2 * size_t{width / S::kX} && dstStride == width * Format::kBytes;
  ToRgbImage<S, Format, InOrder>(
      srcY, width, height, srcYStride, isPacked,
      [=](uint32_t row) LUM_LAMBDA { return Row{{lumRowAt(srcC, row, srcCStride)}}; },
      [=](uint32_t y) LUM_LAMBDA { return lumRowAt(dst, y, dstStride); });
}

// A camera frame.
template <class Format, class Order>
void FrameToRgb(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                uint8_t* dst, uint32_t dstStride) {
  const uint8_t* srcC = lumRowAt(src, height, srcStride);
  ToRgbImage<lumSubsampling420, Format, Order>(
      src, width, height, srcStride, false,
      [=](uint32_t row) LUM_LAMBDA { return CrFirstRow{{lumRowAt(srcC, row, srcStride)}}; },
      [=](uint32_t y) LUM_LAMBDA {
        return lumRowAt(dst, static_cast<uint32_t>(Order::Place(y, height, 1)), dstStride);
      });
}

// Packed pixels to others, in reverse order.
void TurnRGB888(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                uint8_t* dst, uint32_t dstStride) {
  for (uint32_t y = 0; y < height; ++y) {
    const uint8_t* s = lumRowAt(src, y, srcStride);
    uint8_t* d = lumRowAt(dst, height - 1 - y, dstStride);
    const auto vector = [](const uint8_t* from, uint8_t* to) LUM_LAMBDA {
      const auto rgb = LoadPacked3(from);
      Turned::Store<ToRGB565, false>(rgb.c0.All(), rgb.c1.All(), rgb.c2.All(), to, 0, kLanes);
    };
    size_t x = 0;
    for (; x + kLanes <= width; x += kLanes) vector(s + 3 * x, d + 2 * (width - kLanes - x));
    if (x == width) continue;
    if (width >= kLanes) {
      vector(s + 3 * (width - kLanes), d);
    } else {
      uint8_t padded[3 * kLanes] = {}, turned[2 * kLanes];
      std::memcpy(padded, s, 3 * size_t{width});
      vector(padded, turned);
      std::memcpy(d, turned + 2 * (kLanes - width), 2 * size_t{width});
    }
  }
}

}  // namespace

#define LUM_COLOR(subsampling, format)                                 \
  LUM_KERNEL(lumColorYCbCr##subsampling##PseudoPlanarTo##format##u8) = \
      PairsToRgb<lumSubsampling##subsampling, To##format, PseudoPlanarRow>;
#include "lumenColor.def"
LUM_KERNEL(lumColorYCrCb420PseudoPlanarToRGB8888u8) =
    PairsToRgb<lumSubsampling420, ToRGBA8888, CrFirstRow>;
LUM_KERNEL(lumColorYUV420toRGB565u8) = FrameToRgb<ToRGB565, InOrder>;
LUM_KERNEL(lumColorYUV420toRGB565u8Rotate180) = FrameToRgb<ToRGB565, Turned>;
LUM_KERNEL(lumColorRGB888ToRGB565Rotate180u8) = TurnRGB888;

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#define LUM_COLOR(subsampling, format) \
  LUM_VECTOR(lumColorYCbCr##subsampling##PseudoPlanarTo##format##u8);
#include "lumenColor.def"
LUM_VECTOR(lumColorYCrCb420PseudoPlanarToRGB8888u8);
LUM_VECTOR(lumColorYUV420toRGB565u8);
LUM_VECTOR(lumColorYUV420toRGB565u8Rotate180);
LUM_VECTOR(lumColorRGB888ToRGB565Rotate180u8);
#endif  // HWY_ONCE
