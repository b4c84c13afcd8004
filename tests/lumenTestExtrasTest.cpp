// The additions: how they are read, what they select, and that a run without them is what it was.

#include "lumenTestExtras.h"

#include <fcntl.h>

#include <thread>

#include "lumenTestAdditionSupport.h"
#include "lumenTestRun.h"
#include "lumenTestTally.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

struct Reading {
  bool accepted;
  LUMEN_TEST_Extras extras;
  std::string errors;
};

Reading read(std::vector<const char*> arguments, const char* environment = nullptr) {
  if (environment) setenv("LUMEN_TEST_OPTS", environment, 1);
  else unsetenv("LUMEN_TEST_OPTS");
  arguments.insert(arguments.begin(), {"lumenTest", "--strict"});  // the directory
  Reading reading = {};
  testing::internal::CaptureStderr();
  reading.accepted =
      LUMEN_TEST_ReadExtras(static_cast<int>(arguments.size()), arguments.data(), reading.extras);
  reading.errors = testing::internal::GetCapturedStderr();
  return reading;
}

}  // namespace

TEST(TestExtras, AreReadFromTheCommandLineAndTheEnvironment) {
  EXPECT_FALSE(read({}).extras.given);
  EXPECT_FALSE(read({"-U", "x", "--unknown=3"}, "").extras.given);

  const LUMEN_TEST_Extras all =
      read({"--strict", "--list", "--attest", "--selftest", "--poison", "--stop-on-fail",
            "--sweep=full", "--guard=head", "--bench=0.5", "--isolate=2.5", "--repeat=1000000",
            "--case=lumAbsDiffs32/V/sweep/w1h1/zeros/0", "--save-failing=dir", "--json=a=b",
            "--junit=c", "--filter=x*", "--help", "--filter=y", "--exclude=z"})
          .extras;
  EXPECT_TRUE(all.given && all.strict && all.list && all.attest && all.selfTest && all.poison &&
              all.stopOnFail && all.help && all.checksOwnData() && all.narrows());
  EXPECT_EQ(all.sweep, LUMEN_TEST_Sweep::full);
  EXPECT_EQ(all.guard, LUMEN_TEST_Guard::head);
  EXPECT_EQ(all.benchSeconds, 0.5);
  EXPECT_EQ(all.isolateSeconds, 2.5);
  EXPECT_EQ(all.repeat, 1000000u);
  EXPECT_EQ(all.caseText, "lumAbsDiffs32/V/sweep/w1h1/zeros/0");
  EXPECT_EQ(all.saveFailing + " " + all.json + " " + all.junit, "dir a=b c");
  EXPECT_THAT(all.filters, ElementsAre("x*", "y"));
  EXPECT_THAT(all.excludes, ElementsAre("z"));

  // The command line comes after the environment.
  const LUMEN_TEST_Extras both =
      read({"--sweep=quick", "--isolate"}, " --sweep=full\t--json=\"my file\" \n\"--poison\" x")
          .extras;
  EXPECT_EQ(both.sweep, LUMEN_TEST_Sweep::quick);
  EXPECT_EQ(both.isolateSeconds, 60);
  EXPECT_EQ(both.json, "my file");
  EXPECT_TRUE(both.poison);
  EXPECT_EQ(LUMEN_TEST_CountExtraOptions(), 4);
}

// As with every option: "-m --strict" asks for a module of that name.
TEST(TestExtras, LeaveTheValuesOfOptionsAlone) {
  EXPECT_FALSE(read({"-m", "--strict"}).extras.given);
  EXPECT_FALSE(read({"-l", "-t", "--sweep=wrong"}).extras.given);
  EXPECT_TRUE(read({"-U", "--strict"}).extras.strict);
  EXPECT_TRUE(read({"-m", "x", "--strict"}).extras.strict);
}

