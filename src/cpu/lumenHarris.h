// The parts of the Harris detectors that the reference and the vector implementations have in
// common: a scan visits the responses of an image and hands the maxima to a list, row by row.

#ifndef LUMEN_HARRIS_INTERNAL_H
#define LUMEN_HARRIS_INTERNAL_H

#include <cstddef>
#include <cstdint>

#include "lumenFast.h"

// A rectangle of an image; `src` is its first pixel.
struct lumHarrisImage {
  const uint8_t* src;
  uint32_t width, height, stride;
};

enum class lumHarrisResponse : uint8_t {
  corner,         // det - trace^2 / 16
  minEigenvalue,  // twice the smaller eigenvalue
};

// Which of the responses above the threshold a list gets. `strict`: greater than the other 24 of
// the 5 x 5 window. `first`: greater than the neighbours of the 3 x 3 window before it in raster
// order, no smaller than those behind it.
enum class lumHarrisMaxima : uint8_t { all, first, strict };

// How far the pixels lie away that a response of a 5 x 5 sum of gradients depends on.
inline constexpr uint32_t LUM_HARRIS_REACH = 3;
constexpr uint32_t lumHarrisMargin(lumHarrisMaxima maxima) {
  return LUM_HARRIS_REACH + static_cast<uint32_t>(maxima);
}

// Takes what a scan finds.
class lumHarrisList {
 public:
  explicit lumHarrisList(int32_t lowest) : threshold(lowest) {}
  // Columns and responses of a row's finds, in the rectangle's coordinates, from left to right.
  // False ends the scan.
  virtual bool take(uint32_t y, const uint32_t* x, const int32_t* response, uint32_t count) = 0;

  // Only responses greater than this are finds. It may rise from row to row.
  int32_t threshold;

 protected:
  ~lumHarrisList() = default;
};

// Visits the pixels that are the margin of `maxima` away from the edges of the image, one at least.
using lumHarrisScan = void(const lumHarrisImage& image, lumHarrisResponse response,
                           lumHarrisMaxima maxima, lumHarrisList& list);

// Ends the process unless the work memory is there, as kernels do that cannot report.
void lumHarrisRequire(bool condition, const char* file, int line, const char* text);
#define LUM_HARRIS_REQUIRE(condition) \
  lumHarrisRequire((condition) ? true : false, __FILE__, __LINE__, #condition)

// As scratch memory takes it; more than it can count is refused by it for want of memory.
constexpr uint32_t lumScratchBytes(uint64_t bytes) {
  return bytes > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(bytes);
}

// The detectors, by the scan that they use; arguments as in lumenHarris.h.
struct lumHarrisArguments {
  lumHarrisImage image;
  uint32_t border;
  uint32_t* xy;
  uint32_t nCornersMax;
  uint32_t* nCorners;
};
// `scores` and `mask` may be null.
void lumHarrisCorners(lumHarrisScan* scan, const lumHarrisArguments& arguments, int32_t threshold,
                      lumHarrisMaxima maxima, int32_t* scores, const lumFastMask* mask);
void lumHarrisAdaptive(lumHarrisScan* scan, const lumHarrisArguments& arguments, int32_t threshold);
void lumHarrisGoodFeatures(lumHarrisScan* scan, const lumHarrisArguments& arguments,
                           float qualityLevel, uint32_t minDistance);
void lumHarrisLocalMax(lumHarrisScan* scan, const lumHarrisImage& image, uint32_t posX,
                       uint32_t posY, uint32_t* maxX, uint32_t* maxY, int32_t* maxScore);

// Row smoother of the reference: one plane of the five ring rows from row `firstRow` on, the middle
// one's smoothed values into the same plane of `blurgrads`. A row of the ring holds its planes one
// behind the other.
void blurRow5x5(const int16_t* grads, int16_t* blurgrads, uint32_t width, uint32_t plane,
                uint32_t firstRow);

// Corners of a response image in single precision; a row is `responseStrideBytes` rounded down to a
// multiple of 4. As the detectors, both test for a full list behind a tested pixel.
//
// Every pixel with a response above the threshold. Every pixel is a tested one.
void threshCorners(uint32_t* xy, const float* response, uint32_t responseStrideBytes,
                   uint32_t* nCorners, uint32_t nCornersMax, uint32_t width, uint32_t height,
                   float threshold);
// Every pixel above the threshold that no other one exceeds in the window of `nmsWindow` / 2 pixels
// each way, clipped to the image: of equal maxima all are kept, unlike in lumCornerHarrisu8. Tested
// pixels are those above the threshold.
void threshCornersWithNMS(uint32_t* xy, const float* response, uint32_t responseStrideBytes,
                          uint32_t* nCorners, uint32_t nCornersMax, uint32_t width, uint32_t height,
                          float threshold, float nmsWindow);

#endif  // LUMEN_HARRIS_INTERNAL_H
