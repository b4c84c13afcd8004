#include "lumenTestGuard.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>

#include "lumenTestConfig.h"
#include "lumenTestGuardMemory.h"
#include "lumenTestGuardTrap.h"
#include "lumenTestSweepData.h"
#include "lumenTestSweepReport.h"

namespace {

using Fence = LUMEN_TEST_Fence;
using Failure = std::optional<LUMEN_TEST_CaseFailure>;

constexpr uint8_t kUnwritten = 0xA5;

class Guard {
 public:
  Guard(LUMEN_TEST_OwnCheck check, const LUMEN_TEST_Description& description, unsigned int slot)
      : check_(check),
        description_(description),
        slot_(slot),
        report_("guard", description, slot, 0) {}

  int run(const std::vector<LUMEN_TEST_SweepCase>& cases) {
    for (const LUMEN_TEST_SweepCase& c : cases) {
      report_.count();
      const Failure failure = failureOf(c);
      if (!failure) continue;
      report_.fail({description_.name, lumenTestSettings.profileOrder[slot_], check_, c}, *failure);
    }
    return report_.finish();
  }

 private:
  Failure failureOf(const LUMEN_TEST_SweepCase& c) {
    if (check_ == LUMEN_TEST_OwnCheck::tail) return call(c, Fence::tail, false, "");
    if (check_ == LUMEN_TEST_OwnCheck::head) return call(c, Fence::head, false, "");
    for (const Fence fence : {Fence::tail, Fence::head}) {
      LUMEN_TEST_SweepCase row = c;
      row.height = 1;
      // Functions that need several rows are only called with all of them.
      const uint32_t alone = row.fits(description_) ? c.height : 0;
      for (uint32_t y = 0; y < alone; ++y, ++row.seed) {
        const std::string where = "row " + std::to_string(y) + " alone, ";
        if (Failure failure = call(row, fence, false, where)) return failure;
      }
      if (Failure failure = call(c, fence, true, "rows apart, ")) return failure;
    }
    return {};
  }

  // A stride of 0 leaves no room between rows: nothing to do then.
  Failure call(const LUMEN_TEST_SweepCase& c, Fence fence, bool rowsApart,
               const std::string& where) {
    LUMEN_TEST_Layout layout;
    if (!LUMEN_TEST_LayOut(description_, c, layout)) return withoutMemory();
    if (rowsApart && !LUMEN_TEST_SpreadRows(layout, LUMEN_TEST_GuardedImage::pageBytes())) {
      if (c.strides == LUMEN_TEST_StrideChoice::zero) return {};
      return withoutMemory();
    }
    uint8_t* first[LUMEN_TEST_MAX_IMAGES] = {};
    for (size_t i = 0; i < description_.images.size(); ++i) {
      if (layout.image[i].memoryOf != i) continue;
      const bool isApart = rowsApart && !layout.image[i].isPacked;
      if (!image_[i].place(layout.image[i], fence, isApart)) return withoutMemory();
    }
    for (size_t i = 0; i < description_.images.size(); ++i) {
      first[i] = image_[layout.image[i].memoryOf].first();
    }
    const LUMEN_TEST_Arguments arguments = LUMEN_TEST_ArgumentsOf(description_, c, layout, first);
    fill(c, layout, arguments);
    std::optional<LUMEN_TEST_Fault> fault = LUMEN_TEST_CallTrapped(description_, arguments);
    if (!fault) return {};
    if (fault->access == LUMEN_TEST_Access::unknown) {
      fault->access = accessByRepeating(c, layout, arguments, *fault);
    }
    return described(*fault, layout, where);
  }

  static Failure withoutMemory() {
    return LUMEN_TEST_CaseFailure{.findings = {"there is no memory for this case"}};
  }

