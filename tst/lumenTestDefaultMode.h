// The default-mode check (-TWOp): library functions are called before any operation mode is set,
// which has to run the reference code.

#ifndef LUMEN_TEST_DEFAULT_MODE_H
#define LUMEN_TEST_DEFAULT_MODE_H

#include <cstddef>
#include <span>

struct LUMEN_TEST_DefaultModeTest {
  const char* name;
  int (*run)(const char* dataDirectory);  // 0 for pass; null: not built
};

inline constexpr size_t LUMEN_TEST_DEFAULT_MODE_TEST_COUNT = 5;
extern const LUMEN_TEST_DefaultModeTest
    LUMEN_TEST_DEFAULT_MODE_TESTS[LUMEN_TEST_DEFAULT_MODE_TEST_COUNT];

// Runs the tests that are built and logs a verdict; 0 when none of them failed. The check as a
// whole has passed only when all are built and passed.
int LUMEN_TEST_CheckDefaultMode(std::span<const LUMEN_TEST_DefaultModeTest> tests,
                                const char* dataDirectory);

#endif  // LUMEN_TEST_DEFAULT_MODE_H
