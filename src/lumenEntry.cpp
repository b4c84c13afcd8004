#include "lumenEntry.h"

#include "platform/lumenPlatform.h"

constinit lumEntrySwitches LUM_ENTRY_SWITCHES = {};

void lumLogChoice(lumChoice choice) {
  if (choice.impl >= LUM_IMPL_COUNT) std::abort();
  const char* name = LUM_IMPL_NAME[choice.impl];
  if (choice.leftDsp) lumLog(LUM_LOG_ERROR, "lumen_runtime_log", "%s_%s", choice.function, name);
  lumLog(LUM_LOG_ERROR, "lumen_runtime_log", "%s_%s", choice.function, name);
}

void lumLogRefusal(lumChoice choice, const char* condition) {
  if (LUM_ENTRY_SWITCHES.runtimeLog) lumLogChoice(choice);
  lumLog(LUM_LOG_ERROR, "lumen_lib_log", "Assertion failed @%s: %s\n", choice.function, condition);
}
