// Work in processes of its own, and the columns that calls reach: on work of the test's own, and on
// implementations in the place of lumAbsDiffu8's.

#include "lumenTestIsolate.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "lumenEntry.h"
#include "lumenTestAdditionSupport.h"
#include "lumenTestAttest.h"
#include "lumenTestConfig.h"
#include "lumenTestExtras.h"
#include "lumenTestModules.h"
#include "lumenTestTable.h"
#include "lumenTestTally.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using Verdict = LUMEN_TEST_Verdict;

// The checks that came back, as text.
std::vector<std::string> checks;
void noteCheck(const LUMEN_TEST_CheckResult& check) {
  checks.push_back(std::string(check.function) + "_" + check.slot + " " + std::string(check.check) +
                   " " + LUMEN_TEST_VerdictName(check.verdict) + " " +
                   std::to_string(check.failedCases) + "/" + std::to_string(check.cases) + " " +
                   std::string(check.detail));
}

LUMEN_TEST_Isolated isolated(const std::function<int()>& work, double seconds = 60,
                             LUMEN_TEST_Times* times = nullptr) {
  checks.clear();
  return LUMEN_TEST_RunIsolated(seconds, times, work, noteCheck);
}

auto openFiles() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

}  // namespace

TEST(TestIsolate, SaysHowWorkEnded) {
  const auto filesBefore = openFiles();
  const LUMEN_TEST_Isolated good = isolated([] { return 42; });
  EXPECT_EQ(good.verdict, Verdict::pass);
  EXPECT_EQ(good.result, 42);

  const struct {
    std::function<int()> work;
    Verdict verdict;
    const char* detail;
  } kBad[] = {
      {[] { return raise(SIGKILL); }, Verdict::crashed, "SIGKILL"},
      {[] {
         std::abort();
         return 0;
       },
       Verdict::crashed, "SIGABRT"},
      {[] {
         _exit(3);
         return 0;
       },
       Verdict::crashed, "exit status 3"},
      {[] {
         _exit(0);
         return 0;
       },
       Verdict::crashed, "exit status 0"},
      {[] {
         for (;;) pause();
         return 0;
       },
       Verdict::timeout, "0.2 s"},
      // Not even when it closes everything.
      {[] {
         for (int file = 3; file < 100; ++file) close(file);
         for (;;) pause();
         return 0;
       },
       Verdict::timeout, "0.2 s"},
  };
  for (const auto& bad : kBad) {
    const LUMEN_TEST_Isolated result =
        isolated(bad.work, bad.verdict == Verdict::timeout ? 0.2 : 60);
    EXPECT_EQ(result.verdict, bad.verdict) << bad.detail;
    EXPECT_EQ(result.detail, bad.detail);
    EXPECT_NE(result.result, 0);
  }
  // Nothing is left of all these.
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
  EXPECT_EQ(openFiles(), filesBefore);
}

TEST(TestIsolate, BringsTimesAndChecksBack) {
  uint64_t samples[2] = {1, 2};
  LUMEN_TEST_Times times = {};
  times.samples = samples;
  times.maxSamples = 2;
  const auto commit = [&] {
    for (const uint64_t time : {70u, 80u, 90u}) {
      if (times.numSamples < times.maxSamples) times.samples[times.numSamples] = time;
      ++times.numSamples;
      times.totalTime += time;
    }
    return 0;
  };
  isolated(commit, 60, &times);
  EXPECT_EQ(times.totalTime, 240u);
  EXPECT_EQ(times.numSamples, 3u);
  EXPECT_EQ(times.samples, samples);
  EXPECT_THAT(samples, ElementsAre(70, 80));

  // Checks that were over before a crash are not lost by it; unfinished times are.
  const LUMEN_TEST_Isolated crashed = isolated(
      [&] {
        times.totalTime = 1;
        LUMEN_TEST_RecordCheck({"f", 'V', "sweep", Verdict::fail, 9, 2, 0.5, 0.25, 1, "row 3"});
        LUMEN_TEST_RecordCheck({"f", 'V', "poison", Verdict::pass, 7});
        return raise(SIGKILL);
      },
      60, &times);
  EXPECT_EQ(crashed.detail, "SIGKILL");
  EXPECT_THAT(checks, ElementsAre("f_V sweep FAIL 2/9 row 3", "f_V poison PASS 0/7 "));
  EXPECT_EQ(times.totalTime, 240u);
}

