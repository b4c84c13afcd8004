#include "lumenTestSelfTest.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "lumenTable.h"
#include "lumenTestConfig.h"
#include "lumenTestExtras.h"
#include "lumenTestFaults.h"
#include "lumenTestFunctions.h"
#include "lumenTestModules.h"
#include "lumenTestRecord.h"
#include "lumenTestTable.h"
#include "lumenTestTally.h"

namespace {

using Names = std::set<std::string>;

constexpr double kSeconds = 120;  // for a check, under emulation too
constexpr double kBenchSeconds = 0.3;
constexpr int kBenchAttempts = 5;
constexpr double kSlow = 1.25;         // times as long; the planted fault takes 1.5 times
constexpr double kEndlessSeconds = 1;  // until a fault that never ends is ended

// A way to run the module, and the check that it records beside "isolate".
struct Way {
  const char* name;
  const char* check;  // "golden": known by the module's own verdict
  void (*choose)(LUMEN_TEST_Extras& extras);
};
constexpr Way kWays[] = {
    {"golden", "golden", [](LUMEN_TEST_Extras&) {}},
    {"attest", "attest", [](LUMEN_TEST_Extras& e) { e.attest = true; }},
    {"sweep", "sweep", [](LUMEN_TEST_Extras& e) { e.sweep = LUMEN_TEST_Sweep::quick; }},
    {"guard=tail", "guard", [](LUMEN_TEST_Extras& e) { e.guard = LUMEN_TEST_Guard::tail; }},
    {"guard=head", "guard", [](LUMEN_TEST_Extras& e) { e.guard = LUMEN_TEST_Guard::head; }},
    {"guard=row", "guard", [](LUMEN_TEST_Extras& e) { e.guard = LUMEN_TEST_Guard::row; }},
    {"poison", "poison", [](LUMEN_TEST_Extras& e) { e.poison = true; }},
};
constexpr const char *kIsolate = "isolate", *kBench = "bench";

// Keeps what is expected to go wrong off the terminal.
class Silence {
 public:
  Silence() {
    std::fflush(nullptr);
    for (Stream& stream : streams_) {
      stream.kept = fcntl(stream.number, F_DUPFD_CLOEXEC, 3);
      stream.file = std::tmpfile();
      if (stream.file) dup2(fileno(stream.file), stream.number);
    }
  }
  ~Silence() {
    std::fflush(nullptr);
    for (const Stream& stream : streams_) {
      dup2(stream.kept, stream.number);
      close(stream.kept);
      if (stream.file) std::fclose(stream.file);
    }
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

  // What standard output has got so far, line by line.
  template <class Line>
  void readOutput(Line line) {
    std::fflush(stdout);
    FILE* file = streams_[0].file;
    if (!file) return;
    std::rewind(file);
    char text[512];
    while (std::fgets(text, sizeof(text), file)) line(text);
  }

 private:
  struct Stream {
    int number, kept;
    FILE* file;
  };
  Stream streams_[2] = {{STDOUT_FILENO, -1, nullptr}, {STDERR_FILENO, -1, nullptr}};
};

// The verdicts of the run that is going on.
std::map<std::string, LUMEN_TEST_Verdict> verdicts;

void noteCheck(const LUMEN_TEST_CheckResult& result) {
  verdicts[std::string(result.check)] = result.verdict;
}

struct Findings {
  Names found, notRun;
};

// Runs the module in one way, in a process of its own.
void run(const Way& way, double seconds, const char* dataDirectory, Findings& findings) {
  const bool isOwnData = way.check != std::string("golden") && way.check != std::string("attest");
  lumenTestExtras = {};
  lumenTestExtras.isolateSeconds = seconds;
  way.choose(lumenTestExtras);
  lumenTestSettings.unitTests = !isOwnData;
  verdicts.clear();
  int failed = 0;
  {
    const Silence silence;
    failed = LUMEN_TEST_ABSDIFF_Test(0, dataDirectory);
  }

  using Verdict = LUMEN_TEST_Verdict;
  const auto isolate = verdicts.find(kIsolate);
  if (isolate == verdicts.end()) {
    findings.notRun.insert(kIsolate);
    return;
  }
  if (isolate->second != Verdict::pass) {
    findings.found.insert(kIsolate);
    return;
  }
  if (way.check == std::string("golden")) {
    if (failed) findings.found.insert(way.name);
    return;
  }
  const auto check = verdicts.find(way.check);
  const Verdict verdict = check == verdicts.end() ? Verdict::skipped : check->second;
  if (verdict == Verdict::skipped) findings.notRun.insert(way.name);
  else if (verdict != Verdict::pass) findings.found.insert(way.name);
}

// How much longer a call takes than one of the sound implementation, by the medians that --bench
// prints; 0 when it prints none. The sound one takes the place of the reference, so that both are
// timed in turns.
double slowdown(decltype(lumAbsDiffu8)* implementation, decltype(lumAbsDiffu8)* sound,
                const char* dataDirectory) {
  LUM_FUNC_TABLE.lumAbsDiffu8.column[LUM_IMPL_CPU] = sound;
  LUM_FUNC_TABLE.lumAbsDiffu8.column[LUM_IMPL_VORTA] = implementation;
  lumenTestExtras = {};
  lumenTestExtras.benchSeconds = kBenchSeconds;
  lumenTestSettings.unitTests = 0;
  lumenTestRunConfig.slotEnabled[LUMEN_TEST_SLOT_C] = 1;
  std::map<char, double> medians;
  {
    Silence silence;
    LUMEN_TEST_ABSDIFF_Test(0, dataDirectory);
    silence.readOutput([&](const char* line) {
      char slot;
      double median;
      constexpr const char* kForm =
          "LUMEN_PROFILE, lumAbsDiffu8_%c bench hot %*ux%*u: min %*f, median %lf ns";
      if (std::sscanf(line, kForm, &slot, &median) == 2) medians[slot] = median;
    });
  }
  lumenTestRunConfig.slotEnabled[LUMEN_TEST_SLOT_C] = 0;
  LUM_FUNC_TABLE.lumAbsDiffu8.column[LUM_IMPL_CPU] = lumAbsDiffu8C;
  LUM_FUNC_TABLE.lumAbsDiffu8.column[LUM_IMPL_VORTA] = sound;
  return medians['C'] > 0 ? medians['V'] / medians['C'] : 0;
}

// A busy machine may spoil a measurement, and not several in the same way.
bool isSlowdown(bool expected, decltype(lumAbsDiffu8)* implementation,
                decltype(lumAbsDiffu8)* sound, const char* dataDirectory) {
  double ratio = 0;
  for (int attempt = 0; attempt < kBenchAttempts; ++attempt) {
    ratio = slowdown(implementation, sound, dataDirectory);
    if (ratio > 0 && (ratio > kSlow) == expected) return expected;
  }
  return ratio > kSlow;
}

std::string joined(const Names& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
  return text;
}

// A line of the table: what found the fault, and what should have. True when all is as expected.
bool report(const char* fault, const Findings& findings, const Names& wanted, bool mayFindMore) {
  Names missed, wrong;
  std::set_difference(wanted.begin(), wanted.end(), findings.found.begin(), findings.found.end(),
                      std::inserter(missed, missed.end()));
  if (!mayFindMore) wrong = findings.found;
  std::fprintf(stderr, "%-34s -> %s", fault,
               findings.found.empty() ? "nothing" : joined(findings.found).c_str());
  if (!missed.empty()) std::fprintf(stderr, "; MISSED by %s", joined(missed).c_str());
  if (!findings.notRun.empty())
    std::fprintf(stderr, "; NOT RUN: %s", joined(findings.notRun).c_str());
  if (!wrong.empty()) std::fputs("; WRONG", stderr);
  std::fputc('\n', stderr);
  return missed.empty() && findings.notRun.empty() && wrong.empty();
}

bool prepare(const char* dataDirectory) {
  lumenTestRunConfig = {};
  lumenTestRunConfig.funcId = LUMEN_FUNC_lumAbsDiffu8;
  lumenTestRunConfig.slotEnabled[LUMEN_TEST_SLOT_VORTA] = 1;
  lumenTestSettings.perfTests = 0;
  LUMEN_TEST_RecordModule("ABSDIFF");
  LUMEN_TEST_ClearTestTable();
  bool isRead;
  {
    const Silence silence;
    isRead = LUMEN_TEST_ReadTestTable(dataDirectory) == 0;
  }
  float tolerances[LUMEN_TEST_MAX_TOLERANCES];
  if (isRead && isFunctionImpl(LUMEN_FUNC_lumAbsDiffu8, LUMEN_TEST_SLOT_VORTA, tolerances)) {
    return true;
  }
  std::fprintf(stderr, "ERROR: the test table in %s does not have lumAbsDiffu8 in slot V\n",
               dataDirectory);
  return false;
}

}  // namespace

int LUMEN_TEST_RunSelfTest(const char* dataDirectory) {
  if (!prepare(dataDirectory)) return 1;
  // The first operation mode fills the tables.
  lumSetOperationMode(LUMEN_TEST_SLOT_MODE[LUMEN_TEST_SLOT_VORTA]);
  auto*& column = LUM_FUNC_TABLE.lumAbsDiffu8.column[LUM_IMPL_VORTA];
  auto* const sound = column;
  const auto faults = LUMEN_TEST_PlantedFaults(sound);
  LUMEN_TEST_ForwardChecks(noteCheck);

  Findings findings;
  for (const Way& way : kWays) run(way, kSeconds, dataDirectory, findings);
  if (isSlowdown(false, sound, sound, dataDirectory)) findings.found.insert(kBench);
  bool passed = report("no fault", findings, {}, false);
  for (const LUMEN_TEST_PlantedFault& fault : faults) {
    column = fault.implementation;
    findings = {};
    const std::span<const Way> ways = kWays;
    for (const Way& way : fault.endless ? ways.first(1) : ways) {
      run(way, fault.endless ? kEndlessSeconds : kSeconds, dataDirectory, findings);
    }
    passed &= report(fault.name, findings, {fault.finders.begin(), fault.finders.end()}, true);
  }
  column = sound;
  findings = {};
  if (isSlowdown(true, LUMEN_TEST_SlowAbsDiff, sound, dataDirectory)) findings.found.insert(kBench);
  passed &= report("takes half as long again", findings, {kBench}, true);
  LUMEN_TEST_ForwardChecks(nullptr);
  std::fprintf(stderr, "LUMEN_TEST, self-test=>%s\n", lumenTestSettings.resultText[!passed]);
  return passed ? 0 : 1;
}
