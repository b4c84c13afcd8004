// The FAST corners of rows for any arc length, where vectors are 64 pixels long.
//
// Rows are searched in steps, each of which leaves fewer candidates: pixels of all vectors by one
// or two pairs of opposite pixels, then those of blocks of 32 by arcs, two blocks at a time. The
// steps are loops without branches that depend on the picture: where it has edges, such branches
// are taken or not as if at random. What is found at a place has its place in memory, and lists of
// blocks are made of that in a step of their own: a store whose address hangs on a comparison holds
// the loads after it up. Each step is a function of its own, so that its loop has all registers.
//
// Brightness is compared with saturation: centre plus barrier stops at 255 and centre less barrier
// at 0, beyond which no pixel lies. That is right for barriers from 0 to 254.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_FAST_WIDE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_FAST_WIDE_INL_H
#undef LUMEN_FAST_WIDE_INL_H
#else
#define LUMEN_FAST_WIDE_INL_H
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "vorta/lumenFastArc-inl.h"
#include "vorta/lumenFastOutput-inl.h"
#include "vorta/lumenFastPart-inl.h"
#include "vorta/lumenFastStrength-inl.h"
#include "vorta/lumenFastVector-inl.h"

#if HWY_TARGET == HWY_AVX3

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

template <int kArc>
class WideSearch : public FastParts<64> {
 public:
  explicit WideSearch(const lumFastSearch& search)
      : FastParts(search), barrier_(static_cast<uint8_t>(search.barrier)) {}

  // Finds the corners of the next part of these rows. How many vectors have some.
  HWY_INLINE uint32_t Find() {
    KeepCorners(ListCandidates());
    return ListCorners();
  }
  // The same with their strengths.
  HWY_INLINE uint32_t Find(const FastStrengths& strengths) {
    KeepCorners(ListCandidates(), strengths);
    return ListCorners();
  }
  // What was found.
  HWY_INLINE FastCorners operator[](uint32_t k) const {
    const uint32_t vector = blocks_[k];
    return {vectors_[vector], uint64_t{bits_[2 * vector + 1]} << kBlock | bits_[2 * vector]};
  }

 private:
  using WideTag = hn::Full512<uint8_t>;
  using BlockTag = hn::Full256<uint8_t>;
  using Block = hn::Vec<BlockTag>;
  using Wide = hn::Vec<WideTag>;
  static constexpr WideTag d{};
  static constexpr BlockTag dBlock{};
  static constexpr uint32_t kBlock = kLanes / 2;

  HWY_INLINE FastPlace placeOf(uint32_t block) const {
    return vectors_[block / 2] + block % 2 * kBlock;
  }
  HWY_INLINE const uint8_t* pixelsOf(uint32_t block) const {
    const FastPlace place = placeOf(block);
    return rowAt(yOf(place)) + xOf(place);
  }

  // Two pairs of opposite pixels, or one.
  enum class Pairs { diagonal, upright };
  // How far they are from the centre.
  static constexpr uint32_t RowsOf(Pairs pairs) { return pairs == Pairs::upright ? 3 : 2; }

  // Where of each pair one is brighter than the centre by more than the barrier, or one is darker:
  // each arc has one of each pair. The pairs lie in the same columns of two rows.
  template <Pairs kPairs, class D>
  static HWY_INLINE hn::Mask<D> CandidatesAt(D tag, const uint8_t* above, const uint8_t* p,
                                             const uint8_t* below, hn::Vec<D> barrier) {
    constexpr int kColumns = kPairs == Pairs::upright ? 0 : 2;
    const auto centre = LoadOnce(tag, p);
    const auto most = hn::SaturatedAdd(centre, barrier);
    const auto least = hn::SaturatedSub(centre, barrier);
    const auto a = LoadOnce(tag, above - kColumns), b = LoadOnce(tag, below + kColumns);
    const auto bright = hn::Gt(hn::Max(a, b), most), dark = hn::Lt(hn::Min(a, b), least);
    if constexpr (kPairs == Pairs::upright) return hn::Or(bright, dark);
    const auto e = LoadOnce(tag, above + kColumns), f = LoadOnce(tag, below - kColumns);
    return hn::Or(GtAmong(bright, hn::Max(e, f), most), GtAmong(dark, least, hn::Min(e, f)));
  }

