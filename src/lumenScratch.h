// Scratch memory: buffers that a kernel takes for the length of one call and gives back.

#ifndef LUMEN_SCRATCH_H
#define LUMEN_SCRATCH_H

#include <cstdint>

// The allocators that kernels call; the optional shared build may put its own in their place.
struct lumScratchAllocators {
  // `nBytes` at a multiple of `byteAlignment`, null when there is no memory or no free buffer. An
  // alignment that is not a power of two is taken as 1.
  void* (*getAligned)(uint32_t nBytes, uint32_t byteAlignment);
  void* (*getUnaligned)(uint32_t nBytes);
  // From any thread. Null, and what no getter returned, is ignored.
  void (*release)(void* ptr);
};
extern lumScratchAllocators LUM_SCRATCH;

// The library's own.
void* lumGetScratchBufferAligned(uint32_t nBytes, uint32_t byteAlignment);
void* lumGetScratchBufferUnaligned(uint32_t nBytes);
void lumReleaseScratchBuffer(void* ptr);

inline constexpr uint32_t LUM_SCRATCH_SLOTS = 32;

// Directly below every scratch buffer lie two words: a guard, and the slot of a pooled buffer or
// the raw block of one from the heap.
using lumScratchWord = uintptr_t;
inline constexpr lumScratchWord LUM_SCRATCH_POOLED = 0xCDCDCDCD;
inline constexpr lumScratchWord LUM_SCRATCH_HEAP = 0xABABABAB;

// Start and end of the pool, one at a time. The end waits until every lent buffer has come back.
void lumSetUpScratchPool();
void lumTakeDownScratchPool();

// Scratch memory that is given back at the end of the block.
template <class T>
class lumScratch {
 public:
  explicit lumScratch(uint32_t nBytes, uint32_t byteAlignment = alignof(T))
      : data_(static_cast<T*>(LUM_SCRATCH.getAligned(nBytes, byteAlignment))) {}
  ~lumScratch() { LUM_SCRATCH.release(data_); }
  lumScratch(const lumScratch&) = delete;
  lumScratch& operator=(const lumScratch&) = delete;

  explicit operator bool() const { return data_ != nullptr; }
  T* data() const { return data_; }

 private:
  T* data_;
};

#endif  // LUMEN_SCRATCH_H
