// The search for maximally stable extremal regions, vector: pre-processing and rectangles, and the
// walk as each instruction set compiles it.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vorta/lumenMserFxpV.cpp"
#include <hwy/foreach_target.h>  // compiles this file once for each instruction set
// Must come after foreach_target.h.
#include <hwy/highway.h>

#include "cpu/lumenMserFxp.h"
#include "lumenRoutines.h"
#include "lumenVector.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

#include "cpu/lumenMserFxp-inl.h"

// A stride is a multiple of 32 bytes: so rows are whole vectors.
using Bytes = hn::CappedTag<uint8_t, 32>;
using ByteVector = hn::Vec<Bytes>;

template <bool kPlus>
HWY_INLINE ByteVector Levels(const uint8_t* src) {
  const ByteVector grey = hn::LoadU(Bytes(), src);
  return kPlus ? grey : hn::Not(grey);
}

// The bits of neighbours k and above that are darker; `around`: their distances, clockwise.
template <bool kPlus, uint32_t kNeighbours>
HWY_INLINE ByteVector Darker(const uint8_t* src, ByteVector own, const ptrdiff_t* around) {
  const Bytes d;
  ByteVector darker = hn::Zero(d);
  for (uint32_t k = 0; k < kNeighbours; ++k) {
    const auto isDarker = hn::Lt(Levels<kPlus>(src + around[k]), own);
    darker = hn::Or(darker, hn::IfThenElseZero(isDarker, hn::Set(d, uint8_t(1u << k))));
  }
  return darker;
}

// Words of grey levels, bits of darker neighbours and, the same for all, of the frame.
HWY_INLINE void StoreWords(ByteVector own, ByteVector darker, uint32_t frame, uint16_t* row) {
  const Bytes d;
  const ByteVector bits = hn::Or(darker, hn::Set(d, uint8_t(frame >> 8)));
  hn::StoreInterleaved2(own, bits, d, reinterpret_cast<uint8_t*>(row));
}
HWY_INLINE void StoreWords(ByteVector own, ByteVector darker, uint32_t frame, uint32_t* row) {
  const Bytes d;
  const ByteVector visited = hn::Set(d, uint8_t(frame >> 16));
  hn::StoreInterleaved4(own, darker, visited, hn::Zero(d), d, reinterpret_cast<uint8_t*>(row));
}

// Four counters a level, so that equal levels side by side do not wait for each other.
struct Histogram {
  uint32_t count[4][MSER_LEVELS];

  HWY_INLINE void Add(const uint8_t* grey, uint32_t n) {
    uint32_t x = 0;
    for (; x + 4 <= n; x += 4) {
      for (uint32_t k = 0; k < 4; ++k) ++count[k][grey[x + k]];
    }
    for (; x < n; ++x) ++count[0][grey[x]];
  }
  HWY_INLINE void Store(bool plus, uint32_t* histogram) const {
    for (uint32_t level = 0; level < MSER_LEVELS; ++level) {
      histogram[plus ? level : MSER_LEVELS - 1 - level] =
          count[0][level] + count[1][level] + count[2][level] + count[3][level];
    }
  }
};

// The words of pixels from x up to end, one by one.
template <bool kPlus, class Word>
HWY_INLINE void WordsOf(const uint8_t* grey, uint32_t x, uint32_t end, const ptrdiff_t* around,
                        uint32_t frame, Word* row) {
  using Layout = MSER_sWordOf<Word>;
  constexpr uint8_t kInverted = kPlus ? 0 : 255;
  for (; x < end; ++x) {
    const uint8_t own = grey[x] ^ kInverted;
    uint32_t word = own | frame;
    for (uint32_t k = 0; k < Layout::kNeighbours; ++k) {
      const uint8_t other = grey[static_cast<ptrdiff_t>(x) + around[k]] ^ kInverted;
      word |= uint32_t{other < own} << (Layout::kDarkerShift + k);
    }
    row[x] = static_cast<Word>(word);
  }
}

template <class Word>
HWY_INLINE void FillFrame(Word* row, uint32_t count) {
  for (uint32_t x = 0; x < count; ++x) row[x] = MSER_sWordOf<Word>::kFrame;
}

template <bool kPlus, class Word>
void PreProcess(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, Word* mask,
                uint32_t* histogram) {
  using Layout = MSER_sWordOf<Word>;
  constexpr uint32_t kNeighbours = Layout::kNeighbours;
  const ptrdiff_t s = stride;
  const ptrdiff_t clockwise[8] = {1, s + 1, s, s - 1, -1, -s - 1, -s, -s + 1};
  ptrdiff_t around[kNeighbours];
  for (uint32_t k = 0; k < kNeighbours; ++k) around[k] = clockwise[k * Layout::kStep];

  const uint32_t lanes = static_cast<uint32_t>(hn::Lanes(Bytes()));
  Histogram counts = {};
  FillFrame(mask, width);
  FillFrame(mask + size_t{height - 1} * stride, width);
  for (uint32_t y = 1; y + 1 < height; ++y) {
    const uint8_t* const grey = src + size_t{y} * stride;
    Word* const row = mask + size_t{y} * stride;
    counts.Add(grey + 1, width - 2);
    const uint32_t frame = Layout::frameOfRow(y, height);
    // The first and the last neighbour of all would lie outside the image, by a byte.
    constexpr bool kDiagonals = kNeighbours == 8;
    uint32_t x = 0, end = stride;
    if (kDiagonals && y == 1) {
      x = lanes;
      WordsOf<kPlus>(grey, 1, HWY_MIN(lanes, width - 1), around, frame, row);
    }
    if (kDiagonals && y + 2 == height) {
      end -= lanes;
      WordsOf<kPlus>(grey, HWY_MAX(end, 1), width - 1, around, frame, row);
    }
    for (; x < end; x += lanes) {
      const ByteVector own = Levels<kPlus>(grey + x);
      StoreWords(own, Darker<kPlus, kNeighbours>(grey + x, own, around), frame, row + x);
    }
    row[1] |= static_cast<Word>(Layout::kLeft);
    row[width - 2] |= static_cast<Word>(Layout::kRight);
    row[0] = row[width - 1] = Layout::kFrame;
  }
  counts.Store(kPlus, histogram);
}

