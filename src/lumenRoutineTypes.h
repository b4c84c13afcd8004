// The types of the shared inner routines, for lumenRoutines.def.

#ifndef LUMEN_ROUTINE_TYPES_H
#define LUMEN_ROUTINE_TYPES_H

#include <cstdint>

// The score of the corner at `p`, whose circle is at these offsets, found with this barrier.
using lumCornerScore = uint32_t(const uint8_t* p, const int32_t* offsets, int32_t barrier);

// Rows of packed RGB to YCbCr.
using lumRgbToLuma = void(const uint8_t* src, uint32_t width, uint8_t* dstY);
using lumRgbToPlanes = void(const uint8_t* src, uint32_t width, uint8_t* dstY, uint8_t* dstCb,
                            uint8_t* dstCr);
using lumRgbToPseudoPlanes = void(const uint8_t* src, uint32_t width, uint8_t* dstY, uint8_t* dstC);

// A row of packed pixels of one format into another.
using lumPackedRow = void(const uint8_t* src, uint32_t width, uint8_t* dst);

// Lays out the work words of a grey image for the search of regions: the grey level and, for each
// neighbour, whether that is darker; counts the grey levels inside the frame. Image and words have
// `stride` elements to a row, a multiple of 32, of which `width` are the image's.
using lumMserPreProcess = void(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                               uint16_t* mask, uint32_t* histogram);
using lumMserNN8PreProcess = void(const uint8_t* src, uint32_t width, uint32_t height,
                                  uint32_t stride, uint32_t* mask, uint32_t* histogram);

// The four numbers of the rectangle around `count` points, at least one, given as pairs of x and y.
using lumMserBoundBox = void(const uint16_t* points, uint32_t count, uint16_t* rectangle);

#endif  // LUMEN_ROUTINE_TYPES_H
