/// @file
/// Maximally stable extremal regions of 8-bit grey images.
///
/// A region is a connected set of pixels that are all darker (MSER+) or all brighter (MSER-) than
/// the pixels around it, and whose area changes little over a range of grey levels. A handle holds
/// the parameters and the work memory for images up to a size; it serves any number of calls, one
/// at a time, and different handles may be used by different threads at once.
///
/// Method: the component tree in linear time (Nister and Stewenius, "Linear Time Maximally Stable
/// Extremal Regions", ECCV 2008), with the stability rules below (Matas and others, "Robust
/// wide-baseline stereo from maximally stable extremal regions", BMVC 2002). For MSER+:
/// - The one-pixel frame of the image belongs to no region.
/// - The walk starts at pixel (1, 1). A pixel looks at its neighbours clockwise from the right one:
///   right, below, left, above; of a handle for 8 neighbours: right, below right, below, below
///   left, left, above left, above, above right. It goes down to the first unvisited neighbour that
///   is darker than itself; when there is none, all its other unvisited neighbours join the
///   boundary, in that order, and the pixel joins its region. Of the boundary the pixel that is
///   darkest, and of these the one found last, is next. Regions, and the points in them, come in
///   the order that this gives.
/// - A component that grows from one grey level to the next is compared with itself `delta` levels
///   before: its variation is what it has grown by, divided by its area then. It is reported as it
///   was at its last level when the variation begins to rise there, or that level lies more than
///   one below the new one, its last variation was below `maxVariation`, its area lies between
///   `minArea` and `maxArea`, both excluded, and the share of the area that is new since the last
///   report exceeds `minDiversity`. When two components meet, the larger one's history is kept.
/// MSER- is the same on the inverted image.
///
/// Results do not depend on operation mode, processor or threads.
///
/// Bad arguments (a null pointer where one is needed) log the failed condition under
/// "lumen_lib_log" and do nothing. So does a call without a log line when the image is larger than
/// the handle's, when `srcWidth` exceeds `srcStride`, or when the handle is for another number of
/// neighbours: then nothing is written, `numContours` included. Failures in the course of a call
/// are logged, and leave `numContours` 0.

#ifndef LUMEN_MSER_H
#define LUMEN_MSER_H

#include "lumen/lumenTypes.h"

