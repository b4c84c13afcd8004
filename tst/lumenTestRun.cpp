#include "lumenTestRun.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "lumen/lumenControl.h"
#include "lumen/lumenMem.h"
#include "lumenTestConfig.h"
#include "lumenTestDefaultMode.h"
#include "lumenTestDevice.h"
#include "lumenTestExtras.h"
#include "lumenTestFunctions.h"
#include "lumenTestLog.h"
#include "lumenTestModules.h"
#include "lumenTestRecord.h"
#include "lumenTestSweep.h"
#include "lumenTestTable.h"
#include "lumenTestTally.h"
#include "lumenTestToInt.h"

namespace {

// Bits of -M.
enum : int {
  kModeLowPower = 1,
  kModePerformance = 2,
  kModeCpuOffload = 4,
  kModeCpuPerformance = 8,
};

constexpr int kDspUnits = LUMEN_UNIT_ZDSP | LUMEN_UNIT_ZDSP_TEST;
constexpr int kUnitsBesideTheProcessor = LUMEN_UNIT_ZDSP | LUMEN_UNIT_FPGA | LUMEN_UNIT_GPU |
                                         LUMEN_UNIT_C2D | LUMEN_UNIT_DMA | LUMEN_UNIT_ZDSP_TEST;

// Whether the run may use any of the units. Only -M 8 on its own rules them all out.
bool mayUse(const LUMEN_TEST_Options& options, int units) {
  return options.opMode != kModeCpuPerformance &&
         (options.target == 0 || (options.target & units) != 0);
}

int refuse(const char* program, const char* message) {
  std::fputs(message, stderr);
  LUMEN_TEST_PrintHelp(program);
  return 1;
}

// Returns the seed that was taken.
unsigned int seedGenerator(long given) {
  const long seed = given >= 0 ? given : static_cast<long>(std::time(nullptr));
  std::srand(static_cast<unsigned int>(seed));
  return static_cast<unsigned int>(seed);
}

void checkDspLibraries(const LUMEN_TEST_Options& options) {
  if (!mayUse(options, kDspUnits)) return;
  char flag[LUM_PROPERTY_SIZE];
  lumSystemProperty("vendor.runtime.skel.flag", flag);
  flag[LUM_PROPERTY_SIZE - 1] = '\0';
  if (LUMEN_TEST_ToInt(flag) != 0) check_skel_libs("ls /vendor/lib/rfsa/adsp/");
}

// Returns the mask of the hardware that was found.
uint32_t initializeLibrary(const LUMEN_TEST_Options& options) {
  const bool performance = mayUse(options, kUnitsBesideTheProcessor);
  const int64_t start = lumGetTime();
  const uint32_t hardware =
      lumAvailableHardware(performance ? LUMEN_OP_PERFORMANCE : LUMEN_OP_CPU_PERFORMANCE);
  const long long time = lumGetTime() - start;
  if (performance) {
    LUMEN_TEST_Log("\nTime taken for Initialization(Z6,GPU) in LUMEN_OP_PERFORMANCE is: %lld \n",
                   time);
  } else {
    LUMEN_TEST_Log("\nTime taken for Initialization in LUMEN_OP_CPU_PERFORMANCE is: %lld \n", time);
  }
  return hardware;
}

void chooseTargets(const LUMEN_TEST_Options& options) {
  LUMEN_TEST_RunConfig& config = lumenTestRunConfig;
  const auto has = [&](int units) {
    return static_cast<uint8_t>(options.target == 0 || (options.target & units) != 0);
  };
  config.targetARM = has(LUMEN_UNIT_ARM);
  config.targetVorta = has(LUMEN_UNIT_VORTA);
  config.targetZDSP = has(kDspUnits);
  config.targetReserved = 0;
  config.targetGPU = has(LUMEN_UNIT_GPU);
  config.funcId = parseFunctionName(options.funcName);
  LUMEN_TEST_Log("Targets chosen: ARM:%d VORTA:%d ZDSP:%d, GPU:%d", config.targetARM,
                 config.targetVorta, config.targetZDSP, config.targetGPU);
}

void chooseModes(const LUMEN_TEST_Options& options) {
  LUMEN_TEST_RunConfig& config = lumenTestRunConfig;
  const auto has = [&](int mode) { return static_cast<uint8_t>((options.opMode & mode) != 0); };
  config.modeLowPower = has(kModeLowPower);
  config.modePerformance = has(kModePerformance);
  config.modeCpuOffload = has(kModeCpuOffload);
  config.modeCpuPerformance = has(kModeCpuPerformance);
  LUMEN_TEST_Log(
      "Operation mode chosen: LowPower: %d, Performance: %d, CPU offload: %d, CPU Performance: %d",
      config.modeLowPower, config.modePerformance, config.modeCpuOffload,
      config.modeCpuPerformance);
}

// With -OPT the units are not tested one by one, only the operation modes.
void chooseSlots(const LUMEN_TEST_Options& options) {
  LUMEN_TEST_RunConfig& config = lumenTestRunConfig;
  const auto unit = [&](uint8_t chosen) { return options.optOnly ? uint8_t{0} : chosen; };
  config.slotEnabled[LUMEN_TEST_SLOT_C] = unit(config.targetARM);
  config.slotEnabled[LUMEN_TEST_SLOT_VORTA] = unit(config.targetVorta);
  config.slotEnabled[LUMEN_TEST_SLOT_ZDSP] = unit(config.targetZDSP);
  config.slotEnabled[LUMEN_TEST_SLOT_GPU] = unit(config.targetGPU);
  config.slotEnabled[LUMEN_TEST_SLOT_LOW_POWER] = config.modeLowPower;
  config.slotEnabled[LUMEN_TEST_SLOT_PERFORMANCE] = config.modePerformance;
  config.slotEnabled[LUMEN_TEST_SLOT_CPU_OFFLOAD] = config.modeCpuOffload;
  config.slotEnabled[LUMEN_TEST_SLOT_CPU_PERFORMANCE] = config.modeCpuPerformance;
}

// The words that a slot's letter stands for in a performance line.
const char* profileOrderWords(char letter) {
  switch (letter) {
    case 'C':
      return "REF, ";
    case 'F':
      return "CPUOffload, ";
    case 'G':
      return "GPU, ";
    case 'L':
      return "LowPower, ";
    case 'P':
      return "Performance, ";
    case 'Q':
      return "ZDSP, ZDSPw/oRem, ";
    case 'S':
      return "CPUPerformance, ";
    case 'V':
      return "Vorta, ";
    default:
      return "";
  }
}

void printProfilingOrder() {
  char line[1024] = "PROFILING ORDER : ";
  for (uint32_t slot = 0; slot < lumenTestSettings.numSlots; ++slot) {
    std::strncat(line, profileOrderWords(lumenTestSettings.profileOrder[slot]),
                 sizeof(line) - 1 - std::strlen(line));
  }
  std::printf("LUMEN_PROFILE, %s\n", line);
}

void startMemory(const LUMEN_TEST_Options& options) {
  if (!options.useBufferPool) return;
  if (options.preAllocEnable) {
    std::printf("preAllocEnable, nPreAllocBytes %d\n", options.nPreAllocBytes);
    lumMemInitPreAlloc(static_cast<uint32_t>(options.nPreAllocBytes));
  } else {
    lumMemInit();
  }
}

// Whether -m and -f name something; only --strict asks.
bool namesAreKnown(const LUMEN_TEST_Options& options) {
  const auto selected = [&](const LUMEN_TEST_Module& module) {
    return module.isSelectedBy(options.moduleName);
  };
  if (std::none_of(std::begin(LUMEN_TEST_MODULES), std::end(LUMEN_TEST_MODULES), selected)) {
    LUMEN_TEST_LogFault("there is no module %s", options.moduleName);
    return false;
  }
  if (options.funcName && lumenTestRunConfig.funcId == LUMEN_FUNC_NONE) {
    LUMEN_TEST_LogFault("there is no function %s", options.funcName);
    return false;
  }
  return true;
}

// The modules, as often as is wanted, each time with the next seed.
int runModules(const LUMEN_TEST_Options& options, const char* dataDirectory, unsigned int seed) {
  const LUMEN_TEST_Extras& extras = lumenTestExtras;
  if (extras.strict && !namesAreKnown(options)) return 1;
  int failed = 0;
  const uint32_t passes = extras.list ? 1 : extras.repeat;
  for (uint32_t pass = 0; pass < passes && !lumenTestTally.stopped; ++pass) {
    if (pass > 0) std::srand(seed + pass);
    if (passes > 1)
      LUMEN_TEST_Log("LUMEN_TEST, pass %u of %u, seed %u", pass + 1, passes, seed + pass);
    lumenTestOwnDataRun.seed = seed + pass;
    failed |=
        LUMEN_TEST_RunModules(LUMEN_TEST_MODULES, options.moduleName, options.loops, dataDirectory);
  }
  // A case is named to be run: when nothing met it, nothing has passed.
  if (!extras.caseText.empty() && lumenTestTally.ran == 0 && !extras.list) {
    lumLog(LUM_LOG_ERROR, LUMEN_TEST_LOG_TAG,
           "ERROR: case '%s' is of no function and slot of this run", extras.caseText.c_str());
    return 1;
  }
  if (!extras.strict) return failed;
  if (lumenTestTally.ran == 0) {
    LUMEN_TEST_LogFault("nothing was selected");
    return 1;
  }
  if (lumenTestTally.fellBack) LUMEN_TEST_LogFault("a slot fell back to another column");
  return failed || lumenTestTally.fellBack || LUMEN_TEST_AnyExtraCheckFailed();
}

void summarize(int failed) {
  const char* verdict = lumenTestSettings.resultText[failed];
  LUMEN_TEST_Log("FIT:(FeatureName=>LUMEN, Overall=>%s)", verdict);
  std::printf("LUMEN_PROFILE, FIT:(FeatureName=>LUMEN, Overall=>%s)\n", verdict);
  if (failed) LUMEN_TEST_Log("...\n");
}

}  // namespace

