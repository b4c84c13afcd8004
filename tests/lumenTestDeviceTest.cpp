#include "lumenTestDevice.h"

#include <dlfcn.h>

#include <cstring>

#include "lumen/lumenMem.h"
#include "lumenTestConfig.h"
#include "lumenTestDriverSupport.h"
#include "lumenTestMem.h"
#include "lumenTestModules.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// Puts a directory with made-up tools in front of the shell's path.
struct FakeTools : TempDirectory {
  FakeTools() { setenv("PATH", inFrontOfPath().c_str(), 1); }
};

}  // namespace

TEST(TestVersion, IsLoggedWithoutASharedBuild) {
  const CapturedLog log;
  lumtest_print_ver();
  const auto& lines = CapturedLog::lines();
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0], "D/lumen_test: lumtest_print_ver: E");
  EXPECT_EQ(lines[1], "D/lumen_test: Static-Lib version: 1.7.1\n");
  EXPECT_THAT(lines[2], StartsWith("D/lumen_test: handle: "));
  EXPECT_THAT(lines[3], AllOf(StartsWith("D/lumen_test: Shared-Lib version: -None-, "),
                              HasSubstr("liblumenopt.so"), EndsWith("\n")));
}

// The library's own shared build serves as the optional one.
TEST(TestVersion, OfASharedBuildIsLoggedBesideTheOwn) {
  const std::string command = LUMEN_TEST_COMMAND;
  const std::string library =
      command.substr(command.rfind(' ') + 1, command.rfind('/') - command.rfind(' ')) +
      "liblumen.so";
  if (!std::filesystem::exists(library)) GTEST_SKIP() << library << " is not built";
  const TempDirectory directory;
  std::filesystem::create_symlink(library, directory.path() + "/liblumenopt.so");
  const ProgramRun run = runLumenTest("", "LD_LIBRARY_PATH=" + directory.path());
  EXPECT_EQ(run.status, 1);  // no arguments
  EXPECT_THAT(run.err, testing::ContainsRegex(
                           "^D/lumen_test: lumtest_print_ver: E\n"
                           "D/lumen_test: Static-Lib version: 1.7.1\n"
                           "D/lumen_test: handle: 0x[0-9a-f]+\n"
                           "D/lumen_test: Shared-Lib version: 1.7.1 , handle: 0x[0-9a-f]+\n"
                           "D/lumen_test: After If condition:lumtest_print_ver\n"
                           "D/lumen_test: lumtest_print_ver: X\n"
                           "USAGE"));
}

TEST(TestClocks, CommandsThatWriteSomethingHaveFailed) {
  EXPECT_STREQ(LUMEN_TEST_BUMP_COMMANDS[0].message, "ERROR: popen \"stop mpdecision\" error\n");
  EXPECT_STREQ(LUMEN_TEST_BUMP_COMMANDS[3].command,
               "echo 1 > /sys/devices/system/cpu/cpu3/online 2>&1");
  EXPECT_STREQ(LUMEN_TEST_BUMP_COMMANDS[4].command,
               "echo performance > /sys/devices/system/cpu/cpu0/cpufreq/scaling_governor 2>&1");
  EXPECT_STREQ(LUMEN_TEST_BUMP_COMMANDS[7].message,
               "ERROR: popen setting cpu3 frequency scaling_governor to performance\n");

  const CapturedLog log;
  const LUMEN_TEST_ClockCommand commands[] = {
      {"true", "silent"},
      {"echo something long; yes | head -c 100000", "100%s talks\n"},
      {"false", "silent, whatever its status"},
      {"echo >&2", "complains elsewhere"},
  };
  testing::internal::CaptureStderr();
  LUMEN_TEST_RunClockCommands(commands);
  testing::internal::GetCapturedStderr();
  EXPECT_THAT(CapturedLog::lines(), ElementsAre("D/lumen_test: 100%s talks\n"));
}

TEST(TestClocks, ThatCannotBeReadEndTheProcess) {
  const auto dump = [] {
    forbidOpening();
    lumtest_dump_clocks();
  };
  EXPECT_EXIT(dump(), testing::ExitedWithCode(0), "^D/lumen_test: Failed to run command\n$");
}

