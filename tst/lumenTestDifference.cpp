#include "lumenTestDifference.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

template <class T>
double LUMEN_TEST_LargestDifference(const LUMEN_TEST_Buffer& ref, const LUMEN_TEST_Buffer& tst) {
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  const auto elements = [](const LUMEN_TEST_Buffer& buffer) {
    return buffer.roiWidth() * (static_cast<size_t>(buffer.shape().elemSize) / sizeof(T));
  };
  const uint8_t *refStart = ref.roi<uint8_t>(), *tstStart = tst.roi<uint8_t>();
  const size_t width = elements(ref), height = ref.roiHeight();
  if (!refStart || !tstStart || width != elements(tst) || height != tst.roiHeight()) return kNone;

  double largest = 0;
  for (size_t y = 0; y < height; ++y) {
    const uint8_t* refRow = refStart + y * ref.strideBytes();
    const uint8_t* tstRow = tstStart + y * tst.strideBytes();
    if (std::memcmp(refRow, tstRow, width * sizeof(T)) == 0) continue;
    for (size_t x = 0; x < width; ++x) {
      T pair[2];
      std::memcpy(&pair[0], refRow + x * sizeof(T), sizeof(T));
      std::memcpy(&pair[1], tstRow + x * sizeof(T), sizeof(T));
      const double r = static_cast<double>(pair[0]), t = static_cast<double>(pair[1]);
      if (r == t || (std::isnan(r) && std::isnan(t))) continue;
      const double difference = std::abs(r - t);
      if (std::isnan(difference)) return kNone;
      largest = std::max(largest, difference);
    }
  }
  return largest;
}

#define LUMEN_TEST_INSTANCE(T)                                                  \
  template double LUMEN_TEST_LargestDifference<T>(const LUMEN_TEST_Buffer& ref, \
                                                  const LUMEN_TEST_Buffer& tst);
LUMEN_TEST_INSTANCE(uint8_t)
LUMEN_TEST_INSTANCE(int8_t)
LUMEN_TEST_INSTANCE(uint16_t)
LUMEN_TEST_INSTANCE(int16_t)
LUMEN_TEST_INSTANCE(uint32_t)
LUMEN_TEST_INSTANCE(int32_t)
LUMEN_TEST_INSTANCE(float)
