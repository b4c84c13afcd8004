#include "lumenRemote.h"

#include "lumenMode.h"
#include "lumenShared.h"

namespace {

// One function that may run remotely: its symbol, and where its row keeps index and entry points.
struct RemoteRow {
  const char* symbol;
  uint32_t* index;
  lumAnyFunction* columns;
};

const RemoteRow kRemoteRows[] = {
#define LUM_REMOTE(name)                       \
  {#name "R_", &LUM_IMPL_INDEX[LUM_FN_##name], \
   reinterpret_cast<lumAnyFunction*>(LUM_FUNC_TABLE.name.column)},
#define LUM_REMOTE_INTERNAL(name)                                \
  {#name "R_", &LUM_INTERNAL_IMPL_INDEX[LUM_INTERNAL_FN_##name], \
   reinterpret_cast<lumAnyFunction*>(LUM_INTERNAL_FUNC_TABLE.name.column)},
#include "lumenRemote.def"
};
static_assert(sizeof(kRemoteRows) / sizeof(RemoteRow) == LUM_REMOTE_COUNT);

// Has the shared build fill one column.
void fillColumn(void* library, const char* symbol, LUM_FUNC_MANAGER* manager, LUM_IMPL column) {
  using FillColumn = void(LUM_FUNC_MANAGER * manager, uint32_t column);
  if (auto* fill = lumSymbol<FillColumn>(library, symbol)) {
    fill(manager, column);
  } else {
    lumLog(LUM_LOG_ERROR, "lumen_lib_log", "pTableFn %s %p %s", symbol, static_cast<void*>(nullptr),
           dlerror());
  }
}

}  // namespace

void uR(lumOperationMode mode, LUM_IMPL column) {
  void* library = lumOpenSharedBuild();
  if (!library) return;
  if (auto* init = lumSymbol<void(lumOperationMode)>(library, "lumInitRemoteLib")) {
    init(mode);
  } else {
    lumLog(LUM_LOG_ERROR, "lumen_lib_log", "Error: uR pInitFn NULL. %s", dlerror());
  }
  for (const RemoteRow& row : kRemoteRows) {
    if (lumAnyFunction entry = lumStoredSymbol<void()>(library, row.symbol)) {
      *row.index = column;
      row.columns[column] = entry;
    }
  }
}

void lumTableHWInitRemote(LUM_FUNC_MANAGER* manager, lumOperationMode mode) {
  const uint32_t mask = lumAvailableHardware(mode);
  void* library = lumOpenSharedBuild();
  if (!library) return;
  if (auto* init = lumSymbol<void(LUM_FUNC_MANAGER*)>(library, "lumInitializeMasterFuncManager")) {
    init(manager);
  } else {
    lumLog(LUM_LOG_ERROR, "lumen_lib_log", "plumInitializeMasterFuncManagerFn NULL %s\n",
           dlerror());
  }
  if (mask & LUMEN_UNIT_ZDSP) fillColumn(library, "uQTable", manager, LUM_IMPL_ZDSP);
  if (mask & LUMEN_UNIT_GPU) fillColumn(library, "uGTable", manager, LUM_IMPL_GPU);
}

uint64_t probeZ6TimeC(int, unsigned int) { return 0; }

int32_t lumRegisterBufC(const void*, uint32_t) { return 0; }
