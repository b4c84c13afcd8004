#include "lumenTestOptions.h"

#include <algorithm>
#include <cstring>

#include "lumenTestConfig.h"
#include "lumenTestToInt.h"

namespace {

struct Option {
  const char* text;
  size_t comparedBytes;  // as long as the text: whatever begins with it is the option
  const char* noValue;   // the message when the value is missing; null for an option without one
  void (*apply)(LUMEN_TEST_Options& options, const char* value);
};

using Options = LUMEN_TEST_Options;

constexpr Option kOptions[] = {
    {"-nbp", 4, nullptr, [](Options& o, const char*) { o.useBufferPool = false; }},
    {"-psb", 4, "ERROR: missing param nPreAllocBytes with option -psb\n",
     [](Options& o, const char* value) {
       o.preAllocEnable = true;
       o.nPreAllocBytes = LUMEN_TEST_ToInt(value);
     }},
    {"-l", 2, "ERROR: missing param with option -l\n",
     [](Options& o, const char* value) {
       o.loops = std::clamp(LUMEN_TEST_ToInt(value), 0, LUMEN_TEST_MAX_LOOPS);
     }},
    {"-L", 2, "ERROR: missing param with option -L\n",
     [](Options&, const char* value) {
       lumenTestRunConfig.dspIterations = static_cast<uint32_t>(LUMEN_TEST_ToInt(value));
     }},
    {"-m", 2, "ERROR: missing param with option -m\n",
     [](Options& o, const char* value) { o.moduleName = value; }},
    {"-f", 2, "ERROR: missing param with option -f\n",
     [](Options& o, const char* value) { o.funcName = value; }},
    {"-t", 2, "ERROR: missing param with option -t\n",
     [](Options& o, const char* value) { o.target = LUMEN_TEST_ToInt(value); }},
    {"-M", 2, "ERROR: missing param with option -M\n",
     [](Options& o, const char* value) { o.opMode = LUMEN_TEST_ToInt(value); }},
    {"-o", 2, nullptr, [](Options&, const char*) { lumenTestRunConfig.openCvProfiling = 1; }},
    {"-U", 2, nullptr,
     [](Options&, const char*) {
       lumenTestSettings.unitTests = 1;
       lumenTestSettings.perfTests = 0;
     }},
    {"-P", 2, nullptr,
     [](Options&, const char*) {
       lumenTestSettings.unitTests = 0;
       lumenTestSettings.perfTests = 1;
     }},
    {"-E", 2, nullptr, [](Options&, const char*) { lumenTestRunConfig.exhaustive = 1; }},
    {"-S", 2, "ERROR: missing Resolution param with option -S\n",
     [](Options&, const char* value) {
       const uint32_t index = static_cast<uint32_t>(LUMEN_TEST_ToInt(value));
       if (index < LUMEN_TEST_RESOLUTION_COUNT) lumenTestRunConfig.resolution = index;
     }},
    // Longer than its text, so that nothing but the text itself matches.
    {"-s", 5, "ERROR: missing param with option -s\n",
     [](Options& o, const char* value) { o.seed = std::strtol(value, nullptr, 10); }},
    {"-H", 2, nullptr,
     [](Options&, const char*) {
       lumenTestSettings.memOption[LUMEN_TEST_SLOT_ZDSP] = LUMEN_MEM_HEAP;
     }},
    {"-AC", 3, nullptr, [](Options& o, const char*) { o.bumpClocks = true; }},
    {"-AL", 3, nullptr, [](Options&, const char*) { lumenTestRunConfig.alignToElement = 1; }},
    {"-OPT", 4, nullptr, [](Options& o, const char*) { o.optOnly = true; }},
    {"-C", 2, nullptr, [](Options&, const char*) { lumenTestRunConfig.cacheFlush = 1; }},
    {"-TWOp", 5, nullptr, [](Options&, const char*) { lumenTestRunConfig.testWithoutOpMode = 1; }},
};

// An option's value takes the argument's place in the comparisons that follow: in "-l -U" the value
// is an option as well, and "-m -E" sets both. Calls `found` with each option and the place of its
// value, or of itself when it takes none. No option begins with two dashes, so an argument that
// does is passed over, unless it is the value of the option before it.
template <class Found>
const char* scan(int argc, const char* const* argv, Found found) {
  for (int i = LUMEN_TEST_MIN_ARGUMENTS; i < argc; ++i) {
    for (const Option& option : kOptions) {
      if (std::strncmp(argv[i], option.text, option.comparedBytes) != 0) continue;
      if (option.noValue && ++i == argc) return option.noValue;
      found(option, i);
    }
  }
  return nullptr;
}

}  // namespace

const char* LUMEN_TEST_ReadOptions(int argc, const char* const* argv, LUMEN_TEST_Options& options) {
  return scan(argc, argv,
              [&](const Option& option, int value) { option.apply(options, argv[value]); });
}

std::vector<bool> LUMEN_TEST_FindOptionValues(int argc, const char* const* argv) {
  std::vector<bool> isValue(static_cast<size_t>(argc));
  scan(argc, argv, [&](const Option& option, int value) {
    if (option.noValue) isValue[static_cast<size_t>(value)] = true;
  });
  return isValue;
}