struct Corners {
  uint16_t least[2], greatest[2];
};

// Pairs of x and y as 32-bit lanes would need a shuffle for the pairs' ends: as 16-bit lanes x is
// in the even and y in the odd ones throughout.
HWY_INLINE Corners CornersOf(const uint16_t* points, uint32_t count) {
  Corners corners = {{UINT16_MAX, UINT16_MAX}, {0, 0}};
  const hn::ScalableTag<uint16_t> d;
  const size_t lanes = hn::Lanes(d), elements = 2 * size_t{count};
  size_t k = 0;
  const auto take = [&corners](const uint16_t* least, const uint16_t* greatest, size_t n) HWY_ATTR {
    for (size_t i = 0; i < n; ++i) {
      if (least[i] < corners.least[i % 2]) corners.least[i % 2] = least[i];
      if (greatest[i] > corners.greatest[i % 2]) corners.greatest[i % 2] = greatest[i];
    }
  };
  if (elements >= lanes) {
    auto least = hn::LoadU(d, points), greatest = least;
    for (k = lanes; k + lanes <= elements; k += lanes) {
      const auto next = hn::LoadU(d, points + k);
      least = hn::Min(least, next);
      greatest = hn::Max(greatest, next);
    }
    HWY_ALIGN uint16_t leasts[hn::MaxLanes(d)], greatests[hn::MaxLanes(d)];
    hn::Store(least, d, leasts);
    hn::Store(greatest, d, greatests);
    take(leasts, greatests, lanes);
  }
  take(points + k, points + k, elements - k);
  return corners;
}

void BoundBox(const uint16_t* points, uint32_t count, uint16_t* rectangle) {
  const Corners corners = CornersOf(points, count);
  rectangle[0] = corners.least[0];
  rectangle[1] = corners.least[1];
  rectangle[2] = corners.greatest[0];
  rectangle[3] = corners.greatest[1];
}

void BoundBoxSizes(const uint16_t* points, uint32_t count, uint16_t* rectangle) {
  const Corners corners = CornersOf(points, count);
  rectangle[0] = corners.least[0];
  rectangle[1] = corners.least[1];
  rectangle[2] = static_cast<uint16_t>(corners.greatest[0] - corners.least[0] + 1);
  rectangle[3] = static_cast<uint16_t>(corners.greatest[1] - corners.least[1] + 1);
}

}  // namespace

constexpr lumMserPreProcess* MSER_PreProcessPlus = PreProcess<true, uint16_t>;
constexpr lumMserPreProcess* MSER_PreProcessMinus = PreProcess<false, uint16_t>;
constexpr lumMserNN8PreProcess* MSER_NN8_PreProcessPlus = PreProcess<true, uint32_t>;
constexpr lumMserNN8PreProcess* MSER_NN8_PreProcessMinus = PreProcess<false, uint32_t>;
constexpr lumMserBoundBox* MSER_boundBox = BoundBox;
constexpr lumMserBoundBox* MSER_boundBox_v3 = BoundBoxSizes;

LUM_KERNEL(lumMseru8FxpST) = MSER_Plain<MSER_eHandles::nn4>;
LUM_KERNEL(lumMserNN8u8ST) = MSER_Plain<MSER_eHandles::nn8>;
LUM_KERNEL(lumMserExtu8FxpST) = MSER_Extended<MSER_eHandles::nn4>;
LUM_KERNEL(lumMserExtNN8u8ST) = MSER_Extended<MSER_eHandles::nn8>;
LUM_KERNEL(lumMseru8_v2ST) = MSER_WithRects;
LUM_KERNEL(lumMserExtu8_v2ST) = MSER_ExtendedWithRects<MSER_eRects::corners>;
LUM_KERNEL(lumMserExtu8_v3ST) = MSER_ExtendedWithRects<MSER_eRects::sizes>;

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
LUM_VECTOR_OF(lumMserPreProcess, MSER_PreProcessPlus);
LUM_VECTOR_OF(lumMserPreProcess, MSER_PreProcessMinus);
LUM_VECTOR_OF(lumMserNN8PreProcess, MSER_NN8_PreProcessPlus);
LUM_VECTOR_OF(lumMserNN8PreProcess, MSER_NN8_PreProcessMinus);
LUM_VECTOR_OF(lumMserBoundBox, MSER_boundBox);
LUM_VECTOR_OF(lumMserBoundBox, MSER_boundBox_v3);
LUM_VECTOR(lumMseru8FxpST);
LUM_VECTOR(lumMserNN8u8ST);
LUM_VECTOR(lumMserExtu8FxpST);
LUM_VECTOR(lumMserExtNN8u8ST);
LUM_VECTOR(lumMseru8_v2ST);
LUM_VECTOR(lumMserExtu8_v2ST);
LUM_VECTOR(lumMserExtu8_v3ST);
#endif  // HWY_ONCE
