/// @file
/// Conversions between YCbCr layouts: 4:4:4, 4:2:2 and 4:2:0, planar and pseudo-planar, each to
/// each.
///
/// An image of `srcWidth` x `srcHeight` pixels has a byte Y for each pixel, and chroma samples of
/// two bytes, Cb and Cr: in 4:4:4 one for each pixel, in 4:2:2 one for each two pixels side by
/// side, in 4:2:0 one for each block of 2 x 2 pixels. Of an odd width or height the last pair has
/// one pixel only, so that chroma planes are (width + 1) / 2 samples wide and, in 4:2:0, (height +
/// 1) / 2 high. Planar images have a plane of Cb and one of Cr, pseudo-planar ones a single plane
/// of pairs, Cb first (NV12, NV16 and NV24 are other names of these). No function changes a Y.
///
/// Where a destination has more chroma than its source, samples are repeated: every pixel keeps the
/// chroma that it had. Where it has less, a sample is the mean of those that it stands for, two or
/// four, rounded half up: (a + b + 1) >> 1 or (a + b + c + d + 2) >> 2, from the sources' own
/// values. The pixel that a last pair lacks is taken to be like its neighbour, so that a mean of
/// two becomes the sample itself and one of four a mean of two. Samples lie amid
/// their pixels then, as in JPEG (JFIF 1.02).
///
/// Strides are in bytes. A stride of 0 means that rows follow each other without a gap: srcWidth
/// bytes in a Y plane, as many bytes as there are samples in a row in a Cb or Cr plane, twice as
/// many in a plane of pairs.
///
/// A call whose arguments fail the check (a null pointer, a size of 0, a stride shorter than a row)
/// logs the failed condition under "lumen_lib_log" and writes nothing. No plane that is written may
/// overlap another plane. Nothing outside the given rows is read or written, padding included.

#ifndef LUMEN_COLOR_LAYOUT_H
#define LUMEN_COLOR_LAYOUT_H

#include "lumen/lumenTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Exchanges the two bytes of every pair in a plane of pairs, and so turns Cb first into Cr first
/// and back (NV12 into NV21). `srcWidth` counts pairs. The destination may be the source, with the
/// same stride; otherwise it must not overlap it.
LUMEN_API void lumColorCbCrSwapu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                  uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

// From 4:2:0, planar.

/// To 4:2:0, pseudo-planar: the same samples.
LUMEN_API void lumColorYCbCr420PlanarToYCbCr420PseudoPlanaru8(
    const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth,
    uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,
    uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride);

/// To 4:2:2, planar: each row of samples twice.
LUMEN_API void lumColorYCbCr420PlanarToYCbCr422Planaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                        const uint8_t* srcCr, uint32_t srcWidth,
                                                        uint32_t srcHeight, uint32_t srcYStride,
                                                        uint32_t srcCbStride, uint32_t srcCrStride,
                                                        uint8_t* dstY, uint8_t* dstCb,
                                                        uint8_t* dstCr, uint32_t dstYStride,
                                                        uint32_t dstCbStride, uint32_t dstCrStride);

/// To 4:2:2, pseudo-planar: each row of samples twice.
LUMEN_API void lumColorYCbCr420PlanarToYCbCr422PseudoPlanaru8(
    const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth,
    uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,
    uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride);

/// To 4:4:4, planar: each sample for 2 x 2 pixels.
LUMEN_API void lumColorYCbCr420PlanarToYCbCr444Planaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                        const uint8_t* srcCr, uint32_t srcWidth,
                                                        uint32_t srcHeight, uint32_t srcYStride,
                                                        uint32_t srcCbStride, uint32_t srcCrStride,
                                                        uint8_t* dstY, uint8_t* dstCb,
                                                        uint8_t* dstCr, uint32_t dstYStride,
                                                        uint32_t dstCbStride, uint32_t dstCrStride);

/// To 4:4:4, pseudo-planar: each sample for 2 x 2 pixels.
LUMEN_API void lumColorYCbCr420PlanarToYCbCr444PseudoPlanaru8(
    const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth,
    uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,
    uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride);

// From 4:2:0, pseudo-planar.

/// To 4:2:0, planar: the same samples.
LUMEN_API void lumColorYCbCr420PseudoPlanarToYCbCr420Planaru8(
    const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,
    uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
    uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);

/// To 4:2:2, planar: each row of samples twice.
LUMEN_API void lumColorYCbCr420PseudoPlanarToYCbCr422Planaru8(
    const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,
    uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
    uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);

/// To 4:2:2, pseudo-planar: each row of samples twice.
LUMEN_API void lumColorYCbCr420PseudoPlanarToYCbCr422PseudoPlanaru8(
    const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,
    uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
    uint32_t dstCStride);

/// To 4:4:4, planar: each sample for 2 x 2 pixels.
LUMEN_API void lumColorYCbCr420PseudoPlanarToYCbCr444Planaru8(
    const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,
    uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
    uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);

/// To 4:4:4, pseudo-planar: each sample for 2 x 2 pixels.
LUMEN_API void lumColorYCbCr420PseudoPlanarToYCbCr444PseudoPlanaru8(
    const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,
    uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
    uint32_t dstCStride);

// From 4:2:2, planar.

/// To 4:2:0, planar: means of two samples, one above the other.
LUMEN_API void lumColorYCbCr422PlanarToYCbCr420Planaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                        const uint8_t* srcCr, uint32_t srcWidth,
                                                        uint32_t srcHeight, uint32_t srcYStride,
                                                        uint32_t srcCbStride, uint32_t srcCrStride,
                                                        uint8_t* dstY, uint8_t* dstCb,
                                                        uint8_t* dstCr, uint32_t dstYStride,
                                                        uint32_t dstCbStride, uint32_t dstCrStride);

