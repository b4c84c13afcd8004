#include "lumenTestFunctions.h"

#include <cstring>

// Every number stands at its place in the list.
static_assert([] {
  unsigned int expected = 0;
#define LUMEN_TEST_FUNC(id, name) \
  if (++expected != id) return false;
#include "lumenTestFunctions.def"
  return expected == LUMEN_FUNC_COUNT;
}());

LUMEN_FUNC parseFunctionName(const char* name) {
  if (!name) return LUMEN_FUNC_NONE;
  for (unsigned int id = 1; id <= LUMEN_FUNC_COUNT; ++id) {
    if (std::strcmp(name, LUMEN_FUNC_NAME[id]) == 0) return static_cast<LUMEN_FUNC>(id);
  }
  return LUMEN_FUNC_NONE;
}
