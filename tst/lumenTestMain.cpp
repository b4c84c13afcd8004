// lumenTest: proves the library's implementations right against reference data, and times them.

#include <cstdio>

#include "lumenTestDevice.h"
#include "lumenTestExtras.h"
#include "lumenTestRecord.h"
#include "lumenTestRun.h"
#include "lumenTestSelfTest.h"

namespace {

constexpr int kBadAddition = 2;  // exit status

bool mayReadArguments(int argc, const char* program) {
  const int inEnvironment = LUMEN_TEST_CountExtraOptions();
  if (argc >= LUMEN_TEST_MIN_ARGUMENTS && argc + inEnvironment <= LUMEN_TEST_MAX_ARGUMENTS) {
    return true;
  }
  if (argc >= LUMEN_TEST_MIN_ARGUMENTS && inEnvironment > 0) {
    std::fprintf(stderr, "ERROR: %d arguments and %d words of LUMEN_TEST_OPTS are too many\n",
                 argc - 1, inEnvironment);
  }
  LUMEN_TEST_PrintHelp(program);
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  // Lines are not lost in a crash, and keep their order beside those of the log.
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);

  lumtest_print_ver();
  const char* program = argc > 0 ? argv[0] : "lumenTest";
  if (!mayReadArguments(argc, program)) return 1;
  if (!LUMEN_TEST_ReadExtras(argc, argv, lumenTestExtras)) return kBadAddition;
  if (lumenTestExtras.help) {
    LUMEN_TEST_PrintExtrasHelp(program);
    return 0;
  }
  LUMEN_TEST_Options options;
  if (const char* error = LUMEN_TEST_ReadOptions(argc, argv, options)) {
    std::fputs(error, stderr);
    LUMEN_TEST_PrintHelp(program);
    return 1;
  }
  if (lumenTestExtras.selfTest) return LUMEN_TEST_RunSelfTest(argv[1]);

  if (!LUMEN_TEST_OpenRecords(argc, argv)) return kBadAddition;
  const int status = LUMEN_TEST_Run(program, argv[1], options);
  return LUMEN_TEST_CloseRecords(status) || status != 0 ? status : kBadAddition;
}
