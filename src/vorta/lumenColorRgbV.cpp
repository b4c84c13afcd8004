// Packed RGB formats into each other, vector.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vorta/lumenColorRgbV.cpp"
#include <hwy/foreach_target.h>  // compiles this file once for each instruction set
// Must come after foreach_target.h.
#include <hwy/highway.h>

#include "lumenColorFormat.h"
#include "lumenRoutines.h"
#include "lumenVector.h"
#include "vorta/lumenColorPixels-inl.h"
#include "vorta/lumenColorRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {
namespace {

template <class From, class To>
struct Reorder : PackedOp<From::kBytes, To::kBytes> {
  template <bool kStream>
  HWY_INLINE void block(const BlockRows<Reorder>& at) const {
    constexpr bool kExchange = From::kIsBgr != To::kIsBgr;
    Pixels::Load<From::kBytes, kExchange>(at.src[0]).template store<To::kBytes, kStream>(at.dst[0]);
  }
};

// Five bits at each end of a word change places.
template <>
struct Reorder<lumColor::Rgb565, lumColor::Bgr565> : PackedOp<2, 2> {
  template <bool kStream>
  HWY_INLINE void block(const BlockRows<Reorder>& at) const {
    const size_t N = BlockLength();
    const auto exchanged = [](const uint8_t* from) LUM_LAMBDA {
      const VWords x = hn::BitCast(Words(), hn::LoadU(Bytes(), from));
      const VWords ends = hn::Or(hn::ShiftLeft<11>(x), hn::ShiftRight<11>(x));
      return hn::BitCast(Bytes(), hn::Or(ends, hn::And(x, hn::Set(Words(), 0x07E0))));
    };
    const VBytes first = exchanged(at.src[0]), second = exchanged(at.src[0] + N);
    StoreBytes<kStream>(first, at.dst[0]);
    StoreBytes<kStream>(second, at.dst[0] + N);
  }
};

}  // namespace

#define LUM_COLOR_REORDER(name, From, To) \
  LUM_KERNEL(name) = PackedRows<Reorder<lumColor::From, lumColor::To>>;
#define LUM_COLOR_ROW(routine, From, To) \
  constexpr lumPackedRow* routine = PackedRow<Reorder<lumColor::From, lumColor::To>>;
#include "lumenColorRgb.def"

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#define LUM_COLOR_REORDER(name, From, To) LUM_VECTOR(name);
#define LUM_COLOR_ROW(routine, From, To) LUM_VECTOR_OF(lumPackedRow, routine);
#include "lumenColorRgb.def"
#endif  // HWY_ONCE
