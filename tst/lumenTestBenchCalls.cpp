#include "lumenTestBenchCalls.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <vector>

#ifdef __x86_64__
#include <cpuid.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;

double nanosecondsBetween(Clock::time_point start, Clock::time_point end) {
  return std::chrono::duration<double, std::nano>(end - start).count();
}

// Takes each line of the cache that the blocks are in.
template <class Take>
[[maybe_unused]] void forLines(std::span<const std::span<const uint8_t>> blocks, size_t lineSize,
                               Take take) {
  for (const std::span<const uint8_t> block : blocks) {
    for (size_t i = 0; i < block.size(); i += lineSize) take(&block[i]);
    if (!block.empty()) take(&block.back());
  }
}

}  // namespace

double LUMEN_TEST_TimeCalls(LUMEN_TEST_BenchCall call, const LUMEN_TEST_Arguments& arguments,
                            uint32_t count) {
  // The compiler is not to know which call that is, least of all that it does nothing.
  LUMEN_TEST_BenchCall volatile unknown = call;
  const LUMEN_TEST_BenchCall made = unknown;
  const Clock::time_point start = Clock::now();
  for (uint32_t i = 0; i < count; ++i) made(arguments);
  return nanosecondsBetween(start, Clock::now());
}

void LUMEN_TEST_CallNothing(const LUMEN_TEST_Arguments&) {}

double LUMEN_TEST_ClockStep() {
  constexpr int kTries = 100;
  double least = 1e9;
  for (int i = 0; i < kTries; ++i) {
    const Clock::time_point start = Clock::now();
    Clock::time_point end = start;
    while (end == start) end = Clock::now();
    least = std::min(least, nanosecondsBetween(start, end));
  }
  return least;
}

uint32_t LUMEN_TEST_CalibrateBatch(LUMEN_TEST_BenchCall call, const LUMEN_TEST_Arguments& arguments,
                                   double nanoseconds) {
  constexpr double kMost = 1 << 24, kFastestGrowth = 16;
  LUMEN_TEST_TimeCalls(call, arguments, 1);  // what only the first call does
  for (double count = 1;;) {
    const double time = LUMEN_TEST_TimeCalls(call, arguments, static_cast<uint32_t>(count));
    if (time >= nanoseconds || count >= kMost) return static_cast<uint32_t>(count);
    const double wanted = time > 0 ? 1.1 * nanoseconds / time : kFastestGrowth;
    count = std::min(std::ceil(count * std::clamp(wanted, 1.1, kFastestGrowth)), kMost);
  }
}

#if defined(__x86_64__)

namespace {

constexpr size_t kLine = 64;

// Does not wait for the line before, which makes it several times as fast.
__attribute__((target("clflushopt"))) void flushOptimized(const uint8_t* line) {
  __builtin_ia32_clflushopt(const_cast<uint8_t*>(line));
}

bool hasOptimizedFlush() {
  unsigned int a, b, c, d;
  return __get_cpuid_count(7, 0, &a, &b, &c, &d) && (b & bit_CLFLUSHOPT);
}

}  // namespace

void LUMEN_TEST_Evict(std::span<const std::span<const uint8_t>> blocks) {
  static const bool isOptimized = hasOptimizedFlush();
  if (isOptimized) forLines(blocks, kLine, flushOptimized);
  else forLines(blocks, kLine, [](const uint8_t* line) { __builtin_ia32_clflush(line); });
  __builtin_ia32_mfence();
}

#elif defined(__aarch64__)

void LUMEN_TEST_Evict(std::span<const std::span<const uint8_t>> blocks) {
  uint64_t cacheType;
  asm("mrs %0, ctr_el0" : "=r"(cacheType));
  const size_t line = size_t{4} << ((cacheType >> 16) & 15);
  forLines(blocks, line, [](const uint8_t* place) {
    asm volatile("dc civac, %0" : : "r"(place) : "memory");
  });
  asm volatile("dsb ish" : : : "memory");
}

#else

void LUMEN_TEST_Evict(std::span<const std::span<const uint8_t>>) {
  constexpr size_t kBytes = 8 << 20, kLine = 32;
  // Written once, as memory that never was is one page of zeros.
  static const std::vector<uint8_t> memory(kBytes, 1);
  const volatile uint8_t* bytes = memory.data();
  for (size_t i = 0; i < kBytes; i += kLine) static_cast<void>(bytes[i]);
}

#endif
