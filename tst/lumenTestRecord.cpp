#include "lumenTestRecord.h"

#include <chrono>
#include <cstdio>

#include "lumenTestEnvironment.h"
#include "lumenTestExtras.h"
#include "lumenTestJunit.h"
#include "lumenTestRecordFile.h"
#include "lumenTestRecordRun.h"
#include "lumenTestText.h"

namespace {

using Clock = std::chrono::steady_clock;

LUMEN_TEST_RecordFile jsonFile, junitFile;
LUMEN_TEST_Junit junit;
LUMEN_TEST_RunFacts run;
bool runIsWritten = false;
Clock::time_point startTime, junitTime;
void (*forwardCheck)(const LUMEN_TEST_CheckResult& result) = nullptr;
bool extraCheckFailed = false;
std::string currentModule;

double secondsSince(Clock::time_point time) {
  return std::chrono::duration<double>(Clock::now() - time).count();
}

void writeJunitSoFar() {
  if (junitFile.isOpen()) junitFile.replace(junit.text(false, false), false);
  junitTime = Clock::now();
}

// Once in a while, so that a crash loses little of it.
void refreshJunit() {
  if (secondsSince(junitTime) >= 1) writeJunitSoFar();
}

bool isFailure(LUMEN_TEST_Verdict verdict) {
  return verdict == LUMEN_TEST_Verdict::fail || verdict == LUMEN_TEST_Verdict::crashed ||
         verdict == LUMEN_TEST_Verdict::timeout;
}

void appendQuoted(std::string& out, std::string_view text) {
  out += '"';
  LUMEN_TEST_AppendJson(out, text);
  out += '"';
}

void appendNumber(std::string& out, double value) { LUMEN_TEST_AppendNumber(out, value, "null"); }

template <class Elements, class Append>
void appendArray(std::string& out, const Elements& elements, Append append) {
  out += '[';
  const char* separator = "";
  for (const auto& element : elements) {
    out += separator;
    append(out, element);
    separator = ",";
  }
  out += ']';
}

void writeEnvironment(const char* when) {
  if (!jsonFile.isOpen() || !(lumenTestExtras.benchSeconds > 0)) return;
  const LUMEN_TEST_Environment environment = LUMEN_TEST_ReadEnvironment("/sys");
  LUMEN_TEST_JsonLine("environment")
      .text("when", when)
      .texts("governor", environment.governor)
      .numbers("frequency", environment.frequency)
      .numbers("temperature", environment.temperature);
}

void writeRun() {
  if (runIsWritten) return;
  runIsWritten = true;
  LUMEN_TEST_WriteRun(run);
  writeEnvironment("before");
}

}  // namespace

const char* LUMEN_TEST_VerdictName(LUMEN_TEST_Verdict verdict) {
  switch (verdict) {
    case LUMEN_TEST_Verdict::pass:
      return "PASS";
    case LUMEN_TEST_Verdict::fail:
      return "FAIL";
    case LUMEN_TEST_Verdict::crashed:
      return "CRASHED";
    case LUMEN_TEST_Verdict::timeout:
      return "TIMEOUT";
    case LUMEN_TEST_Verdict::fellBack:
      return "FELL_BACK";
    case LUMEN_TEST_Verdict::notBuilt:
      return "NOT_BUILT";
    case LUMEN_TEST_Verdict::skipped:
      break;
  }
  return "SKIPPED";
}

LUMEN_TEST_JsonLine::LUMEN_TEST_JsonLine(std::string_view type) {
  if (!jsonFile.isOpen()) return;
  writeRun();
  text_ = "{\"type\":";
  appendQuoted(text_, type);
}

LUMEN_TEST_JsonLine::~LUMEN_TEST_JsonLine() {
  if (!text_.empty()) jsonFile.append(text_ += "}\n");
}

template <class Append>
LUMEN_TEST_JsonLine& LUMEN_TEST_JsonLine::member(std::string_view key, Append append) {
  if (text_.empty()) return *this;
  text_ += ',';
  appendQuoted(text_, key);
  text_ += ':';
  append();
  return *this;
}

LUMEN_TEST_JsonLine& LUMEN_TEST_JsonLine::text(std::string_view key, std::string_view value) {
  return member(key, [&] { appendQuoted(text_, value); });
}

LUMEN_TEST_JsonLine& LUMEN_TEST_JsonLine::number(std::string_view key, double value) {
  return member(key, [&] { appendNumber(text_, value); });
}

LUMEN_TEST_JsonLine& LUMEN_TEST_JsonLine::integer(std::string_view key, int64_t value) {
  return member(key, [&] { text_ += std::to_string(value); });
}

