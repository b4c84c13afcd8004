// How a module test is written.
//
// A module is a list of library functions, each with a unit test, that LUMEN_TEST_RunModule runs in
// every enabled slot. A unit test goes through a control script: for each row it fills a case,
// calls the function and compares. What the file of a module says is only what is its own:
//
//   template <class T> struct Threshold { ... };        the columns of the script, the call
//
//   LUMEN_UNIT_TEST(lumFilterThresholdu8) {
//     return LUMEN_TEST_RunUnit<Threshold<uint8_t>>(run, {"lumenthresh", "u8"},
//     lumFilterThresholdu8);
//   }
//
//   int LUMEN_TEST_THRESH_Test(int loops, const char* dataDirectory) {
//     static constexpr LUMEN_TEST_Function functions[] =
//     {LUMEN_TEST_FUNCTION(lumFilterThresholdu8)}; return LUMEN_TEST_RunModule(functions, loops,
//     dataDirectory);
//   }

#ifndef LUMEN_TEST_MODULE_H
#define LUMEN_TEST_MODULE_H

#include <cstdio>
#include <memory>
#include <span>
#include <string>

#include "lumenTestConfig.h"
#include "lumenTestFunctions.h"
#include "lumenTestLog.h"
#include "lumenTestTimes.h"

enum LUMEN_TEST_TYPE {
  LUMEN_TEST_UNIT = 0,        // every row of the script is run and compared
  LUMEN_TEST_PROFILING = 1,   // the row of the chosen resolution is timed
  LUMEN_TEST_EXHAUSTIVE = 2,  // every row of the profiling script is run and compared
};

// What a unit test is called with.
struct LUMEN_TEST_UnitRun {
  const char* name;
  const char* dataDirectory;
  unsigned int target;  // the slot
  float tolerance;
  LUMEN_TEST_TYPE type = LUMEN_TEST_UNIT;
  int loops = 0;
  LUMEN_TEST_Times* times = nullptr;  // the slot's record

  lumMemOption memOption() const { return lumenTestSettings.memOption[target]; }
  char letter() const { return lumenTestSettings.profileOrder[target]; }
};

// The three functions that a library function may have in a module. Each macro defines one under
// its full name and arguments; the body that follows sees the arguments as `run`.
using LUMEN_TEST_UnitTest = int(const char* name, const char* dataDirectory, unsigned int target,
                                float tolerance, LUMEN_TEST_TYPE type, int loops,
                                LUMEN_TEST_Times* times);
using LUMEN_TEST_UnitOnly = int(const char* name, const char* dataDirectory, unsigned int target,
                                float tolerance);
using LUMEN_TEST_Profiling = void(const char* name, int loops, LUMEN_TEST_Times* times,
                                  unsigned int target);

#define LUMEN_UNIT_TEST(function)                                                           \
  static int unit_##function(const LUMEN_TEST_UnitRun& run);                                \
  LUMEN_TEST_UnitTest unitTest_##function;                                                  \
  int unitTest_##function(const char* name, const char* dataDirectory, unsigned int target, \
                          float tolerance, LUMEN_TEST_TYPE type, int loops,                 \
                          LUMEN_TEST_Times* times) {                                        \
    return unit_##function({name, dataDirectory, target, tolerance, type, loops, times});   \
  }                                                                                         \
  static int unit_##function(const LUMEN_TEST_UnitRun& run)

#define LUMEN_UNIT_TEST_ONLY(function)                                                      \
  static int unit_##function(const LUMEN_TEST_UnitRun& run);                                \
  LUMEN_TEST_UnitOnly unitTest_##function;                                                  \
  int unitTest_##function(const char* name, const char* dataDirectory, unsigned int target, \
                          float tolerance) {                                                \
    return unit_##function({name, dataDirectory, target, tolerance});                       \
  }                                                                                         \
  static int unit_##function(const LUMEN_TEST_UnitRun& run)

#define LUMEN_PROFILING(function)                                                       \
  static void profile_##function(const LUMEN_TEST_UnitRun& run);                        \
  LUMEN_TEST_Profiling profiling_##function;                                            \
  void profiling_##function(const char* name, int loops, LUMEN_TEST_Times* times,       \
                            unsigned int target) {                                      \
    profile_##function({name, nullptr, target, 0, LUMEN_TEST_PROFILING, loops, times}); \
  }                                                                                     \
  static void profile_##function(const LUMEN_TEST_UnitRun& run)

