// The help text.

#include <cstdio>
#include <cstring>
#include <string>

#include "lumenTestFunctions.h"
#include "lumenTestModules.h"
#include "lumenTestOptions.h"

namespace {

constexpr const char* kIndent = "                ";
constexpr size_t kLineLength = 100;

// Writes items one after another, on as many lines as they need.
class ItemLines {
 public:
  void add(const std::string& item) {
    if (line_.size() + item.size() + 1 > kLineLength) flush();
    line_ += line_.empty() ? kIndent : " ";
    line_ += item;
  }
  void flush() {
    if (!line_.empty()) std::fprintf(stderr, "%s\n", line_.c_str());
    line_.clear();
  }

 private:
  std::string line_;
};

void printModules() {
  ItemLines lines;
  for (const LUMEN_TEST_Module& module : LUMEN_TEST_MODULES) {
    const bool isLast = &module == std::end(LUMEN_TEST_MODULES) - 1;
    const bool twoCommas = std::strcmp(module.name, "DESCRIPTOR") == 0;  // has always been so
    lines.add(std::string(module.name) + (isLast ? "" : twoCommas ? ",," : ","));
  }
  lines.flush();
}

// Functions that follow each other in the list of functions: from `first` to `last`, or one alone.
struct Range {
  LUMEN_FUNC first;
  LUMEN_FUNC last = LUMEN_FUNC_NONE;
};
constexpr size_t kMaxRanges = 5;
struct Group {
  const char* module;
  Range ranges[kMaxRanges];
};

constexpr Group kFunctions[] = {
    {"DEPTH",
     {{LUMEN_FUNC_lumConvertDepthu8s16, LUMEN_FUNC_lumConvertDepths16u8},
      {LUMEN_FUNC_lumDepthFusion8x8x8xNs16},
      {LUMEN_FUNC_lumUndistortDisparityConvertDepthf32,
       LUMEN_FUNC_lumConvertDepthImageToPointCloudf32}}},
    {"DOT", {{LUMEN_FUNC_lumDotProduct36x1s8, LUMEN_FUNC_lumDotProductf32}}},
    {"SSD", {{LUMEN_FUNC_lumSumOfSquaredDiffs36x4s8, LUMEN_FUNC_lumSumOfSquaredDiffsf32}}},
    {"IIMG",
     {{LUMEN_FUNC_lumIntegrateImageu8, LUMEN_FUNC_lumIntegrateImageLine64u8},
      {LUMEN_FUNC_lumIntegratePatchu8, LUMEN_FUNC_lumIntegrateImageLineu8}}},
    {"IIMGYUV",
     {{LUMEN_FUNC_lumIntegrateImageYCbCr420PseudoPlanaru8,
       LUMEN_FUNC_lumFindForegroundIntegrateImageYCbCr420u32}}},
    {"IDIFF", {{LUMEN_FUNC_lumImageDiffu8, LUMEN_FUNC_lumImageDiffu8s8}}},
    {"TRNS",
     {{LUMEN_FUNC_lumTransformAffine8x8u8, LUMEN_FUNC_lumTransformAffineu8},
      {LUMEN_FUNC_lumTransformAffineClippedu8},
      {LUMEN_FUNC_lumTransformAffineClippedu8_v2},
      {LUMEN_FUNC_lumTransformAffineClippedu8_v3}}},
    {"WARP",
     {{LUMEN_FUNC_lumWarpPerspectiveu8},
      {LUMEN_FUNC_lumWarpPerspectiveu8_v3},
      {LUMEN_FUNC_lumWarpPerspectiveu8_v4},
      {LUMEN_FUNC_lum2PlaneWarpPerspectiveu8}}},
    {"3CHANNELWARP",
     {{LUMEN_FUNC_lum3ChannelWarpPerspectiveu8},
      {LUMEN_FUNC_lum3ChannelTransformAffineClippedBCu8}}},
    {"COLORYUVRGB",
     {{LUMEN_FUNC_lumColorYUV420toRGB8888u8, LUMEN_FUNC_lumColorYUV420toRGB565u8Rotate180},
      {LUMEN_FUNC_lumColorYCrCbH1V1toRGB888u8, LUMEN_FUNC_lumColorYCrCbH1V2toRGB888u8},
      {LUMEN_FUNC_lumColorYCbCr444PlanarToRGB565u8,
       LUMEN_FUNC_lumColorYCbCr420PseudoPlanarToRGBA8888u8}}},
    {"COLORYUV",
     {{LUMEN_FUNC_lumColorYCbCr444PlanarToYCbCr422Planaru8, LUMEN_FUNC_lumColorCbCrSwapu8}}},
    {"COLORRGB",
     {{LUMEN_FUNC_lumColorRGB888ToGrayu8, LUMEN_FUNC_lumColorRGB888ToHSV888u8},
      {LUMEN_FUNC_lumColorRGB565ToYCbCr444Planaru8, LUMEN_FUNC_lumColorRGBA8888ToLABu8}}},
    {"SCALE",
     {{LUMEN_FUNC_lumScaleDownBy2u8, LUMEN_FUNC_lumScaleDownBLu8},
      {LUMEN_FUNC_lumScaleUpPolyu8, LUMEN_FUNC_lumScaleDownMNInterleaveu8},
      {LUMEN_FUNC_lumScaleu8},
      {LUMEN_FUNC_lumScaleDownBy2Gaussian3x3u8},
      {LUMEN_FUNC_lumScaleu8_v2}}},
    {"BLUR", {{LUMEN_FUNC_lumFilterMedian3x3u8, LUMEN_FUNC_lumFilterGaussian5x5s32}}},
    {"EDGES",
     {{LUMEN_FUNC_lumFilterSobel3x3u8},
      {LUMEN_FUNC_lumImageGradientSobelPlanarf32, LUMEN_FUNC_lumImageGradientSobelPlanars8},
      {LUMEN_FUNC_lumImageGradientSobelPlanarf32f32},
      {LUMEN_FUNC_lumFilterSobel3x3u8s16, LUMEN_FUNC_lumFilterSobel7x7u8s16}}},
    {"SCHARR", {{LUMEN_FUNC_lumImageGradientScharrInterleaveds16}}},
    {"SAD", {{LUMEN_FUNC_lumSumOfAbsoluteDiffs8x8u8, LUMEN_FUNC_lumSumOfAbsoluteDiff16x16u8}}},
    {"FAST10", {{LUMEN_FUNC_lumCornerFast10u8, LUMEN_FUNC_lumCornerFast10InMaskScoreu8}}},
    {"DESCRIPTOR", {{LUMEN_FUNC_lumDescriptor17x17u8To36s8}}},
    {"THRESH", {{LUMEN_FUNC_lumFilterThresholdu8, LUMEN_FUNC_lumFilterThresholdRangeu8_v2}}},
    {"COPY", {{LUMEN_FUNC_lumCopyRotated17x17u8}, {LUMEN_FUNC_lumCopy}}},
    {"VEC", {{LUMEN_FUNC_lumVecNormalize36s8f32}}},
    {"KMEANS", {{LUMEN_FUNC_lumClusterEuclideanNormed36f32, LUMEN_FUNC_lumClusterEuclideanu8}}},
    {"BITCNT", {{LUMEN_FUNC_lumBitCountu8, LUMEN_FUNC_lumHammingDistance64x4u8}}},
    {"BITWISEOP", {{LUMEN_FUNC_lumBitwiseOru8, LUMEN_FUNC_lumBitwiseNotu8}}},
    {"CONTOUR", {{LUMEN_FUNC_lumFindContoursExternalu8, LUMEN_FUNC_lumFindContoursTreeu8}}},
    {"ADAPTTHRESH",
     {{LUMEN_FUNC_lumAdaptiveThresholdGaussian3x3u8, LUMEN_FUNC_lumAdaptiveThresholdMean11x11u8}}},
    {"ABSDIFF", {{LUMEN_FUNC_lumAbsDiffu8, LUMEN_FUNC_lumAbsDiffVc3f32}}},
    {"AVERAGE", {{LUMEN_FUNC_lumAverages32, LUMEN_FUNC_lumAverageu8}}},
    {"FLOODFILL", {{LUMEN_FUNC_lumFloodfillSimpleu8}, {LUMEN_FUNC_lumFloodfillMergedu8}}},
    {"DRAWCONTOUR", {{LUMEN_FUNC_lumDrawContouru8, LUMEN_FUNC_lumDrawContourPlanaru8}}},
    {"REMAP",
     {{LUMEN_FUNC_lumRemapu8, LUMEN_FUNC_lumRemapRGBA8888BLu8}, {LUMEN_FUNC_lumRemapu8_v2}}},
    {"PYRAMID", {{LUMEN_FUNC_lumPyramidCreatef32, LUMEN_FUNC_lumPyramidCreateu8}}},
    {"FAST", {{LUMEN_FUNC_lumCornerFast9u8, LUMEN_FUNC_lumCornerFast9InMaskScoreu8_v2}}},
    {"EDGE", {{LUMEN_FUNC_lumImageGradientInterleaveds16, LUMEN_FUNC_lumImageGradientPlanarf32}}},
    {"KLT",
     {{LUMEN_FUNC_lumTrackLKOpticalFlowu8, LUMEN_FUNC_lumTrackLKOpticalFlowf32},
      {LUMEN_FUNC_lumTrackLKOpticalFlowu8_v3}}},
    {"MINMAX", {{LUMEN_FUNC_lumMinMaxLocu8, LUMEN_FUNC_lumMinMaxLocf32}}},
    {"SMOOTH", {{LUMEN_FUNC_lumBoxFilter3x3u8, LUMEN_FUNC_lumBilateralFilterRecursiveu8}}},
    {"ARITHM",
     {{LUMEN_FUNC_lumElementMultiplys16, LUMEN_FUNC_lumMatrixMultiplyf32},
      {LUMEN_FUNC_lumAddu8u16, LUMEN_FUNC_lumMultiplyScalarf32}}},
    {"HARRIS", {{LUMEN_FUNC_lumCornerHarrisu8, LUMEN_FUNC_lumCornerHarrisScoreu8}}},
    {"MSER", {{LUMEN_FUNC_lumMseru8, LUMEN_FUNC_lumMserExtu8_v3}}},
};

void printFunctions() {
  for (const Group& group : kFunctions) {
    ItemLines lines;
    lines.add(std::string(group.module) + ":");
    for (const Range& range : group.ranges) {
      if (range.first == LUMEN_FUNC_NONE) break;
      const unsigned int last = range.last == LUMEN_FUNC_NONE ? range.first : range.last;
      for (unsigned int id = range.first; id <= last; ++id) {
        lines.add(std::string(LUMEN_FUNC_NAME[id]) + ",");
      }
    }
    lines.flush();
  }
}

}  // namespace

