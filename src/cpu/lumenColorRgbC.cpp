// Packed RGB images, reference.

#include <algorithm>
#include <utility>

#include "cpu/lumenRow.h"
#include "lumenColorFormat.h"
#include "lumenColorLab.h"
#include "lumenRoutines.h"
#include "lumenTable.h"

namespace {

using namespace lumColor;

struct Pixel {
  int r, g, b, a;
};
uint8_t byte(int value) { return static_cast<uint8_t>(value); }

template <class Format>
Pixel read(const uint8_t* p) {
  Pixel pixel = {p[0], p[1], 0, 255};
  if constexpr (Format::kBytes == 2) {
    const int word = p[0] | p[1] << 8, r = word >> 11, g = word >> 5 & 63, b = word & 31;
    pixel = {r << 3 | r >> 2, g << 2 | g >> 4, b << 3 | b >> 2, 255};
  } else {
    pixel.b = p[2];
    if constexpr (Format::kBytes == 4) pixel.a = p[3];
  }
  if constexpr (Format::kIsBgr) std::swap(pixel.r, pixel.b);
  return pixel;
}

template <size_t kBytes, bool kIsBgr>
void write(uint8_t* p, Pixel pixel, Packed<kBytes, kIsBgr>) {
  if constexpr (kIsBgr) std::swap(pixel.r, pixel.b);
  if constexpr (kBytes == 2) {
    const int word = pixel.r >> 3 << 11 | pixel.g >> 2 << 5 | pixel.b >> 3;
    p[0] = byte(word);
    p[1] = byte(word >> 8);
  } else {
    p[0] = byte(pixel.r);
    p[1] = byte(pixel.g);
    p[2] = byte(pixel.b);
    if constexpr (kBytes == 4) p[3] = byte(pixel.a);
  }
}

int luma(Pixel p) { return (77 * p.r + 150 * p.g + 29 * p.b + 128) >> 8; }

void write(uint8_t* d, Pixel p, Gray) { d[0] = byte(luma(p)); }

void write(uint8_t* d, Pixel p, YCrCb) {
  d[0] = byte(luma(p));
  d[1] = byte(std::min(128 + ((128 * p.r - 107 * p.g - 21 * p.b + 128) >> 8), 255));
  d[2] = byte(std::min(128 + ((-43 * p.r - 85 * p.g + 128 * p.b + 128) >> 8), 255));
}

int roundedQuotient(int numerator, int denominator) {
  return (2 * numerator + denominator) / (2 * denominator);
}

void write(uint8_t* d, Pixel p, Hsv) {
  const int value = std::max({p.r, p.g, p.b});
  const int distance = value - std::min({p.r, p.g, p.b});
  int sixths = 0;  // of the circle, times the distance
  if (value == p.r) sixths = p.g - p.b + (p.g < p.b ? 6 * distance : 0);
  else if (value == p.g) sixths = p.b - p.r + 2 * distance;
  else sixths = p.r - p.g + 4 * distance;
  d[0] = byte(distance ? roundedQuotient(30 * sixths, distance) % 180 : 0);
  d[1] = byte(value ? roundedQuotient(255 * distance, value) : 0);
  d[2] = byte(value);
}

void write(uint8_t* d, Pixel p, Lab) {
  const uint32_t linear[] = {LINEAR.value[p.r], LINEAR.value[p.g], LINEAR.value[p.b]};
  int32_t f[3];
  for (int k = 0; k < 3; ++k) {
    int32_t sum = 1 << (XYZ_SHIFT - 1);
    for (int i = 0; i < 3; ++i) sum += XYZ_COEFFICIENT[k][i] * static_cast<int32_t>(linear[i]);
    f[k] = LAB.f[sum >> XYZ_SHIFT];
  }
  d[0] = byte((f[1] * L_FACTOR + L_OFFSET) >> L_SHIFT);
  d[1] = byte((A_FACTOR * (f[0] - f[1]) + AB_OFFSET) >> LAB_F_BITS);
  d[2] = byte((B_FACTOR * (f[1] - f[2]) + AB_OFFSET) >> LAB_F_BITS);
}

template <class From, class To>
void convertRow(const uint8_t* src, uint32_t width, uint8_t* dst) {
  for (size_t x = 0; x < width; ++x) {
    write(dst + x * To::kBytes, read<From>(src + x * From::kBytes), To());
  }
}

template <class From, class To>
void convertRows(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                 uint8_t* dst, uint32_t dstStride) {
  for (uint32_t y = 0; y < height; ++y) {
    convertRow<From, To>(lumRowAt(src, y, srcStride), width, lumRowAt(dst, y, dstStride));
  }
}

}  // namespace

#define LUM_COLOR_RGB(name, From, To)                                                         \
  void name##C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, \
               uint8_t* dst, uint32_t dstStride) {                                            \
    convertRows<From, To>(src, srcWidth, srcHeight, srcStride, dst, dstStride);               \
  }
#define LUM_COLOR_ROW(routine, From, To)                              \
  void routine##C(const uint8_t* src, uint32_t width, uint8_t* dst) { \
    convertRow<From, To>(src, width, dst);                            \
  }
#include "lumenColorRgb.def"

void rgb2labC(const uint8_t* src, uint32_t width, uint8_t* dst) {
  convertRow<Rgba8888, Lab>(src, width, dst);
}
