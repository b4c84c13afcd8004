#include "lumenTestRun.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "lumen/lumenControl.h"
#include "lumen/lumenMem.h"
#include "lumenTestConfig.h"
#include "lumenTestDefaultMode.h"
#include "lumenTestDevice.h"
#include "lumenTestFunctions.h"
#include "lumenTestLog.h"
#include "lumenTestModules.h"
#include "lumenTestTable.h"
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

void seedGenerator(long seed) {
  std::srand(static_cast<unsigned int>(seed >= 0 ? seed : static_cast<long>(std::time(nullptr))));
}

void checkDspLibraries(const LUMEN_TEST_Options& options) {
  if (!mayUse(options, kDspUnits)) return;
  char flag[LUM_PROPERTY_SIZE];
  lumSystemProperty("vendor.runtime.skel.flag", flag);
  flag[LUM_PROPERTY_SIZE - 1] = '\0';
  if (LUMEN_TEST_ToInt(flag) != 0) check_skel_libs("ls /vendor/lib/rfsa/adsp/");
}

void initializeLibrary(const LUMEN_TEST_Options& options) {
  const bool performance = mayUse(options, kUnitsBesideTheProcessor);
  const int64_t start = lumGetTime();
  lumAvailableHardware(performance ? LUMEN_OP_PERFORMANCE : LUMEN_OP_CPU_PERFORMANCE);
  const long long time = lumGetTime() - start;
  if (performance) {
    LUMEN_TEST_Log("\nTime taken for Initialization(Z6,GPU) in LUMEN_OP_PERFORMANCE is: %lld \n",
                   time);
  } else {
    LUMEN_TEST_Log("\nTime taken for Initialization in LUMEN_OP_CPU_PERFORMANCE is: %lld \n", time);
  }
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

void summarize(int failed) {
  const char* verdict = lumenTestSettings.resultText[failed];
  LUMEN_TEST_Log("FIT:(FeatureName=>LUMEN, Overall=>%s)", verdict);
  std::printf("LUMEN_PROFILE, FIT:(FeatureName=>LUMEN, Overall=>%s)\n", verdict);
  if (failed) LUMEN_TEST_Log("...\n");
}

}  // namespace

int LUMEN_TEST_Run(const char* program, const char* dataDirectory,
                   const LUMEN_TEST_Options& options) {
  int failed = 0;
  if (lumenTestRunConfig.testWithoutOpMode) {
    failed = LUMEN_TEST_CheckDefaultMode(LUMEN_TEST_DEFAULT_MODE_TESTS, dataDirectory) != 0;
  }
  if (options.bumpClocks) lumtest_bump_arm_clk();
  if (options.funcName && !options.moduleName) {
    return refuse(program, "ERROR: Specify the module name to which this function belongs\n");
  }
  seedGenerator(options.seed);
  checkDspLibraries(options);
  initializeLibrary(options);

  chooseTargets(options);
  chooseModes(options);
  if (options.optOnly && options.opMode == 0) {
    return refuse(program, "ERROR: missing -M option with -OPT\n");
  }
  chooseSlots(options);

  lumtest_dump_clocks();
  printProfilingOrder();
  if (lumenTestRunConfig.funcId != LUMEN_FUNC_NONE) {
    LUMEN_TEST_Log("Function chosen: %s ", options.funcName);
  }

  LUMEN_TEST_ClearTestTable();
  if (const int status = LUMEN_TEST_ReadTestTable(dataDirectory)) return status;

  startMemory(options);
  failed |=
      LUMEN_TEST_RunModules(LUMEN_TEST_MODULES, options.moduleName, options.loops, dataDirectory);
  summarize(failed);
  LUMEN_TEST_LogBuiltModules(LUMEN_TEST_MODULES);
  if (options.useBufferPool) lumMemDeInit();
  lumCleanUp();
  return failed;
}
