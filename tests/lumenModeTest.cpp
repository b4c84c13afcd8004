// Operation modes on a device without the optional shared build.

#include "lumenMode.h"

#include <cstring>

#include "lumenEntry.h"
#include "lumenTestSupport.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr lumOperationMode kTarget = LUM_OP_TARGET_FLAG;

TEST(Mode, SelectsEachRowAnew) {
  const struct {
    lumOperationMode mode;
    int32_t status;
    uint32_t impl;
    bool forcedRemote;
  } kCases[] = {
      {LUMEN_OP_LOW_POWER, 0, LUM_IMPL_VORTA, false},
      {kTarget | LUMEN_UNIT_ARM, 0, LUM_IMPL_CPU, false},
      {LUMEN_OP_PERFORMANCE, 0, LUM_IMPL_VORTA, false},
      {4, 0, LUM_IMPL_CPU, false},
      {LUMEN_OP_CPU_OFFLOAD, 0, LUM_IMPL_VORTA, false},
      {kTarget - 1, 0, LUM_IMPL_CPU, false},
      {LUMEN_OP_CPU_PERFORMANCE, 0, LUM_IMPL_VORTA, false},
      {kTarget | 1, 0, LUM_IMPL_VORTA, false},
      {kTarget | LUMEN_UNIT_VORTA, 0, LUM_IMPL_VORTA, false},
      {kTarget | LUMEN_UNIT_ZDSP, 0, LUM_IMPL_VORTA, true},
      {kTarget | LUMEN_UNIT_GPU, 0, LUM_IMPL_VORTA, false},
      {kTarget | LUMEN_UNIT_ZDSP_TEST, 0, LUM_IMPL_VORTA, true},
      {kTarget | LUMEN_UNIT_FPGA, -1, LUM_IMPL_VORTA, false},
      {kTarget, -1, LUM_IMPL_VORTA, false},
      {kTarget | 6, -1, LUM_IMPL_VORTA, false},
  };
  lumGiveProcessor(LUM_PHONE);
  RecordedLog log;
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.mode);
    std::fill_n(LUM_IMPL_INDEX, LUM_ROW_COUNT, 6);
    std::fill_n(LUM_INTERNAL_IMPL_INDEX, LUM_INTERNAL_ROW_COUNT, 6);
    std::fill_n(LUM_AVAILABILITY, LUM_ROW_COUNT, 0x10);
    EXPECT_EQ(lumSetOperationMode(test.mode), test.status);
    EXPECT_EQ(LUM_ENTRY_SWITCHES.forcedRemote, test.forcedRemote);
    EXPECT_THAT(LUM_AVAILABILITY, testing::Each(0x11));

    // The reserved rows and lumRegisterBuf keep what they have.
    std::vector<uint32_t> expected(LUM_ROW_COUNT, LUM_IMPL_CPU);
    for (const lumBuiltRow& built : lumBuiltRows()) expected[built.row] = test.impl;
    expected[362] = expected[363] = 6;
    EXPECT_THAT(LUM_IMPL_INDEX, testing::ElementsAreArray(expected));
    std::vector<uint32_t> internal(LUM_INTERNAL_ROW_COUNT, LUM_IMPL_CPU);
    internal[LUM_INTERNAL_FN_lumRegisterBuf] = 6;
    internal[LUM_INTERNAL_FN_lumColorRGB888ToRGB565Rotate180u8] = test.impl;
    internal[LUM_INTERNAL_FN_lumColorYUV420toRGB565u8Rotate180] = test.impl;
    EXPECT_THAT(LUM_INTERNAL_IMPL_INDEX, testing::ElementsAreArray(internal));
    for (const lumBuiltRow& built : lumBuiltRows()) {
      EXPECT_EQ(lumTableCell(built.row, LUM_IMPL_CPU), built.reference);
      for (uint32_t column : {1u, 2u, 3u}) EXPECT_EQ(lumTableCell(built.row, column), built.vector);
      for (uint32_t column : {4u, 5u, 6u}) EXPECT_EQ(lumTableCell(built.row, column), nullptr);
    }
    EXPECT_TRUE(lumSmallImage().absDiff());
  }
  EXPECT_THAT(log.take(), IsEmpty());
}

TEST(Mode, MovesRestrictedDevicesToTheProcessor) {
  lumProcessor processor = LUM_PHONE;
  processor.restricted = true;
  lumGiveProcessor(processor);
  RecordedLog log;
  EXPECT_EQ(lumSetOperationMode(kTarget | LUMEN_UNIT_ARM), 0);
  EXPECT_EQ(LUM_IMPL_INDEX[LUM_FN_lumAbsDiffu8], LUM_IMPL_CPU);
  EXPECT_THAT(log.take(), IsEmpty());
  for (lumOperationMode mode :
       {kTarget | LUMEN_UNIT_ZDSP, kTarget | LUMEN_UNIT_FPGA, lumOperationMode{9}}) {
    EXPECT_EQ(lumSetOperationMode(mode), 0);
    EXPECT_EQ(LUM_IMPL_INDEX[LUM_FN_lumAbsDiffu8], LUM_IMPL_VORTA);
    EXPECT_FALSE(LUM_ENTRY_SWITCHES.forcedRemote);
    EXPECT_THAT(log.take(), ElementsAre("E/lumen_lib_log: DSP and GPU not present. Setting LUMEN "
                                        "mode to LUMEN_OP_CPU_PERFORMANCE.\n"));
  }
  LUM_PROCESSOR = LUM_PHONE;
}

