// What the test program knows of a library function. One description drives everything that is done
// with the function: golden rows, timing, and checks on data that nobody wrote down.

#ifndef LUMEN_TEST_DESCRIPTION_H
#define LUMEN_TEST_DESCRIPTION_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

#include "lumenTestFunctions.h"

enum class LUMEN_TEST_Type : uint8_t { u8, s8, u16, s16, u32, s32, f32 };
inline constexpr size_t LUMEN_TEST_TYPE_SIZE[] = {1, 1, 2, 2, 4, 4, 4};
constexpr size_t LUMEN_TEST_SizeOf(LUMEN_TEST_Type type) {
  return LUMEN_TEST_TYPE_SIZE[static_cast<size_t>(type)];
}

// Calls `visit` with a value of the type that is meant.
template <class Visit>
auto LUMEN_TEST_WithType(LUMEN_TEST_Type type, Visit visit) {
  switch (type) {
    case LUMEN_TEST_Type::u8:
      return visit(uint8_t{});
    case LUMEN_TEST_Type::s8:
      return visit(int8_t{});
    case LUMEN_TEST_Type::u16:
      return visit(uint16_t{});
    case LUMEN_TEST_Type::s16:
      return visit(int16_t{});
    case LUMEN_TEST_Type::u32:
      return visit(uint32_t{});
    case LUMEN_TEST_Type::s32:
      return visit(int32_t{});
    case LUMEN_TEST_Type::f32:
      break;
  }
  return visit(float{});
}

template <class T>
inline constexpr LUMEN_TEST_Type LUMEN_TEST_TypeOf = std::is_same_v<T, float> ? LUMEN_TEST_Type::f32
                                                     : std::is_unsigned_v<T>
                                                         ? (sizeof(T) == 1   ? LUMEN_TEST_Type::u8
                                                            : sizeof(T) == 2 ? LUMEN_TEST_Type::u16
                                                                             : LUMEN_TEST_Type::u32)
                                                         : (sizeof(T) == 1 ? LUMEN_TEST_Type::s8
                                                            : sizeof(T) == 2
                                                                ? LUMEN_TEST_Type::s16
                                                                : LUMEN_TEST_Type::s32);

inline constexpr size_t LUMEN_TEST_MAX_IMAGES = 8;
inline constexpr size_t LUMEN_TEST_MAX_SCALARS = 8;

// An image that a function reads or writes. Its width and height follow from those of the call, in
// pixels, divided and rounded up.
struct LUMEN_TEST_Image {
  const char* name;
  LUMEN_TEST_Type type;
  bool isWritten = false;
  uint32_t channels = 1;  // elements to a pixel, side by side
  uint32_t widthDivisor = 1;
  uint32_t heightDivisor = 1;
  // The image whose stride argument this one has too; none: it has one of its own.
  size_t strideOf = kOwn;
  // The image whose stride a control script's row passes for this one's; none: its own.
  size_t scriptStrideOf = kOwn;
  // Of a written image: the read ones, a bit each, whose memory it may have. Their rows are as
  // long.
  uint32_t inPlaceOf = 0;

  static constexpr size_t kOwn = SIZE_MAX;
  size_t elementSize() const { return LUMEN_TEST_SizeOf(type); }
  uint64_t rowElements(uint32_t width) const {
    return (uint64_t{width} + widthDivisor - 1) / widthDivisor * channels;
  }
  uint32_t rows(uint32_t height) const {
    return static_cast<uint32_t>((uint64_t{height} + heightDivisor - 1) / heightDivisor);
  }
};

// A number that a function takes. What tests choose lies from `least` to `greatest`.
struct LUMEN_TEST_Scalar {
  const char* name;
  LUMEN_TEST_Type type;
  double least, greatest;
  double forProfiling;  // where profiling has no script
};

// The arguments of one call.
struct LUMEN_TEST_Arguments {
  uint32_t width, height;  // pixels
  void* image[LUMEN_TEST_MAX_IMAGES];
  uint32_t stride[LUMEN_TEST_MAX_IMAGES];  // bytes; of an image without one of its own: not used
  // The bits of a value of the scalar's type, in the first bytes.
  alignas(4) unsigned char scalar[LUMEN_TEST_MAX_SCALARS][4];

  template <class T>
  T* as(size_t index) const {
    return static_cast<T*>(image[index]);
  }
  template <class T>
  T value(size_t index) const {
    T result;
    std::memcpy(&result, scalar[index], sizeof(T));
    return result;
  }
  template <class T>
  void setValue(size_t index, T number) {
    std::memcpy(scalar[index], &number, sizeof(T));
  }
};

// Where a function's control scripts are, relative to the data directory:
// <directory>/control_script_<suffix>.csv and its twin control_script_profiling_<suffix>.csv. Their
// columns are the images that are read, the scalars, a reference for each image that is written,
// and a text.
struct LUMEN_TEST_Scripts {
  const char* directory;
  const char* suffix;
  bool hasProfiling;  // without: an image of 320 x 240 pixels is timed
};

struct LUMEN_TEST_Description {
  const char* name;
  LUMEN_FUNC id;
  LUMEN_TEST_Scripts scripts;
  std::span<const LUMEN_TEST_Image> images;
  std::span<const LUMEN_TEST_Scalar> scalars;
  void (*call)(const LUMEN_TEST_Arguments& arguments);
};

#endif  // LUMEN_TEST_DESCRIPTION_H
