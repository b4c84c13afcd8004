// Records of a run: JSON Lines, written as the run goes on, and JUnit XML, written at its end.
// docs/records.md says what they hold. Without --json and --junit nothing is written or kept.

#ifndef LUMEN_TEST_RECORD_H
#define LUMEN_TEST_RECORD_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

enum class LUMEN_TEST_Verdict : uint8_t {
  pass,
  fail,
  crashed,   // by a signal, in a process of its own
  timeout,   // did not end in time, in a process of its own
  fellBack,  // another column than the slot's did the work
  notBuilt,
  skipped,
};
const char* LUMEN_TEST_VerdictName(LUMEN_TEST_Verdict verdict);  // "PASS", "FAIL", "CRASHED", ...

// One line of the JSON record; written when it goes out of scope, whole, even when several
// processes write to the file.
class LUMEN_TEST_JsonLine {
 public:
  explicit LUMEN_TEST_JsonLine(std::string_view type);  // becomes the member "type"
  ~LUMEN_TEST_JsonLine();
  LUMEN_TEST_JsonLine(const LUMEN_TEST_JsonLine&) = delete;
  LUMEN_TEST_JsonLine& operator=(const LUMEN_TEST_JsonLine&) = delete;

  LUMEN_TEST_JsonLine& text(std::string_view key, std::string_view value);
  LUMEN_TEST_JsonLine& number(std::string_view key, double value);  // null when it is no number
  LUMEN_TEST_JsonLine& integer(std::string_view key, int64_t value);
  LUMEN_TEST_JsonLine& boolean(std::string_view key, bool value);
  LUMEN_TEST_JsonLine& numbers(std::string_view key, std::span<const double> values);
  LUMEN_TEST_JsonLine& texts(std::string_view key, std::span<const std::string> values);

  // The members "module", "function" and "slot".
  LUMEN_TEST_JsonLine& about(std::string_view function, char slot);

 private:
  template <class Append>
  LUMEN_TEST_JsonLine& member(std::string_view key, Append append);

  std::string text_;  // empty when no record is kept
};

// What one check of one function in one slot came to. Goes to both records and to the counts that
// the end of the run reports.
struct LUMEN_TEST_CheckResult {
  std::string_view function;
  char slot;
  std::string_view
      check;  // "golden", "exhaustive", "sweep", "guard", "poison", "attest", "isolate"
  LUMEN_TEST_Verdict verdict;
  uint64_t cases = 0;  // rows or cases that were run
  uint64_t failedCases = 0;
  double difference = 0;  // the largest that was seen
  double tolerance = 0;   // what is allowed
  double seconds = 0;
  std::string_view detail = {};  // of the first failure
};
void LUMEN_TEST_RecordCheck(const LUMEN_TEST_CheckResult& result);

// Gives what is to be recorded to `forward` instead; null: records it. For a process of its own,
// whose parent records it.
void LUMEN_TEST_ForwardChecks(void (*forward)(const LUMEN_TEST_CheckResult& result));

// Whether any check that only the additions make has failed; --strict makes it the exit status.
bool LUMEN_TEST_AnyExtraCheckFailed();

// Whether a record is kept, for what would be computed for its sake alone.
bool LUMEN_TEST_KeepsRecords();

// Opens the files that the options name; false with a message when one cannot be written.
bool LUMEN_TEST_OpenRecords(int argc, const char* const* argv);
// Writes the line about the run, the first one. Without this call the line comes before the first
// other one and knows neither the seed nor the hardware mask.
void LUMEN_TEST_RecordRun(unsigned int seed, uint32_t hardwareMask);
// Writes the last line and the JUnit file. False when a record could not be written to the end,
// which a message has said by then.
bool LUMEN_TEST_CloseRecords(int exitStatus);

// The module whose functions are run from here on, and what it came to. A module that is not built
// has a verdict alone.
void LUMEN_TEST_RecordModule(const char* module);
void LUMEN_TEST_RecordModuleVerdict(const char* module, LUMEN_TEST_Verdict verdict);
const char* LUMEN_TEST_CurrentModule();  // "" before the first

#endif  // LUMEN_TEST_RECORD_H
