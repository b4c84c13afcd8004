// The conversions between YCbCr and RGB against their definition: every colour there is, through
// the reference and every vector implementation; and what entries check.

#include <sys/wait.h>

#include <numeric>

#include "lumenEntry.h"
#include "lumenTestSupport.h"

namespace {

using testing::ElementsAre;

// The definitions, in exact numbers that are rounded down once.
struct Colour {
  int a, b, c;
  bool operator==(const Colour&) const = default;
};
int rounded(int numerator, int denominator) {
  const int sum = 2 * numerator + denominator, quotient = sum / (2 * denominator);
  return sum < 0 && sum % (2 * denominator) != 0 ? quotient - 1 : quotient;
}
int limited(int value) { return std::clamp(value, 0, 255); }
Colour rgbOf(int y, int cb, int cr) {
  const int d = cb - 128, e = cr - 128;
  return {limited(y + rounded(359 * e, 256)), limited(y + rounded(-88 * d - 183 * e, 256)),
          limited(y + rounded(454 * d, 256))};
}
Colour rgbOfMacroblock(int y, int cb, int cr) {
  const int u = 2 * cb - 255, v = 2 * cr - 255;
  return {limited(y + rounded(22970 * v, 32768)),
          limited(y + rounded(-5638 * u - 11700 * v, 32768)),
          limited(y + rounded(29032 * u, 32768))};
}
Colour ycbcrOf(int r, int g, int b) {
  return {rounded(77 * r + 150 * g + 29 * b, 256),
          limited(128 + rounded(-43 * r - 85 * g + 128 * b, 256)),
          limited(128 + rounded(128 * r - 107 * g - 21 * b, 256))};
}

// The reference and every vector implementation that this machine runs.
template <class F>
std::vector<F*> implementations(F* reference, const lumVectorSet<F>& vector) {
  std::vector<F*> all = {reference};
  for (uint32_t target = 0; target < LUM_VECTOR_TARGET_COUNT; ++target) {
    if (vector.target[target] && lumHasVectorTarget(static_cast<lumVectorTarget>(target))) {
      all.push_back(vector.target[target]);
    }
  }
  EXPECT_GT(all.size(), 1u);
  return all;
}
#define LUM_IMPLEMENTATIONS(name) implementations(name##C, name##V)

using Bytes = std::vector<uint8_t>;
constexpr uint32_t kSquare = 65536;  // two channels

Colour pixel(const Bytes& packed, size_t index) {
  return {packed[3 * index], packed[3 * index + 1], packed[3 * index + 2]};
}
// Of two channels, every pair of values.
Bytes firstOfPairs() {
  Bytes values(kSquare);
  for (size_t i = 0; i < kSquare; ++i) values[i] = static_cast<uint8_t>(i);
  return values;
}
Bytes secondOfPairs() {
  Bytes values(kSquare);
  for (size_t i = 0; i < kSquare; ++i) values[i] = static_cast<uint8_t>(i / 256);
  return values;
}

TEST(Color, TurnsEveryYCbCrIntoItsRgb) {
  const Bytes cb = firstOfPairs(), cr = secondOfPairs();
  for (auto* f : LUM_IMPLEMENTATIONS(lumColorYCbCr444PlanarToRGB888u8)) {
    for (int y = 0; y < 256; ++y) {
      const Bytes luma(kSquare, static_cast<uint8_t>(y));
      Bytes rgb(3 * kSquare);
      f(luma.data(), cb.data(), cr.data(), kSquare, 1, kSquare, kSquare, kSquare, rgb.data(),
        3 * kSquare);
      for (size_t i = 0; i < kSquare; ++i) {
        ASSERT_EQ(pixel(rgb, i), rgbOf(y, cb[i], cr[i])) << y << " " << i;
      }
    }
  }
}

TEST(Color, TurnsEveryRgbIntoItsYCbCr) {
  for (auto* f : LUM_IMPLEMENTATIONS(lumColorRGB888ToYCbCr444Planaru8)) {
    for (int r = 0; r < 256; ++r) {
      Bytes bgr(3 * kSquare), y(kSquare), cb(kSquare), cr(kSquare);
      for (size_t i = 0; i < kSquare; ++i) {
        bgr[3 * i] = static_cast<uint8_t>(i);
        bgr[3 * i + 1] = static_cast<uint8_t>(i / 256);
        bgr[3 * i + 2] = static_cast<uint8_t>(r);
      }
      f(bgr.data(), kSquare, 1, 3 * kSquare, y.data(), cb.data(), cr.data(), kSquare, kSquare,
        kSquare);
      for (size_t i = 0; i < kSquare; ++i) {
        const Colour want = ycbcrOf(r, static_cast<int>(i / 256), static_cast<int>(i % 256));
        ASSERT_EQ((Colour{y[i], cb[i], cr[i]}), want) << r << " " << i;
      }
    }
  }
}

TEST(Color, TurnsEveryYCbCrOfMacroblocksIntoItsRgb) {
  constexpr uint32_t kBlocks = kSquare / 64;
  for (auto* f : LUM_IMPLEMENTATIONS(lumColorYCrCbH1V1toRGB888u8)) {
    for (int y = 0; y < 256; ++y) {
      Bytes src(192 * kBlocks), rgb(3 * kSquare);
      for (size_t i = 0; i < kSquare; ++i) {
        uint8_t* block = &src[i / 64 * 192 + i % 64];
        block[0] = static_cast<uint8_t>(y);
        block[64] = static_cast<uint8_t>(i);
        block[128] = static_cast<uint8_t>(i / 256);
      }
      f(src.data(), 8 * kBlocks, 8, 192 * kBlocks, rgb.data(), 24 * kBlocks);
      for (size_t i = 0; i < kSquare; ++i) {
        const size_t at = i % 64 / 8 * (8 * kBlocks) + i / 64 * 8 + i % 8;
        const Colour want =
            rgbOfMacroblock(y, static_cast<int>(i % 256), static_cast<int>(i / 256));
        ASSERT_EQ(pixel(rgb, at), want) << y << " " << i;
      }
    }
  }
}

// Every RGB565 through YCbCr; its channels as the field reads them.
TEST(Color, ReadsEveryRgb565) {
  Bytes src(2 * kSquare), y(kSquare), pairs(2 * kSquare);
  for (size_t i = 0; i < kSquare; ++i) {
    src[2 * i] = static_cast<uint8_t>(i);
    src[2 * i + 1] = static_cast<uint8_t>(i >> 8);
  }
  for (auto* f : LUM_IMPLEMENTATIONS(lumColorRGB565ToYCbCr444PseudoPlanaru8)) {
    f(src.data(), kSquare, 1, 2 * kSquare, y.data(), pairs.data(), kSquare, 2 * kSquare);
    for (int i = 0; i < int{kSquare}; ++i) {
      const int r = i / 2048, g = i / 32 % 64, b = i % 32;
      const Colour want = ycbcrOf(r * 8 + r / 4, g * 4 + g / 16, b * 8 + b / 4);
      const auto at = static_cast<size_t>(i);
      ASSERT_EQ((Colour{y[at], pairs[2 * at], pairs[2 * at + 1]}), want) << i;
    }
  }
}

// Every pair of values of the two channels that share a byte.
TEST(Color, WritesEveryRgb565AndAlpha) {
  // With chroma at its middle R, G and B are Y; Cb and Cr move the others.
  const Bytes cb = firstOfPairs(), cr = secondOfPairs(), y(kSquare, 128);
  Bytes pairs(2 * kSquare), rgb565(2 * kSquare), rgba(4 * kSquare);
  for (size_t i = 0; i < kSquare; ++i) {
    pairs[2 * i] = cb[i];
    pairs[2 * i + 1] = cr[i];
  }
  for (auto* f : LUM_IMPLEMENTATIONS(lumColorYCbCr444PseudoPlanarToRGB565u8)) {
    f(y.data(), pairs.data(), kSquare, 1, kSquare, 2 * kSquare, rgb565.data(), 2 * kSquare);
    for (size_t i = 0; i < kSquare; ++i) {
      const Colour c = rgbOf(128, cb[i], cr[i]);
      ASSERT_EQ(rgb565[2 * i] + 256 * rgb565[2 * i + 1], c.a / 8 * 2048 + c.b / 4 * 32 + c.c / 8);
    }
  }
  for (auto* f : LUM_IMPLEMENTATIONS(lumColorYCbCr444PlanarToRGBA8888u8)) {
    f(y.data(), cb.data(), cr.data(), kSquare, 1, kSquare, kSquare, kSquare, rgba.data(),
      4 * kSquare);
    for (size_t i = 0; i < kSquare; ++i) {
      const Colour c = rgbOf(128, cb[i], cr[i]);
      ASSERT_EQ((Colour{rgba[4 * i], rgba[4 * i + 1], rgba[4 * i + 2]}), c);
      ASSERT_EQ(rgba[4 * i + 3], 255);
    }
  }
}

// Numbers that were worked out by hand.
TEST(Color, KeepsKnownColours) {
  const uint8_t y[] = {255, 0, 0}, cb[] = {128, 128, 0}, cr[] = {128, 255, 128};
  uint8_t rgb[9];
  lumColorYCbCr444PlanarToRGB888u8(y, cb, cr, 3, 1, 0, 0, 0, rgb, 0);
  EXPECT_THAT(std::vector(rgb, rgb + 3), ElementsAre(255, 255, 255));
  EXPECT_EQ(rgb[3], 178);
  EXPECT_EQ(rgb[8], 0);

  // There and back exchanges R and B: red, blue.
  const uint8_t red[] = {255, 0, 0};
  uint8_t luma, u, v, back[3];
  lumColorRGB888ToYCbCr444Planaru8(red, 1, 1, 0, &luma, &u, &v, 0, 0, 0);
  lumColorYCbCr444PlanarToRGB888u8(&luma, &u, &v, 1, 1, 0, 0, 0, back, 0);
  EXPECT_LT(back[0], 5);
  EXPECT_GT(back[2], 250);
}

// The upper left of 2 x 2 pixels alone gives chroma; the order of bytes in camera frames.
TEST(Color, TakesChromaFromTheUpperLeft) {
  const uint8_t bgr[] = {10, 20, 200, 1, 2, 3, 255, 0, 9, 77, 88, 99};
  uint8_t y[4], cb, cr, one[3];
  lumColorRGB888ToYCbCr420Planaru8(bgr, 2, 2, 0, y, &cb, &cr, 0, 0, 0);
  lumColorRGB888ToYCbCr444Planaru8(bgr, 1, 1, 0, &one[0], &one[1], &one[2], 0, 0, 0);
  EXPECT_THAT(one, ElementsAre(y[0], cb, cr));

  const uint8_t frame[] = {100, 101, 102, 103, 240, 30}, planes[] = {30}, red[] = {240};
  uint8_t rgba[16], expected[16];
  lumColorYUV420toRGB8888u8(frame, 2, 2, 0, rgba, 0);
  lumColorYCbCr420PlanarToRGBA8888u8(frame, planes, red, 2, 2, 0, 0, 0, expected, 0);
  EXPECT_EQ(std::vector(rgba, rgba + 16), std::vector(expected, expected + 16));

  uint8_t upright[8], turned[8];
  lumColorYUV420toRGB565u8(frame, 2, 2, 0, upright, 0);
  lumColorYUV420toRGB565u8Rotate180(frame, 2, 2, 0, turned, 0);
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(turned[2 * i], upright[6 - 2 * i]);
    EXPECT_EQ(turned[2 * i + 1], upright[7 - 2 * i]);
  }
}

