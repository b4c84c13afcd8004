// Packed pixels of three and four bytes in vectors of any length: to and from a vector for each
// channel. And what that takes: operations that work on each block of 128 bits for itself, which is
// what processors do in one instruction, and permutations of whole blocks.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_PACKED_PIXELS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_PACKED_PIXELS_INL_H
#undef LUMEN_PACKED_PIXELS_INL_H
#else
#define LUMEN_PACKED_PIXELS_INL_H
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

#include "vorta/lumenByteVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

constexpr size_t kBlock = 16;
constexpr size_t kLanes = kMaxBlock, kBlocks = kLanes / kBlock;

HWY_INLINE VBytes LoadBytes(const uint8_t* src) { return hn::LoadU(Bytes(), src); }
HWY_INLINE VWords LoadWords(const uint8_t* src) { return hn::BitCast(Words(), LoadBytes(src)); }

// A channel of kLanes pixels, as bytes, or every second pixel as words.
struct Plane {
  VBytes v;

  HWY_INLINE VBytes All() const { return v; }
  HWY_INLINE VWords Even() const { return hn::And(hn::BitCast(Words(), v), hn::Set(Words(), 255)); }
  HWY_INLINE VWords Odd() const { return hn::ShiftRight<8>(hn::BitCast(Words(), v)); }
};
template <class T>
struct Three {
  T c0, c1, c2;
};

// Block by block: the low words of the double words of a, then those of b.
HWY_INLINE VWords LowWords(VWords a, VWords b) {
#if HWY_ARCH_X86
  const auto words = hn::Set(Quads(), 0xFFFF);
  const auto a32 = hn::And(hn::BitCast(Quads(), a), words);
  const auto b32 = hn::And(hn::BitCast(Quads(), b), words);
#if HWY_TARGET == HWY_AVX3
  return VWords{_mm512_packus_epi32(a32.raw, b32.raw)};
#elif HWY_TARGET == HWY_AVX2
  return VWords{_mm256_packus_epi32(a32.raw, b32.raw)};
#else
  return VWords{_mm_packus_epi32(a32.raw, b32.raw)};
#endif
#else
  return hn::ConcatEven(Words(), b, a);
#endif
}
// The same of their high words.
HWY_INLINE VWords HighWords(VWords a, VWords b) {
#if HWY_ARCH_X86
  const Quads d;
  return LowWords(hn::BitCast(Words(), hn::ShiftRight<16>(hn::BitCast(d, a))),
                  hn::BitCast(Words(), hn::ShiftRight<16>(hn::BitCast(d, b))));
#else
  return hn::ConcatOdd(Words(), b, a);
#endif
}

// Takes the blocks of two vectors in turns apart, and together again.
template <class V>
HWY_INLINE void SplitBlocks(V& a, V& b) {
#if HWY_TARGET == HWY_AVX3
  const auto even = _mm512_shuffle_i64x2(a.raw, b.raw, 0x88);
  b.raw = _mm512_shuffle_i64x2(a.raw, b.raw, 0xDD);
  a.raw = even;
#elif HWY_TARGET == HWY_AVX2
  const auto even = _mm256_permute2x128_si256(a.raw, b.raw, 0x20);
  b.raw = _mm256_permute2x128_si256(a.raw, b.raw, 0x31);
  a.raw = even;
#else
  (void)a, (void)b;
#endif
}
template <class V>
HWY_INLINE void MergeBlocks(V& a, V& b) {
#if HWY_TARGET == HWY_AVX3
  const auto lower = _mm512_set_epi64(11, 10, 3, 2, 9, 8, 1, 0);
  const auto upper = _mm512_set_epi64(15, 14, 7, 6, 13, 12, 5, 4);
  const auto first = _mm512_permutex2var_epi64(a.raw, lower, b.raw);
  b.raw = _mm512_permutex2var_epi64(a.raw, upper, b.raw);
  a.raw = first;
#elif HWY_TARGET == HWY_AVX2
  SplitBlocks(a, b);  // of two blocks the same
#else
  (void)a, (void)b;
#endif
}

#if HWY_ARCH_X86

