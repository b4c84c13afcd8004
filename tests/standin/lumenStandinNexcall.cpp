// A stand-in for the remote-call library: its shared memory comes from the heap.

#include <cstdlib>

#include "lumenStandin.h"

lumStandinNexcallState lumStandinNexcall = {};

extern "C" void* rpcmem_alloc(int heap, uint32_t flags, int bytes) {
  lumStandinNexcallState& state = lumStandinNexcall;
  ++state.allocs;
  state.heap = heap;
  state.flags = flags;
  state.bytes = bytes;
  constexpr size_t kPage = 4096;
  const size_t whole = (static_cast<size_t>(bytes) + kPage - 1) / kPage * kPage;
  state.block = state.fails ? nullptr : std::aligned_alloc(kPage, whole);
  return state.block;
}

extern "C" void rpcmem_free(void* ptr) {
  ++lumStandinNexcall.frees;
  lumStandinNexcall.freed = ptr;
  std::free(ptr);
}
