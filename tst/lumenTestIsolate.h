// Work in a process of its own, with a time limit: it may crash or hang.

#ifndef LUMEN_TEST_ISOLATE_H
#define LUMEN_TEST_ISOLATE_H

#include <functional>
#include <string>

#include "lumenTestRecord.h"
#include "lumenTestTimes.h"

struct LUMEN_TEST_Isolated {
  // pass: the work came to its end; otherwise crashed or timeout.
  LUMEN_TEST_Verdict verdict = LUMEN_TEST_Verdict::crashed;
  int result = 1;      // of the work that came to its end
  std::string detail;  // how it ended: "SIGSEGV", "exit status 1", "60 s"
  double seconds = 0;
};

// Runs `work` in a child process of this one and waits for it. The child's changes to memory are
// lost but for `times` (may be null) and the checks that it recorded, which `onCheck` gets once it
// has ended, also when it did not end well.
LUMEN_TEST_Isolated LUMEN_TEST_RunIsolated(
    double seconds, LUMEN_TEST_Times* times, const std::function<int()>& work,
    const std::function<void(const LUMEN_TEST_CheckResult&)>& onCheck = LUMEN_TEST_RecordCheck);

#endif  // LUMEN_TEST_ISOLATE_H