// What is in a buffer before, is written once; what the work writes, before what comes after it;
// and functions of atexit run in this process alone.
TEST(TestIsolate, KeepsOutputInOrder) {
  const auto run = [] {
    std::atexit([] { std::fputs("at exit\n", stderr); });
    std::setvbuf(stderr, nullptr, _IOFBF, BUFSIZ);
    std::fputs("before\n", stderr);
    isolated([] { return std::fputs("within\n", stderr); });
    std::fputs("after\n", stderr);
    std::exit(0);
  };
  EXPECT_EXIT(run(), testing::ExitedWithCode(0), "^before\nwithin\nafter\nat exit\n$");
}

// The module on faulty implementations in the vector column.
class Additions : public testing::Test {
 protected:
  Additions() {
    lumSetOperationMode(LUMEN_TEST_SLOT_MODE[LUMEN_TEST_SLOT_VORTA]);
    lumenTestRunConfig = {};
    lumenTestSettings = {};
    lumenTestExtras = {};
    lumenTestTally = {};
    lumenTestSettings.perfTests = 0;
    lumenTestRunConfig.slotEnabled[LUMEN_TEST_SLOT_C] = 1;
    lumenTestRunConfig.slotEnabled[LUMEN_TEST_SLOT_VORTA] = 1;
    lumenTestRunConfig.slotEnabled[LUMEN_TEST_SLOT_GPU] = 1;
    lumenTestRunConfig.funcId = LUMEN_FUNC_lumAbsDiffu8;
    data_.script("a.csv,b.csv,right.csv,\n");
    data_.script("a.csv,b.csv,right.csv,\n", "profiling_");
    LUMEN_TEST_RecordModule("ABSDIFF");
  }
  ~Additions() override {
    LUM_FUNC_TABLE = table_;
    lumenTestExtras = {};
    LUMEN_TEST_ForwardChecks(nullptr);
  }

  int run(int loops = 0) {
    LUMEN_TEST_ClearTestTable();
    EXPECT_EQ(LUMEN_TEST_ReadTestTable(data_.path().c_str()), 0);
    CapturedLog::lines().clear();
    checks.clear();
    LUMEN_TEST_ForwardChecks(noteCheck);
    int failed = 0;
    out_ = standardOutputOf([&] { failed = LUMEN_TEST_ABSDIFF_Test(loops, data_.path().c_str()); });
    return failed;
  }
  static bool logs(const std::string& record) { return CapturedLog::count(record) == 1; }

  using AbsDiff = decltype(lumAbsDiffu8)*;
  AbsDiff& column(LUM_IMPL column) { return LUM_FUNC_TABLE.lumAbsDiffu8.column[column]; }

  const lumFuncTable table_ = LUM_FUNC_TABLE;
  const CapturedLog capture_;
  const AbsDiffData data_;
  std::string out_;
};

TEST_F(Additions, FailWhatCrashesOrHangsAlone) {
  column(LUM_IMPL_CPU) = [](const uint8_t*, const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*,
                            uint32_t) { raise(SIGKILL); };
  lumenTestExtras.isolateSeconds = 60;
  EXPECT_EQ(run(), 1);
  EXPECT_TRUE(logs("E/lumen_test: LUMEN_TEST, lumAbsDiffu8_C =>CRASHED"));
  EXPECT_TRUE(logs("E/lumen_test: LUMEN_TEST, lumAbsDiffu8_C was ended by SIGKILL"));
  EXPECT_THAT(checks,
              ElementsAre("lumAbsDiffu8_C isolate CRASHED 1/1 SIGKILL",
                          "lumAbsDiffu8_V isolate PASS 0/1 ", "lumAbsDiffu8_G isolate PASS 0/1 "));
  EXPECT_THAT(out_, HasSubstr("lumAbsDiffu8 :: FAIL, "));

  lumenTestExtras.stopOnFail = true;
  EXPECT_EQ(run(), 1);
  EXPECT_EQ(checks.size(), 1u);
  EXPECT_TRUE(lumenTestTally.stopped);
  EXPECT_TRUE(logs("D/lumen_test: LUMEN_TEST, stopped after the failure of lumAbsDiffu8_C"));
  lumenTestExtras.stopOnFail = lumenTestTally.stopped = false;

  column(LUM_IMPL_CPU) = [](const uint8_t*, const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*,
                            uint32_t) {
    for (;;) pause();
  };
  lumenTestExtras.isolateSeconds = 0.5;
  EXPECT_EQ(run(), 1);
  EXPECT_TRUE(logs("E/lumen_test: LUMEN_TEST, lumAbsDiffu8_C =>TIMEOUT"));
  EXPECT_TRUE(logs("E/lumen_test: LUMEN_TEST, lumAbsDiffu8_C did not end within 0.5 s"));

  // The benchmark is work of the kind as well.
  column(LUM_IMPL_CPU) = [](const uint8_t*, const uint8_t*, uint32_t width, uint32_t, uint32_t,
                            uint8_t*, uint32_t) {
    if (width > 3) raise(SIGKILL);
  };
  lumenTestSettings.unitTests = 0;
  lumenTestExtras.isolateSeconds = 60;
  lumenTestExtras.benchSeconds = 0.01;
  EXPECT_EQ(run(), 1);
  EXPECT_TRUE(logs("E/lumen_test: LUMEN_TEST, lumAbsDiffu8 bench =>CRASHED"));
}

