/// @file
/// Conversions between YCbCr and packed RGB images of bytes, full-range BT.601 (as in JFIF).
///
/// Images have a width and a height in pixels, `srcWidth` and `srcHeight`, and a stride in bytes
/// from one row to the next. A stride of 0 means rows without a gap. Pointers need no alignment.
///
/// YCbCr images have a plane of Y, a byte for each pixel, and chroma: `Planar` has a plane of Cb
/// and a plane of Cr, `PseudoPlanar` one plane of pairs, Cb first unless it is said otherwise.
/// - 444: a sample of chroma for each pixel.
/// - 422: a sample for two pixels side by side: (srcWidth + 1) / 2 in a row.
/// - 420: a sample for 2 x 2 pixels: (srcWidth + 1) / 2 in a row, (srcHeight + 1) / 2 rows.
///
/// Packed RGB images have pixels of
/// - RGB565: 2 bytes, a little-endian number with R in its five high bits, G in the next six, B in
///   the five low ones (as V4L2_PIX_FMT_RGB565 and GL_UNSIGNED_SHORT_5_6_5). Written from the high
///   bits of each channel; read with those bits repeated in the low ones, so that 31 is 255.
/// - RGB888: 3 bytes. WRITTEN as R, G, B and READ as B, G, R: an image that is converted to YCbCr
/// and
///   back has R and B exchanged.
/// - RGBA8888: 4 bytes R, G, B, A, written and read. A is written as 255 (opaque) and not read.
///
/// A call whose arguments fail the check (a null pointer, a size of 0, a stride too small, a packed
/// row longer than 32 bits can count) logs the failed condition under "lumen_lib_log" and writes
/// nothing. Destinations must not overlap sources or each other. Nothing outside the rows that are
/// told here is read or written, padding included.

#ifndef LUMEN_COLOR_H
#define LUMEN_COLOR_H

#include "lumen/lumenTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

// YCbCr to RGB. With d = Cb - 128 and e = Cr - 128, in 8.8 fixed point with floor shifts:
//
//   R = (256 Y + 359 e + 128) >> 8
//   G = (256 Y - 88 d - 183 e + 128) >> 8
//   B = (256 Y + 454 d + 128) >> 8, each clamped to 0..255
//
// These are the factors of Rec. ITU-R BT.601 and JFIF 1.02: 1.402, 0.344, 0.714 and 1.772.
//
// 422 and 420: chroma is repeated, not interpolated: pixels 2k and 2k + 1 of a row have sample k,
// and so has the last pixel of an odd row. A WIDTH OF 1 ENDS THE PROCESS, with status 1 and a
// message.
//
// 420: rows are taken in pairs. WITH AN ODD HEIGHT A ROW MORE IS CONVERTED: Y and the destination
// must have srcHeight + 1 rows there, the last of them by their strides too.

/// YCbCr 444, planar. A stride of 0: srcCb and srcCr are packed to (srcWidth + 1) / 2 bytes, of 444
/// to srcWidth.
LUMEN_API void lumColorYCbCr444PlanarToRGB565u8(const uint8_t* srcY, const uint8_t* srcCb,
                                                const uint8_t* srcCr, uint32_t srcWidth,
                                                uint32_t srcHeight, uint32_t srcYStride,
                                                uint32_t srcCbStride, uint32_t srcCrStride,
                                                uint8_t* dst, uint32_t dstStride);

/// As above, to RGB888.
LUMEN_API void lumColorYCbCr444PlanarToRGB888u8(const uint8_t* srcY, const uint8_t* srcCb,
                                                const uint8_t* srcCr, uint32_t srcWidth,
                                                uint32_t srcHeight, uint32_t srcYStride,
                                                uint32_t srcCbStride, uint32_t srcCrStride,
                                                uint8_t* dst, uint32_t dstStride);

/// As above, to RGBA8888.
LUMEN_API void lumColorYCbCr444PlanarToRGBA8888u8(const uint8_t* srcY, const uint8_t* srcCb,
                                                  const uint8_t* srcCr, uint32_t srcWidth,
                                                  uint32_t srcHeight, uint32_t srcYStride,
                                                  uint32_t srcCbStride, uint32_t srcCrStride,
                                                  uint8_t* dst, uint32_t dstStride);

