// The two-dimensional buffers that module tests keep inputs, outputs and references in, raw memory
// of the same kinds, and the cache maintenance before timed calls.

#ifndef LUMEN_TEST_BUFFER_H
#define LUMEN_TEST_BUFFER_H

#include <cstddef>
#include <cstdint>

#include "lumenBuffer.h"

class LUMEN_TEST_Buffer : public lumBuffer {
 public:
  // Elements of `elemSize` bytes, rows `stride` elements apart, and a region of interest in them.
  struct MemShape_ {
    int32_t stride;
    int32_t height;
    int32_t roiX, roiY;           // -1: 0
    int32_t roiWidth, roiHeight;  // -1: the whole stride, the whole height
    int32_t elemSize;
    int32_t align;  // of shared memory under the misalignment switch; 0: elemSize
  };

  LUMEN_TEST_Buffer() = default;
  ~LUMEN_TEST_Buffer();

  // Gives the buffer a shape and zeroed memory for it. On failure (0) the shape stays as it was.
  bool Shape(MemShape_ shape, lumMemOption opt, bool reuse);

  // Forgets the shape and frees the memory in the way that it was allocated.
  void Release();

  const MemShape_& shape() const { return shape_; }

  // The region of interest: its first element, its size in elements, and the rows' pitch. The
  // first element is null when the region reaches outside the buffer's memory, which a data file
  // may declare, or when an element does not divide into elements of type T.
  template <class T>
  T* roi() const {
    return reinterpret_cast<T*>(roiStart(sizeof(T)));
  }
  uint32_t roiWidth() const { return extent(shape_.roiWidth, shape_.stride); }
  uint32_t roiHeight() const { return extent(shape_.roiHeight, shape_.height); }
  uint32_t strideBytes() const;

  // Whether the memory from the region's first element on holds `height` rows of `width` elements
  // that begin `pitch` bytes after each other.
  bool holds(uint32_t width, uint32_t height, uint32_t pitch) const;

  // Exempts the buffer from the misalignment switch.
  bool keepAligned = false;

 private:
  static uint32_t extent(int32_t given, int32_t whole) {
    const int32_t size = given == -1 ? whole : given;
    return size > 0 ? static_cast<uint32_t>(size) : 0;
  }
  uint8_t* roiStart(size_t elementSize) const;

  MemShape_ shape_ = {};
};

// Memory that is no buffer. Shared memory carries a header of eight words below the address that
// the caller gets. Null when there is no memory, or for an unknown option.
void* LUMEN_TEST_MemAlloc(unsigned int size, lumMemOption opt);

// Frees memory of LUMEN_TEST_MemAlloc; `opt` is the option that it was allocated with.
void LUMEN_TEST_MemFree(void* ptr, lumMemOption opt);

// Makes a buffer's rows `newStride` elements long; a stride that is not longer changes nothing.
// With `keepData` the region of interest keeps its values; every other element becomes 0. Returns
// 0, or 1 when there is no memory (the buffer is then released) or when the buffer's region does
// not lie in it or its elements do not divide into elements of type T (it is then left alone). For
// signed char, unsigned char, short, int and float.
template <class T>
int LUMEN_TEST_AddStrideToBuffer(LUMEN_TEST_Buffer& buffer, int newStride, lumMemOption opt,
                                 bool keepData);

// Shapes `dst` like `src`, but with rows of at least `newStride` elements, and copies the region of
// interest. Returns 0, or 1 with `dst` released. For unsigned char.
template <class T>
int LUMEN_TEST_CreateStridedBuffer(LUMEN_TEST_Buffer& src, int newStride, lumMemOption opt,
                                   LUMEN_TEST_Buffer& dst);

// `count` pairs follow, of a void* and an int with the bytes there: writes each back to memory and
// drops it from the cache. Does nothing unless cache maintenance is on and the DSP stub library has
// the entry point for it.
void LUMEN_TEST_Buffer_Flush_Invalidate(int count, ...);

// The same for all bytes of whole buffers.
template <class... Buffer>
void LUMEN_TEST_FlushBuffers(const Buffer&... buffer) {
  (LUMEN_TEST_Buffer_Flush_Invalidate(1, static_cast<void*>(buffer.data()),
                                      static_cast<int>(buffer.size())),
   ...);
}

#endif  // LUMEN_TEST_BUFFER_H
