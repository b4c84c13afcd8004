// The absolute differences: references against the definition, vector implementations of every
// instruction set that this machine has against the references.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "lumenGuardedMemory.h"
#include "lumenTable.h"
#include "lumenVector.h"

namespace {

template <class T>
using Result = std::conditional_t<std::is_same_v<T, int32_t>, uint32_t, T>;

// The definition, computed in another way than the references do.
uint8_t expected(uint8_t a, uint8_t b) { return static_cast<uint8_t>(std::abs(int{a} - int{b})); }
uint32_t expected(int32_t a, int32_t b) {
  const int64_t wrapped = static_cast<int32_t>(static_cast<uint32_t>(int64_t{a} - int64_t{b}));
  return static_cast<uint32_t>(wrapped < 0 ? -wrapped : wrapped);
}
float expected(float a, float b) { return static_cast<float>(std::fabs(double{a} - double{b})); }

template <class T>
bool same(T a, T b) {
  return a == b;
}
// Also of one sign, and NaN where NaN is expected.
bool same(float a, float b) {
  return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b));
}

// Random elements with the extremes of the type mixed in. Floats are numbers that a difference of
// two rounds once or not at all, so that the definition above is exact.
template <class T>
class Elements {
 public:
  explicit Elements(uint32_t seed) : state_(seed) {}
  T operator()(size_t, uint32_t) {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;
    const uint32_t bits = static_cast<uint32_t>(state_ >> 32);
    if constexpr (std::is_same_v<T, float>) {
      constexpr float kSpecial[] = {0.0f,
                                    -0.0f,
                                    std::numeric_limits<float>::infinity(),
                                    -std::numeric_limits<float>::infinity(),
                                    std::numeric_limits<float>::quiet_NaN(),
                                    std::numeric_limits<float>::max()};
      if (bits % 16 == 0) return kSpecial[bits / 16 % std::size(kSpecial)];
      return static_cast<float>(static_cast<int32_t>(bits)) / 65536.0f;
    } else {
      constexpr T kSpecial[] = {std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), T(0),
                                T(1), T(-1)};
      if (bits % 8 == 0) return kSpecial[bits / 8 % std::size(kSpecial)];
      return static_cast<T>(bits >> 3);
    }
  }

 private:
  uint64_t state_;
};

struct Shape {
  uint32_t width, height, gapElements;
  lumFence fence;
  bool inPlace;
};

// The values of the channels: extremes and others.
template <class T>
constexpr std::array<T, 4> kValues = {T(200), std::numeric_limits<T>::max(),
                                      std::numeric_limits<T>::lowest(), T(3)};

template <size_t kChannels>
constexpr uint32_t kPerPixel = kChannels ? kChannels : 1;

// One function with its arguments in a common form; kChannels of 0 stands for two sources.
template <class T, size_t kChannels, class F>
class Function {
 public:
  Function(F* reference, const lumVectorSet<F>& vector) : reference_(reference), vector_(vector) {}

  // Compares on one shape: the reference with the definition, the vector implementations with it.
  void check(const Shape& shape) {
    SCOPED_TRACE(testing::Message() << shape.width << "x" << shape.height << " gap "
                                    << shape.gapElements << (shape.inPlace ? " in place" : ""));
    const size_t elements = size_t{shape.width} * kPerPixel<kChannels>;
    const uint32_t gap = shape.gapElements * uint32_t{sizeof(T)};
    Image<T> src1(memory_[0], elements, shape.height, gap, shape.fence);
    Image<T> src2(memory_[1], elements, shape.height, gap, shape.fence);
    Image<Result<T>> want(memory_[2], elements, shape.height, gap, shape.fence);
    src1.fill(Elements<T>(shape.width * 131 + shape.height));
    src2.fill(Elements<T>(shape.width * 137 + shape.height + 1));
    call(reference_, src1, src2, want, shape);
    expectDefinition(src1, src2, want);

    for (uint32_t target = 0; target < LUM_VECTOR_TARGET_COUNT; ++target) {
      F* const vector = vector_.target[target];
      if (!vector || !lumHasVectorTarget(static_cast<lumVectorTarget>(target))) continue;
      SCOPED_TRACE(LUM_VECTOR_TARGET_NAME[target]);
      ran_ = true;
      Image<Result<T>> got(memory_[3], elements, shape.height, gap, shape.fence);
      Image<T> src(memory_[shape.inPlace ? 3 : 4], elements, shape.height, gap, shape.fence);
      src.fill([&](size_t x, uint32_t y) { return src1.row(y)[x]; });
      call(vector, src, src2, got, shape);
      ASSERT_TRUE(got.gapsAreUntouched());
      for (uint32_t y = 0; y < shape.height; ++y) {
        for (size_t x = 0; x < elements; ++x) {
          ASSERT_TRUE(same(got.row(y)[x], want.row(y)[x])) << "element " << x << " of row " << y;
        }
      }
    }
    ASSERT_TRUE(ran_);
  }

