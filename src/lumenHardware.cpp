#include "lumenHardware.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include "lumenEntry.h"
#include "lumenShared.h"

constinit lumProcessor LUM_PROCESSOR = {};
constinit lumDspFlags LUM_DSP_FLAGS = {};
constinit lumSharedMem LUM_SHARED_MEM = {};

namespace {

struct FreeBlock {
  void operator()(char* block) const { std::free(block); }
};
using Field = std::unique_ptr<char, FreeBlock>;

Field fieldOf(const char* buffer, int length, const char* name) {
  return Field(extract_cpuinfo_field(buffer, length, name));
}

bool hasToken(std::string_view list, std::string_view token) {
  while (!list.empty()) {
    const size_t start = std::min(list.find_first_not_of(" \t"), list.size());
    list.remove_prefix(start);
    const size_t end = std::min(list.find_first_of(" \t"), list.size());
    if (list.substr(0, end) == token) return true;
    list.remove_prefix(end);
  }
  return false;
}

// Devices that have neither a usable DSP nor a usable GPU.
constexpr const char* kRestrictedDevices[] = {"TARNA21", "TARNA23", "TARNA25", "BOREAL"};

// Platforms whose shared build works although the processor's implementer is another.
constexpr const char* kSupportedPlatforms[] = {"kor", "kem", "kyl", "kad"};

constexpr uint32_t kImplementerA = 0x41, kImplementerQ = 0x51;

constexpr char kVersion[] = "1.7.1";

// Whether the shared build has the same major version as this library.
bool hasSameMajorVersion(void* library) {
  using GetVersion = void(char* version, uint32_t length);
  auto* getVersion = lumSymbol<GetVersion>(library, "lumGetVersion");
  if (!getVersion) return false;
  char version[8] = {};
  getVersion(version, sizeof(version));
  version[sizeof(version) - 1] = '\0';

  int own[3], other[3];
  return std::sscanf(kVersion, "%d.%d.%d", &own[0], &own[1], &own[2]) == 3 &&
         std::sscanf(version, "%d.%d.%d", &other[0], &other[1], &other[2]) == 3 &&
         own[0] == other[0];
}

// The units that the shared build reports. An older one knows no modes.
uint32_t queryComponents(void* library, lumOperationMode mode) {
  if (auto* query = lumSymbol<uint32_t(lumOperationMode)>(library, "lumAvailableHWComponent")) {
    return query(mode);
  }
  lumLog(LUM_LOG_DEBUG, "lumen_lib_log", "Warning: AvailableHwComponent is %p. %s",
         static_cast<void*>(nullptr), dlerror());
  if (auto* query = lumSymbol<uint32_t()>(library, "lumAvailableHardware")) return query();
  lumLog(LUM_LOG_ERROR, "lumen_lib_log", "Error: AvailableHw is %p. %s",
         static_cast<void*>(nullptr), dlerror());
  return 0;
}

void bindSharedMem(void* library) {
  if (auto* alloc = lumStoredSymbol<void*(uint32_t, uint32_t)>(library, "lumSharedMemAllocR_")) {
    LUM_SHARED_MEM.alloc = alloc;
  }
  if (auto* free = lumStoredSymbol<int(void*)>(library, "lumSharedMemFreeR_")) {
    LUM_SHARED_MEM.free = free;
  }
}

bool mayUseRemoteUnits(lumOperationMode mode) {
  constexpr lumOperationMode kTarget = LUM_OP_TARGET_FLAG;
  return mode != (kTarget | 1) && mode != (kTarget | LUMEN_UNIT_ARM) &&
         mode != (kTarget | LUMEN_UNIT_VORTA) && mode != LUMEN_OP_CPU_PERFORMANCE;
}

}  // namespace

char* extract_cpuinfo_field(const char* buffer, int length, const char* field) {
  const std::string_view text(buffer, length > 0 ? static_cast<size_t>(length) : 0);
  const std::string_view name(field);
  size_t hit = text.find(name);
  while (hit != std::string_view::npos && hit != 0 && text[hit - 1] != '\n') {
    hit = text.find(name, hit + name.size());
  }
  if (hit == std::string_view::npos || name.empty()) return nullptr;

  const size_t colon = text.find(':', hit + name.size());
  if (colon == std::string_view::npos || colon + 1 >= text.size() || text[colon + 1] != ' ') {
    return nullptr;
  }
  std::string_view value = text.substr(colon + 2);
  value = value.substr(0, value.find('\n'));
  char* copy = static_cast<char*>(std::malloc(value.size() + 1));
  if (!copy) return nullptr;
  copy[value.copy(copy, value.size())] = '\0';
  return copy;
}

