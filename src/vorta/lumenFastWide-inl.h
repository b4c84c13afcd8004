// The FAST corners of rows for any arc length, where vectors are 64 pixels long.
//
// Rows are searched in steps, each of which leaves fewer candidates: pixels of all vectors by two
// pairs of opposite pixels, then those of blocks of 32 by four pairs, and then by arcs. The steps
// are loops without branches that depend on the picture: where it has edges, such branches are
// taken or not as if at random. What is found at a place has its place in memory, and lists of
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
#include "vorta/lumenFastGrid-inl.h"
#include "vorta/lumenFastOutput-inl.h"
#include "vorta/lumenFastStrength-inl.h"
#include "vorta/lumenFastVector-inl.h"

#if HWY_TARGET == HWY_AVX3

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

template <int kArc>
class WideSearch : public FastGrid {
 public:
  explicit WideSearch(const lumFastSearch& search)
      : FastGrid(search), barrier_(static_cast<uint8_t>(search.barrier)) {}

  // Finds the corners of the next part of these rows. How many vectors have some.
  HWY_INLINE uint32_t Find() { return FindBy<PlainBlock>({}); }
  // The same with their strengths.
  HWY_INLINE uint32_t Find(const FastStrengths& strengths) {
    return FindBy<ScoredBlock>(strengths);
  }
  // What was found.
  HWY_INLINE FastCorners operator[](uint32_t k) const {
    const uint32_t block = 2 * blocks_[k];
    return {placeOf(block), uint64_t{bits_[block + 1]} << kBlock | bits_[block]};
  }

 private:
  using WideTag = hn::Full512<uint8_t>;
  using BlockTag = hn::Full256<uint8_t>;
  using Block = hn::Vec<BlockTag>;
  using Wide = hn::Vec<WideTag>;
  static constexpr WideTag d{};
  static constexpr BlockTag dBlock{};

  template <class AnyBlock>
  HWY_INLINE uint32_t FindBy(const FastStrengths& strengths) {
    Turn();
    for (uint32_t k = 0; k < tiles(); ++k) {
      const Tile tile = TileAt(k);
      FindCandidates(tile);
      const uint32_t blocks = 2 * tile.rows * tile.pitch;
      const uint32_t candidates = List(bits_, 2 * tile.first, blocks, nullptr, candidate_);
      Thin(candidates);
      KeepCorners<AnyBlock>(List(left_, 0, candidates, candidate_, blocks_), strengths);
      AddDarkCorners<AnyBlock>(List(both_, 0, candidates, nullptr, blocks_), strengths);
    }
    return ListCorners();
  }

  // What is two columns to the left and to the right of pixels.
  struct Sides {
    Wide left, right;
    HWY_INLINE explicit Sides(const uint8_t* p)
        : left(LoadOnce(d, p - 2)), right(LoadOnce(d, p + 2)) {}
  };

  // Pixels where of each of the two diagonal pairs one is brighter than the centre by more than the
  // barrier, or of each one is darker: each arc has one of each pair. Fewer pixels of photographs
  // pass these than the upright and the level pair. Columns are gone down, so that what was loaded
  // for one row serves the fourth after it as well.
  HWY_NOINLINE void FindCandidates(const Tile tile) {
    const Wide barrier = hn::Set(d, barrier_);
    const size_t stride = search_.stride;
    for (uint32_t column = 0; column < tile.columns; ++column) {
      const uint8_t* p = pixelsOf(2 * (tile.first + column));
      const hn::Mask<WideTag> own{ownOf(tile.column + column)};
      uint32_t* to = bits_ + 2 * (tile.first + column);
      Sides above2(p - 2 * stride), above(p - stride), here(p), below(p + stride);
      for (uint32_t row = 0; row < tile.rows; ++row, p += stride, to += 2 * tile.pitch) {
        hwy::Prefetch(p + 2 * stride + 4 * kLanes);
        const Sides below2(p + 2 * stride);
        const Wide centre = LoadOnce(d, p);
        const Wide most = hn::Min(hn::Max(above2.left, below2.right),  //
                                  hn::Max(above2.right, below2.left));
        const Wide least = hn::Max(hn::Min(above2.left, below2.right),  //
                                   hn::Min(above2.right, below2.left));
        const Wide best = hn::Max(hn::SaturatedSub(most, centre), hn::SaturatedSub(centre, least));
        hn::StoreMaskBits(d, GtAmong(own, best, barrier), reinterpret_cast<uint8_t*>(to));
        above2 = above;
        above = here;
        here = below;
        below = below2;
      }
    }
    // What the last tile lacks, and a vector of bits.
    for (uint32_t row = 0; row < tile.rows; ++row) {
      const uint32_t first = tile.first + row * tile.pitch;
      for (uint32_t k = 2 * tile.columns; k < 2 * tile.pitch; ++k) bits_[2 * first + k] = 0;
    }
    for (uint32_t k = 2 * (tile.first + tile.rows * tile.pitch); k % 16 != 0; ++k) bits_[k] = 0;
  }

