// What the descriptions of conversions between YCbCr and RGB have in common.

#ifndef LUMEN_TEST_COLOR_DESCRIPTION_H
#define LUMEN_TEST_COLOR_DESCRIPTION_H

#include <string_view>

#include "lumen/lumenColor.h"
#include "lumenTestModule.h"

// Bytes of a pixel, and how many pixels share a sample of chroma.
constexpr uint32_t LUMEN_TEST_PixelBytes(std::string_view format) {
  return format == "RGB565" ? 2 : format == "RGB888" ? 3 : 4;
}
struct LUMEN_TEST_Subsampling {
  uint32_t x, y;
};
constexpr LUMEN_TEST_Subsampling LUMEN_TEST_SubsamplingOf(int digits) {
  return {digits == 444 ? 1u : 2u, digits == 420 ? 2u : 1u};
}

// Y, or pixels of some bytes. Rows that share chroma are converted together, so that an odd height
// takes a row more.
constexpr LUMEN_TEST_Image LUMEN_TEST_Pixels(const char* name, LUMEN_TEST_Subsampling s,
                                             uint32_t bytes, bool isWritten) {
  return {.name = name,
          .type = LUMEN_TEST_Type::u8,
          .isWritten = isWritten,
          .channels = bytes,
          .heightMultiple = s.y};
}
// Chroma of one or two bytes a sample.
constexpr LUMEN_TEST_Image LUMEN_TEST_Chroma(const char* name, LUMEN_TEST_Subsampling s,
                                             uint32_t bytes, bool isWritten) {
  return {.name = name,
          .type = LUMEN_TEST_Type::u8,
          .isWritten = isWritten,
          .channels = bytes,
          .widthDivisor = s.x,
          .heightDivisor = s.y};
}

// Scripts are named as what follows the family's name in the function's.
constexpr LUMEN_TEST_Scripts LUMEN_TEST_ColorScripts(LUMEN_FUNC id) {
  return {"lumcolor", LUMEN_FUNC_NAME[id] + std::string_view("lumColor").size(),
          /*hasProfiling=*/false};
}

// The functions of module COLORRGB that give YCbCr, and the one that turns.
extern const std::span<const LUMEN_TEST_Function> LUMEN_TEST_COLOR_FROM_RGB_FUNCTIONS;

#endif  // LUMEN_TEST_COLOR_DESCRIPTION_H
