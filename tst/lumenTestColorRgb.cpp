// Module COLORRGB.

#include "lumenTestColorDescription.h"
#include "lumenTestModules.h"

int LUMEN_TEST_COLORRGB_Test(int loops, const char* dataDirectory) {
  return LUMEN_TEST_RunModule(LUMEN_TEST_COLOR_FROM_RGB_FUNCTIONS, loops, dataDirectory);
}