int LUMEN_TEST_Run(const char* program, const char* dataDirectory,
                   const LUMEN_TEST_Options& options) {
  const bool list = lumenTestExtras.list;  // what would run, and nothing is
  int failed = 0;
  if (lumenTestRunConfig.testWithoutOpMode && !list) {
    failed = LUMEN_TEST_CheckDefaultMode(LUMEN_TEST_DEFAULT_MODE_TESTS, dataDirectory) != 0;
  }
  if (options.bumpClocks && !list) lumtest_bump_arm_clk();
  if (options.funcName && !options.moduleName) {
    return refuse(program, "ERROR: Specify the module name to which this function belongs\n");
  }
  const unsigned int seed = seedGenerator(options.seed);
  if (!list) {
    checkDspLibraries(options);
    LUMEN_TEST_RecordRun(seed, initializeLibrary(options));
  }

  chooseTargets(options);
  chooseModes(options);
  if (options.optOnly && options.opMode == 0) {
    return refuse(program, "ERROR: missing -M option with -OPT\n");
  }
  chooseSlots(options);

  if (!list) {
    lumtest_dump_clocks();
    printProfilingOrder();
  }
  if (lumenTestRunConfig.funcId != LUMEN_FUNC_NONE) {
    LUMEN_TEST_Log("Function chosen: %s ", options.funcName);
  }

  LUMEN_TEST_ClearTestTable();
  if (const int status = LUMEN_TEST_ReadTestTable(dataDirectory)) return status;

  lumenTestOwnDataRun.dataDirectory = dataDirectory;
  if (list) return runModules(options, dataDirectory, seed);
  startMemory(options);
  failed |= runModules(options, dataDirectory, seed);
  summarize(failed);
  LUMEN_TEST_LogBuiltModules(LUMEN_TEST_MODULES);
  if (options.useBufferPool) lumMemDeInit();
  lumCleanUp();
  return failed;
}
