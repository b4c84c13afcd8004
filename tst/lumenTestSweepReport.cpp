#include "lumenTestSweepReport.h"

#include <algorithm>
#include <cinttypes>

#include "lumenTestConfig.h"
#include "lumenTestLog.h"
#include "lumenTestRecord.h"
#include "lumenTestSweep.h"

namespace {

char letterOf(unsigned int slot) { return lumenTestSettings.profileOrder[slot]; }

// As the shell needs it.
std::string quoted(const std::string& word) {
  constexpr const char* kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./,+@:=%";
  if (!word.empty() && word.find_first_not_of(kPlain) == std::string::npos) return word;
  std::string text = "'";
  for (const char c : word) {
    if (c == '\'') text += "'\\''";
    else text += c;
  }
  return text + "'";
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += (text.empty() ? "" : "; ") + line;
  return text;
}

// The option that enables a slot; the units are all tested without one.
const char* modeOption(unsigned int slot) {
  switch (slot) {
    case LUMEN_TEST_SLOT_LOW_POWER:
      return " -M 1";
    case LUMEN_TEST_SLOT_PERFORMANCE:
      return " -M 2";
    case LUMEN_TEST_SLOT_CPU_OFFLOAD:
      return " -M 4";
    case LUMEN_TEST_SLOT_CPU_PERFORMANCE:
      return " -M 8";
    default:
      return "";
  }
}

}  // namespace

std::string LUMEN_TEST_CaseCommand(const LUMEN_TEST_NamedCase& named, unsigned int slot) {
  return "lumenTest " + quoted(lumenTestOwnDataRun.dataDirectory) + " -m " +
         LUMEN_TEST_CurrentModule() + " -f " + named.function + modeOption(slot) +
         " --case=" + named.text();
}

LUMEN_TEST_CheckReport::LUMEN_TEST_CheckReport(const char* check,
                                               const LUMEN_TEST_Description& description,
                                               unsigned int slot, float tolerance)
    : check_(check),
      description_(description),
      slot_(slot),
      tolerance_(static_cast<double>(tolerance)) {}

void LUMEN_TEST_CheckReport::count(double difference) {
  ++cases_;
  largest_ = std::max(largest_, difference);
}

void LUMEN_TEST_CheckReport::fail(const LUMEN_TEST_NamedCase& named,
                                  const LUMEN_TEST_CaseFailure& failure) {
  if (failed_++ >= kToldFailures) return;
  const std::string text = named.text(), detail = joined(failure.findings);
  const std::string command = LUMEN_TEST_CaseCommand(named, slot_);
  if (failed_ == 1) firstFinding_ = detail;

  LUMEN_TEST_Log("LUMEN_TEST, %s_%c (%s) =>%s", description_.name, letterOf(slot_), text.c_str(),
                 lumenTestSettings.resultText[1]);
  for (const std::string& finding : failure.findings) {
    LUMEN_TEST_Log("LUMEN_TEST, %s", finding.c_str());
  }
  LUMEN_TEST_Log("LUMEN_TEST, again: %s", command.c_str());

  LUMEN_TEST_JsonLine line("case");
  line.text("module", LUMEN_TEST_CurrentModule())
      .text("function", description_.name)
      .text("slot", std::string_view(&lumenTestSettings.profileOrder[slot_], 1))
      .text("check", check_)
      .text("case", text)
      .text("command", command)
      .text("verdict", LUMEN_TEST_VerdictName(LUMEN_TEST_Verdict::fail))
      .number("difference", failure.difference)
      .number("tolerance", tolerance_)
      .text("detail", detail);
  if (!failure.buffer.empty()) {
    line.text("buffer", failure.buffer).integer("offset", failure.offset);
  }
  if (!failure.access.empty()) line.text("access", failure.access);
  if (!failure.saved.empty()) line.text("saved", failure.saved);
  if (!failure.reference.empty()) {
    line.text("reference", failure.reference).text("result", failure.result);
  }
}

int LUMEN_TEST_CheckReport::finish() {
  const bool hasFailed = failed_ > 0;
  LUMEN_TEST_Log("LUMEN_TEST, %s_%c %s, %" PRIu64 " of %" PRIu64 " cases failed =>%s",
                 description_.name, letterOf(slot_), check_, failed_, cases_,
                 lumenTestSettings.resultText[hasFailed]);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start_;
  LUMEN_TEST_RecordCheck(
      {.function = description_.name,
       .slot = letterOf(slot_),
       .check = check_,
       .verdict = hasFailed ? LUMEN_TEST_Verdict::fail : LUMEN_TEST_Verdict::pass,
       .cases = cases_,
       .failedCases = failed_,
       .difference = largest_,
       .tolerance = tolerance_,
       .seconds = seconds.count(),
       .detail = firstFinding_});
  return hasFailed;
}
