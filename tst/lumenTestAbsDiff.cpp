// Module ABSDIFF: absolute difference of two images, and of an image and a value for each channel.
//
// Script columns of the two-source functions: first source, second source, reference and a text; of
// the others: source, one value for each channel, reference and a text. Images of several channels
// are stored as images of one channel with rows that many times as long.

#include <array>
#include <cstring>
#include <tuple>

#include "lumen/lumenArithm.h"
#include "lumenTestBuffer.h"
#include "lumenTestCompare.h"
#include "lumenTestModule.h"
#include "lumenTestModules.h"
#include "lumenTestScript.h"

namespace {

// What both kinds of cases share: reference and destination.
template <class TDst>
struct Output {
  LUMEN_TEST_Buffer reference, destination;

  bool shape(lumMemOption option) {
    return destination.Shape(reference.shape(), option, /*reuse=*/true);
  }
  TDst* data() { return destination.roi<TDst>(); }
  int compare(float tolerance) {
    return LUMEN_TEST_CompareBuffers<TDst>(reference, destination, static_cast<TDst>(tolerance));
  }
};

// The call's width and height are the first source's, and both sources step their rows by its
// stride; the destination steps by the second source's stride.
template <class T, class TDst>
struct TwoSources {
  LUMEN_TEST_Buffer src1, src2;
  Output<TDst> out;

  int read(const LUMEN_TEST_Script& script, lumMemOption option) {
    return LUMEN_TEST_ReadControlScript(
        script.dataDirectory(), script.file(), 4, option, LUMEN_TEST_ElementsOf<T>(src1),
        LUMEN_TEST_ElementsOf<T>(src2), LUMEN_TEST_ElementsOf<TDst>(out.reference));
  }

  LUMEN_TEST_RowState prepare(lumMemOption option) {
    if (!out.shape(option)) return LUMEN_TEST_RowState::outOfMemory;
    const uint32_t width = src1.roiWidth(), height = src1.roiHeight();
    const bool fits = src1.holds(width, height, src1.strideBytes()) &&
                      src2.holds(width, height, src1.strideBytes()) &&
                      out.destination.holds(width, height, src2.strideBytes());
    return fits ? LUMEN_TEST_RowState::ready : LUMEN_TEST_RowState::unusable;
  }

  template <class F>
  void call(F* absDiff) {
    absDiff(src1.roi<T>(), src2.roi<T>(), src1.roiWidth(), src1.roiHeight(), src1.strideBytes(),
            out.data(), src2.strideBytes());
  }

  int compare(float tolerance) { return out.compare(tolerance); }
  void flush() { LUMEN_TEST_FlushBuffers(src1, src2, out.destination); }
};

template <class T, class TDst, size_t kChannels>
struct OneSource {
  LUMEN_TEST_Buffer src;
  std::array<T, kChannels> values;
  Output<TDst> out;

  int read(const LUMEN_TEST_Script& script, lumMemOption option) {
    return std::apply(
        [&](auto&... value) {
          return LUMEN_TEST_ReadControlScript(
              script.dataDirectory(), script.file(), 3 + static_cast<int>(kChannels), option,
              LUMEN_TEST_ElementsOf<T>(src), &value..., LUMEN_TEST_ElementsOf<TDst>(out.reference));
        },
        values);
  }

  LUMEN_TEST_RowState prepare(lumMemOption option) {
    if (!out.shape(option)) return LUMEN_TEST_RowState::outOfMemory;
    const uint32_t width = src.roiWidth(), height = src.roiHeight();
    const bool fits = width % kChannels == 0 && src.holds(width, height, src.strideBytes()) &&
                      out.destination.holds(width, height, out.destination.strideBytes());
    return fits ? LUMEN_TEST_RowState::ready : LUMEN_TEST_RowState::unusable;
  }

  template <class F>
  void call(F* absDiff) {
    std::apply(
        [&](auto... value) {
          absDiff(src.roi<T>(), value..., src.roiWidth() / static_cast<uint32_t>(kChannels),
                  src.roiHeight(), src.strideBytes(), out.data(), out.destination.strideBytes());
        },
        values);
  }

  int compare(float tolerance) { return out.compare(tolerance); }
  void flush() { LUMEN_TEST_FlushBuffers(src, out.destination); }
};

// Times a call on an image of 320 x 240 pixels, at the default resolution only. The first
// width x height bytes of the source are 255, the rest 0; channel k has the value 10 (k + 1).
template <class T, class TDst, size_t kChannels, class F>
void profileChannels(const LUMEN_TEST_UnitRun& run, F* absDiff) {
  if (lumenTestRunConfig.resolution != 0) return;
  constexpr int kWidth = 320, kHeight = 240, kRow = kWidth * static_cast<int>(kChannels);
  const LUMEN_TEST_Buffer::MemShape_ shape = {kRow, kHeight, 0, 0, kRow, kHeight, sizeof(T), 0};

  OneSource<T, TDst, kChannels> images;
  if (!images.src.Shape(shape, run.memOption(), true) ||
      !images.out.destination.Shape(shape, run.memOption(), true)) {
    LUMEN_TEST_Log("Out of memory...Allocating %s\n", run.name);
    return;
  }
  std::memset(images.src.data(), 255, kWidth * kHeight);
  for (size_t k = 0; k < kChannels; ++k) images.values[k] = static_cast<T>(10 * (k + 1));
  LUMEN_TEST_TimeCalls(run, images, absDiff);
}

template <class T, class TDst, class F>
int twoSources(const LUMEN_TEST_UnitRun& run, const char* suffix, F* absDiff) {
  return LUMEN_TEST_RunUnit<TwoSources<T, TDst>>(run, {"lumenabsdiff", suffix}, absDiff);
}

template <class T, class TDst, size_t kChannels, class F>
int oneSource(const LUMEN_TEST_UnitRun& run, const char* suffix, F* absDiff) {
  return LUMEN_TEST_RunUnit<OneSource<T, TDst, kChannels>>(run, {"lumenabsdiff", suffix}, absDiff);
}

}  // namespace

