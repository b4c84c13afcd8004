// Failed cases that are kept as test data: a directory that fails as long as the fault is there,
// and passes once it has gone.

#include <filesystem>

#include "lumenTestModules.h"
#include "lumenTestRecord.h"
#include "lumenTestSweepSupport.h"
#include "lumenTestTable.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

class Save : public OwnData {
 protected:
  Save() { lumenTestExtras.saveFailing = folder(); }
  std::string folder() const { return data_.path() + "/saved"; }
  std::string script(const std::string& suffix) const {
    return textOf(folder() + "/lumenabsdiff/control_script_" + suffix + ".csv");
  }

  void sweep(const char* function) {
    lumenTestExtras.sweep = LUMEN_TEST_Sweep::quick;
    EXPECT_EQ(check(function), 1);
    EXPECT_THAT(CapturedLog::lines(), Not(Contains(HasSubstr("could not be saved"))));
  }
  // The module on the saved directory with the fault, in this process.
  int runPlanted() const {
    lumenTestExtras = {};
    lumenTestSettings.perfTests = 0;
    lumenTestRunConfig.slotEnabled[LUMEN_TEST_SLOT_VORTA] = 1;
    LUMEN_TEST_ClearTestTable();
    EXPECT_EQ(LUMEN_TEST_ReadTestTable(folder().c_str()), 0);
    CapturedLog::lines().clear();
    int failed = 0;
    standardOutputOf([&] { failed = LUMEN_TEST_ABSDIFF_Test(0, folder().c_str()); });
    return failed;
  }
  // The program, which has no fault; each row passes.
  void expectHealthyProgramPasses() const {
    const ProgramRun run = runLumenTest(folder() + " -m ABSDIFF -U");
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.err, HasSubstr("_V =>PASS"));
    std::istringstream log(run.err);
    for (std::string line; std::getline(log, line);) {
      for (const char* word : {"FAIL", "Error", "Could not", "smaller"}) {
        EXPECT_EQ(line.find(word), line.npos) << line;
      }
    }
  }

  const TempDirectory data_;
};

}  // namespace

TEST_F(Save, KeepsFailedCasesAsGoldenRows) {
  vortaColumn() = [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                     uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    lumAbsDiffu8C(src1, src2, width, height, srcStride, dst, dstStride);
    if (width % 16 == 15) dst[width - 1] ^= 1;
  };
  sweep("lumAbsDiffu8");
  const std::string rows = script("u8");
  EXPECT_EQ(std::count(rows.begin(), rows.end(), '\n'), 2 + 5);
  EXPECT_EQ(runPlanted(), 1);
  EXPECT_THAT(CapturedLog::lines(),
              Contains("D/lumen_test: LUMEN_TEST, lumAbsDiffu8_V (0) =>FAIL"));
  expectHealthyProgramPasses();

  // A case that is there already is not added again; another function is.
  lumenTestExtras.saveFailing = folder();
  sweep("lumAbsDiffu8");
  EXPECT_EQ(script("u8"), rows);
  LUM_FUNC_TABLE.lumAbsDiffVc3s32.column[LUM_IMPL_VORTA] =
      [](const int32_t* src, int32_t value1, int32_t value2, int32_t value3, uint32_t width,
         uint32_t height, uint32_t srcStride, uint32_t* dst, uint32_t dstStride) {
        lumAbsDiffVc3s32C(src, value1, value3, value2, width, height, srcStride, dst, dstStride);
      };
  lumenTestExtras.saveFailing = folder();
  sweep("lumAbsDiffVc3s32");
  expectHealthyProgramPasses();
  EXPECT_EQ(runPlanted(), 1);
  for (const char* failure : {"lumAbsDiffu8_V (0) =>FAIL", "lumAbsDiffVc3s32_V (0) =>FAIL"}) {
    EXPECT_THAT(CapturedLog::lines(), Contains(HasSubstr(failure)));
  }
}

TEST_F(Save, KeepsStridesThatDiffer) {
  // Both sources go by the first one's stride; rows give the second one's for the destination's.
  vortaColumn() = [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                     uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    lumAbsDiffu8C(src1, src2, width, height, srcStride, dst, dstStride);
    if (srcStride == width + 3 && dstStride == width && height > 2) dst[2 * dstStride] ^= 1;
    if (srcStride == width && dstStride > width && height > 2) dst[2 * dstStride] ^= 1;
  };
  for (const char* text : {"w20h3p3", "w20h4q3", "w20h3p3o7", "w20h5q3o7"}) {
    std::filesystem::remove_all(folder());
    lumenTestExtras = {};
    lumenTestExtras.saveFailing = folder();
    lumenTestExtras.caseText = std::string("lumAbsDiffu8/V/sweep/") + text + "/random/7";
    EXPECT_EQ(check("lumAbsDiffu8"), 1);
    EXPECT_EQ(runPlanted(), 1) << text;
    EXPECT_THAT(CapturedLog::lines(), Contains(HasSubstr("lumAbsDiffu8_V (0) =>FAIL")));
    expectHealthyProgramPasses();
  }
}

