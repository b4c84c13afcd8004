// YCbCr to RGB on vectors: a sample of chroma gives one number to add to Y for each of R, G and B.
//
// The numbers are exact in 16 bits:
//   (359 e + 128) >> 8 and (454 d + 128) >> 8 are rounding multiplications of 2e and 2d by
//   fractions of 2^15, and (-88 d - 183 e + 128) >> 8 = ((-88 d + 73 e + 128) >> 8) - e.
// None is beyond 255, so that each is kept as two bytes, what to add and what to take away, one of
// which is 0: adding and subtracting with saturation then clamps as well.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_COLOR_TO_RGB_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_COLOR_TO_RGB_INL_H
#undef LUMEN_COLOR_TO_RGB_INL_H
#else
#define LUMEN_COLOR_TO_RGB_INL_H
#endif

#include <cstring>

#include "cpu/lumenColorPixel.h"
#include "cpu/lumenRow.h"
#include "vorta/lumenPackedPixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

// Chroma's part in R, G and B.
struct Parts {
  VShorts r, g, b;
};
// From words.
HWY_INLINE Parts PartsOf(VWords cb, VWords cr) {
  const Shorts ds;
  const VShorts scb = hn::BitCast(ds, cb), scr = hn::BitCast(ds, cr);
  const VShorts d = hn::Sub(scb, hn::Set(ds, 128)), e = hn::Sub(scr, hn::Set(ds, 128));
  const VShorts g = hn::Add(Times(scb, -88), Times(scr, 73));
  constexpr int kRound = 88 * 128 - 73 * 128 + 128;
  return {hn::MulFixedPoint15(hn::Add(e, e), hn::Set(ds, 359 * 64)),
          hn::Sub(hn::ShiftRight<8>(hn::Add(g, hn::Set(ds, kRound))), e),
          hn::MulFixedPoint15(hn::Add(d, d), hn::Set(ds, 454 * 64))};
}

// The same as bytes.
struct Change {
  VBytes add, subtract;
  HWY_INLINE VBytes operator()(VBytes y) const {
    return hn::SaturatedSub(hn::SaturatedAdd(y, add), subtract);
  }
};
struct Changes {
  Change r, g, b;
};

// Of words that stand for two pixels each.
HWY_INLINE VBytes Twice(VShorts positive) { return hn::BitCast(Bytes(), Times(positive, 0x0101)); }
HWY_INLINE Change ChangeOfPairs(VShorts part) {
  const VShorts zero = hn::Zero(Shorts());
  const VShorts add = hn::Max(part, zero);
  return {Twice(add), Twice(hn::Sub(add, part))};
}
HWY_INLINE Changes ChangesOfPairs(VWords cb, VWords cr) {
  const Parts parts = PartsOf(cb, cr);
  return {ChangeOfPairs(parts.r), ChangeOfPairs(parts.g), ChangeOfPairs(parts.b)};
}

// Of words that stand for one pixel each, block by block in two vectors.
HWY_INLINE Change ChangeOfBlocks(VShorts part0, VShorts part1) {
  const VShorts zero = hn::Zero(Shorts());
  return {PackBlocks(part0, part1), PackBlocks(hn::Sub(zero, part0), hn::Sub(zero, part1))};
}
HWY_INLINE Changes ChangesOfBlocks(const Parts& parts0, const Parts& parts1) {
  return {ChangeOfBlocks(parts0.r, parts1.r), ChangeOfBlocks(parts0.g, parts1.g),
          ChangeOfBlocks(parts0.b, parts1.b)};
}
HWY_INLINE Changes ChangesOfBlocks(VWords cb0, VWords cr0, VWords cb1, VWords cr1) {
  return ChangesOfBlocks(PartsOf(cb0, cr0), PartsOf(cb1, cr1));
}

