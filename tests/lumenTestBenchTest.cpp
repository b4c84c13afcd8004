#include "lumenTestBench.h"

#include <cmath>
#include <map>

#include "lumenTable.h"
#include "lumenTestBenchCalls.h"
#include "lumenTestConfig.h"
#include "lumenTestExtras.h"
#include "lumenTestRecord.h"
#include "lumenTestStatistics.h"
#include "lumenTestSupport.h"

namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;

// A function that notes how it is called.
struct Noted {
  std::map<uint32_t, unsigned int> callsOfColumn;
  std::vector<uint32_t> turns;  // columns, each time that another one is called
  bool hasVaried = true, isFinite = true;
} noted;

void note(const LUMEN_TEST_Arguments& a) {
  const uint32_t column = LUM_IMPL_INDEX[LUM_FN_lumAbsDiffu8];
  ++noted.callsOfColumn[column];
  if (noted.turns.empty() || noted.turns.back() != column) noted.turns.push_back(column);
  const auto* bytes = a.as<const uint8_t>(0);
  noted.hasVaried &= bytes[0] != bytes[1] || bytes[1] != bytes[2] || bytes[2] != bytes[3];
  for (uint32_t i = 0; i < a.width; ++i) {
    const float value = a.as<const float>(1)[i];
    noted.isFinite &= std::abs(value) <= 1000 && (value == 0 || std::isnormal(value));
  }
  std::memcpy(a.image[2], a.image[0], a.width);
}

constexpr LUMEN_TEST_Image kImages[] = {
    {.name = "a", .type = LUMEN_TEST_Type::u8},
    {.name = "b", .type = LUMEN_TEST_Type::f32},
    {.name = "dst", .type = LUMEN_TEST_Type::u8, .isWritten = true},
};
constexpr LUMEN_TEST_Description kNoted = {.name = "lumNoted",
                                           .id = LUMEN_FUNC_lumAbsDiffu8,
                                           .scripts = {"none", "none", false},
                                           .images = kImages,
                                           .scalars = {},
                                           .call = note};

std::string bench(const LUMEN_TEST_Description& description, double seconds,
                  std::vector<unsigned int> slots) {
  noted = {};
  lumenTestExtras.benchSeconds = seconds;
  lumenTestRunConfig.resolution = 3;
  return standardOutputOf([&] { LUMEN_TEST_BenchSlots(description, slots); });
}

std::vector<double> upTo(size_t count) {
  std::vector<double> values;
  for (size_t i = 0; i < count; ++i) values.push_back(static_cast<double>(i));
  return values;
}

}  // namespace

TEST(Statistics, DoNotMindOrderAndOutliers) {
  // Sorted 1 2 3 4 1000; deviations from 3: 0 1 1 2 997.
  const LUMEN_TEST_Statistics odd = LUMEN_TEST_StatisticsOf(std::vector<double>{4, 1000, 1, 3, 2});
  EXPECT_EQ(odd.count, 5u);
  EXPECT_EQ(odd.min, 1);
  EXPECT_EQ(odd.median, 3);
  EXPECT_DOUBLE_EQ(odd.rmad, 1.0 / 3);
  EXPECT_DOUBLE_EQ(odd.p95, 4 + 0.8 * 996);
  // Sorted 2 4 8 10; deviations from 6: 2 2 4 4.
  const LUMEN_TEST_Statistics even = LUMEN_TEST_StatisticsOf(std::vector<double>{10, 2, 8, 4});
  EXPECT_EQ(even.median, 6);
  EXPECT_EQ(even.rmad, 0.5);
  EXPECT_DOUBLE_EQ(even.p95, 9.7);
}

TEST(Statistics, StandOnFewSamples) {
  const LUMEN_TEST_Statistics one = LUMEN_TEST_StatisticsOf(std::vector<double>{7});
  EXPECT_EQ(one.count, 1u);
  EXPECT_EQ(one.min, 7);
  EXPECT_EQ(one.median, 7);
  EXPECT_EQ(one.p95, 7);
  EXPECT_EQ(one.rmad, 0);
  const LUMEN_TEST_Statistics none = LUMEN_TEST_StatisticsOf({});
  EXPECT_EQ(none.count, 0u);
  EXPECT_EQ(none.min + none.median + none.p95 + none.rmad, 0);
  EXPECT_EQ(LUMEN_TEST_StatisticsOf(std::vector<double>{0, 0, 0, 5}).rmad, 0);
  EXPECT_EQ(LUMEN_TEST_Percentile(upTo(11), 0), 0);
  EXPECT_EQ(LUMEN_TEST_Percentile(upTo(11), 100), 10);
}

TEST(Statistics, ThinEvenly) {
  EXPECT_THAT(LUMEN_TEST_Thinned(upTo(10), 4), ElementsAre(0, 2, 5, 7));
  EXPECT_THAT(LUMEN_TEST_Thinned(upTo(3), 4), ElementsAre(0, 1, 2));
  EXPECT_TRUE(LUMEN_TEST_Thinned({}, 4).empty());

  constexpr size_t kMost = LUMEN_TEST_Samples::kMost;
  LUMEN_TEST_Samples samples;
  for (const double value : upTo(3 * kMost)) samples.add(value);
  // Halved when the first kMost had come, and again after twice as many; every fourth is left.
  ASSERT_EQ(samples.values().size(), 3 * kMost / 4);
  for (size_t i = 0; i < samples.values().size(); ++i) {
    ASSERT_EQ(samples.values()[i], 4 * static_cast<double>(i));
  }
}

