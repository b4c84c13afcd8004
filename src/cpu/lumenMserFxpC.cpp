// The search for maximally stable extremal regions: a whole call, and its reference routines.

#include "cpu/lumenMserFxp.h"

#include <pthread.h>

#include <algorithm>

#include "cpu/lumenRow.h"
#include "lumenRoutines.h"
#include "platform/lumenPlatform.h"

namespace {

#include "cpu/lumenMserFxp-inl.h"

// The words of the pixels inside the frame; MSER- has the grey levels inverted.
template <bool kPlus, class Word>
void preProcess(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, Word* mask,
                uint32_t* histogram) {
  using Layout = MSER_sWordOf<Word>;
  constexpr int kAround[8][2] = {{1, 0},  {1, 1},   {0, 1},  {-1, 1},
                                 {-1, 0}, {-1, -1}, {0, -1}, {1, -1}};
  const auto level = [src, stride](uint32_t x, uint32_t y) -> uint32_t {
    const uint8_t grey = src[size_t{y} * stride + x];
    return kPlus ? grey : 255 - grey;
  };
  std::fill_n(histogram, MSER_LEVELS, 0u);
  for (uint32_t y = 0; y < height; ++y) {
    Word* const row = mask + size_t{y} * stride;
    for (uint32_t x = 0; x < width; ++x) {
      if (x == 0 || y == 0 || x == width - 1 || y == height - 1) {
        row[x] = Layout::kFrame;
        continue;
      }
      const uint32_t own = level(x, y);
      uint32_t word = own | Layout::frameOfRow(y, height) | (x == 1 ? Layout::kLeft : 0) |
                      (x + 2 == width ? Layout::kRight : 0);
      for (uint32_t k = 0; k < Layout::kNeighbours; ++k) {
        const auto [dx, dy] = kAround[k * Layout::kStep];
        const uint32_t other = level(x + static_cast<uint32_t>(dx), y + static_cast<uint32_t>(dy));
        word |= static_cast<uint32_t>(other < own) << (Layout::kDarkerShift + k);
      }
      row[x] = static_cast<Word>(word);
      ++histogram[own];
    }
  }
}

// Least and greatest x and y.
struct Bounds {
  uint16_t left = UINT16_MAX, top = UINT16_MAX, right = 0, bottom = 0;
};
Bounds boundsOf(const uint16_t* points, uint32_t count) {
  Bounds bounds;
  for (uint32_t k = 0; k < count; ++k) {
    bounds.left = std::min(bounds.left, points[2 * size_t{k}]);
    bounds.right = std::max(bounds.right, points[2 * size_t{k}]);
    bounds.top = std::min(bounds.top, points[2 * size_t{k} + 1]);
    bounds.bottom = std::max(bounds.bottom, points[2 * size_t{k} + 1]);
  }
  return bounds;
}

struct Walker {
  MSER_sHandle* handle;
  const MSER_sWalks* walks;
  MSER_eResult minus, plus;
};

MSER_eResult walk(const Walker& walker, MSER_sPolarity& polarity, lumMserPreProcess* preProcess,
                  lumMserNN8PreProcess* preProcessNN8) {
  const MSER_sHandle& handle = *walker.handle;
  const MSER_sSize& size = handle.size;
  uint32_t histogram[MSER_LEVELS];
  MSER_eResult result;
  if (handle.nn8) {
    preProcessNN8(handle.pSource, size.nWidth, size.nHeight, size.nStride,
                  static_cast<uint32_t*>(polarity.pMask), histogram);
    result = walker.walks->nn8(handle, polarity, histogram);
  } else {
    preProcess(handle.pSource, size.nWidth, size.nHeight, size.nStride,
               static_cast<uint16_t*>(polarity.pMask), histogram);
    result = walker.walks->nn4(handle, polarity, histogram);
  }
  if (result != MSER_CUT) return result;
  lumLog(LUM_LOG_ERROR, "lumen_lib_log",
         "ERROR: maxContours = %i,  detected more MSER regions beyond this capacity. Please "
         "consider increasing maxContours.\n",
         static_cast<int>(handle.nMaxContours));
  lumLog(LUM_LOG_ERROR, "lumen_lib_log", "ERROR: failed to extract MSER%c.\n",
         polarity.isPlus ? '+' : '-');
  return result;
}

void* MSER_ThreadPlus(void* argument) {
  Walker& walker = *static_cast<Walker*>(argument);
  walker.plus = walk(walker, walker.handle->plus, LUM_ROUTINES.MSER_PreProcessPlus,
                     LUM_ROUTINES.MSER_NN8_PreProcessPlus);
  return nullptr;
}

void* MSER_ThreadMinus(void* argument) {
  Walker& walker = *static_cast<Walker*>(argument);
  walker.minus = walk(walker, walker.handle->minus, LUM_ROUTINES.MSER_PreProcessMinus,
                      LUM_ROUTINES.MSER_NN8_PreProcessMinus);
  return nullptr;
}

// Both polarities, on two threads when that is wanted and can be had.
void walkBoth(Walker& walker, bool threading) {
  pthread_t thread;
  if (threading && pthread_create(&thread, nullptr, MSER_ThreadMinus, &walker) == 0) {
    MSER_ThreadPlus(&walker);
    pthread_join(thread, nullptr);
    return;
  }
  MSER_ThreadMinus(&walker);
  MSER_ThreadPlus(&walker);
}

// What a smaller image makes of the handle's size. The greatest area goes with the image's.
MSER_sSize sizeFor(const MSER_sSize& whole, const MSER_sImage& image) {
  if (image.width == whole.nWidth && image.height == whole.nHeight) return whole;
  const float share =
      static_cast<float>(whole.nMaxSize) / static_cast<float>(whole.nWidth * whole.nHeight);
  const float maxSize = share * static_cast<float>(image.width) * static_cast<float>(image.height);
  return {(image.width - 2) * (image.height - 2), (image.width + 31) / 32 * 32,
          static_cast<uint32_t>(maxSize), image.width, image.height};
}

int32_t extract(MSER_sHandle& handle, const MSER_sImage& image, const MSER_sOutput& output,
                const MSER_sWalks& walks) {
  if (image.width < 3 || image.height < 3) return MSER_COMPLETE;  // nothing inside the frame
  if (!MSER_fromLUMapi(handle, image, output)) return MSER_FAILED;
  constexpr uint32_t kPixelsWorthThreads = 1 << 13;
  const bool threading = handle.threading && handle.size.nNumPixels >= kPixelsWorthThreads;
  Walker walker = {&handle, &walks, MSER_FAILED, MSER_FAILED};
  walkBoth(walker, threading);
  if (walker.minus == MSER_FAILED || walker.plus == MSER_FAILED) return MSER_FAILED;
  const MSER_eResult result = MSER_toLUMapi(handle, output, threading);
  const bool cut = walker.minus == MSER_CUT || walker.plus == MSER_CUT;
  return result == MSER_COMPLETE && cut ? MSER_CUT : result;
}

int32_t initialise(uint32_t width, uint32_t height, uint32_t delta, uint32_t minArea,
                   uint32_t maxArea, float maxVariation, float minDiversity, bool nn8,
                   void** mserHandle) {
  const uint16_t width16 = static_cast<uint16_t>(width), height16 = static_cast<uint16_t>(height);
  const uint16_t stride = static_cast<uint16_t>((width16 + 31) & ~31);
  MSER_sHandle* const handle =
      MSER_Initialize(width16, height16, stride, static_cast<int32_t>(delta), minArea, maxArea,
                      maxVariation, minDiversity, nn8);
  if (!handle) {
    lumLog(LUM_LOG_ERROR, "lumen_lib_log", "Failed to initialize MSER handle!\n");
    return 0;
  }
  *mserHandle = handle;
  return 1;
}

}  // namespace

