// Conversions between YCbCr layouts, vector.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vorta/lumenColorLayoutV.cpp"
#include <hwy/foreach_target.h>  // compiles this file once for each instruction set
// Must come after foreach_target.h.
#include <hwy/highway.h>

#include "lumenColorFormat.h"
#include "lumenVector.h"
#include "vorta/lumenByteVectors-inl.h"
#include "vorta/lumenColorRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {
namespace {

// Two vectors in the order of their elements.
struct TwoVectors {
  VBytes first, second;
};

// Elements of type T of two vectors by turns.
template <class T>
HWY_INLINE TwoVectors Interleave(VBytes a, VBytes b) {
  const hn::Repartition<T, Bytes> d;
  a = InterleavingOrder(a);
  b = InterleavingOrder(b);
  const auto va = hn::BitCast(d, a), vb = hn::BitCast(d, b);
  return {hn::BitCast(Bytes(), hn::InterleaveLower(d, va, vb)),
          hn::BitCast(Bytes(), hn::InterleaveUpper(d, va, vb))};
}

// How many samples become one, or one becomes how many, on the way from a layout to another.
template <class From, class To>
struct Resampling {
  static constexpr uint32_t kAcross =
      From::kPixelsAcross < To::kPixelsAcross ? To::kPixelsAcross / From::kPixelsAcross : 1;
  static constexpr uint32_t kDown =
      From::kPixelsDown < To::kPixelsDown ? To::kPixelsDown / From::kPixelsDown : 1;
  static constexpr uint32_t kRepeatAcross =
      From::kPixelsAcross > To::kPixelsAcross ? From::kPixelsAcross / To::kPixelsAcross : 1;
  static constexpr uint32_t kRepeatDown =
      From::kPixelsDown > To::kPixelsDown ? From::kPixelsDown / To::kPixelsDown : 1;
};

HWY_INLINE VBytes Load(const uint8_t* from, size_t vector = 0) {
  return hn::LoadU(Bytes(), from + vector * BlockLength());
}

// The mean of kCount values from their sums in words, rounded half up.
template <size_t kCount>
HWY_INLINE VWords Mean(VWords sum) {
  static_assert(kCount == 2 || kCount == 4);
  const VWords half = hn::Set(Words(), kCount / 2);
  return hn::ShiftRight<kCount / 2>(hn::Add(sum, half));
}
// The low halves of groups of four bytes.
HWY_INLINE VBytes LowWords(VQuads lo, VQuads hi) {
  return hn::BitCast(Bytes(),
                     hn::ConcatEven(Words(), hn::BitCast(Words(), hi), hn::BitCast(Words(), lo)));
}

// As many samples of a plane of one component as a block has. `rows` are the R rows of means.
template <class R, size_t kRows>
HWY_INLINE VBytes LoadSamples(const uint8_t* const (&rows)[kRows]) {
  static_assert(kRows == R::kDown);
  if constexpr (R::kAcross == 1) {
    const VBytes samples = Load(rows[0]);
    if constexpr (kRows == 1) return samples;
    else return hn::AverageRound(samples, Load(rows[kRows - 1]));
  } else {
    VWords mean[2];
    for (size_t v = 0; v < 2; ++v) {
      VWords sum = hn::Zero(Words());
      for (const uint8_t* row : rows) sum = hn::Add(sum, SumsOfPairs(Load(row, v)));
      mean[v] = Mean<2 * kRows>(sum);
    }
    return BytesOfWords(mean[0], mean[1]);
  }
}

// The same of a plane of pairs.
template <class R, size_t kRows>
HWY_INLINE TwoVectors LoadPairs(const uint8_t* const (&rows)[kRows]) {
  static_assert(kRows == R::kDown);
  if constexpr (R::kAcross == 1) {
    const TwoVectors pairs = {Load(rows[0]), Load(rows[0], 1)};
    if constexpr (kRows == 1) return pairs;
    else
      return {hn::AverageRound(pairs.first, Load(rows[kRows - 1])),
              hn::AverageRound(pairs.second, Load(rows[kRows - 1], 1))};
  } else {
    // A group of four bytes holds two pairs; their mean comes into its low half.
    VQuads mean[4];
    for (size_t v = 0; v < 4; ++v) {
      VWords cb = hn::Zero(Words()), cr = cb;
      for (const uint8_t* row : rows) {
        const VBytes pairs = Load(row, v);
        cb = hn::Add(cb, EvenBytes(pairs));
        cr = hn::Add(cr, OddBytes(pairs));
      }
      const auto together = [](VWords c) LUM_LAMBDA {
        const VQuads quads = hn::BitCast(Quads(), c);
        return Mean<2 * kRows>(hn::BitCast(Words(), hn::Add(quads, hn::ShiftRight<16>(quads))));
      };
      mean[v] = hn::BitCast(Quads(), hn::Or(together(cb), hn::ShiftLeft<8>(together(cr))));
    }
    return {LowWords(mean[0], mean[1]), LowWords(mean[2], mean[3])};
  }
}

// Stores samples of type T, each R::kRepeatAcross times.
template <class R, class T, bool kStream>
HWY_INLINE void StoreRepeated(VBytes samples, uint8_t* to) {
  if constexpr (R::kRepeatAcross == 1) {
    StoreBytes<kStream>(samples, to);
  } else {
    const TwoVectors twice = Interleave<T>(samples, samples);
    StoreBytes<kStream>(twice.first, to);
    StoreBytes<kStream>(twice.second, to + BlockLength());
  }
}
template <class R, bool kStream>
HWY_INLINE void StorePairs(const TwoVectors& pairs, uint8_t* to) {
  StoreRepeated<R, uint16_t, kStream>(pairs.first, to);
  StoreRepeated<R, uint16_t, kStream>(pairs.second, to + R::kRepeatAcross * BlockLength());
}

// One row of chroma samples of the destination, in groups that are one sample of the coarser of
// both layouts across. Sources are the rows of means, of Cb first where it has a plane of its own.
template <class From, class To, size_t kPlanesTogether>
struct ChromaOp {
  using R = Resampling<From, To>;
  static constexpr size_t kRows = R::kDown;
  static constexpr size_t kSources = kRows * (From::kIsPseudo ? 1 : kPlanesTogether);
  static constexpr size_t kDestinations = To::kIsPseudo ? 1 : kPlanesTogether;
  static constexpr size_t kSrcBytes = From::kSampleBytes * R::kAcross;
  static constexpr size_t kDstBytes = To::kSampleBytes * R::kRepeatAcross;
  static constexpr bool kInPlace = false;

