// Harris corners, reference. One pass over the image: gradient products and responses are kept for
// five rows each, in the slot of their row number modulo 5.

#include <algorithm>
#include <cmath>

#include "cpu/lumenHarrisEntries.h"
#include "cpu/lumenRow.h"
#include "lumenScratch.h"
#include "lumenTable.h"

namespace {

constexpr uint32_t kRows = 5, kPlanes = 3;  // planes: Ixx, Iyy, Ixy
constexpr uint32_t kReach = LUM_HARRIS_REACH;

// The gradient products of row y into its ring row.
void gradientRow(const lumHarrisImage& image, uint32_t y, int16_t* grads) {
  const uint8_t* const above = lumRowAt(image.src, y - 1, image.stride);
  const uint8_t* const row = lumRowAt(image.src, y, image.stride);
  const uint8_t* const below = lumRowAt(image.src, y + 1, image.stride);
  int16_t* const products = grads + size_t{y % kRows} * kPlanes * image.width;
  for (size_t x = 1; x + 1 < image.width; ++x) {
    const int ix = (row[x + 1] - row[x - 1]) >> 1, iy = (below[x] - above[x]) >> 1;
    products[x] = static_cast<int16_t>(ix * ix);
    products[image.width + x] = static_cast<int16_t>(iy * iy);
    products[2 * size_t{image.width} + x] = static_cast<int16_t>(ix * iy);
  }
}

int32_t cornerResponse(int32_t sxx, int32_t syy, int32_t sxy) {
  const int32_t trace = sxx + syy;
  return sxx * syy - sxy * sxy - ((trace * trace) >> 4);
}

int32_t minEigenvalue(int32_t sxx, int32_t syy, int32_t sxy) {
  const int32_t square = (sxx - syy) * (sxx - syy) + 4 * sxy * sxy;
  int32_t root = static_cast<int32_t>(std::sqrt(static_cast<double>(square)));
  while (int64_t{root} * root > square) --root;
  while (int64_t{root + 1} * (root + 1) <= square) ++root;
  return sxx + syy - root;
}

// The smoothed products of a row to its ring row of responses.
void responseRow(const int16_t* blurgrads, uint32_t width, lumHarrisResponse response,
                 int32_t* corner, uint32_t y) {
  int32_t* const out = corner + size_t{y % kRows} * width;
  for (size_t x = kReach; x + kReach < width; ++x) {
    const int32_t sxx = blurgrads[x], syy = blurgrads[width + x],
                  sxy = blurgrads[2 * size_t{width} + x];
    out[x] = response == lumHarrisResponse::corner ? cornerResponse(sxx, syy, sxy)
                                                   : minEigenvalue(sxx, syy, sxy);
  }
}

// Whether the response at (x, y) is a maximum of the kind.
bool isMaximum(const int32_t* corner, uint32_t width, uint32_t x, uint32_t y,
               lumHarrisMaxima maxima) {
  const int radius = static_cast<int>(maxima);
  const int32_t response = corner[size_t{y % kRows} * width + x];
  for (int dy = -radius; dy <= radius; ++dy) {
    const int32_t* const row = corner + size_t{(y + static_cast<uint32_t>(dy)) % kRows} * width + x;
    for (int dx = -radius; dx <= radius; ++dx) {
      if (dx == 0 && dy == 0) continue;
      const bool isBehind = dy > 0 || (dy == 0 && dx > 0);
      const bool mayEqual = maxima == lumHarrisMaxima::first && isBehind;
      if (mayEqual ? row[dx] > response : row[dx] >= response) return false;
    }
  }
  return true;
}

void scan(const lumHarrisImage& image, lumHarrisResponse response, lumHarrisMaxima maxima,
          lumHarrisList& list) {
  const uint64_t width = image.width;
  const lumScratch<int32_t> corner(lumScratchBytes(kRows * width * sizeof(int32_t)));
  const lumScratch<int16_t> grads(lumScratchBytes(kRows * kPlanes * width * sizeof(int16_t)));
  const lumScratch<int16_t> blurgrads(lumScratchBytes(kPlanes * width * sizeof(int16_t)));
  LUM_HARRIS_REQUIRE(corner && grads && blurgrads);

  const uint32_t margin = lumHarrisMargin(maxima), behind = margin - kReach;
  for (uint32_t y = 1; y < kRows; ++y) gradientRow(image, y, grads.data());
  for (uint32_t y = kReach; y + kReach < image.height; ++y) {
    gradientRow(image, y + 2, grads.data());
    for (uint32_t plane = 0; plane < kPlanes; ++plane) {
      blurRow5x5(grads.data(), blurgrads.data(), image.width, plane, y - 2);
    }
    responseRow(blurgrads.data(), image.width, response, corner.data(), y);
    if (y < margin + behind) continue;
    const uint32_t tested = y - behind;
    for (uint32_t x = margin; x < image.width - margin; ++x) {
      const int32_t found = corner.data()[(tested % kRows) * width + x];
      if (found <= list.threshold || !isMaximum(corner.data(), image.width, x, tested, maxima)) {
        continue;
      }
      if (!list.take(tested, &x, &found, 1)) return;
    }
  }
}

// A float's integer part as a count of pixels, as far as one can have it.
uint32_t wholePixels(float number) {
  if (!(number >= 1)) return 0;
  return number >= 4e9f ? 4000000000u : static_cast<uint32_t>(number);
}

}  // namespace

