// Conversions between YCbCr layouts: references against the definition, computed pixel by pixel;
// vector implementations of every instruction set that this machine has against the references.

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "lumenColorFormat.h"
#include "lumenColorTestSupport.h"
#include "lumenTable.h"
#include "lumenVector.h"

namespace {

using lumColorTest::Plane;

// The planes of an image: Y, then chroma. A plane's gap differs from those of the others.
template <class L>
struct Picture {
  Picture(const lumColorTest::Shape& shape, size_t firstMemory)
      : luma(shape, firstMemory, shape.width, shape.height) {
    for (uint32_t p = 0; p < L::kPlanes; ++p) {
      chroma[p] = std::make_unique<Plane>(shape, firstMemory + 1 + p,
                                          size_t{L::columns(shape.width)} * L::kSampleBytes,
                                          L::rows(shape.height));
    }
  }
  uint8_t& component(uint32_t k, uint32_t x, uint32_t y) {
    return L::kIsPseudo ? chroma[0]->row(y)[2 * x + k] : chroma[k]->row(y)[x];
  }
  bool gapsAreUntouched() const {
    return luma.gapsAreUntouched() && chroma[0]->gapsAreUntouched() &&
           (L::kIsPseudo || chroma[1]->gapsAreUntouched());
  }

  Plane luma;
  std::unique_ptr<Plane> chroma[2];
};

// The chroma of a pixel; the last column and row are repeated beyond the edges.
template <class From>
uint32_t chromaOfPixel(Picture<From>& src, const lumColorTest::Shape& shape, uint32_t k, uint32_t x,
                       uint32_t y) {
  x = std::min(x, shape.width - 1);
  y = std::min(y, shape.height - 1);
  return src.component(k, x / From::kPixelsAcross, y / From::kPixelsDown);
}

template <class From, class To>
void expectDefinition(Picture<From>& src, const lumColorTest::Shape& shape, Picture<To>& dst) {
  constexpr uint32_t kAcross = To::kPixelsAcross, kDown = To::kPixelsDown;
  for (uint32_t y = 0; y < shape.height; ++y) {
    for (uint32_t x = 0; x < shape.width; ++x) {
      ASSERT_EQ(dst.luma.row(y)[x], src.luma.row(y)[x]);
      if (x % kAcross || y % kDown) continue;
      for (uint32_t k = 0; k < 2; ++k) {
        uint32_t sum = 0;
        for (uint32_t i = 0; i < kAcross * kDown; ++i) {
          sum += chromaOfPixel(src, shape, k, x + i % kAcross, y + i / kAcross);
        }
        const double mean = sum / double{kAcross * kDown};
        ASSERT_EQ(dst.component(k, x / kAcross, y / kDown), std::floor(mean + 0.5))
            << "component " << k << " of pixel " << x << ", " << y;
      }
    }
  }
}

// A call with the arguments of the function's kind.
template <class From, class To, class F>
void call(F* f, Picture<From>& src, const lumColorTest::Shape& shape, Picture<To>& dst) {
  const auto withDst = [&](auto... args) {
    if constexpr (To::kIsPseudo) {
      f(args..., dst.luma.data(), dst.chroma[0]->data(), dst.luma.stride(),
        dst.chroma[0]->stride());
    } else {
      f(args..., dst.luma.data(), dst.chroma[0]->data(), dst.chroma[1]->data(), dst.luma.stride(),
        dst.chroma[0]->stride(), dst.chroma[1]->stride());
    }
  };
  const uint8_t* y = src.luma.data();
  const uint8_t* first = src.chroma[0]->data();
  if constexpr (From::kIsPseudo) {
    withDst(y, first, shape.width, shape.height, src.luma.stride(), src.chroma[0]->stride());
  } else {
    const uint8_t* second = src.chroma[1]->data();
    withDst(y, first, second, shape.width, shape.height, src.luma.stride(), src.chroma[0]->stride(),
            src.chroma[1]->stride());
  }
}

template <class From, class To, class F>
void checkShape(F* reference, const lumVectorSet<F>& vector, const lumColorTest::Shape& shape) {
  SCOPED_TRACE(shape.text());
  Picture<From> src(shape, 0);
  lumColorTest::Bytes bytes(shape.width * 131 + shape.height);
  src.luma.fill(bytes);
  for (uint32_t p = 0; p < From::kPlanes; ++p) src.chroma[p]->fill(bytes);
  Picture<To> want(shape, 3);
  call(reference, src, shape, want);
  ASSERT_TRUE(want.gapsAreUntouched());
  expectDefinition(src, shape, want);
  if (testing::Test::HasFatalFailure()) return;
  lumColorTest::forEachTarget(vector, [&](F* f) {
    Picture<To> got(shape, 6);
    call(f, src, shape, got);
    ASSERT_TRUE(got.gapsAreUntouched());
    ASSERT_TRUE(got.luma.isEqualTo(want.luma));
    for (uint32_t p = 0; p < To::kPlanes; ++p) {
      ASSERT_TRUE(got.chroma[p]->isEqualTo(*want.chroma[p])) << "plane " << p;
    }
  });
}

struct Conversion {
  const char* name;
  std::function<void(const lumColorTest::Shape&)> check;
};
const Conversion kConversions[] = {
#define LUM_COLOR_LAYOUT(name, From, To)                                \
  {#name, [](const lumColorTest::Shape& shape) {                        \
     checkShape<lumColor::From, lumColor::To>(name##C, name##V, shape); \
   }},
#include "lumenColorLayout.def"
};

}  // namespace

