#include "lumenTestCompare.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "lumenTestLog.h"
#include "lumenTestNumbers.h"

namespace {

struct Window {
  int stride, height, x, width, y, roiHeight;

  // Sums of two int are not always one.
  int64_t right() const { return int64_t{x} + width; }
  int64_t bottom() const { return int64_t{y} + roiHeight; }
  bool isEmpty() const { return width < 1 || roiHeight < 1; }
  bool reachesOut() const { return right() > stride || bottom() > height; }
};

void setDefault(int& value, int standard) {
  if (value == -1) value = standard;
}

void applyDefaults(Window& ref, Window& tst) {
  setDefault(ref.x, 0);
  setDefault(ref.y, 0);
  setDefault(ref.width, ref.stride);
  setDefault(ref.roiHeight, ref.height);
  for (int Window::*number : {&Window::stride, &Window::height, &Window::x, &Window::width,
                              &Window::y, &Window::roiHeight}) {
    setDefault(tst.*number, ref.*number);
  }
}

void logReach(const char* name, const Window& window) {
  LUMEN_TEST_Log("%s Win : %d > %d, %d > %d\n", name, static_cast<int>(window.bottom()),
                 window.height, static_cast<int>(window.right()), window.stride);
}

void logWindow(const char* name, const Window& window) {
  LUMEN_TEST_Log("%s Win : %d,%d,%d,%d,%d,%d\n", name, window.stride, window.height, window.y,
                 window.x, window.width, window.roiHeight);
}

enum class Regions { kDiffer, kEmpty, kComparable };

// The rules that every comparison begins with.
Regions prepare(const void* refData, const void* tstData, Window& ref, Window& tst) {
  applyDefaults(ref, tst);
  if (ref.width != tst.width || ref.roiHeight != tst.roiHeight) {
    LUMEN_TEST_Log("Ref Win : %d,%d\n", ref.width, ref.roiHeight);
    LUMEN_TEST_Log("Tst Win : %d,%d\n", tst.width, tst.roiHeight);
    return Regions::kDiffer;
  }
  // An empty region has no first element that could lie before the array.
  const bool startsBefore = !ref.isEmpty() && (ref.x < 0 || ref.y < 0 || tst.x < 0 || tst.y < 0);
  if (ref.reachesOut() || tst.reachesOut() || startsBefore) {
    logReach("Ref", ref);
    logReach("Tst", tst);
    return Regions::kDiffer;
  }
  if (ref.isEmpty()) return Regions::kEmpty;
  if (refData && tstData) return Regions::kComparable;
  LUMEN_TEST_Log("No data to compare: ref %p, tst %p\n", refData, tstData);
  return Regions::kDiffer;
}

struct Place {
  int row, column;
};

// Calls `see` with each pair of elements and their places, row by row, until it returns false.
// Returns whether it never did.
template <class T, class See>
bool walk(const T* ref, const T* tst, const Window& refWindow, const Window& tstWindow, See see) {
  const auto rowOf = [](const T* data, const Window& window, int row) {
    return data + static_cast<ptrdiff_t>(window.y + row) * window.stride + window.x;
  };
  for (int row = 0; row < refWindow.roiHeight; ++row) {
    const T* refRow = rowOf(ref, refWindow, row);
    const T* tstRow = rowOf(tst, tstWindow, row);
    for (int column = 0; column < refWindow.width; ++column) {
      if (!see(refRow[column], tstRow[column], Place{refWindow.y + row, refWindow.x + column},
               Place{tstWindow.y + row, tstWindow.x + column})) {
        return false;
      }
    }
  }
  return true;
}

// Compares element by element: `differs` decides on a pair, `report` logs the pair that is one too
// many.
template <class T, class Differs, class Report>
int compare(const T* ref, const T* tst, Window refWindow, Window tstWindow, int allowed,
            Differs differs, Report report) {
  const Regions regions = prepare(ref, tst, refWindow, tstWindow);
  if (regions != Regions::kComparable) return regions == Regions::kDiffer;
  int count = 1;
  const bool agree = walk(ref, tst, refWindow, tstWindow,
                          [&](T refValue, T tstValue, Place refPlace, Place tstPlace) {
                            if (!differs(refValue, tstValue)) return true;
                            if (count <= allowed) {
                              ++count;
                              return true;
                            }
                            report(refValue, tstValue, refPlace, tstPlace);
                            return false;
                          });
  if (agree) return 0;
  logWindow("Ref", refWindow);
  logWindow("Tst", tstWindow);
  return 1;
}

long long toInteger(float value) {
  long long integer = 0;
  if (LUMEN_TEST_StoreReal(static_cast<double>(value), integer)) return integer;
  return value > 0   ? std::numeric_limits<long long>::max()
         : value < 0 ? std::numeric_limits<long long>::min()
                     : 0;
}
long long toInteger(long long value) { return value; }

template <class T>
bool isBeyond(T ref, T tst, T tolerance) {
  if constexpr (std::is_floating_point_v<T>) {
    return std::abs(ref - tst) > tolerance;
  } else {
    // Widened first, so that neither unsigned nor signed values wrap around.
    int64_t difference = 0;
    if (__builtin_sub_overflow(int64_t{ref}, int64_t{tst}, &difference)) return true;
    if (difference == std::numeric_limits<int64_t>::min()) return true;
    return (difference < 0 ? -difference : difference) > int64_t{tolerance};
  }
}

template <class T>
int compareAbsolute(const T* ref, const T* tst, const Window& refWindow, const Window& tstWindow,
                    T tolerance, int allowed) {
  using Wide = std::conditional_t<std::is_floating_point_v<T>, float, long long>;
  return compare(
      ref, tst, refWindow, tstWindow, allowed,
      [=](T refValue, T tstValue) { return isBeyond(refValue, tstValue, tolerance); },
      [](T refValue, T tstValue, Place refPlace, Place tstPlace) {
        LUMEN_TEST_Log("Diff Index = (%d,%d) (%d,%d) ref = %lld, tst = %lld\n", refPlace.row,
                       refPlace.column, tstPlace.row, tstPlace.column,
                       toInteger(static_cast<Wide>(refValue)),
                       toInteger(static_cast<Wide>(tstValue)));
      });
}

float differenceF32(float ref, float tst, float precision) {
  const float difference = std::abs(ref - tst);
  if (std::abs(ref) < precision || std::abs(tst) < precision || tst == 0) return difference;
  return std::abs((ref - tst) / tst);
}

int compareFloat(const float* ref, const float* tst, const Window& refWindow,
                 const Window& tstWindow, float precision, int allowed) {
  return compare(
      ref, tst, refWindow, tstWindow, allowed,
      [=](float refValue, float tstValue) {
        return differenceF32(refValue, tstValue, precision) > precision;
      },
      [=](float refValue, float tstValue, Place refPlace, Place tstPlace) {
        LUMEN_TEST_Differs_f32(refValue, tstValue, precision);
        LUMEN_TEST_Log("Diff Index = (%d,%d) (%d,%d)\n", refPlace.row, refPlace.column,
                       tstPlace.row, tstPlace.column);
      });
}

template <class T>
int comparePsnr(const T* ref, const T* tst, Window refWindow, Window tstWindow, double toleranceDb,
                int maxValue) {
  const Regions regions = prepare(ref, tst, refWindow, tstWindow);
  if (regions == Regions::kDiffer || maxValue == 0) return 1;
  if (regions == Regions::kEmpty) return 0;
  double squares = 0;
  walk(ref, tst, refWindow, tstWindow, [&](T refValue, T tstValue, Place, Place) {
    const double difference = static_cast<double>(refValue) - static_cast<double>(tstValue);
    squares += difference * difference;
    return true;
  });
  if (squares == 0) return 0;
  const auto peak = static_cast<uint32_t>(maxValue);
  const uint32_t signal = static_cast<uint32_t>(refWindow.width) *
                          static_cast<uint32_t>(refWindow.roiHeight) * peak * peak;
  const double psnr = 10 * std::log10(signal / squares);
  if (!(psnr < toleranceDb)) return 0;
  LUMEN_TEST_Log("psnr %f < tolerancePSNRdB %f", psnr, toleranceDb);
  return 1;
}

// The window of a buffer in elements of `size` bytes. False when the buffer has no such elements
// or not the memory that its shape says.
bool windowOf(const LUMEN_TEST_Buffer& buffer, size_t size, Window& window) {
  const LUMEN_TEST_Buffer::MemShape_& shape = buffer.shape();
  const auto elemSize = static_cast<size_t>(shape.elemSize);
  const auto perElement = static_cast<int64_t>(elemSize / size);
  uint64_t bytes = 0;
  if (elemSize % size != 0 || shape.stride * perElement > INT32_MAX ||
      !LUMEN_TEST_Product({shape.stride, shape.height, shape.elemSize}, bytes) ||
      (bytes && !buffer.data()) || bytes > buffer.size()) {
    LUMEN_TEST_Log("No data to compare: %d x %d elements of %d bytes in %u bytes, wanted of %zu\n",
                   shape.stride, shape.height, shape.elemSize, buffer.size(), size);
    return false;
  }
  // A region that its stride cannot hold stays one that reaches out.
  const auto scaled = [=](int32_t number) {
    return number == -1
               ? number
               : static_cast<int>(std::clamp<int64_t>(number * perElement, INT32_MIN, INT32_MAX));
  };
  window = {scaled(shape.stride),   shape.height, scaled(shape.roiX),
            scaled(shape.roiWidth), shape.roiY,   shape.roiHeight};
  return true;
}

// Calls `compareArrays` with the arrays and windows of two buffers.
template <class T, class Compare>
int compareBuffers(const LUMEN_TEST_Buffer& ref, const LUMEN_TEST_Buffer& tst,
                   Compare compareArrays) {
  Window refWindow, tstWindow;
  if (!windowOf(ref, sizeof(T), refWindow) || !windowOf(tst, sizeof(T), tstWindow)) return 1;
  return compareArrays(reinterpret_cast<const T*>(ref.data()),
                       reinterpret_cast<const T*>(tst.data()), refWindow, tstWindow);
}

}  // namespace

