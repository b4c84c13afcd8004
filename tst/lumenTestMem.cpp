// Module MEM: the library's aligned allocation, and what copying memory costs on this device.
//
// The timing copies 1 MiB, far more than a first-level cache holds, from one half of a buffer
// to the other, in three patterns:
//
//   Basic    one memcpy of the whole
//   Linear   line by line of 64 bytes, a cache line on most devices, in the order of addresses
//   Random   the same lines in an order that no prefetcher guesses, each line once
//
// Each pattern is timed once a loop; what is logged are the mean and the standard deviation of one
// such copy in microseconds. The order comes from a generator of this module's own: the stream of
// rand() stays as the seed made it.

#include "lumenTestMem.h"

#include <cmath>
#include <cstring>

#include "lumen/lumenControl.h"
#include "lumen/lumenMem.h"
#include "lumenTestConfig.h"
#include "lumenTestLog.h"
#include "lumenTestModules.h"
#include "lumenTestTally.h"

namespace {

constexpr uint32_t kCopyBytes = 1 << 20;
constexpr uint32_t kLineBytes = 64;
constexpr uint32_t kLineCount = kCopyBytes / kLineBytes;

bool isAligned(const void* ptr, uint32_t alignment) {
  return ptr && reinterpret_cast<uintptr_t>(ptr) % alignment == 0;
}

void copyLine(uint8_t* dst, const uint8_t* src, uint32_t line) {
  std::memcpy(dst + size_t{line} * kLineBytes, src + size_t{line} * kLineBytes, kLineBytes);
}

void copyBasic(uint8_t* dst, const uint8_t* src) { std::memcpy(dst, src, kCopyBytes); }

void copyLinear(uint8_t* dst, const uint8_t* src) {
  for (uint32_t line = 0; line < kLineCount; ++line) copyLine(dst, src, line);
}

void copyRandom(uint8_t* dst, const uint8_t* src) {
  uint32_t line = 0;
  do {
    copyLine(dst, src, line);
    line = LUMEN_TEST_NextRandomLine(line, kLineCount);
  } while (line != 0);
}

// Mean and spread of samples that come one by one.
struct Spread {
  double count = 0, mean = 0, squares = 0;

  void add(double sample) {
    count += 1;
    const double distance = sample - mean;
    mean += distance / count;
    squares += distance * (sample - mean);
  }
  double sigma() const { return count < 2 ? 0 : std::sqrt(squares / (count - 1)); }
};

Spread timeCopies(void (*copy)(uint8_t* dst, const uint8_t* src), uint8_t* block, uint32_t loops) {
  Spread times;
  for (uint32_t i = 0; i < loops; ++i) {
    const int64_t start = lumGetTime();
    copy(block + kCopyBytes, block);
    const int64_t end = lumGetTime();
    if (end >= start) times.add(static_cast<double>(end - start));  // the clock may be set back
  }
  return times;
}

struct Pattern {
  void (*copy)(uint8_t* dst, const uint8_t* src);
  const char* name;
};
constexpr Pattern kPatterns[] = {
    {copyBasic, "Basic"}, {copyLinear, "Linear"}, {copyRandom, "Random"}};

int timePatterns(uint32_t loops) {
  LUMEN_TEST_Buffer& buffer = lumenTestBuffers[0];
  const lumMemOption option = lumenTestSettings.memOption[LUMEN_TEST_SLOT_C];
  if (!buffer.Size(2 * kCopyBytes, option, true)) return 1;
  std::memset(buffer.data(), 0, 2 * kCopyBytes);  // its pages become really present

  LUMEN_TEST_Log("LUMEN_TEST, lumBuffer_memcpy_nBytes=>%d", static_cast<int>(kCopyBytes));
  for (const Pattern& pattern : kPatterns) {
    const Spread times = timeCopies(pattern.copy, buffer.data(), loops);
    LUMEN_TEST_Log("LUMEN_TEST, lumBuffer_memcpy%s_Time=>%.0f", pattern.name, times.mean);
    LUMEN_TEST_Log("LUMEN_TEST, lumBuffer_memcpy%s_TimeSigma=>%.0f", pattern.name, times.sigma());
  }
  buffer.Free(option);
  return 0;
}

}  // namespace

// A linear congruential generator with the longest period that a power of two allows.
uint32_t LUMEN_TEST_NextRandomLine(uint32_t line, uint32_t lineCount) {
  return (line * 1664525u + 1013904223u) & (lineCount - 1);
}

int LUMEN_TEST_CheckMemAlignment(void* (*alloc)(uint32_t nBytes, uint32_t byteAlignment),
                                 void (*free)(void* ptr)) {
  int failed = 0;
  for (uint32_t alignment = 2; alignment <= 32; alignment *= 2) {
    for (uint32_t power = 1; power <= 32768; power *= 2) {
      for (uint32_t size : {power, power - 1}) {
        void* block = alloc(size, alignment);
        if (!isAligned(block, alignment)) {
          LUMEN_TEST_Log("LUMEN_TEST, lumMemAlloc with alignement %u and size %ufailed\n",
                         alignment, size);
          failed = 1;
        }
        free(block);
      }
    }
  }
  return failed;
}

int TEST_MEM_Test(int loops, const char*) {
  if (lumenTestRunConfig.funcId != 0 || !LUMEN_TEST_ModuleTakesPart()) return 0;
  int failed = LUMEN_TEST_CheckMemAlignment(lumMemAlloc, lumMemFree);
  const uint32_t count =
      loops < 0 ? 0 - static_cast<uint32_t>(loops) : static_cast<uint32_t>(loops);
  if (count != 0) failed |= timePatterns(count);
  return failed;
}
