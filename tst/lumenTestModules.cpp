#include "lumenTestModules.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "lumen/lumenMem.h"
#include "lumenTestConfig.h"
#include "lumenTestDevice.h"
#include "lumenTestExtras.h"
#include "lumenTestLog.h"
#include "lumenTestOptions.h"
#include "lumenTestRecord.h"
#include "lumenTestTally.h"

const LUMEN_TEST_Module LUMEN_TEST_MODULES[LUMEN_TEST_MODULE_COUNT] = {
#define LUMEN_TEST_MODULE_PENDING(name, comparedBytes, loops, entry) \
  {name, comparedBytes, LUMEN_TEST_LOOPS::loops, nullptr},
#define LUMEN_TEST_MODULE_BUILT(name, comparedBytes, loops, entry) \
  {name, comparedBytes, LUMEN_TEST_LOOPS::loops, entry},
#include "lumenTestModules.def"
};
static_assert([] {
  size_t count = 0;
#define LUMEN_TEST_MODULE(name, comparedBytes, loops, entry) ++count;
#include "lumenTestModules.def"
  return count == LUMEN_TEST_MODULE_COUNT;
}());

namespace {

static_assert(uint64_t{LUMEN_TEST_MAX_LOOPS} * LUMEN_TEST_Settings{}.loopMultiplier <= INT_MAX);

int loopsOf(const LUMEN_TEST_Module& module, int loops) {
  if (module.loops == LUMEN_TEST_LOOPS::asGiven) return loops;
  return loops * static_cast<int>(lumenTestSettings.loopMultiplier);
}

// In a frame of its own, which has to be small, for the stack probe. A module of which additions
// leave nothing has no verdict.
LUMEN_TEST_ON_REAL_STACK int runModule(const LUMEN_TEST_Module& module, int loops,
                                       const char* dataDirectory) {
  int marker = 0;
  unsigned char* top = nullptr;
  if (lumenTestRunConfig.stackUsage) top = lum_test_stackprefill(marker);
  if (lumenTestRunConfig.heapStats) lumHeapStatsInit();

  LUMEN_TEST_RecordModule(module.name);
  const unsigned int ranBefore = lumenTestTally.ran;
  const int failed = module.entry(loopsOf(module, loops), dataDirectory) != 0;
  if (lumenTestExtras.list) return 0;
  if (lumenTestExtras.narrows() && lumenTestTally.ran == ranBefore) {
    LUMEN_TEST_RecordModuleVerdict(module.name, LUMEN_TEST_Verdict::skipped);
  } else {
    LUMEN_TEST_Log("LUMEN_TEST, %s=>%s", module.name, lumenTestSettings.resultText[failed]);
    LUMEN_TEST_RecordModuleVerdict(module.name,
                                   failed ? LUMEN_TEST_Verdict::fail : LUMEN_TEST_Verdict::pass);
    if (failed && !lumenTestTally.stopped) LUMEN_TEST_NoteFailure(module.name);
  }

  if (lumenTestRunConfig.heapStats) lumHeapStats();
  if (top) lum_test_stackusage(top, module.name);
  return failed;
}

// A module that is named has to be there.
int noteNotBuilt(const LUMEN_TEST_Module& module, bool isNamed) {
  if (!lumenTestExtras.list) {
    lumLog(LUM_LOG_WARN, LUMEN_TEST_LOG_TAG, "LUMEN_TEST, %s=>NOT BUILT", module.name);
    LUMEN_TEST_RecordModuleVerdict(module.name, LUMEN_TEST_Verdict::notBuilt);
  }
  if (!isNamed || !lumenTestExtras.strict) return 0;
  LUMEN_TEST_LogFault("module %s is not built", module.name);
  return 1;
}

}  // namespace

bool LUMEN_TEST_Module::isSelectedBy(const char* moduleName) const {
  return !moduleName || std::strncmp(moduleName, name, comparedBytes) == 0;
}

int LUMEN_TEST_RunModules(std::span<const LUMEN_TEST_Module> modules, const char* moduleName,
                          int loops, const char* dataDirectory) {
  int failed = 0;
  for (const LUMEN_TEST_Module& module : modules) {
    if (lumenTestTally.stopped) break;
    if (!module.isSelectedBy(moduleName)) continue;
    failed |= module.entry ? runModule(module, loops, dataDirectory)
                           : noteNotBuilt(module, moduleName != nullptr);
  }
  return failed;
}

void LUMEN_TEST_LogBuiltModules(std::span<const LUMEN_TEST_Module> modules) {
  const auto built = std::count_if(modules.begin(), modules.end(),
                                   [](const LUMEN_TEST_Module& module) { return module.entry; });
  LUMEN_TEST_Log("LUMEN_TEST, %u of %u modules are built", static_cast<unsigned int>(built),
                 static_cast<unsigned int>(modules.size()));
}
