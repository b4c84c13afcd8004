#include "lumenTestRun.h"

#include <cstring>
#include <map>
#include <set>

#include "lumenTestConfig.h"
#include "lumenTestDefaultMode.h"
#include "lumenTestDriverSupport.h"
#include "lumenTestModules.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::vector<std::string> modulesSelectedBy(const std::string& argument) {
  std::vector<std::string> names;
  for (const LUMEN_TEST_Module& module : LUMEN_TEST_MODULES) {
    if (module.isSelectedBy(argument.c_str())) names.push_back(module.name);
  }
  return names;
}

// Modules that note how they are called.
std::vector<std::string> calls;
int noteCall(const char* name, int loops, const char* dataDirectory, int result) {
  calls.push_back(std::string(name) + " " + std::to_string(loops) + " " + dataDirectory);
  return result;
}
constexpr LUMEN_TEST_Module kModules[] = {
    {"GOOD", 4, LUMEN_TEST_LOOPS::asGiven,
     [](int loops, const char* dir) { return noteCall("good", loops, dir, 0); }},
    {"BAD", 3, LUMEN_TEST_LOOPS::multiplied,
     [](int loops, const char* dir) { return noteCall("bad", loops, dir, 256); }},
    {"MISSING", 7, LUMEN_TEST_LOOPS::asGiven, nullptr},
    {"LAST", 4, LUMEN_TEST_LOOPS::asGiven,
     [](int loops, const char* dir) { return noteCall("last", loops, dir, 0); }},
};

}  // namespace

// Most names select a module as the beginning of the argument; the others are listed here.
TEST(TestModules, AreSelectedByTheirComparedBytes) {
  const char* const kInOrder =
      "HW MEM DEPTH DOT SSD IIMG IIMGYUV IDIFF TRNS WARP 3CHANNELWARP COLORYUVRGB COLORYUV "
      "COLORRGB "
      "SCALE BLUR EDGES SCHARR SAD FAST10 DESCRIPTOR THRESH COPY VEC KMEANS AFFINEEVAL AFFINEFIT "
      "HOMOGRAPHYEVAL HOMOGRAPHYFIT POSEEVAL POSEREFINE 3POINTPOSEEST KDTREE LINEARSEARCH BITCNT "
      "BITWISEOP OFBM BOUNDRECT UPSAMPLE IPP IPPTRANSFORM CONTOUR SOLVE PERSPTRANSFORM SET "
      "ADAPTTHRESH SFGMASK ABSDIFF QUAD AVERAGE SHIFT FLOODFILL MOTION SVD POLYGON BGCODEBOOK "
      "DRAWCONTOUR HOUGHCIRCLE HOUGHLINE CALIBRATE REMAP PYRAMID IMGSEGMENTATION LBP FFT "
      "CORNERSUBPIX CHANNEL STATS NCC FIR FAST IMGINTENSITY EDGE KLT HOG CALIB3D MINMAX "
      "KMEANSTREESEARCH SMOOTH ARITHM SVM HARRIS MSER ";
  const std::set<std::string> kExact = {
      "IIMG", "IIMGYUV", "COLORYUVRGB", "COLORYUV",    "COLORRGB",  "EDGES",       "FAST10",
      "IPP",  "FAST",    "EDGE",        "ADAPTTHRESH", "HOUGHLINE", "IPPTRANSFORM"};
  const std::map<std::string, size_t> kFirstLetters = {
      {"DESCRIPTOR", 9}, {"KMEANS", 5}, {"BITWISEOP", 7}, {"DRAWCONTOUR", 9}, {"HOUGHCIRCLE", 10}};
  std::string inOrder;
  for (const LUMEN_TEST_Module& module : LUMEN_TEST_MODULES) {
    const std::string name = module.name;
    inOrder += name + " ";
    const auto selects = [&](const std::string& argument) {
      return module.isSelectedBy(argument.c_str());
    };
    EXPECT_TRUE(selects(name));
    EXPECT_TRUE(module.isSelectedBy(nullptr));
    EXPECT_EQ(selects(name + "X"), !kExact.contains(name)) << name;
    const auto letters = kFirstLetters.find(name);
    const size_t least = letters == kFirstLetters.end() ? name.size() : letters->second;
    EXPECT_EQ(selects(name.substr(0, name.size() - 1)), least < name.size()) << name;
    EXPECT_TRUE(selects(name.substr(0, least))) << name;
    EXPECT_FALSE(selects(name.substr(0, least - 1))) << name;
    EXPECT_FALSE(selects("x" + name));
    const bool isFast = name == "DOT" || name == "SSD" || name == "BITCNT";
    EXPECT_EQ(module.loops == LUMEN_TEST_LOOPS::multiplied, isFast) << name;
  }
  EXPECT_EQ(inOrder, kInOrder);

  EXPECT_THAT(modulesSelectedBy("KMEANSTREESEARCH"), ElementsAre("KMEANS", "KMEANSTREESEARCH"));
  EXPECT_THAT(modulesSelectedBy("SCHARRX"), ElementsAre("SCHARR"));
  EXPECT_THAT(modulesSelectedBy("COLORYUVRGB"), ElementsAre("COLORYUVRGB"));
  EXPECT_THAT(modulesSelectedBy("hw"), IsEmpty());
  EXPECT_THAT(modulesSelectedBy(""), IsEmpty());
  EXPECT_THAT(modulesSelectedBy(std::string(100000, 'x')), IsEmpty());
}