  // The brighter and the darker pixel of a pair.
  struct Pair {
    Block brighter, darker;
    HWY_INLINE Pair(const uint8_t* p, ptrdiff_t stride, int i) {
      const auto [dx, dy] = LUM_CIRCLE_PLACE[i];
      const Block v = LoadOnce(dBlock, p + dy * stride + dx);
      const Block w = LoadOnce(dBlock, p - dy * stride - dx);
      brighter = hn::Max(v, w);
      darker = hn::Min(v, w);
    }
  };
  // Leaves those candidates that pass four pairs, and tells what their arcs can be.
  HWY_NOINLINE void Thin(uint32_t candidates) {
    const Block barrier = hn::Set(dBlock, barrier_);
    const auto stride = static_cast<ptrdiff_t>(search_.stride);
    if (candidates == 0) return;
    candidate_[candidates] = candidate_[0];
    const uint8_t* next = pixelsOf(candidate_[0]);
    for (uint32_t k = 0; k < candidates; ++k) {
      const uint32_t block = candidate_[k];
      const uint8_t* const p = next;
      next = pixelsOf(candidate_[k + 1]);
      const Block centre = LoadOnce(dBlock, p);
      const Pair a(p, stride, 0), b(p, stride, 2), e(p, stride, 4), f(p, stride, 6);
      const Block most = hn::Min(hn::Min(a.brighter, b.brighter), hn::Min(e.brighter, f.brighter));
      const Block least = hn::Max(hn::Max(a.darker, b.darker), hn::Max(e.darker, f.darker));
      const uint32_t notBright =
          BitsOfZeros(hn::SaturatedSub(most, hn::SaturatedAdd(centre, barrier)));
      const uint32_t notDark =
          BitsOfZeros(hn::SaturatedSub(hn::SaturatedSub(centre, barrier), least));
      const uint32_t bits = bits_[block];
      bits_[block] = left_[k] = bits & ~(notBright & notDark);
      dark_[block] = notBright;
      both_[k] = bits & ~(notBright | notDark);
    }
    // What a vector of bits lacks.
    for (uint32_t k = candidates; k % 16 != 0; ++k) left_[k] = both_[k] = 0;
  }
  // By bytes: a mask register takes some processors longer to read.
  static HWY_INLINE uint32_t BitsOfZeros(Block v) {
    return BitsOfBytes(Block{_mm256_cmpeq_epi8(v.raw, hn::Zero(dBlock).raw)});
  }
  // The highest bit of each byte.
  static HWY_INLINE uint32_t BitsOfBytes(Block v) {
    return static_cast<uint32_t>(_mm256_movemask_epi8(v.raw));
  }
  // All bits of the bytes that have one here.
  static HWY_INLINE Block BytesOfBits(uint32_t bits) {
    return hn::VecFromMask(dBlock, hn::Mask<BlockTag>{bits});
  }

  // Of `count` numbers, which are those of `from` or `first` and so forth, lists those whose words
  // have some bits. How many. Lists may be read and written by as many more as a vector has.
  template <class Word>
  static HWY_INLINE uint32_t List(const Word* words, uint32_t first, uint32_t count,
                                  const uint32_t* from, uint32_t* list) {
    const hn::Full512<Word> dWord;
    constexpr uint32_t kWords = hn::MaxLanes(dWord);
    const hn::Simd<uint32_t, kWords, 0> d32;
    const auto step = hn::Set(d32, kWords);
    auto number = hn::Iota(d32, 0) + hn::Set(d32, first);
    uint32_t listed = 0;
    for (uint32_t k = first; k < first + count; k += kWords, number = number + step) {
      const hn::Mask<decltype(d32)> some{hn::Ne(hn::LoadU(dWord, words + k), hn::Zero(dWord)).raw};
      const auto numbers = from ? hn::LoadU(d32, from + k) : number;
      hn::StoreU(hn::Compress(numbers, some), d32, list + listed);
      listed += static_cast<uint32_t>(hn::CountTrue(d32, some));
    }
    return listed;
  }
  // Lists the vectors that hold corners, row by row.
  HWY_NOINLINE uint32_t ListCorners() {
    const auto* const vectors = reinterpret_cast<const uint64_t*>(bits_);
    const Tile all = TileAt(0);
    if (tiles() == 1) return List(vectors, 0, all.rows * all.pitch, nullptr, blocks_);
    uint32_t listed = 0;
    for (uint32_t row = 0; row < all.rows; ++row) {
      for (uint32_t k = 0; k < tiles(); ++k) {
        const Tile tile = TileAt(k);
        listed +=
            List(vectors, tile.first + row * tile.pitch, tile.pitch, nullptr, blocks_ + listed);
      }
    }
    return listed;
  }