/// YCbCr 422, planar. A stride of 0: srcCb and srcCr are packed to (srcWidth + 1) / 2 bytes, of 444
/// to srcWidth.
LUMEN_API void lumColorYCbCr422PlanarToRGB565u8(const uint8_t* srcY, const uint8_t* srcCb,
                                                const uint8_t* srcCr, uint32_t srcWidth,
                                                uint32_t srcHeight, uint32_t srcYStride,
                                                uint32_t srcCbStride, uint32_t srcCrStride,
                                                uint8_t* dst, uint32_t dstStride);

/// As above, to RGB888.
LUMEN_API void lumColorYCbCr422PlanarToRGB888u8(const uint8_t* srcY, const uint8_t* srcCb,
                                                const uint8_t* srcCr, uint32_t srcWidth,
                                                uint32_t srcHeight, uint32_t srcYStride,
                                                uint32_t srcCbStride, uint32_t srcCrStride,
                                                uint8_t* dst, uint32_t dstStride);

/// As above, to RGBA8888.
LUMEN_API void lumColorYCbCr422PlanarToRGBA8888u8(const uint8_t* srcY, const uint8_t* srcCb,
                                                  const uint8_t* srcCr, uint32_t srcWidth,
                                                  uint32_t srcHeight, uint32_t srcYStride,
                                                  uint32_t srcCbStride, uint32_t srcCrStride,
                                                  uint8_t* dst, uint32_t dstStride);

/// YCbCr 420, planar. A stride of 0: srcCb and srcCr are packed to (srcWidth + 1) / 2 bytes, of 444
/// to srcWidth.
LUMEN_API void lumColorYCbCr420PlanarToRGB565u8(const uint8_t* srcY, const uint8_t* srcCb,
                                                const uint8_t* srcCr, uint32_t srcWidth,
                                                uint32_t srcHeight, uint32_t srcYStride,
                                                uint32_t srcCbStride, uint32_t srcCrStride,
                                                uint8_t* dst, uint32_t dstStride);

/// As above, to RGB888.
LUMEN_API void lumColorYCbCr420PlanarToRGB888u8(const uint8_t* srcY, const uint8_t* srcCb,
                                                const uint8_t* srcCr, uint32_t srcWidth,
                                                uint32_t srcHeight, uint32_t srcYStride,
                                                uint32_t srcCbStride, uint32_t srcCrStride,
                                                uint8_t* dst, uint32_t dstStride);

/// As above, to RGBA8888.
LUMEN_API void lumColorYCbCr420PlanarToRGBA8888u8(const uint8_t* srcY, const uint8_t* srcCb,
                                                  const uint8_t* srcCr, uint32_t srcWidth,
                                                  uint32_t srcHeight, uint32_t srcYStride,
                                                  uint32_t srcCbStride, uint32_t srcCrStride,
                                                  uint8_t* dst, uint32_t dstStride);

/// YCbCr 444, pseudo-planar. A stride of 0: srcC is packed to twice (srcWidth + 1) / 2 bytes, of
/// 444 to twice srcWidth.
LUMEN_API void lumColorYCbCr444PseudoPlanarToRGB565u8(const uint8_t* srcY, const uint8_t* srcC,
                                                      uint32_t srcWidth, uint32_t srcHeight,
                                                      uint32_t srcYStride, uint32_t srcCStride,
                                                      uint8_t* dst, uint32_t dstStride);

/// As above, to RGB888.
LUMEN_API void lumColorYCbCr444PseudoPlanarToRGB888u8(const uint8_t* srcY, const uint8_t* srcC,
                                                      uint32_t srcWidth, uint32_t srcHeight,
                                                      uint32_t srcYStride, uint32_t srcCStride,
                                                      uint8_t* dst, uint32_t dstStride);

/// As above, to RGBA8888.
LUMEN_API void lumColorYCbCr444PseudoPlanarToRGBA8888u8(const uint8_t* srcY, const uint8_t* srcC,
                                                        uint32_t srcWidth, uint32_t srcHeight,
                                                        uint32_t srcYStride, uint32_t srcCStride,
                                                        uint8_t* dst, uint32_t dstStride);

/// YCbCr 422, pseudo-planar. A stride of 0: srcC is packed to twice (srcWidth + 1) / 2 bytes, of
/// 444 to twice srcWidth.
LUMEN_API void lumColorYCbCr422PseudoPlanarToRGB565u8(const uint8_t* srcY, const uint8_t* srcC,
                                                      uint32_t srcWidth, uint32_t srcHeight,
                                                      uint32_t srcYStride, uint32_t srcCStride,
                                                      uint8_t* dst, uint32_t dstStride);

