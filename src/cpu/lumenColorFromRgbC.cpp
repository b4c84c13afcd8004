// RGB to YCbCr, reference: the row functions of the shared-routine slots, and images made of them.

#include "cpu/lumenColorPixel.h"
#include "cpu/lumenRow.h"
#include "lumenRoutines.h"

namespace {

template <class Format>
void lumaRow(const uint8_t* src, uint32_t width, uint8_t* dstY) {
  for (size_t x = 0; x < width; ++x) {
    dstY[x] = static_cast<uint8_t>(lumToLuma(Format::read(src + x * Format::kBytes)));
  }
}

// Chroma is that of the leftmost of the pixels that share it. `store(sample, Cb, Cr)` keeps it.
template <class S, class Format, class Store>
void row(const uint8_t* src, uint32_t width, uint8_t* dstY, Store store) {
  for (size_t x = 0; x < width; ++x) {
    const lumYcc pixel = lumToYcc(Format::read(src + x * Format::kBytes));
    dstY[x] = static_cast<uint8_t>(pixel.y);
    if (x % S::kX == 0) {
      store(x / S::kX, static_cast<uint8_t>(pixel.cb), static_cast<uint8_t>(pixel.cr));
    }
  }
}

template <class S, class Format>
void planarRow(const uint8_t* src, uint32_t width, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr) {
  row<S, Format>(src, width, dstY, [=](size_t sample, uint8_t cb, uint8_t cr) {
    dstCb[sample] = cb;
    dstCr[sample] = cr;
  });
}

template <class S, class Format>
void pairsRow(const uint8_t* src, uint32_t width, uint8_t* dstY, uint8_t* dstC) {
  row<S, Format>(src, width, dstY, [=](size_t sample, uint8_t cb, uint8_t cr) {
    dstC[2 * sample] = cb;
    dstC[2 * sample + 1] = cr;
  });
}

// The row functions that the operation mode has chosen for a pixel format.
template <class Format>
struct Routines;
#define LUM_ROUTINES_OF(format, prefix)                                                          \
  template <>                                                                                    \
  struct Routines<lum##format> {                                                                 \
    lumRgbToLuma* y = LUM_ROUTINES.prefix##2y;                                                   \
    lumRgbToPlanes* planes[2] = {LUM_ROUTINES.prefix##2yuv, LUM_ROUTINES.prefix##2yyuv};         \
    lumRgbToPseudoPlanes* pseudo[2] = {LUM_ROUTINES.prefix##2yuvp, LUM_ROUTINES.prefix##2yyuvp}; \
  };
LUM_ROUTINES_OF(RGB565, rgb565)
LUM_ROUTINES_OF(RGB888, rgb888)
LUM_ROUTINES_OF(RGBA8888, rgba8888)

// Of rows that share chroma the first gives it. They are converted together, also one past the
// last.
template <class S, class Format, class FirstRow>
void rows(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dstY,
          uint32_t dstYStride, FirstRow firstRow) {
  const Routines<Format> routines;
  for (uint32_t group = 0; group < S::groups(height); ++group) {
    const uint32_t y = group * S::kY;
    firstRow(routines, lumRowAt(src, y, srcStride), lumRowAt(dstY, y, dstYStride), group);
    if (S::kY > 1) {
      routines.y(lumRowAt(src, y + 1, srcStride), width, lumRowAt(dstY, y + 1, dstYStride));
    }
  }
}

// Half a pair is not converted, and neither is the rest of its row.
template <class S>
bool writesNothing(uint32_t width) {
  return width % S::kX != 0;
}

}  // namespace

// The names tell how many samples of Y there are for one of U (Cb) and one of V (Cr), and whether
// these go to one plane (p). Those of two for one write nothing when the width is odd.
#define LUM_ROW_FUNCTIONS(format, prefix)                                                  \
  void prefix##2yC(const uint8_t* src, uint32_t width, uint8_t* dstY) {                    \
    lumaRow<lum##format>(src, width, dstY);                                                \
  }                                                                                        \
  void prefix##2yuvC(const uint8_t* src, uint32_t width, uint8_t* dstY, uint8_t* dstCb,    \
                     uint8_t* dstCr) {                                                     \
    planarRow<lumSubsampling444, lum##format>(src, width, dstY, dstCb, dstCr);             \
  }                                                                                        \
  void prefix##2yuvpC(const uint8_t* src, uint32_t width, uint8_t* dstY, uint8_t* dstC) {  \
    pairsRow<lumSubsampling444, lum##format>(src, width, dstY, dstC);                      \
  }                                                                                        \
  void prefix##2yyuvC(const uint8_t* src, uint32_t width, uint8_t* dstY, uint8_t* dstCb,   \
                      uint8_t* dstCr) {                                                    \
    if (writesNothing<lumSubsampling422>(width)) return;                                   \
    planarRow<lumSubsampling422, lum##format>(src, width, dstY, dstCb, dstCr);             \
  }                                                                                        \
  void prefix##2yyuvpC(const uint8_t* src, uint32_t width, uint8_t* dstY, uint8_t* dstC) { \
    if (writesNothing<lumSubsampling422>(width)) return;                                   \
    pairsRow<lumSubsampling422, lum##format>(src, width, dstY, dstC);                      \
  }
LUM_ROW_FUNCTIONS(RGB565, rgb565)
LUM_ROW_FUNCTIONS(RGB888, rgb888)
LUM_ROW_FUNCTIONS(RGBA8888, rgba8888)

#define LUM_COLOR(subsampling, format)                                                           \
  void lumColor##format##ToYCbCr##subsampling##Planaru8C(                                        \
      const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,             \
      uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t dstYStride, uint32_t dstCbStride,  \
      uint32_t dstCrStride) {                                                                    \
    using S = lumSubsampling##subsampling;                                                       \
    if (writesNothing<S>(srcWidth)) return;                                                      \
    rows<S, lum##format>(src, srcWidth, srcHeight, srcStride, dstY, dstYStride,                  \
                         [=](const auto& routines, const uint8_t* s, uint8_t* y, uint32_t row) { \
                           routines.planes[S::kX - 1](s, srcWidth, y,                            \
                                                      lumRowAt(dstCb, row, dstCbStride),         \
                                                      lumRowAt(dstCr, row, dstCrStride));        \
                         });                                                                     \
  }                                                                                              \
  void lumColor##format##ToYCbCr##subsampling##PseudoPlanaru8C(                                  \
      const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,             \
      uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride) {                  \
    using S = lumSubsampling##subsampling;                                                       \
    if (writesNothing<S>(srcWidth)) return;                                                      \
    rows<S, lum##format>(src, srcWidth, srcHeight, srcStride, dstY, dstYStride,                  \
                         [=](const auto& routines, const uint8_t* s, uint8_t* y, uint32_t row) { \
                           routines.pseudo[S::kX - 1](s, srcWidth, y,                            \
                                                      lumRowAt(dstC, row, dstCStride));          \
                         });                                                                     \
  }
#include "lumenColor.def"