// 16 packed pixels of three bytes are three blocks. A channel has a byte at each place p of a block
// in just one of them, so that one permutation for each channel puts all its bytes in place, and
// the blocks are blends of the permuted channels.
struct ThreeBytes {
  alignas(64) uint8_t toPacked[3][kLanes];  // of a channel: its pixel for place p
  // Of a channel: the places of its pixels, of its even ones and 0 in turns, of its odd ones.
  alignas(64) uint8_t fromPacked[3][3][kLanes];
  alignas(64) uint8_t place[3][kLanes];  // whether p % 3 is this, as a mask
};
constexpr ThreeBytes kThreeBytes = [] {
  ThreeBytes t = {};
  for (size_t block = 0; block < kLanes; block += kBlock) {
    for (size_t byte = 0; byte < 3 * kBlock; ++byte) {
      const size_t pixel = byte / 3, channel = byte % 3, p = byte % kBlock;
      const auto place = static_cast<uint8_t>(p);
      t.toPacked[channel][block + p] = static_cast<uint8_t>(pixel);
      t.fromPacked[channel][0][block + pixel] = place;
      t.fromPacked[channel][1 + pixel % 2][block + pixel / 2 * 2] = place;
      t.fromPacked[channel][1 + pixel % 2][block + pixel / 2 * 2 + 1] = 0x80;
    }
    for (size_t p = 0; p < kBlock; ++p) t.place[p % 3][block + p] = 0xFF;
  }
  return t;
}();

// Whole vectors: to repeat a block would be another instruction.
HWY_INLINE VBytes BlockTable(const uint8_t (&table)[kLanes]) { return hn::Load(Bytes(), table); }
HWY_INLINE hn::Mask<Bytes> Place(size_t k) {
  return hn::MaskFromVec(BlockTable(kThreeBytes.place[k]));
}

#if HWY_TARGET == HWY_AVX3
// Quads of x and y, then quads of these and z.
HWY_INLINE VBytes PickQuads(VBytes x, VBytes y, VBytes z, __m512i xy, __m512i andZ) {
  const auto two = _mm512_permutex2var_epi64(x.raw, xy, y.raw);
  return VBytes{_mm512_permutex2var_epi64(two, andZ, z.raw)};
}
#endif

// Puts the three blocks of each 16 pixels, first, second and third ones in a vector each, into the
// order of memory.
HWY_INLINE void TriplesToMemory(VBytes (&v)[3]) {
#if HWY_TARGET == HWY_AVX3
  const VBytes a = v[0], b = v[1], c = v[2];
  // a0 b0 c0 a1, b1 c1 a2 b2, c2 a3 b3 c3
  v[0] = PickQuads(a, b, c, _mm512_set_epi64(3, 2, 0, 0, 9, 8, 1, 0),
                   _mm512_set_epi64(7, 6, 9, 8, 3, 2, 1, 0));
  v[1] = PickQuads(b, c, a, _mm512_set_epi64(5, 4, 0, 0, 11, 10, 3, 2),
                   _mm512_set_epi64(7, 6, 13, 12, 3, 2, 1, 0));
  v[2] = PickQuads(c, a, b, _mm512_set_epi64(7, 6, 0, 0, 15, 14, 5, 4),
                   _mm512_set_epi64(7, 6, 15, 14, 3, 2, 1, 0));
#elif HWY_TARGET == HWY_AVX2
  const VBytes a = v[0], b = v[1], c = v[2];
  v[0] = hn::ConcatLowerLower(Bytes(), b, a);
  v[1] = hn::ConcatUpperLower(Bytes(), a, c);
  v[2] = hn::ConcatUpperUpper(Bytes(), c, b);
#else
  (void)v;
#endif
}
// The inverse.
HWY_INLINE void TriplesFromMemory(VBytes (&v)[3]) {
#if HWY_TARGET == HWY_AVX3
  const VBytes a = v[0], b = v[1], c = v[2];
  // Blocks 0 3 6 9, 1 4 7 10, 2 5 8 11
  v[0] = PickQuads(a, b, c, _mm512_set_epi64(0, 0, 13, 12, 7, 6, 1, 0),
                   _mm512_set_epi64(11, 10, 5, 4, 3, 2, 1, 0));
  v[1] = PickQuads(a, b, c, _mm512_set_epi64(0, 0, 15, 14, 9, 8, 3, 2),
                   _mm512_set_epi64(13, 12, 5, 4, 3, 2, 1, 0));
  v[2] = PickQuads(a, b, c, _mm512_set_epi64(0, 0, 0, 0, 11, 10, 5, 4),
                   _mm512_set_epi64(15, 14, 9, 8, 3, 2, 1, 0));
#elif HWY_TARGET == HWY_AVX2
  const VBytes a = v[0], b = v[1], c = v[2];
  v[0] = hn::ConcatUpperLower(Bytes(), b, a);
  v[1] = hn::ConcatLowerUpper(Bytes(), c, a);
  v[2] = hn::ConcatUpperLower(Bytes(), c, b);
#else
  (void)v;
#endif
}