/// As above, to RGB888.
LUMEN_API void lumColorYCbCr422PseudoPlanarToRGB888u8(const uint8_t* srcY, const uint8_t* srcC,
                                                      uint32_t srcWidth, uint32_t srcHeight,
                                                      uint32_t srcYStride, uint32_t srcCStride,
                                                      uint8_t* dst, uint32_t dstStride);

/// As above, to RGBA8888.
LUMEN_API void lumColorYCbCr422PseudoPlanarToRGBA8888u8(const uint8_t* srcY, const uint8_t* srcC,
                                                        uint32_t srcWidth, uint32_t srcHeight,
                                                        uint32_t srcYStride, uint32_t srcCStride,
                                                        uint8_t* dst, uint32_t dstStride);

/// YCbCr 420, pseudo-planar. A stride of 0: srcC is packed to twice (srcWidth + 1) / 2 bytes, of
/// 444 to twice srcWidth.
LUMEN_API void lumColorYCbCr420PseudoPlanarToRGB565u8(const uint8_t* srcY, const uint8_t* srcC,
                                                      uint32_t srcWidth, uint32_t srcHeight,
                                                      uint32_t srcYStride, uint32_t srcCStride,
                                                      uint8_t* dst, uint32_t dstStride);

/// As above, to RGB888.
LUMEN_API void lumColorYCbCr420PseudoPlanarToRGB888u8(const uint8_t* srcY, const uint8_t* srcC,
                                                      uint32_t srcWidth, uint32_t srcHeight,
                                                      uint32_t srcYStride, uint32_t srcCStride,
                                                      uint8_t* dst, uint32_t dstStride);

/// As above, to RGBA8888.
LUMEN_API void lumColorYCbCr420PseudoPlanarToRGBA8888u8(const uint8_t* srcY, const uint8_t* srcC,
                                                        uint32_t srcWidth, uint32_t srcHeight,
                                                        uint32_t srcYStride, uint32_t srcCStride,
                                                        uint8_t* dst, uint32_t dstStride);

/// As `lumColorYCbCr420PseudoPlanarToRGBA8888u8`, with pairs that begin with Cr (NV21).
LUMEN_API void lumColorYCrCb420PseudoPlanarToRGB8888u8(const uint8_t* srcY, const uint8_t* srcC,
                                                       uint32_t srcWidth, uint32_t srcHeight,
                                                       uint32_t srcYStride, uint32_t srcCStride,
                                                       uint8_t* dst, uint32_t dstStride);

// Camera frames, YUV420: one buffer with srcHeight rows of Y and, behind them, srcHeight / 2 rows
// of pairs, Cr first (NV21, what Android cameras give by default), all srcStride bytes apart. Width
// and height must be even. Arithmetic as above.

/// A camera frame to RGBA8888.
LUMEN_API void lumColorYUV420toRGB8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                         uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/// A camera frame to RGB565.
LUMEN_API void lumColorYUV420toRGB565u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

/// A camera frame to RGB565, turned by 180 degrees: the first pixel becomes the last one.
LUMEN_API void lumColorYUV420toRGB565u8Rotate180(const uint8_t* src, uint32_t srcWidth,
                                                 uint32_t srcHeight, uint32_t srcStride,
                                                 uint8_t* dst, uint32_t dstStride);

/// RGB888 with R in the first byte to RGB565, turned by 180 degrees.
LUMEN_API void lumColorRGB888ToRGB565Rotate180u8(const uint8_t* src, uint32_t srcWidth,
                                                 uint32_t srcHeight, uint32_t srcStride,
                                                 uint8_t* dst, uint32_t dstStride);

// Macroblocks of a JPEG decoder to RGB888. HhVv is a macroblock of 8h x 8v pixels: h x v blocks of
// 8 x 8 bytes Y, from left to right and from top to bottom, then a block of Cb and one of Cr, whose
// samples cover h x v pixels each (ITU-T T.81, A.2.3, with the components in the order of JFIF).
// `src` has the macroblocks of an image from left to right, rows of them `srcStride` bytes apart.
// srcWidth and srcHeight need not be multiples: of macroblocks that stick out on the right and
// below only what lies in the image is written (T.81, A.2.4).
//
// In 1.15 fixed point with floor shifts, clamped to 0..255:
//
//   R = (32768 Y + 22970 (2 Cr - 255) + 16384) >> 15
//   G = (32768 Y - 5638 (2 Cb - 255) - 11700 (2 Cr - 255) + 16384) >> 15
//   B = (32768 Y + 29032 (2 Cb - 255) + 16384) >> 15
//
// Grey therefore lies between chroma 127 and 128.