// Odd widths: nothing is written from RGB to shared chroma; the last pixel has a sample to itself
// on the way back. Odd heights: a row more.
TEST(Color, HasItsOwnWayWithOddSizes) {
  const Bytes bgr(3 * 3 * 4, 50);
  for (const bool planar : {true, false}) {
    Bytes y(12, 7), c0(8, 7), c1(8, 7);
    if (planar) {
      lumColorRGB888ToYCbCr420Planaru8(bgr.data(), 3, 2, 0, y.data(), c0.data(), c1.data(), 0, 2,
                                       2);
    } else {
      lumColorRGB888ToYCbCr422PseudoPlanaru8(bgr.data(), 3, 2, 0, y.data(), c0.data(), 0, 4);
    }
    EXPECT_THAT(y, testing::Each(7));
    EXPECT_THAT(c0, testing::Each(7));
  }
  Bytes y(12, 7), c(8, 7);
  lumColorRGB888ToYCbCr420PseudoPlanaru8(bgr.data(), 2, 1, 9, y.data(), c.data(), 3, 4);
  EXPECT_THAT(y, ElementsAre(50, 50, 7, 50, 50, 7, 7, 7, 7, 7, 7, 7));
  EXPECT_THAT(c, ElementsAre(128, 128, 7, 7, 7, 7, 7, 7));

  const uint8_t luma[] = {1, 2, 3, 4, 5, 6}, grey[] = {128, 128};
  Bytes rgb(18);
  lumColorYCbCr420PlanarToRGB888u8(luma, grey, grey, 3, 1, 0, 0, 0, rgb.data(), 0);
  EXPECT_THAT(rgb, ElementsAre(1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5, 5, 5, 6, 6, 6));
}

