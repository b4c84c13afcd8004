#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "lumen/lumenControl.h"
#include "lumenTestConfig.h"
#include "lumenTestDevice.h"
#include "lumenTestShell.h"
#include "lumenTestToInt.h"

const LUMEN_TEST_ClockCommand LUMEN_TEST_BUMP_COMMANDS[LUMEN_TEST_BUMP_COMMAND_COUNT] = {
    {"stop mpdecision 2>&1", "ERROR: popen \"stop mpdecision\" error\n"},
#define ONLINE(cpu)                                         \
  {                                                         \
    "echo 1 > /sys/devices/system/cpu/" cpu "/online 2>&1", \
        "ERROR: popen setting " cpu " online error\n"       \
  }
    ONLINE("cpu1"),
    ONLINE("cpu2"),
    ONLINE("cpu3"),
#define PERFORMANCE(cpu)                                                                \
  {                                                                                     \
    "echo performance > /sys/devices/system/cpu/" cpu "/cpufreq/scaling_governor 2>&1", \
        "ERROR: popen setting " cpu " frequency scaling_governor to performance\n"      \
  }
    PERFORMANCE("cpu0"),
    PERFORMANCE("cpu1"),
    PERFORMANCE("cpu2"),
    PERFORMANCE("cpu3"),
};
#undef ONLINE
#undef PERFORMANCE

namespace {

constexpr size_t kLineSize = 99;

constexpr int kClockSlots = 8;
struct ClockText {
  char text[15] = "NA";
};

// Processors whose clock cannot be read, and those that do not exist, keep "NA".
void readProcessorClocks(ClockText (&clocks)[kClockSlots]) {
  const long online = sysconf(_SC_NPROCESSORS_ONLN);
  for (int cpu = 0; cpu < std::min<long>(online, kClockSlots); ++cpu) {
    char command[70], line[kLineSize];
    std::snprintf(command, sizeof(command),
                  "cat /sys/devices/system/cpu/cpu%d/cpufreq/cpuinfo_cur_freq 2>&1", cpu);
    LUMEN_TEST_Shell shell(command);
    shell.endProcessUnlessStarted();
    if (shell.readLine(line)) {
      std::snprintf(clocks[cpu].text, sizeof(clocks[cpu].text), "%d", LUMEN_TEST_ToInt(line));
    } else {
      LUMEN_TEST_Log("LUMEN_TEST, ERROR: Reading ARM cpu%d clock failed\n", cpu);
    }
  }
}

long long readBusClock(LUMEN_TEST_Shell& shell, const char* failure) {
  ClockText clock = {""};
  char line[kLineSize];
  if (shell.readLine(line)) {
    std::snprintf(clock.text, sizeof(clock.text), "%.14s", line);
  } else {
    LUMEN_TEST_Log("LUMEN_TEST, ERROR: %s\n", failure);
  }
  return std::atoll(clock.text);
}

// A clock as the DSP monitor prints it: a label of 16 characters, a number and its unit.
struct DspClock {
  char line[30] = "";
  const char* value = "N";

  explicit DspClock(const char* command) {
    constexpr size_t kLabelLength = 16;
    LUMEN_TEST_Shell shell(command);
    shell.endProcessUnlessStarted();
    if (!shell.readLine(line)) return;
    char* unit = std::strstr(line, "MHz\n");
    if (!unit) return;
    unit[3] = '\0';
    if (std::strlen(line) > kLabelLength) value = line + kLabelLength;
  }
  DspClock(const DspClock&) = delete;
  DspClock& operator=(const DspClock&) = delete;
};

bool hasDspMonitor() {
  LUMEN_TEST_Shell shell("ls /data/ | grep dspstat");
  shell.endProcessUnlessStarted();
  char name[10] = "";
  shell.readLine(name);
  name[std::strcspn(name, "\n")] = '\0';
  return std::strcmp(name, "dspstat") == 0;
}

void printDspClocks(long long bimc, long long snoc) {
  if (!hasDspMonitor()) {
    LUMEN_TEST_Log("Dspstat not found and ZDSP clk may be Invalid");
    std::printf("LUMEN_PROFILE,         ZDSP clk : %llu, bimc_clk: %lld, snoc_clk: %lld\n",
                static_cast<unsigned long long>(lumZ6GetClk()), bimc, snoc);
    return;
  }
  const DspClock adsp("/data/dspstat getstate --z6 adsp | grep \"DSP Core clock\"");
  const DspClock cdsp("/data/dspstat getstate --z6 cdsp | grep \"DSP Core clock\"");
  std::printf(
      "LUMEN_PROFILE,         ADSP clk (Dspstat): %s,CDSP clk (Dspstat): %s,"
      "ZDSP clk : %llu, bimc_clk: %lld, snoc_clk: %lld\n",
      adsp.value, cdsp.value, static_cast<unsigned long long>(lumZ6GetClk()), bimc, snoc);
}

}  // namespace

void LUMEN_TEST_RunClockCommands(std::span<const LUMEN_TEST_ClockCommand> commands) {
  for (const LUMEN_TEST_ClockCommand& command : commands) {
    LUMEN_TEST_Shell shell(command.command);
    shell.endProcessUnlessStarted();
    char line[kLineSize];
    if (shell.readLine(line)) LUMEN_TEST_Log("%s", command.message);
    if (&command != &commands.back()) shell.leaveOpen();
  }
}

void lumtest_bump_arm_clk() { LUMEN_TEST_RunClockCommands(LUMEN_TEST_BUMP_COMMANDS); }

void lumtest_dump_clocks() {
  ClockText cpu[kClockSlots];
  readProcessorClocks(cpu);

  LUMEN_TEST_Shell bimcShell("cat /sys/kernel/debug/clk/bimc_clk/measure 2>&1");
  bimcShell.endProcessUnlessStarted();
  const long long bimc = readBusClock(bimcShell, "Reading bimc_clk failed");
  LUMEN_TEST_Shell snocShell("cat /sys/kernel/debug/clk/snoc_clk/measure 2>&1");
  const long long snoc = readBusClock(snocShell, "Reading snoc_clk failed");

  std::printf("LUMEN_PROFILE, CLOCKS: ARM cpu0: %s, cpu1: %s, cpu2: %s, cpu3: %s\n", cpu[0].text,
              cpu[1].text, cpu[2].text, cpu[3].text);
  std::printf("LUMEN_PROFILE,             cpu4: %s, cpu5: %s, cpu6: %s, cpu7: %s\n", cpu[4].text,
              cpu[5].text, cpu[6].text, cpu[7].text);

  const LUMEN_TEST_RunConfig& config = lumenTestRunConfig;
  if (config.targetZDSP || config.modeLowPower || config.modePerformance || config.modeCpuOffload) {
    printDspClocks(bimc, snoc);
  }
}
