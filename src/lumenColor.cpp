#include "lumen/lumenColor.h"

#include "cpu/lumenColorPixel.h"
#include "lumenColorCheck.h"

namespace {

// The texts of terms are quoted as they stand, blanks included, with the documented names.
// clang-format off
namespace term {

lumTerm y(uint32_t srcYStride, uint64_t srcWidth) {
  return LUM_TERM(( srcYStride == 0 || srcYStride >= (srcWidth*sizeof(uint8_t)) ));
}
template <class S>
lumTerm cb(uint32_t srcCbStride, uint64_t srcWidth) {
  if constexpr (S::kX == 1) return LUM_TERM(( srcCbStride == 0 || srcCbStride >= srcWidth ));
  else return LUM_TERM(( srcCbStride == 0 || srcCbStride >= ((srcWidth+1)/2) ));
}
template <class S>
lumTerm cr(uint32_t srcCrStride, uint64_t srcWidth) {
  if constexpr (S::kX == 1) return LUM_TERM(( srcCrStride == 0 || srcCrStride >= srcWidth ));
  else return LUM_TERM(( srcCrStride == 0 || srcCrStride >= ((srcWidth+1)/2) ));
}
template <class S>
lumTerm c(uint32_t srcCStride, uint64_t srcWidth) {
  if constexpr (S::kX == 1) return LUM_TERM(( srcCStride == 0 || srcCStride >= (srcWidth*2) ));
  else return LUM_TERM(( srcCStride == 0 || srcCStride >= ((srcWidth+1)/2*2) ));
}
template <class Format>
lumTerm rgb(uint32_t dstStride, uint64_t srcWidth) {
  if constexpr (Format::kBytes == 2) return LUM_TERM(( dstStride == 0 || dstStride >= (srcWidth*2) ));
  else if constexpr (Format::kBytes == 3) return LUM_TERM(( dstStride == 0 || dstStride >= (srcWidth*3) ));
  else return LUM_TERM(( dstStride == 0 || dstStride >= (srcWidth*4) ));
}
lumTerm packed(uint32_t srcStride, uint64_t srcWidth) {
  return LUM_TERM(( srcStride == 0 || srcStride >= (srcWidth*3) ));
}
template <class Block>
lumTerm blocks(uint32_t srcStride, uint64_t srcWidth) {
  if constexpr (Block::kX * Block::kY == 1) return LUM_TERM(( srcStride == 0 || srcStride >= ((srcWidth+7)/8*192) ));
  else if constexpr (Block::kX == 1) return LUM_TERM(( srcStride == 0 || srcStride >= ((srcWidth+7)/8*256) ));
  else if constexpr (Block::kY == 1) return LUM_TERM(( srcStride == 0 || srcStride >= ((srcWidth+15)/16*256) ));
  else return LUM_TERM(( srcStride == 0 || srcStride >= ((srcWidth+15)/16*384) ));
}

}  // namespace term
// clang-format on

// Samples of chroma in a row of whole pairs.
template <class S>
constexpr uint64_t samples(uint64_t width) {
  return (width + S::kX - 1) / S::kX;
}

template <class S, class Format, class F>
[[gnu::always_inline]] inline void planarToRgb(lumEntry<F> entry, const uint8_t* srcY,
                                               const uint8_t* srcCb, const uint8_t* srcCr,
                                               uint32_t srcWidth, uint32_t srcHeight,
                                               uint32_t srcYStride, uint32_t srcCbStride,
                                               uint32_t srcCrStride, uint8_t* dst,
                                               uint32_t dstStride) {
  lumRemoteNeeds(entry, srcWidth, srcHeight, srcY, srcCb, srcCr, dst, srcYStride, srcCbStride,
                 srcCrStride, dstStride);
  const uint64_t width = srcWidth;
  if (!lumAccept(entry,
                 {LUM_TERM(srcY && srcCb && srcCr && dst && srcWidth && srcHeight),
                  term::y(srcYStride, width), term::cb<S>(srcCbStride, width),
                  term::cr<S>(srcCrStride, width), term::rgb<Format>(dstStride, width)},
                 {{srcYStride, width},
                  {srcCbStride, samples<S>(width)},
                  {srcCrStride, samples<S>(width)},
                  {dstStride, width * Format::kBytes}})) {
    return;
  }
  entry.call(srcY, srcCb, srcCr, srcWidth, srcHeight, srcYStride, srcCbStride, srcCrStride, dst,
             dstStride);
}

template <class S, class Format, class F>
[[gnu::always_inline]] inline void pairsToRgb(lumEntry<F> entry, const uint8_t* srcY,
                                              const uint8_t* srcC, uint32_t srcWidth,
                                              uint32_t srcHeight, uint32_t srcYStride,
                                              uint32_t srcCStride, uint8_t* dst,
                                              uint32_t dstStride) {
  lumRemoteNeeds(entry, srcWidth, srcHeight, srcY, srcC, dst, srcYStride, srcCStride, dstStride);
  const uint64_t width = srcWidth;
  if (!lumAccept(
          entry,
          {LUM_TERM(srcY && srcC && dst && srcWidth && srcHeight), term::y(srcYStride, width),
           term::c<S>(srcCStride, width), term::rgb<Format>(dstStride, width)},
          {{srcYStride, width},
           {srcCStride, 2 * samples<S>(width)},
           {dstStride, width * Format::kBytes}})) {
    return;
  }
  entry.call(srcY, srcC, srcWidth, srcHeight, srcYStride, srcCStride, dst, dstStride);
}

template <class Block, class F>
[[gnu::always_inline]] inline void macroblocksToRgb(lumEntry<F> entry, const uint8_t* src,
                                                    uint32_t srcWidth, uint32_t srcHeight,
                                                    uint32_t srcStride, uint8_t* dst,
                                                    uint32_t dstStride) {
  lumRemoteNeeds(entry, srcWidth, srcHeight, src, dst, srcStride, dstStride);
  const uint64_t width = srcWidth;
  if (!lumAccept(entry,
                 {LUM_TERM(src && dst && srcWidth && srcHeight),
                  term::blocks<Block>(srcStride, width), term::rgb<lumRGB888>(dstStride, width)},
                 {{srcStride, (width + Block::kWidth - 1) / Block::kWidth * Block::kBytes},
                  {dstStride, width * lumRGB888::kBytes}})) {
    return;
  }
  entry.call(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

// Camera frames. Sizes that 2 does not divide are refused: the plane of chroma has no place that
// everybody agrees on then.
template <class Format, class Entry>
[[gnu::always_inline]] inline bool acceptFrame(const Entry& entry, const uint8_t* src,
                                               uint32_t srcWidth, uint32_t srcHeight,
                                               uint32_t& srcStride, uint8_t* dst,
                                               uint32_t& dstStride) {
  const uint64_t width = srcWidth;
  return lumAccept(entry,
                   // clang-format off
      {LUM_TERM(src && dst && srcWidth && srcHeight),
       LUM_TERM(srcWidth % 2 == 0 && srcHeight % 2 == 0),
       LUM_TERM(( srcStride == 0 || srcStride >= srcWidth )),
                    // clang-format on
                    term::rgb<Format>(dstStride, width)},
                   {{srcStride, width}, {dstStride, width * Format::kBytes}});
}

template <class Format, class F>
[[gnu::always_inline]] inline void frameToRgb(lumEntry<F> entry, const uint8_t* src,
                                              uint32_t srcWidth, uint32_t srcHeight,
                                              uint32_t srcStride, uint8_t* dst,
                                              uint32_t dstStride) {
  lumRemoteNeeds(entry, srcWidth, srcHeight, src, dst, srcStride, dstStride);
  if (!acceptFrame<Format>(entry, src, srcWidth, srcHeight, srcStride, dst, dstStride)) return;
  entry.call(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

}  // namespace

#define LUM_COLOR(subsampling, format)                                                             \
  void lumColorYCbCr##subsampling##PlanarTo##format##u8(                                           \
      const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth,          \
      uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride,         \
      uint8_t* dst, uint32_t dstStride) {                                                          \
    planarToRgb<lumSubsampling##subsampling, lum##format>(                                         \
        LUM_ENTRY(lumColorYCbCr##subsampling##PlanarTo##format##u8), srcY, srcCb, srcCr, srcWidth, \
        srcHeight, srcYStride, srcCbStride, srcCrStride, dst, dstStride);                          \
  }                                                                                                \
  void lumColorYCbCr##subsampling##PseudoPlanarTo##format##u8(                                     \
      const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight,             \
      uint32_t srcYStride, uint32_t srcCStride, uint8_t* dst, uint32_t dstStride) {                \
    pairsToRgb<lumSubsampling##subsampling, lum##format>(                                          \
        LUM_ENTRY(lumColorYCbCr##subsampling##PseudoPlanarTo##format##u8), srcY, srcC, srcWidth,   \
        srcHeight, srcYStride, srcCStride, dst, dstStride);                                        \
  }
#include "lumenColor.def"

void lumColorYCrCb420PseudoPlanarToRGB8888u8(const uint8_t* srcY, const uint8_t* srcC,
                                             uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcYStride, uint32_t srcCStride, uint8_t* dst,
                                             uint32_t dstStride) {
  pairsToRgb<lumSubsampling420, lumRGBA8888>(LUM_ENTRY(lumColorYCrCb420PseudoPlanarToRGB8888u8),
                                             srcY, srcC, srcWidth, srcHeight, srcYStride,
                                             srcCStride, dst, dstStride);
}

#define LUM_MACROBLOCK(sampling, h, v)                                                           \
  void lumColorYCrCb##sampling##toRGB888u8(const uint8_t* src, uint32_t srcWidth,                \
                                           uint32_t srcHeight, uint32_t srcStride, uint8_t* dst, \
                                           uint32_t dstStride) {                                 \
    macroblocksToRgb<lumMacroblock<h, v>>(LUM_ENTRY(lumColorYCrCb##sampling##toRGB888u8), src,   \
                                          srcWidth, srcHeight, srcStride, dst, dstStride);       \
  }
LUM_MACROBLOCK(H1V1, 1, 1)
LUM_MACROBLOCK(H1V2, 1, 2)
LUM_MACROBLOCK(H2V1, 2, 1)
LUM_MACROBLOCK(H2V2, 2, 2)

// No row of its own: the frame's planes go through that of the function for planes.
void lumColorYUV420toRGB8888u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                               uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
  using Planes = decltype(lumColorYCrCb420PseudoPlanarToRGB8888u8);
  const uint32_t row = LUM_FN_lumColorYCrCb420PseudoPlanarToRGB8888u8;
  lumEntry<Planes> entry(LUM_FUNC_TABLE.lumColorYCrCb420PseudoPlanarToRGB8888u8,
                         LUM_IMPL_INDEX[row], "lumColorYUV420toRGB8888u8");
  lumRemoteNeeds(entry, srcWidth, srcHeight, src, dst, srcStride, dstStride);
  if (!acceptFrame<lumRGBA8888>(entry, src, srcWidth, srcHeight, srcStride, dst, dstStride)) return;
  entry.call(src, src + size_t{srcHeight} * srcStride, srcWidth, srcHeight, srcStride, srcStride,
             dst, dstStride);
}

void lumColorYUV420toRGB565u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                              uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
  frameToRgb<lumRGB565>(LUM_ENTRY(lumColorYUV420toRGB565u8), src, srcWidth, srcHeight, srcStride,
                        dst, dstStride);
}

void lumColorYUV420toRGB565u8Rotate180(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                       uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
  frameToRgb<lumRGB565>(LUM_INTERNAL_ENTRY(lumColorYUV420toRGB565u8Rotate180), src, srcWidth,
                        srcHeight, srcStride, dst, dstStride);
}

void lumColorRGB888ToRGB565Rotate180u8(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                       uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
  auto entry = LUM_INTERNAL_ENTRY(lumColorRGB888ToRGB565Rotate180u8);
  lumRemoteNeeds(entry, srcWidth, srcHeight, src, dst, srcStride, dstStride);
  const uint64_t width = srcWidth;
  if (!lumAccept(entry,
                 {LUM_TERM(src && dst && srcWidth && srcHeight), term::packed(srcStride, width),
                  term::rgb<lumRGB565>(dstStride, width)},
                 {{srcStride, 3 * width}, {dstStride, 2 * width}})) {
    return;
  }
  entry.call(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}