TEST(TestClocks, AreThoseOfTheProcessorsThatThereAre) {
  const FakeTools tools;
  // The bus clocks come one digit at a time longer than there is room for.
  tools.writeTool("cat",
                  "case $1 in *bimc*) echo 123456789012345678901234567890;; *snoc*) ;; "
                  "*cpu0*) echo 1500000;; *) echo -99999999999999999999kHz;; esac");
  const CapturedLog log;
  const std::string out = standardOutputOf(lumtest_dump_clocks);

  const long online = std::min(8l, sysconf(_SC_NPROCESSORS_ONLN));
  std::string clocks[8];
  for (long cpu = 0; cpu < 8; ++cpu) {
    clocks[cpu] = cpu >= online ? "NA" : cpu == 0 ? "1500000" : "-2147483648";
  }
  EXPECT_EQ(out, "LUMEN_PROFILE, CLOCKS: ARM cpu0: " + clocks[0] + ", cpu1: " + clocks[1] +
                     ", cpu2: " + clocks[2] + ", cpu3: " + clocks[3] +
                     "\nLUMEN_PROFILE,             cpu4: " + clocks[4] + ", cpu5: " + clocks[5] +
                     ", cpu6: " + clocks[6] + ", cpu7: " + clocks[7] + "\n");
  EXPECT_THAT(CapturedLog::lines(),
              ElementsAre("D/lumen_test: LUMEN_TEST, ERROR: Reading snoc_clk failed\n"));

  // Now without a word for any of them, and with the DSP in the run but not its monitor.
  tools.writeTool("cat", "");
  tools.writeTool("ls", "echo dspstatistics");
  lumenTestRunConfig.targetZDSP = 1;
  CapturedLog::lines().clear();
  EXPECT_EQ(standardOutputOf(lumtest_dump_clocks),
            "LUMEN_PROFILE, CLOCKS: ARM cpu0: NA, cpu1: NA, cpu2: NA, cpu3: NA\n"
            "LUMEN_PROFILE,             cpu4: NA, cpu5: NA, cpu6: NA, cpu7: NA\n"
            "LUMEN_PROFILE,         ZDSP clk : 0, bimc_clk: 0, snoc_clk: 0\n");
  EXPECT_EQ(CapturedLog::lines().size(), static_cast<size_t>(online) + 3);
  EXPECT_EQ(CapturedLog::lines()[0],
            "D/lumen_test: LUMEN_TEST, ERROR: Reading ARM cpu0 clock failed\n");
  EXPECT_EQ(CapturedLog::lines().back(),
            "D/lumen_test: Dspstat not found and ZDSP clk may be Invalid");
}

// The monitor is /data/dspstat, which tests do not have; the grep behind it stands in for both.
TEST(TestClocks, OfTheDspComeFromItsMonitor) {
  const FakeTools tools;
  tools.writeTool("cat", "echo 250000000");
  tools.writeTool("ls", "echo dspstat");
  lumenTestRunConfig.modeCpuOffload = 1;
  const struct {
    const char *line, *value;
  } kCases[] = {
      {"DSP Core clock: 600.00 MHz\\n", "600.00 MHz"},
      {"DSP Core clock: 600 MHz (turbo)\\n", "N"},
      {"DSP Core clock: 6000000000000 MHz\\n", "N"},  // cut at 29 characters
      {"12 MHz\\n", "N"},
      {"", "N"},
  };
  for (const auto& c : kCases) {
    tools.writeTool("grep", std::string("case $1 in dspstat) echo dspstat;; 'DSP Core clock') "
                                        "printf '") +
                                c.line + "';; esac");
    testing::internal::CaptureStderr();  // the shell misses the monitor
    const std::string out = standardOutputOf(lumtest_dump_clocks);
    testing::internal::GetCapturedStderr();
    EXPECT_THAT(out, EndsWith(std::string("\nLUMEN_PROFILE,         ADSP clk (Dspstat): ") +
                              c.value + ",CDSP clk (Dspstat): " + c.value +
                              ",ZDSP clk : 0, bimc_clk: 250000000, snoc_clk: 250000000\n"))
        << c.line;
  }
}

