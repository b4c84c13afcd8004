// YCbCr to RGB, reference.

#include <algorithm>
#include <cstdlib>

#include "cpu/lumenColorPixel.h"
#include "cpu/lumenRow.h"
#include "lumenTable.h"
#include "platform/lumenPlatform.h"

namespace {

// A row that ends in half a pair has a sample for it.
template <class S, class Format, class Chroma>
void toRgbRow(const uint8_t* srcY, Chroma chroma, uint8_t* dst, uint32_t length) {
  if (S::kX > 1) lumRequirePair(length);
  for (size_t x = 0; x < length; ++x) {
    const lumYcc pixel = {srcY[x], chroma.cbAt(x / S::kX), chroma.crAt(x / S::kX)};
    Format::write(dst + x * Format::kBytes, lumToRgb(pixel));
  }
}

// `chromaRow(row)` gives a row of chroma. Rows that share one are converted together, also one past
// the last.
template <class S, class Format, class ChromaRow>
void toRgbRows(const uint8_t* srcY, uint32_t width, uint32_t height, uint32_t srcYStride,
               uint8_t* dst, uint32_t dstStride, ChromaRow chromaRow) {
  for (uint32_t group = 0; group < S::groups(height); ++group) {
    const auto chroma = chromaRow(group);
    for (uint32_t k = 0; k < S::kY; ++k) {
      const uint32_t y = group * S::kY + k;
      toRgbRow<S, Format>(lumRowAt(srcY, y, srcYStride), chroma, lumRowAt(dst, y, dstStride),
                          width);
    }
  }
}

template <class S, class Format>
void planarToRgb(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t width,
                 uint32_t height, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,
                 uint8_t* dst, uint32_t dstStride) {
  toRgbRows<S, Format>(srcY, width, height, srcYStride, dst, dstStride, [=](uint32_t row) {
    return lumPlanar{lumRowAt(srcCb, row, srcCbStride), lumRowAt(srcCr, row, srcCrStride)};
  });
}

template <class S, class Format, class Pairs>
void pairsToRgb(const uint8_t* srcY, const uint8_t* srcC, uint32_t width, uint32_t height,
                uint32_t srcYStride, uint32_t srcCStride, uint8_t* dst, uint32_t dstStride) {
  toRgbRows<S, Format>(srcY, width, height, srcYStride, dst, dstStride,
                       [=](uint32_t row) { return Pairs{lumRowAt(srcC, row, srcCStride)}; });
}

// A camera frame; turned, the last pixel comes first.
template <class Format, bool kTurned>
void frameToRgb(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                uint8_t* dst, uint32_t dstStride) {
  const uint8_t* srcC = lumRowAt(src, height, srcStride);
  for (uint32_t y = 0; y < height; ++y) {
    const uint8_t* srcY = lumRowAt(src, y, srcStride);
    const lumCrFirst chroma = {lumRowAt(srcC, y / 2, srcStride)};
    uint8_t* d = lumRowAt(dst, kTurned ? height - 1 - y : y, dstStride);
    for (size_t x = 0; x < width; ++x) {
      Format::write(d + (kTurned ? width - 1 - x : x) * Format::kBytes,
                    lumToRgb({srcY[x], chroma.cbAt(x / 2), chroma.crAt(x / 2)}));
    }
  }
}

lumRgb macroblockPixel(int y, int cb, int cr) {
  const int u = 2 * cb - 255, v = 2 * cr - 255;
  return {lumClampByte((32768 * y + 22970 * v + 16384) >> 15),
          lumClampByte((32768 * y - 5638 * u - 11700 * v + 16384) >> 15),
          lumClampByte((32768 * y + 29032 * u + 16384) >> 15)};
}

template <class Block>
void macroblocksToRgb(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                      uint8_t* dst, uint32_t dstStride) {
  for (uint32_t y = 0; y < height; ++y) {
    const uint8_t* row = lumRowAt(src, y / Block::kHeight, srcStride);
    uint8_t* d = lumRowAt(dst, y, dstStride);
    for (size_t x = 0; x < width; ++x) {
      const uint8_t* block = row + x / Block::kWidth * Block::kBytes;
      const size_t inX = x % Block::kWidth, inY = y % Block::kHeight;
      const size_t chroma = Block::chroma(inX, inY);
      const lumRgb pixel = macroblockPixel(block[Block::luma(inX, inY)], block[Block::kCb + chroma],
                                           block[Block::kCr + chroma]);
      lumRGB888::write(d + 3 * x, pixel);
    }
  }
}

}  // namespace

