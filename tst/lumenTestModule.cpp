#include "lumenTestModule.h"

#include <string>

#include "lumenTestBuffer.h"
#include "lumenTestTable.h"

namespace {

// What a path may have, its terminating zero included.
constexpr size_t kPathSize = 255;

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
int runInSlot(const LUMEN_TEST_Function& function, LUMEN_TEST_UnitRun run, int loops) {
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

LUMEN_TEST_Script::LUMEN_TEST_Script(const LUMEN_TEST_UnitRun& run, const Name& name) {
  const bool unit = run.type == LUMEN_TEST_UNIT;
  const std::string root = run.dataDirectory;
  const std::string path = root + "/" + name.directory + "/control_script_" +
                           (unit ? "" : "profiling_") + name.suffix + ".csv";
  dataDirectory_ = root + "/" + (unit ? name.directory : "lumTestRef") + "/";
  if (path.size() < kPathSize) file_.reset(std::fopen(path.c_str(), "rb"));
  if (!file_) LUMEN_TEST_Log("Could not open %s...\n", path.c_str());
}

void LUMEN_TEST_LogRowFailed(const LUMEN_TEST_UnitRun& run, unsigned int row) {
  LUMEN_TEST_Log("LUMEN_TEST, %s_%c (%d) =>%s", run.name, run.letter(), static_cast<int>(row),
                 lumenTestSettings.resultText[1]);
}

void LUMEN_TEST_LogVerdict(const LUMEN_TEST_UnitRun& run, int failed) {
  const char* verdict = lumenTestSettings.resultText[failed != 0];
  if (run.type == LUMEN_TEST_UNIT) {
    LUMEN_TEST_Log("LUMEN_TEST, %s_%c =>%s", run.name, run.letter(), verdict);
  } else {
    LUMEN_TEST_Log("LUMEN_TEST, %s_%c_E =>%s", run.name, run.letter(), verdict);
  }
}

int LUMEN_TEST_RunModule(std::span<const LUMEN_TEST_Function> functions, int loops,
                         const char* dataDirectory) {
  Times times(loops);
  int moduleFailed = 0;
  for (const LUMEN_TEST_Function& function : functions) {
    if (lumenTestRunConfig.funcId != 0 && lumenTestRunConfig.funcId != function.id) continue;
    int failed = 0;
    for (unsigned int slot = 0; slot < lumenTestSettings.numSlots; ++slot) {
      float tolerances[2] = {};
      if (!lumenTestRunConfig.slotEnabled[slot]) continue;
      if (!isFunctionImpl(function.id, slot, tolerances)) continue;
      lumSetOperationMode(LUMEN_TEST_SLOT_MODE[slot]);
      failed |= runInSlot(function,
                          {function.name, dataDirectory, slot, tolerances[0], LUMEN_TEST_UNIT, 0,
                           &times.data()[slot]},
                          loops);
    }
    GENERATE_PERF_LOG(function.name, failed, times.data(), lumenTestSettings.numSlots,
                      LUMEN_PROFILING_TOTALS, 1.0f);
    moduleFailed |= failed;
  }
  return moduleFailed;
}
