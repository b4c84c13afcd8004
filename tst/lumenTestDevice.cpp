#include "lumenTestDevice.h"

#include <cstring>

#include "lumen/lumenControl.h"
#include "lumenShared.h"
#include "lumenTestConfig.h"
#include "lumenTestLog.h"
#include "lumenTestShell.h"

namespace {

const char* loaderError() {
  const char* text = dlerror();
  return text ? text : "";
}

struct SkelLibrary {
  const char* name;
  const char* alternative;  // serves as well; null when nothing else does
  const char* missing;
};
constexpr SkelLibrary kSkelLibraries[] = {
    {"libhostmem_heap.so", nullptr, "libhostmem_heap.so"},
    {"libdspaux_skel.so", nullptr, "libdspaux_skel.so"},
    {"liblumenadsp.so", nullptr, "liblumenadsp.so"},
    {"liblumendsp_skel.so", "liblumenadsp_skel.so",
     "Either liblumenadsp_skel.so or liblumendsp_skel.so"},
};

template <class F>
bool bind(F*& function, const char* symbol) {
  function = lumSymbol<F>(lumenTestRunConfig.stubHandle, symbol);
  if (!function) LUMEN_TEST_Log("Unable to find symbol %s\n", symbol);
  return function != nullptr;
}

}  // namespace

void lumtest_print_ver() {
  LUMEN_TEST_Log("lumtest_print_ver: E");
  constexpr uint32_t kLength = 8;
  char version[kLength + 1] = {};  // ends in a zero whatever a library writes
  lumGetVersion(version, kLength);
  LUMEN_TEST_Log("Static-Lib version: %s\n", version);

  void* handle = lumOpenSharedBuild();
  LUMEN_TEST_Log("handle: %p\n", handle);
  if (!handle) {
    LUMEN_TEST_Log("Shared-Lib version: %s, %s\n", "-None-", loaderError());
    return;
  }
  if (auto* getVersion = lumSymbol<void(char*, uint32_t)>(handle, "lumGetVersion")) {
    getVersion(version, kLength);
    LUMEN_TEST_Log("Shared-Lib version: %s , handle: %p\n", version, handle);
  } else {
    LUMEN_TEST_Log("Error while retrieving %s\n", "Shared-Lib version!!!");
  }
  LUMEN_TEST_Log("After If condition:lumtest_print_ver");
  dlclose(handle);
  LUMEN_TEST_Log("lumtest_print_ver: X");
}

void check_skel_libs(const char* command) {
  LUMEN_TEST_Shell shell(command);
  if (!shell.isStarted()) {
    LUMEN_TEST_Log("Failed to run command or skel libs path doesn't exist\n");
    std::exit(0);
  }
  constexpr int kMaxLines = 50;
  char listing[3000] = "", line[2999];
  for (int i = 0; i < kMaxLines && shell.readLine(line); ++i) {
    std::strncat(listing, line, sizeof(listing) - 1 - std::strlen(listing));
  }

  const char* directory = std::strchr(command, '/');
  if (!directory) {
    std::printf("LUMEN_PROFILE, skel_libs_path %s is empty \n", command);
    return;
  }
  for (const SkelLibrary& library : kSkelLibraries) {
    if (std::strstr(listing, library.name)) continue;
    if (library.alternative && std::strstr(listing, library.alternative)) continue;
    std::printf("LUMEN_PROFILE, Missing skel libs in :%s: %s not found \n", directory,
                library.missing);
    shell.close();
    std::exit(0);
  }
  LUMEN_TEST_Log("All the skel libs in :%s:  are present ", directory);
}

void lumtest_adspstub_open() {
  constexpr const char* kStubLibrary = "liblumenadsp_stub.so";
  LUMEN_TEST_RunConfig& config = lumenTestRunConfig;
  config.stubHandle = lumOpenLibrary(kStubLibrary);
  if (!config.stubHandle) {
    LUMEN_TEST_Log("Unable to open %s\n", kStubLibrary);
    return;
  }
  if (bind(config.flushFn, "lum_cache_flush_invalidateQ")) {
    bind(config.leakCheckFn, "lumCheckMemoryLeaksQ");
  }
}

void lumtest_adspstub_close() {
  LUMEN_TEST_RunConfig& config = lumenTestRunConfig;
  if (config.leakCheckFn) config.leakCheckFn();
  if (config.stubHandle) dlclose(config.stubHandle);
  config.flushFn = nullptr;
  config.leakCheckFn = nullptr;
  config.stubHandle = nullptr;
}
