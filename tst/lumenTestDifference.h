// How far results are from their reference, for records; whether they agree is decided elsewhere.

#ifndef LUMEN_TEST_DIFFERENCE_H
#define LUMEN_TEST_DIFFERENCE_H

#include "lumenTestBuffer.h"

// The largest absolute difference of two elements at the same place in the regions of interest.
// NaN when there is no such number: the regions differ in size, or just one of two elements is NaN.
// For 8, 16 and 32 bits, signed and unsigned, and float.
template <class T>
double LUMEN_TEST_LargestDifference(const LUMEN_TEST_Buffer& ref, const LUMEN_TEST_Buffer& tst);

#endif  // LUMEN_TEST_DIFFERENCE_H
