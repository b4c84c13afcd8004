/// @file
/// Harris corners of 8-bit grey images, in integer arithmetic throughout.
///
/// The gradients at (x, y) are Ix = (src(x + 1, y) - src(x - 1, y)) >> 1 and Iy = (src(x, y + 1) -
/// src(x, y - 1)) >> 1, shifted arithmetically. Their products Ix Ix, Iy Iy and Ix Iy are smoothed
/// with the 5 x 5 binomial kernel (weights 1 4 6 4 1 each way, the sum shifted right by 8) to Sxx,
/// Syy and Sxy. The response is
///
///   R = Sxx Syy - Sxy^2 - ((Sxx + Syy)^2 >> 4)
///
/// that is det - trace^2 / 16 (C. Harris and M. Stephens, "A combined corner and edge detector",
/// 1988, with k = 1/16). A response depends on the pixels up to 3 columns and rows away, so that
/// pixels nearer to an edge have none.
///
/// Coordinates are pairs of x and y, x first, in raster order where nothing else is said. When a
/// list is full the rest of the image is not looked at, and nothing tells that there was more.
/// Lists are tested for being full behind each tested pixel: with a capacity of 0 the call still
/// tests one pixel, and writes it if it is a corner.
///
/// A stride of 0 stands for rows without a gap. A call whose arguments fail the check (null
/// pointers, an image without pixels or with rows longer than the stride, where it is said a size
/// of 4 or less) logs the failed condition under "lumen_lib_log" and writes nothing. Outputs must
/// not overlap the image. Work memory is taken from the scratch pool, some rows wide; when there is
/// none the process ends with exit status 1.

#ifndef LUMEN_HARRIS_H
#define LUMEN_HARRIS_H

#include "lumen/lumenTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Finds the pixels whose response is greater than `threshold` and than each of the other 24
/// responses of the 5 x 5 window around them. Equal neighbours suppress each other.
///
/// @param width, height greater than 4; sizes up to 10 have no corner.
/// @param border no corner is nearer to an edge than this many pixels; 5 or less is taken as 5.
/// @param xy receives the corners, at most `nCornersMax`.
/// @param nCorners receives their number.
LUMEN_API void lumCornerHarrisu8(const uint8_t* src, uint32_t width, uint32_t height,
                                 uint32_t stride, uint32_t border, uint32_t* xy,
                                 uint32_t nCornersMax, uint32_t* nCorners, int32_t threshold);

/// As `lumCornerHarrisu8`, but pixels whose bit is set in `bitMask` are not tested. They suppress
/// their neighbours as any other. Sizes of 4 or less are let through, and have no corner.
///
/// @param bitMask rows of (maskWidth + 7) / 8 bytes without a gap; the leftmost pixel of a byte is
/// its highest bit. The mask has the image's size, or 2, 4 or 8 times the image's width and height,
/// or the image 2, 4 or 8 times the mask's: the coordinates of a pixel are multiplied or divided by
/// that. Of a larger mask only every second, fourth or eighth bit is looked at. With any other size
/// there are no corners.
LUMEN_API void lumCornerHarrisInMasku8(const uint8_t* srcImg, uint32_t width, uint32_t height,
                                       uint32_t stride, uint32_t border, uint32_t* xy,
                                       uint32_t nCornersMax, uint32_t* nCorners, int32_t threshold,
                                       const uint8_t* bitMask, uint32_t maskWidth,
                                       uint32_t maskHeight);

/// As `lumCornerHarrisu8`, with a threshold that adapts to the room: the lowest one, no lower than
/// `threshold`, at which all corners of the image fit into `nCornersMax`. So the list has the
/// strongest corners instead of the topmost, still in raster order. Corners as strong as the first
/// one that does not fit are left out too. A capacity of 0 gives no corner. Needs scratch memory
/// for twice as many corners as the list or the image has room for, whichever is less.
///
/// Detectors that look for a number of corners instead of a strength adapt their threshold to it;
/// here that takes one pass and gives the exact threshold.
LUMEN_API void lumCornerHarrisAdaptiveu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                         uint32_t srcStride, uint32_t border, uint32_t* xy,
                                         uint32_t nCornersMax, uint32_t* nCorners,
                                         int32_t threshold);

/// As `lumCornerHarrisu8`, with the response of each corner in `scores`.
///
/// @param nmsEnabled 0: every pixel with a response greater than `threshold` is written, whether
/// there is a stronger one beside it or not.
LUMEN_API void lumCornerHarrisScoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                      uint32_t srcStride, uint32_t border, uint32_t* xy,
                                      int32_t* scores, uint32_t nCornersMax, uint32_t* nCorners,
                                      int32_t threshold, uint32_t nmsEnabled);

/// Finds the pixel of greatest response in the 11 x 11 window around (posX, posY), the first one in
/// raster order of several, to move a corner that is known roughly to its place. The part of the
/// window that lies outside the image, or within 3 pixels of its edges where there are no
/// responses, is left out. With nothing left the position is given back with the lowest score,
/// INT32_MIN.
///
/// @param maxX, maxY, maxScore receive the place and its response.
LUMEN_API void lumLocalHarrisMaxu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                   uint32_t srcStride, uint32_t posX, uint32_t posY, uint32_t* maxX,
                                   uint32_t* maxY, int32_t* maxScore);

/// Finds corners that a tracker can follow, the strongest first (J. Shi and C. Tomasi, "Good
/// features to track", 1994).
///
/// The response is the smaller eigenvalue of [Sxx Sxy; Sxy Syy], times 2:
/// L = Sxx + Syy - floor(sqrt((Sxx - Syy)^2 + 4 Sxy^2)), from 0 to 32768. Candidates are pixels at
/// which L is greater than at the neighbours before them in raster order and no smaller than at
/// those behind them, of the eight around; which is greater than 0; and which is at least
/// `qualityLevel` times the strongest candidate's, the product rounded to float. Candidates are
/// taken in the order of their strength, equal ones in raster order, and one is left out when a
/// corner taken before is nearer than `minDistance`. The list ends when it is full.
///
/// @param border no corner is nearer to an edge than this many pixels; 5 or less is taken as 5.
/// @param qualityLevel from 0 to 1; what is outside is taken as 0 or 1, and NaN as 0.
/// @param minDistance in pixels, Euclidean; 0 and 1 leave out nothing.
/// Needs scratch memory of about 3 bytes a pixel.
LUMEN_API void lumGoodFeatureToTracku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                       uint32_t srcStride, uint32_t border, uint32_t* xy,
                                       uint32_t nCornersMax, uint32_t* nCorners, float qualityLevel,
                                       uint32_t minDistance);

#ifdef __cplusplus
}
#endif

#endif  // LUMEN_HARRIS_H
