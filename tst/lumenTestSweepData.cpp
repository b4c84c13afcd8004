#include "lumenTestSweepData.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

template <class T>
using Limits = std::numeric_limits<T>;

float floatOf(uint32_t bits) {
  float value;
  std::memcpy(&value, &bits, sizeof(value));
  return value;
}
constexpr uint32_t kSign = 0x80000000, kMantissa = 0x007FFFFF, kMantissaBits = 23;

// From 2^-20 to 2^20 and the same below zero, so that differences and products round.
float randomFloat(LUMEN_TEST_Random& random) {
  const uint64_t bits = random.next();
  const auto exponent = static_cast<uint32_t>(127 - 20 + (bits >> 32) % 40);
  return floatOf((static_cast<uint32_t>(bits) & (kSign | kMantissa)) | exponent << kMantissaBits);
}

// Every other one is subnormal, or 0; the others are the smallest that are not.
float randomSubnormal(LUMEN_TEST_Random& random) {
  const auto bits = static_cast<uint32_t>(random.next());
  const uint32_t exponent = std::max(bits >> 24 & 3, 1u) - 1;
  if (bits % 16 == 0) return 0;
  return floatOf((bits & (kSign | kMantissa)) | exponent << kMantissaBits);
}

// What the elements of an image may be.
template <class T>
struct Range {
  T least = Limits<T>::lowest(), greatest = Limits<T>::max();
  bool isWhole = true;

  static Range of(const LUMEN_TEST_Image& image) {
    if (!image.hasRange()) return {};
    return {static_cast<T>(image.least), static_cast<T>(image.greatest), false};
  }
  T nearest(T value) const { return std::clamp(value, least, greatest); }
};

template <class T>
T randomBetween(double least, double greatest, LUMEN_TEST_Random& random) {
  const double range = greatest - least;
  if constexpr (std::is_same_v<T, float>) {
    // In a wide range numbers of all sizes, not nearly only the largest.
    if (range > 1e6) {
      return std::clamp(randomFloat(random), static_cast<float>(least),
                        static_cast<float>(greatest));
    }
    constexpr uint64_t kSteps = uint64_t{1} << 24;
    const double step = static_cast<double>(random.below(kSteps)) / kSteps;
    return static_cast<float>(std::fma(range, step, least));  // rounded alike everywhere
  } else {
    return static_cast<T>(static_cast<int64_t>(least) +
                          static_cast<int64_t>(random.below(static_cast<uint64_t>(range) + 1)));
  }
}

template <class T>
T randomValue(const Range<T>& range, LUMEN_TEST_Random& random) {
  if (!range.isWhole) {
    return randomBetween<T>(static_cast<double>(range.least), static_cast<double>(range.greatest),
                            random);
  }
  if constexpr (std::is_same_v<T, float>) return randomFloat(random);
  else return static_cast<T>(random.next());
}

// Rows of elements, from the first one on.
template <class T>
struct Rows {
  uint8_t* first;
  size_t stride, length, count;

  // `value(x, y)` into every element, in order.
  template <class Value>
  void fill(Value value) const {
    for (size_t y = 0; y < count; ++y) {
      T* row = reinterpret_cast<T*>(first + y * stride);
      for (size_t x = 0; x < length; ++x) row[x] = value(x, y);
    }
  }

  // As many random bits as the row has, eight bytes at a time.
  void fillWithBits(LUMEN_TEST_Random& random) const {
    for (size_t y = 0; y < count; ++y) {
      uint8_t* row = first + y * stride;
      for (size_t left = length * sizeof(T); left > 0;) {
        const uint64_t bits = random.next();
        const size_t bytes = std::min(left, sizeof(bits));
        std::memcpy(row, &bits, bytes);
        row += bytes;
        left -= bytes;
      }
    }
  }
};

// Through the whole range of an integer type; floats through a range around 0.
template <class T>
T rampAt(const Range<T>& range, size_t element, size_t count) {
  if (!range.isWhole) {
    const double part = static_cast<double>(element) / static_cast<double>(count);
    const auto least = static_cast<double>(range.least);
    return static_cast<T>(std::fma(static_cast<double>(range.greatest) - least, part, least));
  }
  if constexpr (std::is_same_v<T, float>) {
    return 0.37f * (static_cast<float>(element) - static_cast<float>(count / 2));
  } else {
    constexpr uint64_t kValues = uint64_t{1} << (8 * sizeof(T));
    const uint64_t step = std::max<uint64_t>(kValues / std::max<uint64_t>(count, 1), 1);
    return static_cast<T>(static_cast<uint64_t>(Limits<T>::lowest()) + element * step);
  }
}