  // The candidates of a row, or of as much of it as there is room for. Of vectors that share pixels
  // only one has them as candidates.
  template <Pairs kPairs>
  HWY_INLINE uint32_t FindInRow(uint32_t count) {
    const auto barrier = hn::Set(d, barrier_);
    const uint32_t y = nextY();
    const uint8_t* const row = rowAt(y);
    // The circles of the next row reach 4 rows down from this one.
    const uint8_t* const ahead = rowAt(HWY_MIN(y + 4, search_.height - 1));
    const uint8_t* const above = row - RowsOf(kPairs) * size_t{search_.stride};
    const uint8_t* const below = row + RowsOf(kPairs) * size_t{search_.stride};
    const FastPlace placeOfRow = FastPlaceAt(0, y);
    const auto find = [&](size_t x) HWY_ATTR {
      hwy::Prefetch(ahead + x);
      const auto candidates = CandidatesAt<kPairs>(d, above + x, row + x, below + x, barrier);
      vectors_[count] = placeOfRow | x;
      hn::StoreMaskBits(d, candidates, reinterpret_cast<uint8_t*>(bits_ + 2 * count));
      ++count;
    };
    const auto findAmong = [&](size_t x, uint64_t own) HWY_ATTR {
      find(x);
      bits_[2 * count - 2] &= static_cast<uint32_t>(own);
      bits_[2 * count - 1] &= static_cast<uint32_t>(own >> kBlock);
    };
    ForVectors(find, findAmong);
    return count;
  }
  // The same of as many rows as are searched at once.
  template <Pairs kPairs>
  HWY_NOINLINE void FindInRows() {
    uint32_t count = FindInRow<kPairs>(0);
    while (isAtRow()) count = FindInRow<kPairs>(count);
    // What a vector of bits lacks.
    for (uint32_t k = 2 * count; k % 16 != 0; ++k) bits_[k] = 0;
    count_ = count;
  }
  // The blocks that hold candidates by the diagonal pairs, which fewer pixels of photographs pass
  // than the upright and the level one. Where the part before was flat, by the upright pair alone
  // and then by these, which takes less where few blocks pass the first.
  HWY_INLINE uint32_t ListCandidates() {
    if (isFlat_) {
      FindInRows<Pairs::upright>();
      const uint32_t blocks = ListBlocks();
      isFlat_ = blocks < count_;
      Thin(blocks);
      return ListBlocks();
    }
    FindInRows<Pairs::diagonal>();
    const uint32_t blocks = ListBlocks();
    isFlat_ = blocks < count_ * 3 / 8;
    return blocks;
  }
  HWY_NOINLINE void Thin(uint32_t blocks) {
    const Block barrier = hn::Set(dBlock, barrier_);
    const size_t far = RowsOf(Pairs::diagonal) * size_t{search_.stride};
    for (uint32_t k = 0; k < blocks; ++k) {
      const uint32_t block = blocks_[k];
      const uint8_t* const p = pixelsOf(block);
      const auto left = CandidatesAt<Pairs::diagonal>(dBlock, p - far, p, p + far, barrier);
      bits_[block] &= static_cast<uint32_t>(left.raw);
    }
  }

  // Lists the blocks that have bits, and the first of them again where they are odd in number.
  HWY_NOINLINE uint32_t ListBlocks() {
    const hn::Full512<uint32_t> d32;
    uint32_t count = 0;
    auto block = hn::Iota(d32, 0);
    const auto step = hn::Set(d32, 16);
    for (uint32_t k = 0; k < 2 * count_; k += 16, block = block + step) {
      const auto some = hn::Ne(hn::LoadU(d32, bits_ + k), hn::Zero(d32));
      hn::StoreU(hn::Compress(block, some), d32, blocks_ + count);
      count += static_cast<uint32_t>(hn::CountTrue(d32, some));
    }
    // What the last two lack, and those that are looked up before they are needed.
    for (uint32_t k = count; k < count + 4; ++k) blocks_[k] = blocks_[0];
    return count;
  }