TEST(ColorLayout, EveryConversionAtEverySmallSize) {
  for (const Conversion& conversion : kConversions) {
    SCOPED_TRACE(conversion.name);
    for (uint32_t width = 1; width <= 3 * 128 + 3; width += width < 140 ? 1 : 17) {
      for (uint32_t gap : {0u, 3u}) {
        const lumFence fence = (width / 2 + gap) % 2 ? lumFence::before : lumFence::after;
        conversion.check({width, 1 + width % 4, gap, fence});
        if (HasFatalFailure()) return;
      }
    }
  }
}

// Enough for stores past the cache, with planes that begin where blocks do and elsewhere.
TEST(ColorLayout, EveryConversionOfLargeImages) {
  for (const Conversion& conversion : kConversions) {
    SCOPED_TRACE(conversion.name);
    for (uint32_t width : {1280u, 1283u}) {
      for (uint32_t gap : {0u, 5u}) conversion.check({width, 801, gap, lumFence::after});
    }
    if (HasFatalFailure()) return;
  }
}

TEST(ColorLayout, SwapsPairsAlsoInPlace) {
  for (uint32_t width = 1; width <= 300; width += width < 140 ? 1 : 13) {
    for (bool inPlace : {false, true}) {
      const lumColorTest::Shape shape = {width, 3, width % 3, lumFence::after};
      SCOPED_TRACE(shape.text());
      Plane src(shape, 0, 2 * size_t{width}, 3);
      src.fill(lumColorTest::Bytes(width));
      Plane want(shape, 1, 2 * size_t{width}, 3);
      lumColorCbCrSwapu8C(src.data(), width, 3, src.stride(), want.data(), want.stride());
      for (uint32_t y = 0; y < 3; ++y) {
        for (size_t x = 0; x < 2 * size_t{width}; ++x) ASSERT_EQ(want.row(y)[x], src.row(y)[x ^ 1]);
      }
      lumColorTest::forEachTarget(lumColorCbCrSwapu8V, [&](auto* f) {
        Plane own(shape, 2, 2 * size_t{width}, 3),
            got(shape, inPlace ? 2 : 3, 2 * size_t{width}, 3);
        own.fill([&](size_t x, uint32_t y) { return src.row(y)[x]; });
        f(own.data(), width, 3, own.stride(), got.data(), got.stride());
        ASSERT_TRUE(got.isEqualTo(want));
        ASSERT_TRUE(got.gapsAreUntouched());
      });
    }
  }
}

// Strides of 0 are those of rows without gaps, chroma rounded up; the check knows each plane's row.
TEST(ColorLayout, EntriesPackAndCheckEachPlane) {
  uint8_t y[15], cb[15], cr[15], outY[15], outC[12];
  for (uint8_t i = 0; i < 15; ++i) y[i] = cb[i] = cr[i] = static_cast<uint8_t>(16 * i);
  const auto convert = [&](uint32_t cbStride, uint32_t outStride) {
    std::fill_n(outC, 12, uint8_t{1});
    lumColorYCbCr444PlanarToYCbCr420PseudoPlanaru8(y, cb, cr, 5, 3, 0, cbStride, 0, outY, outC, 0,
                                                   outStride);
    return std::vector<int>(outC, outC + 12);
  };
  EXPECT_THAT(convert(0, 0),
              testing::ElementsAre(48, 48, 80, 80, 104, 104, 168, 168, 200, 200, 224, 224));
  EXPECT_EQ(convert(5, 6), convert(0, 0));
  EXPECT_THAT(convert(4, 0), testing::Each(1)) << "a row of Cb has 5 bytes";
  EXPECT_THAT(convert(0, 5), testing::Each(1)) << "a row of pairs has 6 bytes";
}
