// The conversions between YCbCr and RGB: vector implementations of every instruction set that this
// machine has against the references, on images flush against memory that cannot be touched.

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "cpu/lumenColorPixel.h"
#include "lumenGuardedMemory.h"
#include "lumenRoutines.h"
#include "lumenTable.h"
#include "lumenVector.h"

namespace {

// An image of bytes that a function reads or writes.
struct Plane {
  size_t rowBytes;
  uint32_t rows;
};
using Images = std::vector<lumGuardedImage<uint8_t>>;

struct Size {
  uint32_t width, height;
};

// Calls with the images of each kind of function.
using PlanesToRgb = decltype(lumColorYCbCr444PlanarToRGB888u8);
using PairsToRgb = decltype(lumColorYCbCr444PseudoPlanarToRGB888u8);
using ImageToImage = decltype(lumColorYUV420toRGB565u8);
using RgbToPlanes = decltype(lumColorRGB888ToYCbCr444Planaru8);
using RgbToPairs = decltype(lumColorRGB888ToYCbCr444PseudoPlanaru8);

void call(PlanesToRgb* f, Size s, const Images& a, const Images& d) {
  f(a[0].data(), a[1].data(), a[2].data(), s.width, s.height, a[0].stride(), a[1].stride(),
    a[2].stride(), d[0].data(), d[0].stride());
}
void call(PairsToRgb* f, Size s, const Images& a, const Images& d) {
  f(a[0].data(), a[1].data(), s.width, s.height, a[0].stride(), a[1].stride(), d[0].data(),
    d[0].stride());
}
void call(ImageToImage* f, Size s, const Images& a, const Images& d) {
  f(a[0].data(), s.width, s.height, a[0].stride(), d[0].data(), d[0].stride());
}
void call(RgbToPlanes* f, Size s, const Images& a, const Images& d) {
  f(a[0].data(), s.width, s.height, a[0].stride(), d[0].data(), d[1].data(), d[2].data(),
    d[0].stride(), d[1].stride(), d[2].stride());
}
void call(RgbToPairs* f, Size s, const Images& a, const Images& d) {
  f(a[0].data(), s.width, s.height, a[0].stride(), d[0].data(), d[1].data(), d[0].stride(),
    d[1].stride());
}
void call(lumRgbToLuma* f, Size s, const Images& a, const Images& d) {
  f(a[0].data(), s.width, d[0].data());
}
void call(lumRgbToPlanes* f, Size s, const Images& a, const Images& d) {
  f(a[0].data(), s.width, d[0].data(), d[1].data(), d[2].data());
}
void call(lumRgbToPseudoPlanes* f, Size s, const Images& a, const Images& d) {
  f(a[0].data(), s.width, d[0].data(), d[1].data());
}

class Memory {
 public:
  // Images in memory of their own, those that are read with contents that depend on the size.
  Images place(const std::vector<Plane>& planes, uint32_t gap, lumFence fence, size_t from) {
    Images images;
    for (size_t i = 0; i < planes.size(); ++i) {
      images.emplace_back(memory_[from + i], planes[i].rowBytes, planes[i].rows, gap, fence);
    }
    return images;
  }