// Rows of chroma, by layout. Load<S>(x) is for kLanes pixels from pixel x on, which is even where
// pixels share samples; From is what follows, Copy takes the samples of a row shorter than that.
struct PlanarRow : lumPlanar {
  template <class S>
  HWY_INLINE Changes Load(size_t x) const {
    const Bytes d;
    if constexpr (S::kX == 2) {
      const hn::Half<Bytes> dh;
      const Words dw;
      return ChangesOfPairs(hn::PromoteTo(dw, hn::LoadU(dh, cb + x / 2)),
                            hn::PromoteTo(dw, hn::LoadU(dh, cr + x / 2)));
    } else {
      const Words dw;
      const VBytes vcb = LoadBytes(cb + x), vcr = LoadBytes(cr + x), zero = hn::Zero(d);
      return ChangesOfBlocks(hn::BitCast(dw, hn::InterleaveLower(d, vcb, zero)),
                             hn::BitCast(dw, hn::InterleaveLower(d, vcr, zero)),
                             hn::BitCast(dw, hn::InterleaveUpper(d, vcb, zero)),
                             hn::BitCast(dw, hn::InterleaveUpper(d, vcr, zero)));
    }
  }
  HWY_INLINE PlanarRow From(size_t sample) const { return {{cb + sample, cr + sample}}; }
  HWY_INLINE PlanarRow Copy(size_t samples, uint8_t (&memory)[2 * kLanes]) const {
    std::memcpy(memory, cb, samples);
    std::memcpy(memory + kLanes, cr, samples);
    return {{memory, memory + kLanes}};
  }
};

template <class Pairs, bool kCrFirst>
struct PairsRow : Pairs {
  template <class S>
  HWY_INLINE Changes Load(size_t x) const {
    const auto first = [](VWords v) LUM_LAMBDA { return hn::And(v, hn::Set(Words(), 255)); };
    const auto second = [](VWords v) LUM_LAMBDA { return hn::ShiftRight<8>(v); };
    if constexpr (S::kX == 2) {
      const VWords v = LoadWords(this->c + x);
      return kCrFirst ? ChangesOfPairs(second(v), first(v)) : ChangesOfPairs(first(v), second(v));
    } else {
      VWords v0 = LoadWords(this->c + 2 * x), v1 = LoadWords(this->c + 2 * x + kLanes);
      SplitBlocks(v0, v1);
      return ChangesOfBlocks(first(v0), second(v0), first(v1), second(v1));
    }
  }
  HWY_INLINE PairsRow From(size_t sample) const { return {{this->c + 2 * sample}}; }
  HWY_INLINE PairsRow Copy(size_t samples, uint8_t (&memory)[2 * kLanes]) const {
    std::memcpy(memory, this->c, 2 * samples);
    return {{memory}};
  }
};
using PseudoPlanarRow = PairsRow<lumPseudoPlanar, false>;
using CrFirstRow = PairsRow<lumCrFirst, true>;

// Pixel formats: kLanes pixels to dst.
struct ToRGB888 : lumRGB888 {
  template <bool kStream>
  static HWY_INLINE void Store(VBytes r, VBytes g, VBytes b, uint8_t* dst) {
    StorePacked3<kStream>(r, g, b, dst);
  }
};
struct ToRGBA8888 : lumRGBA8888 {
  template <bool kStream>
  static HWY_INLINE void Store(VBytes r, VBytes g, VBytes b, uint8_t* dst) {
    StorePacked4<kStream>(r, g, b, hn::Set(Bytes(), 255), dst);
  }
};
struct ToRGB565 : lumRGB565 {
  // The two bytes of each pixel. Shifts go over words; bits of the neighbour are masked out.
  static HWY_INLINE VBytes LowBytes(VBytes g, VBytes b) {
    const Words d;
    const auto shiftedG = hn::ShiftLeft<3>(hn::BitCast(d, g));
    const auto shiftedB = hn::ShiftRight<3>(hn::BitCast(d, b));
    return hn::BitCast(Bytes(), hn::Or(hn::And(shiftedG, hn::Set(d, 0xE0E0)),
                                       hn::And(shiftedB, hn::Set(d, 0x1F1F))));
  }
  static HWY_INLINE VBytes HighBytes(VBytes r, VBytes g) {
    const Words d;
    const auto shiftedG = hn::ShiftRight<5>(hn::BitCast(d, g));
    return hn::BitCast(Bytes(), hn::Or(hn::And(hn::BitCast(d, r), hn::Set(d, 0xF8F8)),
                                       hn::And(shiftedG, hn::Set(d, 0x0707))));
  }
  template <bool kStream>
  static HWY_INLINE void Store(VBytes r, VBytes g, VBytes b, uint8_t* dst) {
    StorePacked2<kStream>(LowBytes(g, b), HighBytes(r, g), dst);
  }
};

