#include "lumenTestModule.h"

#include "lumenTestBuffer.h"
#include "lumenTestCase.h"
#include "lumenTestConfig.h"
#include "lumenTestLog.h"
#include "lumenTestTable.h"

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

// One record for each slot, with room for the time of every call.
class Times {
 public:
  explicit Times(int loops) {
    const size_t bytes = static_cast<size_t>(loops > 0 ? loops : 0) * sizeof(uint64_t);
    for (LUMEN_TEST_Times& slot : slots_) {
      if (bytes == 0 || bytes > UINT32_MAX) continue;
      slot.samples =
          static_cast<uint64_t*>(LUMEN_TEST_MemAlloc(static_cast<uint32_t>(bytes), option_));
      slot.maxSamples = slot.samples ? static_cast<uint32_t>(loops) : 0;
      slot.Reset();
    }
  }
  ~Times() {
    for (LUMEN_TEST_Times& slot : slots_) LUMEN_TEST_MemFree(slot.samples, option_);
  }
  Times(const Times&) = delete;
  Times& operator=(const Times&) = delete;

  LUMEN_TEST_Times* data() { return slots_; }

 private:
  const lumMemOption option_ = lumenTestSettings.memOption[0];
  LUMEN_TEST_Times slots_[LUMEN_TEST_SLOT_COUNT] = {};
};

// One function in one slot: what the run's switches ask for. 0 when nothing failed.
int runInSlot(const LUMEN_TEST_Function& function, const LUMEN_TEST_UnitRun& run, int loops) {
  const auto test = [&](LUMEN_TEST_TYPE type, int count) {
    return function.unitTest(run.name, run.dataDirectory, run.target, run.tolerance, type, count,
                             run.times);
  };
  int failed = 0;
  if (lumenTestSettings.unitTests) {
    failed |= function.unitOnly
                  ? function.unitOnly(run.name, run.dataDirectory, run.target, run.tolerance)
                  : test(LUMEN_TEST_UNIT, 0);
  }
  if (lumenTestRunConfig.exhaustive && function.unitTest) failed |= test(LUMEN_TEST_EXHAUSTIVE, 0);
  if (lumenTestSettings.perfTests) {
    if (function.profiling) function.profiling(run.name, loops, run.times, run.target);
    else test(LUMEN_TEST_PROFILING, loops);
  }
  return failed;
}

}  // namespace

int LUMEN_TEST_RunUnit(const LUMEN_TEST_Description& description, const LUMEN_TEST_UnitRun& run) {
  const LUMEN_TEST_Script script(run.dataDirectory, description.scripts,
                                 run.type != LUMEN_TEST_UNIT);
  if (!script) return 1;

  LUMEN_TEST_Case testCase(description, memOptionOf(run));
  int anyFailed = 0, lastFailed = 0;
  for (unsigned int row = 0; testCase.read(script); ++row) {
    const LUMEN_TEST_Case::State state = testCase.prepare();
    if (state == LUMEN_TEST_Case::State::outOfMemory) {
      LUMEN_TEST_Log("Out of memory...Allocating dstBuffer %s\n", "");
      return 1;
    }
    const bool usable = state == LUMEN_TEST_Case::State::ready;
    if (run.type == LUMEN_TEST_PROFILING) {
      if (row != lumenTestRunConfig.resolution) continue;
      if (usable) timeCalls(run, testCase);
      break;
    }
    if (usable) testCase.call();
    lastFailed = usable ? testCase.compare(run.tolerance) : 1;
    anyFailed |= lastFailed;
    if (lastFailed) {
      LUMEN_TEST_Log("LUMEN_TEST, %s_%c (%d) =>%s", run.name, letterOf(run), static_cast<int>(row),
                     lumenTestSettings.resultText[1]);
    }
  }
  if (run.type != LUMEN_TEST_PROFILING) logVerdict(run, lastFailed);
  return anyFailed;
}

void LUMEN_TEST_RunProfiling(const LUMEN_TEST_Description& description,
                             const LUMEN_TEST_UnitRun& run) {
  if (lumenTestRunConfig.resolution != 0) return;
  LUMEN_TEST_Case testCase(description, memOptionOf(run));
  if (testCase.shapeForProfiling()) timeCalls(run, testCase);
  else LUMEN_TEST_Log("Out of memory...Allocating %s\n", run.name);
}

int LUMEN_TEST_RunModule(std::span<const LUMEN_TEST_Function> functions, int loops,
                         const char* dataDirectory) {
  Times times(loops);
  int moduleFailed = 0;
  for (const LUMEN_TEST_Function& function : functions) {
    if (lumenTestRunConfig.funcId != 0 && lumenTestRunConfig.funcId != function.description->id)
      continue;
    int failed = 0;
    for (unsigned int slot = 0; slot < lumenTestSettings.numSlots; ++slot) {
      float tolerances[2] = {};
      if (!lumenTestRunConfig.slotEnabled[slot]) continue;
      if (!isFunctionImpl(function.description->id, slot, tolerances)) continue;
      lumSetOperationMode(LUMEN_TEST_SLOT_MODE[slot]);
      failed |= runInSlot(function,
                          {function.description->name, dataDirectory, slot, tolerances[0],
                           LUMEN_TEST_UNIT, 0, &times.data()[slot]},
                          loops);
    }
    GENERATE_PERF_LOG(function.description->name, failed, times.data(), lumenTestSettings.numSlots,
                      LUMEN_PROFILING_TOTALS, 1.0f);
    moduleFailed |= failed;
  }
  return moduleFailed;
}
