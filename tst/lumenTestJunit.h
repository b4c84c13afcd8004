// JUnit XML: a suite for each module, in it a case for each check of a function in a slot.

#ifndef LUMEN_TEST_JUNIT_H
#define LUMEN_TEST_JUNIT_H

#include <string>
#include <vector>

#include "lumenTestRecord.h"

class LUMEN_TEST_Junit {
 public:
  // Begins a suite; the cases that follow are its own.
  void beginSuite(const std::string& name);
  void add(const LUMEN_TEST_CheckResult& result);
  // What the suite's module came to. It gets a case of its own where no other case tells it.
  void endSuite(const std::string& name, LUMEN_TEST_Verdict verdict);

  // The document. A failure that no case tells, and a run that is still going on, have a case in a
  // suite of their own: whoever finds the file after a crash reads that the run did not end.
  std::string text(bool hasEnded, bool hasFailed) const;

 private:
  struct Totals {
    unsigned int tests = 0, failures = 0, errors = 0, skipped = 0;
    double seconds = 0;

    void operator+=(const Totals& other);
    std::string attributes() const;
  };
  struct Suite {
    std::string name, cases;
    Totals totals;

    void add(const std::string& test, LUMEN_TEST_Verdict verdict, const std::string& message,
             double seconds);
    std::string text() const;
  };

  std::vector<Suite> suites_;
};

#endif  // LUMEN_TEST_JUNIT_H