TEST(TestExtras, RefuseWhatTheyDoNotTake) {
  const struct {
    const char *word, *message;
  } kRefused[] = {
      {"--sweep", "ERROR: --sweep takes quick or full, as --sweep=quick|full\n"},
      {"--sweep=", "ERROR: --sweep takes quick or full, as --sweep=quick|full; not ''\n"},
      {"--guard=all",
       "ERROR: --guard takes tail, head or row, as --guard=tail|head|row; not 'all'"},
      {"--repeat=0", "from 1 to 1000000"},
      {"--repeat=1000001", "not '1000001'"},
      {"--repeat=-1", "not '-1'"},
      {"--repeat=99999999999999999999", "from 1 to 1000000"},
      {"--repeat=3x", "not '3x'"},
      {"--bench=0", "a number of seconds above 0, at most 86400"},
      {"--bench=nan", "not 'nan'"},
      {"--bench=1s", "not '1s'"},
      {"--isolate=", "--isolate[=SECONDS]; not ''"},
      {"--isolate=1e9", "not '1e9'"},
      {"--case=lumAbsDiffu8/V/nothing", "ERROR: --case takes the text of a case"},
      {"--case=lumAbsDif/V/sweep/w1h1/zeros/0", "ERROR: --case takes the text of a case"},
      {"--json", "ERROR: --json takes the name of a file, as --json=FILE\n"},
      {"--filter=", "ERROR: --filter takes"},
      {"--strict=1", "ERROR: --strict takes no value\n"},
  };
  for (const auto& c : kRefused) {
    const Reading reading = read({c.word});
    EXPECT_FALSE(reading.accepted) << c.word;
    EXPECT_THAT(reading.errors, HasSubstr(c.message));
    EXPECT_FALSE(read({}, c.word).accepted) << c.word;
  }
  EXPECT_THAT(read({}, "--json=\"a b").errors, HasSubstr("LUMEN_TEST_OPTS has a double quote"));

  // What is no addition.
  for (const char* word : {"--swep=quick", "--strict-", "--", "--s"}) {
    EXPECT_TRUE(read({word}).accepted);
    EXPECT_THAT(read({word, "--strict"}).errors,
                HasSubstr("'" + std::string(word) + "' is no addition"));
  }
  EXPECT_FALSE(read({"--strict"}, "-U").accepted);
}

TEST(TestExtras, SelectFunctionsAndSlots) {
  const auto selects = [](std::vector<std::string> filters, std::vector<std::string> excludes = {},
                          const char* caseText = "") {
    LUMEN_TEST_Extras extras;
    extras.filters = filters;
    extras.excludes = excludes;
    extras.caseText = caseText;
    return extras.selects("MOD", "lumAbsDiffu8", 'V');
  };
  EXPECT_TRUE(selects({}));
  for (const char* pattern : {"lumAbsDiffu8", "lumAbs*", "MOD/lumAbsDiffu8", "MOD/*", "*u[18]",
                              "MOD/lumAbsDiffu8/V", "*/[CV]", "*"}) {
    EXPECT_TRUE(selects({pattern})) << pattern;
    EXPECT_TRUE(selects({"x", pattern})) << pattern;
    EXPECT_FALSE(selects({}, {"x", pattern})) << pattern;
    EXPECT_FALSE(selects({"*"}, {pattern})) << pattern;
  }
  for (const char* pattern : {"lumAbsDiff", "MOD", "V", "*/C", "lumAbsDiffu8/V", "AbsDiff*"}) {
    EXPECT_FALSE(selects({pattern})) << pattern;
    EXPECT_TRUE(selects({}, {pattern})) << pattern;
  }
  EXPECT_TRUE(selects({}, {}, "lumAbsDiffu8/V/sweep/w1h1/zeros/0"));
  EXPECT_FALSE(selects({}, {}, "lumAbsDiffu8/C/sweep/w1h1/zeros/0"));
  EXPECT_FALSE(selects({}, {}, "lumAbsDiffu88/V/sweep/w1h1/zeros/0"));

  LUMEN_TEST_Extras extras;
  EXPECT_TRUE(extras.selects("MEM"));
  extras.filters = {"ME*"};
  EXPECT_TRUE(extras.selects("MEM"));
  EXPECT_FALSE(extras.selects("HW"));
}