TEST_F(Additions, KeepTheTimesOfIsolatedCalls) {
  column(LUM_IMPL_CPU) = [](const uint8_t*, const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*,
                            uint32_t) { usleep(2000); };
  lumenTestSettings.unitTests = 0;
  lumenTestSettings.perfTests = 1;
  lumenTestExtras.isolateSeconds = 60;
  EXPECT_EQ(run(3), 0);
  unsigned long long total = 0;
  EXPECT_EQ(std::sscanf(out_.c_str(), "LUMEN_PROFILE, lumAbsDiffu8 :: PASS, %llu", &total), 1)
      << out_;
  EXPECT_GE(total, 6000u);
}

// A fault that golden rows miss: whether it fails the module is a matter of --strict.
TEST_F(Additions, CountForTheModuleWhenStrict) {
  column(LUM_IMPL_VORTA) = [](const uint8_t* src1, const uint8_t* src2, uint32_t width,
                              uint32_t height, uint32_t srcStride, uint8_t* dst,
                              uint32_t dstStride) {
    lumAbsDiffu8C(src1, src2, width == 17 ? 16 : width, height, srcStride, dst, dstStride);
  };
  lumenTestExtras.sweep = LUMEN_TEST_Sweep::quick;
  for (const double isolate : {0.0, 60.0}) {
    lumenTestExtras.isolateSeconds = isolate;
    lumenTestExtras.strict = false;
    EXPECT_EQ(run(), 0);
    EXPECT_THAT(out_, HasSubstr("lumAbsDiffu8 :: PASS, "));
    EXPECT_THAT(checks, testing::Contains(HasSubstr("lumAbsDiffu8_V sweep FAIL ")));
    lumenTestExtras.strict = true;
    EXPECT_EQ(run(), 1);
    EXPECT_THAT(out_, HasSubstr("lumAbsDiffu8 :: FAIL, "));
  }

  // A case stands alone, and fails by itself.
  lumenTestExtras = {};
  lumenTestExtras.caseText = "lumAbsDiffu8/V/sweep/w17h1/ramp/0";
  EXPECT_EQ(run(), 1);
  EXPECT_THAT(checks, ElementsAre(HasSubstr("lumAbsDiffu8_V sweep FAIL 1/1 ")));
  EXPECT_EQ(out_, "");
  lumenTestExtras.caseText = "lumAbsDiffu8/V/sweep/w18h1/ramp/0";
  EXPECT_EQ(run(), 0);
}

TEST_F(Additions, SkipFunctionsThatAreNotSelected) {
  lumenTestExtras.filters = {"*/C"};
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(lumenTestTally.ran, 1u);
  EXPECT_TRUE(logs("D/lumen_test: LUMEN_TEST, lumAbsDiffu8_C =>PASS"));
  EXPECT_THAT(out_, HasSubstr("lumAbsDiffu8 :: PASS, "));
  lumenTestExtras.excludes = {"lumAbsDiffu8"};
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(out_, "");
  EXPECT_EQ(lumenTestTally.ran, 1u);
}

