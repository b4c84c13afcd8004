// The processor probe, the hardware mask, the version and the clocks.

#include "lumenHardware.h"

#include <sys/time.h>

#include "lumenTestSupport.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr lumOperationMode kTarget = LUM_OP_TARGET_FLAG;

lumProcessor parse(const std::string& text) {
  return lumParseCpuinfo(text.data(), static_cast<int>(text.size()));
}

std::string field(const std::string& text, const char* name) {
  char* value = extract_cpuinfo_field(text.data(), static_cast<int>(text.size()), name);
  const std::string copy = value ? std::string("=").append(value) : "none";
  std::free(value);
  return copy;
}

TEST(Hardware, FindsFieldsAtTheStartOfALine) {
  EXPECT_EQ(field("Hardware\t: Board X\nmore", "Hardware"), "=Board X");
  EXPECT_EQ(field("a: b\nHardware : \n", "Hardware"), "=");
  EXPECT_EQ(field("x Hardware: no\nHardware: yes", "Hardware"), "=yes");  // up to the end
  EXPECT_EQ(field("x Hardware: no\n", "Hardware"), "none");
  EXPECT_EQ(field("Hardware:Board", "Hardware"), "none");  // no blank after the colon
  EXPECT_EQ(field("Hardware:", "Hardware"), "none");
  EXPECT_EQ(field("Hardware", "Hardware"), "none");
  EXPECT_EQ(field("Hardware\nnext: value\n", "Hardware"), "=value");  // the next colon, wherever
  EXPECT_EQ(field("", "Hardware"), "none");
  EXPECT_EQ(extract_cpuinfo_field("Hardware: x", -1, "Hardware"), nullptr);
}

TEST(Hardware, ReadsWhatTheProcessorIs) {
  const struct {
    const char* text;
    uint32_t features;
    uint32_t implementer;
    bool restricted;
  } kCases[] = {
      {"", 0, 0, false},
      {"Features\t: half thumb fastmult vfp edsp neon vfpv3\n", 6, 0, false},
      {"Features\t: fp asimd evtstrm\n", 6, 0, false},
      {"Features\t: \t neon\tvfp", 6, 0, false},
      {"Features\t: vfpv4 neonx xfp asimddp\n", 0, 0, false},
      {"CPU architecture: 7\n", 1, 0, false},
      {"CPU architecture: 8\nCPU implementer\t: 0x51\n", 1, 0x51, false},
      {"CPU architecture: 6TEJ\nCPU implementer\t:0x51\n", 0, 0, false},
      {"CPU architecture: AArch64\nCPU implementer\t: 65\n", 0, 65, false},
      {"Hardware\t: Maker, TARNA21 board\n", 0, 0, true},
      {"Hardware\t: TARNA22\n", 0, 0, false},
      {"Hardware\t: TARNA23\n", 0, 0, true},
      {"Hardware\t: xTARNA25x\n", 0, 0, true},
      {"model: 1\nHardware\t: BOREAL\n", 0, 0, true},
      {"Board\t: BOREAL\n", 0, 0, false},
  };
  for (const auto& test : kCases) {
    const lumProcessor processor = parse(test.text);
    EXPECT_EQ(processor.features, test.features) << test.text;
    EXPECT_EQ(processor.implementer, test.implementer) << test.text;
    EXPECT_EQ(processor.restricted, test.restricted) << test.text;
  }
}

TEST(Hardware, ProbesThisMachine) {
  LUM_NEEDS_OWN_PROCESS();
  EXPECT_FALSE(LUM_PROCESSOR.probed);
  EXPECT_NE(lumAvailableHardware(LUMEN_OP_CPU_PERFORMANCE) & LUMEN_UNIT_ARM, 0u);
  EXPECT_TRUE(LUM_PROCESSOR.probed);
  FILE* file = std::fopen("/proc/cpuinfo", "r");
  ASSERT_TRUE(file);
  std::string text(4096, '\0');
  text.resize(fread(text.data(), 1, text.size(), file));
  std::fclose(file);
  EXPECT_EQ(LUM_PROCESSOR.features, parse(text).features);
  EXPECT_EQ(LUM_PROCESSOR.implementer, parse(text).implementer);
}

