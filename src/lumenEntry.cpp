#include "lumenEntry.h"

#include <cstring>
#include <initializer_list>

#include "platform/lumenPlatform.h"

constinit lumEntrySwitches LUM_ENTRY_SWITCHES = {};
constinit std::atomic<uint32_t> LUM_CALL_COUNT[LUM_ROW_COUNT][LUM_IMPL_COUNT] = {};

void lumCountCall(const void* row, uint32_t impl) {
  lumAnyFunction column[LUM_IMPL_COUNT];
  const uintptr_t offset =
      reinterpret_cast<uintptr_t>(row) - reinterpret_cast<uintptr_t>(&LUM_FUNC_TABLE);
  if (offset >= sizeof(LUM_FUNC_TABLE)) return;  // also an address below the table
  std::memcpy(column, row, sizeof(column));
  for (const uint32_t own : {LUM_IMPL_CPU, LUM_IMPL_VORTA}) {
    if (column[impl] != column[own]) continue;
    impl = own;
    break;
  }
  LUM_CALL_COUNT[offset / sizeof(column)][impl].fetch_add(1, std::memory_order_relaxed);
}

void lumLogChoice(lumChoice choice) {
  if (choice.impl >= LUM_IMPL_COUNT) std::abort();
  const char* name = LUM_IMPL_NAME[choice.impl];
  if (choice.leftDsp) lumLog(LUM_LOG_ERROR, "lumen_runtime_log", "%s_%s", choice.function, name);
  lumLog(LUM_LOG_ERROR, "lumen_runtime_log", "%s_%s", choice.function, name);
}

void lumLogRefusal(lumChoice choice, const char* condition) {
  if (LUM_ENTRY_SWITCHES.watch & LUM_WATCH_LOG) lumLogChoice(choice);
  lumLog(LUM_LOG_ERROR, "lumen_lib_log", "Assertion failed @%s: %s\n", choice.function, condition);
}