// Where pixels of a row go: in order, or turned, the first one last.
struct InOrder {
  template <class Format, bool kStream>
  static HWY_INLINE void Store(VBytes r, VBytes g, VBytes b, uint8_t* dst, size_t x, size_t) {
    Format::template Store<kStream>(r, g, b, dst + x * Format::kBytes);
  }
  static HWY_INLINE size_t Place(size_t x, size_t, size_t) { return x; }
  template <class Format>
  static HWY_INLINE size_t FirstAlignedPixel(const uint8_t* dst, size_t) {
    return FirstAligned<Format::kBytes>(dst);
  }
};
struct Turned {
  template <class Format, bool kStream>
  static HWY_INLINE void Store(VBytes r, VBytes g, VBytes b, uint8_t* dst, size_t x, size_t width) {
    const auto turn = [](VBytes v) LUM_LAMBDA {
      const VWords words = hn::Reverse(Words(), hn::BitCast(Words(), v));
      return hn::BitCast(Bytes(), hn::Or(hn::ShiftLeft<8>(words), hn::ShiftRight<8>(words)));
    };
    Format::template Store<kStream>(turn(r), turn(g), turn(b),
                                    dst + (width - kLanes - x) * Format::kBytes);
  }
  static HWY_INLINE size_t Place(size_t x, size_t width, size_t count) { return width - count - x; }
  template <class Format>
  static HWY_INLINE size_t FirstAlignedPixel(const uint8_t* dst, size_t width) {
    static_assert(Format::kBytes == 2 || Format::kBytes == 4);
    return reinterpret_cast<uintptr_t>(dst + width * Format::kBytes) % kLanes / Format::kBytes;
  }
};

// Rows that share a row of chroma.
template <class S, class Format, class Order, class Chroma>
struct ToRgbRows {
  const uint8_t* y[S::kY];
  uint8_t* dst[S::kY];
  Chroma chroma;
  size_t width;

  template <bool kStream>
  HWY_INLINE void Vector(size_t x) const {
    const Changes changes = chroma.template Load<S>(x);
    for (size_t k = 0; k < S::kY; ++k) {
      const VBytes v = LoadBytes(y[k] + x);
      Order::template Store<Format, kStream>(changes.r(v), changes.g(v), changes.b(v), dst[k], x,
                                             width);
    }
  }

  // The last pixel of an odd row where pixels share samples.
  HWY_INLINE void LastPixel() const {
    const size_t x = width - 1;
    for (size_t k = 0; k < S::kY; ++k) {
      const lumYcc pixel = {y[k][x], chroma.cbAt(x / S::kX), chroma.crAt(x / S::kX)};
      Format::write(dst[k] + Order::Place(x, width, 1) * Format::kBytes, lumToRgb(pixel));
    }
  }

  // A row shorter than a vector goes through memory that is long enough.
  HWY_NOINLINE void Short() const {
    uint8_t luma[S::kY][kLanes] = {}, samples[2 * kLanes] = {};
    uint8_t pixels[S::kY][kLanes * Format::kBytes];
    ToRgbRows padded = {{}, {}, chroma.Copy((width + S::kX - 1) / S::kX, samples), kLanes};
    for (size_t k = 0; k < S::kY; ++k) {
      std::memcpy(luma[k], y[k], width);
      padded.y[k] = luma[k];
      padded.dst[k] = pixels[k];
    }
    padded.template Vector<false>(0);
    const size_t place = Order::Place(0, kLanes, width);
    for (size_t k = 0; k < S::kY; ++k) {
      std::memcpy(dst[k], pixels[k] + place * Format::kBytes, width * Format::kBytes);
    }
  }

