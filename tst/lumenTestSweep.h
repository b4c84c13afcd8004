// Checks of a function on data that nobody wrote down, driven by its description alone.
//
// sweep: results equal those of the reference slot for all small sizes, strides, alignments and
// contents that vector code tends to get wrong. guard: nothing outside the images is touched, which
// inaccessible memory beside them shows. poison: every pixel is written, nothing else is, and
// results depend on pixels alone.

#ifndef LUMEN_TEST_SWEEP_H
#define LUMEN_TEST_SWEEP_H

#include <cstdint>
#include <string>

#include "lumenTestDescription.h"

// What the checks know of the run that they are part of.
struct LUMEN_TEST_OwnDataRun {
  std::string dataDirectory = "DIR";  // for the command that repeats a case
  uint64_t seed = 1246302971;         // mixed into the seed of each case
};
extern LUMEN_TEST_OwnDataRun lumenTestOwnDataRun;

// Does what --sweep, --guard, --poison and --case ask for, in one slot, whose operation mode is set
// and is set again on return. 1 when something failed. The tolerance is that of the test table, for
// floats; integers have to be exact.
int LUMEN_TEST_CheckOwnData(const LUMEN_TEST_Description& description, unsigned int slot,
                            float tolerance);

#endif  // LUMEN_TEST_SWEEP_H
