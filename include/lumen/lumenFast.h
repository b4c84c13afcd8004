/// @file
/// FAST corners of 8-bit grey images, with arcs of 9 or 10 pixels.
///
/// A pixel is a corner where at least 9 (or 10) neighbouring ones of the 16 pixels on a circle of
/// radius 3 around it are all brighter than it by more than `barrier`, or all darker by more than
/// that. Comparisons are those of integers: a barrier of 255 or more finds nothing, one of 0 takes
/// every difference, and a negative one also pixels that are no brighter or darker at all. Method:
/// E. Rosten and T. Drummond, "Machine learning for high-speed corner detection", 2006.
///
/// Arguments that the functions share:
///
/// - `src`, `srcWidth`, `srcHeight`, `srcStride`: the image; the stride, in bytes, of 0 stands for
///   rows without gaps. Nothing outside its rows is read.
/// - `border`: no corner is looked for within so many pixels of an edge; 3 or less counts as 3.
/// - `xy`, `nCornersMax`, `nCorners`: the corners, column and row of each, row by row from the top
/// and
///   each row from the left, and their number. When `nCornersMax` are found the search ends, which
///   nothing tells from an image that has no more. The list is looked at after a corner is written:
///   `nCornersMax` of 0 therefore needs room for one corner, and yields it if there is any. What
///   lies behind the corners that were found is left as it was.
/// - `scores`: for each corner the largest barrier with which it would still be one: `barrier` to
///   254.
/// - the bit mask (`bitMask` or `mask`), `maskWidth`, `maskHeight`: a bit for each place, rows of
///   (maskWidth + 7) / 8 bytes, the leftmost place in the highest bit; no corner is looked for
///   where the bit is 1. The mask is as large as the image, or 2, 4 or 8 times as large or as small
///   in both directions; of a larger one the top left bit of each block counts. With another size
///   the call finds no corner.
/// - `nmsEnabled`, `tempBuf`: unless 0, corners are left out that have one among their eight
///   neighbours with a score as high or higher, whether that one is left out or not: of two
///   neighbours with the same score neither stays. It is the first `nCornersMax` corners that are
///   looked at so; with `nCornersMax` of 0, the one corner stays. `tempBuf` is room for 3 x
///   nCornersMax + srcHeight numbers, and only used then; where it is null then, the process ends
///   with exit status 1.
///
/// A call with a null pointer (but for `tempBuf`), with a stride smaller than the width, or with a
/// border that leaves no pixel logs the failed condition under "lumen_lib_log" and writes nothing.
/// Functions keep nothing between calls; any number of threads may call them at once.

#ifndef LUMEN_FAST_H
#define LUMEN_FAST_H

#include "lumen/lumenTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Corners with arcs of 9.
LUMEN_API void lumCornerFast9u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                                uint32_t nCornersMax, uint32_t* nCorners);

/// Corners with arcs of 9 where a mask allows them.
LUMEN_API void lumCornerFast9InMasku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                      uint32_t srcStride, int32_t barrier, uint32_t border,
                                      uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners,
                                      const uint8_t* bitMask, uint32_t maskWidth,
                                      uint32_t maskHeight);

/// Corners with arcs of 9, and their scores.
LUMEN_API void lumCornerFast9Scoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                     uint32_t srcStride, int32_t barrier, uint32_t border,
                                     uint32_t* xy, uint32_t* scores, uint32_t nCornersMax,
                                     uint32_t* nCorners);

/// Corners with arcs of 9 where a mask allows them, and their scores.
LUMEN_API void lumCornerFast9InMaskScoreu8(const uint8_t* src, uint32_t srcWidth,
                                           uint32_t srcHeight, uint32_t srcStride, int32_t barrier,
                                           uint32_t border, uint32_t* xy, uint32_t* scores,
                                           uint32_t nCornersMax, uint32_t* nCorners,
                                           const uint8_t* bitMask, uint32_t maskWidth,
                                           uint32_t maskHeight);

/// Corners with arcs of 9 and their scores, without weaker neighbours where that is wanted.
LUMEN_API void lumCornerFast9Scoreu8_v2(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, int32_t barrier, uint32_t border,
                                        uint32_t* xy, uint32_t* scores, uint32_t nCornersMax,
                                        uint32_t* nCorners, uint32_t nmsEnabled, uint32_t* tempBuf);

/// The same where a mask allows corners.
LUMEN_API void lumCornerFast9InMaskScoreu8_v2(const uint8_t* src, uint32_t srcWidth,
                                              uint32_t srcHeight, uint32_t srcStride,
                                              int32_t barrier, uint32_t border, uint32_t* xy,
                                              uint32_t* scores, uint32_t nCornersMax,
                                              uint32_t* nCorners, const uint8_t* bitMask,
                                              uint32_t maskWidth, uint32_t maskHeight,
                                              uint32_t nmsEnabled, uint32_t* tempBuf);

/// Corners with arcs of 10.
LUMEN_API void lumCornerFast10u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                 uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                                 uint32_t nCornersMax, uint32_t* nCorners);

/// Corners with arcs of 10 where a mask allows them.
LUMEN_API void lumCornerFast10InMasku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                       uint32_t srcStride, int32_t barrier, uint32_t border,
                                       uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners,
                                       const uint8_t* mask, uint32_t maskWidth,
                                       uint32_t maskHeight);

/// Corners with arcs of 10 and their scores, as `lumCornerFast9Scoreu8_v2`.
LUMEN_API void lumCornerFast10Scoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                      uint32_t srcStride, int32_t barrier, uint32_t border,
                                      uint32_t* xy, uint32_t* scores, uint32_t nCornersMax,
                                      uint32_t* nCorners, uint32_t nmsEnabled, uint32_t* tempBuf);

/// The same where a mask allows corners.
LUMEN_API void lumCornerFast10InMaskScoreu8(const uint8_t* src, uint32_t srcWidth,
                                            uint32_t srcHeight, uint32_t srcStride, int32_t barrier,
                                            uint32_t border, uint32_t* xy, uint32_t* scores,
                                            uint32_t nCornersMax, uint32_t* nCorners,
                                            const uint8_t* mask, uint32_t maskWidth,
                                            uint32_t maskHeight, uint32_t nmsEnabled,
                                            uint32_t* tempBuf);

#ifdef __cplusplus
}
#endif

#endif  // LUMEN_FAST_H
