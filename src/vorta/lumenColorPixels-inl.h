// Blocks of packed RGB pixels in vectors: as many pixels as a vector has bytes.
//
// ARM has instructions that take interleaved channels apart and put them together, so that a block
// is a vector of each channel. On x86 a block is four vectors of pixels of four bytes; pixels of
// three bytes are spread and closed up by shuffles of bytes within 16 and of groups of 4 across a
// vector. Reads and writes are exactly those of the block's pixels.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_COLOR_PIXELS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_COLOR_PIXELS_INL_H
#undef LUMEN_COLOR_PIXELS_INL_H
#else
#define LUMEN_COLOR_PIXELS_INL_H
#endif

#include <hwy/highway.h>

#include "vorta/lumenPackedPixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

// Channels of 565 pixels as bytes, each in the low half of a word.
struct Channels565 {
  VWords high, middle, low;
  HWY_INLINE explicit Channels565(VBytes pixels) {
    const VWords x = hn::BitCast(Words(), pixels);
    // A product's high half: 5 bits times 8.25, 6 bits times 4.0625.
    high = hn::MulHigh(hn::And(x, hn::Set(Words(), 0xF800)), hn::Set(Words(), 264));
    middle = hn::MulHigh(hn::And(x, hn::Set(Words(), 0x07E0)), hn::Set(Words(), 8320));
    low = hn::MulHigh(hn::ShiftLeft<11>(x), hn::Set(Words(), 264));
  }
};

#if HWY_ARCH_X86

constexpr size_t kGroups = kMaxBlock / 4;  // of 4 bytes in a vector

// The same shuffle within every 16 bytes.
HWY_INLINE VBytes Shuffle(VBytes v, const uint8_t (&from)[16]) {
  return hn::TableLookupBytes(v, hn::LoadDup128(Bytes(), from));
}
HWY_INLINE VBytes ShuffleGroups(VBytes v, const int32_t (&from)[kGroups]) {
  const VQuads groups = hn::BitCast(Quads(), v);
  return hn::BitCast(Bytes(), hn::TableLookupLanes(groups, hn::SetTableIndices(Quads(), from)));
}

// Three groups to the first three of every four, from group `from` on.
struct SpreadOrder {
  alignas(64) int32_t group[kGroups];
  constexpr explicit SpreadOrder(int32_t from) : group() {
    for (int32_t i = 0; i < int32_t{kGroups}; ++i) {
      group[i] = from + i / 4 * 3 + (i % 4 < 3 ? i % 4 : 0);
    }
  }
};
// The inverse, with the first group at 3/4 of a vector times `k`, around the end.
struct CloseUpOrder {
  alignas(64) int32_t group[kGroups];
  constexpr explicit CloseUpOrder(int32_t k) : group() {
    constexpr int32_t kAll = int32_t{kGroups}, kFilled = kAll / 4 * 3;
    for (int32_t i = 0; i < kAll; ++i) {
      const int32_t at = (i + kAll * k - kFilled * k) % kAll;
      group[i] = at < kFilled ? at / 3 * 4 + at % 3 : 0;
    }
  }
};
inline constexpr SpreadOrder kSpread(0), kSpreadLast(kGroups / 4);
inline constexpr CloseUpOrder kCloseUp[4] = {CloseUpOrder(0), CloseUpOrder(1), CloseUpOrder(2),
                                             CloseUpOrder(3)};

// The k-th quarter of a block's pixels of three bytes, four of them in the first 12 of every 16
// bytes. The last quarter is read with the bytes before it instead of those after it.
template <size_t k>
HWY_INLINE VBytes LoadSpread(const uint8_t* from) {
  const size_t N = BlockLength();
  const VBytes v = hn::LoadU(Bytes(), from + (k == 3 ? 2 * N : k * (N / 4 * 3)));
  return ShuffleGroups(v, k == 3 ? kSpreadLast.group : kSpread.group);
}

