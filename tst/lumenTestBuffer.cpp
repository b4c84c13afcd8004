#include "lumenTestBuffer.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "lumen/lumenMem.h"
#include "lumenTestConfig.h"
#include "lumenTestLog.h"
#include "lumenTestNumbers.h"

namespace {

using Shape = LUMEN_TEST_Buffer::MemShape_;

constexpr uint32_t kLibraryAlignment = 128;

// Below the address that LUMEN_TEST_MemAlloc returns for shared memory.
struct SharedHeader {
  uintptr_t unused0;
  void* block;
  uintptr_t request;
  uintptr_t unused3, unused4;
  uintptr_t unset[3];
};
static_assert(sizeof(SharedHeader) == 8 * sizeof(void*));

// Where the data of shared memory begin in their block.
int32_t misalignment(const Shape& shape, lumMemOption opt, bool keepAligned) {
  if (!lumenTestRunConfig.alignToElement || keepAligned || opt != LUMEN_MEM_SHARED) return 0;
  return shape.align ? shape.align : shape.elemSize;
}

// A block that another element size was misaligned for may not serve this one.
bool isAlignedFor(const uint8_t* data, uint32_t offset) {
  const uint32_t powerOfTwo = offset & (~offset + 1);
  return offset == 0 || reinterpret_cast<uintptr_t>(data) % powerOfTwo == 0;
}

// A region in elements, with the conventions for -1 applied.
struct Region {
  size_t x, y, width, height;
  bool isEmpty() const { return width == 0 || height == 0; }
  bool isSizedAs(const Region& other) const {
    return width == other.width && height == other.height;
  }
};

Region regionOf(const LUMEN_TEST_Buffer& buffer) {
  const Shape& shape = buffer.shape();
  return {static_cast<size_t>(std::max(shape.roiX, 0)),
          static_cast<size_t>(std::max(shape.roiY, 0)), buffer.roiWidth(), buffer.roiHeight()};
}

// True when the region of `buffer` can be copied as whole elements.
bool isCopyable(const LUMEN_TEST_Buffer& buffer, size_t elementSize) {
  const Shape& s = buffer.shape();
  if (regionOf(buffer).isEmpty()) return true;
  if (buffer.roi<uint8_t>() && static_cast<size_t>(s.elemSize) % elementSize == 0) return true;
  LUMEN_TEST_Log("Region %d,%d,%d,%d is not in a buffer of %d x %d elements of %d bytes\n", s.roiX,
                 s.roiY, s.roiWidth, s.roiHeight, s.stride, s.height, s.elemSize);
  return false;
}

void copyRegion(const LUMEN_TEST_Buffer& src, LUMEN_TEST_Buffer& dst, const Region& region) {
  const auto elemSize = static_cast<size_t>(src.shape().elemSize);
  const size_t srcStride = src.strideBytes(), dstStride = dst.strideBytes();
  const size_t first = region.x * elemSize;
  for (size_t row = region.y; row < region.y + region.height; ++row) {
    std::memcpy(dst.data() + row * dstStride + first, src.data() + row * srcStride + first,
                region.width * elemSize);
  }
}

int addStride(LUMEN_TEST_Buffer& buffer, int newStride, lumMemOption opt, bool keepData,
              size_t elementSize) {
  Shape shape = buffer.shape();
  if (newStride <= shape.stride) return 0;

  // A region that spans the whole stride (-1) is the old one: the added elements hold no data.
  const Region region = regionOf(buffer);
  keepData = keepData && !region.isEmpty();
  LUMEN_TEST_Buffer kept;
  if (keepData) {
    if (!isCopyable(buffer, elementSize) || !kept.Shape(shape, opt, true)) return 1;
    copyRegion(buffer, kept, region);
  }
  shape.stride = newStride;
  if (!buffer.Shape(shape, opt, true)) {
    buffer.Release();
    return 1;
  }
  if (keepData) copyRegion(kept, buffer, region);
  return 0;
}

int createStrided(LUMEN_TEST_Buffer& src, int newStride, lumMemOption opt, LUMEN_TEST_Buffer& dst,
                  size_t elementSize) {
  if (&src == &dst) return addStride(dst, newStride, opt, true, elementSize);
  Shape shape = src.shape();
  shape.stride = std::max(shape.stride, newStride);
  const Region region = regionOf(src);
  if (!isCopyable(src, elementSize) || !dst.Shape(shape, opt, true)) {
    dst.Release();
    return 1;
  }
  if (!region.isEmpty()) copyRegion(src, dst, region);
  return 0;
}

void* allocShared(unsigned int size) {
  const uint64_t request = (uint64_t{size} + sizeof(SharedHeader)) * 2;
  void* block =
      request <= UINT32_MAX ? lumRemoteMemAlloc(25, 1, static_cast<uint32_t>(request)) : nullptr;
  if (!block) {
    std::puts("Failed to Allocate ION Memory !!!");
    return nullptr;
  }
  auto* header = static_cast<SharedHeader*>(block);
  header->unused0 = 0;
  header->block = block;
  header->request = static_cast<uintptr_t>(request);
  header->unused3 = header->unused4 = 0;
  lumHeapStatsMalloc(header + 1, size + static_cast<uint32_t>(sizeof(SharedHeader)));
  return header + 1;
}

}  // namespace

// The release is issued twice; the second finds nothing to free, but statistics are told of both.
LUMEN_TEST_Buffer::~LUMEN_TEST_Buffer() {
  Release();
  Release();
}

void LUMEN_TEST_Buffer::Release() {
  shape_ = {};
  Free(memOption());
}

