#include "lumenTestTable.h"

#include "lumenTestDriverSupport.h"

namespace {

using testing::ElementsAre;

// What isFunctionImpl says: the result, then the tolerances that it wrote (-1: left alone).
std::vector<float> ask(unsigned int funcId, unsigned int slot) {
  float tolerances[4] = {-1, -1, -1, -1};
  const int result = isFunctionImpl(static_cast<LUMEN_FUNC>(funcId), slot, tolerances);
  return {static_cast<float>(result != 0), tolerances[0], tolerances[1], tolerances[2]};
}

// Reads a table with these lines; the log without the lines about functions that it lacks.
std::vector<std::string> read(const TempDirectory& directory, const std::string& lines) {
  const CapturedLog log;
  directory.write("LumenTestTable.csv", testTable(lines));
  LUMEN_TEST_ClearTestTable();
  EXPECT_EQ(LUMEN_TEST_ReadTestTable(directory.path().c_str()), 0);
  std::vector<std::string> other;
  for (const std::string& line : CapturedLog::lines()) {
    if (line.find(" not found in ") == std::string::npos) other.push_back(line);
  }
  return other;
}

}  // namespace

TEST(TestFunctions, NamesAreFoundByTheirExactText) {
  for (unsigned int id = 1; id <= LUMEN_FUNC_COUNT; ++id) {
    EXPECT_EQ(parseFunctionName(LUMEN_FUNC_NAME[id]), id) << "is every name there only once?";
  }
  EXPECT_EQ(parseFunctionName("lumAbsDiffu8"), 318u);
  EXPECT_EQ(parseFunctionName("lumConvertDepthImageToPointCloudf32"), 485u);
  for (const char* name :
       {"", "lumabsdiffu8", "lumAbsDiffu", "lumAbsDiffu8 ", "lumNoSuchFunction"}) {
    EXPECT_EQ(parseFunctionName(name), 0u) << name;
  }
  EXPECT_EQ(parseFunctionName(nullptr), 0u);
}

TEST(TestTable, AnswersForUnitsAndModes) {
  const TempDirectory directory;
  EXPECT_THAT(read(directory,
                   "lumAbsDiffu8,1,1,0,0,2,0,2,1,0.5,0.25,0,0,8\n"
                   "lumAbsDiffs32,0,0,0,0,1,0,2,1,0.5,9,9,9,9\n"
                   "lumAbsDifff32,1,1,1,1,0,3,3,3,3,3,3,3,3\n"),
              ElementsAre());
  // A unit's own tolerances, also where it has no implementation.
  EXPECT_THAT(ask(318, LUMEN_TEST_SLOT_C), ElementsAre(1, 0, 0.25f, -1));
  EXPECT_THAT(ask(318, LUMEN_TEST_SLOT_VORTA), ElementsAre(1, 2, 0, -1));
  EXPECT_THAT(ask(318, LUMEN_TEST_SLOT_ZDSP), ElementsAre(0, 1, 0, -1));
  EXPECT_THAT(ask(318, LUMEN_TEST_SLOT_GPU), ElementsAre(0, 0.5f, 8, -1));
  // A mode tests always, with the largest tolerance.
  for (unsigned int slot = LUMEN_TEST_SLOT_LOW_POWER; slot < LUMEN_TEST_SLOT_COUNT; ++slot) {
    EXPECT_THAT(ask(318, slot), ElementsAre(1, 2, 8, -1));
    EXPECT_THAT(ask(319, slot), ElementsAre(1, 2, -1, -1));
  }
  // Tested nowhere: no tolerance, not in the table, not a function, not a slot.
  for (unsigned int id : {320u, 321u, 0u, 486u, 4294967295u}) {
    for (unsigned int slot = 0; slot < LUMEN_TEST_SLOT_COUNT; ++slot) {
      EXPECT_THAT(ask(id, slot), ElementsAre(0, -1, -1, -1)) << id;
    }
  }
  EXPECT_THAT(ask(318, LUMEN_TEST_SLOT_COUNT), ElementsAre(0, -1, -1, -1));
}

