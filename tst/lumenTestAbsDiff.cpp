// Module ABSDIFF: absolute difference of two images, and of an image and a value for each channel.
//
// Script columns of the two-source functions: first source, second source, reference and a text; of
// the others: source, one value for each channel, reference and a text. Images of several channels
// are stored as images of one channel with rows that many times as long.

#include <array>
#include <limits>
#include <string_view>
#include <utility>

#include "lumen/lumenArithm.h"
#include "lumenTestModule.h"
#include "lumenTestModules.h"

namespace {

template <class T>
constexpr LUMEN_TEST_Type kType = LUMEN_TEST_TypeOf<T>;

// Both sources step their rows by the first one's stride. Rows of a script pass the second source's
// stride for the destination's.
template <class T, class TDst>
constexpr LUMEN_TEST_Image kTwoSources[] = {
    {.name = "src1", .type = kType<T>},
    {.name = "src2", .type = kType<T>, .strideOf = 0},
    {.name = "dst", .type = kType<TDst>, .isWritten = true, .scriptStrideOf = 1, .inPlaceOf = 0b11},
};

template <class T, class TDst, uint32_t kChannels>
constexpr LUMEN_TEST_Image kOneSource[] = {
    {.name = "src", .type = kType<T>, .channels = kChannels},
    {.name = "dst", .type = kType<TDst>, .isWritten = true, .channels = kChannels, .inPlaceOf = 1},
};

// One value for each channel.
template <class T>
constexpr LUMEN_TEST_Scalar value(const char* name, double forProfiling) {
  using Limits = std::numeric_limits<T>;
  return {name, kType<T>, Limits::lowest(), Limits::max(), forProfiling};
}
template <class T, size_t kChannels>
constexpr std::array<LUMEN_TEST_Scalar, kChannels> kValues = [] {
  constexpr const char* kNames[] = {"value1", "value2", "value3", "value4"};
  std::array<LUMEN_TEST_Scalar, kChannels> values = {};
  for (size_t k = 0; k < kChannels; ++k) values[k] = value<T>(kNames[k], 10.0 * double(k + 1));
  return values;
}();

// Scripts are named as what follows the family's name in the function's.
constexpr const char* suffixOf(LUMEN_FUNC id) {
  return LUMEN_FUNC_NAME[id] + std::string_view("lumAbsDiff").size();
}

template <auto* absDiff, class T, class TDst>
constexpr LUMEN_TEST_Description twoSources(LUMEN_FUNC id) {
  return {.name = LUMEN_FUNC_NAME[id],
          .id = id,
          .scripts = {"lumenabsdiff", suffixOf(id), /*hasProfiling=*/true},
          .images = kTwoSources<T, TDst>,
          .scalars = {},
          .call = [](const LUMEN_TEST_Arguments& a) {
            absDiff(a.as<const T>(0), a.as<const T>(1), a.width, a.height, a.stride[0],
                    a.as<TDst>(2), a.stride[2]);
          }};
}

template <auto* absDiff, class T, class TDst, size_t kChannels>
constexpr LUMEN_TEST_Description oneSource(LUMEN_FUNC id) {
  return {.name = LUMEN_FUNC_NAME[id],
          .id = id,
          .scripts = {"lumenabsdiff", suffixOf(id), /*hasProfiling=*/kChannels == 1},
          .images = kOneSource<T, TDst, kChannels>,
          .scalars = kValues<T, kChannels>,
          .call = [](const LUMEN_TEST_Arguments& a) {
            [&]<size_t... k>(std::index_sequence<k...>) {
              absDiff(a.as<const T>(0), a.value<T>(k)..., a.width, a.height, a.stride[0],
                      a.as<TDst>(1), a.stride[1]);
            }
            (std::make_index_sequence<kChannels>());
          }};
}

constexpr auto ku8 = twoSources<lumAbsDiffu8, uint8_t, uint8_t>(LUMEN_FUNC_lumAbsDiffu8);
constexpr auto ks32 = twoSources<lumAbsDiffs32, int32_t, uint32_t>(LUMEN_FUNC_lumAbsDiffs32);
constexpr auto kf32 = twoSources<lumAbsDifff32, float, float>(LUMEN_FUNC_lumAbsDifff32);
constexpr auto kVu8 = oneSource<lumAbsDiffVu8, uint8_t, uint8_t, 1>(LUMEN_FUNC_lumAbsDiffVu8);
constexpr auto kVs32 = oneSource<lumAbsDiffVs32, int32_t, uint32_t, 1>(LUMEN_FUNC_lumAbsDiffVs32);
constexpr auto kVf32 = oneSource<lumAbsDiffVf32, float, float, 1>(LUMEN_FUNC_lumAbsDiffVf32);
constexpr auto kVc3u8 = oneSource<lumAbsDiffVc3u8, uint8_t, uint8_t, 3>(LUMEN_FUNC_lumAbsDiffVc3u8);
constexpr auto kVc3s32 =
    oneSource<lumAbsDiffVc3s32, int32_t, uint32_t, 3>(LUMEN_FUNC_lumAbsDiffVc3s32);
constexpr auto kVc3f32 = oneSource<lumAbsDiffVc3f32, float, float, 3>(LUMEN_FUNC_lumAbsDiffVc3f32);
constexpr auto kVc4u8 = oneSource<lumAbsDiffVc4u8, uint8_t, uint8_t, 4>(LUMEN_FUNC_lumAbsDiffVc4u8);
constexpr auto kVc4s32 =
    oneSource<lumAbsDiffVc4s32, int32_t, uint32_t, 4>(LUMEN_FUNC_lumAbsDiffVc4s32);
constexpr auto kVc4f32 = oneSource<lumAbsDiffVc4f32, float, float, 4>(LUMEN_FUNC_lumAbsDiffVc4f32);

}  // namespace

