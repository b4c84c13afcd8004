// Comparison of results that are no images: feature sets, line segments, matrix decompositions.
// Every function returns 0 when the two agree and 1, with a line in the log, when they do not.

#ifndef LUMEN_TEST_COMPARE_RECORDS_H
#define LUMEN_TEST_COMPARE_RECORDS_H

#include <cstdint>

#include "lumenTestBuffer.h"

// A detected feature as the library writes it.
struct LUMEN_TEST_Feature {
  int8_t descriptor[36];
  uint16_t x, y;
  int16_t orientation;  // 0..1023 around the circle
  uint16_t reserved[3];
};
static_assert(sizeof(LUMEN_TEST_Feature) == 48);

// Compares features with a text file: the number of features, then a line for each with x, y,
// orientation and the descriptor. Orientations agree when they are equal, neighbours, or the first
// and the last of the circle; descriptors are looked at only where orientations are equal, and may
// differ by 5 in each value. A file with fewer features than it declares does not agree.
int compareFeatureSets(const char* path, int count, const LUMEN_TEST_Feature* features);

// A line segment as the library writes it: the edge points that it was fitted to, the sum of their
// gradient magnitudes, its ends and its unit normal.
struct LUMEN_TEST_LineSegment {
  uint32_t nPoint;
  uint32_t pointsStartIndex;
  int32_t sumMag;
  struct {
    float x, y;
  } start, end;
  float normal[2];
};
static_assert(sizeof(LUMEN_TEST_LineSegment) == 36);

// What a comparison of line segments may leave out; 0 compares everything.
enum LUMEN_TEST_LINE_SEGMENT_FLAGS : unsigned int {
  LUMEN_TEST_LINE_SEGMENT_NO_POINTS = 1,   // number of points and where they start
  LUMEN_TEST_LINE_SEGMENT_NO_SUM_MAG = 2,  // summed magnitude
  LUMEN_TEST_LINE_SEGMENT_NO_NORMAL = 4,   // normal
};

// Compares the `numLineSegments` records that a call found with the reference's: integers exactly,
// the rest as LUMEN_TEST_CompareBuffers_f32 does. Both buffers have a row of bytes for each record;
// the reference holds exactly `numLineSegments` of them, the one under test may have room for more.
int LUMEN_TEST_CompareLineSegmentsBuffer(const LUMEN_TEST_Buffer& ref, const LUMEN_TEST_Buffer& tst,
                                         unsigned int numLineSegments, float precision,
                                         unsigned int flags);

// Compares float matrices by the relative error |ref - tst| / |ref| in the Frobenius norm, taken
// over the regions of interest; a reference of zeros takes the undivided error. An error that is no
// number does not agree.
int CompareSVDResult(const LUMEN_TEST_Buffer& ref, const LUMEN_TEST_Buffer& tst, float precision);

#endif  // LUMEN_TEST_COMPARE_RECORDS_H