#ifdef __cplusplus
extern "C" {
#endif

/// Makes a handle for regions of 4-connected pixels.
///
/// @param width of the largest image, 51 to 8160. A greater number up to 65535 ends the process,
/// as other parameters outside their range do, after a log line with the condition that failed;
/// only the low 16 bits count.
/// @param height of the largest image, 6 to 65535; only the low 16 bits count.
/// @param delta grey levels over which the variation is taken, 1 to 255.
/// @param minArea less than the (width - 2) (height - 2) pixels inside the frame.
/// @param maxArea more than `minArea` + 1.
/// @param maxVariation more than 0.
/// @param minDiversity less than 256.
/// @param mserHandle receives the handle.
/// @return 1, or 0 when the size is too small or there is no memory, which is logged.
LUMEN_API int32_t lumMserInit(uint32_t width, uint32_t height, uint32_t delta, uint32_t minArea,
                              uint32_t maxArea, float maxVariation, float minDiversity,
                              void** mserHandle);

/// As `lumMserInit`, for regions of 8-connected pixels.
LUMEN_API int32_t lumMserNN8Init(uint32_t width, uint32_t height, uint32_t delta, uint32_t minArea,
                                 uint32_t maxArea, float maxVariation, float minDiversity,
                                 void** mserHandle);

/// Frees a handle.
LUMEN_API void lumMserRelease(void* mserHandle);

/// Whether calls with this handle may use more threads than the caller's: one for the second
/// polarity, and up to seven to copy results. They do by default, when the image is large enough to
/// gain; 0 keeps all work on the calling thread.
LUMEN_API void lumMserSetThreading(void* mserHandle, uint32_t threading);

/// Finds the regions of an image.
///
/// The image may be smaller than the handle's; `maxArea` is then scaled by the ratio of the areas.
/// MSER- regions come first, then MSER+ regions, each in the order found. The points of a region
/// are written one after the other, regions without a gap.
///
/// @param srcStride bytes from one row to the next; 0 means rows without a gap. It is not looked at
/// when `srcWidth` is a multiple of 32 and `srcPtr` is too: rows then follow without a gap.
/// @param maxContours regions that there is room for. A polarity stops when it has found that many;
/// when both together are more, the larger number is cut, or, when both reach `maxContours`, each
/// to half of it. All of that is logged.
/// @param numContours receives the number of regions.
/// @param numPointsInContour receives the number of points of each region.
/// @param pointsArraySize points that there is room for. If there are more, that is logged, and
/// `numContours` is 0.
/// @param pointsArray receives x and y of each point.
LUMEN_API void lumMseru8(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                         uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                         uint32_t* numContours, uint32_t* numPointsInContour,
                         uint32_t pointsArraySize, uint32_t* pointsArray);

/// As `lumMseru8`, with a handle of `lumMserNN8Init`.
LUMEN_API void lumMserNN8u8(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                            uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                            uint32_t* numContours, uint32_t* numPointsInContour,
                            uint32_t pointsArraySize, uint32_t* pointsArray);

/// As `lumMseru8`, and says more of each region.
///
/// @param contourVariation receives the variation times 10000, cut to an integer: that of the step
/// at which the region was reported. 4294967295 stands for all that 32 bits do not hold.
/// @param contourPolarity receives 1 for MSER+ and -1 for MSER-.
/// @param contourNodeId receives the number of the component that the region belongs to, counted
/// from 0 in the order of creation, MSER- first.
/// @param contourNodeCounter receives the number of components, of MSER- and then of MSER+, that
/// there were when the region was found.
LUMEN_API void lumMserExtu8(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                            uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                            uint32_t* numContours, uint32_t* numPointsInContour,
                            uint32_t* pointsArray, uint32_t pointsArraySize,
                            uint32_t* contourVariation, int32_t* contourPolarity,
                            uint32_t* contourNodeId, uint32_t* contourNodeCounter);

/// As `lumMserExtu8`, with a handle of `lumMserNN8Init`.
LUMEN_API void lumMserExtNN8u8(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                               uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                               uint32_t* numContours, uint32_t* numPointsInContour,
                               uint32_t* pointsArray, uint32_t pointsArraySize,
                               uint32_t* contourVariation, int32_t* contourPolarity,
                               uint32_t* contourNodeId, uint32_t* contourNodeCounter);

// The forms with 16-bit points, bounding rectangles and a result. They take handles of both kinds,
// and return 1 when all regions are there, 2 when some were left out for want of `maxContours`, and
// 0 when there is no output.

/// As `lumMseru8`, with 16-bit points.
///
/// @param boundingRects receives left, top, right and bottom of each region: the least and the
/// greatest x and y of its points.
LUMEN_API int32_t lumMseru8_v2(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                               uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                               uint32_t* numContours, uint32_t* numPointsInContour,
                               uint16_t* boundingRects, uint32_t pointsArraySize,
                               uint16_t* pointsArray);

/// As `lumMserExtu8`, with points and rectangles as `lumMseru8_v2` has them.
LUMEN_API int32_t lumMserExtu8_v2(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                                  uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                                  uint32_t* numContours, uint32_t* numPointsInContour,
                                  uint16_t* boundingRects, uint16_t* pointsArray,
                                  uint32_t pointsArraySize, uint32_t* contourVariation,
                                  int32_t* contourPolarity, uint32_t* contourNodeId,
                                  uint32_t* contourNodeCounter);

/// As `lumMserExtu8_v2`, with other rectangles.
///
/// @param boundingRects receives x, y, width and height of each region's rectangle.
LUMEN_API int32_t lumMserExtu8_v3(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                                  uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                                  uint32_t* numContours, uint32_t* numPointsInContour,
                                  uint16_t* boundingRects, uint16_t* pointsArray,
                                  uint32_t pointsArraySize, uint32_t* contourVariation,
                                  int32_t* contourPolarity, uint32_t* contourNodeId,
                                  uint32_t* contourNodeCounter);

/// As `lumMserExtu8_v2`, with a number of regions for each polarity: the first `numContoursMinus`
/// regions are MSER-, the next `numContoursPlus` are MSER+.
LUMEN_API int32_t lumMserSplitExtu8(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                                    uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                                    uint32_t* numContoursMinus, uint32_t* numContoursPlus,
                                    uint32_t* numPointsInContour, uint16_t* boundingRects,
                                    uint16_t* pointsArray, uint32_t pointsArraySize,
                                    uint32_t* contourVariation, uint32_t* contourNodeId,
                                    uint32_t* contourNodeCounter);

#ifdef __cplusplus
}
#endif

#endif  // LUMEN_MSER_H