/// To 4:2:0, pseudo-planar: means of two samples, one above the other.
LUMEN_API void lumColorYCbCr422PlanarToYCbCr420PseudoPlanaru8(
    const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth,
    uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,
    uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride);

/// To 4:2:2, pseudo-planar: the same samples.
LUMEN_API void lumColorYCbCr422PlanarToYCbCr422PseudoPlanaru8(
    const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth,
    uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,
    uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride);

/// To 4:4:4, planar: each sample for two pixels.
LUMEN_API void lumColorYCbCr422PlanarToYCbCr444Planaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                        const uint8_t* srcCr, uint32_t srcWidth,
                                                        uint32_t srcHeight, uint32_t srcYStride,
                                                        uint32_t srcCbStride, uint32_t srcCrStride,
                                                        uint8_t* dstY, uint8_t* dstCb,
                                                        uint8_t* dstCr, uint32_t dstYStride,
                                                        uint32_t dstCbStride, uint32_t dstCrStride);

/// To 4:4:4, pseudo-planar: each sample for two pixels.
LUMEN_API void lumColorYCbCr422PlanarToYCbCr444PseudoPlanaru8(
    const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth,
    uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,
    uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride);

// From 4:2:2, pseudo-planar.

/// To 4:2:0, planar: means of two samples, one above the other.
LUMEN_API void lumColorYCbCr422PseudoPlanarToYCbCr420Planaru8(
    const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,
    uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
    uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);

/// To 4:2:0, pseudo-planar: means of two samples, one above the other.
LUMEN_API void lumColorYCbCr422PseudoPlanarToYCbCr420PseudoPlanaru8(
    const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,
    uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
    uint32_t dstCStride);

/// To 4:2:2, planar: the same samples.
LUMEN_API void lumColorYCbCr422PseudoPlanarToYCbCr422Planaru8(
    const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,
    uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
    uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);

/// To 4:4:4, planar: each sample for two pixels.
LUMEN_API void lumColorYCbCr422PseudoPlanarToYCbCr444Planaru8(
    const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,
    uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
    uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);

/// To 4:4:4, pseudo-planar: each sample for two pixels.
LUMEN_API void lumColorYCbCr422PseudoPlanarToYCbCr444PseudoPlanaru8(
    const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,
    uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
    uint32_t dstCStride);

// From 4:4:4, planar.

/// To 4:2:0, planar: means of four samples.
LUMEN_API void lumColorYCbCr444PlanarToYCbCr420Planaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                        const uint8_t* srcCr, uint32_t srcWidth,
                                                        uint32_t srcHeight, uint32_t srcYStride,
                                                        uint32_t srcCbStride, uint32_t srcCrStride,
                                                        uint8_t* dstY, uint8_t* dstCb,
                                                        uint8_t* dstCr, uint32_t dstYStride,
                                                        uint32_t dstCbStride, uint32_t dstCrStride);

/// To 4:2:0, pseudo-planar: means of four samples.
LUMEN_API void lumColorYCbCr444PlanarToYCbCr420PseudoPlanaru8(
    const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth,
    uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,
    uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride);

/// To 4:2:2, planar: means of two samples side by side.
LUMEN_API void lumColorYCbCr444PlanarToYCbCr422Planaru8(const uint8_t* srcY, const uint8_t* srcCb,
                                                        const uint8_t* srcCr, uint32_t srcWidth,
                                                        uint32_t srcHeight, uint32_t srcYStride,
                                                        uint32_t srcCbStride, uint32_t srcCrStride,
                                                        uint8_t* dstY, uint8_t* dstCb,
                                                        uint8_t* dstCr, uint32_t dstYStride,
                                                        uint32_t dstCbStride, uint32_t dstCrStride);

/// To 4:2:2, pseudo-planar: means of two samples side by side.
LUMEN_API void lumColorYCbCr444PlanarToYCbCr422PseudoPlanaru8(
    const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth,
    uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,
    uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride);

/// To 4:4:4, pseudo-planar: the same samples.
LUMEN_API void lumColorYCbCr444PlanarToYCbCr444PseudoPlanaru8(
    const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth,
    uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,
    uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride);

// From 4:4:4, pseudo-planar.

/// To 4:2:0, planar: means of four samples.
LUMEN_API void lumColorYCbCr444PseudoPlanarToYCbCr420Planaru8(
    const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,
    uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
    uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);

/// To 4:2:0, pseudo-planar: means of four samples.
LUMEN_API void lumColorYCbCr444PseudoPlanarToYCbCr420PseudoPlanaru8(
    const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,
    uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
    uint32_t dstCStride);

/// To 4:2:2, planar: means of two samples side by side.
LUMEN_API void lumColorYCbCr444PseudoPlanarToYCbCr422Planaru8(
    const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,
    uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
    uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);

/// To 4:2:2, pseudo-planar: means of two samples side by side.
LUMEN_API void lumColorYCbCr444PseudoPlanarToYCbCr422PseudoPlanaru8(
    const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,
    uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
    uint32_t dstCStride);

/// To 4:4:4, planar: the same samples.
LUMEN_API void lumColorYCbCr444PseudoPlanarToYCbCr444Planaru8(
    const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,
    uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,
    uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride);

#ifdef __cplusplus
}
#endif

#endif  // LUMEN_COLOR_LAYOUT_H
