// Module HARRIS: Harris corners.
//
// Script columns: src, the mask in the function that has one, the numbers in the order below, the
// references of xy, of scores where there are any, and of the count, and a text; of
// lumLocalHarrisMaxu8 src, posX, posY, the references of the place and its score, and a text. Lists
// have a line for each corner up to nCornersMax (one at least), of zeros behind those that are
// found.

#include "lumen/lumenHarris.h"

#include "lumenTestFast.h"
#include "lumenTestModules.h"

namespace {

using Arguments = LUMEN_TEST_Arguments;
using Type = LUMEN_TEST_Type;

// Lists and masks are those of the other detector, and so are the places of the numbers that they
// depend on: the border, the capacity and the mask's size are the numbers 1 to 4.
using Plain = LUMEN_TEST_FastPlain;
using Masked = LUMEN_TEST_FastMasked;
using Scored = LUMEN_TEST_FastScored;
enum Numbers : size_t { kThreshold, kBorder, kCapacity, kExtra };
constexpr size_t kQuality = kThreshold, kDistance = kExtra, kSuppress = kExtra;

constexpr double kThresholds[] = {INT32_MIN, -1000, -1, 0, 1, 1000, 100000, 5000000, INT32_MAX};
constexpr double kBorders[] = {0, 5, 6, 9, 40, UINT32_MAX};
constexpr double kQualities[] = {-1, 0, 0.01, 0.25, 0.9375, 1, 3};

template <class Form, size_t kMore>
constexpr auto kNumbersOf = [] {
  std::array<LUMEN_TEST_Scalar, Form::kNumbers + kMore> all = {};
  std::copy(Form::scalars.begin(), Form::scalars.end(), all.begin());
  all[kThreshold] = {"threshold", Type::s32, INT32_MIN, INT32_MAX, 100000, kThresholds};
  all[kBorder] = {"border", Type::u32, 0, UINT32_MAX, 5, kBorders};
  return all;
}();

constexpr auto kSuppressNumbers = [] {
  auto all = kNumbersOf<Scored, 1>;
  all[kSuppress] = {"nmsEnabled", Type::u32, 0, 2, 1};
  return all;
}();

constexpr auto kFeatureNumbers = [] {
  auto all = kNumbersOf<Plain, 1>;
  all[kQuality] = {"qualityLevel", Type::f32, -1, 3, 0.0625, kQualities};
  all[kDistance] = {"minDistance", Type::u32, 0, 12, 4};
  return all;
}();

constexpr auto kScoredImages = [] {
  auto all = Scored::images;
  all[Scored::kScores].type = Type::s32;
  return all;
}();

// The place and its score.
constexpr LUMEN_TEST_Image kOne = {.name = "maxX",
                                   .type = Type::u32,
                                   .isWritten = true,
                                   .isPacked = true,
                                   .extent = [](const Arguments&) -> LUMEN_TEST_Extent {
                                     return {1, 1};
                                   }};
constexpr auto kLocalImages = [] {
  std::array<LUMEN_TEST_Image, 4> all = {Plain::images[0], kOne, kOne, kOne};
  all[2].name = "maxY";
  all[3].name = "maxScore";
  all[3].type = Type::s32;
  return all;
}();
constexpr LUMEN_TEST_Scalar kPosition[] = {{"posX", Type::u32, 0, 4000, 160},
                                           {"posY", Type::u32, 0, 4000, 120}};

// Form: where the lists are; void: nowhere.
template <LUMEN_FUNC id, class Form>
constexpr LUMEN_TEST_Description describe(const char* suffix,
                                          std::span<const LUMEN_TEST_Image> images,
                                          std::span<const LUMEN_TEST_Scalar> scalars,
                                          void (*call)(const Arguments&),
                                          LUMEN_TEST_Sizes sizes = {5, 5},
                                          void (*adjust)(Arguments&) = nullptr) {
  void (*explain)(const Arguments&, const Arguments&) = nullptr;
  if constexpr (!std::is_void_v<Form>) explain = LUMEN_TEST_ExplainCorners<Form, id, int32_t>;
  return {.name = LUMEN_FUNC_NAME[id],
          .id = id,
          .scripts = {"lumencornerharris", suffix, /*hasProfiling=*/false},
          .images = images,
          .scalars = scalars,
          .call = call,
          .sizes = sizes,
          .adjust = adjust,
          .explain = explain};
}

template <auto* find>
void callPlain(const Arguments& a) {
  find(a.as<const uint8_t>(0), a.width, a.height, a.stride[0], a.value<uint32_t>(kBorder),
       a.as<uint32_t>(Plain::kXY), a.value<uint32_t>(kCapacity), a.as<uint32_t>(Plain::kCount),
       a.value<int32_t>(kThreshold));
}

constexpr auto ku8 = describe<LUMEN_FUNC_lumCornerHarrisu8, Plain>(
    "u8", Plain::images, kNumbersOf<Plain, 0>, callPlain<lumCornerHarrisu8>);
constexpr auto kAdaptiveu8 = describe<LUMEN_FUNC_lumCornerHarrisAdaptiveu8, Plain>(
    "Adaptiveu8", Plain::images, kNumbersOf<Plain, 0>, callPlain<lumCornerHarrisAdaptiveu8>);
constexpr auto kInMasku8 = describe<LUMEN_FUNC_lumCornerHarrisInMasku8, Masked>(
    "InMasku8", Masked::images, kNumbersOf<Masked, 0>,
    [](const Arguments& a) {
      lumCornerHarrisInMasku8(
          a.as<const uint8_t>(0), a.width, a.height, a.stride[0], a.value<uint32_t>(kBorder),
          a.as<uint32_t>(Masked::kXY), a.value<uint32_t>(kCapacity), a.as<uint32_t>(Masked::kCount),
          a.value<int32_t>(kThreshold), a.as<const uint8_t>(Masked::kMask),
          a.value<uint32_t>(Masked::kMaskWidth), a.value<uint32_t>(Masked::kMaskHeight));
    },
    {1, 1}, Masked::adjust);
constexpr auto kScoreu8 = describe<LUMEN_FUNC_lumCornerHarrisScoreu8, Scored>(
    "Scoreu8", kScoredImages, kSuppressNumbers, [](const Arguments& a) {
      lumCornerHarrisScoreu8(a.as<const uint8_t>(0), a.width, a.height, a.stride[0],
                             a.value<uint32_t>(kBorder), a.as<uint32_t>(Scored::kXY),
                             a.as<int32_t>(Scored::kScores), a.value<uint32_t>(kCapacity),
                             a.as<uint32_t>(Scored::kCount), a.value<int32_t>(kThreshold),
                             a.value<uint32_t>(kSuppress));
    });
constexpr auto kLocalu8 = describe<LUMEN_FUNC_lumLocalHarrisMaxu8, void>(
    "LocalMaxu8", kLocalImages, kPosition,
    [](const Arguments& a) {
      lumLocalHarrisMaxu8(a.as<const uint8_t>(0), a.width, a.height, a.stride[0],
                          a.value<uint32_t>(0), a.value<uint32_t>(1), a.as<uint32_t>(1),
                          a.as<uint32_t>(2), a.as<int32_t>(3));
    },
    {1, 1},
    [](Arguments& a) {
      a.setValue(0, a.value<uint32_t>(0) % a.width);
      a.setValue(1, a.value<uint32_t>(1) % a.height);
    });
constexpr auto kFeaturesu8 = describe<LUMEN_FUNC_lumGoodFeatureToTracku8, Plain>(
    "GoodFeatureu8", Plain::images, kFeatureNumbers, [](const Arguments& a) {
      lumGoodFeatureToTracku8(a.as<const uint8_t>(0), a.width, a.height, a.stride[0],
                              a.value<uint32_t>(kBorder), a.as<uint32_t>(Plain::kXY),
                              a.value<uint32_t>(kCapacity), a.as<uint32_t>(Plain::kCount),
                              a.value<float>(kQuality), a.value<uint32_t>(kDistance));
    });

}  // namespace

