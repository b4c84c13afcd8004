/// @file
/// Element-wise image arithmetic.
///
/// Images are arrays of elements with a width and a height in pixels and a stride in bytes from one
/// row to the next. A stride of 0 means that rows follow each other without a gap. Images of 32-bit
/// integers and floats step their rows by the stride rounded down to a multiple of 4; a stride
/// smaller than a row is let through by the checks from `srcWidth` bytes on, and rows then overlap.
/// Every pointer must be aligned to its element type.
///
/// A call whose arguments fail the check (a null pointer, a size of 0, a stride too small, or a
/// packed row longer than 32 bits can count) logs the failed condition under "lumen_lib_log" and
/// writes nothing.
///
/// A destination may be the same image as a source, with the same stride. Otherwise it must not
/// overlap one. Nothing outside the given rows is read or written, padding included.

#ifndef LUMEN_ARITHM_H
#define LUMEN_ARITHM_H

#include "lumen/lumenTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

// Absolute difference of two images: dst(x, y) = |src1(x, y) - src2(x, y)|. Both sources have the
// stride `srcStride`.

/// Absolute difference of unsigned bytes.
LUMEN_API void lumAbsDiffu8(const uint8_t* src1, const uint8_t* src2, uint32_t srcWidth,
                            uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                            uint32_t dstStride);

/// Absolute difference of 32-bit integers. The difference wraps at 32 bits before its absolute
/// value is taken, as in int32_t arithmetic modulo 2^32; INT32_MIN has the magnitude 2147483648.
LUMEN_API void lumAbsDiffs32(const int32_t* src1, const int32_t* src2, uint32_t srcWidth,
                             uint32_t srcHeight, uint32_t srcStride, uint32_t* dst,
                             uint32_t dstStride);

/// Absolute difference of floats, rounded once as IEEE 754 subtraction; a NaN operand gives a NaN.
LUMEN_API void lumAbsDifff32(const float* src1, const float* src2, uint32_t srcWidth,
                             uint32_t srcHeight, uint32_t srcStride, float* dst,
                             uint32_t dstStride);

// Absolute difference of an image and a value: dst(x, y) = |src(x, y) - value|.

/// As `lumAbsDiffu8`, with `value` for the second source.
LUMEN_API void lumAbsDiffVu8(const uint8_t* src, uint8_t value, uint32_t srcWidth,
                             uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                             uint32_t dstStride);

/// As `lumAbsDiffs32`, with `value` for the second source.
LUMEN_API void lumAbsDiffVs32(const int32_t* src, int32_t value, uint32_t srcWidth,
                              uint32_t srcHeight, uint32_t srcStride, uint32_t* dst,
                              uint32_t dstStride);

/// As `lumAbsDifff32`, with `value` for the second source.
LUMEN_API void lumAbsDiffVf32(const float* src, float value, uint32_t srcWidth, uint32_t srcHeight,
                              uint32_t srcStride, float* dst, uint32_t dstStride);

// Absolute difference of an image of three interleaved channels and a value for each channel:
// channel k of dst(x, y) = |channel k of src(x, y) - value<k>|. `srcWidth` counts pixels.

/// As `lumAbsDiffVu8`, with a value for each of three channels.
LUMEN_API void lumAbsDiffVc3u8(const uint8_t* src, uint8_t value1, uint8_t value2, uint8_t value3,
                               uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint8_t* dst, uint32_t dstStride);

/// As `lumAbsDiffVs32`, with a value for each of three channels.
LUMEN_API void lumAbsDiffVc3s32(const int32_t* src, int32_t value1, int32_t value2, int32_t value3,
                                uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint32_t* dst, uint32_t dstStride);

/// As `lumAbsDiffVf32`, with a value for each of three channels.
LUMEN_API void lumAbsDiffVc3f32(const float* src, float value1, float value2, float value3,
                                uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                float* dst, uint32_t dstStride);

// Absolute difference of an image of four interleaved channels and a value for each channel:
// channel k of dst(x, y) = |channel k of src(x, y) - value<k>|. `srcWidth` counts pixels.

/// As `lumAbsDiffVu8`, with a value for each of four channels.
LUMEN_API void lumAbsDiffVc4u8(const uint8_t* src, uint8_t value1, uint8_t value2, uint8_t value3,
                               uint8_t value4, uint32_t srcWidth, uint32_t srcHeight,
                               uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/// As `lumAbsDiffVs32`, with a value for each of four channels.
LUMEN_API void lumAbsDiffVc4s32(const int32_t* src, int32_t value1, int32_t value2, int32_t value3,
                                int32_t value4, uint32_t srcWidth, uint32_t srcHeight,
                                uint32_t srcStride, uint32_t* dst, uint32_t dstStride);

/// As `lumAbsDiffVf32`, with a value for each of four channels.
LUMEN_API void lumAbsDiffVc4f32(const float* src, float value1, float value2, float value3,
                                float value4, uint32_t srcWidth, uint32_t srcHeight,
                                uint32_t srcStride, float* dst, uint32_t dstStride);

#ifdef __cplusplus
}
#endif

#endif  // LUMEN_ARITHM_H
