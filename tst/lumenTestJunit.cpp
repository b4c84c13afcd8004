#include "lumenTestJunit.h"

#include <cinttypes>
#include <cstdio>

#include "lumenTestText.h"

namespace {

constexpr const char* kProgram = "lumenTest";

std::string attribute(const char* name, std::string_view value) {
  std::string text = std::string(" ") + name + "=\"";
  LUMEN_TEST_AppendXml(text, value);
  return text + "\"";
}

std::string secondsOf(double seconds) {
  char text[64];
  std::snprintf(text, sizeof(text), "%.6f", seconds >= 0 && seconds < 1e9 ? seconds : 0.0);
  return text;
}

// "FAIL: 2 of 7 cases, largest difference 5, 0 allowed: row 3"
std::string messageOf(const LUMEN_TEST_CheckResult& result) {
  std::string text = LUMEN_TEST_VerdictName(result.verdict);
  if (result.cases > 0) {
    text += ": " + std::to_string(result.failedCases) + " of " + std::to_string(result.cases) +
            " cases, largest difference ";
    LUMEN_TEST_AppendNumber(text, result.difference, "not finite");
    text += ", ";
    LUMEN_TEST_AppendNumber(text, result.tolerance, "not finite");
    text += " allowed";
  }
  if (!result.detail.empty()) (text += ": ") += result.detail;
  return text;
}

}  // namespace

void LUMEN_TEST_Junit::Totals::operator+=(const Totals& other) {
  tests += other.tests;
  failures += other.failures;
  errors += other.errors;
  skipped += other.skipped;
  seconds += other.seconds;
}

std::string LUMEN_TEST_Junit::Totals::attributes() const {
  return attribute("tests", std::to_string(tests)) +
         attribute("failures", std::to_string(failures)) +
         attribute("errors", std::to_string(errors)) +
         attribute("skipped", std::to_string(skipped)) + attribute("time", secondsOf(seconds));
}

void LUMEN_TEST_Junit::Suite::add(const std::string& test, LUMEN_TEST_Verdict verdict,
                                  const std::string& message, double seconds) {
  const char* outcome = nullptr;
  ++totals.tests;
  totals.seconds += seconds;
  switch (verdict) {
    case LUMEN_TEST_Verdict::pass:
      break;
    case LUMEN_TEST_Verdict::fail:
      outcome = "failure";
      ++totals.failures;
      break;
    case LUMEN_TEST_Verdict::crashed:
    case LUMEN_TEST_Verdict::timeout:
      outcome = "error";
      ++totals.errors;
      break;
    case LUMEN_TEST_Verdict::fellBack:
    case LUMEN_TEST_Verdict::notBuilt:
    case LUMEN_TEST_Verdict::skipped:
      outcome = "skipped";
      ++totals.skipped;
      break;
  }
  cases += "    <testcase" + attribute("classname", name) + attribute("name", test) +
           attribute("time", secondsOf(seconds));
  if (outcome) {
    cases += std::string(">\n      <") + outcome + attribute("message", message) +
             "/>\n    </testcase>\n";
  } else {
    cases += "/>\n";
  }
}

std::string LUMEN_TEST_Junit::Suite::text() const {
  return "  <testsuite" + attribute("name", name) + totals.attributes() + ">\n" + cases +
         "  </testsuite>\n";
}

void LUMEN_TEST_Junit::beginSuite(const std::string& name) {
  suites_.push_back({.name = name, .cases = {}, .totals = {}});
}

void LUMEN_TEST_Junit::add(const LUMEN_TEST_CheckResult& result) {
  if (suites_.empty()) beginSuite(kProgram);
  std::string name(result.function);
  ((name += '/') += result.slot) += '/';
  suites_.back().add(name.append(result.check), result.verdict, messageOf(result), result.seconds);
}

void LUMEN_TEST_Junit::endSuite(const std::string& name, LUMEN_TEST_Verdict verdict) {
  if (suites_.empty() || suites_.back().name != name) beginSuite(name);
  Suite& suite = suites_.back();
  const bool isTold = verdict == LUMEN_TEST_Verdict::fail
                          ? suite.totals.failures + suite.totals.errors > 0
                          : suite.totals.tests > 0;
  if (!isTold) suite.add(name, verdict, LUMEN_TEST_VerdictName(verdict), 0);
}

std::string LUMEN_TEST_Junit::text(bool hasEnded, bool hasFailed) const {
  Totals totals;
  std::string suites;
  const auto append = [&](const Suite& suite) {
    totals += suite.totals;
    suites += suite.text();
  };
  for (const Suite& suite : suites_) append(suite);

  Suite run = {.name = kProgram, .cases = {}, .totals = {}};
  if (!hasEnded) {
    run.add("run", LUMEN_TEST_Verdict::crashed, "The run did not end.", 0);
  } else if (hasFailed && totals.failures + totals.errors == 0) {
    run.add("run", LUMEN_TEST_Verdict::fail, "The run failed.", 0);
  }
  if (run.totals.tests > 0) append(run);
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" + attribute("name", kProgram) +
         totals.attributes() + ">\n" + suites + "</testsuites>\n";
}
