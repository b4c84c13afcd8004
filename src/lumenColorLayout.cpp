#include "lumen/lumenColorLayout.h"

#include "lumenColorFormat.h"
#include "lumenEntry.h"

namespace {

// The parameters keep the documented names, which a refused call quotes. What remote units ask of
// the arguments is the same for all: all addresses and strides, in `aligned`, multiples of 4.
template <class F>
[[gnu::always_inline]] inline void askRemote(lumEntry<F>& entry, uint32_t width, uint32_t height,
                                             bool aligned) {
  if (entry.onDsp()) entry.needs(aligned);
  if (entry.onGpu()) entry.needs(lumMultipleOf<2>(width, height));
}

template <class From, class To, class F>
[[gnu::always_inline]] inline void planarToPlanar(
    lumEntry<F> entry, const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr,
    uint32_t srcWidth, uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride,
    uint32_t srcCrStride, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t dstYStride,
    uint32_t dstCbStride, uint32_t dstCrStride) {
  askRemote(entry, srcWidth, srcHeight,
            lumMultipleOf<4>(srcY, srcCb, srcCr, srcYStride, srcCbStride, srcCrStride, dstY, dstCb,
                             dstCr, dstYStride, dstCbStride, dstCrStride));
  const uint64_t srcChroma = From::rowBytes(srcWidth), dstChroma = To::rowBytes(srcWidth);
  lumPack(srcYStride, srcWidth);
  lumPack(srcCbStride, srcChroma);
  lumPack(srcCrStride, srcChroma);
  lumPack(dstYStride, srcWidth);
  lumPack(dstCbStride, dstChroma);
  lumPack(dstCrStride, dstChroma);
  LUM_CHECK(entry, srcY && srcCb && srcCr && dstY && dstCb && dstCr && srcWidth && srcHeight &&
                       (srcYStride >= srcWidth) && (srcCbStride >= srcChroma) &&
                       (srcCrStride >= srcChroma) && (dstYStride >= srcWidth) &&
                       (dstCbStride >= dstChroma) && (dstCrStride >= dstChroma));
  entry.call(srcY, srcCb, srcCr, srcWidth, srcHeight, srcYStride, srcCbStride, srcCrStride, dstY,
             dstCb, dstCr, dstYStride, dstCbStride, dstCrStride);
}

template <class From, class To, class F>
[[gnu::always_inline]] inline void planarToPseudo(
    lumEntry<F> entry, const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr,
    uint32_t srcWidth, uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride,
    uint32_t srcCrStride, uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride) {
  askRemote(entry, srcWidth, srcHeight,
            lumMultipleOf<4>(srcY, srcCb, srcCr, srcYStride, srcCbStride, srcCrStride, dstY, dstC,
                             dstYStride, dstCStride));
  const uint64_t srcChroma = From::rowBytes(srcWidth), dstChroma = To::rowBytes(srcWidth);
  lumPack(srcYStride, srcWidth);
  lumPack(srcCbStride, srcChroma);
  lumPack(srcCrStride, srcChroma);
  lumPack(dstYStride, srcWidth);
  lumPack(dstCStride, dstChroma);
  LUM_CHECK(entry, srcY && srcCb && srcCr && dstY && dstC && srcWidth && srcHeight &&
                       (srcYStride >= srcWidth) && (srcCbStride >= srcChroma) &&
                       (srcCrStride >= srcChroma) && (dstYStride >= srcWidth) &&
                       (dstCStride >= dstChroma));
  entry.call(srcY, srcCb, srcCr, srcWidth, srcHeight, srcYStride, srcCbStride, srcCrStride, dstY,
             dstC, dstYStride, dstCStride);
}

template <class From, class To, class F>
[[gnu::always_inline]] inline void pseudoToPlanar(
    lumEntry<F> entry, const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth,
    uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstCb,
    uint8_t* dstCr, uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride) {
  askRemote(entry, srcWidth, srcHeight,
            lumMultipleOf<4>(srcY, srcC, srcYStride, srcCStride, dstY, dstCb, dstCr, dstYStride,
                             dstCbStride, dstCrStride));
  const uint64_t srcChroma = From::rowBytes(srcWidth), dstChroma = To::rowBytes(srcWidth);
  lumPack(srcYStride, srcWidth);
  lumPack(srcCStride, srcChroma);
  lumPack(dstYStride, srcWidth);
  lumPack(dstCbStride, dstChroma);
  lumPack(dstCrStride, dstChroma);
  LUM_CHECK(entry, srcY && srcC && dstY && dstCb && dstCr && srcWidth && srcHeight &&
                       (srcYStride >= srcWidth) && (srcCStride >= srcChroma) &&
                       (dstYStride >= srcWidth) && (dstCbStride >= dstChroma) &&
                       (dstCrStride >= dstChroma));
  entry.call(srcY, srcC, srcWidth, srcHeight, srcYStride, srcCStride, dstY, dstCb, dstCr,
             dstYStride, dstCbStride, dstCrStride);
}

template <class From, class To, class F>
[[gnu::always_inline]] inline void pseudoToPseudo(lumEntry<F> entry, const uint8_t* srcY,
                                                  const uint8_t* srcC, uint32_t srcWidth,
                                                  uint32_t srcHeight, uint32_t srcYStride,
                                                  uint32_t srcCStride, uint8_t* dstY, uint8_t* dstC,
                                                  uint32_t dstYStride, uint32_t dstCStride) {
  askRemote(
      entry, srcWidth, srcHeight,
      lumMultipleOf<4>(srcY, srcC, srcYStride, srcCStride, dstY, dstC, dstYStride, dstCStride));
  const uint64_t srcChroma = From::rowBytes(srcWidth), dstChroma = To::rowBytes(srcWidth);
  lumPack(srcYStride, srcWidth);
  lumPack(srcCStride, srcChroma);
  lumPack(dstYStride, srcWidth);
  lumPack(dstCStride, dstChroma);
  LUM_CHECK(entry, srcY && srcC && dstY && dstC && srcWidth && srcHeight &&
                       (srcYStride >= srcWidth) && (srcCStride >= srcChroma) &&
                       (dstYStride >= srcWidth) && (dstCStride >= dstChroma));
  entry.call(srcY, srcC, srcWidth, srcHeight, srcYStride, srcCStride, dstY, dstC, dstYStride,
             dstCStride);
}

}  // namespace

