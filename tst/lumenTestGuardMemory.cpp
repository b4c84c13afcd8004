#include "lumenTestGuardMemory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

namespace {

// Before and behind each image; a read that lands beyond is that of a wrong address.
constexpr size_t kLeastGuard = 64 << 10;

size_t roundUp(size_t bytes, size_t page) { return (bytes + page - 1) / page * page; }

size_t guardBytes() { return std::max(kLeastGuard, LUMEN_TEST_GuardedImage::pageBytes()); }

}  // namespace

size_t LUMEN_TEST_GuardedImage::pageBytes() {
  static const auto bytes = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  return bytes;
}

LUMEN_TEST_GuardedImage::~LUMEN_TEST_GuardedImage() { release(); }

void LUMEN_TEST_GuardedImage::release() {
  if (map_) munmap(map_, mapped_);
  map_ = first_ = nullptr;
  mapped_ = 0;
  accessible_ = {};
}

bool LUMEN_TEST_GuardedImage::place(const LUMEN_TEST_Layout::Image& image, LUMEN_TEST_Fence fence,
                                    bool rowsApart) {
  const size_t bytes = rowsApart ? image.rowBytes : image.bytes;
  if (bytes > SIZE_MAX / 4 || image.bytes > SIZE_MAX / 4) return false;
  if (rowsApart || accessible_.step != 0 || accessible_.bytes < bytes) {
    if (!map(roundUp(bytes, pageBytes()), rowsApart ? image.stride : 0,
             rowsApart ? image.rows : 1)) {
      return false;
    }
  }
  first_ = map_ + guardBytes();
  if (fence == LUMEN_TEST_Fence::tail) first_ += accessible_.bytes - bytes;
  return true;
}

bool LUMEN_TEST_GuardedImage::map(size_t bytes, size_t step, size_t count) {
  release();
  const size_t needed = step * (count - 1) + bytes + 2 * guardBytes();
  void* const map = mmap(nullptr, needed, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (map == MAP_FAILED) return false;
  map_ = static_cast<uint8_t*>(map);
  mapped_ = needed;
  accessible_ = {bytes, step, count};
  return letRead(false);
}

bool LUMEN_TEST_GuardedImage::letRead(bool readable) {
  if (mprotect(map_, mapped_, readable ? PROT_READ : PROT_NONE) != 0) return false;
  for (size_t i = 0; i < accessible_.count; ++i) {
    uint8_t* const inside = map_ + guardBytes() + i * accessible_.step;
    if (mprotect(inside, accessible_.bytes, PROT_READ | PROT_WRITE) != 0) return false;
  }
  return true;
}