// Closes up four vectors with 12 bytes in every 16.
template <bool kStream>
HWY_INLINE void StoreClosedUp(VBytes v0, VBytes v1, VBytes v2, VBytes v3, uint8_t* to) {
  const size_t N = BlockLength(), quarter = kGroups / 4;
  const auto firstOf = [](size_t groups, VBytes a, VBytes b) LUM_LAMBDA {
    return hn::IfThenElse(hn::FirstN(Bytes(), 4 * groups), a, b);
  };
  v0 = ShuffleGroups(v0, kCloseUp[0].group);
  v1 = ShuffleGroups(v1, kCloseUp[1].group);
  v2 = ShuffleGroups(v2, kCloseUp[2].group);
  v3 = ShuffleGroups(v3, kCloseUp[3].group);
  StoreBytes<kStream>(firstOf(3 * quarter, v0, v1), to);
  StoreBytes<kStream>(firstOf(2 * quarter, v1, v2), to + N);
  StoreBytes<kStream>(firstOf(quarter, v2, v3), to + 2 * N);
}

struct Pixels {
  VBytes v[4];

  // Loads pixels, R and B exchanged on demand; alpha is 255 where there is none.
  template <size_t kBytes, bool kExchange>
  static HWY_INLINE Pixels Load(const uint8_t* from) {
    const size_t N = BlockLength();
    Pixels p;
    if constexpr (kBytes == 4) {
      alignas(16) constexpr uint8_t kExchanged[16] = {2,  1, 0, 3,  6,  5,  4,  7,
                                                      10, 9, 8, 11, 14, 13, 12, 15};
      for (size_t k = 0; k < 4; ++k) {
        p.v[k] = hn::LoadU(Bytes(), from + k * N);
        if constexpr (kExchange) p.v[k] = Shuffle(p.v[k], kExchanged);
      }
    } else if constexpr (kBytes == 3) {
      alignas(16) constexpr uint8_t kAsIs[16] = {0, 1, 2, 12, 3, 4,  5,  12,
                                                 6, 7, 8, 12, 9, 10, 11, 12};
      alignas(16) constexpr uint8_t kExchanged[16] = {2, 1, 0, 12, 5,  4,  3, 12,
                                                      8, 7, 6, 12, 11, 10, 9, 12};
      const VBytes alpha = hn::BitCast(Bytes(), hn::Set(Quads(), 0xFF000000u));
      p.v[0] = LoadSpread<0>(from);
      p.v[1] = LoadSpread<1>(from);
      p.v[2] = LoadSpread<2>(from);
      p.v[3] = LoadSpread<3>(from);
      for (VBytes& v : p.v) v = hn::Or(Shuffle(v, kExchange ? kExchanged : kAsIs), alpha);
    } else {
      p.load565<kExchange>(from, 0);
      p.load565<kExchange>(from + N, 2);
    }
    return p;
  }

  template <size_t kBytes, bool kStream>
  HWY_INLINE void store(uint8_t* to) const {
    const size_t N = BlockLength();
    if constexpr (kBytes == 4) {
      for (size_t k = 0; k < 4; ++k) StoreBytes<kStream>(v[k], to + k * N);
    } else if constexpr (kBytes == 3) {
      alignas(16) constexpr uint8_t kThree[16] = {0,  1,  2,  4,  5,  6,  8,  9,
                                                  10, 12, 13, 14, 15, 15, 15, 15};
      StoreClosedUp<kStream>(Shuffle(v[0], kThree), Shuffle(v[1], kThree), Shuffle(v[2], kThree),
                             Shuffle(v[3], kThree), to);
    } else {
      StoreBytes<kStream>(to565(v[0], v[1]), to);
      StoreBytes<kStream>(to565(v[2], v[3]), to + N);
    }
  }

 private:
  // Interleaving works within 16 bytes: the halves that come together have to be there before.
  template <bool kExchange>
  HWY_INLINE void load565(const uint8_t* from, size_t k) {
    const Channels565 c(InterleavingOrder(hn::LoadU(Bytes(), from)));
    const VWords first = kExchange ? c.low : c.high, third = kExchange ? c.high : c.low;
    const VWords lower = hn::Or(first, hn::ShiftLeft<8>(c.middle));
    const VWords upper = hn::Or(third, hn::Set(Words(), 0xFF00));
    v[k] = hn::BitCast(Bytes(), hn::InterleaveLower(Words(), lower, upper));
    v[k + 1] = hn::BitCast(Bytes(), hn::InterleaveUpper(Words(), lower, upper));
  }

