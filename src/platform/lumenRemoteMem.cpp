// Memory shared with remote units, the same on every system that has a dynamic loader.

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/lumenPlatform.h"

namespace {

struct RemoteMem {
  void* (*alloc)(int heap, uint32_t flags, int bytes) = nullptr;
  void (*free)(void* ptr) = nullptr;

  RemoteMem() {
    void* library = lumOpenLibrary("libnexcall.so");
    if (!library) return;
    alloc = reinterpret_cast<decltype(alloc)>(dlsym(library, "rpcmem_alloc"));
    free = reinterpret_cast<decltype(free)>(dlsym(library, "rpcmem_free"));
  }
  bool isThere() const { return alloc && free; }
};

// Opened at the first use and kept, so that every block goes back where it came from.
const RemoteMem& remoteMem() {
  static const RemoteMem remote;
  return remote;
}

}  // namespace

void* lumRemoteMemAlloc(int heap, uint32_t flags, uint32_t bytes) {
  if (remoteMem().isThere()) {
    if (bytes > INT32_MAX) return nullptr;
    return remoteMem().alloc(heap, flags, static_cast<int>(bytes));
  }
  void* block = nullptr;
  const long page = sysconf(_SC_PAGESIZE);
  return posix_memalign(&block, static_cast<size_t>(page), bytes) == 0 ? block : nullptr;
}

void lumRemoteMemFree(void* ptr) {
  if (remoteMem().isThere()) remoteMem().free(ptr);
  else std::free(ptr);
}
