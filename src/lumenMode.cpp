#include "lumenMode.h"

#include <unistd.h>

#include <initializer_list>

#include "lumenEntry.h"
#include "lumenHardware.h"
#include "lumenRemote.h"
#include "lumenShared.h"

namespace {

bool tablesInitialised = false;

LUM_FUNC_MANAGER funcManager = {};

// The first mode of the process fills the tables. Later ones put the vector implementations back
// into the ZDSP column, over the remote entries of an earlier mode; the GPU column keeps them.
void buildTables(lumOperationMode mode) {
  if (tablesInitialised) {
    uVTable(LUM_IMPL_ZDSP);
    lumTableHWInitRemote(&funcManager, mode);
    return;
  }
  for (LUM_IMPL column : {LUM_IMPL_CPU, LUM_IMPL_VORTA, LUM_IMPL_ZDSP, LUM_IMPL_GPU}) {
    uCTable(column);
  }
  for (LUM_IMPL column : {LUM_IMPL_VORTA, LUM_IMPL_ZDSP, LUM_IMPL_GPU}) uVTable(column);
  funcManager = {LUM_IMPL_INDEX,          LUM_ROW_COUNT,          &LUM_FUNC_TABLE,
                 LUM_INTERNAL_IMPL_INDEX, LUM_INTERNAL_ROW_COUNT, &LUM_INTERNAL_FUNC_TABLE,
                 LUM_IMPL_COUNT};
  lumTableHWInitRemote(&funcManager, mode);
  tablesInitialised = true;
}

void selectVector() {
  uVRoutines();
  uVIndex();
}

int32_t selectTarget(lumOperationMode mode) {
  const uint32_t unit = mode & ~LUM_OP_TARGET_FLAG;
  if (unit == LUMEN_UNIT_ARM) return 0;
  selectVector();
  switch (unit) {
    case 1:  // the vector unit as well
    case LUMEN_UNIT_VORTA:
      return 0;
    case LUMEN_UNIT_ZDSP:
    case LUMEN_UNIT_ZDSP_TEST:
      LUM_ENTRY_SWITCHES.forcedRemote = true;
      uR(mode, LUM_IMPL_ZDSP);
      return 0;
    case LUMEN_UNIT_GPU:
      uR(mode, LUM_IMPL_GPU);
      return 0;
    default:
      return -1;  // and the vector implementations stay chosen
  }
}

}  // namespace

int32_t lumSetOperationMode(lumOperationMode mode) {
  for (uint32_t& word : LUM_AVAILABILITY) word |= 1;
  lumProbeProcessor();
  if (LUM_PROCESSOR.restricted && mode != (LUM_OP_TARGET_FLAG | LUMEN_UNIT_ARM)) {
    lumLog(LUM_LOG_ERROR, "lumen_lib_log", "%s\n",
           "DSP and GPU not present. Setting LUMEN mode to LUMEN_OP_CPU_PERFORMANCE.");
    mode = LUMEN_OP_CPU_PERFORMANCE;
  }
  LUM_ENTRY_SWITCHES.forcedRemote = false;
  if (sysconf(_SC_NPROCESSORS_ONLN) < 0) {
    lumLog(LUM_LOG_ERROR, "lumen_lib_log", "Error in getting the number of available processor");
  }
  lumReadRuntimeLogSwitch();
  // For what it binds: the shared build's memory and the DSP flags.
  lumAvailableHardware(mode);

  buildTables(mode);
  uCRoutines();
  uCIndex();
  if (mode & LUM_OP_TARGET_FLAG) return selectTarget(mode);
  switch (mode) {
    case LUMEN_OP_LOW_POWER:
    case LUMEN_OP_PERFORMANCE:
    case LUMEN_OP_CPU_OFFLOAD:
      selectVector();
      uR(mode, LUM_IMPL_ZDSP);
      return 0;
    case LUMEN_OP_CPU_PERFORMANCE:
      selectVector();
      return 0;
    default:
      return 0;  // accepted; everything runs reference code
  }
}

void lumCleanUp() {
  if (LUM_DSP_FLAGS.any()) {
    if (void* library = lumOpenSharedBuild()) {
      if (auto* cleanUp = lumSymbol<void()>(library, "lumCleanUp")) cleanUp();
    }
  }
  LUM_DSP_FLAGS = {};
}
