// The conversions between YCbCr and RGB in both columns, beside libyuv and OpenCV on one thread, as
// far as they have them, and two limits that move the same bytes: memcpy, and a plain loop that
// reads and writes. Peers convert other byte orders and, from RGB, average chroma; the work is
// alike.
//
// Names are <function>/<size>/<who>; bench/lumen-ratios makes a table of them.

#include <libyuv.h>

#include <cstring>
#include <functional>
#include <map>
#include <opencv2/imgproc.hpp>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "cpu/lumenColorPixel.h"
#include "lumenBench.h"
#include "lumenTable.h"
#include "lumenVector.h"

namespace {

// The planes of a frame, each packed, chroma behind Y without a gap as OpenCV has it, and a packed
// image.
struct Frame {
  int width, height, chromaWidth, chromaHeight, bytes;
  std::vector<uint8_t> ycc, rgb;

  Frame(const lumBenchSize& size, int x, int y, size_t pixelBytes)
      : width(size.width),
        height(size.height),
        chromaWidth(width / x),
        chromaHeight(height / y),
        bytes(static_cast<int>(pixelBytes)),
        ycc(static_cast<size_t>(width * height + 2 * chromaWidth * chromaHeight)),
        rgb(static_cast<size_t>(width * height * bytes)) {
    std::minstd_rand random(1);
    for (uint8_t& value : ycc) value = static_cast<uint8_t>(random() >> 8);
    for (uint8_t& value : rgb) value = static_cast<uint8_t>(random() >> 8);
  }
  uint8_t* y() { return ycc.data(); }
  uint8_t* cb() { return y() + width * height; }
  uint8_t* cr() { return cb() + chromaWidth * chromaHeight; }
  size_t moved() const { return ycc.size() + rgb.size(); }
};

// One frame for all cases of a kind.
Frame& frameOf(const lumBenchSize& size, int x, int y, size_t pixelBytes) {
  static std::map<std::tuple<int, int, int, size_t>, Frame> frames;
  const auto key = std::make_tuple(size.width, x, y, pixelBytes);
  return frames.try_emplace(key, size, x, y, pixelBytes).first->second;
}

using Call = std::function<void(Frame&)>;
struct Peers {
  Call libyuv, opencv;
};

void addCase(const std::string& function, int x, int y, size_t pixelBytes, bool toRgb, Call vector,
             Call reference, const Peers& peers) {
  for (const lumBenchSize& size : LUM_BENCH_SIZES) {
    Frame& frame = frameOf(size, x, y, pixelBytes);
    const std::string name = function + "/" + size.text() + "/";
    const auto addOf = [&](const char* who, const Call& call) {
      if (call) lumAddBench(name + who, frame.moved(), [&frame, call] { call(frame); });
    };
    addOf("V", vector);
    addOf("C", reference);
    addOf("libyuv", peers.libyuv);
    addOf("opencv", peers.opencv);
    addOf("loop", [toRgb](Frame& f) {
      if (toRgb) lumMoveLoop(f.y(), f.ycc.size(), f.rgb.data(), f.rgb.size());
      else lumMoveLoop(f.rgb.data(), f.rgb.size(), f.y(), f.ycc.size());
    });
    addOf("memcpy", [](Frame& f) {
      const size_t half = f.moved() / 2, first = std::min({half, f.ycc.size(), f.rgb.size()});
      std::memcpy(f.rgb.data(), f.ycc.data(), first);
      std::memcpy(f.rgb.data(), f.ycc.data(), half - first);
    });
  }
}

using PlanesToRgb = decltype(lumColorYCbCr444PlanarToRGB888u8);
using PairsToRgb = decltype(lumColorYCbCr444PseudoPlanarToRGB888u8);
using RgbToPlanes = decltype(lumColorRGB888ToYCbCr444Planaru8);
using RgbToPairs = decltype(lumColorRGB888ToYCbCr444PseudoPlanaru8);
using FrameToRgb = decltype(lumColorYUV420toRGB565u8);

uint32_t u(int value) { return static_cast<uint32_t>(value); }

Call callOf(PlanesToRgb* f) {
  return [f](Frame& a) {
    f(a.y(), a.cb(), a.cr(), u(a.width), u(a.height), u(a.width), u(a.chromaWidth),
      u(a.chromaWidth), a.rgb.data(), u(a.width * a.bytes));
  };
}
Call callOf(PairsToRgb* f) {
  return [f](Frame& a) {
    f(a.y(), a.cb(), u(a.width), u(a.height), u(a.width), u(2 * a.chromaWidth), a.rgb.data(),
      u(a.width * a.bytes));
  };
}
Call callOf(FrameToRgb* f) {
  return [f](Frame& a) {
    f(a.y(), u(a.width), u(a.height), u(a.width), a.rgb.data(), u(a.width * a.bytes));
  };
}
// Macroblocks side by side; the last rows of an image that they do not divide are left out.
template <class Block>
Call callOfBlocks(FrameToRgb* f) {
  return [f](Frame& a) {
    const int height = a.height / int{Block::kHeight} * int{Block::kHeight};
    f(a.y(), u(a.width), u(height), u(a.width / int{Block::kWidth} * int{Block::kBytes}),
      a.rgb.data(), u(a.width * a.bytes));
  };
}
Call callOf(RgbToPlanes* f) {
  return [f](Frame& a) {
    f(a.rgb.data(), u(a.width), u(a.height), u(a.width * a.bytes), a.y(), a.cb(), a.cr(),
      u(a.width), u(a.chromaWidth), u(a.chromaWidth));
  };
}
Call callOf(RgbToPairs* f) {
  return [f](Frame& a) {
    f(a.rgb.data(), u(a.width), u(a.height), u(a.width * a.bytes), a.y(), a.cb(), u(a.width),
      u(2 * a.chromaWidth));
  };
}

// libyuv's functions by the shape of their arguments.
template <auto* f>
void planesToRgb(Frame& a) {
  f(a.y(), a.width, a.cb(), a.chromaWidth, a.cr(), a.chromaWidth, a.rgb.data(), a.width * a.bytes,
    a.width, a.height);
}
template <auto* f>
void pairsToRgb(Frame& a) {
  f(a.y(), a.width, a.cb(), 2 * a.chromaWidth, a.rgb.data(), a.width * a.bytes, a.width, a.height);
}
template <auto* f>
void rgbToPlanes(Frame& a) {
  f(a.rgb.data(), a.width * a.bytes, a.y(), a.width, a.cb(), a.chromaWidth, a.cr(), a.chromaWidth,
    a.width, a.height);
}
template <auto* f>
void rgbToPairs(Frame& a) {
  f(a.rgb.data(), a.width * a.bytes, a.y(), a.width, a.cb(), 2 * a.chromaWidth, a.width, a.height);
}

// OpenCV's, which know frames of 4:2:0 only.
template <int kCode>
void cvToRgb(Frame& a) {
  const cv::Mat src(a.height * 3 / 2, a.width, CV_8U, a.y());
  cv::Mat dst(a.height, a.width, CV_8UC(a.bytes), a.rgb.data());
  cv::cvtColor(src, dst, kCode);
}
template <int kCode>
void cvFromRgb(Frame& a) {
  const cv::Mat src(a.height, a.width, CV_8UC(a.bytes), a.rgb.data());
  cv::Mat dst(a.height * 3 / 2, a.width, CV_8U, a.y());
  cv::cvtColor(src, dst, kCode);
}

// Peers that take two steps go through an image of four bytes a pixel.
template <auto* f>
void planesThroughArgb(Frame& a, int (*toDst)(const uint8_t*, int, uint8_t*, int, int, int)) {
  static std::vector<uint8_t> argb;
  argb.resize(static_cast<size_t>(4 * a.width * a.height));
  f(a.y(), a.width, a.cb(), a.chromaWidth, a.cr(), a.chromaWidth, argb.data(), 4 * a.width, a.width,
    a.height);
  toDst(argb.data(), 4 * a.width, a.rgb.data(), a.width * a.bytes, a.width, a.height);
}
uint8_t* toArgb(Frame& a) {
  static std::vector<uint8_t> argb;
  if (a.bytes == 4) return a.rgb.data();
  argb.resize(static_cast<size_t>(4 * a.width * a.height));
  const auto f = a.bytes == 2 ? libyuv::RGB565ToARGB : libyuv::RGB24ToARGB;
  f(a.rgb.data(), a.width * a.bytes, argb.data(), 4 * a.width, a.width, a.height);
  return argb.data();
}
template <auto* f>
void argbToPlanes(Frame& a) {
  f(toArgb(a), 4 * a.width, a.y(), a.width, a.cb(), a.chromaWidth, a.cr(), a.chromaWidth, a.width,
    a.height);
}
template <auto* f>
void argbToPairs(Frame& a) {
  f(toArgb(a), 4 * a.width, a.y(), a.width, a.cb(), 2 * a.chromaWidth, a.width, a.height);
}
// 4:4:4 in one image of three bytes a pixel.
void cvTo444(Frame& a) {
  const cv::Mat src(a.height, a.width, CV_8UC(a.bytes), a.rgb.data());
  cv::Mat dst(a.height, a.width, CV_8UC3, a.y());
  cv::cvtColor(src, dst, cv::COLOR_BGR2YCrCb);
}

template <class F>
void addToRgb(const char* name, int x, int y, size_t bytes, F* reference,
              const lumVectorSet<F>& vector, const Peers& peers) {
  addCase(name, x, y, bytes, true, callOf(lumBestOf(vector, reference)), callOf(reference), peers);
}
template <class F>
void addFromRgb(const char* name, int x, int y, size_t bytes, F* reference,
                const lumVectorSet<F>& vector, const Peers& peers) {
  addCase(name, x, y, bytes, false, callOf(lumBestOf(vector, reference)), callOf(reference), peers);
}

// The peers of each case; those that there are none of stay out.
template <class S, class Format>
constexpr bool kIs(int x, int y, size_t bytes) {
  return S::kX == x && S::kY == y && Format::kBytes == bytes;
}
template <class S, class Format>
Peers toRgbFromPlanes() {
  if (kIs<S, Format>(2, 2, 2)) return {planesToRgb<libyuv::I420ToRGB565>, {}};
  if (kIs<S, Format>(2, 2, 3))
    return {planesToRgb<libyuv::I420ToRAW>, cvToRgb<cv::COLOR_YUV2RGB_I420>};
  if (kIs<S, Format>(2, 2, 4))
    return {planesToRgb<libyuv::I420ToABGR>, cvToRgb<cv::COLOR_YUV2RGBA_I420>};
  if (kIs<S, Format>(2, 1, 2)) return {planesToRgb<libyuv::I422ToRGB565>, {}};
  if (kIs<S, Format>(2, 1, 3)) return {planesToRgb<libyuv::I422ToRAW>, {}};
  if (kIs<S, Format>(2, 1, 4)) return {planesToRgb<libyuv::I422ToABGR>, {}};
  if (kIs<S, Format>(1, 1, 2)) {
    return {[](Frame& a) { planesThroughArgb<libyuv::I444ToARGB>(a, libyuv::ARGBToRGB565); }, {}};
  }
  if (kIs<S, Format>(1, 1, 3)) return {planesToRgb<libyuv::I444ToRAW>, {}};
  return {planesToRgb<libyuv::I444ToABGR>, {}};
}
template <class S, class Format>
Peers toRgbFromPairs() {
  if (kIs<S, Format>(2, 2, 2)) return {pairsToRgb<libyuv::NV12ToRGB565>, {}};
  if (kIs<S, Format>(2, 2, 3))
    return {pairsToRgb<libyuv::NV12ToRAW>, cvToRgb<cv::COLOR_YUV2RGB_NV12>};
  if (kIs<S, Format>(2, 2, 4))
    return {pairsToRgb<libyuv::NV12ToABGR>, cvToRgb<cv::COLOR_YUV2RGBA_NV12>};
  return {};
}
template <class S, class Format>
Peers fromRgbToPlanes() {
  if (kIs<S, Format>(2, 2, 2)) return {rgbToPlanes<libyuv::RGB565ToI420>, {}};
  if (kIs<S, Format>(2, 2, 3))
    return {rgbToPlanes<libyuv::RGB24ToJ420>, cvFromRgb<cv::COLOR_BGR2YUV_I420>};
  if (kIs<S, Format>(2, 2, 4))
    return {rgbToPlanes<libyuv::ABGRToJ420>, cvFromRgb<cv::COLOR_RGBA2YUV_I420>};
  if (S::kX == 2) return {argbToPlanes<libyuv::ARGBToJ422>, {}};
  return {argbToPlanes<libyuv::ARGBToI444>, Format::kBytes == 2 ? Call() : Call(cvTo444)};
}
template <class S, class Format>
Peers fromRgbToPairs() {
  if (S::kY == 2) return {argbToPairs<libyuv::ARGBToNV12>, {}};
  if (S::kX == 1 && Format::kBytes != 2) return {{}, cvTo444};
  return {};
}

const bool registered = [] {
  cv::setNumThreads(1);
#define LUM_COLOR(sub, format)                                                                     \
  {                                                                                                \
    using S = lumSubsampling##sub;                                                                 \
    using Format = lum##format;                                                                    \
    addToRgb("lumColorYCbCr" #sub "PlanarTo" #format "u8", S::kX, S::kY, Format::kBytes,           \
             lumColorYCbCr##sub##PlanarTo##format##u8C, lumColorYCbCr##sub##PlanarTo##format##u8V, \
             toRgbFromPlanes<S, Format>());                                                        \
    addToRgb("lumColorYCbCr" #sub "PseudoPlanarTo" #format "u8", S::kX, S::kY, Format::kBytes,     \
             lumColorYCbCr##sub##PseudoPlanarTo##format##u8C,                                      \
             lumColorYCbCr##sub##PseudoPlanarTo##format##u8V, toRgbFromPairs<S, Format>());        \
    addFromRgb("lumColor" #format "ToYCbCr" #sub "Planaru8", S::kX, S::kY, Format::kBytes,         \
               lumColor##format##ToYCbCr##sub##Planaru8C,                                          \
               lumColor##format##ToYCbCr##sub##Planaru8V, fromRgbToPlanes<S, Format>());           \
    addFromRgb("lumColor" #format "ToYCbCr" #sub "PseudoPlanaru8", S::kX, S::kY, Format::kBytes,   \
               lumColor##format##ToYCbCr##sub##PseudoPlanaru8C,                                    \
               lumColor##format##ToYCbCr##sub##PseudoPlanaru8V, fromRgbToPairs<S, Format>());      \
  }
#include "lumenColor.def"
#define LUM_BENCH(name, x, y, bytes, ...) \
  addToRgb(#name, x, y, bytes, name##C, name##V, Peers{__VA_ARGS__})
  LUM_BENCH(lumColorYCrCb420PseudoPlanarToRGB8888u8, 2, 2, 4, pairsToRgb<libyuv::NV21ToABGR>,
            cvToRgb<cv::COLOR_YUV2RGBA_NV21>);
  LUM_BENCH(lumColorYUV420toRGB565u8, 2, 2, 2, pairsToRgb<libyuv::NV12ToRGB565>, {});
  LUM_BENCH(lumColorYUV420toRGB565u8Rotate180, 2, 2, 2, {}, {});
#define LUM_BENCH_BLOCKS(name, x, y)                                                            \
  addCase(#name, x, y, 3, true, callOfBlocks<lumMacroblock<x, y>>(lumBestOf(name##V, name##C)), \
          callOfBlocks<lumMacroblock<x, y>>(name##C), {})
  LUM_BENCH_BLOCKS(lumColorYCrCbH1V1toRGB888u8, 1, 1);
  LUM_BENCH_BLOCKS(lumColorYCrCbH1V2toRGB888u8, 1, 2);
  LUM_BENCH_BLOCKS(lumColorYCrCbH2V1toRGB888u8, 2, 1);
  LUM_BENCH_BLOCKS(lumColorYCrCbH2V2toRGB888u8, 2, 2);
  return true;
}();

}  // namespace