  // The circles of the pixels of two blocks, place by place. Work with bytes where a mask register
  // for each comparison would do with fewer instructions: some processors take two cycles to store
  // one.
  struct Circles {
    Wide centre, v[LUM_CIRCLE];
    HWY_INLINE Circles(const uint8_t* p0, const uint8_t* p1, size_t stride)
        : centre(TwoBlocks(p0, p1)) {
      // So that sums of a row and a column are parts of loads.
      const uint8_t *top0 = p0 - 3 * stride, *top1 = p1 - 3 * stride;
      asm("" : "+r"(top0), "+r"(top1));
      HWY_UNROLL(16)
      for (int i = 0; i < LUM_CIRCLE; ++i) {
        const int dx = LUM_CIRCLE_PLACE[i].dx, dy = LUM_CIRCLE_PLACE[i].dy;
        const size_t rows = static_cast<size_t>(dy < 0 ? dy + 3 : dy) * stride;
        v[i] = TwoBlocks((dy < 0 ? top0 : p0) + rows + dx, (dy < 0 ? top1 : p1) + rows + dx);
      }
    }
    static HWY_INLINE Wide TwoBlocks(const uint8_t* p0, const uint8_t* p1) {
      __m512i v = _mm512_inserti64x4(_mm512_castsi256_si512(hn::LoadU(dBlock, p0).raw),
                                     hn::LoadU(dBlock, p1).raw, 1);
      asm("" : "+v"(v));
      return Wide{v};
    }
    // All bits where arcs can only be dark, none where they can only be bright: where of each pair
    // of opposite pixels one is. Of those of a dark arc one pair has none.
    HWY_INLINE Wide IsDark(Wide above) const {
      Wide least[8];
      for (int i = 0; i < 8; ++i) least[i] = hn::Max(v[i], v[i + 8]);
      for (int n = 4; n > 0; n /= 2) {
        for (int i = 0; i < n; ++i) least[i] = hn::Min(least[i], least[i + n]);
      }
      return Wide{_mm512_movm_epi8(_mm512_cmple_epu8_mask(least[0].raw, above.raw))};
    }
  };

  // What is true of three bits: those of kTruth stand for 000, 001 and so forth up to 111.
  template <int kTruth>
  static HWY_INLINE Wide Logic(Wide a, Wide b, Wide c) {
    return Wide{_mm512_ternarylogic_epi64(a.raw, b.raw, c.raw, kTruth)};
  }
  // Whether kArc neighbouring ones are all set, or none where isDark, by the highest bits of bytes.
  // Arcs that begin one place apart share all but one pixel at each end, and all arcs share runs
  // of 8.
  static HWY_INLINE uint64_t ArcsOf(const Wide (&is)[LUM_CIRCLE], Wide isDark) {
    constexpr int kBoth = 0x42, kEither = 0x7E, kAnd = 0x60, kAll = 0x80, kAny = 0xFE;
    const auto at = [&](int i) HWY_ATTR { return is[i % LUM_CIRCLE]; };
    Wide two[8], four[8], arcs[8];
    for (int i = 0; i < 8; ++i) two[i] = Logic<kBoth>(at(2 * i + 1), at(2 * i + 2), isDark);
    for (int i = 0; i < 8; ++i) four[i] = hn::And(two[i], two[(i + 1) % 8]);
    for (int i = 0; i < 8; ++i) {
      const int begin = 2 * i + 1;
      const Wide ends = Logic<kEither>(at(begin - 1), at(begin + kArc - 1), isDark);
      Wide shared = four[i];
      if constexpr (kArc == 10) shared = Logic<kAnd>(shared, at(begin + 8), isDark);
      arcs[i] = Logic<kAll>(shared, four[(i + 2) % 8], ends);
    }
    const Wide any = Logic<kAny>(Logic<kAny>(arcs[0], arcs[1], arcs[2]),
                                 Logic<kAny>(arcs[3], arcs[4], arcs[5]), hn::Or(arcs[6], arcs[7]));
    return _mm512_movepi8_mask(any.raw);
  }

