// The first line of a record: what was run, where and how it was built.

#ifndef LUMEN_TEST_RECORD_RUN_H
#define LUMEN_TEST_RECORD_RUN_H

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct LUMEN_TEST_RunFacts {
  std::time_t started = 0;
  std::vector<std::string> arguments;
  std::optional<unsigned int> seed;
  std::optional<uint32_t> hardwareMask;
};

LUMEN_TEST_RunFacts LUMEN_TEST_StartRun(int argc, const char* const* argv);
void LUMEN_TEST_WriteRun(const LUMEN_TEST_RunFacts& facts);

// The processor by the words of /proc/cpuinfo: its model, on ARM also the device and the part
// numbers of its cores.
std::string LUMEN_TEST_ProcessorName(std::string_view cpuinfo);

// An id that the linker makes of the program's code and data; empty when it made none.
std::string LUMEN_TEST_BuildId();

#endif  // LUMEN_TEST_RECORD_RUN_H