 private:
  static constexpr size_t kBytes = 5500000;
  const lumGuardedMemory memory_[9] = {
      lumGuardedMemory(kBytes), lumGuardedMemory(kBytes), lumGuardedMemory(kBytes),
      lumGuardedMemory(kBytes), lumGuardedMemory(kBytes), lumGuardedMemory(kBytes),
      lumGuardedMemory(kBytes), lumGuardedMemory(kBytes), lumGuardedMemory(kBytes)};
};

// Bytes with the extremes frequent among them.
uint8_t nextByte(uint64_t& state) {
  state = state * 6364136223846793005u + 1442695040888963407u;
  const auto bits = static_cast<uint32_t>(state >> 32);
  return bits % 4 == 0 ? (bits & 8 ? 255 : 0) : static_cast<uint8_t>(bits >> 8);
}

// What the function reads and writes at a size, to the last byte.
using Planes = std::function<std::vector<Plane>(Size)>;
struct Function {
  const char* name;
  uint32_t leastWidth, widthStep, heightStep;
  Planes sources, destinations;
};

template <class F>
void checkSize(const Function& function, F* reference, const lumVectorSet<F>& vector, Size size,
               uint32_t gap, lumFence fence) {
  static Memory memory;
  SCOPED_TRACE(testing::Message() << function.name << " " << size.width << "x" << size.height
                                  << " gap " << gap);
  Images sources = memory.place(function.sources(size), gap, fence, 0);
  uint64_t state = size.width * 131 + size.height;
  for (auto& source : sources) source.fill([&](size_t, uint32_t) { return nextByte(state); });
  const Images want = memory.place(function.destinations(size), gap, fence, 3);
  call(reference, size, sources, want);

  bool ran = false;
  for (uint32_t target = 0; target < LUM_VECTOR_TARGET_COUNT; ++target) {
    F* const f = vector.target[target];
    if (!f || !lumHasVectorTarget(static_cast<lumVectorTarget>(target))) continue;
    SCOPED_TRACE(LUM_VECTOR_TARGET_NAME[target]);
    ran = true;
    const Images got = memory.place(function.destinations(size), gap, fence, 6);
    call(f, size, sources, got);
    for (size_t i = 0; i < got.size(); ++i) {
      ASSERT_TRUE(got[i].gapsAreUntouched());
      for (uint32_t y = 0; y < got[i].height(); ++y) {
        for (size_t x = 0; x < got[i].width(); ++x) {
          ASSERT_EQ(got[i].row(y)[x], want[i].row(y)[x])
              << "image " << i << ", byte " << x << " of row " << y;
        }
      }
    }
  }
  ASSERT_TRUE(ran);
}

template <class F>
void check(const Function& function, F* reference, const lumVectorSet<F>& vector) {
  for (lumFence fence : {lumFence::before, lumFence::after}) {
    // Every width up to some of the longest vectors.
    const uint32_t step = function.widthStep;
    for (uint32_t n = 0; function.leastWidth + n * step <= 200; ++n) {
      const uint32_t height = 1 + n % 4;
      const Size size = {
          function.leastWidth + n * step,
          (height + function.heightStep - 1) / function.heightStep * function.heightStep};
      checkSize(function, reference, vector, size, n % 3, fence);
      if (testing::Test::HasFatalFailure()) return;
    }
    // Enough bytes to be stored past the caches: in rows of whole cache lines, with gaps that keep
    // them so or not, and in long rows that end, or begin where they are turned, within a line.
    struct Large {
      Size size;
      uint32_t gap;
    };
    for (auto [size, gap] :
         {Large{{1600, 780}, 0}, {{1600, 780}, 64}, {{1600, 780}, 11}, {{8212, 150}, 0}}) {
      checkSize(function, reference, vector, size, gap, fence);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

template <class S>
Plane chromaPlane(Size s, uint32_t bytes) {
  return {size_t{(s.width + S::kX - 1) / S::kX} * bytes, (s.height + S::kY - 1) / S::kY};
}
// An odd height takes a row more of Y and of pixels.
template <class S>
Plane wholePairs(Size s, size_t bytes) {
  return {s.width * bytes, (s.height + S::kY - 1) / S::kY * S::kY};
}

template <class S, class Format>
Function toRgb(const char* name, bool planar) {
  return {name,
          S::kX,
          1,
          1,
          [planar](Size s) {
            const Plane y = wholePairs<S>(s, 1), c = chromaPlane<S>(s, planar ? 1 : 2);
            return planar ? std::vector{y, c, c} : std::vector{y, c};
          },
          [](Size s) { return std::vector{wholePairs<S>(s, Format::kBytes)}; }};
}
template <class S, class Format>
Function fromRgb(const char* name, bool planar) {
  return {name,
          S::kX,
          S::kX,
          1,
          [](Size s) { return std::vector{wholePairs<S>(s, Format::kBytes)}; },
          [planar](Size s) {
            const Plane y = wholePairs<S>(s, 1), c = chromaPlane<S>(s, planar ? 1 : 2);
            return planar ? std::vector{y, c, c} : std::vector{y, c};
          }};
}
Function frame(const char* name) {
  return {name,
          2,
          2,
          2,
          [](Size s) {
            return std::vector{Plane{s.width, s.height / 2 * 3}};
          },
          [](Size s) {
            return std::vector{Plane{2 * size_t{s.width}, s.height}};
          }};
}
template <size_t kX, size_t kY>
Function macroblocks(const char* name) {
  using Block = lumMacroblock<kX, kY>;
  return {name,
          1,
          1,
          1,
          [](Size s) {
            return std::vector{
                Plane{(s.width + Block::kWidth - 1) / Block::kWidth * Block::kBytes,
                      static_cast<uint32_t>((s.height + Block::kHeight - 1) / Block::kHeight)}};
          },
          [](Size s) {
            return std::vector{Plane{3 * size_t{s.width}, s.height}};
          }};
}
// A row function, which takes no strides.
template <class S, class Format>
Function rowFunction(const char* name, std::vector<size_t> chromaBytes) {
  return {name,
          S::kX,
          S::kX,
          1,
          [](Size s) {
            return std::vector{Plane{s.width * Format::kBytes, 1}};
          },
          [chromaBytes](Size s) {
            std::vector<Plane> planes = {{s.width, 1}};
            for (size_t bytes : chromaBytes) planes.push_back({s.width / S::kX * bytes, 1});
            return planes;
          }};
}

#define LUM_CHECK_V(function, name) check(function(#name), name##C, name##V)

}  // namespace

TEST(ColorVector, PlanesToRgb) {
#define LUM_COLOR(sub, format)                                                        \
  check(toRgb<lumSubsampling##sub, lum##format>("YCbCr" #sub "Planar" #format, true), \
        lumColorYCbCr##sub##PlanarTo##format##u8C, lumColorYCbCr##sub##PlanarTo##format##u8V);
#include "lumenColor.def"
}

TEST(ColorVector, PairsToRgb) {
#define LUM_COLOR(sub, format)                                                        \
  check(toRgb<lumSubsampling##sub, lum##format>("YCbCr" #sub "Pairs" #format, false), \
        lumColorYCbCr##sub##PseudoPlanarTo##format##u8C,                              \
        lumColorYCbCr##sub##PseudoPlanarTo##format##u8V);
#include "lumenColor.def"
  check(toRgb<lumSubsampling420, lumRGBA8888>("YCrCb", false),
        lumColorYCrCb420PseudoPlanarToRGB8888u8C, lumColorYCrCb420PseudoPlanarToRGB8888u8V);
}

TEST(ColorVector, RgbToPlanes) {
#define LUM_COLOR(sub, format)                                                            \
  check(fromRgb<lumSubsampling##sub, lum##format>(#format "ToYCbCr" #sub "Planar", true), \
        lumColor##format##ToYCbCr##sub##Planaru8C, lumColor##format##ToYCbCr##sub##Planaru8V);
#include "lumenColor.def"
}

TEST(ColorVector, RgbToPairs) {
#define LUM_COLOR(sub, format)                                                            \
  check(fromRgb<lumSubsampling##sub, lum##format>(#format "ToYCbCr" #sub "Pairs", false), \
        lumColor##format##ToYCbCr##sub##PseudoPlanaru8C,                                  \
        lumColor##format##ToYCbCr##sub##PseudoPlanaru8V);
#include "lumenColor.def"
}

TEST(ColorVector, RowFunctions) {
#define LUM_CHECK_ROWS(format, prefix)                                                            \
  check(rowFunction<lumSubsampling444, lum##format>(#prefix "2y", {}), prefix##2yC, prefix##2yV); \
  check(rowFunction<lumSubsampling444, lum##format>(#prefix "2yuv", {1, 1}), prefix##2yuvC,       \
        prefix##2yuvV);                                                                           \
  check(rowFunction<lumSubsampling422, lum##format>(#prefix "2yyuv", {1, 1}), prefix##2yyuvC,     \
        prefix##2yyuvV);                                                                          \
  check(rowFunction<lumSubsampling444, lum##format>(#prefix "2yuvp", {2}), prefix##2yuvpC,        \
        prefix##2yuvpV);                                                                          \
  check(rowFunction<lumSubsampling422, lum##format>(#prefix "2yyuvp", {2}), prefix##2yyuvpC,      \
        prefix##2yyuvpV)
  LUM_CHECK_ROWS(RGB565, rgb565);
  LUM_CHECK_ROWS(RGB888, rgb888);
  LUM_CHECK_ROWS(RGBA8888, rgba8888);
}

TEST(ColorVector, Frames) {
  LUM_CHECK_V(frame, lumColorYUV420toRGB565u8);
  LUM_CHECK_V(frame, lumColorYUV420toRGB565u8Rotate180);
  check({"RGB888ToRGB565Rotate180", 1, 1, 1,
         [](Size s) {
           return std::vector{Plane{3 * size_t{s.width}, s.height}};
         },
         [](Size s) {
           return std::vector{Plane{2 * size_t{s.width}, s.height}};
         }},
        lumColorRGB888ToRGB565Rotate180u8C, lumColorRGB888ToRGB565Rotate180u8V);
}

TEST(ColorVector, Macroblocks) {
  LUM_CHECK_V((macroblocks<1, 1>), lumColorYCrCbH1V1toRGB888u8);
  LUM_CHECK_V((macroblocks<1, 2>), lumColorYCrCbH1V2toRGB888u8);
  LUM_CHECK_V((macroblocks<2, 1>), lumColorYCrCbH2V1toRGB888u8);
  LUM_CHECK_V((macroblocks<2, 2>), lumColorYCrCbH2V2toRGB888u8);
}
