#include "lumenBuffer.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "lumen/lumenMem.h"
#include "platform/lumenPlatform.h"

namespace {

constexpr uint32_t kHeapAlignment = 16;
constexpr uint32_t kLibraryAlignment = 128;

// The heap and the flags of the remote-call library's allocator.
constexpr int kRemoteHeap = 25;
constexpr uint32_t kRemoteFlags = 1;

uint8_t* roundUp(void* raw, uintptr_t alignment) {
  const uintptr_t past = reinterpret_cast<uintptr_t>(raw) & (alignment - 1);
  return static_cast<uint8_t*>(raw) + (past ? alignment - past : 0);
}

}  // namespace

void lumBuffer::clear() {
  capacity_ = 0;
  size_ = 0;
  raw_ = nullptr;
  data_ = nullptr;
}

// The way is named by the caller, not by the kind of the block.
void lumBuffer::commonFree(lumMemOption option) {
  if (option == LUMEN_MEM_LIBRARY) {
    lumMemFree(raw_);
  } else {
    lumHeapStatsFree(raw_);
    if (raw_ && option == LUMEN_MEM_SHARED) lumRemoteMemFree(sharedMem_);
    else if (raw_) std::free(raw_);
  }
  clear();
}

void lumBuffer::sharedMemFree(lumMemOption option) { commonFree(option); }

void lumBuffer::Free(lumMemOption option) { commonFree(option); }

int lumBuffer::commonSize(uint32_t size, lumMemOption option, bool reuse, uint32_t offset) {
  if (!(reuse && capacity_ >= size)) commonFree(option);
  size_ = size;
  if (capacity_ >= size) return 1;

  if (option == LUMEN_MEM_SHARED) {
    // Twice what is needed is asked for.
    const uint64_t request = (uint64_t{offset} + size) * 2;
    sharedMem_ = request <= UINT32_MAX
                     ? lumRemoteMemAlloc(kRemoteHeap, kRemoteFlags, static_cast<uint32_t>(request))
                     : nullptr;
    sharedMemSize_ = static_cast<uint32_t>(request);
    if (!sharedMem_) {
      std::puts("Failed to Allocate ION Memory !!!");
      return 0;
    }
    // OR-ed, not added: the offset is smaller than the block's alignment, to misalign the data.
    data_ = static_cast<uint8_t*>(sharedMem_) +
            (offset & ~static_cast<uint32_t>(reinterpret_cast<uintptr_t>(sharedMem_)));
    raw_ = data_;
    lumHeapStatsMalloc(raw_, size_);
  } else if (option == LUMEN_MEM_HEAP) {
    const uint64_t request = uint64_t{size} + kHeapAlignment - 1;
    raw_ = request <= SIZE_MAX ? std::malloc(static_cast<size_t>(request)) : nullptr;
    lumHeapStatsMalloc(raw_, static_cast<uint32_t>(request));
    if (!raw_) {
      size_ = 0;
      return 0;
    }
    data_ = roundUp(raw_, kHeapAlignment);
  } else {
    return 0;
  }
  capacity_ = size;
  option_ = option;
  return 1;
}

int lumBuffer::sharedMemSize(uint32_t size, lumMemOption option, bool reuse) {
  if (!(reuse && capacity_ >= size)) commonFree(option);
  size_ = size;
  if (capacity_ >= size) return 1;
  raw_ = lumMemAlloc(size, kLibraryAlignment);
  data_ = static_cast<uint8_t*>(raw_);
  if (!raw_) {
    size_ = 0;
    return 0;
  }
  capacity_ = size;
  option_ = LUMEN_MEM_LIBRARY;
  return 1;
}

int lumBuffer::Size(uint32_t size, lumMemOption option, bool reuse, uint32_t offset) {
  return option == LUMEN_MEM_LIBRARY ? sharedMemSize(size, option, reuse)
                                     : commonSize(size, option, reuse, offset);
}

int lumBuffer::Set(const void* src, uint32_t size, lumMemOption option, bool reuse) {
  if (!Size(size, option, reuse, 0)) return 0;
  if (src && size) std::memcpy(data_, src, size);
  option_ = option;
  return 1;
}
