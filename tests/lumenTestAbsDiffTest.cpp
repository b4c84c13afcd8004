// The pattern of module tests, on the absolute-difference module and scripts of the test's own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "lumenTable.h"
#include "lumenTestConfig.h"
#include "lumenTestDriverSupport.h"
#include "lumenTestFunctions.h"
#include "lumenTestModules.h"
#include "lumenTestTable.h"

namespace {

using testing::HasSubstr;

constexpr char kHeader[] = "src1,src2,ref,note\n";
constexpr char kTypes[] = "unsignedchar[],unsignedchar[],unsignedchar[],comment\n";

// A data directory for lumAbsDiffu8, and a run of the module on it.
class AbsDiffModule : public testing::Test {
 protected:
  AbsDiffModule() {
    std::filesystem::create_directory(data_.path() + "/lumenabsdiff");
    std::filesystem::create_directory(data_.path() + "/lumTestRef");
    data_.write("LumenTestTable.csv", testTable("lumAbsDiffu8,1,1,0,1,1,0,0,0,0,0,0,0,0\n"));
    for (const char* folder : {"lumenabsdiff/", "lumTestRef/"}) {
      const std::string in = folder;
      data_.write(in + "a.csv", "3,2,0,0,3,2\n9,8,7\n1,2,3\n");
      data_.write(in + "b.csv", "3,2,0,0,3,2\n1,8,9\n1,0,255\n");
      data_.write(in + "right.csv", "3,2,0,0,3,2\n8,0,2\n0,2,252\n");
      data_.write(in + "wrong.csv", "3,2,0,0,3,2\n8,0,2\n0,2,251\n");
      data_.write(in + "small.csv", "2,2,0,0,2,2\n8,0\n0,2\n");
    }
    lumenTestRunConfig = {};
    lumenTestSettings = {};
    lumenTestSettings.perfTests = 0;
    lumenTestRunConfig.slotEnabled[LUMEN_TEST_SLOT_C] = 1;
    lumenTestRunConfig.funcId = LUMEN_FUNC_lumAbsDiffu8;
  }

  ~AbsDiffModule() override { LUM_FUNC_TABLE = table_; }

  void script(const std::string& rows, const std::string& kind = "") {
    data_.write("lumenabsdiff/control_script_" + kind + "u8.csv", kHeader + (kTypes + rows));
  }

  // The module's result; its log is in log_, its standard output in out_.
  int run(int loops = 0) {
    LUMEN_TEST_ClearTestTable();
    EXPECT_EQ(LUMEN_TEST_ReadTestTable(data_.path().c_str()), 0);
    CapturedLog::lines().clear();
    int failed = 0;
    out_ = standardOutputOf([&] { failed = LUMEN_TEST_ABSDIFF_Test(loops, data_.path().c_str()); });
    return failed;
  }
  // Log lines about rows and verdicts.
  static std::vector<std::string> verdicts() {
    std::vector<std::string> lines;
    for (const std::string& line : CapturedLog::lines()) {
      if (line.find("LUMEN_TEST, ") != std::string::npos) {
        lines.push_back(line.substr(line.find(", ") + 2));
      }
    }
    return lines;
  }

  const lumFuncTable table_ = LUM_FUNC_TABLE;
  const CapturedLog capture_;
  const TempDirectory data_;
  std::string out_;
};

using testing::ElementsAre;

}  // namespace

TEST_F(AbsDiffModule, ReturnsTheResultOfAllRowsAndSaysThatOfTheLast) {
  script("a.csv,b.csv,wrong.csv,\na.csv,b.csv,right.csv,\n");
  EXPECT_EQ(run(), 1);
  EXPECT_THAT(verdicts(), ElementsAre("lumAbsDiffu8_C (0) =>FAIL", "lumAbsDiffu8_C =>PASS"));
  EXPECT_THAT(out_, HasSubstr("lumAbsDiffu8 :: FAIL, "));

  script("a.csv,b.csv,right.csv,\na.csv,b.csv,wrong.csv,\n");
  EXPECT_EQ(run(), 1);
  EXPECT_THAT(verdicts(), ElementsAre("lumAbsDiffu8_C (1) =>FAIL", "lumAbsDiffu8_C =>FAIL"));

  script("");
  EXPECT_EQ(run(), 0);
  EXPECT_THAT(verdicts(), ElementsAre("lumAbsDiffu8_C =>PASS"));

  std::filesystem::remove(data_.path() + "/lumenabsdiff/control_script_u8.csv");
  EXPECT_EQ(run(), 1);
  EXPECT_EQ(CapturedLog::count("D/lumen_test: Could not open " + data_.path() +
                               "/lumenabsdiff/control_script_u8.csv...\n"),
            1);
}

