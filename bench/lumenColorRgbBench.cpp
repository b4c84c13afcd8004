// Layout conversions and packed RGB in both columns, beside libyuv and OpenCV on one thread, and a
// plain loop that reads and writes as many bytes.
//
// Names are <function>/<size>/<who>; bench/lumen-ratios makes a table of them.

#include <libyuv.h>

#include <functional>
#include <opencv2/imgproc.hpp>
#include <random>
#include <string>
#include <vector>

#include "lumenBench.h"
#include "lumenColorFormat.h"
#include "lumenTable.h"
#include "lumenVector.h"

namespace {

using Buffer = std::vector<uint8_t>;

Buffer randomBytes(size_t count) {
  Buffer bytes(count);
  std::minstd_rand random(1);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random() >> 8);
  return bytes;
}

// ------------------------------------------------------------------------------------------ packed

using Convert = void(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t);

// A peer takes the same arguments. `code` is OpenCV's, or below 0.
struct Packed {
  const char* name;
  size_t srcBytes, dstBytes;
  Convert* reference;
  const lumVectorSet<Convert>* vector;
};
constexpr Packed kPacked[] = {
#define LUM_COLOR_RGB(name, From, To) \
  {#name, lumColor::From::kBytes, lumColor::To::kBytes, name##C, &name##V},
#include "lumenColorRgb.def"
    {"lumColorCbCrSwapu8", 2, 2, lumColorCbCrSwapu8C, &lumColorCbCrSwapu8V}};

// libyuv names channels from the highest byte of a word down: its ARGB is B, G, R, A in memory, its
// RAW is R, G, B.
template <auto* convert>
void yuvPacked(const uint8_t* src, int srcStride, uint8_t* dst, int dstStride, int w, int h) {
  convert(src, srcStride, dst, dstStride, w, h);
}
using YuvPacked = void(const uint8_t*, int, uint8_t*, int, int, int);
struct Peer {
  const char* name;
  int code;
  YuvPacked* yuv;
};
constexpr Peer kPeers[] = {
    {"lumColorRGB565ToBGR888u8", cv::COLOR_BGR5652BGR, nullptr},
    {"lumColorRGB565ToRGB888u8", cv::COLOR_BGR5652RGB, nullptr},
    {"lumColorRGB565ToBGRA8888u8", cv::COLOR_BGR5652BGRA, yuvPacked<libyuv::RGB565ToARGB>},
    {"lumColorRGB565ToRGBA8888u8", cv::COLOR_BGR5652RGBA, nullptr},
    {"lumColorRGB888ToBGR888u8", cv::COLOR_RGB2BGR, yuvPacked<libyuv::RAWToRGB24>},
    {"lumColorRGB888ToBGRA8888u8", cv::COLOR_RGB2BGRA, yuvPacked<libyuv::RAWToARGB>},
    {"lumColorRGB888ToRGBA8888u8", cv::COLOR_RGB2RGBA, yuvPacked<libyuv::RGB24ToARGB>},
    {"lumColorRGB888ToRGB565u8", cv::COLOR_RGB2BGR565, nullptr},
    {"lumColorRGB888ToBGR565u8", cv::COLOR_BGR2BGR565, nullptr},
    {"lumColorRGBA8888ToRGB565u8", cv::COLOR_RGBA2BGR565, nullptr},
    // The same work in libyuv's order.
    {"lumColorRGBA8888ToBGR565u8", cv::COLOR_BGRA2BGR565, yuvPacked<libyuv::ARGBToRGB565>},
    {"lumColorRGBA8888ToRGB888u8", cv::COLOR_RGBA2RGB, yuvPacked<libyuv::ARGBToRGB24>},
    {"lumColorRGBA8888ToBGR888u8", cv::COLOR_RGBA2BGR, yuvPacked<libyuv::ARGBToRAW>},
    {"lumColorRGBA8888ToBGRA8888u8", cv::COLOR_RGBA2BGRA, yuvPacked<libyuv::ABGRToARGB>},
    {"lumColorRGB888ToGrayu8", cv::COLOR_RGB2GRAY, yuvPacked<libyuv::RAWToJ400>},
    {"lumColorRGB888toYCrCbu8", cv::COLOR_RGB2YCrCb, nullptr},
    {"lumColorRGB888ToHSV888u8", cv::COLOR_RGB2HSV, nullptr},
    {"lumColorRGBA8888ToLABu8", cv::COLOR_RGB2Lab, nullptr},
    {"lumColorCbCrSwapu8", -1, yuvPacked<libyuv::SwapUVPlane>},
};

void addPacked(const Packed& function, const lumBenchSize& size) {
  const size_t pixels = size_t(size.width) * size_t(size.height);
  auto& src = *new Buffer(randomBytes(pixels * function.srcBytes));
  auto& dst = *new Buffer(pixels * function.dstBytes);
  const std::string name = std::string(function.name) + "/" + size.text() + "/";
  const size_t moved = src.size() + dst.size();
  const auto srcStride = static_cast<uint32_t>(size_t(size.width) * function.srcBytes);
  const auto dstStride = static_cast<uint32_t>(size_t(size.width) * function.dstBytes);
  const auto call = [&src, &dst, size, srcStride, dstStride](Convert* convert) {
    convert(src.data(), static_cast<uint32_t>(size.width), static_cast<uint32_t>(size.height),
            srcStride, dst.data(), dstStride);
  };
  Convert* const best = lumBestOf(*function.vector, function.reference);
  lumAddBench(name + "V", moved, [=] { call(best); });
  lumAddBench(name + "C", moved, [=] { call(function.reference); });
  lumAddBench(name + "loop", moved,
              [&src, &dst] { lumMoveLoop(src.data(), src.size(), dst.data(), dst.size()); });
  for (const Peer& peer : kPeers) {
    if (std::string_view(peer.name) != function.name) continue;
    if (peer.yuv) {
      lumAddBench(name + "libyuv", moved, [&src, &dst, size, peer, srcStride, dstStride] {
        peer.yuv(src.data(), static_cast<int>(srcStride), dst.data(), static_cast<int>(dstStride),
                 size.width, size.height);
      });
    }
    if (peer.code >= 0) {
      const bool isLab = peer.code == cv::COLOR_RGB2Lab;  // which takes three channels as well
      lumAddBench(name + "opencv", moved, [&src, &dst, size, peer, function, isLab] {
        const auto type = [](size_t bytes) { return CV_MAKETYPE(CV_8U, static_cast<int>(bytes)); };
        cv::Mat in(size.height, size.width, type(function.srcBytes), src.data());
        cv::Mat out(size.height, size.width, type(function.dstBytes), dst.data());
        cv::cvtColor(in, out, isLab ? cv::COLOR_RGB2Lab : peer.code);
      });
    }
  }
}

// ----------------------------------------------------------------------------------------- layouts

// Whole pictures without gaps between their planes' rows.
template <class L>
struct Picture {
  explicit Picture(const lumBenchSize& size)
      : width(static_cast<uint32_t>(size.width)),
        height(static_cast<uint32_t>(size.height)),
        luma(randomBytes(size_t{width} * height)) {
    for (Buffer& plane : chroma) {
      if (&plane == chroma || !L::kIsPseudo) {
        plane = randomBytes(static_cast<size_t>(L::rowBytes(width)) * L::rows(height));
      }
    }
  }
  size_t bytes() const { return luma.size() + chroma[0].size() + chroma[1].size(); }
  uint32_t chromaStride() const { return static_cast<uint32_t>(L::rowBytes(width)); }

  uint32_t width, height;
  Buffer luma, chroma[2];
};

// Calls a function of Lumen's kind (`sizeFirst`) or of libyuv's, which has each stride behind its
// plane and the size last.
template <class From, class To, class F>
void callLumen(F* f, Picture<From>& src, Picture<To>& dst) {
  const auto withDst = [&](auto... args) {
    if constexpr (To::kIsPseudo) {
      f(args..., dst.luma.data(), dst.chroma[0].data(), dst.width, dst.chromaStride());
    } else {
      f(args..., dst.luma.data(), dst.chroma[0].data(), dst.chroma[1].data(), dst.width,
        dst.chromaStride(), dst.chromaStride());
    }
  };
  const uint8_t *y = src.luma.data(), *c0 = src.chroma[0].data(), *c1 = src.chroma[1].data();
  if constexpr (From::kIsPseudo) {
    withDst(y, c0, src.width, src.height, src.width, src.chromaStride());
  } else {
    withDst(y, c0, c1, src.width, src.height, src.width, src.chromaStride(), src.chromaStride());
  }
}
template <class From, class To, class F>
void callYuv(F* f, Picture<From>& src, Picture<To>& dst) {
  const int width = static_cast<int>(src.width), height = static_cast<int>(src.height);
  const int in = static_cast<int>(src.chromaStride()), out = static_cast<int>(dst.chromaStride());
  const auto withDst = [&](auto... args) {
    if constexpr (To::kIsPseudo) {
      f(args..., dst.luma.data(), width, dst.chroma[0].data(), out, width, height);
    } else {
      f(args..., dst.luma.data(), width, dst.chroma[0].data(), out, dst.chroma[1].data(), out,
        width, height);
    }
  };
  const uint8_t *y = src.luma.data(), *c0 = src.chroma[0].data(), *c1 = src.chroma[1].data();
  if constexpr (From::kIsPseudo) withDst(y, width, c0, in);
  else withDst(y, width, c0, in, c1, in);
}

template <class From, class To, class F>
void addLayout(const char* function, F* reference, const lumVectorSet<F>& vector) {
  using namespace lumColor;
  for (const lumBenchSize& size : LUM_BENCH_SIZES) {
    auto& src = *new Picture<From>(size);
    auto& dst = *new Picture<To>(size);
    const std::string name = std::string(function) + "/" + size.text() + "/";
    const size_t moved = src.bytes() + dst.bytes();
    F* const best = lumBestOf(vector, reference);
    lumAddBench(name + "V", moved, [=, &src, &dst] { callLumen(best, src, dst); });
    lumAddBench(name + "C", moved, [=, &src, &dst] { callLumen(reference, src, dst); });
    lumAddBench(name + "loop", moved, [&src, &dst] {
      lumMoveLoop(src.luma.data(), src.luma.size(), dst.luma.data(), dst.luma.size());
      for (int k = 0; k < 2; ++k) {
        lumMoveLoop(src.chroma[k].data(), src.chroma[k].size(), dst.chroma[k].data(),
                    dst.chroma[k].size());
      }
    });
    const auto yuv = [&](auto* f) {
      lumAddBench(name + "libyuv", moved, [=, &src, &dst] { callYuv(f, src, dst); });
    };
    // A peer of the same work: the order of Cb and Cr does not matter to it.
    constexpr auto is = []<class A, class B>(A, B) {
      return std::is_same_v<A, From> && std::is_same_v<B, To>;
    };
    if constexpr (is(Planar444(), Planar420())) yuv(libyuv::I444ToI420);
    else if constexpr (is(Planar444(), Pseudo420())) yuv(libyuv::I444ToNV12);
    else if constexpr (is(Planar422(), Planar420())) yuv(libyuv::I422ToI420);
    else if constexpr (is(Planar422(), Planar444())) yuv(libyuv::I422ToI444);
    else if constexpr (is(Planar422(), Pseudo420())) yuv(libyuv::I422ToNV21);
    else if constexpr (is(Planar420(), Planar422())) yuv(libyuv::I420ToI422);
    else if constexpr (is(Planar420(), Planar444())) yuv(libyuv::I420ToI444);
    else if constexpr (is(Planar420(), Pseudo420())) yuv(libyuv::I420ToNV12);
    else if constexpr (is(Pseudo420(), Planar420())) yuv(libyuv::NV12ToI420);
    else if constexpr (is(Pseudo420(), Pseudo444())) yuv(libyuv::NV12ToNV24);
    else if constexpr (is(Pseudo422(), Pseudo444())) yuv(libyuv::NV16ToNV24);
  }
}

const bool registered = [] {
  cv::setNumThreads(1);
  for (const Packed& function : kPacked) {
    for (const lumBenchSize& size : LUM_BENCH_SIZES) addPacked(function, size);
  }
#define LUM_COLOR_LAYOUT(name, From, To) \
  addLayout<lumColor::From, lumColor::To>(#name, name##C, name##V);
#include "lumenColorLayout.def"
  return true;
}();

}  // namespace
