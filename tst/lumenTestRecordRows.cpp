#include "lumenTestRecordRows.h"

#include <cmath>
#include <limits>

#include "lumenTestConfig.h"
#include "lumenTestRecord.h"
#include "lumenTestText.h"

namespace {

LUMEN_TEST_Verdict verdictOf(bool hasFailed) {
  return hasFailed ? LUMEN_TEST_Verdict::fail : LUMEN_TEST_Verdict::pass;
}

}  // namespace

LUMEN_TEST_RowRecords::LUMEN_TEST_RowRecords(const LUMEN_TEST_Description& description,
                                             const LUMEN_TEST_UnitRun& run)
    : run_(run),
      isKept_(run.type != LUMEN_TEST_PROFILING && LUMEN_TEST_KeepsRecords()),
      letter_(lumenTestSettings.profileOrder[run.target]),
      tolerance_(static_cast<double>(run.tolerance)) {
  if (!isKept_) return;
  script_ = LUMEN_TEST_ScriptPath(description.scripts, run.type != LUMEN_TEST_UNIT);
}

void LUMEN_TEST_RowRecords::add(unsigned int row, bool hasFailed, const LUMEN_TEST_Case* testCase) {
  if (!isKept_) return;
  const double difference =
      testCase ? testCase->difference() : std::numeric_limits<double>::quiet_NaN();
  ++rows_;
  failedRows_ += hasFailed;
  if (!std::isnan(largest_) && !(difference <= largest_)) largest_ = difference;
  if (hasFailed && detail_.empty()) {
    detail_ = "row " + std::to_string(row) + " of " + script_;
    if (testCase) {
      detail_ += ": difference ";
      LUMEN_TEST_AppendNumber(detail_, difference, "not finite");
    } else {
      detail_ += ": its images do not fit together";
    }
  }
  LUMEN_TEST_JsonLine("row")
      .about(run_.name, letter_)
      .text("script", script_)
      .integer("row", row)
      .text("verdict", LUMEN_TEST_VerdictName(verdictOf(hasFailed)))
      .number("difference", difference)
      .number("tolerance", tolerance_);
}

void LUMEN_TEST_RowRecords::giveUp(const char* reason) {
  hasGivenUp_ = true;
  if (detail_.empty()) detail_ = script_ + ": " + reason;
}

LUMEN_TEST_RowRecords::~LUMEN_TEST_RowRecords() {
  if (!isKept_) return;
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start_;
  const bool hasFailed = hasGivenUp_ || failedRows_ > 0;
  const bool isEmpty = !hasFailed && rows_ == 0;  // which proves nothing
  const LUMEN_TEST_Verdict verdict = isEmpty ? LUMEN_TEST_Verdict::skipped : verdictOf(hasFailed);
  LUMEN_TEST_RecordCheck({.function = run_.name,
                          .slot = letter_,
                          .check = run_.type == LUMEN_TEST_UNIT ? "golden" : "exhaustive",
                          .verdict = verdict,
                          .cases = rows_,
                          .failedCases = failedRows_,
                          .difference = largest_,
                          .tolerance = tolerance_,
                          .seconds = seconds.count(),
                          .detail = detail_});
}