TEST_F(AbsDiffModule, FailsRowsWhoseBuffersDoNotFitTogether) {
  // The call would write past a small destination, or read past a small source.
  for (const char* row : {"a.csv,b.csv,small.csv,\n", "a.csv,small.csv,right.csv,\n",
                          "small.csv,small.csv,right.csv,\n"}) {
    script(row);
    EXPECT_EQ(run(), 1) << row;
    EXPECT_THAT(verdicts(), ElementsAre("lumAbsDiffu8_C (0) =>FAIL", "lumAbsDiffu8_C =>FAIL"));
  }
  // A row that cannot be read ends the script, and the log says so.
  script("a.csv,b.csv,right.csv,\na.csv,none.csv,right.csv,\na.csv,b.csv,wrong.csv,\n");
  EXPECT_EQ(run(), 0);
  EXPECT_THAT(CapturedLog::lines(), testing::Contains(HasSubstr("none.csv")));
}

TEST_F(AbsDiffModule, FindsABrokenImplementationInItsSlotAlone) {
  script("a.csv,b.csv,right.csv,\n");
  lumenTestRunConfig.slotEnabled[LUMEN_TEST_SLOT_VORTA] = 1;
  lumenTestRunConfig.slotEnabled[LUMEN_TEST_SLOT_ZDSP] = 1;  // not implemented by the table
  EXPECT_EQ(run(), 0);
  EXPECT_THAT(verdicts(), ElementsAre("lumAbsDiffu8_C =>PASS", "lumAbsDiffu8_V =>PASS"));

  // The last pixel of a row is not written; later modes leave the vector column alone.
  LUM_FUNC_TABLE.lumAbsDiffu8.column[LUM_IMPL_VORTA] =
      [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
         uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
        lumAbsDiffu8C(src1, src2, width - 1, height, srcStride, dst, dstStride);
      };
  EXPECT_EQ(run(), 1);
  EXPECT_THAT(verdicts(), ElementsAre("lumAbsDiffu8_C =>PASS", "lumAbsDiffu8_V (0) =>FAIL",
                                      "lumAbsDiffu8_V =>FAIL"));
}

TEST_F(AbsDiffModule, TakesToleranceFromTheTestTable) {
  script("a.csv,b.csv,wrong.csv,\n");
  data_.write("LumenTestTable.csv", testTable("lumAbsDiffu8,1,1,0,1,1,1.9,0,0,0,0,0,0,0\n"));
  EXPECT_EQ(run(), 0);
}

TEST_F(AbsDiffModule, TimesTheRowOfTheResolutionAndComparesAllRowsWhenExhaustive) {
  script("a.csv,b.csv,right.csv,\n");
  script("a.csv,b.csv,wrong.csv,\na.csv,b.csv,right.csv,\n", "profiling_");
  lumenTestSettings.unitTests = 0;
  lumenTestRunConfig.exhaustive = 1;
  EXPECT_EQ(run(), 1);
  EXPECT_THAT(verdicts(), ElementsAre("lumAbsDiffu8_C (0) =>FAIL", "lumAbsDiffu8_C_E =>PASS"));

  static int calls;
  calls = 0;
  LUM_FUNC_TABLE.lumAbsDiffu8.column[LUM_IMPL_CPU] = [](const uint8_t*, const uint8_t*, uint32_t,
                                                        uint32_t, uint32_t, uint8_t*,
                                                        uint32_t) { ++calls; };
  lumenTestRunConfig.exhaustive = 0;
  lumenTestSettings.perfTests = 1;
  EXPECT_EQ(run(5), 0);
  EXPECT_EQ(calls, 5);
  EXPECT_THAT(verdicts(), ElementsAre());
  EXPECT_EQ(run(0), 0);
  lumenTestRunConfig.resolution = 2;  // the script has no such row
  EXPECT_EQ(run(5), 0);
  EXPECT_EQ(calls, 5);
}

TEST(AbsDiffData, PassesInEverySlot) {
  const ProgramRun all = runLumenTest(LUMEN_TEST_DATA " -m ABSDIFF -U -M 15");
  EXPECT_EQ(all.status, 0) << all.err;
  for (const char letter : std::string("CVQGLPFS")) {
    EXPECT_THAT(all.err, HasSubstr(std::string("lumAbsDiffVc4f32_") + letter + " =>PASS"));
  }
  EXPECT_THAT(all.err, testing::Not(HasSubstr("FAIL")));
  EXPECT_THAT(all.err, testing::Not(HasSubstr("Could not")));
}
