// The parts of rows in which FAST corners are searched at once, by vectors of up to 32 pixels.

// Include guard for each target that this is compiled for.
#if defined(LUMEN_FAST_PART_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef LUMEN_FAST_PART_INL_H
#undef LUMEN_FAST_PART_INL_H
#else
#define LUMEN_FAST_PART_INL_H
#endif

#include <hwy/highway.h>

#include "lumenFast.h"

HWY_BEFORE_NAMESPACE();
namespace lumen {
namespace HWY_NAMESPACE {

template <uint32_t kPixels>
class FastParts {
 public:
  static constexpr uint32_t kLanes = kPixels;
  // At most so many vectors are searched at once, in one row.
  static constexpr uint32_t kVectors = 256, kRows = 1;

  // Turns to row y and some rows from there on, at most `rows`. How many.
  HWY_INLINE uint32_t Start(uint32_t y, uint32_t rows) {
    const uint32_t most = kVectors / ((end_ - begin_) / kLanes + 2);
    nextY_ = y;
    endY_ = y + HWY_MIN(HWY_MAX(most, 1u), rows);
    nextX_ = begin_;
    return endY_ - y;
  }
  bool isDone() const { return nextY_ == endY_; }
  // Where the next part of a row begins.
  uint32_t nextX() const { return nextX_; }

 protected:
  // The columns between the borders must be a vector at least.
  explicit FastParts(const lumFastSearch& search)
      : search_(search), begin_(search.border), end_(search.width - search.border) {}

  HWY_INLINE const uint8_t* rowAt(uint32_t y) const {
    return search_.src + size_t{y} * search_.stride;
  }
  uint32_t nextY() const { return nextY_; }

  // Goes through the vectors of the next part of a row, which is as much of it as there is room
  // for, and past that part. But for the first and the last of a row, which may share pixels with
  // their neighbours, vectors lie on lines, which begin where addresses are multiples of a vector:
  // what is loaded from the same column then lies in one cache line.
  template <class Each>
  HWY_INLINE void ForVectors(const Each& each) {
    constexpr uint32_t kLongest = (kVectors - 1) * kLanes;
    const uint32_t begin = nextX_;
    const bool isLast = end_ - begin <= kLongest;
    const uint32_t end = isLast ? end_ : begin + kLongest;
    // Two vectors are enough where they reach from end to end.
    const bool isShort = end_ - begin_ <= 2 * kLanes;
    const auto address = reinterpret_cast<uintptr_t>(rowAt(nextY_) + begin);
    const uint32_t first = isShort ? kLanes : kLanes - static_cast<uint32_t>(address % kLanes);
    uint32_t x = begin + first;
    each(HWY_MIN(begin, end_ - kLanes));
    for (; x + kLanes <= end; x += kLanes) each(x);
    if (isLast && x < end) each(end - kLanes);
    nextX_ = isLast ? begin_ : x;
    nextY_ += isLast;
  }

  const lumFastSearch& search_;

 private:
  const uint32_t begin_, end_;
  // The next part of the rows that are searched.
  uint32_t nextX_ = 0, nextY_ = 0, endY_ = 0;
};

}  // namespace HWY_NAMESPACE
}  // namespace lumen
HWY_AFTER_NAMESPACE();

#endif  // LUMEN_FAST_PART_INL_H
