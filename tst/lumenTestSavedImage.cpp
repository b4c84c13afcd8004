#include "lumenTestSavedImage.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <limits>

namespace {

constexpr uint8_t kPadding = 0x5A;  // bytes; padding is never zero

struct TypeNames {
  const char *script, *dataTag;
};
// In the order of LUMEN_TEST_Type.
constexpr TypeNames kTypeNames[] = {{"unsignedchar", "unsigned_char"},
                                    {"char", "char"},
                                    {"unsignedshort", "unsigned_short"},
                                    {"short", "short"},
                                    {"unsignedint", "unsigned_int"},
                                    {"int", "int"},
                                    {"float", "float"}};

void writeData(std::ofstream& file, LUMEN_TEST_Type type, const LUMEN_TEST_SavedShape& shape,
               const std::vector<uint8_t>& rows) {
  file << LUMEN_TEST_DataTag(type) << '\n' << shape.width << ' ' << shape.rows << "\n1\n";
  file.write(reinterpret_cast<const char*>(rows.data()), static_cast<std::streamsize>(rows.size()));
}

void writeCsv(std::ofstream& file, LUMEN_TEST_Type type, const LUMEN_TEST_SavedShape& shape,
              const std::vector<uint8_t>& rows) {
  const size_t height = shape.height(), size = LUMEN_TEST_SizeOf(type);
  std::vector<uint8_t> buffer(height * shape.stride * size, kPadding);
  for (size_t y = 0; y < shape.rows; ++y) {
    std::copy_n(rows.data() + y * shape.width * size, shape.width * size,
                buffer.data() + (y * shape.pitch + shape.left) * size);
  }
  file << shape.stride << ',' << height << ',' << shape.left << ",0,"
       << (shape.regionWidth ? shape.regionWidth : shape.width) << ','
       << (shape.regionRows ? shape.regionRows : shape.rows) << '\n';
  for (size_t y = 0; y < height; ++y) {
    for (size_t x = 0; x < shape.stride; ++x) {
      if (x > 0) file << ',';
      file << LUMEN_TEST_NumberText(type, buffer.data() + (y * shape.stride + x) * size);
    }
    file << '\n';
  }
}

}  // namespace

size_t LUMEN_TEST_SavedShape::height() const {
  const size_t elements = left + pitch * (rows - 1) + width;
  return std::max(rows, (elements + stride - 1) / stride);
}

const char* LUMEN_TEST_ScriptTypeName(LUMEN_TEST_Type type) {
  return kTypeNames[static_cast<size_t>(type)].script;
}

const char* LUMEN_TEST_DataTag(LUMEN_TEST_Type type) {
  return kTypeNames[static_cast<size_t>(type)].dataTag;
}

std::string LUMEN_TEST_NumberText(LUMEN_TEST_Type type, const void* value) {
  return LUMEN_TEST_WithType(type, [&](auto number) -> std::string {
    std::memcpy(&number, value, sizeof(number));
    if constexpr (std::is_same_v<decltype(number), float>) {
      // The digits of a double: fewer may round up to a number that no float holds.
      char text[40];
      std::snprintf(text, sizeof(text), "%.*g", std::numeric_limits<double>::max_digits10,
                    static_cast<double>(number));
      return text;
    } else {
      return std::to_string(number);
    }
  });
}

bool LUMEN_TEST_WriteImage(const std::string& path, LUMEN_TEST_Type type,
                           const LUMEN_TEST_SavedShape& shape, const std::vector<uint8_t>& rows) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (shape.isPacked()) writeData(file, type, shape, rows);
  else writeCsv(file, type, shape, rows);
  file.close();
  return !file.fail();
}
