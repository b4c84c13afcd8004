#include "lumen/lumenColorRgb.h"

#include "lumenColorFormat.h"
#include "lumenEntry.h"

namespace {

// The parameters keep the documented names, which a refused call quotes.
template <size_t kSrcBytes, size_t kDstBytes, class F>
[[gnu::always_inline]] inline void packedPixels(lumEntry<F> entry, const uint8_t* src,
                                                uint32_t srcWidth, uint32_t srcHeight,
                                                uint32_t srcStride, uint8_t* dst,
                                                uint32_t dstStride) {
  if (entry.onDsp()) entry.needs(lumMultipleOf<4>(src, dst, srcStride, dstStride));
  if (entry.onGpu()) entry.needs(lumMultipleOf<2>(srcWidth, srcHeight));
  const uint64_t srcRowBytes = uint64_t{srcWidth} * kSrcBytes;
  const uint64_t dstRowBytes = uint64_t{srcWidth} * kDstBytes;
  lumPack(srcStride, srcRowBytes);
  lumPack(dstStride, dstRowBytes);
  LUM_CHECK(entry, src && dst && srcWidth && srcHeight && (srcStride >= srcRowBytes) &&
                       (dstStride >= dstRowBytes));
  entry.call(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

}  // namespace

#define LUM_COLOR_RGB(name, From, To)                                                      \
  void name(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, \
            uint8_t* dst, uint32_t dstStride) {                                            \
    packedPixels<lumColor::From::kBytes, lumColor::To::kBytes>(                            \
        LUM_ENTRY(name), src, srcWidth, srcHeight, srcStride, dst, dstStride);             \
  }
#include "lumenColorRgb.def"
