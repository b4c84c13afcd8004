// Module COLORYUVRGB: YCbCr to RGB.
//
// Script columns: the planes that are read (Y, Cb and Cr, or Y and the pairs), or the frame or the
// macroblocks; a reference and a text. Images of several bytes a pixel or a sample are stored as
// images of one channel with rows that many times as long.

#include "lumenTestColorDescription.h"
#include "lumenTestModules.h"

namespace {

template <int kDigits, uint32_t kBytes>
struct ToRgb {
  static constexpr auto s = LUMEN_TEST_SubsamplingOf(kDigits);
  static constexpr LUMEN_TEST_Image planar[] = {
      LUMEN_TEST_Pixels("srcY", s, 1, false),
      LUMEN_TEST_Chroma("srcCb", s, 1, false),
      LUMEN_TEST_Chroma("srcCr", s, 1, false),
      LUMEN_TEST_Pixels("dst", s, kBytes, true),
  };
  static constexpr LUMEN_TEST_Image pairs[] = {
      LUMEN_TEST_Pixels("srcY", s, 1, false),
      LUMEN_TEST_Chroma("srcC", s, 2, false),
      LUMEN_TEST_Pixels("dst", s, kBytes, true),
  };
  // A row of one pixel has no pair and ends the process.
  static constexpr LUMEN_TEST_Sizes sizes = {.leastWidth = s.x};
};

template <auto* function, int kDigits, uint32_t kBytes>
constexpr LUMEN_TEST_Description planarToRgb(LUMEN_FUNC id) {
  return {.name = LUMEN_FUNC_NAME[id],
          .id = id,
          .scripts = LUMEN_TEST_ColorScripts(id),
          .images = ToRgb<kDigits, kBytes>::planar,
          .scalars = {},
          .call =
              [](const LUMEN_TEST_Arguments& a) {
                function(a.as<const uint8_t>(0), a.as<const uint8_t>(1), a.as<const uint8_t>(2),
                         a.width, a.height, a.stride[0], a.stride[1], a.stride[2], a.as<uint8_t>(3),
                         a.stride[3]);
              },
          .sizes = ToRgb<kDigits, kBytes>::sizes};
}

template <auto* function, int kDigits, uint32_t kBytes>
constexpr LUMEN_TEST_Description pairsToRgb(LUMEN_FUNC id) {
  return {.name = LUMEN_FUNC_NAME[id],
          .id = id,
          .scripts = LUMEN_TEST_ColorScripts(id),
          .images = ToRgb<kDigits, kBytes>::pairs,
          .scalars = {},
          .call =
              [](const LUMEN_TEST_Arguments& a) {
                function(a.as<const uint8_t>(0), a.as<const uint8_t>(1), a.width, a.height,
                         a.stride[0], a.stride[1], a.as<uint8_t>(2), a.stride[2]);
              },
          .sizes = ToRgb<kDigits, kBytes>::sizes};
}

// One image to another.
template <auto* function>
void callImage(const LUMEN_TEST_Arguments& a) {
  function(a.as<const uint8_t>(0), a.width, a.height, a.stride[0], a.as<uint8_t>(1), a.stride[1]);
}

// A camera frame: rows of Y, half as many of pairs behind them, without gaps.
template <uint32_t kBytes>
constexpr LUMEN_TEST_Image kFrame[] = {
    {.name = "src",
     .type = LUMEN_TEST_Type::u8,
     .isPacked = true,
     .extent = [](const LUMEN_TEST_Arguments& a) -> LUMEN_TEST_Extent {
       return {a.width, uint64_t{a.height} / 2 * 3};
     }},
    {.name = "dst", .type = LUMEN_TEST_Type::u8, .isWritten = true, .channels = kBytes},
};
template <auto* function, uint32_t kBytes>
constexpr LUMEN_TEST_Description frame(LUMEN_FUNC id) {
  return {.name = LUMEN_FUNC_NAME[id],
          .id = id,
          .scripts = LUMEN_TEST_ColorScripts(id),
          .images = kFrame<kBytes>,
          .scalars = {},
          .call =
              [](const LUMEN_TEST_Arguments& a) {
                function(a.as<const uint8_t>(0), a.width, a.height, 0, a.as<uint8_t>(1),
                         a.stride[1]);
              },
          .sizes = {.leastWidth = 2, .leastHeight = 2, .widthStep = 2, .heightStep = 2}};
}

// Macroblocks of 8h x 8v pixels.
template <uint32_t kH, uint32_t kV>
constexpr LUMEN_TEST_Image kMacroblocks[] = {
    {.name = "src",
     .type = LUMEN_TEST_Type::u8,
     .channels = 64 * (kH * kV + 2),
     .widthDivisor = 8 * kH,
     .heightDivisor = 8 * kV},
    {.name = "dst", .type = LUMEN_TEST_Type::u8, .isWritten = true, .channels = 3},
};
template <auto* function, uint32_t kH, uint32_t kV>
constexpr LUMEN_TEST_Description macroblocks(LUMEN_FUNC id) {
  return {.name = LUMEN_FUNC_NAME[id],
          .id = id,
          .scripts = LUMEN_TEST_ColorScripts(id),
          .images = kMacroblocks<kH, kV>,
          .scalars = {},
          .call = callImage<function>};
}

constexpr auto kToRGB8888 =
    frame<lumColorYUV420toRGB8888u8, 4>(LUMEN_FUNC_lumColorYUV420toRGB8888u8);
constexpr auto kToRGB565 = frame<lumColorYUV420toRGB565u8, 2>(LUMEN_FUNC_lumColorYUV420toRGB565u8);
constexpr auto kTurned =
    frame<lumColorYUV420toRGB565u8Rotate180, 2>(LUMEN_FUNC_lumColorYUV420toRGB565u8Rotate180);

constexpr auto kH1V1 =
    macroblocks<lumColorYCrCbH1V1toRGB888u8, 1, 1>(LUMEN_FUNC_lumColorYCrCbH1V1toRGB888u8);
constexpr auto kH2V1 =
    macroblocks<lumColorYCrCbH2V1toRGB888u8, 2, 1>(LUMEN_FUNC_lumColorYCrCbH2V1toRGB888u8);
constexpr auto kH2V2 =
    macroblocks<lumColorYCrCbH2V2toRGB888u8, 2, 2>(LUMEN_FUNC_lumColorYCrCbH2V2toRGB888u8);
constexpr auto kH1V2 =
    macroblocks<lumColorYCrCbH1V2toRGB888u8, 1, 2>(LUMEN_FUNC_lumColorYCrCbH1V2toRGB888u8);

#define LUM_COLOR(sub, format)                                                                    \
  constexpr auto k##sub##PlanarTo##format =                                                       \
      planarToRgb<lumColorYCbCr##sub##PlanarTo##format##u8, sub, LUMEN_TEST_PixelBytes(#format)>( \
          LUMEN_FUNC_lumColorYCbCr##sub##PlanarTo##format##u8);                                   \
  constexpr auto k##sub##PseudoPlanarTo##format =                                                 \
      pairsToRgb<lumColorYCbCr##sub##PseudoPlanarTo##format##u8, sub,                             \
                 LUMEN_TEST_PixelBytes(#format)>(                                                 \
          LUMEN_FUNC_lumColorYCbCr##sub##PseudoPlanarTo##format##u8);
#include "lumenColor.def"

}  // namespace

LUMEN_UNIT_TEST_ONLY(lumColorYUV420toRGB8888u8, kToRGB8888)
LUMEN_UNIT_TEST_ONLY(lumColorYUV420toRGB565u8, kToRGB565)
LUMEN_UNIT_TEST_ONLY(lumColorYUV420toRGB565u8Rotate180, kTurned)
LUMEN_UNIT_TEST_ONLY(lumColorYCrCbH1V1toRGB888u8, kH1V1)
LUMEN_UNIT_TEST_ONLY(lumColorYCrCbH2V1toRGB888u8, kH2V1)
LUMEN_UNIT_TEST_ONLY(lumColorYCrCbH2V2toRGB888u8, kH2V2)
LUMEN_UNIT_TEST_ONLY(lumColorYCrCbH1V2toRGB888u8, kH1V2)
#define LUM_COLOR(sub, format)                                                             \
  LUMEN_UNIT_TEST_ONLY(lumColorYCbCr##sub##PlanarTo##format##u8, k##sub##PlanarTo##format) \
  LUMEN_UNIT_TEST_ONLY(lumColorYCbCr##sub##PseudoPlanarTo##format##u8,                     \
                       k##sub##PseudoPlanarTo##format)
#include "lumenColor.def"

#define LUMEN_TEST_ROW(description, function) \
  { &description, nullptr, unitTest_##function, profiling_##function }
static constexpr LUMEN_TEST_Function kFunctions[] = {
    LUMEN_TEST_ROW(kToRGB8888, lumColorYUV420toRGB8888u8),
    LUMEN_TEST_ROW(kToRGB565, lumColorYUV420toRGB565u8),
    LUMEN_TEST_ROW(kTurned, lumColorYUV420toRGB565u8Rotate180),
    LUMEN_TEST_ROW(kH1V1, lumColorYCrCbH1V1toRGB888u8),
    LUMEN_TEST_ROW(kH2V1, lumColorYCrCbH2V1toRGB888u8),
    LUMEN_TEST_ROW(kH2V2, lumColorYCrCbH2V2toRGB888u8),
    LUMEN_TEST_ROW(kH1V2, lumColorYCrCbH1V2toRGB888u8),
#define LUM_COLOR(sub, format)                                                        \
  LUMEN_TEST_ROW(k##sub##PlanarTo##format, lumColorYCbCr##sub##PlanarTo##format##u8), \
      LUMEN_TEST_ROW(k##sub##PseudoPlanarTo##format,                                  \
                     lumColorYCbCr##sub##PseudoPlanarTo##format##u8),
#include "lumenColor.def"
};

int LUMEN_TEST_COLORYUVRGB_Test(int loops, const char* dataDirectory) {
  return LUMEN_TEST_RunModule(kFunctions, loops, dataDirectory);
}
