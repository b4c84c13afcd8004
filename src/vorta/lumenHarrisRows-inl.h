// The rows of the Harris detectors, vector: from pixels to gradient products, from those to sums
// over a 5 x 5 window, from sums to responses, from responses to maxima.
//
// Rows are done in blocks of the pixels that a vector of 16-bit elements holds. Sums and responses
// take 32 bits, so that a block has two vectors of them: of its even columns and of its odd ones.
// An instruction that multiplies 16-bit elements and adds those side by side gives sums in that
// order, and nothing has to be brought back into another one: rows of responses keep even and odd
// columns apart. Columns outside the image are computed from zeros and never looked at.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_HARRIS_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_HARRIS_ROWS_INL_H
#undef LUMEN_HARRIS_ROWS_INL_H
#else
#define LUMEN_HARRIS_ROWS_INL_H
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

#include "cpu/lumenHarris.h"
#include "cpu/lumenRow.h"
#include "vorta/lumenLoadOnce-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {
namespace harris {

namespace hn = hwy::HWY_NAMESPACE;

using D16 = hn::ScalableTag<int16_t>;
using D32 = hn::ScalableTag<int32_t>;
using V16 = hn::Vec<D16>;
using V32 = hn::Vec<D32>;

constexpr size_t kPlanes = 3;  // products Ix Ix, Iy Iy, Ix Iy

// Sums of products of elements side by side, as many as are added.
class PairSums {
 public:
  HWY_INLINE PairSums() : sum0_(hn::Zero(D32())), sum1_(sum0_) {}
  HWY_INLINE void add(V16 a, V16 b) {
    sum0_ = hn::ReorderWidenMulAccumulate(D32(), a, b, sum0_, sum1_);
  }
  HWY_INLINE V32 get() const { return hn::RearrangeToOddPlusEven(sum0_, sum1_); }

 private:
  V32 sum0_, sum1_;
};

HWY_INLINE V32 PairSum(V16 a, V16 b) {
  PairSums sums;
  sums.add(a, b);
  return sums.get();
}

// 16-bit elements side by side: the low halves of `even` and of `odd`.
HWY_INLINE V16 Pairs(V32 even, V32 odd) {
  return hn::OddEven(hn::BitCast(D16(), hn::ShiftLeft<16>(odd)), hn::BitCast(D16(), even));
}
HWY_INLINE V16 Weights(int even, int odd) {
  return hn::BitCast(D16(), hn::Set(D32(), even | odd * 65536));
}

// Products of the gradients of a row, for all pixels but the first and the last. `plane` has room
// for them.
HWY_INLINE void StoreProducts(const uint8_t* above, const uint8_t* row, const uint8_t* below,
                              size_t width, int16_t* const (&plane)[kPlanes]) {
  const D16 d;
  const hn::Rebind<uint8_t, D16> d8;
  const hn::Rebind<int8_t, D16> d8Signed;
  const size_t N = hn::Lanes(d);
  // (a - b) >> 1 is the rounded mean of a and 255 - b, less 128.
  const auto halfDifference = [&](const uint8_t* a, const uint8_t* b) HWY_ATTR {
    const auto mean = hn::AverageRound(hn::LoadU(d8, a), hn::Not(hn::LoadU(d8, b)));
    return hn::PromoteTo(d, hn::BitCast(d8Signed, hn::Xor(mean, hn::Set(d8, 128))));
  };
  const auto block = [&](size_t x) HWY_ATTR {
    const V16 ix = halfDifference(row + x + 1, row + x - 1);
    const V16 iy = halfDifference(below + x, above + x);
    hn::StoreU(hn::Mul(ix, ix), d, plane[0] + x);
    hn::StoreU(hn::Mul(iy, iy), d, plane[1] + x);
    hn::StoreU(hn::Mul(ix, iy), d, plane[2] + x);
  };
  const size_t end = width - 1;
  if (end < N + 1) {
    for (size_t x = 1; x < end; ++x) {
      const int ix = (row[x + 1] - row[x - 1]) >> 1, iy = (below[x] - above[x]) >> 1;
      plane[0][x] = static_cast<int16_t>(ix * ix);
      plane[1][x] = static_cast<int16_t>(iy * iy);
      plane[2][x] = static_cast<int16_t>(ix * iy);
    }
    return;
  }
  for (size_t x = 1; x + N < end; x += N) block(x);
  block(end - N);
}

// Sums of a block of products over columns x - 2 to x + 2, times 1 4 6 4 1: of the even columns and
// of the odd ones. Their weights are made before the loop over blocks.
class Across {
 public:
  HWY_INLINE Across()
      : evenBefore_(InRegister(Weights(1, 4))),
        evenHere_(InRegister(Weights(6, 4))),
        evenBehind_(InRegister(Weights(1, 0))),
        oddBefore_(InRegister(Weights(0, 1))),
        oddHere_(InRegister(Weights(4, 6))),
        oddBehind_(InRegister(Weights(4, 1))) {}

