#include "lumenTestSweep.h"

#include <vector>

#include "lumenTestConfig.h"
#include "lumenTestExtras.h"
#include "lumenTestGuard.h"
#include "lumenTestLog.h"
#include "lumenTestPoison.h"
#include "lumenTestSweepCases.h"
#include "lumenTestSweepCompare.h"
#include "lumenTestSweepData.h"
#include "lumenTestSweepReport.h"
#include "lumenTestSweepSave.h"

LUMEN_TEST_OwnDataRun lumenTestOwnDataRun;

namespace {

using Case = LUMEN_TEST_SweepCase;
using Cases = std::vector<Case>;

constexpr size_t kMargin = 256;       // a function at fault may write beyond its image
constexpr uint8_t kUnwritten = 0xA5;  // in images that are to be written
constexpr unsigned int kReferenceSlot = LUMEN_TEST_SLOT_C;
constexpr size_t kBatchBytes = 8 << 20;  // of references that are kept

class Sweep {
 public:
  Sweep(const LUMEN_TEST_Description& description, unsigned int slot, float tolerance)
      : description_(description),
        slot_(slot),
        tolerance_(tolerance),
        memory_(lumenTestSettings.memOption[slot]),
        report_("sweep", description, slot, tolerance) {}

  // References are made for many cases at once, since changing the operation mode takes longer
  // than most calls.
  int run(const Cases& cases) {
    for (size_t begin = 0; begin < cases.size();) {
      const References references = referencesOf(cases, begin);
      for (size_t i = 0; i < references.size(); ++i) {
        check(cases[begin + i], references[i]);
      }
      begin += references.size();
    }
    return report_.finish();
  }

 private:
  using References = std::vector<std::optional<LUMEN_TEST_Reference>>;

  // As many as fit into a batch, but one at least.
  References referencesOf(const Cases& cases, size_t begin) {
    if (slot_ != kReferenceSlot) lumSetOperationMode(LUMEN_TEST_SLOT_MODE[kReferenceSlot]);
    References references;
    for (size_t i = begin, bytes = 0; i < cases.size() && bytes < kBatchBytes; ++i) {
      references.push_back(LUMEN_TEST_ReferenceOf(description_, cases[i], referenceMemory_));
      if (references.back()) bytes += references.back()->exact.size();
    }
    if (slot_ != kReferenceSlot) lumSetOperationMode(LUMEN_TEST_SLOT_MODE[slot_]);
    return references;
  }

  void check(const Case& c, const std::optional<LUMEN_TEST_Reference>& reference) {
    LUMEN_TEST_Layout layout;
    if (!reference || !LUMEN_TEST_LayOut(description_, c, layout) ||
        !memory_.place(description_, c, layout, kMargin)) {
      report_.count();
      report_.fail(named(c), {.findings = {"there is no memory for this case"}});
      return;
    }
    const LUMEN_TEST_Arguments arguments =
        LUMEN_TEST_ArgumentsOf(description_, c, layout, memory_.images());
    LUMEN_TEST_FillOutputs(description_, layout, arguments, kUnwritten);
    LUMEN_TEST_FillInputs(description_, c, layout, arguments);
    description_.call(arguments);

    const LUMEN_TEST_Mismatch mismatch =
        LUMEN_TEST_CompareWithReference(description_, layout, arguments, *reference, tolerance_);
    report_.count(mismatch.largest);
    if (!mismatch) return;
    LUMEN_TEST_CaseFailure failure;
    if (report_.tellsNextFailure()) describe(c, layout, arguments, *reference, mismatch, failure);
    report_.fail(named(c), failure);
  }

