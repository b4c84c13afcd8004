// Packed RGB: references against the definitions, in real numbers where these are; vector
// implementations of every instruction set that this machine has against the references.

#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "lumenColorFormat.h"
#include "lumenColorTestSupport.h"
#include "lumenRoutines.h"
#include "lumenTable.h"
#include "lumenTestSupport.h"

namespace {

using lumColorTest::Plane;
using lumColorTest::Shape;
using Convert = void(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t);

struct Function {
  const char* name;
  size_t srcBytes, dstBytes;
  Convert* reference;
  const lumVectorSet<Convert>* vector;
};
const Function kFunctions[] = {
#define LUM_COLOR_RGB(name, From, To) \
  {#name, lumColor::From::kBytes, lumColor::To::kBytes, name##C, &name##V},
#include "lumenColorRgb.def"
};

void checkVector(const Function& function, const Shape& shape, bool inPlace) {
  SCOPED_TRACE(shape.text() + (inPlace ? " in place" : ""));
  const size_t srcRow = shape.width * function.srcBytes, dstRow = shape.width * function.dstBytes;
  Plane src(shape, 0, srcRow, shape.height), want(shape, 1, dstRow, shape.height);
  src.fill(lumColorTest::Bytes(shape.width * 131 + shape.height));
  function.reference(src.data(), shape.width, shape.height, src.stride(), want.data(),
                     want.stride());
  ASSERT_TRUE(want.gapsAreUntouched());
  lumColorTest::forEachTarget(*function.vector, [&](Convert* convert) {
    Plane own(shape, 2, srcRow, shape.height);
    Plane got(shape, inPlace ? 2 : 3, dstRow, shape.height);
    own.fill([&](size_t x, uint32_t y) { return src.row(y)[x]; });
    convert(own.data(), shape.width, shape.height, own.stride(), got.data(), got.stride());
    ASSERT_TRUE(got.isEqualTo(want));
    ASSERT_TRUE(got.gapsAreUntouched());
  });
}

// A row of one call of the reference, and the same of every instruction set.
std::vector<uint8_t> convertedRow(const Function& function, const std::vector<uint8_t>& src) {
  const auto width = static_cast<uint32_t>(src.size() / function.srcBytes);
  const auto run = [&](Convert* convert) {
    std::vector<uint8_t> dst(width * function.dstBytes);
    convert(src.data(), width, 1, static_cast<uint32_t>(src.size()), dst.data(),
            static_cast<uint32_t>(dst.size()));
    return dst;
  };
  const std::vector<uint8_t> want = run(function.reference);
  lumColorTest::forEachTarget(*function.vector,
                              [&](Convert* convert) { EXPECT_EQ(run(convert), want); });
  return want;
}
const Function& functionOf(const char* name) {
  return *std::find_if(std::begin(kFunctions), std::end(kFunctions),
                       [&](const Function& f) { return std::strcmp(f.name, name) == 0; });
}

// Every colour whose channels are multiples of `step`, and 255, handed over in rows.
template <class Row>
void forEachColour(int step, size_t bytes, Row row) {
  const auto level = [&](int i) { return static_cast<uint8_t>(std::min(i * step, 255)); };
  const int count = (255 + step - 1) / step + 1;
  for (int r = 0; r < count; ++r) {
    std::vector<uint8_t> src;
    for (int i = 0; i < count * count; ++i) {
      src.insert(src.end(), {level(r), level(i / count), level(i % count)});
      if (bytes == 4) src.push_back(level(i % count));
    }
    row(src);
    if (testing::Test::HasFailure()) return;
  }
}

// L*, a* and b* as IEC 61966-2-1 and CIE 15 define them, scaled to bytes.
std::array<double, 3> realLab(const uint8_t* rgb) {
  double linear[3], f[3];
  for (int i = 0; i < 3; ++i) {
    const double v = rgb[i] / 255.0;
    linear[i] = v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
  }
  constexpr double kMatrix[3][3] = {{0.4124564, 0.3575761, 0.1804375},
                                    {0.2126729, 0.7151522, 0.0721750},
                                    {0.0193339, 0.1191920, 0.9503041}};
  for (int k = 0; k < 3; ++k) {
    const auto& m = kMatrix[k];
    const double t =
        (m[0] * linear[0] + m[1] * linear[1] + m[2] * linear[2]) / (m[0] + m[1] + m[2]);
    f[k] = t > 216.0 / 24389 ? std::cbrt(t) : (24389.0 / 27 * t + 16) / 116;
  }
  return {(116 * f[1] - 16) * 2.55, 500 * (f[0] - f[1]) + 128, 200 * (f[1] - f[2]) + 128};
}

// H, S and V of the hexcone, H by the angle's definition.
std::array<double, 3> realHsv(const uint8_t* rgb) {
  const double r = rgb[0], g = rgb[1], b = rgb[2];
  const double value = std::max({r, g, b}), distance = value - std::min({r, g, b});
  double degrees = 0;
  if (distance == 0) degrees = 0;
  else if (value == r) degrees = 60 * std::fmod((g - b) / distance + 6, 6);
  else if (value == g) degrees = 60 * ((b - r) / distance + 2);
  else degrees = 60 * ((r - g) / distance + 4);
  return {degrees / 2, value == 0 ? 0 : 255 * distance / value, value};
}

}  // namespace

TEST(ColorRgb, VectorsEqualReferences) {
  for (const Function& function : kFunctions) {
    SCOPED_TRACE(function.name);
    for (uint32_t width = 1; width <= 5 * 64 + 3; width += width < 140 ? 1 : 7) {
      for (bool inPlace : {false, true}) {
        if (inPlace && function.srcBytes != function.dstBytes) continue;
        const lumFence fence = width % 4 < 2 ? lumFence::before : lumFence::after;
        checkVector(function, {width, 1 + width % 3, width / 2 % 4, fence}, inPlace);
        if (HasFatalFailure()) return;
      }
    }
    // Past the caches, as one long row and as rows with gaps.
    for (uint32_t gap : {0u, 1u}) {
      const bool inPlace = gap == 0 && function.srcBytes == function.dstBytes;
      checkVector(function, {40007, 29, gap, lumFence::after}, inPlace);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(ColorRgb, EveryWordOf565) {
  std::vector<uint8_t> words;
  for (int word = 0; word < 65536; ++word) {
    words.insert(words.end(), {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8)});
  }
  const auto bgra = convertedRow(functionOf("lumColorRGB565ToBGRA8888u8"), words);
  const auto exchanged = convertedRow(functionOf("lumColorRGB565ToBGR565u8"), words);
  for (size_t word = 0; word < 65536; ++word) {
    const auto nearest = [](size_t v, double most) { return std::round(double(v) * 255 / most); };
    // Repeating bits differs from the nearest value by one at most, and never at the ends.
    ASSERT_NEAR(bgra[4 * word], nearest(word & 31, 31), 1);
    ASSERT_NEAR(bgra[4 * word + 1], nearest(word >> 5 & 63, 63), 1);
    ASSERT_NEAR(bgra[4 * word + 2], nearest(word >> 11, 31), 1);
    ASSERT_EQ(bgra[4 * word + 3], 255);
    const size_t other = exchanged[2 * word] + 256u * exchanged[2 * word + 1];
    ASSERT_EQ(other, (word & 31) << 11 | (word & 0x7E0) | word >> 11);
  }
  EXPECT_EQ(bgra[4 * 65535], 255);
  // What was expanded packs to the same again, in either order.
  const auto rgba = convertedRow(functionOf("lumColorRGB565ToRGBA8888u8"), words);
  EXPECT_EQ(convertedRow(functionOf("lumColorRGBA8888ToRGB565u8"), rgba), words);
  EXPECT_EQ(convertedRow(functionOf("lumColorRGBA8888ToBGR565u8"), bgra), words);
}

TEST(ColorRgb, BytesAreWhereTheNamesSay) {
  const std::vector<uint8_t> rgba = {1, 2, 3, 4, 250, 251, 252, 253},
                             rgb = {1, 2, 3, 250, 251, 252};
  using Row = std::vector<uint8_t>;
  EXPECT_EQ(convertedRow(functionOf("lumColorRGBA8888ToBGRA8888u8"), rgba),
            (Row{3, 2, 1, 4, 252, 251, 250, 253}));
  EXPECT_EQ(convertedRow(functionOf("lumColorRGBA8888ToBGR888u8"), rgba),
            (Row{3, 2, 1, 252, 251, 250}));
  EXPECT_EQ(convertedRow(functionOf("lumColorRGBA8888ToRGB888u8"), rgba), rgb);
  EXPECT_EQ(convertedRow(functionOf("lumColorRGB888ToRGBA8888u8"), rgb),
            (Row{1, 2, 3, 255, 250, 251, 252, 255}));
  EXPECT_EQ(convertedRow(functionOf("lumColorRGB888ToRGB565u8"), {255, 0, 0, 0, 0, 255}),
            (Row{0x00, 0xF8, 0x1F, 0x00}));
}

// Every quotient of the saturation, and those of the hue in each sixth of the circle.
TEST(ColorRgb, HsvOfEveryQuotient) {
  for (int distance = 0; distance < 256; ++distance) {
    std::vector<uint8_t> src;
    const auto add = [&](std::array<int, 3> rgb) {
      for (int channel : rgb) src.push_back(static_cast<uint8_t>(channel));
    };
    for (int value = distance; value < 256; ++value) add({value, value - distance, value});
    for (int part = 0; part <= distance; ++part) {
      const int most = 255, least = 255 - distance, amid = least + part;
      add({most, amid, least});
      add({most, least, amid});
      add({amid, most, least});
      add({least, most, amid});
      add({amid, least, most});
      add({least, amid, most});
    }
    const auto hsv = convertedRow(functionOf("lumColorRGB888ToHSV888u8"), src);
    for (size_t i = 0; i < src.size(); i += 3) {
      const auto real = realHsv(&src[i]);
      const double hue = std::floor(real[0] + 0.5 + 1e-9);
      ASSERT_EQ(hsv[i], hue == 180 ? 0 : hue) << "distance " << distance << " at " << i;
      ASSERT_EQ(hsv[i + 1], std::floor(real[1] + 0.5 + 1e-9));
      ASSERT_EQ(hsv[i + 2], real[2]);
    }
  }
}

TEST(ColorRgb, YCrCbIsNearTheRealNumbers) {
  forEachColour(5, 3, [](const std::vector<uint8_t>& src) {
    const auto ycrcb = convertedRow(functionOf("lumColorRGB888toYCrCbu8"), src);
    const auto gray = convertedRow(functionOf("lumColorRGB888ToGrayu8"), src);
    for (size_t i = 0; i < src.size(); i += 3) {
      const double r = src[i], g = src[i + 1], b = src[i + 2];
      ASSERT_NEAR(ycrcb[i], 0.299 * r + 0.587 * g + 0.114 * b, 1);
      ASSERT_NEAR(ycrcb[i + 1], std::min(128 + 0.5 * r - 0.418688 * g - 0.081312 * b, 255.0), 1);
      ASSERT_NEAR(ycrcb[i + 2], std::min(128 - 0.168736 * r - 0.331264 * g + 0.5 * b, 255.0), 1);
      ASSERT_EQ(gray[i / 3], ycrcb[i]);
    }
  });
}

// The limits that the header names.
TEST(ColorRgb, LabIsWithinItsError) {
  double worst[3] = {};
  forEachColour(5, 4, [&](const std::vector<uint8_t>& src) {
    const auto lab = convertedRow(functionOf("lumColorRGBA8888ToLABu8"), src);
    for (size_t i = 0; i < src.size() / 4; ++i) {
      const auto real = realLab(&src[4 * i]);
      for (size_t k = 0; k < 3; ++k) {
        worst[k] = std::max(worst[k], std::fabs(lab[3 * i + k] - real[k]));
      }
      if (src[4 * i] == src[4 * i + 1] && src[4 * i] == src[4 * i + 2]) {
        ASSERT_EQ(lab[3 * i + 1], 128);
        ASSERT_EQ(lab[3 * i + 2], 128);
      }
    }
  });
  EXPECT_LT(worst[0], 0.65);
  EXPECT_LT(worst[1], 0.94);
  EXPECT_LT(worst[2], 0.68);
  EXPECT_THAT(convertedRow(functionOf("lumColorRGBA8888ToLABu8"), {0, 0, 0, 9, 255, 255, 255, 9}),
              testing::ElementsAre(0, 128, 128, 255, 128, 128));
}

// Rows of the shared routines, which the operation mode selects.
TEST(ColorRgb, RoutinesConvertARow) {
  LUM_NEEDS_OWN_PROCESS();
  struct Routine {
    const char* function;
    lumPackedRow* const* slot;
  };
  const Routine routines[] = {
#define LUM_COLOR_ROW(routine, From, To) {#routine, &LUM_ROUTINES.routine},
#include "lumenColorRgb.def"
      {"rgb2lab", &LUM_ROUTINES.rgb2lab}};
  ASSERT_EQ(std::size(routines), 16u);
  for (const auto mode : {0x80000002u, 0x80000004u}) {
    ASSERT_EQ(lumSetOperationMode(static_cast<lumOperationMode>(mode)), 0);
    size_t next = 0;
    for (const Function& function : kFunctions) {
      const bool isReordering = next < 15;
      if (!isReordering && function.srcBytes != 4) continue;  // of the others, Lab alone
      const Routine& routine = routines[next++];
      SCOPED_TRACE(routine.function);
      std::vector<uint8_t> src(71 * function.srcBytes), dst(71 * function.dstBytes);
      lumColorTest::Bytes bytes(static_cast<uint32_t>(next));
      for (uint8_t& byte : src) byte = bytes(0, 0);
      (*routine.slot)(src.data(), 71, dst.data());
      EXPECT_EQ(dst, convertedRow(function, src));
    }
    EXPECT_EQ(next, std::size(routines));
  }
  EXPECT_NE(LUM_ROUTINES.rgb565_to_rgb888, rgb565_to_rgb888C);
}

TEST(ColorRgb, EntriesPackAndCheckRows) {
  const uint8_t src[6] = {1, 2, 3, 4, 5, 6};
  const auto convert = [&](uint32_t srcStride, uint32_t dstStride) {
    std::array<uint8_t, 8> dst = {};
    lumColorRGB888ToBGRA8888u8(src, 2, 1, srcStride, dst.data(), dstStride);
    return dst;
  };
  EXPECT_THAT(convert(0, 0), testing::ElementsAre(3, 2, 1, 255, 6, 5, 4, 255));
  EXPECT_EQ(convert(6, 8), convert(0, 0));
  EXPECT_THAT(convert(5, 0), testing::Each(0));
  EXPECT_THAT(convert(0, 7), testing::Each(0));
}
