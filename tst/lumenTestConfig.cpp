#include "lumenTestConfig.h"

constinit LUMEN_TEST_RunConfig lumenTestRunConfig = {};
constinit LUMEN_TEST_Settings lumenTestSettings = {};
LUMEN_TEST_Buffer lumenTestBuffers[LUMEN_TEST_BUFFER_COUNT];