TEST_F(Additions, AttestWhereCallsWent) {
  lumenTestExtras.attest = true;
  EXPECT_EQ(run(), 0);
  EXPECT_THAT(checks, ElementsAre("lumAbsDiffu8_C attest PASS 0/1 CPU 1",
                                  "lumAbsDiffu8_V attest PASS 0/1 VORTA 1",
                                  "lumAbsDiffu8_G attest FELL_BACK 1/1 VORTA 1"));
  EXPECT_TRUE(logs("W/lumen_test: LUMEN_TEST, lumAbsDiffu8_G =>FELL_BACK (VORTA)"));
  EXPECT_TRUE(lumenTestTally.fellBack);
  EXPECT_EQ(LUM_ENTRY_SWITCHES.watch, 0);

  // The vector column with the reference in it, timed.
  column(LUM_IMPL_VORTA) = column(LUM_IMPL_CPU);
  lumenTestRunConfig.slotEnabled[LUMEN_TEST_SLOT_GPU] = 0;
  lumenTestSettings.perfTests = 1;
  lumenTestExtras.isolateSeconds = 60;
  lumenTestTally = {};
  EXPECT_EQ(run(4), 0);
  EXPECT_THAT(checks, testing::Contains("lumAbsDiffu8_V attest FELL_BACK 5/5 CPU 5"));
  EXPECT_TRUE(lumenTestTally.fellBack);
}

TEST(TestAttest, JudgesColumnsByTheSlot) {
  using Counts = LUMEN_TEST_ColumnCounts;
  const struct {
    unsigned int slot;
    Counts compared, timed;
    Verdict verdict;
    uint32_t column;
  } kCases[] = {
      {LUMEN_TEST_SLOT_C, {9}, {3}, Verdict::pass, 0},
      {LUMEN_TEST_SLOT_C, {}, {}, Verdict::skipped, 0},
      {LUMEN_TEST_SLOT_C, {9, 1}, {}, Verdict::fellBack, LUM_IMPL_VORTA},
      {LUMEN_TEST_SLOT_VORTA, {0, 9}, {}, Verdict::pass, 0},
      {LUMEN_TEST_SLOT_VORTA, {1, 9}, {}, Verdict::fellBack, LUM_IMPL_CPU},
      // Single calls may miss what a remote unit demands, timed ones may not.
      {LUMEN_TEST_SLOT_ZDSP, {0, 5, 1}, {}, Verdict::pass, LUM_IMPL_VORTA},
      {LUMEN_TEST_SLOT_ZDSP, {0, 5, 0, 0, 0, 2}, {0, 0, 0, 0, 0, 9}, Verdict::pass, LUM_IMPL_VORTA},
      {LUMEN_TEST_SLOT_ZDSP, {0, 5, 1}, {0, 9}, Verdict::fellBack, LUM_IMPL_VORTA},
      {LUMEN_TEST_SLOT_ZDSP, {1, 0, 0, 9}, {}, Verdict::fellBack, LUM_IMPL_GPU},
      {LUMEN_TEST_SLOT_GPU, {0, 5, 0, 1}, {}, Verdict::pass, LUM_IMPL_VORTA},
      {LUMEN_TEST_SLOT_GPU, {0, 5, 6}, {}, Verdict::fellBack, LUM_IMPL_ZDSP},
      {LUMEN_TEST_SLOT_PERFORMANCE, {1, 2, 3}, {4}, Verdict::pass, 0},
  };
  for (const auto& c : kCases) {
    const LUMEN_TEST_Attested attested = LUMEN_TEST_JudgeColumns(c.slot, c.compared, c.timed);
    EXPECT_EQ(attested.verdict, c.verdict) << &c - kCases;
    EXPECT_EQ(attested.column, c.column) << &c - kCases;
  }
}

TEST(TestSelfTest, FailsWhenAFaultIsMissed) {
  const AbsDiffData data;
  // A row of one black pixel, on which golden rows do not show much.
  data.write("lumenabsdiff/black.csv", "1,1,0,0,1,1\n0\n");
  data.script("black.csv,black.csv,black.csv,\n");
  const ProgramRun missed = runLumenTest(data.path() + " --selftest");
  EXPECT_EQ(missed.status, 1);
  EXPECT_THAT(missed.err,
              HasSubstr("\nno fault                           -> nothing\n"
                        "off by one pixel                   -> sweep; MISSED by golden\n"));
  EXPECT_THAT(missed.err, testing::EndsWith("-> bench\nLUMEN_TEST, self-test=>FAIL\n"));
  EXPECT_EQ(missed.out, "");

  data.write("LumenTestTable.csv", testTable(""));
  const ProgramRun none = runLumenTest(data.path() + " --selftest");
  EXPECT_EQ(none.status, 1);
  EXPECT_THAT(none.err, HasSubstr("does not have lumAbsDiffu8 in slot V\n"));
}
