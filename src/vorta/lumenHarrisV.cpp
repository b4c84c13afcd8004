// Harris corners, vector: one pass over the image with a few rows of each stage.

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vorta/lumenHarrisV.cpp"
#include <hwy/foreach_target.h>  // compiles this file once for each instruction set
// Must come after foreach_target.h.
#include <hwy/highway.h>

#include <cstring>

#include "cpu/lumenHarrisEntries.h"
#include "lumenScratch.h"
#include "lumenVector.h"
#include "vorta/lumenHarrisRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {
namespace harris {
namespace {

constexpr uint32_t kResponseRows = 5, kSumRows = 4;
constexpr uint32_t kAlignment = 64;

// What a row takes of the stages' memory, in elements.
struct Layout {
  explicit Layout(uint32_t imageWidth)
      : width(imageWidth), blocks((imageWidth + kBlock - 1) / kBlock) {}

  static constexpr size_t kBlock = hn::MaxLanes(D16());
  static constexpr size_t kHalf = kBlock / 2;

  uint64_t plane() const { return (blocks + 2) * kBlock; }  // a block before and one behind
  uint64_t parity() const { return (blocks + 2) * kHalf; }  // the same
  uint64_t sums() const { return blocks * kPlanes * kBlock; }
  uint64_t active() const { return (blocks + kAlignment - 1) / kAlignment * kAlignment; }

  uint64_t grads() const { return kPlanes * plane() * sizeof(int16_t); }
  uint64_t blurgrads() const { return kSumRows * sums() * sizeof(int32_t); }
  // Responses, activity, and room for a row's finds.
  uint64_t responses() const { return kResponseRows * 2 * parity() * sizeof(int32_t); }
  uint64_t corner() const {
    return responses() + kResponseRows * active() + (blocks * kBlock) * (sizeof(int32_t) * 2);
  }

  uint64_t width, blocks;
};

class Scan {
 public:
  Scan(const lumHarrisImage& image, lumHarrisMaxima maxima, const Layout& layout, uint8_t* corner,
       int16_t* grads, int32_t* blurgrads)
      : image_(image),
        margin_(lumHarrisMargin(maxima)),
        blocks_(static_cast<size_t>(layout.blocks)),
        sumsOfRow_(static_cast<size_t>(layout.sums())),
        sums_(blurgrads) {
    // What lies beside the image stays zero.
    std::memset(grads, 0, static_cast<size_t>(layout.grads()));
    std::memset(corner, 0, static_cast<size_t>(layout.responses()));
    const size_t plane = static_cast<size_t>(layout.plane());
    for (size_t p = 0; p < kPlanes; ++p) products_[p] = grads + p * plane + Layout::kBlock;
    const size_t parity = static_cast<size_t>(layout.parity());
    int32_t* even = reinterpret_cast<int32_t*>(corner) + Layout::kHalf;
    uint8_t* active = corner + layout.responses();
    for (Responses& row : responses_) {
      row = {even, even + parity, active};
      even += 2 * parity;
      active += layout.active();
    }
    xs_ = reinterpret_cast<uint32_t*>(active);
    found_ = reinterpret_cast<int32_t*>(xs_ + layout.blocks * Layout::kBlock);
  }

  // Sums across rows 1 to 4, which the first responses need.
  void prime() {
    const D32 d;
    const Across across;
    for (uint32_t y = 1; y <= kSumRows; ++y) {
      computeProducts(y);
      for (size_t i = 0; i < blocks_ * kPlanes; ++i) {
        V32 even, odd;
        across.Sum(products_[i % kPlanes] + i / kPlanes * Layout::kBlock, even, odd);
        int32_t* const sums = sumRow(y) + i * Layout::kBlock;
        hn::Store(even, d, sums);
        hn::Store(odd, d, sums + Layout::kHalf);
      }
    }
  }

  // The responses of row y from the products of row y + 2.
  template <lumHarrisResponse kResponse>
  void computeRow(uint32_t y, int32_t lowest) {
    computeProducts(y + 2);
    const D32 d;
    const V32 threshold = hn::Set(d, lowest);
    const Across across;
    const Responses& out = responses_[y % kResponseRows];
    const int32_t* const rows[4] = {sumRow(y + 2), sumRow(y - 1), sumRow(y), sumRow(y + 1)};
    int32_t* const latest = sumRow(y + 2);
    for (size_t b = 0; b < blocks_; ++b) {
      V32 even[kPlanes], odd[kPlanes];
      for (size_t p = 0; p < kPlanes; ++p) {
        const size_t i = (b * kPlanes + p) * Layout::kBlock;
        V32 evenAcross, oddAcross;
        across.Sum(products_[p] + b * Layout::kBlock, evenAcross, oddAcross);
        even[p] = SumDown(rows, i, evenAcross);
        odd[p] = SumDown(rows, i + Layout::kHalf, oddAcross);
        hn::Store(evenAcross, d, latest + i);
        hn::Store(oddAcross, d, latest + i + Layout::kHalf);
      }
      const V32 ofEven = Response<kResponse>(even[0], even[1], even[2]);
      const V32 ofOdd = Response<kResponse>(odd[0], odd[1], odd[2]);
      hn::Store(ofEven, d, out.even + b * Layout::kHalf);
      hn::Store(ofOdd, d, out.odd + b * Layout::kHalf);
      out.active[b] = !hn::AllFalse(d, hn::Gt(hn::Max(ofEven, ofOdd), threshold));
    }
  }

