// Module COLORRGB: packed RGB formats into each other, and into gray, YCrCb, HSV, Lab and YCbCr.
//
// Script columns: source, reference and a text. Images are stored with one channel of bytes, and
// rows that many times as long.

#include <string_view>
#include <vector>

#include "lumen/lumenColorRgb.h"
#include "lumenColorFormat.h"
#include "lumenTestColorDescription.h"
#include "lumenTestModule.h"
#include "lumenTestModules.h"

namespace {

template <class From, class To>
constexpr LUMEN_TEST_Image kImages[] = {
    {.name = "src", .type = LUMEN_TEST_Type::u8, .channels = From::kBytes},
    {.name = "dst",
     .type = LUMEN_TEST_Type::u8,
     .isWritten = true,
     .channels = To::kBytes,
     .inPlaceOf = From::kBytes == To::kBytes},
};

// Scripts are named as what follows "lumColor" in the function's name.
template <auto* convert, class From, class To>
constexpr LUMEN_TEST_Description packed(LUMEN_FUNC id) {
  return {.name = LUMEN_FUNC_NAME[id],
          .id = id,
          .scripts = {"lumencolorrgb", LUMEN_FUNC_NAME[id] + std::string_view("lumColor").size(),
                      /*hasProfiling=*/false},
          .images = kImages<From, To>,
          .scalars = {},
          .call = [](const LUMEN_TEST_Arguments& a) {
            convert(a.as<const uint8_t>(0), a.width, a.height, a.stride[0], a.as<uint8_t>(1),
                    a.stride[1]);
          }};
}

#define LUM_COLOR_RGB(name, From, To) \
  constexpr auto k##name = packed<name, lumColor::From, lumColor::To>(LUMEN_FUNC_##name);
#include "lumenColorRgb.def"

}  // namespace

#define LUM_COLOR_RGB(name, From, To) LUMEN_UNIT_TEST_ONLY(name, k##name)
#include "lumenColorRgb.def"

int LUMEN_TEST_COLORRGB_Test(int loops, const char* dataDirectory) {
#define LUM_COLOR_RGB(name, From, To) {&k##name, nullptr, unitTest_##name, profiling_##name},
  static constexpr LUMEN_TEST_Function kFunctions[] = {
#include "lumenColorRgb.def"
  };
  std::vector<LUMEN_TEST_Function> functions(std::begin(kFunctions), std::end(kFunctions));
  functions.insert(functions.end(), LUMEN_TEST_COLOR_FROM_RGB_FUNCTIONS.begin(),
                   LUMEN_TEST_COLOR_FROM_RGB_FUNCTIONS.end());
  return LUMEN_TEST_RunModule(functions, loops, dataDirectory);
}
