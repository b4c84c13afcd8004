// Conversions between YCbCr layouts, reference.

#include <algorithm>
#include <cstring>

#include "cpu/lumenRow.h"
#include "lumenColorFormat.h"
#include "lumenTable.h"

namespace {

using Source = lumColor::Planes<const uint8_t>;
using Destination = lumColor::Planes<uint8_t>;

// Component `k` of a chroma sample: 0 is Cb.
template <class L, class T>
T& chromaAt(const lumColor::Planes<T>& image, uint32_t k, uint32_t x, uint32_t y) {
  const uint32_t plane = L::kIsPseudo ? 0 : k;
  return lumRowAt(image.chroma[plane], y,
                  image.chromaStride[plane])[size_t{x} * L::kSampleBytes + (k - plane)];
}

// Each sample of the destination is the mean of those that it stands for: one, where the source has
// no more of them. Past the last column or row the last one counts again.
template <class From, class To>
void convertLayout(const Source& src, uint32_t width, uint32_t height, const Destination& dst) {
  constexpr uint32_t kAcross = std::max(To::kPixelsAcross / From::kPixelsAcross, 1u);
  constexpr uint32_t kDown = std::max(To::kPixelsDown / From::kPixelsDown, 1u);
  constexpr uint32_t kCount = kAcross * kDown;
  for (uint32_t y = 0; y < height; ++y) {
    std::memcpy(lumRowAt(dst.y, y, dst.yStride), lumRowAt(src.y, y, src.yStride), width);
  }
  const uint32_t lastX = From::columns(width) - 1, lastY = From::rows(height) - 1;
  for (uint32_t y = 0; y < To::rows(height); ++y) {
    for (uint32_t x = 0; x < To::columns(width); ++x) {
      for (uint32_t k = 0; k < 2; ++k) {
        uint32_t sum = 0;
        for (uint32_t j = 0; j < kDown; ++j) {
          for (uint32_t i = 0; i < kAcross; ++i) {
            const uint32_t srcX = x * To::kPixelsAcross / From::kPixelsAcross + i;
            const uint32_t srcY = y * To::kPixelsDown / From::kPixelsDown + j;
            sum += chromaAt<From>(src, k, std::min(srcX, lastX), std::min(srcY, lastY));
          }
        }
        chromaAt<To>(dst, k, x, y) = static_cast<uint8_t>((sum + kCount / 2) / kCount);
      }
    }
  }
}

}  // namespace

#define LUM_COLOR_PLANAR_TO_PLANAR(name, From, To)                                                 \
  void name##C(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth, \
               uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride,                      \
               uint32_t srcCrStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,                \
               uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride) {                  \
    convertLayout<lumColor::From, lumColor::To>(                                                   \
        {srcY, srcYStride, {srcCb, srcCr}, {srcCbStride, srcCrStride}}, srcWidth, srcHeight,       \
        {dstY, dstYStride, {dstCb, dstCr}, {dstCbStride, dstCrStride}});                           \
  }
#define LUM_COLOR_PLANAR_TO_PSEUDO(name, From, To)                                                 \
  void name##C(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth, \
               uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride,                      \
               uint32_t srcCrStride, uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,            \
               uint32_t dstCStride) {                                                              \
    convertLayout<lumColor::From, lumColor::To>(                                                   \
        {srcY, srcYStride, {srcCb, srcCr}, {srcCbStride, srcCrStride}}, srcWidth, srcHeight,       \
        {dstY, dstYStride, {dstC}, {dstCStride}});                                                 \
  }
#define LUM_COLOR_PSEUDO_TO_PLANAR(name, From, To)                                                \
  void name##C(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,   \
               uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstCb,           \
               uint8_t* dstCr, uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride) { \
    convertLayout<lumColor::From, lumColor::To>(                                                  \
        {srcY, srcYStride, {srcC}, {srcCStride}}, srcWidth, srcHeight,                            \
        {dstY, dstYStride, {dstCb, dstCr}, {dstCbStride, dstCrStride}});                          \
  }
#define LUM_COLOR_PSEUDO_TO_PSEUDO(name, From, To)                                              \
  void name##C(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight, \
               uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstC,          \
               uint32_t dstYStride, uint32_t dstCStride) {                                      \
    convertLayout<lumColor::From, lumColor::To>({srcY, srcYStride, {srcC}, {srcCStride}},       \
                                                srcWidth, srcHeight,                            \
                                                {dstY, dstYStride, {dstC}, {dstCStride}});      \
  }
#include "lumenColorLayout.def"

void lumColorCbCrSwapu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                         uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
  for (uint32_t y = 0; y < srcHeight; ++y) {
    const uint8_t* s = lumRowAt(src, y, srcStride);
    uint8_t* d = lumRowAt(dst, y, dstStride);
    for (size_t x = 0; x < srcWidth; ++x) {
      const uint8_t first = s[2 * x];
      d[2 * x] = s[2 * x + 1];
      d[2 * x + 1] = first;
    }
  }
}