  template <bool kStream>
  HWY_INLINE void block(const BlockRows<ChromaOp>& at) const {
    if constexpr (!From::kIsPseudo && !To::kIsPseudo) {
      StoreRepeated<R, uint8_t, kStream>(LoadSamples<R>(at.src), at.dst[0]);
    } else if constexpr (!From::kIsPseudo) {
      const uint8_t *cb[kRows], *cr[kRows];
      for (size_t k = 0; k < kRows; ++k) {
        cb[k] = at.src[k];
        cr[k] = at.src[kRows + k];
      }
      StorePairs<R, kStream>(Interleave<uint8_t>(LoadSamples<R>(cb), LoadSamples<R>(cr)),
                             at.dst[0]);
    } else if constexpr (To::kIsPseudo) {
      StorePairs<R, kStream>(LoadPairs<R>(at.src), at.dst[0]);
    } else {
      const TwoVectors pairs = LoadPairs<R>(at.src);
      StoreRepeated<R, uint8_t, kStream>(hn::ConcatEven(Bytes(), pairs.second, pairs.first),
                                         at.dst[0]);
      StoreRepeated<R, uint8_t, kStream>(hn::ConcatOdd(Bytes(), pairs.second, pairs.first),
                                         at.dst[1]);
    }
  }
};

// What an odd width leaves over: a last group of one pixel. Means are those of a column, and
// nothing is repeated.
template <class Op>
HWY_INLINE void LastColumn(const BlockRows<Op>& at) {
  uint8_t component[2];
  const auto mean = [&](const uint8_t* const* rows, size_t offset) LUM_LAMBDA {
    uint32_t sum = Op::kRows / 2;
    for (size_t k = 0; k < Op::kRows; ++k) sum += rows[k][offset];
    return static_cast<uint8_t>(sum / Op::kRows);
  };
  constexpr bool kHasPairs = Op::kSrcBytes / Op::R::kAcross == 2;
  constexpr size_t kComponents = kHasPairs ? 2 : Op::kSources / Op::kRows;
  for (size_t k = 0; k < kComponents; ++k) {
    component[k] = kHasPairs ? mean(at.src, k) : mean(at.src + k * Op::kRows, 0);
  }
  for (size_t k = 0; k < kComponents; ++k) {
    uint8_t* const to = Op::kDestinations == kComponents ? at.dst[k] : at.dst[0] + k;
    *to = component[k];
  }
}

using Source = lumColor::Planes<const uint8_t>;
using Destination = lumColor::Planes<uint8_t>;

// The chroma planes that Op takes together, the one with the number `plane` first.
template <class From, class To, size_t kPlanesTogether>
HWY_INLINE void ConvertChroma(const Source& src, uint32_t width, uint32_t height,
                              const Destination& dst, size_t plane, uint64_t bytes) {
  using Op = ChromaOp<From, To, kPlanesTogether>;
  using R = typename Op::R;
  constexpr bool kResamplesAcross = From::kPixelsAcross != To::kPixelsAcross;
  constexpr bool kResamplesDown = From::kPixelsDown != To::kPixelsDown;
  const uint32_t lastRow = From::rows(height) - 1;
  const bool odd = kResamplesAcross && width % 2;
  const size_t groups = kResamplesAcross ? width / 2 : From::columns(width);
  bool packed = !kResamplesDown && !odd;
  constexpr size_t kSrcPlanes = Op::kSources / R::kDown;
  for (size_t k = 0; k < kSrcPlanes; ++k) {
    packed &= src.chromaStride[plane + k] == groups * Op::kSrcBytes;
  }
  for (size_t k = 0; k < Op::kDestinations; ++k) {
    packed &= dst.chromaStride[plane + k] == groups * Op::kDstBytes;
  }
  const RowShape shape = ShapeOfBlocks(groups, To::rows(height), packed, bytes);
  ForRows(shape, [&](uint32_t y) LUM_LAMBDA {
    BlockRows<Op> rows;
    for (size_t k = 0; k < Op::kSources; ++k) {
      const size_t p = plane + k / R::kDown;
      const uint32_t row = y * R::kDown / R::kRepeatDown + static_cast<uint32_t>(k % R::kDown);
      rows.src[k] = lumRowAt(src.chroma[p], HWY_MIN(row, lastRow), src.chromaStride[p]);
    }
    for (size_t k = 0; k < Op::kDestinations; ++k) {
      rows.dst[k] = lumRowAt(dst.chroma[plane + k], y, dst.chromaStride[plane + k]);
    }
    if (shape.count) ConvertRow(Op(), rows, shape.count, shape.stream);
    if (odd) LastColumn<Op>(rows.at(groups));
  });
}

struct Copy : PackedOp<1, 1> {
  template <bool kStream>
  HWY_INLINE void block(const BlockRows<Copy>& at) const {
    StoreBytes<kStream>(Load(at.src[0]), at.dst[0]);
  }
};

template <class From, class To>
void ConvertLayout(const Source& src, uint32_t width, uint32_t height, const Destination& dst) {
  const uint64_t chroma = From::rowBytes(width) * From::kPlanes * From::rows(height) +
                          To::rowBytes(width) * To::kPlanes * To::rows(height);
  const uint64_t bytes = uint64_t{width} * 2 * height + chroma;
  const RowShape shape =
      ShapeOfBlocks(width, height, src.yStride == width && dst.yStride == width, bytes);
  ForRows(shape, [&](uint32_t y) LUM_LAMBDA {
    const BlockRows<Copy> rows = {{lumRowAt(src.y, y, src.yStride)},
                                  {lumRowAt(dst.y, y, dst.yStride)}};
    if (shape.stream) ConvertRow(Copy(), rows, shape.count, true);
    else __builtin_memcpy(rows.dst[0], rows.src[0], shape.count);
  });
  if constexpr (From::kIsPseudo || To::kIsPseudo) {
    ConvertChroma<From, To, 2>(src, width, height, dst, 0, bytes);
  } else {
    ConvertChroma<From, To, 1>(src, width, height, dst, 0, bytes);
    ConvertChroma<From, To, 1>(src, width, height, dst, 1, bytes);
  }
}

// The arguments of the four kinds of functions as planes.
template <class From, class To>
struct Function {
  static void PlanarToPlanar(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr,
                             uint32_t width, uint32_t height, uint32_t srcYStride,
                             uint32_t srcCbStride, uint32_t srcCrStride, uint8_t* dstY,
                             uint8_t* dstCb, uint8_t* dstCr, uint32_t dstYStride,
                             uint32_t dstCbStride, uint32_t dstCrStride) {
    ConvertLayout<From, To>({srcY, srcYStride, {srcCb, srcCr}, {srcCbStride, srcCrStride}}, width,
                            height, {dstY, dstYStride, {dstCb, dstCr}, {dstCbStride, dstCrStride}});
  }
  static void PlanarToPseudo(const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr,
                             uint32_t width, uint32_t height, uint32_t srcYStride,
                             uint32_t srcCbStride, uint32_t srcCrStride, uint8_t* dstY,
                             uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride) {
    ConvertLayout<From, To>({srcY, srcYStride, {srcCb, srcCr}, {srcCbStride, srcCrStride}}, width,
                            height, {dstY, dstYStride, {dstC}, {dstCStride}});
  }
  static void PseudoToPlanar(const uint8_t* srcY, const uint8_t* srcC, uint32_t width,
                             uint32_t height, uint32_t srcYStride, uint32_t srcCStride,
                             uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t dstYStride,
                             uint32_t dstCbStride, uint32_t dstCrStride) {
    ConvertLayout<From, To>({srcY, srcYStride, {srcC}, {srcCStride}}, width, height,
                            {dstY, dstYStride, {dstCb, dstCr}, {dstCbStride, dstCrStride}});
  }
  static void PseudoToPseudo(const uint8_t* srcY, const uint8_t* srcC, uint32_t width,
                             uint32_t height, uint32_t srcYStride, uint32_t srcCStride,
                             uint8_t* dstY, uint8_t* dstC, uint32_t dstYStride,
                             uint32_t dstCStride) {
    ConvertLayout<From, To>({srcY, srcYStride, {srcC}, {srcCStride}}, width, height,
                            {dstY, dstYStride, {dstC}, {dstCStride}});
  }
};

struct SwapPairs : PackedOp<2, 2> {
  template <bool kStream>
  HWY_INLINE void block(const BlockRows<SwapPairs>& at) const {
    const auto swapped = [](VBytes pairs) LUM_LAMBDA {
      const VWords w = hn::BitCast(Words(), pairs);
      return hn::BitCast(Bytes(), hn::Or(hn::ShiftLeft<8>(w), hn::ShiftRight<8>(w)));
    };
    const VBytes first = swapped(Load(at.src[0])), second = swapped(Load(at.src[0], 1));
    StoreBytes<kStream>(first, at.dst[0]);
    StoreBytes<kStream>(second, at.dst[0] + BlockLength());
  }
};

}  // namespace

#define LUM_COLOR_PLANAR_TO_PLANAR(name, From, To) \
  LUM_KERNEL(name) = Function<lumColor::From, lumColor::To>::PlanarToPlanar;
#define LUM_COLOR_PLANAR_TO_PSEUDO(name, From, To) \
  LUM_KERNEL(name) = Function<lumColor::From, lumColor::To>::PlanarToPseudo;
#define LUM_COLOR_PSEUDO_TO_PLANAR(name, From, To) \
  LUM_KERNEL(name) = Function<lumColor::From, lumColor::To>::PseudoToPlanar;
#define LUM_COLOR_PSEUDO_TO_PSEUDO(name, From, To) \
  LUM_KERNEL(name) = Function<lumColor::From, lumColor::To>::PseudoToPseudo;
#include "lumenColorLayout.def"
LUM_KERNEL(lumColorCbCrSwapu8) = PackedRows<SwapPairs>;

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#define LUM_COLOR_LAYOUT(name, From, To) LUM_VECTOR(name);
#include "lumenColorLayout.def"
LUM_VECTOR(lumColorCbCrSwapu8);
#endif  // HWY_ONCE
