// FAST corners with arcs of 9, vector.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vorta/lumenFastV.cpp"
#include <hwy/foreach_target.h>  // compiles this file once for each instruction set
// Must come after foreach_target.h.
#include <hwy/highway.h>

#include "lumenVector.h"
#include "vorta/lumenFast-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {
namespace {

void lumCornerFast9u8Rows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                          uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                          uint32_t nCornersMax, uint32_t* nCorners) {
  FindFast<9>({src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners},
              nullptr, nullptr);
}

void lumCornerFast9InMasku8Rows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                                uint32_t nCornersMax, uint32_t* nCorners, const uint8_t* bitMask,
                                uint32_t maskWidth, uint32_t maskHeight) {
  const lumFastMask places = {bitMask, maskWidth, maskHeight};
  FindFast<9>({src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners},
              &places, nullptr);
}

void lumCornerFast9Scoreu8Rows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                               uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                               uint32_t* scores, uint32_t nCornersMax, uint32_t* nCorners) {
  FindFast<9>({src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners},
              nullptr, scores);
}

void lumCornerFast9InMaskScoreu8Rows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                     uint32_t srcStride, int32_t barrier, uint32_t border,
                                     uint32_t* xy, uint32_t* scores, uint32_t nCornersMax,
                                     uint32_t* nCorners, const uint8_t* bitMask, uint32_t maskWidth,
                                     uint32_t maskHeight) {
  const lumFastMask places = {bitMask, maskWidth, maskHeight};
  FindFast<9>({src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners},
              &places, scores);
}

void lumCornerFast9Scoreu8_v2Rows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                  uint32_t srcStride, int32_t barrier, uint32_t border,
                                  uint32_t* xy, uint32_t* scores, uint32_t nCornersMax,
                                  uint32_t* nCorners, uint32_t nmsEnabled, uint32_t* tempBuf) {
  if (nmsEnabled) lumFastNeedsWork(tempBuf, LUM_FAST9_FILE, 3097);
  FindFastScored<9>(
      {src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners}, nullptr,
      scores, nmsEnabled ? tempBuf : nullptr);
}

void lumCornerFast9InMaskScoreu8_v2Rows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, int32_t barrier, uint32_t border,
                                        uint32_t* xy, uint32_t* scores, uint32_t nCornersMax,
                                        uint32_t* nCorners, const uint8_t* bitMask,
                                        uint32_t maskWidth, uint32_t maskHeight,
                                        uint32_t nmsEnabled, uint32_t* tempBuf) {
  if (nmsEnabled) lumFastNeedsWork(tempBuf, LUM_FAST9_FILE, 3143);
  const lumFastMask places = {bitMask, maskWidth, maskHeight};
  FindFastScored<9>(
      {src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners}, &places,
      scores, nmsEnabled ? tempBuf : nullptr);
}

}  // namespace

LUM_KERNEL(lumCornerFast9u8) = lumCornerFast9u8Rows;
LUM_KERNEL(lumCornerFast9InMasku8) = lumCornerFast9InMasku8Rows;
LUM_KERNEL(lumCornerFast9Scoreu8) = lumCornerFast9Scoreu8Rows;
LUM_KERNEL(lumCornerFast9InMaskScoreu8) = lumCornerFast9InMaskScoreu8Rows;
LUM_KERNEL(lumCornerFast9Scoreu8_v2) = lumCornerFast9Scoreu8_v2Rows;
LUM_KERNEL(lumCornerFast9InMaskScoreu8_v2) = lumCornerFast9InMaskScoreu8_v2Rows;
constexpr lumCornerScore* fast9_corner_score = CornerScore<9>;

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
LUM_VECTOR(lumCornerFast9u8);
LUM_VECTOR(lumCornerFast9InMasku8);
LUM_VECTOR(lumCornerFast9Scoreu8);
LUM_VECTOR(lumCornerFast9InMaskScoreu8);
LUM_VECTOR(lumCornerFast9Scoreu8_v2);
LUM_VECTOR(lumCornerFast9InMaskScoreu8_v2);
LUM_VECTOR_OF(lumCornerScore, fast9_corner_score);
#endif
