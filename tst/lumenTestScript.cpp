#include "lumenTestScript.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "lumenTestImage.h"
#include "lumenTestLines.h"
#include "lumenTestLog.h"
#include "lumenTestNumbers.h"

namespace {

constexpr size_t kLine = 32768;
constexpr size_t kMaxText = 98;

// A scalar field after its written type has been applied.
struct Number {
  bool isReal;
  double real;
  bool isNegative;
  uint64_t bits;
};

enum class Kind { kScalar, kText, kArray, kStruct, kRect, kNotBuilt };

// A type as it is written in a script's second line.
struct ColumnType {
  std::string_view keyword;
  Kind kind;
  bool (*parse)(const char* field, Number& number) = nullptr;
  // Arrays: what the end of a file's name may choose.
  const char* dataTag = nullptr;
  size_t valueSize = 0;
  bool mayBeImage = false;
  bool isCsvNamed = false;  // otherwise CSV is what remains
  int (*readCsv)(const char* path, LUMEN_TEST_Buffer& buffer, lumMemOption opt) = nullptr;
};

bool isBlank(const char* text) { return text[std::strspn(text, " \t")] == '\0'; }

// A decimal integer; a fraction that follows is dropped.
bool parseInteger(const char* field, bool& isNegative, uint64_t& bits) {
  field += std::strspn(field, " \t");
  isNegative = *field == '-';
  bits = 0;
  if (isBlank(field)) return true;
  char* end = nullptr;
  errno = 0;
  bits = isNegative ? static_cast<uint64_t>(std::strtoll(field, &end, 10))
                    : std::strtoull(field, &end, 10);
  if (end == field || errno == ERANGE) return false;
  if (*end == '.') end += 1 + std::strspn(end + 1, "0123456789");
  return isBlank(end);
}

template <class T>
bool parseScalar(const char* field, Number& number) {
  T value{};
  if constexpr (std::is_floating_point_v<T>) {
    if (!isBlank(field)) {
      char* end = nullptr;
      LUMEN_TEST_StoreReal(std::strtod(field, &end), value);
      if (end == field) return false;
      if (*end == 'f' || *end == 'F') ++end;
      if (!isBlank(end)) return false;
    }
    number = {true, static_cast<double>(value), false, 0};
    return true;
  } else {
    bool isNegative = false;
    uint64_t bits = 0;
    if (!parseInteger(field, isNegative, bits) ||
        !LUMEN_TEST_StoreInteger(isNegative, bits, value)) {
      return false;
    }
    number = {false, 0, std::is_signed_v<T> && value < T{}, static_cast<uint64_t>(value)};
    return true;
  }
}

template <class T>
constexpr ColumnType scalar(std::string_view keyword) {
  return {.keyword = keyword, .kind = Kind::kScalar, .parse = parseScalar<T>};
}

constexpr bool kImage = true;
constexpr bool kCsvNamed = true;
template <class T>
constexpr ColumnType array(std::string_view keyword, const char* dataTag = nullptr,
                           bool mayBeImage = false, bool isCsvNamed = false) {
  return {.keyword = keyword,
          .kind = Kind::kArray,
          .dataTag = dataTag,
          .valueSize = sizeof(T),
          .mayBeImage = mayBeImage,
          .isCsvNamed = isCsvNamed,
          .readCsv = LUMEN_TEST_ReadCsvBuffer<T>};
}

// In the order in which a written type is compared with them, over its own length: a short one is
// the first that begins so, and one that is empty is the first of all.
constexpr ColumnType kTypes[] = {
    scalar<unsigned char>("unsignedchar"),
    array<unsigned char>("unsignedchar[]", "unsigned_char", kImage),
    scalar<char>("char"),
    {.keyword = "char*", .kind = Kind::kText},
    array<char>("char[]", "char"),
    array<signed char>("signedchar[]"),
    scalar<unsigned int>("unsignedint"),
    array<unsigned int>("unsignedint[]", "unsigned_int", kImage),
    scalar<int>("int"),
    array<int>("int[]", "int", kImage),
    scalar<bool>("bool"),
    array<bool>("bool[]"),
    scalar<float>("float"),
    array<float>("float[]", "float", false, kCsvNamed),
    scalar<short>("short"),
    array<short>("short[]", "short", kImage),
    scalar<unsigned short>("unsignedshort"),
    array<unsigned short>("unsignedshort[]", "unsigned_short", kImage),
    scalar<unsigned long>("unsignedlong"),
    scalar<long>("long"),
    array<unsigned long>("unsignedlong[]"),
    array<unsigned long long>("unsignedlonglong[]"),
    {.keyword = "miraCorrespondences", .kind = Kind::kNotBuilt},
    {.keyword = "miraContours", .kind = Kind::kNotBuilt},
    {.keyword = "miraRect", .kind = Kind::kRect},
    {.keyword = "lumPyramidLevel", .kind = Kind::kNotBuilt},
    {.keyword = "lumPyramidLevel_v2", .kind = Kind::kNotBuilt},
    {.keyword = "struct", .kind = Kind::kStruct},
};

const ColumnType* findType(std::string_view written) {
  for (const ColumnType& type : kTypes) {
    if (type.keyword.starts_with(written)) return &type;
  }
  return nullptr;
}

// Reads one field; where that fails, `reason` says why.
struct FieldReader {
  const char* dataDirectory;
  lumMemOption opt;
  const char* reason = "";

