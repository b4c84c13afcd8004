// Module FAST10: FAST corners with arcs of 10.

#include "lumenTestFast.h"
#include "lumenTestModules.h"

namespace {

constexpr auto ku8 = LUMEN_TEST_FastPlain::of<lumCornerFast10u8, LUMEN_FUNC_lumCornerFast10u8>();
constexpr auto kScoreu8 =
    LUMEN_TEST_FastSuppressed::of<lumCornerFast10Scoreu8, LUMEN_FUNC_lumCornerFast10Scoreu8>();
constexpr auto kInMasku8 =
    LUMEN_TEST_FastMasked::of<lumCornerFast10InMasku8, LUMEN_FUNC_lumCornerFast10InMasku8>();
constexpr auto kInMaskScoreu8 =
    LUMEN_TEST_FastSuppressedMasked::of<lumCornerFast10InMaskScoreu8,
                                        LUMEN_FUNC_lumCornerFast10InMaskScoreu8>();

}  // namespace

LUMEN_UNIT_TEST_ONLY(lumCornerFast10u8, ku8)
LUMEN_UNIT_TEST_ONLY(lumCornerFast10Scoreu8, kScoreu8)
LUMEN_UNIT_TEST_ONLY(lumCornerFast10InMasku8, kInMasku8)
LUMEN_UNIT_TEST_ONLY(lumCornerFast10InMaskScoreu8, kInMaskScoreu8)

static constexpr LUMEN_TEST_Function kFunctions[] = {
    {&ku8, nullptr, unitTest_lumCornerFast10u8, profiling_lumCornerFast10u8},
    {&kScoreu8, nullptr, unitTest_lumCornerFast10Scoreu8, profiling_lumCornerFast10Scoreu8},
    {&kInMasku8, nullptr, unitTest_lumCornerFast10InMasku8, profiling_lumCornerFast10InMasku8},
    {&kInMaskScoreu8, nullptr, unitTest_lumCornerFast10InMaskScoreu8,
     profiling_lumCornerFast10InMaskScoreu8},
};

int LUMEN_TEST_FAST10_Test(int loops, const char* dataDirectory) {
  return LUMEN_TEST_RunModule(kFunctions, loops, dataDirectory);
}