bool LUMEN_TEST_Differs_f32(float ref, float tst, float precision) {
  const float difference = differenceF32(ref, tst, precision);
  if (!(difference > precision)) return false;
  LUMEN_TEST_Log("ref %e, tst %e, diff %e, precision %e", static_cast<double>(ref),
                 static_cast<double>(tst), static_cast<double>(difference),
                 static_cast<double>(precision));
  return true;
}

template <class T>
int LUMEN_TEST_CompareBuffers(const T* ref, const T* tst, int refStride, int refHeight, int refX,
                              int refWidth, int refY, int refRoiHeight, int tstStride,
                              int tstHeight, int tstX, int tstWidth, int tstY, int tstRoiHeight,
                              std::type_identity_t<T> tolerance) {
  return compareAbsolute<T>(ref, tst, {refStride, refHeight, refX, refWidth, refY, refRoiHeight},
                            {tstStride, tstHeight, tstX, tstWidth, tstY, tstRoiHeight}, tolerance,
                            0);
}

template <class T>
int LUMEN_TEST_CompareBuffers(const LUMEN_TEST_Buffer& ref, const LUMEN_TEST_Buffer& tst,
                              T tolerance) {
  return compareBuffers<T>(
      ref, tst, [=](auto... arrays) { return compareAbsolute<T>(arrays..., tolerance, 0); });
}

