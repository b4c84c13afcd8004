// Times of repeated calls, and the performance line made of them.

#ifndef LUMEN_TEST_TIMES_H
#define LUMEN_TEST_TIMES_H

#include <cstdint>

// What one slot's calls took. Wall-clock times are microseconds; ZDSP times are readings of its
// clock.
struct LUMEN_TEST_Times {
  uint64_t startTime;
  uint64_t endTime;
  uint64_t dspStartTime;
  uint64_t dspEndTime;
  uint64_t totalTime;
  uint64_t dspTotalTime;
  uint64_t sumSquares;     // modulo 2^64
  uint64_t dspSumSquares;  // modulo 2^64
  uint64_t minTime;
  uint64_t maxTime;
  uint64_t* samples;  // one for each committed call, up to maxSamples; may be null
  uint32_t numSamples;
  uint32_t maxSamples;
  bool first = true;

  // Around one timed call.
  void Start();
  void EndTimeCommit();

  // Forgets all calls; the sample array stays.
  void Reset();
};

enum LUMEN_PROFILING_STAT : uint32_t {
  LUMEN_PROFILING_TOTALS = 0,
  LUMEN_PROFILING_AVERAGES = 1,
  LUMEN_PROFILING_AVERAGES_AND_SIGMA = 2,
  LUMEN_PROFILING_NORMALISED = 3,  // totals divided by the divisor
};

// Prints a function's line, "LUMEN_PROFILE, <name> :: PASS" or FAIL and one value for each of the
// first `numTargets` records (two for the ZDSP's), and resets the records that it printed.
void GENERATE_PERF_LOG(const char* name, int result, LUMEN_TEST_Times* times,
                       unsigned int numTargets, LUMEN_PROFILING_STAT stat, float divisor);

#endif  // LUMEN_TEST_TIMES_H
