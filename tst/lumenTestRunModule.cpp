// Going through a module's functions and slots.

#include <string>
#include <vector>

#include "lumenTestAttest.h"
#include "lumenTestBench.h"
#include "lumenTestConfig.h"
#include "lumenTestExtras.h"
#include "lumenTestIsolate.h"
#include "lumenTestLog.h"
#include "lumenTestModule.h"
#include "lumenTestSweep.h"
#include "lumenTestTable.h"
#include "lumenTestTally.h"

namespace {

// One record for each slot, with room for the time of every call.
class Times {
 public:
  explicit Times(int loops) {
    const size_t bytes = static_cast<size_t>(loops > 0 ? loops : 0) * sizeof(uint64_t);
    for (LUMEN_TEST_Times& slot : slots_) {
      if (bytes == 0 || bytes > UINT32_MAX) continue;
      slot.samples =
          static_cast<uint64_t*>(LUMEN_TEST_MemAlloc(static_cast<uint32_t>(bytes), option_));
      slot.maxSamples = slot.samples ? static_cast<uint32_t>(loops) : 0;
      slot.Reset();
    }
  }
  ~Times() {
    for (LUMEN_TEST_Times& slot : slots_) LUMEN_TEST_MemFree(slot.samples, option_);
  }
  Times(const Times&) = delete;
  Times& operator=(const Times&) = delete;

  LUMEN_TEST_Times* data() { return slots_; }

 private:
  const lumMemOption option_ = lumenTestSettings.memOption[0];
  LUMEN_TEST_Times slots_[LUMEN_TEST_SLOT_COUNT] = {};
};

struct Slot {
  unsigned int index;
  float tolerance;
  char letter() const { return lumenTestSettings.profileOrder[index]; }
};

struct Selected {
  const LUMEN_TEST_Function* function;
  std::vector<Slot> slots;
  const char* name() const { return function->description->name; }
};

// A function without a slot is still named in its performance line, unless an addition leaves it
// out.
std::vector<Selected> select(std::span<const LUMEN_TEST_Function> functions) {
  std::vector<Selected> selected;
  for (const LUMEN_TEST_Function& function : functions) {
    const LUMEN_FUNC id = function.description->id;
    if (lumenTestRunConfig.funcId != 0 && lumenTestRunConfig.funcId != id) continue;
    Selected one = {&function, {}};
    for (unsigned int slot = 0; slot < lumenTestSettings.numSlots; ++slot) {
      float tolerances[2] = {};
      if (!lumenTestRunConfig.slotEnabled[slot]) continue;
      if (!isFunctionImpl(id, slot, tolerances)) continue;
      const Slot entry = {slot, tolerances[0]};
      if (lumenTestExtras.selects(LUMEN_TEST_CurrentModule(), one.name(), entry.letter())) {
        one.slots.push_back(entry);
      }
    }
    if (!one.slots.empty() || !lumenTestExtras.narrows()) selected.push_back(std::move(one));
  }
  return selected;
}

// What a function came to in a slot. That the slot fell back to another column is no failure of the
// function.
struct Outcome {
  bool failsModule = false;
  bool anyFailed = false;  // also checks that do not count for the module
  bool fellBack = false;
  bool isUsable = true;  // it neither crashed nor hung

  void add(bool failed, bool counts) {
    anyFailed |= failed;
    failsModule |= failed && counts;
  }
  int bits() const { return failsModule | anyFailed << 1 | fellBack << 2; }
  static Outcome ofBits(int bits) { return {(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0}; }
};

// The tests of a function in a slot that the run's switches ask for.
void runTests(const LUMEN_TEST_Function& function, const LUMEN_TEST_UnitRun& run, int loops,
              LUMEN_TEST_Attest& attest, Outcome& outcome) {
  const auto test = [&](LUMEN_TEST_TYPE type, int count) {
    return function.unitTest(run.name, run.dataDirectory, run.target, run.tolerance, type, count,
                             run.times);
  };
  int failed = 0;
  if (lumenTestSettings.unitTests) {
    failed |= function.unitOnly
                  ? function.unitOnly(run.name, run.dataDirectory, run.target, run.tolerance)
                  : test(LUMEN_TEST_UNIT, 0);
  }
  if (lumenTestRunConfig.exhaustive && function.unitTest) failed |= test(LUMEN_TEST_EXHAUSTIVE, 0);
  attest.timedFromHere();
  if (lumenTestSettings.perfTests) {
    if (function.profiling) {
      function.profiling(run.name, loops, run.times, run.target);
    } else if (test(LUMEN_TEST_PROFILING, loops) && lumenTestExtras.strict) {
      failed = 1;  // nothing to time
    }
  }
  outcome.add(failed != 0, true);
}

// Everything about a function in a slot, in the slot's operation mode. A named case stands alone,
// and the module's verdict is its.
Outcome runInSlot(const LUMEN_TEST_Function& function, const LUMEN_TEST_UnitRun& run, int loops) {
  const LUMEN_TEST_Extras& extras = lumenTestExtras;
  const bool isCase = !extras.caseText.empty();
  Outcome outcome;
  lumSetOperationMode(LUMEN_TEST_SLOT_MODE[run.target]);
  if (!isCase) {
    LUMEN_TEST_Attest attest(run.name);
    runTests(function, run, loops, attest, outcome);
    outcome.fellBack = attest.report(run.target);
  }
  if (extras.checksOwnData() && !(extras.stopOnFail && outcome.anyFailed)) {
    LUMEN_TEST_ShowProgressAgain();
    outcome.add(LUMEN_TEST_CheckOwnData(*function.description, run.target, run.tolerance) != 0,
                extras.strict || isCase);
  }
  return outcome;
}

void logCrash(const LUMEN_TEST_Isolated& isolated, const std::string& what) {
  lumLog(LUM_LOG_ERROR, LUMEN_TEST_LOG_TAG, "LUMEN_TEST, %s =>%s", what.c_str(),
         LUMEN_TEST_VerdictName(isolated.verdict));
  lumLog(LUM_LOG_ERROR, LUMEN_TEST_LOG_TAG,
         isolated.verdict == LUMEN_TEST_Verdict::timeout ? "LUMEN_TEST, %s did not end within %s"
                                                         : "LUMEN_TEST, %s was ended by %s",
         what.c_str(), isolated.detail.c_str());
}

void recordIsolated(const LUMEN_TEST_Isolated& isolated, const char* name, char letter) {
  LUMEN_TEST_RecordCheck({.function = name,
                          .slot = letter,
                          .check = "isolate",
                          .verdict = isolated.verdict,
                          .cases = 1,
                          .failedCases = isolated.verdict != LUMEN_TEST_Verdict::pass,
                          .seconds = isolated.seconds,
                          .detail = isolated.detail});
}

// A crash or a hang fails the function in its slot: without a process of its own it would have
// ended everything.
Outcome outcomeOf(const LUMEN_TEST_Isolated& isolated, const char* name, char letter) {
  const bool ended = isolated.verdict == LUMEN_TEST_Verdict::pass;
  if (!ended) logCrash(isolated, std::string(name) + "_" + letter);
  recordIsolated(isolated, name, letter);
  return ended ? Outcome::ofBits(isolated.result) : Outcome{true, true, false, false};
}

class ModuleRun {
 public:
  ModuleRun(int loops, const char* dataDirectory)
      : loops_(loops), dataDirectory_(dataDirectory), times_(loops) {}

