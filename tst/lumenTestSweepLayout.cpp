#include "lumenTestSweepLayout.h"

#include <algorithm>

#include "lumenTestBuffer.h"
#include "lumenTestSweepData.h"

namespace {

constexpr size_t kAlignment = 128;         // of images
constexpr uint64_t kStrideMultiple = 128;  // of strides that are rounded up

uint64_t roundUp(uint64_t value, uint64_t multiple) {
  return (value + multiple - 1) / multiple * multiple;
}

// What the images that go by one stride need it to be.
struct Demand {
  uint64_t longestRow = 0, shortestRow = UINT64_MAX;
  uint64_t elementSize = 1;  // of the largest elements

  void add(uint64_t row, uint64_t size) {
    longestRow = std::max(longestRow, row);
    shortestRow = std::min(shortestRow, row);
    elementSize = std::max(elementSize, size);
  }
};

uint64_t strideFor(const Demand& demand, const LUMEN_TEST_SweepCase& c, bool isWritten,
                   size_t index, size_t elementSize) {
  if (c.strides == LUMEN_TEST_StrideChoice::zero) return demand.longestRow;
  if (c.strides == LUMEN_TEST_StrideChoice::aligned) {
    return roundUp(demand.longestRow, kStrideMultiple);
  }
  // Two images of a kind differ, so that a function that takes one stride for the other is found.
  const uint64_t padding = isWritten ? c.writtenPadding : c.readPadding;
  const uint64_t elements = padding ? padding + index : 0;
  return roundUp(demand.longestRow + elements * elementSize, demand.elementSize);
}

}  // namespace

size_t LUMEN_TEST_StrideOwner(const LUMEN_TEST_Description& description, size_t index) {
  const size_t of = description.images[index].strideOf;
  return of == LUMEN_TEST_Image::kOwn ? index : of;
}

bool LUMEN_TEST_LayOut(const LUMEN_TEST_Description& description, const LUMEN_TEST_SweepCase& c,
                       LUMEN_TEST_Layout& layout) {
  const auto images = description.images;
  // In place, the written image goes by the stride of the one that is read.
  const auto owner = [&](size_t index) {
    const size_t own = LUMEN_TEST_StrideOwner(description, index);
    if (c.inPlace && own == LUMEN_TEST_StrideOwner(description, c.inPlace->written)) {
      return LUMEN_TEST_StrideOwner(description, c.inPlace->read);
    }
    return own;
  };
  const LUMEN_TEST_Arguments numbers = LUMEN_TEST_NumbersOf(description, c);
  LUMEN_TEST_Extent extent[LUMEN_TEST_MAX_IMAGES];
  Demand demand[LUMEN_TEST_MAX_IMAGES];
  for (size_t i = 0; i < images.size(); ++i) {
    const LUMEN_TEST_Image& image = images[i];
    extent[i] = image.extentOf(numbers);
    if (extent[i].rowElements > LUMEN_TEST_MAX_CASE_BYTES ||
        extent[i].rows > LUMEN_TEST_MAX_CASE_BYTES) {
      return false;
    }
    demand[owner(i)].add(extent[i].rowElements * image.elementSize(), image.elementSize());
    // A stride of 0 stands for the row without what it is rounded up by.
    if (c.strides == LUMEN_TEST_StrideChoice::zero && !image.extent &&
        image.region(c.width, c.height).rowElements != extent[i].rowElements) {
      return false;
    }
  }
  size_t all = 0;
  for (size_t i = 0; i < images.size(); ++i) {
    const size_t of = owner(i);
    const bool isPacked = images[i].isPacked;
    const uint64_t stride =
        isPacked ? extent[i].rowElements * images[i].elementSize()
                 : strideFor(demand[of], c, images[of].isWritten, of, images[of].elementSize());
    const bool isZero = c.strides == LUMEN_TEST_StrideChoice::zero && !isPacked;
    if (stride > UINT32_MAX || (isZero && demand[of].shortestRow != stride)) return false;

    LUMEN_TEST_Layout::Image& place = layout.image[i];
    place.rowBytes = static_cast<size_t>(extent[i].rowElements * images[i].elementSize());
    place.rows = static_cast<uint32_t>(extent[i].rows);
    place.isPacked = isPacked;
    place.stride = static_cast<size_t>(stride);
    place.strideArgument = isZero ? 0 : static_cast<uint32_t>(stride);
    if (__builtin_mul_overflow(place.stride, size_t{place.rows} - 1, &place.bytes) ||
        __builtin_add_overflow(place.bytes, place.rowBytes, &place.bytes) ||
        __builtin_add_overflow(all, place.bytes, &all) || all > LUMEN_TEST_MAX_CASE_BYTES) {
      return false;
    }
    place.memoryOf = c.inPlace && c.inPlace->written == i ? c.inPlace->read : i;
  }
  return true;
}

bool LUMEN_TEST_SpreadRows(LUMEN_TEST_Layout& layout, size_t multiple) {
  size_t longest = 0;
  for (const auto& image : layout.image) {
    if (!image.isPacked) longest = std::max(longest, image.rowBytes);
  }
  const uint64_t stride = roundUp(longest, multiple) + multiple;
  if (stride > UINT32_MAX) return false;
  for (auto& image : layout.image) {
    if (image.rows == 0 || image.isPacked) continue;  // there is none, or no stride to change
    if (image.strideArgument == 0) return false;
    image.stride = static_cast<size_t>(stride);
    image.strideArgument = static_cast<uint32_t>(stride);
    if (__builtin_mul_overflow(image.stride, size_t{image.rows} - 1, &image.bytes) ||
        __builtin_add_overflow(image.bytes, image.rowBytes, &image.bytes)) {
      return false;
    }
  }
  return true;
}

LUMEN_TEST_CaseMemory::~LUMEN_TEST_CaseMemory() {
  if (block_) LUMEN_TEST_MemFree(block_, option_);
}

bool LUMEN_TEST_CaseMemory::place(const LUMEN_TEST_Description& description,
                                  const LUMEN_TEST_SweepCase& c, const LUMEN_TEST_Layout& layout,
                                  size_t margin) {
  size_t offset[LUMEN_TEST_MAX_IMAGES] = {};
  uint64_t needed = kAlignment;
  for (size_t i = 0; i < description.images.size(); ++i) {
    if (layout.image[i].memoryOf != i) continue;
    const size_t moved = c.misaligned >> i & 1 ? description.images[i].elementSize() : 0;
    const uint64_t first = roundUp(needed + margin, kAlignment) + moved;
    needed = first + layout.image[i].bytes + margin;
    if (layout.image[i].bytes > UINT32_MAX || needed > UINT32_MAX) return false;
    offset[i] = static_cast<size_t>(first);
  }
  if (needed > blockBytes_) {
    if (block_) LUMEN_TEST_MemFree(block_, option_);
    block_ = LUMEN_TEST_MemAlloc(static_cast<uint32_t>(needed), option_);
    blockBytes_ = block_ ? static_cast<size_t>(needed) : 0;
    if (!block_) return false;
  }
  const size_t past = reinterpret_cast<uintptr_t>(block_) % kAlignment;
  auto* const aligned = static_cast<uint8_t*>(block_) + (past ? kAlignment - past : 0);
  for (size_t i = 0; i < description.images.size(); ++i) {
    image_[i] = aligned + offset[layout.image[i].memoryOf] - kAlignment;
  }
  return true;
}