LUMEN_UNIT_TEST(lumAbsDiffu8) { return twoSources<uint8_t, uint8_t>(run, "u8", lumAbsDiffu8); }
LUMEN_UNIT_TEST(lumAbsDiffs32) { return twoSources<int32_t, uint32_t>(run, "s32", lumAbsDiffs32); }
LUMEN_UNIT_TEST(lumAbsDifff32) { return twoSources<float, float>(run, "f32", lumAbsDifff32); }

LUMEN_UNIT_TEST(lumAbsDiffVu8) { return oneSource<uint8_t, uint8_t, 1>(run, "Vu8", lumAbsDiffVu8); }
LUMEN_UNIT_TEST(lumAbsDiffVs32) {
  return oneSource<int32_t, uint32_t, 1>(run, "Vs32", lumAbsDiffVs32);
}
LUMEN_UNIT_TEST(lumAbsDiffVf32) { return oneSource<float, float, 1>(run, "Vf32", lumAbsDiffVf32); }

LUMEN_UNIT_TEST_ONLY(lumAbsDiffVc3u8) {
  return oneSource<uint8_t, uint8_t, 3>(run, "Vc3u8", lumAbsDiffVc3u8);
}
LUMEN_PROFILING(lumAbsDiffVc3u8) { profileChannels<uint8_t, uint8_t, 3>(run, lumAbsDiffVc3u8); }
LUMEN_UNIT_TEST_ONLY(lumAbsDiffVc3s32) {
  return oneSource<int32_t, uint32_t, 3>(run, "Vc3s32", lumAbsDiffVc3s32);
}
LUMEN_PROFILING(lumAbsDiffVc3s32) { profileChannels<int32_t, uint32_t, 3>(run, lumAbsDiffVc3s32); }
LUMEN_UNIT_TEST_ONLY(lumAbsDiffVc3f32) {
  return oneSource<float, float, 3>(run, "Vc3f32", lumAbsDiffVc3f32);
}
LUMEN_PROFILING(lumAbsDiffVc3f32) { profileChannels<float, float, 3>(run, lumAbsDiffVc3f32); }
LUMEN_UNIT_TEST_ONLY(lumAbsDiffVc4u8) {
  return oneSource<uint8_t, uint8_t, 4>(run, "Vc4u8", lumAbsDiffVc4u8);
}
LUMEN_PROFILING(lumAbsDiffVc4u8) { profileChannels<uint8_t, uint8_t, 4>(run, lumAbsDiffVc4u8); }
LUMEN_UNIT_TEST_ONLY(lumAbsDiffVc4s32) {
  return oneSource<int32_t, uint32_t, 4>(run, "Vc4s32", lumAbsDiffVc4s32);
}
LUMEN_PROFILING(lumAbsDiffVc4s32) { profileChannels<int32_t, uint32_t, 4>(run, lumAbsDiffVc4s32); }
LUMEN_UNIT_TEST_ONLY(lumAbsDiffVc4f32) {
  return oneSource<float, float, 4>(run, "Vc4f32", lumAbsDiffVc4f32);
}
LUMEN_PROFILING(lumAbsDiffVc4f32) { profileChannels<float, float, 4>(run, lumAbsDiffVc4f32); }

int LUMEN_TEST_ABSDIFF_Test(int loops, const char* dataDirectory) {
  static constexpr LUMEN_TEST_Function functions[] = {
      LUMEN_TEST_FUNCTION(lumAbsDiffu8),
      LUMEN_TEST_FUNCTION(lumAbsDiffs32),
      LUMEN_TEST_FUNCTION(lumAbsDifff32),
      LUMEN_TEST_FUNCTION(lumAbsDiffVu8),
      LUMEN_TEST_FUNCTION(lumAbsDiffVs32),
      LUMEN_TEST_FUNCTION(lumAbsDiffVf32),
      LUMEN_TEST_FUNCTION_PROFILED(lumAbsDiffVc3u8),
      LUMEN_TEST_FUNCTION_PROFILED(lumAbsDiffVc3s32),
      LUMEN_TEST_FUNCTION_PROFILED(lumAbsDiffVc3f32),
      LUMEN_TEST_FUNCTION_PROFILED(lumAbsDiffVc4u8),
      LUMEN_TEST_FUNCTION_PROFILED(lumAbsDiffVc4s32),
      LUMEN_TEST_FUNCTION_PROFILED(lumAbsDiffVc4f32),
  };
  return LUMEN_TEST_RunModule(functions, loops, dataDirectory);
}