TEST_F(Save, KeepsFloatsAndNumbersToTheBit) {
  LUM_FUNC_TABLE.lumAbsDiffVf32.column[LUM_IMPL_VORTA] =
      [](const float* src, float value, uint32_t width, uint32_t height, uint32_t srcStride,
         float* dst, uint32_t dstStride) {
        lumAbsDiffVf32C(src, value, width, height, srcStride, dst, dstStride);
        for (uint32_t y = 0; y < height; ++y) {
          for (uint32_t x = 0; x < width; ++x) {
            float& result = dst[y * (dstStride / 4) + x];
            result = result / 2 - 1;
          }
        }
      };
  for (const char* text :
       {"w9h2/random", "w9h2p1q1/random", "w9h2p1q1/inf@greatest", "w9h2p1/nan@least",
        "w9h3q4o3/sub@one", "w9h3a/max@zero", "w9h3/min@random", "w9h3z/ramp@random"}) {
    lumenTestExtras = {};
    lumenTestExtras.saveFailing = folder();
    lumenTestExtras.caseText = std::string("lumAbsDiffVf32/V/sweep/") + text + "/7";
    EXPECT_EQ(check("lumAbsDiffVf32"), 1);
  }
  const std::string rows = script("Vf32");
  EXPECT_EQ(std::count(rows.begin(), rows.end(), '\n'), 2 + 8);
  EXPECT_EQ(runPlanted(), 1);
  for (int row = 0; row < 8; ++row) {
    const std::string failure = "lumAbsDiffVf32_V (" + std::to_string(row) + ") =>FAIL";
    EXPECT_THAT(CapturedLog::lines(), Contains(HasSubstr(failure)));
  }
  expectHealthyProgramPasses();
}

TEST_F(Save, SaysWhatRowsCannotKeepAndWhatIsNotSaved) {
  vortaColumn() = [](const uint8_t*, const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*,
                     uint32_t) {};
  const auto saving = [&](const std::string& layout) {
    lumenTestExtras.caseText = "lumAbsDiffu8/V/sweep/" + layout + "/random/7";
    EXPECT_EQ(check("lumAbsDiffu8"), 1);
    return log()[2];
  };
  EXPECT_EQ(saving("w8h2p1q1o4"), "saved in " + folder());
  EXPECT_EQ(saving("w8h2o4"), "saved in " + folder() + ", but without misalignment");
  EXPECT_EQ(saving("w8h2zi2.0"),
            "saved in " + folder() + ", but without working in place, strides of 0");
  data_.write("file", "");
  lumenTestExtras.saveFailing = data_.path() + "/file";
  EXPECT_EQ(saving("w8h2"), "could not be saved in " + data_.path() + "/file");
  lumenTestExtras.saveFailing = data_.path() + "/" + std::string(200, 'x');
  EXPECT_EQ(saving("w8h2"), "could not be saved in " + lumenTestExtras.saveFailing);
}

TEST_F(Save, RecordsFailuresWithPictures) {
  lumenTestExtras.json = data_.path() + "/record";
  char program[] = "lumenTest";
  char* arguments[] = {program, nullptr};
  ASSERT_TRUE(LUMEN_TEST_OpenRecords(1, arguments));
  LUMEN_TEST_RecordModule("ABSDIFF");
  vortaColumn() = [](const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                     uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    lumAbsDiffu8C(src1, src2, width, height, srcStride, dst, dstStride);
    dst[1] = static_cast<uint8_t>(dst[1] ^ 1);
    if (width == 7) *reinterpret_cast<volatile const uint8_t*>(src2 + 7);
  };
  lumenTestExtras.caseText = "lumAbsDiffu8/V/sweep/w8h2p1q2/zeros/7";
  check("lumAbsDiffu8");
  lumenTestExtras.caseText = "lumAbsDiffu8/V/tail/w7h1/zeros/7";
  check("lumAbsDiffu8");
  LUMEN_TEST_CloseRecords(0);
  const std::string record = textOf(lumenTestExtras.json);
  const std::string stem = "lumenabsdiff/u8-w8h2p1q2-zeros-7-";
  for (const std::string& member :
       {std::string(R"("module":"ABSDIFF","function":"lumAbsDiffu8","slot":"V","check":"sweep",)"
                    R"("case":"lumAbsDiffu8/V/sweep/w8h2p1q2/zeros/7",)"
                    R"("command":"lumenTest DIR -m ABSDIFF -f lumAbsDiffu8 )"
                    R"(--case=lumAbsDiffu8/V/sweep/w8h2p1q2/zeros/7","verdict":"FAIL",)"
                    R"("difference":1,"tolerance":0,)"
                    R"("detail":"dst, row 0, element 1: reference 0, result 1)"),
        R"("saved":")" + folder() + R"(","reference":")" + stem + R"(reference.pgm","result":")" +
            stem + R"(result.pgm")",
        std::string(R"("check":"guard")"),
        std::string(R"("buffer":"src2","offset":7,"access":"read"})"),
        std::string(R"("cases":1,"failedCases":1)")}) {
    EXPECT_THAT(record, HasSubstr(member));
  }
  EXPECT_EQ(textOf(folder() + "/" + stem + "result.pgm"),
            std::string("P5\n8 2\n255\n") + std::string("\0\1", 2) + std::string(14, '\0'));
  EXPECT_EQ(textOf(folder() + "/" + stem + "reference.pgm"),
            "P5\n8 2\n255\n" + std::string(16, '\0'));
}
