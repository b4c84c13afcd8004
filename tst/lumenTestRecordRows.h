// The records of a unit test: a line for each row of its script, and the check that they make up.

#ifndef LUMEN_TEST_RECORD_ROWS_H
#define LUMEN_TEST_RECORD_ROWS_H

#include <chrono>
#include <string>

#include "lumenTestCase.h"
#include "lumenTestModule.h"

// Does nothing for profiling runs and where no record is kept. The check goes to the records at the
// end of its life.
class LUMEN_TEST_RowRecords {
 public:
  LUMEN_TEST_RowRecords(const LUMEN_TEST_Description& description, const LUMEN_TEST_UnitRun& run);
  ~LUMEN_TEST_RowRecords();
  LUMEN_TEST_RowRecords(const LUMEN_TEST_RowRecords&) = delete;
  LUMEN_TEST_RowRecords& operator=(const LUMEN_TEST_RowRecords&) = delete;

  // A row that was run, or (null) could not be.
  void add(unsigned int row, bool hasFailed, const LUMEN_TEST_Case* testCase);

  // The test ends before its script does, and so fails.
  void giveUp(const char* reason);

 private:
  const LUMEN_TEST_UnitRun& run_;
  const bool isKept_;
  const char letter_;
  const double tolerance_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::string script_;
  uint64_t rows_ = 0, failedRows_ = 0;
  bool hasGivenUp_ = false;
  double largest_ = 0;
  std::string detail_;
};

#endif  // LUMEN_TEST_RECORD_ROWS_H
