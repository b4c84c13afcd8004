#include "lumenTestOptions.h"

#include <functional>

#include "lumenTestConfig.h"
#include "lumenTestDriverSupport.h"
#include "lumenTestFunctions.h"
#include "lumenTestModules.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

struct Scan {
  LUMEN_TEST_Options options;
  const char* error;
};

// Scans a command line with these options, everything set back before.
Scan scan(std::vector<const char*> arguments) {
  lumenTestRunConfig = {};
  lumenTestSettings = {};
  arguments.insert(arguments.begin(),
                   {"lumenTest", "-l"});  // the directory may look like an option
  Scan result = {};
  result.error =
      LUMEN_TEST_ReadOptions(static_cast<int>(arguments.size()), arguments.data(), result.options);
  return result;
}

// The options that a scan changed from their defaults, as text.
std::string changes(std::vector<const char*> arguments) {
  const Scan s = scan(std::move(arguments));
  const LUMEN_TEST_Options &o = s.options, d = {};
  const LUMEN_TEST_RunConfig& c = lumenTestRunConfig;
  const LUMEN_TEST_Settings& t = lumenTestSettings;
  std::ostringstream text;
  const auto note = [&](const char* name, auto value, auto normal) {
    if (value != normal) text << name << "=" << +value << " ";
  };
  const auto noteText = [&](const char* name, const char* value) {
    if (value) text << name << "=" << value << " ";
  };
  noteText("error", s.error);
  note("pool", o.useBufferPool, d.useBufferPool);
  note("preAlloc", o.preAllocEnable, d.preAllocEnable);
  note("bytes", o.nPreAllocBytes, d.nPreAllocBytes);
  note("loops", o.loops, d.loops);
  note("iterations", c.dspIterations, 0u);
  noteText("module", o.moduleName);
  noteText("function", o.funcName);
  note("target", o.target, d.target);
  note("mode", o.opMode, d.opMode);
  note("opencv", c.openCvProfiling, 0);
  note("unit", t.unitTests, 1);
  note("perf", t.perfTests, 1);
  note("exhaustive", c.exhaustive, 0);
  note("resolution", c.resolution, 0u);
  note("seed", o.seed, 1246302971);
  note("zdspMemory", static_cast<int>(t.memOption[LUMEN_TEST_SLOT_ZDSP]), 1);
  note("bump", o.bumpClocks, false);
  note("align", c.alignToElement, 0);
  note("optOnly", o.optOnly, false);
  note("flush", c.cacheFlush, 0);
  note("without", c.testWithoutOpMode, 0);
  std::string result = text.str();
  if (!result.empty()) result.pop_back();
  return result;
}

}  // namespace

TEST(TestOptions, EachSetsItsOwn) {
  EXPECT_EQ(changes({}), "");
  EXPECT_EQ(changes({"-nbp"}), "pool=0");
  EXPECT_EQ(changes({"-psb", "1000"}), "preAlloc=1 bytes=1000");
  EXPECT_EQ(changes({"-l", "7"}), "loops=7");
  EXPECT_EQ(changes({"-L", "8"}), "iterations=8");
  EXPECT_EQ(changes({"-m", "HW", "-f", "lumAbsDiffu8"}), "module=HW function=lumAbsDiffu8");
  EXPECT_EQ(changes({"-t", "1034", "-M", "5"}), "target=1034 mode=5");
  EXPECT_EQ(changes({"-o"}), "opencv=1");
  EXPECT_EQ(changes({"-E"}), "exhaustive=1");
  EXPECT_EQ(changes({"-S", "7"}), "resolution=7");
  EXPECT_EQ(changes({"-s", "-1"}), "seed=-1");
  EXPECT_EQ(changes({"-H"}), "zdspMemory=0");
  EXPECT_EQ(changes({"-AC"}), "bump=1");
  EXPECT_EQ(changes({"-AL"}), "align=1");
  EXPECT_EQ(changes({"-OPT"}), "optOnly=1");
  EXPECT_EQ(changes({"-C"}), "flush=1");
  EXPECT_EQ(changes({"-TWOp"}), "without=1");
  for (const char* ignored :
       {"-p", "-e", "-DF", "1", "dir", "-ps", "-sx", "-TWO", "--baseline=x"}) {
    EXPECT_EQ(changes({ignored}), "") << ignored;
  }
}

TEST(TestOptions, TheLaterOfUnitOnlyAndProfilingOnlyWins) {
  EXPECT_EQ(changes({"-U"}), "perf=0");
  EXPECT_EQ(changes({"-P"}), "unit=0");
  EXPECT_EQ(changes({"-U", "-P"}), "unit=0");
  EXPECT_EQ(changes({"-P", "-U"}), "perf=0");
}

