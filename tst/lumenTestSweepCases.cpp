#include "lumenTestSweepCases.h"

#include <algorithm>

#include "lumenTestRandom.h"

namespace {

using Case = LUMEN_TEST_SweepCase;
using Cases = std::vector<Case>;

constexpr size_t kWidestVector = 64;  // bytes
constexpr uint32_t kMaxHeight = 5;
constexpr uint32_t kTimes = 4;  // that each size and layout is swept, with other contents

// Pixels whose smallest elements fill a vector. Vectors of images with several channels are worked
// on in groups that hold as many pixels.
uint32_t pixelsOfVector(const LUMEN_TEST_Description& description) {
  size_t smallest = kWidestVector;
  for (const LUMEN_TEST_Image& image : description.images) {
    smallest = std::min(smallest, image.elementSize());
  }
  return static_cast<uint32_t>(kWidestVector / smallest);
}

// Widths and heights are counted from the least one on, in the function's steps.
std::vector<uint32_t> widthsOf(const LUMEN_TEST_Description& description) {
  const uint32_t vector = pixelsOfVector(description);
  std::vector<uint32_t> widths;
  for (uint32_t width = 1; width <= 2 * vector + 1; ++width) widths.push_back(width);
  // Loops over several vectors, with an aligned middle part.
  for (const uint32_t width : {3 * vector - 1, 4 * vector - 1, 4 * vector, 4 * vector + 1,
                               5 * vector + 3, 9 * vector + 7}) {
    widths.push_back(width);
  }
  return widths;
}

// Bits of the images that are written, or of those that are read.
uint32_t imageBits(const LUMEN_TEST_Description& description, bool written) {
  uint32_t bits = 0;
  for (size_t i = 0; i < description.images.size(); ++i) {
    if (description.images[i].isWritten == written) bits |= 1u << i;
  }
  return bits;
}

// Cases of the least size; layouts that the function cannot be called with are left out.
Cases layoutsOf(const LUMEN_TEST_Description& description, bool alsoMisaligned) {
  const uint32_t written = imageBits(description, true), read = imageBits(description, false);
  const uint32_t firstRead = read & (~read + 1);
  using enum LUMEN_TEST_StrideChoice;
  Cases layouts = {
      {},
      {.strides = zero},
      {.strides = aligned},
      {.readPadding = 1, .writtenPadding = 1},
      {.readPadding = 3},
      {.writtenPadding = 3},
  };
  if (alsoMisaligned) {
    const Cases misaligned = {
        {.misaligned = written | read},
        {.readPadding = 2, .writtenPadding = 1, .misaligned = written | read},
        {.misaligned = written},
        {.strides = aligned, .misaligned = written},
        {.readPadding = 1, .writtenPadding = 4, .misaligned = firstRead},
    };
    layouts.insert(layouts.end(), misaligned.begin(), misaligned.end());
  }
  const auto images = static_cast<uint8_t>(description.images.size());
  for (uint8_t w = 0; w < images; ++w) {
    for (uint8_t r = 0; r < images; ++r) {
      if (!(description.images[w].inPlaceOf >> r & 1)) continue;
      const LUMEN_TEST_InPlace inPlace = {w, r};
      layouts.push_back({.inPlace = inPlace});
      layouts.push_back({.readPadding = 1, .inPlace = inPlace});
      if (alsoMisaligned) layouts.push_back({.misaligned = 1u << r, .inPlace = inPlace});
    }
  }
  for (Case& layout : layouts) {
    layout.width = description.sizes.leastWidth;
    layout.height = description.sizes.leastHeight;
  }
  std::erase_if(layouts, [&](const Case& layout) { return !layout.fits(description); });
  return layouts;
}

// All that there are; random ones, which show most faults, come first.
Cases contentsOf(const LUMEN_TEST_Description& description) {
  const auto isRead = [](const LUMEN_TEST_Image& image) { return !image.isWritten; };
  const auto images = description.images;
  const bool areAllFloats = std::all_of(images.begin(), images.end(), [](const auto& image) {
    return image.isWritten || image.type == LUMEN_TEST_Type::f32;
  });
  const bool arePairs = std::count_if(images.begin(), images.end(), isRead) > 1;
  const auto last = areAllFloats ? LUMEN_TEST_LAST_PATTERN : LUMEN_TEST_LAST_INTEGER_PATTERN;
  const auto lastScalar =
      description.scalars.empty() ? LUMEN_TEST_ScalarChoice{} : LUMEN_TEST_LAST_SCALAR_CHOICE;
  Cases contents;
  for (auto first = 0; first <= static_cast<int>(last); ++first) {
    for (auto second = 0; second <= static_cast<int>(last); ++second) {
      if (!arePairs && second != first) continue;
      for (auto scalars = 0; scalars <= static_cast<int>(lastScalar); ++scalars) {
        Case content;
        content.pattern[0] = static_cast<LUMEN_TEST_Pattern>(first);
        content.pattern[1] = static_cast<LUMEN_TEST_Pattern>(second);
        content.scalars = static_cast<LUMEN_TEST_ScalarChoice>(scalars);
        contents.push_back(content);
      }
    }
  }
  return contents;
}

// Cases are put together from a size, a layout and contents.
class List {
 public:
  List(const LUMEN_TEST_Description& description, uint64_t runSeed)
      : description_(description), runSeed_(runSeed) {}

