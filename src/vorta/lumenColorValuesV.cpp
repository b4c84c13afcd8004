// Packed RGB into gray, YCrCb, HSV and Lab, vector.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vorta/lumenColorValuesV.cpp"
#include <hwy/foreach_target.h>  // compiles this file once for each instruction set
// Must come after foreach_target.h.
#include <hwy/highway.h>

#include "lumenColorFormat.h"
#include "lumenColorLab.h"
#include "lumenRoutines.h"
#include "lumenVector.h"
#include "vorta/lumenColorPixels-inl.h"
#include "vorta/lumenColorRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {
namespace {

// Arithmetic on words: the even bytes of a vector are worked on, then the odd ones, so that none
// changes its place.
// Of words that hold bytes.
HWY_INLINE VBytes FromWords(VWords even, VWords odd) {
  return hn::BitCast(Bytes(), hn::Or(even, hn::ShiftLeft<8>(odd)));
}

// A vector of each channel.
struct Channels {
  VBytes r, g, b;

  HWY_INLINE explicit Channels(const uint8_t* from) {
    const auto packed = LoadPacked3(from);
    r = packed.c0.All();
    g = packed.c1.All();
    b = packed.c2.All();
  }
};
struct WordChannels {
  VWords r, g, b;
};
HWY_INLINE WordChannels EvenPixels(const Channels& c) {
  return {EvenBytes(c.r), EvenBytes(c.g), EvenBytes(c.b)};
}
HWY_INLINE WordChannels OddPixels(const Channels& c) {
  return {OddBytes(c.r), OddBytes(c.g), OddBytes(c.b)};
}

HWY_INLINE VWords WeightedSum(const WordChannels& c, int r, int g, int b) {
  const auto weighted = [](VWords v, int weight) LUM_LAMBDA {
    return hn::Mul(v, hn::Set(Words(), static_cast<uint16_t>(weight)));
  };
  return hn::Add(hn::Add(weighted(c.r, r), weighted(c.g, g)), weighted(c.b, b));
}

// The sum is 65408 at most.
HWY_INLINE VWords Luma(const WordChannels& c) {
  return hn::ShiftRight<8>(hn::Add(WeightedSum(c, 77, 150, 29), hn::Set(Words(), 128)));
}

struct ToGray : PackedOp<3, 1> {
  template <bool kStream>
  HWY_INLINE void block(const BlockRows<ToGray>& at) const {
    StoreChannel<kStream>(LoadLuma(at.src[0]), at.dst[0]);
  }
};

// 128 + ((sum + 128) >> 8) of a sum from -32640 to 32640. Where it should be 256, adding 128 to the
// sum saturates and makes it 255.
HWY_INLINE VWords Chroma(VWords sum) {
  using Signed = hn::RebindToSigned<Words>;
  const auto rounded = hn::SaturatedAdd(hn::BitCast(Signed(), sum), hn::Set(Signed(), 128));
  return hn::BitCast(Words(), hn::Add(hn::ShiftRight<8>(rounded), hn::Set(Signed(), 128)));
}

struct ToYCrCb : PackedOp<3, 3> {
  template <bool kStream>
  HWY_INLINE void block(const BlockRows<ToYCrCb>& at) const {
    const Channels c(at.src[0]);
    const WordChannels even = EvenPixels(c), odd = OddPixels(c);
    const auto cr = [](const WordChannels& pixels)
                        LUM_LAMBDA { return Chroma(WeightedSum(pixels, 128, -107, -21)); };
    const auto cb = [](const WordChannels& pixels)
                        LUM_LAMBDA { return Chroma(WeightedSum(pixels, -43, -85, 128)); };
    StorePacked3<kStream>(FromWords(Luma(even), Luma(odd)), FromWords(cr(even), cr(odd)),
                          FromWords(cb(even), cb(odd)), at.dst[0]);
  }
};

using Floats = hn::Repartition<float, Bytes>;
using VFloats = hn::Vec<Floats>;

HWY_INLINE VFloats Reciprocal(VFloats v) {
  // Each step doubles the bits that are right: there are 8 of them on ARM, 11 or more on x86.
  VFloats r = hn::ApproximateReciprocal(v);
  for (int step = 0; step < (HWY_ARCH_X86 ? 1 : 2); ++step) {
    r = hn::Mul(r, hn::NegMulAdd(v, r, hn::Set(Floats(), 2.0f)));
  }
  return r;
}

// The quotient, rounded half up, of words: 255 at most, by 1 to 255. The exact sum of quotient and
// a half is a whole number or at least 1/510 below the next one; half of that is enough to make up
// for the reciprocal's error, which is below 1/8000.
HWY_INLINE VWords RoundedQuotient(VWords numerator, VWords denominator) {
  using Signed = hn::RebindToSigned<Quads>;
  const auto quotient = [](VQuads n, VQuads d) LUM_LAMBDA {
    const VFloats reciprocal = Reciprocal(hn::ConvertTo(Floats(), hn::BitCast(Signed(), d)));
    const VFloats half = hn::Set(Floats(), 0.5f + 1.0f / 1024);
    const VFloats q =
        hn::MulAdd(hn::ConvertTo(Floats(), hn::BitCast(Signed(), n)), reciprocal, half);
    return hn::BitCast(Quads(), hn::ConvertTo(Signed(), q));
  };
  const VQuads n = hn::BitCast(Quads(), numerator), d = hn::BitCast(Quads(), denominator);
  const VQuads low = hn::Set(Quads(), 0xFFFF);
  const VQuads even = quotient(hn::And(n, low), hn::And(d, low));
  const VQuads odd = quotient(hn::ShiftRight<16>(n), hn::ShiftRight<16>(d));
  return hn::BitCast(Words(), hn::Or(even, hn::ShiftLeft<16>(odd)));
}

struct HueAndSaturation {
  VWords hue, saturation;