  // Hands the maxima of row y to the list, whose threshold is no lower than when the row was
  // computed.
  template <lumHarrisMaxima kMaxima>
  bool testRow(uint32_t y, lumHarrisList& list) {
    const D32 d;
    const V32 threshold = hn::Set(d, list.threshold);
    const Responses* rows[5];
    for (uint32_t r = 0; r < 5; ++r) rows[r] = &responses_[(y + 3 + r) % kResponseRows];
    uint32_t count = 0;
    for (size_t b = 0; b < blocks_; ++b) {
      if (!rows[2]->active[b]) continue;
      const Masks masks = MaximaOfBlock<kMaxima>(rows, b * Layout::kHalf, threshold);
      uint64_t bits = SpreadBits(masks.even) | SpreadBits(masks.odd) << 1;
      for (bits &= columnsOfBlock(b); bits != 0; bits &= bits - 1) {
        const size_t x = b * Layout::kBlock + static_cast<size_t>(__builtin_ctzll(bits));
        xs_[count] = static_cast<uint32_t>(x);
        found_[count++] = (x % 2 ? rows[2]->odd : rows[2]->even)[x / 2];
      }
    }
    return count == 0 || list.take(y, xs_, found_, count);
  }

 private:
  void computeProducts(uint32_t y) {
    StoreProducts(lumRowAt(image_.src, y - 1, image_.stride),
                  lumRowAt(image_.src, y, image_.stride),
                  lumRowAt(image_.src, y + 1, image_.stride), image_.width, products_);
  }

  int32_t* sumRow(uint32_t y) const { return sums_ + y % kSumRows * sumsOfRow_; }

  // The columns of a block that are tested, a bit each.
  uint64_t columnsOfBlock(size_t b) const {
    const size_t x = b * Layout::kBlock, end = image_.width - margin_;
    const uint64_t all = ~uint64_t{0};
    if (x >= end || x + Layout::kBlock <= margin_) return 0;
    const uint64_t from = x < margin_ ? all << (margin_ - x) : all;
    return end - x < 64 ? from & ~(all << (end - x)) : from;
  }

  const lumHarrisImage image_;
  const uint32_t margin_;
  const size_t blocks_, sumsOfRow_;
  int16_t* products_[kPlanes];
  int32_t* sums_;
  Responses responses_[kResponseRows];
  uint32_t* xs_;
  int32_t* found_;
};

void ScanImage(const lumHarrisImage& image, lumHarrisResponse response, lumHarrisMaxima maxima,
               lumHarrisList& list) {
  const Layout layout(image.width);
  const lumScratch<uint8_t> corner(lumScratchBytes(layout.corner()), kAlignment);
  const lumScratch<int16_t> grads(lumScratchBytes(layout.grads()), kAlignment);
  const lumScratch<int32_t> blurgrads(lumScratchBytes(layout.blurgrads()), kAlignment);
  LUM_HARRIS_REQUIRE(corner && grads && blurgrads);
  Scan scan(image, maxima, layout, corner.data(), grads.data(), blurgrads.data());

  const uint32_t margin = lumHarrisMargin(maxima), behind = margin - LUM_HARRIS_REACH;
  scan.prime();
  for (uint32_t y = LUM_HARRIS_REACH; y + LUM_HARRIS_REACH < image.height; ++y) {
    if (response == lumHarrisResponse::corner) {
      scan.computeRow<lumHarrisResponse::corner>(y, list.threshold);
    } else {
      scan.computeRow<lumHarrisResponse::minEigenvalue>(y, list.threshold);
    }
    if (y < margin + behind) continue;
    const uint32_t tested = y - behind;
    const bool goesOn =
        maxima == lumHarrisMaxima::strict  ? scan.testRow<lumHarrisMaxima::strict>(tested, list)
        : maxima == lumHarrisMaxima::first ? scan.testRow<lumHarrisMaxima::first>(tested, list)
                                           : scan.testRow<lumHarrisMaxima::all>(tested, list);
    if (!goesOn) return;
  }
}

}  // namespace

using Vector = lumHarrisWith<ScanImage>;

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace harris

LUM_KERNEL(lumCornerHarrisu8) = harris::Vector::corners;
LUM_KERNEL(lumCornerHarrisInMasku8) = harris::Vector::inMask;
LUM_KERNEL(lumCornerHarrisAdaptiveu8) = harris::Vector::adaptive;
LUM_KERNEL(lumCornerHarrisScoreu8) = harris::Vector::score;
LUM_KERNEL(lumLocalHarrisMaxu8) = harris::Vector::localMax;
LUM_KERNEL(lumGoodFeatureToTracku8) = harris::Vector::goodFeatures;

// NOLINTNEXTLINE(google-readability-namespace-comments)
}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
LUM_VECTOR(lumCornerHarrisu8);
LUM_VECTOR(lumCornerHarrisInMasku8);
LUM_VECTOR(lumCornerHarrisAdaptiveu8);
LUM_VECTOR(lumCornerHarrisScoreu8);
LUM_VECTOR(lumLocalHarrisMaxu8);
LUM_VECTOR(lumGoodFeatureToTracku8);
#endif  // HWY_ONCE