template <class T>
void fill(const Rows<T>& rows, const Range<T>& range, LUMEN_TEST_Pattern pattern, size_t phase,
          LUMEN_TEST_Random& random) {
  const T zero = range.nearest(T{});
  switch (pattern) {
    case LUMEN_TEST_Pattern::random:
      if constexpr (std::is_integral_v<T>) {
        if (range.isWhole) return rows.fillWithBits(random);
      }
      return rows.fill([&](size_t, size_t) { return randomValue<T>(range, random); });
    case LUMEN_TEST_Pattern::zeros:
      return rows.fill([&](size_t, size_t) { return zero; });
    case LUMEN_TEST_Pattern::max:
      return rows.fill([&](size_t, size_t) { return range.greatest; });
    case LUMEN_TEST_Pattern::min:
      return rows.fill([&](size_t, size_t) { return range.least; });
    case LUMEN_TEST_Pattern::ramp:
      return rows.fill([&](size_t x, size_t y) {
        return rampAt<T>(range, y * rows.length + x, rows.length * rows.count);
      });
    case LUMEN_TEST_Pattern::alt:
      return rows.fill(
          [&](size_t x, size_t y) { return (x + y + phase) % 2 ? range.greatest : range.least; });
    case LUMEN_TEST_Pattern::hot: {
      const size_t hot = static_cast<size_t>(random.below(rows.length * rows.count));
      return rows.fill(
          [&](size_t x, size_t y) { return y * rows.length + x == hot ? range.greatest : zero; });
    }
    case LUMEN_TEST_Pattern::inf:
    case LUMEN_TEST_Pattern::nan:
    case LUMEN_TEST_Pattern::sub:
      break;
  }
  if constexpr (std::is_same_v<T, float>) {
    rows.fill([&](size_t, size_t) {
      if (!range.isWhole) return randomValue(range, random);
      if (pattern == LUMEN_TEST_Pattern::sub) return randomSubnormal(random);
      const uint64_t one = random.below(4);
      if (pattern == LUMEN_TEST_Pattern::nan && one == 0) return Limits<float>::quiet_NaN();
      if (pattern == LUMEN_TEST_Pattern::inf && one == 0) return Limits<float>::infinity();
      if (pattern == LUMEN_TEST_Pattern::inf && one == 1) return -Limits<float>::infinity();
      return randomFloat(random);
    });
  }
}

template <class T>
T scalarValue(const LUMEN_TEST_Scalar& scalar, LUMEN_TEST_ScalarChoice choice,
              LUMEN_TEST_Random& random) {
  const auto values = scalar.values;
  const auto inRange = [&](double value) {
    value = std::clamp(value, scalar.least, scalar.greatest);
    if (values.empty()) return static_cast<T>(value);
    return static_cast<T>(*std::min_element(values.begin(), values.end(), [&](double a, double b) {
      return std::fabs(a - value) < std::fabs(b - value);
    }));
  };
  switch (choice) {
    case LUMEN_TEST_ScalarChoice::least:
      return inRange(scalar.least);
    case LUMEN_TEST_ScalarChoice::greatest:
      return inRange(scalar.greatest);
    case LUMEN_TEST_ScalarChoice::zero:
      return inRange(0);
    case LUMEN_TEST_ScalarChoice::one:
      return inRange(1);
    case LUMEN_TEST_ScalarChoice::random:
      break;
  }
  if (!values.empty())
    return static_cast<T>(values[static_cast<size_t>(random.below(values.size()))]);
  return randomBetween<T>(scalar.least, scalar.greatest, random);
}

constexpr size_t kNumbers = 255;

// A sequence of its own for each image and for the numbers.
LUMEN_TEST_Random randomOf(const LUMEN_TEST_SweepCase& c, size_t part) {
  return LUMEN_TEST_Random(uint64_t{c.seed} << 8 | part);
}

}  // namespace

LUMEN_TEST_Arguments LUMEN_TEST_NumbersOf(const LUMEN_TEST_Description& description,
                                          const LUMEN_TEST_SweepCase& c) {
  LUMEN_TEST_Arguments arguments = {};
  arguments.width = c.width;
  arguments.height = c.height;
  LUMEN_TEST_Random random = randomOf(c, kNumbers);
  for (size_t i = 0; i < description.scalars.size(); ++i) {
    LUMEN_TEST_WithType(description.scalars[i].type, [&](auto value) {
      using T = decltype(value);
      arguments.setValue(i, scalarValue<T>(description.scalars[i], c.scalars, random));
    });
  }
  if (description.adjust) description.adjust(arguments);
  return arguments;
}

