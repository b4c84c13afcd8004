#include "lumen/lumenHarris.h"

#include "lumenEntry.h"

// The parameters keep the documented names, which a refused call quotes.

void lumCornerHarrisu8(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                       uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* numcorners,
                       int32_t threshold) {
  const auto entry = LUM_ENTRY(lumCornerHarrisu8);
  lumPack(stride, width);
  LUM_CHECK(entry, src && xy && numcorners && width && height && (stride >= width) && width > 4 &&
                       height > 4);
  entry.call(src, width, height, stride, border, xy, nCornersMax, numcorners, threshold);
}

void lumCornerHarrisInMasku8(const uint8_t* srcImg, uint32_t width, uint32_t height,
                             uint32_t stride, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                             uint32_t* numcorners, int32_t threshold, const uint8_t* bitMask,
                             uint32_t maskWidth, uint32_t maskHeight) {
  const auto entry = LUM_ENTRY(lumCornerHarrisInMasku8);
  lumPack(stride, width);
  LUM_CHECK(entry, srcImg && xy && numcorners && bitMask && width && height && (stride >= width) &&
                       maskHeight && maskWidth);
  entry.call(srcImg, width, height, stride, border, xy, nCornersMax, numcorners, threshold, bitMask,
             maskWidth, maskHeight);
}

void lumCornerHarrisAdaptiveu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                               uint32_t srcStride, uint32_t border, uint32_t* xy,
                               uint32_t nCornersMax, uint32_t* nCorners, int32_t threshold) {
  const auto entry = LUM_ENTRY(lumCornerHarrisAdaptiveu8);
  lumPack(srcStride, srcWidth);
  LUM_CHECK(entry, src && xy && nCorners && srcWidth && srcHeight && srcStride >= srcWidth &&
                       srcWidth > 4 && srcHeight > 4);
  entry.call(src, srcWidth, srcHeight, srcStride, border, xy, nCornersMax, nCorners, threshold);
}

void lumCornerHarrisScoreu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                            uint32_t srcStride, uint32_t border, uint32_t* xy, int32_t* scores,
                            uint32_t nCornersMax, uint32_t* nCorners, int32_t threshold,
                            uint32_t nmsEnabled) {
  const auto entry = LUM_ENTRY(lumCornerHarrisScoreu8);
  lumPack(srcStride, srcWidth);
  LUM_CHECK(entry, src && xy && scores && nCorners && srcWidth && srcHeight &&
                       srcStride >= srcWidth && srcWidth > 4 && srcHeight > 4);
  entry.call(src, srcWidth, srcHeight, srcStride, border, xy, scores, nCornersMax, nCorners,
             threshold, nmsEnabled);
}

void lumLocalHarrisMaxu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                         uint32_t srcStride, uint32_t posX, uint32_t posY, uint32_t* maxX,
                         uint32_t* maxY, int32_t* maxScore) {
  const auto entry = LUM_ENTRY(lumLocalHarrisMaxu8);
  lumPack(srcStride, srcWidth);
  LUM_CHECK(entry, src && maxX && maxY && maxScore && srcWidth && srcHeight &&
                       srcStride >= srcWidth && posX < srcWidth && posY < srcHeight);
  entry.call(src, srcWidth, srcHeight, srcStride, posX, posY, maxX, maxY, maxScore);
}

void lumGoodFeatureToTracku8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                             uint32_t srcStride, uint32_t border, uint32_t* xy,
                             uint32_t nCornersMax, uint32_t* nCorners, float qualityLevel,
                             uint32_t minDistance) {
  const auto entry = LUM_ENTRY(lumGoodFeatureToTracku8);
  lumPack(srcStride, srcWidth);
  LUM_CHECK(entry, src && xy && nCorners && srcWidth && srcHeight && srcStride >= srcWidth &&
                       srcWidth > 4 && srcHeight > 4);
  entry.call(src, srcWidth, srcHeight, srcStride, border, xy, nCornersMax, nCorners, qualityLevel,
             minDistance);
}