TEST(TestSkelLibraries, AreLookedForInTheListing) {
  const CapturedLog log;
  // The directory is what follows the first slash of the command.
  const auto check = [](const std::string& listing) {
    check_skel_libs(("printf '" + listing + "' ; : /dsp/").c_str());
  };
  const std::string heap = "libhostmem_heap.so\\n", aux = "libdspaux_skel.so\\n",
                    adsp = "liblumenadsp.so\\n", skel = "liblumendsp_skel.so\\n";
  check(heap + aux + adsp + skel);
  check("liblumenadsp_skel.so\\n" + adsp + aux + heap);
  EXPECT_EQ(CapturedLog::count("D/lumen_test: All the skel libs in :/dsp/:  are present "), 2);

  EXPECT_EQ(standardOutputOf([] { check_skel_libs("true"); }),
            "LUMEN_PROFILE, skel_libs_path true is empty \n");

  const auto checkAndShow = [&](const std::string& listing) {
    dup2(STDERR_FILENO, STDOUT_FILENO);
    check(listing);
  };
  const std::string missing = "^LUMEN_PROFILE, Missing skel libs in :/dsp/: ";
  const auto exits = testing::ExitedWithCode(0);
  EXPECT_EXIT(checkAndShow(""), exits, missing + "libhostmem_heap.so not found \n$");
  EXPECT_EXIT(checkAndShow(heap + adsp + skel), exits, missing + "libdspaux_skel.so not found \n$");
  EXPECT_EXIT(checkAndShow(heap + aux + skel), exits, missing + "liblumenadsp.so not found \n$");
  EXPECT_EXIT(checkAndShow(heap + aux + adsp), exits,
              missing + "Either liblumenadsp_skel.so or liblumendsp_skel.so not found \n$");

  // Of a listing too long, what fits counts: 50 lines, and 2999 characters in all.
  std::string filler;
  for (int i = 0; i < 46; ++i) filler += "x\\n";
  check(filler + heap + aux + adsp + skel);
  EXPECT_EXIT(checkAndShow("x\\n" + filler + heap + aux + adsp + skel), exits, missing + "Either");
  check(heap + aux + adsp + skel + std::string(5000, 'x'));
  EXPECT_EXIT(checkAndShow(std::string(2990, 'x') + "\\n" + heap), exits, missing + "libhostmem");

  const auto cannotStart = [&] {
    lumHostSetLogSink(nullptr);
    forbidOpening();
    check("");
  };
  EXPECT_EXIT(cannotStart(), exits,
              "^D/lumen_test: Failed to run command or skel libs path doesn't exist\n$");
}

TEST(TestStub, IsBoundAndLetGo) {
  const CapturedLog log;
  lumtest_adspstub_open();
  EXPECT_THAT(CapturedLog::lines(),
              ElementsAre("D/lumen_test: Unable to open liblumenadsp_stub.so\n"));
  EXPECT_EQ(lumenTestRunConfig.stubHandle, nullptr);
  lumtest_adspstub_close();

  static int leakChecks = 0;
  lumenTestRunConfig.leakCheckFn = [] { ++leakChecks; };
  lumenTestRunConfig.stubHandle = dlopen(nullptr, RTLD_NOW);
  lumtest_adspstub_close();
  lumtest_adspstub_close();
  EXPECT_EQ(leakChecks, 1);
  EXPECT_EQ(lumenTestRunConfig.stubHandle, nullptr);
}

namespace {

// Writes to its stack, this many bytes deep.
LUMEN_TEST_ON_REAL_STACK void useStack(size_t bytes) {
  volatile char* block = static_cast<volatile char*>(__builtin_alloca(bytes));
  for (size_t i = 0; i < bytes; ++i) block[i] = 1;
}

LUMEN_TEST_ON_REAL_STACK void probe(size_t bytes) {
  int marker = 0;
  unsigned char* top = lum_test_stackprefill(marker);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(&marker) - reinterpret_cast<uintptr_t>(top), 2048u);
  if (bytes) useStack(bytes);
  lum_test_stackusage(top, "NAME");
}

}  // namespace