TEST(TestTable, KeepsTheLastLineOfAFunctionAndDropsUnknownOnes) {
  const TempDirectory directory;
  const std::string file = directory.path() + "/LumenTestTable.csv.\n";
  EXPECT_THAT(read(directory,
                   "lumMseru8,1,0,0,0,1,1,1,1,1,0,0,0,0\n"
                   "lumNoSuchFunction,1,1,0,0,1,0,0,0,0,0,0,0,0\n"
                   "lumMseru8,0,1,0,0,1,2,2,2,2,0,0,0,0\n"),
              ElementsAre("D/lumen_test: WARNING - Unknown function lumNoSuchFunction in " + file));
  EXPECT_THAT(ask(158, LUMEN_TEST_SLOT_C), ElementsAre(0, 2, -1, -1));
  EXPECT_THAT(ask(158, LUMEN_TEST_SLOT_VORTA), ElementsAre(1, 2, -1, -1));
  EXPECT_EQ(std::count(CapturedLog::lines().begin(), CapturedLog::lines().end(),
                       "D/lumen_test: WARNING - Function 157 not found in " + file),
            1);
  EXPECT_EQ(CapturedLog::lines().size(), 1 + LUMEN_FUNC_COUNT - 1);
}

TEST(TestTable, IsNotTrusted) {
  const TempDirectory directory;
  const std::string file = directory.path() + "/LumenTestTable.csv";
  EXPECT_THAT(read(directory,
                   "lumAbsDiffu8,1,1,1,1,3,0,0,0,0,1,1,1,1\n"
                   "lumAbsDiffs32,1,1,1,1,-7,0,0,0,0,0,0,0,0\n"
                   "lumAbsDifff32,1,1,1,1,1,1,nan,1,1,0,0,0,0\n"),
              ElementsAre("D/lumen_test: WARNING - Function lumAbsDiffu8 has 3 tolerances in " +
                              file + ", 2 is most.\n",
                          "D/lumen_test: WARNING - Function lumAbsDifff32 has tolerance nan in " +
                              file + ", taken as 0.\n"));
  EXPECT_THAT(ask(318, LUMEN_TEST_SLOT_C), ElementsAre(1, 0, 1, -1));
  EXPECT_THAT(ask(318, LUMEN_TEST_SLOT_PERFORMANCE), ElementsAre(1, 0, 1, -1));
  EXPECT_THAT(ask(319, LUMEN_TEST_SLOT_PERFORMANCE), ElementsAre(0, -1, -1, -1));
  EXPECT_THAT(ask(320, LUMEN_TEST_SLOT_VORTA), ElementsAre(1, 0, -1, -1));
}

TEST(TestTable, MustBeAFileWithAPathThatFits) {
  const TempDirectory directory;
  directory.write("file", "");
  std::filesystem::create_directories(directory.path() + "/folder/LumenTestTable.csv");
  // A table is there, but its path does not fit.
  std::string longName = directory.path();
  while (longName.size() < 250) longName += "/x";
  std::filesystem::create_directories(longName);
  std::ofstream(longName + "/LumenTestTable.csv") << testTable("");

  for (const std::string& data :
       {directory.path() + "/missing", directory.path() + "/file", directory.path() + "/folder",
        longName, std::string(5000, 'x'), std::string("")}) {
    const CapturedLog log;
    const std::string path = data + "/LumenTestTable.csv";
    const std::string out =
        standardOutputOf([&] { EXPECT_EQ(LUMEN_TEST_ReadTestTable(data.c_str()), 1) << data; });
    EXPECT_EQ(out, "LUMEN_PROFILE, Could not open " + path +
                       "...\n\n"
                       "LUMEN_PROFILE, Problem with the Lumen data : Check whether the Lumen data "
                       "path is correct or not ...\n\n");
    EXPECT_THAT(CapturedLog::lines(),
                ElementsAre("D/lumen_test: Could not open " + path + "...\n"));
  }
}
