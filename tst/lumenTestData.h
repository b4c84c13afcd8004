// Readers of the data files that are no images: binary data, numeric CSV, structures, rectangles.
//
// Each reads a whole file into a buffer that it shapes itself, in memory of the kind `opt`, and
// returns 0; or it says in the log what is wrong, releases the buffer and returns 1. What a header
// declares is held against the length of the file before memory is asked for.

#ifndef LUMEN_TEST_DATA_H
#define LUMEN_TEST_DATA_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "lumenTestBuffer.h"

// ".data": a line with the type, one with width and height, one with the values a pixel, then the
// values, little-endian, rows without gaps. An element of the buffer is a whole pixel.
int LUMEN_TEST_ReadDataBuffer(const char* path, LUMEN_TEST_Buffer& buffer, lumMemOption opt,
                              const char* typeTag, size_t valueSize);
template <class T>
int LUMEN_TEST_ReadDataBuffer(const char* path, LUMEN_TEST_Buffer& buffer, lumMemOption opt,
                              const char* typeTag) {
  return LUMEN_TEST_ReadDataBuffer(path, buffer, opt, typeTag, sizeof(T));
}

// Numeric CSV: a line with stride, height, roiX, roiY, roiWidth and roiHeight, then the rows.
// Integers are read as real numbers and lose their fraction; a number that T does not hold (see
// lumenTestNumbers.h), like one that is none, fails the read. Rows missing at the end are 0, but
// only in buffers of up to 64 MiB: beyond, the file must be long enough for every number.
// For bool, float and all integer types that a control script names.
inline constexpr uint64_t LUMEN_TEST_CSV_FREE_BYTES = uint64_t{64} << 20;
template <class T>
int LUMEN_TEST_ReadCsvBuffer(const char* path, LUMEN_TEST_Buffer& buffer, lumMemOption opt);

// Reads up to `rows` lines of `columns` numbers into an array without gaps; 0, or 1 for a line that
// does not hold them. A file with fewer lines leaves the rest of the array as it is. For float and
// unsigned char.
template <class T>
int fillarray(T* array, int columns, int rows, FILE* file);

// ".struct": a line with the number of records, one with the size of a record in bytes, then the
// records. The buffer has a row of bytes for each record.
int LUMEN_TEST_ReadStructBuffer(const char* path, LUMEN_TEST_Buffer& buffer, lumMemOption opt);

// A rectangle: one line "x,y,width,height".
struct LUMEN_TEST_Rect {
  int32_t x, y, width, height;
};
int LUMEN_TEST_ReadMiraRect(const char* path, LUMEN_TEST_Rect& rect);

#endif  // LUMEN_TEST_DATA_H