LUMEN_UNIT_TEST_ONLY(lumCornerHarrisu8, ku8)
LUMEN_UNIT_TEST_ONLY(lumLocalHarrisMaxu8, kLocalu8)
LUMEN_UNIT_TEST_ONLY(lumCornerHarrisInMasku8, kInMasku8)
LUMEN_UNIT_TEST_ONLY(lumCornerHarrisAdaptiveu8, kAdaptiveu8)
LUMEN_UNIT_TEST_ONLY(lumCornerHarrisScoreu8, kScoreu8)
LUMEN_UNIT_TEST_ONLY(lumGoodFeatureToTracku8, kFeaturesu8)

static constexpr LUMEN_TEST_Function kFunctions[] = {
    {&ku8, nullptr, unitTest_lumCornerHarrisu8, profiling_lumCornerHarrisu8},
    {&kLocalu8, nullptr, unitTest_lumLocalHarrisMaxu8, profiling_lumLocalHarrisMaxu8},
    {&kInMasku8, nullptr, unitTest_lumCornerHarrisInMasku8, profiling_lumCornerHarrisInMasku8},
    {&kAdaptiveu8, nullptr, unitTest_lumCornerHarrisAdaptiveu8,
     profiling_lumCornerHarrisAdaptiveu8},
    {&kScoreu8, nullptr, unitTest_lumCornerHarrisScoreu8, profiling_lumCornerHarrisScoreu8},
    {&kFeaturesu8, nullptr, unitTest_lumGoodFeatureToTracku8, profiling_lumGoodFeatureToTracku8},
};

int LUMEN_TEST_HARRIS_Test(int loops, const char* dataDirectory) {
  return LUMEN_TEST_RunModule(kFunctions, loops, dataDirectory);
}