TEST(TestModules, RunInOrderAndAFailureStopsNothing) {
  const CapturedLog log;
  EXPECT_EQ(LUMEN_TEST_RunModules(kModules, nullptr, 5, "dir"), 1);
  EXPECT_THAT(calls, ElementsAre("good 5 dir", "bad 50 dir", "last 5 dir"));
  EXPECT_THAT(CapturedLog::lines(), ElementsAre("D/lumen_test: LUMEN_TEST, GOOD=>PASS",
                                                "D/lumen_test: LUMEN_TEST, BAD=>FAIL",
                                                "W/lumen_test: LUMEN_TEST, MISSING=>NOT BUILT",
                                                "D/lumen_test: LUMEN_TEST, LAST=>PASS"));
  EXPECT_EQ(LUMEN_TEST_RunModules(kModules, "LASTX", 0, "dir"), 0);
  EXPECT_EQ(LUMEN_TEST_RunModules(kModules, "MISSING", 0, "dir"), 0);
  EXPECT_EQ(LUMEN_TEST_RunModules(kModules, "OTHER", 0, "dir"), 0);
  EXPECT_EQ(calls.size(), 4u);

  LUMEN_TEST_LogBuiltModules(kModules);
  EXPECT_EQ(CapturedLog::lines().back(), "D/lumen_test: LUMEN_TEST, 3 of 4 modules are built");
}

TEST(TestModules, ReportTheirStack) {
  const CapturedLog log;
  lumenTestRunConfig.stackUsage = 1;
  LUMEN_TEST_RunModules(std::span(kModules).first(1), nullptr, 0, "dir");
  ASSERT_EQ(CapturedLog::lines().size(), 2u);
  EXPECT_THAT(CapturedLog::lines()[1],
              testing::MatchesRegex("D/lumen_test: STACK USAGE STATS ==> GOOD, Stack Max PTR : "
                                    "0x[0-9a-f]+; USAGE : [0-9]+ KB; REMAINING : [0-9]+ KB\n"));
}

