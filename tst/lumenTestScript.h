// Control scripts: CSV files with one test case a row. The first line holds the columns' names, the
// second their types, every further line one field for each column. Fields are split at commas
// outside double quotes; blank lines and lines that begin with '#' are passed over.
//
// - unsignedchar, char, unsignedint, int, bool, short, unsignedshort, unsignedlong, long, float: a
//   number
// - char*: text, of which 98 characters count
// - a scalar type with []: a file with an array, read as its name ends: pgm, data, or numeric CSV
// - struct: a file with records
// - miraRect: a file with a rectangle
//
// A type that is written short means the first of all types that begins so; the list in
// lumenTestScript.cpp has their order.

#ifndef LUMEN_TEST_SCRIPT_H
#define LUMEN_TEST_SCRIPT_H

#include <array>
#include <cstddef>
#include <cstdio>
#include <span>
#include <variant>

#include "lumenTestBuffer.h"
#include "lumenTestData.h"

// Text of at most `capacity - 1` characters.
struct LUMEN_TEST_Text {
  char* text;
  size_t capacity;
};

// A buffer that the test will read as elements of `elemSize` bytes; 0 takes any.
struct LUMEN_TEST_BufferOf {
  LUMEN_TEST_Buffer* buffer;
  size_t elemSize;
};
template <class T>
LUMEN_TEST_BufferOf LUMEN_TEST_ElementsOf(LUMEN_TEST_Buffer& buffer) {
  return {&buffer, sizeof(T)};
}

// Where a column's field goes. The script's own type line says what the field is; what is stored
// follows the destination, so that a script with other types than the test expects is refused or
// converted and never written over foreign memory.
using LUMEN_TEST_Destination =
    std::variant<bool*, char*, unsigned char*, short*, unsigned short*, int*, unsigned int*, long*,
                 unsigned long*, float*, LUMEN_TEST_Rect*, LUMEN_TEST_Text, LUMEN_TEST_BufferOf>;

// What the next row of a script came to: the log says why one was refused, as is a script without
// its two header lines.
enum class LUMEN_TEST_RowStatus { row, end, refused };

// Reads the next row of an open script into one destination for each column of a known type, in
// column order. Columns beyond the destinations are not read. A number is what the script's type
// makes of the field (a blank field is 0) and must fit the destination.
LUMEN_TEST_RowStatus LUMEN_TEST_NextScriptRow(const char* dataDirectory, FILE* file,
                                              int numArguments, lumMemOption opt,
                                              std::span<const LUMEN_TEST_Destination> destinations);

// The same: 1 when there was a row, 0 at the end of the script or for a row that is refused.
int LUMEN_TEST_ReadScriptRow(const char* dataDirectory, FILE* file, int numArguments,
                             lumMemOption opt,
                             std::span<const LUMEN_TEST_Destination> destinations);

template <class... Destination>
int LUMEN_TEST_ReadControlScript(const char* dataDirectory, FILE* file, int numArguments,
                                 lumMemOption opt, Destination... destination) {
  const std::array<LUMEN_TEST_Destination, sizeof...(destination)> destinations = {destination...};
  return LUMEN_TEST_ReadScriptRow(dataDirectory, file, numArguments, opt, destinations);
}

#endif  // LUMEN_TEST_SCRIPT_H
