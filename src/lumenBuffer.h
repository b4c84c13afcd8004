// The library's owning buffer: one block of memory of a chosen kind.

#ifndef LUMEN_BUFFER_H
#define LUMEN_BUFFER_H

#include <cstdint>

// Where a block of memory comes from.
enum lumMemOption : uint32_t {
  LUMEN_MEM_HEAP = 0,     // the process's heap
  LUMEN_MEM_SHARED = 1,   // memory that remote units can map
  LUMEN_MEM_LIBRARY = 2,  // lumMemAlloc
};

// Not thread-safe: one owner at a time. A buffer frees its block when it grows and on Free, in the
// way that the option given to that call names, which must be the option that the block was
// allocated with. All operations but Free return 1 on success and 0 on failure.
class lumBuffer {
 public:
  lumBuffer() = default;
  lumBuffer(const lumBuffer&) = delete;
  lumBuffer& operator=(const lumBuffer&) = delete;

  // Sizes the buffer and, unless `src` is null, copies `size` bytes from it.
  int Set(const void* src, uint32_t size, lumMemOption option, bool reuse);

  // Makes room for `size` bytes. With `reuse`, a block that is large enough is kept. The contents
  // of a new block are undefined. For shared memory the data begin `offset` bytes into the block,
  // which must be less than the block's alignment.
  int Size(uint32_t size, lumMemOption option, bool reuse, uint32_t offset = 0);

  void Free(lumMemOption option);

  int commonSize(uint32_t size, lumMemOption option, bool reuse, uint32_t offset);
  int sharedMemSize(uint32_t size, lumMemOption option, bool reuse);
  void commonFree(lumMemOption option);
  void sharedMemFree(lumMemOption option);

  uint8_t* data() const { return data_; }
  uint32_t capacity() const { return capacity_; }
  uint32_t size() const { return size_; }
  lumMemOption memOption() const { return option_; }
  uint32_t sharedMemRequest() const { return sharedMemSize_; }  // bytes last asked for as shared

 private:
  void clear();

  uint32_t capacity_ = 0;  // bytes in the block
  uint32_t size_ = 0;      // bytes last asked for
  void* raw_ = nullptr;    // what the allocator returned
  uint8_t* data_ = nullptr;
  lumMemOption option_ = LUMEN_MEM_HEAP;
  [[maybe_unused]] uint32_t reserved_ = 0;
  void* sharedMem_ = nullptr;  // what the shared-memory allocator returned
  uint32_t sharedMemSize_ = 0;
};

#endif  // LUMEN_BUFFER_H
