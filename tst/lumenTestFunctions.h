// The library functions that the test program knows, by the number that selects them.

#ifndef LUMEN_TEST_FUNCTIONS_H
#define LUMEN_TEST_FUNCTIONS_H

enum LUMEN_FUNC : unsigned int {
  LUMEN_FUNC_NONE = 0,
#define LUMEN_TEST_FUNC(id, name) LUMEN_FUNC_##name = id,
#include "lumenTestFunctions.def"
};
inline constexpr unsigned int LUMEN_FUNC_COUNT = 485;

// Names by number; an empty name for 0.
inline constexpr const char* LUMEN_FUNC_NAME[LUMEN_FUNC_COUNT + 1] = {
    "",
#define LUMEN_TEST_FUNC(id, name) #name,
#include "lumenTestFunctions.def"
};

// The number of a name, which must be exactly that of the list; 0 for any other name and for null.
LUMEN_FUNC parseFunctionName(const char* name);

#endif  // LUMEN_TEST_FUNCTIONS_H
