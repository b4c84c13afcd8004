#include "lumenTestTimes.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "lumen/lumenControl.h"
#include "lumenTable.h"
#include "lumenTestConfig.h"

namespace {

// The clock of the ZDSP, through the dispatch like every function that may run remotely.
uint64_t probeZ6Time(int end, unsigned int clockDivisor) {
  const uint32_t impl = LUM_INTERNAL_IMPL_INDEX[LUM_INTERNAL_FN_probeZ6Time];
  return LUM_INTERNAL_FUNC_TABLE.probeZ6Time.column[impl](end, clockDivisor);
}

// A performance line. What does not fit is left off.
class Line {
 public:
  __attribute__((format(printf, 2, 3))) void append(const char* format, ...) {
    const size_t length = std::strlen(text_);
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text_ + length, sizeof(text_) - length, format, arguments);
    va_end(arguments);
  }
  void print() const { std::printf("LUMEN_PROFILE, %s\n", text_); }

 private:
  char text_[255] = "";
};

// One of the two series of a record.
struct Series {
  uint64_t total;
  uint64_t sumSquares;
  uint32_t count;

  double average() const { return count ? static_cast<double>(total) / count : 0.0; }

  double deviation() const {
    if (count < 2) return 0.0;
    const double n = count;
    const double variance =
        (n * static_cast<double>(sumSquares) - static_cast<double>(total * total)) / ((n - 1) * n);
    return variance > 0 ? std::sqrt(variance) : 0.0;
  }
};

using Append = void (*)(Line& line, const Series& series, float divisor);

constexpr Append kTotal = [](Line& line, const Series& series, float) {
  line.append(", %llu", static_cast<unsigned long long>(series.total));
};
constexpr Append kAverage = [](Line& line, const Series& series, float) {
  line.append(", %.0f", series.average());
};
constexpr Append kDeviation = [](Line& line, const Series& series, float) {
  line.append(", %.0f", series.deviation());
};
constexpr Append kNormalised = [](Line& line, const Series& series, float divisor) {
  line.append(", %.1f", static_cast<double>(static_cast<float>(series.total) / divisor));
};

struct Report {
  const char* name;
  int result;
  const LUMEN_TEST_Times* times;
  unsigned int numTargets;
  float divisor;

  void print(const char* suffix, Append append) const {
    Line line;
    line.append("%s%s :: %s", name, suffix, lumenTestSettings.resultText[result != 0]);
    for (unsigned int target = 0; target < numTargets; ++target) {
      const LUMEN_TEST_Times& t = times[target];
      append(line, {t.totalTime, t.sumSquares, t.numSamples}, divisor);
      if (lumenTestSettings.profileOrder[target] == 'Q') {
        append(line, {t.dspTotalTime, t.dspSumSquares, t.numSamples}, divisor);
      }
    }
    line.print();
  }
};

}  // namespace

void LUMEN_TEST_Times::Start() {
  dspStartTime = probeZ6Time(0, lumenTestRunConfig.dspIterations);
  startTime = static_cast<uint64_t>(lumGetTime());
}

void LUMEN_TEST_Times::EndTimeCommit() {
  endTime = static_cast<uint64_t>(lumGetTime());
  dspEndTime = probeZ6Time(1, 0);
  if (endTime < startTime) return;

  uint64_t time = endTime - startTime;
  uint64_t dsp = dspEndTime - dspStartTime;
  if (dsp != 0 && lumenTestRunConfig.dspIterations != 0) {
    const uint64_t converted = dsp / lumenTestRunConfig.dspIterations;
    time = time - dsp + converted;
    dsp = converted;
  }
  if (samples && numSamples < maxSamples) samples[numSamples] = time;
  ++numSamples;
  totalTime += time;
  dspTotalTime += dsp;
  sumSquares += time * time;
  dspSumSquares += dsp * dsp;
  minTime = first ? time : std::min(minTime, time);
  maxTime = first ? time : std::max(maxTime, time);
  first = false;
}

void LUMEN_TEST_Times::Reset() {
  uint64_t* const kept = samples;
  const uint32_t capacity = maxSamples;
  *this = {};
  samples = kept;
  maxSamples = capacity;
  if (samples) std::fill_n(samples, maxSamples, uint64_t{0});
}

void GENERATE_PERF_LOG(const char* name, int result, LUMEN_TEST_Times* times,
                       unsigned int numTargets, LUMEN_PROFILING_STAT stat, float divisor) {
  const Report report = {name, result, times, numTargets, divisor};
  switch (stat) {
    case LUMEN_PROFILING_TOTALS:
      report.print("", kTotal);
      break;
    case LUMEN_PROFILING_AVERAGES:
      report.print("", kAverage);
      break;
    case LUMEN_PROFILING_AVERAGES_AND_SIGMA:
      report.print("", kAverage);
      report.print("_Sigma", kDeviation);
      break;
    case LUMEN_PROFILING_NORMALISED:
      report.print("", kNormalised);
      break;
    default:
      std::printf("LUMEN_PROFILE, %s\n", "CHOOSE OPTIONS 0-3 or no option");
      return;
  }
  for (unsigned int target = 0; target < numTargets; ++target) times[target].Reset();
}