TEST(TestExtras, HaveTheirPlaceOnTheCommandLine) {
  const ProgramRun help = runLumenTest("/nonexistent --help");
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.err, HasSubstr("\n--isolate[=SECONDS]\n"));
  EXPECT_THAT(help.err, Not(HasSubstr("-m string")));
  EXPECT_THAT(runLumenTest("--help").out, HasSubstr("Could not open --help/LumenTestTable.csv"));
  EXPECT_EQ(runLumenTest("/nonexistent --sweep").status, 2);
  EXPECT_EQ(runLumenTest("/nonexistent --json=/nonexistent/file").status, 2);

  // Twelve arguments behind the directory, with the words of the environment.
  const std::string many = "/nonexistent 1 2 3 4 5 6 7 8 9 10 --repeat=2";
  EXPECT_THAT(runLumenTest(many, "LUMEN_TEST_OPTS=--poison").err, Not(HasSubstr("USAGE")));
  const ProgramRun tooMany = runLumenTest(many, "LUMEN_TEST_OPTS='--poison --help'");
  EXPECT_EQ(tooMany.status, 1);
  EXPECT_THAT(tooMany.err, HasSubstr("ERROR: 12 arguments and 2 words of LUMEN_TEST_OPTS are too "
                                     "many\nUSAGE: "));
}

// The lines of a run that somebody may read by program, as they have always been.
TEST(TestExtras, ChangeNothingWhereTheyAreNotGiven) {
  const AbsDiffData data;
  data.script("a.csv,b.csv,right.csv,\na.csv,b.csv,wrong.csv,\na.csv,b.csv,right.csv,\n");
  data.script("a.csv,b.csv,right.csv,\n", "profiling_");
  const std::string arguments = data.path() + " -m ABSDIFF -f lumAbsDiffu8 -M 1 -t 6 --unknown";
  constexpr const char* kBefore =
      "LUMEN_PROFILE, PROFILING ORDER : REF, Vorta, ZDSP, ZDSPw/oRem, GPU, LowPower, Performance, "
      "CPUOffload, CPUPerformance, \n"
      "D/lumen_test: LUMEN_TEST, lumAbsDiffu8_C (1) =>FAIL\n"
      "D/lumen_test: LUMEN_TEST, lumAbsDiffu8_C =>PASS\n"
      "D/lumen_test: LUMEN_TEST, lumAbsDiffu8_V (1) =>FAIL\n"
      "D/lumen_test: LUMEN_TEST, lumAbsDiffu8_V =>PASS\n"
      "D/lumen_test: LUMEN_TEST, lumAbsDiffu8_L (1) =>FAIL\n"
      "D/lumen_test: LUMEN_TEST, lumAbsDiffu8_L =>PASS\n"
      "LUMEN_PROFILE, lumAbsDiffu8 :: FAIL, 0, 0, 0, 0, 0, 0, 0, 0, 0\n"
      "D/lumen_test: LUMEN_TEST, ABSDIFF=>FAIL\n"
      "LUMEN_PROFILE, FIT:(FeatureName=>LUMEN, Overall=>FAIL)\n";
  const ProgramRun without = runLumenTest(arguments, "env -u LUMEN_TEST_OPTS", true);
  std::string kept;
  std::istringstream lines(without.out);
  for (std::string line; std::getline(lines, line);) {
    const bool isOfDevice = line.find("clk") != line.npos || line.find("cpu") != line.npos ||
                            line.find("Time taken") != line.npos ||
                            line.find("modules are built") != line.npos;
    if (line.find("LUMEN_") != line.npos && !isOfDevice) kept += line + "\n";
  }
  EXPECT_EQ(kept, kBefore);
  EXPECT_EQ(without.status, 1);

  const ProgramRun empty = runLumenTest(arguments, "LUMEN_TEST_OPTS=", true);
  const auto withoutTimes = [](std::string text) {
    const size_t start = text.find("is: ");
    return text.erase(start, text.find('\n', start) - start);
  };
  EXPECT_EQ(withoutTimes(empty.out), withoutTimes(without.out));
  EXPECT_EQ(empty.status, 1);
}

