// The log of the test program.

#ifndef LUMEN_TEST_LOG_H
#define LUMEN_TEST_LOG_H

#include "platform/lumenPlatform.h"

inline constexpr const char* LUMEN_TEST_LOG_TAG = "lumen_test";

// A record at debug priority; the format may be a plain text. A macro, so that the compiler checks
// the arguments against the format.
#define LUMEN_TEST_Log(...) lumLog(LUM_LOG_DEBUG, LUMEN_TEST_LOG_TAG, __VA_ARGS__)

// What fails a run under --strict alone.
#define LUMEN_TEST_LogFault(format, ...)    \
  lumLog(LUM_LOG_ERROR, LUMEN_TEST_LOG_TAG, \
         "LUMEN_TEST, strict: " format __VA_OPT__(, ) __VA_ARGS__)

#endif  // LUMEN_TEST_LOG_H
