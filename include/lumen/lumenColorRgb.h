/// @file
/// Packed RGB images: formats into each other, and into gray, YCrCb, HSV and Lab.
///
/// Pixels lie side by side, in the formats that the names of functions say:
/// - RGB888: three bytes, R, G, B. BGR888: the same with B first and R last.
/// - RGBA8888: four bytes, R, G, B, A. BGRA8888: B, G, R, A.
/// - RGB565: two bytes, a little-endian number with R in the highest five bits, G in the six amid
/// and
///   B in the lowest five (DRM_FORMAT_RGB565, GL_UNSIGNED_SHORT_5_6_5). BGR565: B in the highest
///   five bits, R in the lowest.
///
/// A channel of 5 or 6 bits becomes one of 8 by repeating its highest bits below it, so that 0
/// stays 0 and the greatest value becomes 255: (v << 3) | (v >> 2), (v << 2) | (v >> 4). A channel
/// of 8 bits becomes one of 5 or 6 by dropping its lowest bits. Alpha is 255 where the source has
/// none and is kept or dropped otherwise.
///
/// Images have a width and a height in pixels and a stride in bytes from one row to the next. A
/// stride of 0 means that rows follow each other without a gap. No pointer need be aligned.
///
/// A call whose arguments fail the check (a null pointer, a size of 0, a stride shorter than a row)
/// logs the failed condition under "lumen_lib_log" and writes nothing. Between formats of as many
/// bytes a pixel the destination may be the source, with the same stride. Otherwise it must not
/// overlap it. Nothing outside the given rows is read or written, padding included.

#ifndef LUMEN_COLOR_RGB_H
#define LUMEN_COLOR_RGB_H

#include "lumen/lumenTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

// RGB565 into the other formats.

LUMEN_API void lumColorRGB565ToBGR565u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
LUMEN_API void lumColorRGB565ToBGR888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
LUMEN_API void lumColorRGB565ToBGRA8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
LUMEN_API void lumColorRGB565ToRGB888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
LUMEN_API void lumColorRGB565ToRGBA8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

// RGB888 into the other formats.

LUMEN_API void lumColorRGB888ToBGR565u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
LUMEN_API void lumColorRGB888ToBGR888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
LUMEN_API void lumColorRGB888ToBGRA8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
LUMEN_API void lumColorRGB888ToRGB565u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
LUMEN_API void lumColorRGB888ToRGBA8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

// RGBA8888 into the other formats.

LUMEN_API void lumColorRGBA8888ToBGR565u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
LUMEN_API void lumColorRGBA8888ToBGR888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
LUMEN_API void lumColorRGBA8888ToBGRA8888u8(const uint8_t* src, uint32_t srcWidth,
                                            uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                                            uint32_t dstStride);
LUMEN_API void lumColorRGBA8888ToRGB565u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, uint8_t* dst, uint32_t dstStride);
LUMEN_API void lumColorRGBA8888ToRGB888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/// Gray of RGB888, a byte a pixel: (77 R + 150 G + 29 B + 128) >> 8, the luma of ITU-R BT.601 in
/// the full range, as JPEG (JFIF) has it, in 8.8 fixed point.
LUMEN_API void lumColorRGB888ToGrayu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                      uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/// RGB888 into three bytes a pixel, Y, Cr, Cb: ITU-R BT.601 in the full range (JFIF), in the
/// arithmetic of the functions that make planes, but with R first in a pixel.
/// - Y = (77 R + 150 G + 29 B + 128) >> 8
/// - Cr = 128 + ((128 R - 107 G - 21 B + 128) >> 8), at most 255
/// - Cb = 128 + ((-43 R - 85 G + 128 B + 128) >> 8), at most 255
LUMEN_API void lumColorRGB888toYCrCbu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                       uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/// RGB888 into three bytes a pixel, H, S, V: A. R. Smith's hexcone model. With the greatest channel
/// V and its distance D to the least:
/// - H in units of 2 degrees, 0 to 179: 30 (G - B) / D where R is the greatest, else 60 + 30 (B -
/// R) / D
///   where G is, else 120 + 30 (R - G) / D, plus 180 below 0; the quotient is rounded to the
///   nearest number, half up, and 180 is 0. Grays, D = 0, have H = 0.
/// - S = 255 D / V, rounded to the nearest number, half up; 0 where V is 0.
LUMEN_API void lumColorRGB888ToHSV888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/// RGBA8888 into three bytes a pixel, L, a, b: CIE 1976 L*a*b* of sRGB (IEC 61966-2-1) at D65, as
/// L* 255 / 100, a* + 128 and b* + 128; alpha is not read. Computed in integers: linear light in 16
/// bits from a table, X / Xn, Y / Yn and Z / Zn in 8192 steps, the cube root of each in 15 bits
/// from another table. From the real numbers, L differs
/// by less than 0.65, a by less than 0.94 and b by less than 0.68, rounding included. Grays have
/// exactly a = b = 128.
LUMEN_API void lumColorRGBA8888ToLABu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                       uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

#ifdef __cplusplus
}
#endif

#endif  // LUMEN_COLOR_RGB_H
