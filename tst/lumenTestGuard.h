// Runs a function on images beside inaccessible memory, and says what it touched of that.

#ifndef LUMEN_TEST_GUARD_H
#define LUMEN_TEST_GUARD_H

#include <vector>

#include "lumenTestSweepCase.h"

// `check` is tail, head or row. Row: each row in a call of its own, at either end of inaccessible
// memory, and the whole image with such memory between its rows. 1 when a case failed.
int LUMEN_TEST_CheckGuard(LUMEN_TEST_OwnCheck check, const LUMEN_TEST_Description& description,
                          unsigned int slot, const std::vector<LUMEN_TEST_SweepCase>& cases);

#endif  // LUMEN_TEST_GUARD_H
