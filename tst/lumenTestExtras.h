// The additions to the test program: single words --name[=value], on the command line after the
// data directory or in the environment variable LUMEN_TEST_OPTS. Without any of them the program's
// output, its log, the rand() stream and its exit status are the same as if they did not exist.

#ifndef LUMEN_TEST_EXTRAS_H
#define LUMEN_TEST_EXTRAS_H

#include <cstdint>
#include <string>
#include <vector>

enum class LUMEN_TEST_Sweep : uint8_t { none, quick, full };
enum class LUMEN_TEST_Guard : uint8_t { none, tail, head, row };

struct LUMEN_TEST_Extras {
  bool given = false;  // whether there is any addition at all
  bool help = false;   // --help: print the additions
  bool strict =
      false;          // --strict: new verdicts and empty or unreadable input change the exit status
  bool list = false;  // --list: name what would run
  bool attest = false;      // --attest: which column did each call reach
  bool selfTest = false;    // --selftest: planted faults must be found
  bool poison = false;      // --poison: unwritten pixels, writes outside, inputs changed
  bool stopOnFail = false;  // --stop-on-fail
  LUMEN_TEST_Sweep sweep = LUMEN_TEST_Sweep::none;  // --sweep=quick|full
  LUMEN_TEST_Guard guard = LUMEN_TEST_Guard::none;  // --guard=tail|head|row
  double benchSeconds = 0;                          // --bench=SECONDS for each function; 0: none
  double isolateSeconds = 0;                        // --isolate[=SECONDS]; 0: none
  uint32_t repeat = 1;                              // --repeat=N on successive seeds
  std::string caseText;                             // --case=...: just that sweep case
  std::string saveFailing;                          // --save-failing=DIR
  std::string json;                                 // --json=FILE
  std::string junit;                                // --junit=FILE
  std::vector<std::string> filters;                 // --filter=GLOB, any of them
  std::vector<std::string> excludes;                // --exclude=GLOB, none of them

  // Whether a function in a slot takes part: its name, or "MODULE/name", or "MODULE/name/C",
  // matches a filter (or there is none) and no exclusion.
  bool selects(const char* module, const char* function, char slot) const;

  // Whether a module that tests no functions takes part, under its own name.
  bool selects(const char* module) const;
  // Whether anything may be left out. A case stands alone as well: nothing else is run.
  bool narrows() const { return !filters.empty() || !excludes.empty() || !caseText.empty(); }

  // Whether functions are checked on data that no script holds.
  bool checksOwnData() const {
    return sweep != LUMEN_TEST_Sweep::none || guard != LUMEN_TEST_Guard::none || poison ||
           !caseText.empty();
  }
};

extern LUMEN_TEST_Extras lumenTestExtras;

// Reads the words of LUMEN_TEST_OPTS and, after them, the arguments behind the data directory; of
// single values the last one counts. Arguments that do not begin with "--", and those that are the
// value of an option before them (as in "-m --strict"), are not its business. False with a message
// on standard error for a bad value, or with --strict for an unknown word; the program then ends
// with status 2.
//
// LUMEN_TEST_OPTS is split at blanks, tabs and newlines outside double quotes, and the quotes are
// dropped: --filter="MODULE/a b".
bool LUMEN_TEST_ReadExtras(int argc, const char* const* argv, LUMEN_TEST_Extras& extras);

// The number of arguments in LUMEN_TEST_OPTS, which count towards the limit of the command line.
int LUMEN_TEST_CountExtraOptions();

// The list of additions, on standard error.
void LUMEN_TEST_PrintExtrasHelp(const char* program);

#endif  // LUMEN_TEST_EXTRAS_H