  // Calls `get` for each place of the circles of a block with where its pixels are.
  template <class Get>
  static HWY_INLINE void ForPlaces(const uint8_t* p, size_t stride, const Get& get) {
    // So that sums of a row and a column are parts of loads. Were they made before a loop, there
    // would be no registers for them.
    const uint8_t* top = p - 3 * stride;
    asm("" : "+r"(top), "+r"(stride));
    HWY_UNROLL(16)
    for (int i = 0; i < LUM_CIRCLE; ++i) {
      const auto [dx, dy] = LUM_CIRCLE_PLACE[i];
      const size_t rows = static_cast<size_t>(dy < 0 ? dy + 3 : dy) * stride;
      get(i, (dy < 0 ? top : p) + rows + dx);
    }
  }

  // What is true of three bits: those of kTruth stand for 000, 001 and so forth up to 111.
  template <int kTruth>
  static HWY_INLINE Block Logic(Block a, Block b, Block c) {
    return Block{_mm256_ternarylogic_epi64(a.raw, b.raw, c.raw, kTruth)};
  }
  // Whether kArc neighbouring ones are all set, or none where isDark, by the highest bits of bytes.
  // Arcs that begin one place apart share all but one pixel at each end, and all arcs share runs
  // of 8.
  static HWY_INLINE uint32_t ArcsOf(const Block (&is)[LUM_CIRCLE], Block isDark) {
    constexpr int kBoth = 0x42, kEither = 0x7E, kAnd = 0x60, kAll = 0x80, kAny = 0xFE;
    const auto at = [&](int i) HWY_ATTR { return is[i % LUM_CIRCLE]; };
    Block two[8], four[8], arcs[8];
    for (int i = 0; i < 8; ++i) two[i] = Logic<kBoth>(at(2 * i + 1), at(2 * i + 2), isDark);
    for (int i = 0; i < 8; ++i) four[i] = hn::And(two[i], two[(i + 1) % 8]);
    for (int i = 0; i < 8; ++i) {
      const int begin = 2 * i + 1;
      const Block ends = Logic<kEither>(at(begin - 1), at(begin + kArc - 1), isDark);
      Block shared = four[i];
      if constexpr (kArc == 10) shared = Logic<kAnd>(shared, at(begin + 8), isDark);
      arcs[i] = Logic<kAll>(shared, four[(i + 2) % 8], ends);
    }
    return BitsOfBytes(Logic<kAny>(Logic<kAny>(arcs[0], arcs[1], arcs[2]),
                                   Logic<kAny>(arcs[3], arcs[4], arcs[5]),
                                   hn::Or(arcs[6], arcs[7])));
  }
  // A block whose arcs are looked for: dark ones where there is a bit in `dark`, or else bright
  // ones. Works with bytes where a mask register for each comparison would do with fewer
  // instructions: some processors take two cycles to store one.
  class PlainBlock {
   public:
    HWY_INLINE PlainBlock(const WideSearch& search, uint32_t block, uint32_t dark,
                          const FastStrengths&)
        : stride_(search.search_.stride),
          p_(search.pixelsOf(block)),
          isDark_(InRegister(BytesOfBits(dark))) {
      const Block barrier = hn::Set(dBlock, search.barrier_);
      const Block centre = LoadOnce(dBlock, p_);
      const Block above = hn::SaturatedAdd(centre, barrier);
      const Block below = hn::SaturatedSub(centre, barrier);
      // What the limits lack: bright begins one above the one, dark ends before the other. The
      // highest bit of the mean is set where a pixel and that make 255 or more, at the limit or
      // beyond. Where nothing can lie above, at 255, no pixel is among those for bright arcs.
      constexpr int kNotBelowIfDark = 0x47;
      const Block one = hn::Set(dBlock, uint8_t{1});
      rest_ = InRegister(Logic<kNotBelowIfDark>(above + one, isDark_, below));
    }
    HWY_INLINE uint32_t CornersAmong(uint32_t candidates) const {
      Block is[LUM_CIRCLE];
      ForPlaces(p_, stride_, [&](int i, const uint8_t* q) HWY_ATTR {
        is[i] = hn::AverageRound(rest_, hn::LoadU(dBlock, q));
      });
      return candidates & ArcsOf(is, isDark_);
    }

