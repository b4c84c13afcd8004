// What the implementations of FAST corners share.

#ifndef LUMEN_FAST_INTERNAL_H
#define LUMEN_FAST_INTERNAL_H

#include <cstddef>
#include <cstdint>

#include "lumenRoutines.h"

inline constexpr int LUM_CIRCLE = 16;

// The circle of radius 3 around a pixel, y growing downwards.
struct lumCirclePlace {
  int8_t dx, dy;
};
inline constexpr lumCirclePlace LUM_CIRCLE_PLACE[LUM_CIRCLE] = {
    {0, 3},  {1, 3},   {2, 2},   {3, 1},   {3, 0},  {3, -1}, {2, -2}, {1, -3},
    {0, -3}, {-1, -3}, {-2, -2}, {-3, -1}, {-3, 0}, {-3, 1}, {-2, 2}, {-1, 3}};

// A search: the image, where it looks, and where corners go. The border is at least 3 and leaves
// pixels over.
struct lumFastSearch {
  const uint8_t* src;
  uint32_t width, height, stride;
  int32_t barrier;
  uint32_t border;
  uint32_t* xy;
  uint32_t capacity;
  uint32_t* count;
};

struct lumFastMask {
  const uint8_t* bits;
  uint32_t width, height;
};

// Which place of a mask belongs to a pixel: its coordinates shifted to the left by `larger` for a
// mask larger than the image, to the right by `smaller` for a smaller one.
struct lumFastMaskScale {
  bool isKnown;
  uint32_t larger, smaller;
};
lumFastMaskScale lumFastScaleOf(const lumFastMask& mask, uint32_t width, uint32_t height);

// Whether no corner is looked for at a pixel.
inline bool lumFastIsMasked(const lumFastMask& mask, const lumFastMaskScale& scale, uint32_t x,
                            uint32_t y) {
  const size_t mx = size_t{x} << scale.larger >> scale.smaller;
  const size_t my = size_t{y} << scale.larger >> scale.smaller;
  const size_t rowBytes = (size_t{mask.width} + 7) / 8;
  return mask.bits[my * rowBytes + mx / 8] >> (7 - mx % 8) & 1;
}

// The parts of the work area of a search that suppresses.
struct lumFastWork {
  uint32_t *xy, *scores, *rowStart;

  lumFastWork(uint32_t* tempBuf, uint32_t capacity)
      : xy(tempBuf),
        scores(tempBuf + 2 * size_t{capacity}),
        rowStart(tempBuf + 3 * size_t{capacity}) {}
};

// Where each circle place lies in memory, seen from the centre.
void make_offsets(int32_t* offsets, uint32_t stride);

// The scores of the first nCorners corners of `xy` with arcs of 9; a stride of 0 is the width.
void score_9(const uint8_t* src, uint32_t srcWidth, int32_t barrier, uint32_t nCorners,
             const uint32_t* xy, uint32_t* scores, uint32_t srcStride);

// The same by any routine.
void lumFastScore(lumCornerScore* score, const lumFastSearch& search, uint32_t count,
                  const uint32_t* xy, uint32_t* scores);

// Copies the corners that no neighbour is as strong as. `rowStart` has a place for each row up to
// that of the last candidate.
void nms_processing(const uint32_t* candXY, const uint32_t* candScores, uint32_t* rowStart,
                    uint32_t count, uint32_t* outXY, uint32_t* outScores, uint32_t* outCount);

// Ends the process with a message where there is no work area. The places in the message are those
// by which it is known, not those in today's sources.
inline constexpr const char* LUM_FAST9_FILE = "src/cpu/lumenFastC.cpp";
inline constexpr const char* LUM_FAST10_FILE = "src/cpu/lumenFast10C.cpp";
void lumFastNeedsWork(const uint32_t* tempBuf, const char* file, int line);

#endif  // LUMEN_FAST_INTERNAL_H