TEST(TestStack, IsMeasuredInKilobytes) {
  const struct {
    size_t bytes;
    const char* stats;
  } kCases[] = {
      {0, "USAGE : 0 KB; REMAINING : 128 KB\n"},
      {64 * 1024, "USAGE : 6[2-6] KB; REMAINING : 6[2-6] KB\n"},
      {200 * 1024, "USAGE : 128 KB; REMAINING : 0 KB\n"},
  };
  for (const auto& c : kCases) {
    const CapturedLog log;
    probe(c.bytes);
    ASSERT_EQ(CapturedLog::lines().size(), 1u);
    EXPECT_THAT(CapturedLog::lines()[0], testing::ContainsRegex(c.stats));
    EXPECT_THAT(CapturedLog::lines()[0],
                StartsWith("D/lumen_test: STACK USAGE STATS ==> NAME, Stack Max PTR : 0x"));
  }
}

TEST(TestMem, FindsBlocksThatAreMisalignedOrMissing) {
  const CapturedLog log;
  EXPECT_EQ(LUMEN_TEST_CheckMemAlignment(lumMemAlloc, lumMemFree), 0);
  EXPECT_THAT(CapturedLog::lines(), IsEmpty());

  static char block[64];
  const auto free = [](void*) {};
  const auto alloc = [](uint32_t bytes, uint32_t alignment) -> void* {
    if (bytes == 4 && alignment == 16) return nullptr;
    const uintptr_t aligned = (reinterpret_cast<uintptr_t>(block) + 31) & ~uintptr_t{31};
    return reinterpret_cast<void*>(aligned + (bytes == 32767 ? 8 : 0));
  };
  EXPECT_EQ(LUMEN_TEST_CheckMemAlignment(alloc, free), 1);
  EXPECT_THAT(
      CapturedLog::lines(),
      ElementsAre(
          "D/lumen_test: LUMEN_TEST, lumMemAlloc with alignement 16 and size 4failed\n",
          "D/lumen_test: LUMEN_TEST, lumMemAlloc with alignement 16 and size 32767failed\n",
          "D/lumen_test: LUMEN_TEST, lumMemAlloc with alignement 32 and size 32767failed\n"));
}

TEST(TestMem, TimesCopiesOnlyWhenLoopsAreAskedFor) {
  const CapturedLog log;
  std::srand(1);
  const int expected = std::rand();
  std::srand(1);
  EXPECT_EQ(TEST_MEM_Test(0, ""), 0);
  EXPECT_THAT(CapturedLog::lines(), IsEmpty());
  EXPECT_EQ(TEST_MEM_Test(-3, ""), 0);
  std::string lines;
  for (const std::string& line : CapturedLog::lines()) lines += line + "|";
  std::string pattern = "^D/lumen_test: LUMEN_TEST, lumBuffer_memcpy_nBytes=>[0-9]+\\|";
  for (const char* name : {"Basic", "Linear", "Random"}) {
    for (const char* what : {"Time", "TimeSigma"}) {
      pattern += std::string("D/lumen_test: LUMEN_TEST, lumBuffer_memcpy") + name + "_" + what +
                 "=>[0-9]+\\|";
    }
  }
  EXPECT_THAT(lines, testing::ContainsRegex(pattern + "$"));
  EXPECT_EQ(std::rand(), expected);

  CapturedLog::lines().clear();
  lumenTestRunConfig.funcId = 318;
  EXPECT_EQ(TEST_MEM_Test(3, ""), 0);
  EXPECT_THAT(CapturedLog::lines(), IsEmpty());
}

TEST(TestMem, RandomOrderVisitsEveryLineOnce) {
  constexpr uint32_t kLines = 1 << 14;
  std::vector<bool> visited(kLines);
  uint32_t line = 0, steps = 0;
  do {
    EXPECT_FALSE(visited[line]);
    visited[line] = true;
    line = LUMEN_TEST_NextRandomLine(line, kLines);
  } while (line != 0 && ++steps < kLines);
  EXPECT_EQ(steps, kLines - 1);
}
