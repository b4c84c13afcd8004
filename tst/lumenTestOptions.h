// The command line: lumenTest test_data_directory [options].

#ifndef LUMEN_TEST_OPTIONS_H
#define LUMEN_TEST_OPTIONS_H

#include <vector>

// The first argument is the data directory, whatever it looks like, so a command line has at least
// two; one of 15 is refused.
inline constexpr int LUMEN_TEST_MIN_ARGUMENTS = 2;
inline constexpr int LUMEN_TEST_MAX_ARGUMENTS = 14;
inline constexpr int LUMEN_TEST_MAX_LOOPS = 10000000;

// What the run sequence takes from the options. What module tests read goes to lumenTestRunConfig
// and lumenTestSettings.
struct LUMEN_TEST_Options {
  int loops = 0;
  const char* moduleName = nullptr;  // null: every module
  const char* funcName = nullptr;    // null: every function
  int target = 0;                    // mask of LUMEN_UNIT_...; 0: all
  int opMode = 0;                    // mask, one bit for each operation mode in its order
  bool optOnly = false;
  long seed = 1246302971;
  bool useBufferPool = true;
  bool preAllocEnable = false;
  int nPreAllocBytes = 0;
  bool bumpClocks = false;
};

// Reads the options, from the third argument on. Returns null, or the message to print when the
// last argument is an option that lacks its value. Arguments that are no option are passed over.
const char* LUMEN_TEST_ReadOptions(int argc, const char* const* argv, LUMEN_TEST_Options& options);

// For each argument, whether it is the value of an option before it.
std::vector<bool> LUMEN_TEST_FindOptionValues(int argc, const char* const* argv);

// Prints the help text to standard error.
void LUMEN_TEST_PrintHelp(const char* program);

#endif  // LUMEN_TEST_OPTIONS_H