  static HWY_INLINE VBytes to565(VBytes lower, VBytes upper) {
    const auto words = [](VBytes pixels) LUM_LAMBDA {
      const VQuads x = hn::BitCast(Quads(), pixels);
      const VQuads r = hn::ShiftLeft<8>(hn::And(x, hn::Set(Quads(), 0xF8)));
      const VQuads g = hn::And(hn::ShiftRight<5>(x), hn::Set(Quads(), 0x7E0));
      const VQuads b = hn::And(hn::ShiftRight<19>(x), hn::Set(Quads(), 0x1F));
      return hn::BitCast(Words(), hn::Or(hn::Or(r, g), b));
    };
    return hn::BitCast(Bytes(), hn::ConcatEven(Words(), words(upper), words(lower)));
  }
};

// One channel to a byte a pixel.
struct ChannelOrder {
  alignas(64) int32_t group[kGroups];
  constexpr ChannelOrder() : group() {
    constexpr int32_t kSixteens = int32_t{kGroups} / 4;
    for (int32_t i = 0; i < int32_t{kGroups}; ++i) group[i] = i % kSixteens * 4 + i / kSixteens;
  }
};
inline constexpr ChannelOrder kChannelOrder;

template <bool kStream>
HWY_INLINE void StoreChannel(VBytes v, uint8_t* to) {
  StoreBytes<kStream>(ShuffleGroups(v, kChannelOrder.group), to);
}

// (77 R + 150 G + 29 B + 128) >> 8 of a block of pixels of three bytes, in the order of channels.
// Weights are the unsigned bytes; taking 128 from each channel makes it a signed one.
HWY_INLINE VBytes LoadLuma(const uint8_t* from) {
  alignas(16) constexpr uint8_t kPairs[16] = {0, 1, 3, 4, 6, 7, 9, 10, 2, 12, 5, 12, 8, 12, 11, 12};
  alignas(16) constexpr uint8_t kWeights[16] = {77, 150, 77, 150, 77, 150, 77, 150,
                                                29, 0,   29, 0,   29, 0,   29, 0};
  using Pairs = hn::Repartition<uint64_t, Bytes>;
  const auto sums = [&](VBytes spread) LUM_LAMBDA {
    const VBytes weights = hn::LoadDup128(Bytes(), kWeights);
    const VBytes centred = hn::Xor(Shuffle(spread, kPairs), hn::Set(Bytes(), 0x80));
    return hn::BitCast(Pairs(), PairSums(weights, centred));
  };
  const auto luma = [](auto a, auto b) LUM_LAMBDA {
    const VWords redGreen = hn::BitCast(Words(), hn::InterleaveLower(Pairs(), a, b));
    const VWords blue = hn::BitCast(Words(), hn::InterleaveUpper(Pairs(), a, b));
    const VWords back = hn::Set(Words(), 256 * 128 + 128);
    return hn::ShiftRight<8>(hn::Add(hn::Add(redGreen, blue), back));
  };
  return PackBlocks(luma(sums(LoadSpread<0>(from)), sums(LoadSpread<1>(from))),
                    luma(sums(LoadSpread<2>(from)), sums(LoadSpread<3>(from))));
}

// Four vectors of pixels of four bytes to three bytes a pixel.
template <bool kStream>
HWY_INLINE void StoreThreeOfFour(const VQuads (&quads)[4], uint8_t* to) {
  Pixels pixels;
  for (size_t k = 0; k < 4; ++k) pixels.v[k] = hn::BitCast(Bytes(), quads[k]);
  pixels.template store<3, kStream>(to);
}

#else  // HWY_ARCH_X86

struct Pixels {
  VBytes r, g, b, a;

  HWY_INLINE Pixels() {}  // NOLINT: the compiler's own is not for the instruction set

