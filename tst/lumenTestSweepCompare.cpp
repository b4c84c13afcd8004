#include "lumenTestSweepCompare.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

#include "lumenTestSweepData.h"

namespace {

constexpr size_t kMargin = 256;  // a function at fault may write beyond its image

// What a reference leaves unwritten is to differ from what others leave so.
constexpr uint8_t kUnwritten = 0x5A;

std::string textOf(double value) {
  char text[40];
  std::snprintf(text, sizeof(text), "%.9g", value);
  return text;
}
template <class T>
std::string textOfValue(T value) {
  if constexpr (std::is_same_v<T, float>) return textOf(static_cast<double>(value));
  else return std::to_string(value);
}

template <class T>
double distance(T a, T b) {
  if constexpr (std::is_same_v<T, float>) {
    if (a == b || (std::isnan(a) && std::isnan(b))) return 0;
    const double difference = std::fabs(static_cast<double>(a) - static_cast<double>(b));
    return std::isnan(difference) ? std::numeric_limits<double>::infinity() : difference;
  } else {
    return std::fabs(static_cast<double>(a) - static_cast<double>(b));
  }
}

// Calls `visit` for each row of the images that are compared, with the place of its packed bytes.
template <class Visit>
void forWrittenRows(const LUMEN_TEST_Description& description, const LUMEN_TEST_Layout& layout,
                    const LUMEN_TEST_Arguments& arguments, Visit visit) {
  size_t packed = 0;
  for (size_t i = 0; i < description.images.size(); ++i) {
    if (!description.images[i].isCompared()) continue;
    const LUMEN_TEST_Layout::Image& place = layout.image[i];
    for (size_t y = 0; y < place.rows; ++y) {
      visit(i, y, arguments.as<uint8_t>(i) + y * place.stride, packed, place.rowBytes);
      packed += place.rowBytes;
    }
  }
}

// Makes the subnormals among floats zero; true when there were any.
bool flush(float& value) {
  const bool isSubnormal = std::fpclassify(value) == FP_SUBNORMAL;
  if (isSubnormal) value = std::copysign(0.0f, value);
  return isSubnormal;
}
bool flushRow(uint8_t* row, size_t bytes) {
  bool any = false;
  for (size_t at = 0; at < bytes; at += sizeof(float)) {
    float value;
    std::memcpy(&value, row + at, sizeof(value));
    if (!flush(value)) continue;
    std::memcpy(row + at, &value, sizeof(value));
    any = true;
  }
  return any;
}

bool flushInputs(const LUMEN_TEST_Description& description, const LUMEN_TEST_Layout& layout,
                 LUMEN_TEST_Arguments& arguments) {
  bool any = false;
  for (size_t i = 0; i < description.images.size(); ++i) {
    const LUMEN_TEST_Image& image = description.images[i];
    if (image.isWritten || image.type != LUMEN_TEST_Type::f32) continue;
    for (size_t y = 0; y < layout.image[i].rows; ++y) {
      any |=
          flushRow(arguments.as<uint8_t>(i) + y * layout.image[i].stride, layout.image[i].rowBytes);
    }
  }
  for (size_t i = 0; i < description.scalars.size(); ++i) {
    if (description.scalars[i].type != LUMEN_TEST_Type::f32) continue;
    any |= flushRow(arguments.scalar[i], sizeof(float));
  }
  return any;
}

// How many bytes of a row mean something.
size_t meaningfulBytes(const LUMEN_TEST_Description& description, const uint64_t* meaningful,
                       size_t image, size_t row, size_t rowBytes) {
  const uint64_t before = uint64_t{row} * rowBytes;
  const uint64_t all = meaningful[image] * description.images[image].elementSize();
  return static_cast<size_t>(std::min<uint64_t>(all > before ? all - before : 0, rowBytes));
}

std::vector<uint8_t> packed(const LUMEN_TEST_Description& description,
                            const LUMEN_TEST_Layout& layout, const LUMEN_TEST_Arguments& arguments,
                            const uint64_t* meaningful) {
  std::vector<uint8_t> bytes;
  forWrittenRows(description, layout, arguments,
                 [&](size_t i, size_t y, const uint8_t* row, size_t, size_t rowBytes) {
                   const size_t kept = meaningfulBytes(description, meaningful, i, y, rowBytes);
                   bytes.insert(bytes.end(), row, row + kept);
                   bytes.insert(bytes.end(), rowBytes - kept, uint8_t{0});
                 });
  return bytes;
}

bool flushOutputs(const LUMEN_TEST_Description& description, const LUMEN_TEST_Layout& layout,
                  const LUMEN_TEST_Arguments& arguments) {
  bool any = false;
  forWrittenRows(description, layout, arguments,
                 [&](size_t i, size_t, uint8_t* row, size_t, size_t rowBytes) {
                   if (description.images[i].type == LUMEN_TEST_Type::f32) {
                     any |= flushRow(row, rowBytes);
                   }
                 });
  return any;
}

template <class T>
void compareRow(const uint8_t* exactBytes, const uint8_t* otherBytes, const uint8_t* resultBytes,
                size_t count, double tolerance, LUMEN_TEST_Mismatch& mismatch, size_t image,
                size_t row) {
  const auto at = [](const uint8_t* bytes, size_t x) {
    T value;
    std::memcpy(&value, bytes + x * sizeof(T), sizeof(T));
    return value;
  };
  for (size_t x = 0; x < count; ++x) {
    const T expected = at(exactBytes, x), result = at(resultBytes, x);
    double difference = distance(expected, result);
    if (otherBytes) difference = std::min(difference, distance(at(otherBytes, x), result));
    mismatch.largest = std::max(mismatch.largest, difference);
    if (difference <= tolerance) continue;
    if (mismatch.differing++ > 0) continue;
    mismatch.image = image;
    mismatch.row = row;
    mismatch.element = x;
    mismatch.reference = textOfValue(expected);
    mismatch.result = textOfValue(result);
  }
}

}  // namespace