TEST(TestOptions, NumbersStayWithinBounds) {
  EXPECT_EQ(changes({"-l", "-5"}), "");
  EXPECT_EQ(changes({"-l", "ten"}), "");
  for (const char* many : {"10000000", "20000000", "2147483648", "99999999999999999999"}) {
    EXPECT_EQ(changes({"-l", many}), "loops=10000000") << many;
  }
  for (const char* unknown : {"8", "9", "-1"}) {
    EXPECT_EQ(changes({"-S", "3", "-S", unknown}), "resolution=3") << unknown;
  }
}

TEST(TestOptions, WhateverBeginsWithAnOptionIsThatOption) {
  EXPECT_EQ(changes({"-ltrue", "5", "-Sx", "3"}), "loops=5 resolution=3");
  EXPECT_EQ(changes({"-nbpX", "-Unit"}), "pool=0 perf=0");
}

TEST(TestOptions, AValueIsComparedWithTheOptionsBehindItsOwn) {
  EXPECT_EQ(changes({"-l", "-U"}), "perf=0");
  EXPECT_EQ(changes({"-m", "-E"}), "module=-E exhaustive=1");
  EXPECT_EQ(changes({"-l", "-L", "3"}), "iterations=3");
  EXPECT_EQ(changes({"-m", "-l", "3"}), "module=-l");  // -l comes before -m
  EXPECT_EQ(changes({"-l", "-t"}), "error=ERROR: missing param with option -t\n");
}

TEST(TestOptions, AMissingValueIsAnError) {
  for (const char* option : {"-l", "-L", "-m", "-f", "-t", "-M", "-s"}) {
    const std::string message = std::string("ERROR: missing param with option ") + option + "\n";
    EXPECT_EQ(scan({option}).error, message);
  }
  EXPECT_STREQ(scan({"-U", "-psb"}).error,
               "ERROR: missing param nPreAllocBytes with option -psb\n");
  EXPECT_STREQ(scan({"-S"}).error, "ERROR: missing Resolution param with option -S\n");
}

// The program shows its help on standard error, behind the version lines, and ends with status 1.
TEST(TestOptions, HelpFollowsEveryRefusal) {
  const struct {
    const char *arguments, *message;
  } kRefused[] = {
      {"", "USAGE: "},
      {"d 2 3 4 5 6 7 8 9 10 11 12 13 14", "USAGE: "},
      {"d -l", "ERROR: missing param with option -l\nUSAGE: "},
      {"d -f lumAbsDiffu8",
       "ERROR: Specify the module name to which this function belongs\nUSAGE: "},
      {"d -OPT", "ERROR: missing -M option with -OPT\nUSAGE: "},
  };
  for (const auto& refused : kRefused) {
    const ProgramRun run = runLumenTest(refused.arguments);
    EXPECT_EQ(run.status, 1) << refused.arguments;
    EXPECT_THAT(run.out, IsEmpty());
    EXPECT_THAT(run.err, StartsWith("D/lumen_test: lumtest_print_ver: E\n"));
    const size_t message = run.err.find(refused.message);
    ASSERT_NE(message, std::string::npos) << run.err;
    EXPECT_THAT(run.err.substr(0, message), Not(HasSubstr("USAGE")));
    EXPECT_THAT(run.err, testing::EndsWith("the results will be normalized accordingly.\n"));
  }
  // One argument less is a run: it gets as far as the test table.
  EXPECT_THAT(runLumenTest("/nonexistent 2 3 4 5 6 7 8 9 10 11 12 13").out,
              HasSubstr("Could not open /nonexistent/LumenTestTable.csv..."));
}

TEST(TestOptions, HelpListsModulesFunctionsAndOptions) {
  testing::internal::CaptureStderr();
  LUMEN_TEST_PrintHelp("prog");
  const std::string help = testing::internal::GetCapturedStderr();
  EXPECT_THAT(help, StartsWith("USAGE: prog test_data_directory "));
  EXPECT_THAT(help, HasSubstr("[-s see] [-nbp] [-o] [-U] [-P]\n"));
  EXPECT_THAT(help, HasSubstr(" DESCRIPTOR,, THRESH, "));
  EXPECT_THAT(help, HasSubstr(" 2 = [default] maximum power mode\n"));

  std::string listed;  // the list of modules as words
  std::istringstream words(help.substr(help.find("in order are:") + 13));
  std::string word;
  for (size_t i = 0; i < LUMEN_TEST_MODULE_COUNT && words >> word; ++i) listed += word + " ";
  std::string expected;
  for (const LUMEN_TEST_Module& module : LUMEN_TEST_MODULES) {
    expected += std::string(module.name) + ", ";
  }
  expected.replace(expected.find("DESCRIPTOR, "), 12, "DESCRIPTOR,, ");
  EXPECT_EQ(listed, expected.erase(expected.size() - 2, 1));

  int known = 0;
  for (words >> word; words >> word && word != "Note:";) {
    if (word.back() == ',')
      known += parseFunctionName(word.substr(0, word.size() - 1).c_str()) != 0;
  }
  EXPECT_NEAR(known, 330, 10);
}
