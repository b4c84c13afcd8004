// The two-dimensional buffers that module tests keep inputs, outputs and references in.

#ifndef LUMEN_TEST_BUFFER_H
#define LUMEN_TEST_BUFFER_H

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

  const MemShape_& shape() const { return shape_; }

  // Exempts the buffer from the misalignment switch.
  bool keepAligned = false;

 private:
  MemShape_ shape_ = {};
};

#endif  // LUMEN_TEST_BUFFER_H