  bool refuse(const char* why) {
    reason = why;
    return false;
  }

  bool read(const ColumnType& type, const std::string& field,
            const LUMEN_TEST_Destination& destination) {
    switch (type.kind) {
      case Kind::kScalar:
        return readScalar(type, field, destination);
      case Kind::kText:
        return readText(field, destination);
      case Kind::kArray:
      case Kind::kStruct:
        return readBuffer(type, field, destination);
      case Kind::kRect:
        return readRect(field, destination);
      case Kind::kNotBuilt:
        break;
    }
    return refuse("the format of these files is not built yet");
  }

 private:
  bool readScalar(const ColumnType& type, const std::string& field,
                  const LUMEN_TEST_Destination& destination) {
    Number number;
    if (!type.parse(field.c_str(), number)) return refuse("this is no number of that type");
    return std::visit(
        [&](auto target) {
          using Target = std::remove_pointer_t<decltype(target)>;
          if constexpr (std::is_arithmetic_v<Target>) {
            const bool isStored =
                number.isReal ? LUMEN_TEST_StoreReal(number.real, *target)
                              : LUMEN_TEST_StoreInteger(number.isNegative, number.bits, *target);
            return isStored || refuse("the test's variable does not hold this number");
          } else {
            return refuse("the test expects no number here");
          }
        },
        destination);
  }

  bool readText(const std::string& field, const LUMEN_TEST_Destination& destination) {
    const auto* target = std::get_if<LUMEN_TEST_Text>(&destination);
    if (!target || target->capacity == 0) return refuse("the test expects no text here");
    target->text[field.copy(target->text, std::min(target->capacity - 1, kMaxText))] = '\0';
    return true;
  }

  bool readBuffer(const ColumnType& type, const std::string& field,
                  const LUMEN_TEST_Destination& destination) {
    const auto* target = std::get_if<LUMEN_TEST_BufferOf>(&destination);
    if (!target) return refuse("the test expects no buffer here");
    LUMEN_TEST_Buffer& buffer = *target->buffer;
    LUMEN_TEST_Path path;
    const bool isRead = makePath(path, field) &&
                        (type.kind == Kind::kStruct ? LUMEN_TEST_ReadStructBuffer(path, buffer, opt)
                                                    : readArray(type, path, buffer)) == 0;
    if (isRead && target->elemSize != 0 &&
        static_cast<size_t>(buffer.shape().elemSize) != target->elemSize) {
      LUMEN_TEST_Log("'%s' has elements of %d bytes, %zu are wanted\n", path,
                     buffer.shape().elemSize, target->elemSize);
      buffer.Release();
      return refuse("the test expects other elements");
    }
    if (isRead) return true;
    buffer.Release();
    return refuse("the file was not read");
  }

  int readArray(const ColumnType& type, std::string_view path, LUMEN_TEST_Buffer& buffer) {
    if (type.mayBeImage && path.ends_with("pgm")) {
      return LUMEN_TEST_IMGIO_ReadPGM(path.data(), buffer, opt);
    }
    if (type.dataTag && path.ends_with("data")) {
      return LUMEN_TEST_ReadDataBuffer(path.data(), buffer, opt, type.dataTag, type.valueSize);
    }
    if (!type.isCsvNamed || path.ends_with("csv")) return type.readCsv(path.data(), buffer, opt);
    LUMEN_TEST_Log("No reader for '%s' by the end of its name\n", path.data());
    return 1;
  }