TEST(TestDefaultMode, PassesOnlyWhenEveryTestIsBuiltAndPassed) {
  const auto pass = [](const char*) { return 0; };
  const auto fail = [](const char*) { return 256; };
  const std::string kPassed =
      "D/lumen_test: Running lumen API without calling setOperationMode is pass\n";
  const std::string kFailed =
      "E/lumen_test: ERROR: Running lumen API without calling setOperationMode is fail\n";
  const std::string kNotBuilt = "W/lumen_test: LUMEN_TEST, b=>NOT BUILT";
  const std::string kOneOfTwo =
      "W/lumen_test: LUMEN_TEST, 1 of 2 tests without setOperationMode were run";
  const auto check = [](LUMEN_TEST_DefaultModeTest a, LUMEN_TEST_DefaultModeTest b) {
    CapturedLog::lines().clear();
    const LUMEN_TEST_DefaultModeTest tests[] = {a, b};
    return LUMEN_TEST_CheckDefaultMode(tests, "dir");
  };
  const CapturedLog log;
  EXPECT_EQ(check({"a", pass}, {"b", pass}), 0);
  EXPECT_THAT(CapturedLog::lines(), ElementsAre(kPassed));
  EXPECT_EQ(check({"a", fail}, {"b", pass}), 256);
  EXPECT_THAT(CapturedLog::lines(), ElementsAre(kFailed));
  EXPECT_EQ(check({"a", pass}, {"b", nullptr}), 0);
  EXPECT_THAT(CapturedLog::lines(), ElementsAre(kNotBuilt, kOneOfTwo));
  EXPECT_EQ(check({"a", fail}, {"b", nullptr}), 256);
  EXPECT_THAT(CapturedLog::lines(), ElementsAre(kNotBuilt, kFailed, kOneOfTwo));
}

// What -t, -M and -OPT come to: slots, mode of the initialization, whether the DSP's libraries are
// asked for. Within one process, as starting programs is slow.
TEST(TestRun, ChoosesSlotsAndTheInitialization) {
  const TempDirectory directory;
  const CapturedLog log;
  // Lists the libraries, so that the check passes and the run goes on.
  directory.writeTool("ls",
                      "echo libhostmem_heap.so libdspaux_skel.so liblumenadsp.so "
                      "liblumenadsp_skel.so");
  setenv("PATH", directory.inFrontOfPath().c_str(), 1);
  const std::string properties = directory.write("properties", "vendor.runtime.skel.flag=1\n");
  setenv("LUMEN_SYSTEM_PROPERTIES", properties.c_str(), 1);

  const struct {
    int target, opMode;
    bool optOnly;
    const char* slots;
    bool performance, skelCheck;
  } kCases[] = {
      {0, 0, false, "11110000", true, true},           {4, 0, false, "01000000", false, false},
      {2 + 8, 1 + 2, false, "10101100", true, true},   {1024, 0, false, "00100000", true, true},
      {32, 0, false, "00010000", true, false},         {16, 0, false, "00000000", true, false},
      {128 + 256, 0, false, "00000000", false, false}, {0, 8, false, "11110001", false, false},
      {8, 8 + 4, false, "00100011", true, true},       {0, 3, true, "00001100", true, true},
      {8, 8, true, "00000001", false, false},          {-1, -1, false, "11111111", true, true},
  };
  for (const auto& c : kCases) {
    CapturedLog::lines().clear();
    LUMEN_TEST_Options options;
    options.target = c.target;
    options.opMode = c.opMode;
    options.optOnly = c.optOnly;
    standardOutputOf([&] { EXPECT_EQ(LUMEN_TEST_Run("lumenTest", "/nonexistent", options), 1); });
    std::string slots;
    for (uint8_t enabled : lumenTestRunConfig.slotEnabled) slots += enabled ? "1" : "0";
    const std::string context =
        std::to_string(c.target) + " " + std::to_string(c.opMode) + " " + c.slots;
    EXPECT_EQ(slots, c.slots) << context;

    std::string all;
    for (const std::string& line : CapturedLog::lines()) all += line;
    EXPECT_THAT(all, HasSubstr(c.performance
                                   ? "\nTime taken for Initialization(Z6,GPU) in "
                                     "LUMEN_OP_PERFORMANCE is: "
                                   : "\nTime taken for Initialization in LUMEN_OP_CPU_PERFORMANCE "
                                     "is: "))
        << context;
    EXPECT_EQ(CapturedLog::count("D/lumen_test: All the skel libs in :/vendor/lib/rfsa/adsp/:  are "
                                 "present "),
              c.skelCheck)
        << context;
  }
  EXPECT_EQ(lumenTestRunConfig.targetReserved, 0);
}

