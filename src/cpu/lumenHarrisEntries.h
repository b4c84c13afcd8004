// The implementations of the public Harris functions, by the scan that each column has.

#ifndef LUMEN_HARRIS_ENTRIES_H
#define LUMEN_HARRIS_ENTRIES_H

#include "cpu/lumenHarris.h"

template <lumHarrisScan* kScan>
struct lumHarrisWith {
  static void corners(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                      uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners,
                      int32_t threshold) {
    lumHarrisCorners(kScan, {{src, width, height, stride}, border, xy, nCornersMax, nCorners},
                     threshold, lumHarrisMaxima::strict, nullptr, nullptr);
  }
  static void inMask(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                     uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners,
                     int32_t threshold, const uint8_t* bitMask, uint32_t maskWidth,
                     uint32_t maskHeight) {
    const lumFastMask mask = {bitMask, maskWidth, maskHeight};
    lumHarrisCorners(kScan, {{src, width, height, stride}, border, xy, nCornersMax, nCorners},
                     threshold, lumHarrisMaxima::strict, nullptr, &mask);
  }
  static void adaptive(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                       uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners,
                       int32_t threshold) {
    lumHarrisAdaptive(kScan, {{src, width, height, stride}, border, xy, nCornersMax, nCorners},
                      threshold);
  }
  static void score(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                    uint32_t border, uint32_t* xy, int32_t* scores, uint32_t nCornersMax,
                    uint32_t* nCorners, int32_t threshold, uint32_t nmsEnabled) {
    lumHarrisCorners(kScan, {{src, width, height, stride}, border, xy, nCornersMax, nCorners},
                     threshold, nmsEnabled ? lumHarrisMaxima::strict : lumHarrisMaxima::all, scores,
                     nullptr);
  }
  static void localMax(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                       uint32_t posX, uint32_t posY, uint32_t* maxX, uint32_t* maxY,
                       int32_t* maxScore) {
    lumHarrisLocalMax(kScan, {src, width, height, stride}, posX, posY, maxX, maxY, maxScore);
  }
  static void goodFeatures(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                           uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners,
                           float qualityLevel, uint32_t minDistance) {
    lumHarrisGoodFeatures(kScan, {{src, width, height, stride}, border, xy, nCornersMax, nCorners},
                          qualityLevel, minDistance);
  }
};

#endif  // LUMEN_HARRIS_ENTRIES_H
