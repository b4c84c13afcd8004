// FAST corners with arcs of 10, vector.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vorta/lumenFast10V.cpp"
#include <hwy/foreach_target.h>  // compiles this file once for each instruction set
// Must come after foreach_target.h.
#include <hwy/highway.h>

#include "lumenVector.h"
#include "vorta/lumenFast-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {
namespace {

void lumCornerFast10u8Rows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                           uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                           uint32_t nCornersMax, uint32_t* nCorners) {
  FindFast<10>({src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners},
               nullptr, nullptr);
}

void lumCornerFast10InMasku8Rows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                 uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                                 uint32_t nCornersMax, uint32_t* nCorners, const uint8_t* mask,
                                 uint32_t maskWidth, uint32_t maskHeight) {
  const lumFastMask places = {mask, maskWidth, maskHeight};
  FindFast<10>({src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners},
               &places, nullptr);
}

void lumCornerFast10Scoreu8Rows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                uint32_t srcStride, int32_t barrier, uint32_t border, uint32_t* xy,
                                uint32_t* scores, uint32_t nCornersMax, uint32_t* nCorners,
                                uint32_t nmsEnabled, uint32_t* tempBuf) {
  if (nmsEnabled) lumFastNeedsWork(tempBuf, LUM_FAST10_FILE, 1529);
  FindFastScored<10>(
      {src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners}, nullptr,
      scores, nmsEnabled ? tempBuf : nullptr);
}

void lumCornerFast10InMaskScoreu8Rows(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                      uint32_t srcStride, int32_t barrier, uint32_t border,
                                      uint32_t* xy, uint32_t* scores, uint32_t nCornersMax,
                                      uint32_t* nCorners, const uint8_t* mask, uint32_t maskWidth,
                                      uint32_t maskHeight, uint32_t nmsEnabled, uint32_t* tempBuf) {
  if (nmsEnabled) lumFastNeedsWork(tempBuf, LUM_FAST10_FILE, 1653);
  const lumFastMask places = {mask, maskWidth, maskHeight};
  FindFastScored<10>(
      {src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners}, &places,
      scores, nmsEnabled ? tempBuf : nullptr);
}

}  // namespace

LUM_KERNEL(lumCornerFast10u8) = lumCornerFast10u8Rows;
LUM_KERNEL(lumCornerFast10InMasku8) = lumCornerFast10InMasku8Rows;
LUM_KERNEL(lumCornerFast10Scoreu8) = lumCornerFast10Scoreu8Rows;
LUM_KERNEL(lumCornerFast10InMaskScoreu8) = lumCornerFast10InMaskScoreu8Rows;
constexpr lumCornerScore* fast10_corner_score = CornerScore<10>;

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
LUM_VECTOR(lumCornerFast10u8);
LUM_VECTOR(lumCornerFast10InMasku8);
LUM_VECTOR(lumCornerFast10Scoreu8);
LUM_VECTOR(lumCornerFast10InMaskScoreu8);
LUM_VECTOR_OF(lumCornerScore, fast10_corner_score);
#endif
