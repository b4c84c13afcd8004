#include "lumen/lumenArithm.h"

#include "lumenEntry.h"

namespace {

// The parameters keep the documented names, which a refused call quotes.
template <class F, class T, class TDst>
[[gnu::always_inline]] inline void twoSources(lumEntry<F> entry, const T* src1, const T* src2,
                                              uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, TDst* dst, uint32_t dstStride) {
  if (entry.onDsp()) entry.needs(lumMultipleOf<4>(src1, src2, dst, srcStride, dstStride));
  if (entry.onGpu()) entry.needs(lumMultipleOf<2>(srcWidth, srcHeight));
  lumPack(srcStride, uint64_t{srcWidth} * sizeof(T));
  lumPack(dstStride, uint64_t{srcWidth} * sizeof(TDst));
  LUM_CHECK(entry,
            src1 && src2 && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
  entry.call(src1, src2, srcWidth, srcHeight, srcStride, dst, dstStride);
}

// The condition of each number of channels, under the name that the log quotes it by.
template <size_t kChannels, class F, class T, class TDst, class... Value>
[[gnu::always_inline]] inline void oneSource(lumEntry<F> entry, const T* src, uint32_t width,
                                             uint32_t srcHeight, uint32_t srcStride, TDst* dst,
                                             uint32_t dstStride, Value... value) {
  if (entry.onDsp()) entry.needs(lumMultipleOf<4>(src, dst, srcStride, dstStride));
  if (entry.onGpu()) entry.needs(lumMultipleOf<2>(width, srcHeight));
  lumPack(srcStride, uint64_t{width} * kChannels * sizeof(T));
  lumPack(dstStride, uint64_t{width} * kChannels * sizeof(TDst));
  const uint64_t srcWidth = width;
  if constexpr (kChannels == 1) {
    LUM_CHECK(entry, src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) &&
                         (dstStride >= srcWidth));
  } else if constexpr (kChannels == 3) {
    LUM_CHECK(entry, src && dst && srcWidth && srcHeight && (srcStride >= srcWidth * 3) &&
                         (dstStride >= srcWidth * 3));
  } else {
    LUM_CHECK(entry, src && dst && srcWidth && srcHeight && (srcStride >= srcWidth * 4) &&
                         (dstStride >= srcWidth * 4));
  }
  entry.call(src, value..., width, srcHeight, srcStride, dst, dstStride);
}

}  // namespace

void lumAbsDiffu8(const uint8_t* src1, const uint8_t* src2, uint32_t srcWidth, uint32_t srcHeight,
                  uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
  twoSources(LUM_ENTRY(lumAbsDiffu8), src1, src2, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void lumAbsDiffs32(const int32_t* src1, const int32_t* src2, uint32_t srcWidth, uint32_t srcHeight,
                   uint32_t srcStride, uint32_t* dst, uint32_t dstStride) {
  twoSources(LUM_ENTRY(lumAbsDiffs32), src1, src2, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void lumAbsDifff32(const float* src1, const float* src2, uint32_t srcWidth, uint32_t srcHeight,
                   uint32_t srcStride, float* dst, uint32_t dstStride) {
  twoSources(LUM_ENTRY(lumAbsDifff32), src1, src2, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void lumAbsDiffVu8(const uint8_t* src, uint8_t value, uint32_t srcWidth, uint32_t srcHeight,
                   uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
  oneSource<1>(LUM_ENTRY(lumAbsDiffVu8), src, srcWidth, srcHeight, srcStride, dst, dstStride,
               value);
}

void lumAbsDiffVs32(const int32_t* src, int32_t value, uint32_t srcWidth, uint32_t srcHeight,
                    uint32_t srcStride, uint32_t* dst, uint32_t dstStride) {
  oneSource<1>(LUM_ENTRY(lumAbsDiffVs32), src, srcWidth, srcHeight, srcStride, dst, dstStride,
               value);
}

void lumAbsDiffVf32(const float* src, float value, uint32_t srcWidth, uint32_t srcHeight,
                    uint32_t srcStride, float* dst, uint32_t dstStride) {
  oneSource<1>(LUM_ENTRY(lumAbsDiffVf32), src, srcWidth, srcHeight, srcStride, dst, dstStride,
               value);
}

void lumAbsDiffVc3u8(const uint8_t* src, uint8_t value1, uint8_t value2, uint8_t value3,
                     uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                     uint32_t dstStride) {
  oneSource<3>(LUM_ENTRY(lumAbsDiffVc3u8), src, srcWidth, srcHeight, srcStride, dst, dstStride,
               value1, value2, value3);
}

void lumAbsDiffVc3s32(const int32_t* src, int32_t value1, int32_t value2, int32_t value3,
                      uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t* dst,
                      uint32_t dstStride) {
  oneSource<3>(LUM_ENTRY(lumAbsDiffVc3s32), src, srcWidth, srcHeight, srcStride, dst, dstStride,
               value1, value2, value3);
}

void lumAbsDiffVc3f32(const float* src, float value1, float value2, float value3, uint32_t srcWidth,
                      uint32_t srcHeight, uint32_t srcStride, float* dst, uint32_t dstStride) {
  oneSource<3>(LUM_ENTRY(lumAbsDiffVc3f32), src, srcWidth, srcHeight, srcStride, dst, dstStride,
               value1, value2, value3);
}

void lumAbsDiffVc4u8(const uint8_t* src, uint8_t value1, uint8_t value2, uint8_t value3,
                     uint8_t value4, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                     uint8_t* dst, uint32_t dstStride) {
  oneSource<4>(LUM_ENTRY(lumAbsDiffVc4u8), src, srcWidth, srcHeight, srcStride, dst, dstStride,
               value1, value2, value3, value4);
}

void lumAbsDiffVc4s32(const int32_t* src, int32_t value1, int32_t value2, int32_t value3,
                      int32_t value4, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                      uint32_t* dst, uint32_t dstStride) {
  oneSource<4>(LUM_ENTRY(lumAbsDiffVc4s32), src, srcWidth, srcHeight, srcStride, dst, dstStride,
               value1, value2, value3, value4);
}

void lumAbsDiffVc4f32(const float* src, float value1, float value2, float value3, float value4,
                      uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                      uint32_t dstStride) {
  oneSource<4>(LUM_ENTRY(lumAbsDiffVc4f32), src, srcWidth, srcHeight, srcStride, dst, dstStride,
               value1, value2, value3, value4);
}