// In a child, so that ctest's other tests go on. Both columns.
TEST(Color, EndsTheProcessWithoutAPair) {
  uint8_t in[8] = {}, out[8];
  for (auto* f : LUM_IMPLEMENTATIONS(lumColorYCbCr420PlanarToRGB888u8)) {
    EXPECT_EXIT(f(in, in, in, 1, 1, 1, 1, 1, out, 3), testing::ExitedWithCode(1),
                "src/cpu/lumenColorC@[0-9]+: length > 1 Assertion failed");
  }
  for (auto* f : LUM_IMPLEMENTATIONS(lumColorYCbCr422PseudoPlanarToRGB565u8)) {
    EXPECT_EXIT(f(in, in, 1, 1, 1, 2, out, 2), testing::ExitedWithCode(1), "length > 1");
  }
}

TEST(Color, RefusesBadArguments) {
  RecordedLog log;
  uint8_t in[64] = {}, out[64];
  std::fill_n(out, sizeof(out), uint8_t{7});
  const std::string to =
      "E/lumen_lib_log: Assertion failed @lumColorYCbCr420PlanarToRGB888u8: srcY && srcCb && srcCr "
      "&& dst && srcWidth && srcHeight && ( srcYStride == 0 || srcYStride >= "
      "(srcWidth*sizeof(uint8_t)) ) && ( srcCbStride == 0 || srcCbStride >= ((srcWidth+1)/2) ) && "
      "( srcCrStride == 0 || srcCrStride >= ((srcWidth+1)/2) ) && ( dstStride == 0 || dstStride >= "
      "(srcWidth*3) )\n";
  lumColorYCbCr420PlanarToRGB888u8(in, in, nullptr, 3, 2, 0, 0, 0, out, 0);
  lumColorYCbCr420PlanarToRGB888u8(in, in, in, 3, 0, 0, 0, 0, out, 0);
  lumColorYCbCr420PlanarToRGB888u8(in, in, in, 3, 2, 2, 0, 0, out, 0);
  lumColorYCbCr420PlanarToRGB888u8(in, in, in, 3, 2, 0, 1, 0, out, 0);
  lumColorYCbCr420PlanarToRGB888u8(in, in, in, 3, 2, 0, 0, 1, out, 0);
  lumColorYCbCr420PlanarToRGB888u8(in, in, in, 3, 2, 0, 0, 0, out, 8);
  EXPECT_THAT(log.take(), ElementsAre(to, to, to, to, to, to));

  const std::string from =
      "E/lumen_lib_log: Assertion failed @lumColorRGB888ToYCbCr420Planaru8: src && dstY && dstCb "
      "&& "
      "dstCr && srcWidth && srcHeight && ( srcStride == 0 || srcStride >= (srcWidth*3)) && "
      "( dstYStride == 0 || dstYStride >= srcWidth ) && ( dstCbStride == 0 || dstCbStride >= "
      "((srcWidth+1)/2) ) && ( dstCrStride == 0 || dstCrStride >= ((srcWidth+1)/2) )\n";
  lumColorRGB888ToYCbCr420Planaru8(in, 4, 2, 11, out, out, out, 0, 0, 0);
  lumColorRGB888ToYCbCr420Planaru8(in, 4, 2, 0, out, out, out, 3, 0, 0);
  lumColorRGB888ToYCbCr420Planaru8(in, 4, 2, 0, out, out, out, 0, 1, 0);
  lumColorRGB888ToYCbCr420Planaru8(in, 4, 2, 0, out, out, out, 0, 0, 1);
  lumColorRGB888ToYCbCr420Planaru8(in, 4, 2, 0, out, nullptr, out, 0, 0, 0);
  EXPECT_THAT(log.take(), ElementsAre(from, from, from, from, from));

  // A width whose triple does not fit 32 bits, with a stride that would pass if it were cut, and
  // packed; frames of odd sizes; macroblocks whose rows are cut.
  lumColorYCbCr444PseudoPlanarToRGB888u8(in, in, 0x55555556, 1, 0x55555556, 0xAAAAAAAC, out, 2);
  lumColorYCbCr444PseudoPlanarToRGB888u8(in, in, 0x55555556, 1, 0, 0, out, 0);
  lumColorYUV420toRGB565u8(in, 3, 2, 0, out, 0);
  lumColorYUV420toRGB8888u8(in, 2, 3, 0, out, 0);
  lumColorYUV420toRGB565u8Rotate180(in, 2, 2, 1, out, 0);
  lumColorYCrCbH2V1toRGB888u8(in, 17, 1, 511, out, 0);
  lumColorRGB888ToRGB565Rotate180u8(in, 2, 1, 5, out, 0);
  EXPECT_EQ(log.take().size(), 7u);
  EXPECT_THAT(out, testing::Each(7));
}

