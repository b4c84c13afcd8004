// Keeps a failed case as test data: a directory that a later run can be given, with the files of
// the case, its row in a control script, and the function's row in a test table.

#ifndef LUMEN_TEST_SWEEP_SAVE_H
#define LUMEN_TEST_SWEEP_SAVE_H

#include <string>

#include "lumenTestSweepCompare.h"
#include "lumenTestSweepReport.h"

// A case after its call.
struct LUMEN_TEST_FailedCase {
  const LUMEN_TEST_Description& description;
  unsigned int slot;
  float tolerance;
  LUMEN_TEST_NamedCase named;
  const LUMEN_TEST_Layout& layout;
  const LUMEN_TEST_Arguments& arguments;
  const LUMEN_TEST_Reference& reference;
};

// Adds to what is there. Notes in `failure` where the case was saved, and as findings what a row
// cannot keep of it, or why it could not be saved.
void LUMEN_TEST_SaveCase(const LUMEN_TEST_FailedCase& failed, const std::string& directory,
                         LUMEN_TEST_CaseFailure& failure);

#endif  // LUMEN_TEST_SWEEP_SAVE_H