void LUMEN_TEST_PrintHelp(const char* program) {
  std::fprintf(
      stderr,
      "USAGE: %s test_data_directory [-l loops] [-m module_name] [-p power_level][-E] "
      "[-S resolution#]\n"
      "       [-f func_name] [-t target] [-M operation_mode] [-OPT] [-s see] [-nbp] [-o] "
      "[-U] [-P]\n"
      "\n"
      "OPTIONS\n"
      "----------------------------------------------------------------------------\n"
      "-nbp\n"
      "        Uses mallocs instead of internal buffer pool for scratch/temporary buffers.\n"
      "-psb nPreAllocBytes\n"
      "        Enable Preallocate Scratch Buffers\n"
      "        nPreAllocBytes is the number of bytes for the pre-allocated buffer.\n"
      "-l +integer\n"
      "        0 = [default] do not profile\n"
      "        +integer = loops to use when profiling.\n"
      "-m string\n"
      "        String name of module to limit to.  Valid strings in order are:\n",
      program);
  printModules();
  std::fputs(
      "-f string\n"
      "        String name of function to limit to.  Make sure to specify corresponding module "
      "using -m. Valid strings are:\n",
      stderr);
  printFunctions();
  std::fprintf(stderr,
               "        Note: Not all modules have function limit functionality yet.\n"
               "        Please use this option with module limit option to limit to\n"
               "        a particular function.\n"
               "-e string\n"
               "        String name of exhaustive test data directory.\n"
               "-p integer\n"
               "        Power mode to run ZDSP in.  Valid values are:\n"
               "        %d = minimum power mode\n"
               "        %d = normal power mode\n"
               "        %d = [default] maximum power mode\n",
               0, 1, 2);
  std::fputs(
      "-t integer\n"
      "        LUMEN_ALL_TARGETS = 0;   LUMEN_UNIT_ARM  = 2;    LUMEN_UNIT_VORTA = 4;\n"
      "        LUMEN_UNIT_ZDSP   = 8;   LUMEN_UNIT_FPGA = 16;   LUMEN_UNIT_GPU   = 32;\n"
      "        LUMEN_UNIT_C2D    = 64;  LUMEN_UNIT_VFP  = 128;  LUMEN_UNIT_ARMV7 = 256;\n"
      "        LUMEN_UNIT_DMA    = 512; LUMEN_UNIT_ZDSP_TEST = 1024;\n"
      "-M integer\n"
      "        Skip operation mode test = 0\n"
      "        LUMEN_OP_LOW_POWER = 1;  LUMEN_OP_PERFORMANCE = 2; LUMEN_OP_CPU_OFFLOAD = 4\n"
      "        LUMEN_OP_LOW_POWER + LUMEN_OP_PERFORMANCE = 3\n"
      "        LUMEN_OP_LOW_POWER + LUMEN_OP_CPU_OFFLOAD = 5\n"
      "        LUMEN_OP_PERFORMANCE + LUMEN_OP_CPU_OFFLOAD = 6\n"
      "        LUMEN_OP_LOW_POWER + LUMEN_OP_PERFORMANCE + LUMEN_OP_CPU_OFFLOAD = 7\n"
      "-OPT\n"
      "        Use this option with [-M operation_mode] to skip unit testing on individual "
      "processing units and test only operation tables\n"
      "-s seed\n"
      "        Seed for random number generator.\n"
      "-o\n"
      "        FLAG to enable opencv benchmark profiling Results\n"
      "-L +integer\n"
      "        Tells the number of iterations for profiling a function on ZDSP with only single "
      "remoting overhead \n"
      "-U\n"
      "        Enables only the Unit Tests while disabling the Performance Tests\n"
      "-P\n"
      "        Enables only profiling while disabling the unit Tests\n"
      "-DF\n"
      "        Disables fuzzing check\n"
      "-E\n"
      "        Enables exhaustive testing to validate profiling vectors\n"
      "-S Resolution#\n"
      "        Resolution for profiling.. Deafult is VGA\n"
      "-H\n"
      "        Enables ZDSP test vectors to be allocated on ARM Heap instead of ION\n"
      "-AC\n"
      "        Bump up ARM clocks\n"
      "-AL\n"
      "        ION allocation buffers are aligned to no more than element size. No effect on heap "
      "allocated buffers.\n"
      "-TWOp\n"
      "        Test a couple lumen API without calling any lumSetOperationMode to run default C "
      "reference code.\n"
      "NOTE: Fast running functions will automatically have a loop multiplier and the results will "
      "be normalized accordingly.\n",
      stderr);
}