// The whole way through entries: each mode's column gives the same, with strides of 0.
TEST(Color, ReachesBothColumns) {
  LUM_NEEDS_OWN_PROCESS();
  Bytes src(6 * 4), out[2] = {Bytes(8 * 4), Bytes(8 * 4)};
  std::iota(src.begin(), src.end(), uint8_t{90});
  for (const uint32_t unit : {LUMEN_UNIT_ARM, LUMEN_UNIT_VORTA}) {
    lumSetOperationMode(static_cast<lumOperationMode>(LUM_OP_TARGET_FLAG | unit));
    Bytes& dst = out[unit == LUMEN_UNIT_VORTA];
    const uint32_t column = unit == LUMEN_UNIT_VORTA ? LUM_IMPL_VORTA : LUM_IMPL_CPU;
    EXPECT_EQ(LUM_INTERNAL_IMPL_INDEX[LUM_INTERNAL_FN_lumColorYUV420toRGB565u8Rotate180], column);
    LUM_ENTRY_SWITCHES.watch = LUM_WATCH_COUNT;
    const uint32_t row = LUM_FN_lumColorYCrCb420PseudoPlanarToRGB8888u8;
    const uint32_t before = LUM_CALL_COUNT[row][column];
    lumColorYUV420toRGB8888u8(src.data(), 4, 2, 0, dst.data(), 0);
    EXPECT_EQ(LUM_CALL_COUNT[row][column], before + 1);
    LUM_ENTRY_SWITCHES.watch = 0;
  }
  EXPECT_EQ(out[0], out[1]);
}

}  // namespace
