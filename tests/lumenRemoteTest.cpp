// What the optional shared build does to the tables, and how calls then reach remote units.

#include "lumenRemote.h"

#include "lumenEntry.h"
#include "lumenMode.h"
#include "lumenTestSupport.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr lumOperationMode kTarget = LUM_OP_TARGET_FLAG;
constexpr uint32_t kAbsDiff = LUM_FN_lumAbsDiffu8;

// The remote rows of both tables: where they keep their index, and a column.
struct RemoteRow {
  const char* symbol;
  uint32_t* index;
  lumAnyFunction* columns;
};
std::vector<RemoteRow> remoteRows() {
  return {
#define LUM_REMOTE(name)                       \
  {#name "R_", &LUM_IMPL_INDEX[LUM_FN_##name], \
   reinterpret_cast<lumAnyFunction*>(&LUM_FUNC_TABLE.name)},
#define LUM_REMOTE_INTERNAL(name)                                \
  {#name "R_", &LUM_INTERNAL_IMPL_INDEX[LUM_INTERNAL_FN_##name], \
   reinterpret_cast<lumAnyFunction*>(&LUM_INTERNAL_FUNC_TABLE.name)},
#include "lumenRemote.def"
  };
}

class Remote : public testing::Test {
 protected:
  void SetUp() override { LUM_NEEDS_OWN_PROCESS(); }

  // The shared build's variable of that name.
  static lumAnyFunction& variable(const char* symbol) {
    return *static_cast<lumAnyFunction*>(dlsym(lumOpenSharedBuild(), symbol));
  }

  RecordedLog log;
  lumSmallImage image;
};

TEST_F(Remote, FillsTheTablesThroughTheManager) {
  lumStandinState& build = lumLoadSharedBuild("full");
  variable("lumAbsDiffVu8R_") = nullptr;
  EXPECT_EQ(lumSetOperationMode(LUMEN_OP_PERFORMANCE), 0);
  EXPECT_THAT(log.take(), IsEmpty());

  const LUM_FUNC_MANAGER& manager = *build.manager;
  EXPECT_EQ(build.managerInits, 1u);
  EXPECT_EQ(manager.implIndex, LUM_IMPL_INDEX);
  EXPECT_EQ(manager.rowCount, 506u);
  EXPECT_EQ(manager.table, &LUM_FUNC_TABLE);
  EXPECT_EQ(manager.internalImplIndex, LUM_INTERNAL_IMPL_INDEX);
  EXPECT_EQ(manager.internalRowCount, 16u);
  EXPECT_EQ(manager.internalTable, &LUM_INTERNAL_FUNC_TABLE);
  EXPECT_EQ(manager.implCount, 7u);
  EXPECT_THAT(build.fills, ElementsAre(0, 0, 1, 1, 0, 0, 0));
  EXPECT_EQ(build.remoteInits, 1u);
  EXPECT_EQ(build.remoteMode, lumOperationMode{LUMEN_OP_PERFORMANCE});

  uint32_t bound = 0;
  for (const RemoteRow& row : remoteRows()) {
    SCOPED_TRACE(row.symbol);
    if (row.symbol == std::string("lumAbsDiffVu8R_")) continue;
    bound += *row.index == LUM_IMPL_ZDSP && row.columns[LUM_IMPL_ZDSP] == variable(row.symbol);
  }
  EXPECT_EQ(bound, LUM_REMOTE_COUNT - 1);
  const auto& without = LUM_FUNC_TABLE.lumAbsDiffVu8;
  EXPECT_EQ(LUM_IMPL_INDEX[LUM_FN_lumAbsDiffVu8], LUM_IMPL_VORTA);
  EXPECT_EQ(without.column[LUM_IMPL_ZDSP], without.column[LUM_IMPL_VORTA]);
  EXPECT_EQ(LUM_IMPL_INDEX[LUM_FN_lumKDTreeCreate36s8f32], LUM_IMPL_CPU);  // never remote
  for (const lumBuiltRow& built : lumBuiltRows()) {
    EXPECT_EQ(lumTableCell(built.row, LUM_IMPL_CPU), built.reference);
    EXPECT_EQ(lumTableCell(built.row, LUM_IMPL_VORTA), built.vector);
  }
}