TEST(BenchCalls, AreRepeatedUntilTheyTakeLongEnough) {
  const LUMEN_TEST_Arguments arguments = {};
  static unsigned int calls;
  calls = 0;
  const auto count = [](const LUMEN_TEST_Arguments&) { ++calls; };
  EXPECT_GE(LUMEN_TEST_TimeCalls(count, arguments, 1000), 0);
  EXPECT_EQ(calls, 1000u);
  const uint32_t batch = LUMEN_TEST_CalibrateBatch(count, arguments, 1e6);
  EXPECT_GT(batch, 1u);
  EXPECT_GE(calls, 1000 + batch);
  EXPECT_EQ(
      LUMEN_TEST_CalibrateBatch([](const LUMEN_TEST_Arguments&) { usleep(2000); }, arguments, 1e6),
      1u);
  EXPECT_GE(LUMEN_TEST_CalibrateBatch(LUMEN_TEST_CallNothing, arguments, 0), 1u);
  EXPECT_GT(LUMEN_TEST_ClockStep(), 0);
}

TEST(BenchCalls, EvictWithoutChange) {
  std::vector<uint8_t> bytes(10000);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 7);
  const std::vector<uint8_t> before = bytes;
  const std::span<const uint8_t> all = bytes,
                                 blocks[] = {all.subspan(3, 5001), {}, all.subspan(9999)};
  LUMEN_TEST_Evict(blocks);
  LUMEN_TEST_Evict({});
  EXPECT_EQ(bytes, before);
}

TEST(Bench, TakesTurnsAmongTheSlots) {
  LUM_NEEDS_OWN_PROCESS();
  const std::string lines = bench(kNoted, 0.2, {LUMEN_TEST_SLOT_VORTA, LUMEN_TEST_SLOT_C});
  EXPECT_EQ(LUM_IMPL_INDEX[LUM_FN_lumAbsDiffu8], uint32_t{LUM_IMPL_CPU});  // of the last slot
  EXPECT_EQ(noted.callsOfColumn.size(), 2u);
  EXPECT_TRUE(noted.callsOfColumn.contains(LUM_IMPL_VORTA));
  EXPECT_GT(noted.turns.size(), 4u);
  EXPECT_TRUE(noted.hasVaried);
  EXPECT_TRUE(noted.isFinite);

  const std::string figures =
      ": min [0-9]+\\.[0-9], median [0-9]+\\.[0-9], p95 [0-9]+\\.[0-9] ns, rmad [0-9]+\\.[0-9] %, "
      "[0-9]+ samples, [0-9]+\\.[0-9]{4} ns/pixel(, unstable)?\n";
  std::string expected;
  for (const char* name : {"V bench hot", "V bench flushed", "C bench hot", "C bench flushed"}) {
    expected += std::string("LUMEN_PROFILE, lumNoted_") + name + " 239x161" + figures;
  }
  EXPECT_THAT(lines, testing::MatchesRegex(expected));
}

TEST(Bench, HasFiguresForTheLeastTimeAndLeavesRandAlone) {
  std::srand(5);
  const int expected = std::rand();
  std::srand(5);
  const std::string lines = bench(kNoted, 1e-9, {LUMEN_TEST_SLOT_C});
  EXPECT_EQ(std::rand(), expected);
  EXPECT_THAT(lines, ContainsRegex("C bench hot [^\n]*, 1 samples, [^\n]*, unstable\n"));
  EXPECT_THAT(lines, ContainsRegex("C bench flushed [^\n]*, 1 samples, [^\n]*, unstable\n"));
  EXPECT_EQ(bench(kNoted, 1, {}), "");
}

TEST(Bench, LeavesOutWhatMemoryDoesNotHold) {
  static constexpr LUMEN_TEST_Image images[] = {
      {.name = "a", .type = LUMEN_TEST_Type::u8, .channels = 1u << 24}};
  LUMEN_TEST_Description huge = kNoted;
  huge.images = images;
  RecordedLog log;
  EXPECT_EQ(bench(huge, 0.001, {LUMEN_TEST_SLOT_C}), "");
  EXPECT_EQ(log.take().back(), "D/lumen_test: Out of memory...Allocating lumNoted\n");
  EXPECT_TRUE(noted.callsOfColumn.empty());
}

TEST(Bench, IsRecordedWithItsSamples) {
  const TempDirectory directory;
  lumenTestExtras.json = directory.path() + "/run.json";
  ASSERT_TRUE(LUMEN_TEST_OpenRecords(0, nullptr));
  bench(kNoted, 0.05, {LUMEN_TEST_SLOT_C});
  LUMEN_TEST_CloseRecords(0);
  const std::string record = textOf(lumenTestExtras.json);
  lumenTestExtras = {};
  for (const char* state : {"hot", "flushed"}) {
    EXPECT_THAT(record,
                ContainsRegex("\\{\"type\":\"bench\",\"module\":\"\",\"function\":"
                              "\"lumNoted\",\"slot\":\"C\",\"width\":239,\"height\":161,"
                              "\"state\":\"" +
                              std::string(state) +
                              "\",\"min\":[0-9.e+-]+,\"median\":[0-9.e+-]+,"
                              "\"p95\":[0-9.e+-]+,\"rmad\":[0-9.e+-]+,\"count\":[0-9]+,"
                              "\"batch\":[0-9]+,\"unstable\":(true|false),"
                              "\"nsPerPixel\":[0-9.e+-]+,\"samples\":\\[[0-9.e,+-]+\\]\\}"));
  }
  EXPECT_THAT(record, HasSubstr("{\"type\":\"environment\",\"when\":\"before\""));
  EXPECT_THAT(record, HasSubstr("{\"type\":\"environment\",\"when\":\"after\""));
}
