// What tests of the library's frame share: processes of their own, properties of the device, the
// stand-ins for its optional libraries, and the implementations that the function table is made of.

#ifndef LUMEN_TEST_SUPPORT_H
#define LUMEN_TEST_SUPPORT_H

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "lumenHardware.h"
#include "lumenShared.h"
#include "lumenStandin.h"
#include "lumenTestDriverSupport.h"
#include "lumenVector.h"

// Runs the current test alone in another process, as ctest does.
inline bool lumPassesAlone() {
  const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
  std::string program(4096, '\0');
  const ssize_t length = readlink("/proc/self/exe", program.data(), program.size());
  program.resize(length > 0 ? static_cast<size_t>(length) : 0);
  return std::system((LUMEN_EMULATOR " '" + program + "' >/dev/null 2>&1 --gtest_filter=" +
                      test.test_suite_name() + "." + test.name())
                         .c_str()) == 0;
}

// For tests of what a process does once, or cannot take back.
#define LUM_NEEDS_OWN_PROCESS()                                           \
  if (testing::UnitTest::GetInstance()->test_to_run_count() > 1) {        \
    if (!lumPassesAlone()) FAIL() << "fails when it runs alone as well";  \
    GTEST_SKIP() << "passes in a process of its own, not to change this"; \
  }

// Catches the log, for tests that look at it step by step.
struct RecordedLog : CapturedLog {
  // The records since the last call.
  static std::vector<std::string> take() { return std::exchange(lines(), {}); }
};

// Gives the process its system properties, lines "key=value". They are read once.
inline void lumGiveProperties(const std::string& lines) {
  const TempDirectory directory;
  setenv("LUMEN_SYSTEM_PROPERTIES", directory.write("properties", lines).c_str(), 1);
  char value[LUM_PROPERTY_SIZE];
  lumSystemProperty("", value);
}

// Makes the process believe in a processor, whatever runs the test.
inline void lumGiveProcessor(lumProcessor processor) {
  lumProbeProcessor();
  LUM_PROCESSOR = processor;
}
inline constexpr lumProcessor LUM_PHONE = {
    .probed = true,
    .features = LUM_FEATURE_ARMV7 | LUM_FEATURE_VFP | LUM_FEATURE_NEON,
    .implementer = 0x51,
    .restricted = false};

inline std::string lumStandinPath(const std::string& variant, const std::string& library) {
  return std::string(LUMEN_STANDINS) + "/" + variant + "/" + library;
}

// Loads a stand-in, so that the library finds it by its name from then on; gives its record.
template <class State>
State& lumLoadStandin(const char* variant, const char* library, const char* record) {
  void* handle = dlopen(lumStandinPath(variant, library).c_str(), RTLD_NOW);
  if (!handle) {
    std::fprintf(stderr, "%s\n", dlerror());
    std::abort();
  }
  return *static_cast<State*>(dlsym(handle, record));
}
inline lumStandinState& lumLoadSharedBuild(const char* variant) {
  lumGiveProcessor(LUM_PHONE);
  return lumLoadStandin<lumStandinState>(variant, LUM_SHARED_BUILD, "lumStandin");
}

// The implementations of a row that is built.
struct lumBuiltRow {
  uint32_t row;
  lumAnyFunction reference, vector;
};
inline std::vector<lumBuiltRow> lumBuiltRows() {
  return {
#define LUM_ROW_CV(row, name)                       \
  {row, reinterpret_cast<lumAnyFunction>(&name##C), \
   reinterpret_cast<lumAnyFunction>(lumBestOf(name##V, name##C))},
#include "lumenFunctions.def"
  };
}

// A cell of the table, as the shared build sees it.
inline lumAnyFunction lumTableCell(uint32_t row, uint32_t column) {
  return reinterpret_cast<lumAnyFunction*>(&LUM_FUNC_TABLE)[row * LUM_IMPL_COUNT + column];
}

// Small images that a test may send through any implementation.
struct lumSmallImage {
  alignas(16) uint8_t src1[64], src2[64], dst[64] = {};
  lumSmallImage() {
    for (int i = 0; i < 64; ++i) {
      src1[i] = static_cast<uint8_t>(200 - i);
      src2[i] = static_cast<uint8_t>(3 * i);
    }
  }
  // Two rows, the first source from `offset` on; true when the result is right.
  bool absDiff(uint32_t width = 8, uint32_t srcStride = 16, uint32_t dstStride = 16,
               uint32_t offset = 0) {
    constexpr uint32_t kHeight = 2;
    std::fill(std::begin(dst), std::end(dst), uint8_t{0});
    lumAbsDiffu8(src1 + offset, src2, width, kHeight, srcStride, dst, dstStride);
    for (uint32_t y = 0; y < kHeight; ++y) {
      for (uint32_t x = 0; x < width; ++x) {
        const int a = src1[offset + y * srcStride + x], b = src2[y * srcStride + x];
        if (dst[y * dstStride + x] != std::abs(a - b)) return false;
      }
    }
    return true;
  }
};

#endif  // LUMEN_TEST_SUPPORT_H