TEST(TestExtras, LeaveTheStreamOfRandomNumbersAlone) {
  const CapturedLog log;
  const AbsDiffData data;
  data.script("a.csv,b.csv,right.csv,\n");
  LUMEN_TEST_Options options;
  options.moduleName = "ABSDIFF";
  options.funcName = "lumAbsDiffu8";
  const auto nextAfterRun = [&] {
    standardOutputOf([&] { LUMEN_TEST_Run("lumenTest", data.path().c_str(), options); });
    return std::rand();
  };
  std::srand(1246302971);
  const int first = std::rand();
  EXPECT_EQ(nextAfterRun(), first);
  lumenTestExtras.sweep = LUMEN_TEST_Sweep::quick;
  lumenTestExtras.poison = lumenTestExtras.attest = true;
  EXPECT_EQ(nextAfterRun(), first);
  lumenTestExtras.repeat = 3;
  EXPECT_EQ(CapturedLog::count("D/lumen_test: LUMEN_TEST, pass 3 of 3, seed 1246302973"), 0);
  const int last = nextAfterRun();
  std::srand(1246302973);
  EXPECT_EQ(last, std::rand());
  EXPECT_EQ(CapturedLog::count("D/lumen_test: LUMEN_TEST, pass 3 of 3, seed 1246302973"), 1);
}

TEST(TestExtras, ListWhatWouldRun) {
  const ProgramRun list =
      runLumenTest(LUMEN_TEST_DATA " --list --filter=MEM '--filter=*c3*/[CL]' --exclude=*s32 -M 1");
  EXPECT_EQ(list.status, 0);
  EXPECT_EQ(list.out, "");
  EXPECT_THAT(list.err, testing::EndsWith("\nMEM\n"
                                          "ABSDIFF/lumAbsDiffVc3u8/C\n"
                                          "ABSDIFF/lumAbsDiffVc3u8/L\n"
                                          "ABSDIFF/lumAbsDiffVc3f32/C\n"
                                          "ABSDIFF/lumAbsDiffVc3f32/L\n"));
  EXPECT_EQ(runLumenTest(LUMEN_TEST_DATA " --list --filter=none").status, 0);
  EXPECT_EQ(runLumenTest(LUMEN_TEST_DATA " --list --filter=none --strict").status, 1);
}

TEST(TestExtras, FailACaseThatNothingMeets) {
  const std::string words = LUMEN_TEST_DATA " -s 1 --case=lumAbsDiffu8/V/sweep/w5h1/random/0";
  EXPECT_EQ(runLumenTest(words + " -t 4").status, 0);
  for (const char* elsewhere : {" -t 2", " -m MEM", " -m ABSDIFF -f lumAbsDiffs32"}) {
    const ProgramRun run = runLumenTest(words + elsewhere);
    EXPECT_EQ(run.status, 1) << elsewhere;
    EXPECT_THAT(run.err, HasSubstr("ERROR: case 'lumAbsDiffu8/V/sweep/w5h1/random/0' is of no "
                                   "function and slot of this run"));
  }
}