  template <size_t kBytes, bool kExchange>
  static HWY_INLINE Pixels Load(const uint8_t* from) {
    Pixels p;
    p.a = hn::Set(Bytes(), 255);
    if constexpr (kBytes == 4) {
      hn::LoadInterleaved4(Bytes(), from, p.r, p.g, p.b, p.a);
    } else if constexpr (kBytes == 3) {
      hn::LoadInterleaved3(Bytes(), from, p.r, p.g, p.b);
    } else {
      const Channels565 lower(hn::LoadU(Bytes(), from));
      const Channels565 upper(hn::LoadU(Bytes(), from + BlockLength()));
      p.r = BytesOfWords(lower.high, upper.high);
      p.g = BytesOfWords(lower.middle, upper.middle);
      p.b = BytesOfWords(lower.low, upper.low);
    }
    if constexpr (kExchange) {
      const VBytes r = p.r;
      p.r = p.b;
      p.b = r;
    }
    return p;
  }

  template <size_t kBytes, bool kStream>
  HWY_INLINE void store(uint8_t* to) const {
    if constexpr (kBytes == 4) {
      hn::StoreInterleaved4(r, g, b, a, Bytes(), to);
    } else if constexpr (kBytes == 3) {
      hn::StoreInterleaved3(r, g, b, Bytes(), to);
    } else {
      // As words: R and the highest bits of G, then the rest of G and B.
      const VBytes high = hn::Or(hn::And(r, hn::Set(Bytes(), 0xF8)), hn::ShiftRight<5>(g));
      const VBytes low =
          hn::Or(hn::ShiftLeft<3>(hn::And(g, hn::Set(Bytes(), 0x1C))), hn::ShiftRight<3>(b));
      hn::StoreU(hn::InterleaveLower(low, high), Bytes(), to);
      hn::StoreU(hn::InterleaveUpper(Bytes(), low, high), Bytes(), to + BlockLength());
    }
  }
};

HWY_INLINE VBytes LoadLuma(const uint8_t* from) {
  const Pixels p = Pixels::Load<3, false>(from);
  const hn::Half<Bytes> half;
  const auto luma = [](auto r, auto g, auto b) LUM_LAMBDA {
    const auto weighted = [](auto v, uint16_t weight) LUM_LAMBDA {
      return hn::Mul(hn::PromoteTo(Words(), v), hn::Set(Words(), weight));
    };
    const VWords sum = hn::Add(hn::Add(weighted(r, 77), weighted(g, 150)), weighted(b, 29));
    return hn::ShiftRight<8>(hn::Add(sum, hn::Set(Words(), 128)));
  };
  const VWords lo = luma(hn::LowerHalf(p.r), hn::LowerHalf(p.g), hn::LowerHalf(p.b));
  const VWords hi =
      luma(hn::UpperHalf(half, p.r), hn::UpperHalf(half, p.g), hn::UpperHalf(half, p.b));
  return BytesOfWords(lo, hi);
}
template <bool kStream>
HWY_INLINE void StoreChannel(VBytes v, uint8_t* to) {
  hn::StoreU(v, Bytes(), to);
}
template <bool kStream>
HWY_INLINE void StoreThreeOfFour(const VQuads (&quads)[4], uint8_t* to) {
  const auto lowWords = [](VQuads lo, VQuads hi) LUM_LAMBDA {
    return hn::ConcatEven(Words(), hn::BitCast(Words(), hi), hn::BitCast(Words(), lo));
  };
  const VWords first01 = lowWords(quads[0], quads[1]), first23 = lowWords(quads[2], quads[3]);
  const VWords third01 = lowWords(hn::ShiftRight<16>(quads[0]), hn::ShiftRight<16>(quads[1]));
  const VWords third23 = lowWords(hn::ShiftRight<16>(quads[2]), hn::ShiftRight<16>(quads[3]));
  hn::StoreInterleaved3(BytesOfWords(first01, first23),
                        BytesOfWords(hn::ShiftRight<8>(first01), hn::ShiftRight<8>(first23)),
                        BytesOfWords(third01, third23), Bytes(), to);
}

#endif  // HWY_ARCH_X86

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_COLOR_PIXELS_INL_H
