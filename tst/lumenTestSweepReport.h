// What a check on own data tells: a few failed cases in full, the count of all, and one result.

#ifndef LUMEN_TEST_SWEEP_REPORT_H
#define LUMEN_TEST_SWEEP_REPORT_H

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "lumenTestSweepCase.h"

// Of one case.
struct LUMEN_TEST_CaseFailure {
  std::vector<std::string> findings = {};  // a line each
  double difference = 0;
  // Of a fault of guarded memory.
  std::string buffer = {};
  int64_t offset = 0;
  std::string access = {};  // "read", "write", or empty when that cannot be told
  // Of a case that was saved: the directory, and pictures there.
  std::string saved = {}, reference = {}, result = {};
};

class LUMEN_TEST_CheckReport {
 public:
  // `check` as records name it: "sweep", "guard" or "poison".
  LUMEN_TEST_CheckReport(const char* check, const LUMEN_TEST_Description& description,
                         unsigned int slot, float tolerance);

  // One more case was run; `difference` is the largest that it had.
  void count(double difference = 0);
  // The case that was counted last has failed. Whoever calls finds out more about it only if that
  // will be told.
  bool tellsNextFailure() const { return failed_ < kToldFailures; }
  void fail(const LUMEN_TEST_NamedCase& named, const LUMEN_TEST_CaseFailure& failure);

  // The sum, in the log and in the records; 1 when a case failed.
  int finish();

 private:
  static constexpr uint64_t kToldFailures = 5;

  const char* const check_;
  const LUMEN_TEST_Description& description_;
  const unsigned int slot_;
  const double tolerance_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  uint64_t cases_ = 0, failed_ = 0;
  double largest_ = 0;
  std::string firstFinding_;
};

// The command that repeats a case.
std::string LUMEN_TEST_CaseCommand(const LUMEN_TEST_NamedCase& named, unsigned int slot);

#endif  // LUMEN_TEST_SWEEP_REPORT_H