std::optional<LUMEN_TEST_Reference> LUMEN_TEST_ReferenceOf(
    const LUMEN_TEST_Description& description, const LUMEN_TEST_SweepCase& c,
    LUMEN_TEST_CaseMemory& memory, bool subnormalsMayBeZero) {
  LUMEN_TEST_SweepCase plain = c;
  plain.readPadding = plain.writtenPadding = plain.misaligned = 0;
  plain.strides = LUMEN_TEST_StrideChoice::padded;
  plain.inPlace.reset();
  LUMEN_TEST_Layout layout;
  if (!LUMEN_TEST_LayOut(description, plain, layout) ||
      !memory.place(description, plain, layout, kMargin)) {
    return {};
  }
  LUMEN_TEST_Arguments arguments =
      LUMEN_TEST_ArgumentsOf(description, plain, layout, memory.images());
  LUMEN_TEST_FillOutputs(description, layout, arguments, kUnwritten);
  LUMEN_TEST_FillInputs(description, plain, layout, arguments);
  description.call(arguments);
  LUMEN_TEST_Reference reference;
  for (size_t i = 0; i < description.images.size(); ++i) {
    if (!description.images[i].isCompared()) continue;
    reference.meaningful[i] = description.meaningful(i, arguments);
  }
  reference.exact = packed(description, layout, arguments, reference.meaningful);
  if (subnormalsMayBeZero) {
    bool any = flushInputs(description, layout, arguments);
    if (any) description.call(arguments);
    any |= flushOutputs(description, layout, arguments);
    if (any) {
      reference.withoutSubnormals = packed(description, layout, arguments, reference.meaningful);
    }
  }
  return reference;
}

LUMEN_TEST_Mismatch LUMEN_TEST_CompareWithReference(const LUMEN_TEST_Description& description,
                                                    const LUMEN_TEST_Layout& layout,
                                                    const LUMEN_TEST_Arguments& arguments,
                                                    const LUMEN_TEST_Reference& reference,
                                                    float tolerance) {
  LUMEN_TEST_Mismatch mismatch;
  forWrittenRows(description, layout, arguments,
                 [&](size_t i, size_t y, const uint8_t* row, size_t packedAt, size_t rowBytes) {
                   const LUMEN_TEST_Type type = description.images[i].type;
                   rowBytes = meaningfulBytes(description, reference.meaningful, i, y, rowBytes);
                   const size_t count = rowBytes / LUMEN_TEST_SizeOf(type);
                   mismatch.elements += count;
                   const uint8_t* exact = reference.exact.data() + packedAt;
                   if (std::memcmp(row, exact, rowBytes) == 0) return;
                   const uint8_t* other = reference.withoutSubnormals.empty()
                                              ? nullptr
                                              : reference.withoutSubnormals.data() + packedAt;
                   const bool isFloat = type == LUMEN_TEST_Type::f32;
                   LUMEN_TEST_WithType(type, [&](auto value) {
                     compareRow<decltype(value)>(exact, other, row, count,
                                                 isFloat ? static_cast<double>(tolerance) : 0,
                                                 mismatch, i, y);
                   });
                 });
  return mismatch;
}
