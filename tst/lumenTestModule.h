// How a module test is written: a description of each library function, and a list of them.
//
//   constexpr LUMEN_TEST_Description kLookup = {"lumTableLookupu8", ...};
//   LUMEN_UNIT_TEST(lumTableLookupu8, kLookup)
//
//   int LUMEN_TEST_ARITHM_Test(int loops, const char* dataDirectory) {
//     static constexpr LUMEN_TEST_Function functions[] = {{&kLookup, unitTest_lumTableLookupu8}};
//     return LUMEN_TEST_RunModule(functions, loops, dataDirectory);
//   }
//
// LUMEN_TEST_RunModule goes through functions and slots; the description says the rest.

#ifndef LUMEN_TEST_MODULE_H
#define LUMEN_TEST_MODULE_H

#include <span>

#include "lumenTestDescription.h"
#include "lumenTestTimes.h"

enum LUMEN_TEST_TYPE {
  LUMEN_TEST_UNIT = 0,        // every row of the script is run and compared
  LUMEN_TEST_PROFILING = 1,   // the row of the chosen resolution is timed
  LUMEN_TEST_EXHAUSTIVE = 2,  // every row of the profiling script is run and compared
};

// What a test of one function in one slot is called with.
struct LUMEN_TEST_UnitRun {
  const char* name;
  const char* dataDirectory;
  unsigned int target;  // the slot
  float tolerance;
  LUMEN_TEST_TYPE type;
  int loops;
  LUMEN_TEST_Times* times;  // the slot's record
};

// Goes through the function's control script. The value returned covers every row; the verdict in
// the last log line is that of the last row alone.
int LUMEN_TEST_RunUnit(const LUMEN_TEST_Description& description, const LUMEN_TEST_UnitRun& run);

// Times the function on an image of 320 x 240 pixels, at the default resolution only.
void LUMEN_TEST_RunProfiling(const LUMEN_TEST_Description& description,
                             const LUMEN_TEST_UnitRun& run);

// The tests that a library function has in a module, under its full name. A function with a
// profiling script is timed by its unit test, another one by a profiling function of its own.
using LUMEN_TEST_UnitTest = int(const char* name, const char* dataDirectory, unsigned int target,
                                float tolerance, LUMEN_TEST_TYPE type, int loops,
                                LUMEN_TEST_Times* times);
using LUMEN_TEST_UnitOnly = int(const char* name, const char* dataDirectory, unsigned int target,
                                float tolerance);
using LUMEN_TEST_Profiling = void(const char* name, int loops, LUMEN_TEST_Times* times,
                                  unsigned int target);

#define LUMEN_UNIT_TEST(function, description)                                               \
  LUMEN_TEST_UnitTest unitTest_##function;                                                   \
  int unitTest_##function(const char* name, const char* dataDirectory, unsigned int target,  \
                          float tolerance, LUMEN_TEST_TYPE type, int loops,                  \
                          LUMEN_TEST_Times* times) {                                         \
    return LUMEN_TEST_RunUnit(description,                                                   \
                              {name, dataDirectory, target, tolerance, type, loops, times}); \
  }

#define LUMEN_UNIT_TEST_ONLY(function, description)                                          \
  LUMEN_TEST_UnitOnly unitTest_##function;                                                   \
  int unitTest_##function(const char* name, const char* dataDirectory, unsigned int target,  \
                          float tolerance) {                                                 \
    return LUMEN_TEST_RunUnit(                                                               \
        description, {name, dataDirectory, target, tolerance, LUMEN_TEST_UNIT, 0, nullptr}); \
  }                                                                                          \
  LUMEN_TEST_Profiling profiling_##function;                                                 \
  void profiling_##function(const char* name, int loops, LUMEN_TEST_Times* times,            \
                            unsigned int target) {                                           \
    LUMEN_TEST_RunProfiling(description,                                                     \
                            {name, nullptr, target, 0, LUMEN_TEST_PROFILING, loops, times}); \
  }

// A library function of a module.
struct LUMEN_TEST_Function {
  const LUMEN_TEST_Description* description;
  LUMEN_TEST_UnitTest* unitTest;
  LUMEN_TEST_UnitOnly* unitOnly = nullptr;
  LUMEN_TEST_Profiling* profiling = nullptr;
};

// Runs every selected function in every enabled slot that has it; 0 when all of them passed.
int LUMEN_TEST_RunModule(std::span<const LUMEN_TEST_Function> functions, int loops,
                         const char* dataDirectory);

// What modules list, for tests of the checks themselves.
extern const std::span<const LUMEN_TEST_Function> LUMEN_TEST_ABSDIFF_FUNCTIONS;

#endif  // LUMEN_TEST_MODULE_H
