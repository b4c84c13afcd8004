// What the tests of the colour families share: guarded planes, contents, going through instruction
// sets.

#ifndef LUMEN_COLOR_TEST_SUPPORT_H
#define LUMEN_COLOR_TEST_SUPPORT_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "lumenGuardedMemory.h"
#include "lumenVector.h"

namespace lumColorTest {

struct Shape {
  uint32_t width, height, gap;  // the gap in bytes, for a first plane
  lumFence fence;

  std::string text() const {
    return std::to_string(width) + "x" + std::to_string(height) + " gap " + std::to_string(gap);
  }
};

inline const lumGuardedMemory& memory(size_t index) {
  constexpr size_t kBytes = 5000000;
  static const lumGuardedMemory memories[] = {
      lumGuardedMemory(kBytes), lumGuardedMemory(kBytes), lumGuardedMemory(kBytes),
      lumGuardedMemory(kBytes), lumGuardedMemory(kBytes), lumGuardedMemory(kBytes),
      lumGuardedMemory(kBytes), lumGuardedMemory(kBytes), lumGuardedMemory(kBytes)};
  return memories[index];
}

// Bytes flush against a guard page. With a gap, each place in memory has another one.
class Plane : public lumGuardedImage<uint8_t> {
 public:
  Plane(const Shape& shape, size_t place, size_t rowBytes, uint32_t rows)
      : lumGuardedImage(memory(place), rowBytes, rows,
                        shape.gap ? shape.gap + static_cast<uint32_t>(place % 3) : 0, shape.fence) {
  }
  bool isEqualTo(const Plane& other) const {
    for (uint32_t y = 0; y < height(); ++y) {
      if (std::memcmp(row(y), other.row(y), width()) != 0) return false;
    }
    return true;
  }
};

// Random bytes with the extremes mixed in.
class Bytes {
 public:
  explicit Bytes(uint32_t seed) : state_(seed) {}
  uint8_t operator()(size_t, uint32_t) {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    const uint32_t bits = static_cast<uint32_t>(state_ >> 32);
    return static_cast<uint8_t>(bits % 8 ? bits >> 8 : bits % 16 ? 255 : 0);
  }

 private:
  uint64_t state_;
};

// Calls `check` with the implementation of each instruction set that this machine has.
template <class F, class Check>
void forEachTarget(const lumVectorSet<F>& vector, const Check& check) {
  int ran = 0;
  for (uint32_t target = 0; target < LUM_VECTOR_TARGET_COUNT; ++target) {
    if (!vector.target[target] || !lumHasVectorTarget(static_cast<lumVectorTarget>(target)))
      continue;
    SCOPED_TRACE(LUM_VECTOR_TARGET_NAME[target]);
    ++ran;
    check(vector.target[target]);
    if (testing::Test::HasFatalFailure()) return;
  }
  ASSERT_GT(ran, 0);
}

}  // namespace lumColorTest

#endif  // LUMEN_COLOR_TEST_SUPPORT_H