TEST(TestRun, SeedsTheGenerator) {
  const CapturedLog log;
  const auto firstOf = [](long seed) {
    LUMEN_TEST_Options options;
    if (seed != 0) options.seed = seed;
    standardOutputOf([&] { LUMEN_TEST_Run("lumenTest", "/nonexistent", options); });
    return std::rand();
  };
  for (const unsigned int seed : {1246302971u, 5u}) {
    std::srand(seed);
    const int expected = std::rand();
    EXPECT_EQ(firstOf(seed == 5 ? 5 : 0), expected);
  }
}

// A command that cannot be started ends the run where it stands, with status 0.
TEST(TestRun, RaisesTheClocksBeforeAnythingElse) {
  LUMEN_TEST_Options options;
  options.bumpClocks = true;
  const auto run = [&] {
    forbidOpening();
    LUMEN_TEST_Run("lumenTest", "/nonexistent", options);
  };
  EXPECT_EXIT(run(), testing::ExitedWithCode(0), "^D/lumen_test: Failed to run command\n$");
  options.bumpClocks = false;
  EXPECT_EXIT(run(), testing::ExitedWithCode(0), "Time taken.*Failed to run command\n$");
}

TEST(TestRun, StopsWithoutTheTestTable) {
  const ProgramRun run = runLumenTest("/nonexistent");
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.out, EndsWith("LUMEN_PROFILE, Could not open /nonexistent/LumenTestTable.csv...\n"
                                "\nLUMEN_PROFILE, Problem with the Lumen data : Check whether the "
                                "Lumen data path is correct or not ...\n\n"));
  EXPECT_THAT(run.err, Not(HasSubstr("LUMEN_TEST, HW")));
  EXPECT_THAT(run.err, Not(HasSubstr("FIT:")));
}

TEST(TestRun, StopsWithoutTheDspLibraries) {
  const TempDirectory directory;
  directory.write("LumenTestTable.csv", testTable(""));
  const std::string before =
      "LUMEN_SYSTEM_PROPERTIES=" + directory.write("properties", "vendor.runtime.skel.flag=1\n");
  directory.writeTool("ls", "echo libhostmem_heap.so");
  const ProgramRun run =
      runLumenTest(directory.path(), before + " PATH=" + directory.inFrontOfPath());
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out,
            "LUMEN_PROFILE, Missing skel libs in :/vendor/lib/rfsa/adsp/: libdspaux_skel.so not "
            "found \n");
  EXPECT_THAT(run.err, Not(HasSubstr("Time taken")));
}

