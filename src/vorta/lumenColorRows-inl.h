// Images of packed pixels through the loop over blocks of pixels.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_COLOR_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_COLOR_ROWS_INL_H
#undef LUMEN_COLOR_ROWS_INL_H
#else
#define LUMEN_COLOR_ROWS_INL_H
#endif

#include <hwy/highway.h>

#include "cpu/lumenRow.h"
#include "vorta/lumenGroups-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

// What kernels from one packed image into another have in common.
template <size_t kSrcBytesAPixel, size_t kDstBytesAPixel>
struct PackedOp {
  static constexpr size_t kSources = 1, kDestinations = 1;
  static constexpr size_t kSrcBytes = kSrcBytesAPixel, kDstBytes = kDstBytesAPixel;
  static constexpr bool kInPlace = kSrcBytes == kDstBytes;
};

template <class Op>
void PackedRows(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                uint8_t* dst, uint32_t dstStride) {
  const uint64_t srcRow = uint64_t{width} * Op::kSrcBytes, dstRow = uint64_t{width} * Op::kDstBytes;
  const RowShape shape = ShapeOfBlocks(width, height, srcStride == srcRow && dstStride == dstRow,
                                       (srcRow + dstRow) * height);
  ForRows(shape, [&](uint32_t y) LUM_LAMBDA {
    const BlockRows<Op> rows = {{lumRowAt(src, y, srcStride)}, {lumRowAt(dst, y, dstStride)}};
    ConvertRow(Op(), rows, shape.count, shape.stream);
  });
}

// A single row, which is never stored past the cache: what comes after it reads it.
template <class Op>
void PackedRow(const uint8_t* src, uint32_t width, uint8_t* dst) {
  ConvertRow(Op(), {{src}, {dst}}, width, false);
}

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_COLOR_ROWS_INL_H
