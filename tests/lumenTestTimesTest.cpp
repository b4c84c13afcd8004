// Times of calls and the performance line.

#include "lumenTestTimes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "lumenTable.h"
#include "lumenTestConfig.h"
#include "lumenTestDriverSupport.h"

namespace {

// A clock of the ZDSP that says what the test wants.
uint64_t dspClock;
uint64_t probe(int end, unsigned int) { return end ? dspClock : 0; }

void commit(LUMEN_TEST_Times& times, uint64_t microseconds) {
  times.Start();
  times.startTime -= microseconds;
  times.EndTimeCommit();
}

std::string lineOf(LUMEN_TEST_Times* times, unsigned int targets, LUMEN_PROFILING_STAT stat,
                   int result = 0, float divisor = 1.0f) {
  return standardOutputOf(
      [&] { GENERATE_PERF_LOG("lumF", result, times, targets, stat, divisor); });
}

// Records with sums that lines can be computed from by hand: 3 calls of 10, 20 and 60.
std::vector<LUMEN_TEST_Times> threeCalls(size_t targets) {
  std::vector<LUMEN_TEST_Times> times(targets);
  for (LUMEN_TEST_Times& t : times) {
    t.totalTime = 90;
    t.sumSquares = 100 + 400 + 3600;
    t.dspTotalTime = 9;
    t.dspSumSquares = 29;
    t.numSamples = 3;
    t.first = false;
  }
  return times;
}

}  // namespace

TEST(Times, AddUpCallsAndKeepSamplesWithinTheirRoom) {
  uint64_t samples[2] = {7, 7};
  LUMEN_TEST_Times times = {};
  times.samples = samples;
  times.maxSamples = 2;
  times.Reset();
  EXPECT_EQ(samples[0], 0u);
  EXPECT_TRUE(times.first);
  for (uint64_t microseconds : {1000000u, 3000000u, 2000000u}) commit(times, microseconds);

  EXPECT_EQ(times.numSamples, 3u);
  EXPECT_EQ(times.totalTime / 1000000, 6u);
  EXPECT_EQ(times.minTime / 1000000, 1u);
  EXPECT_EQ(times.maxTime / 1000000, 3u);
  EXPECT_EQ(samples[0] + samples[1] + times.endTime - times.startTime, times.totalTime);
  EXPECT_EQ(times.sumSquares,
            samples[0] * samples[0] + samples[1] * samples[1] +
                (times.endTime - times.startTime) * (times.endTime - times.startTime));

  // A clock that has been put back.
  times.Start();
  times.startTime += 1000000000;
  times.EndTimeCommit();
  EXPECT_EQ(times.numSamples, 3u);
}

TEST(Times, TakeTheDspClockOutOfTheCallAndPutItsDividedReadingIn) {
  LUM_INTERNAL_FUNC_TABLE.probeZ6Time.column[LUM_IMPL_CPU] = probe;
  LUMEN_TEST_Times times = {};
  dspClock = 600000;
  commit(times, 1000000);
  EXPECT_EQ(times.dspTotalTime, 600000u);
  EXPECT_EQ(times.totalTime / 10000, 100u);

  lumenTestRunConfig.dspIterations = 100;
  times.Reset();
  commit(times, 1000000);
  EXPECT_EQ(times.dspTotalTime, 6000u);
  EXPECT_EQ(times.totalTime / 10000, 40u);
  EXPECT_EQ(times.dspSumSquares, 6000u * 6000u);
}

TEST(PerformanceLine, HasAValueForEachSlotAndTwoForTheDsp) {
  auto times = threeCalls(3);
  EXPECT_EQ(lineOf(times.data(), 3, LUMEN_PROFILING_TOTALS),
            "LUMEN_PROFILE, lumF :: PASS, 90, 90, 90, 9\n");
  // What has been printed is forgotten.
  EXPECT_EQ(lineOf(times.data(), 3, LUMEN_PROFILING_AVERAGES_AND_SIGMA, 1),
            "LUMEN_PROFILE, lumF :: FAIL, 0, 0, 0, 0\n"
            "LUMEN_PROFILE, lumF_Sigma :: FAIL, 0, 0, 0, 0\n");

  times = threeCalls(3);
  EXPECT_EQ(lineOf(times.data(), 3, LUMEN_PROFILING_AVERAGES),
            "LUMEN_PROFILE, lumF :: PASS, 30, 30, 30, 3\n");
  times = threeCalls(3);
  // Variances (3 * 4100 - 8100) / 6 = 700 and (3 * 29 - 81) / 6 = 1.
  EXPECT_EQ(lineOf(times.data(), 3, LUMEN_PROFILING_AVERAGES_AND_SIGMA),
            "LUMEN_PROFILE, lumF :: PASS, 30, 30, 30, 3\n"
            "LUMEN_PROFILE, lumF_Sigma :: PASS, 26, 26, 26, 1\n");
  times = threeCalls(3);
  EXPECT_EQ(lineOf(times.data(), 3, LUMEN_PROFILING_NORMALISED, 0, 12.0f),
            "LUMEN_PROFILE, lumF :: PASS, 7.5, 7.5, 7.5, 0.8\n");
}

TEST(PerformanceLine, StandsWithoutValuesAndSurvivesAnything) {
  auto times = threeCalls(LUMEN_TEST_SLOT_COUNT);
  EXPECT_EQ(lineOf(times.data(), 0, LUMEN_PROFILING_AVERAGES_AND_SIGMA),
            "LUMEN_PROFILE, lumF :: PASS\nLUMEN_PROFILE, lumF_Sigma :: PASS\n");
  EXPECT_EQ(lineOf(times.data(), 3, static_cast<LUMEN_PROFILING_STAT>(4)),
            "LUMEN_PROFILE, CHOOSE OPTIONS 0-3 or no option\n");
  EXPECT_EQ(times[0].totalTime, 90u);

  // One sample has no deviation, nor has a negative variance.
  times[0].numSamples = 1;
  times[1].sumSquares = 0;
  EXPECT_EQ(lineOf(times.data(), 2, LUMEN_PROFILING_AVERAGES_AND_SIGMA),
            "LUMEN_PROFILE, lumF :: PASS, 90, 30\nLUMEN_PROFILE, lumF_Sigma :: PASS, 0, 0\n");

  // A name longer than the line is cut at its end.
  const std::string name(400, 'n');
  const std::string line = standardOutputOf(
      [&] { GENERATE_PERF_LOG(name.c_str(), 0, times.data(), 8, LUMEN_PROFILING_TOTALS, 1.0f); });
  EXPECT_EQ(line, "LUMEN_PROFILE, " + name.substr(0, 254) + "\n");
}