  // Leaves those candidates of the listed blocks that are corners.
  HWY_NOINLINE void KeepCorners(uint32_t blocks) {
    const Wide barrier = hn::Set(d, barrier_);
    const Wide one = hn::Set(d, uint8_t{1});
    const size_t stride = search_.stride;
    if (blocks == 0) return;
    const uint8_t *p0 = pixelsOf(blocks_[0]), *p1 = pixelsOf(blocks_[1]);
    for (uint32_t k = 0; k < blocks; k += 2) {
      const uint32_t b0 = blocks_[k], b1 = blocks_[k + 1];
      // Were the sums made before the loop, there would be no registers for them.
      size_t rows = stride;
      asm("" : "+r"(rows));
      const Circles c(p0, p1, rows);
      p0 = pixelsOf(blocks_[k + 2]);
      p1 = pixelsOf(blocks_[k + 3]);
      const Wide above = hn::SaturatedAdd(c.centre, barrier);
      const Wide below = hn::SaturatedSub(c.centre, barrier);
      const Wide isDark = c.IsDark(above);
      // What the limits lack: bright begins one above the one, dark ends before the other. The
      // highest bit of the mean is set where a pixel and that make 255 or more, at the limit or
      // beyond. Where nothing can lie above, at 255, arcs can only be dark.
      constexpr int kNotBelowIfDark = 0x47;
      const Wide rest = Logic<kNotBelowIfDark>(above + one, isDark, below);
      Wide is[LUM_CIRCLE];
      for (int i = 0; i < LUM_CIRCLE; ++i) is[i] = hn::AverageRound(c.v[i], rest);
      const uint64_t corners = ArcsOf(is, isDark);
      bits_[b0] &= static_cast<uint32_t>(corners);
      bits_[b1] &= static_cast<uint32_t>(corners >> kBlock);
    }
  }
  // The same, and writes their strengths.
  HWY_NOINLINE void KeepCorners(uint32_t blocks, const FastStrengths& strengths) {
    const Wide barrier = hn::Set(d, barrier_);
    const size_t stride = search_.stride;
    for (uint32_t k = 0; k < blocks; k += 2) {
      const uint32_t b0 = blocks_[k], b1 = blocks_[k + 1];
      const Circles c(pixelsOf(b0), pixelsOf(b1), stride);
      const Wide isDark = c.IsDark(hn::SaturatedAdd(c.centre, barrier));
      // Seen from the other side dark arcs are bright.
      Wide v[LUM_CIRCLE];
      for (int i = 0; i < LUM_CIRCLE; ++i) v[i] = hn::Xor(c.v[i], isDark);
      const Wide best = StrengthsOf<kArc, true>(v, hn::Xor(c.centre, isDark));
      const uint64_t corners = BitsOf(d, hn::Gt(best, barrier));
      bits_[b0] &= static_cast<uint32_t>(corners);
      bits_[b1] &= static_cast<uint32_t>(corners >> kBlock);
      Put(hn::LowerHalf(dBlock, best), bits_[b0], strengths.at(placeOf(b0)));
      Put(hn::UpperHalf(dBlock, best), bits_[b1], strengths.at(placeOf(b1)));
    }
  }
  static HWY_INLINE void Put(Block strengths, uint32_t corners, uint8_t* to) {
    const hn::Mask<BlockTag> isCorner{corners};
    hn::StoreU(hn::Max(hn::IfThenElseZero(isCorner, strengths), hn::LoadU(dBlock, to)), dBlock, to);
  }

  // Lists the vectors that hold corners.
  HWY_NOINLINE uint32_t ListCorners() {
    const hn::Full256<uint32_t> d32;
    uint32_t count = 0;
    auto vector = hn::Iota(d32, 0);
    const auto step = hn::Set(d32, 8);
    for (uint32_t k = 0; k < count_; k += 8, vector = vector + step) {
      const __m512i bits = _mm512_loadu_si512(bits_ + 2 * k);
      const auto some = hn::Mask<decltype(d32)>{_mm512_test_epi64_mask(bits, bits)};
      hn::StoreU(hn::Compress(vector, some), d32, blocks_ + count);
      count += static_cast<uint32_t>(hn::CountTrue(d32, some));
    }
    return count;
  }

  const uint8_t barrier_;
  // How many vectors are searched now, and whether those before held little.
  uint32_t count_ = 0;
  bool isFlat_ = false;
  // Lists are written by vectors, which may reach beyond them.
  FastPlace vectors_[kVectors + 8];
  // Candidates, and then corners: bits of each block.
  uint32_t bits_[2 * kVectors + 16];
  uint32_t blocks_[2 * kVectors + 16];
};

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // HWY_TARGET == HWY_AVX3

#endif  // LUMEN_FAST_WIDE_INL_H
