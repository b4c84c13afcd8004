#include "lumenTestConfig.h"

constinit LUMEN_TEST_RunConfig lumenTestRunConfig = {};
constinit LUMEN_TEST_Settings lumenTestSettings = {};
