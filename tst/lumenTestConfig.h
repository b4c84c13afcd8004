// What a run of the test program is told: the two process-wide records that the options fill and
// that module tests, test buffers and the timing code read. And the scratch images of the run.

#ifndef LUMEN_TEST_CONFIG_H
#define LUMEN_TEST_CONFIG_H

#include <cstdint>

#include "lumen/lumenControl.h"
#include "lumenBuffer.h"
#include "lumenTestBuffer.h"

// The implementation slots that module tests go through.
enum LUMEN_TEST_SLOT : uint32_t {
  LUMEN_TEST_SLOT_C,
  LUMEN_TEST_SLOT_VORTA,
  LUMEN_TEST_SLOT_ZDSP,
  LUMEN_TEST_SLOT_GPU,
  LUMEN_TEST_SLOT_LOW_POWER,
  LUMEN_TEST_SLOT_PERFORMANCE,
  LUMEN_TEST_SLOT_CPU_OFFLOAD,
  LUMEN_TEST_SLOT_CPU_PERFORMANCE,
};
inline constexpr uint32_t LUMEN_TEST_SLOT_COUNT = 8;

// The operation mode that each slot is tested in.
inline constexpr lumOperationMode LUMEN_TEST_SLOT_MODE[LUMEN_TEST_SLOT_COUNT] = {
    LUM_OP_TARGET_FLAG | LUMEN_UNIT_ARM,
    LUM_OP_TARGET_FLAG | LUMEN_UNIT_VORTA,
    LUM_OP_TARGET_FLAG | LUMEN_UNIT_ZDSP_TEST,
    LUM_OP_TARGET_FLAG | LUMEN_UNIT_GPU,
    LUMEN_OP_LOW_POWER,
    LUMEN_OP_PERFORMANCE,
    LUMEN_OP_CPU_OFFLOAD,
    LUMEN_OP_CPU_PERFORMANCE,
};

// Image sizes that profiling runs on: VGA first, the default; 239 x 161 is deliberately odd.
inline constexpr uint32_t LUMEN_TEST_RESOLUTION_COUNT = 8;
inline constexpr uint32_t LUMEN_TEST_RESOLUTION_WIDTH[LUMEN_TEST_RESOLUTION_COUNT] = {
    640, 800, 320, 239, 1920, 3264, 3840, 4000};
inline constexpr uint32_t LUMEN_TEST_RESOLUTION_HEIGHT[LUMEN_TEST_RESOLUTION_COUNT] = {
    480, 480, 240, 161, 1080, 2448, 2160, 3000};

struct LUMEN_TEST_RunConfig {
  uint8_t targetARM;
  uint8_t targetVorta;
  uint8_t targetZDSP;
  uint8_t targetReserved;
  uint8_t targetGPU;
  uint8_t modeLowPower;
  uint8_t modePerformance;
  uint8_t modeCpuOffload;
  uint8_t modeCpuPerformance;
  uint8_t cacheFlush;         // flush buffers before timed calls
  uint8_t testWithoutOpMode;  // check the library before any operation mode is set
  uint8_t openCvProfiling;    // stored only
  uint8_t exhaustive;         // run and compare every profiling row
  uint8_t alignToElement;     // shared buffers aligned to their element only
  uint8_t stackUsage;         // measure the stack that each module uses
  uint8_t heapStats;          // report the library's heap statistics for each module
  uint32_t funcId;            // the selected function (LUMEN_FUNC); 0 for all
  uint32_t dspIterations;     // divisor of the ZDSP time; 0 for none
  void (*flushFn)(void* data, int bytes);
  void (*leakCheckFn)();
  void* stubHandle;     // the DSP stub library
  uint32_t resolution;  // index into the profiling resolutions
  uint8_t slotEnabled[LUMEN_TEST_SLOT_COUNT];
};

struct LUMEN_TEST_Settings {
  uint8_t unitTests = 1;
  uint8_t perfTests = 1;
  uint32_t numSlots = LUMEN_TEST_SLOT_COUNT;
  uint32_t loopMultiplier = 10;  // for the fast modules
  const char* resultText[2] = {"PASS", "FAIL"};
  char profileOrder[12] = "CVQGLPFSO";
  lumMemOption memOption[LUMEN_TEST_SLOT_COUNT] = {
      LUMEN_MEM_HEAP,   LUMEN_MEM_HEAP,   LUMEN_MEM_SHARED, LUMEN_MEM_LIBRARY,
      LUMEN_MEM_SHARED, LUMEN_MEM_SHARED, LUMEN_MEM_SHARED, LUMEN_MEM_HEAP};
};

extern LUMEN_TEST_RunConfig lumenTestRunConfig;  // all zero at start
extern LUMEN_TEST_Settings lumenTestSettings;

// For modules that need an image of their own; empty at start.
inline constexpr uint32_t LUMEN_TEST_BUFFER_COUNT = 12;
extern LUMEN_TEST_Buffer lumenTestBuffers[LUMEN_TEST_BUFFER_COUNT];

#endif  // LUMEN_TEST_CONFIG_H
