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

inline constexpr size_t LUMEN_TEST_MAX_IMAGES = 12;
inline constexpr size_t LUMEN_TEST_MAX_SCALARS = 16;

struct LUMEN_TEST_Arguments;

struct LUMEN_TEST_Extent {
  uint64_t rowElements, rows;  // at least one of each is taken
};

// An image that a function reads or writes. Its width and height follow from those of the call, in
// pixels, rounded up to a multiple, then divided and rounded up:
//
//   {.name = "y", .heightMultiple = 2}                      written in whole pairs of rows
//   {.name = "cbcr", .channels = 2, .widthDivisor = 2, .heightDivisor = 2}
//
// A list, a table or a work area is an image too. Its size follows from the call's numbers, it has
// no stride argument, and of a list only as much means something as the call says:
//
//   {.name = "xy", .type = u32, .isWritten = true, .isPacked = true,
//    .extent = [](const LUMEN_TEST_Arguments& a) -> LUMEN_TEST_Extent {
//      return {2, a.value<uint32_t>(kCapacity)};
//    },
//    .meaningful = [](const LUMEN_TEST_Arguments& a) -> uint64_t {
//      return 2 * uint64_t{a.as<uint32_t>(kCount)[0]};
//    }}
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
  // Pixels, before they are divided. The size that the call is given is not rounded: a file may
  // declare it as a region of an image that is larger.
  uint32_t widthMultiple = 1;
  uint32_t heightMultiple = 1;
  bool isPacked = false;  // rows without gaps and without a stride argument
  // The size, where it does not follow from width and height so. The images' places and strides
  // are not known then.
  LUMEN_TEST_Extent (*extent)(const LUMEN_TEST_Arguments& arguments) = nullptr;
  // Of a written image, after the call: how many elements mean something, row after row from the
  // first one on; none: all. The others have to be as they were, unless `isRestFree`.
  uint64_t (*meaningful)(const LUMEN_TEST_Arguments& arguments) = nullptr;
  bool isRestFree = false;
  // Of a written image: a work area. Nothing in it means anything, and scripts have no column of
  // it.
  bool isScratch = false;
  // What tests choose for the elements of a read image; both 0: any value of its type.
  double least = 0, greatest = 0;
  // Of bytes that are read: times depend on what the image shows, so that a scene with flat parts,
  // edges and corners is timed, not noise.
  bool isPicture = false;

  static constexpr size_t kOwn = SIZE_MAX;
  size_t elementSize() const { return LUMEN_TEST_SizeOf(type); }
  uint64_t rowElements(uint32_t width) const {
    return divided(width, widthMultiple, widthDivisor) * channels;
  }
  uint64_t rows(uint32_t height) const { return divided(height, heightMultiple, heightDivisor); }
  // Without the rounding to multiples.
  LUMEN_TEST_Extent region(uint32_t width, uint32_t height) const {
    return {divided(width, 1, widthDivisor) * channels, divided(height, 1, heightDivisor)};
  }
  LUMEN_TEST_Extent extentOf(const LUMEN_TEST_Arguments& arguments) const;
  bool isCompared() const { return isWritten && !isScratch; }
  bool hasRange() const { return least != greatest; }

 private:
  static uint64_t divided(uint64_t pixels, uint64_t multiple, uint64_t divisor) {
    const uint64_t rounded = (pixels + multiple - 1) / multiple * multiple;
    return (rounded + divisor - 1) / divisor;
  }
};

// A number that a function takes. What tests choose lies from `least` to `greatest`, and is one of
// `values` where there are any.
struct LUMEN_TEST_Scalar {
  const char* name;
  LUMEN_TEST_Type type;
  double least, greatest;
  double forProfiling;  // where profiling has no script
  std::span<const double> values = {};
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

inline LUMEN_TEST_Extent LUMEN_TEST_Image::extentOf(const LUMEN_TEST_Arguments& arguments) const {
  const LUMEN_TEST_Extent size =
      extent ? extent(arguments)
             : LUMEN_TEST_Extent{rowElements(arguments.width), rows(arguments.height)};
  return {size.rowElements > 0 ? size.rowElements : 1, size.rows > 0 ? size.rows : 1};
}

// The sizes that checks on data that nobody wrote down call a function with, in pixels: the least,
// and steps from there.
struct LUMEN_TEST_Sizes {
  uint32_t leastWidth = 1, leastHeight = 1;
  uint32_t widthStep = 1, heightStep = 1;
  uint32_t greatestWidth = UINT32_MAX, greatestHeight = UINT32_MAX;

  // The nth, from 1 on; UINT32_MAX where there is none.
  uint32_t width(uint32_t n) const { return nth(n, leastWidth, widthStep, greatestWidth); }
  uint32_t height(uint32_t n) const { return nth(n, leastHeight, heightStep, greatestHeight); }
  bool allow(uint32_t width, uint32_t height) const {
    return isOne(width, leastWidth, widthStep, greatestWidth) &&
           isOne(height, leastHeight, heightStep, greatestHeight);
  }

 private:
  static uint32_t nth(uint32_t n, uint32_t least, uint32_t step, uint32_t greatest) {
    const uint64_t size = least + uint64_t{step} * (n - 1);
    return size <= greatest ? static_cast<uint32_t>(size) : UINT32_MAX;
  }
  static bool isOne(uint32_t size, uint32_t least, uint32_t step, uint32_t greatest) {
    return size >= least && size <= greatest && (size - least) % step == 0;
  }
};

// Where a function's control scripts are, relative to the data directory:
// <directory>/control_script_<suffix>.csv and its twin control_script_profiling_<suffix>.csv. Their
// columns are the images that are read, the scalars, a reference for each image that is written
// and is no work area, and a text. The first image without an extent of its own says the call's
// width and height; where there is none they are 1.
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
  // Creates and releases what the function needs beside its arguments, a handle for example.
  void (*call)(const LUMEN_TEST_Arguments& arguments);
  LUMEN_TEST_Sizes sizes = {};
  // Makes numbers that were chosen each for itself fit the size and one another; images are not
  // there yet. Rows of scripts are called as they stand.
  void (*adjust)(LUMEN_TEST_Arguments& arguments) = nullptr;
  // Logs in the function's own terms where a row's results first differ from the references, which
  // stand in place of the written images in `expected`.
  void (*explain)(const LUMEN_TEST_Arguments& arguments,
                  const LUMEN_TEST_Arguments& expected) = nullptr;

  // How many elements of a written image mean something after the call.
  uint64_t meaningful(size_t image, const LUMEN_TEST_Arguments& arguments) const {
    const LUMEN_TEST_Extent size = images[image].extentOf(arguments);
    const uint64_t all = size.rowElements * size.rows;
    if (images[image].isScratch) return 0;
    if (!images[image].meaningful) return all;
    const uint64_t some = images[image].meaningful(arguments);
    return some < all ? some : all;
  }
};

#endif  // LUMEN_TEST_DESCRIPTION_H
