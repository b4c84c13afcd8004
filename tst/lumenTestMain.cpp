// lumenTest: proves the library's implementations right against reference data, and times them.

#include <cstdio>

#include "lumenTestDevice.h"
#include "lumenTestRun.h"

int main(int argc, char** argv) {
  // Lines are not lost in a crash, and keep their order beside those of the log.
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);

  lumtest_print_ver();
  const char* program = argc > 0 ? argv[0] : "lumenTest";
  if (argc < LUMEN_TEST_MIN_ARGUMENTS || argc > LUMEN_TEST_MAX_ARGUMENTS) {
    LUMEN_TEST_PrintHelp(program);
    return 1;
  }
  LUMEN_TEST_Options options;
  if (const char* error = LUMEN_TEST_ReadOptions(argc, argv, options)) {
    std::fputs(error, stderr);
    LUMEN_TEST_PrintHelp(program);
    return 1;
  }
  return LUMEN_TEST_Run(program, argv[1], options);
}
