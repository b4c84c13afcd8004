// How far a run has come, as far as the additions depend on it, and the line that shows it.

#ifndef LUMEN_TEST_TALLY_H
#define LUMEN_TEST_TALLY_H

#include <cstddef>

struct LUMEN_TEST_Session {
  unsigned int ran = 0;   // functions in a slot, and modules without functions, that were run
  bool fellBack = false;  // --attest has found a slot that fell back to another column
  bool stopped = false;   // --stop-on-fail has ended the run
};
extern LUMEN_TEST_Session lumenTestTally;

// Notes that something has failed; with --stop-on-fail the log names it and the run ends.
void LUMEN_TEST_NoteFailure(const char* name, char slot = '\0');

// Whether a module that tests no functions is to be run. Lists it when only that is asked for.
bool LUMEN_TEST_ModuleTakesPart();

// With an addition, and when standard error is a terminal: a line that names the function under
// test. It stays until the next log record or until it is cleared, which has to be done before
// anything is written to standard output.
void LUMEN_TEST_ShowProgress(const char* function, size_t number, size_t count, char slot);
void LUMEN_TEST_ShowProgressAgain();  // the same line
void LUMEN_TEST_ClearProgress();

#endif  // LUMEN_TEST_TALLY_H
