#include "lumenTestPoison.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

#include "lumenTestConfig.h"
#include "lumenTestSweepData.h"
#include "lumenTestSweepReport.h"

namespace {

constexpr size_t kMargin = 256;  // watched bytes before and behind each image

// What fills the images that are written, and what surrounds pixels of those that are read.
struct Fill {
  uint8_t written, around;
};
constexpr Fill kFirst = {0xA5, 0xA5}, kSecond = {0x5A, 0x5A}, kThird = {0x5A, 0xA5};

// An image with its margins.
using Bytes = std::vector<uint8_t>;

// Byte offsets count from the image's first byte.
std::optional<int64_t> firstDifference(const Bytes& a, const Bytes& b, size_t from, size_t to) {
  const auto begin = a.begin() + static_cast<ptrdiff_t>(from);
  const auto end = a.begin() + static_cast<ptrdiff_t>(to);
  const auto found = std::mismatch(begin, end, b.begin() + static_cast<ptrdiff_t>(from)).first;
  if (found == end) return {};
  return static_cast<int64_t>(found - a.begin()) - static_cast<int64_t>(kMargin);
}

// Among the bytes of pixels from number `from` to number `to`.
std::optional<int64_t> differenceInPixels(const LUMEN_TEST_Layout::Image& place, const Bytes& a,
                                          const Bytes& b, size_t from = 0, size_t to = SIZE_MAX) {
  for (size_t y = 0; y < place.rows; ++y) {
    const size_t row = kMargin + y * place.stride, before = y * place.rowBytes;
    const size_t begin = std::clamp(from, before, before + place.rowBytes) - before;
    const size_t end = std::clamp(to, before, before + place.rowBytes) - before;
    if (begin >= end) continue;
    if (const auto offset = firstDifference(a, b, row + begin, row + end)) return offset;
  }
  return {};
}

std::optional<int64_t> differenceOutside(const LUMEN_TEST_Layout::Image& place, const Bytes& a,
                                         const Bytes& b) {
  size_t gap = 0;
  for (size_t y = 0; y < place.rows; ++y) {
    const size_t row = kMargin + y * place.stride;
    if (const auto offset = firstDifference(a, b, gap, row)) return offset;
    gap = row + place.rowBytes;
  }
  return firstDifference(a, b, gap, a.size());
}

// The case's images before and after its call, under one filling.
struct Run {
  Bytes before[LUMEN_TEST_MAX_IMAGES], after[LUMEN_TEST_MAX_IMAGES];
  size_t meaningful[LUMEN_TEST_MAX_IMAGES] = {};  // bytes of images that are written
};

class Poison {
 public:
  Poison(const LUMEN_TEST_Description& description, unsigned int slot)
      : description_(description),
        slot_(slot),
        memory_(lumenTestSettings.memOption[slot]),
        report_("poison", description, slot, 0) {}

  int run(const std::vector<LUMEN_TEST_SweepCase>& cases) {
    for (const LUMEN_TEST_SweepCase& c : cases) {
      report_.count();
      LUMEN_TEST_CaseFailure failure;
      failure.findings = findingsOf(c);
      if (failure.findings.empty()) continue;
      report_.fail({description_.name, lumenTestSettings.profileOrder[slot_],
                    LUMEN_TEST_OwnCheck::poison, c},
                   failure);
    }
    return report_.finish();
  }

