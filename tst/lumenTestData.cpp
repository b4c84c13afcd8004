#include "lumenTestData.h"

#include <algorithm>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "lumenTestLines.h"
#include "lumenTestLog.h"
#include "lumenTestNumbers.h"

namespace {

constexpr int kHeaderLine = 256;
constexpr int kCsvHeaderLine = 1024;
constexpr uint64_t kCharactersPerNumber = 64;

enum class Payload { kRead, kShort, kNoMemory };

// Shapes the buffer and fills it from the file, which is asked first whether it is long enough.
Payload readPayload(FILE* file, const LUMEN_TEST_Buffer::MemShape_& shape, uint64_t bytes,
                    LUMEN_TEST_Buffer& buffer, lumMemOption opt) {
  if (LUMEN_TEST_BytesLeft(file) < bytes) return Payload::kShort;
  if (!buffer.Shape(shape, opt, true)) return Payload::kNoMemory;
  const auto size = static_cast<size_t>(bytes);
  return std::fread(buffer.data(), 1, size, file) == size ? Payload::kRead : Payload::kShort;
}

// The same words for both binary formats.
void logShort(const char* path, uint64_t bytes) {
  LUMEN_TEST_Log("Invalid .data file '%s'. Expecting %" PRIu64 " bytes of binary data\n", path,
                 bytes);
}

// One integer of a header that is greater than 0 and an int.
bool isExtent(int64_t value) { return value > 0 && LUMEN_TEST_IsInt(value); }

bool readIntegers(FILE* file, int64_t* values, int count) {
  char line[kHeaderLine];
  const char* text = get_a_valid_line(file, line, sizeof(line));
  return text && LUMEN_TEST_ParseIntegers(text, ' ', values, count);
}

int readData(FILE* file, const char* path, LUMEN_TEST_Buffer& buffer, lumMemOption opt,
             const char* typeTag, size_t valueSize) {
  char line[kHeaderLine];
  const char* tag = get_a_valid_line(file, line, sizeof(line));
  int64_t size[2], channels;
  uint64_t bytes = 0, elemSize = 0;
  if (!tag || std::strncmp(tag, typeTag, std::strlen(typeTag)) != 0 ||
      !readIntegers(file, size, 2) || !isExtent(size[0]) || !isExtent(size[1]) ||
      !readIntegers(file, &channels, 1) || !isExtent(channels) ||
      !LUMEN_TEST_Product({channels, static_cast<int64_t>(valueSize)}, elemSize) ||
      elemSize > INT32_MAX) {
    LUMEN_TEST_Log("Invalid .data file '%s' \n", path);
    return 1;
  }
  const auto width = static_cast<int32_t>(size[0]), height = static_cast<int32_t>(size[1]);
  const LUMEN_TEST_Buffer::MemShape_ shape = {width,
                                              height,
                                              0,
                                              0,
                                              width,
                                              height,
                                              static_cast<int32_t>(elemSize),
                                              static_cast<int32_t>(valueSize)};
  if (!LUMEN_TEST_Product({width, height, shape.elemSize}, bytes)) bytes = UINT64_MAX;
  switch (readPayload(file, shape, bytes, buffer, opt)) {
    case Payload::kRead:
      return 0;
    case Payload::kNoMemory:
      LUMEN_TEST_Log("Failed to allocate memory!!\n");
      return 1;
    case Payload::kShort:
      break;
  }
  logShort(path, bytes);
  return 1;
}

int readStruct(FILE* file, const char* path, LUMEN_TEST_Buffer& buffer, lumMemOption opt) {
  int64_t count = 0, size = 0;
  if (!readIntegers(file, &count, 1)) {
    LUMEN_TEST_Log("Invalid .struct file '%s' - try to get number of struct\n", path);
    return 1;
  }
  if (!readIntegers(file, &size, 1)) {
    LUMEN_TEST_Log("Invalid .struct file '%s' - try to get struct size\n", path);
    return 1;
  }
  if (!isExtent(count) || !isExtent(size)) {
    LUMEN_TEST_Log("Invalid .struct file '%s' - structSize %" PRId64 ", numStruct %" PRId64 "\n",
                   path, size, count);
    return 1;
  }
  // The region of interest is everything, so that a comparison of bytes sees all records.
  const auto stride = static_cast<int32_t>(size), height = static_cast<int32_t>(count);
  const auto bytes = static_cast<uint64_t>(count) * static_cast<uint64_t>(size);
  switch (readPayload(file, {stride, height, 0, 0, stride, height, 1, 0}, bytes, buffer, opt)) {
    case Payload::kRead:
      return 0;
    case Payload::kNoMemory:
      LUMEN_TEST_Log("Invalid .struct file '%s' Failed to allocate memory!!\n", path);
      return 1;
    case Payload::kShort:
      break;
  }
  logShort(path, bytes);
  return 1;
}

// Numbers with commas between them; blanks may stand around each.
template <class T>
bool parseRow(const char* text, T* row, size_t columns) {
  for (size_t column = 0; column < columns; ++column) {
    if (column > 0) {
      text += std::strspn(text, " \t");
      if (*text++ != ',') return false;
    }
    char* end = nullptr;
    const double value = std::strtod(text, &end);
    if (end == text || !LUMEN_TEST_StoreReal(value, row[column])) return false;
    text = end;
  }
  return true;
}

template <class T>
int readRows(FILE* file, T* array, size_t columns, size_t rows) {
  if (columns == 0 || rows == 0) return 0;
  uint64_t room = columns * kCharactersPerNumber;
  const uint64_t left = LUMEN_TEST_BytesLeft(file);
  if (left < room) room = left + 2;  // as long as a line can be
  const std::unique_ptr<char[]> scratch(
      room <= SIZE_MAX ? new (std::nothrow) char[static_cast<size_t>(room)] : nullptr);
  if (!scratch) {
    LUMEN_TEST_Log("Failed to allocate memory!!\n");
    return 1;
  }
  for (size_t row = 0; row < rows; ++row) {
    char* text = nullptr;
    const auto status = LUMEN_TEST_ReadLine(file, scratch.get(), static_cast<size_t>(room), text);
    if (status == LUMEN_TEST_LineStatus::kEnd) break;
    if (status == LUMEN_TEST_LineStatus::kTooLong ||
        !parseRow(text, array + row * columns, columns)) {
      LUMEN_TEST_Log("Row %zu does not hold %zu numbers of its type\n", row, columns);
      return 1;
    }
  }
  return 0;
}

// True when a file with `left` bytes after its header may declare this buffer.
bool isCsvSizeSane(int64_t stride, int64_t height, size_t elemSize, uint64_t left) {
  uint64_t numbers = 0, bytes = 0;
  if (!LUMEN_TEST_Product({stride, height}, numbers) ||
      !LUMEN_TEST_Product({stride, height, static_cast<int64_t>(elemSize)}, bytes)) {
    return false;
  }
  // A number takes a digit and a comma or the end of the line.
  return bytes <= LUMEN_TEST_CSV_FREE_BYTES || numbers <= left / 2 + 1;
}

template <class T>
int readCsv(FILE* file, const char* path, LUMEN_TEST_Buffer& buffer, lumMemOption opt) {
  char line[kCsvHeaderLine];
  const char* text = get_a_valid_line(file, line, sizeof(line));
  int64_t value[6];
  if (!text || !LUMEN_TEST_ParseIntegers(text, ',', value, 6) ||
      !std::all_of(value, value + 6, LUMEN_TEST_IsInt)) {
    LUMEN_TEST_Log("Invalid CSV file '%s' - no stride, height and region\n", path);
    return 1;
  }
  if (!isCsvSizeSane(value[0], value[1], sizeof(T), LUMEN_TEST_BytesLeft(file))) {
    LUMEN_TEST_Log("Invalid CSV file '%s' - too short for %" PRId64 " x %" PRId64 " numbers\n",
                   path, value[0], value[1]);
    return 1;
  }
  LUMEN_TEST_Buffer::MemShape_ shape = {};
  int32_t* const field[6] = {&shape.stride, &shape.height,   &shape.roiX,
                             &shape.roiY,   &shape.roiWidth, &shape.roiHeight};
  for (int i = 0; i < 6; ++i) *field[i] = static_cast<int32_t>(value[i]);
  shape.elemSize = static_cast<int32_t>(sizeof(T));
  if (!buffer.Shape(shape, opt, true)) {
    LUMEN_TEST_Log("Failed to allocate memory!!\n");
    return 1;
  }
  if (readRows(file, reinterpret_cast<T*>(buffer.data()), static_cast<size_t>(shape.stride),
               static_cast<size_t>(shape.height)) == 0) {
    return 0;
  }
  LUMEN_TEST_Log("Invalid CSV file '%s'\n", path);
  return 1;
}

// Opens, reads, and leaves an empty buffer where that fails.
template <class Reader>
int readInto(LUMEN_TEST_Buffer& buffer, const char* path, Reader read) {
  const LUMEN_TEST_File file = LUMEN_TEST_OpenData(path);
  if (file && read(file.get()) == 0) return 0;
  buffer.Release();
  return 1;
}

}  // namespace

