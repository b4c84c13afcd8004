// A loop over rows whose elements are grouped: pixels of several bytes, chroma samples that stand
// for two pixels, several planes at a time. A kernel converts a block of as many groups as a vector
// has bytes; the loop is right for every length from 1 up and neither reads nor writes a byte
// outside the groups that it is given.
//
// A row ends with a block that covers its last groups and overlaps the one before. Blocks begin at
// the first aligned group where that is worth it; a block at the row's very beginning then comes
// first. Rows shorter than a block are converted in memory of the loop's own, and so is what lies
// before and after the blocks that are stored past the cache.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_GROUPS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_GROUPS_INL_H
#undef LUMEN_GROUPS_INL_H
#else
#define LUMEN_GROUPS_INL_H
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

#include "vorta/lumenShapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

using Bytes = hn::ScalableTag<uint8_t>;
using VBytes = hn::Vec<Bytes>;
constexpr size_t kMaxBlock = hn::MaxLanes(Bytes());

// Groups in a block.
HWY_INLINE size_t BlockLength() { return hn::Lanes(Bytes()); }

// What kernels of blocks store with.
template <bool kStream>
HWY_INLINE void StoreBytes(VBytes v, uint8_t* to) {
  if constexpr (kStream) hn::Stream(v, Bytes(), to);
  else hn::StoreU(v, Bytes(), to);
}

// Rows of groups as the loop sees them.
//
// The images of a call go through the loop as one long row when none has gaps between its rows.
// `bytes` is what the call moves in all.
HWY_INLINE RowShape ShapeOfBlocks(size_t groups, uint32_t rows, bool packed, uint64_t bytes) {
  const bool stream = ShouldStream(bytes);
  return packed ? RowShape{groups * rows, 1, stream} : RowShape{groups, rows, stream};
}

// The first group that begins at a multiple of a vector's length, or as many as a block has where
// there is none.
template <size_t kGroupBytes>
HWY_INLINE size_t FirstAligned(const uint8_t* row) {
  const size_t N = BlockLength();
  const size_t ahead = (0 - reinterpret_cast<uintptr_t>(row)) % N;
  if constexpr (kGroupBytes % 2 == 0) {
    return ahead % kGroupBytes ? N : ahead / kGroupBytes;
  } else {
    // 3 * 43 is one more than a multiple of every vector's length.
    static_assert(kGroupBytes == 1 || kGroupBytes == 3);
    return ahead * (kGroupBytes == 3 ? 43 : 1) % N;
  }
}

// Source and destination rows of a kernel: where its blocks begin.
template <class Op>
struct BlockRows {
  const uint8_t* src[Op::kSources];
  uint8_t* dst[Op::kDestinations];

  HWY_INLINE BlockRows at(size_t group) const {
    BlockRows moved;
    for (size_t k = 0; k < Op::kSources; ++k) moved.src[k] = src[k] + group * Op::kSrcBytes;
    for (size_t k = 0; k < Op::kDestinations; ++k) moved.dst[k] = dst[k] + group * Op::kDstBytes;
    return moved;
  }
};

// Copies of the source rows' groups from one group on, as many as a block has at most.
template <class Op>
struct SourceCopy {
  HWY_INLINE SourceCopy(const BlockRows<Op>& rows, size_t groups) {
    for (size_t k = 0; k < Op::kSources; ++k) {
      __builtin_memcpy(copy[k], rows.src[k], groups * Op::kSrcBytes);
    }
  }
  // The same destination with this source.
  HWY_INLINE BlockRows<Op> instead(BlockRows<Op> rows) const {
    for (size_t k = 0; k < Op::kSources; ++k) rows.src[k] = copy[k];
    return rows;
  }
  alignas(64) uint8_t copy[Op::kSources][kMaxBlock * Op::kSrcBytes] = {};
};

template <class Op>
HWY_NOINLINE void ShortRow(const Op& op, const BlockRows<Op>& rows, size_t count) {
  alignas(64) uint8_t out[Op::kDestinations][kMaxBlock * Op::kDstBytes];
  const SourceCopy<Op> in(rows, count);
  BlockRows<Op> own = in.instead(rows);
  for (size_t k = 0; k < Op::kDestinations; ++k) own.dst[k] = out[k];
  op.template block<false>(own);
  for (size_t k = 0; k < Op::kDestinations; ++k) {
    __builtin_memcpy(rows.dst[k], out[k], count * Op::kDstBytes);
  }
}

template <bool kStream, class Op>
HWY_INLINE size_t WholeBlocks(const Op& op, const BlockRows<Op>& rows, size_t i, size_t count) {
  const size_t N = BlockLength();
  for (; i + N <= count; i += N) {
    const BlockRows<Op> here = rows.at(i);
    if constexpr (kStream) {
      for (size_t k = 0; k < Op::kSources; ++k) {
        for (size_t b = 0; b < N * Op::kSrcBytes; b += HWY_MAX(N, size_t{64})) {
          FetchAhead(here.src[k] + b);
        }
      }
    }
    op.template block<kStream>(here);
  }
  return i;
}

// Converts `count` groups. A kernel that says kInPlace may be given a destination that is its
// source: what later blocks read again is then put by first.
template <class Op>
HWY_INLINE void ConvertRow(const Op& op, const BlockRows<Op>& rows, size_t count, bool stream) {
  const size_t N = BlockLength();
  if (count < N) return ShortRow(op, rows, count);
  size_t begin = 0;
  if (count >= 4 * N) {
    begin = FirstAligned<Op::kDstBytes>(rows.dst[0]);
    stream &= begin < N;
    for (size_t k = 1; k < Op::kDestinations; ++k) {
      stream &= reinterpret_cast<uintptr_t>(rows.dst[k] + begin * Op::kDstBytes) % N == 0;
    }
    if (stream) {
      if (begin) ShortRow(op, rows, begin);
      const size_t done = WholeBlocks<true>(op, rows, begin, count);
      if (done < count) ShortRow(op, rows.at(done), count - done);
      return;
    }
    begin %= N;
  }
  const BlockRows<Op> last = rows.at(count - N);
  if constexpr (Op::kInPlace) {
    const SourceCopy<Op> head(rows, N), tail(last, N);
    WholeBlocks<false>(op, rows, begin, count);
    if (begin) op.template block<false>(head.instead(rows));
    op.template block<false>(tail.instead(last));
  } else {
    if (begin) op.template block<false>(rows);
    if (WholeBlocks<false>(op, rows, begin, count) < count) op.template block<false>(last);
  }
}

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_GROUPS_INL_H
