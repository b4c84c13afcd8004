// Descriptions of the FAST corner functions, for any arc length.
//
// Script columns: src, the mask in functions that have one, barrier, border, nCornersMax, the
// mask's width and height, nmsEnabled in functions that have that, the references of xy, of scores
// where there are any, and of the count, and a text. Lists have a line for each corner up to
// nCornersMax (one at least), of zeros behind those that are found.

#ifndef LUMEN_TEST_FAST_H
#define LUMEN_TEST_FAST_H

#include <algorithm>
#include <array>
#include <sstream>
#include <string>
#include <string_view>

#include "lumen/lumenFast.h"
#include "lumenTestLog.h"
#include "lumenTestModule.h"

// The first corner in which a list differs from what was expected, for any detector of which a form
// tells where the lists are.
template <class Form, LUMEN_FUNC id, class Score>
void LUMEN_TEST_ExplainCorners(const LUMEN_TEST_Arguments& got, const LUMEN_TEST_Arguments& want) {
  const char* const name = LUMEN_FUNC_NAME[id];
  const uint64_t found = std::min(Form::foundBy(got), Form::capacityOf(got));
  const uint64_t wanted = std::min(Form::foundBy(want), Form::capacityOf(want));
  const auto textOf = [](const LUMEN_TEST_Arguments& a, uint64_t k, uint64_t count) {
    if (k >= count) return std::string("none");
    const uint32_t* const xy = a.as<const uint32_t>(Form::kXY) + 2 * k;
    std::ostringstream text;
    text << "(" << xy[0] << ", " << xy[1] << ")";
    if constexpr (Form::hasScores) text << " with " << a.as<const Score>(Form::kScores)[k];
    return text.str();
  };
  for (uint64_t k = 0; k < std::max(found, wanted); ++k) {
    const std::string here = textOf(got, k, found), there = textOf(want, k, wanted);
    if (here == there) continue;
    LUMEN_TEST_Log("%s: corner %u of %u is %s instead of %s", name, static_cast<unsigned>(k),
                   static_cast<unsigned>(found), here.c_str(), there.c_str());
    return;
  }
  if (Form::foundBy(got) != Form::foundBy(want)) {
    LUMEN_TEST_Log("%s: says %u corners instead of %u", name,
                   static_cast<unsigned>(Form::foundBy(got)),
                   static_cast<unsigned>(Form::foundBy(want)));
  } else {
    LUMEN_TEST_Log("%s: all %u corners are right, but not what lies behind them", name,
                   static_cast<unsigned>(found));
  }
}

// What a function takes beside the image, and where that is among its images and numbers.
template <bool kHasMask, bool kHasScores, bool kHasWork>
struct LUMEN_TEST_FastForm {
  enum Images : size_t {
    kSrc,
    kMask = kHasMask,
    kXY,
    kScores = kXY + kHasScores,
    kCount,
    kWork = kCount + kHasWork,
    kImages
  };
  enum Numbers : size_t {
    kBarrier,
    kBorder,
    kCapacity,
    kMaskWidth = kCapacity + kHasMask,
    kMaskHeight = kMaskWidth + kHasMask,
    kSuppress = kMaskHeight + kHasWork,
    kNumbers
  };
  using Arguments = LUMEN_TEST_Arguments;
  static constexpr bool hasScores = kHasScores;

  // Room for one corner at least.
  static uint64_t capacityOf(const Arguments& a) {
    return std::max(a.value<uint32_t>(kCapacity), 1u);
  }
  static uint64_t foundBy(const Arguments& a) { return *a.as<const uint32_t>(kCount); }

  static constexpr auto images = [] {
    std::array<LUMEN_TEST_Image, kImages> all = {};
    all[kSrc] = {.name = "src", .type = LUMEN_TEST_Type::u8, .isPicture = true};
    if (kHasMask) {
      all[kMask] = {.name = "mask",
                    .type = LUMEN_TEST_Type::u8,
                    .isPacked = true,
                    .extent = [](const Arguments& a) -> LUMEN_TEST_Extent {
                      return {(uint64_t{a.value<uint32_t>(kMaskWidth)} + 7) / 8,
                              a.value<uint32_t>(kMaskHeight)};
                    }};
    }
    const LUMEN_TEST_Image list = {
        .name = "list", .type = LUMEN_TEST_Type::u32, .isWritten = true, .isPacked = true};
    if (kHasScores) {
      all[kScores] = list;
      all[kScores].name = "scores";
      all[kScores].extent = [](const Arguments& a) -> LUMEN_TEST_Extent {
        return {1, capacityOf(a)};
      };
      all[kScores].meaningful = foundBy;
    }
    all[kXY] = list;
    all[kXY].name = "xy";
    all[kXY].extent = [](const Arguments& a) -> LUMEN_TEST_Extent { return {2, capacityOf(a)}; };
    all[kXY].meaningful = [](const Arguments& a) { return 2 * foundBy(a); };
    if (kHasWork) {
      all[kWork] = list;
      all[kWork].name = "tempBuf";
      all[kWork].isScratch = true;
      all[kWork].extent = [](const Arguments& a) -> LUMEN_TEST_Extent {
        return {3 * uint64_t{a.value<uint32_t>(kCapacity)} + a.height, 1};
      };
    }
    all[kCount] = list;
    all[kCount].name = "nCorners";
    all[kCount].extent = [](const Arguments&) -> LUMEN_TEST_Extent { return {1, 1}; };
    return all;
  }();

