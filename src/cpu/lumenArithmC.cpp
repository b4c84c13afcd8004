// Image arithmetic, reference.

#include <cmath>

#include "cpu/lumenRow.h"
#include "lumenTable.h"

namespace {

// The difference wraps at 32 bits, and INT32_MIN is its own magnitude.
uint32_t absDiff(int32_t a, int32_t b) {
  const uint32_t difference = static_cast<uint32_t>(a) - static_cast<uint32_t>(b);
  return difference >> 31 ? -difference : difference;
}
uint8_t absDiff(uint8_t a, uint8_t b) { return static_cast<uint8_t>(a > b ? a - b : b - a); }
float absDiff(float a, float b) { return std::fabs(a - b); }

template <class T, class TDst>
void absDiffRows(const T* src1, const T* src2, uint32_t width, uint32_t height, uint32_t srcStride,
                 TDst* dst, uint32_t dstStride) {
  for (uint32_t y = 0; y < height; ++y) {
    const T* a = lumRowAt(src1, y, srcStride);
    const T* b = lumRowAt(src2, y, srcStride);
    TDst* d = lumRowAt(dst, y, dstStride);
    for (uint32_t x = 0; x < width; ++x) d[x] = absDiff(a[x], b[x]);
  }
}

template <class T, class TDst, size_t kChannels>
void absDiffValueRows(const T* src, const T (&value)[kChannels], uint32_t width, uint32_t height,
                      uint32_t srcStride, TDst* dst, uint32_t dstStride) {
  for (uint32_t y = 0; y < height; ++y) {
    const T* s = lumRowAt(src, y, srcStride);
    TDst* d = lumRowAt(dst, y, dstStride);
    for (size_t x = 0; x < width; ++x) {
      for (size_t k = 0; k < kChannels; ++k) {
        d[x * kChannels + k] = absDiff(s[x * kChannels + k], value[k]);
      }
    }
  }
}

}  // namespace

void lumAbsDiffu8C(const uint8_t* src1, const uint8_t* src2, uint32_t srcWidth, uint32_t srcHeight,
                   uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
  absDiffRows(src1, src2, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void lumAbsDiffs32C(const int32_t* src1, const int32_t* src2, uint32_t srcWidth, uint32_t srcHeight,
                    uint32_t srcStride, uint32_t* dst, uint32_t dstStride) {
  absDiffRows(src1, src2, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void lumAbsDifff32C(const float* src1, const float* src2, uint32_t srcWidth, uint32_t srcHeight,
                    uint32_t srcStride, float* dst, uint32_t dstStride) {
  absDiffRows(src1, src2, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void lumAbsDiffVu8C(const uint8_t* src, uint8_t value, uint32_t srcWidth, uint32_t srcHeight,
                    uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
  absDiffValueRows<uint8_t, uint8_t, 1>(src, {value}, srcWidth, srcHeight, srcStride, dst,
                                        dstStride);
}

void lumAbsDiffVs32C(const int32_t* src, int32_t value, uint32_t srcWidth, uint32_t srcHeight,
                     uint32_t srcStride, uint32_t* dst, uint32_t dstStride) {
  absDiffValueRows<int32_t, uint32_t, 1>(src, {value}, srcWidth, srcHeight, srcStride, dst,
                                         dstStride);
}

void lumAbsDiffVf32C(const float* src, float value, uint32_t srcWidth, uint32_t srcHeight,
                     uint32_t srcStride, float* dst, uint32_t dstStride) {
  absDiffValueRows<float, float, 1>(src, {value}, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void lumAbsDiffVc3u8C(const uint8_t* src, uint8_t value1, uint8_t value2, uint8_t value3,
                      uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                      uint32_t dstStride) {
  absDiffValueRows<uint8_t, uint8_t, 3>(src, {value1, value2, value3}, srcWidth, srcHeight,
                                        srcStride, dst, dstStride);
}

void lumAbsDiffVc3s32C(const int32_t* src, int32_t value1, int32_t value2, int32_t value3,
                       uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t* dst,
                       uint32_t dstStride) {
  absDiffValueRows<int32_t, uint32_t, 3>(src, {value1, value2, value3}, srcWidth, srcHeight,
                                         srcStride, dst, dstStride);
}

void lumAbsDiffVc3f32C(const float* src, float value1, float value2, float value3,
                       uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                       uint32_t dstStride) {
  absDiffValueRows<float, float, 3>(src, {value1, value2, value3}, srcWidth, srcHeight, srcStride,
                                    dst, dstStride);
}

void lumAbsDiffVc4u8C(const uint8_t* src, uint8_t value1, uint8_t value2, uint8_t value3,
                      uint8_t value4, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                      uint8_t* dst, uint32_t dstStride) {
  absDiffValueRows<uint8_t, uint8_t, 4>(src, {value1, value2, value3, value4}, srcWidth, srcHeight,
                                        srcStride, dst, dstStride);
}

void lumAbsDiffVc4s32C(const int32_t* src, int32_t value1, int32_t value2, int32_t value3,
                       int32_t value4, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                       uint32_t* dst, uint32_t dstStride) {
  absDiffValueRows<int32_t, uint32_t, 4>(src, {value1, value2, value3, value4}, srcWidth, srcHeight,
                                         srcStride, dst, dstStride);
}

void lumAbsDiffVc4f32C(const float* src, float value1, float value2, float value3, float value4,
                       uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, float* dst,
                       uint32_t dstStride) {
  absDiffValueRows<float, float, 4>(src, {value1, value2, value3, value4}, srcWidth, srcHeight,
                                    srcStride, dst, dstStride);
}
