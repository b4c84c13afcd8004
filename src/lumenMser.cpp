#include "lumen/lumenMser.h"

#include "lumenEntry.h"

namespace {

// A row that has another name than its public function, which the log quotes.
#define LUM_ENTRY_OF(name, row) \
  lumEntry<decltype(name)>(LUM_FUNC_TABLE.row, LUM_IMPL_INDEX[LUM_FN_##row], #name)

// What remote units ask of every extraction; of the later forms that the image is worth it, too.
template <class F, class... T>
void needs(lumEntry<F>& entry, uint32_t srcWidth, uint32_t srcHeight, T... aligned) {
  if (entry.onDsp() && !LUM_ENTRY_SWITCHES.forcedRemote) {
    entry.needs(lumMultipleOf<8>(aligned...));
  }
  if (entry.onGpu()) entry.needs(lumMultipleOf<2>(srcWidth, srcHeight));
}
template <class F>
void needsSize(lumEntry<F>& entry, uint32_t srcWidth, uint32_t srcHeight) {
  if (entry.onDsp()) entry.needs(lumWorthRemote(srcWidth, srcHeight, 4, 3));
}

// The parameters keep the documented names, which a refused call quotes.
template <class F>
auto init(lumEntry<F> entry, uint32_t width, uint32_t height, uint32_t delta, uint32_t minArea,
          uint32_t maxArea, float maxVariation, float minDiversity, void** mserHandle) {
  LUM_CHECK(entry, mserHandle);
  return entry.call(width, height, delta, minArea, maxArea, maxVariation, minDiversity, mserHandle);
}

template <class F>
void plain(lumEntry<F> entry, void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
           uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours, uint32_t* numContours,
           uint32_t* numPointsInContour, uint32_t pointsArraySize, uint32_t* pointsArray) {
  lumPack(srcStride, srcWidth);
  needs(entry, srcWidth, srcHeight, srcPtr, numContours, numPointsInContour, pointsArray,
        srcStride);
  LUM_CHECK(entry, mserHandle && srcPtr && numContours && numPointsInContour && pointsArray);
  entry.call(mserHandle, srcPtr, srcWidth, srcHeight, srcStride, maxContours, numContours,
             numPointsInContour, pointsArraySize, pointsArray);
}

template <class F>
void extended(lumEntry<F> entry, void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
              uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours, uint32_t* numContours,
              uint32_t* numPointsInContour, uint32_t* pointsArray, uint32_t pointsArraySize,
              uint32_t* contourVariation, int32_t* contourPolarity, uint32_t* contourNodeId,
              uint32_t* contourNodeCounter) {
  lumPack(srcStride, srcWidth);
  needs(entry, srcWidth, srcHeight, srcPtr, numContours, numPointsInContour, pointsArray,
        srcStride);
  LUM_CHECK(entry, mserHandle && srcPtr && numContours && numPointsInContour && pointsArray &&
                       contourVariation && contourPolarity && contourNodeId && contourNodeCounter);
  entry.call(mserHandle, srcPtr, srcWidth, srcHeight, srcStride, maxContours, numContours,
             numPointsInContour, pointsArray, pointsArraySize, contourVariation, contourPolarity,
             contourNodeId, contourNodeCounter);
}

template <class F>
int32_t withRects(lumEntry<F> entry, void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                  uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                  uint32_t* numContours, uint32_t* numPointsInContour, uint16_t* boundingRects,
                  uint16_t* pointsArray, uint32_t pointsArraySize, uint32_t* contourVariation,
                  int32_t* contourPolarity, uint32_t* contourNodeId, uint32_t* contourNodeCounter) {
  lumPack(srcStride, srcWidth);
  needs(entry, srcWidth, srcHeight, srcPtr, numContours, numPointsInContour, pointsArray,
        srcStride);
  needsSize(entry, srcWidth, srcHeight);
  LUM_CHECK(entry, mserHandle && srcPtr && numContours && numPointsInContour && boundingRects &&
                       pointsArray && contourVariation && contourPolarity && contourNodeId &&
                       contourNodeCounter);
  return entry.call(mserHandle, srcPtr, srcWidth, srcHeight, srcStride, maxContours, numContours,
                    numPointsInContour, boundingRects, pointsArray, pointsArraySize,
                    contourVariation, contourPolarity, contourNodeId, contourNodeCounter);
}

}  // namespace

int32_t lumMserInit(uint32_t width, uint32_t height, uint32_t delta, uint32_t minArea,
                    uint32_t maxArea, float maxVariation, float minDiversity, void** mserHandle) {
  return init(LUM_ENTRY_OF(lumMserInit, lumMserInitFxp), width, height, delta, minArea, maxArea,
              maxVariation, minDiversity, mserHandle);
}

int32_t lumMserNN8Init(uint32_t width, uint32_t height, uint32_t delta, uint32_t minArea,
                       uint32_t maxArea, float maxVariation, float minDiversity,
                       void** mserHandle) {
  return init(LUM_ENTRY(lumMserNN8Init), width, height, delta, minArea, maxArea, maxVariation,
              minDiversity, mserHandle);
}

void lumMserRelease(void* mserHandle) {
  const auto entry = LUM_ENTRY_OF(lumMserRelease, lumMserReleaseFxp);
  LUM_CHECK(entry, mserHandle);
  entry.call(mserHandle);
}

void lumMseru8(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth, uint32_t srcHeight,
               uint32_t srcStride, uint32_t maxContours, uint32_t* numContours,
               uint32_t* numPointsInContour, uint32_t pointsArraySize, uint32_t* pointsArray) {
  plain(LUM_ENTRY_OF(lumMseru8, lumMseru8FxpST), mserHandle, srcPtr, srcWidth, srcHeight, srcStride,
        maxContours, numContours, numPointsInContour, pointsArraySize, pointsArray);
}

void lumMserNN8u8(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth, uint32_t srcHeight,
                  uint32_t srcStride, uint32_t maxContours, uint32_t* numContours,
                  uint32_t* numPointsInContour, uint32_t pointsArraySize, uint32_t* pointsArray) {
  plain(LUM_ENTRY_OF(lumMserNN8u8, lumMserNN8u8ST), mserHandle, srcPtr, srcWidth, srcHeight,
        srcStride, maxContours, numContours, numPointsInContour, pointsArraySize, pointsArray);
}

void lumMserExtu8(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth, uint32_t srcHeight,
                  uint32_t srcStride, uint32_t maxContours, uint32_t* numContours,
                  uint32_t* numPointsInContour, uint32_t* pointsArray, uint32_t pointsArraySize,
                  uint32_t* contourVariation, int32_t* contourPolarity, uint32_t* contourNodeId,
                  uint32_t* contourNodeCounter) {
  extended(LUM_ENTRY_OF(lumMserExtu8, lumMserExtu8FxpST), mserHandle, srcPtr, srcWidth, srcHeight,
           srcStride, maxContours, numContours, numPointsInContour, pointsArray, pointsArraySize,
           contourVariation, contourPolarity, contourNodeId, contourNodeCounter);
}

void lumMserExtNN8u8(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth, uint32_t srcHeight,
                     uint32_t srcStride, uint32_t maxContours, uint32_t* numContours,
                     uint32_t* numPointsInContour, uint32_t* pointsArray, uint32_t pointsArraySize,
                     uint32_t* contourVariation, int32_t* contourPolarity, uint32_t* contourNodeId,
                     uint32_t* contourNodeCounter) {
  extended(LUM_ENTRY_OF(lumMserExtNN8u8, lumMserExtNN8u8ST), mserHandle, srcPtr, srcWidth,
           srcHeight, srcStride, maxContours, numContours, numPointsInContour, pointsArray,
           pointsArraySize, contourVariation, contourPolarity, contourNodeId, contourNodeCounter);
}

int32_t lumMseru8_v2(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth, uint32_t srcHeight,
                     uint32_t srcStride, uint32_t maxContours, uint32_t* numContours,
                     uint32_t* numPointsInContour, uint16_t* boundingRects,
                     uint32_t pointsArraySize, uint16_t* pointsArray) {
  auto entry = LUM_ENTRY_OF(lumMseru8_v2, lumMseru8_v2ST);
  lumPack(srcStride, srcWidth);
  needs(entry, srcWidth, srcHeight, srcPtr, numContours, numPointsInContour, pointsArray,
        srcStride);
  needsSize(entry, srcWidth, srcHeight);
  LUM_CHECK(entry, mserHandle && srcPtr && numContours && numPointsInContour && boundingRects &&
                       pointsArray);
  return entry.call(mserHandle, srcPtr, srcWidth, srcHeight, srcStride, maxContours, numContours,
                    numPointsInContour, boundingRects, pointsArraySize, pointsArray);
}

int32_t lumMserExtu8_v2(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                        uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                        uint32_t* numContours, uint32_t* numPointsInContour,
                        uint16_t* boundingRects, uint16_t* pointsArray, uint32_t pointsArraySize,
                        uint32_t* contourVariation, int32_t* contourPolarity,
                        uint32_t* contourNodeId, uint32_t* contourNodeCounter) {
  return withRects(LUM_ENTRY_OF(lumMserExtu8_v2, lumMserExtu8_v2ST), mserHandle, srcPtr, srcWidth,
                   srcHeight, srcStride, maxContours, numContours, numPointsInContour,
                   boundingRects, pointsArray, pointsArraySize, contourVariation, contourPolarity,
                   contourNodeId, contourNodeCounter);
}

int32_t lumMserExtu8_v3(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                        uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                        uint32_t* numContours, uint32_t* numPointsInContour,
                        uint16_t* boundingRects, uint16_t* pointsArray, uint32_t pointsArraySize,
                        uint32_t* contourVariation, int32_t* contourPolarity,
                        uint32_t* contourNodeId, uint32_t* contourNodeCounter) {
  return withRects(LUM_ENTRY_OF(lumMserExtu8_v3, lumMserExtu8_v3ST), mserHandle, srcPtr, srcWidth,
                   srcHeight, srcStride, maxContours, numContours, numPointsInContour,
                   boundingRects, pointsArray, pointsArraySize, contourVariation, contourPolarity,
                   contourNodeId, contourNodeCounter);
}

int32_t lumMserSplitExtu8(void* mserHandle, const uint8_t* srcPtr, uint32_t srcWidth,
                          uint32_t srcHeight, uint32_t srcStride, uint32_t maxContours,
                          uint32_t* numContoursMinus, uint32_t* numContoursPlus,
                          uint32_t* numPointsInContour, uint16_t* boundingRects,
                          uint16_t* pointsArray, uint32_t pointsArraySize,
                          uint32_t* contourVariation, uint32_t* contourNodeId,
                          uint32_t* contourNodeCounter) {
  lumEntry<decltype(lumMserSplitExtu8)> entry(
      LUM_INTERNAL_FUNC_TABLE.lumMserSplitExtu8ST,
      LUM_INTERNAL_IMPL_INDEX[LUM_INTERNAL_FN_lumMserSplitExtu8ST], "lumMserSplitExtu8");
  lumPack(srcStride, srcWidth);
  needs(entry, srcWidth, srcHeight, srcPtr, numContoursMinus, numContoursPlus, numPointsInContour,
        pointsArray, srcStride);
  needsSize(entry, srcWidth, srcHeight);
  LUM_CHECK(entry, mserHandle && srcPtr && numContoursMinus && numContoursPlus &&
                       numPointsInContour && boundingRects && pointsArray && contourVariation &&
                       contourNodeId && contourNodeCounter);
  return entry.call(mserHandle, srcPtr, srcWidth, srcHeight, srcStride, maxContours,
                    numContoursMinus, numContoursPlus, numPointsInContour, boundingRects,
                    pointsArray, pointsArraySize, contourVariation, contourNodeId,
                    contourNodeCounter);
}