LUMEN_UNIT_TEST(lumAbsDiffu8, ku8)
LUMEN_UNIT_TEST(lumAbsDiffs32, ks32)
LUMEN_UNIT_TEST(lumAbsDifff32, kf32)
LUMEN_UNIT_TEST(lumAbsDiffVu8, kVu8)
LUMEN_UNIT_TEST(lumAbsDiffVs32, kVs32)
LUMEN_UNIT_TEST(lumAbsDiffVf32, kVf32)
LUMEN_UNIT_TEST_ONLY(lumAbsDiffVc3u8, kVc3u8)
LUMEN_UNIT_TEST_ONLY(lumAbsDiffVc3s32, kVc3s32)
LUMEN_UNIT_TEST_ONLY(lumAbsDiffVc3f32, kVc3f32)
LUMEN_UNIT_TEST_ONLY(lumAbsDiffVc4u8, kVc4u8)
LUMEN_UNIT_TEST_ONLY(lumAbsDiffVc4s32, kVc4s32)
LUMEN_UNIT_TEST_ONLY(lumAbsDiffVc4f32, kVc4f32)

static constexpr LUMEN_TEST_Function kFunctions[] = {
    {&ku8, unitTest_lumAbsDiffu8},
    {&ks32, unitTest_lumAbsDiffs32},
    {&kf32, unitTest_lumAbsDifff32},
    {&kVu8, unitTest_lumAbsDiffVu8},
    {&kVs32, unitTest_lumAbsDiffVs32},
    {&kVf32, unitTest_lumAbsDiffVf32},
    {&kVc3u8, nullptr, unitTest_lumAbsDiffVc3u8, profiling_lumAbsDiffVc3u8},
    {&kVc3s32, nullptr, unitTest_lumAbsDiffVc3s32, profiling_lumAbsDiffVc3s32},
    {&kVc3f32, nullptr, unitTest_lumAbsDiffVc3f32, profiling_lumAbsDiffVc3f32},
    {&kVc4u8, nullptr, unitTest_lumAbsDiffVc4u8, profiling_lumAbsDiffVc4u8},
    {&kVc4s32, nullptr, unitTest_lumAbsDiffVc4s32, profiling_lumAbsDiffVc4s32},
    {&kVc4f32, nullptr, unitTest_lumAbsDiffVc4f32, profiling_lumAbsDiffVc4f32},
};
const std::span<const LUMEN_TEST_Function> LUMEN_TEST_ABSDIFF_FUNCTIONS = kFunctions;

int LUMEN_TEST_ABSDIFF_Test(int loops, const char* dataDirectory) {
  return LUMEN_TEST_RunModule(kFunctions, loops, dataDirectory);
}