// Block j has channel (p + j) % 3 at place p, since 16 % 3 is 1.
HWY_INLINE VBytes Blend(VBytes atPlace0, VBytes atPlace1, VBytes atPlace2) {
  return hn::IfThenElse(Place(0), atPlace0, hn::IfThenElse(Place(1), atPlace1, atPlace2));
}

// Three channels to packed pixels, kLanes of them.
HWY_INLINE void Interleave3(VBytes c0, VBytes c1, VBytes c2, VBytes (&packed)[3]) {
  const VBytes x0 = hn::TableLookupBytes(c0, BlockTable(kThreeBytes.toPacked[0]));
  const VBytes x1 = hn::TableLookupBytes(c1, BlockTable(kThreeBytes.toPacked[1]));
  const VBytes x2 = hn::TableLookupBytes(c2, BlockTable(kThreeBytes.toPacked[2]));
  packed[0] = Blend(x0, x1, x2);
  packed[1] = Blend(x1, x2, x0);
  packed[2] = Blend(x2, x0, x1);
  TriplesToMemory(packed);
}
template <bool kStream>
HWY_INLINE void StorePacked3(VBytes c0, VBytes c1, VBytes c2, uint8_t* dst) {
  VBytes packed[3];
  Interleave3(c0, c1, c2, packed);
  for (size_t v = 0; v < 3; ++v) StoreBytes<kStream>(packed[v], dst + v * kLanes);
}

// The same of packed pixels, whose bytes still have to be put in order.
struct PackedPlane {
  VBytes v;
  const uint8_t (&from)[3][kLanes];

  HWY_INLINE VBytes All() const { return hn::TableLookupBytes(v, BlockTable(from[0])); }
  HWY_INLINE VWords Even() const { return ToWords(from[1]); }
  HWY_INLINE VWords Odd() const { return ToWords(from[2]); }

 private:
  HWY_INLINE VWords ToWords(const uint8_t (&table)[kLanes]) const {
    return hn::BitCast(Words(), hn::TableLookupBytesOr0(v, BlockTable(table)));
  }
};
HWY_INLINE Three<PackedPlane> LoadPacked3(const uint8_t* src) {
  VBytes v[3] = {LoadBytes(src), LoadBytes(src + kLanes), LoadBytes(src + 2 * kLanes)};
  TriplesFromMemory(v);
  return {{Blend(v[0], v[2], v[1]), kThreeBytes.fromPacked[0]},
          {Blend(v[1], v[0], v[2]), kThreeBytes.fromPacked[1]},
          {Blend(v[2], v[1], v[0]), kThreeBytes.fromPacked[2]}};
}

// Double words in the order in which blocks take them in turns: the first ones of all blocks hold
// the front of the vector, the second ones what comes next, and so on. And back.
HWY_INLINE VBytes SpreadDoubleWords(VBytes v) {
  if constexpr (kBlocks == 1) return v;
  const Quads d;
  alignas(64) uint32_t from[kLanes / 4];
  for (uint32_t i = 0; i < kLanes / 4; ++i) from[i] = i % 4 * uint32_t{kBlocks} + i / 4;
  return hn::BitCast(Bytes(),
                     hn::TableLookupLanes(hn::BitCast(d, v), hn::SetTableIndices(d, from)));
}
HWY_INLINE VBytes GatherDoubleWords(VBytes v) {
  if constexpr (kBlocks == 1) return v;
  const Quads d;
  alignas(64) uint32_t from[kLanes / 4];
  for (uint32_t i = 0; i < kLanes / 4; ++i) from[i] = i % kBlocks * 4 + i / uint32_t{kBlocks};
  return hn::BitCast(Bytes(),
                     hn::TableLookupLanes(hn::BitCast(d, v), hn::SetTableIndices(d, from)));
}