  HWY_INLINE void Sum(const int16_t* products, V32& even, V32& odd) const {
    const D16 d;
    const V16 before = LoadOnce(d, products - 2), here = LoadOnce(d, products),
              behind = LoadOnce(d, products + 2);
    PairSums evenSums, oddSums;
    evenSums.add(before, evenBefore_);
    evenSums.add(here, evenHere_);
    evenSums.add(behind, evenBehind_);
    oddSums.add(before, oddBefore_);
    oddSums.add(here, oddHere_);
    oddSums.add(behind, oddBehind_);
    even = evenSums.get();
    odd = oddSums.get();
  }

 private:
  V16 evenBefore_, evenHere_, evenBehind_, oddBefore_, oddHere_, oddBehind_;
};

// The same down five rows, of which `latest` is the last.
HWY_INLINE V32 SumDown(const int32_t* const (&row)[4], size_t i, V32 latest) {
  const D32 d;
  const V32 second = hn::Load(d, row[1] + i), third = LoadOnce(d, row[2] + i),
            fourth = hn::Load(d, row[3] + i);
  const V32 outer = hn::Add(hn::Load(d, row[0] + i), latest);
  const V32 inner = hn::Add(hn::Add(second, fourth), third);
  return hn::Add(hn::Add(outer, hn::Add(third, third)), hn::ShiftLeft<2>(inner));
}

template <lumHarrisResponse kResponse>
HWY_INLINE V32 Response(V32 xx, V32 yy, V32 xy) {
  const D32 d;
  const V32 sxx = hn::ShiftRight<8>(xx), syy = hn::ShiftRight<8>(yy);
  // Bits 8 to 23 have the value whole, and a shift of 8 puts them into the upper half.
  const V16 shifted = hn::BitCast(D16(), hn::ShiftLeft<8>(xy));
  if constexpr (kResponse == lumHarrisResponse::corner) {
    const V16 left = hn::OddEven(shifted, hn::BitCast(D16(), sxx));
    const V16 right = hn::OddEven(hn::Sub(hn::Zero(D16()), shifted), hn::BitCast(D16(), syy));
    // 32768 is -32768 in 16 bits, and has the same square.
    const V16 trace = hn::BitCast(D16(), hn::Add(sxx, syy));
    return hn::Sub(PairSum(left, right), hn::ShiftRight<4>(PairSum(trace, trace)));
  } else {
    const V16 sides = hn::OddEven(hn::Add(shifted, shifted), hn::BitCast(D16(), hn::Sub(sxx, syy)));
    const V32 square = PairSum(sides, sides);
    // No more than 1 off, whatever the instruction set's root is like.
    const V32 near = hn::ConvertTo(d, hn::Sqrt(hn::ConvertTo(hn::ScalableTag<float>(), square)));
    const V32 one = hn::Set(d, 1);
    const V32 low = hn::IfThenElse(hn::Gt(hn::Mul(near, near), square), hn::Sub(near, one), near);
    const V32 next = hn::Add(low, one);
    const V32 root = hn::IfThenElse(hn::Gt(hn::Mul(next, next), square), low, next);
    return hn::Sub(hn::Add(sxx, syy), root);
  }
}

// A row of responses: the even columns and the odd ones, and of each block whether it has a
// response greater than the threshold of the time.
struct Responses {
  int32_t* even;
  int32_t* odd;
  uint8_t* active;
};

// Of one block, which columns have a maximum: the even ones and the odd ones.
struct Masks {
  hn::Mask<D32> even, odd;
};

// Columns x - kReach to x + kReach of a row of responses around the block at `i`, their greatest.
struct Greatest {
  V32 even, odd;
};

template <size_t kReach>
HWY_INLINE Greatest GreatestAround(const Responses& row, size_t i, bool withMiddle) {
  const D32 d;
  const V32 even = LoadOnce(d, row.even + i), odd = LoadOnce(d, row.odd + i);
  const V32 oddBefore = LoadOnce(d, row.odd + i - 1), evenBehind = LoadOnce(d, row.even + i + 1);
  Greatest around = {hn::Max(oddBefore, odd), hn::Max(even, evenBehind)};
  if constexpr (kReach == 2) {
    const V32 evenBefore = LoadOnce(d, row.even + i - 1), oddBehind = LoadOnce(d, row.odd + i + 1);
    around = {hn::Max(around.even, hn::Max(evenBefore, evenBehind)),
              hn::Max(around.odd, hn::Max(oddBefore, oddBehind))};
  }
  if (!withMiddle) return around;
  return {hn::Max(around.even, even), hn::Max(around.odd, odd)};
}

HWY_INLINE Greatest Max(const Greatest& a, const Greatest& b) {
  return {hn::Max(a.even, b.even), hn::Max(a.odd, b.odd)};
}

// `rows` are those around the tested one, `middle` of them before it.
template <lumHarrisMaxima kMaxima>
HWY_INLINE Masks MaximaOfBlock(const Responses* const (&rows)[5], size_t i, V32 threshold) {
  const D32 d;
  const Responses& row = *rows[2];
  const V32 even = LoadOnce(d, row.even + i), odd = LoadOnce(d, row.odd + i);
  Masks found = {hn::Gt(even, threshold), hn::Gt(odd, threshold)};
  if constexpr (kMaxima == lumHarrisMaxima::strict) {
    const Greatest above =
        Max(GreatestAround<2>(*rows[0], i, true), GreatestAround<2>(*rows[1], i, true));
    const Greatest below =
        Max(GreatestAround<2>(*rows[3], i, true), GreatestAround<2>(*rows[4], i, true));
    const Greatest others = Max(Max(above, below), GreatestAround<2>(row, i, false));
    found.even = hn::And(found.even, hn::Gt(even, others.even));
    found.odd = hn::And(found.odd, hn::Gt(odd, others.odd));
  } else if constexpr (kMaxima == lumHarrisMaxima::first) {
    const Greatest above = GreatestAround<1>(*rows[1], i, true);
    const Greatest below = GreatestAround<1>(*rows[3], i, true);
    const V32 oddBefore = LoadOnce(d, row.odd + i - 1);
    const V32 evenBehind = LoadOnce(d, row.even + i + 1);
    const auto both = [&](V32 value, V32 before, V32 behind) HWY_ATTR {
      return hn::AndNot(hn::Gt(behind, value), hn::Gt(value, before));
    };
    found.even =
        hn::And(found.even, both(even, hn::Max(above.even, oddBefore), hn::Max(below.even, odd)));
    found.odd =
        hn::And(found.odd, both(odd, hn::Max(above.odd, even), hn::Max(below.odd, evenBehind)));
  }
  return found;
}

// The bits of a mask, each at twice its place.
HWY_INLINE uint64_t SpreadBits(hn::Mask<D32> mask) {
  uint8_t bytes[8] = {};
  hn::StoreMaskBits(D32(), mask, bytes);
  uint64_t bits = static_cast<uint64_t>(bytes[0]) | static_cast<uint64_t>(bytes[1]) << 8;
  bits = (bits | bits << 8) & 0x00FF00FF;
  bits = (bits | bits << 4) & 0x0F0F0F0F;
  bits = (bits | bits << 2) & 0x33333333;
  return (bits | bits << 1) & 0x55555555;
}

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace harris
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_HARRIS_ROWS_INL_H