// On a terminal a line says what is going on; nothing is left of it where a log record begins.
TEST(TestExtras, ShowProgressOnATerminalAlone) {
  const AbsDiffData data;
  data.script("a.csv,b.csv,right.csv,\n");
  data.script("a.csv,b.csv,right.csv,\n", "profiling_");
  const auto onTerminal = [&](const std::string& arguments) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    EXPECT_TRUE(terminal >= 0 && grantpt(terminal) == 0 && unlockpt(terminal) == 0);
    const std::string name = ptsname(terminal);
    const int other = open(name.c_str(), O_RDWR | O_NOCTTY);  // keeps the terminal alive
    std::string text;
    std::thread reader([&] {
      char part[4096];
      while (text.find("modules are built") == text.npos) {
        const ssize_t count = ::read(terminal, part, sizeof(part));
        if (count <= 0) return;
        text.append(part, static_cast<size_t>(count));
      }
    });
    const std::string command = "TERM=xterm " LUMEN_TEST_COMMAND " " + data.path() +
                                " -m ABSDIFF -f lumAbsDiffu8 -t 2 " + arguments + " >/dev/null 2>" +
                                name;
    EXPECT_EQ(std::system(command.c_str()), 0);
    close(other);  // so that the reader ends, whatever was written
    reader.join();
    close(terminal);
    return text;
  };
  EXPECT_THAT(onTerminal("--strict"),
              HasSubstr("\r\x1b[KABSDIFF: lumAbsDiffu8 (1 of 1), slot C"
                        "\r\x1b[KD/lumen_test: LUMEN_TEST, lumAbsDiffu8_C =>PASS\r\n"));
  EXPECT_THAT(onTerminal(""), Not(HasSubstr("\x1b")));
  EXPECT_THAT(runLumenTest(data.path() + " --strict").err, Not(HasSubstr("\x1b")));
}

TEST(TestExtras, FailARunThatIsStrict) {
  const AbsDiffData data;
  data.script("a.csv,b.csv,right.csv,\n");
  data.script("a.csv,b.csv,right.csv,\n", "profiling_");
  const auto check = [&](const std::string& arguments, const char* fault) {
    SCOPED_TRACE(arguments);
    const std::string words = data.path() + " " + arguments;
    EXPECT_EQ(runLumenTest(words).status, 0);
    const ProgramRun strict = runLumenTest(words + " --strict");
    EXPECT_EQ(strict.status, fault ? 1 : 0);
    const std::string line = "E/lumen_test: LUMEN_TEST, strict: ";
    EXPECT_THAT(strict.err, fault ? testing::Matcher<const std::string&>(HasSubstr(line + fault))
                                  : Not(HasSubstr(line)));
    EXPECT_THAT(strict.err, HasSubstr(fault ? "Overall=>FAIL" : "Overall=>PASS"));
  };
  check("-l 1 -t 6", nullptr);
  check("-m NONE", "there is no module NONE");
  check("-m ABSDIFF -f lumNone", "there is no function lumNone");
  check("-m DEPTH", "module DEPTH is not built");
  check("-m ABSDIFF -f lumMseru8", "nothing was selected");
  check("--filter=none", "nothing was selected");
  check("-m ABSDIFF -t 16", "nothing was selected");
  check("-m ABSDIFF -l 1 -S 1 -t 2", "lumAbsDiffu8_C: there is no row to time in its script");
  check("-m ABSDIFF -S 1 -t 2", nullptr);  // no call is to be timed
  check("-m ABSDIFF -t 32 --attest", "a slot fell back to another column");

  data.script("a.csv,b.csv,right.csv,\na.csv,none.csv,right.csv,\n");
  check("-m ABSDIFF -t 2", "lumAbsDiffu8_C: a row cannot be read in its script");
  data.script("");
  check("-m ABSDIFF -t 2", "lumAbsDiffu8_C: there is no row in its script");
  data.write("LumenTestTable.csv",
             testTable("lumAbsDiffu8,1,1,0,1,1,0,0,0,0,0,0,0,0\nlumMseru8,1\n"));
  const ProgramRun table = runLumenTest(data.path() + " --strict");
  EXPECT_EQ(table.status, 1);
  EXPECT_THAT(table.err, HasSubstr("strict: a row of " + data.path() + "/LumenTestTable.csv"));
}