class HardwareMask : public testing::Test {
 protected:
  void SetUp() override { LUM_NEEDS_OWN_PROCESS(); }
  RecordedLog log;
};

TEST_F(HardwareMask, AsksTheSharedBuildOnlyWhenTheModeMayUseIt) {
  lumStandinState& build = lumLoadSharedBuild("full");
  build.components = LUMEN_UNIT_ZDSP | LUMEN_UNIT_DMA;
  constexpr uint32_t kOwn = 2 | 4 | 128 | 256 | 0x800;
  for (lumOperationMode mode :
       {uint32_t{LUMEN_OP_CPU_PERFORMANCE}, kTarget | 1, kTarget | 2, kTarget | 4}) {
    EXPECT_EQ(lumAvailableHardware(mode), kOwn);
  }
  EXPECT_EQ(build.versionCalls + build.componentCalls, 0u);
  for (lumOperationMode mode :
       {0u, 1u, 2u, 4u, kTarget, kTarget | 8, kTarget | 32, kTarget | 1024}) {
    EXPECT_EQ(lumAvailableHardware(mode), kOwn | 0x1000 | 8 | 512);
    EXPECT_EQ(build.queriedMode, mode);
  }
  EXPECT_EQ(build.versionLength, 8u);
  EXPECT_TRUE(LUM_DSP_FLAGS.zdsp);
  EXPECT_FALSE(LUM_DSP_FLAGS.gpu);
  // A mode that does not ask leaves the flags alone, one that does rewrites them.
  lumAvailableHardware(LUMEN_OP_CPU_PERFORMANCE);
  EXPECT_TRUE(LUM_DSP_FLAGS.zdsp);
  build.components = LUMEN_UNIT_GPU;
  lumAvailableHardware(LUMEN_OP_LOW_POWER);
  EXPECT_FALSE(LUM_DSP_FLAGS.zdsp);
  EXPECT_TRUE(LUM_DSP_FLAGS.gpu);
  EXPECT_TRUE(LUM_SHARED_MEM.alloc && LUM_SHARED_MEM.free);
  EXPECT_EQ(lumZ6GetClk(), LUM_STANDIN_CLOCK);

  // Each feature on its own, and processors of other families.
  LUM_PROCESSOR = {
      .probed = true, .features = LUM_FEATURE_NEON, .implementer = 0x41, .restricted = {}};
  EXPECT_EQ(lumAvailableHardware(LUMEN_OP_CPU_PERFORMANCE), 2u | 4 | 0x800);
  LUM_PROCESSOR.features = LUM_FEATURE_VFP;
  EXPECT_EQ(lumAvailableHardware(LUMEN_OP_CPU_PERFORMANCE), 2u | 128 | 0x800);
  LUM_PROCESSOR.features = LUM_FEATURE_ARMV7;
  LUM_PROCESSOR.implementer = 0x42;
  EXPECT_EQ(lumAvailableHardware(LUMEN_OP_LOW_POWER), 2u | 256);
  EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(HardwareMask, ComparesMajorVersions) {
  lumStandinState& build = lumLoadSharedBuild("full");
  build.components = 0;
  const struct {
    const char* version;
    bool same;
  } kCases[] = {{"1.7.1", true}, {"1.0.99", true},  {"2.7.1", false},     {"1.7", false},
                {"", false},     {"v1.7.1", false}, {"1.12.345678", true}};
  for (const auto& test : kCases) {
    build.version = test.version;
    EXPECT_EQ((lumAvailableHardware(LUMEN_OP_LOW_POWER) & 0x1000) != 0, test.same) << test.version;
  }
}

TEST_F(HardwareMask, TakesAnOldSharedBuildsWord) {
  lumStandinState& build = lumLoadSharedBuild("old");
  build.components = LUMEN_UNIT_GPU;
  EXPECT_EQ(lumAvailableHardware(LUMEN_OP_LOW_POWER) & (8 | 32 | 0x1000), 32u | 0x1000);
  EXPECT_TRUE(LUM_DSP_FLAGS.gpu);
  EXPECT_FALSE(LUM_SHARED_MEM.alloc || LUM_SHARED_MEM.free);
}

TEST_F(HardwareMask, ReportsASharedBuildWithoutSymbols) {
  lumLoadSharedBuild("bare");
  LUM_DSP_FLAGS = {.zdsp = true, .gpu = true};
  EXPECT_EQ(lumAvailableHardware(LUMEN_OP_LOW_POWER), 2u | 4 | 128 | 256 | 0x800);
  EXPECT_FALSE(LUM_DSP_FLAGS.any());
  EXPECT_THAT(
      log.take(),
      ElementsAre(AllOf(StartsWith("D/lumen_lib_log: Warning: AvailableHwComponent is (nil). "),
                        HasSubstr("undefined symbol: lumAvailableHWComponent")),
                  AllOf(StartsWith("E/lumen_lib_log: Error: AvailableHw is (nil). "),
                        HasSubstr("undefined symbol: lumAvailableHardware"))));
  EXPECT_EQ(lumZ6GetClk(), 0u);
}

// Four names of platforms make up for the processor's implementer, and only with their first three
// characters.
TEST_F(HardwareMask, KnowsSupportedPlatforms) {
  lumGiveProperties("ro.board.platform=kadena\n");
  lumLoadSharedBuild("full").components = LUMEN_UNIT_ZDSP;
  LUM_PROCESSOR.implementer = 0;
  EXPECT_EQ(lumAvailableHardware(LUMEN_OP_CPU_PERFORMANCE) & 0x800, 0x800u);
  EXPECT_EQ(lumAvailableHardware(LUMEN_OP_LOW_POWER) & (8 | 0x800), 8u | 0x800);
}

TEST_F(HardwareMask, KnowsUnsupportedPlatforms) {
  lumGiveProperties("ro.board.platform=ka\n");
  lumStandinState& build = lumLoadSharedBuild("full");
  LUM_PROCESSOR.implementer = 0x69;
  EXPECT_EQ(lumAvailableHardware(LUMEN_OP_LOW_POWER), 2u | 4 | 128 | 256);
  EXPECT_EQ(build.componentCalls, 0u);
}

TEST_F(HardwareMask, DoesWithoutASharedBuild) {
  lumGiveProcessor(LUM_PHONE);
  LUM_DSP_FLAGS = {.zdsp = true, .gpu = true};
  EXPECT_EQ(lumAvailableHardware(LUMEN_OP_LOW_POWER), 2u | 4 | 128 | 256 | 0x800);
  EXPECT_FALSE(LUM_DSP_FLAGS.any());
  EXPECT_EQ(lumZ6GetClk(), 0u);
  EXPECT_THAT(log.take(), IsEmpty());
}

TEST(Hardware, TellsVersionAndTime) {
  for (uint32_t length : {0u, 1u, 5u, 6u, 8u}) {
    char version[8];
    std::fill_n(version, 8, 'x');
    lumGetVersion(version, length);
    const std::string expected = length < 6 ? std::string(length, '\0') : std::string("1.7.1", 6);
    EXPECT_EQ(std::string(version, 8), expected + std::string(8 - expected.size(), 'x'));
  }
  lumGetVersion(nullptr, 8);

  timeval now;
  gettimeofday(&now, nullptr);
  const int64_t before = int64_t{now.tv_sec} * 1000000 + now.tv_usec, time = lumGetTime();
  EXPECT_GE(time, before);
  EXPECT_LT(time, before + 60'000'000);
}

}  // namespace
