// RGB to YCbCr, and RGB888 turned to RGB565, of module COLORRGB.
//
// Script columns: the image, a reference for each plane that is written (Y, Cb and Cr, or Y and the
// pairs), a text.

#include "lumenTestColorDescription.h"

namespace {

template <int kDigits, uint32_t kBytes>
struct FromRgb {
  static constexpr auto s = LUMEN_TEST_SubsamplingOf(kDigits);
  static constexpr LUMEN_TEST_Image planar[] = {
      LUMEN_TEST_Pixels("src", s, kBytes, false),
      LUMEN_TEST_Pixels("dstY", s, 1, true),
      LUMEN_TEST_Chroma("dstCb", s, 1, true),
      LUMEN_TEST_Chroma("dstCr", s, 1, true),
  };
  static constexpr LUMEN_TEST_Image pairs[] = {
      LUMEN_TEST_Pixels("src", s, kBytes, false),
      LUMEN_TEST_Pixels("dstY", s, 1, true),
      LUMEN_TEST_Chroma("dstC", s, 2, true),
  };
  // Rows with half a pair are not written.
  static constexpr LUMEN_TEST_Sizes sizes = {.leastWidth = s.x, .widthStep = s.x};
};

template <auto* function, int kDigits, uint32_t kBytes>
constexpr LUMEN_TEST_Description toPlanar(LUMEN_FUNC id) {
  return {.name = LUMEN_FUNC_NAME[id],
          .id = id,
          .scripts = LUMEN_TEST_ColorScripts(id),
          .images = FromRgb<kDigits, kBytes>::planar,
          .scalars = {},
          .call =
              [](const LUMEN_TEST_Arguments& a) {
                function(a.as<const uint8_t>(0), a.width, a.height, a.stride[0], a.as<uint8_t>(1),
                         a.as<uint8_t>(2), a.as<uint8_t>(3), a.stride[1], a.stride[2], a.stride[3]);
              },
          .sizes = FromRgb<kDigits, kBytes>::sizes};
}

template <auto* function, int kDigits, uint32_t kBytes>
constexpr LUMEN_TEST_Description toPairs(LUMEN_FUNC id) {
  return {.name = LUMEN_FUNC_NAME[id],
          .id = id,
          .scripts = LUMEN_TEST_ColorScripts(id),
          .images = FromRgb<kDigits, kBytes>::pairs,
          .scalars = {},
          .call =
              [](const LUMEN_TEST_Arguments& a) {
                function(a.as<const uint8_t>(0), a.width, a.height, a.stride[0], a.as<uint8_t>(1),
                         a.as<uint8_t>(2), a.stride[1], a.stride[2]);
              },
          .sizes = FromRgb<kDigits, kBytes>::sizes};
}

constexpr LUMEN_TEST_Image kTurnedImages[] = {
    {.name = "src", .type = LUMEN_TEST_Type::u8, .channels = 3},
    {.name = "dst", .type = LUMEN_TEST_Type::u8, .isWritten = true, .channels = 2},
};
constexpr LUMEN_TEST_Description kTurned = {
    .name = LUMEN_FUNC_NAME[LUMEN_FUNC_lumColorRGB888ToRGB565Rotate180u8],
    .id = LUMEN_FUNC_lumColorRGB888ToRGB565Rotate180u8,
    .scripts = LUMEN_TEST_ColorScripts(LUMEN_FUNC_lumColorRGB888ToRGB565Rotate180u8),
    .images = kTurnedImages,
    .scalars = {},
    .call = [](const LUMEN_TEST_Arguments& a) {
      lumColorRGB888ToRGB565Rotate180u8(a.as<const uint8_t>(0), a.width, a.height, a.stride[0],
                                        a.as<uint8_t>(1), a.stride[1]);
    }};

#define LUM_COLOR(sub, format)                                                                 \
  constexpr auto k##format##To##sub##Planar =                                                  \
      toPlanar<lumColor##format##ToYCbCr##sub##Planaru8, sub, LUMEN_TEST_PixelBytes(#format)>( \
          LUMEN_FUNC_lumColor##format##ToYCbCr##sub##Planaru8);                                \
  constexpr auto k##format##To##sub##PseudoPlanar =                                            \
      toPairs<lumColor##format##ToYCbCr##sub##PseudoPlanaru8, sub,                             \
              LUMEN_TEST_PixelBytes(#format)>(                                                 \
          LUMEN_FUNC_lumColor##format##ToYCbCr##sub##PseudoPlanaru8);
#include "lumenColor.def"

}  // namespace

LUMEN_UNIT_TEST_ONLY(lumColorRGB888ToRGB565Rotate180u8, kTurned)
#define LUM_COLOR(sub, format)                                                               \
  LUMEN_UNIT_TEST_ONLY(lumColor##format##ToYCbCr##sub##Planaru8, k##format##To##sub##Planar) \
  LUMEN_UNIT_TEST_ONLY(lumColor##format##ToYCbCr##sub##PseudoPlanaru8,                       \
                       k##format##To##sub##PseudoPlanar)
#include "lumenColor.def"

#define LUMEN_TEST_ROW(description, function) \
  { &description, nullptr, unitTest_##function, profiling_##function }
static constexpr LUMEN_TEST_Function kFunctions[] = {
#define LUM_COLOR(sub, format)                                                          \
  LUMEN_TEST_ROW(k##format##To##sub##Planar, lumColor##format##ToYCbCr##sub##Planaru8), \
      LUMEN_TEST_ROW(k##format##To##sub##PseudoPlanar,                                  \
                     lumColor##format##ToYCbCr##sub##PseudoPlanaru8),
#include "lumenColor.def"
    LUMEN_TEST_ROW(kTurned, lumColorRGB888ToRGB565Rotate180u8),
};
const std::span<const LUMEN_TEST_Function> LUMEN_TEST_COLOR_FROM_RGB_FUNCTIONS = kFunctions;
