// Module FAST: FAST corners with arcs of 9.

#include "lumenTestFast.h"
#include "lumenTestModules.h"

namespace {

constexpr auto ku8 = LUMEN_TEST_FastPlain::of<lumCornerFast9u8, LUMEN_FUNC_lumCornerFast9u8>();
constexpr auto kScoreu8 =
    LUMEN_TEST_FastScored::of<lumCornerFast9Scoreu8, LUMEN_FUNC_lumCornerFast9Scoreu8>();
constexpr auto kScoreu8_v2 =
    LUMEN_TEST_FastSuppressed::of<lumCornerFast9Scoreu8_v2, LUMEN_FUNC_lumCornerFast9Scoreu8_v2>();
constexpr auto kInMasku8 =
    LUMEN_TEST_FastMasked::of<lumCornerFast9InMasku8, LUMEN_FUNC_lumCornerFast9InMasku8>();
constexpr auto kInMaskScoreu8 =
    LUMEN_TEST_FastScoredMasked::of<lumCornerFast9InMaskScoreu8,
                                    LUMEN_FUNC_lumCornerFast9InMaskScoreu8>();
constexpr auto kInMaskScoreu8_v2 =
    LUMEN_TEST_FastSuppressedMasked::of<lumCornerFast9InMaskScoreu8_v2,
                                        LUMEN_FUNC_lumCornerFast9InMaskScoreu8_v2>();

}  // namespace

LUMEN_UNIT_TEST_ONLY(lumCornerFast9u8, ku8)
LUMEN_UNIT_TEST_ONLY(lumCornerFast9Scoreu8, kScoreu8)
LUMEN_UNIT_TEST_ONLY(lumCornerFast9Scoreu8_v2, kScoreu8_v2)
LUMEN_UNIT_TEST_ONLY(lumCornerFast9InMasku8, kInMasku8)
LUMEN_UNIT_TEST_ONLY(lumCornerFast9InMaskScoreu8, kInMaskScoreu8)
LUMEN_UNIT_TEST_ONLY(lumCornerFast9InMaskScoreu8_v2, kInMaskScoreu8_v2)

static constexpr LUMEN_TEST_Function kFunctions[] = {
    {&ku8, nullptr, unitTest_lumCornerFast9u8, profiling_lumCornerFast9u8},
    {&kScoreu8, nullptr, unitTest_lumCornerFast9Scoreu8, profiling_lumCornerFast9Scoreu8},
    {&kScoreu8_v2, nullptr, unitTest_lumCornerFast9Scoreu8_v2, profiling_lumCornerFast9Scoreu8_v2},
    {&kInMasku8, nullptr, unitTest_lumCornerFast9InMasku8, profiling_lumCornerFast9InMasku8},
    {&kInMaskScoreu8, nullptr, unitTest_lumCornerFast9InMaskScoreu8,
     profiling_lumCornerFast9InMaskScoreu8},
    {&kInMaskScoreu8_v2, nullptr, unitTest_lumCornerFast9InMaskScoreu8_v2,
     profiling_lumCornerFast9InMaskScoreu8_v2},
};

int LUMEN_TEST_FAST_Test(int loops, const char* dataDirectory) {
  return LUMEN_TEST_RunModule(kFunctions, loops, dataDirectory);
}