 private:
  template <class E>
  using Image = lumGuardedImage<E>;

  void call(F* f, const Image<T>& src1, const Image<T>& src2, const Image<Result<T>>& dst,
            const Shape& shape) {
    if constexpr (kChannels == 0) {
      f(src1.data(), src2.data(), shape.width, shape.height, src1.stride(), dst.data(),
        dst.stride());
    } else {
      [&]<size_t... k>(std::index_sequence<k...>) {
        f(src1.data(), kValues<T>[k]..., shape.width, shape.height, src1.stride(), dst.data(),
          dst.stride());
      }
      (std::make_index_sequence<kChannels>());
    }
  }

  void expectDefinition(const Image<T>& src1, const Image<T>& src2, const Image<Result<T>>& dst) {
    for (uint32_t y = 0; y < dst.height(); ++y) {
      for (size_t x = 0; x < dst.width(); ++x) {
        const T second = kChannels ? kValues<T>[x % kPerPixel<kChannels>] : src2.row(y)[x];
        ASSERT_TRUE(same(dst.row(y)[x], expected(src1.row(y)[x], second)))
            << "reference, element " << x << " of row " << y;
      }
    }
  }

  static constexpr size_t kBytes = 4000000;

  F* reference_;
  const lumVectorSet<F>& vector_;
  bool ran_ = false;
  const lumGuardedMemory memory_[5] = {lumGuardedMemory(kBytes), lumGuardedMemory(kBytes),
                                       lumGuardedMemory(kBytes), lumGuardedMemory(kBytes),
                                       lumGuardedMemory(kBytes)};
};

template <class T, size_t kChannels, class F>
void checkFunction(F* reference, const lumVectorSet<F>& vector) {
  Function<T, kChannels, F> function(reference, vector);
  // Every width up to some blocks of the longest vectors, and then enough bytes to be stored past
  // the caches, as one long row and as rows with gaps.
  constexpr uint32_t kLanes = 64 / sizeof(T),
                     kLargeWidth = 120007 / sizeof(T) / kPerPixel<kChannels>;
  for (lumFence fence : {lumFence::before, lumFence::after}) {
    for (uint32_t width = 1; width <= 5 * kLanes + 3; ++width) {
      function.check({width, 1 + width % 3, width % 4, fence, width % 2 == 0});
      if (testing::Test::HasFatalFailure()) return;
    }
    for (uint32_t gap : {0u, 1u}) {
      function.check({kLargeWidth, 26, gap, fence, gap == 0});
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

}  // namespace

TEST(AbsDiff, OfTwoImages) {
  checkFunction<uint8_t, 0>(lumAbsDiffu8C, lumAbsDiffu8V);
  checkFunction<int32_t, 0>(lumAbsDiffs32C, lumAbsDiffs32V);
  checkFunction<float, 0>(lumAbsDifff32C, lumAbsDifff32V);
}

TEST(AbsDiff, OfAnImageAndAValue) {
  checkFunction<uint8_t, 1>(lumAbsDiffVu8C, lumAbsDiffVu8V);
  checkFunction<int32_t, 1>(lumAbsDiffVs32C, lumAbsDiffVs32V);
  checkFunction<float, 1>(lumAbsDiffVf32C, lumAbsDiffVf32V);
}

TEST(AbsDiff, OfThreeChannels) {
  checkFunction<uint8_t, 3>(lumAbsDiffVc3u8C, lumAbsDiffVc3u8V);
  checkFunction<int32_t, 3>(lumAbsDiffVc3s32C, lumAbsDiffVc3s32V);
  checkFunction<float, 3>(lumAbsDiffVc3f32C, lumAbsDiffVc3f32V);
}

TEST(AbsDiff, OfFourChannels) {
  checkFunction<uint8_t, 4>(lumAbsDiffVc4u8C, lumAbsDiffVc4u8V);
  checkFunction<int32_t, 4>(lumAbsDiffVc4s32C, lumAbsDiffVc4s32V);
  checkFunction<float, 4>(lumAbsDiffVc4f32C, lumAbsDiffVc4f32V);
}