/// Macroblocks of 8 x 8 pixels in 192 bytes.
LUMEN_API void lumColorYCrCbH1V1toRGB888u8(const uint8_t* src, uint32_t srcWidth,
                                           uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                                           uint32_t dstStride);

/// Macroblocks of 8 x 16 pixels in 256 bytes.
LUMEN_API void lumColorYCrCbH1V2toRGB888u8(const uint8_t* src, uint32_t srcWidth,
                                           uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                                           uint32_t dstStride);

/// Macroblocks of 16 x 8 pixels in 256 bytes.
LUMEN_API void lumColorYCrCbH2V1toRGB888u8(const uint8_t* src, uint32_t srcWidth,
                                           uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                                           uint32_t dstStride);

/// Macroblocks of 16 x 16 pixels in 384 bytes.
LUMEN_API void lumColorYCrCbH2V2toRGB888u8(const uint8_t* src, uint32_t srcWidth,
                                           uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                                           uint32_t dstStride);

// RGB to YCbCr. In 8.8 fixed point with floor shifts:
//
//   Y = (77 R + 150 G + 29 B + 128) >> 8
//   Cb = 128 + ((-43 R - 85 G + 128 B + 128) >> 8)
//   Cr = 128 + ((128 R - 107 G - 21 B + 128) >> 8), both at most 255
//
// These are the factors of Rec. ITU-R BT.601 and JFIF 1.02 in 256ths.
//
// 422 and 420: chroma is not averaged: it is that of the left pixel of two, and of the upper left
// of 2 x 2. WITH AN ODD WIDTH NOTHING IS WRITTEN. A chroma stride of 0 means srcWidth / 2 bytes for
// each plane, rounded down.
//
// 420: rows are taken in pairs. WITH AN ODD HEIGHT A ROW MORE IS CONVERTED: src and dstY must have
// srcHeight + 1 rows there.

/// RGB565 to YCbCr 444, planar.
LUMEN_API void lumColorRGB565ToYCbCr444Planaru8(const uint8_t* src, uint32_t srcWidth,
                                                uint32_t srcHeight, uint32_t srcStride,
                                                uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                uint32_t dstYStride, uint32_t dstCbStride,
                                                uint32_t dstCrStride);

/// RGB565 to YCbCr 422, planar.
LUMEN_API void lumColorRGB565ToYCbCr422Planaru8(const uint8_t* src, uint32_t srcWidth,
                                                uint32_t srcHeight, uint32_t srcStride,
                                                uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                uint32_t dstYStride, uint32_t dstCbStride,
                                                uint32_t dstCrStride);

/// RGB565 to YCbCr 420, planar.
LUMEN_API void lumColorRGB565ToYCbCr420Planaru8(const uint8_t* src, uint32_t srcWidth,
                                                uint32_t srcHeight, uint32_t srcStride,
                                                uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                uint32_t dstYStride, uint32_t dstCbStride,
                                                uint32_t dstCrStride);

/// RGB888 to YCbCr 444, planar.
LUMEN_API void lumColorRGB888ToYCbCr444Planaru8(const uint8_t* src, uint32_t srcWidth,
                                                uint32_t srcHeight, uint32_t srcStride,
                                                uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                uint32_t dstYStride, uint32_t dstCbStride,
                                                uint32_t dstCrStride);

/// RGB888 to YCbCr 422, planar.
LUMEN_API void lumColorRGB888ToYCbCr422Planaru8(const uint8_t* src, uint32_t srcWidth,
                                                uint32_t srcHeight, uint32_t srcStride,
                                                uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                uint32_t dstYStride, uint32_t dstCbStride,
                                                uint32_t dstCrStride);

/// RGB888 to YCbCr 420, planar.
LUMEN_API void lumColorRGB888ToYCbCr420Planaru8(const uint8_t* src, uint32_t srcWidth,
                                                uint32_t srcHeight, uint32_t srcStride,
                                                uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                uint32_t dstYStride, uint32_t dstCbStride,
                                                uint32_t dstCrStride);

