// The function table: its rows, its layout and its state before any operation mode.

#include "lumenTable.h"

#include <set>

#include "lumenMode.h"
#include "lumenRemote.h"
#include "lumenRoutines.h"
#include "lumenTestSupport.h"

namespace {

TEST(Table, CountsWhatIsBuilt) {
  const auto count = [](const auto& rows) {
    return std::vector{
        lumCountRows(rows, lumRowState::reserved), lumCountRows(rows, lumRowState::pending),
        lumCountRows(rows, lumRowState::reference), lumCountRows(rows, lumRowState::vector)};
  };
  EXPECT_THAT(count(LUM_ROW_INFO), testing::ElementsAre(2, 374, 3, 127));
  EXPECT_THAT(count(LUM_INTERNAL_ROW_INFO), testing::ElementsAre(0, 11, 3, 2));
  EXPECT_THAT(count(LUM_ROUTINE_INFO), testing::ElementsAre(0, 32, 0, 39));
  EXPECT_EQ(lumBuiltRows().size(), 127u);
}

// Row numbers are an interface. The first 396 rows are in alphabetical order, but for two pairs of
// the MSER family; the reserved ones stand at 362 and 363.
TEST(Table, NamesItsRowsInOrder) {
  std::vector<std::string> names, outOfOrder;
  for (const lumRowInfo& row : LUM_ROW_INFO) {
    std::string name;
    for (const char* c = row.name; *c; ++c) name += static_cast<char>(std::tolower(*c));
    if (row.state == lumRowState::reserved) name = names.back();
    if (!names.empty() && names.size() < 396 && name < names.back()) {
      outOfOrder.push_back(row.name);
    }
    names.push_back(name);
  }
  EXPECT_THAT(outOfOrder, testing::ElementsAre("lumMserExtu8_v2ST", "lumMseru8_v2ST"));
  EXPECT_EQ(LUM_ROW_INFO[362].state, lumRowState::reserved);
  EXPECT_EQ(LUM_ROW_INFO[363].state, lumRowState::reserved);
  EXPECT_STREQ(LUM_ROW_INFO[394].name, "lumWarpPerspectiveu8");
  EXPECT_STREQ(LUM_ROW_INFO[396].name, "lumAddScalarf32");
  EXPECT_STREQ(LUM_ROW_INFO[505].name, "lumWarpPerspectiveu8_v4");
  EXPECT_EQ(std::set(names.begin(), names.end()).size(), LUM_ROW_COUNT - 2);
}

TEST(Table, ListsEachRemoteFunctionOnce) {
  const std::set<std::string> remote = {
#define LUM_REMOTE(name) #name,
#define LUM_REMOTE_INTERNAL(name) #name,
#include "lumenRemote.def"
  };
  EXPECT_EQ(remote.size(), LUM_REMOTE_COUNT);
  for (const char* name : {"lumFilterCorr3x3s8_v2", "lumCopy", "lumBGCodeBookClearStaleu8",
                           "probeZ6Time", "lumAbsDiffVc4f32"}) {
    EXPECT_TRUE(remote.contains(name)) << name;
  }
}

TEST(Table, StartsWithReferencesInFourColumns) {
  LUM_NEEDS_OWN_PROCESS();
  std::vector<lumAnyFunction> expected(LUM_ROW_COUNT * LUM_IMPL_COUNT);
  for (const lumBuiltRow& built : lumBuiltRows()) {
    EXPECT_NE(built.vector, built.reference) << LUM_ROW_INFO[built.row].name;
    std::fill_n(&expected[built.row * LUM_IMPL_COUNT], 4, built.reference);
  }
  for (uint32_t row = 0; row < LUM_ROW_COUNT; ++row) {
    if (LUM_ROW_INFO[row].state != lumRowState::reference) continue;
    EXPECT_NE(lumTableCell(row, LUM_IMPL_CPU), nullptr) << LUM_ROW_INFO[row].name;
    std::fill_n(&expected[row * LUM_IMPL_COUNT], 4, lumTableCell(row, LUM_IMPL_CPU));
  }
  for (uint32_t row = 0; row < LUM_ROW_COUNT; ++row) {
    for (uint32_t column = 0; column < LUM_IMPL_COUNT; ++column) {
      EXPECT_EQ(lumTableCell(row, column), expected[row * LUM_IMPL_COUNT + column])
          << LUM_ROW_INFO[row].name << " " << LUM_IMPL_NAME[column];
    }
  }
  EXPECT_THAT(LUM_IMPL_INDEX, testing::Each(LUM_IMPL_CPU));
  EXPECT_THAT(LUM_INTERNAL_IMPL_INDEX, testing::Each(LUM_IMPL_CPU));
  EXPECT_THAT(LUM_IMPL_NAME, testing::ElementsAre(testing::StrEq("CPU"), testing::StrEq("VORTA"),
                                                  testing::StrEq("ZDSP"), testing::StrEq("GPU"),
                                                  testing::StrEq("ADSP"), testing::StrEq("CDSP"),
                                                  testing::StrEq("MDSP")));
  EXPECT_EQ(LUM_INTERNAL_FUNC_TABLE.probeZ6Time.column[LUM_IMPL_GPU](1, 8), 0u);
  EXPECT_EQ(LUM_INTERNAL_FUNC_TABLE.lumRegisterBuf.column[LUM_IMPL_ZDSP]("x", 1), 0);
  EXPECT_TRUE(lumSmallImage().absDiff());
}

}  // namespace
