// What tests of readers need: a folder of their own, and the log.

#ifndef LUMEN_TEST_FILES_H
#define LUMEN_TEST_FILES_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "lumenTestBuffer.h"
#include "platform/lumenPlatformHost.h"

// A folder that lives as long as this object.
class TempDirectory {
 public:
  TempDirectory() : path_(testing::TempDir() + "lumen." + std::to_string(getpid())) {
    std::filesystem::create_directories(path_);
  }
  ~TempDirectory() { std::filesystem::remove_all(path_); }
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  std::string write(const std::string& name, const std::string& content) const {
    std::ofstream(file(name), std::ios::binary) << content;
    return file(name);
  }

 private:
  std::string path_;
};

// Collects log records instead of printing them.
class LogCapture {
 public:
  LogCapture() : previous_(lumHostSetLogSink(collect)) { lines_.clear(); }
  ~LogCapture() { lumHostSetLogSink(previous_); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  // What was logged since the last call.
  std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
  static void collect(lumLogPriority priority, const char* tag, const char* text) {
    EXPECT_EQ(priority, LUM_LOG_DEBUG);
    EXPECT_STREQ(tag, "lumen_test");
    lines_.push_back(text);
  }
  static inline std::vector<std::string> lines_;
  lumLogSink previous_;
};

using Lines = std::vector<std::string>;

// All elements of a buffer, padding included.
template <class T>
std::vector<T> elementsOf(const LUMEN_TEST_Buffer& buffer) {
  const T* first = reinterpret_cast<const T*>(buffer.data());
  return {first, first + buffer.size() / sizeof(T)};
}

// A buffer of these elements whose region of interest is all of it.
template <class T>
void fillBuffer(LUMEN_TEST_Buffer& buffer, int stride, const std::vector<T>& elements,
                int perElement = 1) {
  const int height = static_cast<int>(elements.size()) / (stride * perElement);
  const int elemSize = perElement * static_cast<int>(sizeof(T));
  ASSERT_TRUE(buffer.Shape({stride, height, 0, 0, -1, -1, elemSize, 0}, LUMEN_MEM_HEAP, true));
  std::copy(elements.begin(), elements.end(), reinterpret_cast<T*>(buffer.data()));
}

#endif  // LUMEN_TEST_FILES_H
