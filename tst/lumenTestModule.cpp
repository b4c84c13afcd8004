#include "lumenTestModule.h"

#include <vector>

#include "lumenTestBench.h"
#include "lumenTestBuffer.h"
#include "lumenTestCase.h"
#include "lumenTestConfig.h"
#include "lumenTestExtras.h"
#include "lumenTestLog.h"
#include "lumenTestRecordRows.h"

namespace {

lumMemOption memOptionOf(const LUMEN_TEST_UnitRun& run) {
  return lumenTestSettings.memOption[run.target];
}

char letterOf(const LUMEN_TEST_UnitRun& run) { return lumenTestSettings.profileOrder[run.target]; }

void logVerdict(const LUMEN_TEST_UnitRun& run, int failed) {
  const char* verdict = lumenTestSettings.resultText[failed != 0];
  if (run.type == LUMEN_TEST_UNIT) {
    LUMEN_TEST_Log("LUMEN_TEST, %s_%c =>%s", run.name, letterOf(run), verdict);
  } else {
    LUMEN_TEST_Log("LUMEN_TEST, %s_%c_E =>%s", run.name, letterOf(run), verdict);
  }
}

void timeCalls(const LUMEN_TEST_UnitRun& run, LUMEN_TEST_Case& testCase) {
  for (int i = 0; i < run.loops; ++i) {
    testCase.flush();
    run.times->Start();
    testCase.call();
    run.times->EndTimeCommit();
  }
}

// What --strict finds at fault in a script that was gone through; null: nothing. `timed`: the row
// to be timed was there, or no call is wanted.
const char* faultOf(const LUMEN_TEST_UnitRun& run, LUMEN_TEST_RowStatus status, unsigned int rows,
                    bool timed) {
  if (!lumenTestExtras.strict) return nullptr;
  if (status == LUMEN_TEST_RowStatus::refused) return "a row cannot be read";
  if (run.type == LUMEN_TEST_PROFILING) return timed ? nullptr : "there is no row to time";
  return rows == 0 ? "there is no row" : nullptr;
}

}  // namespace

int LUMEN_TEST_RunUnit(const LUMEN_TEST_Description& description, const LUMEN_TEST_UnitRun& run) {
  const LUMEN_TEST_Script script(run.dataDirectory, description.scripts,
                                 run.type != LUMEN_TEST_UNIT);
  LUMEN_TEST_RowRecords records(description, run);
  if (!script) {
    records.giveUp("it cannot be opened");
    return 1;
  }

  LUMEN_TEST_Case testCase(description, memOptionOf(run));
  int anyFailed = 0, lastFailed = 0;
  bool timed = run.loops == 0;
  unsigned int row = 0;
  LUMEN_TEST_RowStatus status;
  for (; (status = testCase.read(script)) == LUMEN_TEST_RowStatus::row; ++row) {
    const LUMEN_TEST_Case::State state = testCase.prepare();
    if (state == LUMEN_TEST_Case::State::outOfMemory) {
      LUMEN_TEST_Log("Out of memory...Allocating dstBuffer %s\n", "");
      records.giveUp("out of memory");
      return 1;
    }
    const bool usable = state == LUMEN_TEST_Case::State::ready;
    if (run.type == LUMEN_TEST_PROFILING) {
      if (row != lumenTestRunConfig.resolution) continue;
      if (usable) timeCalls(run, testCase);
      timed = timed || usable;
      break;
    }
    if (usable) testCase.call();
    lastFailed = usable ? testCase.compare(run.tolerance) : 1;
    anyFailed |= lastFailed;
    records.add(row, lastFailed != 0, usable ? &testCase : nullptr);
    if (lastFailed) {
      LUMEN_TEST_Log("LUMEN_TEST, %s_%c (%d) =>%s", run.name, letterOf(run), static_cast<int>(row),
                     lumenTestSettings.resultText[1]);
    }
  }
  if (run.type != LUMEN_TEST_PROFILING) logVerdict(run, lastFailed);
  if (const char* fault = faultOf(run, status, row, timed)) {
    LUMEN_TEST_LogFault("%s_%c: %s in its script", run.name, letterOf(run), fault);
    records.giveUp(fault);
    return 1;
  }
  return anyFailed;
}

void LUMEN_TEST_RunProfiling(const LUMEN_TEST_Description& description,
                             const LUMEN_TEST_UnitRun& run) {
  if (lumenTestRunConfig.resolution != 0) return;
  LUMEN_TEST_Case testCase(description, memOptionOf(run));
  if (testCase.shapeForProfiling()) timeCalls(run, testCase);
  else LUMEN_TEST_Log("Out of memory...Allocating %s\n", run.name);
}
