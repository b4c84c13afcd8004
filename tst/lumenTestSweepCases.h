// Which cases each check runs.

#ifndef LUMEN_TEST_SWEEP_CASES_H
#define LUMEN_TEST_SWEEP_CASES_H

#include <cstdint>
#include <vector>

#include "lumenTestExtras.h"
#include "lumenTestSweepCase.h"

// All widths from 1 pixel to two of the widest vectors and one pixel more, and some beyond; each in
// every layout. Quick: heights and contents are picked for each. Full: every height, more contents,
// all contents for some widths, and images that no cache holds.
std::vector<LUMEN_TEST_SweepCase> LUMEN_TEST_SweepCases(const LUMEN_TEST_Description& description,
                                                        LUMEN_TEST_Sweep extent, uint64_t runSeed);

// The same widths with random contents; layouts without images that begin past an aligned address,
// since inaccessible memory says where images begin.
std::vector<LUMEN_TEST_SweepCase> LUMEN_TEST_GuardCases(const LUMEN_TEST_Description& description,
                                                        uint64_t runSeed);

// The same widths in every layout, with random contents.
std::vector<LUMEN_TEST_SweepCase> LUMEN_TEST_PoisonCases(const LUMEN_TEST_Description& description,
                                                         uint64_t runSeed);

#endif  // LUMEN_TEST_SWEEP_CASES_H
