// The self-test: faults are planted in an implementation, and the checks have to find them.

#ifndef LUMEN_TEST_SELF_TEST_H
#define LUMEN_TEST_SELF_TEST_H

// Returns the exit status: 0 when every fault was found by each of the checks that are there for
// it, and nothing was found where there is no fault; otherwise 1. The golden rows come from the
// data directory.
int LUMEN_TEST_RunSelfTest(const char* dataDirectory);

#endif  // LUMEN_TEST_SELF_TEST_H