void lumRequirePair(uint32_t length) {
  if (length > 1) return;
  lumLog(LUM_LOG_ERROR, "lumen_lib_log", "%s@%d: %s Assertion failed\n", "src/cpu/lumenColorC",
         __LINE__, "length > 1");
  std::exit(1);
}

#define LUM_COLOR(subsampling, format)                                                             \
  void lumColorYCbCr##subsampling##PlanarTo##format##u8C(                                          \
      const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth,          \
      uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,         \
      uint8_t* dst, uint32_t dstStride) {                                                          \
    planarToRgb<lumSubsampling##subsampling, lum##format>(srcY, srcCb, srcCr, srcWidth, srcHeight, \
                                                          srcYStride, srcCbStride, srcCrStride,    \
                                                          dst, dstStride);                         \
  }                                                                                                \
  void lumColorYCbCr##subsampling##PseudoPlanarTo##format##u8C(                                    \
      const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,             \
      uint32_t srcYStride, uint32_t srcCStride, uint8_t* dst, uint32_t dstStride) {                \
    pairsToRgb<lumSubsampling##subsampling, lum##format, lumPseudoPlanar>(                         \
        srcY, srcC, srcWidth, srcHeight, srcYStride, srcCStride, dst, dstStride);                  \
  }
#include "lumenColor.def"

void lumColorYCrCb420PseudoPlanarToRGB8888u8C(const uint8_t* srcY, const uint8_t* srcC,
                                              uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcYStride, uint32_t srcCStride,
                                              uint8_t* dst, uint32_t dstStride) {
  pairsToRgb<lumSubsampling420, lumRGBA8888, lumCrFirst>(srcY, srcC, srcWidth, srcHeight,
                                                         srcYStride, srcCStride, dst, dstStride);
}

void lumColorYUV420toRGB565u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                               uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
  frameToRgb<lumRGB565, false>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void lumColorYUV420toRGB565u8Rotate180C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
  frameToRgb<lumRGB565, true>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void lumColorRGB888ToRGB565Rotate180u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
  for (uint32_t y = 0; y < srcHeight; ++y) {
    const uint8_t* s = lumRowAt(src, y, srcStride);
    uint8_t* d = lumRowAt(dst, srcHeight - 1 - y, dstStride);
    for (size_t x = 0; x < srcWidth; ++x) {
      const uint8_t* p = s + 3 * x;
      lumRGB565::write(d + 2 * (srcWidth - 1 - x), {p[0], p[1], p[2]});
    }
  }
}

#define LUM_MACROBLOCK(sampling, h, v)                                                            \
  void lumColorYCrCb##sampling##toRGB888u8C(const uint8_t* src, uint32_t srcWidth,                \
                                            uint32_t srcHeight, uint32_t srcStride, uint8_t* dst, \
                                            uint32_t dstStride) {                                 \
    macroblocksToRgb<lumMacroblock<h, v>>(src, srcWidth, srcHeight, srcStride, dst, dstStride);   \
  }
LUM_MACROBLOCK(H1V1, 1, 1)
LUM_MACROBLOCK(H1V2, 1, 2)
LUM_MACROBLOCK(H2V1, 2, 1)
LUM_MACROBLOCK(H2V2, 2, 2)
