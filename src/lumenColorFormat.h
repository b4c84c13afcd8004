// How colour images lie in memory, as types that the functions of a family are made from.

#ifndef LUMEN_COLOR_FORMAT_H
#define LUMEN_COLOR_FORMAT_H

#include <cstddef>
#include <cstdint>

namespace lumColor {

// A YCbCr layout: how many pixels side by side and one above the other share a chroma sample, and
// whether Cb and Cr are bytes of one plane.
template <bool kPseudoPlanar, uint32_t kAcross, uint32_t kDown>
struct Layout {
  static constexpr bool kIsPseudo = kPseudoPlanar;
  static constexpr uint32_t kPixelsAcross = kAcross, kPixelsDown = kDown;
  static constexpr uint32_t kPlanes = kPseudoPlanar ? 1 : 2;       // of chroma
  static constexpr uint32_t kSampleBytes = kPseudoPlanar ? 2 : 1;  // in such a plane

  // Samples in a row and in a column.
  static constexpr uint32_t columns(uint32_t width) { return width / kAcross + width % kAcross; }
  static constexpr uint32_t rows(uint32_t height) { return height / kDown + height % kDown; }
  static constexpr uint64_t rowBytes(uint32_t width) {
    return uint64_t{columns(width)} * kSampleBytes;
  }
};
using Planar444 = Layout<false, 1, 1>;
using Planar422 = Layout<false, 2, 1>;
using Planar420 = Layout<false, 2, 2>;
using Pseudo444 = Layout<true, 1, 1>;
using Pseudo422 = Layout<true, 2, 1>;
using Pseudo420 = Layout<true, 2, 2>;

// The planes of an image: `chroma` has one or two. T is uint8_t or const uint8_t.
template <class T>
struct Planes {
  T* y;
  uint32_t yStride;
  T* chroma[2];
  uint32_t chromaStride[2];
};

// A packed format: bytes to a pixel, and whether B comes before R.
template <size_t kBytesAPixel, bool kBlueFirst>
struct Packed {
  static constexpr size_t kBytes = kBytesAPixel;
  static constexpr bool kIsBgr = kBlueFirst;
};
using Rgb565 = Packed<2, false>;
using Bgr565 = Packed<2, true>;
using Rgb888 = Packed<3, false>;
using Bgr888 = Packed<3, true>;
using Rgba8888 = Packed<4, false>;
using Bgra8888 = Packed<4, true>;

// Colours that RGB is converted into, a byte for each value.
struct Gray {
  static constexpr size_t kBytes = 1;
};
struct YCrCb {
  static constexpr size_t kBytes = 3;
};
struct Hsv {
  static constexpr size_t kBytes = 3;
};
struct Lab {
  static constexpr size_t kBytes = 3;
};

}  // namespace lumColor

#endif  // LUMEN_COLOR_FORMAT_H