template <class T>
int LUMEN_TEST_CompareBuffersAllowNDiff(const T* ref, const T* tst, int refStride, int refHeight,
                                        int refX, int refWidth, int refY, int refRoiHeight,
                                        int tstStride, int tstHeight, int tstX, int tstWidth,
                                        int tstY, int tstRoiHeight,
                                        std::type_identity_t<T> tolerance, int allowed) {
  return compareAbsolute<T>(ref, tst, {refStride, refHeight, refX, refWidth, refY, refRoiHeight},
                            {tstStride, tstHeight, tstX, tstWidth, tstY, tstRoiHeight}, tolerance,
                            allowed);
}

template <class T>
int LUMEN_TEST_CompareBuffersAllowNDiff(const LUMEN_TEST_Buffer& ref, const LUMEN_TEST_Buffer& tst,
                                        T tolerance, int allowed) {
  return compareBuffers<T>(
      ref, tst, [=](auto... arrays) { return compareAbsolute<T>(arrays..., tolerance, allowed); });
}

int LUMEN_TEST_CompareBuffers_f32(const float* ref, const float* tst, int refStride, int refHeight,
                                  int refX, int refWidth, int refY, int refRoiHeight, int tstStride,
                                  int tstHeight, int tstX, int tstWidth, int tstY, int tstRoiHeight,
                                  float precision, int allowed) {
  return compareFloat(ref, tst, {refStride, refHeight, refX, refWidth, refY, refRoiHeight},
                      {tstStride, tstHeight, tstX, tstWidth, tstY, tstRoiHeight}, precision,
                      allowed);
}

