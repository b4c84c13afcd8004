// The development host: log records, system properties, remote memory.

#include "platform/lumenPlatform.h"

#include "lumenTestSupport.h"

namespace {

std::string record(lumLogPriority priority, const char* tag, const char* text) {
  size_t length = 0;
  char* block = lumHostFormatRecord(priority, tag, text, length);
  const std::string copy(block, length);
  std::free(block);
  return copy;
}

TEST(Platform, WritesLogRecordsByLine) {
  EXPECT_EQ(record(LUM_LOG_DEBUG, "lumen_test", "text"), "D/lumen_test: text\n");
  EXPECT_EQ(record(LUM_LOG_ERROR, "t", "text\n"), "E/t: text\n");
  EXPECT_EQ(record(LUM_LOG_INFO, "t", ""), "I/t: \n");
  EXPECT_EQ(record(LUM_LOG_WARN, "t", "\n"), "W/t: \n");
  EXPECT_EQ(record(LUM_LOG_FATAL, "t", "one\n\nthree"), "F/t: one\nF/t: \nF/t: three\n");
  EXPECT_EQ(record(LUM_LOG_VERBOSE, "t", "one\n\n"), "V/t: one\nV/t: \n");

  testing::internal::CaptureStderr();
  lumLog(LUM_LOG_DEBUG, "lumen_test", "%s%05d\n", "n", 42);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "D/lumen_test: n00042\n");
}

TEST(Platform, LogsTextOfAnyLength) {
  RecordedLog log;
  for (size_t length : {511u, 512u, 513u, 5000u}) {
    const std::string text(length, 'x');
    lumLog(LUM_LOG_DEBUG, "t", "%s", text.c_str());
    EXPECT_THAT(log.take(), testing::ElementsAre("D/t: " + text));
  }
}

std::string property(const char* name) {
  char value[LUM_PROPERTY_SIZE] = "old";
  lumSystemProperty(name, value);
  return value;
}

TEST(Platform, ReadsProperties) {
  LUM_NEEDS_OWN_PROCESS();
  lumGiveProperties("a=1\r\nb=x=y \nempty=\nno property\n=nameless\nlong=" + std::string(200, 'l') +
                    "\nb=last");
  EXPECT_EQ(property("a"), "1");
  EXPECT_EQ(property("b"), "last");
  EXPECT_EQ(property("empty"), "");
  EXPECT_EQ(property("missing"), "");
  EXPECT_EQ(property("no property"), "");
  EXPECT_EQ(property("long"), std::string(91, 'l'));
}

TEST(Platform, DoesWithoutPropertyFile) {
  LUM_NEEDS_OWN_PROCESS();
  setenv("LUMEN_SYSTEM_PROPERTIES", testing::TempDir().c_str(), 1);  // a directory
  EXPECT_EQ(property("a"), "");
}

TEST(Platform, TakesRemoteMemoryFromTheHeapWithoutNexcall) {
  LUM_NEEDS_OWN_PROCESS();
  auto* block = static_cast<uint8_t*>(lumRemoteMemAlloc(25, 1, 100));
  ASSERT_TRUE(block);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % static_cast<uintptr_t>(sysconf(_SC_PAGESIZE)), 0u);
  std::fill_n(block, 100, uint8_t{1});
  lumRemoteMemFree(block);
  lumRemoteMemFree(nullptr);
}

TEST(Platform, OpensLibrariesByName) {
  EXPECT_EQ(lumOpenLibrary("libnothing-of-this-name.so"), nullptr);
  void* library = lumOpenLibrary(lumStandinPath("adspold", "liblumenadsp_stub.so").c_str());
  ASSERT_TRUE(library);
  EXPECT_TRUE(lumSymbol<void(void*, int)>(library, "lum_cache_flush_invalidateQ"));
  EXPECT_FALSE(lumSymbol<void()>(library, "lumCheckMemoryLeaksQ"));
  EXPECT_EQ(dlclose(library), 0);
}

}  // namespace