  // Rows may lie apart, with nothing between them that could be filled.
  void fill(const LUMEN_TEST_SweepCase& c, const LUMEN_TEST_Layout& layout,
            const LUMEN_TEST_Arguments& arguments) const {
    for (size_t i = 0; i < description_.images.size(); ++i) {
      if (!description_.images[i].isWritten) continue;
      for (size_t y = 0; y < layout.image[i].rows; ++y) {
        std::fill_n(arguments.as<uint8_t>(i) + y * layout.image[i].stride, layout.image[i].rowBytes,
                    kUnwritten);
      }
    }
    LUMEN_TEST_FillInputs(description_, c, layout, arguments);
  }

  // Where the system does not say which it was: what faults again where reading is allowed writes.
  LUMEN_TEST_Access accessByRepeating(const LUMEN_TEST_SweepCase& c,
                                      const LUMEN_TEST_Layout& layout,
                                      const LUMEN_TEST_Arguments& arguments,
                                      const LUMEN_TEST_Fault& fault) {
    size_t guarded = 0;
    while (guarded < LUMEN_TEST_MAX_IMAGES && !image_[guarded].isGuardedAt(fault.address)) {
      ++guarded;
    }
    if (guarded == LUMEN_TEST_MAX_IMAGES || !image_[guarded].letRead(true)) {
      return LUMEN_TEST_Access::unknown;
    }
    fill(c, layout, arguments);
    const auto again = LUMEN_TEST_CallTrapped(description_, arguments);
    if (!image_[guarded].letRead(false)) return LUMEN_TEST_Access::unknown;
    return again && again->address == fault.address ? LUMEN_TEST_Access::write
                                                    : LUMEN_TEST_Access::read;
  }

  // The image that the fault lies beside; of two in the same memory the one that the access fits.
  std::optional<size_t> imageOf(const LUMEN_TEST_Fault& fault,
                                const LUMEN_TEST_Layout& layout) const {
    std::optional<size_t> found;
    for (size_t i = 0; i < description_.images.size(); ++i) {
      if (!image_[layout.image[i].memoryOf].isGuardedAt(fault.address)) continue;
      const bool isWrite = fault.access == LUMEN_TEST_Access::write;
      if (!found || description_.images[i].isWritten == isWrite) found = i;
    }
    return found;
  }

  LUMEN_TEST_CaseFailure described(const LUMEN_TEST_Fault& fault, const LUMEN_TEST_Layout& layout,
                                   const std::string& where) const {
    constexpr const char* kAccess[] = {"access", "read", "write"};
    const char* access = kAccess[static_cast<size_t>(fault.access)];
    LUMEN_TEST_CaseFailure failure;
    if (fault.access != LUMEN_TEST_Access::unknown) failure.access = access;
    const auto image = imageOf(fault, layout);
    if (!image) {
      char address[32];
      std::snprintf(address, sizeof(address), "0x%llx",
                    static_cast<unsigned long long>(fault.address));
      failure.findings = {where + access + " at " + address + ", far from every image"};
      return failure;
    }
    const LUMEN_TEST_Layout::Image& place = layout.image[*image];
    failure.buffer = description_.images[*image].name;
    const auto first = reinterpret_cast<uintptr_t>(image_[place.memoryOf].first());
    failure.offset = static_cast<int64_t>(fault.address) - static_cast<int64_t>(first);
    failure.findings = {where + failure.buffer + ", offset " + std::to_string(failure.offset) +
                        ": " + access + " outside its " + std::to_string(place.rowBytes) + " x " +
                        std::to_string(place.rows) + " bytes, stride " +
                        std::to_string(place.stride)};
    return failure;
  }

  const LUMEN_TEST_OwnCheck check_;
  const LUMEN_TEST_Description& description_;
  const unsigned int slot_;
  LUMEN_TEST_GuardedImage image_[LUMEN_TEST_MAX_IMAGES];
  LUMEN_TEST_CheckReport report_;
};

}  // namespace

int LUMEN_TEST_CheckGuard(LUMEN_TEST_OwnCheck check, const LUMEN_TEST_Description& description,
                          unsigned int slot, const std::vector<LUMEN_TEST_SweepCase>& cases) {
  return Guard(check, description, slot).run(cases);
}
