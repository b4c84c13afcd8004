// RGB to YCbCr, vector: the row functions of the shared-routine slots, and images made of them.
//
// Pixels are taken apart into even and odd ones, words each. The sums fit words with their
// rounding: Y is the upper byte of an unsigned sum; those of chroma are signed, and only that of
// 255 and two zeros is too large by one, so that saturation gives the 255 that it is cut to.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vorta/lumenColorFromRgbV.cpp"
#include <hwy/foreach_target.h>  // compiles this file once for each instruction set
// Must come after foreach_target.h.
#include <hwy/highway.h>

#include <cstring>

#include "cpu/lumenColorPixel.h"
#include "cpu/lumenRow.h"
#include "lumenRoutines.h"
#include "lumenVector.h"
#include "vorta/lumenPackedPixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {
namespace {

// Every second pixel: B and R in the bytes of a word, and G in a word.
struct Half {
  VWords br, g;
};
struct Pixels {
  Half even, odd;
};

template <class T>
HWY_INLINE Pixels Take(const T& r, const T& g, const T& b) {
  const auto pair = [](VWords low, VWords high)
                        LUM_LAMBDA { return hn::Or(low, hn::ShiftLeft<8>(high)); };
  return {{pair(b.Even(), r.Even()), g.Even()}, {pair(b.Odd(), r.Odd()), g.Odd()}};
}

// kLanes pixels.
struct FromRGB888 : lumRGB888 {
  static HWY_INLINE Pixels Load(const uint8_t* src) {
    const auto bgr = LoadPacked3(src);
    return Take(bgr.c2, bgr.c1, bgr.c0);
  }
};
struct FromRGBA8888 : lumRGBA8888 {
  static HWY_INLINE Pixels Load(const uint8_t* src) {
    const auto rgb = LoadPacked4(src);
    return Take(rgb.c0, rgb.c1, rgb.c2);
  }
};
struct FromRGB565 : lumRGB565 {
  // The high bits of each channel once more below them.
  static HWY_INLINE Half Unpack(VWords v) {
    const auto select = [](uint16_t mask, VWords yes, VWords no) LUM_LAMBDA {
      const VWords bits = hn::Set(Words(), mask);
      return hn::Or(hn::And(bits, yes), hn::AndNot(bits, no));
    };
    const VWords br = select(0xF800, v, hn::ShiftLeft<3>(v));
    const VWords g = select(0x00FC, hn::ShiftRight<3>(v), hn::ShiftRight<9>(v));
    return {select(0xF8F8, br, hn::ShiftRight<5>(br)), hn::And(g, hn::Set(Words(), 0x00FF))};
  }
  static HWY_INLINE Pixels Load(const uint8_t* src) {
    VWords v0 = LoadWords(src), v1 = LoadWords(src + kLanes);
    SplitBlocks(v0, v1);
    return {Unpack(LowWords(v0, v1)), Unpack(HighWords(v0, v1))};
  }
};

// Results are the upper bytes of words.
HWY_INLINE VWords Luma(const Half& p) {
  const VWords rounded = hn::Add(Times(p.g, 150), hn::Set(Words(), 128));
  return hn::Add(WeightedPairs<29, 77>(p.br), rounded);
}
// 128 of B or R less parts of the others, which are 128 together: from the opposite, since 128 is
// no byte with a sign, but -128 is.
template <int kB, int kR, int kG>
HWY_INLINE VWords Chroma(const Half& p) {
  static_assert(kB + kR + kG == 0);
  const VWords opposite = hn::Add(WeightedPairs<kB, kR>(p.br), Times(p.g, kG));
  const VShorts sum = hn::SaturatedSub(hn::Set(Shorts(), 128), hn::BitCast(Shorts(), opposite));
  return hn::Xor(hn::BitCast(Words(), sum), hn::Set(Words(), 0x8000));
}
HWY_INLINE VWords Cb(const Half& p) { return Chroma<-128, 43, 85>(p); }
HWY_INLINE VWords Cr(const Half& p) { return Chroma<21, -128, 107>(p); }

// The upper bytes of two vectors in turns.
HWY_INLINE VBytes UpperBytes(VWords even, VWords odd) {
  const VWords upper = hn::And(odd, hn::Set(Words(), 0xFF00));
  return hn::BitCast(Bytes(), hn::Or(hn::ShiftRight<8>(even), upper));
}

HWY_INLINE void StoreLuma(const Pixels& p, uint8_t* dst) {
  StoreBytes<false>(UpperBytes(Luma(p.even), Luma(p.odd)), dst);
}

// Where chroma goes; x is even where pixels share samples.
struct ToNone {
  template <class S>
  HWY_INLINE void Store(const Pixels&, size_t) const {}
};
struct ToPlanes {
  uint8_t* cb;
  uint8_t* cr;

