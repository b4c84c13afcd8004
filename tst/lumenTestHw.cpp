// Module HW: what the device offers.

#include "lumen/lumenControl.h"
#include "lumenTestConfig.h"
#include "lumenTestLog.h"
#include "lumenTestModules.h"
#include "lumenTestTally.h"

int TEST_HW_Test(int, const char*) {
  if (lumenTestRunConfig.funcId != 0 || !LUMEN_TEST_ModuleTakesPart()) return 0;
  const uint16_t mask = static_cast<uint16_t>(lumAvailableHardware(LUMEN_OP_PERFORMANCE));
  const auto has = [mask](int unit) { return static_cast<unsigned short>((mask & unit) != 0); };
  LUMEN_TEST_Log(
      "LUMEN_TEST, ARM=>%hu, KESTREL=>%hu, ARMv7=>%hu, VFP=>%hu, NEON=>%hu, ZDSP=>%hu, "
      "FPGA=>%hu, GPU=>%hu",
      has(LUMEN_UNIT_ARM), has(LUM_HW_FAMILY), has(LUMEN_UNIT_ARMV7), has(LUMEN_UNIT_VFP),
      has(LUMEN_UNIT_VORTA), has(LUMEN_UNIT_ZDSP), has(LUMEN_UNIT_FPGA), has(LUMEN_UNIT_GPU));
  return has(LUMEN_UNIT_ARM) ? 0 : 1;
}
