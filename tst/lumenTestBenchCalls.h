// Timing of calls, and memory that is not in any cache.

#ifndef LUMEN_TEST_BENCH_CALLS_H
#define LUMEN_TEST_BENCH_CALLS_H

#include <cstdint>
#include <span>

#include "lumenTestDescription.h"

using LUMEN_TEST_BenchCall = void (*)(const LUMEN_TEST_Arguments& arguments);

// Nanoseconds that `count` calls take together.
double LUMEN_TEST_TimeCalls(LUMEN_TEST_BenchCall call, const LUMEN_TEST_Arguments& arguments,
                            uint32_t count);

// The call that has nothing but a call's cost.
void LUMEN_TEST_CallNothing(const LUMEN_TEST_Arguments& arguments);

// The smallest step that the clock is seen to make, nanoseconds.
double LUMEN_TEST_ClockStep();

// How many calls take at least `nanoseconds`; at least one.
uint32_t LUMEN_TEST_CalibrateBatch(LUMEN_TEST_BenchCall call, const LUMEN_TEST_Arguments& arguments,
                                   double nanoseconds);

// Drops the bytes from all caches, after writing back what has changed. 32-bit ARM does not let
// programs do that: there, reading other memory takes the place of everything in the caches.
void LUMEN_TEST_Evict(std::span<const std::span<const uint8_t>> blocks);

#endif  // LUMEN_TEST_BENCH_CALLS_H