void blurRow5x5(const int16_t* grads, int16_t* blurgrads, uint32_t width, uint32_t plane,
                uint32_t firstRow) {
  const int16_t* row[kRows];
  for (uint32_t i = 0; i < kRows; ++i) {
    row[i] = grads + (size_t{(firstRow + i) % kRows} * kPlanes + plane) * width;
  }
  int16_t* const out = blurgrads + size_t{plane} * width;
  const auto column = [&](size_t x) {
    return row[0][x] + 4 * row[1][x] + 6 * row[2][x] + 4 * row[3][x] + row[4][x];
  };
  for (size_t x = kReach; x + kReach < width; ++x) {
    const int32_t sum =
        column(x - 2) + 4 * column(x - 1) + 6 * column(x) + 4 * column(x + 1) + column(x + 2);
    out[x] = static_cast<int16_t>(sum >> 8);
  }
}

void threshCorners(uint32_t* xy, const float* response, uint32_t responseStrideBytes,
                   uint32_t* nCorners, uint32_t nCornersMax, uint32_t width, uint32_t height,
                   float threshold) {
  uint32_t count = 0;
  const auto scanRows = [&] {
    for (uint32_t y = 0; y < height; ++y) {
      const float* const row = lumRowAt(response, y, responseStrideBytes);
      for (uint32_t x = 0; x < width; ++x) {
        if (row[x] > threshold) {
          xy[size_t{count} * 2] = x;
          xy[size_t{count} * 2 + 1] = y;
          ++count;
        }
        if (count >= nCornersMax) return;
      }
    }
  };
  scanRows();
  *nCorners = count;
}

void threshCornersWithNMS(uint32_t* xy, const float* response, uint32_t responseStrideBytes,
                          uint32_t* nCorners, uint32_t nCornersMax, uint32_t width, uint32_t height,
                          float threshold, float nmsWindow) {
  const uint32_t half = wholePixels(nmsWindow) >> 1;
  const auto first = [=](uint32_t at) { return at - std::min(at, half); };
  const auto last = [=](uint32_t at, uint32_t size) { return at + std::min(size - 1 - at, half); };
  const auto isMaximum = [&](uint32_t x, uint32_t y, float value) {
    for (uint32_t v = first(y); v <= last(y, height); ++v) {
      const float* const row = lumRowAt(response, v, responseStrideBytes);
      for (uint32_t u = first(x); u <= last(x, width); ++u) {
        if (row[u] > value) return false;
      }
    }
    return true;
  };
  uint32_t count = 0;
  const auto scanRows = [&] {
    for (uint32_t y = 0; y < height; ++y) {
      const float* const row = lumRowAt(response, y, responseStrideBytes);
      for (uint32_t x = 0; x < width; ++x) {
        if (!(row[x] > threshold)) continue;
        if (isMaximum(x, y, row[x])) {
          xy[size_t{count} * 2] = x;
          xy[size_t{count} * 2 + 1] = y;
          ++count;
        }
        if (count >= nCornersMax) return;
      }
    }
  };
  scanRows();
  *nCorners = count;
}

using Reference = lumHarrisWith<scan>;

void lumCornerHarrisu8C(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                        uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners,
                        int32_t threshold) {
  Reference::corners(src, width, height, stride, border, xy, nCornersMax, nCorners, threshold);
}

void lumCornerHarrisInMasku8C(const uint8_t* srcImg, uint32_t width, uint32_t height,
                              uint32_t stride, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                              uint32_t* nCorners, int32_t threshold, const uint8_t* bitMask,
                              uint32_t maskWidth, uint32_t maskHeight) {
  Reference::inMask(srcImg, width, height, stride, border, xy, nCornersMax, nCorners, threshold,
                    bitMask, maskWidth, maskHeight);
}

void lumCornerHarrisAdaptiveu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                uint32_t srcStride, uint32_t border, uint32_t* xy,
                                uint32_t nCornersMax, uint32_t* nCorners, int32_t threshold) {
  Reference::adaptive(src, srcWidth, srcHeight, srcStride, border, xy, nCornersMax, nCorners,
                      threshold);
}

void lumCornerHarrisScoreu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                             uint32_t srcStride, uint32_t border, uint32_t* xy, int32_t* scores,
                             uint32_t nCornersMax, uint32_t* nCorners, int32_t threshold,
                             uint32_t nmsEnabled) {
  Reference::score(src, srcWidth, srcHeight, srcStride, border, xy, scores, nCornersMax, nCorners,
                   threshold, nmsEnabled);
}

void lumLocalHarrisMaxu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                          uint32_t srcStride, uint32_t posX, uint32_t posY, uint32_t* maxX,
                          uint32_t* maxY, int32_t* maxScore) {
  Reference::localMax(src, srcWidth, srcHeight, srcStride, posX, posY, maxX, maxY, maxScore);
}

void lumGoodFeatureToTracku8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                              uint32_t srcStride, uint32_t border, uint32_t* xy,
                              uint32_t nCornersMax, uint32_t* nCorners, float qualityLevel,
                              uint32_t minDistance) {
  Reference::goodFeatures(src, srcWidth, srcHeight, srcStride, border, xy, nCornersMax, nCorners,
                          qualityLevel, minDistance);
}