// The whole of a run: the log and standard output, in the order in which a terminal shows them.
TEST(TestRun, GoesThroughAllModulesInOrder) {
  const TempDirectory directory;
  directory.write("LumenTestTable.csv", testTable("lumMseru8,0,0,0,0,1,0,0,0,0,0,0,0,0\n"));
  const ProgramRun run = runLumenTest(directory.path() + " -TWOp -psb 1000 -M 2", "", true);
  EXPECT_EQ(run.status, 1);
  size_t place = 0;
  for (const char* line : {
           "D/lumen_test: lumtest_print_ver: E\n",
           "D/lumen_test: Static-Lib version: 1.7.1\n",
           "W/lumen_test: LUMEN_TEST, unitTest_lumFilterMedian3x3u8=>NOT BUILT\n",
           "W/lumen_test: LUMEN_TEST, unitTest_DotProductNx1s8=>NOT BUILT\n",
           "W/lumen_test: LUMEN_TEST, unitTestReg_DotProduct36x1s8=>NOT BUILT\n",
           "W/lumen_test: LUMEN_TEST, unitTest_lumSumOfSquaredDiffs36x4s8=>NOT BUILT\n",
           "/lumcolor/control_script_YUV420toRGB565u8Rotate180.csv...\n",  // without its data
           "E/lumen_test: ERROR: Running lumen API without calling setOperationMode is fail\n",
           "W/lumen_test: LUMEN_TEST, 1 of 5 tests without setOperationMode were run\n",
           "D/lumen_test: Time taken for Initialization(Z6,GPU) in LUMEN_OP_PERFORMANCE is: ",
           "D/lumen_test: Targets chosen: ARM:1 VORTA:1 ZDSP:1, GPU:1\n",
           "D/lumen_test: Operation mode chosen: LowPower: 0, Performance: 1, CPU offload: 0, "
           "CPU Performance: 0\n",
           "LUMEN_PROFILE, CLOCKS: ARM cpu0: ",
           "LUMEN_PROFILE,             cpu4: ",
           "LUMEN_PROFILE, PROFILING ORDER : REF, Vorta, ZDSP, ZDSPw/oRem, GPU, LowPower, "
           "Performance, CPUOffload, CPUPerformance, \n",
           "D/lumen_test: WARNING - Function 1 not found in ",
           "preAllocEnable, nPreAllocBytes 1000\n",
           "D/lumen_test: LUMEN_TEST, HW=>PASS\n",
           "D/lumen_test: LUMEN_TEST, MEM=>PASS\n",
           "W/lumen_test: LUMEN_TEST, DEPTH=>NOT BUILT\n",
           "W/lumen_test: LUMEN_TEST, SVM=>NOT BUILT\n",
           "D/lumen_test: FIT:(FeatureName=>LUMEN, Overall=>FAIL)\n",
           "LUMEN_PROFILE, FIT:(FeatureName=>LUMEN, Overall=>FAIL)\n",
           " of 83 modules are built\n",
       }) {
    const size_t found = run.out.find(line, place);
    ASSERT_NE(found, std::string::npos) << line << "\nis missing or out of order in\n" << run.out;
    place = found + std::strlen(line);
  }
}

TEST(TestRun, RunsWhatIsSelected) {
  const TempDirectory directory;
  directory.write("LumenTestTable.csv", testTable("lumMseru8,0,0,0,0,1,0,0,0,0,0,0,0,0\n"));
  const ProgramRun none = runLumenTest(directory.path() + " -m NOSUCH -nbp -t 4");
  EXPECT_EQ(none.status, 0);
  EXPECT_THAT(none.err, Not(HasSubstr("LUMEN_TEST, HW")));
  EXPECT_THAT(none.out, EndsWith("LUMEN_PROFILE, FIT:(FeatureName=>LUMEN, Overall=>PASS)\n"));
  EXPECT_THAT(none.out, Not(HasSubstr("ZDSP clk")));

  const ProgramRun hw = runLumenTest(directory.path() + " -m HWX");
  EXPECT_THAT(hw.err, HasSubstr("LUMEN_TEST, ARM=>1, KESTREL=>"));
  EXPECT_THAT(hw.err, HasSubstr("LUMEN_TEST, HW=>PASS\n"));
  EXPECT_THAT(hw.err, Not(HasSubstr("MEM=>")));

  // With a function chosen the hardware is not queried.
  const ProgramRun function = runLumenTest(directory.path() + " -m HW -f lumAbsDiffu8");
  EXPECT_THAT(function.err, HasSubstr("Function chosen: lumAbsDiffu8 \n"));
  EXPECT_THAT(function.err, HasSubstr("LUMEN_TEST, HW=>PASS\n"));
  EXPECT_THAT(function.err, Not(HasSubstr("ARM=>")));

  const ProgramRun unknown = runLumenTest(directory.path() + " -m HW -f lumabsdiffu8");
  EXPECT_THAT(unknown.err, Not(HasSubstr("Function chosen")));
  EXPECT_THAT(unknown.err, HasSubstr("ARM=>1"));
}