TEST(Mode, LogsCallsWhenThePropertySaysSo) {
  LUM_NEEDS_OWN_PROCESS();
  lumGiveProperties("vendor.runtime.lumen.log=7 yes\n");
  RecordedLog log;
  lumSmallImage image;
  EXPECT_TRUE(image.absDiff());
  EXPECT_THAT(log.take(), IsEmpty());
  EXPECT_EQ(lumSetOperationMode(LUMEN_OP_CPU_PERFORMANCE), 0);
  EXPECT_TRUE(image.absDiff());
  EXPECT_EQ(lumSetOperationMode(kTarget | LUMEN_UNIT_ARM), 0);
  EXPECT_TRUE(image.absDiff());
  EXPECT_THAT(log.take(), ElementsAre("E/lumen_runtime_log: lumAbsDiffu8_VORTA",
                                      "E/lumen_runtime_log: lumAbsDiffu8_CPU"));
}

// The builders write the column that they are given and no other.
TEST(Mode, FillsOneColumn) {
  lumFuncTable before;
  std::memcpy(&before, &LUM_FUNC_TABLE, sizeof(before));
  uVTable(LUM_IMPL_MDSP);
  uCTable(LUM_IMPL_CDSP);
  for (const lumBuiltRow& built : lumBuiltRows()) {
    EXPECT_EQ(lumTableCell(built.row, LUM_IMPL_MDSP), built.vector);
    EXPECT_EQ(lumTableCell(built.row, LUM_IMPL_CDSP), built.reference);
  }
  const auto* cells = reinterpret_cast<const lumAnyFunction*>(&before);
  for (uint32_t row = 0; row < LUM_ROW_COUNT; ++row) {
    for (uint32_t column = 0; column < LUM_IMPL_CDSP; ++column) {
      EXPECT_EQ(lumTableCell(row, column), cells[row * LUM_IMPL_COUNT + column]);
    }
  }
  EXPECT_EQ(LUM_INTERNAL_FUNC_TABLE.probeZ6Time.column[LUM_IMPL_CDSP], probeZ6TimeC);
  std::memcpy(&LUM_FUNC_TABLE, &before, sizeof(before));
}

// LUMEN_VECTOR_TARGET limits the choice to one instruction set of this machine.
TEST(Mode, ChoosesTheVectorTarget) {
  RecordedLog log;
  unsetenv("LUMEN_VECTOR_TARGET");
  const auto best = lumChooseVectorTarget();
  ASSERT_TRUE(best);
  setenv("LUMEN_VECTOR_TARGET", "", 1);
  EXPECT_EQ(lumChooseVectorTarget(), best);
  EXPECT_THAT(log.take(), IsEmpty());
  for (uint32_t target = 0; target < LUM_VECTOR_TARGET_COUNT; ++target) {
    setenv("LUMEN_VECTOR_TARGET", LUM_VECTOR_TARGET_NAME[target], 1);
    const bool arm = *best == LUM_VECTOR_NEON;
    if (arm ? target == LUM_VECTOR_NEON : target <= *best) {
      EXPECT_EQ(lumChooseVectorTarget(), static_cast<lumVectorTarget>(target));
      EXPECT_THAT(log.take(), IsEmpty());
    } else {
      EXPECT_EQ(lumChooseVectorTarget(), best);
      EXPECT_EQ(log.take().size(), 1u);
    }
  }
  setenv("LUMEN_VECTOR_TARGET", "AVX2", 1);
  EXPECT_EQ(lumChooseVectorTarget(), best);
  EXPECT_THAT(
      log.take(),
      ElementsAre(testing::StartsWith("E/lumen_lib_log: ERROR: LUMEN_VECTOR_TARGET is \"AVX2\"")));
  unsetenv("LUMEN_VECTOR_TARGET");

  // A set without the best one gives the next below.
  void (*const below)(int) = [](int) {};
  void (*const fallback)(int) = [](int) {};
  lumVectorSet<void(int)> set = {};
  EXPECT_EQ(lumBestOf(set, fallback), fallback);
  set.target[*lumBestVectorTarget() == LUM_VECTOR_NEON ? LUM_VECTOR_NEON : LUM_VECTOR_SSE4] = below;
  EXPECT_EQ(lumBestOf(set, fallback), below);
}

}  // namespace