   private:
    size_t stride_;
    const uint8_t* p_;
    Block isDark_, rest_;
  };
  // The same, which writes strengths.
  class ScoredBlock {
   public:
    HWY_INLINE ScoredBlock(const WideSearch& search, uint32_t block, uint32_t dark,
                           const FastStrengths& strengths)
        : stride_(search.search_.stride),
          p_(search.pixelsOf(block)),
          to_(strengths.at(search.placeOf(block))),
          isDark_(InRegister(BytesOfBits(dark))),
          barrier_(hn::Set(dBlock, search.barrier_)) {}
    HWY_INLINE uint32_t CornersAmong(uint32_t candidates) const {
      // Seen from the other side dark arcs are bright.
      Block v[LUM_CIRCLE];
      ForPlaces(p_, stride_, [&](int i, const uint8_t* q) HWY_ATTR {
        v[i] = hn::Xor(isDark_, hn::LoadU(dBlock, q));
      });
      const Block best = StrengthsOf<kArc, true>(v, hn::Xor(isDark_, hn::LoadU(dBlock, p_)));
      const uint32_t corners = candidates & hn::Gt(best, barrier_).raw;
      const Block here = hn::And(BytesOfBits(corners), best);
      hn::StoreU(hn::Max(here, hn::LoadU(dBlock, to_)), dBlock, to_);
      return corners;
    }

   private:
    size_t stride_;
    const uint8_t* p_;
    uint8_t* to_;
    Block isDark_, barrier_;
  };

  // Leaves those candidates of the listed blocks that are corners, taking those whose arcs can be
  // either for bright ones. What a block begins with is made before its turn comes: that has
  // processors wait less for the first loads of it.
  template <class AnyBlock>
  HWY_NOINLINE void KeepCorners(uint32_t blocks, FastStrengths strengths) {
    if (blocks == 0) return;
    blocks_[blocks] = blocks_[0];
    AnyBlock next(*this, blocks_[0], dark_[blocks_[0]], strengths);
    for (uint32_t k = 0; k < blocks; ++k) {
      const AnyBlock here = next;
      next = AnyBlock(*this, blocks_[k + 1], dark_[blocks_[k + 1]], strengths);
      uint32_t& bits = bits_[blocks_[k]];
      bits = here.CornersAmong(bits);
    }
  }
  // Adds the dark ones of these.
  template <class AnyBlock>
  HWY_NOINLINE void AddDarkCorners(uint32_t candidates, FastStrengths strengths) {
    for (uint32_t k = 0; k < candidates; ++k) {
      const uint32_t block = candidate_[blocks_[k]];
      const AnyBlock here(*this, block, ~uint32_t{0}, strengths);
      bits_[block] |= here.CornersAmong(both_[blocks_[k]]);
    }
  }

  // Vectors are read and written beyond the ends of lists.
  static constexpr uint32_t kBlocks = 2 * kVectors + 16, kOfTile = 2 * kWidestTile * kRows + 16;

  const uint8_t barrier_;
  // Of each block, two of which are a vector: candidates and then corners, and those whose arcs can
  // only be dark.
  alignas(uint64_t) uint32_t bits_[kBlocks];
  uint32_t dark_[kBlocks];
  // Blocks of a tile that hold candidates by two pairs; of each, those by four, and those of these
  // whose arcs can be bright or dark.
  uint32_t candidate_[kOfTile], left_[kOfTile], both_[kOfTile];
  // Blocks that are to be looked at, or vectors.
  uint32_t blocks_[kBlocks];
};

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // HWY_TARGET == HWY_AVX3

#endif  // LUMEN_FAST_WIDE_INL_H