int LUMEN_TEST_CompareBuffers_f32(const LUMEN_TEST_Buffer& ref, const LUMEN_TEST_Buffer& tst,
                                  float precision) {
  return LUMEN_TEST_CompareBuffersAllowNDiff_f32(ref, tst, precision, 0);
}

int LUMEN_TEST_CompareBuffersAllowNDiff_f32(const LUMEN_TEST_Buffer& ref,
                                            const LUMEN_TEST_Buffer& tst, float precision,
                                            int allowed) {
  return compareBuffers<float>(
      ref, tst, [=](auto... arrays) { return compareFloat(arrays..., precision, allowed); });
}

template <class T>
int LUMEN_TEST_CompareBuffersPSNR(const T* ref, const T* tst, int refStride, int refHeight,
                                  int refX, int refWidth, int refY, int refRoiHeight, int tstStride,
                                  int tstHeight, int tstX, int tstWidth, int tstY, int tstRoiHeight,
                                  double toleranceDb, int maxValue) {
  return comparePsnr<T>(ref, tst, {refStride, refHeight, refX, refWidth, refY, refRoiHeight},
                        {tstStride, tstHeight, tstX, tstWidth, tstY, tstRoiHeight}, toleranceDb,
                        maxValue);
}

template <class T>
int LUMEN_TEST_CompareBuffersPSNR(const LUMEN_TEST_Buffer& ref, const LUMEN_TEST_Buffer& tst,
                                  double toleranceDb, int maxValue) {
  return compareBuffers<T>(
      ref, tst, [=](auto... arrays) { return comparePsnr<T>(arrays..., toleranceDb, maxValue); });
}

// A template's two forms for one type.
#define LUMEN_TEST_NUMBERS int, int, int, int, int, int, int, int, int, int, int, int
#define LUMEN_TEST_INSTANCE(name, T, ...)                                    \
  template int name<T>(const T*, const T*, LUMEN_TEST_NUMBERS, __VA_ARGS__); \
  template int name<T>(const LUMEN_TEST_Buffer&, const LUMEN_TEST_Buffer&, __VA_ARGS__);
LUMEN_TEST_INSTANCE(LUMEN_TEST_CompareBuffers, unsigned char, unsigned char)
LUMEN_TEST_INSTANCE(LUMEN_TEST_CompareBuffers, signed char, signed char)
LUMEN_TEST_INSTANCE(LUMEN_TEST_CompareBuffers, char, char)
LUMEN_TEST_INSTANCE(LUMEN_TEST_CompareBuffers, short, short)
LUMEN_TEST_INSTANCE(LUMEN_TEST_CompareBuffers, unsigned short, unsigned short)
LUMEN_TEST_INSTANCE(LUMEN_TEST_CompareBuffers, int, int)
LUMEN_TEST_INSTANCE(LUMEN_TEST_CompareBuffers, unsigned int, unsigned int)
LUMEN_TEST_INSTANCE(LUMEN_TEST_CompareBuffers, long long, long long)
LUMEN_TEST_INSTANCE(LUMEN_TEST_CompareBuffers, float, float)
LUMEN_TEST_INSTANCE(LUMEN_TEST_CompareBuffersAllowNDiff, unsigned char, unsigned char, int)
LUMEN_TEST_INSTANCE(LUMEN_TEST_CompareBuffersAllowNDiff, short, short, int)
LUMEN_TEST_INSTANCE(LUMEN_TEST_CompareBuffersAllowNDiff, unsigned int, unsigned int, int)
LUMEN_TEST_INSTANCE(LUMEN_TEST_CompareBuffersPSNR, unsigned char, double, int)