bool LUMEN_TEST_Buffer::Shape(MemShape_ shape, lumMemOption opt, bool reuse) {
  const int32_t offset = misalignment(shape, opt, keepAligned);
  uint64_t size = 0;
  if (!LUMEN_TEST_Product({shape.stride, shape.height, shape.elemSize}, size) ||
      size > UINT32_MAX || offset < 0) {
    LUMEN_TEST_Log("No buffer can have %d x %d elements of %d bytes, aligned to %d\n", shape.stride,
                   shape.height, shape.elemSize, shape.align);
    return false;
  }
  reuse = reuse && isAlignedFor(data(), static_cast<uint32_t>(offset));
  // A block of another kind is freed as what it is.
  if (memOption() != opt && !(reuse && capacity() >= size)) Free(memOption());
  if (!Size(static_cast<uint32_t>(size), opt, reuse, static_cast<uint32_t>(offset))) return false;
  shape_ = shape;
  if (size) std::memset(data(), 0, static_cast<size_t>(size));
  return true;
}

uint32_t LUMEN_TEST_Buffer::strideBytes() const {
  uint64_t bytes = 0;
  if (!LUMEN_TEST_Product({shape_.stride, shape_.elemSize}, bytes) || bytes > UINT32_MAX) return 0;
  return static_cast<uint32_t>(bytes);
}

bool LUMEN_TEST_Buffer::holds(uint32_t width, uint32_t height, uint32_t pitch) const {
  const uint8_t* first = roi<uint8_t>();
  if (!first) return false;
  if (width == 0 || height == 0) return true;
  const uint64_t row = uint64_t{width} * static_cast<uint64_t>(shape_.elemSize);
  uint64_t needed = 0;
  return !__builtin_mul_overflow(uint64_t{pitch}, uint64_t{height} - 1, &needed) &&
         !__builtin_add_overflow(needed, row, &needed) &&
         needed <= size() - static_cast<uint64_t>(first - data());
}

uint8_t* LUMEN_TEST_Buffer::roiStart(size_t elementSize) const {
  const int64_t x = shape_.roiX == -1 ? 0 : shape_.roiX, y = shape_.roiY == -1 ? 0 : shape_.roiY;
  const auto elemSize = static_cast<size_t>(std::max(shape_.elemSize, 0));
  uint64_t bytes = 0;
  if (!data() || x < 0 || y < 0 || elemSize % elementSize != 0 || x + roiWidth() > shape_.stride ||
      y + roiHeight() > shape_.height ||
      !LUMEN_TEST_Product({shape_.stride, shape_.height, shape_.elemSize}, bytes) ||
      bytes > size()) {
    return nullptr;
  }
  return data() +
         (static_cast<size_t>(y) * static_cast<size_t>(shape_.stride) + static_cast<size_t>(x)) *
             elemSize;
}

void* LUMEN_TEST_MemAlloc(unsigned int size, lumMemOption opt) {
  switch (opt) {
    case LUMEN_MEM_LIBRARY:
      return lumMemAlloc(size, kLibraryAlignment);
    case LUMEN_MEM_SHARED:
      return allocShared(size);
    case LUMEN_MEM_HEAP: {
      void* ptr = std::malloc(size);
      lumHeapStatsMalloc(ptr, size);
      return ptr;
    }
    default:
      return nullptr;
  }
}

void LUMEN_TEST_MemFree(void* ptr, lumMemOption opt) {
  lumHeapStatsFree(ptr);
  if (!ptr) return;
  if (opt == LUMEN_MEM_LIBRARY) lumMemFree(ptr);
  else if (opt == LUMEN_MEM_SHARED) lumRemoteMemFree((static_cast<SharedHeader*>(ptr) - 1)->block);
  else std::free(ptr);
}

template <class T>
int LUMEN_TEST_AddStrideToBuffer(LUMEN_TEST_Buffer& buffer, int newStride, lumMemOption opt,
                                 bool keepData) {
  return addStride(buffer, newStride, opt, keepData, sizeof(T));
}
template int LUMEN_TEST_AddStrideToBuffer<signed char>(LUMEN_TEST_Buffer&, int, lumMemOption, bool);
template int LUMEN_TEST_AddStrideToBuffer<unsigned char>(LUMEN_TEST_Buffer&, int, lumMemOption,
                                                         bool);
template int LUMEN_TEST_AddStrideToBuffer<short>(LUMEN_TEST_Buffer&, int, lumMemOption, bool);
template int LUMEN_TEST_AddStrideToBuffer<int>(LUMEN_TEST_Buffer&, int, lumMemOption, bool);
template int LUMEN_TEST_AddStrideToBuffer<float>(LUMEN_TEST_Buffer&, int, lumMemOption, bool);

template <class T>
int LUMEN_TEST_CreateStridedBuffer(LUMEN_TEST_Buffer& src, int newStride, lumMemOption opt,
                                   LUMEN_TEST_Buffer& dst) {
  return createStrided(src, newStride, opt, dst, sizeof(T));
}
template int LUMEN_TEST_CreateStridedBuffer<unsigned char>(LUMEN_TEST_Buffer&, int, lumMemOption,
                                                           LUMEN_TEST_Buffer&);

void LUMEN_TEST_Buffer_Flush_Invalidate(int count, ...) {
  if (!lumenTestRunConfig.cacheFlush || !lumenTestRunConfig.flushFn) return;
  va_list pairs;
  va_start(pairs, count);
  for (int pair = 0; pair < count; ++pair) {
    void* data = va_arg(pairs, void*);
    const int bytes = va_arg(pairs, int);
    lumenTestRunConfig.flushFn(data, bytes);
  }
  va_end(pairs);
}
