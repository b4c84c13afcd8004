// The absolute-difference functions in both columns, beside OpenCV's absdiff on one thread and two
// limits that move the same bytes: memcpy, and a plain loop that reads and writes.
//
// Names are <function>/<size>/<who>; bench/lumen-ratios makes a table of them.

#include <array>
#include <cstring>
#include <opencv2/core.hpp>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "lumenBench.h"
#include "lumenTable.h"
#include "lumenVector.h"

namespace {

template <class T, class TDst>
struct Images {
  std::vector<T> src1, src2;
  std::vector<TDst> dst;
  uint32_t width, height, srcStride, dstStride;

  Images(const lumBenchSize& size, int channels)
      : width(static_cast<uint32_t>(size.width)),
        height(static_cast<uint32_t>(size.height)),
        srcStride(width * static_cast<uint32_t>(channels) * uint32_t{sizeof(T)}),
        dstStride(width * static_cast<uint32_t>(channels) * uint32_t{sizeof(TDst)}) {
    const size_t count = size_t{width} * height * static_cast<size_t>(channels);
    src1.resize(count);
    src2.resize(count);
    dst.resize(count);
    std::minstd_rand random(1);
    for (size_t i = 0; i < count; ++i) {
      src1[i] = static_cast<T>(random());
      src2[i] = static_cast<T>(random());
    }
  }
  size_t bytes() const { return dst.size() * sizeof(TDst); }
};

// What any function that reads two images and writes one can reach.
LUM_BENCH_CLONES void mixLoop(const uint32_t* a, const uint32_t* b, uint32_t* out, size_t count) {
  for (size_t i = 0; i < count; ++i) out[i] = a[i] ^ b[i];
}

template <class T>
const uint32_t* words(const std::vector<T>& image) {
  return reinterpret_cast<const uint32_t*>(image.data());
}
template <class T>
uint32_t* words(std::vector<T>& image) {
  return reinterpret_cast<uint32_t*>(image.data());
}

template <class T>
constexpr int kCvDepth = std::is_same_v<T, uint8_t>   ? CV_8U
                         : std::is_same_v<T, int32_t> ? CV_32S
                                                      : CV_32F;

// The three that every function is compared with: `sources` images are read.
template <class Pool>
void addLimits(const std::string& name, Pool& images, int sources) {
  const size_t moved = images.bytes() * static_cast<size_t>(sources + 1);
  lumAddBench(name + "/loop", moved, [&images, sources] {
    const size_t bytes = images.bytes();
    if (sources == 1) return lumMoveLoop(images.src1.data(), bytes, images.dst.data(), bytes);
    mixLoop(words(images.src1), words(images.src2), words(images.dst), bytes / sizeof(uint32_t));
  });
  // A copy moves two bytes for each: half of what the function moves, from the sources in turn.
  lumAddBench(name + "/memcpy", moved, [&images, moved] {
    const size_t half = moved / 2, first = std::min(half, images.bytes());
    std::memcpy(images.dst.data(), images.src1.data(), first);
    std::memcpy(images.dst.data(), images.src2.data(), half - first);
  });
}

template <class T, class TDst, class F>
void addTwoSources(const char* function, F* reference, const lumVectorSet<F>& vector) {
  for (const lumBenchSize& size : LUM_BENCH_SIZES) {
    auto& images = *new Images<T, TDst>(size, 1);
    const std::string name = std::string(function) + "/" + size.text();
    const size_t moved = images.bytes() * 3;
    const auto call = [&images](F* f) {
      f(images.src1.data(), images.src2.data(), images.width, images.height, images.srcStride,
        images.dst.data(), images.dstStride);
    };
    F* const best = lumBestOf(vector, reference);
    lumAddBench(name + "/V", moved, [=] { call(best); });
    lumAddBench(name + "/C", moved, [=] { call(reference); });
    lumAddBench(name + "/opencv", moved, [&images, size] {
      const cv::Mat a(size.height, size.width, kCvDepth<T>, images.src1.data());
      const cv::Mat b(size.height, size.width, kCvDepth<T>, images.src2.data());
      cv::Mat d(size.height, size.width, kCvDepth<T>, images.dst.data());
      cv::absdiff(a, b, d);
    });
    addLimits(name, images, 2);
  }
}

template <class T, class TDst, int kChannels, class F>
void addOneSource(const char* function, F* reference, const lumVectorSet<F>& vector) {
  for (const lumBenchSize& size : LUM_BENCH_SIZES) {
    auto& images = *new Images<T, TDst>(size, kChannels);
    const std::string name = std::string(function) + "/" + size.text();
    const size_t moved = images.bytes() * 2;
    const auto call = [&images](F* f) {
      constexpr std::array<T, 4> kValues = {T{10}, T{20}, T{30}, T{40}};
      [&]<size_t... k>(std::index_sequence<k...>) {
        f(images.src1.data(), kValues[k]..., images.width, images.height, images.srcStride,
          images.dst.data(), images.dstStride);
      }
      (std::make_index_sequence<kChannels>());
    };
    F* const best = lumBestOf(vector, reference);
    lumAddBench(name + "/V", moved, [=] { call(best); });
    lumAddBench(name + "/C", moved, [=] { call(reference); });
    lumAddBench(name + "/opencv", moved, [&images, size] {
      const int type = CV_MAKETYPE(kCvDepth<T>, kChannels);
      const cv::Mat a(size.height, size.width, type, images.src1.data());
      cv::Mat d(size.height, size.width, type, images.dst.data());
      cv::absdiff(a, cv::Scalar(10, 20, 30, 40), d);
    });
    addLimits(name, images, 1);
  }
}

#define LUM_BENCH(form, name) form(#name, name##C, name##V)

const bool registered = [] {
  cv::setNumThreads(1);
  LUM_BENCH((addTwoSources<uint8_t, uint8_t>), lumAbsDiffu8);
  LUM_BENCH((addTwoSources<int32_t, uint32_t>), lumAbsDiffs32);
  LUM_BENCH((addTwoSources<float, float>), lumAbsDifff32);
  LUM_BENCH((addOneSource<uint8_t, uint8_t, 1>), lumAbsDiffVu8);
  LUM_BENCH((addOneSource<int32_t, uint32_t, 1>), lumAbsDiffVs32);
  LUM_BENCH((addOneSource<float, float, 1>), lumAbsDiffVf32);
  LUM_BENCH((addOneSource<uint8_t, uint8_t, 3>), lumAbsDiffVc3u8);
  LUM_BENCH((addOneSource<int32_t, uint32_t, 3>), lumAbsDiffVc3s32);
  LUM_BENCH((addOneSource<float, float, 3>), lumAbsDiffVc3f32);
  LUM_BENCH((addOneSource<uint8_t, uint8_t, 4>), lumAbsDiffVc4u8);
  LUM_BENCH((addOneSource<int32_t, uint32_t, 4>), lumAbsDiffVc4s32);
  LUM_BENCH((addOneSource<float, float, 4>), lumAbsDiffVc4f32);
  return true;
}();

}  // namespace