#define LUM_COLOR_PLANAR_TO_PLANAR(name, From, To)                                               \
  void name(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth,  \
            uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride, \
            uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t dstYStride,                  \
            uint32_t dstCbStride, uint32_t dstCrStride) {                                        \
    planarToPlanar<lumColor::From, lumColor::To>(                                                \
        LUM_ENTRY(name), srcY, srcCb, srcCr, srcWidth, srcHeight, srcYStride, srcCbStride,       \
        srcCrStride, dstY, dstCb, dstCr, dstYStride, dstCbStride, dstCrStride);                  \
  }
#define LUM_COLOR_PLANAR_TO_PSEUDO(name, From, To)                                                \
  void name(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth,   \
            uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,  \
            uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride) {             \
    planarToPseudo<lumColor::From, lumColor::To>(LUM_ENTRY(name), srcY, srcCb, srcCr, srcWidth,   \
                                                 srcHeight, srcYStride, srcCbStride, srcCrStride, \
                                                 dstY, dstC, dstYStride, dstCStride);             \
  }
#define LUM_COLOR_PSEUDO_TO_PLANAR(name, From, To)                                                 \
  void name(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,       \
            uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstCb,               \
            uint8_t* dstCr, uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride) {     \
    pseudoToPlanar<lumColor::From, lumColor::To>(LUM_ENTRY(name), srcY, srcC, srcWidth, srcHeight, \
                                                 srcYStride, srcCStride, dstY, dstCb, dstCr,       \
                                                 dstYStride, dstCbStride, dstCrStride);            \
  }
#define LUM_COLOR_PSEUDO_TO_PSEUDO(name, From, To)                                                 \
  void name(const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,       \
            uint32_t srcYStride, uint32_t srcCStride, uint8_t* dstY, uint8_t* dstC,                \
            uint32_t dstYStride, uint32_t dstCStride) {                                            \
    pseudoToPseudo<lumColor::From, lumColor::To>(LUM_ENTRY(name), srcY, srcC, srcWidth, srcHeight, \
                                                 srcYStride, srcCStride, dstY, dstC, dstYStride,   \
                                                 dstCStride);                                      \
  }
#include "lumenColorLayout.def"

void lumColorCbCrSwapu8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                        uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
  auto entry = LUM_ENTRY(lumColorCbCrSwapu8);
  askRemote(entry, srcWidth, srcHeight, lumMultipleOf<4>(src, dst, srcStride, dstStride));
  const uint64_t rowBytes = uint64_t{srcWidth} * 2;
  lumPack(srcStride, rowBytes);
  lumPack(dstStride, rowBytes);
  LUM_CHECK(entry, src && dst && srcWidth && srcHeight && (srcStride >= rowBytes) &&
                       (dstStride >= rowBytes));
  entry.call(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}
