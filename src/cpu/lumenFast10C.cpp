// FAST corners with arcs of 10, reference.

#include "cpu/lumenFastArc.h"

uint32_t fast10_corner_scoreC(const uint8_t* p, const int32_t* offsets, int32_t barrier) {
  return lumBisectScore<10>(p, offsets, barrier);
}

void lumCornerFast10u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                        uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                        uint32_t nCornersMax, uint32_t* nCorners) {
  lumFindCorners<10>(
      {src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners});
}

void lumCornerFast10InMasku8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                              uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                              uint32_t nCornersMax, uint32_t* nCorners, const uint8_t* mask,
                              uint32_t maskWidth, uint32_t maskHeight) {
  lumFindCorners<10>(
      {src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners},
      {mask, maskWidth, maskHeight});
}

void lumCornerFast10Scoreu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                             uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                             uint32_t* scores, uint32_t nCornersMax, uint32_t* nCorners,
                             uint32_t nmsEnabled, uint32_t* tempBuf) {
  if (nmsEnabled) lumFastNeedsWork(tempBuf, LUM_FAST10_FILE, 1529);
  lumFindScored({src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners},
                scores, LUM_ROUTINES.fast10_corner_score, nmsEnabled ? tempBuf : nullptr,
                lumFindBy(lumCornerFast10u8));
}

void lumCornerFast10InMaskScoreu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                   uint32_t srcStride, int32_t barrier, uint32_t border,
                                   uint32_t* xy, uint32_t* scores, uint32_t nCornersMax,
                                   uint32_t* nCorners, const uint8_t* mask, uint32_t maskWidth,
                                   uint32_t maskHeight, uint32_t nmsEnabled, uint32_t* tempBuf) {
  if (nmsEnabled) lumFastNeedsWork(tempBuf, LUM_FAST10_FILE, 1653);
  lumFindScored({src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners},
                scores, LUM_ROUTINES.fast10_corner_score, nmsEnabled ? tempBuf : nullptr,
                lumFindBy(lumCornerFast10InMasku8, mask, maskWidth, maskHeight));
}