// A later mode puts the vector implementations back into column 2 and not into column 3, and resets
// every index but those of the reserved rows and of lumRegisterBuf.
TEST_F(Remote, IsTakenBackByLaterModes) {
  lumStandinState& build = lumLoadSharedBuild("full");
  const lumAnyFunction remote = variable("lumAbsDiffu8R_");
  const auto expectRow = [&](uint32_t index, lumAnyFunction zdsp, lumAnyFunction gpu) {
    EXPECT_EQ(LUM_IMPL_INDEX[kAbsDiff], index);
    EXPECT_EQ(lumTableCell(kAbsDiff, LUM_IMPL_ZDSP), zdsp);
    EXPECT_EQ(lumTableCell(kAbsDiff, LUM_IMPL_GPU), gpu);
    EXPECT_EQ(lumTableCell(LUM_FN_lumAbsDiffVu8, LUM_IMPL_VORTA),
              reinterpret_cast<lumAnyFunction>(lumBestOf(lumAbsDiffVu8V, lumAbsDiffVu8C)));
    EXPECT_TRUE(image.absDiff());
  };
  build.components = LUMEN_UNIT_ZDSP;
  EXPECT_EQ(lumSetOperationMode(kTarget | LUMEN_UNIT_ZDSP), 0);
  const lumAnyFunction vector = lumTableCell(kAbsDiff, LUM_IMPL_VORTA);
  EXPECT_TRUE(LUM_ENTRY_SWITCHES.forcedRemote);
  expectRow(LUM_IMPL_ZDSP, remote, vector);
  EXPECT_EQ(LUM_INTERNAL_IMPL_INDEX[LUM_INTERNAL_FN_probeZ6Time], LUM_IMPL_ZDSP);

  EXPECT_EQ(lumSetOperationMode(LUMEN_OP_CPU_PERFORMANCE), 0);
  EXPECT_FALSE(LUM_ENTRY_SWITCHES.forcedRemote);
  expectRow(LUM_IMPL_VORTA, vector, vector);
  for (uint32_t row = 0; row < LUM_ROW_COUNT; ++row) {
    EXPECT_TRUE(LUM_IMPL_INDEX[row] <= LUM_IMPL_VORTA || row == 362) << row;
  }
  EXPECT_EQ(LUM_IMPL_INDEX[362], LUM_IMPL_ZDSP);
  EXPECT_EQ(LUM_INTERNAL_IMPL_INDEX[LUM_INTERNAL_FN_probeZ6Time], LUM_IMPL_CPU);
  EXPECT_EQ(LUM_INTERNAL_IMPL_INDEX[LUM_INTERNAL_FN_lumRegisterBuf], LUM_IMPL_ZDSP);

  build.components = 0;
  EXPECT_EQ(lumSetOperationMode(kTarget | LUMEN_UNIT_GPU), 0);
  expectRow(LUM_IMPL_GPU, vector, remote);
  EXPECT_EQ(lumSetOperationMode(LUMEN_OP_CPU_PERFORMANCE), 0);
  expectRow(LUM_IMPL_VORTA, vector, remote);

  // Modes that ask the shared build and bind nothing by name: what uQTable wrote is not selected.
  build.components = LUMEN_UNIT_ZDSP;
  const uint32_t inits = build.remoteInits;
  EXPECT_EQ(lumSetOperationMode(4), 0);
  expectRow(LUM_IMPL_CPU, remote, remote);
  EXPECT_EQ(lumSetOperationMode(kTarget | LUMEN_UNIT_FPGA), -1);
  expectRow(LUM_IMPL_VORTA, remote, remote);
  EXPECT_EQ(lumSetOperationMode(kTarget | LUMEN_UNIT_ARM), 0);
  expectRow(LUM_IMPL_CPU, vector, remote);
  EXPECT_EQ(build.remoteInits, inits);
  EXPECT_THAT(build.fills, ElementsAre(0, 0, 3, 0, 0, 0, 0));
  EXPECT_EQ(build.managerInits, 7u);  // in every mode there was
}

// Calls through the public entry, in each remote column.
TEST_F(Remote, RunsCallsThatMeetTheDemands) {
  lumStandinState& build = lumLoadSharedBuild("full");
  EXPECT_EQ(lumSetOperationMode(kTarget | LUMEN_UNIT_ZDSP_TEST), 0);
  const auto isRemote = [&](uint32_t width, uint32_t srcStride, uint32_t dstStride,
                            uint32_t offset) {
    const uint32_t before = build.remoteCalls;
    EXPECT_TRUE(image.absDiff(width, srcStride, dstStride, offset));
    return build.remoteCalls - before;
  };
  for (uint32_t column : {LUM_IMPL_ZDSP, LUM_IMPL_ADSP, LUM_IMPL_CDSP, LUM_IMPL_MDSP}) {
    SCOPED_TRACE(column);
    LUM_IMPL_INDEX[kAbsDiff] = column;
    for (bool logged : {false, true}) {
      LUM_ENTRY_SWITCHES.watch = logged ? LUM_WATCH_LOG : 0;
      const std::string name = LUM_IMPL_NAME[column];
      EXPECT_EQ(isRemote(7, 16, 12, 4), 1u);
      EXPECT_EQ(isRemote(7, 8, 12, 0), 1u);
      EXPECT_EQ(log.take(),
                std::vector(logged ? 2 : 0, "E/lumen_runtime_log: lumAbsDiffu8_" + name));
      EXPECT_EQ(isRemote(8, 16, 16, 2), 0u);  // the address, then a stride, misses the demand
      EXPECT_EQ(isRemote(8, 18, 16, 0), 0u);
      EXPECT_EQ(isRemote(8, 16, 9, 0), 0u);
      EXPECT_EQ(log.take(), std::vector<std::string>(logged ? 6 : 0,
                                                     "E/lumen_runtime_log: lumAbsDiffu8_VORTA"));
    }
  }
  EXPECT_EQ(build.lastRow, kAbsDiff);

  EXPECT_EQ(lumSetOperationMode(kTarget | LUMEN_UNIT_GPU), 0);
  LUM_ENTRY_SWITCHES.watch = LUM_WATCH_LOG;
  EXPECT_EQ(isRemote(8, 17, 17, 1), 1u);
  EXPECT_EQ(isRemote(7, 16, 16, 0), 0u);
  EXPECT_THAT(log.take(), ElementsAre("E/lumen_runtime_log: lumAbsDiffu8_GPU",
                                      "E/lumen_runtime_log: lumAbsDiffu8_VORTA"));
  lumAbsDiffu8(nullptr, image.src2, 8, 1, 8, image.dst, 8);  // refused before it goes anywhere
  EXPECT_THAT(log.take(),
              ElementsAre("E/lumen_runtime_log: lumAbsDiffu8_VORTA",
                          StartsWith("E/lumen_lib_log: Assertion failed @lumAbsDiffu8: ")));

  // The other shape of entry.
  const uint32_t before = build.remoteCalls;
  lumAbsDiffVc3u8(image.src1, 1, 2, 3, 4, 2, 12, image.dst, 12);
  EXPECT_EQ(build.lastRow, uint32_t{LUM_FN_lumAbsDiffVc3u8});
  lumAbsDiffVc3u8(image.src1, 1, 2, 3, 4, 3, 12, image.dst, 12);
  EXPECT_EQ(build.remoteCalls, before + 1);
  EXPECT_EQ(image.dst[4], image.src1[4] - 2);
}

