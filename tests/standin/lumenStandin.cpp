// A stand-in for the optional shared build: its remote functions run the library's reference
// implementations, through the tables that it was handed.

#include "lumenStandin.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

lumStandinState lumStandin = {};

#if defined(LUM_STANDIN_FULL) || defined(LUM_STANDIN_OLD)

namespace {

template <uint32_t kRow, class Row>
struct Remote;
template <uint32_t kRow, class Result, class... Args>
struct Remote<kRow, lumRow<Result(Args...)>> {
  static Result run(Args... args) {
    ++lumStandin.remoteCalls;
    lumStandin.lastRow = kRow;
    if constexpr (kRow < LUM_ROW_COUNT) {
      // The old one has never seen the tables; and a test may want calls that come to nothing.
      if (!lumStandin.manager || std::getenv("LUM_STANDIN_IDLE")) return Result();
      const auto* rows = reinterpret_cast<lumRow<Result(Args...)>*>(lumStandin.manager->table);
      return rows[kRow].column[LUM_IMPL_CPU](args...);
    } else {
      return Result();
    }
  }
};

#define REMOTE(name) Remote<LUM_FN_##name, decltype(lumFuncTable::name)>::run
#define REMOTE_INTERNAL(name) \
  Remote<lumInternalRow(LUM_INTERNAL_FN_##name), decltype(lumInternalFuncTable::name)>::run

}  // namespace

// The library declares lumAvailableHardware with a mode, which older shared builds do not take.
extern "C" uint32_t oldHardware() __asm__("lumAvailableHardware");
uint32_t oldHardware() {
  ++lumStandin.hardwareCalls;
  return lumStandin.components;
}

void lumGetVersion(char* version, uint32_t length) {
  ++lumStandin.versionCalls;
  lumStandin.versionLength = length;
  std::strncpy(version, lumStandin.version, length);
}

#endif

#ifdef LUM_STANDIN_OLD

auto* lumAbsDiffu8R_ = REMOTE(lumAbsDiffu8);
decltype(lumAbsDiffs32)* lumAbsDiffs32R_ = nullptr;

#elif defined(LUM_STANDIN_FULL)

// Variables, so that a test can take one back.
#define LUM_REMOTE(name) auto* name##R_ = REMOTE(name);
#define LUM_REMOTE_INTERNAL(name) auto* name##R_ = REMOTE_INTERNAL(name);
#include "lumenRemote.def"

extern "C" uint32_t lumAvailableHWComponent(lumOperationMode mode) {
  ++lumStandin.componentCalls;
  lumStandin.queriedMode = mode;
  return lumStandin.components;
}

uint64_t lumZ6GetClk() { return LUM_STANDIN_CLOCK; }

extern "C" void lumInitRemoteLib(lumOperationMode mode) {
  ++lumStandin.remoteInits;
  lumStandin.remoteMode = mode;
}

extern "C" void lumInitializeMasterFuncManager(LUM_FUNC_MANAGER* manager) {
  ++lumStandin.managerInits;
  lumStandin.manager = manager;
}

// Fills its column, and those that only a shared build fills, of one row, and takes a reserved row.
extern "C" void uQTable(LUM_FUNC_MANAGER* manager, uint32_t column) {
  ++lumStandin.fills[column];
  auto& row = manager->table->lumAbsDiffu8;
  for (uint32_t impl : {column, +LUM_IMPL_ADSP, +LUM_IMPL_CDSP, +LUM_IMPL_MDSP}) {
    row.column[impl] = REMOTE(lumAbsDiffu8);
  }
  manager->implIndex[LUM_FN_reserved362] = column;
}
extern "C" void uGTable(LUM_FUNC_MANAGER* manager, uint32_t column) {
  ++lumStandin.fills[column];
  manager->table->lumAbsDiffu8.column[column] = REMOTE(lumAbsDiffu8);
}

void lumCleanUp() { ++lumStandin.cleanUps; }
void lumMemInit() { ++lumStandin.memInits; }
void lumMemDeInit() { ++lumStandin.memDeInits; }

namespace {

void* getAligned(uint32_t nBytes, uint32_t byteAlignment) {
  ++lumStandin.scratchGets;
  lumStandin.scratchBytes = nBytes;
  lumStandin.scratchAlignment = byteAlignment;
  return std::malloc(nBytes);
}
void* getUnaligned(uint32_t nBytes) { return getAligned(nBytes, 0); }
void release(void* ptr) {
  ++lumStandin.scratchReleases;
  std::free(ptr);
}

// Device memory is one block.
alignas(128) uint8_t arena[4096];

void* sharedAlloc(uint32_t nBytes, uint32_t) {
  ++lumStandin.sharedAllocs;
  return lumStandin.servesSharedMem && nBytes <= sizeof(arena) ? arena : nullptr;
}
int sharedFree(void* ptr) {
  ++lumStandin.sharedFrees;
  return ptr == arena ? 0 : -1;
}

}  // namespace

auto* lumGetScratchBufferAligned_ = getAligned;
auto* lumGetScratchBufferUnaligned_ = getUnaligned;
auto* lumReleaseScratchBuffer_ = release;
auto* lumSharedMemAllocR_ = sharedAlloc;
auto* lumSharedMemFreeR_ = sharedFree;

#endif
