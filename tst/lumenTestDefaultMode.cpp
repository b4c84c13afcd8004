#include "lumenTestDefaultMode.h"

#include "lumenTestLog.h"
#include "lumenTestModule.h"

LUMEN_TEST_UnitOnly unitTest_lumColorYUV420toRGB565u8Rotate180;

// All run in slot 0, the C reference. To build a test, write its call (as the comment says) in the
// place of null:  {"unitTest_x", [](const char* dir) { return unitTest_x("x", dir, 0, ...); }},
const LUMEN_TEST_DefaultModeTest LUMEN_TEST_DEFAULT_MODE_TESTS[LUMEN_TEST_DEFAULT_MODE_TEST_COUNT] =
    {
        // "lumFilterMedian3x3u8", tolerance 0, unit test
        {"unitTest_lumFilterMedian3x3u8", nullptr},
        // lumDotProduct36x1s8, "lumDotProduct36x1s8", the data directory,
        // "/miradotproduct/miraDotProduct36x1s8/unit_test"
        {"unitTest_DotProductNx1s8", nullptr},
        // "lumDotProduct36x1s8", tolerance 0, exhaustive test
        {"unitTestReg_DotProduct36x1s8", nullptr},
        // "lumSumOfSquaredDiffs36x4s8", tolerance 1e-6
        {"unitTest_lumSumOfSquaredDiffs36x4s8", nullptr},
        // "lumColorYUV420toRGB565u8Rotate180", tolerance 0
        {"unitTest_lumColorYUV420toRGB565u8Rotate180",
         [](const char* dataDirectory) {
           return unitTest_lumColorYUV420toRGB565u8Rotate180("lumColorYUV420toRGB565u8Rotate180",
                                                             dataDirectory, 0, 0);
         }},
};

int LUMEN_TEST_CheckDefaultMode(std::span<const LUMEN_TEST_DefaultModeTest> tests,
                                const char* dataDirectory) {
  int failed = 0;
  size_t ran = 0;
  for (const LUMEN_TEST_DefaultModeTest& test : tests) {
    if (test.run) {
      failed |= test.run(dataDirectory);
      ++ran;
    } else {
      lumLog(LUM_LOG_WARN, LUMEN_TEST_LOG_TAG, "LUMEN_TEST, %s=>NOT BUILT", test.name);
    }
  }
  if (failed) {
    lumLog(LUM_LOG_ERROR, LUMEN_TEST_LOG_TAG,
           "ERROR: Running lumen API without calling setOperationMode is fail\n");
  } else if (ran == tests.size()) {
    LUMEN_TEST_Log("Running lumen API without calling setOperationMode is pass\n");
  }
  if (ran != tests.size()) {
    lumLog(LUM_LOG_WARN, LUMEN_TEST_LOG_TAG,
           "LUMEN_TEST, %zu of %zu tests without setOperationMode were run", ran, tests.size());
  }
  return failed;
}
