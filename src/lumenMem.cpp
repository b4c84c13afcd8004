#include "lumen/lumenMem.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "lumenHardware.h"
#include "lumenScratch.h"
#include "lumenShared.h"

namespace {

// One frame of 7680 x 4320 bytes.
constexpr uint32_t kMaxPreAllocBytes = 7680 * 4320;

// Guards the count of those who use the pool, its set-up and take-down, and the shared build's
// handle.
std::mutex poolMutex;
uint32_t references = 0;

// What the shared build brings of its own; bound once, when there is a remote unit.
struct SharedBuild {
  void* handle;
  void (*memInit)();
  void (*memDeInit)();
} sharedBuild;

void bindSharedBuild() {
  const std::lock_guard lock(poolMutex);
  sharedBuild.handle = lumOpenSharedBuild();
  if (!sharedBuild.handle) return;
  sharedBuild.memInit = lumSymbol<void()>(sharedBuild.handle, "lumMemInit");
  sharedBuild.memDeInit = lumSymbol<void()>(sharedBuild.handle, "lumMemDeInit");
  if (auto* get = lumStoredSymbol<void*(uint32_t, uint32_t)>(sharedBuild.handle,
                                                             "lumGetScratchBufferAligned_")) {
    LUM_SCRATCH.getAligned = get;
  }
  if (auto* get =
          lumStoredSymbol<void*(uint32_t)>(sharedBuild.handle, "lumGetScratchBufferUnaligned_")) {
    LUM_SCRATCH.getUnaligned = get;
  }
  if (auto* release =
          lumStoredSymbol<void(void*)>(sharedBuild.handle, "lumReleaseScratchBuffer_")) {
    LUM_SCRATCH.release = release;
  }
}

uint8_t* rawBlockOf(void* ptr) {
  uint8_t* block = static_cast<uint8_t*>(ptr);
  return block - block[-1];
}

}  // namespace

void lumMemInit() {
  if (LUM_DSP_FLAGS.any()) {
    static std::once_flag once;
    std::call_once(once, bindSharedBuild);
    if (sharedBuild.memInit) sharedBuild.memInit();
  }
  const std::lock_guard lock(poolMutex);
  if (references++ == 0) lumSetUpScratchPool();
}

void lumMemInitPreAlloc(uint32_t nBytes) {
  lumMemInit();
  if (nBytes == 0) return;
  const uint32_t size = std::min(nBytes, kMaxPreAllocBytes);
  void* scratch = LUM_SCRATCH.getAligned(size, 16);
  if (!scratch) return;
  std::memset(scratch, 0, size);  // its pages become really present
  LUM_SCRATCH.release(scratch);
}

void lumMemDeInit() {
  if (LUM_DSP_FLAGS.any() && sharedBuild.memDeInit) sharedBuild.memDeInit();
  const std::lock_guard lock(poolMutex);
  if (references != 0 && --references == 0) {
    lumTakeDownScratchPool();
    return;  // the last to leave keeps the shared build open
  }
  // What was bound stays valid: the hardware query keeps handles of its own.
  if (sharedBuild.handle) dlclose(sharedBuild.handle);
  sharedBuild.handle = nullptr;
}

void* lumMemAlloc(uint32_t nBytes, uint32_t byteAlignment) {
  if (byteAlignment == 0 || byteAlignment > 128 || (byteAlignment & (byteAlignment - 1)) != 0) {
    return nullptr;
  }
  if (LUM_SHARED_MEM.alloc && LUM_SHARED_MEM.free) {
    if (void* block = LUM_SHARED_MEM.alloc(nBytes, byteAlignment)) return block;
  }
  const uint64_t rawSize = uint64_t{nBytes} + byteAlignment + 1;
  if (rawSize > SIZE_MAX) return nullptr;
  uint8_t* raw = static_cast<uint8_t*>(std::malloc(static_cast<size_t>(rawSize)));
  if (!raw) return nullptr;
  // Two bytes and more above the raw block, the distance in the byte below.
  const uintptr_t pastMultiple =
      (reinterpret_cast<uintptr_t>(raw) + byteAlignment + 1) & (byteAlignment - 1);
  const size_t distance = byteAlignment + 1 - static_cast<size_t>(pastMultiple);
  raw[distance - 1] = static_cast<uint8_t>(distance);
  return raw + distance;
}

void lumMemFree(void* ptr) {
  if (!ptr) return;
  if (LUM_SHARED_MEM.alloc && LUM_SHARED_MEM.free && LUM_SHARED_MEM.free(ptr) == 0) return;
  std::free(rawBlockOf(ptr));
}

void lumHeapStatsInit() {}
void lumHeapStats() {}
void lumHeapStatsMalloc(void*, uint32_t) {}
void lumHeapStatsFree(void*) {}