  int run(const std::vector<Selected>& selected) {
    int failed = 0;
    for (const Selected& function : selected) {
      failed |= runFunction(function, static_cast<size_t>(&function - selected.data()) + 1,
                            selected.size());
      if (lumenTestTally.stopped) break;
    }
    LUMEN_TEST_ClearProgress();
    return failed;
  }

 private:
  int runFunction(const Selected& function, size_t number, size_t count) {
    int failed = 0;
    std::vector<unsigned int> usable;
    for (const Slot& slot : function.slots) {
      LUMEN_TEST_ShowProgress(function.name(), number, count, slot.letter());
      ++lumenTestTally.ran;
      const Outcome outcome = runSlot(*function.function, slot);
      failed |= outcome.failsModule;
      lumenTestTally.fellBack |= outcome.fellBack;
      if (outcome.isUsable) usable.push_back(slot.index);
      if (outcome.anyFailed) LUMEN_TEST_NoteFailure(function.name(), slot.letter());
      if (lumenTestTally.stopped) break;
    }
    LUMEN_TEST_ClearProgress();
    if (lumenTestExtras.caseText.empty()) {
      GENERATE_PERF_LOG(function.name(), failed, times_.data(), lumenTestSettings.numSlots,
                        LUMEN_PROFILING_TOTALS, 1.0f);
      if (!lumenTestTally.stopped && !usable.empty()) failed |= bench(function, usable);
    }
    return failed;
  }

  Outcome runSlot(const LUMEN_TEST_Function& function, const Slot& slot) {
    const LUMEN_TEST_UnitRun run = {
        function.description->name, dataDirectory_, slot.index, slot.tolerance, LUMEN_TEST_UNIT, 0,
        &times_.data()[slot.index]};
    if (lumenTestExtras.isolateSeconds <= 0) return runInSlot(function, run, loops_);
    return outcomeOf(
        LUMEN_TEST_RunIsolated(lumenTestExtras.isolateSeconds, run.times,
                               [&] { return runInSlot(function, run, loops_).bits(); }),
        run.name, slot.letter());
  }

  // With a process of its own, as implementations may fail here that did not do so before.
  static int bench(const Selected& function, std::span<const unsigned int> slots) {
    const double seconds = lumenTestExtras.benchSeconds, limit = lumenTestExtras.isolateSeconds;
    if (seconds <= 0) return 0;
    const auto work = [&] {
      LUMEN_TEST_BenchSlots(*function.function->description, slots);
      return 0;
    };
    if (limit <= 0) return work();
    const LUMEN_TEST_Isolated isolated = LUMEN_TEST_RunIsolated(seconds + limit, nullptr, work);
    if (isolated.verdict == LUMEN_TEST_Verdict::pass) return 0;
    logCrash(isolated, std::string(function.name()) + " bench");
    recordIsolated(isolated, function.name(), lumenTestSettings.profileOrder[slots.front()]);
    return 1;
  }

  const int loops_;
  const char* const dataDirectory_;
  Times times_;
};

void list(const std::vector<Selected>& selected) {
  for (const Selected& function : selected) {
    for (const Slot& slot : function.slots) {
      ++lumenTestTally.ran;
      std::fprintf(stderr, "%s/%s/%c\n", LUMEN_TEST_CurrentModule(), function.name(),
                   slot.letter());
    }
  }
}

}  // namespace

int LUMEN_TEST_RunModule(std::span<const LUMEN_TEST_Function> functions, int loops,
                         const char* dataDirectory) {
  const std::vector<Selected> selected = select(functions);
  if (!lumenTestExtras.list) return ModuleRun(loops, dataDirectory).run(selected);
  list(selected);
  return 0;
}