  template <class S>
  HWY_INLINE void Store(const Pixels& p, size_t x) const {
    if constexpr (S::kX == 2) {
      const hn::Rebind<uint8_t, Words> half;
      hn::StoreU(hn::TruncateTo(half, hn::ShiftRight<8>(Cb(p.even))), half, cb + x / 2);
      hn::StoreU(hn::TruncateTo(half, hn::ShiftRight<8>(Cr(p.even))), half, cr + x / 2);
    } else {
      StoreBytes<false>(UpperBytes(Cb(p.even), Cb(p.odd)), cb + x);
      StoreBytes<false>(UpperBytes(Cr(p.even), Cr(p.odd)), cr + x);
    }
  }
};
struct ToPairs {
  uint8_t* c;

  template <class S>
  HWY_INLINE void Store(const Pixels& p, size_t x) const {
    const VBytes even = UpperBytes(Cb(p.even), Cr(p.even));
    if constexpr (S::kX == 2) {
      StoreBytes<false>(even, c + x);
    } else {
      const Words d;
      const VWords pairs = hn::BitCast(d, even);
      const VWords oddPairs = hn::BitCast(d, UpperBytes(Cb(p.odd), Cr(p.odd)));
      VWords low = hn::InterleaveLower(d, pairs, oddPairs);
      VWords high = hn::InterleaveUpper(d, pairs, oddPairs);
      MergeBlocks(low, high);
      StoreBytes<false>(hn::BitCast(Bytes(), low), c + 2 * x);
      StoreBytes<false>(hn::BitCast(Bytes(), high), c + 2 * x + kLanes);
    }
  }
};

// A row; `width` is even where pixels share samples. Vectors overlap where its rest is shorter than
// one.
template <class S, class Format, class Chroma>
HWY_INLINE void ConvertRow(const uint8_t* src, size_t width, uint8_t* dstY, const Chroma& chroma) {
  const auto vector = [=](size_t x) LUM_LAMBDA {
    const Pixels pixels = Format::Load(src + x * Format::kBytes);
    StoreLuma(pixels, dstY + x);
    chroma.template Store<S>(pixels, x);
  };
  vector(0);
  // From the first pixel on where loads are aligned, which has to be even where pixels share
  // samples.
  const size_t aligned = FirstAligned<Format::kBytes>(src);
  size_t x = aligned % S::kX == 0 ? aligned : kLanes;
  for (; x + kLanes <= width; x += kLanes) vector(x);
  if (x < width) vector(width - kLanes);
}

// A row shorter than a vector goes through memory that is long enough.
struct ShortRow {
  uint8_t src[4 * kLanes] = {}, y[kLanes], chroma[2 * kLanes];
  HWY_INLINE ShortRow(const uint8_t* pixels, size_t bytes) { std::memcpy(src, pixels, bytes); }
};

template <class Format>
void RowToLuma(const uint8_t* src, uint32_t width, uint8_t* dstY) {
  using S = lumSubsampling444;
  if (width >= kLanes) {
    ConvertRow<S, Format>(src, width, dstY, ToNone());
    return;
  }
  ShortRow row(src, width * Format::kBytes);
  ConvertRow<S, Format>(row.src, kLanes, row.y, ToNone());
  std::memcpy(dstY, row.y, width);
}

template <class S, class Format>
void RowToPlanes(const uint8_t* src, uint32_t width, uint8_t* dstY, uint8_t* dstCb,
                 uint8_t* dstCr) {
  if (width % S::kX != 0) return;
  if (width >= kLanes) {
    ConvertRow<S, Format>(src, width, dstY, ToPlanes{dstCb, dstCr});
    return;
  }
  ShortRow row(src, width * Format::kBytes);
  ConvertRow<S, Format>(row.src, kLanes, row.y, ToPlanes{row.chroma, row.chroma + kLanes});
  std::memcpy(dstY, row.y, width);
  std::memcpy(dstCb, row.chroma, width / S::kX);
  std::memcpy(dstCr, row.chroma + kLanes, width / S::kX);
}

template <class S, class Format>
void RowToPairs(const uint8_t* src, uint32_t width, uint8_t* dstY, uint8_t* dstC) {
  if (width % S::kX != 0) return;
  if (width >= kLanes) {
    ConvertRow<S, Format>(src, width, dstY, ToPairs{dstC});
    return;
  }
  ShortRow row(src, width * Format::kBytes);
  ConvertRow<S, Format>(row.src, kLanes, row.y, ToPairs{row.chroma});
  std::memcpy(dstY, row.y, width);
  std::memcpy(dstC, row.chroma, 2 * (width / S::kX));
}

// Images. Of rows that share chroma the first gives it; they are converted together, also one past
// the last.
template <class S, class Format, class FirstRow>
HWY_INLINE void Rows(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                     uint8_t* dstY, uint32_t dstYStride, const FirstRow& firstRow) {
  if (width % S::kX != 0) return;
  for (uint32_t group = 0; group < S::groups(height); ++group) {
    const uint32_t y = group * S::kY;
    firstRow(lumRowAt(src, y, srcStride), lumRowAt(dstY, y, dstYStride), group);
    if (S::kY > 1) {
      RowToLuma<Format>(lumRowAt(src, y + 1, srcStride), width, lumRowAt(dstY, y + 1, dstYStride));
    }
  }
}

// Whether rows can be converted as one long row: none shares chroma with another one, and nothing
// lies between them.
template <class S, class Format>
HWY_INLINE bool AreOneRow(uint32_t width, uint32_t height, uint32_t srcStride, uint32_t dstYStride,
                          bool isChromaPacked) {
  return S::kY == 1 && width % S::kX == 0 && isChromaPacked && dstYStride == width &&
         srcStride == width * uint64_t{Format::kBytes} && uint64_t{width} * height <= UINT32_MAX;
}

template <class S, class Format>
void ImageToPlanes(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                   uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t dstYStride,
                   uint32_t dstCbStride, uint32_t dstCrStride) {
  const bool isPacked = dstCbStride == width / S::kX && dstCrStride == width / S::kX;
  if (AreOneRow<S, Format>(width, height, srcStride, dstYStride, isPacked)) {
    return RowToPlanes<S, Format>(src, width * height, dstY, dstCb, dstCr);
  }
  Rows<S, Format>(src, width, height, srcStride, dstY, dstYStride,
                  [=](const uint8_t* s, uint8_t* y, uint32_t row) LUM_LAMBDA {
                    RowToPlanes<S, Format>(s, width, y, lumRowAt(dstCb, row, dstCbStride),
                                           lumRowAt(dstCr, row, dstCrStride));
                  });
}

template <class S, class Format>
void ImageToPairs(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                  uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride) {
  const bool isPacked = dstCStride == 2 * uint64_t{width / S::kX};
  if (AreOneRow<S, Format>(width, height, srcStride, dstYStride, isPacked)) {
    return RowToPairs<S, Format>(src, width * height, dstY, dstC);
  }
  Rows<S, Format>(src, width, height, srcStride, dstY, dstYStride,
                  [=](const uint8_t* s, uint8_t* y, uint32_t row) LUM_LAMBDA {
                    RowToPairs<S, Format>(s, width, y, lumRowAt(dstC, row, dstCStride));
                  });
}

}  // namespace