int32_t MSER_Extract(void* handle, MSER_eHandles kind, const MSER_sImage& image,
                     const MSER_sOutput& output, const MSER_sWalks& walks) {
  if (!handle) return MSER_FAILED;
  MSER_sHandle& mser = *static_cast<MSER_sHandle*>(handle);
  if (kind != MSER_eHandles::both && mser.nn8 != (kind == MSER_eHandles::nn8)) return MSER_FAILED;
  if (image.height > mser.size.nHeight || image.width > mser.size.nWidth ||
      image.width > image.stride) {
    return MSER_FAILED;
  }
  output.setCounts(0, 0);
  const MSER_sSize whole = mser.size;
  mser.size = sizeFor(whole, image);
  const int32_t result = extract(mser, image, output, walks);
  mser.size = whole;
  return result;
}

void MSER_PreProcessPlusC(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                          uint16_t* mask, uint32_t* histogram) {
  preProcess<true>(src, width, height, stride, mask, histogram);
}
void MSER_PreProcessMinusC(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                           uint16_t* mask, uint32_t* histogram) {
  preProcess<false>(src, width, height, stride, mask, histogram);
}
void MSER_NN8_PreProcessPlusC(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                              uint32_t* mask, uint32_t* histogram) {
  preProcess<true>(src, width, height, stride, mask, histogram);
}
void MSER_NN8_PreProcessMinusC(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                               uint32_t* mask, uint32_t* histogram) {
  preProcess<false>(src, width, height, stride, mask, histogram);
}

