// Times of functions that may be compared: slots in turns, of calls whose images are in the caches
// and of calls whose images are not.

#ifndef LUMEN_TEST_BENCH_H
#define LUMEN_TEST_BENCH_H

#include <span>

#include "lumenTestDescription.h"

// Times a function for --bench seconds in the given slots, on images of the profiling resolution
// and with its own random contents. Prints and records the times of each slot. The operation mode
// of the last slot is set on return.
void LUMEN_TEST_BenchSlots(const LUMEN_TEST_Description& description,
                           std::span<const unsigned int> slots);

#endif  // LUMEN_TEST_BENCH_H