LUMEN_TEST_Arguments LUMEN_TEST_ArgumentsOf(const LUMEN_TEST_Description& description,
                                            const LUMEN_TEST_SweepCase& c,
                                            const LUMEN_TEST_Layout& layout,
                                            uint8_t* const (&image)[LUMEN_TEST_MAX_IMAGES]) {
  LUMEN_TEST_Arguments arguments = LUMEN_TEST_NumbersOf(description, c);
  for (size_t i = 0; i < description.images.size(); ++i) {
    arguments.image[i] = image[i];
    arguments.stride[i] = layout.image[i].strideArgument;
  }
  return arguments;
}

void LUMEN_TEST_FillInput(const LUMEN_TEST_Description& description, const LUMEN_TEST_SweepCase& c,
                          const LUMEN_TEST_Layout& layout, size_t index, uint8_t* first) {
  const auto images = description.images;
  const auto before = static_cast<size_t>(
      std::count_if(images.begin(), images.begin() + static_cast<ptrdiff_t>(index),
                    [](const LUMEN_TEST_Image& image) { return !image.isWritten; }));
  const LUMEN_TEST_Layout::Image& place = layout.image[index];
  LUMEN_TEST_Random random = randomOf(c, index);
  LUMEN_TEST_WithType(images[index].type, [&](auto value) {
    using T = decltype(value);
    fill<T>({first, place.stride, place.rowBytes / sizeof(T), place.rows},
            Range<T>::of(images[index]), c.pattern[before % 2], before, random);
  });
}

void LUMEN_TEST_FillInputs(const LUMEN_TEST_Description& description, const LUMEN_TEST_SweepCase& c,
                           const LUMEN_TEST_Layout& layout, const LUMEN_TEST_Arguments& arguments) {
  for (size_t i = 0; i < description.images.size(); ++i) {
    if (description.images[i].isWritten) continue;
    LUMEN_TEST_FillInput(description, c, layout, i, arguments.as<uint8_t>(i));
  }
}

void LUMEN_TEST_FillOutputs(const LUMEN_TEST_Description& description,
                            const LUMEN_TEST_Layout& layout, const LUMEN_TEST_Arguments& arguments,
                            uint8_t fill) {
  for (size_t i = 0; i < description.images.size(); ++i) {
    if (!description.images[i].isWritten) continue;
    std::memset(arguments.image[i], fill, layout.image[i].bytes);
  }
}

namespace {

// Slow waves with weak noise, on them rectangles that are brighter or darker.
void fillWithScene(std::span<uint8_t> bytes, size_t rowElements, LUMEN_TEST_Random& random) {
  constexpr uint64_t kTile = 24, kLeast = 5;
  for (size_t i = 0; i < bytes.size(); ++i) {
    const uint64_t x = i % rowElements, y = i / rowElements;
    const uint64_t tile = LUMEN_TEST_Mix(x / kTile << 32 | y / kTile);
    const uint64_t left = tile % 8, top = tile / 8 % 8, inX = x % kTile, inY = y % kTile;
    const bool isInside = tile >> 63 && inX >= left && inX < left + kLeast + (tile >> 16) % 12 &&
                          inY >= top && inY < top + kLeast + (tile >> 24) % 12;
    const auto wave = [](uint64_t at, uint64_t length) {
      const uint64_t phase = at % (2 * length);
      return 64 * std::min(phase, 2 * length - phase) / length;
    };
    uint64_t value = 40 + wave(x, 310) + wave(y, 170) + random.below(5);
    if (isInside) value = (tile >> 40) % 160 + 48;
    bytes[i] = static_cast<uint8_t>(value);
  }
}

}  // namespace

bool LUMEN_TEST_FillForTiming(const LUMEN_TEST_Image& image, std::span<uint8_t> bytes,
                              size_t rowElements, LUMEN_TEST_Random& random) {
  if (image.isPicture) fillWithScene(bytes, rowElements, random);
  if (image.isPicture || !image.hasRange()) return image.isPicture;
  LUMEN_TEST_WithType(image.type, [&](auto value) {
    using T = decltype(value);
    fill<T>({bytes.data(), bytes.size(), bytes.size() / sizeof(T), 1}, Range<T>::of(image),
            LUMEN_TEST_Pattern::random, 0, random);
  });
  return true;
}
