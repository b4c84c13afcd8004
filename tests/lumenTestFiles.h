// What tests of buffers and readers share: the log as texts, and buffers with given elements.

#ifndef LUMEN_TEST_FILES_H
#define LUMEN_TEST_FILES_H

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "lumenTestBuffer.h"
#include "lumenTestDriverSupport.h"

using Lines = std::vector<std::string>;

// Catches the log: the texts that the test program logged since they were last taken.
class LogCapture {
 public:
  Lines take() {
    const std::string prefix = "D/lumen_test: ";
    Lines lines = std::exchange(CapturedLog::lines(), {});
    for (std::string& line : lines) {
      EXPECT_EQ(line.substr(0, prefix.size()), prefix);
      line.erase(0, prefix.size());
    }
    return lines;
  }

 private:
  CapturedLog captured_;
};

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