  // `count` pixels from pixel x on, which is even where pixels share samples.
  HWY_INLINE ToRgbRows Part(size_t x, size_t count) const {
    ToRgbRows part = {{}, {}, chroma.From(x / S::kX), count};
    for (size_t k = 0; k < S::kY; ++k) {
      part.y[k] = y[k] + x;
      part.dst[k] = dst[k] + Order::Place(x, width, count) * Format::kBytes;
    }
    return part;
  }

  // The first pixel, even where pixels share samples, from which on stores to all rows are aligned;
  // kLanes where there is none.
  HWY_INLINE size_t Aligned() const {
    const size_t x = Order::template FirstAlignedPixel<Format>(dst[0], width);
    if (x % S::kX != 0 || x >= kLanes || x + kLanes > width) return kLanes;
    for (uint8_t* row : dst) {
      const uint8_t* first = row + Order::Place(x, width, kLanes) * Format::kBytes;
      if (reinterpret_cast<uintptr_t>(first) % kLanes != 0) return kLanes;
    }
    return x;
  }

  // Past the cache aligned vectors only: the pixels around them go through own memory, since
  // a line that is stored in both ways is slow.
  HWY_INLINE void Stream(size_t x) const {
    if (x) Part(0, x).Short();
    for (; x + kLanes <= width; x += kLanes) {
      for (const uint8_t* row : y) FetchAhead(row + x);
      Vector<true>(x);
    }
    if (x < width) Part(x, width - x).Short();
  }

  // Vectors overlap where the rest of a row is shorter than one.
  HWY_INLINE void Convert(bool stream) const {
    if (width < kLanes) {
      Short();
      return;
    }
    size_t x = Aligned();
    if (stream && x < kLanes && width >= 4 * kLanes) {
      Stream(x);
      return;
    }
    const size_t end = width - width % S::kX;
    if (x) Vector<false>(0);
    for (; x + kLanes <= end; x += kLanes) Vector<false>(x);
    if (x < end) Vector<false>(end - kLanes);
    if (end < width) LastPixel();
  }
};

// An image. `chromaRow(group)` gives a row of chroma, `dstRow(y)` a row of pixels. Rows without
// gaps between them are one long row, which `isPacked` says of all but Y.
template <class S, class Format, class Order, class ChromaRow, class DstRow>
HWY_INLINE void ToRgbImage(const uint8_t* srcY, uint32_t width, uint32_t height,
                           uint32_t srcYStride, bool isPacked, const ChromaRow& chromaRow,
                           const DstRow& dstRow) {
  if (S::kX > 1) lumRequirePair(width);
  const uint64_t pixels = uint64_t{width} * height;
  const bool stream = ShouldStream(pixels * (Format::kBytes + 1) + pixels * 2 / (S::kX * S::kY));
  const bool isRow = S::kY == 1 && isPacked && srcYStride == width && width % S::kX == 0;
  const uint32_t groups = isRow ? 1 : S::groups(height);
  for (uint32_t group = 0; group < groups; ++group) {
    ToRgbRows<S, Format, Order, decltype(chromaRow(group))> rows = {
        {}, {}, chromaRow(group), isRow ? size_t{width} * height : width};
    for (uint32_t k = 0; k < S::kY; ++k) {
      rows.y[k] = lumRowAt(srcY, group * S::kY + k, srcYStride);
      rows.dst[k] = dstRow(group * S::kY + k);
    }
    rows.Convert(stream);
  }
  if (stream) hwy::FlushStream();
}

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_COLOR_TO_RGB_INL_H