  void add(uint32_t width, uint32_t height, Case c, const Case& contents) {
    c.width = description_.sizes.width(width);
    c.height = description_.sizes.height(height);
    std::copy(std::begin(contents.pattern), std::end(contents.pattern), c.pattern);
    c.scalars = contents.scalars;
    if (!c.fits(description_)) return;
    c.seedFor(description_, runSeed_);
    cases_.push_back(c);
  }

  // One of the first `count` numbers, a different one each time, always the same from run to run.
  size_t pick(size_t count) { return static_cast<size_t>(choice_.below(count)); }

  uint32_t pickHeight() { return 1 + static_cast<uint32_t>(pick(kMaxHeight)); }

  Cases take() { return std::move(cases_); }

 private:
  const LUMEN_TEST_Description& description_;
  const uint64_t runSeed_;
  LUMEN_TEST_Random choice_{0};
  Cases cases_;
};

// More bytes than the caches of a core hold: vector code then stores past the cache, some of it
// from 4 MiB on.
void addLarge(const LUMEN_TEST_Description& description, const Cases& layouts, List& list) {
  constexpr uint64_t kBytes = uint64_t{5} << 20;
  uint64_t bytesOfPixels = 0;  // of 64
  for (const LUMEN_TEST_Image& image : description.images) {
    if (image.extent) continue;
    bytesOfPixels += image.rowElements(64) * image.elementSize() / image.heightDivisor;
  }
  if (bytesOfPixels == 0) return;
  const LUMEN_TEST_Sizes& sizes = description.sizes;
  const auto pixels = static_cast<uint32_t>(kBytes * 64 / bytesOfPixels / sizes.widthStep);
  constexpr uint32_t kWidth = 1021;
  for (const Case& layout : layouts) {
    list.add(kWidth, pixels / kWidth / sizes.heightStep + 1, layout, {});
  }
  list.add(pixels / 3, 3, {.readPadding = 1, .writtenPadding = 2}, {});
}

Cases randomContents(const LUMEN_TEST_Description& description, const Cases& layouts,
                     uint64_t runSeed, uint32_t times) {
  List list(description, runSeed);
  for (const uint32_t width : widthsOf(description)) {
    for (const Case& layout : layouts) {
      for (uint32_t time = 0; time < times; ++time) {
        list.add(width, list.pickHeight(), layout, {});
      }
    }
  }
  return list.take();
}

}  // namespace

Cases LUMEN_TEST_SweepCases(const LUMEN_TEST_Description& description, LUMEN_TEST_Sweep extent,
                            uint64_t runSeed) {
  const bool isFull = extent == LUMEN_TEST_Sweep::full;
  const Cases layouts = layoutsOf(description, true), contents = contentsOf(description);
  List list(description, runSeed);
  for (const uint32_t width : widthsOf(description)) {
    for (const Case& layout : layouts) {
      for (uint32_t height = 1; height <= (isFull ? kMaxHeight : 1); ++height) {
        for (uint32_t time = 0; time < kTimes; ++time) {
          const Case& content = contents[time == 0 ? 0 : list.pick(contents.size())];
          list.add(width, isFull ? height : list.pickHeight(), layout, content);
        }
      }
    }
  }
  if (!isFull) return list.take();

  const uint32_t vector = pixelsOfVector(description);
  for (const uint32_t width : {1u, 3u, vector - 1, vector, 2 * vector + 1, 5 * vector + 3}) {
    for (const Case& content : contents) list.add(width, 2, {}, content);
  }
  addLarge(description, layouts, list);
  return list.take();
}

Cases LUMEN_TEST_GuardCases(const LUMEN_TEST_Description& description, uint64_t runSeed) {
  return randomContents(description, layoutsOf(description, false), runSeed, 2);
}

Cases LUMEN_TEST_PoisonCases(const LUMEN_TEST_Description& description, uint64_t runSeed) {
  return randomContents(description, layoutsOf(description, true), runSeed, 1);
}