#define LUM_COLOR(subsampling, format)                                 \
  LUM_KERNEL(lumColor##format##ToYCbCr##subsampling##Planaru8) =       \
      ImageToPlanes<lumSubsampling##subsampling, From##format>;        \
  LUM_KERNEL(lumColor##format##ToYCbCr##subsampling##PseudoPlanaru8) = \
      ImageToPairs<lumSubsampling##subsampling, From##format>;
#include "lumenColor.def"

#define LUM_ROW_KERNELS(format, prefix)                                                        \
  constexpr lumRgbToLuma* prefix##2y = RowToLuma<From##format>;                                \
  constexpr lumRgbToPlanes* prefix##2yuv = RowToPlanes<lumSubsampling444, From##format>;       \
  constexpr lumRgbToPlanes* prefix##2yyuv = RowToPlanes<lumSubsampling422, From##format>;      \
  constexpr lumRgbToPseudoPlanes* prefix##2yuvp = RowToPairs<lumSubsampling444, From##format>; \
  constexpr lumRgbToPseudoPlanes* prefix##2yyuvp = RowToPairs<lumSubsampling422, From##format>;
LUM_ROW_KERNELS(RGB565, rgb565)
LUM_ROW_KERNELS(RGB888, rgb888)
LUM_ROW_KERNELS(RGBA8888, rgba8888)
#undef LUM_ROW_KERNELS

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#define LUM_COLOR(subsampling, format)                          \
  LUM_VECTOR(lumColor##format##ToYCbCr##subsampling##Planaru8); \
  LUM_VECTOR(lumColor##format##ToYCbCr##subsampling##PseudoPlanaru8);
#include "lumenColor.def"

#define LUM_ROW_SETS(prefix)                          \
  LUM_VECTOR_OF(lumRgbToLuma, prefix##2y);            \
  LUM_VECTOR_OF(lumRgbToPlanes, prefix##2yuv);        \
  LUM_VECTOR_OF(lumRgbToPlanes, prefix##2yyuv);       \
  LUM_VECTOR_OF(lumRgbToPseudoPlanes, prefix##2yuvp); \
  LUM_VECTOR_OF(lumRgbToPseudoPlanes, prefix##2yyuvp);
LUM_ROW_SETS(rgb565)
LUM_ROW_SETS(rgb888)
LUM_ROW_SETS(rgba8888)
#endif  // HWY_ONCE
