// One function for each reader of test data: gives it a file with the bytes of `input` and returns
// null, or what is wrong with what it made of them. The libFuzzer targets and the unit tests' own
// short run of mutated files share these.

#ifndef LUMEN_READER_FUZZ_H
#define LUMEN_READER_FUZZ_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

#include "lumenTestData.h"
#include "lumenTestImage.h"
#include "lumenTestLines.h"
#include "lumenTestScript.h"

namespace lumenFuzz {

using Entry = const char* (*)(std::string_view input);

// Where the seeds of a reader are; also the data directory of the scripts among them.
inline std::string seedDirectory() { return LUMEN_FUZZ_SEEDS; }

// A file in memory with a name, gone with the object.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view content) : descriptor_(memfd_create("lumenFuzz", 0)) {
    if (descriptor_ < 0) std::abort();
    for (size_t done = 0; done < content.size();) {
      const ssize_t written = write(descriptor_, content.data() + done, content.size() - done);
      if (written <= 0) std::abort();
      done += static_cast<size_t>(written);
    }
    path_ = "/proc/self/fd/" + std::to_string(descriptor_);
  }
  ~MemoryFile() { close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  const char* path() const { return path_.c_str(); }

 private:
  int descriptor_;
  std::string path_;
};

// Touches everything that the buffer says that it holds.
inline unsigned int sumOf(const LUMEN_TEST_Buffer& buffer) {
  unsigned int sum = std::accumulate(buffer.data(), buffer.data() + buffer.size(), 0u);
  if (const uint8_t* row = buffer.roi<const uint8_t>()) {
    const size_t elemSize = static_cast<size_t>(buffer.shape().elemSize);
    for (uint32_t y = 0; y < buffer.roiHeight(); ++y, row += buffer.strideBytes()) {
      sum = std::accumulate(row, row + buffer.roiWidth() * elemSize, sum);
    }
  }
  return sum;
}

// What every reader of buffers promises; `success` is its result when it succeeds.
template <class Read>
const char* checkBufferReader(std::string_view input, Read read) {
  const MemoryFile file(input);
  LUMEN_TEST_Buffer first, second;
  // A buffer in use must end as an empty one does.
  if (!second.Shape({5, 5, 0, 0, 5, 5, 1, 0}, LUMEN_MEM_HEAP, true)) return "no memory";
  const int result = read(file.path(), first);
  if (read(file.path(), second) != result) return "the result depends on the buffer";
  if (result != 0) {
    return first.data() || second.data() ? "a failed reader left its buffer filled" : nullptr;
  }
  const LUMEN_TEST_Buffer::MemShape_& shape = first.shape();
  const uint64_t bytes = static_cast<uint64_t>(shape.stride) * static_cast<uint64_t>(shape.height) *
                         static_cast<uint64_t>(shape.elemSize);
  if (bytes != first.size()) return "the buffer's size is not that of its shape";
  return sumOf(first) == sumOf(second) ? nullptr : "two reads differ";
}

inline const char* dataOf(std::string_view input, const char* tag, size_t valueSize) {
  return checkBufferReader(input, [=](const char* path, LUMEN_TEST_Buffer& buffer) {
    return LUMEN_TEST_ReadDataBuffer(path, buffer, LUMEN_MEM_HEAP, tag, valueSize);
  });
}

inline const char* data(std::string_view input) {
  if (const char* wrong = dataOf(input, "unsigned_char", 1)) return wrong;
  if (const char* wrong = dataOf(input, "short", 2)) return wrong;
  return dataOf(input, "float", 4);
}

template <class T>
const char* csvOf(std::string_view input) {
  return checkBufferReader(input, [](const char* path, LUMEN_TEST_Buffer& buffer) {
    return LUMEN_TEST_ReadCsvBuffer<T>(path, buffer, LUMEN_MEM_HEAP);
  });
}

inline const char* csv(std::string_view input) {
  if (const char* wrong = csvOf<unsigned char>(input)) return wrong;
  if (const char* wrong = csvOf<float>(input)) return wrong;
  return csvOf<unsigned long long>(input);
}

inline const char* structs(std::string_view input) {
  return checkBufferReader(input, [](const char* path, LUMEN_TEST_Buffer& buffer) {
    return LUMEN_TEST_ReadStructBuffer(path, buffer, LUMEN_MEM_HEAP);
  });
}

inline const char* image(std::string_view input) {
  uint8_t pixels[6];
  LUMEN_TEST_ReadPgmForPyramid_v2(pixels, 3, 2, MemoryFile(input).path());
  return checkBufferReader(input, [](const char* path, LUMEN_TEST_Buffer& buffer) {
    return LUMEN_TEST_IMGIO_ReadPGM(path, buffer, LUMEN_MEM_HEAP);
  });
}

inline const char* rect(std::string_view input) {
  const LUMEN_TEST_Rect before = {-7, -7, -7, -7};
  LUMEN_TEST_Rect read = before;
  const int result = LUMEN_TEST_ReadMiraRect(MemoryFile(input).path(), read);
  const bool isChanged = read.x != before.x || read.y != before.y || read.width != before.width ||
                         read.height != before.height;
  return result == 1 && isChanged ? "a failed reader changed the rectangle" : nullptr;
}

// Reads all rows of a script into these destinations. A row takes at least a character, so there
// are no more of them than the input is long.
template <class... Destination>
const char* rows(std::string_view input, int numArguments, Destination... destination) {
  const MemoryFile file(input);
  const LUMEN_TEST_File script = LUMEN_TEST_OpenData(file.path());
  for (size_t row = 0; script && row <= input.size(); ++row) {
    if (!LUMEN_TEST_ReadControlScript(seedDirectory().c_str(), script.get(), numArguments,
                                      LUMEN_MEM_HEAP, destination...)) {
      return nullptr;
    }
  }
  return script ? "a script has more rows than characters" : nullptr;
}

inline const char* script(std::string_view input) {
  int count = 0;
  float scale = 0;
  char text[9] = "";
  unsigned char flag = 0;
  LUMEN_TEST_Rect window = {};
  LUMEN_TEST_Buffer buffer;
  const LUMEN_TEST_Text name = {text, sizeof(text) - 1};
  const LUMEN_TEST_BufferOf any = {&buffer, 0}, floats = LUMEN_TEST_ElementsOf<float>(buffer);
  const char* wrong = rows(input, 6, &count, &scale, name, &flag, &window, any);
  if (!wrong) wrong = rows(input, 3, &flag, any);
  if (!wrong) wrong = rows(input, 4, &scale, &count, floats);
  if (!wrong) wrong = rows(input, 2, floats, name);
  if (!wrong && text[8] != '\0') wrong = "text was written beyond its end";
  if (!wrong && buffer.data()) sumOf(buffer);
  return wrong;
}

inline const char* table(std::string_view input) {
  char name[100];
  unsigned char implemented[4];
  int count;
  float t[8];
  return rows(input, 14, LUMEN_TEST_Text{name, sizeof(name)}, implemented, implemented + 1,
              implemented + 2, implemented + 3, &count, t, t + 1, t + 2, t + 3, t + 4, t + 5, t + 6,
              t + 7);
}

// Every reader by the name of its seed folder.
struct Reader {
  const char* name;
  Entry entry;
};
inline constexpr Reader kReaders[] = {{"data", data},   {"csv", csv},   {"struct", structs},
                                      {"image", image}, {"rect", rect}, {"script", script},
                                      {"table", table}};

}  // namespace lumenFuzz

#endif  // LUMEN_READER_FUZZ_H