/// RGBA8888 to YCbCr 444, planar.
LUMEN_API void lumColorRGBA8888ToYCbCr444Planaru8(const uint8_t* src, uint32_t srcWidth,
                                                  uint32_t srcHeight, uint32_t srcStride,
                                                  uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                  uint32_t dstYStride, uint32_t dstCbStride,
                                                  uint32_t dstCrStride);

/// RGBA8888 to YCbCr 422, planar.
LUMEN_API void lumColorRGBA8888ToYCbCr422Planaru8(const uint8_t* src, uint32_t srcWidth,
                                                  uint32_t srcHeight, uint32_t srcStride,
                                                  uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                  uint32_t dstYStride, uint32_t dstCbStride,
                                                  uint32_t dstCrStride);

/// RGBA8888 to YCbCr 420, planar.
LUMEN_API void lumColorRGBA8888ToYCbCr420Planaru8(const uint8_t* src, uint32_t srcWidth,
                                                  uint32_t srcHeight, uint32_t srcStride,
                                                  uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
                                                  uint32_t dstYStride, uint32_t dstCbStride,
                                                  uint32_t dstCrStride);

/// RGB565 to YCbCr 444, pseudo-planar.
LUMEN_API void lumColorRGB565ToYCbCr444PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth,
                                                      uint32_t srcHeight, uint32_t srcStride,
                                                      uint8_t* dstY, uint8_t* dstC,
                                                      uint32_t dstYStride, uint32_t dstCStride);

/// RGB565 to YCbCr 422, pseudo-planar.
LUMEN_API void lumColorRGB565ToYCbCr422PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth,
                                                      uint32_t srcHeight, uint32_t srcStride,
                                                      uint8_t* dstY, uint8_t* dstC,
                                                      uint32_t dstYStride, uint32_t dstCStride);

/// RGB565 to YCbCr 420, pseudo-planar.
LUMEN_API void lumColorRGB565ToYCbCr420PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth,
                                                      uint32_t srcHeight, uint32_t srcStride,
                                                      uint8_t* dstY, uint8_t* dstC,
                                                      uint32_t dstYStride, uint32_t dstCStride);

/// RGB888 to YCbCr 444, pseudo-planar.
LUMEN_API void lumColorRGB888ToYCbCr444PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth,
                                                      uint32_t srcHeight, uint32_t srcStride,
                                                      uint8_t* dstY, uint8_t* dstC,
                                                      uint32_t dstYStride, uint32_t dstCStride);

/// RGB888 to YCbCr 422, pseudo-planar.
LUMEN_API void lumColorRGB888ToYCbCr422PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth,
                                                      uint32_t srcHeight, uint32_t srcStride,
                                                      uint8_t* dstY, uint8_t* dstC,
                                                      uint32_t dstYStride, uint32_t dstCStride);

/// RGB888 to YCbCr 420, pseudo-planar.
LUMEN_API void lumColorRGB888ToYCbCr420PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth,
                                                      uint32_t srcHeight, uint32_t srcStride,
                                                      uint8_t* dstY, uint8_t* dstC,
                                                      uint32_t dstYStride, uint32_t dstCStride);

/// RGBA8888 to YCbCr 444, pseudo-planar.
LUMEN_API void lumColorRGBA8888ToYCbCr444PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth,
                                                        uint32_t srcHeight, uint32_t srcStride,
                                                        uint8_t* dstY, uint8_t* dstC,
                                                        uint32_t dstYStride, uint32_t dstCStride);

/// RGBA8888 to YCbCr 422, pseudo-planar.
LUMEN_API void lumColorRGBA8888ToYCbCr422PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth,
                                                        uint32_t srcHeight, uint32_t srcStride,
                                                        uint8_t* dstY, uint8_t* dstC,
                                                        uint32_t dstYStride, uint32_t dstCStride);

/// RGBA8888 to YCbCr 420, pseudo-planar.
LUMEN_API void lumColorRGBA8888ToYCbCr420PseudoPlanaru8(const uint8_t* src, uint32_t srcWidth,
                                                        uint32_t srcHeight, uint32_t srcStride,
                                                        uint8_t* dstY, uint8_t* dstC,
                                                        uint32_t dstYStride, uint32_t dstCStride);

#ifdef __cplusplus
}
#endif

#endif  // LUMEN_COLOR_H
