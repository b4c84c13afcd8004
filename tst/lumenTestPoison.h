// Finds pixels that are never written, writes outside the images, inputs that change, and results
// that depend on more than the pixels of the inputs: each case is run with two different fillings
// of everything that is no input pixel.

#ifndef LUMEN_TEST_POISON_H
#define LUMEN_TEST_POISON_H

#include <vector>

#include "lumenTestSweepCase.h"

// 1 when a case failed.
int LUMEN_TEST_CheckPoison(const LUMEN_TEST_Description& description, unsigned int slot,
                           const std::vector<LUMEN_TEST_SweepCase>& cases);

#endif  // LUMEN_TEST_POISON_H
