// Memory between two pages that cannot be touched, for images that lie flush against either: an
// access outside such an image ends the test.

#ifndef LUMEN_GUARDED_MEMORY_H
#define LUMEN_GUARDED_MEMORY_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

enum class lumFence { before, after };

class lumGuardedMemory {
 public:
  explicit lumGuardedMemory(size_t bytes) {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    bytes_ = (bytes + page - 1) / page * page;
    mapped_ = bytes_ + 2 * page;
    map_ = static_cast<uint8_t*>(
        mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    inside_ = map_ + page;
    mprotect(inside_, bytes_, PROT_READ | PROT_WRITE);
  }
  ~lumGuardedMemory() { munmap(map_, mapped_); }
  lumGuardedMemory(const lumGuardedMemory&) = delete;
  lumGuardedMemory& operator=(const lumGuardedMemory&) = delete;

  // The place for `bytes` bytes that lies directly behind the page before or before the page after.
  uint8_t* place(size_t bytes, lumFence fence) const {
    return fence == lumFence::before ? inside_ : inside_ + bytes_ - bytes;
  }

 private:
  size_t bytes_, mapped_;
  uint8_t* map_;
  uint8_t* inside_;
};

// An image in guarded memory. The bytes between its rows are filled with a pattern.
template <class T>
class lumGuardedImage {
 public:
  static constexpr uint8_t kGap = 0xA5;

  lumGuardedImage(const lumGuardedMemory& memory, size_t width, uint32_t height, uint32_t gapBytes,
                  lumFence fence)
      : rowBytes_(width * sizeof(T)),
        height_(height),
        stride_(static_cast<uint32_t>(rowBytes_ + gapBytes)),
        bytes_(size_t{stride_} * (height - 1) + rowBytes_),
        first_(memory.place(bytes_, fence)) {
    std::memset(first_, kGap, bytes_);
  }

  T* data() const { return reinterpret_cast<T*>(first_); }
  T* row(uint32_t y) const { return reinterpret_cast<T*>(first_ + size_t{y} * stride_); }
  uint32_t stride() const { return stride_; }
  size_t width() const { return rowBytes_ / sizeof(T); }
  uint32_t height() const { return height_; }

  // `value(x, y)` into every element.
  template <class Value>
  void fill(Value value) {
    for (uint32_t y = 0; y < height_; ++y) {
      for (size_t x = 0; x < width(); ++x) row(y)[x] = value(x, y);
    }
  }

  bool gapsAreUntouched() const {
    for (uint32_t y = 0; y + 1 < height_; ++y) {
      const uint8_t* gap = first_ + size_t{y} * stride_ + rowBytes_;
      for (size_t i = 0; i < stride_ - rowBytes_; ++i) {
        if (gap[i] != kGap) return false;
      }
    }
    return true;
  }

 private:
  size_t rowBytes_;
  uint32_t height_, stride_;
  size_t bytes_;
  uint8_t* first_;
};

#endif  // LUMEN_GUARDED_MEMORY_H