LUMEN_TEST_JsonLine& LUMEN_TEST_JsonLine::boolean(std::string_view key, bool value) {
  return member(key, [&] { text_ += value ? "true" : "false"; });
}

LUMEN_TEST_JsonLine& LUMEN_TEST_JsonLine::numbers(std::string_view key,
                                                  std::span<const double> values) {
  return member(key, [&] { appendArray(text_, values, appendNumber); });
}

LUMEN_TEST_JsonLine& LUMEN_TEST_JsonLine::texts(std::string_view key,
                                                std::span<const std::string> values) {
  return member(key, [&] { appendArray(text_, values, appendQuoted); });
}

LUMEN_TEST_JsonLine& LUMEN_TEST_JsonLine::about(std::string_view function, char slot) {
  return text("module", currentModule).text("function", function).text("slot", {&slot, 1});
}

void LUMEN_TEST_RecordCheck(const LUMEN_TEST_CheckResult& result) {
  if (forwardCheck) {
    forwardCheck(result);
    return;
  }
  const bool isExtra = result.check != "golden" && result.check != "exhaustive";
  extraCheckFailed |= isExtra && isFailure(result.verdict);

  jsonFile.endCutLine();  // of a process that the check may have crashed in
  LUMEN_TEST_JsonLine("check")
      .about(result.function, result.slot)
      .text("check", result.check)
      .text("verdict", LUMEN_TEST_VerdictName(result.verdict))
      .integer("cases", static_cast<int64_t>(result.cases))
      .integer("failedCases", static_cast<int64_t>(result.failedCases))
      .number("difference", result.difference)
      .number("tolerance", result.tolerance)
      .number("seconds", result.seconds)
      .text("detail", result.detail);
  if (!junitFile.isOpen()) return;
  junit.add(result);
  refreshJunit();
}

void LUMEN_TEST_ForwardChecks(void (*forward)(const LUMEN_TEST_CheckResult& result)) {
  forwardCheck = forward;
}

bool LUMEN_TEST_AnyExtraCheckFailed() { return extraCheckFailed; }

bool LUMEN_TEST_KeepsRecords() { return jsonFile.isOpen() || junitFile.isOpen(); }

bool LUMEN_TEST_OpenRecords(int argc, const char* const* argv) {
  const LUMEN_TEST_Extras& extras = lumenTestExtras;
  startTime = Clock::now();
  runIsWritten = extraCheckFailed = false;
  junit = {};
  currentModule.clear();
  if (!extras.json.empty() && !jsonFile.open(extras.json)) return false;
  if (!extras.junit.empty() && !junitFile.open(extras.junit)) return false;
  if (!LUMEN_TEST_KeepsRecords()) return true;
  if (junitFile.isSameAs(jsonFile)) {
    std::fprintf(stderr, "ERROR: '%s' cannot be both records\n", extras.json.c_str());
    return false;
  }
  run = LUMEN_TEST_StartRun(argc, argv);
  writeJunitSoFar();
  return true;
}

void LUMEN_TEST_RecordRun(unsigned int seed, uint32_t hardwareMask) {
  if (!jsonFile.isOpen()) return;
  run.seed = seed;
  run.hardwareMask = hardwareMask;
  writeRun();
}

bool LUMEN_TEST_CloseRecords(int exitStatus) {
  writeEnvironment("after");
  const auto verdict = exitStatus == 0 ? LUMEN_TEST_Verdict::pass : LUMEN_TEST_Verdict::fail;
  LUMEN_TEST_JsonLine("end")
      .text("verdict", LUMEN_TEST_VerdictName(verdict))
      .integer("exitStatus", exitStatus)
      .number("seconds", secondsSince(startTime));
  if (junitFile.isOpen()) junitFile.replace(junit.text(true, exitStatus != 0), true);
  const bool jsonIsWhole = jsonFile.close(), junitIsWhole = junitFile.close();
  return jsonIsWhole && junitIsWhole;
}

void LUMEN_TEST_RecordModule(const char* module) {
  currentModule = module;
  if (junitFile.isOpen()) junit.beginSuite(currentModule);
}

void LUMEN_TEST_RecordModuleVerdict(const char* module, LUMEN_TEST_Verdict verdict) {
  LUMEN_TEST_JsonLine("module")
      .text("module", module)
      .text("verdict", LUMEN_TEST_VerdictName(verdict));
  if (!junitFile.isOpen()) return;
  junit.endSuite(module, verdict);
  refreshJunit();
}

const char* LUMEN_TEST_CurrentModule() { return currentModule.c_str(); }