// An open control script, and the directory that its file names are relative to.
class LUMEN_TEST_Script {
 public:
  // <data>/<directory>/control_script_<suffix>.csv with its files beside it; for profiling and
  // exhaustive runs control_script_profiling_<suffix>.csv with its files in <data>/lumTestRef.
  struct Name {
    const char* directory;
    const char* suffix;
  };

  // Logs a script that cannot be opened.
  LUMEN_TEST_Script(const LUMEN_TEST_UnitRun& run, const Name& name);

  explicit operator bool() const { return file_ != nullptr; }
  FILE* file() const { return file_.get(); }
  const char* dataDirectory() const { return dataDirectory_.c_str(); }

 private:
  struct Close {
    void operator()(FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<FILE, Close> file_;
  std::string dataDirectory_;
};

// What a row came to. A row whose buffers do not fit together is neither run nor passed.
enum class LUMEN_TEST_RowState { ready, outOfMemory, unusable };

// Lines of the unit tests.
void LUMEN_TEST_LogRowFailed(const LUMEN_TEST_UnitRun& run, unsigned int row);
void LUMEN_TEST_LogVerdict(const LUMEN_TEST_UnitRun& run, int failed);

// The timed calls of a profiling run.
template <class Case, class F>
void LUMEN_TEST_TimeCalls(const LUMEN_TEST_UnitRun& run, Case& testCase, F* function) {
  for (int i = 0; i < run.loops; ++i) {
    testCase.flush();
    run.times->Start();
    testCase.call(function);
    run.times->EndTimeCommit();
  }
}

// Goes through a control script. A Case has the buffers of one row and knows how to
//   int read(script, memOption)     fill itself from the next row; 0 when there is none
//   RowState prepare(memOption)     shape the destination, see whether the buffers fit together
//   void call(function)             call the function on them
//   int compare(tolerance)          0 when the destination agrees with the reference
//   void flush()                    write the buffers that the call touches back to memory
// The value returned covers every row; the verdict in the last line is that of the last row alone.
template <class Case, class F>
int LUMEN_TEST_RunUnit(const LUMEN_TEST_UnitRun& run, const LUMEN_TEST_Script::Name& name,
                       F* function) {
  const LUMEN_TEST_Script script(run, name);
  if (!script) return 1;

  Case testCase;
  int anyFailed = 0, lastFailed = 0;
  for (unsigned int row = 0; testCase.read(script, run.memOption()); ++row) {
    const LUMEN_TEST_RowState state = testCase.prepare(run.memOption());
    if (state == LUMEN_TEST_RowState::outOfMemory) {
      LUMEN_TEST_Log("Out of memory...Allocating dstBuffer %s\n", "");
      return 1;
    }
    const bool usable = state == LUMEN_TEST_RowState::ready;
    if (run.type == LUMEN_TEST_PROFILING) {
      if (row != lumenTestRunConfig.resolution) continue;
      if (usable) LUMEN_TEST_TimeCalls(run, testCase, function);
      break;
    }
    if (usable) testCase.call(function);
    lastFailed = usable ? testCase.compare(run.tolerance) : 1;
    anyFailed |= lastFailed;
    if (lastFailed) LUMEN_TEST_LogRowFailed(run, row);
  }
  if (run.type != LUMEN_TEST_PROFILING) LUMEN_TEST_LogVerdict(run, lastFailed);
  return anyFailed;
}

// A library function of a module: its unit test profiles as well, or another function does.
struct LUMEN_TEST_Function {
  const char* name;
  LUMEN_FUNC id;
  LUMEN_TEST_UnitTest* unitTest;
  LUMEN_TEST_UnitOnly* unitOnly = nullptr;
  LUMEN_TEST_Profiling* profiling = nullptr;
};
#define LUMEN_TEST_FUNCTION(function) \
  { #function, LUMEN_FUNC_##function, unitTest_##function }
#define LUMEN_TEST_FUNCTION_PROFILED(function) \
  { #function, LUMEN_FUNC_##function, nullptr, unitTest_##function, profiling_##function }

// Runs every selected function in every enabled slot that has it; 0 when all of them passed.
int LUMEN_TEST_RunModule(std::span<const LUMEN_TEST_Function> functions, int loops,
                         const char* dataDirectory);

#endif  // LUMEN_TEST_MODULE_H