template <bool kStream>
HWY_INLINE void StorePacked4(VBytes c0, VBytes c1, VBytes c2, VBytes c3, uint8_t* dst) {
  const Bytes d;
  const Words dw;
  c0 = SpreadDoubleWords(c0);
  c1 = SpreadDoubleWords(c1);
  c2 = SpreadDoubleWords(c2);
  c3 = SpreadDoubleWords(c3);
  const auto low01 = hn::BitCast(dw, hn::InterleaveLower(d, c0, c1));
  const auto low23 = hn::BitCast(dw, hn::InterleaveLower(d, c2, c3));
  const auto high01 = hn::BitCast(dw, hn::InterleaveUpper(d, c0, c1));
  const auto high23 = hn::BitCast(dw, hn::InterleaveUpper(d, c2, c3));
  const auto store = [=](size_t v, VWords words) LUM_LAMBDA {
    StoreBytes<kStream>(hn::BitCast(Bytes(), words), dst + v * kLanes);
  };
  store(0, hn::InterleaveLower(dw, low01, low23));
  store(1, hn::InterleaveUpper(dw, low01, low23));
  store(2, hn::InterleaveLower(dw, high01, high23));
  store(3, hn::InterleaveUpper(dw, high01, high23));
}

// The first three of four channels.
HWY_INLINE Three<Plane> LoadPacked4(const uint8_t* src) {
  const Quads d;
  const hn::Repartition<uint64_t, Bytes> dq;
  alignas(16) constexpr uint8_t kTransposed[kBlock] = {0, 4, 8,  12, 1, 5, 9,  13,
                                                       2, 6, 10, 14, 3, 7, 11, 15};
  const VBytes table = hn::LoadDup128(Bytes(), kTransposed);
  const auto load = [=](size_t v) LUM_LAMBDA {
    return hn::BitCast(Quads(), hn::TableLookupBytes(LoadBytes(src + v * kLanes), table));
  };
  const auto v0 = load(0), v1 = load(1), v2 = load(2), v3 = load(3);
  const auto low01 = hn::BitCast(dq, hn::InterleaveLower(d, v0, v1));
  const auto low23 = hn::BitCast(dq, hn::InterleaveLower(d, v2, v3));
  const auto high01 = hn::BitCast(dq, hn::InterleaveUpper(d, v0, v1));
  const auto high23 = hn::BitCast(dq, hn::InterleaveUpper(d, v2, v3));
  return {{GatherDoubleWords(hn::BitCast(Bytes(), hn::InterleaveLower(dq, low01, low23)))},
          {GatherDoubleWords(hn::BitCast(Bytes(), hn::InterleaveUpper(dq, low01, low23)))},
          {GatherDoubleWords(hn::BitCast(Bytes(), hn::InterleaveLower(dq, high01, high23)))}};
}

// Two channels.
template <bool kStream>
HWY_INLINE void StorePacked2(VBytes c0, VBytes c1, uint8_t* dst) {
  VBytes low = hn::InterleaveLower(Bytes(), c0, c1), high = hn::InterleaveUpper(Bytes(), c0, c1);
  MergeBlocks(low, high);
  StoreBytes<kStream>(low, dst);
  StoreBytes<kStream>(high, dst + kLanes);
}

#else  // processors with instructions for it

template <bool>
HWY_INLINE void StorePacked2(VBytes c0, VBytes c1, uint8_t* dst) {
  hn::StoreInterleaved2(c0, c1, Bytes(), dst);
}
template <bool>
HWY_INLINE void StorePacked3(VBytes c0, VBytes c1, VBytes c2, uint8_t* dst) {
  hn::StoreInterleaved3(c0, c1, c2, Bytes(), dst);
}
template <bool>
HWY_INLINE void StorePacked4(VBytes c0, VBytes c1, VBytes c2, VBytes c3, uint8_t* dst) {
  hn::StoreInterleaved4(c0, c1, c2, c3, Bytes(), dst);
}
HWY_INLINE Three<Plane> LoadPacked3(const uint8_t* src) {
  VBytes c0, c1, c2;  // a structure's own constructor is not for the instruction set
  hn::LoadInterleaved3(Bytes(), src, c0, c1, c2);
  return {{c0}, {c1}, {c2}};
}
HWY_INLINE Three<Plane> LoadPacked4(const uint8_t* src) {
  VBytes c0, c1, c2, c3;
  hn::LoadInterleaved4(Bytes(), src, c0, c1, c2, c3);
  return {{c0}, {c1}, {c2}};
}

#endif

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_PACKED_PIXELS_INL_H
