#include "lumenTestRecordRun.h"

#include <elf.h>
#include <link.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>

#include "lumen/lumenControl.h"
#include "lumenTestRecord.h"
#include "lumenVector.h"

namespace {

constexpr int kSchema = 1;

#ifdef __clang__
constexpr const char* kCompiler = __VERSION__;
#else
constexpr const char* kCompiler = "GCC " __VERSION__;
#endif

#ifndef LUMEN_BUILD_TYPE  // not told by the build
#define LUMEN_BUILD_TYPE ""
#endif

std::string textOf(const char* path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

std::string versionOf() {
  char version[16] = {};
  lumGetVersion(version, sizeof(version));
  return version;
}

std::string utcOf(std::time_t time) {
  char text[32] = "";
  std::tm parts = {};
  if (gmtime_r(&time, &parts)) std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

std::string_view trimmed(std::string_view text) {
  constexpr const char* kBlanks = " \t\r";
  const size_t first = std::min(text.find_first_not_of(kBlanks), text.size());
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

// The values of the lines "field : value", each once.
std::vector<std::string_view> valuesOf(std::string_view cpuinfo, std::string_view field) {
  std::vector<std::string_view> values;
  while (!cpuinfo.empty()) {
    const std::string_view line = cpuinfo.substr(0, cpuinfo.find('\n'));
    cpuinfo.remove_prefix(std::min(line.size() + 1, cpuinfo.size()));
    const size_t colon = line.find(':');
    if (colon == line.npos || trimmed(line.substr(0, colon)) != field) continue;
    const std::string_view value = trimmed(line.substr(colon + 1));
    if (value.empty() || std::find(values.begin(), values.end(), value) != values.end()) continue;
    values.push_back(value);
  }
  return values;
}

// The emulator shows a program its own /proc/self, but the machine's other files.
bool isEmulated(std::string_view cpuinfo) {
  char path[512] = "";
  const ssize_t length = readlink("/proc/thread-self/exe", path, sizeof(path) - 1);
  if (length > 0) {
    const char* name = std::strrchr(path, '/');
    if (name && std::strncmp(name, "/qemu-", 6) == 0) return true;
  }
#if defined(__arm__) || defined(__aarch64__)
  return !valuesOf(cpuinfo, "vendor_id").empty();
#else
  return !valuesOf(cpuinfo, "CPU implementer").empty();
#endif
}

size_t aligned(size_t size, size_t alignment) { return (size + alignment - 1) & ~(alignment - 1); }

// The description of the note that the linker's id is in.
std::string_view buildIdIn(std::string_view notes, size_t alignment) {
  constexpr std::string_view kOwner("GNU", 4);  // with its zero
  ElfW(Nhdr) header;
  while (notes.size() >= sizeof(header)) {
    std::memcpy(&header, notes.data(), sizeof(header));
    notes.remove_prefix(sizeof(header));
    const size_t name = aligned(header.n_namesz, alignment);
    const size_t size = header.n_descsz;
    if (name > notes.size() || size > notes.size() - name) break;
    if (header.n_type == NT_GNU_BUILD_ID && notes.substr(0, header.n_namesz) == kOwner) {
      return notes.substr(name, size);
    }
    notes.remove_prefix(std::min(name + aligned(size, alignment), notes.size()));
  }
  return {};
}

// Of the first object, which is the program.
int findBuildId(dl_phdr_info* info, size_t, void* found) {
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const auto& header = info->dlpi_phdr[i];
    if (header.p_type != PT_NOTE) continue;
    const auto* start = reinterpret_cast<const char*>(info->dlpi_addr + header.p_vaddr);
    const size_t alignment = header.p_align == 8 ? 8 : 4;
    const std::string_view id = buildIdIn({start, header.p_memsz}, alignment);
    if (id.empty()) continue;
    *static_cast<std::string_view*>(found) = id;
    break;
  }
  return 1;
}

}  // namespace

std::string LUMEN_TEST_ProcessorName(std::string_view cpuinfo) {
  constexpr struct {
    std::string_view field, prefix;
  } kFields[] = {{"model name", ""}, {"Hardware", ""}, {"CPU part", "CPU part "}};
  std::string name;
  for (const auto& [field, prefix] : kFields) {
    for (const std::string_view value : valuesOf(cpuinfo, field)) {
      ((name += name.empty() ? "" : ", ") += prefix) += value;
    }
  }
  return name;
}

std::string LUMEN_TEST_BuildId() {
  std::string_view id;
  dl_iterate_phdr(findBuildId, &id);
  std::string text;
  for (const char byte : id) {
    char digits[3];
    std::snprintf(digits, sizeof(digits), "%02x", static_cast<unsigned int>(byte) & 0xFF);
    text += digits;
  }
  return text;
}

LUMEN_TEST_RunFacts LUMEN_TEST_StartRun(int argc, const char* const* argv) {
  LUMEN_TEST_RunFacts facts;
  facts.started = std::time(nullptr);
  for (int i = 0; i < argc; ++i) facts.arguments.emplace_back(argv[i]);
  return facts;
}

void LUMEN_TEST_WriteRun(const LUMEN_TEST_RunFacts& facts) {
  constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();
  const auto orUnknown = [](const auto& value) {
    return value ? static_cast<double>(*value) : kUnknown;
  };
  const std::string cpuinfo = textOf("/proc/cpuinfo");
  const std::optional<lumVectorTarget> target = lumBestVectorTarget();
  utsname system = {};
  uname(&system);

  LUMEN_TEST_JsonLine line("run");
  line.integer("schema", kSchema)
      .text("version", versionOf())
      .text("started", utcOf(facts.started))
      .texts("arguments", facts.arguments);
  if (const char* options = std::getenv("LUMEN_TEST_OPTS")) line.text("options", options);
  line.number("seed", orUnknown(facts.seed))
      .text("machine", system.machine)
      .text("system", std::string(system.sysname) + " " + system.release)
      .text("host", system.nodename)
      .text("cpu", LUMEN_TEST_ProcessorName(cpuinfo))
      .integer("cpus", sysconf(_SC_NPROCESSORS_ONLN))
      .text("compiler", kCompiler)
      .text("buildType", LUMEN_BUILD_TYPE)
      .text("build", LUMEN_TEST_BuildId())
      .text("vectorTarget", target ? LUM_VECTOR_TARGET_NAME[*target] : "none")
      .number("hardwareMask", orUnknown(facts.hardwareMask))
      .boolean("emulated", isEmulated(cpuinfo));
}