void MSER_boundBoxC(const uint16_t* points, uint32_t count, uint16_t* rectangle) {
  const auto [left, top, right, bottom] = boundsOf(points, count);
  rectangle[0] = left;
  rectangle[1] = top;
  rectangle[2] = right;
  rectangle[3] = bottom;
}
void MSER_boundBox_v3C(const uint16_t* points, uint32_t count, uint16_t* rectangle) {
  const auto [left, top, right, bottom] = boundsOf(points, count);
  rectangle[0] = left;
  rectangle[1] = top;
  rectangle[2] = static_cast<uint16_t>(right - left + 1);
  rectangle[3] = static_cast<uint16_t>(bottom - top + 1);
}

int32_t lumMserInitFxpC(uint32_t width, uint32_t height, uint32_t delta, uint32_t minArea,
                        uint32_t maxArea, float maxVariation, float minDiversity,
                        void** mserHandle) {
  return initialise(width, height, delta, minArea, maxArea, maxVariation, minDiversity, false,
                    mserHandle);
}
int32_t lumMserNN8InitC(uint32_t width, uint32_t height, uint32_t delta, uint32_t minArea,
                        uint32_t maxArea, float maxVariation, float minDiversity,
                        void** mserHandle) {
  return initialise(width, height, delta, minArea, maxArea, maxVariation, minDiversity, true,
                    mserHandle);
}
void lumMserReleaseFxpC(void* mserHandle) { MSER_Release(static_cast<MSER_sHandle*>(mserHandle)); }