  static constexpr double kBarriers[] = {0, 1, 20, 40, 90, 254, 255, 300, -1, -7};
  static constexpr double kBorders[] = {0, 3, 4, 7};
  static constexpr double kCapacities[] = {0, 1, 5, 64, 2000};
  static constexpr double kMaskScales[] = {0, 1, 2, 3, 4, 5, 6, 7};

  static constexpr auto scalars = [] {
    std::array<LUMEN_TEST_Scalar, kNumbers> all = {};
    if (kHasMask) {
      all[kMaskWidth] = {"maskWidth", LUMEN_TEST_Type::u32, 0, 7, 0, kMaskScales};
      all[kMaskHeight] = {"maskHeight", LUMEN_TEST_Type::u32, 0, 0, 0};
    }
    if (kHasWork) all[kSuppress] = {"nmsEnabled", LUMEN_TEST_Type::u32, 0, 2, 1};
    all[kBarrier] = {"barrier", LUMEN_TEST_Type::s32, -300, 300, 20, kBarriers};
    all[kBorder] = {"border", LUMEN_TEST_Type::u32, 0, 7, 3, kBorders};
    all[kCapacity] = {"nCornersMax", LUMEN_TEST_Type::u32, 0, 2000, 50000, kCapacities};
    return all;
  }();

  // A border that leaves a pixel; a mask of the size that the chosen number stands for: as large as
  // the image, 2, 4, 8 times as large, as small where the image divides so, or only twice as wide.
  static void adjust(Arguments& a) {
    a.setValue(kBorder,
               std::min(a.value<uint32_t>(kBorder), (std::min(a.width, a.height) - 1) / 2));
    if constexpr (kHasMask) {
      const uint32_t scale = a.value<uint32_t>(kMaskWidth);
      uint32_t width = a.width, height = a.height;
      const uint32_t shift = scale > 3 ? scale - 3 : scale, factor = 1u << shift;
      if (scale == 7) {
        width *= 2;
      } else if (scale > 3 && width % factor == 0 && height % factor == 0) {
        width /= factor;
        height /= factor;
      } else {
        width *= factor;
        height *= factor;
      }
      a.setValue(kMaskWidth, width);
      a.setValue(kMaskHeight, height);
    }
  }

  // The function's arguments in their order.
  template <auto* find>
  static void call(const Arguments& a) {
    const auto take = [&](auto... arguments) { find(arguments...); };
    const auto withWork = [&](auto... before) {
      if constexpr (kHasWork) take(before..., a.value<uint32_t>(kSuppress), a.as<uint32_t>(kWork));
      else take(before...);
    };
    const auto withMask = [&](auto... before) {
      if constexpr (kHasMask) {
        withWork(before..., a.as<const uint8_t>(kMask), a.value<uint32_t>(kMaskWidth),
                 a.value<uint32_t>(kMaskHeight));
      } else {
        withWork(before...);
      }
    };
    const auto withScores = [&](auto... before) {
      const auto capacity = a.value<uint32_t>(kCapacity);
      if constexpr (kHasScores) {
        withMask(before..., a.as<uint32_t>(kScores), capacity, a.as<uint32_t>(kCount));
      } else {
        withMask(before..., capacity, a.as<uint32_t>(kCount));
      }
    };
    withScores(a.as<const uint8_t>(kSrc), a.width, a.height, a.stride[kSrc],
               a.value<int32_t>(kBarrier), a.value<uint32_t>(kBorder), a.as<uint32_t>(kXY));
  }

  // Scripts are named as what follows lumCornerFast in the function's name.
  template <auto* find, LUMEN_FUNC id>
  static constexpr LUMEN_TEST_Description of() {
    return {.name = LUMEN_FUNC_NAME[id],
            .id = id,
            .scripts = {"lumencornerfast",
                        LUMEN_FUNC_NAME[id] + std::string_view("lumCornerFast").size(),
                        /*hasProfiling=*/false},
            .images = images,
            .scalars = scalars,
            .call = call<find>,
            .sizes = {.leastWidth = 7, .leastHeight = 7},
            .adjust = adjust,
            .explain = LUMEN_TEST_ExplainCorners<LUMEN_TEST_FastForm, id, uint32_t>};
  }
};

using LUMEN_TEST_FastPlain = LUMEN_TEST_FastForm<false, false, false>;
using LUMEN_TEST_FastMasked = LUMEN_TEST_FastForm<true, false, false>;
using LUMEN_TEST_FastScored = LUMEN_TEST_FastForm<false, true, false>;
using LUMEN_TEST_FastScoredMasked = LUMEN_TEST_FastForm<true, true, false>;
using LUMEN_TEST_FastSuppressed = LUMEN_TEST_FastForm<false, true, true>;
using LUMEN_TEST_FastSuppressedMasked = LUMEN_TEST_FastForm<true, true, true>;

#endif  // LUMEN_TEST_FAST_H
