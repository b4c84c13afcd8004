// YCbCr with planes of chroma to RGB, vector.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vorta/lumenColorToRgbV.cpp"
#include <hwy/foreach_target.h>  // compiles this file once for each instruction set
// Must come after foreach_target.h.
#include <hwy/highway.h>

#include "lumenVector.h"
#include "vorta/lumenColorToRgb-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {
namespace {

template <class S, class Format>
void PlanarToRgb(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t width,
                 uint32_t height, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,
                 uint8_t* dst, uint32_t dstStride) {
  const size_t samples = width / S::kX;
  const bool isPacked =
      srcCbStride == samples && srcCrStride == samples && dstStride == width * Format::kBytes;
  ToRgbImage<S, Format, InOrder>(
      srcY, width, height, srcYStride, isPacked,
      [=](uint32_t row) LUM_LAMBDA {
        return PlanarRow{{lumRowAt(srcCb, row, srcCbStride), lumRowAt(srcCr, row, srcCrStride)}};
      },
      [=](uint32_t y) LUM_LAMBDA { return lumRowAt(dst, y, dstStride); });
}

}  // namespace

#define LUM_COLOR(subsampling, format)                           \
  LUM_KERNEL(lumColorYCbCr##subsampling##PlanarTo##format##u8) = \
      PlanarToRgb<lumSubsampling##subsampling, To##format>;
#include "lumenColor.def"

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#define LUM_COLOR(subsampling, format) LUM_VECTOR(lumColorYCbCr##subsampling##PlanarTo##format##u8);
#include "lumenColor.def"
#endif  // HWY_ONCE