int LUMEN_TEST_ReadDataBuffer(const char* path, LUMEN_TEST_Buffer& buffer, lumMemOption opt,
                              const char* typeTag, size_t valueSize) {
  return readInto(buffer, path, [&](FILE* file) {
    return readData(file, path, buffer, opt, typeTag, valueSize);
  });
}

template <class T>
int LUMEN_TEST_ReadCsvBuffer(const char* path, LUMEN_TEST_Buffer& buffer, lumMemOption opt) {
  return readInto(buffer, path, [&](FILE* file) { return readCsv<T>(file, path, buffer, opt); });
}
template int LUMEN_TEST_ReadCsvBuffer<bool>(const char*, LUMEN_TEST_Buffer&, lumMemOption);
template int LUMEN_TEST_ReadCsvBuffer<char>(const char*, LUMEN_TEST_Buffer&, lumMemOption);
template int LUMEN_TEST_ReadCsvBuffer<signed char>(const char*, LUMEN_TEST_Buffer&, lumMemOption);
template int LUMEN_TEST_ReadCsvBuffer<unsigned char>(const char*, LUMEN_TEST_Buffer&, lumMemOption);
template int LUMEN_TEST_ReadCsvBuffer<short>(const char*, LUMEN_TEST_Buffer&, lumMemOption);
template int LUMEN_TEST_ReadCsvBuffer<unsigned short>(const char*, LUMEN_TEST_Buffer&,
                                                      lumMemOption);
