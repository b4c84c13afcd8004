#include "cpu/lumenColorPixel.h"
#include "lumen/lumenColor.h"
#include "lumenColorCheck.h"

namespace {

// The texts of terms are quoted as they stand, blanks included, with the documented names.
// clang-format off
namespace term {

template <class Format>
lumTerm rgb(uint32_t srcStride, uint64_t srcWidth) {
  if constexpr (Format::kBytes == 2) return LUM_TERM(( srcStride == 0 || srcStride >= (srcWidth*2)));
  else if constexpr (Format::kBytes == 3) return LUM_TERM(( srcStride == 0 || srcStride >= (srcWidth*3)));
  else return LUM_TERM(( srcStride == 0 || srcStride >= (srcWidth*4)));
}
lumTerm y(uint32_t dstYStride, uint64_t srcWidth) {
  return LUM_TERM(( dstYStride == 0 || dstYStride >= srcWidth ));
}
template <class S>
lumTerm cb(uint32_t dstCbStride, uint64_t srcWidth) {
  if constexpr (S::kX == 1) return LUM_TERM(( dstCbStride == 0 || dstCbStride >= srcWidth ));
  else return LUM_TERM(( dstCbStride == 0 || dstCbStride >= ((srcWidth+1)/2) ));
}
template <class S>
lumTerm cr(uint32_t dstCrStride, uint64_t srcWidth) {
  if constexpr (S::kX == 1) return LUM_TERM(( dstCrStride == 0 || dstCrStride >= srcWidth ));
  else return LUM_TERM(( dstCrStride == 0 || dstCrStride >= ((srcWidth+1)/2) ));
}
template <class S>
lumTerm c(uint32_t dstCStride, uint64_t srcWidth) {
  if constexpr (S::kX == 1) return LUM_TERM(( dstCStride == 0 || dstCStride >= (srcWidth*2) ));
  else return LUM_TERM(( dstCStride == 0 || dstCStride >= ((srcWidth+1)/2*2) ));
}

}  // namespace term
// clang-format on

// A stride of 0 of a plane of chroma stands for the samples of whole pairs.
template <class S, class Format, class F>
[[gnu::always_inline]] inline void toPlanar(lumEntry<F> entry, const uint8_t* src,
                                            uint32_t srcWidth, uint32_t srcHeight,
                                            uint32_t srcStride, uint8_t* dstY, uint8_t* dstCb,
                                            uint8_t* dstCr, uint32_t dstYStride,
                                            uint32_t dstCbStride, uint32_t dstCrStride) {
  lumRemoteNeeds(entry, srcWidth, srcHeight, src, dstY, dstCb, dstCr, srcStride, dstYStride,
                 dstCbStride, dstCrStride);
  const uint64_t width = srcWidth;
  if (!lumAccept(entry,
                 {LUM_TERM(src && dstY && dstCb && dstCr && srcWidth && srcHeight),
                  term::rgb<Format>(srcStride, width), term::y(dstYStride, width),
                  term::cb<S>(dstCbStride, width), term::cr<S>(dstCrStride, width)},
                 {{srcStride, width * Format::kBytes},
                  {dstYStride, width},
                  {dstCbStride, width / S::kX},
                  {dstCrStride, width / S::kX}})) {
    return;
  }
  entry.call(src, srcWidth, srcHeight, srcStride, dstY, dstCb, dstCr, dstYStride, dstCbStride,
             dstCrStride);
}

template <class S, class Format, class F>
[[gnu::always_inline]] inline void toPairs(lumEntry<F> entry, const uint8_t* src, uint32_t srcWidth,
                                           uint32_t srcHeight, uint32_t srcStride, uint8_t* dstY,
                                           uint8_t* dstC, uint32_t dstYStride,
                                           uint32_t dstCStride) {
  lumRemoteNeeds(entry, srcWidth, srcHeight, src, dstY, dstC, srcStride, dstYStride, dstCStride);
  const uint64_t width = srcWidth;
  if (!lumAccept(entry,
                 {LUM_TERM(src && dstY && dstC && srcWidth && srcHeight),
                  term::rgb<Format>(srcStride, width), term::y(dstYStride, width),
                  term::c<S>(dstCStride, width)},
                 {{srcStride, width * Format::kBytes},
                  {dstYStride, width},
                  {dstCStride, width / S::kX * 2}})) {
    return;
  }
  entry.call(src, srcWidth, srcHeight, srcStride, dstY, dstC, dstYStride, dstCStride);
}

}  // namespace

#define LUM_COLOR(subsampling, format)                                                          \
  void lumColor##format##ToYCbCr##subsampling##Planaru8(                                        \
      const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,            \
      uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t dstYStride, uint32_t dstCbStride, \
      uint32_t dstCrStride) {                                                                   \
    toPlanar<lumSubsampling##subsampling, lum##format>(                                         \
        LUM_ENTRY(lumColor##format##ToYCbCr##subsampling##Planaru8), src, srcWidth, srcHeight,  \
        srcStride, dstY, dstCb, dstCr, dstYStride, dstCbStride, dstCrStride);                   \
  }                                                                                             \
  void lumColor##format##ToYCbCr##subsampling##PseudoPlanaru8(                                  \
      const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,            \
      uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride) {                 \
    toPairs<lumSubsampling##subsampling, lum##format>(                                          \
        LUM_ENTRY(lumColor##format##ToYCbCr##subsampling##PseudoPlanaru8), src, srcWidth,       \
        srcHeight, srcStride, dstY, dstC, dstYStride, dstCStride);                              \
  }
#include "lumenColor.def"
