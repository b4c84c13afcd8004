// Comparison of what a call wrote with reference data. Every function returns 0 when the two agree
// and 1 when they do not, and reports the first disagreement in the log; none changes a buffer.
//
// Each comes in two forms, with the reference first. One takes pointers to the first elements of
// two arrays, and for each array six numbers in elements: stride, height, and x, width, y, height
// of the region of interest. -1 stands for a number that is not given: the reference's region is
// then the whole array, and the array under test has the reference's numbers. The other form takes
// two buffers. Where their elements are several T, as the channels of a pixel are, all are
// compared; buffers whose elements are no whole number of T never agree.

#ifndef LUMEN_TEST_COMPARE_H
#define LUMEN_TEST_COMPARE_H

#include <cstdint>
#include <type_traits>

#include "lumenTestBuffer.h"

// Agree where no absolute difference is greater than the tolerance. For signed, unsigned and plain
// char, short, unsigned short, int, unsigned int, long long and float.
template <class T>
int LUMEN_TEST_CompareBuffers(const T* ref, const T* tst, int refStride, int refHeight, int refX,
                              int refWidth, int refY, int refRoiHeight, int tstStride,
                              int tstHeight, int tstX, int tstWidth, int tstY, int tstRoiHeight,
                              std::type_identity_t<T> tolerance);
template <class T>
int LUMEN_TEST_CompareBuffers(const LUMEN_TEST_Buffer& ref, const LUMEN_TEST_Buffer& tst,
                              T tolerance);

// The same, but up to `allowed` elements may differ by more. For unsigned char, short and unsigned
// int.
template <class T>
int LUMEN_TEST_CompareBuffersAllowNDiff(const T* ref, const T* tst, int refStride, int refHeight,
                                        int refX, int refWidth, int refY, int refRoiHeight,
                                        int tstStride, int tstHeight, int tstX, int tstWidth,
                                        int tstY, int tstRoiHeight,
                                        std::type_identity_t<T> tolerance, int allowed);
template <class T>
int LUMEN_TEST_CompareBuffersAllowNDiff(const LUMEN_TEST_Buffer& ref, const LUMEN_TEST_Buffer& tst,
                                        T tolerance, int allowed);

// True, with the two values in the log, when they differ by more than `precision`: near 0 (one of
// the two is less than the precision) absolutely, elsewhere relative to the value under test. A
// difference that is no number never does.
bool LUMEN_TEST_Differs_f32(float ref, float tst, float precision);

// Agree by that rule; up to `allowed` elements may differ by more.
int LUMEN_TEST_CompareBuffers_f32(const float* ref, const float* tst, int refStride, int refHeight,
                                  int refX, int refWidth, int refY, int refRoiHeight, int tstStride,
                                  int tstHeight, int tstX, int tstWidth, int tstY, int tstRoiHeight,
                                  float precision, int allowed);
int LUMEN_TEST_CompareBuffers_f32(const LUMEN_TEST_Buffer& ref, const LUMEN_TEST_Buffer& tst,
                                  float precision);
int LUMEN_TEST_CompareBuffersAllowNDiff_f32(const LUMEN_TEST_Buffer& ref,
                                            const LUMEN_TEST_Buffer& tst, float precision,
                                            int allowed);

// Agree where the peak signal-to-noise ratio is `toleranceDb` or better. `maxValue` is the greatest
// value that a pixel can have; with 0 nothing agrees. The ratio's numerator, width x height x
// maxValue x maxValue, is computed in 32 bits and wraps around: with 255, beyond 66051 pixels. For
// unsigned char.
template <class T>
int LUMEN_TEST_CompareBuffersPSNR(const T* ref, const T* tst, int refStride, int refHeight,
                                  int refX, int refWidth, int refY, int refRoiHeight, int tstStride,
                                  int tstHeight, int tstX, int tstWidth, int tstY, int tstRoiHeight,
                                  double toleranceDb, int maxValue);
template <class T>
int LUMEN_TEST_CompareBuffersPSNR(const LUMEN_TEST_Buffer& ref, const LUMEN_TEST_Buffer& tst,
                                  double toleranceDb, int maxValue);

#endif  // LUMEN_TEST_COMPARE_H
