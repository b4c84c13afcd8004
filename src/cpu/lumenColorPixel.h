// One pixel of the conversions between YCbCr and RGB, shared by the reference, whose definition it
// is, and by the ends of vector rows.

#ifndef LUMEN_COLOR_PIXEL_H
#define LUMEN_COLOR_PIXEL_H

#include <cstddef>
#include <cstdint>

struct lumRgb {
  int r, g, b;
};
struct lumYcc {
  int y, cb, cr;
};

// How many pixels share a sample of chroma.
template <int kWidth, int kHeight>
struct lumSubsampling {
  static constexpr int kX = kWidth, kY = kHeight;
  // How often rows that share chroma are taken together.
  static constexpr uint32_t groups(uint32_t height) { return height / kY + height % kY; }
};
using lumSubsampling444 = lumSubsampling<1, 1>;
using lumSubsampling422 = lumSubsampling<2, 1>;
using lumSubsampling420 = lumSubsampling<2, 2>;

// A sample of chroma, in each layout.
struct lumPlanar {
  const uint8_t* cb;
  const uint8_t* cr;
  int cbAt(size_t sample) const { return cb[sample]; }
  int crAt(size_t sample) const { return cr[sample]; }
};
template <size_t kCb>
struct lumPairs {
  const uint8_t* c;
  int cbAt(size_t sample) const { return c[2 * sample + kCb]; }
  int crAt(size_t sample) const { return c[2 * sample + 1 - kCb]; }
};
using lumPseudoPlanar = lumPairs<0>;
using lumCrFirst = lumPairs<1>;

inline int lumClampByte(int value) { return value < 0 ? 0 : value > 255 ? 255 : value; }

inline lumRgb lumToRgb(const lumYcc& p) {
  const int d = p.cb - 128, e = p.cr - 128;
  return {lumClampByte((256 * p.y + 359 * e + 128) >> 8),
          lumClampByte((256 * p.y - 88 * d - 183 * e + 128) >> 8),
          lumClampByte((256 * p.y + 454 * d + 128) >> 8)};
}

inline int lumToLuma(const lumRgb& p) { return (77 * p.r + 150 * p.g + 29 * p.b + 128) >> 8; }
inline lumYcc lumToYcc(const lumRgb& p) {
  return {lumToLuma(p), lumClampByte(128 + ((-43 * p.r - 85 * p.g + 128 * p.b + 128) >> 8)),
          lumClampByte(128 + ((128 * p.r - 107 * p.g - 21 * p.b + 128) >> 8))};
}

// Pixel formats, as their bytes. RGB888 is written as R, G, B and read as B, G, R.
struct lumRGB565 {
  static constexpr size_t kBytes = 2;
  static void write(uint8_t* dst, const lumRgb& p) {
    const int bits = p.r >> 3 << 11 | p.g >> 2 << 5 | p.b >> 3;
    dst[0] = static_cast<uint8_t>(bits);
    dst[1] = static_cast<uint8_t>(bits >> 8);
  }
  static lumRgb read(const uint8_t* src) {
    const int bits = src[0] | src[1] << 8, r = bits >> 11, g = bits >> 5 & 63, b = bits & 31;
    return {r << 3 | r >> 2, g << 2 | g >> 4, b << 3 | b >> 2};
  }
};
struct lumRGB888 {
  static constexpr size_t kBytes = 3;
  static void write(uint8_t* dst, const lumRgb& p) {
    dst[0] = static_cast<uint8_t>(p.r);
    dst[1] = static_cast<uint8_t>(p.g);
    dst[2] = static_cast<uint8_t>(p.b);
  }
  static lumRgb read(const uint8_t* src) { return {src[2], src[1], src[0]}; }
};
struct lumRGBA8888 {
  static constexpr size_t kBytes = 4;
  static void write(uint8_t* dst, const lumRgb& p) {
    lumRGB888::write(dst, p);
    dst[3] = 255;
  }
  static lumRgb read(const uint8_t* src) { return {src[0], src[1], src[2]}; }
};

// Ends the process unless a row of subsampled chroma has a pair of pixels.
void lumRequirePair(uint32_t length);

// The macroblock functions: kH x kV blocks of 8 x 8 bytes Y, one of Cb and one of Cr.
template <size_t kH, size_t kV>
struct lumMacroblock {
  static constexpr size_t kX = kH, kY = kV;
  static constexpr size_t kWidth = 8 * kX, kHeight = 8 * kY;
  static constexpr size_t kCb = 64 * kX * kY, kCr = kCb + 64, kBytes = kCr + 64;
  // Where the sample of Y for a pixel is, and those of chroma in their blocks.
  static constexpr size_t luma(size_t x, size_t y) {
    return (y / 8 * kX + x / 8) * 64 + y % 8 * 8 + x % 8;
  }
  static constexpr size_t chroma(size_t x, size_t y) { return y / kY * 8 + x / kX; }
};

#endif  // LUMEN_COLOR_PIXEL_H
