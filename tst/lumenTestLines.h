// What all text formats of the test data share: paths, files, lines, numbers and fields.

#ifndef LUMEN_TEST_LINES_H
#define LUMEN_TEST_LINES_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

// Paths are built in buffers of this many characters, the terminating zero included.
inline constexpr size_t LUMEN_TEST_PATH_SIZE = 255;
using LUMEN_TEST_Path = char[LUMEN_TEST_PATH_SIZE];

// Builds a path as printf does; false, with a line in the log, when it does not fit. A path is
// never cut: it would name another file.
bool LUMEN_TEST_MakePath(LUMEN_TEST_Path& path, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

struct LUMEN_TEST_FileCloser {
  void operator()(FILE* file) const { std::fclose(file); }
};
using LUMEN_TEST_File = std::unique_ptr<FILE, LUMEN_TEST_FileCloser>;

// Opens a regular file for binary reading; null for anything else, a directory or a pipe included.
LUMEN_TEST_File LUMEN_TEST_OpenRegular(const char* path);

// The same for files of test data; logs "Could not open '%s'...\n".
LUMEN_TEST_File LUMEN_TEST_OpenData(const char* path);

// Bytes between the place that reading has reached and the end of the file; a file without a
// length has as many as there are.
uint64_t LUMEN_TEST_BytesLeft(FILE* file);

enum class LUMEN_TEST_LineStatus {
  kLine,
  kEnd,
  kTooLong,  // the whole line is passed over: its parts would read as other lines
};

// Reads the next line that is neither blank nor a comment (first character '#', blanks and tabs
// aside) into `line`, which holds `size` characters with the terminating zero, and strips the end
// of the line, blanks and tabs from its end. `start` becomes its first character that is no blank.
LUMEN_TEST_LineStatus LUMEN_TEST_ReadLine(FILE* file, char* line, size_t size, char*& start);

// The same: `start`, or null at the end of the file or, with a line in the log, for a line that is
// longer than `size` characters.
char* get_a_valid_line(FILE* file, char* line, int size);

// Reads `count` decimal integers with `separator` (' ' for blanks) between them; blanks may stand
// before each number and before each separator. Numbers beyond 64 bits become the nearest one
// within. False when there are fewer.
bool LUMEN_TEST_ParseIntegers(const char* text, char separator, int64_t* values, int count);

// The fields of a line: split at commas, but not between double quotes. Quotes and the end of the
// line are no part of a field.
std::vector<std::string> LUMEN_TEST_SplitCsvString(const char* line);

#endif  // LUMEN_TEST_LINES_H