  HWY_INLINE HueAndSaturation(const WordChannels& c, VWords value, VWords distance) {
    const VWords one = hn::Set(Words(), 1);
    const VWords twice = hn::Add(distance, distance), fourTimes = hn::Add(twice, twice);
    const auto isRed = hn::Eq(value, c.r), isGreen = hn::Eq(value, c.g);
    // Sixths of the circle, times the distance.
    const VWords wrapped = hn::IfThenElseZero(hn::Lt(c.g, c.b), hn::Add(fourTimes, twice));
    const VWords red = hn::Add(hn::Sub(c.g, c.b), wrapped);
    const VWords green = hn::Add(hn::Sub(c.b, c.r), twice);
    const VWords blue = hn::Add(hn::Sub(c.r, c.g), fourTimes);
    const VWords sixths = hn::IfThenElse(isRed, red, hn::IfThenElse(isGreen, green, blue));
    const VWords rounded =
        RoundedQuotient(hn::Mul(sixths, hn::Set(Words(), 30)), hn::Max(distance, one));
    const VWords whole = hn::Set(Words(), 180);
    hue = hn::IfThenZeroElse(hn::Eq(rounded, whole), rounded);
    saturation =
        RoundedQuotient(hn::Sub(hn::ShiftLeft<8>(distance), distance), hn::Max(value, one));
  }
};

struct ToHsv : PackedOp<3, 3> {
  template <bool kStream>
  HWY_INLINE void block(const BlockRows<ToHsv>& at) const {
    const Channels c(at.src[0]);
    const VBytes value = hn::Max(hn::Max(c.r, c.g), c.b);
    const VBytes distance = hn::Sub(value, hn::Min(hn::Min(c.r, c.g), c.b));
    const HueAndSaturation even(EvenPixels(c), EvenBytes(value), EvenBytes(distance));
    const HueAndSaturation odd(OddPixels(c), OddBytes(value), OddBytes(distance));
    StorePacked3<kStream>(FromWords(even.hue, odd.hue), FromWords(even.saturation, odd.saturation),
                          value, at.dst[0]);
  }
};

using Numbers = hn::Repartition<int32_t, Bytes>;
using VNumbers = hn::Vec<Numbers>;

// Elements of a table that has an element to spare behind the last.
template <class T>
HWY_INLINE VNumbers LookUp(const T* table, VNumbers index) {
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
  const VNumbers offset = hn::ShiftLeft<sizeof(T) / 2>(index);
  const VNumbers found =
      hn::GatherOffset(Numbers(), reinterpret_cast<const int32_t*>(table), offset);
  return sizeof(T) == 4 ? found : hn::And(found, hn::Set(Numbers(), 0xFFFF));
#else
  alignas(16) int32_t element[hn::MaxLanes(Numbers())];
  hn::Store(index, Numbers(), element);
  for (int32_t& i : element) i = static_cast<int32_t>(table[i]);
  return hn::Load(Numbers(), element);
#endif
}

struct ToLab : PackedOp<4, 3> {
  static HWY_INLINE VQuads Convert(VQuads pixels) {
    const VNumbers x = hn::BitCast(Numbers(), pixels), mask = hn::Set(Numbers(), 255);
    const VNumbers linear[3] = {
        LookUp(lumColor::LINEAR.value, hn::And(x, mask)),
        LookUp(lumColor::LINEAR.value, hn::And(hn::ShiftRight<8>(x), mask)),
        LookUp(lumColor::LINEAR.value, hn::And(hn::ShiftRight<16>(x), mask))};
    VNumbers f[3];
    for (size_t k = 0; k < 3; ++k) {
      VNumbers sum = hn::Set(Numbers(), 1 << (lumColor::XYZ_SHIFT - 1));
      for (size_t i = 0; i < 3; ++i) {
        const auto weight = hn::Set(Numbers(), lumColor::XYZ_COEFFICIENT[k][i]);
        sum = hn::Add(sum, hn::Mul(linear[i], weight));
      }
      f[k] = LookUp(lumColor::LAB.f, hn::ShiftRight<lumColor::XYZ_SHIFT>(sum));
    }
    const auto scaled = [](VNumbers v, int32_t factor, int32_t offset) LUM_LAMBDA {
      return hn::Add(hn::Mul(v, hn::Set(Numbers(), factor)), hn::Set(Numbers(), offset));
    };
    using lumColor::AB_OFFSET, lumColor::LAB_F_BITS;
    const VNumbers l =
        hn::ShiftRight<lumColor::L_SHIFT>(scaled(f[1], lumColor::L_FACTOR, lumColor::L_OFFSET));
    const VNumbers a =
        hn::ShiftRight<LAB_F_BITS>(scaled(hn::Sub(f[0], f[1]), lumColor::A_FACTOR, AB_OFFSET));
    const VNumbers b =
        hn::ShiftRight<LAB_F_BITS>(scaled(hn::Sub(f[1], f[2]), lumColor::B_FACTOR, AB_OFFSET));
    return hn::BitCast(Quads(), hn::Or(hn::Or(l, hn::ShiftLeft<8>(a)), hn::ShiftLeft<16>(b)));
  }

  template <bool kStream>
  HWY_INLINE void block(const BlockRows<ToLab>& at) const {
    VQuads lab[4];
    for (size_t k = 0; k < 4; ++k) {
      lab[k] = Convert(hn::BitCast(Quads(), hn::LoadU(Bytes(), at.src[0] + k * BlockLength())));
    }
    StoreThreeOfFour<kStream>(lab, at.dst[0]);
  }
};

}  // namespace

LUM_KERNEL(lumColorRGB888ToGrayu8) = PackedRows<ToGray>;
LUM_KERNEL(lumColorRGB888toYCrCbu8) = PackedRows<ToYCrCb>;
LUM_KERNEL(lumColorRGB888ToHSV888u8) = PackedRows<ToHsv>;
LUM_KERNEL(lumColorRGBA8888ToLABu8) = PackedRows<ToLab>;
constexpr lumPackedRow* rgb2lab = PackedRow<ToLab>;

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#define LUM_COLOR_VALUES(name, From, To) LUM_VECTOR(name);
#include "lumenColorRgb.def"
LUM_VECTOR_OF(lumPackedRow, rgb2lab);
#endif  // HWY_ONCE