lumProcessor lumParseCpuinfo(const char* buffer, int length) {
  lumProcessor processor = {};
  if (const Field level = fieldOf(buffer, length, "CPU architecture")) {
    char* end = nullptr;
    const long value = std::strtol(level.get(), &end, 10);
    if (end != level.get() && value >= 7) processor.features |= LUM_FEATURE_ARMV7;
  }
  if (const Field implementer = fieldOf(buffer, length, "CPU implementer")) {
    processor.implementer = static_cast<uint32_t>(std::strtoul(implementer.get(), nullptr, 0));
  }
  if (const Field features = fieldOf(buffer, length, "Features")) {
    const std::string_view list(features.get());
    if (hasToken(list, "vfp") || hasToken(list, "fp")) processor.features |= LUM_FEATURE_VFP;
    if (hasToken(list, "neon") || hasToken(list, "asimd")) processor.features |= LUM_FEATURE_NEON;
  }
  if (const Field hardware = fieldOf(buffer, length, "Hardware")) {
    for (const char* device : kRestrictedDevices) {
      if (std::strstr(hardware.get(), device)) processor.restricted = true;
    }
  }
  return processor;
}

void lum_android_cpuInit() {
  LUM_PROCESSOR = {};
  const int file = open("/proc/cpuinfo", O_RDONLY | O_CLOEXEC);
  if (file >= 0) {
    // A single read: what lies beyond its bytes is not seen.
    char text[4096];
    ssize_t length;
    do {
      length = read(file, text, sizeof(text));
    } while (length < 0 && errno == EINTR);
    close(file);
    if (length > 0) LUM_PROCESSOR = lumParseCpuinfo(text, static_cast<int>(length));
  }
  LUM_PROCESSOR.probed = true;
}

void lumProbeProcessor() {
  static pthread_once_t once = PTHREAD_ONCE_INIT;
  pthread_once(&once, lum_android_cpuInit);
}

void lumReadRuntimeLogSwitch() {
  char value[LUM_PROPERTY_SIZE];
  lumSystemProperty("vendor.runtime.lumen.log", value);
  uint8_t& watch = LUM_ENTRY_SWITCHES.watch;
  watch = static_cast<uint8_t>((watch & ~LUM_WATCH_LOG) | (std::atoi(value) ? LUM_WATCH_LOG : 0));
}

uint32_t lumAvailableHardware(lumOperationMode mode) {
  lumProbeProcessor();
  lumReadRuntimeLogSwitch();

  uint32_t mask = LUMEN_UNIT_ARM;
  uint32_t implementer = LUM_PROCESSOR.implementer;
  if (implementer != kImplementerA && implementer != kImplementerQ) {
    char platform[LUM_PROPERTY_SIZE];
    lumSystemProperty("ro.board.platform", platform);
    for (const char* supported : kSupportedPlatforms) {
      if (std::strncmp(platform, supported, 3) == 0) implementer = kImplementerQ;
    }
  }
  const bool supportedFamily = implementer == kImplementerA || implementer == kImplementerQ;
  if (supportedFamily) mask |= LUM_HW_FAMILY;
  if (LUM_PROCESSOR.features & LUM_FEATURE_NEON) mask |= LUMEN_UNIT_VORTA;
  if (LUM_PROCESSOR.features & LUM_FEATURE_VFP) mask |= LUMEN_UNIT_VFP;
  if (LUM_PROCESSOR.features & LUM_FEATURE_ARMV7) mask |= LUMEN_UNIT_ARMV7;
  if (!supportedFamily || !mayUseRemoteUnits(mode)) return mask;

  // The handles are kept: what they bind stays in use.
  void* forVersion = lumOpenSharedBuild();
  if (forVersion && hasSameMajorVersion(forVersion)) mask |= LUM_HW_SHARED_BUILD;
  uint32_t components = 0;
  if (void* library = lumOpenSharedBuild()) {
    components = queryComponents(library, mode);
    bindSharedMem(library);
  }
  LUM_DSP_FLAGS.zdsp = (components & LUMEN_UNIT_ZDSP) != 0;
  LUM_DSP_FLAGS.gpu = (components & LUMEN_UNIT_GPU) != 0;
  return mask | components;
}

void lumGetVersion(char* version, uint32_t length) {
  if (!version) return;
  if (length < sizeof(kVersion)) std::memset(version, 0, length);
  else std::memcpy(version, kVersion, sizeof(kVersion));
}

uint64_t lumZ6GetClk() {
  void* library = lumOpenSharedBuild();
  if (!library) return 0;
  auto* getClock = lumSymbol<uint64_t()>(library, "lumZ6GetClk");
  return getClock ? getClock() : 0;
}
