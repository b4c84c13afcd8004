// Image files as the readers of lumenTestData.h take them, for cases that are saved.

#ifndef LUMEN_TEST_SAVED_IMAGE_H
#define LUMEN_TEST_SAVED_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "lumenTestDescription.h"

// Where the rows of an image lie in the buffer that its file is read into, in elements. The buffer
// declares `stride`; the rows lie `pitch` apart, which is another where the call goes by the stride
// of another image.
struct LUMEN_TEST_SavedShape {
  size_t width, rows;
  size_t pitch, stride;
  size_t left;  // elements before each row
  // The region that the file declares; 0: all of width and rows.
  size_t regionWidth = 0, regionRows = 0;

  bool isPacked() const {
    return pitch == width && stride == width && left == 0 && regionWidth == 0 && regionRows == 0;
  }
  // Of the buffer.
  size_t height() const;
};

// As a control script names them: of a number, of an array, and in a file of binary data.
const char* LUMEN_TEST_ScriptTypeName(LUMEN_TEST_Type type);
const char* LUMEN_TEST_DataTag(LUMEN_TEST_Type type);

// A number as text that reads back as the same bits.
std::string LUMEN_TEST_NumberText(LUMEN_TEST_Type type, const void* value);

// Writes rows that are given packed: binary data where there is no padding, numeric CSV elsewhere.
bool LUMEN_TEST_WriteImage(const std::string& path, LUMEN_TEST_Type type,
                           const LUMEN_TEST_SavedShape& shape, const std::vector<uint8_t>& rows);

#endif  // LUMEN_TEST_SAVED_IMAGE_H
