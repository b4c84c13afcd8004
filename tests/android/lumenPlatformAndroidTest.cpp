// The library on Android's log and properties.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lumen/lumen.h"
#include "lumenAndroidSystem.h"
#include "platform/lumenPlatform.h"

namespace {

using testing::ElementsAre;

std::string property(const char* name) {
  char value[LUM_PROPERTY_SIZE] = "old";
  lumSystemProperty(name, value);
  return value;
}

TEST(Android, LogsToTheSystem) {
  lumAndroidLog.clear();
  lumLog(LUM_LOG_DEBUG, "lumen_test", "%s=>%d\n", "n", 42);
  lumLog(LUM_LOG_ERROR, "lumen_lib_log", "plain");
  EXPECT_THAT(lumAndroidLog, ElementsAre(lumAndroidRecord{3, "lumen_test", "n=>42\n"},
                                         lumAndroidRecord{6, "lumen_lib_log", "plain"}));
}

TEST(Android, ReadsTheSystemsProperties) {
  lumAndroidProperties = {{"a", "1"}, {"full", std::string(91, 'x')}};
  EXPECT_EQ(property("a"), "1");
  EXPECT_EQ(property("full"), std::string(91, 'x'));
  EXPECT_EQ(property("missing"), "");
}

TEST(Android, OpensLibraries) {
  EXPECT_EQ(lumOpenLibrary("libnothing-of-this-name.so"), nullptr);
  void* library = lumOpenLibrary(LUMEN_SOME_LIBRARY);
  ASSERT_TRUE(library) << dlerror();
  EXPECT_EQ(lumAndroidLibraryFlags, sizeof(void*) == 4 ? 0 : RTLD_NOW);
  EXPECT_TRUE(dlsym(library, "rpcmem_alloc"));
  EXPECT_EQ(dlclose(library), 0);
}

// Properties are read anew in each mode; a call's log follows.
TEST(Android, RunsTheLibrary) {
  const uint8_t a[4] = {1, 2, 3, 200}, b[4] = {4, 2, 1, 255};
  uint8_t difference[4] = {};
  lumAndroidLog.clear();
  for (const char* logging : {"0", "1", ""}) {
    lumAndroidProperties["vendor.runtime.lumen.log"] = logging;
    EXPECT_EQ(lumSetOperationMode(LUM_OP_TARGET_FLAG | LUMEN_UNIT_ARM), 0);
    lumAbsDiffu8(a, b, 4, 1, 0, difference, 0);
    EXPECT_THAT(difference, ElementsAre(3, 0, 2, 55));
  }
  lumAbsDiffu8(a, nullptr, 4, 1, 0, difference, 0);
  EXPECT_THAT(lumAndroidLog,
              ElementsAre(lumAndroidRecord{6, "lumen_runtime_log", "lumAbsDiffu8_CPU"},
                          lumAndroidRecord{6, "lumen_lib_log",
                                           "Assertion failed @lumAbsDiffu8: src1 && src2 && dst && "
                                           "srcWidth && srcHeight && (srcStride >= srcWidth) && "
                                           "dstStride\n"}));
}

}  // namespace
