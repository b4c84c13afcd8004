// Module COLORYUV: conversions between YCbCr layouts, and Cb and Cr changing places.
//
// Script columns: the source's planes (Y, Cb and Cr, or Y and pairs), a reference for each plane of
// the destination, and a text. Planes of pairs are stored as images of bytes, twice as wide.

#include <string_view>

#include "lumen/lumenColorLayout.h"
#include "lumenColorFormat.h"
#include "lumenTestModule.h"
#include "lumenTestModules.h"

namespace {

constexpr LUMEN_TEST_Type kByte = LUMEN_TEST_Type::u8;

constexpr LUMEN_TEST_Image lumaPlane(bool isWritten) {
  return {.name = isWritten ? "dstY" : "srcY", .type = kByte, .isWritten = isWritten};
}
template <class L>
constexpr LUMEN_TEST_Image chromaPlane(const char* name, bool isWritten) {
  return {.name = name,
          .type = kByte,
          .isWritten = isWritten,
          .channels = L::kSampleBytes,
          .widthDivisor = L::kPixelsAcross,
          .heightDivisor = L::kPixelsDown};
}

template <class From, class To>
constexpr LUMEN_TEST_Image kPlanarToPlanar[] = {
    lumaPlane(false), chromaPlane<From>("srcCb", false), chromaPlane<From>("srcCr", false),
    lumaPlane(true),  chromaPlane<To>("dstCb", true),    chromaPlane<To>("dstCr", true),
};
template <class From, class To>
constexpr LUMEN_TEST_Image kPlanarToPseudo[] = {
    lumaPlane(false), chromaPlane<From>("srcCb", false), chromaPlane<From>("srcCr", false),
    lumaPlane(true),  chromaPlane<To>("dstC", true),
};
template <class From, class To>
constexpr LUMEN_TEST_Image kPseudoToPlanar[] = {
    lumaPlane(false),
    chromaPlane<From>("srcC", false),
    lumaPlane(true),
    chromaPlane<To>("dstCb", true),
    chromaPlane<To>("dstCr", true),
};
template <class From, class To>
constexpr LUMEN_TEST_Image kPseudoToPseudo[] = {
    lumaPlane(false),
    chromaPlane<From>("srcC", false),
    lumaPlane(true),
    chromaPlane<To>("dstC", true),
};
constexpr LUMEN_TEST_Image kSwap[] = {
    {.name = "src", .type = kByte, .channels = 2},
    {.name = "dst", .type = kByte, .isWritten = true, .channels = 2, .inPlaceOf = 1},
};

// Scripts are named as what follows "lumColor" in the function's name.
constexpr LUMEN_TEST_Description description(LUMEN_FUNC id,
                                             std::span<const LUMEN_TEST_Image> images,
                                             void (*call)(const LUMEN_TEST_Arguments&)) {
  return {.name = LUMEN_FUNC_NAME[id],
          .id = id,
          .scripts = {"lumencoloryuv", LUMEN_FUNC_NAME[id] + std::string_view("lumColor").size(),
                      /*hasProfiling=*/false},
          .images = images,
          .scalars = {},
          .call = call};
}

// Images of the arguments as the functions take them.
const uint8_t* in(const LUMEN_TEST_Arguments& a, size_t image) {
  return a.as<const uint8_t>(image);
}
uint8_t* out(const LUMEN_TEST_Arguments& a, size_t image) { return a.as<uint8_t>(image); }

template <auto* convert, class From, class To>
constexpr LUMEN_TEST_Description planarToPlanar(LUMEN_FUNC id) {
  return description(id, kPlanarToPlanar<From, To>, [](const LUMEN_TEST_Arguments& a) {
    convert(in(a, 0), in(a, 1), in(a, 2), a.width, a.height, a.stride[0], a.stride[1], a.stride[2],
            out(a, 3), out(a, 4), out(a, 5), a.stride[3], a.stride[4], a.stride[5]);
  });
}
template <auto* convert, class From, class To>
constexpr LUMEN_TEST_Description planarToPseudo(LUMEN_FUNC id) {
  return description(id, kPlanarToPseudo<From, To>, [](const LUMEN_TEST_Arguments& a) {
    convert(in(a, 0), in(a, 1), in(a, 2), a.width, a.height, a.stride[0], a.stride[1], a.stride[2],
            out(a, 3), out(a, 4), a.stride[3], a.stride[4]);
  });
}
template <auto* convert, class From, class To>
constexpr LUMEN_TEST_Description pseudoToPlanar(LUMEN_FUNC id) {
  return description(id, kPseudoToPlanar<From, To>, [](const LUMEN_TEST_Arguments& a) {
    convert(in(a, 0), in(a, 1), a.width, a.height, a.stride[0], a.stride[1], out(a, 2), out(a, 3),
            out(a, 4), a.stride[2], a.stride[3], a.stride[4]);
  });
}
template <auto* convert, class From, class To>
constexpr LUMEN_TEST_Description pseudoToPseudo(LUMEN_FUNC id) {
  return description(id, kPseudoToPseudo<From, To>, [](const LUMEN_TEST_Arguments& a) {
    convert(in(a, 0), in(a, 1), a.width, a.height, a.stride[0], a.stride[1], out(a, 2), out(a, 3),
            a.stride[2], a.stride[3]);
  });
}

#define LUM_COLOR_PLANAR_TO_PLANAR(name, From, To) \
  constexpr auto k##name = planarToPlanar<name, lumColor::From, lumColor::To>(LUMEN_FUNC_##name);
#define LUM_COLOR_PLANAR_TO_PSEUDO(name, From, To) \
  constexpr auto k##name = planarToPseudo<name, lumColor::From, lumColor::To>(LUMEN_FUNC_##name);
#define LUM_COLOR_PSEUDO_TO_PLANAR(name, From, To) \
  constexpr auto k##name = pseudoToPlanar<name, lumColor::From, lumColor::To>(LUMEN_FUNC_##name);
#define LUM_COLOR_PSEUDO_TO_PSEUDO(name, From, To) \
  constexpr auto k##name = pseudoToPseudo<name, lumColor::From, lumColor::To>(LUMEN_FUNC_##name);
#include "lumenColorLayout.def"
constexpr auto klumColorCbCrSwapu8 =
    description(LUMEN_FUNC_lumColorCbCrSwapu8, kSwap, [](const LUMEN_TEST_Arguments& a) {
      lumColorCbCrSwapu8(in(a, 0), a.width, a.height, a.stride[0], out(a, 1), a.stride[1]);
    });

}  // namespace

#define LUM_COLOR_LAYOUT(name, From, To) LUMEN_UNIT_TEST_ONLY(name, k##name)
#include "lumenColorLayout.def"
LUMEN_UNIT_TEST_ONLY(lumColorCbCrSwapu8, klumColorCbCrSwapu8)

int LUMEN_TEST_COLORYUV_Test(int loops, const char* dataDirectory) {
#define LUM_COLOR_LAYOUT(name, From, To) {&k##name, nullptr, unitTest_##name, profiling_##name},
  static constexpr LUMEN_TEST_Function kFunctions[] = {
#include "lumenColorLayout.def"
      {&klumColorCbCrSwapu8, nullptr, unitTest_lumColorCbCrSwapu8, profiling_lumColorCbCrSwapu8}};
  return LUMEN_TEST_RunModule(kFunctions, loops, dataDirectory);
}