void lumMseru8FxpSTC(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth, uint32_t srcHeight,
                     uint32_t srcStride, uint32_t maxContours, uint32_t* numContours,
                     uint32_t* numPointsInContour, uint32_t pointsArraySize,
                     uint32_t* pointsArray) {
  MSER_Plain<MSER_eHandles::nn4>(mserHandle, srcPtr, srcWidth, srcHeight, srcStride, maxContours,
                                 numContours, numPointsInContour, pointsArraySize, pointsArray);
}
void lumMserNN8u8STC(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth, uint32_t srcHeight,
                     uint32_t srcStride, uint32_t maxContours, uint32_t* numContours,
                     uint32_t* numPointsInContour, uint32_t pointsArraySize,
                     uint32_t* pointsArray) {
  MSER_Plain<MSER_eHandles::nn8>(mserHandle, srcPtr, srcWidth, srcHeight, srcStride, maxContours,
                                 numContours, numPointsInContour, pointsArraySize, pointsArray);
}
void lumMserExtu8FxpSTC(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                        uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                        uint32_t* numContours, uint32_t* numPointsInContour, uint32_t* pointsArray,
                        uint32_t pointsArraySize, uint32_t* contourVariation,
                        int32_t* contourPolarity, uint32_t* contourNodeId,
                        uint32_t* contourNodeCounter) {
  MSER_Extended<MSER_eHandles::nn4>(mserHandle, srcPtr, srcWidth, srcHeight, srcStride, maxContours,
                                    numContours, numPointsInContour, pointsArray, pointsArraySize,
                                    contourVariation, contourPolarity, contourNodeId,
                                    contourNodeCounter);
}
void lumMserExtNN8u8STC(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                        uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                        uint32_t* numContours, uint32_t* numPointsInContour, uint32_t* pointsArray,
                        uint32_t pointsArraySize, uint32_t* contourVariation,
                        int32_t* contourPolarity, uint32_t* contourNodeId,
                        uint32_t* contourNodeCounter) {
  MSER_Extended<MSER_eHandles::nn8>(mserHandle, srcPtr, srcWidth, srcHeight, srcStride, maxContours,
                                    numContours, numPointsInContour, pointsArray, pointsArraySize,
                                    contourVariation, contourPolarity, contourNodeId,
                                    contourNodeCounter);
}
int32_t lumMseru8_v2STC(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                        uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                        uint32_t* numContours, uint32_t* numPointsInContour,
                        uint16_t* boundingRects, uint32_t pointsArraySize, uint16_t* pointsArray) {
  return MSER_WithRects(mserHandle, srcPtr, srcWidth, srcHeight, srcStride, maxContours,
                        numContours, numPointsInContour, boundingRects, pointsArraySize,
                        pointsArray);
}
int32_t lumMserExtu8_v2STC(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                           uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                           uint32_t* numContours, uint32_t* numPointsInContour,
                           uint16_t* boundingRects, uint16_t* pointsArray, uint32_t pointsArraySize,
                           uint32_t* contourVariation, int32_t* contourPolarity,
                           uint32_t* contourNodeId, uint32_t* contourNodeCounter) {
  return MSER_ExtendedWithRects<MSER_eRects::corners>(
      mserHandle, srcPtr, srcWidth, srcHeight, srcStride, maxContours, numContours,
      numPointsInContour, boundingRects, pointsArray, pointsArraySize, contourVariation,
      contourPolarity, contourNodeId, contourNodeCounter);
}
int32_t lumMserExtu8_v3STC(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                           uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                           uint32_t* numContours, uint32_t* numPointsInContour,
                           uint16_t* boundingRects, uint16_t* pointsArray, uint32_t pointsArraySize,
                           uint32_t* contourVariation, int32_t* contourPolarity,
                           uint32_t* contourNodeId, uint32_t* contourNodeCounter) {
  return MSER_ExtendedWithRects<MSER_eRects::sizes>(
      mserHandle, srcPtr, srcWidth, srcHeight, srcStride, maxContours, numContours,
      numPointsInContour, boundingRects, pointsArray, pointsArraySize, contourVariation,
      contourPolarity, contourNodeId, contourNodeCounter);
}
int32_t lumMserSplitExtu8STC(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                             uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                             uint32_t* numContoursMinus, uint32_t* numContoursPlus,
                             uint32_t* numPointsInContour, uint16_t* boundingRects,
                             uint16_t* pointsArray, uint32_t pointsArraySize,
                             uint32_t* contourVariation, uint32_t* contourNodeId,
                             uint32_t* contourNodeCounter) {
  return MSER_Extract(mserHandle, MSER_eHandles::both, {srcPtr, srcWidth, srcHeight, srcStride},
                      {.nMaxContours = maxContours,
                       .numContoursMinus = numContoursMinus,
                       .numContoursPlus = numContoursPlus,
                       .numPointsInContour = numPointsInContour,
                       .nPointsArraySize = pointsArraySize,
                       .points16 = pointsArray,
                       .rects = MSER_eRects::corners,
                       .boundingRects = boundingRects,
                       .ext = {contourVariation, nullptr, contourNodeId, contourNodeCounter}},
                      MSER_WALKS);
}

void lumMserSetThreading(void* mserHandle, uint32_t threading) {
  if (mserHandle) static_cast<MSER_sHandle*>(mserHandle)->threading = threading != 0;
}
