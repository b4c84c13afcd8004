// The order of a run.

#ifndef LUMEN_TEST_RUN_H
#define LUMEN_TEST_RUN_H

#include "lumenTestOptions.h"

// Runs the selected modules as the options say. Returns the exit status: 0 when everything that ran
// has passed, 1 otherwise, or when options contradict each other or the test table is missing.
int LUMEN_TEST_Run(const char* program, const char* dataDirectory,
                   const LUMEN_TEST_Options& options);

#endif  // LUMEN_TEST_RUN_H
