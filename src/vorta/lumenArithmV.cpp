// Image arithmetic, vector.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vorta/lumenArithmV.cpp"
#include <hwy/foreach_target.h>  // compiles this file once for each instruction set
// Must come after foreach_target.h.
#include <hwy/highway.h>

#include <concepts>

#include "cpu/lumenRow.h"
#include "lumenVector.h"
#include "vorta/lumenShapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_NEON
// One instruction, which Highway has no name for.
template <size_t kLanes>
HWY_INLINE hn::Vec128<uint8_t, kLanes> DifferenceOfBytes(hn::Vec128<uint8_t, kLanes> a,
                                                         hn::Vec128<uint8_t, kLanes> b) {
  return hn::Vec128<uint8_t, kLanes>(vabd_u8(a.raw, b.raw));
}
HWY_INLINE hn::Vec128<uint8_t> DifferenceOfBytes(hn::Vec128<uint8_t> a, hn::Vec128<uint8_t> b) {
  return hn::Vec128<uint8_t>(vabdq_u8(a.raw, b.raw));
}
#else
template <class V>
HWY_INLINE V DifferenceOfBytes(V a, V b) {
  return hn::Or(hn::SaturatedSub(a, b), hn::SaturatedSub(b, a));
}
#endif

struct AbsDiff {
  template <class D, class V>
  HWY_INLINE auto operator()(D, V a, V b) const {
    using T = hn::TFromD<D>;
    if constexpr (std::floating_point<T>) {
      return hn::AbsDiff(a, b);
    } else if constexpr (std::unsigned_integral<T>) {
      return DifferenceOfBytes(a, b);
    } else {
      // The difference wraps; the lowest value keeps its bits, which as unsigned are its magnitude.
      return hn::BitCast(hn::RebindToUnsigned<D>(), hn::Abs(hn::Sub(a, b)));
    }
  }
};

// The difference of each pair of elements of two images.
template <class T, class TDst>
void AbsDiffRows(const T* src1, const T* src2, uint32_t width, uint32_t height, uint32_t srcStride,
                 TDst* dst, uint32_t dstStride) {
  const RowShape shape = ShapeOfRows<T, T, TDst>(width, height, {srcStride, srcStride, dstStride});
  ForRows(shape, [&](uint32_t y) LUM_LAMBDA {
    MapRow(hn::ScalableTag<T>(), lumRowAt(dst, y, dstStride), shape.count, shape.stream, AbsDiff(),
           lumRowAt(src1, y, srcStride), lumRowAt(src2, y, srcStride));
  });
}

// A value for each of the interleaved channels, in the place where the function's arguments have
// them.
template <class T, class TDst, class... Value>
struct AbsDiffValues {
  static void Rows(const T* src, Value... value, uint32_t width, uint32_t height,
                   uint32_t srcStride, TDst* dst, uint32_t dstStride) {
    const hn::ScalableTag<T> d;
    const T valueOfChannel[] = {value...};
    const ChannelValues values(d, valueOfChannel);
    const RowShape shape =
        ShapeOfRows<T, TDst>(size_t{width} * sizeof...(Value), height, {srcStride, dstStride});
    ForRows(shape, [&](uint32_t y) LUM_LAMBDA {
      MapChannels(d, lumRowAt(dst, y, dstStride), shape.count, shape.stream, AbsDiff(),
                  lumRowAt(src, y, srcStride), values);
    });
  }
};

}  // namespace

LUM_KERNEL(lumAbsDiffu8) = AbsDiffRows<uint8_t, uint8_t>;
LUM_KERNEL(lumAbsDiffs32) = AbsDiffRows<int32_t, uint32_t>;
LUM_KERNEL(lumAbsDifff32) = AbsDiffRows<float, float>;
LUM_KERNEL(lumAbsDiffVu8) = AbsDiffValues<uint8_t, uint8_t, uint8_t>::Rows;
LUM_KERNEL(lumAbsDiffVs32) = AbsDiffValues<int32_t, uint32_t, int32_t>::Rows;
LUM_KERNEL(lumAbsDiffVf32) = AbsDiffValues<float, float, float>::Rows;
LUM_KERNEL(lumAbsDiffVc3u8) = AbsDiffValues<uint8_t, uint8_t, uint8_t, uint8_t, uint8_t>::Rows;
LUM_KERNEL(lumAbsDiffVc3s32) = AbsDiffValues<int32_t, uint32_t, int32_t, int32_t, int32_t>::Rows;
LUM_KERNEL(lumAbsDiffVc3f32) = AbsDiffValues<float, float, float, float, float>::Rows;
LUM_KERNEL(lumAbsDiffVc4u8) =
    AbsDiffValues<uint8_t, uint8_t, uint8_t, uint8_t, uint8_t, uint8_t>::Rows;
LUM_KERNEL(lumAbsDiffVc4s32) =
    AbsDiffValues<int32_t, uint32_t, int32_t, int32_t, int32_t, int32_t>::Rows;
LUM_KERNEL(lumAbsDiffVc4f32) = AbsDiffValues<float, float, float, float, float, float>::Rows;

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
LUM_VECTOR(lumAbsDiffu8);
LUM_VECTOR(lumAbsDiffs32);
LUM_VECTOR(lumAbsDifff32);
LUM_VECTOR(lumAbsDiffVu8);
LUM_VECTOR(lumAbsDiffVs32);
LUM_VECTOR(lumAbsDiffVf32);
LUM_VECTOR(lumAbsDiffVc3u8);
LUM_VECTOR(lumAbsDiffVc3s32);
LUM_VECTOR(lumAbsDiffVc3f32);
LUM_VECTOR(lumAbsDiffVc4u8);
LUM_VECTOR(lumAbsDiffVc4s32);
LUM_VECTOR(lumAbsDiffVc4f32);
#endif  // HWY_ONCE