  void describe(const Case& c, const LUMEN_TEST_Layout& layout,
                const LUMEN_TEST_Arguments& arguments, const LUMEN_TEST_Reference& reference,
                const LUMEN_TEST_Mismatch& mismatch, LUMEN_TEST_CaseFailure& failure) const {
    failure.difference = mismatch.largest;
    failure.findings = {std::string(description_.images[mismatch.image].name) + ", row " +
                        std::to_string(mismatch.row) + ", element " +
                        std::to_string(mismatch.element) + ": reference " + mismatch.reference +
                        ", result " + mismatch.result + " (" + std::to_string(mismatch.differing) +
                        " of " + std::to_string(mismatch.elements) + " elements differ)"};
    if (lumenTestExtras.saveFailing.empty()) return;
    LUMEN_TEST_SaveCase({description_, slot_, tolerance_, named(c), layout, arguments, reference},
                        lumenTestExtras.saveFailing, failure);
  }

  LUMEN_TEST_NamedCase named(const Case& c) const {
    return {description_.name, lumenTestSettings.profileOrder[slot_], LUMEN_TEST_OwnCheck::sweep,
            c};
  }

  const LUMEN_TEST_Description& description_;
  const unsigned int slot_;
  const float tolerance_;
  LUMEN_TEST_CaseMemory memory_, referenceMemory_{LUMEN_MEM_HEAP};
  LUMEN_TEST_CheckReport report_;
};

int runCheck(LUMEN_TEST_OwnCheck check, const LUMEN_TEST_Description& description,
             unsigned int slot, float tolerance, const Cases& cases) {
  switch (check) {
    case LUMEN_TEST_OwnCheck::sweep:
      return Sweep(description, slot, tolerance).run(cases);
    case LUMEN_TEST_OwnCheck::poison:
      return LUMEN_TEST_CheckPoison(description, slot, cases);
    case LUMEN_TEST_OwnCheck::tail:
    case LUMEN_TEST_OwnCheck::head:
    case LUMEN_TEST_OwnCheck::row:
      break;
  }
  return LUMEN_TEST_CheckGuard(check, description, slot, cases);
}

// Just the case that is named, if it is one of this function in this slot.
int runNamedCase(const LUMEN_TEST_Description& description, unsigned int slot, float tolerance) {
  const char* text = lumenTestExtras.caseText.c_str();
  const std::optional<LUMEN_TEST_NamedCase> named = LUMEN_TEST_ParseCase(text);
  if (!named || named->function != description.name ||
      named->slot != lumenTestSettings.profileOrder[slot]) {
    return 0;
  }
  if (!named->sweepCase.fits(description)) {
    LUMEN_TEST_Log("LUMEN_TEST, '%s' is no case of this function, or too large", text);
    return 1;
  }
  return runCheck(named->check, description, slot, tolerance, {named->sweepCase});
}

LUMEN_TEST_OwnCheck checkOf(LUMEN_TEST_Guard guard) {
  switch (guard) {
    case LUMEN_TEST_Guard::head:
      return LUMEN_TEST_OwnCheck::head;
    case LUMEN_TEST_Guard::row:
      return LUMEN_TEST_OwnCheck::row;
    case LUMEN_TEST_Guard::none:
    case LUMEN_TEST_Guard::tail:
      break;
  }
  return LUMEN_TEST_OwnCheck::tail;
}

}  // namespace

int LUMEN_TEST_CheckOwnData(const LUMEN_TEST_Description& description, unsigned int slot,
                            float tolerance) {
  const LUMEN_TEST_Extras& extras = lumenTestExtras;
  const uint64_t seed = lumenTestOwnDataRun.seed;
  if (!extras.caseText.empty()) return runNamedCase(description, slot, tolerance);
  int failed = 0;
  if (extras.sweep != LUMEN_TEST_Sweep::none) {
    failed |= runCheck(LUMEN_TEST_OwnCheck::sweep, description, slot, tolerance,
                       LUMEN_TEST_SweepCases(description, extras.sweep, seed));
  }
  if (extras.guard != LUMEN_TEST_Guard::none) {
    failed |= runCheck(checkOf(extras.guard), description, slot, tolerance,
                       LUMEN_TEST_GuardCases(description, seed));
  }
  if (extras.poison) {
    failed |= runCheck(LUMEN_TEST_OwnCheck::poison, description, slot, tolerance,
                       LUMEN_TEST_PoisonCases(description, seed));
  }
  return failed;
}