 private:
  std::vector<std::string> findingsOf(const LUMEN_TEST_SweepCase& c) {
    Run first, second;
    LUMEN_TEST_Layout layout;
    if (!LUMEN_TEST_LayOut(description_, c, layout) ||
        !memory_.place(description_, c, layout, kMargin)) {
      return {"there is no memory for this case"};
    }
    call(c, layout, kFirst, first);
    call(c, layout, kSecond, second);
    std::vector<std::string> findings;
    for (size_t i = 0; i < description_.images.size(); ++i) {
      const LUMEN_TEST_Layout::Image& place = layout.image[i];
      if (place.memoryOf != i) continue;  // looked at as the image that it replaces
      const auto inBothRuns = [&](auto difference) {
        const auto offset = difference(place, first.before[i], first.after[i]);
        return offset ? offset : difference(place, second.before[i], second.after[i]);
      };
      if (const auto offset = inBothRuns(differenceOutside)) {
        add(findings, i, place, *offset, "written outside the image");
      }
      const size_t written = writerOf(layout, i);
      const auto inPixels = [](const auto& image, const Bytes& a, const Bytes& b) {
        return differenceInPixels(image, a, b);
      };
      if (!description_.images[written].isWritten) {
        if (const auto offset = inBothRuns(inPixels)) {
          add(findings, i, place, *offset, "input changed");
        }
        continue;
      }
      const size_t meaningful = first.meaningful[written];
      const auto behindThem = [&](const auto& image, const Bytes& a, const Bytes& b) {
        return differenceInPixels(image, a, b, meaningful);
      };
      if (const auto offset =
              differenceInPixels(place, first.after[i], second.after[i], 0, meaningful)) {
        Run third;
        call(c, layout, kThird, third);
        add(findings, i, place, *offset,
            reasonOf(first.after[i], second.after[i], third.after[i], *offset));
      } else if (isRestKept(written)) {
        if (const auto rest = inBothRuns(behindThem)) {
          add(findings, i, place, *rest, "written behind what means something");
        }
      }
    }
    return findings;
  }

  // The image that takes the place of this one, or itself.
  static size_t writerOf(const LUMEN_TEST_Layout& layout, size_t index) {
    for (size_t i = 0; i < LUMEN_TEST_MAX_IMAGES; ++i) {
      if (i != index && layout.image[i].rows > 0 && layout.image[i].memoryOf == index) return i;
    }
    return index;
  }

  bool isRestKept(size_t index) const {
    return !description_.images[index].isScratch && !description_.images[index].isRestFree;
  }

  // Why a byte of a result is not the same under the two fillings.
  static const char* reasonOf(const Bytes& first, const Bytes& second, const Bytes& third,
                              int64_t offset) {
    const auto at = static_cast<size_t>(offset + static_cast<int64_t>(kMargin));
    if (third[at] != second[at]) return "depends on bytes around the pixels of an input";
    if (first[at] == kFirst.written && second[at] == kSecond.written) return "never written";
    return "depends on what was there before";
  }

  void call(const LUMEN_TEST_SweepCase& c, const LUMEN_TEST_Layout& layout, Fill fill, Run& run) {
    const LUMEN_TEST_Arguments arguments =
        LUMEN_TEST_ArgumentsOf(description_, c, layout, memory_.images());
    const auto bytesOf = [&](size_t i) {
      const uint8_t* image = arguments.as<uint8_t>(i);
      return Bytes(image - kMargin, image + layout.image[i].bytes + kMargin);
    };
    for (size_t i = 0; i < description_.images.size(); ++i) {
      if (layout.image[i].memoryOf != i) continue;
      std::memset(arguments.as<uint8_t>(i) - kMargin,
                  description_.images[i].isWritten ? fill.written : fill.around,
                  layout.image[i].bytes + 2 * kMargin);
    }
    LUMEN_TEST_FillInputs(description_, c, layout, arguments);
    for (size_t i = 0; i < description_.images.size(); ++i) run.before[i] = bytesOf(i);
    description_.call(arguments);
    for (size_t i = 0; i < description_.images.size(); ++i) {
      run.after[i] = bytesOf(i);
      if (!description_.images[i].isWritten) continue;
      run.meaningful[i] = static_cast<size_t>(description_.meaningful(i, arguments)) *
                          description_.images[i].elementSize();
    }
  }

  void add(std::vector<std::string>& findings, size_t index, const LUMEN_TEST_Layout::Image& place,
           int64_t offset, const char* what) const {
    const int64_t row = std::clamp<int64_t>(offset / static_cast<int64_t>(place.stride), 0,
                                            int64_t{place.rows} - 1);
    findings.push_back(std::string(description_.images[index].name) + ", row " +
                       std::to_string(row) + ", offset " + std::to_string(offset) + ": " + what);
  }

  const LUMEN_TEST_Description& description_;
  const unsigned int slot_;
  LUMEN_TEST_CaseMemory memory_;
  LUMEN_TEST_CheckReport report_;
};

}  // namespace

int LUMEN_TEST_CheckPoison(const LUMEN_TEST_Description& description, unsigned int slot,
                           const std::vector<LUMEN_TEST_SweepCase>& cases) {
  return Poison(description, slot).run(cases);
}
