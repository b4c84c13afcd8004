// Where the images of a case lie: rows and strides, and memory for them.

#ifndef LUMEN_TEST_SWEEP_LAYOUT_H
#define LUMEN_TEST_SWEEP_LAYOUT_H

#include <cstddef>
#include <cstdint>

#include "lumenBuffer.h"
#include "lumenTestSweepCase.h"

struct LUMEN_TEST_Layout {
  struct Image {
    size_t rowBytes;
    uint32_t rows;
    size_t stride;            // bytes from a row to the next
    uint32_t strideArgument;  // what the call is given: the stride, or 0
    size_t bytes;             // from the first row's begin to the last one's end
    size_t memoryOf;          // the image that it shares memory with, or itself
    bool isPacked = false;    // without a stride argument
  };
  Image image[LUMEN_TEST_MAX_IMAGES] = {};
};

// The index of the image whose stride argument `index` goes by.
size_t LUMEN_TEST_StrideOwner(const LUMEN_TEST_Description& description, size_t index);

// The images of a case are no larger together, so that a mistyped size asks for no memory that a
// machine has, but not for this.
inline constexpr size_t LUMEN_TEST_MAX_CASE_BYTES = size_t{1} << 30;

// False when there is no such layout: one too large, or a stride of 0 for rows of different
// lengths.
bool LUMEN_TEST_LayOut(const LUMEN_TEST_Description& description, const LUMEN_TEST_SweepCase& c,
                       LUMEN_TEST_Layout& layout);

// Makes each stride a multiple of `multiple`, and at least that much more than any row. False where
// strides are passed as 0, and where there is no such layout.
bool LUMEN_TEST_SpreadRows(LUMEN_TEST_Layout& layout, size_t multiple);

// Memory for the images of one case after the other, in a slot's memory kind, with room before and
// behind each image.
class LUMEN_TEST_CaseMemory {
 public:
  explicit LUMEN_TEST_CaseMemory(lumMemOption option) : option_(option) {}
  ~LUMEN_TEST_CaseMemory();
  LUMEN_TEST_CaseMemory(const LUMEN_TEST_CaseMemory&) = delete;
  LUMEN_TEST_CaseMemory& operator=(const LUMEN_TEST_CaseMemory&) = delete;

  // Images begin at multiples of 128 bytes, or an element behind one; false when there is no
  // memory.
  bool place(const LUMEN_TEST_Description& description, const LUMEN_TEST_SweepCase& c,
             const LUMEN_TEST_Layout& layout, size_t margin);

  using Images = uint8_t* [LUMEN_TEST_MAX_IMAGES];
  const Images& images() const { return image_; }

 private:
  const lumMemOption option_;
  void* block_ = nullptr;
  size_t blockBytes_ = 0;
  uint8_t* image_[LUMEN_TEST_MAX_IMAGES] = {};
};

#endif  // LUMEN_TEST_SWEEP_LAYOUT_H
