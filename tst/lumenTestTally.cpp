#include "lumenTestTally.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "lumenTestExtras.h"
#include "lumenTestLog.h"
#include "lumenTestRecord.h"

LUMEN_TEST_Session lumenTestTally;

namespace {

char progress[80] = "";  // does not wrap on a terminal of that width
bool isShown = false;

bool mayShow() {
  static const bool hasTerminal = [] {
    const char* terminal = std::getenv("TERM");
    return isatty(STDERR_FILENO) && terminal && std::strcmp(terminal, "dumb") != 0;
  }();
  return hasTerminal && lumenTestExtras.given;
}

}  // namespace

void LUMEN_TEST_NoteFailure(const char* name, char slot) {
  if (!lumenTestExtras.stopOnFail) return;
  lumenTestTally.stopped = true;
  if (slot) LUMEN_TEST_Log("LUMEN_TEST, stopped after the failure of %s_%c", name, slot);
  else LUMEN_TEST_Log("LUMEN_TEST, stopped after the failure of %s", name);
}

bool LUMEN_TEST_ModuleTakesPart() {
  const char* module = LUMEN_TEST_CurrentModule();
  if (!lumenTestExtras.selects(module)) return false;
  ++lumenTestTally.ran;
  if (lumenTestExtras.list) std::fprintf(stderr, "%s\n", module);
  return !lumenTestExtras.list;
}

void LUMEN_TEST_ShowProgress(const char* function, size_t number, size_t count, char slot) {
  if (!mayShow()) return;
  lumSetLogHook(LUMEN_TEST_ClearProgress);
  std::snprintf(progress, sizeof(progress), "%s: %s (%zu of %zu), slot %c",
                LUMEN_TEST_CurrentModule(), function, number, count, slot);
  LUMEN_TEST_ShowProgressAgain();
}

void LUMEN_TEST_ShowProgressAgain() {
  if (!*progress) return;
  std::fprintf(stderr, "\r\033[K%s", progress);
  isShown = true;
}

void LUMEN_TEST_ClearProgress() {
  if (!isShown) return;
  isShown = false;
  std::fputs("\r\033[K", stderr);
}
