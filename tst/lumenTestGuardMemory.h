// Images between pages that cannot be touched.

#ifndef LUMEN_TEST_GUARD_MEMORY_H
#define LUMEN_TEST_GUARD_MEMORY_H

#include <cstddef>
#include <cstdint>

#include "lumenTestSweepLayout.h"

// Which end of an image lies at a page that cannot be touched.
enum class LUMEN_TEST_Fence : uint8_t { head, tail };

class LUMEN_TEST_GuardedImage {
 public:
  LUMEN_TEST_GuardedImage() = default;
  ~LUMEN_TEST_GuardedImage();
  LUMEN_TEST_GuardedImage(const LUMEN_TEST_GuardedImage&) = delete;
  LUMEN_TEST_GuardedImage& operator=(const LUMEN_TEST_GuardedImage&) = delete;

  static size_t pageBytes();

  // Either the image's first byte lies directly behind such a page or its last one directly before
  // one. With `rowsApart` each row lies at such a page, which takes strides that are spread by the
  // size of a page. False when there is no memory.
  bool place(const LUMEN_TEST_Layout::Image& image, LUMEN_TEST_Fence fence, bool rowsApart);

  uint8_t* first() const { return first_; }
  bool isGuardedAt(uintptr_t address) const {
    const auto begin = reinterpret_cast<uintptr_t>(map_);
    return address >= begin && address - begin < mapped_;
  }

  // Whether what must not be touched can be read all the same.
  bool letRead(bool readable);

 private:
  // `count` times `bytes`, `step` bytes apart.
  struct Accessible {
    size_t bytes, step, count;
  };
  bool map(size_t bytes, size_t step, size_t count);
  void release();

  uint8_t* map_ = nullptr;
  size_t mapped_ = 0;
  Accessible accessible_ = {};
  uint8_t* first_ = nullptr;
};

#endif  // LUMEN_TEST_GUARD_MEMORY_H
