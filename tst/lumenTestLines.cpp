#include "lumenTestLines.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "lumenTestLog.h"

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }
bool isLineEnd(char c) { return c == '\n' || c == '\r'; }

const char* skipBlanks(const char* text) {
  while (isBlank(*text)) ++text;
  return text;
}

void skipRestOfLine(FILE* file) {
  int c;
  do {
    c = std::getc(file);
  } while (c != '\n' && c != EOF);
}

}  // namespace

bool LUMEN_TEST_MakePath(LUMEN_TEST_Path& path, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(path, sizeof(path), format, arguments);
  va_end(arguments);
  if (length >= 0 && static_cast<size_t>(length) < sizeof(path)) return true;
  LUMEN_TEST_Log("Path of %d characters is too long: %s...\n", length, path);
  path[0] = '\0';
  return false;
}

LUMEN_TEST_File LUMEN_TEST_OpenRegular(const char* path) {
  // Asked before the opening, which would wait for a pipe's writer.
  struct stat info;
  if (stat(path, &info) != 0 || !S_ISREG(info.st_mode)) return nullptr;
  return LUMEN_TEST_File(std::fopen(path, "rb"));
}

LUMEN_TEST_File LUMEN_TEST_OpenData(const char* path) {
  LUMEN_TEST_File file = LUMEN_TEST_OpenRegular(path);
  if (!file) LUMEN_TEST_Log("Could not open '%s'...\n", path);
  return file;
}

uint64_t LUMEN_TEST_BytesLeft(FILE* file) {
  const long place = std::ftell(file);
  struct stat info;
  if (place < 0 || fileno(file) < 0 || fstat(fileno(file), &info) != 0 || !S_ISREG(info.st_mode)) {
    return UINT64_MAX;
  }
  return static_cast<uint64_t>(std::max<int64_t>(info.st_size - place, 0));
}

LUMEN_TEST_LineStatus LUMEN_TEST_ReadLine(FILE* file, char* line, size_t size, char*& start) {
  const auto room = static_cast<int>(std::min<size_t>(size, INT32_MAX));
  for (;;) {
    // Binary noise may hold zeros: where the line really ends is seen by what fgets leaves of this.
    if (room < 2) return LUMEN_TEST_LineStatus::kTooLong;
    line[room - 2] = '\n';
    if (!std::fgets(line, room, file)) return LUMEN_TEST_LineStatus::kEnd;
    start = const_cast<char*>(skipBlanks(line));
    if (line[room - 2] != '\n' && line[room - 2] != '\0') {
      const int next = std::getc(file);
      if (next != EOF && next != '\n') {
        skipRestOfLine(file);
        if (*start == '#') continue;
        return LUMEN_TEST_LineStatus::kTooLong;
      }
    }
    char* end = start + std::strlen(start);
    while (end > start && (isBlank(end[-1]) || isLineEnd(end[-1]))) --end;
    *end = '\0';
    if (end > start && *start != '#') return LUMEN_TEST_LineStatus::kLine;
  }
}

char* get_a_valid_line(FILE* file, char* line, int size) {
  char* start = nullptr;
  switch (LUMEN_TEST_ReadLine(file, line, static_cast<size_t>(std::max(size, 0)), start)) {
    case LUMEN_TEST_LineStatus::kLine:
      return start;
    case LUMEN_TEST_LineStatus::kEnd:
      return nullptr;
    case LUMEN_TEST_LineStatus::kTooLong:
      break;
  }
  LUMEN_TEST_Log("A line is longer than %d characters\n", size);
  return nullptr;
}

bool LUMEN_TEST_ParseIntegers(const char* text, char separator, int64_t* values, int count) {
  for (int i = 0; i < count; ++i) {
    if (i > 0 && separator != ' ') {
      text = skipBlanks(text);
      if (*text++ != separator) return false;
    }
    char* end = nullptr;
    values[i] = std::strtoll(text, &end, 10);
    if (end == text) return false;
    text = end;
  }
  return true;
}

std::vector<std::string> LUMEN_TEST_SplitCsvString(const char* line) {
  std::vector<std::string> fields(1);
  bool isQuoted = false;
  for (; *line; ++line) {
    if (*line == '"') isQuoted = !isQuoted;
    else if (*line == ',' && !isQuoted) fields.emplace_back();
    else if (!isLineEnd(*line)) fields.back() += *line;
  }
  return fields;
}