  bool readRect(const std::string& field, const LUMEN_TEST_Destination& destination) {
    const auto* target = std::get_if<LUMEN_TEST_Rect*>(&destination);
    if (!target) return refuse("the test expects no rectangle here");
    LUMEN_TEST_Path path;
    return (makePath(path, field) && LUMEN_TEST_ReadMiraRect(path, **target) == 0) ||
           refuse("the file was not read");
  }

  bool makePath(LUMEN_TEST_Path& path, std::string_view name) const {
    const size_t first = std::min(name.find_first_not_of(" \t"), name.size());
    name = name.substr(first, name.find_last_not_of(" \t") + 1 - first);
    return LUMEN_TEST_MakePath(path, "%s/%.*s", dataDirectory, static_cast<int>(name.size()),
                               name.data());
  }
};

// Reads the two header lines and goes on where the last call stopped.
bool readHeader(FILE* file, const char* dataDirectory, std::vector<char>& line,
                std::vector<std::string>& types) {
  const long place = std::ftell(file);
  std::rewind(file);
  char* start = nullptr;
  if (LUMEN_TEST_ReadLine(file, line.data(), line.size(), start) != LUMEN_TEST_LineStatus::kLine) {
    LUMEN_TEST_Log("Error: Bad Formatting in %s/controlscript - Cannot read Parameter names.",
                   dataDirectory);
    return false;
  }
  if (LUMEN_TEST_ReadLine(file, line.data(), line.size(), start) != LUMEN_TEST_LineStatus::kLine) {
    LUMEN_TEST_Log("Error: Bad Formatting in %s/controlscript- Cannot read Parameter types.\n",
                   dataDirectory);
    return false;
  }
  types = LUMEN_TEST_SplitCsvString(start);
  return place <= std::ftell(file) || std::fseek(file, place, SEEK_SET) == 0;
}

}  // namespace

LUMEN_TEST_RowStatus LUMEN_TEST_NextScriptRow(
    const char* dataDirectory, FILE* file, int numArguments, lumMemOption opt,
    std::span<const LUMEN_TEST_Destination> destinations) {
  using Status = LUMEN_TEST_RowStatus;
  std::vector<char> line(kLine);
  std::vector<std::string> types;
  if (!readHeader(file, dataDirectory, line, types)) return Status::refused;

  char* start = nullptr;
  switch (LUMEN_TEST_ReadLine(file, line.data(), line.size(), start)) {
    case LUMEN_TEST_LineStatus::kLine:
      break;
    case LUMEN_TEST_LineStatus::kEnd:
      return Status::end;
    case LUMEN_TEST_LineStatus::kTooLong:
      LUMEN_TEST_Log("Error: a line of %s/controlscript is longer than %zu characters\n",
                     dataDirectory, kLine);
      return Status::refused;
  }
  const std::vector<std::string> fields = LUMEN_TEST_SplitCsvString(start);
  if (fields.size() != static_cast<size_t>(std::max(numArguments, 0))) {
    LUMEN_TEST_Log(
        "Error: Bad Formatting in %s/controlscript - Cannot read test case parameters. ncol %d, "
        "numArguments %d ",
        dataDirectory, static_cast<int>(fields.size()), numArguments);
    return Status::refused;
  }

  FieldReader reader = {dataDirectory, opt};
  auto destination = destinations.begin();
  for (size_t column = 0; column < std::min(fields.size(), types.size()); ++column) {
    if (destination == destinations.end()) return Status::row;
    const std::string &written = types[column], &field = fields[column];
    const ColumnType* type = findType(written);
    if (!type) {
      LUMEN_TEST_Log("Column %zu of %s/controlscript is passed over: unknown type '%s'\n",
                     column + 1, dataDirectory, written.c_str());
    } else if (!reader.read(*type, field, *destination++)) {
      LUMEN_TEST_Log("Error: column %zu of %s/controlscript, type '%s', '%s': %s\n", column + 1,
                     dataDirectory, written.c_str(), field.c_str(), reader.reason);
      return Status::refused;
    }
  }
  if (destination == destinations.end()) return Status::row;
  LUMEN_TEST_Log("Error: %s/controlscript has %d columns of known types, the test expects %d\n",
                 dataDirectory, static_cast<int>(destination - destinations.begin()),
                 static_cast<int>(destinations.size()));
  return Status::refused;
}

int LUMEN_TEST_ReadScriptRow(const char* dataDirectory, FILE* file, int numArguments,
                             lumMemOption opt,
                             std::span<const LUMEN_TEST_Destination> destinations) {
  return LUMEN_TEST_NextScriptRow(dataDirectory, file, numArguments, opt, destinations) ==
         LUMEN_TEST_RowStatus::row;
}