TEST_F(Remote, MakesDoWithAnOldSharedBuild) {
  lumStandinState& build = lumLoadSharedBuild("old");
  EXPECT_EQ(lumSetOperationMode(LUMEN_OP_LOW_POWER), 0);
  const auto missing = [](const char* text, const char* symbol) {
    return AllOf(StartsWith(text), HasSubstr(LUM_SHARED_BUILD),
                 HasSubstr(std::string("undefined symbol: ") + symbol));
  };
  EXPECT_THAT(
      log.take(),
      ElementsAre(missing("D/lumen_lib_log: Warning: AvailableHwComponent is (nil). ",
                          "lumAvailableHWComponent"),
                  StartsWith("D/lumen_lib_log: Warning: AvailableHwComponent is (nil). "),
                  missing("E/lumen_lib_log: plumInitializeMasterFuncManagerFn NULL ",
                          "lumInitializeMasterFuncManager\n"),
                  missing("E/lumen_lib_log: pTableFn uQTable (nil) ", "uQTable"),
                  missing("E/lumen_lib_log: pTableFn uGTable (nil) ", "uGTable"),
                  missing("E/lumen_lib_log: Error: uR pInitFn NULL. ", "lumInitRemoteLib")));
  EXPECT_EQ(build.hardwareCalls, 2u);
  EXPECT_EQ(LUM_IMPL_INDEX[kAbsDiff], LUM_IMPL_ZDSP);
  EXPECT_EQ(LUM_IMPL_INDEX[LUM_FN_lumAbsDiffs32], LUM_IMPL_VORTA);  // its entry point is null
  EXPECT_EQ(LUM_IMPL_INDEX[LUM_FN_lumAbsDifff32], LUM_IMPL_VORTA);  // it has none
  EXPECT_FALSE(image.absDiff());  // this one has no tables to forward a call through
  EXPECT_EQ(build.remoteCalls, 1u);
  lumCleanUp();  // of which it knows nothing
  EXPECT_FALSE(LUM_DSP_FLAGS.any());
  EXPECT_EQ(lumZ6GetClk(), 0u);
}

TEST_F(Remote, IsCleanedUpWhenThereWasAUnit) {
  lumStandinState& build = lumLoadSharedBuild("full");
  build.components = 0;
  EXPECT_EQ(lumSetOperationMode(LUMEN_OP_LOW_POWER), 0);
  lumCleanUp();
  EXPECT_EQ(build.cleanUps, 0u);
  for (uint32_t unit : {LUMEN_UNIT_ZDSP, LUMEN_UNIT_GPU}) {
    build.components = unit;
    EXPECT_EQ(lumSetOperationMode(LUMEN_OP_LOW_POWER), 0);
    EXPECT_EQ(LUM_DSP_FLAGS.zdsp, unit == LUMEN_UNIT_ZDSP);
    EXPECT_EQ(LUM_DSP_FLAGS.gpu, unit == LUMEN_UNIT_GPU);
    const uint32_t before = build.cleanUps;
    lumCleanUp();
    lumCleanUp();
    EXPECT_EQ(build.cleanUps, before + 1);
    EXPECT_FALSE(LUM_DSP_FLAGS.any());
  }
  // Tables and indices stay, and calls go on reaching the remote unit.
  EXPECT_EQ(LUM_IMPL_INDEX[kAbsDiff], LUM_IMPL_ZDSP);
  EXPECT_TRUE(image.absDiff());
  EXPECT_EQ(build.remoteCalls, 1u);
}

}  // namespace
