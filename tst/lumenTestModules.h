// The modules of the test program, and how they are run.

#ifndef LUMEN_TEST_MODULES_H
#define LUMEN_TEST_MODULES_H

#include <cstddef>
#include <cstdint>
#include <span>

// What a module is run by; returns 0 when all of its tests passed.
using LUMEN_TEST_ModuleEntry = int(int loops, const char* dataDirectory);

// The entries that are built.
#define LUMEN_TEST_MODULE_BUILT(name, comparedBytes, loops, entry) LUMEN_TEST_ModuleEntry entry;
#include "lumenTestModules.def"

enum class LUMEN_TEST_LOOPS : uint8_t { asGiven, multiplied };

struct LUMEN_TEST_Module {
  const char* name;
  size_t comparedBytes;
  LUMEN_TEST_LOOPS loops;
  LUMEN_TEST_ModuleEntry* entry;  // null: not built

  // Whether the argument of -m selects the module; null selects every one.
  bool isSelectedBy(const char* moduleName) const;
};

inline constexpr size_t LUMEN_TEST_MODULE_COUNT = 83;
extern const LUMEN_TEST_Module LUMEN_TEST_MODULES[LUMEN_TEST_MODULE_COUNT];

// Runs the selected modules in order and logs a verdict for each: one that fails does not stop the
// others, and one that is not built is named and takes no part in the result. Returns 0 when all
// that ran have passed, otherwise 1.
int LUMEN_TEST_RunModules(std::span<const LUMEN_TEST_Module> modules, const char* moduleName,
                          int loops, const char* dataDirectory);

// Logs how many of the modules are built.
void LUMEN_TEST_LogBuiltModules(std::span<const LUMEN_TEST_Module> modules);

#endif  // LUMEN_TEST_MODULES_H