template int LUMEN_TEST_ReadCsvBuffer<int>(const char*, LUMEN_TEST_Buffer&, lumMemOption);
template int LUMEN_TEST_ReadCsvBuffer<unsigned int>(const char*, LUMEN_TEST_Buffer&, lumMemOption);
template int LUMEN_TEST_ReadCsvBuffer<unsigned long>(const char*, LUMEN_TEST_Buffer&, lumMemOption);
template int LUMEN_TEST_ReadCsvBuffer<unsigned long long>(const char*, LUMEN_TEST_Buffer&,
                                                          lumMemOption);
template int LUMEN_TEST_ReadCsvBuffer<float>(const char*, LUMEN_TEST_Buffer&, lumMemOption);

template <class T>
int fillarray(T* array, int columns, int rows, FILE* file) {
  if (columns < 0 || rows < 0) return 1;
  return readRows(file, array, static_cast<size_t>(columns), static_cast<size_t>(rows));
}
template int fillarray<float>(float*, int, int, FILE*);
template int fillarray<unsigned char>(unsigned char*, int, int, FILE*);

int LUMEN_TEST_ReadStructBuffer(const char* path, LUMEN_TEST_Buffer& buffer, lumMemOption opt) {
  return readInto(buffer, path, [&](FILE* file) { return readStruct(file, path, buffer, opt); });
}

int LUMEN_TEST_ReadMiraRect(const char* path, LUMEN_TEST_Rect& rect) {
  const LUMEN_TEST_File file = LUMEN_TEST_OpenData(path);
  if (!file) return 1;
  char line[kHeaderLine];
  const char* text = get_a_valid_line(file.get(), line, sizeof(line));
  int64_t value[4];
  if (!text || !LUMEN_TEST_ParseIntegers(text, ',', value, 4) ||
      !std::all_of(value, value + 4, LUMEN_TEST_IsInt)) {
    LUMEN_TEST_Log("Invalid rectangle file '%s'\n", path);
    return 1;
  }
  rect = {static_cast<int32_t>(value[0]), static_cast<int32_t>(value[1]),
          static_cast<int32_t>(value[2]), static_cast<int32_t>(value[3])};
  return 0;
}
